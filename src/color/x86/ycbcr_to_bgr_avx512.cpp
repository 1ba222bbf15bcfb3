// AVX-512 forms of the YCbCr to BGR kernels: the interpolating 4:2:0 to BGRA
// kernel in 32-bit lanes, and the others 32 pixels a step over the columns
// of their vector body, a pixel to a 16-bit lane with its own chroma.
#include "kernels/cpu.h"

#if MORVA_X86_64

#include <cstdint>

#include "color/x86/interpolating_420_rows.h"
#include "color/x86/ycbcr_simd.h"
#include "color/ycbcr_to_bgr_forms.h"

namespace morva::ycbcr {
namespace {

using namespace ycbcr_simd;

// 32 pixels of 16-bit channel values in pixel order (128-bit lane k holds
// pixels 8k to 8k + 7) as B G R A, clamped to bytes.
MORVA_LANE_INLINE void storeBgra32(uint8_t* dst, __m512i b, __m512i g, __m512i r, __m512i alpha) {
    const __m512i blueGreen = _mm512_packus_epi16(b, g), redAlpha = _mm512_packus_epi16(r, alpha);
    const __m512i blueRed = _mm512_unpacklo_epi8(blueGreen, redAlpha), greenAlpha = _mm512_unpackhi_epi8(blueGreen, redAlpha);
    // Pixels 0-3 of each lane's eight, and 4-7.
    const __m512i first = _mm512_unpacklo_epi8(blueRed, greenAlpha), second = _mm512_unpackhi_epi8(blueRed, greenAlpha);
    _mm512_storeu_si512(dst, _mm512_permutex2var_epi64(first, _mm512_setr_epi64(0, 1, 8, 9, 2, 3, 10, 11), second));
    _mm512_storeu_si512(dst + 64, _mm512_permutex2var_epi64(first, _mm512_setr_epi64(4, 5, 12, 13, 6, 7, 14, 15), second));
}

// 32 pixels of 16-bit channel values in pixel order as 3 bytes each, the
// channels given in memory order, clamped to bytes: 96 bytes in two stores
// of 64, the second writing 16 bytes behind them unless `lastBytes` (then
// it goes through a mask). The first store's last 16 bytes are the second's
// first.
MORVA_LANE_INLINE void storeThreeBytes32(uint8_t* dst, __m512i first, __m512i second, __m512i third,
                                         bool lastBytes) {
    const __m512i firstSecond = _mm512_packus_epi16(first, second), thirds = _mm512_packus_epi16(third, third);
    // Per lane: pixels' first and second bytes side by side, and their third
    // bytes with a zero.
    const __m512i pairs = _mm512_unpacklo_epi8(firstSecond, _mm512_bsrli_epi128(firstSecond, 8));
    const __m512i singles = _mm512_unpacklo_epi8(thirds, _mm512_setzero_si512());
    // Pixels 0-3 of each lane's eight, and 4-7, as 4 bytes each.
    const __m512i low = _mm512_unpacklo_epi16(pairs, singles), high = _mm512_unpackhi_epi16(pairs, singles);
    const __m512i pixels0 = _mm512_permutex2var_epi64(low, _mm512_setr_epi64(0, 1, 8, 9, 2, 3, 10, 11), high);
    const __m512i pixels1 = _mm512_permutex2var_epi64(low, _mm512_setr_epi64(4, 5, 12, 13, 6, 7, 14, 15), high);
    _mm512_storeu_si512(dst, compact4To3(pixels0));
    if (lastBytes) _mm512_mask_storeu_epi8(dst + 48, firstBytes(48), compact4To3(pixels1));
    else _mm512_storeu_si512(dst + 48, compact4To3(pixels1));
}

// The output layouts of 32 pixels.
struct Bgra32Out {
    static constexpr int kBytes = 4;
    __m512i alpha;
    MORVA_LANE_INLINE void operator()(uint8_t* d, __m512i b, __m512i g, __m512i r, bool) const {
        storeBgra32(d, b, g, r, alpha);
    }
};

template <bool kRedFirst>
struct ThreeBytes32Out {
    static constexpr int kBytes = 3;
    MORVA_LANE_INLINE void operator()(uint8_t* d, __m512i b, __m512i g, __m512i r, bool lastBytes) const {
        if constexpr (kRedFirst) storeThreeBytes32(d, r, g, b, lastBytes);
        else storeThreeBytes32(d, b, g, r, lastBytes);
    }
};

template <QForm F, class Out>
MORVA_LANE_INLINE void storePixels(const Out& out, uint8_t* dst, __m512i y, const ChromaTermsOf<__m512i>& t,
                                   bool lastBytes) {
    out(dst, pixelChannel<F>(y, t.b), pixelChannel<F>(y, t.g), pixelChannel<F>(y, t.r), lastBytes);
}

// Blocks of 32 pixels over the vector body [0, end), end at least 32, the
// last one shifted back to end with the body. block(x, lastBytes): a
// 3-byte layout may write 16 bytes behind a block's pixels where the row's
// later blocks or tail write them again, that is before pixel `rewritten`.
template <class Block>
MORVA_LANE_INLINE void blocksOf32(int32_t end, int32_t rewritten, Block block) {
    const auto at = [&](int32_t x) MORVA_LANE_LAMBDA { block(x, 3 * (x + 32) + 16 > 3 * rewritten); };
    int32_t x = 0;
    for (; x + 32 <= end; x += 32) at(x);
    if (x < end) at(end - 32);
}

// The vector body of a packed row, columns [0, bodyWidth(width)) or, where
// every pair is body, [0, width & ~1): blocks of 32, or for a narrower body
// the 128-bit blocks of 16 and 8 and, for every pair, a local block.
template <QForm F, const PackedPicks& picks, Split split, bool kEveryPair, class Out, class NarrowOut>
void packedBody(const uint8_t* src, uint8_t* dst, int32_t width, const Out& out, const NarrowOut& narrow) {
    const int32_t end = bodyWidth(width);
    if (end < 32) {
        packedBlocks<F, split, false>(src, dst, 0, end, narrow);
    } else {
        blocksOf32(end, width, [&](int32_t x, bool lastBytes) MORVA_LANE_LAMBDA {
            const PixelTerms<__m512i> t = packedPixelTerms<F>(_mm512_loadu_si512(src + 2 * x), picks);
            storePixels<F>(out, dst + x * Out::kBytes, t.y, t.c, lastBytes);
        });
    }
    if constexpr (kEveryPair) packedPartial<F, split>(src, dst, end, width & ~1, narrow);
}

void yuy2ToBgraRow(const uint8_t* src, uint8_t* dst, int32_t width, uint8_t alpha) {
    packedBody<kQ3, kYCbYCrPicks, splitYCbYCr, false>(src, dst, width, Bgra32Out{_mm512_set1_epi16(alpha)},
                                                       BgraOut<false>{_mm_set1_epi8(static_cast<char>(alpha))});
    yuy2ToBgraTail(src, dst, width, alpha);
}

void uyvyToBgraRow(const uint8_t* src, uint8_t* dst, int32_t width, uint8_t alpha) {
    packedBody<kQ4Rounded, kCbYCrYPicks, splitCbYCrY, false>(src, dst, width, Bgra32Out{_mm512_set1_epi16(alpha)},
                                                              BgraOut<false>{_mm_set1_epi8(static_cast<char>(alpha))});
    uyvyToBgraTail(src, dst, width, alpha);
}

// Every pair is part of the vector body here; only an odd last pixel is scalar.
void yuy2ToBgrRow(const uint8_t* src, uint8_t* dst, int32_t width, uint8_t alpha) {
    packedBody<kQ4Rounded, kYCbYCrPicks, splitYCbYCr, true>(src, dst, width, ThreeBytes32Out<false>{}, BgrOut{});
    yuy2ToBgrOddPixel(src, dst, width, alpha);
}

void uyvyToRgbRow(const uint8_t* src, uint8_t* dst, int32_t width, uint8_t alpha) {
    packedBody<kQ4Rounded, kCbYCrYPicks, splitCbYCrY, false>(src, dst, width, ThreeBytes32Out<true>{}, RgbOut{});
    uyvyToRgbTail(src, dst, width, alpha);
}

// Planar rows: each pixel's chroma widened from its pair's sample. An odd
// last column is not written, so 3-byte stores may run over into columns
// below width & ~1 alone.
void planar422ToBgrRow(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst, int32_t width) {
    const int32_t end = bodyWidth(width);
    if (end < 32) {
        planarBlocks<kQ4Rounded>(y, cb, cr, dst, 0, end, BgrOut{});
    } else {
        blocksOf32(end, width & ~1, [&](int32_t x, bool lastBytes) MORVA_LANE_LAMBDA {
            const ChromaTermsOf<__m512i> t = chromaTerms<kQ4Rounded>(loadWidenDoubledBytes16<__m512i>(cb + x / 2),
                                                                     loadWidenDoubledBytes16<__m512i>(cr + x / 2));
            storePixels<kQ4Rounded>(ThreeBytes32Out<false>{}, dst + 3 * x,
                                    lumaTerm<kQ4Rounded>(loadWidenBytes16<__m512i>(y + x)), t, lastBytes);
        });
    }
    planar422ToBgrTail(y, cb, cr, dst, width);
}

// Both rows of a pair take the same chroma terms.
void planar420ToBgrRowPair(const uint8_t* y0, const uint8_t* y1, const uint8_t* cb, const uint8_t* cr,
                           uint8_t* dst0, uint8_t* dst1, int32_t width) {
    const int32_t end = bodyWidth(width);
    if (end < 32) {
        planarPairBlocks<kQ4Rounded>(y0, y1, cb, cr, dst0, dst1, 0, end, BgrOut{});
    } else {
        const ThreeBytes32Out<false> out;
        blocksOf32(end, width & ~1, [&](int32_t x, bool lastBytes) MORVA_LANE_LAMBDA {
            const ChromaTermsOf<__m512i> t = chromaTerms<kQ4Rounded>(loadWidenDoubledBytes16<__m512i>(cb + x / 2),
                                                                     loadWidenDoubledBytes16<__m512i>(cr + x / 2));
            storePixels<kQ4Rounded>(out, dst0 + 3 * x, lumaTerm<kQ4Rounded>(loadWidenBytes16<__m512i>(y0 + x)), t,
                                    lastBytes);
            storePixels<kQ4Rounded>(out, dst1 + 3 * x, lumaTerm<kQ4Rounded>(loadWidenBytes16<__m512i>(y1 + x)), t,
                                    lastBytes);
        });
    }
    planar420ToBgrTail(y0, y1, cb, cr, dst0, dst1, width);
}

}  // namespace

void yuy2ToBgraAvx512(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
                      int32_t height, uint8_t alpha) {
    forEachPackedRow(&yuy2ToBgraRow, src, srcStep, dst, dstStep, width, height, alpha);
}

void uyvyToBgraAvx512(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
                      int32_t height, uint8_t alpha) {
    forEachPackedRow(&uyvyToBgraRow, src, srcStep, dst, dstStep, width, height, alpha);
}

void yuy2ToBgrAvx512(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
                     int32_t height) {
    forEachPackedRow(&yuy2ToBgrRow, src, srcStep, dst, dstStep, width, height, 0);
}

void uyvyToRgbAvx512(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
                     int32_t height) {
    forEachPackedRow(&uyvyToRgbRow, src, srcStep, dst, dstStep, width, height, 0);
}

void planar422ToBgrAvx512(const uint8_t* const src[3], const int32_t srcStep[3], uint8_t* dst, int32_t dstStep,
                          int32_t width, int32_t height) {
    forEachPlanar422Row(&planar422ToBgrRow, src, srcStep, dst, dstStep, width, height);
}

void planar420ToBgrAvx512(const uint8_t* const src[3], const int32_t srcStep[3], uint8_t* dst, int32_t dstStep,
                          int32_t width, int32_t height) {
    forEachPlanar420RowPair(&planar420ToBgrRowPair, src, srcStep, dst, dstStep, width, height);
}

void planar420ToBgraAvx512(const uint8_t* const src[3], const int32_t srcStep[3], uint8_t* dst, int32_t dstStep,
                           int32_t width, int32_t height, uint8_t alpha) {
    forEachYCrCb420RowPair(&interpolatingRowPair<__m512i>, src, srcStep, dst, dstStep, width, height, alpha);
}

}  // namespace morva::ycbcr

#endif
