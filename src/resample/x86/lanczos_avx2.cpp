// AVX2 forms of the Lanczos row kernels where they pay: one-channel 8u rows
// eight columns a step (two 32-bit loads per column hold its six taps, their
// bytes the taps across columns), four-channel 8u rows two columns a step,
// and both blends eight samples a vector. Lanes do the scalar definition's
// float32 operations in the same order.
#include "resample/lanczos_forms.h"

#if MORVA_X86_64
#include <immintrin.h>

#include "resample/x86/tap_filter_avx2.h"

namespace morva {

using namespace avx2;

namespace {

__m128 farPair(const float* c) {
    return _mm_castpd_ps(_mm_load_sd(reinterpret_cast<const double*>(c + 4)));
}

}  // namespace

void lanczosRow8uC1Avx2(const uint8_t* p, const int32_t* columns, const float* coefficients,
                        float* out, int32_t width) {
    int32_t j = 0;
    for (; j + 8 <= width; j += 8) {
        const int32_t* k = columns + j;
        // Taps k - 2 .. k + 1, and k .. k + 3 whose upper two bytes are the
        // taps k + 2 and k + 3.
        const __m256i near = _mm256_setr_epi32(fourBytes(p + k[0] - 2), fourBytes(p + k[1] - 2),
                                               fourBytes(p + k[2] - 2), fourBytes(p + k[3] - 2),
                                               fourBytes(p + k[4] - 2), fourBytes(p + k[5] - 2),
                                               fourBytes(p + k[6] - 2), fourBytes(p + k[7] - 2));
        const __m256i far = _mm256_setr_epi32(
            fourBytes(p + k[0]), fourBytes(p + k[1]), fourBytes(p + k[2]), fourBytes(p + k[3]),
            fourBytes(p + k[4]), fourBytes(p + k[5]), fourBytes(p + k[6]), fourBytes(p + k[7]));
        // Coefficients across the columns: c0 .. c3 by a transpose per half,
        // c4 and c5 interleaved from the pairs.
        const float* c = coefficients + 6 * j;
        __m256 c0 = loadHalves(c, c + 24), c1 = loadHalves(c + 6, c + 30);
        __m256 c2 = loadHalves(c + 12, c + 36), c3 = loadHalves(c + 18, c + 42);
        transposeHalves(c0, c1, c2, c3);
        const __m128 f01 = _mm_unpacklo_ps(farPair(c), farPair(c + 6));
        const __m128 f23 = _mm_unpacklo_ps(farPair(c + 12), farPair(c + 18));
        const __m128 f45 = _mm_unpacklo_ps(farPair(c + 24), farPair(c + 30));
        const __m128 f67 = _mm_unpacklo_ps(farPair(c + 36), farPair(c + 42));
        const __m256 c4 = _mm256_insertf128_ps(_mm256_castps128_ps256(_mm_movelh_ps(f01, f23)),
                                               _mm_movelh_ps(f45, f67), 1);
        const __m256 c5 = _mm256_insertf128_ps(_mm256_castps128_ps256(_mm_movehl_ps(f23, f01)),
                                               _mm_movehl_ps(f67, f45), 1);
        const __m256 a0 = _mm256_mul_ps(byteOf<0>(near), c0);
        const __m256 a1 = _mm256_mul_ps(byteOf<1>(near), c1);
        const __m256 a2 = _mm256_mul_ps(byteOf<2>(near), c2);
        const __m256 a3 = _mm256_mul_ps(byteOf<3>(near), c3);
        const __m256 a4 = _mm256_mul_ps(byteOf<2>(far), c4);
        const __m256 a5 = _mm256_mul_ps(byteOf<3>(far), c5);
        const __m256 even = _mm256_add_ps(_mm256_add_ps(a0, a4), a2);
        const __m256 odd = _mm256_add_ps(_mm256_add_ps(a1, a5), a3);
        _mm256_storeu_ps(out + j, _mm256_add_ps(even, odd));
    }
    if (j < width) lanczosRow8uC1Sse2(p, columns + j, coefficients + 6 * j, out + j, width - j);
}

void lanczosRow8uC4Avx2(const uint8_t* p, const int32_t* columns, const float* coefficients,
                        float* out, int32_t width) {
    int32_t j = 0;
    for (; j + 2 <= width; j += 2) {
        const uint8_t* q0 = p + columns[j];
        const uint8_t* q1 = p + columns[j + 1];
        const float* c = coefficients + 6 * j;
        // Taps k - 2 .. k + 1 (16 bytes) and k + 2, k + 3 (8 bytes) of two
        // columns, one column per half.
        const __m256i near = loadHalves(q0 - 8, q1 - 8);
        const __m256i far = _mm256_inserti128_si256(
            _mm256_castsi128_si256(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(q0 + 8))),
            _mm_loadl_epi64(reinterpret_cast<const __m128i*>(q1 + 8)), 1);
        const __m256 cNear = loadHalves(c, c + 6);
        const __m256 cFar = _mm256_castpd_ps(_mm256_insertf128_pd(
            _mm256_castpd128_pd256(_mm_load_sd(reinterpret_cast<const double*>(c + 4))),
            _mm_load_sd(reinterpret_cast<const double*>(c + 10)), 1));
        const __m256 a0 =
            _mm256_mul_ps(_mm256_cvtepi32_ps(widenTap<0>(near)), broadcastInHalves<0>(cNear));
        const __m256 a1 =
            _mm256_mul_ps(_mm256_cvtepi32_ps(widenTap<1>(near)), broadcastInHalves<1>(cNear));
        const __m256 a2 =
            _mm256_mul_ps(_mm256_cvtepi32_ps(widenTap<2>(near)), broadcastInHalves<2>(cNear));
        const __m256 a3 =
            _mm256_mul_ps(_mm256_cvtepi32_ps(widenTap<3>(near)), broadcastInHalves<3>(cNear));
        const __m256 a4 =
            _mm256_mul_ps(_mm256_cvtepi32_ps(widenTap<0>(far)), broadcastInHalves<0>(cFar));
        const __m256 a5 =
            _mm256_mul_ps(_mm256_cvtepi32_ps(widenTap<1>(far)), broadcastInHalves<1>(cFar));
        const __m256 sum = _mm256_add_ps(
            _mm256_add_ps(_mm256_add_ps(a0, a1), _mm256_add_ps(a2, a3)), _mm256_add_ps(a4, a5));
        _mm256_storeu_ps(out + 4 * j, sum);
    }
    if (j < width) lanczosRow8uC4Sse2(p, columns + j, coefficients + 6 * j, out + 4 * j, width - j);
}

namespace {

template <class T>
void lanczosBlendAvx2(const float* const* rows, const float* c, T* dst, int32_t count) {
    __m256 w[6];
    for (int t = 0; t < 6; ++t) w[t] = _mm256_set1_ps(c[t]);
    const __m256 half = _mm256_set1_ps(kLanczosHalf);
    blendLoop<6>(
        rows, dst, count,
        [&](const float* const* r, int32_t i) {
            __m256 v = _mm256_setzero_ps();
            for (int t = 0; t < 6; ++t)
                v = _mm256_add_ps(v, _mm256_mul_ps(_mm256_loadu_ps(r[t] + i), w[t]));
            return _mm256_add_ps(v, half);
        },
        [](__m256 v) { return _mm256_cvttps_epi32(v); });
}

}  // namespace

void lanczosBlend8uAvx2(const float* const* rows, const float* c, uint8_t* dst, int32_t count) {
    lanczosBlendAvx2(rows, c, dst, count);
}
void lanczosBlend16uAvx2(const float* const* rows, const float* c, uint16_t* dst, int32_t count) {
    lanczosBlendAvx2(rows, c, dst, count);
}

}  // namespace morva

#endif  // MORVA_X86_64
