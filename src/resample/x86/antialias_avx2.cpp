// AVX2 forms of the antialiasing passes: four source rows side by side for
// one sample per pixel, a whole pixel in four float64 lanes for three and
// four, eight accumulators at a time down. The same operations per lane as
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

// trunc(float64(a) + 0.5000001) of four accumulators.
__m128i converted(const float* acc) {
    return _mm256_cvttpd_epi32(
        _mm256_add_pd(_mm256_cvtps_pd(_mm_loadu_ps(acc)), _mm256_set1_pd(0.5000001)));
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

// The float32 product serves one sample per pixel too: see the SSE2 form.
void antialiasAccumulateAvx2(const float* row, float weight, float* acc, int32_t count) {
    const __m256 w = _mm256_set1_ps(weight);
    int32_t i = 0;
    for (; i + 8 <= count; i += 8)
        _mm256_storeu_ps(acc + i, _mm256_add_ps(_mm256_loadu_ps(acc + i),
                                                _mm256_mul_ps(w, _mm256_loadu_ps(row + i))));
    for (; i < count; ++i) acc[i] = acc[i] + weight * row[i];
}

void antialiasStore8uAvx2(float* acc, uint8_t* dst, int32_t count) {
    int32_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const __m128i a = _mm_packs_epi32(converted(acc + i), converted(acc + i + 4));
        const __m128i b = _mm_packs_epi32(converted(acc + i + 8), converted(acc + i + 12));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + i), _mm_packus_epi16(a, b));
        _mm256_storeu_ps(acc + i, _mm256_setzero_ps());
        _mm256_storeu_ps(acc + i + 8, _mm256_setzero_ps());
    }
    antialiasStoreScalar(acc + i, dst + i, count - i);
}

void antialiasStore16uAvx2(float* acc, uint16_t* dst, int32_t count) {
    int32_t i = 0;
    for (; i + 8 <= count; i += 8) {
        // The unsigned pack clamps to 0..65535, INT32_MIN to 0 as well.
        const __m128i words = _mm_packus_epi32(converted(acc + i), converted(acc + i + 4));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + i), words);
        _mm256_storeu_ps(acc + i, _mm256_setzero_ps());
    }
    antialiasStoreScalar(acc + i, dst + i, count - i);
}

}  // namespace morva

#endif  // MORVA_X86_64
