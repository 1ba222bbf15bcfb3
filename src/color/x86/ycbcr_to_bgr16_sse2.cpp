// SSE2 forms of the YCbCr to 16-bit BGR kernels: Q4 truncated in 16-bit
// lanes, 16 pixels a step and then blocks of 8 (and of 4 for planar rows);
// the scalar tails do the rest.
#include "kernels/cpu.h"

#if MORVA_X86_64

#include <cstdint>

#include "color/x86/ycbcr_simd.h"
#include "color/ycbcr_to_bgr16_forms.h"

namespace morva::ycbcr16 {
namespace {

using namespace ycbcr_simd;

// The layout's shifts as shift-count registers and its green mask.
struct Packer {
    __m128i redDrop, redShift, greenMask, greenShift, blueDrop;

    explicit Packer(const Bgr16Layout& l)
        : redDrop(_mm_cvtsi32_si128(l.redDrop)),
          redShift(_mm_cvtsi32_si128(l.redShift)),
          greenMask(_mm_set1_epi16(static_cast<int16_t>(l.greenMask))),
          greenShift(_mm_cvtsi32_si128(l.greenShift)),
          blueDrop(_mm_cvtsi32_si128(l.blueDrop)) {}

    // Eight pixels from 16-bit lanes of 8-bit channels.
    __m128i words(__m128i b, __m128i g, __m128i r) const {
        const __m128i red = _mm_sll_epi16(_mm_srl_epi16(r, redDrop), redShift);
        const __m128i green = _mm_sll_epi16(_mm_and_si128(g, greenMask), greenShift);
        return _mm_or_si128(_mm_or_si128(red, green), _mm_srl_epi16(b, blueDrop));
    }

    static constexpr int kBytes = 2;

    // The first 16, 8 or 4 pixels of c.
    void operator()(uint8_t* d, const Bgr16& c, int pixels) const {
        const __m128i zero = _mm_setzero_si128();
        const __m128i lo = words(_mm_unpacklo_epi8(c.b, zero), _mm_unpacklo_epi8(c.g, zero),
                                 _mm_unpacklo_epi8(c.r, zero));
        if (pixels == 4) {
            _mm_storel_epi64(reinterpret_cast<__m128i*>(d), lo);
            return;
        }
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d), lo);
        if (pixels == 16)
            _mm_storeu_si128(reinterpret_cast<__m128i*>(d + 16),
                             words(_mm_unpackhi_epi8(c.b, zero), _mm_unpackhi_epi8(c.g, zero),
                                   _mm_unpackhi_epi8(c.r, zero)));
    }
};

void packedRow(const uint8_t* src, uint8_t* dst, int64_t count, const Bgr16Layout& layout) {
    packedBlocks<kQ4Truncated, splitYCbYCr, false>(src, dst, 0, count & ~int64_t(7), Packer(layout));
    packedTail(src, dst, count, layout);
}

// Blocks of 16 and 8, then one of 4; the rest by the scalar columns.
void planarRowPair(const uint8_t* y0, const uint8_t* y1, const uint8_t* cb, const uint8_t* cr, uint8_t* dst0,
                   uint8_t* dst1, int32_t width, const Bgr16Layout& layout) {
    const Packer packer(layout);
    int32_t x = planarPairBlocks<kQ4Truncated>(y0, y1, cb, cr, dst0, dst1, 0, width & ~7, packer);
    if (x + 4 <= width) {
        const __m128i zero = _mm_setzero_si128();
        const ChromaTerms t =
            chromaTerms<kQ4Truncated>(_mm_unpacklo_epi8(_mm_cvtsi32_si128(cb[x / 2] | cb[x / 2 + 1] << 8), zero),
                                      _mm_unpacklo_epi8(_mm_cvtsi32_si128(cr[x / 2] | cr[x / 2 + 1] << 8), zero));
        packer(dst0 + 2 * x, applyTerms<kQ4Truncated>(t, _mm_unpacklo_epi8(loadLow32(y0 + x), zero), zero), 4);
        packer(dst1 + 2 * x, applyTerms<kQ4Truncated>(t, _mm_unpacklo_epi8(loadLow32(y1 + x), zero), zero), 4);
        x += 4;
    }
    planarColumns(y0, cb, cr, dst0, x, width, layout);
    planarColumns(y1, cb, cr, dst1, x, width, layout);
}

}  // namespace

void packed422ToBgr16Sse2(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep16, int32_t width,
                          int32_t height, const Bgr16Layout& layout) {
    packedFrame(&packedRow, src, srcStep, dst, dstStep16, width, height, layout);
}

void planar420ToBgr16Sse2(const uint8_t* const src[3], const int32_t srcStep[3], uint8_t* dst, int32_t dstStep16,
                          int32_t width, int32_t height, const Bgr16Layout& layout) {
    planarFrame(&planarRowPair, src, srcStep, dst, dstStep16, width, height, layout);
}

}  // namespace morva::ycbcr16

#endif
