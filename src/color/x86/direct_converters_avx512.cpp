// AVX-512 forms of the BGR pixel converters: 16 pixels a step, each pixel in
// a 32-bit lane as B, G, R and a fourth byte. A row's last step, of fewer
// pixels, reads and writes through byte masks, so nothing behind the row is
// touched and no scalar tail is needed.
#include "color/direct_converters_forms.h"

#if MORVA_X86_64

#include <cstddef>

#include "color/x86/bgr16_words_avx512.h"
#include "color/x86/lanes.h"

namespace morva::direct {
namespace {

using lanes::firstBytes;

// Rows in steps of 16 pixels: convert takes a step's source bytes and gives
// its destination bytes. Loads and stores take whole registers while the row
// goes on for one more register behind the step's first byte: a store then
// writes some bytes of the next step, which that step writes again. The
// rest of the row goes through byte masks, so nothing behind it is touched.
// (Masked stores in the loop would cost half as much again with the target
// in cache and twice as much with it in memory.)
template <int kSrcBytes, int kDstBytes, class Convert>
MORVA_LANE_INLINE void rowsBy16(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
                                int32_t height, Convert convert) {
    // Whole registers from pixel x on end within the row for x < wholeEnd.
    constexpr int kNarrower = kSrcBytes < kDstBytes ? kSrcBytes : kDstBytes;
    const int32_t wholeEnd = width - (64 + kNarrower - 1) / kNarrower + 1;
    for (ptrdiff_t r = 0; r < height; ++r) {
        const uint8_t* s = src + r * srcStep;
        uint8_t* d = dst + r * dstStep;
        int32_t x = 0;
        for (; x < wholeEnd && x + 16 <= width; x += 16)
            _mm512_storeu_si512(d + x * kDstBytes, convert(_mm512_loadu_si512(s + x * kSrcBytes)));
        for (; x < width; x += 16) {
            const int n = width - x < 16 ? width - x : 16;
            const __m512i in = _mm512_maskz_loadu_epi8(firstBytes(n * kSrcBytes), s + x * kSrcBytes);
            _mm512_mask_storeu_epi8(d + x * kDstBytes, firstBytes(n * kDstBytes), convert(in));
        }
    }
}

template <const Bgr16Fields& f>
void widen16(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width, int32_t height) {
    rowsBy16<2, 3>(src, srcStep, dst, dstStep, width, height, [](__m512i words) MORVA_LANE_LAMBDA {
        return lanes::compact4To3(widenBgr16Fields<f>(_mm512_cvtepu16_epi32(_mm512_castsi512_si256(words))));
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
