// Composition of inputs into one target through the library, frame by frame,
// and the output of the result.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "options.h"

namespace morvatool {

// One input: a still picture, which stands on every frame, or a video.
class Source {
public:
    virtual ~Source() = default;
    virtual int64_t frameCount() const = 0;
    virtual std::optional<Y4mHeader> video() const { return std::nullopt; }
    // The image of frame `index`; past its end a video holds its last frame.
    virtual TImage& frame(int64_t index) = 0;
};

// A PNG or YUV4MPEG2 file, told apart by its first bytes.
std::unique_ptr<Source> openInput(const std::string& path, Rgb background);

// The built-in test patterns as stills.
std::vector<std::unique_ptr<Source>> patternSources();

// The format an input of `source` goes through before it is composed into a
// target of `target`, where the library's direct conversion would exchange
// Cb and Cr (from packed Y-first 4:2:2 into planes; raw copies between the
// two planar 4:2:0 orders) or red and blue (chroma-first 4:2:2 into 24-bit).
// Each detour loses nothing the direct way keeps.
std::optional<int32_t> inputDetour(int32_t source, int32_t target);

// A target-sized image of `format` in the background colour. morvaClearImage
// fills RGB32, RGB24, I420 and YUY2 as asked; for the other formats it fills
// nothing, a fixed corner only, or chroma in another order than conversion
// reads, so they get a cleared RGB32 image converted into them.
ImagePtr makeBackground(int32_t width, int32_t height, int32_t format, Rgb colour);

// Formats to convert a target of `from` through, in order, for an output
// that takes any of `accepted`; empty when the target goes out as it is.
// The routes avoid the library's conversions that exchange chroma (from
// packed Y-first 4:2:2) or that pass RGB through 4:2:0.
std::vector<int32_t> outputRoute(int32_t from, OutputKind kind, Y4mChroma chroma);

// The chroma of Y4M output for a target format, unless the options name one.
Y4mChroma outputChroma(const ComposeOptions& options);

// Everything `morva compose` does. Throws ToolError.
void compose(const ComposeOptions& options);

}  // namespace morvatool
