// The linear fast paths written once against the lanes of u16_lanes.h and
// u32_lanes.h, block by block (blocks.h); rows shorter than a block take the
// scalar definition.
#pragma once

#include <cstring>

#include "resample/linear_fast_paths_forms.h"
#include "resample/prefetch.h"
#include "resample/x86/blocks.h"
#include "resample/x86/u16_lanes.h"
#include "resample/x86/u32_lanes.h"

#if MORVA_X86_64
namespace morva {
namespace {

// Pixels of Channels samples, T of 8 or 16 bits, in the lanes L of
// u16_lanes.h or u32_lanes.h.
template <class L, int Channels, class T>
void linearBoxLanes(const T* upper, const T* lower, T* dst, int32_t width) {
    constexpr int32_t n = L::kLanes / Channels;  // target pixels a block
    if (width < n) return linearBoxScalar<T, Channels>(upper, lower, dst, width);
    const ptrdiff_t step = lower - upper;
    blocksOver(width, n, [&](int32_t j) {
        const T* a = upper + 2 * Channels * j;
        const T* b = lower + 2 * Channels * j;
        prefetchBytes(b + step, 2 * L::kLanes * sizeof(T));  // the next pair of rows
        prefetchBytes(b + 2 * step, 2 * L::kLanes * sizeof(T));
        const auto sum = L::add(L::add(L::template pairSums<Channels>(a), L::template pairSums<Channels>(b)), L::set(2));
        L::storeSamples(dst + Channels * j, L::template shiftRight<2>(sum));
    });
}

template <class L, int Channels, class T>
void linearDoubleLanes(const T* upper, const T* lower, int32_t rowQuarters, int32_t firstQuarters, T* dst,
                       int32_t width) {
    if (firstQuarters == 1 && width > 0) {
        // The column after the first takes the same pixel at 3/4.
        linearDoubleScalar<T, Channels>(upper, lower, rowQuarters, 1, dst, 1);
        dst += Channels;
        --width;
    }
    // Target 2n takes V(n) + 3 V(n + 1), target 2n + 1 takes 3 V(n + 1) + V(n + 2).
    constexpr int32_t n = L::kLanes / Channels;  // pairs of target pixels a block
    const int32_t pairs = width / 2;
    if (pairs < n) return linearDoubleScalar<T, Channels>(upper, lower, rowQuarters, 3, dst, width);
    const auto three = [](auto v) { return L::add(L::add(v, v), v); };
    // (4 - r) a + r b for r of 1 or 3, without a multiply (SSE2 has none of 32 bits).
    const auto down = [&](int32_t m) {
        const auto a = L::loadSamples(upper + Channels * m), b = L::loadSamples(lower + Channels * m);
        return rowQuarters == 1 ? L::add(three(a), b) : L::add(a, three(b));
    };
    const auto eight = L::set(8);
    blocksOver(pairs, n, [&](int32_t m) {
        const auto v0 = down(m), v1 = three(down(m + 1)), v2 = down(m + 2);
        L::template storeInterleaved<Channels>(dst + 2 * Channels * m,
                                               L::template shiftRight<4>(L::add(L::add(v0, v1), eight)),
                                               L::template shiftRight<4>(L::add(L::add(v1, v2), eight)));
    });
    if (width % 2)
        linearDoubleScalar<T, Channels>(upper + Channels * pairs, lower + Channels * pairs, rowQuarters, 3,
                                        dst + 2 * Channels * pairs, 1);
}

template <class L>
void linearVertical8u(const uint8_t* upper, const uint8_t* lower, uint8_t* dst, int32_t count, int32_t fraction) {
    if (fraction == 0) {
        std::memcpy(dst, upper, size_t(count));  // (a * 16384 + 8192) >> 14 is a
        return;
    }
    if (count < L::kLanes) return linearVertical8uScalar(upper, lower, dst, count, fraction);
    const auto weights = L::set32(int32_t(uint32_t(fraction) << 16 | uint32_t(16384 - fraction)));
    const auto bias = L::set32(8192);
    blocksOver(count, L::kLanes, [&](int32_t i) {
        const auto a = L::loadSamples(upper + i), b = L::loadSamples(lower + i);
        const auto lo = L::template shiftRight32<14>(L::add32(L::madd(L::unpackLo(a, b), weights), bias));
        const auto hi = L::template shiftRight32<14>(L::add32(L::madd(L::unpackHi(a, b), weights), bias));
        L::storeSamples(dst + i, L::pack32(lo, hi));
    });
}

}  // namespace

// The forms of one instruction set, named by its suffix, from its lanes of
// 8-bit (Lanes16) and 16-bit samples (Lanes32).
#define MORVA_LINEAR_FAST_FORMS(Suffix, Lanes16, Lanes32)                                                    \
    void linearBox8uC1##Suffix(const uint8_t* a, const uint8_t* b, uint8_t* d, int32_t w) {                   \
        linearBoxLanes<Lanes16, 1>(a, b, d, w);                                                               \
    }                                                                                                         \
    void linearBox8uC4##Suffix(const uint8_t* a, const uint8_t* b, uint8_t* d, int32_t w) {                   \
        linearBoxLanes<Lanes16, 4>(a, b, d, w);                                                               \
    }                                                                                                         \
    void linearBox16uC1##Suffix(const uint16_t* a, const uint16_t* b, uint16_t* d, int32_t w) {               \
        linearBoxLanes<Lanes32, 1>(a, b, d, w);                                                               \
    }                                                                                                         \
    void linearDouble8uC1##Suffix(const uint8_t* a, const uint8_t* b, int32_t r, int32_t q, uint8_t* d,       \
                                  int32_t w) {                                                                \
        linearDoubleLanes<Lanes16, 1>(a, b, r, q, d, w);                                                      \
    }                                                                                                         \
    void linearDouble8uC4##Suffix(const uint8_t* a, const uint8_t* b, int32_t r, int32_t q, uint8_t* d,       \
                                  int32_t w) {                                                                \
        linearDoubleLanes<Lanes16, 4>(a, b, r, q, d, w);                                                      \
    }                                                                                                         \
    void linearDouble16uC1##Suffix(const uint16_t* a, const uint16_t* b, int32_t r, int32_t q, uint16_t* d,   \
                                   int32_t w) {                                                               \
        linearDoubleLanes<Lanes32, 1>(a, b, r, q, d, w);                                                      \
    }                                                                                                         \
    void linearVertical8u##Suffix(const uint8_t* a, const uint8_t* b, uint8_t* d, int32_t n, int32_t f) {     \
        linearVertical8u<Lanes16>(a, b, d, n, f);                                                             \
    }

}  // namespace morva
#endif
