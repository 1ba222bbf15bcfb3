// Scalar definitions and tables of the linear fast paths.
#include "resample/linear_fast_paths.h"

#include "resample/linear_fast_paths_forms.h"
#include "resample/resize_common.h"

namespace morva {

template <class T, int Channels>
void linearBoxScalar(const T* upper, const T* lower, T* dst, int32_t width) {
    for (int32_t j = 0; j < width; ++j)
        for (int s = 0; s < Channels; ++s) {
            const int32_t left = 2 * j * Channels + s, right = left + Channels;
            dst[j * Channels + s] = T((upper[left] + upper[right] + lower[left] + lower[right] + 2) >> 2);
        }
}

template <class T, int Channels>
void linearDoubleScalar(const T* upper, const T* lower, int32_t rowQuarters, int32_t firstQuarters,
                        T* dst, int32_t width) {
    const auto down = [&](int32_t m, int s) {
        return (4 - rowQuarters) * upper[m * Channels + s] + rowQuarters * lower[m * Channels + s];
    };
    int32_t m = 0, q = firstQuarters;
    for (int32_t j = 0; j < width; ++j) {
        for (int s = 0; s < Channels; ++s)
            dst[j * Channels + s] = T(((4 - q) * down(m, s) + q * down(m + 1, s) + 8) >> 4);
        if (q == 3) ++m;
        q = 4 - q;
    }
}

void linearVertical8uScalar(const uint8_t* upper, const uint8_t* lower, uint8_t* dst, int32_t count,
                            int32_t fraction) {
    for (int32_t i = 0; i < count; ++i)
        dst[i] = uint8_t((upper[i] * (16384 - fraction) + lower[i] * fraction + 8192) >> 14);
}

template void linearBoxScalar<uint8_t, 1>(const uint8_t*, const uint8_t*, uint8_t*, int32_t);
template void linearDoubleScalar<uint8_t, 1>(const uint8_t*, const uint8_t*, int32_t, int32_t,
                                             uint8_t*, int32_t);
template void linearBoxScalar<uint8_t, 4>(const uint8_t*, const uint8_t*, uint8_t*, int32_t);
template void linearDoubleScalar<uint8_t, 4>(const uint8_t*, const uint8_t*, int32_t, int32_t,
                                             uint8_t*, int32_t);
template void linearBoxScalar<uint16_t, 1>(const uint16_t*, const uint16_t*, uint16_t*, int32_t);
template void linearDoubleScalar<uint16_t, 1>(const uint16_t*, const uint16_t*, int32_t, int32_t,
                                              uint16_t*, int32_t);

const KernelTable<LinearBoxFn<uint8_t>>& linearBox8uTable(int32_t channels) {
    static const KernelTable<LinearBoxFn<uint8_t>> c1{
        {"scalar", Isa::Scalar, &linearBoxScalar<uint8_t, 1>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &linearBox8uC1Sse2},
        {"avx2", Isa::Avx2, &linearBox8uC1Avx2},
        {"avx512", Isa::Avx512, &linearBox8uC1Avx512},
#endif
    };
    static const KernelTable<LinearBoxFn<uint8_t>> c4{
        {"scalar", Isa::Scalar, &linearBoxScalar<uint8_t, 4>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &linearBox8uC4Sse2},
        {"avx2", Isa::Avx2, &linearBox8uC4Avx2},
        {"avx512", Isa::Avx512, &linearBox8uC4Avx512},
#endif
    };
    return channels == 1 ? c1 : c4;
}

const KernelTable<LinearBoxFn<uint16_t>>& linearBox16uTable() {
    static const KernelTable<LinearBoxFn<uint16_t>> table{
        {"scalar", Isa::Scalar, &linearBoxScalar<uint16_t, 1>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &linearBox16uC1Sse2},
        {"avx2", Isa::Avx2, &linearBox16uC1Avx2},
        {"avx512", Isa::Avx512, &linearBox16uC1Avx512},
#endif
    };
    return table;
}

const KernelTable<LinearDoubleFn<uint8_t>>& linearDouble8uTable(int32_t channels) {
    static const KernelTable<LinearDoubleFn<uint8_t>> c1{
        {"scalar", Isa::Scalar, &linearDoubleScalar<uint8_t, 1>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &linearDouble8uC1Sse2},
        {"avx2", Isa::Avx2, &linearDouble8uC1Avx2},
        {"avx512", Isa::Avx512, &linearDouble8uC1Avx512},
#endif
    };
    static const KernelTable<LinearDoubleFn<uint8_t>> c4{
        {"scalar", Isa::Scalar, &linearDoubleScalar<uint8_t, 4>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &linearDouble8uC4Sse2},
        {"avx2", Isa::Avx2, &linearDouble8uC4Avx2},
        {"avx512", Isa::Avx512, &linearDouble8uC4Avx512},
#endif
    };
    return channels == 1 ? c1 : c4;
}

const KernelTable<LinearDoubleFn<uint16_t>>& linearDouble16uTable() {
    static const KernelTable<LinearDoubleFn<uint16_t>> table{
        {"scalar", Isa::Scalar, &linearDoubleScalar<uint16_t, 1>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &linearDouble16uC1Sse2},
        {"avx2", Isa::Avx2, &linearDouble16uC1Avx2},
        {"avx512", Isa::Avx512, &linearDouble16uC1Avx512},
#endif
    };
    return table;
}

const KernelTable<LinearVertical8uFn>& linearVertical8uTable() {
    static const KernelTable<LinearVertical8uFn> table{
        {"scalar", Isa::Scalar, &linearVertical8uScalar},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &linearVertical8uSse2},
        {"avx2", Isa::Avx2, &linearVertical8uAvx2},
        {"avx512", Isa::Avx512, &linearVertical8uAvx512},
#endif
    };
    return table;
}

}  // namespace morva
