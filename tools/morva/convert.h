// Turning a frame of one format into another of the same size, by the
// library where its conversion keeps the colours and by the tool itself where
// it doesn't: the library's own conversions exchange Cb and Cr for some
// pairs, take 16-bit RGB full fields as 248, turn RGB into 4:2:2 or 4:2:2
// into RGB through 4:2:0, and produce no grey at all.
#pragma once

#include <cstdint>
#include <vector>

#include "images.h"

namespace morvatool {

// The formats a frame of `from` passes through to reach `to`, `to` last;
// empty when they are equal. Every step keeps the colours and all the detail
// both ends can carry.
std::vector<int32_t> conversionPath(int32_t from, int32_t to);

// One step of a path, into an image of the same size. Throws ToolError if
// neither the tool nor the library converts the pair.
void convertStep(const TImage& from, TImage& to);

// A path with its images, allocated once and reused for every frame.
class FrameConverter {
public:
    FrameConverter(int32_t width, int32_t height, int32_t from, int32_t to);
    // The frame in the final format: `frame` itself when the path is empty.
    const TImage& convert(const TImage& frame);
    // The same into an image of the final format that the caller holds.
    void convertInto(const TImage& frame, TImage& out);
    int32_t format() const { return format_; }

private:
    std::vector<ImagePtr> stages_;
    int32_t format_;
};

}  // namespace morvatool
