// Lane operations by register width, so that one template serves the 256-
// and the 512-bit forms of a kernel. Each width's overloads exist only in
// files compiled for its instruction set (AVX2, or AVX-512 F/BW/DQ/VL), and
// everything has internal linkage: copies built with different flags must
// never be merged by the linker.
#pragma once

#include "kernels/cpu.h"

#if MORVA_X86_64

#include <immintrin.h>

#include <cstdint>

#ifdef __AVX512F__
// GCC 12 takes the undefined source register of the 512-bit intrinsics'
// masked built-ins for an uninitialised variable.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#endif

// Lane helpers must be inlined into their callers: a register passed through
// memory costs more than the operation.
#define MORVA_LANE_INLINE [[gnu::always_inline]] inline
// The same for a lambda, written between its parameters and its body.
#define MORVA_LANE_LAMBDA __attribute__((always_inline))

namespace morva::lanes {
namespace {

// Lanes of a register type: kBytes<V> bytes, kLanes32<V> 32-bit lanes.
template <class V>
constexpr int kBytes = sizeof(V);
template <class V>
constexpr int kLanes32 = sizeof(V) / 4;

template <class V>
V set1_8(int8_t v);
template <class V>
V set1_16(int16_t v);
template <class V>
V set1_32(int32_t v);
template <class V>
V loadu(const void* p);
// The same 16 bytes in every 128-bit lane.
template <class V>
V broadcast128(const void* p);
// The low kLanes32<V> bytes of a register, each widened to a 32-bit lane.
template <class V>
V widenBytes32(__m128i bytes);
// kLanes32<V> bytes from memory, each widened to a 32-bit lane; nothing
// behind them is read.
template <class V>
V loadWidenBytes32(const uint8_t* p);

#ifdef __AVX2__
template <>
MORVA_LANE_INLINE __m256i set1_8(int8_t v) { return _mm256_set1_epi8(v); }
template <>
MORVA_LANE_INLINE __m256i set1_16(int16_t v) { return _mm256_set1_epi16(v); }
template <>
MORVA_LANE_INLINE __m256i set1_32(int32_t v) { return _mm256_set1_epi32(v); }
template <>
MORVA_LANE_INLINE __m256i loadu(const void* p) { return _mm256_loadu_si256(static_cast<const __m256i*>(p)); }
template <>
MORVA_LANE_INLINE __m256i broadcast128(const void* p) {
    return _mm256_broadcastsi128_si256(_mm_loadu_si128(static_cast<const __m128i*>(p)));
}
template <>
MORVA_LANE_INLINE __m256i widenBytes32(__m128i bytes) { return _mm256_cvtepu8_epi32(bytes); }
template <>
MORVA_LANE_INLINE __m256i loadWidenBytes32(const uint8_t* p) {
    return _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)));
}

MORVA_LANE_INLINE void storeu(void* p, __m256i v) { _mm256_storeu_si256(static_cast<__m256i*>(p), v); }
MORVA_LANE_INLINE __m256i add32(__m256i a, __m256i b) { return _mm256_add_epi32(a, b); }
MORVA_LANE_INLINE __m256i mullo32(__m256i a, __m256i b) { return _mm256_mullo_epi32(a, b); }
template <int n>
MORVA_LANE_INLINE __m256i srai32(__m256i a) {
    return _mm256_srai_epi32(a, n);
}
template <int n>
MORVA_LANE_INLINE __m256i srli32(__m256i a) {
    return _mm256_srli_epi32(a, n);
}
MORVA_LANE_INLINE __m256i or_(__m256i a, __m256i b) { return _mm256_or_si256(a, b); }
// The even 16-bit lanes of a and the odd ones of b.
MORVA_LANE_INLINE __m256i blendOdd16(__m256i a, __m256i b) { return _mm256_blend_epi16(a, b, 0xAA); }
MORVA_LANE_INLINE __m256i packs32(__m256i a, __m256i b) { return _mm256_packs_epi32(a, b); }
MORVA_LANE_INLINE __m256i packus16(__m256i a, __m256i b) { return _mm256_packus_epi16(a, b); }
MORVA_LANE_INLINE __m256i shuffle8(__m256i a, __m256i indices) { return _mm256_shuffle_epi8(a, indices); }
#endif

#ifdef __AVX512BW__
template <>
MORVA_LANE_INLINE __m512i set1_8(int8_t v) { return _mm512_set1_epi8(v); }
template <>
MORVA_LANE_INLINE __m512i set1_16(int16_t v) { return _mm512_set1_epi16(v); }
template <>
MORVA_LANE_INLINE __m512i set1_32(int32_t v) { return _mm512_set1_epi32(v); }
template <>
MORVA_LANE_INLINE __m512i loadu(const void* p) { return _mm512_loadu_si512(p); }
template <>
MORVA_LANE_INLINE __m512i broadcast128(const void* p) {
    return _mm512_broadcast_i32x4(_mm_loadu_si128(static_cast<const __m128i*>(p)));
}
template <>
MORVA_LANE_INLINE __m512i widenBytes32(__m128i bytes) { return _mm512_cvtepu8_epi32(bytes); }
template <>
MORVA_LANE_INLINE __m512i loadWidenBytes32(const uint8_t* p) {
    return _mm512_cvtepu8_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
}

MORVA_LANE_INLINE void storeu(void* p, __m512i v) { _mm512_storeu_si512(p, v); }
MORVA_LANE_INLINE __m512i add32(__m512i a, __m512i b) { return _mm512_add_epi32(a, b); }
MORVA_LANE_INLINE __m512i mullo32(__m512i a, __m512i b) { return _mm512_mullo_epi32(a, b); }
template <int n>
MORVA_LANE_INLINE __m512i srai32(__m512i a) {
    return _mm512_srai_epi32(a, n);
}
template <int n>
MORVA_LANE_INLINE __m512i srli32(__m512i a) {
    return _mm512_srli_epi32(a, n);
}
MORVA_LANE_INLINE __m512i or_(__m512i a, __m512i b) { return _mm512_or_si512(a, b); }
MORVA_LANE_INLINE __m512i blendOdd16(__m512i a, __m512i b) { return _mm512_mask_blend_epi16(0xAAAAAAAA, a, b); }
MORVA_LANE_INLINE __m512i packs32(__m512i a, __m512i b) { return _mm512_packs_epi32(a, b); }
MORVA_LANE_INLINE __m512i packus16(__m512i a, __m512i b) { return _mm512_packus_epi16(a, b); }
MORVA_LANE_INLINE __m512i shuffle8(__m512i a, __m512i indices) { return _mm512_shuffle_epi8(a, indices); }
#endif

}  // namespace
}  // namespace morva::lanes

#endif
