// AVX2 pieces shared by the cubic and Lanczos row kernels: the blend loop at
// eight floats a vector, byte shuffles that widen one tap of a four-channel
// 8u pixel to int32 lanes, and the loads and transposes of the one-channel
// rows. Include only from _avx2.cpp files.
#pragma once

#include "kernels/cpu.h"

#if MORVA_X86_64
#include <immintrin.h>

#include <cstdint>
#include <cstring>

namespace morva::avx2 {

// Bytes 4 * Tap .. 4 * Tap + 3 of each 128-bit half as four int32 lanes.
template <int Tap>
inline __m256i widenTap(__m256i pixels) {
    constexpr char z = char(0x80), b = char(4 * Tap);
    const __m256i mask = _mm256_setr_epi8(b, z, z, z, char(b + 1), z, z, z, char(b + 2), z, z, z,
                                          char(b + 3), z, z, z, b, z, z, z, char(b + 1), z, z, z,
                                          char(b + 2), z, z, z, char(b + 3), z, z, z);
    return _mm256_shuffle_epi8(pixels, mask);
}

// Element Lane of each 128-bit half in all four lanes of that half.
template <int Lane>
inline __m256 broadcastInHalves(__m256 v) {
    return _mm256_shuffle_ps(v, v, Lane * 0x55);
}

inline __m256 loadHalves(const float* lo, const float* hi) {
    return _mm256_insertf128_ps(_mm256_castps128_ps256(_mm_loadu_ps(lo)), _mm_loadu_ps(hi), 1);
}

inline __m256i loadHalves(const uint8_t* lo, const uint8_t* hi) {
    return _mm256_inserti128_si256(
        _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(lo))),
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(hi)), 1);
}

// p[0..3] as one 32-bit value, byte 0 lowest.
inline int32_t fourBytes(const uint8_t* p) {
    int32_t v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

// Byte Byte of each 32-bit lane as a float.
template <int Byte>
inline __m256 byteOf(__m256i v) {
    return _mm256_cvtepi32_ps(
        _mm256_and_si256(_mm256_srli_epi32(v, 8 * Byte), _mm256_set1_epi32(0xFF)));
}

// Per half of m0..m3 a 4 x 4 transpose: the halves of the result t hold
// element t of m0, m1, m2, m3.
inline void transposeHalves(__m256& m0, __m256& m1, __m256& m2, __m256& m3) {
    const __m256 t0 = _mm256_unpacklo_ps(m0, m1), t1 = _mm256_unpackhi_ps(m0, m1);
    const __m256 t2 = _mm256_unpacklo_ps(m2, m3), t3 = _mm256_unpackhi_ps(m2, m3);
    m0 = _mm256_shuffle_ps(t0, t2, 0x44);
    m1 = _mm256_shuffle_ps(t0, t2, 0xEE);
    m2 = _mm256_shuffle_ps(t1, t3, 0x44);
    m3 = _mm256_shuffle_ps(t1, t3, 0xEE);
}

// 32 int32 results, eight to a vector, to 8u or 16u in sample order, with
// the saturation of the scalar definition (16u: -32768, int16, +0x8000).
inline void storeBlend(uint8_t* dst, const __m256i v[4], int32_t count) {
    const __m256i bytes =
        _mm256_packus_epi16(_mm256_packs_epi32(v[0], v[1]), _mm256_packs_epi32(v[2], v[3]));
    const __m256i ordered =
        _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
    if (count == 32) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst), ordered);
    } else {
        alignas(32) uint8_t lanes[32];
        _mm256_store_si256(reinterpret_cast<__m256i*>(lanes), ordered);
        std::memcpy(dst, lanes, size_t(count));
    }
}

inline __m256i pack16u(__m256i lo, __m256i hi) {
    const __m256i bias = _mm256_set1_epi32(32768);
    const __m256i packed =
        _mm256_packs_epi32(_mm256_sub_epi32(lo, bias), _mm256_sub_epi32(hi, bias));
    return _mm256_permute4x64_epi64(_mm256_add_epi16(packed, _mm256_set1_epi16(int16_t(0x8000))),
                                    0xD8);
}

inline void storeBlend(uint16_t* dst, const __m256i v[4], int32_t count) {
    const __m256i lo = pack16u(v[0], v[1]), hi = pack16u(v[2], v[3]);
    if (count == 32) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst), lo);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + 16), hi);
    } else {
        alignas(32) uint16_t lanes[32];
        _mm256_store_si256(reinterpret_cast<__m256i*>(lanes), lo);
        _mm256_store_si256(reinterpret_cast<__m256i*>(lanes + 16), hi);
        std::memcpy(dst, lanes, size_t(count) * 2);
    }
}

// The blend loop: 32 samples a step. The last samples are copied out first,
// zeros behind them, so that no load reaches past the rows; lanes past the
// end are not stored. value(rows, i) gives eight float results from sample i;
// convert turns them to int32.
template <int Taps, class T, class Value, class Convert>
inline void blendLoop(const float* const* rows, T* dst, int32_t count, Value value,
                      Convert convert) {
    const float* local[Taps];
    for (int t = 0; t < Taps; ++t) local[t] = rows[t];
    int32_t i = 0;
    for (; i + 32 <= count; i += 32) {
        const __m256i v[4] = {convert(value(local, i)), convert(value(local, i + 8)),
                              convert(value(local, i + 16)), convert(value(local, i + 24))};
        storeBlend(dst + i, v, 32);
    }
    if (i == count) return;
    alignas(32) float rest[Taps][32] = {};
    const float* restRows[Taps];
    for (int t = 0; t < Taps; ++t) {
        std::memcpy(rest[t], rows[t] + i, size_t(count - i) * sizeof(float));
        restRows[t] = rest[t];
    }
    const __m256i v[4] = {convert(value(restRows, 0)), convert(value(restRows, 8)),
                          convert(value(restRows, 16)), convert(value(restRows, 24))};
    storeBlend(dst + i, v, count - i);
}

}  // namespace morva::avx2

#endif  // MORVA_X86_64
