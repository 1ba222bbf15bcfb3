#include "inputs.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <optional>

#include "convert.h"
#include "patterns.h"
#include "png_io.h"
#include "y4m_io.h"

namespace morvatool {

namespace {

class StillInput : public Input {
public:
    StillInput(std::string name, ImagePtr picture) : Input(std::move(name)), image_(std::move(picture)) {}
    int32_t width() const override { return image_->width; }
    int32_t height() const override { return image_->height; }
    int32_t nativeFormat() const override { return native_; }
    void composeIn(int32_t format) override {
        if (format == image_->format) return;
        ImagePtr converted = allocateImage("still", image_->width, image_->height, format);
        FrameConverter(image_->width, image_->height, image_->format, format).convertInto(*image_, *converted);
        image_ = std::move(converted);
    }
    const TImage* still() const override { return image_.get(); }

private:
    ImagePtr image_;
    int32_t native_ = image_->format;
};

class VideoInput : public Input {
public:
    explicit VideoInput(std::unique_ptr<Y4mReader> reader)
        : Input(reader->name()), reader_(std::move(reader)), raw_(reader_->allocateFrameImage("video")),
          composeIn_(raw_->format), mapped_(reader_->mapFrames()) {
        // The first frame is read at once, so that a video without one is
        // refused before anything is written.
        if (!nextFrame()) {
            const std::string note = reader_->endNote();
            throw ToolError("cannot read '" + name() + "': " + (note.empty() ? "the file has no frame" : note));
        }
        pending_ = true;
    }
    int32_t width() const override { return raw_->width; }
    int32_t height() const override { return raw_->height; }
    std::optional<Rate> rate() const override {
        return Rate{reader_->header().rateNumerator, reader_->header().rateDenominator};
    }
    std::optional<int64_t> expectedFrames() const override { return reader_->expectedFrames(); }
    std::vector<std::string> notes() const override { return reader_->conversionNotes(); }
    int32_t nativeFormat() const override { return raw_->format; }
    void composeIn(int32_t format) override {
        composeIn_ = format;
        if (format != raw_->format) converter_.emplace(raw_->width, raw_->height, raw_->format, format);
    }
    ImagePtr allocateFrame() const override { return allocateImage("frame", width(), height(), composeIn_); }

    bool framesInPlace() const override { return mapped_ && !converter_; }
    std::shared_ptr<TImage> readInPlace() override { return nextFrame() ? inPlace_ : nullptr; }

    bool readNext(TImage& image) override {
        // Frames in the composition's format are read straight into place.
        if (!mapped_ && !converter_ && !pending_) return reader_->readFrame(image);
        const TImage* frame = nextFrame();
        if (!frame) return false;
        if (converter_)
            converter_->convertInto(*frame, image);
        else
            std::memcpy(image.data, frame->data, size_t(frame->size));
        return true;
    }
    std::string endNote() const override { return reader_->endNote(); }

private:
    // The next frame of the file: over its bytes where the file is mapped,
    // else read into raw_. The first one was taken when the file was opened.
    const TImage* nextFrame() {
        if (pending_) {
            pending_ = false;
            return mapped_ ? inPlace_.get() : raw_.get();
        }
        if (!mapped_) return reader_->readFrame(*raw_) ? raw_.get() : nullptr;
        const uint8_t* bytes = reader_->readFrameInPlace();
        if (!bytes) return nullptr;
        // The library only reads a source, so it may stand on read-only bytes.
        inPlace_.reset(morvaAllocateImage("frame", raw_->width, -raw_->height, raw_->format, bytes, 1), ImageDeleter{});
        if (!inPlace_) throw ToolError("the library can't hold a frame of '" + name() + "'");
        return inPlace_.get();
    }

    std::unique_ptr<Y4mReader> reader_;
    ImagePtr raw_;
    int32_t composeIn_;
    bool mapped_;
    std::optional<FrameConverter> converter_;
    std::shared_ptr<TImage> inPlace_;
    bool pending_ = false;
};

enum class FileKind { Png, Y4m, Other };

// Regular files are told apart by their first bytes; anything else (a pipe,
// a device) can only be read once and is taken for a video.
FileKind sniff(const std::string& path) {
    if (path == "-") return FileKind::Y4m;
    struct stat info {};
    if (stat(path.c_str(), &info) != 0) throw ToolError("cannot read '" + path + "': " + std::strerror(errno));
    if (S_ISDIR(info.st_mode)) throw ToolError("cannot read '" + path + "': it is a directory");
    if (!S_ISREG(info.st_mode)) return FileKind::Y4m;
    FilePtr file(std::fopen(path.c_str(), "rb"));
    if (!file) throw ToolError("cannot read '" + path + "': " + std::strerror(errno));
    char start[9] = {};
    const size_t got = std::fread(start, 1, sizeof start, file.get());
    static constexpr char kPngSignature[8] = {'\x89', 'P', 'N', 'G', '\r', '\n', '\x1a', '\n'};
    if (got >= 8 && std::memcmp(start, kPngSignature, 8) == 0) return FileKind::Png;
    if (got == 9 && std::memcmp(start, "YUV4MPEG2", 9) == 0) return FileKind::Y4m;
    return FileKind::Other;
}

}  // namespace

std::unique_ptr<Input> openInput(const std::string& path, Rgb background) {
    switch (sniff(path)) {
    case FileKind::Png: return std::make_unique<StillInput>(path, readPng(path, background));
    case FileKind::Y4m: return std::make_unique<VideoInput>(Y4mReader::open(path));
    case FileKind::Other: break;
    }
    throw ToolError("cannot read '" + path + "': not a PNG or YUV4MPEG2 file");
}

std::vector<std::unique_ptr<Input>> patternInputs() {
    std::vector<std::unique_ptr<Input>> inputs;
    for (const PatternDefinition& pattern : builtinPatterns())
        inputs.push_back(std::make_unique<StillInput>(std::string(pattern.name), makePatternImage(pattern)));
    return inputs;
}

}  // namespace morvatool
