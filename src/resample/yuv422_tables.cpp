// Table builders of the packed 4:2:2 resize.
//
// Positions are accumulated by repeated float64 addition, as the mapping is
// defined. One builder serves every processor: a 4-wide builder would sum in
// another order and could move a position by an ulp, and the tables are small
// beside the pixel work.
//
// Every index is held inside the image. The mapping leaves it only where the
// scaled extent was rounded up to its minimum (2 samples across, 1 row down)
// and where a region with x > 0 is clipped against luma widths although x
// counts macro-pixels; the last sample of the image stands in there.
#include "resample/yuv422_tables.h"

namespace morva {
namespace {

constexpr double kEpsilon = 1e-7;

// trunc(value) for value >= 0, held at most at `highest`, without converting
// values outside the int32 range.
int32_t truncAtMost(double value, int32_t highest) {
    return value >= highest ? highest : static_cast<int32_t>(value);
}

// Position in the target row of luma j and of the chroma samples of pair p.
ptrdiff_t lumaSample(int32_t j) { return 4 * ptrdiff_t(j >> 1) + 2 * (j & 1); }
ptrdiff_t chromaU(int32_t p) { return 4 * ptrdiff_t(p) + 1; }
ptrdiff_t chromaV(int32_t p) { return 4 * ptrdiff_t(p) + 3; }

// Calls fn(k, position) for k = 0 .. count - 1, position = first + k * step
// by repeated addition.
template <class Fn>
void forEachPosition(int32_t count, double first, double step, Fn&& fn) {
    double position = first;
    for (int32_t k = 0; k < count; ++k) {
        fn(k, position);
        position += step;
    }
}

void buildNearestAxis(int32_t* index, int32_t count, double factor, int32_t left) {
    const double scale = 1.0 / factor;
    forEachPosition(count, 0.5 * scale, scale,
                    [&](int32_t k, double q) { index[k] = yuv422NearestIndex(q, left); });
}

void setLinearWeights(int16_t* weights, ptrdiff_t sample, int16_t upper) {
    weights[2 * sample] = static_cast<int16_t>(16384 - upper);
    weights[2 * sample + 1] = upper;
}

void setCubicCoefficients(const CubicTables& t, ptrdiff_t sample, float tap, bool single) {
    const CubicCoefficients c = cubicCoefficients(tap);
    t.u[sample] = c.u;
    t.v[sample] = c.v;
    t.z[sample] = single ? c.zSingle : c.zPair;
}

}  // namespace

int32_t yuv422NearestIndex(double position, int32_t left) {
    return truncAtMost(position + kEpsilon, left - 1);
}

double yuv422CornerStep(int32_t samples, double factor) {
    const double scaled = samples * factor;
    return scaled > 1.0 ? (samples - 1) / (scaled - 1.0) : 0.0;
}

LinearTap yuv422LinearTap(double position, int32_t left) {
    const int32_t k = truncAtMost(position + kEpsilon, left - 1);
    // The last sample is reached by the upper weight, so nothing behind it
    // is read.
    if (k == left - 1) return {k - 1, 16384};
    return {k, static_cast<int16_t>((position - k) * 16384 + kEpsilon)};
}

CubicTap yuv422CubicTap(double position, int32_t left, int32_t origin) {
    const int32_t k = truncAtMost(position + kEpsilon, left - 1);
    if (k == left - 1) return {k - 2, 2.0f};
    // At the edges the window moves inward instead of repeating samples.
    int32_t base = k;
    if (origin == 0 && k == 0)
        base = k + 1;
    else if (k == left - 2)
        base = k - 1;
    return {base, static_cast<float>(position - base)};
}

void buildNearestTables(const Yuv422Geometry& g, const NearestTables& t) {
    buildNearestAxis(t.rows, g.rows, g.yFactor, g.rowsLeft);
    buildNearestAxis(t.luma, 2 * g.macroPixels, g.xFactor, g.lumaLeft);
    buildNearestAxis(t.chroma, g.macroPixels, g.xFactor, g.chromaLeft);
}

void buildLinearTables(const Yuv422Geometry& g, const LinearTables& t) {
    forEachPosition(g.rows, 0.0, yuv422CornerStep(g.height, g.yFactor), [&](int32_t i, double q) {
        const LinearTap tap = yuv422LinearTap(q, g.rowsLeft);
        t.rows[i] = tap.lower;
        t.rowWeights[i] = tap.upperWeight;
    });
    forEachPosition(2 * g.macroPixels, 0.0, yuv422CornerStep(g.width, g.xFactor),
                    [&](int32_t j, double q) {
                        const LinearTap tap = yuv422LinearTap(q, g.lumaLeft);
                        t.luma[j] = tap.lower;
                        setLinearWeights(t.weights, lumaSample(j), tap.upperWeight);
                    });
    forEachPosition(g.macroPixels, 0.0, yuv422CornerStep(g.width >> 1, g.xFactor),
                    [&](int32_t p, double q) {
                        const LinearTap tap = yuv422LinearTap(q, g.chromaLeft);
                        t.chroma[p] = tap.lower;
                        setLinearWeights(t.weights, chromaU(p), tap.upperWeight);
                        setLinearWeights(t.weights, chromaV(p), tap.upperWeight);
                    });
}

void buildCubicTables(const Yuv422Geometry& g, const CubicTables& t) {
    forEachPosition(g.rows, 0.0, yuv422CornerStep(g.height, g.yFactor), [&](int32_t i, double q) {
        const CubicTap tap = yuv422CubicTap(q, g.rowsLeft, g.rowOrigin);
        t.rows[i] = tap.base;
        t.rowWeights[i] = cubicCoefficients(tap.t);
    });
    // The passes run two macro-pixels at a time; a last odd one takes the
    // scalar form.
    const int32_t lastOdd = (g.macroPixels & 1) ? g.macroPixels - 1 : -1;
    forEachPosition(2 * g.macroPixels, 0.0, yuv422CornerStep(g.width, g.xFactor),
                    [&](int32_t j, double q) {
                        const CubicTap tap = yuv422CubicTap(q, g.lumaLeft, g.lumaOrigin);
                        t.luma[j] = tap.base;
                        setCubicCoefficients(t, lumaSample(j), tap.t, (j >> 1) == lastOdd);
                    });
    forEachPosition(g.macroPixels, 0.0, yuv422CornerStep(g.width >> 1, g.xFactor),
                    [&](int32_t p, double q) {
                        const CubicTap tap = yuv422CubicTap(q, g.chromaLeft, g.chromaOrigin);
                        t.chroma[p] = tap.base;
                        setCubicCoefficients(t, chromaU(p), tap.t, p == lastOdd);
                        setCubicCoefficients(t, chromaV(p), tap.t, p == lastOdd);
                    });
}

}  // namespace morva
