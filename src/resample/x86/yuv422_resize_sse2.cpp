// SSE2 forms of the packed 4:2:2 resize passes. Samples are fetched by
// index, one macro-pixel's windows at a time, and computed four target
// samples to a vector in target order.
#include "resample/yuv422_forms.h"

#if MORVA_X86_64
#include "resample/x86/yuv422_vector.h"

namespace morva {
namespace {

__m128i linearMacroPixel(const uint8_t* row, const Yuv422LinearColumns& c, int32_t p) {
    const __m128i weights = load128(c.weights + 8 * ptrdiff_t(p));
    const __m128i sum = _mm_madd_epi16(linearPairs(row, c, p), weights);
    return _mm_srai_epi32(_mm_add_epi32(sum, _mm_set1_epi32(128)), 8);
}

// Eight blended samples as int16 in 0 .. 255.
__m128i linearBlend8(const int16_t* row, const int16_t* rowBelow, __m128i weights) {
    const __m128i a = load128(row), b = load128(rowBelow);
    const __m128i round = _mm_set1_epi32(0x80000);
    const __m128i lo = _mm_madd_epi16(_mm_unpacklo_epi16(a, b), weights);
    const __m128i hi = _mm_madd_epi16(_mm_unpackhi_epi16(a, b), weights);
    return _mm_packs_epi32(_mm_srai_epi32(_mm_add_epi32(lo, round), 20),
                           _mm_srai_epi32(_mm_add_epi32(hi, round), 20));
}

__m128 toFloat(__m128i lowHalf) {
    return _mm_cvtepi32_ps(_mm_unpacklo_epi16(lowHalf, _mm_setzero_si128()));
}
__m128 highToFloat(__m128i v) {
    return _mm_cvtepi32_ps(_mm_unpackhi_epi16(v, _mm_setzero_si128()));
}

// The Newton form in the order of the scalar definition.
__m128 newton(__m128 a, __m128 b, __m128 c, __m128 d, __m128 u, __m128 v, __m128 z) {
    const __m128 d1 = _mm_sub_ps(b, a);
    const __m128 d2 = _mm_sub_ps(_mm_sub_ps(c, b), d1);
    const __m128 d3 = _mm_sub_ps(_mm_add_ps(_mm_sub_ps(b, _mm_add_ps(c, c)), d), d2);
    return _mm_add_ps(_mm_add_ps(a, _mm_mul_ps(u, d1)),
                      _mm_add_ps(_mm_mul_ps(v, d2), _mm_mul_ps(z, d3)));
}

// Four target bytes' worth of a cubic vertical pass, truncated to int32.
__m128i cubicBlend4(const float* const rows[4], ptrdiff_t s, __m128 u, __m128 v, __m128 z) {
    const __m128 value = newton(_mm_loadu_ps(rows[0] + s), _mm_loadu_ps(rows[1] + s),
                                _mm_loadu_ps(rows[2] + s), _mm_loadu_ps(rows[3] + s), u, v, z);
    return _mm_cvttps_epi32(_mm_add_ps(value, _mm_set1_ps(0.5000001f)));
}

}  // namespace

void yuv422LinearRowSse2(const uint8_t* row, const Yuv422LinearColumns& c, int16_t* out) {
    int32_t p = 0;
    for (; p + 2 <= c.macroPixels; p += 2)
        store128(out + 4 * ptrdiff_t(p),
                 _mm_packs_epi32(linearMacroPixel(row, c, p), linearMacroPixel(row, c, p + 1)));
    if (p < c.macroPixels)
        store64(out + 4 * ptrdiff_t(p),
                _mm_packs_epi32(linearMacroPixel(row, c, p), _mm_setzero_si128()));
}

void yuv422LinearBlendSse2(const int16_t* row, const int16_t* rowBelow, int32_t weight,
                           uint8_t* dst, int32_t samples) {
    // Pairs (16384 - weight, weight) for the (row, rowBelow) sample pairs.
    const __m128i weights = _mm_set1_epi32(int32_t(uint32_t(weight) << 16 | uint32_t(16384 - weight)));
    int32_t s = 0;
    for (; s + 16 <= samples; s += 16)
        store128(dst + s, _mm_packus_epi16(linearBlend8(row + s, rowBelow + s, weights),
                                           linearBlend8(row + s + 8, rowBelow + s + 8, weights)));
    if (s + 8 <= samples) {
        store64(dst + s, _mm_packus_epi16(linearBlend8(row + s, rowBelow + s, weights),
                                          _mm_setzero_si128()));
        s += 8;
    }
    for (; s < samples; ++s) dst[s] = linearVertical(row[s], rowBelow[s], weight);
}

void yuv422CubicRowSse2(const uint8_t* row, const Yuv422CubicColumns& c, float* out) {
    for (int32_t p = 0; p < c.macroPixels; ++p) {
        const CubicWindow16 w = cubicWindow16(row, c, p);
        const ptrdiff_t s = 4 * ptrdiff_t(p);
        _mm_storeu_ps(out + s, newton(toFloat(w.ab), highToFloat(w.ab), toFloat(w.cd),
                                      highToFloat(w.cd), _mm_loadu_ps(c.u + s),
                                      _mm_loadu_ps(c.v + s), _mm_loadu_ps(c.z + s)));
    }
}

void yuv422CubicBlendSse2(const float* const rows[4], const CubicCoefficients& w, uint8_t* dst,
                          int32_t macroPixels) {
    const __m128 u = _mm_set1_ps(w.u), v = _mm_set1_ps(w.v), z = _mm_set1_ps(w.zPair);
    // The two-at-a-time body covers 8 samples per pair of macro-pixels.
    const ptrdiff_t paired = 4 * ptrdiff_t(macroPixels & ~1);
    ptrdiff_t s = 0;
    for (; s + 16 <= paired; s += 16) {
        const __m128i lo = _mm_packs_epi32(cubicBlend4(rows, s, u, v, z),
                                           cubicBlend4(rows, s + 4, u, v, z));
        const __m128i hi = _mm_packs_epi32(cubicBlend4(rows, s + 8, u, v, z),
                                           cubicBlend4(rows, s + 12, u, v, z));
        store128(dst + s, _mm_packus_epi16(lo, hi));
    }
    if (s < paired) {
        const __m128i lo = _mm_packs_epi32(cubicBlend4(rows, s, u, v, z),
                                           cubicBlend4(rows, s + 4, u, v, z));
        store64(dst + s, _mm_packus_epi16(lo, _mm_setzero_si128()));
    }
    if (macroPixels & 1) cubicBlendSingle(rows, w, paired, dst);
}

void yuv422SumRowSse2(const uint8_t* row, uint32_t* acc, int32_t count) {
    const __m128i zero = _mm_setzero_si128();
    int32_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const __m128i bytes = load128(row + i);
        const __m128i words[2] = {_mm_unpacklo_epi8(bytes, zero), _mm_unpackhi_epi8(bytes, zero)};
        for (int k = 0; k < 4; ++k) {
            const __m128i w = words[k >> 1];
            const __m128i add = (k & 1) ? _mm_unpackhi_epi16(w, zero) : _mm_unpacklo_epi16(w, zero);
            store128(acc + i + 4 * k, _mm_add_epi32(load128(acc + i + 4 * k), add));
        }
    }
    for (; i < count; ++i) acc[i] += row[i];
}

void yuv422WeighRowSse2(const uint8_t* row, float* acc, int32_t count, double weight) {
    const __m128i zero = _mm_setzero_si128();
    const __m128d w = _mm_set1_pd(weight);
    int32_t i = 0;
    for (; i + 4 <= count; i += 4) {
        const __m128i x = _mm_unpacklo_epi16(_mm_unpacklo_epi8(load32(row + i), zero), zero);
        // Weighed in float64, each rounded to float32 before it is added.
        const __m128 lo = _mm_cvtpd_ps(_mm_mul_pd(_mm_cvtepi32_pd(x), w));
        const __m128 hi = _mm_cvtpd_ps(_mm_mul_pd(_mm_cvtepi32_pd(_mm_srli_si128(x, 8)), w));
        _mm_storeu_ps(acc + i, _mm_add_ps(_mm_loadu_ps(acc + i), _mm_movelh_ps(lo, hi)));
    }
    for (; i < count; ++i) acc[i] += weighedSample(row[i], weight);
}

}  // namespace morva
#endif
