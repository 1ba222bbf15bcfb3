// AVX-512 forms of the antialiasing path: sixteen sums at a time down.
#include "resample/antialias_forms.h"

#if MORVA_X86_64
#include <immintrin.h>

namespace morva {
namespace {

// trunc(float64(a) + 0.5000001) of sixteen sums, limited to 0..top (INT32_MIN,
// from a sum that isn't finite or leaves the 32-bit range, to 0).
__m512i converted(__m512 a, int32_t top) {
    const __m512d half = _mm512_set1_pd(0.5000001);
    const __m256i lo = _mm512_cvttpd_epi32(_mm512_add_pd(_mm512_cvtps_pd(_mm512_castps512_ps256(a)), half));
    const __m256i hi = _mm512_cvttpd_epi32(_mm512_add_pd(_mm512_cvtps_pd(_mm512_extractf32x8_ps(a, 1)), half));
    const __m512i v = _mm512_inserti64x4(_mm512_castsi256_si512(lo), hi, 1);
    return _mm512_min_epi32(_mm512_max_epi32(v, _mm512_setzero_si512()), _mm512_set1_epi32(top));
}

// The sums of sixteen samples from i on.
__m512 sumDown(const float* image, const int32_t* offsets, const float* weights, int32_t taps, int32_t i) {
    __m512 a = _mm512_setzero_ps();
    for (int32_t j = 0; j < taps; ++j)
        a = _mm512_add_ps(a, _mm512_mul_ps(_mm512_set1_ps(weights[j]), _mm512_loadu_ps(image + offsets[j] + i)));
    return a;
}

// Sixteen target samples at a time, the last few by the scalar definition.
template <class T>
void down(const float* image, const int32_t* offsets, const float* weights, int32_t taps, T* dst, int32_t count) {
    int32_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const __m512 sums = sumDown(image, offsets, weights, taps, i);
        if constexpr (sizeof(T) == 1)
            _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + i), _mm512_cvtepi32_epi8(converted(sums, 255)));
        else
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + i), _mm512_cvtepi32_epi16(converted(sums, 65535)));
    }
    antialiasDownScalar(image + i, offsets, weights, taps, dst + i, count - i);
}

}  // namespace

void antialiasDown8uAvx512(const float* image, const int32_t* offsets, const float* weights, int32_t taps,
                           uint8_t* dst, int32_t count) {
    down(image, offsets, weights, taps, dst, count);
}

void antialiasDown16uAvx512(const float* image, const int32_t* offsets, const float* weights, int32_t taps,
                            uint16_t* dst, int32_t count) {
    down(image, offsets, weights, taps, dst, count);
}

}  // namespace morva

#endif  // MORVA_X86_64
