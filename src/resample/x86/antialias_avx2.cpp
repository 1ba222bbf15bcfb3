// AVX2 forms of the antialiasing passes: four source rows side by side for
// one sample per pixel, a whole pixel in four float64 lanes for three and
// four, eight sums at a time down. The same operations per lane as
// the scalar definition.
#include "resample/antialias_forms.h"

#if MORVA_X86_64
#include <immintrin.h>

#include <cstring>

namespace morva {
namespace {

template <class T>
T load(const void* p) {
    T v;
    std::memcpy(&v, p, sizeof(T));
    return v;
}

// The samples of a pixel as four 32-bit lanes (the fourth 0 for three).
// Reads the pixel's own samples only.
template <int Channels>
__m128i pixelSamples(const uint8_t* p) {
    const int32_t third = Channels == 4 ? int32_t(load<uint16_t>(p + 2)) : int32_t(p[2]);
    return _mm_cvtepu8_epi32(_mm_cvtsi32_si128(int32_t(load<uint16_t>(p)) | third << 16));
}

template <int Channels>
__m128i pixelSamples(const uint16_t* p) {
    const int64_t third = Channels == 4 ? int64_t(load<uint32_t>(p + 2)) : int64_t(p[2]);
    return _mm_cvtepu16_epi32(_mm_cvtsi64_si128(int64_t(load<uint32_t>(p)) | third << 32));
}

template <class T, int Channels>
void rowsMulti(const T* src, int32_t srcStep, int32_t rows, const int32_t* indices,
               const float* weights, int32_t taps, float* out, int32_t width) {
    for (int32_t r = 0; r < rows; ++r, src += srcStep, out += ptrdiff_t(width) * Channels) {
        for (int32_t c = 0; c < width; ++c) {
            const int32_t* index = indices + ptrdiff_t(c) * taps;
            const float* weight = weights + ptrdiff_t(c) * taps;
            __m256d sum = _mm256_setzero_pd();
            for (int32_t j = 0; j < taps; ++j) {
                const __m256d s = _mm256_cvtepi32_pd(pixelSamples<Channels>(src + index[j]));
                sum = _mm256_add_pd(sum, _mm256_mul_pd(s, _mm256_set1_pd(double(weight[j]))));
            }
            const __m128 sums = _mm256_cvtpd_ps(sum);
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

// One sample per pixel: rows r to r + 3 in the four lanes, the rest by the
// scalar definition.
template <class T>
void rowsC1(const T* src, int32_t srcStep, int32_t rows, const int32_t* indices,
            const float* weights, int32_t taps, float* out, int32_t width) {
    const ptrdiff_t step = srcStep;
    int32_t r = 0;
    for (; r + 4 <= rows; r += 4, src += 4 * step, out += 4 * ptrdiff_t(width)) {
        for (int32_t c = 0; c < width; ++c) {
            const int32_t* index = indices + ptrdiff_t(c) * taps;
            const float* weight = weights + ptrdiff_t(c) * taps;
            const auto product = [&](int32_t j) {
                const T* p = src + index[j];
                const __m128i s = _mm_setr_epi32(p[0], p[step], p[2 * step], p[3 * step]);
                return _mm256_mul_pd(_mm256_cvtepi32_pd(s), _mm256_set1_pd(double(weight[j])));
            };
            __m256d even = _mm256_setzero_pd(), odd = _mm256_setzero_pd();
            int32_t j = 0;
            for (; j + 2 < taps; j += 2) {
                even = _mm256_add_pd(even, product(j));
                odd = _mm256_add_pd(odd, product(j + 1));
            }
            const __m128 sums = _mm256_cvtpd_ps(_mm256_add_pd(_mm256_add_pd(even, odd), product(j)));
            alignas(16) float lanes[4];
            _mm_store_ps(lanes, sums);
            for (int k = 0; k < 4; ++k) out[k * ptrdiff_t(width) + c] = lanes[k];
        }
    }
    if (r < rows) antialiasRowsC1Scalar(src, srcStep, rows - r, indices, weights, taps, out, width);
}

// trunc(float64(a) + 0.5000001) of four sums.
__m128i converted(__m128 a) {
    return _mm256_cvttpd_epi32(_mm256_add_pd(_mm256_cvtps_pd(a), _mm256_set1_pd(0.5000001)));
}

// The sums of eight samples from i on.
__m256 sumDown(const float* image, const int32_t* offsets, const float* weights, int32_t taps, int32_t i) {
    __m256 a = _mm256_setzero_ps();
    for (int32_t j = 0; j < taps; ++j)
        a = _mm256_add_ps(a, _mm256_mul_ps(_mm256_set1_ps(weights[j]), _mm256_loadu_ps(image + offsets[j] + i)));
    return a;
}

}  // namespace

void antialiasRows8uC1Avx2(const uint8_t* src, int32_t srcStep, int32_t rows, const int32_t* indices,
                           const float* weights, int32_t taps, float* out, int32_t width) {
    rowsC1(src, srcStep, rows, indices, weights, taps, out, width);
}
void antialiasRows16uC1Avx2(const uint16_t* src, int32_t srcStep, int32_t rows,
                            const int32_t* indices, const float* weights, int32_t taps, float* out,
                            int32_t width) {
    rowsC1(src, srcStep, rows, indices, weights, taps, out, width);
}
void antialiasRows8uC3Avx2(const uint8_t* src, int32_t srcStep, int32_t rows, const int32_t* indices,
                           const float* weights, int32_t taps, float* out, int32_t width) {
    rowsMulti<uint8_t, 3>(src, srcStep, rows, indices, weights, taps, out, width);
}
void antialiasRows16uC3Avx2(const uint16_t* src, int32_t srcStep, int32_t rows,
                            const int32_t* indices, const float* weights, int32_t taps, float* out,
                            int32_t width) {
    rowsMulti<uint16_t, 3>(src, srcStep, rows, indices, weights, taps, out, width);
}
void antialiasRows8uC4Avx2(const uint8_t* src, int32_t srcStep, int32_t rows, const int32_t* indices,
                           const float* weights, int32_t taps, float* out, int32_t width) {
    rowsMulti<uint8_t, 4>(src, srcStep, rows, indices, weights, taps, out, width);
}
void antialiasRows16uC4Avx2(const uint16_t* src, int32_t srcStep, int32_t rows,
                            const int32_t* indices, const float* weights, int32_t taps, float* out,
                            int32_t width) {
    rowsMulti<uint16_t, 4>(src, srcStep, rows, indices, weights, taps, out, width);
}

void antialiasDown8uAvx2(const float* image, const int32_t* offsets, const float* weights, int32_t taps,
                         uint8_t* dst, int32_t count) {
    int32_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const __m256 a = sumDown(image, offsets, weights, taps, i), b = sumDown(image, offsets, weights, taps, i + 8);
        const __m128i lo = _mm_packs_epi32(converted(_mm256_castps256_ps128(a)), converted(_mm256_extractf128_ps(a, 1)));
        const __m128i hi = _mm_packs_epi32(converted(_mm256_castps256_ps128(b)), converted(_mm256_extractf128_ps(b, 1)));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + i), _mm_packus_epi16(lo, hi));
    }
    antialiasDownScalar(image + i, offsets, weights, taps, dst + i, count - i);
}

// The unsigned pack clamps to 0..65535, INT32_MIN to 0 as well.
void antialiasDown16uAvx2(const float* image, const int32_t* offsets, const float* weights, int32_t taps,
                          uint16_t* dst, int32_t count) {
    int32_t i = 0;
    for (; i + 8 <= count; i += 8) {
        const __m256 a = sumDown(image, offsets, weights, taps, i);
        const __m128i words =
            _mm_packus_epi32(converted(_mm256_castps256_ps128(a)), converted(_mm256_extractf128_ps(a, 1)));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + i), words);
    }
    antialiasDownScalar(image + i, offsets, weights, taps, dst + i, count - i);
}

}  // namespace morva

#endif  // MORVA_X86_64
