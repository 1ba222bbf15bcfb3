// AVX2 forms of the cubic row kernels where they pay: one-channel 8u rows
// eight columns a step (each column's four taps are one 32-bit load, their
// bytes the taps across columns), four-channel 8u rows two columns a step,
// and both blends eight samples a vector. Lanes do the scalar definition's
// float32 operations in the same order. (Gathering the eight loads with one
// instruction measured slower than the SSE2 form.)
#include "resample/cubic_forms.h"

#if MORVA_X86_64
#include <immintrin.h>

#include "resample/x86/tap_filter_avx2.h"

namespace morva {

using namespace avx2;

void cubicRow8uC1Avx2(const uint8_t* p, const int32_t* columns, const float* coefficients,
                      float* out, int32_t width) {
    const int32_t blocked = width - width % 4;
    // The transposed coefficients come in the column order j, j + 2, j + 4,
    // j + 6, j + 1, j + 3, j + 5, j + 7: the taps are loaded so, and the sums
    // put back in order at the store.
    const __m256i inOrder = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    int32_t j = 0;
    for (; j + 8 <= blocked; j += 8) {
        const int32_t* k = columns + j;
        // Taps k - 1 .. k + 2 of column n.
        const auto tapsOf = [&](int n) { return fourBytes(p + k[n] - 1); };
        const __m256i taps = _mm256_setr_epi32(tapsOf(0), tapsOf(2), tapsOf(4), tapsOf(6), tapsOf(1),
                                               tapsOf(3), tapsOf(5), tapsOf(7));
        const float* c = coefficients + 4 * j;
        __m256 c0 = _mm256_loadu_ps(c), c1 = _mm256_loadu_ps(c + 8), c2 = _mm256_loadu_ps(c + 16),
               c3 = _mm256_loadu_ps(c + 24);
        transposeHalves(c0, c1, c2, c3);
        const __m256 a0 = _mm256_mul_ps(byteOf<0>(taps), c0);
        const __m256 a1 = _mm256_mul_ps(byteOf<1>(taps), c1);
        const __m256 a2 = _mm256_mul_ps(byteOf<2>(taps), c2);
        const __m256 a3 = _mm256_mul_ps(byteOf<3>(taps), c3);
        const __m256 sum = _mm256_add_ps(_mm256_add_ps(a0, a1), _mm256_add_ps(a2, a3));
        _mm256_storeu_ps(out + j, _mm256_permutevar8x32_ps(sum, inOrder));
    }
    // A last block of four and the width % 4 columns as the SSE2 form does
    // them: the rest's width keeps the same width % 4.
    if (j < width) cubicRow8uC1Sse2(p, columns + j, coefficients + 4 * j, out + j, width - j);
}

void cubicRow8uC4Avx2(const uint8_t* p, const int32_t* columns, const float* coefficients,
                      float* out, int32_t width) {
    int32_t j = 0;
    for (; j + 2 <= width; j += 2) {
        // Taps k - 1 .. k + 2 of two columns, 16 bytes each, one per half.
        const __m256i x = loadHalves(p + columns[j] - 4, p + columns[j + 1] - 4);
        const __m256 c = _mm256_loadu_ps(coefficients + 4 * j);
        const __m256 a0 =
            _mm256_mul_ps(_mm256_cvtepi32_ps(widenTap<0>(x)), broadcastInHalves<0>(c));
        const __m256 a1 =
            _mm256_mul_ps(_mm256_cvtepi32_ps(widenTap<1>(x)), broadcastInHalves<1>(c));
        const __m256 a2 =
            _mm256_mul_ps(_mm256_cvtepi32_ps(widenTap<2>(x)), broadcastInHalves<2>(c));
        const __m256 a3 =
            _mm256_mul_ps(_mm256_cvtepi32_ps(widenTap<3>(x)), broadcastInHalves<3>(c));
        _mm256_storeu_ps(out + 4 * j, _mm256_add_ps(_mm256_add_ps(a0, a3), _mm256_add_ps(a1, a2)));
    }
    if (j < width) cubicRow8uC4Sse2(p, columns + j, coefficients + 4 * j, out + 4 * j, width - j);
}

namespace {

template <class T>
void cubicBlendAvx2(const float* const* rows, const float* c, T* dst, int32_t count) {
    const __m256 c0 = _mm256_set1_ps(c[0]), c1 = _mm256_set1_ps(c[1]), c2 = _mm256_set1_ps(c[2]),
                 c3 = _mm256_set1_ps(c[3]);
    blendLoop<4>(
        rows, dst, count,
        [&](const float* const* r, int32_t i) {
            const __m256 ab = _mm256_add_ps(_mm256_mul_ps(_mm256_loadu_ps(r[0] + i), c0),
                                            _mm256_mul_ps(_mm256_loadu_ps(r[1] + i), c1));
            const __m256 cd = _mm256_add_ps(_mm256_mul_ps(_mm256_loadu_ps(r[2] + i), c2),
                                            _mm256_mul_ps(_mm256_loadu_ps(r[3] + i), c3));
            return _mm256_add_ps(ab, cd);
        },
        [](__m256 v) { return _mm256_cvtps_epi32(v); });
}

}  // namespace

void cubicBlend8uAvx2(const float* const* rows, const float* c, uint8_t* dst, int32_t count) {
    cubicBlendAvx2(rows, c, dst, count);
}
void cubicBlend16uAvx2(const float* const* rows, const float* c, uint16_t* dst, int32_t count) {
    cubicBlendAvx2(rows, c, dst, count);
}

}  // namespace morva

#endif  // MORVA_X86_64
