// Nearest neighbour resampling: two index tables, then one lookup per pixel.
#pragma once

#include <cstdint>

#include "kernels/dispatch.h"
#include "resample/resize_general.h"

namespace morva {

// Copies target pixel j of a row from srcRow + columns[j]. srcWidth is the
// source row's length in pixels: every entry lies below it.
template <class T>
using NearestRow = void(const T* srcRow, int32_t srcWidth, const int32_t* columns, T* dst,
                        int32_t width);
template <class T>
using NearestRowFn = NearestRow<T>*;

// One axis of the index tables: entry i is the source pixel of target
// pixel first + i, limited to 0 .. length - 1, times multiplier.
using NearestAxis = void(int32_t* table, int32_t count, int32_t first, double scale, double offset,
                         int32_t length, int32_t multiplier);
using NearestAxisFn = NearestAxis*;
const KernelTable<NearestAxisFn>& nearestAxisTable();

// Rows whose column table steps evenly, from the pixel of target column 0:
// every other source pixel (dst pixel j = src pixel 2j), or each source
// pixel twice (dst pixel j = src pixel (j + phase) / 2, phase 1 where the
// first pixel is taken once).
template <class T>
using NearestEveryOther = void(const T* src, T* dst, int32_t width);
template <class T>
using NearestTwice = void(const T* src, T* dst, int32_t width, int32_t phase);
template <class T>
using NearestEveryOtherFn = NearestEveryOther<T>*;
template <class T>
using NearestTwiceFn = NearestTwice<T>*;

// What a column table reduces to.
struct NearestColumnShape {
    enum Kind { General, Copy, EveryOther, Twice } kind = General;
    int32_t phase = 0;  // of Twice
};
NearestColumnShape nearestColumnShape(const int32_t* columns, int32_t width, int32_t pixel);

// Forms of the row lookup for 1, 3 or 4 samples per pixel.
const KernelTable<NearestRowFn<uint8_t>>& nearestRow8uTable(int32_t channels);
const KernelTable<NearestRowFn<uint16_t>>& nearestRow16uTable(int32_t channels);

// For pixels of 1 or 4 samples of 8 bits and of one of 16 bits, which have
// vector forms; other pixels keep the general lookup, which moves a pixel
// as one word.
const KernelTable<NearestEveryOtherFn<uint8_t>>& nearestEveryOther8uTable(int32_t channels);
const KernelTable<NearestEveryOtherFn<uint16_t>>& nearestEveryOther16uTable();
const KernelTable<NearestTwiceFn<uint8_t>>& nearestTwice8uTable(int32_t channels);
const KernelTable<NearestTwiceFn<uint16_t>>& nearestTwice16uTable();

// The family of INTER_NN.
IppStatus resizeNearest(const ResizeJob& job);

}  // namespace morva
