// SSE2 forms of the super-sampling row kernels. Each lane does the scalar
// definition's operations in its order: the float64 product is rounded to
// float32 before the float32 sum, integer sums are exact, and the
// conversion truncates as the scalar one does (INT32_MIN out of range).
#include "resample/super_sampling_forms.h"
#include "resample/x86/super_column.h"

#if MORVA_X86_64
#include <emmintrin.h>

namespace morva {
namespace {

__m128i loadu(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }
void storeu(void* p, __m128i v) { _mm_storeu_si128(static_cast<__m128i*>(p), v); }
void storel(void* p, __m128i v) { _mm_storel_epi64(static_cast<__m128i*>(p), v); }

// float32(float64(v) * weight) of four 32-bit integers; the sample itself
// where the weight is 1.
__m128 weighed(__m128i v, __m128d weight, bool unit) {
    if (unit) return _mm_cvtepi32_ps(v);
    const __m128 lo = _mm_cvtpd_ps(_mm_mul_pd(_mm_cvtepi32_pd(v), weight));
    const __m128 hi = _mm_cvtpd_ps(_mm_mul_pd(_mm_cvtepi32_pd(_mm_srli_si128(v, 8)), weight));
    return _mm_movelh_ps(lo, hi);
}

void addTo(float* acc, __m128 v) { _mm_storeu_ps(acc, _mm_add_ps(v, _mm_loadu_ps(acc))); }
void addTo(uint32_t* acc, __m128i v) { storeu(acc, _mm_add_epi32(v, loadu(acc))); }

// Four accumulators in float64: float32 as it is, unsigned 32-bit through
// the signed conversion of acc - 2^31, which is exact.
struct Doubles {
    __m128d lo, hi;
};
Doubles toDoubles(const float* acc) {
    const __m128 v = _mm_loadu_ps(acc);
    return {_mm_cvtps_pd(v), _mm_cvtps_pd(_mm_movehl_ps(v, v))};
}
Doubles toDoubles(const uint32_t* acc) {
    const __m128i v = _mm_xor_si128(loadu(acc), _mm_set1_epi32(INT32_MIN));
    const __m128d bias = _mm_set1_pd(2147483648.0);
    return {_mm_add_pd(_mm_cvtepi32_pd(v), bias),
            _mm_add_pd(_mm_cvtepi32_pd(_mm_srli_si128(v, 8)), bias)};
}

// trunc(acc * factorProduct + 0.5) of four accumulators as 32-bit integers.
template <class Acc>
__m128i converted(const Acc* acc, __m128d factorProduct) {
    const __m128d half = _mm_set1_pd(0.5);
    const Doubles d = toDoubles(acc);
    const __m128i lo = _mm_cvttpd_epi32(_mm_add_pd(_mm_mul_pd(d.lo, factorProduct), half));
    const __m128i hi = _mm_cvttpd_epi32(_mm_add_pd(_mm_mul_pd(d.hi, factorProduct), half));
    return _mm_unpacklo_epi64(lo, hi);
}

// Low 16 bits of four 32-bit lanes, sign-extended so that the signed pack
// keeps them as they are.
__m128i low16(__m128i v) { return _mm_srai_epi32(_mm_slli_epi32(v, 16), 16); }

// The three samples of a pixel, without reading the next one's.
__m128 loadThree(const float* p) {
    const __m128 lo = _mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)));
    return _mm_movelh_ps(lo, _mm_load_ss(p + 2));
}
__m128i loadThree(const uint32_t* p) {
    return _mm_unpacklo_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)),
                              _mm_cvtsi32_si128(int32_t(p[2])));
}
void storeThree(float* p, __m128 v) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_castps_si128(v));
    _mm_store_ss(p + 2, _mm_movehl_ps(v, v));
}
void storeThree(uint32_t* p, __m128i v) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(p), v);
    p[2] = uint32_t(_mm_cvtsi128_si32(_mm_srli_si128(v, 8)));
}

// float32(float64(v) * part) of the four lanes.
__m128 partOf(__m128 v, double part) {
    const __m128d p = _mm_set1_pd(part);
    const __m128 lo = _mm_cvtpd_ps(_mm_mul_pd(_mm_cvtps_pd(v), p));
    const __m128 hi = _mm_cvtpd_ps(_mm_mul_pd(_mm_cvtps_pd(_mm_movehl_ps(v, v)), p));
    return _mm_movelh_ps(lo, hi);
}

template <class Acc>
void store8u(const Acc* acc, uint8_t* dst, int32_t count, double factorProduct) {
    const __m128d fp = _mm_set1_pd(factorProduct);
    const __m128i lowByte = _mm_set1_epi32(0xFF);
    int32_t i = 0;
    for (; i + 8 <= count; i += 8) {
        const __m128i a = _mm_and_si128(converted(acc + i, fp), lowByte);
        const __m128i b = _mm_and_si128(converted(acc + i + 4, fp), lowByte);
        const __m128i words = _mm_packs_epi32(a, b);
        storel(dst + i, _mm_packus_epi16(words, words));
    }
    superStoreRowScalar(acc + i, dst + i, count - i, factorProduct);
}

template <class Acc>
void store16u(const Acc* acc, uint16_t* dst, int32_t count, double factorProduct) {
    const __m128d fp = _mm_set1_pd(factorProduct);
    int32_t i = 0;
    for (; i + 8 <= count; i += 8)
        storeu(dst + i,
               _mm_packs_epi32(low16(converted(acc + i, fp)), low16(converted(acc + i + 4, fp))));
    superStoreRowScalar(acc + i, dst + i, count - i, factorProduct);
}

}  // namespace

void superAddRow8uSse2(const uint8_t* src, float* acc, int32_t count, double weight) {
    const bool unit = weight == 1.0;
    const __m128d w = _mm_set1_pd(weight);
    const __m128i zero = _mm_setzero_si128();
    int32_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const __m128i bytes = loadu(src + i);
        const __m128i lo = _mm_unpacklo_epi8(bytes, zero), hi = _mm_unpackhi_epi8(bytes, zero);
        addTo(acc + i, weighed(_mm_unpacklo_epi16(lo, zero), w, unit));
        addTo(acc + i + 4, weighed(_mm_unpackhi_epi16(lo, zero), w, unit));
        addTo(acc + i + 8, weighed(_mm_unpacklo_epi16(hi, zero), w, unit));
        addTo(acc + i + 12, weighed(_mm_unpackhi_epi16(hi, zero), w, unit));
    }
    for (; i < count; ++i) acc[i] = float(double(src[i]) * weight) + acc[i];
}

void superAddRow16uSse2(const uint16_t* src, float* acc, int32_t count, double weight) {
    const bool unit = weight == 1.0;
    const __m128d w = _mm_set1_pd(weight);
    const __m128i zero = _mm_setzero_si128();
    int32_t i = 0;
    for (; i + 8 <= count; i += 8) {
        const __m128i words = loadu(src + i);
        addTo(acc + i, weighed(_mm_unpacklo_epi16(words, zero), w, unit));
        addTo(acc + i + 4, weighed(_mm_unpackhi_epi16(words, zero), w, unit));
    }
    for (; i < count; ++i) acc[i] = float(double(src[i]) * weight) + acc[i];
}

void superAddRowWhole8uSse2(const uint8_t* src, uint32_t* acc, int32_t count) {
    const __m128i zero = _mm_setzero_si128();
    int32_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const __m128i bytes = loadu(src + i);
        const __m128i lo = _mm_unpacklo_epi8(bytes, zero), hi = _mm_unpackhi_epi8(bytes, zero);
        addTo(acc + i, _mm_unpacklo_epi16(lo, zero));
        addTo(acc + i + 4, _mm_unpackhi_epi16(lo, zero));
        addTo(acc + i + 8, _mm_unpacklo_epi16(hi, zero));
        addTo(acc + i + 12, _mm_unpackhi_epi16(hi, zero));
    }
    for (; i < count; ++i) acc[i] = acc[i] + src[i];
}

void superAddRowWhole16uSse2(const uint16_t* src, uint32_t* acc, int32_t count) {
    const __m128i zero = _mm_setzero_si128();
    int32_t i = 0;
    for (; i + 8 <= count; i += 8) {
        const __m128i words = loadu(src + i);
        addTo(acc + i, _mm_unpacklo_epi16(words, zero));
        addTo(acc + i + 4, _mm_unpackhi_epi16(words, zero));
    }
    for (; i < count; ++i) acc[i] = acc[i] + src[i];
}

void superStore8uFromFloatSse2(const float* acc, uint8_t* dst, int32_t count, double factorProduct) {
    store8u(acc, dst, count, factorProduct);
}
void superStore16uFromFloatSse2(const float* acc, uint16_t* dst, int32_t count,
                                double factorProduct) {
    store16u(acc, dst, count, factorProduct);
}
void superStore8uFromWholeSse2(const uint32_t* acc, uint8_t* dst, int32_t count,
                               double factorProduct) {
    store8u(acc, dst, count, factorProduct);
}
void superStore16uFromWholeSse2(const uint32_t* acc, uint16_t* dst, int32_t count,
                                double factorProduct) {
    store16u(acc, dst, count, factorProduct);
}

// In place: the four sums of an iteration are stored after its loads, and
// later iterations read behind them.
void superReduceWholeC1Sse2(uint32_t* acc, int32_t width, int32_t run) {
    int32_t c = 0;
    if (run == 2) {
        for (; c + 4 <= width; c += 4) {
            const __m128 a = _mm_castsi128_ps(loadu(acc + 2 * c));
            const __m128 b = _mm_castsi128_ps(loadu(acc + 2 * c + 4));
            const __m128i even = _mm_castps_si128(_mm_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0)));
            const __m128i odd = _mm_castps_si128(_mm_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1)));
            storeu(acc + c, _mm_add_epi32(even, odd));
        }
    } else if (run == 4) {
        for (; c + 4 <= width; c += 4) {
            const uint32_t* box = acc + 4 * c;
            const __m128i v0 = loadu(box), v1 = loadu(box + 4), v2 = loadu(box + 8),
                          v3 = loadu(box + 12);
            const __m128i s01 = _mm_add_epi32(_mm_unpacklo_epi32(v0, v1), _mm_unpackhi_epi32(v0, v1));
            const __m128i s23 = _mm_add_epi32(_mm_unpacklo_epi32(v2, v3), _mm_unpackhi_epi32(v2, v3));
            storeu(acc + c,
                   _mm_add_epi32(_mm_unpacklo_epi64(s01, s23), _mm_unpackhi_epi64(s01, s23)));
        }
    }
    superReduceWholeColumns<1>(acc, c, width, run);
}

void superReduceWholeC3Sse2(uint32_t* acc, int32_t width, int32_t run) {
    for (int32_t c = 0; c < width; ++c) {
        const uint32_t* box = acc + ptrdiff_t(c) * run * 3;
        __m128i sum = _mm_setzero_si128();
        for (int32_t k = 0; k < run; ++k) sum = _mm_add_epi32(sum, loadThree(box + 3 * k));
        storeThree(acc + 3 * c, sum);
    }
}

void superReduceWholeC4Sse2(uint32_t* acc, int32_t width, int32_t run) {
    for (int32_t c = 0; c < width; ++c) {
        const uint32_t* box = acc + ptrdiff_t(c) * run * 4;
        __m128i sum = _mm_setzero_si128();
        for (int32_t k = 0; k < run; ++k) sum = _mm_add_epi32(sum, loadu(box + 4 * k));
        storeu(acc + 4 * c, sum);
    }
}

void superReduceFractionalC3Sse2(float* acc, const SuperColumn* columns, int32_t first,
                                 int32_t count) {
    for (int32_t i = 0; i < count; ++i)
        storeThree(acc + 3 * (first + i), reduceColumn<partOf>(columns[i], [acc](int32_t q) {
                       return loadThree(acc + 3 * q);
                   }));
}

void superReduceFractionalC4Sse2(float* acc, const SuperColumn* columns, int32_t first,
                                 int32_t count) {
    for (int32_t i = 0; i < count; ++i)
        _mm_storeu_ps(acc + 4 * (first + i), reduceColumn<partOf>(columns[i], [acc](int32_t q) {
                          return _mm_loadu_ps(acc + 4 * q);
                      }));
}

}  // namespace morva

#endif  // MORVA_X86_64
