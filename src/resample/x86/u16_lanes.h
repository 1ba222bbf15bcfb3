// Sixteen-bit integer lanes holding 8-bit samples, at three widths, one
// interface (shared with u32_lanes.h, whose lanes hold 16-bit samples): the
// kernels of x86/*_lanes.h are written once against it and instantiated in
// each instruction set's file. Everything here has internal linkage, so each
// file keeps the code compiled with its own flags.
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

    // kLanes samples, one to a lane.
    static V loadSamples(const uint8_t* p) {
        return _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)), _mm_setzero_si128());
    }
    // From 2 * kLanes samples, kLanes sums of the samples of neighbouring
    // pixels of Channels samples (1 or 4), in order.
    template <int Channels>
    static V pairSums(const uint8_t* p) {
        const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        if constexpr (Channels == 1) return _mm_add_epi16(_mm_and_si128(x, _mm_set1_epi16(0xFF)), _mm_srli_epi16(x, 8));
        const __m128i zero = _mm_setzero_si128();
        return _mm_add_epi16(_mm_unpacklo_epi8(_mm_shuffle_epi32(x, 0x08), zero),
                             _mm_unpacklo_epi8(_mm_shuffle_epi32(x, 0x0D), zero));
    }
    static V set(int32_t v) { return _mm_set1_epi16(int16_t(v)); }
    static V set32(int32_t v) { return _mm_set1_epi32(v); }
    static V add(V a, V b) { return _mm_add_epi16(a, b); }
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
    // kLanes lanes of 0..255 to samples.
    static void storeSamples(uint8_t* d, V v) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(d), _mm_packus_epi16(v, v));
    }
    // Pixels of Channels samples (1 or 4) e0, o0, e1, o1, ...: 2 * kLanes samples.
    template <int Channels>
    static void storeInterleaved(uint8_t* d, V e, V o) {
        const V lo = Channels == 1 ? _mm_unpacklo_epi16(e, o) : _mm_unpacklo_epi64(e, o);
        const V hi = Channels == 1 ? _mm_unpackhi_epi16(e, o) : _mm_unpackhi_epi64(e, o);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d), _mm_packus_epi16(lo, hi));
    }
};

#ifdef __AVX2__
struct Avx2Lanes {
    using V = __m256i;
    static constexpr int32_t kLanes = 16;

    static V loadSamples(const uint8_t* p) {
        return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
    }
    template <int Channels>
    static V pairSums(const uint8_t* p) {
        const __m256i x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
        if constexpr (Channels == 1)
            return _mm256_add_epi16(_mm256_and_si256(x, _mm256_set1_epi16(0xFF)), _mm256_srli_epi16(x, 8));
        // Pixels 0, 2, 4, 6 to the low half, 1, 3, 5, 7 to the high one.
        const __m256i split = _mm256_permute4x64_epi64(_mm256_shuffle_epi32(x, 0xD8), 0xD8);
        return _mm256_add_epi16(_mm256_cvtepu8_epi16(_mm256_castsi256_si128(split)),
                                _mm256_cvtepu8_epi16(_mm256_extracti128_si256(split, 1)));
    }
    static V set(int32_t v) { return _mm256_set1_epi16(int16_t(v)); }
    static V set32(int32_t v) { return _mm256_set1_epi32(v); }
    static V add(V a, V b) { return _mm256_add_epi16(a, b); }
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
    static void storeSamples(uint8_t* d, V v) {
        const __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi16(v, v), 0x08);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d), _mm256_castsi256_si128(packed));
    }
    template <int Channels>
    static void storeInterleaved(uint8_t* d, V e, V o) {
        const V lo = Channels == 1 ? _mm256_unpacklo_epi16(e, o) : _mm256_unpacklo_epi64(e, o);
        const V hi = Channels == 1 ? _mm256_unpackhi_epi16(e, o) : _mm256_unpackhi_epi64(e, o);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d), _mm256_packus_epi16(lo, hi));
    }
};
#endif

#if defined(__AVX512F__) && defined(__AVX512BW__)
struct Avx512Lanes {
    using V = __m512i;
    static constexpr int32_t kLanes = 32;

    static V loadSamples(const uint8_t* p) {
        return _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)));
    }
    template <int Channels>
    static V pairSums(const uint8_t* p) {
        const __m512i x = _mm512_loadu_si512(p);
        if constexpr (Channels == 1)
            return _mm512_add_epi16(_mm512_and_si512(x, _mm512_set1_epi16(0xFF)), _mm512_srli_epi16(x, 8));
        // The low and the high pixel of each 64-bit pair.
        return _mm512_add_epi16(_mm512_cvtepu8_epi16(_mm512_cvtepi64_epi32(x)),
                                _mm512_cvtepu8_epi16(_mm512_cvtepi64_epi32(_mm512_srli_epi64(x, 32))));
    }
    static V set(int32_t v) { return _mm512_set1_epi16(int16_t(v)); }
    static V set32(int32_t v) { return _mm512_set1_epi32(v); }
    static V add(V a, V b) { return _mm512_add_epi16(a, b); }
    template <int N>
    static V shiftRight(V a) { return _mm512_srli_epi16(a, N); }
    static V unpackLo(V a, V b) { return _mm512_unpacklo_epi16(a, b); }
    static V unpackHi(V a, V b) { return _mm512_unpackhi_epi16(a, b); }
    static V madd(V a, V b) { return _mm512_madd_epi16(a, b); }
    static V add32(V a, V b) { return _mm512_add_epi32(a, b); }
    template <int N>
    static V shiftRight32(V a) { return _mm512_srai_epi32(a, N); }
    static V pack32(V a, V b) { return _mm512_packs_epi32(a, b); }
    static void storeSamples(uint8_t* d, V v) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d), _mm512_cvtepi16_epi8(v));
    }
    template <int Channels>
    static void storeInterleaved(uint8_t* d, V e, V o) {
        const V lo = Channels == 1 ? _mm512_unpacklo_epi16(e, o) : _mm512_unpacklo_epi64(e, o);
        const V hi = Channels == 1 ? _mm512_unpackhi_epi16(e, o) : _mm512_unpackhi_epi64(e, o);
        _mm512_storeu_si512(d, _mm512_packus_epi16(lo, hi));
    }
};
#endif

}  // namespace
}  // namespace morva

#endif  // MORVA_X86_64
