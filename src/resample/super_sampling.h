// Super-sampling: a box filter for reductions. Each target pixel is the mean
// of the source area it covers; samples on the border of the area count by
// the part of them inside it. One row of accumulators, no tables.
#pragma once

#include <cmath>
#include <cstdint>

#include "kernels/dispatch.h"
#include "resample/resize_general.h"

namespace morva {

// Fractional form, one source row into the accumulators, `count` samples:
// acc[i] = float32(float64(src[i]) * weight) + acc[i], the sum in float32.
template <class T>
using SuperAddRow = void(const T* src, float* acc, int32_t count, double weight);
// Whole form: acc[i] = acc[i] + src[i] in unsigned 32-bit arithmetic.
template <class T>
using SuperAddRowWhole = void(const T* src, uint32_t* acc, int32_t count);
// Whole form across, in place: pixel c becomes the sum of the `run` pixels
// from pixel c * run, each sample on its own, for c from 0 to width - 1.
using SuperReduceWhole = void(uint32_t* acc, int32_t width, int32_t run);
// The conversion: dst[i] = the low bits of trunc(float64(acc[i]) * factorProduct + 0.5),
// without saturation.
template <class T, class Acc>
using SuperStoreRow = void(const Acc* acc, T* dst, int32_t count, double factorProduct);

template <class T>
using SuperAddRowFn = SuperAddRow<T>*;
template <class T>
using SuperAddRowWholeFn = SuperAddRowWhole<T>*;
using SuperReduceWholeFn = SuperReduceWhole*;
template <class T, class Acc>
using SuperStoreRowFn = SuperStoreRow<T, Acc>*;

// The forms of each row kernel; T is uint8_t or uint16_t.
template <class T>
const KernelTable<SuperAddRowFn<T>>& superAddRowTable();
template <class T>
const KernelTable<SuperAddRowWholeFn<T>>& superAddRowWholeTable();
const KernelTable<SuperReduceWholeFn>& superReduceWholeTable(int32_t channels);
template <class T, class Acc>
const KernelTable<SuperStoreRowFn<T, Acc>>& superStoreRowTable();

// One target column of the fractional reduction across: a part `head` of
// column headColumn, `run` whole columns from runStart, a part `tail` of
// column tailColumn. A column without a head or tail part still names a
// column inside the row there, so that a vector form may read it.
struct SuperColumn {
    int32_t headColumn = 0;
    int32_t runStart = 0;
    int32_t run = 0;
    int32_t tailColumn = 0;
    double head = 0.0;
    double tail = 0.0;
    bool hasHead = false;
    bool hasTail = false;
};

// The fractional form across, in place, for 1, 3 or 4 samples per pixel:
// target columns first .. first + count - 1, described by columns[0 .. count - 1],
// each stored in accumulator pixel `first + i`.
using SuperReduceFractional = void(float* acc, const SuperColumn* columns, int32_t first,
                                   int32_t count);
using SuperReduceFractionalFn = SuperReduceFractional*;
const KernelTable<SuperReduceFractionalFn>& superReduceFractionalTable(int32_t channels);

// One accumulator row across, fractional form: `columns` pixels long,
// `width` target columns, boxes of `scale` columns, `cover` of the first
// column in target column 0. With a schedule from superColumnSchedule it
// reads that; without, it walks the columns in chunks itself.
void superReduceRow(float* acc, int32_t channels, int32_t columns, int32_t width, double scale,
                    double cover, const SuperColumn* schedule);
void superColumnSchedule(double scale, double cover, int32_t columns, int32_t width,
                         SuperColumn* schedule);

// Columns left of the image take the value of column 0, columns right of it
// the value of the last: the `n` pixels at acc move right by leftExtra and
// the freed and the following rightExtra pixels are filled.
template <class Acc>
void ownSuperExtendRow(Acc* acc, int32_t n, int32_t leftExtra, int32_t rightExtra,
                       int32_t channels);

// What the opening works out in float64 before any row: the form, the
// parts of the first column and row inside the first box, and the columns
// an accumulator row holds.
struct SuperOpening {
    bool whole = true;
    double coverX = 0.0;      // part of the first column inside target column 0
    double coverY = 0.0;      // part of the first row inside target row 0
    int64_t firstRow = 0;     // r0; rows above the image repeat row 0
    int32_t firstColumn = 0;  // the source column the accumulators start from
    int32_t columnsRead = 0;  // n
    int32_t leftExtra = 0;
    int32_t rightExtra = 0;
    int32_t columns = 0;      // the accumulator row in pixels: leftExtra + n + rightExtra
};

// False where the box is so large that its accumulator row, or its span of
// rows, leaves the 32-bit range.
bool openSuper(const ResizeArgs& args, SuperOpening& opening);

// The source rows of each target row in turn, with the part of each inside
// the box, in the order they are added: next(add) calls add(row, weight).
// Rows are on the box's grid, from the opening's first row; the caller
// limits them to the image, so that rows above it repeat row 0 and rows
// below it the last. The whole form adds floor(scale) rows of weight 1.
class SuperRowWalk {
public:
    SuperRowWalk(const SuperOpening& opening, double scale)
        : scale_(scale), row_(opening.firstRow), head_(opening.coverY), whole_(opening.whole) {}

    template <class Add>
    void next(Add&& add);

private:
    double scale_;
    int64_t row_;   // the current row
    double head_;   // the part of the current row in the next target row's box
    bool whole_;
};

// Source row v of the box's grid from the first column read, limited to the
// image: rows above it repeat row 0 (the rows of topExtra), rows below it the
// last row (those of bottomExtra).
template <class T>
const T* superSourceRow(const ResizeJob& job, const SuperOpening& opening, int64_t v) {
    const ResizeArgs& a = *job.args;
    const int64_t row = v < 0 ? 0 : (v >= a.srcHeight ? a.srcHeight - 1 : v);
    return reinterpret_cast<const T*>(a.src) + row * job.srcStep + ptrdiff_t(opening.firstColumn) * a.nChannels;
}

// The family of INTER_SUPER. It lays out no tables: its work buffer holds
// the accumulator row alone.
IppStatus resizeSuper(const ResizeJob& job);

// Bytes of work buffer that resizeSuper needs for these arguments, with room
// to align the accumulators; 0 if it would refuse them. The size query counts
// the region's width, which is short when a target pixel's box reaches far
// past the region or the image.
int64_t superSamplingWorkSize(const ResizeArgs& args);

// Parts at or below this count as nothing, in both directions.
constexpr double kSuperNegligible = 1e-7;

// A part w of the current row, then m whole rows, then the part f left over,
// which the next target row starts on; f is 1 - (its head part).
template <class Add>
void SuperRowWalk::next(Add&& add) {
    if (whole_) {
        for (int64_t k = 0; k < int64_t(scale_); ++k) add(row_++, 1.0);
        return;
    }
    const double w = head_;
    double m;
    if (w > kSuperNegligible) {
        add(row_++, w);
        m = std::floor(scale_ - w + kSuperNegligible);
    } else {
        m = std::floor(scale_);
    }
    for (int64_t k = 0; k < int64_t(m); ++k) add(row_++, 1.0);
    const double f = scale_ - (w > kSuperNegligible ? w : 0.0) - m;
    if (f > kSuperNegligible) add(row_, f);
    head_ = 1.0 - f;
}

}  // namespace morva
