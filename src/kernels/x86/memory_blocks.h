// Byte copy, byte clear and row copy over vector registers V (Vec16, Vec32):
// the cheapest stores for small blocks, aligned vector stores for the middle,
// non-temporal stores for blocks that would evict the cache. The SSE2 and
// AVX2 files instantiate them.
//
// The loads are unaligned throughout. Split 4- and 8-byte loads once beat
// them on older processors; on every x86-64 processor of today an unaligned
// load costs the same as an aligned one, and the bytes written do not depend
// on the load form.
#pragma once

#include <cstring>

#include "kernels/memory_forms.h"
#include "kernels/x86/vector_registers.h"

namespace morva {
namespace {

constexpr size_t kStreamBlock = 0x40000;  // source read ahead in blocks of 256 KiB
constexpr size_t kTouchStride = 32;

template <size_t N>
void move(const uint8_t* src, uint8_t* dst) {
    uint8_t word[N];
    std::memcpy(word, src, N);
    std::memcpy(dst, word, N);
}

template <size_t N>
void clear(uint8_t* dst) {
    std::memset(dst, 0, N);
}

// Pulls a source byte into the cache; the read must not be optimised away.
inline void touch(const uint8_t* p) { static_cast<void>(*static_cast<const volatile uint8_t*>(p)); }

// True for a known cache size (not -1) of which the length reaches the part
// cache >> shift; the shift is unsigned, the comparison in 64 bits.
inline bool reachesCache(size_t n, int32_t cache, int shift) {
    return cache > 0 && int64_t(n) >= int64_t(uint32_t(cache) >> shift);
}

// Below 64 bytes: the last word first, then words downward from the end, and
// the first word again if 1 to 3 bytes are left at the front.
inline void copyTail(const uint8_t* src, uint8_t* dst, size_t n) {
    if (n < 4) {
        while (n > 0) {
            --n;
            dst[n] = src[n];
        }
        return;
    }
    move<4>(src + n - 4, dst + n - 4);
    n -= (reinterpret_cast<uintptr_t>(dst) + n) & 3;
    while (n >= 4) {
        n -= 4;
        move<4>(src + n, dst + n);
    }
    if (n > 0) move<4>(src, dst);
}

// Whole rounds of four registers to an aligned target.
template <class V, bool Streaming>
void copyRounds(const uint8_t*& src, uint8_t*& dst, size_t& n) {
    constexpr size_t k = V::kBytes;
    for (; n >= 4 * k; n -= 4 * k, src += 4 * k, dst += 4 * k) {
        const auto a = V::load(src), b = V::load(src + k), c = V::load(src + 2 * k), d = V::load(src + 3 * k);
        const auto store = Streaming ? &V::storeStreaming : &V::storeAligned;
        store(dst, a);
        store(dst + k, b);
        store(dst + 2 * k, c);
        store(dst + 3 * k, d);
    }
}

// Reads the source ahead in blocks, then copies them with non-temporal
// stores to the aligned target. Ends with the store fence.
template <class V>
void copyStreaming(const uint8_t* src, uint8_t* dst, size_t n) {
    constexpr size_t k = V::kBytes;
    for (; n >= kStreamBlock; n -= kStreamBlock, src += kStreamBlock, dst += kStreamBlock) {
        for (size_t i = 0; i < kStreamBlock; i += kTouchStride) touch(src + i);
        for (size_t i = 0; i < kStreamBlock; i += k) V::storeStreaming(dst + i, V::load(src + i));
    }
    for (ptrdiff_t offset = ptrdiff_t(n) - ptrdiff_t(kTouchStride); offset >= 0; offset -= kTouchStride)
        touch(src + offset);
    for (; n >= k; n -= k, src += k, dst += k) V::storeStreaming(dst, V::load(src));
    _mm_sfence();
    copyTail(src, dst, n);
}

template <class V>
void copyBytes(const uint8_t* src, uint8_t* dst, size_t n, CacheSizeFn cacheSize) {
    if (n < 64) return copyTail(src, dst, n);
    if (const size_t advance = bytesToBoundary<V>(dst)) {
        // One unaligned store covers the way to the boundary; the bytes in
        // between are written twice.
        V::storeUnaligned(dst, V::load(src));
        src += advance;
        dst += advance;
        n -= advance;
        if (n < 64) return copyTail(src, dst, n);
    }
    if (n > kCopyStreamGate && reachesCache(n, cacheSize(), 1))  // half the cache
        return copyStreaming<V>(src, dst, n);
    copyRounds<V, false>(src, dst, n);
    for (; n >= V::kBytes; n -= V::kBytes, src += V::kBytes, dst += V::kBytes)
        V::storeAligned(dst, V::load(src));
    copyTail(src, dst, n);
}

// Below 16 bytes: two overlapping stores of the widest size that fits.
inline void clearSmall(uint8_t* dst, size_t n) {
    if (n >= 8) {
        clear<8>(dst + n - 8);
        if (n != 8) clear<8>(dst);
    } else if (n >= 4) {
        clear<4>(dst + n - 4);
        if (n != 4) clear<4>(dst);
    } else {
        for (size_t i = 0; i < n; ++i) dst[i] = 0;
    }
}

// Below one register: 16-byte stores while they fit, then the small clear.
inline void clearRest(uint8_t* dst, size_t n) {
    for (; n >= 16; n -= 16, dst += 16) _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), _mm_setzero_si128());
    clearSmall(dst, n);
}

template <class V>
void zeroBytes(uint8_t* dst, size_t n, CacheSizeFn cacheSize) {
    if (n < 16) return clearSmall(dst, n);
    if (const size_t k = bytesToBoundary<V>(dst)) {
        if (n < V::kBytes) return clearRest(dst, n);
        // By the bits of k, smallest first: each store lands aligned.
        if (k & 1) clear<1>(dst), dst += 1;
        if (k & 2) clear<2>(dst), dst += 2;
        if (k & 4) clear<4>(dst), dst += 4;
        if (k & 8) clear<8>(dst), dst += 8;
        if (k & 16) clear<16>(dst), dst += 16;
        n -= k;
        if (n == 0) return;
    }
    const auto zero = V::zero();
    if (n > kZeroStreamGate && reachesCache(n, cacheSize(), 0)) {  // the whole cache
        for (; n >= V::kBytes; n -= V::kBytes, dst += V::kBytes) V::storeStreaming(dst, zero);
        _mm_sfence();
        return clearRest(dst, n);
    }
    for (; n >= 4 * V::kBytes; n -= 4 * V::kBytes, dst += 4 * V::kBytes)
        for (size_t i = 0; i < 4; ++i) V::storeAligned(dst + i * V::kBytes, zero);
    for (; n >= V::kBytes; n -= V::kBytes, dst += V::kBytes) V::storeAligned(dst, zero);
    clearRest(dst, n);
}

template <class V>
void copyRow(const uint8_t* src, uint8_t* dst, size_t n, bool nonTemporal) {
    if (n >= 64) {
        if (const size_t advance = bytesToBoundary<V>(dst)) {
            V::storeUnaligned(dst, V::load(src));
            src += advance;
            dst += advance;
            n -= advance;
        }
    }
    if (nonTemporal)
        copyRounds<V, true>(src, dst, n);
    else
        copyRounds<V, false>(src, dst, n);
    // The tail runs forward: whole registers where they are wider than the
    // 16 bytes the tail is made for, 8-byte moves, then by the bits of the rest.
    if constexpr (V::kBytes > 16)
        for (; n >= V::kBytes; n -= V::kBytes, src += V::kBytes, dst += V::kBytes)
            V::storeUnaligned(dst, V::load(src));
    for (; n >= 8; n -= 8, src += 8, dst += 8) move<8>(src, dst);
    if (n & 4) move<4>(src, dst), src += 4, dst += 4;
    if (n & 2) move<2>(src, dst), src += 2, dst += 2;
    if (n & 1) *dst = *src;
    if (nonTemporal) _mm_sfence();
}

}  // namespace
}  // namespace morva
