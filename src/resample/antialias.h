// The antialiasing path: a separable convolution in floating point whose
// filter is stretched by the reduction, so that every target sample sees all
// the source samples it covers. Tables of indices and weights per target
// column and row, a pass across over every source row into a float32
// intermediate image, and a pass down into the target.
#pragma once

#include <cstdint>

#include "kernels/dispatch.h"
#include "resample/resize_general.h"

namespace morva {

// The filter of an interpolation id at distance d (at least 0) from its
// centre, in float64, and its reach; 0 for ids without a filter.
double antialiasFilter(int32_t id, double d);
double antialiasReach(int32_t id);

// One axis: s source samples per target sample, the filter's reach r
// stretched by s where it reduces, the kernel scale k, T slots per entry.
struct AntialiasAxis {
    double scale = 0.0;
    double reach = 0.0;
    double kernelScale = 1.0;
    int64_t taps = 0;
};
AntialiasAxis antialiasAxis(int32_t id, double scale);

// Across, `rows` source rows of srcStep samples each into as many rows of
// width * n floats at out: out[c * n + s] = float32 of the float64 sum over
// the `taps` slots of entry c of row[indices[c * taps + j] + s] * weights[c * taps + j],
// for each of the n samples of a pixel. One sample: the even slots and the
// odd slots but the last in two running sums, added, then the last slot.
// Three or four samples: one running sum each, in slot order.
template <class T>
using AntialiasRows = void(const T* src, int32_t srcStep, int32_t rows, const int32_t* indices,
                           const float* weights, int32_t taps, float* out, int32_t width);
// Down: dst[i] = clamp(trunc(float64(a) + 0.5000001)) to the sample range,
// with the float32 sum a = ((0 + w[0] * r0[i]) + w[1] * r1[i]) + ... of
// float32 products, row j at image + offsets[j]. (One sample per pixel forms
// the product in float64 and rounds it to float32: the float64 product of
// two float32 is exact, so the two give the same bits.)
template <class T>
using AntialiasDown = void(const float* image, const int32_t* offsets, const float* weights, int32_t taps,
                           T* dst, int32_t count);

template <class T>
using AntialiasRowsFn = AntialiasRows<T>*;
template <class T>
using AntialiasDownFn = AntialiasDown<T>*;

// The forms of each kernel, for 1, 3 or 4 samples per pixel where that
// matters; T is uint8_t or uint16_t.
template <class T>
const KernelTable<AntialiasRowsFn<T>>& antialiasRowsTable(int32_t channels);
template <class T>
const KernelTable<AntialiasDownFn<T>>& antialiasDownTable();

// The path; args.interpolation is the id alone. Runs on the calling thread.
IppStatus ownResizeAntialias(const ResizeArgs& args);

// Bytes of work buffer that ownResizeAntialias needs for these arguments,
// with room to align its blocks; 0 if it would refuse them. Its intermediate
// image covers every row of the source image, and its tables follow the
// factors: the size query counts the region's rows and the rectangles'
// ratio, and falls short for a region lower than the image.
int64_t antialiasWorkSize(const ResizeArgs& args);

}  // namespace morva
