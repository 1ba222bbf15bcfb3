// Linear resizes whose tables reduce the two passes of the interior to one
// integer formula: exact halving, exact doubling and resizes down a column
// only, chosen by the shapes of the interior's tables (axis_shape.h).
#pragma once

#include <cstdint>

#include "kernels/dispatch.h"
#include "resample/axis_shape.h"

namespace morva {

// Halving across and down: per sample the mean of a 2 x 2 block, halves up,
// (a0 + a1 + b0 + b1 + 2) >> 2. upper and lower point at the left pixel of
// the first block in two source rows; width counts target pixels.
//
// Why it is exact. 8u: a Q14 fraction of 8192 gives across (8192 (a0 + a1)
// + 128) >> 8 = 32 (a0 + a1), and down (32 * 8192 * sum + 2^19) >> 20 =
// (sum + 2) >> 2. 16u: each float32 step is exact at halves and quarters,
// so the blend sees sum / 4 and + 0.5 + 2^-23 truncates to (sum + 2) >> 2.
template <class T>
using LinearBox = void(const T* upper, const T* lower, T* dst, int32_t width);
template <class T>
using LinearBoxFn = LinearBox<T>*;

// Doubling across and down: with V(m) = (4 - r) * upper[m] + r * lower[m],
// r the row's fraction in quarters (1 or 3), target column j takes
// ((4 - q) * V(m) + q * V(m + 1) + 8) >> 4 per sample, q its fraction in
// quarters. The first column has m = 0 and q = firstQuarters; after q = 3
// the next column has m + 1 and q = 1, after q = 1 the same m and q = 3.
//
// Why it is exact. 8u: fractions of 4096 and 12288 give across 16 times the
// integer (4 - q) a + q b, and down (16 (4 - r) A + 16 r B) * 4096 + 2^19
// shifted by 20 is the formula. 16u: the float32 steps are exact at
// sixteenths, and sum / 16 + 0.5 + 2^-23 truncates to (sum + 8) >> 4.
template <class T>
using LinearDouble = void(const T* upper, const T* lower, int32_t rowQuarters,
                          int32_t firstQuarters, T* dst, int32_t width);
template <class T>
using LinearDoubleFn = LinearDouble<T>*;

// Down only, every column the source's own, 8u: (a * (16384 - g) + b * g +
// 8192) >> 14 per sample, since across gives 64 a exactly. count counts
// samples. (16u resizes down only keep the general path: no vector form.)
using LinearVertical8u = void(const uint8_t* upper, const uint8_t* lower, uint8_t* dst, int32_t count,
                              int32_t fraction);
using LinearVertical8uFn = LinearVertical8u*;

// Halving and doubling for pixels of 1 or 4 samples of 8 bits and of one
// of 16 bits, which have vector forms: three samples don't fit the lanes,
// and there the two passes of the general path measured faster than a
// scalar single pass.
const KernelTable<LinearBoxFn<uint8_t>>& linearBox8uTable(int32_t channels);
const KernelTable<LinearBoxFn<uint16_t>>& linearBox16uTable();
const KernelTable<LinearDoubleFn<uint8_t>>& linearDouble8uTable(int32_t channels);
const KernelTable<LinearDoubleFn<uint16_t>>& linearDouble16uTable();
const KernelTable<LinearVertical8uFn>& linearVertical8uTable();

}  // namespace morva
