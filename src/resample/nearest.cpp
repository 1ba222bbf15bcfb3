// Nearest neighbour: per target row and column the index of one source pixel,
// then a plain copy. Samples reach the target unchanged.
#include "resample/nearest.h"

#include <cstring>

#include "resample/nearest_forms.h"
#include "resample/resize_common.h"

namespace morva {
namespace {

// The scalar definition: copy every sample of the selected pixel.
template <class T, int Channels>
void nearestRowScalar(const T* srcRow, int32_t, const int32_t* columns, T* dst, int32_t width) {
    for (int32_t j = 0; j < width; ++j) {
        const T* pixel = srcRow + columns[j];
        for (int c = 0; c < Channels; ++c) dst[j * Channels + c] = pixel[c];
    }
}

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
void buildAxis(int32_t* table, int32_t count, int32_t first, double scale, double offset,
               int32_t sourceLength, int32_t multiplier) {
    const int32_t blocks = count - count % 4;
    for (int32_t i = 0; i < count; ++i) {
        const double centre = double(first + i) + 0.5;
        const double d = i < blocks ? centre * scale + offset - 1e-10
                                    : centre * scale - 1e-10 + offset;
        table[i] = clampToInt32(d, 0, sourceLength - 1) * multiplier;
    }
}

// One channel has no vector form: the lookup is one load and one store per
// pixel, and neither wide stores nor gathers measured faster.
template <class T>
IppStatus runNearest(const ResizeJob& job, NearestRowFn<T> lookup) {
    const ResizeArgs& a = *job.args;
    // Rows first, then columns.
    buildAxis(job.rows, a.height, a.y0, a.yScale, a.yOffset, a.srcHeight, job.srcStep);
    buildAxis(job.columns, a.width, a.x0, a.xScale, a.xOffset, a.srcWidth,
              a.nProcessed == 1 ? 1 : a.nChannels);

    const T* src = reinterpret_cast<const T*>(a.src);
    T* dst = reinterpret_cast<T*>(job.dst);
    const size_t rowBytes = size_t(a.width) * size_t(a.nChannels) * sizeof(T);
    for (int32_t i = 0; i < a.height; ++i) {
        T* out = dst + ptrdiff_t(i) * job.dstStep;
        if (i > 0 && job.rows[i] == job.rows[i - 1]) {
            // An enlargement repeats the source row: the same bytes as the
            // target row above.
            std::memmove(out, out - job.dstStep, rowBytes);
        } else {
            lookup(src + job.rows[i], a.srcWidth, job.columns, out, a.width);
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

IppStatus resizeNearest(const ResizeJob& job) {
    const ResizeArgs& a = *job.args;
    if (a.depth == 0) return runNearest<uint8_t>(job, nearestRow8uTable(a.nProcessed).current());
    return runNearest<uint16_t>(job, nearestRow16uTable(a.nProcessed).current());
}

}  // namespace morva
