// AVX-512 forms of the cubic and Lanczos blends: sixteen samples a vector,
// each lane the scalar definition's float32 operations in its order, and the
// row's last samples through masked loads and stores instead of a copy.
#include "resample/cubic_forms.h"
#include "resample/lanczos_forms.h"

#if MORVA_X86_64
#include <immintrin.h>

namespace morva {
namespace {

// Sixteen int32 results saturated as the scalar definition does: 8u to
// 0..255; 16u by -32768 in wrapping arithmetic, int16 saturation, +0x8000.
inline void store(uint8_t* dst, __m512i v, __mmask16 mask) {
    _mm_mask_storeu_epi8(dst, mask, _mm512_cvtusepi32_epi8(_mm512_max_epi32(v, _mm512_setzero_si512())));
}

inline void store(uint16_t* dst, __m512i v, __mmask16 mask) {
    const __m256i s = _mm512_cvtsepi32_epi16(_mm512_sub_epi32(v, _mm512_set1_epi32(32768)));
    _mm256_mask_storeu_epi16(dst, mask, _mm256_xor_si256(s, _mm256_set1_epi16(int16_t(0x8000))));
}

// value(load) gives the sixteen int32 results of the samples that
// load(row t) reads.
template <int Taps, class T, class Value>
void blendRows(const float* const* rows, T* dst, int32_t count, Value value) {
    const float* r[Taps];
    for (int t = 0; t < Taps; ++t) r[t] = rows[t];
    int32_t i = 0;
    for (; i + 16 <= count; i += 16)
        store(dst + i, value([&](int t) { return _mm512_loadu_ps(r[t] + i); }), 0xFFFF);
    if (i < count) {
        const __mmask16 mask = __mmask16((1u << (count - i)) - 1);
        store(dst + i, value([&](int t) { return _mm512_maskz_loadu_ps(mask, r[t] + i); }), mask);
    }
}

template <class T>
void cubicBlend(const float* const* rows, const float* c, T* dst, int32_t count) {
    const __m512 c0 = _mm512_set1_ps(c[0]), c1 = _mm512_set1_ps(c[1]), c2 = _mm512_set1_ps(c[2]),
                 c3 = _mm512_set1_ps(c[3]);
    blendRows<4>(rows, dst, count, [&](auto load) {
        const __m512 ab = _mm512_add_ps(_mm512_mul_ps(load(0), c0), _mm512_mul_ps(load(1), c1));
        const __m512 cd = _mm512_add_ps(_mm512_mul_ps(load(2), c2), _mm512_mul_ps(load(3), c3));
        return _mm512_cvtps_epi32(_mm512_add_ps(ab, cd));  // the current rounding mode
    });
}

template <class T>
void lanczosBlend(const float* const* rows, const float* c, T* dst, int32_t count) {
    __m512 w[6];
    for (int t = 0; t < 6; ++t) w[t] = _mm512_set1_ps(c[t]);
    const __m512 half = _mm512_set1_ps(kLanczosHalf);
    blendRows<6>(rows, dst, count, [&](auto load) {
        __m512 v = _mm512_setzero_ps();
        for (int t = 0; t < 6; ++t) v = _mm512_add_ps(v, _mm512_mul_ps(load(t), w[t]));
        return _mm512_cvttps_epi32(_mm512_add_ps(v, half));
    });
}

}  // namespace

void cubicBlend8uAvx512(const float* const* rows, const float* c, uint8_t* dst, int32_t count) {
    cubicBlend(rows, c, dst, count);
}
void cubicBlend16uAvx512(const float* const* rows, const float* c, uint16_t* dst, int32_t count) {
    cubicBlend(rows, c, dst, count);
}
void lanczosBlend8uAvx512(const float* const* rows, const float* c, uint8_t* dst, int32_t count) {
    lanczosBlend(rows, c, dst, count);
}
void lanczosBlend16uAvx512(const float* const* rows, const float* c, uint16_t* dst, int32_t count) {
    lanczosBlend(rows, c, dst, count);
}

}  // namespace morva
#endif
