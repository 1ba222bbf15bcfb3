// The antialiasing path's pass across where the column tables are one filter
// with a whole step: a reduction by a whole factor (or none), where every
// target column has the same weights and its first slot lies `step` source
// pixels behind the column before's. The vector forms then need no indices:
// they split each source row once into `step` rows of float64 samples, one
// per phase, and every slot of every target column reads a phase row at a
// fixed distance, as one vector load.
#pragma once

#include <cstdint>

#include "kernels/dispatch.h"

namespace morva {

struct AntialiasStride {
    int32_t step = 1;               // source pixels between target pixels
    int32_t first = 0;              // slot 0's pixel for target column 0; may lie left of the image
    int32_t taps = 0;
    const float* weights = nullptr; // the weights of every target column
};

// One source row of srcWidth pixels across into width target pixels, as the
// general pass across does it on the tables the stride stands for: target
// column c's slot j reads pixel clamp(first + step * c + j) of the row. Slots
// of weight 0 are left out, as adding +0 or -0 to a float64 sum that starts
// at +0 never changes it. `scratch` holds antialiasStrideScratch doubles.
template <class T>
using AntialiasStridedRow = void(const T* row, int32_t srcWidth, const AntialiasStride& stride,
                                 double* scratch, float* out, int32_t width);
template <class T>
using AntialiasStridedRowFn = AntialiasStridedRow<T>*;

// The forms for 1, 3 or 4 samples per pixel; T is uint8_t or uint16_t.
template <class T>
const KernelTable<AntialiasStridedRowFn<T>>& antialiasStridedRowTable(int32_t channels);

// The phase rows' pixels: enough for every slot of every target column.
int64_t antialiasPhasePixels(const AntialiasStride& stride, int32_t width);
// The doubles of scratch a form may use: the phase rows and room for a
// vector read past their end.
int64_t antialiasStrideScratch(const AntialiasStride& stride, int32_t width, int32_t channels);

}  // namespace morva
