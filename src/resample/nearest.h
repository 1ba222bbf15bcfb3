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

// Forms of the row lookup for 1, 3 or 4 samples per pixel.
const KernelTable<NearestRowFn<uint8_t>>& nearestRow8uTable(int32_t channels);
const KernelTable<NearestRowFn<uint16_t>>& nearestRow16uTable(int32_t channels);

// The family of INTER_NN.
IppStatus resizeNearest(const ResizeJob& job);

}  // namespace morva
