#include "image.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <new>

#include "names.h"

namespace morvapy {

namespace {

// The library's geometry of a frame, without pixel memory: an image wrapping
// a placeholder byte that is never read, since top-line-first wrapped images
// are left as they are.
ImageHandle geometryOf(int32_t width, int32_t height, int32_t format) {
    static const uint8_t placeholder = 0;
    ImageHandle probe(morvaAllocateImage("geometry", width, -height, format, &placeholder, 1));
    if (!probe) throw py::value_error("the library has no format " + std::to_string(format));
    return probe;
}

int64_t frameBytes(int32_t width, int32_t height, int32_t format) { return geometryOf(width, height, format)->size; }

const PlaneEntry& planeOf(const TImage& image, int index) { return image.planeInfo->planes[index]; }

[[noreturn]] void raiseMemoryError(const std::string& message) {
    PyErr_SetString(PyExc_MemoryError, message.c_str());
    throw py::error_already_set();
}

std::string sizeText(int64_t width, int64_t height) { return std::to_string(width) + "x" + std::to_string(height); }

std::string shapeText(const py::array& array) {
    std::string text = "(";
    for (py::ssize_t d = 0; d < array.ndim(); ++d)
        text += (d ? ", " : "") + std::to_string(array.shape(d));
    return text + (array.ndim() == 1 ? ",)" : ")");
}

std::string dtypeText(const py::array& array) { return py::str(array.dtype()); }

// Bytes of the array in C order, whatever its strides.
void copyInCOrder(const uint8_t* source, const py::array& array, py::ssize_t dimension, uint8_t*& destination) {
    const py::ssize_t item = array.itemsize();
    if (dimension == array.ndim()) {
        std::memcpy(destination, source, size_t(item));
        destination += item;
        return;
    }
    for (py::ssize_t i = 0; i < array.shape(dimension); ++i)
        copyInCOrder(source + i * array.strides(dimension), array, dimension + 1, destination);
}

std::optional<std::pair<int32_t, int32_t>> sizeArgument(py::handle size) {
    if (size.is_none()) return std::nullopt;
    const auto pair = size.cast<std::pair<int64_t, int64_t>>();
    checkFrameSize(pair.first, pair.second);
    return std::pair{int32_t(pair.first), int32_t(pair.second)};
}

void checkDtype(const py::array& array, int32_t format, const std::optional<PixelLayout>& layout) {
    const bool wide = layout && layout->sampleBytes == 2;
    const bool fits = wide ? py::isinstance<py::array_t<uint16_t>>(array) : py::isinstance<py::array_t<uint8_t>>(array);
    if (!fits)
        throw py::type_error("a " + formatName(format) + " frame is an array of " +
                             (wide ? "uint16 in native byte order" : "uint8") + ", not " + dtypeText(array));
}

std::pair<int32_t, int32_t> pixelFrameSize(const py::array& array, int32_t format, const PixelLayout& layout,
                                           py::handle size) {
    const bool channelAxis = array.ndim() == 3 && array.shape(2) == layout.channels;
    const bool plain = array.ndim() == 2 && layout.channels == 1;
    if (!channelAxis && !plain)
        throw py::value_error("a " + formatName(format) + " frame is an array of shape (height, width" +
                              (layout.channels > 1 ? ", " + std::to_string(layout.channels) : std::string()) +
                              "), not " + shapeText(array));
    checkFrameSize(array.shape(1), array.shape(0));
    const std::pair<int32_t, int32_t> shape{int32_t(array.shape(1)), int32_t(array.shape(0))};
    if (const auto given = sizeArgument(size); given && *given != shape)
        throw py::value_error("size " + sizeText(given->first, given->second) + " differs from the array's " +
                              sizeText(shape.first, shape.second));
    return shape;
}

// A 2-D array of planes one behind the other, in rows as wide as the frame:
// the even height whose frame has as many bytes as the array.
int32_t heightOfPlanes(const py::array& array, int32_t format) {
    const int64_t width = array.shape(1), bytes = array.nbytes();
    checkFrameSize(width, array.shape(0));
    int64_t low = 2, high = std::max<int64_t>(2, array.shape(0) + array.shape(0) % 2);
    while (low < high) {
        const int64_t middle = (low + high) / 4 * 2;
        if (frameBytes(int32_t(width), int32_t(middle), format) < bytes) low = middle + 2;
        else high = middle;
    }
    if (frameBytes(int32_t(width), int32_t(low), format) != bytes)
        throw py::value_error("a " + shapeText(array) + " array holds no " + formatName(format) + " frame " +
                              std::to_string(width) + " wide; give size=(width, height)");
    return int32_t(low);
}

std::pair<int32_t, int32_t> byteFrameSize(const py::array& array, int32_t format, py::handle size) {
    std::pair<int32_t, int32_t> frame;
    if (const auto given = sizeArgument(size)) frame = *given;
    else if (array.ndim() == 2) frame = {int32_t(array.shape(1)), heightOfPlanes(array, format)};
    else
        throw py::value_error("a " + formatName(format) + " frame's planes come as a 2-D array of rows as wide as the "
                              "frame, or with size=(width, height); this array has shape " + shapeText(array));
    const int64_t expected = frameBytes(frame.first, frame.second, format);
    if (array.nbytes() != expected)
        throw py::value_error("a " + sizeText(frame.first, frame.second) + " " + formatName(format) + " frame has " +
                              std::to_string(expected) + " bytes in the library's layout; the array has " +
                              std::to_string(array.nbytes()));
    return frame;
}

// Why the array can't be wrapped as it is, or nothing.
std::optional<std::string> wrapObstacle(const py::array& array, int32_t width, int32_t height, bool pixels) {
    if (pixels && (width % 4 != 0 || height % 2 != 0))
        return "the library holds frames whose width is a multiple of 4 and height a multiple of 2, and this one is " +
               sizeText(width, height);
    if (!(array.flags() & py::array::c_style)) return std::string("the array is not C-contiguous");
    return std::nullopt;
}

void padPixels(const PlaneEntry& plane, int32_t width, int32_t height, int32_t pixelBytes) {
    const int64_t rowBytes = int64_t(plane.width) * plane.channels * plane.bytesPerChannel;
    for (int32_t y = 0; y < height; ++y) {
        uint8_t* row = plane.data + int64_t(y) * plane.stride;
        for (int64_t x = int64_t(width) * pixelBytes; x + pixelBytes <= rowBytes; x += pixelBytes)
            std::memcpy(row + x, row + int64_t(width - 1) * pixelBytes, size_t(pixelBytes));
    }
    for (int32_t y = height; y < plane.height; ++y)
        std::memcpy(plane.data + int64_t(y) * plane.stride, plane.data + int64_t(height - 1) * plane.stride,
                    size_t(rowBytes));
}

// Pixels of a (height, width[, channels]) array of any strides into plane 0,
// and its last column and row repeated into the library's padding.
void copyPixels(const py::array& array, const PixelLayout& layout, TImage& image, int32_t width, int32_t height) {
    const PlaneEntry& plane = planeOf(image, 0);
    const int32_t sample = layout.sampleBytes, pixelBytes = layout.channels * sample;
    const auto* source = static_cast<const uint8_t*>(array.data());
    const py::ssize_t channelStride = array.ndim() == 3 ? array.strides(2) : sample;
    const bool packedRows = channelStride == sample && array.strides(1) == pixelBytes;
    for (int32_t y = 0; y < height; ++y) {
        uint8_t* row = plane.data + int64_t(y) * plane.stride;
        const uint8_t* from = source + y * array.strides(0);
        if (packedRows) {
            std::memcpy(row, from, size_t(width) * size_t(pixelBytes));
            continue;
        }
        for (int32_t x = 0; x < width; ++x)
            for (int32_t c = 0; c < layout.channels; ++c)
                std::memcpy(row + int64_t(x) * pixelBytes + c * sample, from + x * array.strides(1) + c * channelStride,
                            size_t(sample));
    }
    padPixels(plane, width, height, pixelBytes);
}

}  // namespace

void checkFrameSize(int64_t width, int64_t height) {
    if (width < 1 || height < 1) throw py::value_error("an image is at least 1x1, not " + sizeText(width, height));
    // The library counts an image's bytes in 32 bits and allocates three
    // times them; four bytes a pixel is the most any format takes.
    const int64_t stored = ((width + 3) & ~int64_t(3)) * ((height + 1) & ~int64_t(1));
    if (stored > INT32_MAX / 12)
        throw py::value_error("a " + sizeText(width, height) + " image is too large for the library");
}

std::optional<PixelLayout> pixelLayoutOf(int32_t format) {
    static std::array<std::optional<std::optional<PixelLayout>>, 22> known;
    auto& entry = known.at(size_t(format));
    if (!entry) {
        const ImageHandle probe = geometryOf(4, 2, format);
        const PlaneEntry& plane = planeOf(*probe, 0);
        const bool wholePixels =
            probe->planeInfo->planeCount == 1 && plane.subH == 1 && plane.channels % plane.subW == 0;
        entry = wholePixels ? std::optional(PixelLayout{plane.channels / plane.subW, plane.bytesPerChannel})
                            : std::nullopt;
    }
    return *entry;
}

Image::Image(ImageHandle image, int32_t width, int32_t height)
    : image_(std::move(image)), width_(width), height_(height) {}

Image::Image(int32_t width, int32_t height, int32_t format, const std::string& name) : width_(width), height_(height) {
    checkFrameSize(width, height);
    image_.reset(morvaAllocateImage(name.empty() ? nullptr : name.c_str(), width, -height, format, nullptr, 0));
    if (!image_) raiseMemoryError("the library could not allocate a " + sizeText(width, height) + " image");
}

std::unique_ptr<Image> Image::fromArray(py::handle arrayLike, py::handle formatArgument, py::handle size,
                                        py::handle copy, const std::string& name) {
    const int32_t format = formatFromPython(formatArgument);
    // Anything numpy takes for an array, such as nested lists.
    const auto array = py::reinterpret_borrow<py::array>(py::module_::import("numpy").attr("asarray")(arrayLike));
    const std::optional<PixelLayout> layout = pixelLayoutOf(format);
    checkDtype(array, format, layout);
    const auto [width, height] =
        layout ? pixelFrameSize(array, format, *layout, size) : byteFrameSize(array, format, size);
    const std::optional<bool> copyWanted = copy.is_none() ? std::nullopt : std::optional(copy.cast<bool>());
    const std::optional<std::string> obstacle =
        copyWanted == true ? std::optional<std::string>("copy=True was given")
                           : wrapObstacle(array, width, height, layout.has_value());
    if (!obstacle) {
        const bool readOnly = !array.writeable();
        const auto* data = static_cast<const uint8_t*>(array.data());
        ImageHandle wrapped(morvaAllocateImage(name.empty() ? nullptr : name.c_str(), width, -height, format, data, 1));
        if (!wrapped || wrapped->size != array.nbytes())
            throw py::value_error("the library's layout of a " + sizeText(width, height) + " " + formatName(format) +
                                  " frame differs from the array's");
        std::unique_ptr<Image> image(new Image(std::move(wrapped), width, height));
        image->base_ = py::reinterpret_borrow<py::object>(array);
        image->readOnly_ = readOnly;
        return image;
    }
    if (copyWanted == false) throw py::value_error("the array can't be wrapped without a copy: " + *obstacle);
    auto image = std::make_unique<Image>(width, height, format, name);
    if (layout) {
        copyPixels(array, *layout, image->library(), width, height);
    } else {
        uint8_t* destination = image->library().data;
        copyInCOrder(static_cast<const uint8_t*>(array.data()), array, 0, destination);
    }
    image->copyReason_ = obstacle;
    return image;
}

TImage& Image::writable(const char* role) const {
    if (readOnly_) throw py::value_error(std::string(role) + " wraps a read-only array and can't be written");
    return *image_;
}

namespace {

py::array viewOf(py::handle owner, bool readOnly, int32_t sampleBytes, std::vector<py::ssize_t> shape,
                 std::vector<py::ssize_t> strides, uint8_t* data) {
    const py::dtype dtype = sampleBytes == 2 ? py::dtype::of<uint16_t>() : py::dtype::of<uint8_t>();
    py::array view(dtype, std::move(shape), std::move(strides), data, owner);
    if (readOnly) view.attr("setflags")(py::arg("write") = false);
    return view;
}

}  // namespace

py::tuple Image::planes(py::handle self) const {
    const int32_t count = image_->planeInfo->planeCount;
    py::tuple views(count);
    for (int32_t i = 0; i < count; ++i) {
        const PlaneEntry& p = planeOf(*image_, i);
        const py::ssize_t unit = py::ssize_t(p.channels) * p.bytesPerChannel;
        std::vector<py::ssize_t> shape{p.height, p.width}, strides{p.stride, unit};
        if (p.channels > 1) {
            shape.push_back(p.channels);
            strides.push_back(p.bytesPerChannel);
        }
        views[size_t(i)] = viewOf(self, readOnly_, p.bytesPerChannel, shape, strides, p.data);
    }
    return views;
}

py::array Image::array(py::handle self) const {
    const PlaneEntry& first = planeOf(*image_, 0);
    if (const auto layout = pixelLayoutOf(format())) {
        const py::ssize_t sample = layout->sampleBytes;
        std::vector<py::ssize_t> shape{height_, width_}, strides{first.stride, layout->channels * sample};
        if (layout->channels > 1) {
            shape.push_back(layout->channels);
            strides.push_back(sample);
        }
        return viewOf(self, readOnly_, layout->sampleBytes, shape, strides, image_->data);
    }
    // Planes one behind the other, in rows of the first plane's stride where
    // they divide evenly.
    const py::ssize_t size = image_->size, row = first.stride;
    if (row > 0 && size % row == 0) return viewOf(self, readOnly_, 1, {size / row, row}, {row, 1}, image_->data);
    return viewOf(self, readOnly_, 1, {size}, {1}, image_->data);
}

py::bytes Image::toBytes() const {
    return py::bytes(reinterpret_cast<const char*>(image_->data), size_t(image_->size));
}

std::unique_ptr<Image> Image::copy() const {
    auto copied = std::make_unique<Image>(width_, height_, format(), image_->name ? image_->name : "");
    std::memcpy(copied->image_->data, image_->data, size_t(image_->size));
    copied->setAttributes(interpolation(), scaleMode());
    return copied;
}

std::string Image::describe() const { return sizeText(width_, height_) + " " + formatName(format()); }

std::string Image::repr() const {
    std::string text = "<morva.Image ";
    if (image_->name) text += "'" + std::string(image_->name) + "' ";
    text += describe() + ", " + std::to_string(image_->size) + " bytes";
    if (image_->width != width_ || image_->height != height_)
        text += ", held as " + sizeText(image_->width, image_->height);
    if (!base_.is_none()) text += readOnly_ ? ", wraps a read-only array" : ", wraps an array";
    return text + ">";
}

void Image::setAttributes(int32_t interpolation, int32_t scaleMode) {
    morvaSetAttributes(image_.get(), interpolation, scaleMode);
}

}  // namespace morvapy
