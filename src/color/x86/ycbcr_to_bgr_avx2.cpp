// AVX2 forms of the hottest YCbCr to BGR kernels: 32 pixels a step, then
// the 128-bit steps of 16 and 8 up to the end of the vector body, then the
// kernel's scalar tail. The arithmetic is the Q forms' lane for lane.
#include "kernels/cpu.h"

#if MORVA_X86_64

#include <immintrin.h>

#include <cstdint>

#include "color/x86/ycbcr_simd.h"
#include "color/ycbcr_to_bgr_forms.h"

namespace morva::ycbcr {
namespace {

using namespace ycbcr_simd;

// 32 pixels: luma of pixels 0-7 and 16-23 (lo), 8-15 and 24-31 (hi), 16-bit
// lanes, and one Cb and Cr per pair, pairs 0-15 in order. The in-lane
// unpacks of the chroma then line up with the luma.
struct Ycc32 {
    __m256i lo, hi, cb, cr;
};

// 32 pixels as bytes, in order, one register per channel.
struct Bgr32 {
    __m256i b, g, r;
};

template <QForm F>
MORVA_YCC_INLINE __m256i lumaTerm(__m256i y) {
    y = _mm256_slli_epi16(_mm256_sub_epi16(y, _mm256_set1_epi16(16)), 7);
    return _mm256_add_epi16(_mm256_mulhi_epi16(y, _mm256_set1_epi16(F.kY)), _mm256_set1_epi16(F.bias));
}

template <QForm F>
MORVA_YCC_INLINE __m256i channel(__m256i lo, __m256i hi, __m256i c) {
    const __m256i a = _mm256_srai_epi16(_mm256_add_epi16(lo, _mm256_unpacklo_epi16(c, c)), F.shift);
    const __m256i b = _mm256_srai_epi16(_mm256_add_epi16(hi, _mm256_unpackhi_epi16(c, c)), F.shift);
    return _mm256_packus_epi16(a, b);
}

template <QForm F>
MORVA_YCC_INLINE Bgr32 convert(const Ycc32& in) {
    const __m256i c128 = _mm256_set1_epi16(128);
    const __m256i cb = _mm256_slli_epi16(_mm256_sub_epi16(in.cb, c128), 7);
    const __m256i cr = _mm256_slli_epi16(_mm256_sub_epi16(in.cr, c128), 7);
    const __m256i gb = _mm256_mulhi_epi16(cb, _mm256_set1_epi16(F.kGreenCb));
    const __m256i gr = _mm256_mulhi_epi16(cr, _mm256_set1_epi16(F.kGreenCr));
    const __m256i g = F.subtractGreen ? _mm256_sub_epi16(_mm256_sub_epi16(_mm256_setzero_si256(), gb), gr)
                                      : _mm256_add_epi16(gb, gr);
    const __m256i lo = lumaTerm<F>(in.lo), hi = lumaTerm<F>(in.hi);
    return {channel<F>(lo, hi, _mm256_mulhi_epi16(cb, _mm256_set1_epi16(F.kB))), channel<F>(lo, hi, g),
            channel<F>(lo, hi, _mm256_mulhi_epi16(cr, _mm256_set1_epi16(F.kR)))};
}

__m256i load256(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }

// 64 bytes of packed groups; the 128-bit halves are regrouped so that lane 0
// holds pixels 0-7 and 16-23.
template <Split>
struct PackedOrder;

template <>
struct PackedOrder<splitYCbYCr> {
    MORVA_YCC_INLINE static Ycc32 load(const uint8_t* p) {
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
    MORVA_YCC_INLINE static Ycc32 load(const uint8_t* p) {
        const __m256i a = load256(p), b = load256(p + 32);
        const __m256i x = _mm256_permute2x128_si256(a, b, 0x20), y = _mm256_permute2x128_si256(a, b, 0x31);
        const __m256i lowByte = _mm256_set1_epi32(0xFF);
        const auto cr = [](__m256i v) { return _mm256_srli_epi32(_mm256_slli_epi32(v, 8), 24); };
        return {_mm256_srli_epi16(x, 8), _mm256_srli_epi16(y, 8),
                _mm256_packs_epi32(_mm256_and_si256(x, lowByte), _mm256_and_si256(y, lowByte)),
                _mm256_packs_epi32(cr(x), cr(y))};
    }
};

MORVA_YCC_INLINE void storeBgra(uint8_t* d, const Bgr32& c, __m256i alpha) {
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

// Byte shuffles that spread 16 pixels of one channel over the three 16-byte
// chunks of 3-byte pixels; 0x80 leaves a zero.
struct Bgr24Masks {
    __m256i m[3][3];  // [chunk][channel]
    Bgr24Masks() {
        for (int chunk = 0; chunk < 3; ++chunk)
            for (int ch = 0; ch < 3; ++ch) {
                alignas(32) int8_t bytes[32];
                for (int j = 0; j < 16; ++j) {
                    const int i = 16 * chunk + j;
                    bytes[j] = bytes[j + 16] = static_cast<int8_t>(i % 3 == ch ? i / 3 : 0x80);
                }
                m[chunk][ch] = _mm256_load_si256(reinterpret_cast<const __m256i*>(bytes));
            }
    }
};

MORVA_YCC_INLINE void storeBgr24(uint8_t* d, const Bgr32& c, const Bgr24Masks& masks) {
    __m256i o[3];
    for (int k = 0; k < 3; ++k)
        o[k] = _mm256_or_si256(_mm256_or_si256(_mm256_shuffle_epi8(c.b, masks.m[k][0]),
                                               _mm256_shuffle_epi8(c.g, masks.m[k][1])),
                               _mm256_shuffle_epi8(c.r, masks.m[k][2]));
    auto* out = reinterpret_cast<__m256i*>(d);
    _mm256_storeu_si256(out, _mm256_permute2x128_si256(o[0], o[1], 0x20));
    _mm256_storeu_si256(out + 1, _mm256_permute2x128_si256(o[2], o[0], 0x30));
    _mm256_storeu_si256(out + 2, _mm256_permute2x128_si256(o[1], o[2], 0x31));
}

// Pixels [0, end) of a packed row to BGRA, end a multiple of 8.
template <QForm F, Split split>
void packedToBgraBody(const uint8_t* src, uint8_t* dst, int32_t end, uint8_t alpha) {
    const __m256i alpha32 = _mm256_set1_epi8(static_cast<char>(alpha));
    int32_t x = 0;
    for (; x + 32 <= end; x += 32) storeBgra(dst + 4 * x, convert<F>(PackedOrder<split>::load(src + 2 * x)), alpha32);
    packedBlocks<F, split, false>(src, dst, x, end, BgraOut<false>{_mm_set1_epi8(static_cast<char>(alpha))});
}

void yuy2ToBgraRow(const uint8_t* src, uint8_t* dst, int32_t width, uint8_t alpha) {
    packedToBgraBody<kQ3, splitYCbYCr>(src, dst, bodyWidth(width), alpha);
    yuy2ToBgraTail(src, dst, width, alpha);
}

void uyvyToBgraRow(const uint8_t* src, uint8_t* dst, int32_t width, uint8_t alpha) {
    packedToBgraBody<kQ4Rounded, splitCbYCrY>(src, dst, bodyWidth(width), alpha);
    uyvyToBgraTail(src, dst, width, alpha);
}

void planar420ToBgrRowPair(const uint8_t* y0, const uint8_t* y1, const uint8_t* cb, const uint8_t* cr,
                           uint8_t* dst0, uint8_t* dst1, int32_t width) {
    static const Bgr24Masks masks;
    const int32_t end = bodyWidth(width);
    const __m256i zero = _mm256_setzero_si256();
    int32_t x = 0;
    for (; x + 32 <= end; x += 32) {
        const __m256i u = _mm256_cvtepu8_epi16(load<false>(cb + x / 2));
        const __m256i v = _mm256_cvtepu8_epi16(load<false>(cr + x / 2));
        const __m256i l0 = load256(y0 + x), l1 = load256(y1 + x);
        storeBgr24(dst0 + 3 * x,
                   convert<kQ4Rounded>({_mm256_unpacklo_epi8(l0, zero), _mm256_unpackhi_epi8(l0, zero), u, v}), masks);
        storeBgr24(dst1 + 3 * x,
                   convert<kQ4Rounded>({_mm256_unpacklo_epi8(l1, zero), _mm256_unpackhi_epi8(l1, zero), u, v}), masks);
    }
    planarPairBlocks<kQ4Rounded>(y0, y1, cb, cr, dst0, dst1, x, end, BgrOut{});
    planar420ToBgrTail(y0, y1, cb, cr, dst0, dst1, width);
}

}  // namespace

void yuy2ToBgraAvx2(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
                    int32_t height, uint8_t alpha) {
    forEachPackedRow(&yuy2ToBgraRow, src, srcStep, dst, dstStep, width, height, alpha);
}

// One body serves aligned and unaligned frames alike: on processors with
// AVX2 unaligned accesses to aligned addresses cost nothing extra.
void uyvyToBgraAvx2(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
                    int32_t height, uint8_t alpha) {
    forEachPackedRow(&uyvyToBgraRow, src, srcStep, dst, dstStep, width, height, alpha);
}

void planar420ToBgrAvx2(const uint8_t* const src[3], const int32_t srcStep[3], uint8_t* dst, int32_t dstStep,
                        int32_t width, int32_t height) {
    forEachPlanar420RowPair(&planar420ToBgrRowPair, src, srcStep, dst, dstStep, width, height);
}

}  // namespace morva::ycbcr

#endif
