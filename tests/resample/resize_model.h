// Per-pixel models of every resize path, written apart from the library's
// tables, row caches, rings, fast paths and vector forms: every target sample
// is worked out from its own position. The cubic, Lanczos and antialiasing
// filters come from the library's coefficient functions, which have exact
// tests of their own.
#pragma once

#include <algorithm>
#include <cmath>
#include <string>

#include "resample/antialias.h"
#include "resample/cubic.h"
#include "resample/lanczos.h"
#include "resample_testing.h"

namespace morva::testing {
namespace model {

// d = (x + 0.5) * scale - 0.5 + offset, k = floor(d), fraction d - k.
struct Position { double d; int32_t k; double fraction; };

inline Position position(int32_t x, double scale, double offset) {
    const double d = (double(x) + 0.5) * scale - 0.5 + offset;
    const double k = std::floor(d);
    return {d, int32_t(std::fmax(std::fmin(k, 1e9), -1e9)), d - k};
}

inline int32_t limit(double r, int32_t top) { return r < 0 ? 0 : (r > top ? top : int32_t(r)); }

// The single rounding of rims: trunc(v + 0.5000001) in float64.
inline int32_t roundRim(float v, int32_t top) { return limit(std::trunc(double(v) + 0.5000001), top); }

template <class T>
constexpr int32_t kTop = sizeof(T) == 1 ? 255 : 65535;

// ---- Nearest neighbour ----

// Entries in blocks of four from the start add the offset before the bias,
// the last count % 4 after it.
inline int32_t nearestIndex(int32_t i, int32_t count, int32_t first, double scale, double offset, int32_t length) {
    const double centre = double(first + i) + 0.5;
    const double d = i < count - count % 4 ? centre * scale + offset - 1e-10 : centre * scale - 1e-10 + offset;
    return limit(std::trunc(d), length - 1);
}

template <class T>
int32_t nearest(const Plane<T>& src, const ResizeGeometry& g, int32_t i, int32_t j, int32_t c) {
    return src.at(nearestIndex(j, g.width, g.x0, g.xScale, g.xOffset, src.width),
                  nearestIndex(i, g.height, g.y0, g.yScale, g.yOffset, src.height), c);
}

// ---- Linear ----

inline int32_t q14(double fraction) {
    const double v = fraction * 16384.0 + 1e-07;
    return v < 0 ? 0 : (v > 16384 ? 16384 : int32_t(v));
}

// Rims: one rounding at 14 bits (8u), or float32 then the rim rounding (16u).
template <class T>
int32_t linearRim(T a, T b, double fraction) {
    if constexpr (sizeof(T) == 1) return ((16384 - q14(fraction)) * a + q14(fraction) * b + 8192) >> 14;
    return roundRim(float(a) + float(int32_t(b) - int32_t(a)) * float(fraction), 65535);
}

// Interior: two roundings (8u: across at 8 bits, down at 20) or float32
// throughout, + 0.5 + 2^-23 and truncated (16u).
template <class T>
int32_t linearInterior(T a0, T b0, T a1, T b1, double fx, double fy) {
    if constexpr (sizeof(T) == 1) {
        const int32_t f = q14(fx), g = q14(fy);
        const int32_t upper = (a0 * (16384 - f) + b0 * f + 128) >> 8, lower = (a1 * (16384 - f) + b1 * f + 128) >> 8;
        return limit((upper * (16384 - g) + lower * g + 524288) >> 20, 255);
    }
    const float f = float(fx), g = float(fy);
    const float upper = float(a0) + (float(b0) - float(a0)) * f, lower = float(a1) + (float(b1) - float(a1)) * f;
    return limit(std::trunc(double(upper + (lower - upper) * g + 0.50000011920928955078125f)), 65535);
}

template <class T>
int32_t linear(const Plane<T>& src, const ResizeGeometry& g, int32_t i, int32_t j, int32_t c) {
    const int32_t W = src.width, H = src.height;
    const Position py = position(g.y0 + i, g.yScale, g.yOffset), px = position(g.x0 + j, g.xScale, g.xOffset);
    const auto at = [&](int32_t x, int32_t y) { return src.at(x, y, c); };
    if (py.d < 0.0 || py.d >= H - 1) {
        // Rim row: one source row, taps limited to it.
        const int32_t row = py.d < 0.0 ? 0 : H - 1;
        const int32_t a = px.k < 0 ? 0 : (px.k > W - 2 ? W - 1 : px.k);
        const int32_t b = px.k < 0 ? 0 : (px.k > W - 2 ? W - 1 : px.k + 1);
        return linearRim(at(a, row), at(b, row), px.fraction);
    }
    if (px.d < 0.0 || px.d >= W - 1) {
        // Rim column: one source column, rows k and k + 1.
        const int32_t column = px.d < 0.0 ? 0 : W - 1;
        return linearRim(at(column, py.k), at(column, py.k + 1), py.fraction);
    }
    return linearInterior(at(px.k, py.k), at(px.k + 1, py.k), at(px.k, py.k + 1), at(px.k + 1, py.k + 1), px.fraction,
                          py.fraction);
}

// ---- Cubic family ----

template <class T>
int32_t cubic(const Plane<T>& src, const ResizeGeometry& g, int32_t i, int32_t j, int32_t c) {
    const int32_t W = src.width, H = src.height;
    const Position py = position(g.y0 + i, g.yScale, g.yOffset), px = position(g.x0 + j, g.xScale, g.xOffset);
    float y[4], x[4];
    cubicCoefficients(g.interpolation, float(py.fraction), y);
    cubicCoefficients(g.interpolation, float(px.fraction), x);
    const auto at = [&](int32_t col, int32_t row) { return float(src.at(col, row, c)); };

    if (py.d < 1.0 || py.d >= H - 2) {
        // Rows over the full width: column taps clamped, no collapsing.
        const int32_t k = px.k;
        int32_t t[4] = {k - 1, k, k + 1, k + 2};
        if (k < 0) t[0] = t[1] = t[2] = 0, t[3] = 1;
        else if (k == 0) t[0] = 0;
        else if (k == W - 2) t[3] = W - 1;
        else if (k > W - 2) t[0] = W - 2, t[1] = t[2] = t[3] = W - 1;
        const auto S = [&](int32_t r) {
            return ((at(t[0], r) * x[0] + at(t[1], r) * x[1]) + at(t[2], r) * x[2]) + at(t[3], r) * x[3];
        };
        float v;
        if (py.d < 0.0) v = S(0) * ((y[0] + y[1]) + y[2]) + S(1) * y[3];
        else if (py.d < 1.0) v = (S(0) * (y[0] + y[1]) + S(2) * y[3]) + S(1) * y[2];
        else if (py.k > H - 2) v = ((S(H - 2) * y[0] + S(H - 1) * y[3]) + S(H - 1) * y[2]) + S(H - 1) * y[1];
        else v = ((S(H - 3) * y[0] + S(H - 1) * y[3]) + S(H - 1) * y[2]) + S(H - 2) * y[1];
        return roundRim(v, kTop<T>);
    }
    if (px.d < 1.0 || px.d >= W - 2) {
        // Columns at the sides of the rows between: coefficients collapse.
        const auto Tr = [&](int32_t r) {
            if (px.d < 0.0) return at(0, r) * ((x[0] + x[1]) + x[2]) + at(1, r) * x[3];
            if (px.d < 1.0) return (at(0, r) * (x[0] + x[1]) + at(1, r) * x[2]) + at(2, r) * x[3];
            if (px.d >= W - 1) return at(W - 2, r) * x[0] + at(W - 1, r) * ((x[1] + x[2]) + x[3]);
            return (at(W - 3, r) * x[0] + at(W - 2, r) * x[1]) + at(W - 1, r) * (x[2] + x[3]);
        };
        const int32_t r = py.k;
        return roundRim(((Tr(r - 1) * y[0] + Tr(r + 2) * y[3]) + Tr(r + 1) * y[2]) + Tr(r) * y[1], kTop<T>);
    }
    // Interior: one-channel sums associate by the column's place in the
    // interior row, blocks of four from its start; halves round to even.
    int32_t low = 0, interior = 0;
    for (int32_t n = 0; n < g.width; ++n) {
        const double d = position(g.x0 + n, g.xScale, g.xOffset).d;
        low += d < 1.0;
        interior += d >= 1.0 && d < W - 2;
    }
    const bool blocked = j - low < interior - interior % 4;
    float across[4];
    for (int32_t n = 0; n < 4; ++n) {
        float a[4];
        for (int32_t t = 0; t < 4; ++t) a[t] = at(px.k - 1 + t, py.k - 1 + n) * x[t];
        if (src.channels != 1) across[n] = (a[0] + a[3]) + (a[1] + a[2]);
        else if (blocked) across[n] = (a[0] + a[1]) + (a[2] + a[3]);
        else across[n] = (a[0] + a[2]) + (a[1] + a[3]);
    }
    const float v = (across[0] * y[0] + across[1] * y[1]) + (across[2] * y[2] + across[3] * y[3]);
    return limit(std::nearbyint(v), kTop<T>);
}

// ---- Lanczos ----

template <class T>
int32_t lanczos(const Plane<T>& src, const ResizeGeometry& g, int32_t i, int32_t j, int32_t c) {
    const int32_t W = src.width, H = src.height;
    const Position py = position(g.y0 + i, g.yScale, g.yOffset), px = position(g.x0 + j, g.xScale, g.xOffset);
    float y[6], x[6];
    ownLanczosCoefficients(float(py.fraction), y);
    ownLanczosCoefficients(float(px.fraction), x);
    const auto at = [&](int32_t col, int32_t row) { return float(src.at(col, row, c)); };

    if (py.d < 2.0 || py.d >= H - 3 || px.d < 2.0 || px.d >= W - 3) {
        // Every tap clamped; coinciding rows add their coefficients first.
        const int32_t kx = std::clamp(px.k, -1, W - 1), ky = std::clamp(py.k, -1, H - 1);
        const auto S = [&](int32_t r) {
            float v = at(std::clamp(kx - 2, 0, W - 1), r) * x[0];
            for (int32_t t = 1; t < 6; ++t) v = v + at(std::clamp(kx - 2 + t, 0, W - 1), r) * x[t];
            return v;
        };
        float v = 0.0f;
        for (int32_t t = 0; t < 6;) {
            const int32_t r = std::clamp(ky - 2 + t, 0, H - 1);
            const bool first = t == 0;
            float weight = y[t++];
            while (t < 6 && std::clamp(ky - 2 + t, 0, H - 1) == r) weight = weight + y[t++];
            v = first ? S(r) * weight : v + S(r) * weight;
        }
        return roundRim(v, kTop<T>);
    }
    // Interior: halves round up.
    float v = 0.0f;
    for (int32_t n = 0; n < 6; ++n) {
        float a[6];
        for (int32_t t = 0; t < 6; ++t) a[t] = at(px.k - 2 + t, py.k - 2 + n) * x[t];
        const float across = src.channels == 1 ? ((a[0] + a[4]) + a[2]) + ((a[1] + a[5]) + a[3])
                                               : ((a[0] + a[1]) + (a[2] + a[3])) + (a[4] + a[5]);
        v = v + across * y[n];
    }
    return limit(std::trunc(v + 0.50000011920928955078125f), kTop<T>);
}

// ---- Super-sampling ----

// A source position on the box's grid, counted from the first sample, and
// the part of it inside a box: a head left over from the box before, a whole
// sample, or a tail that the next box starts on.
enum class PartKind { Head, Whole, Tail };
struct Part { int64_t at; double weight; PartKind kind; };

// The boxes of `count` target coordinates in turn: a head part left over
// from the box before, whole samples, a tail part that the next box starts
// on. Parts at or behind `end` are not read.
inline std::vector<std::vector<Part>> superBoxes(int32_t count, double scale, double cover, bool whole, int64_t end) {
    std::vector<std::vector<Part>> boxes(static_cast<size_t>(count));
    int64_t p = 0;
    double left = 0.0;  // the part of sample p the box before left over
    for (int32_t i = 0; i < count; ++i) {
        std::vector<Part>& box = boxes[size_t(i)];
        const auto add = [&](int64_t at, double weight, PartKind kind) {
            if (at < end) box.push_back({at, weight, kind});
        };
        if (whole) {
            for (int64_t k = 0; k < int64_t(std::floor(scale)); ++k) add(p++, 1.0, PartKind::Whole);
            continue;
        }
        const double w = i == 0 ? cover : 1.0 - left;
        const bool head = w > 1e-7;
        if (head) add(p++, w, PartKind::Head);
        const double m = head ? std::floor(scale - w + 1e-7) : std::floor(scale);
        for (int64_t k = 0; k < int64_t(m); ++k) add(p++, 1.0, PartKind::Whole);
        left = head ? scale - w - m : scale - m;
        if (left > 1e-7) add(p, left, PartKind::Tail);
    }
    return boxes;
}

// The processor's conversion: INT32_MIN outside the 32-bit range.
inline int32_t convert(double v) { return v > -2147483649.0 && v < 2147483648.0 ? int32_t(v) : INT32_MIN; }

inline double firstSample(double start) { return std::floor(start >= 0.0 ? start + 1e-10 : start - 1e-10); }

// The target's rectangle as super-sampling writes it: boxes mapped from
// pixel corners, float32 sums of float32 parts (integer sums in the whole
// form), and the mean rounded without saturation.
template <class T>
void super(const Plane<T>& src, const ResizeGeometry& g, Plane<T>& target) {
    const double x0 = g.x0 * g.xScale + g.xOffset, y0 = g.y0 * g.yScale + g.yOffset;
    const double c0 = firstSample(x0), r0 = firstSample(y0);
    double coverX = 1.0 - x0 + c0, coverY = 1.0 - y0 + r0;
    coverX -= std::trunc(coverX);
    coverY -= std::trunc(coverY);
    const bool whole = g.xScale - std::trunc(g.xScale) <= 1e-7 && g.yScale - std::trunc(g.yScale) <= 1e-7 &&
                       coverX <= 1e-7 && coverY <= 1e-7;
    // The accumulator row: leftExtra + n + rightExtra columns from c0.
    const double right = std::ceil(g.width * g.xScale - 1e-10 + x0);
    const int64_t rightExtra = right > src.width ? int64_t(right) - src.width : 0;
    const int64_t columns = std::min<int64_t>(int64_t(right) - int64_t(c0) - rightExtra, src.width) + rightExtra +
                            (x0 < 0 ? -int64_t(c0) : 0);
    const auto rows = superBoxes(g.height, g.yScale, coverY, whole, INT64_MAX);
    const auto cols = superBoxes(g.width, g.xScale, coverX, whole, columns);
    const auto sample = [&](const Part& row, const Part& col, int32_t c) {
        return src.at(int32_t(std::clamp<int64_t>(int64_t(c0) + col.at, 0, src.width - 1)),
                      int32_t(std::clamp<int64_t>(int64_t(r0) + row.at, 0, src.height - 1)), c);
    };
    for (int32_t i = 0; i < g.height; ++i)
        for (int32_t j = 0; j < g.width; ++j)
            for (int32_t c = 0; c < src.channels; ++c) {
                double sum;
                if (whole) {
                    uint32_t total = 0;
                    for (const Part& row : rows[size_t(i)])
                        for (const Part& col : cols[size_t(j)]) total += sample(row, col, c);
                    sum = total;
                } else {
                    const auto column = [&](const Part& col) {
                        float acc = 0.0f;
                        for (const Part& row : rows[size_t(i)]) acc = float(double(sample(row, col, c)) * row.weight) + acc;
                        return acc;
                    };
                    float v = 0.0f, even = 0.0f, odd = 0.0f;
                    int run = 0;
                    for (const Part& col : cols[size_t(j)]) {
                        if (col.kind == PartKind::Head) v = float(double(column(col)) * col.weight);
                        if (col.kind == PartKind::Whole) (run++ % 2 == 0 ? even : odd) += column(col);
                    }
                    v = v + (even + odd);
                    for (const Part& col : cols[size_t(j)])
                        if (col.kind == PartKind::Tail) v = v + float(double(column(col)) * col.weight);
                    sum = v;
                }
                target.at(g.x0 + j, g.y0 + i, c) = T(convert(sum * g.factorProduct + 0.5));
            }
}

// ---- Antialiasing ----

// The slots of one target coordinate: clamped source indices and weights
// normalised by their float64 sum.
struct Slots { std::vector<int32_t> index; std::vector<float> weight; };

inline Slots antialiasSlots(int32_t id, int32_t x, double s, double offset, int32_t size) {
    const double R = antialiasReach(id), r = s >= 1.0 ? R * s : R, k = s >= 1.0 ? 1.0 / s : 1.0;
    const int64_t taps = 2 * int64_t(std::ceil(r)) + 1;
    Slots slots{std::vector<int32_t>(size_t(taps), 0), std::vector<float>(size_t(taps), 0.0f)};
    const double p = (x + 0.5) * s, centre = p + offset;
    const double lo = std::ceil(offset - r + p), hi = std::trunc(p + (r + offset));
    if (lo > hi) return slots;
    double sum = 0.0;
    for (int64_t i = int64_t(lo); i <= int64_t(hi) && i - int64_t(lo) < taps; ++i) {
        const double d = std::fabs(centre - double(i));
        const double w = s > 1.0 ? antialiasFilter(id, d * k) * k : antialiasFilter(id, d);
        sum = sum + w;
        slots.index[size_t(i - int64_t(lo))] = int32_t(std::clamp<int64_t>(i, 0, size - 1));
        slots.weight[size_t(i - int64_t(lo))] = float(w);
    }
    for (float& w : slots.weight) w = float(double(w) / sum);
    return slots;
}

// Across in float64 (one sample a pixel: even and odd slots but the last
// apart, then the last), down in float32, rounded and clamped.
template <class T>
int32_t antialias(const Plane<T>& src, const ResizeGeometry& g, int32_t i, int32_t j, int32_t c) {
    const Slots x = antialiasSlots(g.interpolation, g.x0 + j, g.xScale, g.xOffset, src.width);
    const Slots y = antialiasSlots(g.interpolation, g.y0 + i, g.yScale, g.yOffset, src.height);
    const auto across = [&](int32_t row) {
        const auto product = [&](size_t t) { return double(src.at(x.index[t], row, c)) * double(x.weight[t]); };
        const size_t last = x.index.size() - 1;
        if (src.channels != 1) {
            double sum = 0.0;
            for (size_t t = 0; t <= last; ++t) sum = sum + product(t);
            return float(sum);
        }
        double even = 0.0, odd = 0.0;
        for (size_t t = 0; t < last; ++t) (t % 2 == 0 ? even : odd) = (t % 2 == 0 ? even : odd) + product(t);
        return float((even + odd) + product(last));
    };
    float acc = 0.0f;
    for (size_t t = 0; t < y.index.size(); ++t) acc = acc + y.weight[t] * across(y.index[t]);
    return limit(std::trunc(double(acc) + 0.5000001), kTop<T>);
}

// The target as the resize writes it over `target`, for the id after
// degradation.
template <class T>
void resize(const Plane<T>& src, const ResizeGeometry& g, Plane<T>& target) {
    const int32_t id = g.interpolation;
    if (id == INTER_SUPER) return super(src, g, target);
    const bool antialiased = g.antialiasing && id != INTER_NN;
    for (int32_t i = 0; i < g.height; ++i)
        for (int32_t j = 0; j < g.width; ++j)
            for (int32_t c = 0; c < src.channels; ++c)
                target.at(g.x0 + j, g.y0 + i, c) =
                    T(antialiased          ? antialias(src, g, i, j, c)
                      : id == INTER_NN     ? nearest(src, g, i, j, c)
                      : id == INTER_LINEAR ? linear(src, g, i, j, c)
                      : id == INTER_LANCZOS ? lanczos(src, g, i, j, c)
                                            : cubic(src, g, i, j, c));
}

}  // namespace model

// One random resize at slot 0 and at the highest slot: the status of the
// check, the work buffer's margins intact, and the target as the model
// writes it. True if the resize had anything to write.
template <class T>
bool checkRandomResize(const RandomResize& r, int32_t channels, int32_t interpolation, Rng& rng) {
    SCOPED_TRACE(r.describe() + " channels " + std::to_string(channels) + " id " + std::to_string(interpolation));
    Plane<T> src = makePlane<T>(r.srcWidth, r.srcHeight, channels, rng.uniform(0, 5));
    fillRandom(src, rng);
    Plane<T> background = makePlane<T>(r.dstWidth, r.dstHeight, channels, rng.uniform(0, 5));
    fillRandom(background, rng);
    ResizeGeometry g;
    const IppStatus check = geometryOf({r.srcWidth, r.srcHeight}, r.srcRoi, r.dstRoi, r.xFactor, r.yFactor, r.xShift,
                                       r.yShift, interpolation, g);
    Plane<T> expected = background;
    if (check == ippStsNoErr) model::resize(src, g, expected);
    const size_t misalignment = size_t(rng.uniform(0, 63));
    for (int slot : {0, highestCpuSlot()}) {
        setCpuSlot(slot);
        SCOPED_TRACE("slot " + std::to_string(slot));
        Plane<T> dst = background;
        const PathRun run = resizeGuarded(src, r.srcRoi, dst, r.dstRoi, r.xFactor, r.yFactor, r.xShift, r.yShift,
                                          interpolation, misalignment);
        EXPECT_EQ(run.status, check);
        EXPECT_TRUE(run.bufferIntact);
        EXPECT_EQ(dst.samples, expected.samples);
    }
    return check == ippStsNoErr;
}

}  // namespace morva::testing
