// Internal view of the packed 4:2:2 resize: its geometry, the per-coordinate
// tables, the pixel passes with their forms, and the arithmetic that the
// scalar definitions and the vector forms share.
//
// Row buffers and coefficient tables are laid out in target order, four
// samples per target macro-pixel p: Y(2p), U(p), Y(2p + 1), V(p). The
// vertical passes then work sample by sample and write the target directly.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kernels/dispatch.h"
#include "kernels/status.h"
#include "kernels/types.h"
#include "resample/super_sampling_exact.h"

namespace morva {

// The arithmetic helpers below have internal linkage: they are compiled into
// files of different instruction sets, and one shared copy could carry an
// instruction set that the processor lacks.

// Where a resize reads and writes, after the checks and the clip.
struct Yuv422Geometry {
    const uint8_t* src;  // the region's first byte
    ptrdiff_t srcStep;
    uint8_t* dst;
    ptrdiff_t dstStep;
    int32_t width;   // w: clipped region width in luma samples (even)
    int32_t height;  // h: clipped region height in rows
    // Samples from the region's start to the image's end: every read stays
    // below these.
    int32_t lumaLeft, chromaLeft, rowsLeft;
    // The region's start on each axis as the cubic edge rule counts it.
    int32_t lumaOrigin, chromaOrigin, rowOrigin;
    int32_t macroPixels;  // P: target macro-pixels per row
    int32_t rows;         // H: target rows
    double xFactor, yFactor;
};

// ---- Linear ----

// Columns of the linear passes. Weights are (lower, upper) pairs in Q14, one
// pair per target sample in target order.
struct Yuv422LinearColumns {
    const int32_t* luma;     // 2P: the lower of the two luma samples
    const int32_t* chroma;   // P: the lower of the two chroma pairs
    const int16_t* weights;  // 8P: 4P pairs
    int32_t macroPixels;
};

// One source row into 4P samples with 6 fractional bits.
using Yuv422LinearRow = void(const uint8_t* row, const Yuv422LinearColumns& columns,
                             int16_t* out);
// Two passed rows into 4P target bytes; weight is the Q14 weight of rowBelow.
using Yuv422LinearBlend = void(const int16_t* row, const int16_t* rowBelow, int32_t weight,
                               uint8_t* dst, int32_t samples);

namespace {

inline int16_t linearHorizontal(int32_t a, int32_t b, int32_t lower, int32_t upper) {
    return static_cast<int16_t>((a * lower + b * upper + 128) >> 8);
}

inline uint8_t linearVertical(int32_t a, int32_t b, int32_t weight) {
    return static_cast<uint8_t>((a * (16384 - weight) + b * weight + 0x80000) >> 20);
}

}  // namespace

// ---- Cubic ----

// Newton form through four samples at t = -1, 0, 1, 2, in float32. The
// macro-pixels that the two-at-a-time body handles use zPair; a last odd
// macro-pixel takes the scalar form with zSingle and its own rounding. The
// two differ in the last bit, and both are kept.
struct CubicCoefficients {
    float u, v, zPair, zSingle;
};

constexpr float kOneThirdF = 1.0f / 3.0f;  // the float32 nearest to 1/3

// Columns of the cubic passes: the window of a luma sample is luma
// base - 1 .. base + 2, that of a chroma pair pairs base - 1 .. base + 2.
// Coefficients u, v, z per target sample in target order, z already in the
// form that the sample's position calls for.
struct Yuv422CubicColumns {
    const int32_t* luma;    // 2P bases
    const int32_t* chroma;  // P bases
    const float* u;         // 4P each
    const float* v;
    const float* z;
    int32_t macroPixels;
};

// One source row into 4P float32 samples, not clamped.
using Yuv422CubicRow = void(const uint8_t* row, const Yuv422CubicColumns& columns, float* out);
// Four passed rows (window rows base - 1 .. base + 2) into 4P target bytes.
using Yuv422CubicBlend = void(const float* const rows[4], const CubicCoefficients& weights,
                              uint8_t* dst, int32_t macroPixels);

namespace {

inline CubicCoefficients cubicCoefficients(float t) {
    const float u = 1.0f + t;
    const float v = 0.5f * t * u;
    const float tv = (t - 1.0f) * v;
    return {u, v, tv * kOneThirdF, static_cast<float>(static_cast<double>(tv) / 3.0)};
}

inline float cubicNewton(float a, float b, float c, float d, float u, float v, float z) {
    const float d1 = b - a;
    const float d2 = (c - b) - d1;
    const float d3 = b - 2.0f * c + d - d2;
    return a + u * d1 + (v * d2 + z * d3);
}

inline uint8_t saturateByte(int32_t value) {
    return static_cast<uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
}

// Rounding of the two-at-a-time body: float32 addition.
inline uint8_t cubicRoundPair(float value) {
    return saturateByte(static_cast<int32_t>(value + 0.5000001f));
}

// Rounding of the scalar form: float64 addition.
inline uint8_t cubicRoundSingle(float value) {
    return saturateByte(static_cast<int32_t>(static_cast<double>(value) + 0.5000001));
}

// The last odd macro-pixel of a vertical pass, in the scalar form.
inline void cubicBlendSingle(const float* const rows[4], const CubicCoefficients& w,
                             ptrdiff_t sample, uint8_t* dst) {
    for (ptrdiff_t s = sample; s < sample + 4; ++s)
        dst[s] = cubicRoundSingle(
            cubicNewton(rows[0][s], rows[1][s], rows[2][s], rows[3][s], w.u, w.v, w.zSingle));
}

}  // namespace

// ---- Super-sampling ----

// Adds count bytes of a source row into unsigned accumulators.
using Yuv422SumRow = void(const uint8_t* row, uint32_t* acc, int32_t count);
// Adds count bytes of a source row, each weighed in float64 and rounded to
// float32 before it is added.
using Yuv422WeighRow = void(const uint8_t* row, float* acc, int32_t count, double weight);

namespace {
inline float weighedSample(double sample, double weight) {
    return static_cast<float>(sample * weight);
}
}  // namespace

// ---- Forms ----

const KernelTable<Yuv422LinearRow*>& yuv422LinearRowTable();
const KernelTable<Yuv422LinearBlend*>& yuv422LinearBlendTable();
const KernelTable<Yuv422CubicRow*>& yuv422CubicRowTable();
const KernelTable<Yuv422CubicBlend*>& yuv422CubicBlendTable();
const KernelTable<Yuv422SumRow*>& yuv422SumRowTable();
const KernelTable<Yuv422WeighRow*>& yuv422WeighRowTable();

// The passes one resize runs, all of one level.
struct Yuv422Passes {
    Yuv422LinearRow* linearRow;
    Yuv422LinearBlend* linearBlend;
    Yuv422CubicRow* cubicRow;
    Yuv422CubicBlend* cubicBlend;
    Yuv422SumRow* sumRow;
    Yuv422WeighRow* weighRow;
    // Super-sampling in whole numbers where the boxes allow it; null where
    // only the scalar form exists, which is slower than the passes above.
    SuperBox* wholeBox;
};

// The passes of a processor slot; the entry point takes the current one.
Yuv422Passes yuv422PassesForSlot(int slot);
// Every pass in its best form at or below a level, the processor permitting.
// Isa::Scalar gives the scalar definitions. For tests and benchmarks.
Yuv422Passes yuv422PassesUpTo(Isa level);

// ---- Steps of the resize ----

// The entry point's body: every check in order, then the resize through the
// given passes.
IppStatus resizeYuv422With(const Yuv422Passes& passes, const uint8_t* pSrc, IppiSize srcSize,
                           int32_t srcStep, IppiRect srcRoi, uint8_t* pDst, int32_t dstStep,
                           IppiSize dstSize, double xFactor, double yFactor,
                           int32_t interpolation);

// Nearest neighbour, linear and cubic; the method is degraded by srcSize.
IppStatus ownResizeYUV422Tables(const Yuv422Geometry& g, IppiSize srcSize, int32_t interpolation,
                                const Yuv422Passes& passes);

// Box filter over sx by sy source samples per target sample, reading
// sourceMacroPixels macro-pixels of each source row.
IppStatus ownResizeYUV422Super(const Yuv422Geometry& g, int32_t sourceMacroPixels, double sx,
                               double sy, double factorProduct, const Yuv422Passes& passes);

// The method that runs for a requested id on a source of this size.
int32_t yuv422DegradedMethod(int32_t interpolation, IppiSize srcSize);

}  // namespace morva
