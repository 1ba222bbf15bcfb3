// Pictures the tool draws itself, and their packing into library images.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "colour.h"
#include "images.h"

namespace morvatool {

// An RGB picture, one Rgb a pixel, rows top first.
class RgbCanvas {
public:
    RgbCanvas(int32_t width, int32_t height, Rgb fill = {})
        : width_(width), height_(height), pixels_(size_t(width) * size_t(height), fill) {}

    int32_t width() const { return width_; }
    int32_t height() const { return height_; }
    Rgb& at(int32_t x, int32_t y) { return pixels_[size_t(y) * size_t(width_) + size_t(x)]; }
    const Rgb& at(int32_t x, int32_t y) const {
        return pixels_[size_t(y) * size_t(width_) + size_t(x)];
    }

    // Clipped to the canvas.
    void fillRect(int32_t x, int32_t y, int32_t width, int32_t height, Rgb colour);

    // Upper-case letters, digits, space and a few signs in a 5x7 font, each
    // dot drawn as a square of `scale` pixels. Characters outside the font
    // draw as blanks.
    void drawText(int32_t x, int32_t y, std::string_view text, int32_t scale, Rgb colour);

private:
    int32_t width_, height_;
    std::vector<Rgb> pixels_;
};

// Pixels a text of n characters covers across at a scale.
int32_t textWidth(size_t characters, int32_t scale);

// A new library image of `format` holding the canvas. Formats: RGB32, RGB24,
// RGB565, RGB555, I420, YV12, YVYU (planar 4:2:2), Y411, NV12, YUY2, UYVY.
// Colours follow the tool's colour model (colour.h); chroma is that of the
// mean colour of each subsampled block. Throws ToolError for other formats.
ImagePtr packCanvas(const RgbCanvas& canvas, int32_t format, const char* name);

}  // namespace morvatool
