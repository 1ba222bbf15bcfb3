// AVX-512 forms of the BGR pixel converters: 16 pixels a step, each pixel in
// a 32-bit lane as B, G, R and a fourth byte. A row's last step, of fewer
// pixels, reads and writes through byte masks, so nothing behind the row is
// touched and no scalar tail is needed.
#include "color/direct_converters_forms.h"

#if MORVA_X86_64

#include <cstddef>

#include "color/x86/lanes.h"

namespace morva::direct {
namespace {

using lanes::firstBytes;

// 16 pixels of n bytes each: a whole register, or its first bytes by a mask
// (nothing behind them is read or written). A whole register goes without a
// mask: a store through a mask of all 64 bytes costs about twice as much.
template <int n>
MORVA_LANE_INLINE __m512i load16(const uint8_t* p) {
    if constexpr (n == 4) return _mm512_loadu_si512(p);
    else return _mm512_maskz_loadu_epi8(firstBytes(16 * n), p);
}
template <int n>
MORVA_LANE_INLINE void store16(uint8_t* p, __m512i v) {
    if constexpr (n == 4) _mm512_storeu_si512(p, v);
    else _mm512_mask_storeu_epi8(p, firstBytes(16 * n), v);
}

// Rows in steps of 16 pixels: convert takes a step's source bytes and gives
// its destination bytes. The last step of a row, of fewer pixels, loads and
// stores through masks of its bytes.
template <int kSrcBytes, int kDstBytes, class Convert>
MORVA_LANE_INLINE void rowsBy16(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
                                int32_t height, Convert convert) {
    for (ptrdiff_t r = 0; r < height; ++r) {
        const uint8_t* s = src + r * srcStep;
        uint8_t* d = dst + r * dstStep;
        int32_t x = 0;
        for (; x + 16 <= width; x += 16)
            store16<kDstBytes>(d + x * kDstBytes, convert(load16<kSrcBytes>(s + x * kSrcBytes)));
        if (x < width) {
            const int n = width - x;
            const __m512i in = _mm512_maskz_loadu_epi8(firstBytes(n * kSrcBytes), s + x * kSrcBytes);
            _mm512_mask_storeu_epi8(d + x * kDstBytes, firstBytes(n * kDstBytes), convert(in));
        }
    }
}

// Words of 5-5-5 or 5-6-5 fields, one to a 32-bit lane, to B, G, R bytes:
// each field shifted straight to its byte and masked, as the scalar form
// shifts it down and masks it.
template <const Bgr16Fields& f>
MORVA_LANE_INLINE __m512i widenFields(__m512i words) {
    constexpr int kOr3 = 0xFE;  // a | b | c
    const __m512i blue = _mm512_and_si512(_mm512_slli_epi32(words, 3), _mm512_set1_epi32(0xF8));
    const __m512i green =
        _mm512_and_si512(_mm512_slli_epi32(words, 8 - f.greenShift), _mm512_set1_epi32(f.greenMask << 8));
    const __m512i red = _mm512_and_si512(_mm512_slli_epi32(words, 16 - f.redShift), _mm512_set1_epi32(0xF8 << 16));
    return _mm512_ternarylogic_epi32(blue, green, red, kOr3);
}

template <const Bgr16Fields& f>
void widen16(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width, int32_t height) {
    rowsBy16<2, 3>(src, srcStep, dst, dstStep, width, height, [](__m512i words) MORVA_LANE_LAMBDA {
        return lanes::compact4To3(widenFields<f>(_mm512_cvtepu16_epi32(_mm512_castsi512_si256(words))));
    });
}

}  // namespace

void bgraToBgrAvx512(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
                     int32_t height) {
    rowsBy16<4, 3>(src, srcStep, dst, dstStep, width, height,
                   [](__m512i pixels) MORVA_LANE_LAMBDA { return lanes::compact4To3(pixels); });
}

void bgrToBgraAvx512(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
                     int32_t height) {
    rowsBy16<3, 4>(src, srcStep, dst, dstStep, width, height,
                   [](__m512i bytes) MORVA_LANE_LAMBDA { return lanes::spread3To4(bytes); });
}

void bgr555ToBgrAvx512(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
                       int32_t height) {
    widen16<kBgr555Fields>(src, srcStep, dst, dstStep, width, height);
}

void bgr565ToBgrAvx512(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
                       int32_t height) {
    widen16<kBgr565Fields>(src, srcStep, dst, dstStep, width, height);
}

}  // namespace morva::direct

#endif
