// AVX2 forms of the super-sampling row kernels: the SSE2 forms' operations
// on eight lanes, four in float64.
#include "resample/super_sampling_forms.h"
#include "resample/x86/super_column.h"

#if MORVA_X86_64
#include <immintrin.h>

namespace morva {
namespace {

__m128i loadu128(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }
__m128i loadl(const void* p) { return _mm_loadl_epi64(static_cast<const __m128i*>(p)); }

// float32(float64(v) * weight) of eight 32-bit integers; the sample itself
// where the weight is 1.
__m256 weighed(__m256i v, __m256d weight, bool unit) {
    if (unit) return _mm256_cvtepi32_ps(v);
    const __m128 lo =
        _mm256_cvtpd_ps(_mm256_mul_pd(_mm256_cvtepi32_pd(_mm256_castsi256_si128(v)), weight));
    const __m128 hi =
        _mm256_cvtpd_ps(_mm256_mul_pd(_mm256_cvtepi32_pd(_mm256_extracti128_si256(v, 1)), weight));
    return _mm256_insertf128_ps(_mm256_castps128_ps256(lo), hi, 1);
}

void addTo(float* acc, __m256 v) { _mm256_storeu_ps(acc, _mm256_add_ps(v, _mm256_loadu_ps(acc))); }
void addTo(uint32_t* acc, __m256i v) {
    __m256i* p = reinterpret_cast<__m256i*>(acc);
    _mm256_storeu_si256(p, _mm256_add_epi32(v, _mm256_loadu_si256(p)));
}

// Four accumulators in float64 (unsigned ones through acc - 2^31).
__m256d toDoubles(const float* acc) { return _mm256_cvtps_pd(_mm_loadu_ps(acc)); }
__m256d toDoubles(const uint32_t* acc) {
    const __m128i v = _mm_xor_si128(loadu128(acc), _mm_set1_epi32(INT32_MIN));
    return _mm256_add_pd(_mm256_cvtepi32_pd(v), _mm256_set1_pd(2147483648.0));
}

// trunc(acc * factorProduct + 0.5) of four accumulators.
template <class Acc>
__m128i converted(const Acc* acc, __m256d factorProduct) {
    return _mm256_cvttpd_epi32(
        _mm256_add_pd(_mm256_mul_pd(toDoubles(acc), factorProduct), _mm256_set1_pd(0.5)));
}

// float32(float64(v) * part) of a pixel's four samples.
__m128 partOf(__m128 v, double part) {
    return _mm256_cvtpd_ps(_mm256_mul_pd(_mm256_cvtps_pd(v), _mm256_set1_pd(part)));
}

__m128i low16(__m128i v) { return _mm_srai_epi32(_mm_slli_epi32(v, 16), 16); }

template <class Acc>
void store8u(const Acc* acc, uint8_t* dst, int32_t count, double factorProduct) {
    const __m256d fp = _mm256_set1_pd(factorProduct);
    const __m128i lowByte = _mm_set1_epi32(0xFF);
    int32_t i = 0;
    for (; i + 16 <= count; i += 16) {
        __m128i q[4];
        for (int k = 0; k < 4; ++k) q[k] = _mm_and_si128(converted(acc + i + 4 * k, fp), lowByte);
        const __m128i bytes =
            _mm_packus_epi16(_mm_packs_epi32(q[0], q[1]), _mm_packs_epi32(q[2], q[3]));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + i), bytes);
    }
    superStoreRowScalar(acc + i, dst + i, count - i, factorProduct);
}

template <class Acc>
void store16u(const Acc* acc, uint16_t* dst, int32_t count, double factorProduct) {
    const __m256d fp = _mm256_set1_pd(factorProduct);
    int32_t i = 0;
    for (; i + 8 <= count; i += 8) {
        const __m128i words =
            _mm_packs_epi32(low16(converted(acc + i, fp)), low16(converted(acc + i + 4, fp)));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + i), words);
    }
    superStoreRowScalar(acc + i, dst + i, count - i, factorProduct);
}

}  // namespace

void superAddRow8uAvx2(const uint8_t* src, float* acc, int32_t count, double weight) {
    const bool unit = weight == 1.0;
    const __m256d w = _mm256_set1_pd(weight);
    int32_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const __m128i bytes = loadu128(src + i);
        addTo(acc + i, weighed(_mm256_cvtepu8_epi32(bytes), w, unit));
        addTo(acc + i + 8, weighed(_mm256_cvtepu8_epi32(_mm_srli_si128(bytes, 8)), w, unit));
    }
    for (; i + 8 <= count; i += 8)
        addTo(acc + i, weighed(_mm256_cvtepu8_epi32(loadl(src + i)), w, unit));
    for (; i < count; ++i) acc[i] = float(double(src[i]) * weight) + acc[i];
}

void superAddRow16uAvx2(const uint16_t* src, float* acc, int32_t count, double weight) {
    const bool unit = weight == 1.0;
    const __m256d w = _mm256_set1_pd(weight);
    int32_t i = 0;
    for (; i + 8 <= count; i += 8)
        addTo(acc + i, weighed(_mm256_cvtepu16_epi32(loadu128(src + i)), w, unit));
    for (; i < count; ++i) acc[i] = float(double(src[i]) * weight) + acc[i];
}

void superAddRowWhole8uAvx2(const uint8_t* src, uint32_t* acc, int32_t count) {
    int32_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const __m128i bytes = loadu128(src + i);
        addTo(acc + i, _mm256_cvtepu8_epi32(bytes));
        addTo(acc + i + 8, _mm256_cvtepu8_epi32(_mm_srli_si128(bytes, 8)));
    }
    for (; i + 8 <= count; i += 8) addTo(acc + i, _mm256_cvtepu8_epi32(loadl(src + i)));
    for (; i < count; ++i) acc[i] = acc[i] + src[i];
}

void superAddRowWhole16uAvx2(const uint16_t* src, uint32_t* acc, int32_t count) {
    int32_t i = 0;
    for (; i + 8 <= count; i += 8) addTo(acc + i, _mm256_cvtepu16_epi32(loadu128(src + i)));
    for (; i < count; ++i) acc[i] = acc[i] + src[i];
}

void superStore8uFromFloatAvx2(const float* acc, uint8_t* dst, int32_t count, double factorProduct) {
    store8u(acc, dst, count, factorProduct);
}
void superStore16uFromFloatAvx2(const float* acc, uint16_t* dst, int32_t count,
                                double factorProduct) {
    store16u(acc, dst, count, factorProduct);
}
void superStore8uFromWholeAvx2(const uint32_t* acc, uint8_t* dst, int32_t count,
                               double factorProduct) {
    store8u(acc, dst, count, factorProduct);
}
void superStore16uFromWholeAvx2(const uint32_t* acc, uint16_t* dst, int32_t count,
                                double factorProduct) {
    store16u(acc, dst, count, factorProduct);
}

// Pairs of eight target columns per iteration; other runs go to the SSE2
// form. In place as there: stores follow their loads, later loads lie behind.
void superReduceWholeC1Avx2(uint32_t* acc, int32_t width, int32_t run) {
    if (run != 2) {
        superReduceWholeC1Sse2(acc, width, run);
        return;
    }
    int32_t c = 0;
    for (; c + 8 <= width; c += 8) {
        const __m256 a = _mm256_loadu_ps(reinterpret_cast<const float*>(acc + 2 * c));
        const __m256 b = _mm256_loadu_ps(reinterpret_cast<const float*>(acc + 2 * c + 8));
        // Within each half: a0 a2 b0 b2 | a4 a6 b4 b6; the permute puts them in order.
        const __m256i even = _mm256_permute4x64_epi64(
            _mm256_castps_si256(_mm256_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0))), 0xD8);
        const __m256i odd = _mm256_permute4x64_epi64(
            _mm256_castps_si256(_mm256_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1))), 0xD8);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(acc + c), _mm256_add_epi32(even, odd));
    }
    for (; c < width; ++c) acc[c] = acc[2 * c] + acc[2 * c + 1];
}

void superReduceFractionalC4Avx2(float* acc, const SuperColumn* columns, int32_t first,
                                 int32_t count) {
    for (int32_t i = 0; i < count; ++i)
        _mm_storeu_ps(acc + 4 * (first + i), reduceColumn<partOf>(columns[i], [acc](int32_t q) {
                          return _mm_loadu_ps(acc + 4 * q);
                      }));
}

}  // namespace morva

#endif  // MORVA_X86_64
