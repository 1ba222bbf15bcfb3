// SSE2 forms of the antialiasing passes. Across, one sample per pixel, two
// source rows go through one column's slots side by side; three and four
// samples per pixel go side by side in the lanes. Every lane adds its
// float64 products in the scalar definition's order, so every form gives
// the scalar definition's bytes.
#include "resample/antialias_forms.h"

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

// Samples 0 and 1 of a pixel, and sample 2 (or 2 and 3) of it, as float64.
// Reads the pixel's own samples only.
struct PixelDoubles {
    __m128d lo, hi;
};

template <int Channels>
PixelDoubles pixelDoubles(const uint8_t* p) {
    const int32_t third = Channels == 4 ? int32_t(load<uint16_t>(p + 2)) : int32_t(p[2]);
    const __m128i v = _mm_unpacklo_epi16(
        _mm_unpacklo_epi8(_mm_cvtsi32_si128(int32_t(load<uint16_t>(p)) | third << 16),
                          _mm_setzero_si128()),
        _mm_setzero_si128());
    return {_mm_cvtepi32_pd(v), _mm_cvtepi32_pd(_mm_srli_si128(v, 8))};
}

template <int Channels>
PixelDoubles pixelDoubles(const uint16_t* p) {
    const int32_t third = Channels == 4 ? int32_t(load<uint32_t>(p + 2)) : int32_t(p[2]);
    const __m128i words =
        _mm_unpacklo_epi64(_mm_cvtsi32_si128(int32_t(load<uint32_t>(p))), _mm_cvtsi32_si128(third));
    const __m128i v = _mm_unpacklo_epi16(_mm_shuffle_epi32(words, 0xD8), _mm_setzero_si128());
    return {_mm_cvtepi32_pd(v), _mm_cvtepi32_pd(_mm_srli_si128(v, 8))};
}

template <class T, int Channels>
void rowsMulti(const T* src, int32_t srcStep, int32_t rows, const int32_t* indices,
               const float* weights, int32_t taps, float* out, int32_t width) {
    for (int32_t r = 0; r < rows; ++r, src += srcStep, out += ptrdiff_t(width) * Channels) {
        for (int32_t c = 0; c < width; ++c) {
            const int32_t* index = indices + ptrdiff_t(c) * taps;
            const float* weight = weights + ptrdiff_t(c) * taps;
            __m128d lo = _mm_setzero_pd(), hi = _mm_setzero_pd();
            for (int32_t j = 0; j < taps; ++j) {
                const __m128d w = _mm_set1_pd(double(weight[j]));
                const PixelDoubles s = pixelDoubles<Channels>(src + index[j]);
                lo = _mm_add_pd(lo, _mm_mul_pd(s.lo, w));
                hi = _mm_add_pd(hi, _mm_mul_pd(s.hi, w));
            }
            const __m128 sums = _mm_movelh_ps(_mm_cvtpd_ps(lo), _mm_cvtpd_ps(hi));
            float* o = out + ptrdiff_t(c) * Channels;
            if (Channels == 4) {
                _mm_storeu_ps(o, sums);
            } else {
                _mm_storel_epi64(reinterpret_cast<__m128i*>(o), _mm_castps_si128(sums));
                _mm_store_ss(o + 2, _mm_movehl_ps(sums, sums));
            }
        }
    }
}

// One sample per pixel: rows r and r + 1 in the two lanes, an odd last row
// by the scalar definition.
template <class T>
void rowsC1(const T* src, int32_t srcStep, int32_t rows, const int32_t* indices,
            const float* weights, int32_t taps, float* out, int32_t width) {
    int32_t r = 0;
    for (; r + 2 <= rows; r += 2, src += 2 * ptrdiff_t(srcStep), out += 2 * ptrdiff_t(width)) {
        const T* next = src + srcStep;
        for (int32_t c = 0; c < width; ++c) {
            const int32_t* index = indices + ptrdiff_t(c) * taps;
            const float* weight = weights + ptrdiff_t(c) * taps;
            const auto product = [&](int32_t j) {
                const __m128d s = _mm_cvtepi32_pd(_mm_unpacklo_epi32(
                    _mm_cvtsi32_si128(src[index[j]]), _mm_cvtsi32_si128(next[index[j]])));
                return _mm_mul_pd(s, _mm_set1_pd(double(weight[j])));
            };
            __m128d even = _mm_setzero_pd(), odd = _mm_setzero_pd();
            int32_t j = 0;
            for (; j + 2 < taps; j += 2) {
                even = _mm_add_pd(even, product(j));
                odd = _mm_add_pd(odd, product(j + 1));
            }
            const __m128 sums = _mm_cvtpd_ps(_mm_add_pd(_mm_add_pd(even, odd), product(j)));
            _mm_store_ss(out + c, sums);
            _mm_store_ss(out + width + c, _mm_shuffle_ps(sums, sums, 1));
        }
    }
    if (r < rows) antialiasRowsC1Scalar(src, srcStep, rows - r, indices, weights, taps, out, width);
}

// trunc(float64(a) + 0.5000001) of four sums as 32-bit integers.
__m128i converted(__m128 a) {
    const __m128d half = _mm_set1_pd(0.5000001);
    const __m128i lo = _mm_cvttpd_epi32(_mm_add_pd(_mm_cvtps_pd(a), half));
    const __m128i hi = _mm_cvttpd_epi32(_mm_add_pd(_mm_cvtps_pd(_mm_movehl_ps(a, a)), half));
    return _mm_unpacklo_epi64(lo, hi);
}

// 0..65535 as sign-extended 16-bit lanes, for the signed pack.
__m128i clampTo16(__m128i v) {
    v = _mm_andnot_si128(_mm_cmpgt_epi32(_mm_setzero_si128(), v), v);
    const __m128i top = _mm_set1_epi32(65535);
    const __m128i over = _mm_cmpgt_epi32(v, top);
    v = _mm_or_si128(_mm_and_si128(over, top), _mm_andnot_si128(over, v));
    return _mm_srai_epi32(_mm_slli_epi32(v, 16), 16);
}

// The sums of four samples from i on.
__m128 sumDown(const float* image, const int32_t* offsets, const float* weights, int32_t taps, int32_t i) {
    __m128 a = _mm_setzero_ps();
    for (int32_t j = 0; j < taps; ++j)
        a = _mm_add_ps(a, _mm_mul_ps(_mm_set1_ps(weights[j]), _mm_loadu_ps(image + offsets[j] + i)));
    return a;
}

}  // namespace

void antialiasRows8uC1Sse2(const uint8_t* src, int32_t srcStep, int32_t rows, const int32_t* indices,
                           const float* weights, int32_t taps, float* out, int32_t width) {
    rowsC1(src, srcStep, rows, indices, weights, taps, out, width);
}
void antialiasRows16uC1Sse2(const uint16_t* src, int32_t srcStep, int32_t rows,
                            const int32_t* indices, const float* weights, int32_t taps, float* out,
                            int32_t width) {
    rowsC1(src, srcStep, rows, indices, weights, taps, out, width);
}
void antialiasRows8uC3Sse2(const uint8_t* src, int32_t srcStep, int32_t rows, const int32_t* indices,
                           const float* weights, int32_t taps, float* out, int32_t width) {
    rowsMulti<uint8_t, 3>(src, srcStep, rows, indices, weights, taps, out, width);
}
void antialiasRows16uC3Sse2(const uint16_t* src, int32_t srcStep, int32_t rows,
                            const int32_t* indices, const float* weights, int32_t taps, float* out,
                            int32_t width) {
    rowsMulti<uint16_t, 3>(src, srcStep, rows, indices, weights, taps, out, width);
}
void antialiasRows8uC4Sse2(const uint8_t* src, int32_t srcStep, int32_t rows, const int32_t* indices,
                           const float* weights, int32_t taps, float* out, int32_t width) {
    rowsMulti<uint8_t, 4>(src, srcStep, rows, indices, weights, taps, out, width);
}
void antialiasRows16uC4Sse2(const uint16_t* src, int32_t srcStep, int32_t rows,
                            const int32_t* indices, const float* weights, int32_t taps, float* out,
                            int32_t width) {
    rowsMulti<uint16_t, 4>(src, srcStep, rows, indices, weights, taps, out, width);
}

// The signed packs clamp to 0..255 (INT32_MIN, from NaN, to 0) and the
// clamped 16-bit lanes pass unchanged.
void antialiasDown8uSse2(const float* image, const int32_t* offsets, const float* weights, int32_t taps,
                         uint8_t* dst, int32_t count) {
    int32_t i = 0;
    for (; i + 8 <= count; i += 8) {
        const __m128i words = _mm_packs_epi32(converted(sumDown(image, offsets, weights, taps, i)),
                                              converted(sumDown(image, offsets, weights, taps, i + 4)));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + i), _mm_packus_epi16(words, words));
    }
    antialiasDownScalar(image + i, offsets, weights, taps, dst + i, count - i);
}

void antialiasDown16uSse2(const float* image, const int32_t* offsets, const float* weights, int32_t taps,
                          uint16_t* dst, int32_t count) {
    int32_t i = 0;
    for (; i + 8 <= count; i += 8) {
        const __m128i words = _mm_packs_epi32(clampTo16(converted(sumDown(image, offsets, weights, taps, i))),
                                              clampTo16(converted(sumDown(image, offsets, weights, taps, i + 4))));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + i), words);
    }
    antialiasDownScalar(image + i, offsets, weights, taps, dst + i, count - i);
}

}  // namespace morva

#endif  // MORVA_X86_64
