// SSE2 forms of the Lanczos row kernels. Each lane does the scalar
// definition's float32 operations in the same order: the one-channel rows work
// across four columns (taps k - 2 .. k + 1 transposed, k + 2 and k + 3
// interleaved), the others across the samples of a pixel.
#include "resample/lanczos_forms.h"

#if MORVA_X86_64
#include <xmmintrin.h>

#include "resample/x86/tap_filter_sse2.h"

namespace morva {
namespace {

using namespace sse2;

// Sums of one column, samples as lanes: ((a0 + a1) + (a2 + a3)) + (a4 + a5).
// With three channels the last tap's pixel may end the row and is read from
// one sample before; the others read the next tap's first sample too.
template <class T, int Channels>
__m128 pixelSum(const T* q, const float* coefficients) {
    const __m128 lo = _mm_loadu_ps(coefficients);
    const __m128 hi =
        _mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(coefficients + 4)));
    const auto tap = [&](int t) {
        const T* at = q + (t - 2) * Channels;
        if constexpr (Channels == 4)
            return load4(at);
        else
            return t < 5 ? load3Ahead(at) : load3Behind(at);
    };
    const __m128 a0 = _mm_mul_ps(tap(0), broadcast<0>(lo));
    const __m128 a1 = _mm_mul_ps(tap(1), broadcast<1>(lo));
    const __m128 a2 = _mm_mul_ps(tap(2), broadcast<2>(lo));
    const __m128 a3 = _mm_mul_ps(tap(3), broadcast<3>(lo));
    const __m128 a4 = _mm_mul_ps(tap(4), broadcast<0>(hi));
    const __m128 a5 = _mm_mul_ps(tap(5), broadcast<1>(hi));
    return _mm_add_ps(_mm_add_ps(_mm_add_ps(a0, a1), _mm_add_ps(a2, a3)), _mm_add_ps(a4, a5));
}

template <class T, int Channels>
void rowPixels(const T* p, const int32_t* columns, const float* coefficients, float* out,
               int32_t width) {
    for (int32_t j = 0; j < width; ++j) {
        const __m128 v = pixelSum<T, Channels>(p + columns[j], coefficients + 6 * j);
        if constexpr (Channels == 4)
            _mm_storeu_ps(out + 4 * j, v);
        else
            storeThree(out + 3 * j, v, j + 1 < width);
    }
}

// Products of taps k - 2 .. k + 1 and, in the two low lanes of `far`, of
// k + 2 and k + 3.
template <class T>
__m128 nearProducts(const T* q, const float* c) {
    return _mm_mul_ps(load4(q - 2), _mm_loadu_ps(c));
}
template <class T>
__m128 farProducts(const T* q, const float* c) {
    return _mm_mul_ps(load2(q + 2),
                      _mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(c + 4))));
}

// ((a0 + a4) + a2) + ((a1 + a5) + a3) of four columns.
template <class T>
void rowSingle(const T* p, const int32_t* columns, const float* coefficients, float* out,
               int32_t width) {
    int32_t j = 0;
    for (; j + 4 <= width; j += 4) {
        const float* c = coefficients + 6 * j;
        __m128 a0 = nearProducts(p + columns[j], c);
        __m128 a1 = nearProducts(p + columns[j + 1], c + 6);
        __m128 a2 = nearProducts(p + columns[j + 2], c + 12);
        __m128 a3 = nearProducts(p + columns[j + 3], c + 18);
        _MM_TRANSPOSE4_PS(a0, a1, a2, a3);
        const __m128 f01 =
            _mm_unpacklo_ps(farProducts(p + columns[j], c), farProducts(p + columns[j + 1], c + 6));
        const __m128 f23 = _mm_unpacklo_ps(farProducts(p + columns[j + 2], c + 12),
                                           farProducts(p + columns[j + 3], c + 18));
        const __m128 a4 = _mm_movelh_ps(f01, f23);
        const __m128 a5 = _mm_movehl_ps(f23, f01);
        const __m128 even = _mm_add_ps(_mm_add_ps(a0, a4), a2);
        const __m128 odd = _mm_add_ps(_mm_add_ps(a1, a5), a3);
        _mm_storeu_ps(out + j, _mm_add_ps(even, odd));
    }
    for (; j < width; ++j) {
        const T* q = p + columns[j];
        const float* c = coefficients + 6 * j;
        float a[6];
        for (int t = 0; t < 6; ++t) a[t] = float(q[t - 2]) * c[t];
        out[j] = ((a[0] + a[4]) + a[2]) + ((a[1] + a[5]) + a[3]);
    }
}

// 0 + A * c0 + ... + F * c5 from the left, + 0.5000001f, truncated.
template <class T>
void blend(const float* const* rows, const float* c, T* dst, int32_t count) {
    __m128 w[6];
    for (int t = 0; t < 6; ++t) w[t] = _mm_set1_ps(c[t]);
    const __m128 half = _mm_set1_ps(kLanczosHalf);
    blendLoop<6>(
        rows, dst, count,
        [&](const float* const* r, int32_t i) {
            __m128 v = _mm_setzero_ps();
            for (int t = 0; t < 6; ++t) v = _mm_add_ps(v, _mm_mul_ps(_mm_loadu_ps(r[t] + i), w[t]));
            return _mm_add_ps(v, half);
        },
        [](__m128 v) { return _mm_cvttps_epi32(v); });
}

}  // namespace

void lanczosRow8uC1Sse2(const uint8_t* p, const int32_t* columns, const float* c, float* out,
                        int32_t width) {
    rowSingle(p, columns, c, out, width);
}
void lanczosRow8uC3Sse2(const uint8_t* p, const int32_t* columns, const float* c, float* out,
                        int32_t width) {
    rowPixels<uint8_t, 3>(p, columns, c, out, width);
}
void lanczosRow8uC4Sse2(const uint8_t* p, const int32_t* columns, const float* c, float* out,
                        int32_t width) {
    rowPixels<uint8_t, 4>(p, columns, c, out, width);
}
void lanczosRow16uC1Sse2(const uint16_t* p, const int32_t* columns, const float* c, float* out,
                         int32_t width) {
    rowSingle(p, columns, c, out, width);
}
void lanczosRow16uC3Sse2(const uint16_t* p, const int32_t* columns, const float* c, float* out,
                         int32_t width) {
    rowPixels<uint16_t, 3>(p, columns, c, out, width);
}
void lanczosRow16uC4Sse2(const uint16_t* p, const int32_t* columns, const float* c, float* out,
                         int32_t width) {
    rowPixels<uint16_t, 4>(p, columns, c, out, width);
}
void lanczosBlend8uSse2(const float* const* rows, const float* c, uint8_t* dst, int32_t count) {
    blend(rows, c, dst, count);
}
void lanczosBlend16uSse2(const float* const* rows, const float* c, uint16_t* dst, int32_t count) {
    blend(rows, c, dst, count);
}

}  // namespace morva

#endif  // MORVA_X86_64
