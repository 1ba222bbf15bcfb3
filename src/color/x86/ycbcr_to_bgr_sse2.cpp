// SSE2 forms of the YCbCr to BGR kernels: 16 pixels a step, then one step
// of 8, over the columns of the vector body; the scalar tail does the rest.
// The interpolating 4:2:0 kernel, scalar by design, has a form here too, in
// 32-bit lanes.
#include "kernels/cpu.h"

#if MORVA_X86_64

#include <cstdint>

#include "color/x86/ycbcr_simd.h"
#include "color/ycbcr_to_bgr_forms.h"

namespace morva::ycbcr {
namespace {

using namespace ycbcr_simd;

void yuy2ToBgraRow(const uint8_t* src, uint8_t* dst, int32_t width, uint8_t alpha) {
    const BgraOut<false> out{_mm_set1_epi8(static_cast<char>(alpha))};
    packedBlocks<kQ3, splitYCbYCr, false>(src, dst, 0, bodyWidth(width), out);
    yuy2ToBgraTail(src, dst, width, alpha);
}

// Every pair is part of the vector body here, the last few through a local
// block; only an odd last pixel is scalar.
void yuy2ToBgrRow(const uint8_t* src, uint8_t* dst, int32_t width, uint8_t alpha) {
    packedBlocks<kQ4Rounded, splitYCbYCr, false>(src, dst, 0, bodyWidth(width), BgrOut{});
    packedPartial<kQ4Rounded, splitYCbYCr>(src, dst, bodyWidth(width), width & ~1, BgrOut{});
    yuy2ToBgrOddPixel(src, dst, width, alpha);
}

template <bool aligned>
void uyvyToBgraRow(const uint8_t* src, uint8_t* dst, int32_t width, uint8_t alpha) {
    packedBlocks<kQ4Rounded, splitCbYCrY, aligned>(src, dst, 0, bodyWidth(width),
                                                    BgraOut<aligned>{_mm_set1_epi8(static_cast<char>(alpha))});
    uyvyToBgraTail(src, dst, width, alpha);
}

void uyvyToRgbRow(const uint8_t* src, uint8_t* dst, int32_t width, uint8_t alpha) {
    packedBlocks<kQ4Rounded, splitCbYCrY, false>(src, dst, 0, bodyWidth(width), RgbOut{});
    uyvyToRgbTail(src, dst, width, alpha);
}

void planar422ToBgrRow(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst, int32_t width) {
    planarBlocks<kQ4Rounded>(y, cb, cr, dst, 0, bodyWidth(width), BgrOut{});
    planar422ToBgrTail(y, cb, cr, dst, width);
}

void planar420ToBgrRowPair(const uint8_t* y0, const uint8_t* y1, const uint8_t* cb, const uint8_t* cr,
                           uint8_t* dst0, uint8_t* dst1, int32_t width) {
    planarPairBlocks<kQ4Rounded>(y0, y1, cb, cr, dst0, dst1, 0, bodyWidth(width), BgrOut{});
    planar420ToBgrTail(y0, y1, cb, cr, dst0, dst1, width);
}

// S1 in 32-bit lanes through pmaddwd. A factor beyond 16 bits is split as
// k = m * a + b over the pair (m * x, x): 76309 = 4 * 19077 + 1,
// 132201 = 8 * 16525 + 1, 104597 = 4 * 26149 + 1, and green's 53279 over
// two products. The sums are exact integers, so the results are the scalar
// form's.
__m128i factorPair(int16_t first, int16_t second) {
    return _mm_set1_epi32(static_cast<int32_t>(uint32_t(uint16_t(second)) << 16 | uint16_t(first)));
}

// The chroma part of each channel for 16 pixels, four groups of four.
struct S1Chroma {
    __m128i b[4], g[4], r[4];
};

// Per-pixel chroma bytes in pixel order.
S1Chroma s1ChromaTerms(__m128i cbPixels, __m128i crPixels) {
    const __m128i zero = _mm_setzero_si128(), c128 = _mm_set1_epi16(128);
    const __m128i kBlue = factorPair(16525, 1), kGreen = factorPair(-25675, -26640),
                  kGreenCr = factorPair(-26640, 1), kRed = factorPair(26149, 1);
    S1Chroma t;
    for (int half = 0; half < 2; ++half) {
        const auto centred = [&](__m128i c) {
            return _mm_sub_epi16(half ? _mm_unpackhi_epi8(c, zero) : _mm_unpacklo_epi8(c, zero), c128);
        };
        const __m128i cb = centred(cbPixels), cr = centred(crPixels);
        const __m128i cb8 = _mm_slli_epi16(cb, 3), cr4 = _mm_slli_epi16(cr, 2);
        for (int quarter = 0; quarter < 2; ++quarter) {
            const auto pairs = [quarter](__m128i a, __m128i b) {
                return quarter ? _mm_unpackhi_epi16(a, b) : _mm_unpacklo_epi16(a, b);
            };
            const int q = 2 * half + quarter;
            t.b[q] = _mm_madd_epi16(pairs(cb8, cb), kBlue);
            t.g[q] = _mm_add_epi32(_mm_madd_epi16(pairs(cb, cr), kGreen), _mm_madd_epi16(pairs(cr, cr), kGreenCr));
            t.r[q] = _mm_madd_epi16(pairs(cr4, cr), kRed);
        }
    }
    return t;
}

// 16 pixels of one row.
void s1Row(const uint8_t* y, const S1Chroma& c, uint8_t* dst, __m128i alpha) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i kLuma = factorPair(19077, 1), offset = _mm_set1_epi32(-1220944);
    const __m128i l = load<false>(y);
    __m128i b[4], g[4], r[4];
    for (int q = 0; q < 4; ++q) {
        const __m128i y16 = q < 2 ? _mm_unpacklo_epi8(l, zero) : _mm_unpackhi_epi8(l, zero);
        const __m128i y4 = _mm_slli_epi16(y16, 2);
        const __m128i pairs = q % 2 ? _mm_unpackhi_epi16(y4, y16) : _mm_unpacklo_epi16(y4, y16);
        const __m128i t = _mm_add_epi32(_mm_madd_epi16(pairs, kLuma), offset);
        b[q] = _mm_srai_epi32(_mm_add_epi32(t, c.b[q]), 16);
        g[q] = _mm_srai_epi32(_mm_add_epi32(t, c.g[q]), 16);
        r[q] = _mm_srai_epi32(_mm_add_epi32(t, c.r[q]), 16);
    }
    const auto bytes = [](const __m128i* v) {
        return _mm_packus_epi16(_mm_packs_epi32(v[0], v[1]), _mm_packs_epi32(v[2], v[3]));
    };
    storeBgra(dst, Bgr16{bytes(b), bytes(g), bytes(r)}, alpha, 16);
}

// Odd pixels' chroma is the rounded-up mean of two columns, which pavgb
// gives exactly. Blocks of 8 chroma columns stop before the last pair, so the
// column behind each block is still in the row; the scalar tail does the rest.
void planar420ToBgraRowPair(const uint8_t* y0, const uint8_t* y1, const uint8_t* cb, const uint8_t* cr,
                            uint8_t* dst0, uint8_t* dst1, int32_t width, uint8_t alpha) {
    const __m128i alpha16 = _mm_set1_epi8(static_cast<char>(alpha));
    const int32_t last = width / 2 > 0 ? width / 2 - 1 : 0;
    int32_t j = 0;
    for (; j + 8 <= last; j += 8) {
        const __m128i u = loadLow64(cb + j), v = loadLow64(cr + j);
        const S1Chroma t = s1ChromaTerms(_mm_unpacklo_epi8(u, _mm_avg_epu8(u, loadLow64(cb + j + 1))),
                                         _mm_unpacklo_epi8(v, _mm_avg_epu8(v, loadLow64(cr + j + 1))));
        s1Row(y0 + 2 * j, t, dst0 + 8 * j, alpha16);
        s1Row(y1 + 2 * j, t, dst1 + 8 * j, alpha16);
    }
    planar420ToBgraTail(y0, cb, cr, dst0, j, width, alpha);
    planar420ToBgraTail(y1, cb, cr, dst1, j, width, alpha);
}

}  // namespace

void yuy2ToBgraSse2(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
                    int32_t height, uint8_t alpha) {
    forEachPackedRow(&yuy2ToBgraRow, src, srcStep, dst, dstStep, width, height, alpha);
}

void yuy2ToBgrSse2(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
                   int32_t height) {
    forEachPackedRow(&yuy2ToBgrRow, src, srcStep, dst, dstStep, width, height, 0);
}

// Source, destination and both steps on 16 bytes: every block of the body is
// aligned, and the body takes aligned accesses. The results are the same.
void uyvyToBgraSse2(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
                    int32_t height, uint8_t alpha) {
    const bool aligned = ((reinterpret_cast<uintptr_t>(src) | reinterpret_cast<uintptr_t>(dst) |
                           static_cast<uint32_t>(srcStep) | static_cast<uint32_t>(dstStep)) &
                          15) == 0;
    forEachPackedRow(aligned ? &uyvyToBgraRow<true> : &uyvyToBgraRow<false>, src, srcStep, dst, dstStep, width,
                     height, alpha);
}

void uyvyToRgbSse2(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
                   int32_t height) {
    forEachPackedRow(&uyvyToRgbRow, src, srcStep, dst, dstStep, width, height, 0);
}

void planar422ToBgrSse2(const uint8_t* const src[3], const int32_t srcStep[3], uint8_t* dst, int32_t dstStep,
                        int32_t width, int32_t height) {
    forEachPlanar422Row(&planar422ToBgrRow, src, srcStep, dst, dstStep, width, height);
}

void planar420ToBgrSse2(const uint8_t* const src[3], const int32_t srcStep[3], uint8_t* dst, int32_t dstStep,
                        int32_t width, int32_t height) {
    forEachPlanar420RowPair(&planar420ToBgrRowPair, src, srcStep, dst, dstStep, width, height);
}

void planar420ToBgraSse2(const uint8_t* const src[3], const int32_t srcStep[3], uint8_t* dst, int32_t dstStep,
                         int32_t width, int32_t height, uint8_t alpha) {
    forEachYCrCb420RowPair(&planar420ToBgraRowPair, src, srcStep, dst, dstStep, width, height, alpha);
}

}  // namespace morva::ycbcr

#endif
