// SSE2 pieces shared by the cubic and Lanczos row kernels: loads of a few
// neighbouring samples as float32 lanes, and the blends' conversions. Every
// load reads the named samples and no byte outside them, or, where it says
// so, bytes of a neighbouring pixel that exists.
#pragma once

#include "kernels/cpu.h"

#if MORVA_X86_64
#include <emmintrin.h>

#include <cstdint>
#include <cstring>

namespace morva::sse2 {

template <class T>
inline T loadRaw(const void* p) {
    T v;
    std::memcpy(&v, p, sizeof(T));
    return v;
}

inline __m128 bytesToFloats(__m128i v) {
    const __m128i zero = _mm_setzero_si128();
    return _mm_cvtepi32_ps(_mm_unpacklo_epi16(_mm_unpacklo_epi8(v, zero), zero));
}

inline __m128 wordsToFloats(__m128i v) {
    return _mm_cvtepi32_ps(_mm_unpacklo_epi16(v, _mm_setzero_si128()));
}

// p[0..3] as four floats.
inline __m128 load4(const uint8_t* p) {
    return bytesToFloats(_mm_cvtsi32_si128(loadRaw<int32_t>(p)));
}
inline __m128 load4(const uint16_t* p) {
    return wordsToFloats(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)));
}

// p[0..1] as the two low floats, the others 0.
inline __m128 load2(const uint8_t* p) {
    return bytesToFloats(_mm_cvtsi32_si128(loadRaw<uint16_t>(p)));
}
inline __m128 load2(const uint16_t* p) {
    return wordsToFloats(_mm_cvtsi32_si128(loadRaw<int32_t>(p)));
}

// p[0..2] as three floats and a fourth that is p[3] (reads it: the caller
// knows it exists) ...
inline __m128 load3Ahead(const uint8_t* p) { return load4(p); }
inline __m128 load3Ahead(const uint16_t* p) { return load4(p); }
// ... or 0 (reads p[-1] instead: the caller knows that exists).
inline __m128 load3Behind(const uint8_t* p) {
    return bytesToFloats(_mm_cvtsi32_si128(int32_t(loadRaw<uint32_t>(p - 1) >> 8)));
}
inline __m128 load3Behind(const uint16_t* p) {
    return wordsToFloats(
        _mm_srli_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p - 1)), 16));
}

// Three floats of a pixel; the fourth lane is written only where the next
// pixel follows and overwrites it.
inline void storeThree(float* out, __m128 v, bool more) {
    if (more) {
        _mm_storeu_ps(out, v);
    } else {
        _mm_storel_pi(reinterpret_cast<__m64*>(out), v);
        _mm_store_ss(out + 2, _mm_movehl_ps(v, v));
    }
}

// Lane t of v in every lane.
template <int Lane>
inline __m128 broadcast(__m128 v) {
    return _mm_shuffle_ps(v, v, _MM_SHUFFLE(Lane, Lane, Lane, Lane));
}

// Four 32-bit results to 8u with signed then unsigned saturation: 0..255.
inline __m128i packTo8u(__m128i lo, __m128i hi) { return _mm_packs_epi32(lo, hi); }

// 32-bit results to 16u: -32768, saturated to int16, +0x8000.
inline __m128i packTo16u(__m128i lo, __m128i hi) {
    const __m128i bias = _mm_set1_epi32(32768);
    const __m128i packed = _mm_packs_epi32(_mm_sub_epi32(lo, bias), _mm_sub_epi32(hi, bias));
    return _mm_add_epi16(packed, _mm_set1_epi16(int16_t(0x8000)));
}

// Stores `count` (up to 16) results of a blend whose 32-bit integers are in
// v[0 .. 3], four to a vector.
inline void store8u(uint8_t* dst, const __m128i v[4], int32_t count) {
    const __m128i bytes = _mm_packus_epi16(packTo8u(v[0], v[1]), packTo8u(v[2], v[3]));
    if (count == 16) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), bytes);
    } else {
        alignas(16) uint8_t lanes[16];
        _mm_store_si128(reinterpret_cast<__m128i*>(lanes), bytes);
        std::memcpy(dst, lanes, size_t(count));
    }
}

inline void store16u(uint16_t* dst, const __m128i v[4], int32_t count) {
    const __m128i lo = packTo16u(v[0], v[1]), hi = packTo16u(v[2], v[3]);
    if (count == 16) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), lo);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 8), hi);
    } else {
        alignas(16) uint16_t lanes[16];
        _mm_store_si128(reinterpret_cast<__m128i*>(lanes), lo);
        _mm_store_si128(reinterpret_cast<__m128i*>(lanes + 8), hi);
        std::memcpy(dst, lanes, size_t(count) * 2);
    }
}

inline void storeBlend(uint8_t* dst, const __m128i v[4], int32_t count) { store8u(dst, v, count); }
inline void storeBlend(uint16_t* dst, const __m128i v[4], int32_t count) {
    store16u(dst, v, count);
}

// The blend loop: sixteen samples a step. The last samples are copied out
// first, zeros behind them, so that no load reaches past the rows; the lanes
// past the end are not stored. value(rows, i) gives four float results from
// sample i; convert turns them to int32.
template <int Taps, class T, class Value, class Convert>
inline void blendLoop(const float* const* rows, T* dst, int32_t count, Value value,
                      Convert convert) {
    int32_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const __m128i v[4] = {convert(value(rows, i)), convert(value(rows, i + 4)),
                              convert(value(rows, i + 8)), convert(value(rows, i + 12))};
        storeBlend(dst + i, v, 16);
    }
    if (i == count) return;
    alignas(16) float rest[Taps][16] = {};
    const float* restRows[Taps];
    for (int t = 0; t < Taps; ++t) {
        std::memcpy(rest[t], rows[t] + i, size_t(count - i) * sizeof(float));
        restRows[t] = rest[t];
    }
    const __m128i v[4] = {convert(value(restRows, 0)), convert(value(restRows, 4)),
                          convert(value(restRows, 8)), convert(value(restRows, 12))};
    storeBlend(dst + i, v, count - i);
}

}  // namespace morva::sse2

#endif  // MORVA_X86_64
