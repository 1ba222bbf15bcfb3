// AVX-512 forms of the nearest neighbour rows. Where the columns step
// evenly, the narrowing moves keep every other pixel in one instruction; in
// general, a block of columns whose pixels lie within a window of 64 or 128
// source bytes picks them by one permutation instead of a load each.
#include "resample/x86/nearest_lanes.h"
#include "resample/prefetch.h"
#include "resample/x86/window_avx512.h"

#if MORVA_X86_64
#include <immintrin.h>

namespace morva {
namespace {

struct Avx512Moves {
    static constexpr int kEvenBytes = 32;
    static constexpr int kTwiceBytes = 32;

    template <int E>
    static void keepEven(const uint8_t* s, uint8_t* d) {
        const __m512i v = _mm512_loadu_si512(s);
        __m256i even;
        if constexpr (E == 1)
            even = _mm512_cvtepi16_epi8(v);
        else if constexpr (E == 2)
            even = _mm512_cvtepi32_epi16(v);
        else
            even = _mm512_cvtepi64_epi32(v);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d), even);
    }

    template <int E>
    static void twice(const uint8_t* s, uint8_t* d) {
        const __m256i x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s));
        __m512i v;
        if constexpr (E == 1) {
            v = _mm512_cvtepu8_epi16(x), v = _mm512_or_si512(v, _mm512_slli_epi16(v, 8));
        } else if constexpr (E == 2) {
            v = _mm512_cvtepu16_epi32(x), v = _mm512_or_si512(v, _mm512_slli_epi32(v, 16));
        } else {
            v = _mm512_cvtepu32_epi64(x), v = _mm512_or_si512(v, _mm512_slli_epi64(v, 32));
        }
        _mm512_storeu_si512(d, v);
    }
};

}  // namespace

MORVA_NEAREST_FORMS(Avx512, Avx512Moves)

// Eight entries a vector, each lane the scalar definition's float64
// operations in their order; the entries behind the last block of four, and
// what is left of the blocks, by the scalar definition.
void nearestAxisAvx512(int32_t* table, int32_t count, int32_t first, double scale, double offset,
                       int32_t length, int32_t multiplier) {
    const int32_t blocks = count - count % 4;
    const __m512d s = _mm512_set1_pd(scale), o = _mm512_set1_pd(offset), bias = _mm512_set1_pd(1e-10);
    const __m512d top = _mm512_set1_pd(double(length - 1));
    const __m256i last = _mm256_set1_epi32(length - 1), times = _mm256_set1_epi32(multiplier);
    const __m256i lanes = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
    int32_t i = 0;
    for (; i + 8 <= blocks; i += 8) {
        const __m512d centre = _mm512_add_pd(_mm512_cvtepi32_pd(_mm256_add_epi32(_mm256_set1_epi32(first + i), lanes)),
                                             _mm512_set1_pd(0.5));
        const __m512d d = _mm512_sub_pd(_mm512_add_pd(_mm512_mul_pd(centre, s), o), bias);
        // clampToInt32(d, 0, length - 1): below 0 or NaN gives 0.
        __m256i k = _mm256_maskz_mov_epi32(_mm512_cmp_pd_mask(d, _mm512_setzero_pd(), _CMP_GE_OQ),
                                           _mm512_cvttpd_epi32(d));
        k = _mm256_mask_mov_epi32(k, _mm512_cmp_pd_mask(d, top, _CMP_GE_OQ), last);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(table + i), _mm256_mullo_epi32(k, times));
    }
    nearestAxisEntries(table, i, count, count, first, scale, offset, length, multiplier);
}

// 32 columns a block, their bytes from 64 as sixteen-bit words: word o / 2
// holds byte o in its low or high half.
void nearestRow8uC1Avx512(const uint8_t* s, int32_t srcWidth, const int32_t* columns, uint8_t* d, int32_t width) {
    int32_t j = 0;
    for (; j + 32 <= width; j += 32) {
        const int32_t base = columns[j];
        const __m512i o0 = _mm512_sub_epi32(_mm512_loadu_si512(columns + j), _mm512_set1_epi32(base));
        const __m512i o1 = _mm512_sub_epi32(_mm512_loadu_si512(columns + j + 16), _mm512_set1_epi32(base));
        if (!allBelow(o0, 64) || !allBelow(o1, 64)) {
            nearestRowScalar<uint8_t, 1>(s, srcWidth, columns + j, d + j, 32);
            continue;
        }
        const __m512i offsets = narrowTwo(o0, o1);
        const __m512i window = loadWindow(s + base, int64_t(srcWidth) - base);
        __m512i words = _mm512_permutexvar_epi16(_mm512_srli_epi16(offsets, 1), window);
        words = _mm512_mask_srli_epi16(words, _mm512_test_epi16_mask(offsets, _mm512_set1_epi16(1)), words, 8);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + j), _mm512_cvtepi16_epi8(words));
    }
    nearestRowScalar<uint8_t, 1>(s, srcWidth, columns + j, d + j, width - j);
}

// 16 columns a block, their pixels from 32 in two windows of 64 bytes.
void nearestRow8uC4Avx512(const uint8_t* s, int32_t srcWidth, const int32_t* columns, uint8_t* d, int32_t width) {
    const int64_t rowBytes = int64_t(srcWidth) * 4;
    int32_t j = 0;
    for (; j + 16 <= width; j += 16) {
        const int32_t base = columns[j];
        const __m512i offsets = _mm512_sub_epi32(_mm512_loadu_si512(columns + j), _mm512_set1_epi32(base));
        if (!allBelow(offsets, 128)) {
            nearestRowScalar<uint8_t, 4>(s, srcWidth, columns + j, d + 4 * j, 16);
            continue;
        }
        prefetchBytes(s + base + rowBytes, 64);  // the next row, as a rule
        const __m512i low = loadWindow(s + base, rowBytes - base);
        const __m512i high = loadWindow(s + base + 64, rowBytes - base - 64);
        _mm512_storeu_si512(d + 4 * j, _mm512_permutex2var_epi32(low, _mm512_srli_epi32(offsets, 2), high));
    }
    nearestRowScalar<uint8_t, 4>(s, srcWidth, columns + j, d + 4 * j, width - j);
}

}  // namespace morva
#endif
