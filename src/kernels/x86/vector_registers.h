// Register types of the memory and set forms: one struct per vector width,
// with the loads and stores the forms use. Each instruction-set file
// includes this header; the 32-byte type is usable only in files built for
// AVX2. Internal linkage keeps the copies of different files apart.
#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

namespace morva {
namespace {

struct Vec16 {
    using Reg = __m128i;
    static constexpr size_t kBytes = 16;
    static Reg load(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
    static void storeUnaligned(uint8_t* p, Reg v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
    static void storeAligned(uint8_t* p, Reg v) { _mm_store_si128(reinterpret_cast<__m128i*>(p), v); }
    static void storeStreaming(uint8_t* p, Reg v) { _mm_stream_si128(reinterpret_cast<__m128i*>(p), v); }
    static Reg zero() { return _mm_setzero_si128(); }
    static __m128i low16(Reg v) { return v; }
};

#ifdef __AVX2__
struct Vec32 {
    using Reg = __m256i;
    static constexpr size_t kBytes = 32;
    static Reg load(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
    static void storeUnaligned(uint8_t* p, Reg v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }
    static void storeAligned(uint8_t* p, Reg v) { _mm256_store_si256(reinterpret_cast<__m256i*>(p), v); }
    static void storeStreaming(uint8_t* p, Reg v) { _mm256_stream_si256(reinterpret_cast<__m256i*>(p), v); }
    static Reg zero() { return _mm256_setzero_si256(); }
    static __m128i low16(Reg v) { return _mm256_castsi256_si128(v); }
};
#endif

template <class V>
size_t bytesToBoundary(const uint8_t* p) {
    return (V::kBytes - (reinterpret_cast<uintptr_t>(p) & (V::kBytes - 1))) & (V::kBytes - 1);
}

}  // namespace
}  // namespace morva
