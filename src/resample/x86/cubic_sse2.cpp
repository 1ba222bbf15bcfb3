// SSE2 forms of the cubic row kernels. Each lane does the scalar definition's
// float32 operations in the same order: the one-channel rows work across four
// columns (a transpose puts each tap's products of four columns in one
// vector), the others across the samples of a pixel.
#include "resample/cubic_forms.h"

#if MORVA_X86_64
#include <xmmintrin.h>

#include "resample/x86/tap_filter_sse2.h"

namespace morva {
namespace {

using namespace sse2;

// Sums of one column, samples as lanes: (a0 + a3) + (a1 + a2).
// Three channels: the last tap's pixel may end the row, so it is read from
// one sample before; the others read the next tap's first sample too.
template <class T, int Channels>
__m128 pixelSum(const T* q, __m128 c) {
    const auto tap = [&](int t) {
        const T* at = q + (t - 1) * Channels;
        if constexpr (Channels == 4)
            return load4(at);
        else
            return t < 3 ? load3Ahead(at) : load3Behind(at);
    };
    const __m128 a0 = _mm_mul_ps(tap(0), broadcast<0>(c));
    const __m128 a1 = _mm_mul_ps(tap(1), broadcast<1>(c));
    const __m128 a2 = _mm_mul_ps(tap(2), broadcast<2>(c));
    const __m128 a3 = _mm_mul_ps(tap(3), broadcast<3>(c));
    return _mm_add_ps(_mm_add_ps(a0, a3), _mm_add_ps(a1, a2));
}

template <class T, int Channels>
void rowPixels(const T* p, const int32_t* columns, const float* coefficients, float* out,
               int32_t width) {
    for (int32_t j = 0; j < width; ++j) {
        const bool last = j + 1 == width;
        const __m128 v = pixelSum<T, Channels>(p + columns[j], _mm_loadu_ps(coefficients + 4 * j));
        if constexpr (Channels == 4)
            _mm_storeu_ps(out + 4 * j, v);
        else
            storeThree(out + 3 * j, v, !last);
    }
}

// One channel: blocks of four columns sum (a0 + a1) + (a2 + a3); the last
// width % 4 columns (a0 + a2) + (a1 + a3).
template <class T>
void rowSingle(const T* p, const int32_t* columns, const float* coefficients, float* out,
               int32_t width) {
    int32_t j = 0;
    for (; j + 4 <= width; j += 4) {
        __m128 a0 = _mm_mul_ps(load4(p + columns[j] - 1), _mm_loadu_ps(coefficients + 4 * j));
        __m128 a1 =
            _mm_mul_ps(load4(p + columns[j + 1] - 1), _mm_loadu_ps(coefficients + 4 * j + 4));
        __m128 a2 =
            _mm_mul_ps(load4(p + columns[j + 2] - 1), _mm_loadu_ps(coefficients + 4 * j + 8));
        __m128 a3 =
            _mm_mul_ps(load4(p + columns[j + 3] - 1), _mm_loadu_ps(coefficients + 4 * j + 12));
        _MM_TRANSPOSE4_PS(a0, a1, a2, a3);
        _mm_storeu_ps(out + j, _mm_add_ps(_mm_add_ps(a0, a1), _mm_add_ps(a2, a3)));
    }
    for (; j < width; ++j) {
        const __m128 a = _mm_mul_ps(load4(p + columns[j] - 1), _mm_loadu_ps(coefficients + 4 * j));
        // (a0 + a2) + (a1 + a3) in lane 0.
        const __m128 pairs = _mm_add_ps(a, _mm_movehl_ps(a, a));
        _mm_store_ss(out + j, _mm_add_ss(pairs, broadcast<1>(pairs)));
    }
}

template <class T>
void blend(const float* const* rows, const float* c, T* dst, int32_t count) {
    const __m128 c0 = _mm_set1_ps(c[0]), c1 = _mm_set1_ps(c[1]), c2 = _mm_set1_ps(c[2]),
                 c3 = _mm_set1_ps(c[3]);
    blendLoop<4>(
        rows, dst, count,
        [&](const float* const* r, int32_t i) {
            const __m128 ab = _mm_add_ps(_mm_mul_ps(_mm_loadu_ps(r[0] + i), c0),
                                         _mm_mul_ps(_mm_loadu_ps(r[1] + i), c1));
            const __m128 cd = _mm_add_ps(_mm_mul_ps(_mm_loadu_ps(r[2] + i), c2),
                                         _mm_mul_ps(_mm_loadu_ps(r[3] + i), c3));
            return _mm_add_ps(ab, cd);
        },
        [](__m128 v) { return _mm_cvtps_epi32(v); });
}

}  // namespace

void cubicRow8uC1Sse2(const uint8_t* p, const int32_t* columns, const float* c, float* out,
                      int32_t width) {
    rowSingle(p, columns, c, out, width);
}
void cubicRow8uC3Sse2(const uint8_t* p, const int32_t* columns, const float* c, float* out,
                      int32_t width) {
    rowPixels<uint8_t, 3>(p, columns, c, out, width);
}
void cubicRow8uC4Sse2(const uint8_t* p, const int32_t* columns, const float* c, float* out,
                      int32_t width) {
    rowPixels<uint8_t, 4>(p, columns, c, out, width);
}
void cubicRow16uC1Sse2(const uint16_t* p, const int32_t* columns, const float* c, float* out,
                       int32_t width) {
    rowSingle(p, columns, c, out, width);
}
void cubicRow16uC3Sse2(const uint16_t* p, const int32_t* columns, const float* c, float* out,
                       int32_t width) {
    rowPixels<uint16_t, 3>(p, columns, c, out, width);
}
void cubicRow16uC4Sse2(const uint16_t* p, const int32_t* columns, const float* c, float* out,
                       int32_t width) {
    rowPixels<uint16_t, 4>(p, columns, c, out, width);
}
void cubicBlend8uSse2(const float* const* rows, const float* c, uint8_t* dst, int32_t count) {
    blend(rows, c, dst, count);
}
void cubicBlend16uSse2(const float* const* rows, const float* c, uint16_t* dst, int32_t count) {
    blend(rows, c, dst, count);
}

}  // namespace morva

#endif  // MORVA_X86_64
