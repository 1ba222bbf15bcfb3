#include "compose.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "layout_check.h"
#include "patterns.h"
#include "png_io.h"
#include "progress.h"

namespace morvatool {

namespace {

constexpr const char* kLayoutName = "morva-compose";

class StillSource : public Source {
public:
    explicit StillSource(ImagePtr image) : image_(std::move(image)) {}
    int64_t frameCount() const override { return 1; }
    TImage& frame(int64_t) override { return *image_; }

private:
    ImagePtr image_;
};

class VideoSource : public Source {
public:
    explicit VideoSource(const std::string& path)
        : reader_(path), image_(reader_.allocateFrameImage("video")) {}
    int64_t frameCount() const override { return reader_.frameCount(); }
    std::optional<Y4mHeader> video() const override { return reader_.header(); }
    TImage& frame(int64_t index) override {
        index = std::min(index, reader_.frameCount() - 1);
        if (index != loaded_) reader_.readFrame(index, *image_);
        loaded_ = index;
        return *image_;
    }

private:
    Y4mReader reader_;
    ImagePtr image_;
    int64_t loaded_ = -1;
};

std::string formatText(int32_t format) {
    return std::string(nameOfFormat(format)) + " (" + std::to_string(format) + ")";
}

// Same-sized images: morvaCopyImage only converts.
void convertInto(const TImage& from, TImage& to) {
    if (!morvaCopyImage(&from, &to, INTER_NN, 0))
        throw ToolError("the library can't convert format " + formatText(from.format) + " to " + formatText(to.format));
}

// An input seen through another format, converted once per frame it shows.
class DetourSource : public Source {
public:
    DetourSource(std::unique_ptr<Source> inner, int32_t format) : inner_(std::move(inner)) {
        const TImage& first = inner_->frame(0);
        image_ = allocateImage("detour", first.width, first.height, format);
    }
    int64_t frameCount() const override { return inner_->frameCount(); }
    std::optional<Y4mHeader> video() const override { return inner_->video(); }
    TImage& frame(int64_t index) override {
        index = std::min(index, inner_->frameCount() - 1);
        if (index != converted_) convertInto(inner_->frame(index), *image_);
        converted_ = index;
        return *image_;
    }

private:
    std::unique_ptr<Source> inner_;
    ImagePtr image_;
    int64_t converted_ = -1;
};

enum class FileKind { Png, Y4m, Other };

FileKind sniff(const std::string& path) {
    FilePtr file(std::fopen(path.c_str(), "rb"));
    if (!file) throw ToolError("cannot read '" + path + "': " + std::strerror(errno));
    struct stat info {};
    if (fstat(fileno(file.get()), &info) != 0 || !S_ISREG(info.st_mode))
        throw ToolError("cannot read '" + path + "': not a regular file");
    char start[9] = {};
    const size_t got = std::fread(start, 1, sizeof start, file.get());
    static constexpr char kPngSignature[8] = {'\x89', 'P', 'N', 'G', '\r', '\n', '\x1a', '\n'};
    if (got >= 8 && std::memcmp(start, kPngSignature, 8) == 0) return FileKind::Png;
    if (got == 9 && std::memcmp(start, "YUV4MPEG2", 9) == 0) return FileKind::Y4m;
    return FileKind::Other;
}

bool clearFillsFaithfully(int32_t format) {
    return format == FORMAT_RGB32 || format == FORMAT_RGB24 || format == FORMAT_I420 || format == FORMAT_YUY2;
}

// Converts a target for the output through the stages of outputRoute.
class OutputConverter {
public:
    OutputConverter(const TImage& target, const std::vector<int32_t>& route) {
        for (int32_t format : route) stages_.push_back(allocateImage("output", target.width, target.height, format));
    }

    const TImage& convert(const TImage& target) {
        const TImage* current = &target;
        for (const ImagePtr& stage : stages_) {
            convertInto(*current, *stage);
            current = stage.get();
        }
        return *current;
    }

private:
    std::vector<ImagePtr> stages_;
};

class Sink {
public:
    virtual ~Sink() = default;
    virtual void write(const TImage& target) = 0;
    virtual void finish() = 0;
};

class PngSink : public Sink {
public:
    PngSink(std::string path, const TImage& target)
        : path_(std::move(path)), converter_(target, outputRoute(target.format, OutputKind::Png, Y4mChroma::C420)) {}
    void write(const TImage& target) override { writePng(path_, converter_.convert(target)); }
    void finish() override {}

private:
    std::string path_;
    OutputConverter converter_;
};

class Y4mSink : public Sink {
public:
    Y4mSink(const std::string& path, const TImage& target, Y4mChroma chroma, const Y4mHeader& rate)
        : converter_(target, outputRoute(target.format, OutputKind::Y4m, chroma)),
          writer_(path, Y4mHeader{target.width, target.height, chroma, rate.rateNumerator, rate.rateDenominator}) {}
    void write(const TImage& target) override { writer_.writeFrame(converter_.convert(target)); }
    void finish() override { writer_.finish(); }

private:
    OutputConverter converter_;
    Y4mWriter writer_;
};

std::vector<std::unique_ptr<Source>> openSources(const ComposeOptions& options) {
    std::vector<std::unique_ptr<Source>> sources;
    if (options.inputs.empty()) sources = patternSources();
    for (const std::string& path : options.inputs) sources.push_back(openInput(path, options.background));
    for (auto& source : sources)
        if (const auto detour = inputDetour(source->frame(0).format, options.format))
            source = std::make_unique<DetourSource>(std::move(source), *detour);
    return sources;
}

double meanAspect(const std::vector<std::unique_ptr<Source>>& sources) {
    double sum = 0.0;
    for (const auto& source : sources) {
        const TImage& image = source->frame(0);
        sum += double(image.width) / double(image.height);
    }
    return sum / double(sources.size());
}

// The first video's frame rate, or 25:1.
Y4mHeader outputRate(const std::vector<std::unique_ptr<Source>>& sources) {
    for (const auto& source : sources)
        if (auto header = source->video()) return *header;
    return Y4mHeader{};
}

int64_t outputFrames(const ComposeOptions& options, const std::vector<std::unique_ptr<Source>>& sources) {
    int64_t frames = 1;
    if (options.outputKind == OutputKind::Y4m)
        for (const auto& source : sources) frames = std::max(frames, source->frameCount());
    return std::min(frames, options.maxFrames.value_or(frames));
}

// Registers the layout for the length of a composition.
class LayoutRegistration {
public:
    explicit LayoutRegistration(const std::string& text) {
        if (!morvaSetLayout(kLayoutName, text.c_str())) throw ToolError("the library refused the layout");
    }
    ~LayoutRegistration() { morvaSetLayout(kLayoutName, nullptr); }
    LayoutRegistration(const LayoutRegistration&) = delete;
    LayoutRegistration& operator=(const LayoutRegistration&) = delete;
};

}  // namespace

std::unique_ptr<Source> openInput(const std::string& path, Rgb background) {
    switch (sniff(path)) {
    case FileKind::Png: return std::make_unique<StillSource>(readPng(path, background));
    case FileKind::Y4m: return std::make_unique<VideoSource>(path);
    case FileKind::Other: break;
    }
    throw ToolError("cannot read '" + path + "': not a PNG or YUV4MPEG2 file");
}

std::vector<std::unique_ptr<Source>> patternSources() {
    std::vector<std::unique_ptr<Source>> sources;
    for (const PatternDefinition& pattern : builtinPatterns())
        sources.push_back(std::make_unique<StillSource>(makePatternImage(pattern)));
    return sources;
}

std::optional<int32_t> inputDetour(int32_t source, int32_t target) {
    if (source == FORMAT_YUY2 &&
        (target == FORMAT_I420 || target == FORMAT_YV12 || target == FORMAT_YVYU || target == FORMAT_Y411))
        return FORMAT_UYVY;
    // Through planar 4:2:2 the chroma rows are doubled and then halved again.
    if ((source == FORMAT_YV12 && target == FORMAT_I420) || (source == FORMAT_I420 && target == FORMAT_YV12))
        return FORMAT_YVYU;
    if (source == FORMAT_UYVY && target == FORMAT_RGB24) return FORMAT_RGB32;
    return std::nullopt;
}

ImagePtr makeBackground(int32_t width, int32_t height, int32_t format, Rgb colour) {
    ImagePtr background = allocateImage("background", width, height, format);
    if (clearFillsFaithfully(format)) {
        morvaClearImage(background.get(), colour.red, colour.green, colour.blue, 255);
        return background;
    }
    ImagePtr rgb = allocateImage("background", width, height, FORMAT_RGB32);
    morvaClearImage(rgb.get(), colour.red, colour.green, colour.blue, 255);
    convertInto(*rgb, *background);
    return background;
}

std::vector<int32_t> outputRoute(int32_t from, OutputKind kind, Y4mChroma chroma) {
    if (kind == OutputKind::Png) {
        if (from == FORMAT_RGB32 || from == FORMAT_RGB24) return {};
        if (from == FORMAT_RGB565 || from == FORMAT_RGB555) return {FORMAT_RGB24};
        return {FORMAT_RGB32};
    }
    const int32_t wanted = chroma == Y4mChroma::C422 ? FORMAT_YVYU : FORMAT_I420;
    const bool writable = chroma == Y4mChroma::C422   ? from == FORMAT_YVYU
                          : chroma == Y4mChroma::C420 ? from == FORMAT_I420 || from == FORMAT_YV12
                                                      : from == FORMAT_I420 || from == FORMAT_YV12 ||
                                                            from == FORMAT_YVYU || from == FORMAT_NV12 ||
                                                            from == FORMAT_Y411;
    if (writable) return {};
    // Y-first packed 4:2:2 goes into planes with Cb and Cr exchanged; its
    // chroma-first twin, one byte swap away, does not.
    if (from == FORMAT_YUY2) return {FORMAT_UYVY, wanted};
    return {wanted};
}

Y4mChroma outputChroma(const ComposeOptions& options) {
    if (options.chroma) return *options.chroma;
    const bool is422 = options.format == FORMAT_YUY2 || options.format == FORMAT_UYVY || options.format == FORMAT_YVYU;
    return is422 ? Y4mChroma::C422 : Y4mChroma::C420;
}

void compose(const ComposeOptions& options) {
    std::vector<std::unique_ptr<Source>> sources = openSources(options);
    int32_t width = 0, height = 0;
    morvaCalcImageDimension(options.width, options.height, width, height);
    const std::string layout =
        options.layout.empty() ? defaultLayoutText(int64_t(sources.size()), width, height, meanAspect(sources))
                               : options.layout;
    checkPlacement(layout, int64_t(sources.size()), width, height);
    const LayoutRegistration registration(layout);
    for (const auto& source : sources)
        morvaSetAttributes(&source->frame(0), interpolationValue(options), options.scaleMode);

    const ImagePtr background = makeBackground(width, height, options.format, options.background);
    const ImagePtr target = allocateImage("target", width, height, options.format);
    std::unique_ptr<Sink> sink;
    if (options.outputKind == OutputKind::Png)
        sink = std::make_unique<PngSink>(options.output, *target);
    else
        sink = std::make_unique<Y4mSink>(options.output, *target, outputChroma(options), outputRate(sources));

    const int64_t frames = outputFrames(options, sources);
    Progress progress(frames, !options.quiet);
    std::vector<TImage*> images(sources.size());
    for (int64_t frame = 0; frame < frames; ++frame) {
        for (size_t i = 0; i < sources.size(); ++i) images[i] = &sources[i]->frame(frame);
        morvaUpdateImage(target.get(), background->data);
        if (!morvaRender(kLayoutName, target.get(), images.data(), int32_t(images.size())))
            throw ToolError("the library refused the composition");
        morvaRenderFinalize(target.get());
        sink->write(*target);
        progress.update(frame + 1);
    }
    sink->finish();
}

}  // namespace morvatool
