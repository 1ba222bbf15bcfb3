// SSE2 forms of the YCbCr to BGR kernels: 16 pixels a step, then one step
// of 8, over the columns of the vector body; the scalar tail does the rest.
#include "kernels/cpu.h"

#if MORVA_X86_64

#include <cstdint>
#include <cstring>

#include "color/x86/ycbcr_simd.h"
#include "color/ycbcr_to_bgr_forms.h"

namespace morva::ycbcr {
namespace {

using namespace ycbcr_simd;

template <bool aligned>
struct BgraOut {
    static constexpr int kBytes = 4;
    __m128i alpha;
    void operator()(uint8_t* d, const Bgr16& c, int pixels) const { storeBgra<aligned>(d, c, alpha, pixels); }
};

struct BgrOut {
    static constexpr int kBytes = 3;
    void operator()(uint8_t* d, const Bgr16& c, int pixels) const { store3(d, c.b, c.g, c.r, pixels); }
};

struct RgbOut {
    static constexpr int kBytes = 3;
    void operator()(uint8_t* d, const Bgr16& c, int pixels) const { store3(d, c.r, c.g, c.b, pixels); }
};

using Split = Ycc16 (*)(__m128i, __m128i);

// Pixels [0, end) of a packed row, end a multiple of 8.
template <QForm F, Split split, bool aligned, class Out>
void packedBody(const uint8_t* src, uint8_t* dst, int32_t end, const Out& out) {
    int32_t x = 0;
    for (; x + 16 <= end; x += 16)
        out(dst + x * Out::kBytes, convert<F>(split(load<aligned>(src + 2 * x), load<aligned>(src + 2 * x + 16))), 16);
    if (x < end) {
        const __m128i v = load<aligned>(src + 2 * x);
        out(dst + x * Out::kBytes, convert<F>(split(v, v)), 8);
    }
}

// Pixels [from, to) of a packed row, fewer than 8, through a local block.
template <QForm F, Split split, class Out>
void packedPartial(const uint8_t* src, uint8_t* dst, int32_t from, int32_t to, const Out& out) {
    if (from >= to) return;
    alignas(16) uint8_t in[16] = {};
    alignas(16) uint8_t converted[8 * Out::kBytes];
    std::memcpy(in, src + 2 * from, 2 * static_cast<size_t>(to - from));
    const __m128i v = load<true>(in);
    out(converted, convert<F>(split(v, v)), 8);
    std::memcpy(dst + from * Out::kBytes, converted, static_cast<size_t>(to - from) * Out::kBytes);
}

void yuy2ToBgraRow(const uint8_t* src, uint8_t* dst, int32_t width, uint8_t alpha) {
    packedBody<kQ3, splitYCbYCr, false>(src, dst, bodyWidth(width), BgraOut<false>{_mm_set1_epi8(char(alpha))});
    yuy2ToBgraTail(src, dst, width, alpha);
}

// Every pair is part of the vector body here, the last few through a local
// block; only an odd last pixel is scalar.
void yuy2ToBgrRow(const uint8_t* src, uint8_t* dst, int32_t width, uint8_t alpha) {
    packedBody<kQ4Rounded, splitYCbYCr, false>(src, dst, bodyWidth(width), BgrOut{});
    packedPartial<kQ4Rounded, splitYCbYCr>(src, dst, bodyWidth(width), width & ~1, BgrOut{});
    yuy2ToBgrOddPixel(src, dst, width, alpha);
}

template <bool aligned>
void uyvyToBgraRow(const uint8_t* src, uint8_t* dst, int32_t width, uint8_t alpha) {
    packedBody<kQ4Rounded, splitCbYCrY, aligned>(src, dst, bodyWidth(width),
                                                  BgraOut<aligned>{_mm_set1_epi8(char(alpha))});
    uyvyToBgraTail(src, dst, width, alpha);
}

void uyvyToRgbRow(const uint8_t* src, uint8_t* dst, int32_t width, uint8_t alpha) {
    packedBody<kQ4Rounded, splitCbYCrY, false>(src, dst, bodyWidth(width), RgbOut{});
    uyvyToRgbTail(src, dst, width, alpha);
}

void planar422ToBgrRow(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst, int32_t width) {
    const int32_t end = bodyWidth(width);
    int32_t x = 0;
    for (; x + 16 <= end; x += 16) {
        const Ycc16 v = widenPlanar(load<false>(y + x), loadLow64(cb + x / 2), loadLow64(cr + x / 2));
        const Bgr16 c = convert<kQ4Rounded>(v);
        store3(dst + 3 * x, c.b, c.g, c.r, 16);
    }
    if (x < end) {
        const Ycc16 v = widenPlanar(loadLow64(y + x), loadLow32(cb + x / 2), loadLow32(cr + x / 2));
        const Bgr16 c = convert<kQ4Rounded>(v);
        store3(dst + 3 * x, c.b, c.g, c.r, 8);
    }
    planar422ToBgrTail(y, cb, cr, dst, width);
}

// Both rows of a pair take the same chroma terms.
void planar420ToBgrRowPair(const uint8_t* y0, const uint8_t* y1, const uint8_t* cb, const uint8_t* cr,
                           uint8_t* dst0, uint8_t* dst1, int32_t width) {
    const int32_t end = bodyWidth(width);
    const __m128i zero = _mm_setzero_si128();
    int32_t x = 0;
    for (; x + 16 <= end; x += 16) {
        const ChromaTerms t = chromaTerms<kQ4Rounded>(_mm_unpacklo_epi8(loadLow64(cb + x / 2), zero),
                                                      _mm_unpacklo_epi8(loadLow64(cr + x / 2), zero));
        const __m128i l0 = load<false>(y0 + x), l1 = load<false>(y1 + x);
        const Bgr16 c0 = applyTerms<kQ4Rounded>(t, _mm_unpacklo_epi8(l0, zero), _mm_unpackhi_epi8(l0, zero));
        const Bgr16 c1 = applyTerms<kQ4Rounded>(t, _mm_unpacklo_epi8(l1, zero), _mm_unpackhi_epi8(l1, zero));
        store3(dst0 + 3 * x, c0.b, c0.g, c0.r, 16);
        store3(dst1 + 3 * x, c1.b, c1.g, c1.r, 16);
    }
    if (x < end) {
        const ChromaTerms t = chromaTerms<kQ4Rounded>(_mm_unpacklo_epi8(loadLow32(cb + x / 2), zero),
                                                      _mm_unpacklo_epi8(loadLow32(cr + x / 2), zero));
        const Bgr16 c0 = applyTerms<kQ4Rounded>(t, _mm_unpacklo_epi8(loadLow64(y0 + x), zero), zero);
        const Bgr16 c1 = applyTerms<kQ4Rounded>(t, _mm_unpacklo_epi8(loadLow64(y1 + x), zero), zero);
        store3(dst0 + 3 * x, c0.b, c0.g, c0.r, 8);
        store3(dst1 + 3 * x, c1.b, c1.g, c1.r, 8);
    }
    planar420ToBgrTail(y0, y1, cb, cr, dst0, dst1, width);
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

}  // namespace morva::ycbcr

#endif
