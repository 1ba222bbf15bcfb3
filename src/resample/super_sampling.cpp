// Super-sampling. Unlike the other families it maps corners, not centres:
// target pixel x covers source positions X0 + x * xScale to
// X0 + (x + 1) * xScale. Each target row clears the accumulator row, adds
// the source rows of its box into it (weighed by the part of each row inside
// the box), extends it by copies of the edge columns where the box leaves the
// image, sums it across in place, and converts it.
//
// Two forms: when both box sizes are whole and the target starts on a
// sample, every weight is 1 and the sums are unsigned 32-bit integers;
// otherwise float32 accumulators, each weighed contribution rounded to
// float32 from a float64 product before it is added.
#include "resample/super_sampling.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <type_traits>

#include "kernels/memory.h"
#include "resample/resize_common.h"
#include "resample/super_sampling_exact.h"
#include "resample/super_sampling_forms.h"

namespace morva {
namespace {

// The target columns of one accumulator row in order, from a running column
// p and the part g of column p that the column before took. Every row has
// the same columns: they are walked once per call into a schedule that all
// forms of the reduction read, so that forms differ in the arithmetic on
// samples only. A part that would lie at or behind the end of the row is
// not read; with the geometry of the opening only the last column's tail
// can get there.
class SuperColumnWalk {
public:
    SuperColumnWalk(double scale, double cover, int32_t columns)
        : scale_(scale), w_(cover), columns_(columns) {}

    SuperColumn next() {
        SuperColumn c;
        const double w = w_;
        double m;
        if (w > kSuperNegligible) {
            c.hasHead = p_ < columns_;
            c.head = w;
            c.headColumn = inside(p_);
            ++p_;
            m = std::floor(scale_ - w + kSuperNegligible);
        } else {
            m = std::floor(scale_);
        }
        const int64_t whole = m > 0.0 ? int64_t(m) : 0;
        c.runStart = inside(p_);
        c.run = int32_t(p_ >= columns_ ? 0 : (p_ + whole <= columns_ ? whole : columns_ - p_));
        p_ += whole;
        const double g = scale_ - w - m;
        c.hasTail = g > kSuperNegligible && p_ < columns_;
        c.tail = g;
        c.tailColumn = inside(p_);
        w_ = 1.0 - g;
        return c;
    }

private:
    int32_t inside(int64_t p) const { return int32_t(p < columns_ ? p : columns_ - 1); }

    double scale_;
    double w_;        // the head part of the next column
    int64_t p_ = 0;   // the running column
    int64_t columns_;
};

// float32(float64(v) * part): how a part of a column enters a sum.
inline float superPart(float v, double part) { return float(double(v) * part); }

// ---- Scalar definitions of the row kernels -----------------------------------

// A weight of 1.0 gives float32(sample) + acc, as float64(sample) * 1.0 is
// the sample itself.
template <class T>
void superAddRowScalar(const T* src, float* acc, int32_t count, double weight) {
    for (int32_t i = 0; i < count; ++i) acc[i] = float(double(src[i]) * weight) + acc[i];
}

template <class T>
void superAddRowWholeScalar(const T* src, uint32_t* acc, int32_t count) {
    for (int32_t i = 0; i < count; ++i) acc[i] = acc[i] + src[i];
}

}  // namespace

// The whole form across from target column `from` on, in place: pixel c
// reads pixels c * run and up, never one left of c.
template <int Channels>
void superReduceWholeColumns(uint32_t* acc, int32_t from, int32_t width, int32_t run) {
    for (int32_t c = from; c < width; ++c) {
        const uint32_t* box = acc + ptrdiff_t(c) * run * Channels;
        for (int s = 0; s < Channels; ++s) {
            uint32_t sum = 0;
            for (int32_t k = 0; k < run; ++k) sum += box[k * Channels + s];
            acc[c * Channels + s] = sum;
        }
    }
}

// No saturation: the weights of a target pixel sum to 1 / factorProduct, so
// the mean stays in range up to rounding. The conversion is the processor's,
// which gives INT32_MIN (low bits 0) outside the 32-bit range.
template <class T, class Acc>
void superStoreRowScalar(const Acc* acc, T* dst, int32_t count, double factorProduct) {
    for (int32_t i = 0; i < count; ++i)
        dst[i] = static_cast<T>(truncToInt32(double(acc[i]) * factorProduct + 0.5));
}

template void superReduceWholeColumns<1>(uint32_t*, int32_t, int32_t, int32_t);
template void superStoreRowScalar<uint8_t, float>(const float*, uint8_t*, int32_t, double);
template void superStoreRowScalar<uint16_t, float>(const float*, uint16_t*, int32_t, double);
template void superStoreRowScalar<uint8_t, uint32_t>(const uint32_t*, uint8_t*, int32_t, double);
template void superStoreRowScalar<uint16_t, uint32_t>(const uint32_t*, uint16_t*, int32_t, double);

namespace {

template <int Channels>
void superReduceWholeScalar(uint32_t* acc, int32_t width, int32_t run) {
    superReduceWholeColumns<Channels>(acc, 0, width, run);
}

// Per target column and sample: the head part rounded to float32, then the
// whole columns of the run in two running sums (even and odd places of the
// run, from its first), added to the head as one, then the tail part.
template <int Channels>
void superReduceFractionalScalar(float* acc, const SuperColumn* columns, int32_t first,
                                 int32_t count) {
    for (int32_t i = 0; i < count; ++i) {
        const SuperColumn& column = columns[i];
        for (int s = 0; s < Channels; ++s) {
            const float* samples = acc + s;
            float sum = column.hasHead
                            ? superPart(samples[column.headColumn * Channels], column.head)
                            : 0.0f;
            float even = 0.0f, odd = 0.0f;
            for (int32_t k = 0; k < column.run; ++k) {
                const float v = samples[(column.runStart + k) * Channels];
                if (k % 2 == 0)
                    even = even + v;
                else
                    odd = odd + v;
            }
            sum = sum + (even + odd);
            if (column.hasTail)
                sum = sum + superPart(samples[column.tailColumn * Channels], column.tail);
            acc[(first + i) * Channels + s] = sum;
        }
    }
}

// ---- The opening ----------------------------------------------------------------

// The first sample of an axis: the floor of the start moved 1e-10 away from
// 0, so that a start just below a positive whole number counts from it.
double firstSample(double start) {
    return start >= 0.0 ? std::floor(start + 1e-10) : std::floor(start - 1e-10);
}

}  // namespace

// The opening in float64. With the region inside the image only factors
// below about 2^-31 leave the 32-bit range.
bool openSuper(const ResizeArgs& a, SuperOpening& o) {
    o.whole = a.xScale - std::trunc(a.xScale) <= kSuperNegligible &&
              a.yScale - std::trunc(a.yScale) <= kSuperNegligible;
    const double x0 = a.x0 * a.xScale + a.xOffset;
    const double y0 = a.y0 * a.yScale + a.yOffset;
    const double c0 = firstSample(x0);
    const double r0 = firstSample(y0);
    double coverX = 1.0 - x0 + c0;
    double coverY = 1.0 - y0 + r0;
    // An exact start leaves 0, not 1.
    coverX = coverX - std::trunc(coverX);
    coverY = coverY - std::trunc(coverY);
    if (coverX > kSuperNegligible || coverY > kSuperNegligible) o.whole = false;
    const double right = std::ceil(a.width * a.xScale - 1e-10 + x0);
    const double bottom = std::ceil(a.height * a.yScale - 1e-10 + y0);

    constexpr double kLimit = INT32_MAX;
    if (!(std::fabs(c0) <= kLimit && std::fabs(r0) <= kLimit && std::fabs(right) <= kLimit &&
          right - c0 <= kLimit && bottom - r0 <= kLimit))
        return false;
    const int64_t leftExtra = x0 < 0.0 ? -int64_t(c0) : 0;
    const int64_t rightExtra = right > a.srcWidth ? int64_t(right) - a.srcWidth : 0;
    const int64_t n = std::min<int64_t>(int64_t(right) - int64_t(c0) - rightExtra, a.srcWidth);
    const int64_t firstColumn = x0 < 0.0 ? 0 : int64_t(c0);
    const int64_t columns = leftExtra + n + rightExtra;
    // The target lies inside the mapped region, so its first box starts in
    // the image and reads at least one column; guarded all the same.
    if (firstColumn >= a.srcWidth || n < 1 || columns * a.nChannels * 4 > INT32_MAX) return false;
    if (o.whole && int64_t(a.width) * int64_t(std::floor(a.xScale)) > columns) return false;

    o.coverX = coverX;
    o.coverY = coverY;
    o.firstRow = int64_t(r0);
    o.firstColumn = int32_t(firstColumn);
    o.columnsRead = int32_t(n);
    o.leftExtra = int32_t(leftExtra);
    o.rightExtra = int32_t(rightExtra);
    o.columns = int32_t(columns);
    return true;
}

namespace {

// ---- The rows ---------------------------------------------------------------------

template <class T>
class SuperResize {
public:
    SuperResize(const ResizeJob& job, const SuperOpening& opening)
        : job_(job), a_(*job.args), o_(opening), dst_(reinterpret_cast<T*>(job.dst)), channels_(a_.nChannels),
          count_(opening.columnsRead * a_.nChannels) {}

    void run() const {
        if (o_.whole)
            runWhole();
        else
            runFractional();
    }

private:
    const T* sourceRow(int64_t v) const { return superSourceRow<T>(job_, o_, v); }

    T* targetRow(int32_t t) const { return dst_ + ptrdiff_t(t) * job_.dstStep; }

    // A row shared by two target rows is read by both.
    void runFractional() const {
        float* acc = alignUp<float>(job_.freeSpace, 16);
        const SuperAddRowFn<T> add = superAddRowTable<T>().current();
        const SuperStoreRowFn<T, float> store = superStoreRowTable<T, float>().current();
        // The columns across are the same in every row: walked once where
        // the block can be had, else by every row itself.
        WorkBlock<SuperColumn> schedule;
        if (schedule.allocate(a_.width))
            superColumnSchedule(a_.xScale, o_.coverX, o_.columns, a_.width, schedule.get());
        SuperRowWalk walk(o_, a_.yScale);
        for (int32_t t = 0; t < a_.height; ++t) {
            std::fill(acc, acc + count_, 0.0f);
            walk.next([&](int64_t v, double w) { add(sourceRow(v), acc, count_, w); });
            ownSuperExtendRow(acc, o_.columnsRead, o_.leftExtra, o_.rightExtra, channels_);
            superReduceRow(acc, channels_, o_.columns, a_.width, a_.xScale, o_.coverX,
                           schedule.get());
            store(acc, targetRow(t), a_.width * channels_, a_.factorProduct);
        }
    }

    void runWhole() const {
        uint32_t* acc = alignUp<uint32_t>(job_.freeSpace, 16);
        const SuperAddRowWholeFn<T> add = superAddRowWholeTable<T>().current();
        const SuperReduceWholeFn reduce = superReduceWholeTable(channels_).current();
        const SuperStoreRowFn<T, uint32_t> store = superStoreRowTable<T, uint32_t>().current();
        const int32_t run = int32_t(std::floor(a_.xScale));
        SuperRowWalk walk(o_, a_.yScale);
        for (int32_t t = 0; t < a_.height; ++t) {
            std::fill(acc, acc + count_, 0u);
            walk.next([&](int64_t v, double) { add(sourceRow(v), acc, count_); });
            ownSuperExtendRow(acc, o_.columnsRead, o_.leftExtra, o_.rightExtra, channels_);
            reduce(acc, a_.width, run);
            store(acc, targetRow(t), a_.width * channels_, a_.factorProduct);
        }
    }

    const ResizeJob& job_;
    const ResizeArgs& a_;
    const SuperOpening& o_;
    T* dst_;
    int32_t channels_;
    int32_t count_;  // accumulators a source row fills
};

// The form for the accumulator: a for float32, b for unsigned 32-bit.
template <class Acc, class A, class B>
constexpr auto byAccumulator(A a, B b) {
    if constexpr (std::is_same_v<Acc, float>)
        return a;
    else
        return b;
}

}  // namespace

template <class Acc>
void ownSuperExtendRow(Acc* acc, int32_t n, int32_t leftExtra, int32_t rightExtra,
                       int32_t channels) {
    const size_t pixelBytes = sizeof(Acc) * size_t(channels);
    if (leftExtra > 0) {
        std::memmove(acc + ptrdiff_t(leftExtra) * channels, acc, pixelBytes * size_t(n));
        for (int32_t q = 0; q < leftExtra; ++q)
            std::memcpy(acc + ptrdiff_t(q) * channels, acc + ptrdiff_t(leftExtra) * channels,
                        pixelBytes);
    }
    if (rightExtra > 0) {
        Acc* last = acc + (ptrdiff_t(leftExtra) + n - 1) * channels;
        for (int32_t q = 1; q <= rightExtra; ++q)
            std::memcpy(last + ptrdiff_t(q) * channels, last, pixelBytes);
    }
}

template void ownSuperExtendRow<float>(float*, int32_t, int32_t, int32_t, int32_t);
template void ownSuperExtendRow<uint32_t>(uint32_t*, int32_t, int32_t, int32_t, int32_t);
template void ownSuperExtendRow<uint16_t>(uint16_t*, int32_t, int32_t, int32_t, int32_t);

template <class T>
const KernelTable<SuperAddRowFn<T>>& superAddRowTable() {
    static const KernelTable<SuperAddRowFn<T>> table{
        {"scalar", Isa::Scalar, &superAddRowScalar<T>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, byDepth<T>(&superAddRow8uSse2, &superAddRow16uSse2)},
        {"avx2", Isa::Avx2, byDepth<T>(&superAddRow8uAvx2, &superAddRow16uAvx2)},
#endif
    };
    return table;
}

template <class T>
const KernelTable<SuperAddRowWholeFn<T>>& superAddRowWholeTable() {
    static const KernelTable<SuperAddRowWholeFn<T>> table{
        {"scalar", Isa::Scalar, &superAddRowWholeScalar<T>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, byDepth<T>(&superAddRowWhole8uSse2, &superAddRowWhole16uSse2)},
        {"avx2", Isa::Avx2, byDepth<T>(&superAddRowWhole8uAvx2, &superAddRowWhole16uAvx2)},
#endif
    };
    return table;
}

template <class T, class Acc>
const KernelTable<SuperStoreRowFn<T, Acc>>& superStoreRowTable() {
    static const KernelTable<SuperStoreRowFn<T, Acc>> table{
        {"scalar", Isa::Scalar, &superStoreRowScalar<T, Acc>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2,
         byAccumulator<Acc>(byDepth<T>(&superStore8uFromFloatSse2, &superStore16uFromFloatSse2),
                            byDepth<T>(&superStore8uFromWholeSse2, &superStore16uFromWholeSse2))},
        {"avx2", Isa::Avx2,
         byAccumulator<Acc>(byDepth<T>(&superStore8uFromFloatAvx2, &superStore16uFromFloatAvx2),
                            byDepth<T>(&superStore8uFromWholeAvx2, &superStore16uFromWholeAvx2))},
#endif
    };
    return table;
}

template const KernelTable<SuperAddRowFn<uint8_t>>& superAddRowTable<uint8_t>();
template const KernelTable<SuperAddRowFn<uint16_t>>& superAddRowTable<uint16_t>();
template const KernelTable<SuperAddRowWholeFn<uint8_t>>& superAddRowWholeTable<uint8_t>();
template const KernelTable<SuperAddRowWholeFn<uint16_t>>& superAddRowWholeTable<uint16_t>();
template const KernelTable<SuperStoreRowFn<uint8_t, float>>& superStoreRowTable<uint8_t, float>();
template const KernelTable<SuperStoreRowFn<uint16_t, float>>& superStoreRowTable<uint16_t, float>();
template const KernelTable<SuperStoreRowFn<uint8_t, uint32_t>>&
superStoreRowTable<uint8_t, uint32_t>();
template const KernelTable<SuperStoreRowFn<uint16_t, uint32_t>>&
superStoreRowTable<uint16_t, uint32_t>();

const KernelTable<SuperReduceWholeFn>& superReduceWholeTable(int32_t channels) {
    static const KernelTable<SuperReduceWholeFn> c1{
        {"scalar", Isa::Scalar, &superReduceWholeScalar<1>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &superReduceWholeC1Sse2},
        {"avx2", Isa::Avx2, &superReduceWholeC1Avx2},
#endif
    };
    static const KernelTable<SuperReduceWholeFn> c3{
        {"scalar", Isa::Scalar, &superReduceWholeScalar<3>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &superReduceWholeC3Sse2},
#endif
    };
    static const KernelTable<SuperReduceWholeFn> c4{
        {"scalar", Isa::Scalar, &superReduceWholeScalar<4>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &superReduceWholeC4Sse2},
#endif
    };
    return channels == 1 ? c1 : (channels == 3 ? c3 : c4);
}

const KernelTable<SuperReduceFractionalFn>& superReduceFractionalTable(int32_t channels) {
    static const KernelTable<SuperReduceFractionalFn> c1{
        {"scalar", Isa::Scalar, &superReduceFractionalScalar<1>}};
    static const KernelTable<SuperReduceFractionalFn> c3{
        {"scalar", Isa::Scalar, &superReduceFractionalScalar<3>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &superReduceFractionalC3Sse2},
#endif
    };
    static const KernelTable<SuperReduceFractionalFn> c4{
        {"scalar", Isa::Scalar, &superReduceFractionalScalar<4>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &superReduceFractionalC4Sse2},
        {"avx2", Isa::Avx2, &superReduceFractionalC4Avx2},
#endif
    };
    return channels == 1 ? c1 : (channels == 3 ? c3 : c4);
}

void superColumnSchedule(double scale, double cover, int32_t columns, int32_t width,
                         SuperColumn* schedule) {
    SuperColumnWalk walk(scale, cover, columns);
    for (int32_t c = 0; c < width; ++c) schedule[c] = walk.next();
}

void superReduceRow(float* acc, int32_t channels, int32_t columns, int32_t width, double scale,
                    double cover, const SuperColumn* schedule) {
    const SuperReduceFractionalFn reduce = superReduceFractionalTable(channels).current();
    if (schedule != nullptr) {
        reduce(acc, schedule, 0, width);
        return;
    }
    constexpr int32_t kChunk = 128;
    SuperColumn chunk[kChunk];
    SuperColumnWalk walk(scale, cover, columns);
    for (int32_t first = 0; first < width; first += kChunk) {
        const int32_t count = std::min(kChunk, width - first);
        for (int32_t i = 0; i < count; ++i) chunk[i] = walk.next();
        reduce(acc, chunk, first, count);
    }
}

IppStatus resizeSuper(const ResizeJob& job) {
    SuperOpening opening;
    if (!openSuper(*job.args, opening)) return ippStsSizeErr;
    if (resizeSuperExact(job, opening)) return ippStsNoErr;
    if (job.args->depth == 0)
        SuperResize<uint8_t>(job, opening).run();
    else
        SuperResize<uint16_t>(job, opening).run();
    return ippStsNoErr;
}

int64_t superSamplingWorkSize(const ResizeArgs& args) {
    SuperOpening opening;
    if (!openSuper(args, opening)) return 0;
    return 16 + int64_t(opening.columns) * args.nChannels * 4;
}

}  // namespace morva
