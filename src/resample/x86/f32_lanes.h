// Float32 lanes at two widths, one interface, for row kernels written once in
// x86/*_lanes.h. Internal linkage: each instruction set's file keeps the code
// compiled with its own flags.
#pragma once

#include "kernels/cpu.h"

#if MORVA_X86_64
#include <immintrin.h>

#include <cstdint>

namespace morva {
namespace {

#ifdef __AVX2__
struct Avx2Floats {
    using V = __m256;
    static constexpr int32_t kLanes = 8;

    // kLanes samples as floats.
    static V load(const uint8_t* p) {
        return _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p))));
    }
    static V load(const uint16_t* p) {
        return _mm256_cvtepi32_ps(_mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))));
    }
    static V set(float v) { return _mm256_set1_ps(v); }
    static V add(V a, V b) { return _mm256_add_ps(a, b); }
    static V mul(V a, V b) { return _mm256_mul_ps(a, b); }
    // 2 * kLanes floats e0, o0, e1, o1, ...
    static void storeInterleaved(float* d, V e, V o) {
        const __m256 lo = _mm256_unpacklo_ps(e, o), hi = _mm256_unpackhi_ps(e, o);
        _mm256_storeu_ps(d, _mm256_permute2f128_ps(lo, hi, 0x20));
        _mm256_storeu_ps(d + 8, _mm256_permute2f128_ps(lo, hi, 0x31));
    }
};
#endif

#if defined(__AVX512F__) && defined(__AVX512BW__)
struct Avx512Floats {
    using V = __m512;
    static constexpr int32_t kLanes = 16;

    static V load(const uint8_t* p) {
        return _mm512_cvtepi32_ps(_mm512_cvtepu8_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))));
    }
    static V load(const uint16_t* p) {
        return _mm512_cvtepi32_ps(_mm512_cvtepu16_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p))));
    }
    static V set(float v) { return _mm512_set1_ps(v); }
    static V add(V a, V b) { return _mm512_add_ps(a, b); }
    static V mul(V a, V b) { return _mm512_mul_ps(a, b); }
    static void storeInterleaved(float* d, V e, V o) {
        // Unpacks interleave within 128-bit quarters; the permutes put the
        // quarters of lo and hi in turn.
        const __m512 lo = _mm512_unpacklo_ps(e, o), hi = _mm512_unpackhi_ps(e, o);
        const __m512i first = _mm512_setr_epi32(0, 1, 2, 3, 16, 17, 18, 19, 4, 5, 6, 7, 20, 21, 22, 23);
        const __m512i second = _mm512_setr_epi32(8, 9, 10, 11, 24, 25, 26, 27, 12, 13, 14, 15, 28, 29, 30, 31);
        _mm512_storeu_ps(d, _mm512_permutex2var_ps(lo, first, hi));
        _mm512_storeu_ps(d + 16, _mm512_permutex2var_ps(lo, second, hi));
    }
};
#endif

}  // namespace
}  // namespace morva

#endif  // MORVA_X86_64
