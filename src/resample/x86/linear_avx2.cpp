// AVX2 forms of the linear blends: twice the SSE2 width, same operations.
#include "resample/linear_forms.h"

#if MORVA_X86_64
#include <immintrin.h>

#include <cstring>

namespace morva {
namespace {

__m256i loadu(const void* p) { return _mm256_loadu_si256(static_cast<const __m256i*>(p)); }

// Packs work within 128-bit lanes; this puts the four 64-bit quarters back
// in sample order.
__m256i inOrder(__m256i v) { return _mm256_permute4x64_epi64(v, 0xD8); }

// Pairs (a_s, b_s) of one column's pixel and its neighbour as 16-bit lanes,
// two columns in the two halves. Reads p[k .. k + 7] of each column only.
__m256i pairsOfFour(const uint8_t* p, int32_t k0, int32_t k1) {
    const __m128i c0 = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + k0));
    const __m128i c1 = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + k1));
    const __m256i x = _mm256_inserti128_si256(_mm256_castsi128_si256(c0), c1, 1);
    return _mm256_unpacklo_epi8(_mm256_unpacklo_epi8(x, _mm256_srli_si256(x, 4)), _mm256_setzero_si256());
}

template <class T>
T load(const void* p) {
    T v;
    std::memcpy(&v, p, sizeof(T));
    return v;
}

// Pairs (a_s, b_s) for three samples of one column, (x, 0) in the fourth,
// two columns in the two halves. Reads p[k .. k + 5] of each column only.
__m128i threePairs(const uint8_t* p) {
    const __m128i a = _mm_cvtsi32_si128(load<int32_t>(p));
    const __m128i b = _mm_cvtsi32_si128(int32_t(load<uint32_t>(p + 2) >> 8));
    return _mm_unpacklo_epi8(a, b);
}

__m256i pairsOfThree(const uint8_t* p, int32_t k0, int32_t k1) {
    const __m256i x = _mm256_inserti128_si256(_mm256_castsi128_si256(threePairs(p + k0)), threePairs(p + k1), 1);
    return _mm256_unpacklo_epi8(x, _mm256_setzero_si256());
}

// (w0, w1) of columns j and j + 1, each repeated over its half.
__m256i weightPairs(const int16_t* weights, int32_t j) {
    const __m128i two = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(weights + 2 * j));
    return _mm256_permutevar8x32_epi32(_mm256_castsi128_si256(two), _mm256_setr_epi32(0, 0, 0, 0, 1, 1, 1, 1));
}

__m256i roundQ8(__m256i sums) {
    return _mm256_srai_epi32(_mm256_add_epi32(sums, _mm256_set1_epi32(128)), 8);
}

}  // namespace

void linearRow8uC4Avx2(const uint8_t* p, int32_t srcWidth, const int32_t* columns, const int16_t* weights,
                       int16_t* out, int32_t width) {
    int32_t j = 0;
    for (; j + 4 <= width; j += 4) {
        const __m256i s01 = _mm256_madd_epi16(pairsOfFour(p, columns[j], columns[j + 1]), weightPairs(weights, j));
        const __m256i s23 = _mm256_madd_epi16(pairsOfFour(p, columns[j + 2], columns[j + 3]), weightPairs(weights, j + 2));
        // Halves hold columns (0, 2) and (1, 3) after the pack.
        const __m256i packed = _mm256_packs_epi32(roundQ8(s01), roundQ8(s23));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 4 * j), inOrder(packed));
    }
    linearRow8uScalar<4>(p, srcWidth, columns + j, weights + 2 * j, out + 4 * j, width - j);
}

void linearRow8uC3Avx2(const uint8_t* p, int32_t srcWidth, const int32_t* columns, const int16_t* weights,
                       int16_t* out, int32_t width) {
    // Per half the three samples of two columns, then the halves joined:
    // twelve results of four columns in the low 24 bytes.
    const __m256i compact = _mm256_setr_epi8(0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, -1, -1, -1, -1,
                                             0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, -1, -1, -1, -1);
    const __m256i join = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7);
    int32_t j = 0;
    for (; j + 4 <= width; j += 4) {
        const __m256i s01 = roundQ8(_mm256_madd_epi16(pairsOfThree(p, columns[j], columns[j + 1]), weightPairs(weights, j)));
        const __m256i s23 = roundQ8(_mm256_madd_epi16(pairsOfThree(p, columns[j + 2], columns[j + 3]), weightPairs(weights, j + 2)));
        const __m256i first = _mm256_permute2x128_si256(s01, s23, 0x20);   // columns 0 | 2
        const __m256i second = _mm256_permute2x128_si256(s01, s23, 0x31);  // columns 1 | 3
        const __m256i v = _mm256_permutevar8x32_epi32(
            _mm256_shuffle_epi8(_mm256_packs_epi32(first, second), compact), join);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 3 * j), _mm256_castsi256_si128(v));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 3 * j + 8), _mm256_extracti128_si256(v, 1));
    }
    linearRow8uScalar<3>(p, srcWidth, columns + j, weights + 2 * j, out + 3 * j, width - j);
}

void linearBlend8uAvx2(const int16_t* a, const int16_t* b, uint8_t* dst, int32_t count,
                       int32_t fraction) {
    const __m256i w = _mm256_set1_epi32(int32_t(uint32_t(fraction) << 16 | uint32_t(16384 - fraction)));
    const __m256i bias = _mm256_set1_epi32(524288);
    // Sixteen results as 16-bit lanes, in order.
    const auto sixteen = [&](int32_t i) {
        const __m256i va = loadu(a + i), vb = loadu(b + i);
        const __m256i lo = _mm256_add_epi32(_mm256_madd_epi16(_mm256_unpacklo_epi16(va, vb), w), bias);
        const __m256i hi = _mm256_add_epi32(_mm256_madd_epi16(_mm256_unpackhi_epi16(va, vb), w), bias);
        return _mm256_packs_epi32(_mm256_srai_epi32(lo, 20), _mm256_srai_epi32(hi, 20));
    };
    int32_t i = 0;
    for (; i + 32 <= count; i += 32) {
        const __m256i v = inOrder(_mm256_packus_epi16(sixteen(i), sixteen(i + 16)));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + i), v);
    }
    if (i + 16 <= count) {
        const __m256i v = sixteen(i);
        const __m128i bytes = _mm_packus_epi16(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + i), bytes);
        i += 16;
    }
    linearBlend8uScalar(a + i, b + i, dst + i, count - i, fraction);
}

void linearBlend16uAvx2(const float* a, const float* b, uint16_t* dst, int32_t count,
                        float fraction) {
    const __m256 g = _mm256_set1_ps(fraction);
    const __m256 half = _mm256_set1_ps(kBlend16uHalf);
    const __m256i zero = _mm256_setzero_si256();
    const __m256i top = _mm256_set1_epi32(65535);
    const auto eight = [&](int32_t i) {
        const __m256 va = _mm256_loadu_ps(a + i), vb = _mm256_loadu_ps(b + i);
        const __m256 v = _mm256_add_ps(_mm256_add_ps(va, _mm256_mul_ps(_mm256_sub_ps(vb, va), g)), half);
        return _mm256_min_epi32(_mm256_max_epi32(_mm256_cvttps_epi32(v), zero), top);
    };
    int32_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const __m256i v = inOrder(_mm256_packus_epi32(eight(i), eight(i + 8)));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + i), v);
    }
    if (i + 8 <= count) {
        const __m256i v = eight(i);
        const __m128i words = _mm_packus_epi32(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + i), words);
        i += 8;
    }
    linearBlend16uScalar(a + i, b + i, dst + i, count - i, fraction);
}

}  // namespace morva
#endif
