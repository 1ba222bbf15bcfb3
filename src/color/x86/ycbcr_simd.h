// Pieces of the YCbCr to RGB vector forms: the Q forms in 16-bit lanes of
// any register width, and the 128-bit loads of the source layouts and stores
// of the output layouts.
//
// Everything here has internal linkage: the header is compiled into files of
// different instruction sets, and their copies must never be merged.
#pragma once

#include "kernels/cpu.h"

#if MORVA_X86_64

#include <emmintrin.h>

#include <cstdint>
#include <cstring>

#include "color/x86/lanes.h"

namespace morva::ycbcr_simd {
namespace {

using namespace lanes;

// A Q form as 16-bit lanes compute it (see yuv_fixed_point.h): luma factor,
// chroma factors, whether the two green products are subtracted (true) or
// added as products of negative factors (false), a bias added before the
// shift, and the shift.
struct QForm {
    int16_t kY, kB, kGreenCb, kGreenCr, kR;
    bool subtractGreen;
    int16_t bias;
    int shift;
};
constexpr QForm kQ3{4767, 8261, 1605, 3330, 6537, true, 0, 3};
constexpr QForm kQ4Rounded{9535, 16523, -3211, -6660, 13074, false, 8, 4};
constexpr QForm kQ4Truncated{9535, 16523, 3211, 6660, 13074, true, 0, 4};

// The chroma part of each channel, 16-bit lanes.
template <class V>
struct ChromaTermsOf {
    V b, g, r;
};

// Pixels as bytes, one register per channel.
template <class V>
struct BgrOf {
    V b, g, r;
};

// YCbCr as 16-bit lanes: luma in two registers, and one Cb and one Cr per
// pixel pair, so that the unpacks of a chroma register line up with the two
// luma registers.
template <class V>
struct YccOf {
    V y0, y1, cb, cr;
};

using ChromaTerms = ChromaTermsOf<__m128i>;
using Bgr16 = BgrOf<__m128i>;
using Ycc16 = YccOf<__m128i>;

// Chroma bytes in 16-bit lanes as the forms take them: (c - 128) << 7.
template <class V>
MORVA_LANE_INLINE V centredChroma(V c) {
    return slli16<7>(sub16(c, set1_16<V>(128)));
}

template <QForm F, class V>
MORVA_LANE_INLINE ChromaTermsOf<V> chromaTerms(V cb, V cr) {
    cb = centredChroma(cb);
    cr = centredChroma(cr);
    const V gb = mulhi16(cb, set1_16<V>(F.kGreenCb));
    const V gr = mulhi16(cr, set1_16<V>(F.kGreenCr));
    const V g = F.subtractGreen ? sub16(sub16(zero<V>(), gb), gr) : add16(gb, gr);
    return {mulhi16(cb, set1_16<V>(F.kB)), g, mulhi16(cr, set1_16<V>(F.kR))};
}

// Scaled luma with the form's bias already added.
template <QForm F, class V>
MORVA_LANE_INLINE V lumaTerm(V y) {
    y = slli16<7>(sub16(y, set1_16<V>(16)));
    return add16(mulhi16(y, set1_16<V>(F.kY)), set1_16<V>(F.bias));
}

// One channel of a pixel's scaled luma and its own chroma term.
template <QForm F, class V>
MORVA_LANE_INLINE V pixelChannel(V y, V c) {
    return srai16<F.shift>(add16(y, c));
}

// One channel of two luma registers as bytes: each chroma term serves a
// pixel pair.
template <QForm F, class V>
MORVA_LANE_INLINE V channel(V y0, V y1, V c) {
    return packus16(pixelChannel<F>(y0, unpacklo16(c, c)), pixelChannel<F>(y1, unpackhi16(c, c)));
}

template <QForm F, class V>
MORVA_LANE_INLINE BgrOf<V> applyTerms(const ChromaTermsOf<V>& t, V y0, V y1) {
    y0 = lumaTerm<F>(y0);
    y1 = lumaTerm<F>(y1);
    return {channel<F>(y0, y1, t.b), channel<F>(y0, y1, t.g), channel<F>(y0, y1, t.r)};
}

template <QForm F, class V>
MORVA_LANE_INLINE BgrOf<V> convert(const YccOf<V>& in) {
    return applyTerms<F>(chromaTerms<F>(in.cb, in.cr), in.y0, in.y1);
}

// A packed layout as three byte shuffles that give each pixel's luma, Cb and
// Cr in its own 16-bit lane, in pixel order: the pixels of a pair take the
// same chroma, and the Q forms then need no unpacking to pair pixels with
// their chroma.
struct PackedPicks {
    int8_t y[16], cb[16], cr[16];
};

// Byte positions of Y0, Cb, Y1, Cr in a group of two pixels.
constexpr PackedPicks picksOf(int y0, int cb, int y1, int cr) {
    PackedPicks p{};
    for (int pixel = 0; pixel < 8; ++pixel) {
        const int group = 4 * (pixel / 2);
        p.y[2 * pixel] = int8_t(group + (pixel % 2 ? y1 : y0));
        p.cb[2 * pixel] = int8_t(group + cb);
        p.cr[2 * pixel] = int8_t(group + cr);
        p.y[2 * pixel + 1] = p.cb[2 * pixel + 1] = p.cr[2 * pixel + 1] = -1;  // zero
    }
    return p;
}

constexpr PackedPicks kYCbYCrPicks = picksOf(0, 1, 2, 3);
constexpr PackedPicks kCbYCrYPicks = picksOf(1, 0, 3, 2);

// The scaled luma and the chroma terms of the pixels of packed groups in a
// register of 256 bits or more, a pixel to a 16-bit lane, in pixel order.
template <class V>
struct PixelTerms {
    V y;
    ChromaTermsOf<V> c;
};

template <QForm F, class V>
MORVA_LANE_INLINE PixelTerms<V> packedPixelTerms(V groups, const PackedPicks& picks) {
    const auto pick = [&](const int8_t* shuffle) MORVA_LANE_LAMBDA {
        return shuffle8(groups, broadcast128<V>(shuffle));
    };
    return {lumaTerm<F>(pick(picks.y)), chromaTerms<F>(pick(picks.cb), pick(picks.cr))};
}

template <bool aligned>
inline __m128i load(const uint8_t* p) {
    if constexpr (aligned) return _mm_load_si128(reinterpret_cast<const __m128i*>(p));
    else return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

template <bool aligned>
inline void store(uint8_t* p, __m128i v) {
    if constexpr (aligned) _mm_store_si128(reinterpret_cast<__m128i*>(p), v);
    else _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v);
}

inline __m128i loadLow64(const uint8_t* p) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)); }

inline __m128i loadLow32(const uint8_t* p) {
    int32_t v;
    std::memcpy(&v, p, 4);
    return _mm_cvtsi32_si128(v);
}

// Packed groups Y0 Cb Y1 Cr, 8 pixels a register.
MORVA_LANE_INLINE Ycc16 splitYCbYCr(__m128i a, __m128i b) {
    const __m128i lowBytes = _mm_set1_epi16(0x00FF);
    return {_mm_and_si128(a, lowBytes), _mm_and_si128(b, lowBytes),
            _mm_packs_epi32(_mm_srli_epi32(_mm_slli_epi32(a, 16), 24), _mm_srli_epi32(_mm_slli_epi32(b, 16), 24)),
            _mm_packs_epi32(_mm_srli_epi32(a, 24), _mm_srli_epi32(b, 24))};
}

// Packed groups Cb Y0 Cr Y1.
MORVA_LANE_INLINE Ycc16 splitCbYCrY(__m128i a, __m128i b) {
    const __m128i lowByte = _mm_set1_epi32(0xFF);
    return {_mm_srli_epi16(a, 8), _mm_srli_epi16(b, 8),
            _mm_packs_epi32(_mm_and_si128(a, lowByte), _mm_and_si128(b, lowByte)),
            _mm_packs_epi32(_mm_srli_epi32(_mm_slli_epi32(a, 8), 24), _mm_srli_epi32(_mm_slli_epi32(b, 8), 24))};
}

// Planar: 16 luma bytes, 8 of each chroma plane.
MORVA_LANE_INLINE Ycc16 widenPlanar(__m128i y, __m128i cb, __m128i cr) {
    const __m128i zero = _mm_setzero_si128();
    return {_mm_unpacklo_epi8(y, zero), _mm_unpackhi_epi8(y, zero), _mm_unpacklo_epi8(cb, zero),
            _mm_unpacklo_epi8(cr, zero)};
}

// Four pixels of the given bytes as 32-bit lanes c0 c1 c2 c3, for pixels
// 0-3, 4-7, 8-11, 12-15.
struct Quads {
    __m128i q[4];
};

MORVA_LANE_INLINE Quads interleave4(__m128i c0, __m128i c1, __m128i c2, __m128i c3) {
    const __m128i lo01 = _mm_unpacklo_epi8(c0, c1), hi01 = _mm_unpackhi_epi8(c0, c1);
    const __m128i lo23 = _mm_unpacklo_epi8(c2, c3), hi23 = _mm_unpackhi_epi8(c2, c3);
    return {{_mm_unpacklo_epi16(lo01, lo23), _mm_unpackhi_epi16(lo01, lo23), _mm_unpacklo_epi16(hi01, hi23),
             _mm_unpackhi_epi16(hi01, hi23)}};
}

// 16 or 8 pixels (the first `pixels` of the registers) as B G R A.
template <bool aligned = false>
inline void storeBgra(uint8_t* d, const Bgr16& c, __m128i alpha, int pixels) {
    const Quads p = interleave4(c.b, c.g, c.r, alpha);
    for (int i = 0; i < pixels / 4; ++i) store<aligned>(d + 16 * i, p.q[i]);
}

// Four pixels 0x00ccbbaa in 32-bit lanes to their 12 bytes at the bottom of
// the register; the top 4 bytes are zero.
MORVA_LANE_INLINE __m128i compact3(__m128i p) {
    const __m128i first = _mm_set_epi32(0, 0x00FFFFFF, 0, 0x00FFFFFF);
    const __m128i second = _mm_set_epi32(0x0000FFFF, static_cast<int>(0xFF000000), 0x0000FFFF,
                                         static_cast<int>(0xFF000000));
    const __m128i q = _mm_or_si128(_mm_and_si128(p, first), _mm_and_si128(_mm_srli_epi64(p, 8), second));
    return _mm_or_si128(_mm_move_epi64(q), _mm_slli_si128(_mm_srli_si128(q, 8), 6));
}

// 16 or 8 pixels as three bytes c0 c1 c2 each.
inline void store3(uint8_t* d, __m128i c0, __m128i c1, __m128i c2, int pixels) {
    const Quads p = interleave4(c0, c1, c2, _mm_setzero_si128());
    const __m128i t0 = compact3(p.q[0]), t1 = compact3(p.q[1]);
    store<false>(d, _mm_or_si128(t0, _mm_slli_si128(t1, 12)));
    if (pixels == 8) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(d + 16), _mm_srli_si128(t1, 4));
        return;
    }
    const __m128i t2 = compact3(p.q[2]), t3 = compact3(p.q[3]);
    store<false>(d + 16, _mm_or_si128(_mm_srli_si128(t1, 4), _mm_slli_si128(t2, 8)));
    store<false>(d + 32, _mm_or_si128(_mm_srli_si128(t2, 8), _mm_slli_si128(t3, 4)));
}

// Destination layouts of 16 or 8 pixels from a Bgr16.
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

// Pixels [x, end) of a packed row, in steps of 16 and then one of 8; end - x
// a multiple of 8.
template <QForm F, Split split, bool aligned, class Out>
void packedBlocks(const uint8_t* src, uint8_t* dst, int64_t x, int64_t end, const Out& out) {
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

// Pixels [x, end) of a planar 4:2:2 row, in steps of 16 and then one of 8;
// end - x a multiple of 8.
template <QForm F, class Out>
void planarBlocks(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst, int32_t x, int32_t end,
                  const Out& out) {
    for (; x + 16 <= end; x += 16) {
        const Ycc16 v = widenPlanar(load<false>(y + x), loadLow64(cb + x / 2), loadLow64(cr + x / 2));
        out(dst + x * Out::kBytes, convert<F>(v), 16);
    }
    if (x < end) {
        const Ycc16 v = widenPlanar(loadLow64(y + x), loadLow32(cb + x / 2), loadLow32(cr + x / 2));
        out(dst + x * Out::kBytes, convert<F>(v), 8);
    }
}

// Pixels [x, end) of two planar rows that share a chroma row, in steps of 16
// and then one of 8; end - x a multiple of 8. Returns the column reached.
template <QForm F, class Out>
int32_t planarPairBlocks(const uint8_t* y0, const uint8_t* y1, const uint8_t* cb, const uint8_t* cr, uint8_t* dst0,
                         uint8_t* dst1, int32_t x, int32_t end, const Out& out) {
    const __m128i zero = _mm_setzero_si128();
    const auto both = [&](int32_t at, __m128i l0, __m128i l1, __m128i u, __m128i v, int pixels) {
        const ChromaTerms t = chromaTerms<F>(_mm_unpacklo_epi8(u, zero), _mm_unpacklo_epi8(v, zero));
        const auto row = [&](uint8_t* d, __m128i l) {
            out(d + at * Out::kBytes, applyTerms<F>(t, _mm_unpacklo_epi8(l, zero), _mm_unpackhi_epi8(l, zero)), pixels);
        };
        row(dst0, l0);
        row(dst1, l1);
    };
    for (; x + 16 <= end; x += 16)
        both(x, load<false>(y0 + x), load<false>(y1 + x), loadLow64(cb + x / 2), loadLow64(cr + x / 2), 16);
    if (x + 8 <= end) {
        both(x, loadLow64(y0 + x), loadLow64(y1 + x), loadLow32(cb + x / 2), loadLow32(cr + x / 2), 8);
        x += 8;
    }
    return x;
}

}  // namespace
}  // namespace morva::ycbcr_simd

#endif
