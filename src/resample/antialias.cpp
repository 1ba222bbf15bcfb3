// The antialiasing path. Source sample i lies at position i and target
// sample X at (X + 0.5) * s + offset: no half sample is subtracted, so the
// result lies half a source sample towards the image's origin compared with
// the general path. That shift is kept as it stands.
#include "resample/antialias.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "morva.h"
#include "resample/antialias_exact.h"
#include "resample/antialias_forms.h"
#include "resample/antialias_stride.h"
#include "resample/resize_common.h"
#include "resample/work_block.h"

namespace morva {
namespace {

// ---- Filters ------------------------------------------------------------------

constexpr double kPi = 3.141592653589793;  // the float64 nearest to pi

double sinc(double x) {
    if (x == 0.0) return 1.0;
    const double t = kPi * x;
    return std::sin(t) / t;
}

// ---- Scalar definitions of the pass kernels ------------------------------------------

template <class T, int Channels>
void antialiasRowsScalar(const T* src, int32_t srcStep, int32_t rows, const int32_t* indices,
                         const float* weights, int32_t taps, float* out, int32_t width) {
    for (int32_t r = 0; r < rows; ++r, src += srcStep, out += ptrdiff_t(width) * Channels) {
        for (int32_t c = 0; c < width; ++c) {
            const int32_t* index = indices + ptrdiff_t(c) * taps;
            const float* weight = weights + ptrdiff_t(c) * taps;
            for (int s = 0; s < Channels; ++s) {
                double sum = 0.0;
                for (int32_t j = 0; j < taps; ++j)
                    sum = sum + double(src[index[j] + s]) * double(weight[j]);
                out[c * Channels + s] = float(sum);
            }
        }
    }
}

// ---- Tables ---------------------------------------------------------------------------

// The work buffer's blocks, each at the next multiple of 16 bytes.
struct AntialiasLayout {
    int64_t columnIndices = 0;  // byte offsets from the aligned start
    int64_t rowIndices = 0;
    int64_t columnWeights = 0;
    int64_t rowWeights = 0;
    int64_t accumulators = 0;
    int64_t intermediate = 0;
    int64_t end = 0;
};

int64_t align16(int64_t v) { return (v + 15) / 16 * 16; }

// False where a block leaves the 32-bit range of buffer sizes.
bool layOut(const ResizeArgs& a, const AntialiasAxis& x, const AntialiasAxis& y, AntialiasLayout& l) {
    const double row = double(a.width) * a.nChannels * 4.0;
    const double blocks[] = {double(x.taps) * a.width * 4.0, double(y.taps) * a.height * 4.0,
                             double(x.taps) * a.width * 4.0, double(y.taps) * a.height * 4.0, row,
                             row * a.srcHeight};
    double total = 0.0;
    for (double b : blocks) total += b + 16.0;
    if (!(total < double(INT32_MAX))) return false;
    int64_t at = 0;
    int64_t* starts[] = {&l.columnIndices, &l.rowIndices, &l.columnWeights, &l.rowWeights,
                         &l.accumulators, &l.intermediate};
    for (int k = 0; k < 6; ++k) {
        *starts[k] = at;
        at = align16(at + int64_t(blocks[k]));
    }
    l.end = at;
    return true;
}

// Target coordinate x's filter centre and its first and last slots' source
// positions: lo = ceil(offset - r + p), hi = trunc(p + (r + offset)) with
// p = (x + 0.5) * s.
struct SlotRange {
    double centre, lo, hi;
};

SlotRange slotRange(const AntialiasAxis& axis, double offset, int32_t x) {
    const double p = (double(x) + 0.5) * axis.scale;
    return {p + offset, std::ceil(offset - axis.reach + p), std::trunc(p + (axis.reach + offset))};
}

// The entries of one axis for target coordinates first .. first + count - 1.
// Indices are clamped to the source, so that the outermost sample repeats,
// and multiplied by `multiplier`; weights are normalised by their float64
// sum. Slots not reached keep index 0, weight 0. A coordinate whose slots lie
// at the same distances from its centre as the one before's has its weights
// (the filter's values there, the same arithmetic), which are copied rather
// than evaluated again: reductions by whole factors evaluate the filter once.
void buildAxis(int32_t id, const AntialiasAxis& axis, double offset, int32_t first, int32_t count,
               int32_t size, int32_t multiplier, int32_t* indices, float* weights) {
    constexpr int64_t kRemembered = 64;
    double distances[kRemembered];
    int64_t remembered = -1;  // slots of the coordinate before, if it had its distances kept
    const double k = axis.kernelScale;
    const bool reduces = axis.scale > 1.0;
    for (int32_t c = 0; c < count; ++c) {
        int32_t* index = indices + int64_t(c) * axis.taps;
        float* weight = weights + int64_t(c) * axis.taps;
        const SlotRange range = slotRange(axis, offset, first + c);
        if (range.lo > range.hi) {
            remembered = -1;
            continue;
        }
        // The taps between lo and hi never outnumber the slots; the limit
        // keeps a rounding of either end from writing past them.
        const int64_t used = std::min<int64_t>(int64_t(range.hi - range.lo) + 1, axis.taps);
        bool same = used == remembered;
        for (int64_t slot = 0; slot < used; ++slot) {
            const int64_t i = int64_t(range.lo) + slot;
            index[slot] = int32_t(std::clamp<int64_t>(i, 0, size - 1)) * multiplier;
            const double d = std::fabs(range.centre - double(i));
            if (slot < kRemembered) {
                same = same && distances[slot] == d;
                distances[slot] = d;
            }
        }
        remembered = used <= kRemembered ? used : -1;
        if (same && c > 0) {
            std::memcpy(weight, weight - axis.taps, size_t(axis.taps) * sizeof(float));
            continue;
        }
        double sum = 0.0;
        for (int64_t slot = 0; slot < used; ++slot) {
            const double d = std::fabs(range.centre - double(int64_t(range.lo) + slot));
            const double w = reduces ? antialiasFilter(id, d * k) * k : antialiasFilter(id, d);
            sum = sum + w;
            weight[slot] = float(w);
        }
        for (int64_t slot = 0; slot < axis.taps; ++slot)
            weight[slot] = float(double(weight[slot]) / sum);
    }
}

// The column tables as one filter with a whole step: every column's weights
// those of column 0, its first slot `step` pixels behind the column
// before's. False where they aren't.
bool strideOf(const AntialiasAxis& axis, double offset, int32_t first, int32_t count, const float* weights,
              AntialiasStride& stride) {
    constexpr double kLimit = 1 << 24;
    const double step = axis.scale;
    if (!(step >= 1.0 && step <= 1024.0 && step == std::floor(step) && axis.taps < kLimit)) return false;
    const SlotRange range = slotRange(axis, offset, first);
    if (!(range.lo <= range.hi && std::fabs(range.lo) < kLimit && std::fabs(range.lo + step * count) < kLimit))
        return false;
    const size_t rowBytes = size_t(axis.taps) * sizeof(float);
    for (int32_t c = 1; c < count; ++c) {
        const SlotRange r = slotRange(axis, offset, first + c);
        if (r.lo != range.lo + step * c || !(r.lo <= r.hi) ||
            std::memcmp(weights + int64_t(c) * axis.taps, weights, rowBytes) != 0)
            return false;
    }
    stride = {int32_t(step), int32_t(range.lo), int32_t(axis.taps), weights};
    return true;
}

// The passes interleaved: before each target row the rows across that it
// reads and no earlier row read are computed (a few at a time, for the forms
// that work on several), so that the pass down finds them in the cache.
template <class T>
class AntialiasResize {
public:
    AntialiasResize(const ResizeArgs& a, const AntialiasAxis& x, const AntialiasAxis& y,
                    const AntialiasLayout& layout)
        : a_(a), x_(x), y_(y), src_(reinterpret_cast<const T*>(a.src)),
          srcStep_(a.depth == 0 ? a.srcStep : a.srcStep / 2),
          dstStep_(a.depth == 0 ? a.dstStep : a.dstStep / 2),
          rowSamples_(a.width * a.nChannels),
          multiplier_(a.nProcessed == 1 ? 1 : a.nChannels) {
        uint8_t* base = alignUp<uint8_t>(a.buffer, 16);
        columnIndices_ = reinterpret_cast<int32_t*>(base + layout.columnIndices);
        rowIndices_ = reinterpret_cast<int32_t*>(base + layout.rowIndices);
        columnWeights_ = reinterpret_cast<float*>(base + layout.columnWeights);
        rowWeights_ = reinterpret_cast<float*>(base + layout.rowWeights);
        intermediate_ = reinterpret_cast<float*>(base + layout.intermediate);
        // The four tables lie one behind the other.
        std::memset(base, 0, size_t(layout.accumulators));
        dst_ = reinterpret_cast<T*>(a.dst + ptrdiff_t(a.y0) * a.dstStep) +
               ptrdiff_t(a.x0) * a.nChannels;
    }

    void run() {
        buildAxis(a_.interpolation, x_, a_.xOffset, a_.x0, a_.width, a_.srcWidth, multiplier_,
                  columnIndices_, columnWeights_);
        buildAxis(a_.interpolation, y_, a_.yOffset, a_.y0, a_.height, a_.srcHeight, multiplier_,
                  rowIndices_, rowWeights_);
        if (antialiasExact(a_, {x_.taps, columnIndices_, columnWeights_, y_.taps, rowIndices_, rowWeights_,
                                multiplier_}))
            return;
        chooseStride();
        // The rows across that a weighed slot reads.
        nextRow_ = a_.srcHeight;
        for (int64_t j = 0; j < y_.taps * a_.height; ++j) {
            if (rowWeights_[j] == 0.0f) continue;
            nextRow_ = std::min(nextRow_, rowIndices_[j] / multiplier_);
            lastRow_ = std::max(lastRow_, rowIndices_[j] / multiplier_);
        }
        const AntialiasDownFn<T> down = antialiasDownTable<T>().current();
        for (int32_t t = 0; t < a_.height; ++t) {
            int32_t* offsets = rowIndices_ + int64_t(t) * y_.taps;
            float* weights = rowWeights_ + int64_t(t) * y_.taps;
            const int32_t taps = keepWeighed(offsets, weights);
            down(intermediate_, offsets, weights, taps, dst_ + ptrdiff_t(t) * dstStep_, rowSamples_);
        }
    }

private:
    // The slots of a target row with a weight other than 0, in order, each
    // row entry turned into the offset of its row across (the entry is the
    // row times the indices' multiplier, so the row starts at entry * width
    // floats either way); their rows across computed first. A row of weight
    // 0 adds nothing to the sum, unless its row across isn't finite: then
    // every row across is not finite at that column (its weights aren't),
    // the sum isn't either with or without it, and both convert to 0.
    int32_t keepWeighed(int32_t* offsets, float* weights) {
        int32_t kept = 0, highest = -1;
        for (int64_t j = 0; j < y_.taps; ++j) {
            if (weights[j] == 0.0f) continue;
            highest = std::max(highest, offsets[j] / multiplier_);
            weights[kept] = weights[j];
            offsets[kept++] = offsets[j] * a_.width;
        }
        acrossUpTo(highest);
        return kept;
    }

    // The strided pass across where the columns allow it, a vector form of
    // it runs, and its scratch can be had; otherwise the general one.
    void chooseStride() {
        const KernelTable<AntialiasStridedRowFn<T>>& table = antialiasStridedRowTable<T>(a_.nChannels);
        if (table.current() == table.scalar() ||
            !strideOf(x_, a_.xOffset, a_.x0, a_.width, columnWeights_, stride_) ||
            !scratch_.allocate(antialiasStrideScratch(stride_, a_.width, a_.nChannels)))
            return;
        strided_ = table.current();
    }

    // Rows across up to `row`, at least kAhead of them where there are.
    void acrossUpTo(int32_t row) {
        constexpr int32_t kAhead = 4;
        if (row < nextRow_) return;
        const int32_t last = std::min(std::max(row, nextRow_ + kAhead - 1), lastRow_);
        const T* src = src_ + ptrdiff_t(nextRow_) * srcStep_;
        float* out = intermediate_ + ptrdiff_t(nextRow_) * rowSamples_;
        if (strided_ != nullptr) {
            for (int32_t r = nextRow_; r <= last; ++r, src += srcStep_, out += rowSamples_)
                strided_(src, a_.srcWidth, stride_, scratch_.get(), out, a_.width);
        } else {
            antialiasRowsTable<T>(a_.nChannels).current()(src, srcStep_, last - nextRow_ + 1, columnIndices_,
                                                         columnWeights_, int32_t(x_.taps), out, a_.width);
        }
        nextRow_ = last + 1;
    }

    const ResizeArgs& a_;
    const AntialiasAxis& x_;
    const AntialiasAxis& y_;
    const T* src_;
    int32_t srcStep_, dstStep_;  // in samples
    int32_t rowSamples_;         // samples of a target row
    int32_t multiplier_;         // of the indices in the tables
    int32_t nextRow_ = 0;        // the first row across not yet computed
    int32_t lastRow_ = 0;        // the last row across any target row reads
    int32_t* columnIndices_;
    int32_t* rowIndices_;
    float* columnWeights_;
    float* rowWeights_;
    float* intermediate_;
    T* dst_;
    AntialiasStride stride_;
    AntialiasStridedRowFn<T> strided_ = nullptr;
    WorkBlock<double> scratch_;
};

}  // namespace

// ---- Scalar definitions that the vector forms finish with --------------------------

template <class T>
void antialiasRowsC1Scalar(const T* src, int32_t srcStep, int32_t rows, const int32_t* indices,
                           const float* weights, int32_t taps, float* out, int32_t width) {
    for (int32_t r = 0; r < rows; ++r, src += srcStep, out += width) {
        for (int32_t c = 0; c < width; ++c) {
            const int32_t* index = indices + ptrdiff_t(c) * taps;
            const float* weight = weights + ptrdiff_t(c) * taps;
            double even = 0.0, odd = 0.0;
            int32_t j = 0;
            for (; j + 2 < taps; j += 2) {
                even = even + double(src[index[j]]) * double(weight[j]);
                odd = odd + double(src[index[j + 1]]) * double(weight[j + 1]);
            }
            out[c] = float((even + odd) + double(src[index[j]]) * double(weight[j]));
        }
    }
}

template <class T>
void antialiasDownScalar(const float* image, const int32_t* offsets, const float* weights, int32_t taps,
                         T* dst, int32_t count) {
    constexpr int32_t kMax = sizeof(T) == 1 ? 255 : 65535;
    for (int32_t i = 0; i < count; ++i) {
        float a = 0.0f;
        for (int32_t j = 0; j < taps; ++j) a = a + weights[j] * image[offsets[j] + i];
        dst[i] = static_cast<T>(clampSample(truncToInt32(double(a) + 0.5000001), kMax));
    }
}

template void antialiasRowsC1Scalar<uint8_t>(const uint8_t*, int32_t, int32_t, const int32_t*,
                                             const float*, int32_t, float*, int32_t);
template void antialiasRowsC1Scalar<uint16_t>(const uint16_t*, int32_t, int32_t, const int32_t*,
                                              const float*, int32_t, float*, int32_t);
template void antialiasDownScalar<uint8_t>(const float*, const int32_t*, const float*, int32_t, uint8_t*,
                                           int32_t);
template void antialiasDownScalar<uint16_t>(const float*, const int32_t*, const float*, int32_t, uint16_t*,
                                            int32_t);

double antialiasReach(int32_t id) {
    switch (id) {
    case INTER_LINEAR:
        return 1.0;
    case INTER_CUBIC:
    case INTER_CUBIC_BSPLINE:
    case INTER_CUBIC_CATMULLROM:
    case INTER_CUBIC_B05C03:
        return 2.0;
    case INTER_LANCZOS:
        return 3.0;
    default:
        return 0.0;
    }
}

double antialiasFilter(int32_t id, double d) {
    if (!(d < antialiasReach(id))) return 0.0;
    const bool near = d < 1.0;
    switch (id) {
    case INTER_LINEAR:
        return 1.0 - d;
    case INTER_CUBIC:
        return near ? (0.5 * d * d - d - 0.5) * d + 1.0
                    : (-1.0 / 6.0 * d * d + d - 11.0 / 6.0) * d + 1.0;
    case INTER_CUBIC_BSPLINE:
        return near ? (0.5 * d * d - d) * d + 2.0 / 3.0
                    : (-1.0 / 6.0 * d * d + d) * d + (4.0 / 3.0 - d - d);
    case INTER_CUBIC_CATMULLROM:
        return near ? (1.5 * d - 2.5) * d * d + 1.0 : ((-0.5 * d + 2.5) * d - 4.0) * d + 2.0;
    case INTER_CUBIC_B05C03:
        return near ? (0.95 * d - 1.7) * d * d + 5.0 / 6.0
                    : ((-23.0 / 60.0 * d + 2.0) * d - 3.4) * d + 28.0 / 15.0;
    default:  // INTER_LANCZOS
        return sinc(d) * sinc(d / 3.0);
    }
}

AntialiasAxis antialiasAxis(int32_t id, double scale) {
    AntialiasAxis axis;
    const double reach = antialiasReach(id);
    axis.scale = scale;
    axis.reach = scale >= 1.0 ? reach * scale : reach;
    axis.kernelScale = scale >= 1.0 ? 1.0 / scale : 1.0;
    const double taps = 2.0 * std::ceil(axis.reach) + 1.0;
    // Reaches beyond the 32-bit range are refused by the layout.
    axis.taps = taps < double(INT32_MAX) ? int64_t(taps) : int64_t(INT32_MAX);
    return axis;
}

template <class T>
const KernelTable<AntialiasRowsFn<T>>& antialiasRowsTable(int32_t channels) {
    static const KernelTable<AntialiasRowsFn<T>> c1{
        {"scalar", Isa::Scalar, &antialiasRowsC1Scalar<T>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, byDepth<T>(&antialiasRows8uC1Sse2, &antialiasRows16uC1Sse2)},
        {"avx2", Isa::Avx2, byDepth<T>(&antialiasRows8uC1Avx2, &antialiasRows16uC1Avx2)},
#endif
    };
    static const KernelTable<AntialiasRowsFn<T>> c3{
        {"scalar", Isa::Scalar, &antialiasRowsScalar<T, 3>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, byDepth<T>(&antialiasRows8uC3Sse2, &antialiasRows16uC3Sse2)},
        {"avx2", Isa::Avx2, byDepth<T>(&antialiasRows8uC3Avx2, &antialiasRows16uC3Avx2)},
#endif
    };
    static const KernelTable<AntialiasRowsFn<T>> c4{
        {"scalar", Isa::Scalar, &antialiasRowsScalar<T, 4>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, byDepth<T>(&antialiasRows8uC4Sse2, &antialiasRows16uC4Sse2)},
        {"avx2", Isa::Avx2, byDepth<T>(&antialiasRows8uC4Avx2, &antialiasRows16uC4Avx2)},
#endif
    };
    return channels == 1 ? c1 : (channels == 3 ? c3 : c4);
}

template <class T>
const KernelTable<AntialiasDownFn<T>>& antialiasDownTable() {
    static const KernelTable<AntialiasDownFn<T>> table{
        {"scalar", Isa::Scalar, &antialiasDownScalar<T>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, byDepth<T>(&antialiasDown8uSse2, &antialiasDown16uSse2)},
        {"avx2", Isa::Avx2, byDepth<T>(&antialiasDown8uAvx2, &antialiasDown16uAvx2)},
        {"avx512", Isa::Avx512, byDepth<T>(&antialiasDown8uAvx512, &antialiasDown16uAvx512)},
#endif
    };
    return table;
}

template const KernelTable<AntialiasRowsFn<uint8_t>>& antialiasRowsTable<uint8_t>(int32_t);
template const KernelTable<AntialiasRowsFn<uint16_t>>& antialiasRowsTable<uint16_t>(int32_t);
template const KernelTable<AntialiasDownFn<uint8_t>>& antialiasDownTable<uint8_t>();
template const KernelTable<AntialiasDownFn<uint16_t>>& antialiasDownTable<uint16_t>();

IppStatus ownResizeAntialias(const ResizeArgs& args) {
    const AntialiasAxis x = antialiasAxis(args.interpolation, args.xScale);
    const AntialiasAxis y = antialiasAxis(args.interpolation, args.yScale);
    AntialiasLayout layout;
    if (!layOut(args, x, y, layout)) return ippStsSizeErr;
    if (args.depth == 0) {
        AntialiasResize<uint8_t>(args, x, y, layout).run();
    } else {
        AntialiasResize<uint16_t>(args, x, y, layout).run();
    }
    return ippStsNoErr;
}

int64_t antialiasWorkSize(const ResizeArgs& args) {
    const AntialiasAxis x = antialiasAxis(args.interpolation, args.xScale);
    const AntialiasAxis y = antialiasAxis(args.interpolation, args.yScale);
    AntialiasLayout layout;
    if (!layOut(args, x, y, layout)) return 0;
    return layout.end + 15;  // the start aligned up to 16
}

}  // namespace morva
