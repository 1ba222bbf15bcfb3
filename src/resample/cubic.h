// The cubic family, ids INTER_CUBIC to INTER_CUBIC_B05C03: four taps a side
// from one of four kernel functions, float32 throughout the pixel loops. A
// rim of edge pixels in scalar code with clamped taps, and an interior over a
// ring of four cached rows.
#pragma once

#include <cstdint>

#include "kernels/dispatch.h"
#include "resample/tap_filter.h"

namespace morva {

// The kernel of a cubic id at distance d, in float64, in the evaluation
// order that fixes its last bit; 0.0 from d = 2 on.
double cubicKernel(int32_t id, double d);

// Coefficients of taps k - 1 .. k + 2 for a fraction f: distances |t|,
// |1 + t|, |t + 2|, |t + 3| in float32 with t = -1 - f, each through the
// kernel in float64, narrowed to float32. Not normalised.
void cubicCoefficients(int32_t id, float fraction, float c[4]);

// Across: a_t = float32(p[k + (t - 1) pixels]) * c_t. One channel sums
// (a0 + a1) + (a2 + a3) in blocks of four columns from the row's start and
// (a0 + a2) + (a1 + a3) over the last width % 4; three and four channels
// sum (a0 + a3) + (a1 + a2).
const KernelTable<TapRowFn<uint8_t>>& cubicRow8uTable(int32_t channels);
const KernelTable<TapRowFn<uint16_t>>& cubicRow16uTable(int32_t channels);

// The one-channel row where the interior's columns double the source
// (interiorColumnsDouble): the scalar definition and the general forms, and
// forms that need no gather.
const KernelTable<TapRowFn<uint8_t>>& cubicDoubleRow8uTable();
const KernelTable<TapRowFn<uint16_t>>& cubicDoubleRow16uTable();

// Down: v = (A * c0 + B * c1) + (C * c2 + D * c3) in float32, rounded to a
// whole number in the current mode (ties to even), saturated.
const KernelTable<TapBlendFn<uint8_t>>& cubicBlend8uTable();
const KernelTable<TapBlendFn<uint16_t>>& cubicBlend16uTable();

// The family of the four cubic ids.
IppStatus resizeCubic(const ResizeJob& job);

}  // namespace morva
