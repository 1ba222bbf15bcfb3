// Lanczos resampling: six taps a side through a three-lobe window taken from
// a stored table by linear interpolation, each set of coefficients
// normalised; float32 throughout the pixel loops. A rim two pixels deep in
// scalar code with clamped taps, and an interior over a ring of six cached
// rows. The window isn't stretched when reducing.
#pragma once

#include <cstdint>

#include "kernels/dispatch.h"
#include "resample/tap_filter.h"

namespace morva {

// L(i / 100) for i = 0 .. 301: sinc(d) * sinc(d / 3) below 3, 0 from 3 on.
constexpr int kLanczosTableSize = 302;
extern const float ownLanczosTable[kLanczosTableSize];

// Coefficients of taps k - 2 .. k + 3 for a fraction f, all in float32:
// t = -f - 2; per tap a = min(|t + n|, 3) * 100, i = trunc(a), the table
// interpolated at a; then each divided by w0 + w1 + w3 + w2 + w4 + w5.
void ownLanczosCoefficients(float fraction, float c[6]);

// Across: a_t = float32(p[k + (t - 2) pixels]) * c_t. One channel sums
// ((a0 + a4) + a2) + ((a1 + a5) + a3); three and four channels sum
// ((a0 + a1) + (a2 + a3)) + (a4 + a5).
const KernelTable<TapRowFn<uint8_t>>& lanczosRow8uTable(int32_t channels);
const KernelTable<TapRowFn<uint16_t>>& lanczosRow16uTable(int32_t channels);

// The one-channel row where the interior's columns double the source
// (interiorColumnsDouble): the scalar definition and the general forms, and
// forms that need no gather.
const KernelTable<TapRowFn<uint8_t>>& lanczosDoubleRow8uTable();
const KernelTable<TapRowFn<uint16_t>>& lanczosDoubleRow16uTable();

// Down: v = 0 + A * c0 + B * c1 + ... + F * c5 added from the left in
// float32, then v + 0.5000001f in float32, truncated, saturated.
const KernelTable<TapBlendFn<uint8_t>>& lanczosBlend8uTable();
const KernelTable<TapBlendFn<uint16_t>>& lanczosBlend16uTable();

// The family of INTER_LANCZOS.
IppStatus resizeLanczos(const ResizeJob& job);

}  // namespace morva
