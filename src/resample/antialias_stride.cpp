// The strided pass across: its scalar definition and its table.
#include "resample/antialias_stride.h"

#include <algorithm>

#include "resample/antialias_forms.h"
#include "resample/resize_common.h"

namespace morva {
namespace {

// The general definition's sums with the index worked out: one sample per
// pixel sums the even and the odd slots but the last apart, then the last;
// three and four samples sum their slots in order.
template <class T, int Channels>
void stridedRowScalar(const T* row, int32_t srcWidth, const AntialiasStride& st, double*, float* out,
                      int32_t width) {
    const int32_t last = st.taps - 1;
    for (int32_t c = 0; c < width; ++c)
        for (int s = 0; s < Channels; ++s) {
            const auto product = [&](int32_t j) {
                const int64_t pixel = std::clamp<int64_t>(int64_t(st.first) + int64_t(st.step) * c + j, 0, srcWidth - 1);
                return double(row[pixel * Channels + s]) * double(st.weights[j]);
            };
            double sum = 0.0, odd = 0.0;
            for (int32_t j = 0; j < (Channels == 1 ? last : st.taps); ++j) {
                if (st.weights[j] == 0.0f) continue;
                if (Channels == 1 && j % 2 == 1)
                    odd = odd + product(j);
                else
                    sum = sum + product(j);
            }
            if (Channels == 1) {
                sum = sum + odd;
                if (st.weights[last] != 0.0f) sum = sum + product(last);
            }
            out[c * Channels + s] = float(sum);
        }
}

}  // namespace

int64_t antialiasPhasePixels(const AntialiasStride& stride, int32_t width) {
    return int64_t(width) + (stride.taps - 1) / stride.step + 1;
}

// Each phase row rounded up to whole cache lines, a line to align the first,
// and room for four vectors read past the last.
int64_t antialiasStrideScratch(const AntialiasStride& stride, int32_t width, int32_t channels) {
    return stride.step * ((antialiasPhasePixels(stride, width) * channels + 7) / 8 * 8) + 8 + 32;
}

template <class T>
const KernelTable<AntialiasStridedRowFn<T>>& antialiasStridedRowTable(int32_t channels) {
    static const KernelTable<AntialiasStridedRowFn<T>> c1{
        {"scalar", Isa::Scalar, &stridedRowScalar<T, 1>},
#if MORVA_X86_64
        {"avx512", Isa::Avx512, byDepth<T>(&antialiasStridedRow8uC1Avx512, &antialiasStridedRow16uC1Avx512)},
#endif
    };
    static const KernelTable<AntialiasStridedRowFn<T>> c3{
        {"scalar", Isa::Scalar, &stridedRowScalar<T, 3>},
#if MORVA_X86_64
        {"avx512", Isa::Avx512, byDepth<T>(&antialiasStridedRow8uC3Avx512, &antialiasStridedRow16uC3Avx512)},
#endif
    };
    static const KernelTable<AntialiasStridedRowFn<T>> c4{
        {"scalar", Isa::Scalar, &stridedRowScalar<T, 4>},
#if MORVA_X86_64
        {"avx512", Isa::Avx512, byDepth<T>(&antialiasStridedRow8uC4Avx512, &antialiasStridedRow16uC4Avx512)},
#endif
    };
    return channels == 1 ? c1 : (channels == 3 ? c3 : c4);
}

template const KernelTable<AntialiasStridedRowFn<uint8_t>>& antialiasStridedRowTable<uint8_t>(int32_t);
template const KernelTable<AntialiasStridedRowFn<uint16_t>>& antialiasStridedRowTable<uint16_t>(int32_t);

}  // namespace morva
