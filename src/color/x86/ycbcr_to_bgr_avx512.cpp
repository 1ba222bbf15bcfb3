// AVX-512 forms of the YCbCr to BGR kernels: the interpolating 4:2:0 to BGRA
// kernel in 32-bit lanes, and the packed 4:2:2 to BGRA kernels 32 pixels a
// step over the columns of their vector body.
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

template <QForm F, const PackedPicks& picks>
MORVA_LANE_INLINE void packedToBgra32(const uint8_t* src, uint8_t* dst, __m512i alpha) {
    const PixelTerms<__m512i> t = packedPixelTerms<F>(_mm512_loadu_si512(src), picks);
    storeBgra32(dst, pixelChannel<F>(t.y, t.c.b), pixelChannel<F>(t.y, t.c.g), pixelChannel<F>(t.y, t.c.r), alpha);
}

// The vector body of a packed row, columns [0, bodyWidth(width)): blocks of
// 32, the last shifted back to end with the body; a body narrower than that
// in the 128-bit blocks of 16 and 8.
template <QForm F, const PackedPicks& picks, Split split>
void packedToBgraBody(const uint8_t* src, uint8_t* dst, int32_t width, uint8_t alpha) {
    const int32_t end = bodyWidth(width);
    if (end < 32) {
        packedBlocks<F, split, false>(src, dst, 0, end, BgraOut<false>{_mm_set1_epi8(static_cast<char>(alpha))});
        return;
    }
    const __m512i alphas = _mm512_set1_epi16(alpha);
    int32_t x = 0;
    for (; x + 32 <= end; x += 32) packedToBgra32<F, picks>(src + 2 * x, dst + 4 * x, alphas);
    if (x < end) packedToBgra32<F, picks>(src + 2 * (end - 32), dst + 4 * (end - 32), alphas);
}

void yuy2ToBgraRow(const uint8_t* src, uint8_t* dst, int32_t width, uint8_t alpha) {
    packedToBgraBody<kQ3, kYCbYCrPicks, splitYCbYCr>(src, dst, width, alpha);
    yuy2ToBgraTail(src, dst, width, alpha);
}

void uyvyToBgraRow(const uint8_t* src, uint8_t* dst, int32_t width, uint8_t alpha) {
    packedToBgraBody<kQ4Rounded, kCbYCrYPicks, splitCbYCrY>(src, dst, width, alpha);
    uyvyToBgraTail(src, dst, width, alpha);
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

void planar420ToBgraAvx512(const uint8_t* const src[3], const int32_t srcStep[3], uint8_t* dst, int32_t dstStep,
                           int32_t width, int32_t height, uint8_t alpha) {
    forEachYCrCb420RowPair(&interpolatingRowPair<__m512i>, src, srcStep, dst, dstStep, width, height, alpha);
}

}  // namespace morva::ycbcr

#endif
