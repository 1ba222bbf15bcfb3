// Linear resampling: a rim of edge pixels in scalar code, and an interior
// in two passes (across into row buffers, then a blend of two row buffers
// down). 8u in fixed point with 14 fraction bits, 16u in float32.
#pragma once

#include <cstdint>

#include "kernels/dispatch.h"
#include "resample/resize_general.h"

namespace morva {

// Across, 8u: for each column j, out = (p[k] * w0 + p[k + pixel] * w1 + 128) >> 8
// per sample, k = columns[j], (w0, w1) = weights[2j], weights[2j + 1]. The
// source row holds srcWidth pixels, and every tap lies inside it.
using LinearRow8u = void(const uint8_t* srcRow, int32_t srcWidth, const int32_t* columns,
                         const int16_t* weights, int16_t* out, int32_t width);
// Down, 8u: dst = sat((a * (16384 - fraction) + b * fraction + 524288) >> 20).
using LinearBlend8u = void(const int16_t* a, const int16_t* b, uint8_t* dst, int32_t count,
                           int32_t fraction);
// Across, 16u: out = p[k] + (p[k + pixel] - p[k]) * fractions[j] in float32.
using LinearRow16u = void(const uint16_t* srcRow, int32_t srcWidth, const int32_t* columns,
                          const float* fractions, float* out, int32_t width);
// Down, 16u: sat(trunc(a + (b - a) * fraction + 0.50000012f)) in float32.
using LinearBlend16u = void(const float* a, const float* b, uint16_t* dst, int32_t count,
                            float fraction);

using LinearRow8uFn = LinearRow8u*;
using LinearBlend8uFn = LinearBlend8u*;
using LinearRow16uFn = LinearRow16u*;
using LinearBlend16uFn = LinearBlend16u*;

// Rim counts of one axis: entries whose position is below 0, and at or
// above length - 1. Positions grow with the coordinate, so these are a
// prefix and a suffix.
struct LinearAxisRim {
    int32_t low = 0;
    int32_t high = 0;
};

// One axis of the 8u tables, for target pixels first .. first + count - 1:
// d = (x + 0.5) * scale - 0.5 + offset in float64, k = floor(d); entry i
// is k * multiplier, k limited to -1 .. length - 1; the Q14 fraction
// f = trunc((d - k) * 16384 + 1e-7) goes in as the pair (16384 - f, f) where
// `pairs`, else alone.
using LinearAxis8u = LinearAxisRim(int32_t* table, int16_t* fractions, bool pairs, int32_t count, int32_t first,
                                   double scale, double offset, int32_t length, int32_t multiplier);
using LinearAxis8uFn = LinearAxis8u*;
const KernelTable<LinearAxis8uFn>& linearAxis8uTable();

// Row kernels for 1, 3 or 4 samples per pixel; blends don't know channels.
const KernelTable<LinearRow8uFn>& linearRow8uTable(int32_t channels);
const KernelTable<LinearBlend8uFn>& linearBlend8uTable();
const KernelTable<LinearRow16uFn>& linearRow16uTable(int32_t channels);
const KernelTable<LinearBlend16uFn>& linearBlend16uTable();

// The family of INTER_LINEAR.
IppStatus resizeLinear(const ResizeJob& job);

}  // namespace morva
