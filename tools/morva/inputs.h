// The inputs of a composition, each giving its frames in the format the
// library composes in.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "images.h"

namespace morvatool {

// Frames per second as a fraction.
struct Rate {
    int64_t numerator = 25, denominator = 1;
    bool operator==(const Rate& other) const {
        return numerator * other.denominator == other.numerator * denominator;
    }
};

class Input {
public:
    virtual ~Input() = default;
    const std::string& name() const { return name_; }
    // Size of its frames in the library (rounded up to multiples of 4 and 2).
    virtual int32_t width() const = 0;
    virtual int32_t height() const = 0;
    // A video's frame rate and the frame count its file's size promises.
    virtual std::optional<Rate> rate() const { return std::nullopt; }
    virtual std::optional<int64_t> expectedFrames() const { return std::nullopt; }
    // What reading changes of its pictures, one phrase each.
    virtual std::vector<std::string> notes() const { return {}; }
    // The format its frames come in, and the one the composition needs them
    // in; the latter is set once, before any frame is taken.
    virtual int32_t nativeFormat() const = 0;
    virtual void composeIn(int32_t format) = 0;

    // A picture's one frame; nothing for a video.
    virtual const TImage* still() const { return nullptr; }
    // For a video: an image to read frames into, and the next frame. False at
    // the end, with `image` as it was; endNote() then tells what a damaged
    // end left out.
    virtual ImagePtr allocateFrame() const { return nullptr; }
    virtual bool readNext(TImage&) { return false; }
    virtual std::string endNote() const { return {}; }
    // A video whose frames need no conversion and can be used where they lie
    // in its file gives each as an image over those bytes, nothing at the
    // end; readNext is then not used.
    virtual bool framesInPlace() const { return false; }
    virtual std::shared_ptr<TImage> readInPlace() { return nullptr; }

protected:
    explicit Input(std::string name) : name_(std::move(name)) {}

private:
    std::string name_;
};

// A PNG picture or a YUV4MPEG2 video ("-": standard input). Throws ToolError.
std::unique_ptr<Input> openInput(const std::string& path, Rgb background);

// The built-in test patterns, one in each of several formats.
std::vector<std::unique_ptr<Input>> patternInputs();

}  // namespace morvatool
