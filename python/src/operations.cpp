#include "operations.h"

#include <array>
#include <atomic>
#include <mutex>
#include <set>
#include <shared_mutex>
#include <vector>

#include "call_trace.h"
#include "names.h"

namespace morvapy {

namespace {

std::string sizeText(int64_t width, int64_t height) { return std::to_string(width) + "x" + std::to_string(height); }

std::string storedText(const TImage& image) {
    return sizeText(image.width, image.height) + " " + formatName(image.format);
}

// A destination given as `out` must be a writable image of the library size
// and format the call makes, and not the source itself.
Image& checkedOut(const py::object& out, const Image& source, int32_t width, int32_t height, int32_t format) {
    if (!py::isinstance<Image>(out)) throw py::type_error("out is a morva.Image or None");
    Image& destination = out.cast<Image&>();
    if (&destination == &source) throw py::value_error("out is the source image; give another image");
    TImage& library = destination.writable("out");
    int32_t storedWidth = 0, storedHeight = 0;
    morvaCalcImageDimension(width, height, storedWidth, storedHeight);
    if (library.width != storedWidth || library.height != storedHeight || library.format != format)
        throw py::value_error("out is " + storedText(library) + "; this call needs a " +
                              sizeText(storedWidth, storedHeight) + " " + formatName(format) + " image");
    return destination;
}

py::object destinationFor(py::object out, const Image& source, int32_t width, int32_t height, int32_t format) {
    if (out.is_none()) return py::cast(std::make_unique<Image>(width, height, format, ""));
    checkedOut(out, source, width, height, format);
    return out;
}

// Whether the library converts between two formats at all, found once per
// pair on tiny images and kept.
bool converts(int32_t from, int32_t to) {
    static std::array<std::atomic<int8_t>, 22 * 22> known{};  // 0 unknown, 1 yes, 2 no
    std::atomic<int8_t>& entry = known.at(size_t(from * 22 + to));
    if (entry.load() == 0) {
        const ImageHandle source(morvaAllocateImage("probe", 4, -2, from, nullptr, 0));
        const ImageHandle target(morvaAllocateImage("probe", 4, -2, to, nullptr, 0));
        if (!source || !target) return false;
        entry.store(morvaCopyImage(source.get(), target.get(), INTER_NN, 0) ? 1 : 2);
    }
    return entry.load() == 1;
}

void checkLayoutText(const std::string& text) {
    if (text.find(':') == std::string::npos || text.find(';') == std::string::npos)
        throw py::value_error("layout text '" + text + "' holds no 'name:value;' pair (each pair ends in ';')");
}

void setLayout(const std::string& name, const char* text) {
    py::gil_scoped_release released;
    std::unique_lock exclusive(layoutLock());
    morvaSetLayout(name.c_str(), text);
}

// A layout given as text is registered once under a name of its own.
std::string layoutName(const std::string& layout) {
    if (layout.empty()) throw py::value_error("layout is empty; give a layout name or a text such as 'rows:2;columns:2;'");
    if (layout.find(':') == std::string::npos) return layout;
    checkLayoutText(layout);
    static std::set<std::string> registered;  // with the GIL held
    const std::string name = "morva-python " + layout;
    // Marked only once it is defined, so that no other thread renders by it before.
    if (!registered.count(layout)) {
        setLayout(name, layout.c_str());
        registered.insert(layout);
    }
    return name;
}

std::vector<TImage*> sourceImages(const py::sequence& sources, const Image& target) {
    std::vector<TImage*> images;
    for (size_t i = 0; i < sources.size(); ++i) {
        const py::object item = sources[i];
        if (item.is_none()) {
            images.push_back(nullptr);
            continue;
        }
        if (!py::isinstance<Image>(item))
            throw py::type_error("source " + std::to_string(i) + " is a " +
                                 std::string(py::str(item.get_type().attr("__name__"))) + ", not a morva.Image or None");
        const Image& source = item.cast<const Image&>();
        if (&source == &target) throw py::value_error("source " + std::to_string(i) + " is the target itself");
        if (source.format() != target.format() && !converts(source.format(), target.format()))
            throw py::value_error("source " + std::to_string(i) + " (" + formatName(source.format()) +
                                  ") can't be converted to the target's format " + formatName(target.format()));
        images.push_back(&source.library());
    }
    if (images.size() > size_t(INT32_MAX)) throw py::value_error("too many sources");
    return images;
}

// The factors by which the library's resize scales, to refuse super-sampling
// that would enlarge: the kernel leaves such a frame unwritten.
void checkSuperSampling(const TImage& source, const TImage& target, int32_t scaleMode) {
    if (source.width == target.width && source.height == target.height) return;
    const double x = double(target.width) / source.width, y = double(target.height) / source.height;
    const double across = scaleMode == 1 ? std::min(x, y) : scaleMode == 2 ? std::max(x, y) : x;
    const double down = scaleMode == 0 ? y : across;
    if (across >= 1.0 || down >= 1.0)
        throw py::value_error("method 'super' only reduces, and " + storedText(source) + " to " +
                              sizeText(target.width, target.height) + " scales by " + std::to_string(across) + " x " +
                              std::to_string(down));
}

int32_t colorChannel(py::handle value) {
    const int64_t channel = value.cast<int64_t>();
    if (channel < 0 || channel > 255) throw py::value_error("colour values are 0 to 255, not " + std::to_string(channel));
    return int32_t(channel);
}

void warn(const std::string& message) {
    if (PyErr_WarnEx(PyExc_UserWarning, message.c_str(), 2) != 0) throw py::error_already_set();
}

// The library's clear writes some formats partly or in an order its own
// conversions read otherwise; a caller should hear of it where it happens.
void warnOfPartialClear(int32_t format) {
    if (format == FORMAT_NV12)
        warn("the library clears only the top left 16x16 block of an nv12 image");
    else if (format == FORMAT_UYVY || format == FORMAT_YV12)
        warn("the library clears " + formatName(format) +
             " with Cb and Cr where its conversions read Cr and Cb: colours other than grey come out changed");
}

}  // namespace

std::shared_mutex& layoutLock() {
    static std::shared_mutex lock;
    return lock;
}

int32_t interpolationOf(const std::string& method, bool antialias, py::handle edge) {
    const int32_t id = methodFromName(method), edgeFlag = edgeFromPython(edge);
    if (antialias && (id == INTER_NN || id == INTER_SUPER))
        throw py::value_error("antialias has no effect with method '" + methodName(id) + "'");
    if (antialias && edgeFlag != 0)
        throw py::value_error("antialias and edge '" + edgeName(edgeFlag) + "' can't be combined");
    return id | edgeFlag | (antialias ? RESIZE_ANTIALIASING : 0);
}

py::object convert(const Image& source, py::handle format, py::object out) {
    const int32_t to = formatFromPython(format);
    py::object result = destinationFor(std::move(out), source, source.width(), source.height(), to);
    TImage& destination = result.cast<Image&>().writable("out");
    const bool done = runLibraryCall(
        [&] { return morvaCopyImage(&source.library(), &destination, INTER_NN, 0); },
        [&](bool) { return "convert " + source.describe() + " to " + formatName(to); });
    if (!done)
        throw py::value_error("the library has no conversion from " + formatName(source.format()) + " to " +
                              formatName(to));
    return result;
}

py::object resize(const Image& source, std::pair<int64_t, int64_t> size, const std::string& method, bool antialias,
                  py::handle edge, const std::string& fit, py::object out) {
    checkFrameSize(size.first, size.second);
    const int32_t interpolation = interpolationOf(method, antialias, edge), scaleMode = fitFromName(fit);
    const auto [width, height] = std::pair{int32_t(size.first), int32_t(size.second)};
    py::object result = destinationFor(std::move(out), source, width, height, source.format());
    TImage& destination = result.cast<Image&>().writable("out");
    if ((interpolation & 0x1fffffff) == INTER_SUPER) checkSuperSampling(source.library(), destination, scaleMode);
    const bool done = runLibraryCall(
        [&] { return morvaCopyImage(&source.library(), &destination, interpolation, scaleMode); },
        [&](bool) { return "resize " + source.describe() + " to " + sizeText(width, height) + " by " + method; });
    if (!done) throw py::value_error("the library can't resize " + formatName(source.format()) + " frames");
    return result;
}

void clear(Image& image, const py::sequence& color) {
    if (color.size() != 3 && color.size() != 4)
        throw py::value_error("a colour is (red, green, blue) or (red, green, blue, alpha)");
    const int32_t red = colorChannel(color[0]), green = colorChannel(color[1]), blue = colorChannel(color[2]);
    const int32_t alpha = color.size() == 4 ? colorChannel(color[3]) : 255;
    TImage& target = image.writable("the image");
    const bool done = runLibraryCall(
        [&] { return morvaClearImage(&target, uint8_t(red), uint8_t(green), uint8_t(blue), uint8_t(alpha)); },
        [&](bool) { return "clear " + image.describe(); });
    if (!done)
        throw py::value_error("the library doesn't clear " + formatName(image.format()) +
                              " images; it clears bgra, bgr24, yuv420p, yv12, nv12, yuyv422 and uyvy422");
    warnOfPartialClear(image.format());
}

py::object compose(py::object targetObject, const py::sequence& sources, const std::string& layout) {
    const Image& target = targetObject.cast<const Image&>();
    TImage& library = target.writable("the target");
    const std::vector<TImage*> images = sourceImages(sources, target);
    const std::string name = layoutName(layout);
    const bool done = runLibraryCall(
        [&] {
            std::shared_lock shared(layoutLock());
            const bool rendered = morvaRender(name.c_str(), &library, images.data(), int32_t(images.size()));
            return rendered && morvaRenderFinalize(&library);
        },
        [&](bool) { return "compose " + std::to_string(images.size()) + " sources into " + target.describe(); });
    if (!done)
        throw py::value_error("no layout named '" + layout +
                              "' with at least one row and column; define it with define_layout()");
    return targetObject;
}

void defineLayout(const std::string& name, const std::optional<std::string>& text) {
    if (name.empty()) throw py::value_error("a layout name is not empty");
    const bool removing = !text || text->empty();
    if (!removing) checkLayoutText(*text);
    setLayout(name, removing ? nullptr : text->c_str());
}

std::optional<int32_t> pickFormat(const py::sequence& headers, std::pair<int32_t, int32_t> minSize) {
    // Copies, so that no pointer outlives a header the sequence made on the fly.
    std::vector<std::optional<BITMAPINFOHEADER>> copies;
    for (size_t i = 0; i < headers.size(); ++i) {
        const py::object item = headers[i];
        if (!item.is_none() && !py::isinstance<BITMAPINFOHEADER>(item))
            throw py::type_error("header " + std::to_string(i) + " is not a morva.BitmapHeader or None");
        copies.push_back(item.is_none() ? std::nullopt : std::optional(item.cast<BITMAPINFOHEADER>()));
    }
    if (copies.size() > size_t(INT32_MAX)) throw py::value_error("too many headers");
    std::vector<const BITMAPINFOHEADER*> pointers;
    for (const auto& copy : copies) pointers.push_back(copy ? &*copy : nullptr);
    const int32_t index = morvaPickFormat(pointers.data(), int32_t(pointers.size()), minSize.first, minSize.second);
    return index < 0 ? std::nullopt : std::optional(index);
}

}  // namespace morvapy
