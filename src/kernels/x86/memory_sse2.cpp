// SSE2 forms of byte copy, byte clear and row copy: the cheapest stores for
// small blocks, aligned 16-byte stores for the middle, non-temporal stores for
// blocks that would evict the cache.
//
// The loads are unaligned 16-byte loads throughout. Split 4- and 8-byte loads
// once beat them on older processors; on every x86-64 processor of today an
// unaligned load costs the same as an aligned one, and the bytes written do
// not depend on the load form.
#include "kernels/cpu.h"

#if MORVA_X86_64

#include <emmintrin.h>

#include <cstring>

#include "kernels/memory_forms.h"

namespace morva {
namespace {

constexpr size_t kStreamBlock = 0x40000;  // source read ahead in blocks of 256 KiB
constexpr size_t kTouchStride = 32;

__m128i load16(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
void storeUnaligned(uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
void storeAligned(uint8_t* p, __m128i v) { _mm_store_si128(reinterpret_cast<__m128i*>(p), v); }
void storeStreaming(uint8_t* p, __m128i v) { _mm_stream_si128(reinterpret_cast<__m128i*>(p), v); }

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

size_t bytesToBoundary(const uint8_t* p) { return (16 - (reinterpret_cast<uintptr_t>(p) & 15)) & 15; }

// Pulls a source byte into the cache; the read must not be optimised away.
void touch(const uint8_t* p) { static_cast<void>(*static_cast<const volatile uint8_t*>(p)); }

// A known cache size that the length reaches, in 64 bits.
bool reachesCache(size_t n, int64_t threshold) { return threshold > 0 && int64_t(n) >= threshold; }

// Below 64 bytes: the last word first, then words downward from the end, and
// the first word again if 1 to 3 bytes are left at the front.
void copyTail(const uint8_t* src, uint8_t* dst, size_t n) {
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

// Reads the source ahead in blocks, then copies them with non-temporal
// stores. The target is 16-byte aligned here. Ends with the store fence.
void copyStreaming(const uint8_t* src, uint8_t* dst, size_t n) {
    for (; n >= kStreamBlock; n -= kStreamBlock, src += kStreamBlock, dst += kStreamBlock) {
        for (size_t i = 0; i < kStreamBlock; i += kTouchStride) touch(src + i);
        for (size_t i = 0; i < kStreamBlock; i += 16) storeStreaming(dst + i, load16(src + i));
    }
    for (ptrdiff_t offset = ptrdiff_t(n) - ptrdiff_t(kTouchStride); offset >= 0; offset -= kTouchStride)
        touch(src + offset);
    for (; n >= 16; n -= 16, src += 16, dst += 16) storeStreaming(dst, load16(src));
    _mm_sfence();
    copyTail(src, dst, n);
}

// Whole rounds of 64 bytes to an aligned target.
template <bool Streaming>
void copyRounds(const uint8_t*& src, uint8_t*& dst, size_t& n) {
    for (; n >= 64; n -= 64, src += 64, dst += 64) {
        const __m128i a = load16(src), b = load16(src + 16), c = load16(src + 32), d = load16(src + 48);
        const auto store = Streaming ? &storeStreaming : &storeAligned;
        store(dst, a);
        store(dst + 16, b);
        store(dst + 32, c);
        store(dst + 48, d);
    }
}

// Below 16 bytes: two overlapping stores of the widest size that fits.
void clearSmall(uint8_t* dst, size_t n) {
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

}  // namespace

void copyBytesSse2(const uint8_t* src, uint8_t* dst, size_t n, CacheSizeFn cacheSize) {
    if (n < 64) return copyTail(src, dst, n);
    if (const size_t advance = bytesToBoundary(dst)) {
        // One unaligned store covers the way to the boundary; the bytes in
        // between are written twice.
        storeUnaligned(dst, load16(src));
        src += advance;
        dst += advance;
        n -= advance;
        if (n < 64) return copyTail(src, dst, n);
    }
    if (n > kCopyStreamGate && reachesCache(n, int64_t(uint32_t(cacheSize()) >> 1)))
        return copyStreaming(src, dst, n);
    copyRounds<false>(src, dst, n);
    for (; n >= 16; n -= 16, src += 16, dst += 16) storeAligned(dst, load16(src));
    copyTail(src, dst, n);
}

void zeroBytesSse2(uint8_t* dst, size_t n, CacheSizeFn cacheSize) {
    if (n < 16) return clearSmall(dst, n);
    if (const size_t k = bytesToBoundary(dst)) {
        // By the bits of k, smallest first: each store lands aligned.
        if (k & 1) clear<1>(dst), dst += 1;
        if (k & 2) clear<2>(dst), dst += 2;
        if (k & 4) clear<4>(dst), dst += 4;
        if (k & 8) clear<8>(dst), dst += 8;
        n -= k;
        if (n == 0) return;
    }
    const __m128i zero = _mm_setzero_si128();
    if (n > kZeroStreamGate && reachesCache(n, cacheSize())) {
        for (; n >= 16; n -= 16, dst += 16) storeStreaming(dst, zero);
        _mm_sfence();
        return clearSmall(dst, n);
    }
    for (; n >= 64; n -= 64, dst += 64) {
        storeAligned(dst, zero);
        storeAligned(dst + 16, zero);
        storeAligned(dst + 32, zero);
        storeAligned(dst + 48, zero);
    }
    for (; n >= 16; n -= 16, dst += 16) storeAligned(dst, zero);
    clearSmall(dst, n);
}

void copyRowSse2(const uint8_t* src, uint8_t* dst, size_t n, bool nonTemporal) {
    if (n >= 64) {
        if (const size_t advance = bytesToBoundary(dst)) {
            storeUnaligned(dst, load16(src));
            src += advance;
            dst += advance;
            n -= advance;
        }
    }
    if (nonTemporal)
        copyRounds<true>(src, dst, n);
    else
        copyRounds<false>(src, dst, n);
    // The tail runs forward: 8-byte moves, then by the bits of the rest.
    for (; n >= 8; n -= 8, src += 8, dst += 8) move<8>(src, dst);
    if (n & 4) move<4>(src, dst), src += 4, dst += 4;
    if (n & 2) move<2>(src, dst), src += 2, dst += 2;
    if (n & 1) *dst = *src;
    if (nonTemporal) _mm_sfence();
}

}  // namespace morva

#endif  // MORVA_X86_64
