#include "inputs.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "convert.h"
#include "patterns.h"
#include "png_io.h"
#include "y4m_io.h"

namespace morvatool {

namespace {

class StillInput : public Input {
public:
    StillInput(std::string name, const TImage& picture, int32_t composeIn)
        : Input(std::move(name)), image_(allocateImage("still", picture.width, picture.height, composeIn)) {
        FrameConverter(picture.width, picture.height, picture.format, composeIn).convertInto(picture, *image_);
    }
    StillInput(std::string name, ImagePtr picture) : Input(std::move(name)), image_(std::move(picture)) {}
    int32_t width() const override { return image_->width; }
    int32_t height() const override { return image_->height; }
    const TImage* still() const override { return image_.get(); }

private:
    ImagePtr image_;
};

std::unique_ptr<Input> stillInput(std::string name, ImagePtr picture, int32_t composeIn) {
    if (picture->format == composeIn) return std::make_unique<StillInput>(std::move(name), std::move(picture));
    return std::make_unique<StillInput>(std::move(name), *picture, composeIn);
}

class VideoInput : public Input {
public:
    VideoInput(std::unique_ptr<Y4mReader> reader, int32_t composeIn)
        : Input(reader->name()),
          reader_(std::move(reader)),
          composeIn_(composeIn),
          raw_(reader_->allocateFrameImage("video")),
          converter_(raw_->width, raw_->height, raw_->format, composeIn) {
        // The first frame is read at once, so that a video without one is
        // refused before anything is written.
        if (!reader_->readFrame(*raw_)) {
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
    ImagePtr allocateFrame() const override { return allocateImage("frame", width(), height(), composeIn_); }

    bool readNext(TImage& image) override {
        if (!pending_ && !reader_->readFrame(*raw_)) return false;
        pending_ = false;
        if (raw_->format == composeIn_)
            std::memcpy(image.data, raw_->data, size_t(raw_->size));
        else
            converter_.convertInto(*raw_, image);
        return true;
    }
    std::string endNote() const override { return reader_->endNote(); }

private:
    std::unique_ptr<Y4mReader> reader_;
    int32_t composeIn_;
    ImagePtr raw_;
    FrameConverter converter_;
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

std::unique_ptr<Input> openInput(const std::string& path, int32_t composeIn, Rgb background) {
    switch (sniff(path)) {
    case FileKind::Png: return stillInput(path, readPng(path, background), composeIn);
    case FileKind::Y4m: return std::make_unique<VideoInput>(Y4mReader::open(path), composeIn);
    case FileKind::Other: break;
    }
    throw ToolError("cannot read '" + path + "': not a PNG or YUV4MPEG2 file");
}

std::vector<std::unique_ptr<Input>> patternInputs(int32_t composeIn) {
    std::vector<std::unique_ptr<Input>> inputs;
    for (const PatternDefinition& pattern : builtinPatterns())
        inputs.push_back(stillInput(std::string(pattern.name), makePatternImage(pattern), composeIn));
    return inputs;
}

}  // namespace morvatool
