// Thirty-two-bit integer lanes holding 16-bit samples, at three widths, one
// interface: room for sums of up to 16 samples. Internal linkage, as in
// u16_lanes.h.
#pragma once

#include "kernels/cpu.h"

#if MORVA_X86_64
#include <immintrin.h>

#include <cstdint>

namespace morva {
namespace {

struct Sse2Lanes32 {
    using V = __m128i;
    static constexpr int32_t kLanes = 4;

    // kLanes samples, one to a lane.
    static V loadSamples(const uint16_t* p) {
        return _mm_unpacklo_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)), _mm_setzero_si128());
    }
    // From 2 * kLanes samples, the kLanes sums of neighbouring ones (pixels
    // of one sample).
    template <int Channels>
    static V pairSums(const uint16_t* p) {
        static_assert(Channels == 1);
        const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        return _mm_add_epi32(_mm_and_si128(x, _mm_set1_epi32(0xFFFF)), _mm_srli_epi32(x, 16));
    }
    static V set(int32_t v) { return _mm_set1_epi32(v); }
    static V add(V a, V b) { return _mm_add_epi32(a, b); }
    template <int N>
    static V shiftRight(V a) { return _mm_srli_epi32(a, N); }
    // Lanes of 0..65535 to samples; SSE2 packs signed only, hence the bias.
    static V pack(V a, V b) {
        const __m128i bias = _mm_set1_epi32(32768);
        return _mm_xor_si128(_mm_packs_epi32(_mm_sub_epi32(a, bias), _mm_sub_epi32(b, bias)),
                             _mm_set1_epi16(int16_t(0x8000)));
    }
    static void storeSamples(uint16_t* d, V v) { _mm_storel_epi64(reinterpret_cast<__m128i*>(d), pack(v, v)); }
    // Samples e0, o0, e1, o1, ...: 2 * kLanes of them (pixels of one sample).
    template <int Channels>
    static void storeInterleaved(uint16_t* d, V e, V o) {
        static_assert(Channels == 1);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d), pack(_mm_unpacklo_epi32(e, o), _mm_unpackhi_epi32(e, o)));
    }
};

#ifdef __AVX2__
struct Avx2Lanes32 {
    using V = __m256i;
    static constexpr int32_t kLanes = 8;

    static V loadSamples(const uint16_t* p) {
        return _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
    }
    template <int Channels>
    static V pairSums(const uint16_t* p) {
        static_assert(Channels == 1);
        const __m256i x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
        return _mm256_add_epi32(_mm256_and_si256(x, _mm256_set1_epi32(0xFFFF)), _mm256_srli_epi32(x, 16));
    }
    static V set(int32_t v) { return _mm256_set1_epi32(v); }
    static V add(V a, V b) { return _mm256_add_epi32(a, b); }
    template <int N>
    static V shiftRight(V a) { return _mm256_srli_epi32(a, N); }
    static void storeSamples(uint16_t* d, V v) {
        const __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi32(v, v), 0x08);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d), _mm256_castsi256_si128(packed));
    }
    // Unpacks and packs work within 128-bit halves and undo each other.
    template <int Channels>
    static void storeInterleaved(uint16_t* d, V e, V o) {
        static_assert(Channels == 1);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d),
                            _mm256_packus_epi32(_mm256_unpacklo_epi32(e, o), _mm256_unpackhi_epi32(e, o)));
    }
};
#endif

#if defined(__AVX512F__) && defined(__AVX512BW__)
struct Avx512Lanes32 {
    using V = __m512i;
    static constexpr int32_t kLanes = 16;

    static V loadSamples(const uint16_t* p) {
        return _mm512_cvtepu16_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)));
    }
    template <int Channels>
    static V pairSums(const uint16_t* p) {
        static_assert(Channels == 1);
        const __m512i x = _mm512_loadu_si512(p);
        return _mm512_add_epi32(_mm512_and_si512(x, _mm512_set1_epi32(0xFFFF)), _mm512_srli_epi32(x, 16));
    }
    static V set(int32_t v) { return _mm512_set1_epi32(v); }
    static V add(V a, V b) { return _mm512_add_epi32(a, b); }
    template <int N>
    static V shiftRight(V a) { return _mm512_srli_epi32(a, N); }
    static void storeSamples(uint16_t* d, V v) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d), _mm512_cvtepi32_epi16(v));
    }
    template <int Channels>
    static void storeInterleaved(uint16_t* d, V e, V o) {
        static_assert(Channels == 1);
        _mm512_storeu_si512(d, _mm512_packus_epi32(_mm512_unpacklo_epi32(e, o), _mm512_unpackhi_epi32(e, o)));
    }
};
#endif

}  // namespace
}  // namespace morva

#endif  // MORVA_X86_64
