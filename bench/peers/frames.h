// Frames of the comparison: every contender reads and writes morva images, so
// that all of them see the same bytes and their results compare plane by
// plane.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "morva.h"

namespace morva::peers {

using ImagePtr = std::shared_ptr<TImage>;

// A rectangle in pixels.
struct Rect {
    int32_t x = 0, y = 0, width = 0, height = 0;
};

// A top-line-first image of the library's layout; throws if it can't be made.
ImagePtr allocateImage(int32_t width, int32_t height, int32_t format);

// An image of the given format painted with a smooth scene: gradients, waves
// and discs, different in each colour. Natural-looking content keeps the
// difference between two libraries' interpolations small, so that a wrong
// result stands out in the check.
ImagePtr sceneImage(int32_t width, int32_t height, int32_t format);

// One plane as pointer and geometry.
struct PlaneView {
    uint8_t* data;
    int32_t stride;
};
PlaneView plane(const TImage& image, int index);

// The whole image as a rectangle.
Rect wholeImage(const TImage& image);

// The samples of region that carry picture, plane after plane: the fourth
// byte of 32-bit pixels is left out (libraries write different values there)
// and 16-bit pixels are split into their colour fields, scaled to 8 bits.
// exchangeChroma reads planes 1 and 2 of a three-plane image the other way
// round.
std::vector<uint8_t> pictureSamples(const TImage& image, const Rect& region,
                                    bool exchangeChroma = false);

// Peak signal-to-noise ratio in dB of b against a (equal lengths); infinity
// for equal samples, 0 for differing lengths.
double psnr(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b);

// Whether the samples span more than a few levels, so that a blank or
// constant output is told from a picture.
bool hasPicture(const std::vector<uint8_t>& samples);

// The name the programs around the library show for a format.
std::string formatName(int32_t format);

}  // namespace morva::peers
