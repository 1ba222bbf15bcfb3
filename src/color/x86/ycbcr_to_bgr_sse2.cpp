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
    packedBlocks<kQ3, splitYCbYCr, false>(src, dst, 0, bodyWidth(width), BgraOut<false>{_mm_set1_epi8(char(alpha))});
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
                                                    BgraOut<aligned>{_mm_set1_epi8(char(alpha))});
    uyvyToBgraTail(src, dst, width, alpha);
}

void uyvyToRgbRow(const uint8_t* src, uint8_t* dst, int32_t width, uint8_t alpha) {
    packedBlocks<kQ4Rounded, splitCbYCrY, false>(src, dst, 0, bodyWidth(width), RgbOut{});
    uyvyToRgbTail(src, dst, width, alpha);
}

void planar422ToBgrRow(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst, int32_t width) {
    const int32_t end = bodyWidth(width);
    int32_t x = 0;
    for (; x + 16 <= end; x += 16)
        BgrOut{}(dst + 3 * x,
                 convert<kQ4Rounded>(widenPlanar(load<false>(y + x), loadLow64(cb + x / 2), loadLow64(cr + x / 2))),
                 16);
    if (x < end)
        BgrOut{}(dst + 3 * x,
                 convert<kQ4Rounded>(widenPlanar(loadLow64(y + x), loadLow32(cb + x / 2), loadLow32(cr + x / 2))),
                 8);
    planar422ToBgrTail(y, cb, cr, dst, width);
}

void planar420ToBgrRowPair(const uint8_t* y0, const uint8_t* y1, const uint8_t* cb, const uint8_t* cr,
                           uint8_t* dst0, uint8_t* dst1, int32_t width) {
    planarPairBlocks<kQ4Rounded>(y0, y1, cb, cr, dst0, dst1, 0, bodyWidth(width), BgrOut{});
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
