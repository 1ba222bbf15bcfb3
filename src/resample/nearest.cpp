// Nearest neighbour: per target row and column the index of one source pixel,
// then a plain copy. Samples reach the target unchanged.
#include "resample/nearest.h"

#include <cstring>

#include "resample/nearest_forms.h"
#include "resample/prefetch.h"
#include "resample/resize_common.h"

namespace morva {

// The scalar definition: copy every sample of the selected pixel.
template <class T, int Channels>
void nearestRowScalar(const T* srcRow, int32_t, const int32_t* columns, T* dst, int32_t width) {
    for (int32_t j = 0; j < width; ++j) {
        const T* pixel = srcRow + columns[j];
        for (int c = 0; c < Channels; ++c) dst[j * Channels + c] = pixel[c];
    }
}

template void nearestRowScalar<uint8_t, 1>(const uint8_t*, int32_t, const int32_t*, uint8_t*, int32_t);
template void nearestRowScalar<uint8_t, 4>(const uint8_t*, int32_t, const int32_t*, uint8_t*, int32_t);

template <class T, int Channels>
void nearestEveryOtherScalar(const T* src, T* dst, int32_t width) {
    for (int32_t j = 0; j < width; ++j)
        for (int c = 0; c < Channels; ++c) dst[j * Channels + c] = src[2 * j * Channels + c];
}

template <class T, int Channels>
void nearestTwiceScalar(const T* src, T* dst, int32_t width, int32_t phase) {
    for (int32_t j = 0; j < width; ++j)
        for (int c = 0; c < Channels; ++c) dst[j * Channels + c] = src[(j + phase) / 2 * Channels + c];
}

template void nearestEveryOtherScalar<uint8_t, 1>(const uint8_t*, uint8_t*, int32_t);
template void nearestEveryOtherScalar<uint8_t, 4>(const uint8_t*, uint8_t*, int32_t);
template void nearestEveryOtherScalar<uint16_t, 1>(const uint16_t*, uint16_t*, int32_t);
template void nearestTwiceScalar<uint8_t, 1>(const uint8_t*, uint8_t*, int32_t, int32_t);
template void nearestTwiceScalar<uint8_t, 4>(const uint8_t*, uint8_t*, int32_t, int32_t);
template void nearestTwiceScalar<uint16_t, 1>(const uint16_t*, uint16_t*, int32_t, int32_t);

NearestColumnShape nearestColumnShape(const int32_t* columns, int32_t width, int32_t pixel) {
    // True if every step of the table is step(j), from column j - 1 to j.
    const auto steps = [&](auto step) {
        for (int32_t j = 1; j < width; ++j)
            if (int64_t(columns[j]) - columns[j - 1] != step(j)) return false;
        return true;
    };
    if (steps([&](int32_t) { return pixel; })) return {NearestColumnShape::Copy};
    if (steps([&](int32_t) { return 2 * pixel; })) return {NearestColumnShape::EveryOther};
    for (int32_t phase : {0, 1})
        if (steps([&](int32_t j) { return (j + phase) % 2 == 0 ? pixel : 0; }))
            return {NearestColumnShape::Twice, phase};
    return {NearestColumnShape::General};
}

namespace {

}  // namespace

// One axis of the index tables. The position of target pixel y is
// (y + 0.5) * scale + offset - 1e-10: the bias makes a position exactly on
// a whole number k select k - 1, the pixel on the lower side. Entries in
// blocks of four from the start add the offset first; the last count % 4
// entries (all of a table shorter than four) subtract the bias first. The
// two orders can differ in the last bit of the position and both are kept.
//
// Positions can stray a hair outside the source where the rounding rule of
// the check admits a pixel whose centre lies within 1e-10 outside the mapped
// region; the index is limited to the source so that such a pixel takes the
// edge pixel instead of reading outside the image. Nothing else changes.
void nearestAxisEntries(int32_t* table, int32_t from, int32_t to, int32_t count, int32_t first, double scale,
                        double offset, int32_t sourceLength, int32_t multiplier) {
    const int32_t blocks = count - count % 4;
    for (int32_t i = from; i < to; ++i) {
        const double centre = double(first + i) + 0.5;
        const double d = i < blocks ? centre * scale + offset - 1e-10
                                    : centre * scale - 1e-10 + offset;
        table[i] = clampToInt32(d, 0, sourceLength - 1) * multiplier;
    }
}

namespace {

void nearestAxisScalar(int32_t* table, int32_t count, int32_t first, double scale, double offset,
                       int32_t sourceLength, int32_t multiplier) {
    nearestAxisEntries(table, 0, count, count, first, scale, offset, sourceLength, multiplier);
}

// Copies one target row from a source row, by the general lookup or, where
// the column table steps evenly, without it.
template <class T>
class RowCopy {
public:
    RowCopy(const ResizeJob& job, NearestRowFn<T> lookup)
        : a_(*job.args), columns_(job.columns), first_(job.columns[0]), lookup_(lookup) {
        // The even steps where their moves have vector forms (nearest.h).
        const int32_t channels = a_.nChannels;
        const bool vectorForms = channels == 1 || (channels == 4 && sizeof(T) == 1);
        if (a_.nProcessed == channels && vectorForms) shape_ = nearestColumnShape(columns_, a_.width, channels);
        if (shape_.kind == NearestColumnShape::EveryOther)
            everyOther_ = byDepth<T>(nearestEveryOther8uTable(channels).current(), nearestEveryOther16uTable().current());
        if (shape_.kind == NearestColumnShape::Twice)
            twice_ = byDepth<T>(nearestTwice8uTable(channels).current(), nearestTwice16uTable().current());
    }

    // The general lookup gathers from the row in small steps, ahead of which
    // the hardware's prefetch falls behind; the even-stepping rows stream.
    void prefetch(const T* row) const {
        if (shape_.kind != NearestColumnShape::General) return;
        const int32_t last = columns_[a_.width - 1];  // the columns rise with the target's
        prefetchBytes(row + first_, size_t(last - first_ + a_.nChannels) * sizeof(T));
    }

    void operator()(const T* row, T* out) const {
        switch (shape_.kind) {
        case NearestColumnShape::Copy:
            std::memcpy(out, row + first_, size_t(a_.width) * size_t(a_.nChannels) * sizeof(T));
            break;
        case NearestColumnShape::EveryOther: everyOther_(row + first_, out, a_.width); break;
        case NearestColumnShape::Twice: twice_(row + first_, out, a_.width, shape_.phase); break;
        default: lookup_(row, a_.srcWidth, columns_, out, a_.width);
        }
    }

private:
    const ResizeArgs& a_;
    const int32_t* columns_;
    int32_t first_;
    NearestRowFn<T> lookup_;
    NearestColumnShape shape_;
    NearestEveryOtherFn<T> everyOther_ = nullptr;
    NearestTwiceFn<T> twice_ = nullptr;
};

// The general lookup of one channel has an AVX-512 form alone: before it,
// a load and a store per pixel measured as fast as wide stores or gathers.
template <class T>
IppStatus runNearest(const ResizeJob& job, NearestRowFn<T> lookup) {
    const ResizeArgs& a = *job.args;
    // Rows first, then columns.
    const NearestAxisFn buildAxis = nearestAxisTable().current();
    buildAxis(job.rows, a.height, a.y0, a.yScale, a.yOffset, a.srcHeight, job.srcStep);
    buildAxis(job.columns, a.width, a.x0, a.xScale, a.xOffset, a.srcWidth, a.nProcessed == 1 ? 1 : a.nChannels);

    const T* src = reinterpret_cast<const T*>(a.src);
    T* dst = reinterpret_cast<T*>(job.dst);
    const size_t rowBytes = size_t(a.width) * size_t(a.nChannels) * sizeof(T);
    const RowCopy<T> copyRow(job, lookup);

    for (int32_t i = 0; i < a.height; ++i) {
        T* out = dst + ptrdiff_t(i) * job.dstStep;
        if (i > 0 && job.rows[i] == job.rows[i - 1]) {
            // An enlargement repeats the source row: the same bytes as the
            // target row above.
            std::memmove(out, out - job.dstStep, rowBytes);
        } else {
            if (i + 1 < a.height) copyRow.prefetch(src + job.rows[i + 1]);
            copyRow(src + job.rows[i], out);
        }
    }
    return ippStsNoErr;
}

template <class T>
using NearestTable = KernelTable<NearestRowFn<T>>;

}  // namespace

const KernelTable<NearestRowFn<uint8_t>>& nearestRow8uTable(int32_t channels) {
    static const NearestTable<uint8_t> c1{
        {"scalar", Isa::Scalar, &nearestRowScalar<uint8_t, 1>},
#if MORVA_X86_64
        {"avx512", Isa::Avx512, &nearestRow8uC1Avx512},
#endif
    };
    static const NearestTable<uint8_t> c3{
        {"scalar", Isa::Scalar, &nearestRowScalar<uint8_t, 3>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &nearestRow8uC3Sse2},
#endif
    };
    static const NearestTable<uint8_t> c4{
        {"scalar", Isa::Scalar, &nearestRowScalar<uint8_t, 4>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &nearestRow8uC4Sse2},
        {"avx512", Isa::Avx512, &nearestRow8uC4Avx512},
#endif
    };
    return channels == 1 ? c1 : (channels == 3 ? c3 : c4);
}

const KernelTable<NearestRowFn<uint16_t>>& nearestRow16uTable(int32_t channels) {
    static const NearestTable<uint16_t> c1{
        {"scalar", Isa::Scalar, &nearestRowScalar<uint16_t, 1>},
    };
    static const NearestTable<uint16_t> c3{
        {"scalar", Isa::Scalar, &nearestRowScalar<uint16_t, 3>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &nearestRow16uC3Sse2},
#endif
    };
    static const NearestTable<uint16_t> c4{
        {"scalar", Isa::Scalar, &nearestRowScalar<uint16_t, 4>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &nearestRow16uC4Sse2},
#endif
    };
    return channels == 1 ? c1 : (channels == 3 ? c3 : c4);
}

const KernelTable<NearestEveryOtherFn<uint8_t>>& nearestEveryOther8uTable(int32_t channels) {
    static const KernelTable<NearestEveryOtherFn<uint8_t>> c1{
        {"scalar", Isa::Scalar, &nearestEveryOtherScalar<uint8_t, 1>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &nearestEveryOther8uC1Sse2},
        {"avx2", Isa::Avx2, &nearestEveryOther8uC1Avx2},
        {"avx512", Isa::Avx512, &nearestEveryOther8uC1Avx512},
#endif
    };
    static const KernelTable<NearestEveryOtherFn<uint8_t>> c4{
        {"scalar", Isa::Scalar, &nearestEveryOtherScalar<uint8_t, 4>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &nearestEveryOther8uC4Sse2},
        {"avx2", Isa::Avx2, &nearestEveryOther8uC4Avx2},
        {"avx512", Isa::Avx512, &nearestEveryOther8uC4Avx512},
#endif
    };
    return channels == 1 ? c1 : c4;
}

const KernelTable<NearestEveryOtherFn<uint16_t>>& nearestEveryOther16uTable() {
    static const KernelTable<NearestEveryOtherFn<uint16_t>> table{
        {"scalar", Isa::Scalar, &nearestEveryOtherScalar<uint16_t, 1>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &nearestEveryOther16uC1Sse2},
        {"avx2", Isa::Avx2, &nearestEveryOther16uC1Avx2},
        {"avx512", Isa::Avx512, &nearestEveryOther16uC1Avx512},
#endif
    };
    return table;
}

const KernelTable<NearestTwiceFn<uint8_t>>& nearestTwice8uTable(int32_t channels) {
    static const KernelTable<NearestTwiceFn<uint8_t>> c1{
        {"scalar", Isa::Scalar, &nearestTwiceScalar<uint8_t, 1>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &nearestTwice8uC1Sse2},
        {"avx2", Isa::Avx2, &nearestTwice8uC1Avx2},
        {"avx512", Isa::Avx512, &nearestTwice8uC1Avx512},
#endif
    };
    static const KernelTable<NearestTwiceFn<uint8_t>> c4{
        {"scalar", Isa::Scalar, &nearestTwiceScalar<uint8_t, 4>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &nearestTwice8uC4Sse2},
        {"avx2", Isa::Avx2, &nearestTwice8uC4Avx2},
        {"avx512", Isa::Avx512, &nearestTwice8uC4Avx512},
#endif
    };
    return channels == 1 ? c1 : c4;
}

const KernelTable<NearestTwiceFn<uint16_t>>& nearestTwice16uTable() {
    static const KernelTable<NearestTwiceFn<uint16_t>> table{
        {"scalar", Isa::Scalar, &nearestTwiceScalar<uint16_t, 1>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &nearestTwice16uC1Sse2},
        {"avx2", Isa::Avx2, &nearestTwice16uC1Avx2},
        {"avx512", Isa::Avx512, &nearestTwice16uC1Avx512},
#endif
    };
    return table;
}

const KernelTable<NearestAxisFn>& nearestAxisTable() {
    static const KernelTable<NearestAxisFn> table{
        {"scalar", Isa::Scalar, &nearestAxisScalar},
#if MORVA_X86_64
        {"avx512", Isa::Avx512, &nearestAxisAvx512},
#endif
    };
    return table;
}

IppStatus resizeNearest(const ResizeJob& job) {
    const ResizeArgs& a = *job.args;
    if (a.depth == 0) return runNearest<uint8_t>(job, nearestRow8uTable(a.nProcessed).current());
    return runNearest<uint16_t>(job, nearestRow16uTable(a.nProcessed).current());
}

}  // namespace morva
