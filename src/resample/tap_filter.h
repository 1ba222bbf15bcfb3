// Machinery shared by the separable float32 families with several taps a
// side, the cubics (four taps) and Lanczos (six): the per-coordinate tables,
// the rim counts, the ring of cached rows of the interior, and the walk over
// the rim pixels. A family adds its coefficients, its rim formulas and its row
// kernels; everything here has one form.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kernels/dispatch.h"
#include "resample/resize_common.h"
#include "resample/resize_general.h"

namespace morva {

// Across: for each of `width` columns, the Taps samples around source column
// columns[j] (taps k - Taps / 2 + 1 .. k + Taps / 2, each a pixel apart),
// weighted by coefficients[Taps * j + t] and summed as the family defines.
// One float32 per processed sample, interleaved like a pixel row.
template <class T>
using TapRow = void(const T* srcRow, const int32_t* columns, const float* coefficients, float* out,
                    int32_t width);
template <class T>
using TapRowFn = TapRow<T>*;

// Down: the cached rows rows[0 .. Taps - 1] weighted by coefficients[0 ..
// Taps - 1], rounded and saturated into `count` target samples.
template <class T>
using TapBlend = void(const float* const* rows, const float* coefficients, T* dst, int32_t count);
template <class T>
using TapBlendFn = TapBlend<T>*;

// Coefficients c[0 .. Taps - 1] of one float32 fraction.
using TapCoefficientsFn = void (*)(float fraction, float* c);

// Rim counts of one axis, n from 0 to Taps / 2 - 1: low[n] entries whose
// position d lies below n, high[n] entries with d at or above length - 1 - n.
// Positions grow with the coordinate, so these are a prefix and a suffix.
template <int Taps>
struct AxisRim {
    static constexpr int kLevels = Taps / 2;
    int32_t low[kLevels] = {};
    int32_t high[kLevels] = {};
    // The prefix and suffix whose taps would leave the source.
    int32_t first() const { return low[kLevels - 1]; }
    int32_t last() const { return high[kLevels - 1]; }
};

// Where each table lies in the work buffer.
struct TapAlignment {
    size_t fractions;     // column and row fractions
    size_t rowBuffers;    // the cached rows
    size_t coefficients;  // column and row coefficients
};

// The tables of one resize, laid out behind the column and row tables.
template <int Taps>
struct TapPlan {
    float* columnFractions = nullptr;
    float* rowFractions = nullptr;
    float* rowBuffers[Taps] = {};
    float* columnCoefficients = nullptr;  // Taps per target column
    float* rowCoefficients = nullptr;     // Taps per target row
    AxisRim<Taps> columns;
    AxisRim<Taps> rows;
    int32_t interiorWidth = 0;   // columns between the rims, at least 0
    int32_t interiorHeight = 0;  // rows between the rims, at least 0
    int32_t pixelStride = 1;     // what a column entry is k times
};

// Fills the column and row tables of the job (k times the pixel stride, k
// times the source step), the fractions float32(d - k), the rim counts and the
// coefficients, in the work buffer behind the row table.
template <int Taps>
TapPlan<Taps> planTapFilter(const ResizeJob& job, const TapAlignment& alignment,
                            TapCoefficientsFn coefficients);

// True if the interior's columns double the source: fractions 3/4 and 1/4
// in turn (axis_shape.h), so that two sets of coefficients serve every
// column and the taps of neighbouring columns lie side by side.
template <int Taps>
bool interiorColumnsDouble(const ResizeJob& job, const TapPlan<Taps>& plan);

// The interior: each needed source row interpolated across once into the ring
// of Taps cached rows, then the cached rows blended into each target row.
template <int Taps, class T>
void runTapInterior(const ResizeJob& job, const TapPlan<Taps>& plan, TapRowFn<T> row,
                    TapBlendFn<T> blend);

// Calls pixel(i, j) for each rim pixel of the target: the first rows over the
// full width, then the first and last columns of the rows between, then the
// last rows over the full width.
template <int Taps, class Pixel>
void forEachRimPixel(const ResizeJob& job, const TapPlan<Taps>& plan, Pixel pixel) {
    const int32_t width = job.args->width, height = job.args->height;
    const int32_t top = plan.rows.first(), bottom = plan.rows.last();
    const int32_t left = plan.columns.first(), right = plan.columns.last();
    for (int32_t i = 0; i < top; ++i)
        for (int32_t j = 0; j < width; ++j) pixel(i, j);
    for (int32_t i = top; i < height - bottom; ++i) {
        for (int32_t j = 0; j < left; ++j) pixel(i, j);
        for (int32_t j = width - right; j < width; ++j) pixel(i, j);
    }
    for (int32_t i = height - bottom; i < height; ++i)
        for (int32_t j = 0; j < width; ++j) pixel(i, j);
}

// The rim's rounding: trunc(float64(v) + 0.5000001), limited to 0..maxValue.
inline int32_t roundRimValue(float v, int32_t maxValue) {
    return clampSample(truncToInt32(double(v) + 0.5000001), maxValue);
}

// The blends' saturation of 32-bit results. 8u: limited to 0..255. 16u: the
// result plus -32768 in wrapping 32-bit arithmetic, saturated to int16, plus
// 0x8000 again: the vector forms' packing, modelled to the last case.
inline uint8_t saturate8u(int32_t v) { return uint8_t(v < 0 ? 0 : (v > 255 ? 255 : v)); }
inline uint16_t saturate16u(int32_t v) {
    const int32_t biased = int32_t(uint32_t(v) + uint32_t(-32768));
    const int32_t s = biased < -32768 ? -32768 : (biased > 32767 ? 32767 : biased);
    return uint16_t(uint32_t(s) + 0x8000u);
}

template <class T>
T saturateSample(int32_t v);
template <>
inline uint8_t saturateSample<uint8_t>(int32_t v) {
    return saturate8u(v);
}
template <>
inline uint16_t saturateSample<uint16_t>(int32_t v) {
    return saturate16u(v);
}

// k of a row or column of the rim prefix or suffix, from the counts: -1 for
// d below 0, 0 for d below 1, ...; length - 1 for d at or above length - 1,
// length - 2 below that, ... The tables hold the same k.
template <int Taps>
int32_t rimK(const AxisRim<Taps>& rim, int32_t index, int32_t count, int32_t length) {
    for (int n = 0; n < AxisRim<Taps>::kLevels; ++n)
        if (index < rim.low[n]) return n - 1;
    for (int n = 0; n < AxisRim<Taps>::kLevels; ++n)
        if (index >= count - rim.high[n]) return length - 1 - n;
    return -1;  // not reached for indices of the prefix or suffix
}

// Conversions of the blends, as the processor's converting instructions do
// them: anything outside the 32-bit range, NaN included, gives INT32_MIN.
// Round in the current rounding mode (ties to even unless a caller changed it;
// the vector forms use the same mode).
int32_t roundToInt32(float v);
int32_t truncFloatToInt32(float v);

}  // namespace morva
