// AVX-512 row operations of the YCbCr layout kernels. Bytes are sorted
// within each 128-bit lane by one shuffle, and whole 64- or 32-bit pieces
// are then gathered across lanes and registers by one two-source permutation:
// no packing, so nothing is clamped or reordered in between. What is left of
// a row goes to the AVX2 kit; the 4:1:1 average and the copies are its too.
//
// Streaming stores are allowed for large frames, but this kit never takes
// them: on the processors that run it, with a last-level cache of tens of
// megabytes, a 1080p 4:2:0 to 4:2:2 frame took 0.21 ms with them and 0.09
// ms without when run among other work (the comparison with the peers):
// streamed, every byte goes to memory, where ordinary stores stay in cache.
#include "color/ycbcr_layout_rows.h"

#if MORVA_X86_64

#include "color/x86/lanes.h"

namespace morva::yuvlayout {
namespace {

using lanes::broadcast128;

__m512i load(const uint8_t* p) { return _mm512_loadu_si512(p); }
void store(uint8_t* p, __m512i v) { _mm512_storeu_si512(p, v); }
__m512i shuffleLanes(__m512i v, const int8_t (&order)[16]) {
    return _mm512_shuffle_epi8(v, broadcast128<__m512i>(order));
}

// Within a lane: the bytes at even positions, then those at odd ones.
constexpr int8_t kEvenThenOdd[16] = {0, 2, 4, 6, 8, 10, 12, 14, 1, 3, 5, 7, 9, 11, 13, 15};
// The inverse: the first 8 bytes at even positions, the next 8 at odd ones.
constexpr int8_t kInterleave[16] = {0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15};
// Within a lane of packed 4:2:2 (four groups): 8 luma, 4 Cb, 4 Cr bytes.
constexpr int8_t kYCbYCrToPlanes[16] = {0, 2, 4, 6, 8, 10, 12, 14, 1, 5, 9, 13, 3, 7, 11, 15};
constexpr int8_t kCbYCrYToPlanes[16] = {1, 3, 5, 7, 9, 11, 13, 15, 0, 4, 8, 12, 2, 6, 10, 14};
// The inverses.
constexpr int8_t kPlanesToYCbYCr[16] = {0, 8, 1, 12, 2, 9, 3, 13, 4, 10, 5, 14, 6, 11, 7, 15};
constexpr int8_t kPlanesToCbYCrY[16] = {8, 0, 12, 1, 9, 2, 13, 3, 10, 4, 14, 5, 11, 6, 15, 7};
constexpr int8_t kSwapPairs[16] = {1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14};

// The low (phase 0) or high (phase 1) 8 bytes of every lane of a, then of b.
__m512i halvesOf(__m512i a, __m512i b, int32_t phase) {
    const __m512i low = _mm512_setr_epi64(0, 2, 4, 6, 8, 10, 12, 14);
    const __m512i high = _mm512_setr_epi64(1, 3, 5, 7, 9, 11, 13, 15);
    return _mm512_permutex2var_epi64(a, phase == 0 ? low : high, b);
}

void swapPairs(const uint8_t* src, uint8_t* dst, int32_t units, bool /*nonTemporal*/) {
    int32_t i = 0;
    for (; i + 32 <= units; i += 32) store(dst + 2 * i, shuffleLanes(load(src + 2 * i), kSwapPairs));
    kAvx2Rows.swapPairs(src + 2 * i, dst + 2 * i, units - i, false);
}

void pick(const uint8_t* src, uint8_t* dst, int32_t n, int32_t phase) {
    int32_t i = 0;
    for (; i + 64 <= n; i += 64) {
        const __m512i a = shuffleLanes(load(src + 2 * i), kEvenThenOdd);
        const __m512i b = shuffleLanes(load(src + 2 * i + 64), kEvenThenOdd);
        store(dst + i, halvesOf(a, b, phase));
    }
    kAvx2Rows.pick(src + 2 * i, dst + i, n - i, phase);
}

void split2(const uint8_t* src, uint8_t* even, uint8_t* odd, int32_t n) {
    int32_t i = 0;
    for (; i + 64 <= n; i += 64) {
        const __m512i a = shuffleLanes(load(src + 2 * i), kEvenThenOdd);
        const __m512i b = shuffleLanes(load(src + 2 * i + 64), kEvenThenOdd);
        store(even + i, halvesOf(a, b, 0));
        store(odd + i, halvesOf(a, b, 1));
    }
    kAvx2Rows.split2(src + 2 * i, even + i, odd + i, n - i);
}

void join2(const uint8_t* even, const uint8_t* odd, uint8_t* dst, int32_t n) {
    int32_t i = 0;
    for (; i + 64 <= n; i += 64) {
        const __m512i e = load(even + i), o = load(odd + i);
        // Lane k: quadword k of the even bytes, then of the odd ones.
        const __m512i first = _mm512_permutex2var_epi64(e, _mm512_setr_epi64(0, 8, 1, 9, 2, 10, 3, 11), o);
        const __m512i second = _mm512_permutex2var_epi64(e, _mm512_setr_epi64(4, 12, 5, 13, 6, 14, 7, 15), o);
        store(dst + 2 * i, shuffleLanes(first, kInterleave));
        store(dst + 2 * i + 64, shuffleLanes(second, kInterleave));
    }
    kAvx2Rows.join2(even + i, odd + i, dst + 2 * i, n - i);
}

void split4(const uint8_t* src, uint8_t* y, uint8_t* cb, uint8_t* cr, int32_t pairs, Packed422 order) {
    const auto& toPlanes = order == Packed422::YCbYCr ? kYCbYCrToPlanes : kCbYCrYToPlanes;
    // Cb of lanes 0-7 (dword 2 of each), then their Cr (dword 3).
    const __m512i chromaWords = _mm512_setr_epi32(2, 6, 10, 14, 18, 22, 26, 30, 3, 7, 11, 15, 19, 23, 27, 31);
    int32_t j = 0;
    for (; j + 32 <= pairs; j += 32) {  // 64 pixels
        const __m512i a = shuffleLanes(load(src + 4 * j), toPlanes);
        const __m512i b = shuffleLanes(load(src + 4 * j + 64), toPlanes);
        store(y + 2 * j, halvesOf(a, b, 0));
        const __m512i chroma = _mm512_permutex2var_epi32(a, chromaWords, b);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(cb + j), _mm512_castsi512_si256(chroma));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(cr + j), _mm512_extracti64x4_epi64(chroma, 1));
    }
    kAvx2Rows.split4(src + 4 * j, y + 2 * j, cb + j, cr + j, pairs - j, order);
}

void join4(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst, int32_t pairs, Packed422 order,
           bool /*nonTemporal*/) {
    const auto& fromPlanes = order == Packed422::YCbYCr ? kPlanesToYCbYCr : kPlanesToCbYCrY;
    // Lane k of the pixels' first and second halves: luma dwords 2k, 2k + 1,
    // then Cb dword k and Cr dword k (16 + k and 24 + k of the chroma).
    const __m512i firstWords = _mm512_setr_epi32(0, 1, 16, 24, 2, 3, 17, 25, 4, 5, 18, 26, 6, 7, 19, 27);
    const __m512i secondWords = _mm512_setr_epi32(8, 9, 20, 28, 10, 11, 21, 29, 12, 13, 22, 30, 14, 15, 23, 31);
    int32_t j = 0;
    for (; j + 32 <= pairs; j += 32) {  // 64 pixels
        const __m512i luma = load(y + 2 * j);
        const __m512i chroma =
            _mm512_inserti64x4(_mm512_castsi256_si512(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(cb + j))),
                               _mm256_loadu_si256(reinterpret_cast<const __m256i*>(cr + j)), 1);
        store(dst + 4 * j, shuffleLanes(_mm512_permutex2var_epi32(luma, firstWords, chroma), fromPlanes));
        store(dst + 4 * j + 64, shuffleLanes(_mm512_permutex2var_epi32(luma, secondWords, chroma), fromPlanes));
    }
    kAvx2Rows.join4(y + 2 * j, cb + j, cr + j, dst + 4 * j, pairs - j, order, false);
}

// Read from the AVX2 kit when called: another file's constant is not yet
// there while the constants are set up.
void averageEven(const uint8_t* upper, const uint8_t* lower, uint8_t* dst, int32_t n, int32_t roundUp) {
    kAvx2Rows.averageEven(upper, lower, dst, n, roundUp);
}

}  // namespace

const RowKit kAvx512Rows{&copyRowByMemoryKernel, &copyPlaneByMemoryKernel, &swapPairs, &pick,       &split2,
                         &join2,                 &split4,                  &join4,     &averageEven};

}  // namespace morva::yuvlayout

#endif  // MORVA_X86_64
