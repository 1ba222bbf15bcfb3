#include "patterns.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <string>

namespace morvatool {

namespace {

uint8_t level(double fraction) { return uint8_t(std::lround(std::clamp(fraction, 0.0, 1.0) * 255.0)); }

// Hue 0..1 around the colour circle at full saturation and value.
Rgb hue(double h) {
    const double sector = (h - std::floor(h)) * 6.0;
    const double f = sector - std::floor(sector);
    switch (int(sector)) {
    case 0: return {255, level(f), 0};
    case 1: return {level(1 - f), 255, 0};
    case 2: return {0, 255, level(f)};
    case 3: return {0, level(1 - f), 255};
    case 4: return {level(f), 0, 255};
    default: return {255, 0, level(1 - f)};
    }
}

Rgb mix(Rgb a, Rgb b, double t) {
    return {level((a.red + (b.red - a.red) * t) / 255.0), level((a.green + (b.green - a.green) * t) / 255.0),
            level((a.blue + (b.blue - a.blue) * t) / 255.0)};
}

// 75% bars over a grey ramp.
Rgb colourBars(int32_t x, int32_t y, int32_t w, int32_t h) {
    if (y >= h * 3 / 4) return {level(double(x) / (w - 1)), level(double(x) / (w - 1)), level(double(x) / (w - 1))};
    static constexpr std::array<Rgb, 7> bars = {Rgb{191, 191, 191}, Rgb{191, 191, 0}, Rgb{0, 191, 191},
                                                Rgb{0, 191, 0},     Rgb{191, 0, 191}, Rgb{191, 0, 0},
                                                Rgb{0, 0, 191}};
    return bars[size_t(x * 7 / w)];
}

Rgb diagonalGradient(int32_t x, int32_t y, int32_t w, int32_t h) {
    const double u = double(x) / (w - 1), v = double(y) / (h - 1);
    return {level(u), level(v), level(1.0 - u * 0.5 - v * 0.5)};
}

Rgb checkerboard(int32_t x, int32_t y, int32_t w, int32_t) {
    const int32_t square = std::max(w / 8, 1);
    return ((x / square + y / square) & 1) ? Rgb{235, 235, 235} : Rgb{30, 60, 140};
}

Rgb rings(int32_t x, int32_t y, int32_t w, int32_t h) {
    const double r = std::hypot(x - w / 2.0, y - h / 2.0) / (std::min(w, h) / 2.0);
    if (r > 1.0) return {20, 20, 20};
    const double wave = 0.5 + 0.5 * std::cos(r * r * 12.0 * std::numbers::pi);
    return mix({20, 20, 60}, hue(r * 0.8), wave);
}

Rgb diagonalStripes(int32_t x, int32_t y, int32_t, int32_t h) {
    const int32_t stripe = std::max(h / 8, 1);
    static constexpr std::array<Rgb, 4> colours = {Rgb{230, 60, 40}, Rgb{250, 200, 30}, Rgb{40, 170, 90},
                                                   Rgb{40, 90, 200}};
    return colours[size_t(((x + y) / stripe) % 4)];
}

Rgb hueWheel(int32_t x, int32_t y, int32_t w, int32_t h) {
    const double dx = x - w / 2.0, dy = y - h / 2.0;
    const double r = std::hypot(dx, dy) / (std::min(w, h) / 2.0);
    if (r > 1.0) return {64, 64, 64};
    const double angle = std::atan2(dy, dx) / (2.0 * std::numbers::pi) + 0.5;
    return mix({255, 255, 255}, hue(angle), r);
}

// A line grid and a circle, which shows whether the aspect ratio survived.
Rgb gridAndCircle(int32_t x, int32_t y, int32_t w, int32_t h) {
    const double r = std::hypot(x - w / 2.0, y - h / 2.0);
    const double radius = std::min(w, h) * 0.4;
    if (std::abs(r - radius) < 2.0) return {250, 220, 60};
    if (x % 32 < 2 || y % 32 < 2) return {220, 220, 220};
    return {20, 30, 90};
}

// Red, green, blue and grey ramps in four bands.
Rgb ramps(int32_t x, int32_t y, int32_t w, int32_t h) {
    const uint8_t v = level(double(x) / (w - 1));
    switch (y * 4 / h) {
    case 0: return {v, 0, 0};
    case 1: return {0, v, 0};
    case 2: return {0, 0, v};
    default: return {v, v, v};
    }
}

constexpr std::array kPatterns = {
    PatternDefinition{"bars", FORMAT_RGB32, 640, 480, colourBars},
    PatternDefinition{"gradient", FORMAT_I420, 480, 270, diagonalGradient},
    PatternDefinition{"checkerboard", FORMAT_YUY2, 320, 240, checkerboard},
    PatternDefinition{"rings", FORMAT_UYVY, 360, 360, rings},
    PatternDefinition{"stripes", FORMAT_NV12, 400, 224, diagonalStripes},
    PatternDefinition{"wheel", FORMAT_RGB565, 300, 300, hueWheel},
    PatternDefinition{"grid", FORMAT_RGB24, 480, 320, gridAndCircle},
    PatternDefinition{"ramps", FORMAT_YV12, 512, 256, ramps},
};

std::string formatLabel(int32_t format) {
    switch (format) {
    case FORMAT_RGB32: return "RGB32";
    case FORMAT_RGB24: return "RGB24";
    case FORMAT_RGB565: return "RGB565";
    case FORMAT_I420: return "I420";
    case FORMAT_YV12: return "YV12";
    case FORMAT_NV12: return "NV12";
    case FORMAT_YUY2: return "YUY2";
    case FORMAT_UYVY: return "UYVY";
    default: return "FORMAT " + std::to_string(format);
    }
}

// A dark box with the format in large letters and the size below it.
void drawLabel(RgbCanvas& canvas, int32_t format) {
    const std::string title = formatLabel(format);
    const std::string size = std::to_string(canvas.width()) + "x" + std::to_string(canvas.height());
    const int32_t big = std::max(canvas.height() / 60, 2), small = std::max(big * 2 / 3, 1);
    const int32_t margin = big * 2;
    const int32_t boxWidth = std::max(textWidth(title.size(), big), textWidth(size.size(), small)) + 2 * margin;
    const int32_t boxHeight = 7 * big + 7 * small + 3 * margin;
    canvas.fillRect(margin, margin, boxWidth, boxHeight, {0, 0, 0});
    canvas.drawText(2 * margin, 2 * margin, title, big, {255, 255, 255});
    canvas.drawText(2 * margin, 2 * margin + 7 * big + margin, size, small, {200, 200, 200});
}

}  // namespace

std::span<const PatternDefinition> builtinPatterns() { return kPatterns; }

RgbCanvas drawPattern(const PatternDefinition& pattern) {
    RgbCanvas canvas(pattern.width, pattern.height);
    for (int32_t y = 0; y < pattern.height; ++y)
        for (int32_t x = 0; x < pattern.width; ++x) canvas.at(x, y) = pattern.paint(x, y, pattern.width, pattern.height);
    drawLabel(canvas, pattern.format);
    return canvas;
}

ImagePtr makePatternImage(const PatternDefinition& pattern) {
    return packCanvas(drawPattern(pattern), pattern.format, std::string(pattern.name).c_str());
}

}  // namespace morvatool
