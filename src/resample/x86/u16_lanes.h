// Sixteen-bit integer lanes at three widths, one interface: the kernels of
// x86/*_lanes.h are written once against it and instantiated in each
// instruction set's file. Everything here has internal linkage, so each file
// keeps the code compiled with its own flags.
#pragma once

#include "kernels/cpu.h"

#if MORVA_X86_64
#include <immintrin.h>

#include <cstdint>

namespace morva {
namespace {

// Lanes are unsigned 16-bit unless a name says 32.
struct Sse2Lanes {
    using V = __m128i;
    static constexpr int32_t kLanes = 8;

    // kLanes bytes, one to a lane.
    static V loadBytes(const uint8_t* p) {
        return _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)), _mm_setzero_si128());
    }
    // 2 * kLanes bytes, two to a lane, the first in the low byte.
    static V loadPairs(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
    static V set(int32_t v) { return _mm_set1_epi16(int16_t(v)); }
    static V set32(int32_t v) { return _mm_set1_epi32(v); }
    static V add(V a, V b) { return _mm_add_epi16(a, b); }
    static V mullo(V a, V b) { return _mm_mullo_epi16(a, b); }
    static V lowBytes(V a) { return _mm_and_si128(a, _mm_set1_epi16(0xFF)); }
    template <int N>
    static V shiftRight(V a) { return _mm_srli_epi16(a, N); }
    static V unpackLo(V a, V b) { return _mm_unpacklo_epi16(a, b); }
    static V unpackHi(V a, V b) { return _mm_unpackhi_epi16(a, b); }
    // Pairs of lanes multiplied and added into 32-bit lanes.
    static V madd(V a, V b) { return _mm_madd_epi16(a, b); }
    static V add32(V a, V b) { return _mm_add_epi32(a, b); }
    template <int N>
    static V shiftRight32(V a) { return _mm_srai_epi32(a, N); }
    // The 32-bit lanes of a, then b, to 16 bits: the inverse of unpackLo/Hi.
    static V pack32(V a, V b) { return _mm_packs_epi32(a, b); }
    // kLanes lanes of 0..255 to bytes.
    static void storeBytes(uint8_t* d, V v) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(d), _mm_packus_epi16(v, v));
    }
    // Bytes e0, o0, e1, o1, ...: 2 * kLanes of them.
    static void storeInterleavedBytes(uint8_t* d, V e, V o) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d),
                         _mm_packus_epi16(_mm_unpacklo_epi16(e, o), _mm_unpackhi_epi16(e, o)));
    }
};

#ifdef __AVX2__
struct Avx2Lanes {
    using V = __m256i;
    static constexpr int32_t kLanes = 16;

    static V loadBytes(const uint8_t* p) {
        return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
    }
    static V loadPairs(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
    static V set(int32_t v) { return _mm256_set1_epi16(int16_t(v)); }
    static V set32(int32_t v) { return _mm256_set1_epi32(v); }
    static V add(V a, V b) { return _mm256_add_epi16(a, b); }
    static V mullo(V a, V b) { return _mm256_mullo_epi16(a, b); }
    static V lowBytes(V a) { return _mm256_and_si256(a, _mm256_set1_epi16(0xFF)); }
    template <int N>
    static V shiftRight(V a) { return _mm256_srli_epi16(a, N); }
    static V unpackLo(V a, V b) { return _mm256_unpacklo_epi16(a, b); }
    static V unpackHi(V a, V b) { return _mm256_unpackhi_epi16(a, b); }
    static V madd(V a, V b) { return _mm256_madd_epi16(a, b); }
    static V add32(V a, V b) { return _mm256_add_epi32(a, b); }
    template <int N>
    static V shiftRight32(V a) { return _mm256_srai_epi32(a, N); }
    // Unpacks and packs both work within 128-bit halves, so they undo each
    // other without a permutation.
    static V pack32(V a, V b) { return _mm256_packs_epi32(a, b); }
    static void storeBytes(uint8_t* d, V v) {
        const __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi16(v, v), 0x08);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d), _mm256_castsi256_si128(packed));
    }
    static void storeInterleavedBytes(uint8_t* d, V e, V o) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d),
                            _mm256_packus_epi16(_mm256_unpacklo_epi16(e, o), _mm256_unpackhi_epi16(e, o)));
    }
};
#endif

#if defined(__AVX512F__) && defined(__AVX512BW__)
struct Avx512Lanes {
    using V = __m512i;
    static constexpr int32_t kLanes = 32;

    static V loadBytes(const uint8_t* p) {
        return _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)));
    }
    static V loadPairs(const uint8_t* p) { return _mm512_loadu_si512(p); }
    static V set(int32_t v) { return _mm512_set1_epi16(int16_t(v)); }
    static V set32(int32_t v) { return _mm512_set1_epi32(v); }
    static V add(V a, V b) { return _mm512_add_epi16(a, b); }
    static V mullo(V a, V b) { return _mm512_mullo_epi16(a, b); }
    static V lowBytes(V a) { return _mm512_and_si512(a, _mm512_set1_epi16(0xFF)); }
    template <int N>
    static V shiftRight(V a) { return _mm512_srli_epi16(a, N); }
    static V unpackLo(V a, V b) { return _mm512_unpacklo_epi16(a, b); }
    static V unpackHi(V a, V b) { return _mm512_unpackhi_epi16(a, b); }
    static V madd(V a, V b) { return _mm512_madd_epi16(a, b); }
    static V add32(V a, V b) { return _mm512_add_epi32(a, b); }
    template <int N>
    static V shiftRight32(V a) { return _mm512_srai_epi32(a, N); }
    static V pack32(V a, V b) { return _mm512_packs_epi32(a, b); }
    static void storeBytes(uint8_t* d, V v) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d), _mm512_cvtepi16_epi8(v));
    }
    static void storeInterleavedBytes(uint8_t* d, V e, V o) {
        _mm512_storeu_si512(d, _mm512_packus_epi16(_mm512_unpacklo_epi16(e, o), _mm512_unpackhi_epi16(e, o)));
    }
};
#endif

}  // namespace
}  // namespace morva

#endif  // MORVA_X86_64
