// A per-pixel model of the cubic and Lanczos resizes, written apart from the
// library's tables, ring of cached rows and vector forms: every target pixel
// is worked out from its own position. Coefficients come from the library's
// coefficient functions, which have worked tests of their own.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "morva.h"
#include "resample/cubic.h"
#include "resample/lanczos.h"
#include "resize_reference.h"
#include "resize_test_util.h"

namespace morva::testing {

struct TapPosition {
    double d;
    int32_t k;
    float fraction;
};

inline TapPosition tapPosition(int32_t x, double scale, double offset) {
    const double d = (double(x) + 0.5) * scale - 0.5 + offset;
    const double k = std::floor(d);
    return {d, int32_t(std::fmax(std::fmin(k, 1e9), -1e9)), float(d - k)};
}

// How many of `count` positions from `first` lie below `low`, and at or above
// `high`: the rims of one axis.
struct RimSpan {
    int32_t low = 0, high = 0;
};
inline RimSpan rimSpan(int32_t first, int32_t count, double scale, double offset, double low,
                       double high) {
    RimSpan s;
    for (int32_t i = 0; i < count; ++i) {
        const double d = tapPosition(first + i, scale, offset).d;
        s.low += d < low;
        s.high += d >= high;
    }
    return s;
}

template <class T>
constexpr int32_t maxSample() {
    return sizeof(T) == 1 ? 255 : 65535;
}

inline int32_t rimRound(float v, int32_t maxValue) {
    const double r = std::trunc(double(v) + 0.5000001);
    return r < 0 ? 0 : (r > maxValue ? maxValue : int32_t(r));
}

inline int32_t limit(double r, int32_t maxValue) {
    return r < 0 ? 0 : (r > maxValue ? maxValue : int32_t(r));
}

// ---- Cubic ------------------------------------------------------------------

template <class T>
int32_t cubicModelSample(const Plane<T>& src, const ResizeGeometry& g, int32_t id, int32_t i,
                         int32_t j, int32_t c) {
    const int32_t W = src.width, H = src.height;
    const TapPosition py = tapPosition(g.y0 + i, g.yScale, g.yOffset);
    const TapPosition px = tapPosition(g.x0 + j, g.xScale, g.xOffset);
    float y[4], x[4];
    cubicCoefficients(id, py.fraction, y);
    cubicCoefficients(id, px.fraction, x);
    const auto at = [&](int32_t col, int32_t row) { return float(src.at(col, row, c)); };

    if (py.d < 1.0 || py.d >= H - 2) {
        // Rows over the full width: column taps clamped, no collapsing.
        int32_t t[4];
        const int32_t k = px.k;
        if (k < 0)
            t[0] = 0, t[1] = 0, t[2] = 0, t[3] = 1;
        else if (k == 0)
            t[0] = 0, t[1] = 0, t[2] = 1, t[3] = 2;
        else if (k == W - 2)
            t[0] = W - 3, t[1] = W - 2, t[2] = W - 1, t[3] = W - 1;
        else if (k > W - 2)
            t[0] = W - 2, t[1] = W - 1, t[2] = W - 1, t[3] = W - 1;
        else
            t[0] = k - 1, t[1] = k, t[2] = k + 1, t[3] = k + 2;
        const auto S = [&](int32_t r) {
            return ((at(t[0], r) * x[0] + at(t[1], r) * x[1]) + at(t[2], r) * x[2]) +
                   at(t[3], r) * x[3];
        };
        float v;
        if (py.d < 0.0)
            v = S(0) * ((y[0] + y[1]) + y[2]) + S(1) * y[3];
        else if (py.d < 1.0)
            v = (S(0) * (y[0] + y[1]) + S(2) * y[3]) + S(1) * y[2];
        else if (py.k > H - 2)
            v = ((S(H - 2) * y[0] + S(H - 1) * y[3]) + S(H - 1) * y[2]) + S(H - 1) * y[1];
        else
            v = ((S(H - 3) * y[0] + S(H - 1) * y[3]) + S(H - 1) * y[2]) + S(H - 2) * y[1];
        return rimRound(v, maxSample<T>());
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
        const float v = ((Tr(r - 1) * y[0] + Tr(r + 2) * y[3]) + Tr(r + 1) * y[2]) + Tr(r) * y[1];
        return rimRound(v, maxSample<T>());
    }
    // Interior: one-channel sums associate by the column's place in the
    // interior row, blocks of four from its start.
    const RimSpan columns = rimSpan(g.x0, g.width, g.xScale, g.xOffset, 1.0, W - 2);
    const int32_t interiorWidth = g.width - columns.low - columns.high;
    const bool blocked = j - columns.low < interiorWidth - interiorWidth % 4;
    float across[4];
    for (int32_t n = 0; n < 4; ++n) {
        const int32_t r = py.k - 1 + n;
        float a[4];
        for (int32_t t = 0; t < 4; ++t) a[t] = at(px.k - 1 + t, r) * x[t];
        if (src.channels != 1)
            across[n] = (a[0] + a[3]) + (a[1] + a[2]);
        else if (blocked)
            across[n] = (a[0] + a[1]) + (a[2] + a[3]);
        else
            across[n] = (a[0] + a[2]) + (a[1] + a[3]);
    }
    const float v = (across[0] * y[0] + across[1] * y[1]) + (across[2] * y[2] + across[3] * y[3]);
    return limit(std::nearbyint(v), maxSample<T>());
}

// ---- Lanczos ----------------------------------------------------------------

template <class T>
int32_t lanczosModelSample(const Plane<T>& src, const ResizeGeometry& g, int32_t i, int32_t j,
                           int32_t c) {
    const int32_t W = src.width, H = src.height;
    const TapPosition py = tapPosition(g.y0 + i, g.yScale, g.yOffset);
    const TapPosition px = tapPosition(g.x0 + j, g.xScale, g.xOffset);
    float y[6], x[6];
    ownLanczosCoefficients(py.fraction, y);
    ownLanczosCoefficients(px.fraction, x);
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
        bool first = true;
        for (int32_t t = 0; t < 6;) {
            const int32_t r = std::clamp(ky - 2 + t, 0, H - 1);
            float weight = y[t++];
            while (t < 6 && std::clamp(ky - 2 + t, 0, H - 1) == r) weight = weight + y[t++];
            v = first ? S(r) * weight : v + S(r) * weight;
            first = false;
        }
        return rimRound(v, maxSample<T>());
    }
    float v = 0.0f;
    for (int32_t n = 0; n < 6; ++n) {
        float a[6];
        for (int32_t t = 0; t < 6; ++t) a[t] = at(px.k - 2 + t, py.k - 2 + n) * x[t];
        const float across = src.channels == 1 ? ((a[0] + a[4]) + a[2]) + ((a[1] + a[5]) + a[3])
                                               : ((a[0] + a[1]) + (a[2] + a[3])) + (a[4] + a[5]);
        v = v + across * y[n];
    }
    return limit(std::trunc(v + 0.50000011920928955078125f), maxSample<T>());
}

// The target plane as the resize writes it over `target`; id after
// degradation.
template <class T>
void referenceTapFilter(const Plane<T>& src, const ResizeGeometry& g, int32_t id,
                        Plane<T>& target) {
    for (int32_t i = 0; i < g.height; ++i)
        for (int32_t j = 0; j < g.width; ++j)
            for (int32_t c = 0; c < src.channels; ++c)
                target.at(g.x0 + j, g.y0 + i, c) =
                    T(id == INTER_LANCZOS ? lanczosModelSample(src, g, i, j, c)
                                          : cubicModelSample(src, g, id, i, j, c));
}

// One random resize of a source at least minSize pixels each way, at the
// present processor slot, against the model: every target sample, the
// untouched rest of the target, the work buffer's margins, the status. True
// if the resize had anything to write.
template <class T>
bool checkTapResize(RandomResize r, int32_t channels, int32_t id, int32_t minSize, Rng& rng) {
    r.srcWidth = std::max(r.srcWidth, minSize);
    r.srcHeight = std::max(r.srcHeight, minSize);
    SCOPED_TRACE(r.describe() + " channels " + std::to_string(channels) + " id " +
                 std::to_string(id));
    Plane<T> src = makePlane<T>(r.srcWidth, r.srcHeight, channels, rng.uniform(0, 5));
    fillRandom(src, rng);
    Plane<T> dst = makePlane<T>(r.dstWidth, r.dstHeight, channels, rng.uniform(0, 5));
    fillRandom(dst, rng);
    Plane<T> expected = dst;

    ResizeGeometry g;
    static const uint8_t anyBuffer = 0;
    const IppStatus check =
        ownResizeCheck(src.samples.data(), {r.srcWidth, r.srcHeight}, r.srcRoi, dst.samples.data(),
                       r.dstRoi, r.xFactor, r.yFactor, r.xShift, r.yShift, id, &anyBuffer, &g);
    if (check == ippStsNoErr) referenceTapFilter(src, g, id, expected);
    const int32_t size = bufferSize(r.srcRoi, r.dstRoi, channels, id);
    EXPECT_GT(size, 0);
    if (size <= 0) return false;
    GuardedBuffer buffer(size_t(size), size_t(rng.uniform(0, 63)));
    const IppStatus status = runResize(src, r.srcRoi, dst, r.dstRoi, r.xFactor, r.yFactor, r.xShift,
                                       r.yShift, id, buffer.data());
    EXPECT_EQ(status, check);
    EXPECT_TRUE(buffer.marginsIntact());
    EXPECT_EQ(dst.samples, expected.samples);
    return check == ippStsNoErr;
}

}  // namespace morva::testing
