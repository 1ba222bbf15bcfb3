// AVX2 forms of the packed 4:2:2 resize passes: the SSE2 forms' fetches,
// with eight samples to a vector in the arithmetic. What is left behind the
// last full vector goes to the SSE2 forms.
#include "resample/yuv422_forms.h"

#if MORVA_X86_64
#include <immintrin.h>

#include "resample/x86/yuv422_vector.h"

namespace morva {
namespace {

__m256i load256(const void* p) { return _mm256_loadu_si256(static_cast<const __m256i*>(p)); }
void store256(void* p, __m256i v) { _mm256_storeu_si256(static_cast<__m256i*>(p), v); }

// Horizontal linear pass of macro-pixels p and p + 1, as int32.
__m256i linearTwoMacroPixels(const uint8_t* row, const Yuv422LinearColumns& c, int32_t p) {
    const __m256i pairs = _mm256_inserti128_si256(
        _mm256_castsi128_si256(linearPairs(row, c, p)), linearPairs(row, c, p + 1), 1);
    const __m256i sum = _mm256_madd_epi16(pairs, load256(c.weights + 8 * ptrdiff_t(p)));
    return _mm256_srai_epi32(_mm256_add_epi32(sum, _mm256_set1_epi32(128)), 8);
}

// Sixteen blended samples as int16 in 0 .. 255, in order.
__m256i linearBlend16(const int16_t* row, const int16_t* rowBelow, __m256i weights) {
    const __m256i a = load256(row), b = load256(rowBelow);
    const __m256i round = _mm256_set1_epi32(0x80000);
    const __m256i lo = _mm256_madd_epi16(_mm256_unpacklo_epi16(a, b), weights);
    const __m256i hi = _mm256_madd_epi16(_mm256_unpackhi_epi16(a, b), weights);
    // The unpacks and the pack work within 128-bit lanes and undo each other.
    return _mm256_packs_epi32(_mm256_srai_epi32(_mm256_add_epi32(lo, round), 20),
                              _mm256_srai_epi32(_mm256_add_epi32(hi, round), 20));
}

__m256 newton(__m256 a, __m256 b, __m256 c, __m256 d, __m256 u, __m256 v, __m256 z) {
    const __m256 d1 = _mm256_sub_ps(b, a);
    const __m256 d2 = _mm256_sub_ps(_mm256_sub_ps(c, b), d1);
    const __m256 d3 = _mm256_sub_ps(_mm256_add_ps(_mm256_sub_ps(b, _mm256_add_ps(c, c)), d), d2);
    return _mm256_add_ps(_mm256_add_ps(a, _mm256_mul_ps(u, d1)),
                         _mm256_add_ps(_mm256_mul_ps(v, d2), _mm256_mul_ps(z, d3)));
}

// Four int16 samples from each of two macro-pixels as eight floats.
__m256 widen(__m128i fourAndFour) {
    return _mm256_cvtepi32_ps(_mm256_cvtepu16_epi32(fourAndFour));
}

// Eight target bytes' worth of a cubic vertical pass, truncated to int32.
__m256i cubicBlend8(const float* const rows[4], ptrdiff_t s, __m256 u, __m256 v, __m256 z) {
    const __m256 value =
        newton(_mm256_loadu_ps(rows[0] + s), _mm256_loadu_ps(rows[1] + s),
               _mm256_loadu_ps(rows[2] + s), _mm256_loadu_ps(rows[3] + s), u, v, z);
    return _mm256_cvttps_epi32(_mm256_add_ps(value, _mm256_set1_ps(0.5000001f)));
}

}  // namespace

void yuv422LinearRowAvx2(const uint8_t* row, const Yuv422LinearColumns& c, int16_t* out) {
    int32_t p = 0;
    for (; p + 4 <= c.macroPixels; p += 4) {
        // Lanes hold macro-pixels p, p + 2 | p + 1, p + 3 after the pack.
        const __m256i words = _mm256_packs_epi32(linearTwoMacroPixels(row, c, p),
                                                 linearTwoMacroPixels(row, c, p + 2));
        store256(out + 4 * ptrdiff_t(p), _mm256_permute4x64_epi64(words, _MM_SHUFFLE(3, 1, 2, 0)));
    }
    if (p < c.macroPixels) {
        const Yuv422LinearColumns rest{c.luma + 2 * ptrdiff_t(p), c.chroma + p,
                                       c.weights + 8 * ptrdiff_t(p), c.macroPixels - p};
        yuv422LinearRowSse2(row, rest, out + 4 * ptrdiff_t(p));
    }
}

void yuv422LinearBlendAvx2(const int16_t* row, const int16_t* rowBelow, int32_t weight,
                           uint8_t* dst, int32_t samples) {
    const __m256i weights =
        _mm256_set1_epi32(int32_t(uint32_t(weight) << 16 | uint32_t(16384 - weight)));
    int32_t s = 0;
    for (; s + 32 <= samples; s += 32) {
        const __m256i bytes = _mm256_packus_epi16(linearBlend16(row + s, rowBelow + s, weights),
                                                  linearBlend16(row + s + 16, rowBelow + s + 16, weights));
        store256(dst + s, _mm256_permute4x64_epi64(bytes, _MM_SHUFFLE(3, 1, 2, 0)));
    }
    yuv422LinearBlendSse2(row + s, rowBelow + s, weight, dst + s, samples - s);
}

void yuv422CubicRowAvx2(const uint8_t* row, const Yuv422CubicColumns& c, float* out) {
    int32_t p = 0;
    for (; p + 2 <= c.macroPixels; p += 2) {
        const CubicWindow16 w0 = cubicWindow16(row, c, p);
        const CubicWindow16 w1 = cubicWindow16(row, c, p + 1);
        const ptrdiff_t s = 4 * ptrdiff_t(p);
        const __m256 value = newton(
            widen(_mm_unpacklo_epi64(w0.ab, w1.ab)), widen(_mm_unpackhi_epi64(w0.ab, w1.ab)),
            widen(_mm_unpacklo_epi64(w0.cd, w1.cd)), widen(_mm_unpackhi_epi64(w0.cd, w1.cd)),
            _mm256_loadu_ps(c.u + s), _mm256_loadu_ps(c.v + s), _mm256_loadu_ps(c.z + s));
        _mm256_storeu_ps(out + s, value);
    }
    if (p < c.macroPixels) {
        const Yuv422CubicColumns rest{c.luma + 2 * ptrdiff_t(p), c.chroma + p,
                                      c.u + 4 * ptrdiff_t(p),    c.v + 4 * ptrdiff_t(p),
                                      c.z + 4 * ptrdiff_t(p),    c.macroPixels - p};
        yuv422CubicRowSse2(row, rest, out + 4 * ptrdiff_t(p));
    }
}

void yuv422CubicBlendAvx2(const float* const rows[4], const CubicCoefficients& w, uint8_t* dst,
                          int32_t macroPixels) {
    const __m256 u = _mm256_set1_ps(w.u), v = _mm256_set1_ps(w.v), z = _mm256_set1_ps(w.zPair);
    // Four macro-pixels a round, all in the two-at-a-time body; the SSE2
    // form finishes, with the same parity of macro-pixels left.
    int32_t p = 0;
    for (; p + 4 <= (macroPixels & ~1); p += 4) {
        const ptrdiff_t s = 4 * ptrdiff_t(p);
        const __m256i words = _mm256_permute4x64_epi64(
            _mm256_packs_epi32(cubicBlend8(rows, s, u, v, z), cubicBlend8(rows, s + 8, u, v, z)),
            _MM_SHUFFLE(3, 1, 2, 0));
        store128(dst + s, _mm_packus_epi16(_mm256_castsi256_si128(words),
                                           _mm256_extracti128_si256(words, 1)));
    }
    const ptrdiff_t s = 4 * ptrdiff_t(p);
    const float* const rest[4] = {rows[0] + s, rows[1] + s, rows[2] + s, rows[3] + s};
    yuv422CubicBlendSse2(rest, w, dst + s, macroPixels - p);
}

void yuv422SumRowAvx2(const uint8_t* row, uint32_t* acc, int32_t count) {
    int32_t i = 0;
    for (; i + 32 <= count; i += 32)
        for (int k = 0; k < 4; ++k) {
            const __m256i add = _mm256_cvtepu8_epi32(load64(row + i + 8 * k));
            store256(acc + i + 8 * k, _mm256_add_epi32(load256(acc + i + 8 * k), add));
        }
    yuv422SumRowSse2(row + i, acc + i, count - i);
}

void yuv422WeighRowAvx2(const uint8_t* row, float* acc, int32_t count, double weight) {
    const __m256d w = _mm256_set1_pd(weight);
    int32_t i = 0;
    for (; i + 8 <= count; i += 8) {
        const __m256i x = _mm256_cvtepu8_epi32(load64(row + i));
        // Weighed in float64, each rounded to float32 before it is added.
        const __m128 lo = _mm256_cvtpd_ps(_mm256_mul_pd(_mm256_cvtepi32_pd(_mm256_castsi256_si128(x)), w));
        const __m128 hi = _mm256_cvtpd_ps(_mm256_mul_pd(_mm256_cvtepi32_pd(_mm256_extracti128_si256(x, 1)), w));
        _mm256_storeu_ps(acc + i, _mm256_add_ps(_mm256_loadu_ps(acc + i), _mm256_set_m128(hi, lo)));
    }
    yuv422WeighRowSse2(row + i, acc + i, count - i, weight);
}

}  // namespace morva
#endif
