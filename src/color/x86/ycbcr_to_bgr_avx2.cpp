// AVX2 forms of the vectorised YCbCr to BGR kernels: 32 pixels a step, then
// the 128-bit steps of 16 and 8 up to the end of the vector body, then the
// kernel's scalar tail. The arithmetic is the Q forms' lane for lane.
#include "kernels/cpu.h"

#if MORVA_X86_64

#include <immintrin.h>

#include <cstdint>
#include <type_traits>

#include "color/x86/interpolating_420_rows.h"
#include "color/x86/ycbcr_simd.h"
#include "color/ycbcr_to_bgr_forms.h"

namespace morva::ycbcr {
namespace {

using namespace ycbcr_simd;

// 32 pixels: luma of pixels 0-7 and 16-23 (y0), 8-15 and 24-31 (y1), 16-bit
// lanes, and one Cb and Cr per pair, pairs 0-15 in order. The in-lane
// unpacks of the chroma then line up with the luma, and the packed results
// come out in pixel order.
using Ycc32 = YccOf<__m256i>;

// 32 pixels as bytes, in order, one register per channel.
using Bgr32 = BgrOf<__m256i>;

MORVA_LANE_INLINE __m256i load256(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }

// 64 bytes of packed groups; the 128-bit halves are regrouped so that lane 0
// holds pixels 0-7 and 16-23.
template <Split>
struct PackedOrder;

template <>
struct PackedOrder<splitYCbYCr> {
    MORVA_LANE_INLINE static Ycc32 load(const uint8_t* p) {
        const __m256i a = load256(p), b = load256(p + 32);
        const __m256i x = _mm256_permute2x128_si256(a, b, 0x20), y = _mm256_permute2x128_si256(a, b, 0x31);
        const __m256i lowBytes = _mm256_set1_epi16(0x00FF);
        const auto cb = [](__m256i v) { return _mm256_srli_epi32(_mm256_slli_epi32(v, 16), 24); };
        return {_mm256_and_si256(x, lowBytes), _mm256_and_si256(y, lowBytes), _mm256_packs_epi32(cb(x), cb(y)),
                _mm256_packs_epi32(_mm256_srli_epi32(x, 24), _mm256_srli_epi32(y, 24))};
    }
};

template <>
struct PackedOrder<splitCbYCrY> {
    MORVA_LANE_INLINE static Ycc32 load(const uint8_t* p) {
        const __m256i a = load256(p), b = load256(p + 32);
        const __m256i x = _mm256_permute2x128_si256(a, b, 0x20), y = _mm256_permute2x128_si256(a, b, 0x31);
        const __m256i lowByte = _mm256_set1_epi32(0xFF);
        const auto cr = [](__m256i v) { return _mm256_srli_epi32(_mm256_slli_epi32(v, 8), 24); };
        return {_mm256_srli_epi16(x, 8), _mm256_srli_epi16(y, 8),
                _mm256_packs_epi32(_mm256_and_si256(x, lowByte), _mm256_and_si256(y, lowByte)),
                _mm256_packs_epi32(cr(x), cr(y))};
    }
};

// 32 luma bytes and 16 of each chroma plane.
MORVA_LANE_INLINE __m256i luma(__m256i l, bool high) {
    return high ? _mm256_unpackhi_epi8(l, _mm256_setzero_si256()) : _mm256_unpacklo_epi8(l, _mm256_setzero_si256());
}
MORVA_LANE_INLINE __m256i chroma(const uint8_t* p) { return _mm256_cvtepu8_epi16(load<false>(p)); }

// Output layouts: 32 pixels at once, and the 128-bit layout for the steps
// of 16 and 8 behind them.
struct BgraWide {
    static constexpr int kBytes = 4;
    __m256i alpha;
    BgraOut<false> narrow;

    explicit BgraWide(uint8_t a)
        : alpha(_mm256_set1_epi8(static_cast<char>(a))), narrow{_mm_set1_epi8(static_cast<char>(a))} {}

    MORVA_LANE_INLINE void operator()(uint8_t* d, const Bgr32& c) const {
        const __m256i bgLo = _mm256_unpacklo_epi8(c.b, c.g), bgHi = _mm256_unpackhi_epi8(c.b, c.g);
        const __m256i raLo = _mm256_unpacklo_epi8(c.r, alpha), raHi = _mm256_unpackhi_epi8(c.r, alpha);
        // Pixels 0-3 | 16-19, 4-7 | 20-23, 8-11 | 24-27, 12-15 | 28-31.
        const __m256i q0 = _mm256_unpacklo_epi16(bgLo, raLo), q1 = _mm256_unpackhi_epi16(bgLo, raLo);
        const __m256i q2 = _mm256_unpacklo_epi16(bgHi, raHi), q3 = _mm256_unpackhi_epi16(bgHi, raHi);
        auto* out = reinterpret_cast<__m256i*>(d);
        _mm256_storeu_si256(out, _mm256_permute2x128_si256(q0, q1, 0x20));
        _mm256_storeu_si256(out + 1, _mm256_permute2x128_si256(q2, q3, 0x20));
        _mm256_storeu_si256(out + 2, _mm256_permute2x128_si256(q0, q1, 0x31));
        _mm256_storeu_si256(out + 3, _mm256_permute2x128_si256(q2, q3, 0x31));
    }
};

// Byte shuffles that spread 16 pixels of one channel over the three 16-byte
// chunks of 3-byte pixels, the same in both lanes; -128 leaves a zero.
struct Shuffle24 {
    alignas(32) int8_t bytes[3][3][32];  // [chunk][channel in memory order]
};

constexpr Shuffle24 makeShuffle24() {
    Shuffle24 s{};
    for (int chunk = 0; chunk < 3; ++chunk)
        for (int ch = 0; ch < 3; ++ch)
            for (int j = 0; j < 32; ++j) {
                const int i = 16 * chunk + j % 16;
                s.bytes[chunk][ch][j] = static_cast<int8_t>(i % 3 == ch ? i / 3 : -128);
            }
    return s;
}

constexpr Shuffle24 kShuffle24 = makeShuffle24();

// Three bytes a pixel, in the order first, second, third.
MORVA_LANE_INLINE void store24(uint8_t* d, __m256i first, __m256i second, __m256i third) {
    const auto mask = [](int chunk, int ch) {
        return _mm256_load_si256(reinterpret_cast<const __m256i*>(kShuffle24.bytes[chunk][ch]));
    };
    __m256i o[3];
    for (int k = 0; k < 3; ++k)
        o[k] = _mm256_or_si256(_mm256_or_si256(_mm256_shuffle_epi8(first, mask(k, 0)),
                                               _mm256_shuffle_epi8(second, mask(k, 1))),
                               _mm256_shuffle_epi8(third, mask(k, 2)));
    // Chunks 0-2 of pixels 0-15 in the low lanes, of pixels 16-31 in the high.
    auto* out = reinterpret_cast<__m256i*>(d);
    _mm256_storeu_si256(out, _mm256_permute2x128_si256(o[0], o[1], 0x20));
    _mm256_storeu_si256(out + 1, _mm256_permute2x128_si256(o[2], o[0], 0x30));
    _mm256_storeu_si256(out + 2, _mm256_permute2x128_si256(o[1], o[2], 0x31));
}

template <bool redFirst>
struct Wide24 {
    static constexpr int kBytes = 3;
    std::conditional_t<redFirst, RgbOut, BgrOut> narrow;

    MORVA_LANE_INLINE void operator()(uint8_t* d, const Bgr32& c) const {
        if constexpr (redFirst) store24(d, c.r, c.g, c.b);
        else store24(d, c.b, c.g, c.r);
    }
};

// Pixels [0, end) of a packed row, end a multiple of 8.
template <QForm F, Split split, class Wide>
void packedBody(const uint8_t* src, uint8_t* dst, int32_t end, const Wide& out) {
    int32_t x = 0;
    for (; x + 32 <= end; x += 32) out(dst + x * Wide::kBytes, convert<F>(PackedOrder<split>::load(src + 2 * x)));
    packedBlocks<F, split, false>(src, dst, x, end, out.narrow);
}

void yuy2ToBgraRow(const uint8_t* src, uint8_t* dst, int32_t width, uint8_t alpha) {
    packedBody<kQ3, splitYCbYCr>(src, dst, bodyWidth(width), BgraWide(alpha));
    yuy2ToBgraTail(src, dst, width, alpha);
}

// Every pair is part of the vector body, the last few through a local block.
void yuy2ToBgrRow(const uint8_t* src, uint8_t* dst, int32_t width, uint8_t alpha) {
    packedBody<kQ4Rounded, splitYCbYCr>(src, dst, bodyWidth(width), Wide24<false>{});
    packedPartial<kQ4Rounded, splitYCbYCr>(src, dst, bodyWidth(width), width & ~1, BgrOut{});
    yuy2ToBgrOddPixel(src, dst, width, alpha);
}

void uyvyToBgraRow(const uint8_t* src, uint8_t* dst, int32_t width, uint8_t alpha) {
    packedBody<kQ4Rounded, splitCbYCrY>(src, dst, bodyWidth(width), BgraWide(alpha));
    uyvyToBgraTail(src, dst, width, alpha);
}

void uyvyToRgbRow(const uint8_t* src, uint8_t* dst, int32_t width, uint8_t alpha) {
    packedBody<kQ4Rounded, splitCbYCrY>(src, dst, bodyWidth(width), Wide24<true>{});
    uyvyToRgbTail(src, dst, width, alpha);
}

void planar422ToBgrRow(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst, int32_t width) {
    const int32_t end = bodyWidth(width);
    const Wide24<false> out;
    int32_t x = 0;
    for (; x + 32 <= end; x += 32) {
        const __m256i l = load256(y + x);
        out(dst + 3 * x, convert<kQ4Rounded>(Ycc32{luma(l, false), luma(l, true), chroma(cb + x / 2), chroma(cr + x / 2)}));
    }
    planarBlocks<kQ4Rounded>(y, cb, cr, dst, x, end, out.narrow);
    planar422ToBgrTail(y, cb, cr, dst, width);
}

// Both rows of a pair take the same chroma terms.
void planar420ToBgrRowPair(const uint8_t* y0, const uint8_t* y1, const uint8_t* cb, const uint8_t* cr,
                           uint8_t* dst0, uint8_t* dst1, int32_t width) {
    const int32_t end = bodyWidth(width);
    const Wide24<false> out;
    int32_t x = 0;
    for (; x + 32 <= end; x += 32) {
        const ChromaTermsOf<__m256i> t = chromaTerms<kQ4Rounded>(chroma(cb + x / 2), chroma(cr + x / 2));
        const __m256i l0 = load256(y0 + x), l1 = load256(y1 + x);
        out(dst0 + 3 * x, applyTerms<kQ4Rounded>(t, luma(l0, false), luma(l0, true)));
        out(dst1 + 3 * x, applyTerms<kQ4Rounded>(t, luma(l1, false), luma(l1, true)));
    }
    planarPairBlocks<kQ4Rounded>(y0, y1, cb, cr, dst0, dst1, x, end, out.narrow);
    planar420ToBgrTail(y0, y1, cb, cr, dst0, dst1, width);
}

}  // namespace

void yuy2ToBgraAvx2(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
                    int32_t height, uint8_t alpha) {
    forEachPackedRow(&yuy2ToBgraRow, src, srcStep, dst, dstStep, width, height, alpha);
}

void yuy2ToBgrAvx2(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
                   int32_t height) {
    forEachPackedRow(&yuy2ToBgrRow, src, srcStep, dst, dstStep, width, height, 0);
}

// One body serves aligned and unaligned frames alike: on processors with
// AVX2, unaligned accesses to aligned addresses cost nothing extra.
void uyvyToBgraAvx2(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
                    int32_t height, uint8_t alpha) {
    forEachPackedRow(&uyvyToBgraRow, src, srcStep, dst, dstStep, width, height, alpha);
}

void uyvyToRgbAvx2(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
                   int32_t height) {
    forEachPackedRow(&uyvyToRgbRow, src, srcStep, dst, dstStep, width, height, 0);
}

void planar422ToBgrAvx2(const uint8_t* const src[3], const int32_t srcStep[3], uint8_t* dst, int32_t dstStep,
                        int32_t width, int32_t height) {
    forEachPlanar422Row(&planar422ToBgrRow, src, srcStep, dst, dstStep, width, height);
}

void planar420ToBgrAvx2(const uint8_t* const src[3], const int32_t srcStep[3], uint8_t* dst, int32_t dstStep,
                        int32_t width, int32_t height) {
    forEachPlanar420RowPair(&planar420ToBgrRowPair, src, srcStep, dst, dstStep, width, height);
}

void planar420ToBgraAvx2(const uint8_t* const src[3], const int32_t srcStep[3], uint8_t* dst, int32_t dstStep,
                         int32_t width, int32_t height, uint8_t alpha) {
    forEachYCrCb420RowPair(&interpolatingRowPair<__m256i>, src, srcStep, dst, dstStep, width, height, alpha);
}

}  // namespace morva::ycbcr

#endif
