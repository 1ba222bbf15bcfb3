// The YCbCr to 16-bit BGR rows in registers of 256 bits or more, a pixel to
// a 16-bit lane in pixel order: each pixel is given its own chroma (planar
// chroma bytes widened twice, packed chroma picked by byte shuffles), so the
// Q4 truncated form, its clamp and the packing into the word need no
// reordering between them.
//
// Planar rows are Q4 truncated at every column, so blocks run over the even
// part of the row, the last one shifted back to end with it, and an odd last
// column follows by the scalar columns. Packed
// rows are Q4 truncated over (count & ~7) alone; blocks run over that, the
// last one shifted back likewise, and the scalar tail does the rest. Rows
// narrower than one block are left to the scalar code.
#pragma once

#include "kernels/cpu.h"

#if MORVA_X86_64

#include <cstdint>

#include "color/x86/ycbcr_simd.h"
#include "color/ycbcr_to_bgr16_forms.h"

namespace morva::ycbcr16 {
namespace {

using namespace ycbcr_simd;

// A layout's shifts as shift counts and its green mask.
template <class V>
struct WidePacker {
    __m128i redDrop, redShift, greenShift, blueDrop;
    V greenMask;

    explicit WidePacker(const Bgr16Layout& l)
        : redDrop(_mm_cvtsi32_si128(l.redDrop)),
          redShift(_mm_cvtsi32_si128(l.redShift)),
          greenShift(_mm_cvtsi32_si128(l.greenShift)),
          blueDrop(_mm_cvtsi32_si128(l.blueDrop)),
          greenMask(set1_16<V>(static_cast<int16_t>(l.greenMask))) {}

    // Pixels from the scaled luma and chroma terms of Q4 truncated, each
    // channel clamped to 0..255 first.
    MORVA_LANE_INLINE V operator()(V y, const ChromaTermsOf<V>& t) const {
        const auto channel = [&](V term) MORVA_LANE_LAMBDA {
            return max16(min16(pixelChannel<kQ4Truncated>(y, term), set1_16<V>(255)), zero<V>());
        };
        const V red = sll16(srl16(channel(t.r), redDrop), redShift);
        const V green = sll16(and_(channel(t.g), greenMask), greenShift);
        return or_(or_(red, green), srl16(channel(t.b), blueDrop));
    }
};

// Blocks of kLanes16<V> pixels over [0, end), the last one shifted back to
// end there; end even and at least one block.
template <class V, class Block>
MORVA_LANE_INLINE void blocksOver(int64_t end, Block block) {
    constexpr int64_t n = kLanes16<V>;
    int64_t x = 0;
    for (; x + n <= end; x += n) block(x);
    if (x < end) block(end - n);
}

template <class V>
void packedRow(const uint8_t* src, uint8_t* dst, int64_t count, const Bgr16Layout& layout) {
    const int64_t body = count & ~int64_t(7);
    if (body < kLanes16<V>) return packedRowScalar(src, dst, count, layout);
    const WidePacker<V> pack(layout);
    blocksOver<V>(body, [&](int64_t x) MORVA_LANE_LAMBDA {
        const PixelTerms<V> t = packedPixelTerms<kQ4Truncated>(loadu<V>(src + 2 * x), kYCbYCrPicks);
        storeu(dst + 2 * x, pack(t.y, t.c));
    });
    packedTail(src, dst, count, layout);
}

template <class V>
void planarRowPair(const uint8_t* y0, const uint8_t* y1, const uint8_t* cb, const uint8_t* cr, uint8_t* dst0,
                   uint8_t* dst1, int32_t width, const Bgr16Layout& layout) {
    const int32_t even = width & ~1;
    const int32_t scalarFrom = even < kLanes16<V> ? 0 : even;
    planarColumns(y0, cb, cr, dst0, scalarFrom, width, layout);
    planarColumns(y1, cb, cr, dst1, scalarFrom, width, layout);
    if (scalarFrom == 0) return;
    const WidePacker<V> pack(layout);
    blocksOver<V>(even, [&](int64_t x) MORVA_LANE_LAMBDA {
        const ChromaTermsOf<V> t = chromaTerms<kQ4Truncated>(loadWidenDoubledBytes16<V>(cb + x / 2),
                                                             loadWidenDoubledBytes16<V>(cr + x / 2));
        storeu(dst0 + 2 * x, pack(lumaTerm<kQ4Truncated>(loadWidenBytes16<V>(y0 + x)), t));
        storeu(dst1 + 2 * x, pack(lumaTerm<kQ4Truncated>(loadWidenBytes16<V>(y1 + x)), t));
    });
}

}  // namespace
}  // namespace morva::ycbcr16

#endif
