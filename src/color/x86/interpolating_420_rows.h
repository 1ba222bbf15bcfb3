// The interpolating 4:2:0 to BGRA rows (ippiYCrCb420ToBGR_8u_P3C4R) in
// 32-bit lanes of any width: S1 is 16.16 fixed point with factors beyond 16
// bits, so its sums are taken whole, exactly as the scalar form takes them.
//
// Every pixel of the kernel is S1, so a form may convert any columns it
// likes: blocks of 16 chroma columns (32 pixels) run up to the last pair,
// placed as interpolatingRow says (overlaps are written twice with the same
// bytes), and the scalar tail converts the last pair. Rows narrower than one
// block go to the tail whole.
#pragma once

#include "color/x86/lanes.h"

#if MORVA_X86_64

#include <cstdint>

#include "color/ycbcr_to_bgr_forms.h"

namespace morva::ycbcr {
namespace {

using namespace lanes;

// S1's chroma part of each channel, with the luma offset folded in: t + k c
// is summed in another order, the same integers.
template <class V>
struct S1Terms {
    V b, g, r;
};

template <class V>
MORVA_LANE_INLINE S1Terms<V> s1Terms(V cb, V cr) {
    constexpr int32_t kLumaOffset = -1220944;
    return {add32(mullo32(cb, set1_32<V>(132201)), set1_32<V>(kLumaOffset - 128 * 132201)),
            add32(add32(mullo32(cb, set1_32<V>(-25675)), mullo32(cr, set1_32<V>(-53279))),
                  set1_32<V>(kLumaOffset + 128 * (25675 + 53279))),
            add32(mullo32(cr, set1_32<V>(104597)), set1_32<V>(kLumaOffset - 128 * 104597))};
}

// Bytes b0 g0 b1 g1 b2 g2 b3 g3 r0 a0 r1 a1 r2 a2 r3 a3 of each 128-bit lane
// to b0 g0 r0 a0 b1 ...
constexpr int8_t kPairsToPixels[16] = {0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15};

// kLanes32<V> pixels of one row: luma bytes from y, one chroma term a pixel.
// A channel is the high half of its sum (the sum shifted right by 16, which
// fits 16 bits): blue and red move it down, green keeps it in place beside
// blue, alpha is placed beside red. The unsigned saturating pack clamps to
// 0..255.
template <class V>
MORVA_LANE_INLINE void s1Pixels(const uint8_t* y, const S1Terms<V>& t, V alphaHigh, V order, uint8_t* dst) {
    const V luma = mullo32(loadWidenBytes32<V>(y), set1_32<V>(76309));
    const V bg = blendOdd16(srli32<16>(add32(luma, t.b)), add32(luma, t.g));
    const V ra = or_(srli32<16>(add32(luma, t.r)), alphaHigh);
    storeu(dst, shuffle8(packus16(bg, ra), order));
}

constexpr int32_t kChromaBlock = 16;

// Chroma columns [j, j + 16) of a row, j + 16 at most the last pair: even
// pixels take column k, odd ones the rounded-up mean of k and k + 1, which
// pavgb gives exactly.
template <class V>
MORVA_LANE_INLINE void interpolatingBlock(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst,
                                          int32_t j, V alphaHigh, V order) {
    const auto load = [](const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); };
    const __m128i u = load(cb + j), v = load(cr + j);
    const __m128i uMid = _mm_avg_epu8(u, load(cb + j + 1)), vMid = _mm_avg_epu8(v, load(cr + j + 1));
    const __m128i cbPixels[2] = {_mm_unpacklo_epi8(u, uMid), _mm_unpackhi_epi8(u, uMid)};
    const __m128i crPixels[2] = {_mm_unpacklo_epi8(v, vMid), _mm_unpackhi_epi8(v, vMid)};
    constexpr int kLanes = kLanes32<V>;
    for (int half = 0; half < 2; ++half) {
        __m128i cbBytes = cbPixels[half], crBytes = crPixels[half];
        for (int part = 0; part < 16 / kLanes; ++part) {
            if (part > 0) {
                cbBytes = _mm_srli_si128(cbBytes, 8);
                crBytes = _mm_srli_si128(crBytes, 8);
            }
            const S1Terms<V> t = s1Terms(widenBytes32<V>(cbBytes), widenBytes32<V>(crBytes));
            const int32_t x = 2 * j + 16 * half + kLanes * part;
            s1Pixels(y + x, t, alphaHigh, order, dst + 4 * x);
        }
    }
}

// One row, its last pair by the scalar tail. The blocks' stores are put on
// whole cache lines where a line starts at a pixel pair: a first block at
// column 0, then blocks from the first column whose pixels start a line (the
// two overlap, and write the same bytes twice), then the last block shifted
// back to end at the last pair. Stores across two lines, a row long, cost
// about a tenth more with the target in memory. Each row of a pair takes its
// own pass, although the two share their chroma: two target rows written at
// once slow the writes to memory by a quarter. (Not forced inline: inlined
// twice into the row pair, its loop runs a fifth slower.)
template <class V>
void interpolatingRow(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst,
                                        int32_t width, uint8_t alpha) {
    const int32_t last = width / 2 > 0 ? width / 2 - 1 : 0;
    int32_t j = 0;
    if (last >= kChromaBlock) {
        const V alphaHigh = set1_32<V>(int32_t(alpha) << 16), order = broadcast128<V>(kPairsToPixels);
        const int32_t lineOffset = int32_t(reinterpret_cast<uintptr_t>(dst) % 64);
        if (lineOffset % 8 == 0 && lineOffset != 0) {
            interpolatingBlock(y, cb, cr, dst, 0, alphaHigh, order);
            j = (64 - lineOffset) / 8;
        }
        for (; j + kChromaBlock <= last; j += kChromaBlock) interpolatingBlock(y, cb, cr, dst, j, alphaHigh, order);
        if (j < last) interpolatingBlock(y, cb, cr, dst, last - kChromaBlock, alphaHigh, order);
        j = last;
    }
    planar420ToBgraTail(y, cb, cr, dst, j, width, alpha);
}

template <class V>
void interpolatingRowPair(const uint8_t* y0, const uint8_t* y1, const uint8_t* cb, const uint8_t* cr,
                          uint8_t* dst0, uint8_t* dst1, int32_t width, uint8_t alpha) {
    interpolatingRow<V>(y0, cb, cr, dst0, width, alpha);
    interpolatingRow<V>(y1, cb, cr, dst1, width, alpha);
}

}  // namespace
}  // namespace morva::ycbcr

#endif
