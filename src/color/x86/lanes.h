// Lane operations by register width, so that one template serves the 128-,
// 256- and 512-bit forms of a kernel. The 128-bit set is SSE2 (the x86-64
// baseline); the wider sets exist only in files compiled for AVX2, or for
// AVX-512 F/BW/DQ/VL. Everything has internal linkage: copies built with
// different flags must never be merged by the linker.
#pragma once

#include "kernels/cpu.h"

#if MORVA_X86_64

#include <immintrin.h>

#include <cstdint>

// Register types as template arguments lose their alignment attribute there,
// which GCC points out; the templates only pass them by value.
#pragma GCC diagnostic ignored "-Wignored-attributes"

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

// kLanes32<V> 32-bit lanes in a register, kLanes16<V> 16-bit ones.
template <class V>
constexpr int kLanes32 = sizeof(V) / 4;
template <class V>
constexpr int kLanes16 = sizeof(V) / 2;

template <class V>
V set1_8(int8_t v);
template <class V>
V set1_16(int16_t v);
template <class V>
V set1_32(int32_t v);
template <class V>
V zero();
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
// kLanes16<V> bytes from memory, each widened to a 16-bit lane.
template <class V>
V loadWidenBytes16(const uint8_t* p);
// kLanes16<V> / 2 bytes from memory, each widened to two 16-bit lanes.
template <class V>
V loadWidenDoubledBytes16(const uint8_t* p);

// The operations whose intrinsics differ by their prefix alone (P: _mm,
// _mm256 or _mm512; B: the register's bits).
#define MORVA_LANE_OPS(V, P, B)                                                                          \
    template <>                                                                                          \
    MORVA_LANE_INLINE V set1_8(int8_t v) {                                                               \
        return P##_set1_epi8(v);                                                                         \
    }                                                                                                    \
    template <>                                                                                          \
    MORVA_LANE_INLINE V set1_16(int16_t v) {                                                             \
        return P##_set1_epi16(v);                                                                        \
    }                                                                                                    \
    template <>                                                                                          \
    MORVA_LANE_INLINE V set1_32(int32_t v) {                                                             \
        return P##_set1_epi32(v);                                                                        \
    }                                                                                                    \
    template <>                                                                                          \
    MORVA_LANE_INLINE V zero() {                                                                         \
        return P##_setzero_si##B();                                                                      \
    }                                                                                                    \
    MORVA_LANE_INLINE V add16(V a, V b) { return P##_add_epi16(a, b); }                                  \
    MORVA_LANE_INLINE V sub16(V a, V b) { return P##_sub_epi16(a, b); }                                  \
    MORVA_LANE_INLINE V mulhi16(V a, V b) { return P##_mulhi_epi16(a, b); }                              \
    MORVA_LANE_INLINE V min16(V a, V b) { return P##_min_epi16(a, b); }                                  \
    MORVA_LANE_INLINE V max16(V a, V b) { return P##_max_epi16(a, b); }                                  \
    /* Shifts by the count in the low 64 bits of a 128-bit register. */                                  \
    MORVA_LANE_INLINE V sll16(V a, __m128i count) { return P##_sll_epi16(a, count); }                    \
    MORVA_LANE_INLINE V srl16(V a, __m128i count) { return P##_srl_epi16(a, count); }                    \
    MORVA_LANE_INLINE V add32(V a, V b) { return P##_add_epi32(a, b); }                                  \
    MORVA_LANE_INLINE V and_(V a, V b) { return P##_and_si##B(a, b); }                                   \
    MORVA_LANE_INLINE V or_(V a, V b) { return P##_or_si##B(a, b); }                                     \
    MORVA_LANE_INLINE V packs32(V a, V b) { return P##_packs_epi32(a, b); }                              \
    MORVA_LANE_INLINE V packus16(V a, V b) { return P##_packus_epi16(a, b); }                            \
    MORVA_LANE_INLINE V unpacklo8(V a, V b) { return P##_unpacklo_epi8(a, b); }                          \
    MORVA_LANE_INLINE V unpackhi8(V a, V b) { return P##_unpackhi_epi8(a, b); }                          \
    MORVA_LANE_INLINE V unpacklo16(V a, V b) { return P##_unpacklo_epi16(a, b); }                        \
    MORVA_LANE_INLINE V unpackhi16(V a, V b) { return P##_unpackhi_epi16(a, b); }                        \
    template <int n>                                                                                     \
    MORVA_LANE_INLINE V slli16(V a) {                                                                    \
        return P##_slli_epi16(a, n);                                                                     \
    }                                                                                                    \
    template <int n>                                                                                     \
    MORVA_LANE_INLINE V srli16(V a) {                                                                    \
        return P##_srli_epi16(a, n);                                                                     \
    }                                                                                                    \
    template <int n>                                                                                     \
    MORVA_LANE_INLINE V srai16(V a) {                                                                    \
        return P##_srai_epi16(a, n);                                                                     \
    }                                                                                                    \
    template <int n>                                                                                     \
    MORVA_LANE_INLINE V srli32(V a) {                                                                    \
        return P##_srli_epi32(a, n);                                                                     \
    }                                                                                                    \
    template <int n>                                                                                     \
    MORVA_LANE_INLINE V srai32(V a) {                                                                    \
        return P##_srai_epi32(a, n);                                                                     \
    }

MORVA_LANE_OPS(__m128i, _mm, 128)

MORVA_LANE_INLINE void storeu(void* p, __m128i v) { _mm_storeu_si128(static_cast<__m128i*>(p), v); }
MORVA_LANE_INLINE void stream(void* p, __m128i v) { _mm_stream_si128(static_cast<__m128i*>(p), v); }

#ifdef __AVX2__
MORVA_LANE_OPS(__m256i, _mm256, 256)

template <>
MORVA_LANE_INLINE __m256i loadu(const void* p) {
    return _mm256_loadu_si256(static_cast<const __m256i*>(p));
}
template <>
MORVA_LANE_INLINE __m256i broadcast128(const void* p) {
    return _mm256_broadcastsi128_si256(_mm_loadu_si128(static_cast<const __m128i*>(p)));
}
template <>
MORVA_LANE_INLINE __m256i widenBytes32(__m128i bytes) {
    return _mm256_cvtepu8_epi32(bytes);
}
template <>
MORVA_LANE_INLINE __m256i loadWidenBytes32(const uint8_t* p) {
    return _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)));
}
template <>
MORVA_LANE_INLINE __m256i loadWidenBytes16(const uint8_t* p) {
    return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
}
template <>
MORVA_LANE_INLINE __m256i loadWidenDoubledBytes16(const uint8_t* p) {
    const __m128i c = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
    return _mm256_cvtepu8_epi16(_mm_unpacklo_epi8(c, c));
}
MORVA_LANE_INLINE void storeu(void* p, __m256i v) { _mm256_storeu_si256(static_cast<__m256i*>(p), v); }
MORVA_LANE_INLINE void stream(void* p, __m256i v) { _mm256_stream_si256(static_cast<__m256i*>(p), v); }
MORVA_LANE_INLINE __m256i mullo32(__m256i a, __m256i b) { return _mm256_mullo_epi32(a, b); }
MORVA_LANE_INLINE __m256i shuffle8(__m256i a, __m256i indices) { return _mm256_shuffle_epi8(a, indices); }
// The even 16-bit lanes of a and the odd ones of b.
MORVA_LANE_INLINE __m256i blendOdd16(__m256i a, __m256i b) { return _mm256_blend_epi16(a, b, 0xAA); }
#endif

#ifdef __AVX512BW__
MORVA_LANE_OPS(__m512i, _mm512, 512)

template <>
MORVA_LANE_INLINE __m512i loadu(const void* p) {
    return _mm512_loadu_si512(p);
}
template <>
MORVA_LANE_INLINE __m512i broadcast128(const void* p) {
    return _mm512_broadcast_i32x4(_mm_loadu_si128(static_cast<const __m128i*>(p)));
}
template <>
MORVA_LANE_INLINE __m512i widenBytes32(__m128i bytes) {
    return _mm512_cvtepu8_epi32(bytes);
}
template <>
MORVA_LANE_INLINE __m512i loadWidenBytes32(const uint8_t* p) {
    return _mm512_cvtepu8_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
}
template <>
MORVA_LANE_INLINE __m512i loadWidenBytes16(const uint8_t* p) {
    return _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)));
}
template <>
MORVA_LANE_INLINE __m512i loadWidenDoubledBytes16(const uint8_t* p) {
    const __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    return _mm512_cvtepu8_epi16(_mm256_setr_m128i(_mm_unpacklo_epi8(c, c), _mm_unpackhi_epi8(c, c)));
}
MORVA_LANE_INLINE void storeu(void* p, __m512i v) { _mm512_storeu_si512(p, v); }
MORVA_LANE_INLINE void stream(void* p, __m512i v) { _mm512_stream_si512(static_cast<__m512i*>(p), v); }
MORVA_LANE_INLINE __m512i mullo32(__m512i a, __m512i b) { return _mm512_mullo_epi32(a, b); }
MORVA_LANE_INLINE __m512i shuffle8(__m512i a, __m512i indices) { return _mm512_shuffle_epi8(a, indices); }
MORVA_LANE_INLINE __m512i blendOdd16(__m512i a, __m512i b) { return _mm512_mask_blend_epi16(0xAAAAAAAA, a, b); }

// 16 pixels of 3 bytes (the register's first 48 bytes) to 4 bytes each, the
// fourth 0: each 128-bit lane takes 12 bytes, then spreads them.
MORVA_LANE_INLINE __m512i spread3To4(__m512i bytes) {
    constexpr int8_t kSpread[16] = {0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1};
    const __m512i quads =
        _mm512_permutexvar_epi32(_mm512_setr_epi32(0, 1, 2, 3, 3, 4, 5, 6, 6, 7, 8, 9, 9, 10, 11, 12), bytes);
    return _mm512_shuffle_epi8(quads, broadcast128<__m512i>(kSpread));
}

// The inverse: 16 pixels of 4 bytes to their first 3 bytes, in the
// register's first 48 bytes (the rest zero).
MORVA_LANE_INLINE __m512i compact4To3(__m512i pixels) {
    constexpr int8_t kCompact[16] = {0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1};
    const __m512i lanes = _mm512_shuffle_epi8(pixels, broadcast128<__m512i>(kCompact));
    return _mm512_maskz_permutexvar_epi32(0x0FFF, _mm512_setr_epi32(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 0, 0, 0, 0),
                                          lanes);
}

// A byte mask of the first n (0 to 64) bytes.
MORVA_LANE_INLINE __mmask64 firstBytes(int n) { return n >= 64 ? ~__mmask64(0) : (__mmask64(1) << n) - 1; }
#endif

#undef MORVA_LANE_OPS

// Stores of one destination row: streaming ones when they are allowed and the
// row starts on a whole register (every block of a row then does), ordinary
// ones otherwise. The fence at the end of the row orders the streamed bytes
// before whatever the caller does next.
template <class V>
class RowStores {
public:
    RowStores(const uint8_t* row, bool nonTemporal)
        : stream_(nonTemporal && reinterpret_cast<uintptr_t>(row) % sizeof(V) == 0) {}
    RowStores(const RowStores&) = delete;
    RowStores& operator=(const RowStores&) = delete;
    ~RowStores() {
        if (stream_) _mm_sfence();
    }
    MORVA_LANE_INLINE void operator()(uint8_t* p, V v) const {
        if (stream_)
            stream(p, v);
        else
            storeu(p, v);
    }

private:
    bool stream_;
};

}  // namespace
}  // namespace morva::lanes

#endif
