// AVX-512 forms of the one- and four-channel 8u linear rows. A block of
// columns whose taps lie within a window of source bytes picks its pairs
// (p[k], p[k + pixel]) by permutations instead of a load per column; the
// pairs meet their weights in pmaddwd as in the other forms. Blocks whose
// taps spread wider go to the AVX2 or SSE2 form, sample for sample alike.
#include "resample/linear_forms.h"

#if MORVA_X86_64
#include <immintrin.h>

#include "resample/prefetch.h"
#include "resample/x86/window_avx512.h"

namespace morva {
namespace {

// (sums + 128) >> 8 of sixteen 32-bit lanes.
__m512i roundQ8(__m512i sums) { return _mm512_srai_epi32(_mm512_add_epi32(sums, _mm512_set1_epi32(128)), 8); }

// Sixteen columns' byte pairs (a, b), as 16-bit lanes, with their weights.
void storeColumns(const __m256i pairs, const int16_t* weights, int16_t* out) {
    const __m512i sums = _mm512_madd_epi16(_mm512_cvtepu8_epi16(pairs), _mm512_loadu_si512(weights));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), _mm512_cvtepi32_epi16(roundQ8(sums)));
}

}  // namespace

// 32 columns a block. Words of the window from its first byte hold the
// pairs of even offsets, words of the window from its second byte those of
// odd ones.
void linearRow8uC1Avx512(const uint8_t* p, int32_t srcWidth, const int32_t* columns, const int16_t* weights,
                         int16_t* out, int32_t width) {
    int32_t j = 0;
    for (; j + 32 <= width; j += 32) {
        const int32_t base = columns[j];
        const __m512i o0 = _mm512_sub_epi32(_mm512_loadu_si512(columns + j), _mm512_set1_epi32(base));
        const __m512i o1 = _mm512_sub_epi32(_mm512_loadu_si512(columns + j + 16), _mm512_set1_epi32(base));
        if (!allBelow(o0, 63) || !allBelow(o1, 63)) {
            linearRow8uC1Sse2(p, srcWidth, columns + j, weights + 2 * j, out + j, 32);
            continue;
        }
        const __m512i offsets = narrowTwo(o0, o1), words = _mm512_srli_epi16(offsets, 1);
        const __m512i even = loadWindow(p + base, int64_t(srcWidth) - base);
        const __m512i odd = loadWindow(p + base + 1, int64_t(srcWidth) - base - 1);
        const __m512i pairs =
            _mm512_mask_permutexvar_epi16(_mm512_permutexvar_epi16(words, even),
                                          _mm512_test_epi16_mask(offsets, _mm512_set1_epi16(1)), words, odd);
        storeColumns(_mm512_castsi512_si256(pairs), weights + 2 * j, out + j);
        storeColumns(_mm512_extracti64x4_epi64(pairs, 1), weights + 2 * j + 32, out + j + 16);
    }
    linearRow8uC1Sse2(p, srcWidth, columns + j, weights + 2 * j, out + j, width - j);
}

// 16 columns a block: pixels k and k + 1 of each from 32 in two windows of
// 64 bytes. Per 128-bit quarter, unpacking pairs the samples of pixel 2i
// (low) and 2i + 1 (high) with their neighbours; the pack puts them back in
// order.
void linearRow8uC4Avx512(const uint8_t* p, int32_t srcWidth, const int32_t* columns, const int16_t* weights,
                         int16_t* out, int32_t width) {
    const int64_t rowBytes = int64_t(srcWidth) * 4;
    const __m512i evenWeights = _mm512_setr_epi32(0, 0, 0, 0, 2, 2, 2, 2, 4, 4, 4, 4, 6, 6, 6, 6);
    const __m512i oddWeights = _mm512_setr_epi32(1, 1, 1, 1, 3, 3, 3, 3, 5, 5, 5, 5, 7, 7, 7, 7);
    int32_t j = 0;
    for (; j + 16 <= width; j += 16) {
        const int32_t base = columns[j];
        const __m512i offsets = _mm512_sub_epi32(_mm512_loadu_si512(columns + j), _mm512_set1_epi32(base));
        if (!allBelow(offsets, 124)) {
            linearRow8uC4Avx2(p, srcWidth, columns + j, weights + 2 * j, out + 4 * j, 16);
            continue;
        }
        prefetchBytes(p + base + rowBytes, 64);  // the next row, as a rule
        const __m512i low = loadWindow(p + base, rowBytes - base);
        const __m512i high = loadWindow(p + base + 64, rowBytes - base - 64);
        const __m512i pixel = _mm512_srli_epi32(offsets, 2);
        const __m512i a = _mm512_permutex2var_epi32(low, pixel, high);
        const __m512i b = _mm512_permutex2var_epi32(low, _mm512_add_epi32(pixel, _mm512_set1_epi32(1)), high);
        for (int half = 0; half < 2; ++half) {
            const __m512i a16 = _mm512_cvtepu8_epi16(half ? _mm512_extracti64x4_epi64(a, 1) : _mm512_castsi512_si256(a));
            const __m512i b16 = _mm512_cvtepu8_epi16(half ? _mm512_extracti64x4_epi64(b, 1) : _mm512_castsi512_si256(b));
            const __m512i w = _mm512_castsi256_si512(
                _mm256_loadu_si256(reinterpret_cast<const __m256i*>(weights + 2 * (j + 8 * half))));
            const __m512i first = roundQ8(
                _mm512_madd_epi16(_mm512_unpacklo_epi16(a16, b16), _mm512_permutexvar_epi32(evenWeights, w)));
            const __m512i second = roundQ8(
                _mm512_madd_epi16(_mm512_unpackhi_epi16(a16, b16), _mm512_permutexvar_epi32(oddWeights, w)));
            _mm512_storeu_si512(out + 4 * (j + 8 * half), _mm512_packs_epi32(first, second));
        }
    }
    linearRow8uC4Avx2(p, srcWidth, columns + j, weights + 2 * j, out + 4 * j, width - j);
}

// Eight entries a vector, each lane the scalar definition's float64
// operations in their order; the last count % 8 by the scalar definition.
LinearAxisRim linearAxis8uAvx512(int32_t* table, int16_t* fractions, bool pairs, int32_t count, int32_t first,
                                 double scale, double offset, int32_t length, int32_t multiplier) {
    const __m512d s = _mm512_set1_pd(scale), o = _mm512_set1_pd(offset), half = _mm512_set1_pd(0.5);
    const __m512d top = _mm512_set1_pd(double(length - 1));
    const __m256i lanes = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
    // clampToInt32(v, lo, hi): below lo or NaN gives lo.
    const auto clamp = [](__m512d v, int32_t lo, int32_t hi) {
        const __m256i within = _mm256_mask_mov_epi32(_mm256_set1_epi32(lo),
                                                     _mm512_cmp_pd_mask(v, _mm512_set1_pd(lo), _CMP_GE_OQ),
                                                     _mm512_cvttpd_epi32(v));
        return _mm256_mask_mov_epi32(within, _mm512_cmp_pd_mask(v, _mm512_set1_pd(hi), _CMP_GE_OQ),
                                     _mm256_set1_epi32(hi));
    };
    LinearAxisRim rim;
    int32_t i = 0;
    for (; i + 8 <= count; i += 8) {
        const __m512d x = _mm512_cvtepi32_pd(_mm256_add_epi32(_mm256_set1_epi32(first + i), lanes));
        const __m512d d = _mm512_add_pd(_mm512_sub_pd(_mm512_mul_pd(_mm512_add_pd(x, half), s), half), o);
        const __m512d k = _mm512_roundscale_pd(d, _MM_FROUND_TO_NEG_INF | _MM_FROUND_NO_EXC);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(table + i),
                            _mm256_mullo_epi32(clamp(k, -1, length - 1), _mm256_set1_epi32(multiplier)));
        const __m512d q14 = _mm512_add_pd(_mm512_mul_pd(_mm512_sub_pd(d, k), _mm512_set1_pd(16384.0)),
                                          _mm512_set1_pd(1e-07));
        const __m256i f = clamp(q14, 0, 16384);
        if (pairs)
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(fractions + 2 * i),
                                _mm256_or_si256(_mm256_slli_epi32(f, 16), _mm256_sub_epi32(_mm256_set1_epi32(16384), f)));
        else
            _mm_storeu_si128(reinterpret_cast<__m128i*>(fractions + i), _mm256_cvtepi32_epi16(f));
        rim.low += __builtin_popcount(_mm512_cmp_pd_mask(d, _mm512_setzero_pd(), _CMP_LT_OQ));
        rim.high += __builtin_popcount(_mm512_cmp_pd_mask(d, top, _CMP_GE_OQ));
    }
    const LinearAxisRim rest = linearAxis8uScalar(table + i, fractions + (pairs ? 2 * i : i), pairs, count - i,
                                                  first + i, scale, offset, length, multiplier);
    rim.low += rest.low;
    rim.high += rest.high;
    return rim;
}

}  // namespace morva
#endif
