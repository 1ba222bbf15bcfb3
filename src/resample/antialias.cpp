// The antialiasing path. Source sample i lies at position i and target
// sample X at (X + 0.5) * s + offset: no half sample is subtracted, so the
// result lies half a source sample towards the image's origin compared with
// the general path. That shift is kept as it stands.
#include "resample/antialias.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "morva.h"
#include "resample/antialias_forms.h"
#include "resample/resize_common.h"

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

void antialiasAccumulateC1Scalar(const float* row, float weight, float* acc, int32_t count) {
    for (int32_t i = 0; i < count; ++i) acc[i] = acc[i] + float(double(weight) * double(row[i]));
}

void antialiasAccumulateScalar(const float* row, float weight, float* acc, int32_t count) {
    for (int32_t i = 0; i < count; ++i) acc[i] = acc[i] + weight * row[i];
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

// The entries of one axis: for target coordinate first + c, the slots from
// the first tap lo = ceil(offset - r + p) to the last hi = trunc(p + (r + offset)),
// p = (first + c + 0.5) * s. Indices are clamped to the source, so that the
// outermost sample repeats, and multiplied by `multiplier`; weights are
// normalised by their float64 sum. Slots not reached keep index 0, weight 0.
void buildAxis(int32_t id, const AntialiasAxis& axis, double offset, int32_t first, int32_t count,
               int32_t size, int32_t multiplier, int32_t* indices, float* weights) {
    const double s = axis.scale, r = axis.reach, k = axis.kernelScale;
    const bool reduces = s > 1.0;
    for (int32_t c = 0; c < count; ++c) {
        int32_t* index = indices + int64_t(c) * axis.taps;
        float* weight = weights + int64_t(c) * axis.taps;
        const double p = (double(first + c) + 0.5) * s;
        const double centre = p + offset;
        const double lo = std::ceil(offset - r + p);
        const double hi = std::trunc(p + (r + offset));
        if (lo > hi) continue;
        // The taps between lo and hi never outnumber the slots; the limit
        // keeps a rounding of either end from writing past them.
        const int64_t used = std::min<int64_t>(int64_t(hi - lo) + 1, axis.taps);
        double sum = 0.0;
        for (int64_t slot = 0; slot < used; ++slot) {
            const int64_t i = int64_t(lo) + slot;
            index[slot] = int32_t(std::clamp<int64_t>(i, 0, size - 1)) * multiplier;
            const double d = std::fabs(centre - double(i));
            const double w = reduces ? antialiasFilter(id, d * k) * k : antialiasFilter(id, d);
            sum = sum + w;
            weight[slot] = float(w);
        }
        for (int64_t slot = 0; slot < axis.taps; ++slot)
            weight[slot] = float(double(weight[slot]) / sum);
    }
}

template <class T>
class AntialiasResize {
public:
    AntialiasResize(const ResizeArgs& a, const AntialiasAxis& x, const AntialiasAxis& y,
                    const AntialiasLayout& layout)
        : a_(a), x_(x), y_(y), src_(reinterpret_cast<const T*>(a.src)),
          srcStep_(a.depth == 0 ? a.srcStep : a.srcStep / 2),
          dstStep_(a.depth == 0 ? a.dstStep : a.dstStep / 2),
          rowSamples_(a.width * a.nChannels) {
        uint8_t* base = alignUp<uint8_t>(a.buffer, 16);
        columnIndices_ = reinterpret_cast<int32_t*>(base + layout.columnIndices);
        rowIndices_ = reinterpret_cast<int32_t*>(base + layout.rowIndices);
        columnWeights_ = reinterpret_cast<float*>(base + layout.columnWeights);
        rowWeights_ = reinterpret_cast<float*>(base + layout.rowWeights);
        acc_ = reinterpret_cast<float*>(base + layout.accumulators);
        intermediate_ = reinterpret_cast<float*>(base + layout.intermediate);
        // The four tables and the accumulator row lie one behind the other.
        std::memset(base, 0, size_t(layout.intermediate));
        dst_ = reinterpret_cast<T*>(a.dst + ptrdiff_t(a.y0) * a.dstStep) +
               ptrdiff_t(a.x0) * a.nChannels;
    }

    void run() const {
        const int32_t multiplier = a_.nProcessed == 1 ? 1 : a_.nChannels;
        buildAxis(a_.interpolation, x_, a_.xOffset, a_.x0, a_.width, a_.srcWidth, multiplier,
                  columnIndices_, columnWeights_);
        buildAxis(a_.interpolation, y_, a_.yOffset, a_.y0, a_.height, a_.srcHeight, multiplier,
                  rowIndices_, rowWeights_);
        across();
        down();
    }

private:
    void across() const {
        antialiasRowsTable<T>(a_.nChannels).current()(src_, srcStep_, a_.srcHeight, columnIndices_,
                                                     columnWeights_, int32_t(x_.taps),
                                                     intermediate_, a_.width);
    }

    // A row entry is the row times the multiplier of the indices, so the
    // intermediate row starts at entry * width floats in either case.
    void down() const {
        const AntialiasAccumulateFn accumulate = antialiasAccumulateTable(a_.nChannels).current();
        const AntialiasStoreFn<T> store = antialiasStoreTable<T>().current();
        for (int32_t t = 0; t < a_.height; ++t) {
            const int32_t* index = rowIndices_ + int64_t(t) * y_.taps;
            const float* weight = rowWeights_ + int64_t(t) * y_.taps;
            for (int64_t j = 0; j < y_.taps; ++j)
                accumulate(intermediate_ + ptrdiff_t(index[j]) * a_.width, weight[j], acc_,
                           rowSamples_);
            store(acc_, dst_ + ptrdiff_t(t) * dstStep_, rowSamples_);
        }
    }

    const ResizeArgs& a_;
    const AntialiasAxis& x_;
    const AntialiasAxis& y_;
    const T* src_;
    int32_t srcStep_, dstStep_;  // in samples
    int32_t rowSamples_;         // samples of a target row
    int32_t* columnIndices_;
    int32_t* rowIndices_;
    float* columnWeights_;
    float* rowWeights_;
    float* acc_;
    float* intermediate_;
    T* dst_;
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
void antialiasStoreScalar(float* acc, T* dst, int32_t count) {
    constexpr int32_t kMax = sizeof(T) == 1 ? 255 : 65535;
    for (int32_t i = 0; i < count; ++i) {
        dst[i] = static_cast<T>(clampSample(truncToInt32(double(acc[i]) + 0.5000001), kMax));
        acc[i] = 0.0f;
    }
}

template void antialiasRowsC1Scalar<uint8_t>(const uint8_t*, int32_t, int32_t, const int32_t*,
                                             const float*, int32_t, float*, int32_t);
template void antialiasRowsC1Scalar<uint16_t>(const uint16_t*, int32_t, int32_t, const int32_t*,
                                              const float*, int32_t, float*, int32_t);
template void antialiasStoreScalar<uint8_t>(float*, uint8_t*, int32_t);
template void antialiasStoreScalar<uint16_t>(float*, uint16_t*, int32_t);

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

const KernelTable<AntialiasAccumulateFn>& antialiasAccumulateTable(int32_t channels) {
    static const KernelTable<AntialiasAccumulateFn> c1{
        {"scalar", Isa::Scalar, &antialiasAccumulateC1Scalar},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &antialiasAccumulateSse2},
        {"avx2", Isa::Avx2, &antialiasAccumulateAvx2},
#endif
    };
    static const KernelTable<AntialiasAccumulateFn> c34{
        {"scalar", Isa::Scalar, &antialiasAccumulateScalar},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &antialiasAccumulateSse2},
        {"avx2", Isa::Avx2, &antialiasAccumulateAvx2},
#endif
    };
    return channels == 1 ? c1 : c34;
}

template <class T>
const KernelTable<AntialiasStoreFn<T>>& antialiasStoreTable() {
    static const KernelTable<AntialiasStoreFn<T>> table{
        {"scalar", Isa::Scalar, &antialiasStoreScalar<T>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, byDepth<T>(&antialiasStore8uSse2, &antialiasStore16uSse2)},
        {"avx2", Isa::Avx2, byDepth<T>(&antialiasStore8uAvx2, &antialiasStore16uAvx2)},
#endif
    };
    return table;
}

template const KernelTable<AntialiasRowsFn<uint8_t>>& antialiasRowsTable<uint8_t>(int32_t);
template const KernelTable<AntialiasRowsFn<uint16_t>>& antialiasRowsTable<uint16_t>(int32_t);
template const KernelTable<AntialiasStoreFn<uint8_t>>& antialiasStoreTable<uint8_t>();
template const KernelTable<AntialiasStoreFn<uint16_t>>& antialiasStoreTable<uint16_t>();

IppStatus ownResizeAntialias(const ResizeArgs& args) {
    const AntialiasAxis x = antialiasAxis(args.interpolation, args.xScale);
    const AntialiasAxis y = antialiasAxis(args.interpolation, args.yScale);
    AntialiasLayout layout;
    if (!layOut(args, x, y, layout)) return ippStsSizeErr;
    if (args.depth == 0)
        AntialiasResize<uint8_t>(args, x, y, layout).run();
    else
        AntialiasResize<uint16_t>(args, x, y, layout).run();
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
