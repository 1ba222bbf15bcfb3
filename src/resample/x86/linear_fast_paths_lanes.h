// The linear fast paths written once against the lanes of u16_lanes.h. Each
// block of target samples is a pure function of the source, so the last
// block of a row is done again ending at the row's end, overlapping the one
// before, instead of by a scalar tail; rows shorter than a block take the
// scalar definition.
#pragma once

#include <cstring>

#include "resample/linear_fast_paths_forms.h"
#include "resample/prefetch.h"
#include "resample/x86/u16_lanes.h"
#include "resample/x86/u32_lanes.h"

#if MORVA_X86_64
namespace morva {
namespace {

// block(i) for i = 0, n, 2n, ... and once more at count - n; count >= n.
template <class Block>
void blocksOver(int32_t count, int32_t n, Block block) {
    int32_t i = 0;
    for (; i + n <= count; i += n) block(i);
    if (i < count) block(count - n);
}

template <class L>
void linearBox8uC1(const uint8_t* upper, const uint8_t* lower, uint8_t* dst, int32_t width) {
    if (width < L::kLanes) return linearBoxScalar<uint8_t, 1>(upper, lower, dst, width);
    const auto pairSums = [](const uint8_t* p) {
        const auto x = L::loadPairs(p);
        return L::add(L::lowBytes(x), L::template shiftRight<8>(x));
    };
    const ptrdiff_t step = lower - upper;
    blocksOver(width, L::kLanes, [&](int32_t j) {
        prefetchBytes(lower + step + 2 * j, 2 * L::kLanes);  // the next pair of rows
        prefetchBytes(lower + 2 * step + 2 * j, 2 * L::kLanes);
        const auto sum = L::add(L::add(pairSums(upper + 2 * j), pairSums(lower + 2 * j)), L::set(2));
        L::storeBytes(dst + j, L::template shiftRight<2>(sum));
    });
}

template <class L>
void linearDouble8uC1(const uint8_t* upper, const uint8_t* lower, int32_t rowQuarters, int32_t firstQuarters,
                      uint8_t* dst, int32_t width) {
    if (firstQuarters == 1 && width > 0) {
        // The column after the first takes the same pixel at 3/4.
        linearDoubleScalar<uint8_t, 1>(upper, lower, rowQuarters, 1, dst, 1);
        ++dst;
        --width;
    }
    // Target 2n takes V(n) + 3 V(n + 1), target 2n + 1 takes 3 V(n + 1) + V(n + 2).
    const int32_t pairs = width / 2;
    if (pairs < L::kLanes) return linearDoubleScalar<uint8_t, 1>(upper, lower, rowQuarters, 3, dst, width);
    const auto up = L::set(4 - rowQuarters), low = L::set(rowQuarters), eight = L::set(8);
    const auto down = [&](int32_t m) {
        return L::add(L::mullo(L::loadBytes(upper + m), up), L::mullo(L::loadBytes(lower + m), low));
    };
    blocksOver(pairs, L::kLanes, [&](int32_t m) {
        const auto v0 = down(m), v1 = down(m + 1), v2 = down(m + 2);
        const auto three = L::add(L::add(v1, v1), v1);
        L::storeInterleavedBytes(dst + 2 * m, L::template shiftRight<4>(L::add(L::add(v0, three), eight)),
                                 L::template shiftRight<4>(L::add(L::add(three, v2), eight)));
    });
    if (width % 2)
        linearDoubleScalar<uint8_t, 1>(upper + pairs, lower + pairs, rowQuarters, 3, dst + 2 * pairs, 1);
}

template <class L>
void linearBox16uC1(const uint16_t* upper, const uint16_t* lower, uint16_t* dst, int32_t width) {
    if (width < L::kLanes) return linearBoxScalar<uint16_t, 1>(upper, lower, dst, width);
    const auto pairSums = [](const uint16_t* p) {
        const auto x = L::loadPairs(p);
        return L::add(L::lowWords(x), L::template shiftRight<16>(x));
    };
    blocksOver(width, L::kLanes, [&](int32_t j) {
        const auto sum = L::add(L::add(pairSums(upper + 2 * j), pairSums(lower + 2 * j)), L::set(2));
        L::storeWords(dst + j, L::template shiftRight<2>(sum));
    });
}

template <class L>
void linearDouble16uC1(const uint16_t* upper, const uint16_t* lower, int32_t rowQuarters, int32_t firstQuarters,
                       uint16_t* dst, int32_t width) {
    if (firstQuarters == 1 && width > 0) {
        linearDoubleScalar<uint16_t, 1>(upper, lower, rowQuarters, 1, dst, 1);
        ++dst;
        --width;
    }
    const int32_t pairs = width / 2;
    if (pairs < L::kLanes) return linearDoubleScalar<uint16_t, 1>(upper, lower, rowQuarters, 3, dst, width);
    const auto three = [](auto v) { return L::add(L::add(v, v), v); };
    // (4 - r) a + r b for r of 1 or 3, without a 32-bit multiply (SSE2 has none).
    const auto down = [&](int32_t m) {
        const auto a = L::loadWords(upper + m), b = L::loadWords(lower + m);
        return rowQuarters == 1 ? L::add(three(a), b) : L::add(a, three(b));
    };
    const auto eight = L::set(8);
    blocksOver(pairs, L::kLanes, [&](int32_t m) {
        const auto v0 = down(m), v1 = three(down(m + 1)), v2 = down(m + 2);
        L::storeInterleavedWords(dst + 2 * m, L::template shiftRight<4>(L::add(L::add(v0, v1), eight)),
                                 L::template shiftRight<4>(L::add(L::add(v1, v2), eight)));
    });
    if (width % 2)
        linearDoubleScalar<uint16_t, 1>(upper + pairs, lower + pairs, rowQuarters, 3, dst + 2 * pairs, 1);
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
        const auto a = L::loadBytes(upper + i), b = L::loadBytes(lower + i);
        const auto lo = L::template shiftRight32<14>(L::add32(L::madd(L::unpackLo(a, b), weights), bias));
        const auto hi = L::template shiftRight32<14>(L::add32(L::madd(L::unpackHi(a, b), weights), bias));
        L::storeBytes(dst + i, L::pack32(lo, hi));
    });
}

}  // namespace
}  // namespace morva
#endif
