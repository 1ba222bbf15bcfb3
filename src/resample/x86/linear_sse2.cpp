// SSE2 forms of the linear row kernels. Integer arithmetic is exact, and the
// float forms do the scalar definition's operations one by one, so every
// form gives the scalar definition's bytes.
#include "resample/linear_forms.h"

#if MORVA_X86_64
#include <emmintrin.h>

#include <cstring>

namespace morva {
namespace {

template <class T>
T load(const void* p) {
    T v;
    std::memcpy(&v, p, sizeof(T));
    return v;
}

__m128i loadu(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }
void storeu(void* p, __m128i v) { _mm_storeu_si128(static_cast<__m128i*>(p), v); }

// (w0, w1) of column j as one 32-bit lane, repeated.
__m128i weightPair(const int16_t* weights, int32_t j) {
    return _mm_set1_epi32(load<int32_t>(weights + 2 * j));
}

// (sum + 128) >> 8 of four 32-bit sums.
__m128i roundQ8(__m128i sums) { return _mm_srai_epi32(_mm_add_epi32(sums, _mm_set1_epi32(128)), 8); }

// Samples a0..a2 of a pixel and b0..b2 of its neighbour, interleaved as
// 16-bit pairs (a0, b0), (a1, b1), (a2, b2), (x, 0). Reads p[0..5] only.
__m128i pairsOfThree(const uint8_t* p) {
    const __m128i a = _mm_cvtsi32_si128(load<int32_t>(p));
    const __m128i b = _mm_cvtsi32_si128(int32_t(load<uint32_t>(p + 2) >> 8));
    return _mm_unpacklo_epi8(_mm_unpacklo_epi8(a, b), _mm_setzero_si128());
}

// The same for four samples: pairs (a0, b0) .. (a3, b3). Reads p[0..7].
__m128i pairsOfFour(const uint8_t* p) {
    const __m128i x = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
    return _mm_unpacklo_epi8(_mm_unpacklo_epi8(x, _mm_srli_si128(x, 4)), _mm_setzero_si128());
}

// a + (b - a) * f on four float lanes, in this order of operations.
__m128 lerp(__m128 a, __m128 b, __m128 f) { return _mm_add_ps(a, _mm_mul_ps(_mm_sub_ps(b, a), f)); }

__m128 toFloat(__m128i v) { return _mm_cvtepi32_ps(v); }

// Three floats of a pixel; the fourth lane is written only where it belongs
// to the next pixel, which overwrites it.
void storeThree(float* out, __m128 v, bool more) {
    if (more) {
        _mm_storeu_ps(out, v);
    } else {
        _mm_storel_pi(reinterpret_cast<__m64*>(out), v);
        _mm_store_ss(out + 2, _mm_movehl_ps(v, v));
    }
}

}  // namespace

void linearRow8uC1Sse2(const uint8_t* p, int32_t, const int32_t* columns, const int16_t* weights,
                       int16_t* out, int32_t width) {
    const __m128i zero = _mm_setzero_si128();
    int32_t j = 0;
    for (; j + 8 <= width; j += 8) {
        // Pairs (p[k], p[k + 1]) of eight columns, as 16-bit loads.
        uint64_t lo = 0, hi = 0;
        for (int c = 0; c < 4; ++c) {
            lo |= uint64_t(load<uint16_t>(p + columns[j + c])) << (16 * c);
            hi |= uint64_t(load<uint16_t>(p + columns[j + 4 + c])) << (16 * c);
        }
        const __m128i pairs = _mm_set_epi64x(int64_t(hi), int64_t(lo));
        const __m128i s0 = _mm_madd_epi16(_mm_unpacklo_epi8(pairs, zero), loadu(weights + 2 * j));
        const __m128i s1 = _mm_madd_epi16(_mm_unpackhi_epi8(pairs, zero), loadu(weights + 2 * j + 8));
        storeu(out + j, _mm_packs_epi32(roundQ8(s0), roundQ8(s1)));
    }
    // Column by column here rather than through linearRow8uScalar<1>: with
    // that call the loop above measured 6 to 7 % slower.
    for (; j < width; ++j) {
        const int32_t k = columns[j];
        out[j] = int16_t((p[k] * weights[2 * j] + p[k + 1] * weights[2 * j + 1] + 128) >> 8);
    }
}

void linearRow8uC3Sse2(const uint8_t* p, int32_t, const int32_t* columns, const int16_t* weights,
                       int16_t* out, int32_t width) {
    for (int32_t j = 0; j < width; ++j) {
        const __m128i sums = roundQ8(_mm_madd_epi16(pairsOfThree(p + columns[j]), weightPair(weights, j)));
        const __m128i packed = _mm_packs_epi32(sums, sums);
        int16_t* o = out + 3 * j;
        if (j + 1 < width) {
            _mm_storel_epi64(reinterpret_cast<__m128i*>(o), packed);
        } else {
            const uint64_t v = uint64_t(_mm_cvtsi128_si64(packed));
            std::memcpy(o, &v, 6);
        }
    }
}

void linearRow8uC4Sse2(const uint8_t* p, int32_t, const int32_t* columns, const int16_t* weights,
                       int16_t* out, int32_t width) {
    int32_t j = 0;
    for (; j + 2 <= width; j += 2) {
        const __m128i s0 = _mm_madd_epi16(pairsOfFour(p + columns[j]), weightPair(weights, j));
        const __m128i s1 = _mm_madd_epi16(pairsOfFour(p + columns[j + 1]), weightPair(weights, j + 1));
        storeu(out + 4 * j, _mm_packs_epi32(roundQ8(s0), roundQ8(s1)));
    }
    if (j < width) {
        const __m128i s = roundQ8(_mm_madd_epi16(pairsOfFour(p + columns[j]), weightPair(weights, j)));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 4 * j), _mm_packs_epi32(s, s));
    }
}

void linearBlend8uSse2(const int16_t* a, const int16_t* b, uint8_t* dst, int32_t count,
                       int32_t fraction) {
    // Lanes (16384 - g, g) against (a, b): one multiply-add per sample.
    const __m128i w = _mm_set1_epi32(int32_t(uint32_t(fraction) << 16 | uint32_t(16384 - fraction)));
    const __m128i bias = _mm_set1_epi32(524288);
    const auto eight = [&](int32_t i) {
        const __m128i va = loadu(a + i), vb = loadu(b + i);
        const __m128i lo = _mm_add_epi32(_mm_madd_epi16(_mm_unpacklo_epi16(va, vb), w), bias);
        const __m128i hi = _mm_add_epi32(_mm_madd_epi16(_mm_unpackhi_epi16(va, vb), w), bias);
        return _mm_packs_epi32(_mm_srai_epi32(lo, 20), _mm_srai_epi32(hi, 20));
    };
    int32_t i = 0;
    for (; i + 16 <= count; i += 16) storeu(dst + i, _mm_packus_epi16(eight(i), eight(i + 8)));
    if (i + 8 <= count) {
        const __m128i v = eight(i);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + i), _mm_packus_epi16(v, v));
        i += 8;
    }
    linearBlend8uScalar(a + i, b + i, dst + i, count - i, fraction);
}

void linearRow16uC1Sse2(const uint16_t* p, int32_t, const int32_t* columns, const float* fractions,
                        float* out, int32_t width) {
    const __m128i low16 = _mm_set1_epi32(0xFFFF);
    int32_t j = 0;
    for (; j + 4 <= width; j += 4) {
        // (p[k], p[k + 1]) of four columns, as 32-bit loads.
        const __m128i pairs = _mm_set_epi32(
            load<int32_t>(p + columns[j + 3]), load<int32_t>(p + columns[j + 2]),
            load<int32_t>(p + columns[j + 1]), load<int32_t>(p + columns[j]));
        const __m128 a = toFloat(_mm_and_si128(pairs, low16));
        const __m128 b = toFloat(_mm_srli_epi32(pairs, 16));
        _mm_storeu_ps(out + j, lerp(a, b, _mm_loadu_ps(fractions + j)));
    }
    // Column by column, as in the 8u row: through linearRow16uScalar<1> the
    // row measured 20 % slower.
    for (; j < width; ++j) {
        const int32_t k = columns[j];
        const float a = float(p[k]), b = float(p[k + 1]);
        out[j] = a + (b - a) * fractions[j];
    }
}

void linearRow16uC3Sse2(const uint16_t* p, int32_t, const int32_t* columns, const float* fractions,
                        float* out, int32_t width) {
    const __m128i zero = _mm_setzero_si128();
    for (int32_t j = 0; j < width; ++j) {
        const uint16_t* px = p + columns[j];
        // Samples 0..3 and 2..5 of the pair of pixels: never beyond px[5].
        const __m128i x = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(px));
        const __m128i y = _mm_srli_si128(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(px + 2)), 2);
        const __m128 a = toFloat(_mm_unpacklo_epi16(x, zero));
        const __m128 b = toFloat(_mm_unpacklo_epi16(y, zero));
        storeThree(out + 3 * j, lerp(a, b, _mm_set1_ps(fractions[j])), j + 1 < width);
    }
}

void linearRow16uC4Sse2(const uint16_t* p, int32_t, const int32_t* columns, const float* fractions,
                        float* out, int32_t width) {
    const __m128i zero = _mm_setzero_si128();
    for (int32_t j = 0; j < width; ++j) {
        const __m128i x = loadu(p + columns[j]);
        const __m128 a = toFloat(_mm_unpacklo_epi16(x, zero));
        const __m128 b = toFloat(_mm_unpackhi_epi16(x, zero));
        _mm_storeu_ps(out + 4 * j, lerp(a, b, _mm_set1_ps(fractions[j])));
    }
}

void linearBlend16uSse2(const float* a, const float* b, uint16_t* dst, int32_t count,
                        float fraction) {
    const __m128 g = _mm_set1_ps(fraction);
    const __m128 half = _mm_set1_ps(kBlend16uHalf);
    const __m128i zero = _mm_setzero_si128();
    const __m128i top = _mm_set1_epi32(65535);
    // trunc(a + (b - a) * g + half), limited to 0..65535 as a 32-bit integer.
    const auto four = [&](int32_t i) {
        const __m128 v = _mm_add_ps(lerp(_mm_loadu_ps(a + i), _mm_loadu_ps(b + i), g), half);
        __m128i t = _mm_cvttps_epi32(v);
        t = _mm_and_si128(t, _mm_cmpgt_epi32(t, zero));
        const __m128i over = _mm_cmpgt_epi32(t, top);
        return _mm_or_si128(_mm_andnot_si128(over, t), _mm_and_si128(over, top));
    };
    // 0..65535 to unsigned 16 bits by the signed pack, shifted by 32768.
    const __m128i shift32 = _mm_set1_epi32(32768);
    const __m128i shift16 = _mm_set1_epi16(int16_t(0x8000));
    const auto pack = [&](__m128i lo, __m128i hi) {
        return _mm_xor_si128(_mm_packs_epi32(_mm_sub_epi32(lo, shift32), _mm_sub_epi32(hi, shift32)), shift16);
    };
    int32_t i = 0;
    for (; i + 8 <= count; i += 8) storeu(dst + i, pack(four(i), four(i + 4)));
    if (i + 4 <= count) {
        const __m128i v = four(i);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + i), pack(v, v));
        i += 4;
    }
    linearBlend16uScalar(a + i, b + i, dst + i, count - i, fraction);
}

}  // namespace morva
#endif
