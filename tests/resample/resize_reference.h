// A per-pixel model of nearest neighbour and linear resizes, written apart
// from the library's tables, row cache and vector forms, to check whole
// resizes against. Positions, taps and roundings follow the definitions.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include "morva.h"
#include "resample/resize.h"

namespace morva::testing {

// A plane of samples with its own row step (in samples).
template <class T>
struct Plane {
    int32_t width = 0, height = 0, channels = 1, step = 0;
    std::vector<T> samples;
    T* row(int32_t y) { return samples.data() + ptrdiff_t(y) * step; }
    const T* row(int32_t y) const { return samples.data() + ptrdiff_t(y) * step; }
    T& at(int32_t x, int32_t y, int32_t c) { return row(y)[x * channels + c]; }
    const T& at(int32_t x, int32_t y, int32_t c) const { return row(y)[x * channels + c]; }
};

// The samples of the pixels, without the padding behind each row.
template <class T>
std::vector<T> pixels(const Plane<T>& p) {
    std::vector<T> v;
    for (int32_t y = 0; y < p.height; ++y) v.insert(v.end(), p.row(y), p.row(y) + p.width * p.channels);
    return v;
}

template <class T>
Plane<T> makePlane(int32_t width, int32_t height, int32_t channels, int32_t padding = 0) {
    Plane<T> p;
    p.width = width;
    p.height = height;
    p.channels = channels;
    p.step = width * channels + padding;
    p.samples.assign(size_t(p.step) * height, T(0));
    return p;
}

inline int32_t nearestIndex(int32_t i, int32_t count, int32_t first, double scale, double offset,
                            int32_t length) {
    const double centre = double(first + i) + 0.5;
    const bool inBlocks = i < count - count % 4;
    const double d = inBlocks ? centre * scale + offset - 1e-10 : centre * scale - 1e-10 + offset;
    const double k = std::trunc(d);
    return k < 0 ? 0 : (k > length - 1 ? length - 1 : int32_t(k));
}

// The target plane as a nearest neighbour resize writes it over `target`.
template <class T>
void referenceNearest(const Plane<T>& src, const ResizeGeometry& g, Plane<T>& target) {
    for (int32_t i = 0; i < g.height; ++i) {
        const int32_t sy = nearestIndex(i, g.height, g.y0, g.yScale, g.yOffset, src.height);
        for (int32_t j = 0; j < g.width; ++j) {
            const int32_t sx = nearestIndex(j, g.width, g.x0, g.xScale, g.xOffset, src.width);
            for (int32_t c = 0; c < src.channels; ++c)
                target.at(g.x0 + j, g.y0 + i, c) = src.at(sx, sy, c);
        }
    }
}

struct LinearPosition {
    double d;
    int32_t k;
    double fraction;  // d - k
};

inline LinearPosition linearPosition(int32_t x, double scale, double offset) {
    const double d = (double(x) + 0.5) * scale - 0.5 + offset;
    const double k = std::floor(d);
    return {d, int32_t(std::fmax(std::fmin(k, 1e9), -1e9)), d - k};
}

inline int32_t q14(double fraction) {
    const double v = fraction * 16384.0 + 1e-07;
    return v < 0 ? 0 : (v > 16384 ? 16384 : int32_t(v));
}

// One rounding at 14 bits (8u), or float32 then +0.5000001 in float64 (16u).
inline int32_t rimValue(uint8_t a, uint8_t b, double fraction) {
    const int32_t f = q14(fraction);
    return ((16384 - f) * a + f * b + 8192) >> 14;
}
inline int32_t rimValue(uint16_t a, uint16_t b, double fraction) {
    const float v = float(a) + float(int32_t(b) - int32_t(a)) * float(fraction);
    const double r = std::trunc(double(v) + 0.5000001);
    return r < 0 ? 0 : (r > 65535 ? 65535 : int32_t(r));
}

// Two roundings (8u: across at 8 bits, down at 20 bits) or float32 throughout.
inline int32_t interiorValue(uint8_t a0, uint8_t b0, uint8_t a1, uint8_t b1, double fx, double fy) {
    const int32_t f = q14(fx), g = q14(fy);
    const int32_t upper = (a0 * (16384 - f) + b0 * f + 128) >> 8;
    const int32_t lower = (a1 * (16384 - f) + b1 * f + 128) >> 8;
    const int32_t v = (upper * (16384 - g) + lower * g + 524288) >> 20;
    return v < 0 ? 0 : (v > 255 ? 255 : v);
}
inline int32_t interiorValue(uint16_t a0, uint16_t b0, uint16_t a1, uint16_t b1, double fx,
                             double fy) {
    const float f = float(fx), g = float(fy);
    const float upper = float(a0) + (float(b0) - float(a0)) * f;
    const float lower = float(a1) + (float(b1) - float(a1)) * f;
    const float v = upper + (lower - upper) * g + 0.50000011920928955078125f;
    const double r = std::trunc(double(v));
    return r < 0 ? 0 : (r > 65535 ? 65535 : int32_t(r));
}

template <class T>
void referenceLinear(const Plane<T>& src, const ResizeGeometry& g, Plane<T>& target) {
    const int32_t W = src.width, H = src.height;
    for (int32_t i = 0; i < g.height; ++i) {
        const LinearPosition py = linearPosition(g.y0 + i, g.yScale, g.yOffset);
        for (int32_t j = 0; j < g.width; ++j) {
            const LinearPosition px = linearPosition(g.x0 + j, g.xScale, g.xOffset);
            for (int32_t c = 0; c < src.channels; ++c) {
                int32_t v;
                if (py.d < 0.0 || py.d >= H - 1) {
                    // Rim row: one source row, taps limited to it.
                    const int32_t row = py.d < 0.0 ? 0 : H - 1;
                    int32_t a = px.k, b = px.k + 1;
                    if (px.k < 0) a = b = 0;
                    else if (px.k > W - 2) a = b = W - 1;
                    v = rimValue(src.at(a, row, c), src.at(b, row, c), px.fraction);
                } else if (px.d < 0.0 || px.d >= W - 1) {
                    // Rim column: one source column, rows k and k + 1.
                    const int32_t column = px.d < 0.0 ? 0 : W - 1;
                    v = rimValue(src.at(column, py.k, c), src.at(column, py.k + 1, c), py.fraction);
                } else {
                    v = interiorValue(src.at(px.k, py.k, c), src.at(px.k + 1, py.k, c),
                                      src.at(px.k, py.k + 1, c), src.at(px.k + 1, py.k + 1, c),
                                      px.fraction, py.fraction);
                }
                target.at(g.x0 + j, g.y0 + i, c) = T(v);
            }
        }
    }
}

}  // namespace morva::testing
