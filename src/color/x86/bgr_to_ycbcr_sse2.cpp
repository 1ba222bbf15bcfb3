// BGR to YCbCr, vector parts of the rows in SSE2: the lane forms of
// bgr_fixed_point.h, eight 16-bit lanes at a time.
#include "color/bgr_to_ycbcr_forms.h"

#if MORVA_X86_64

#include <emmintrin.h>

#include <cstring>

namespace morva::x86 {
namespace {

// Eight pixels, one channel value 0..255 in each 16-bit lane.
struct Channels {
    __m128i r, g, b;
};

__m128i load128(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
__m128i load64(const uint8_t* p) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)); }
__m128i load32(const uint8_t* p) {
    int32_t v;
    std::memcpy(&v, p, 4);
    return _mm_cvtsi32_si128(v);
}
void store128(uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
void store64(uint8_t* p, __m128i v) { _mm_storel_epi64(reinterpret_cast<__m128i*>(p), v); }
void store32(uint8_t* p, __m128i v) {
    const int32_t x = _mm_cvtsi128_si32(v);
    std::memcpy(p, &x, 4);
}
void store16(uint8_t* p, __m128i v) {
    const uint16_t x = uint16_t(_mm_cvtsi128_si32(v));
    std::memcpy(p, &x, 2);
}

// Two registers of four 4-byte pixels B, G, R, x to channels.
template <int kShift>
__m128i bgrxChannel(__m128i lo, __m128i hi) {
    const __m128i byte = _mm_set1_epi32(0xFF);
    return _mm_packs_epi32(_mm_and_si128(_mm_srli_epi32(lo, kShift), byte),
                           _mm_and_si128(_mm_srli_epi32(hi, kShift), byte));
}

Channels fromBgrx(__m128i lo, __m128i hi) {
    return {bgrxChannel<16>(lo, hi), bgrxChannel<8>(lo, hi), bgrxChannel<0>(lo, hi)};
}

// The first 12 bytes of v, four 3-byte pixels, spread to 4 bytes each.
__m128i spreadBgr(__m128i v) {
    const __m128i m0 = _mm_setr_epi32(0xFFFFFF, 0, 0, 0);
    const __m128i m1 = _mm_setr_epi32(0, 0xFFFFFF, 0, 0);
    const __m128i m2 = _mm_setr_epi32(0, 0, 0xFFFFFF, 0);
    const __m128i m3 = _mm_setr_epi32(0, 0, 0, 0xFFFFFF);
    return _mm_or_si128(_mm_or_si128(_mm_and_si128(v, m0), _mm_and_si128(_mm_slli_si128(v, 1), m1)),
                        _mm_or_si128(_mm_and_si128(_mm_slli_si128(v, 2), m2),
                                     _mm_and_si128(_mm_slli_si128(v, 3), m3)));
}

// 16-bit words to channels, each field shifted up to 8 bits.
template <BgrSource S>
Channels fromWords(__m128i w) {
    const __m128i five = _mm_set1_epi16(31);
    const __m128i b = _mm_slli_epi16(_mm_and_si128(w, five), 3);
    if constexpr (S == BgrSource::Bgr565) {
        const __m128i g = _mm_slli_epi16(_mm_and_si128(_mm_srli_epi16(w, 5), _mm_set1_epi16(63)), 2);
        return {_mm_slli_epi16(_mm_srli_epi16(w, 11), 3), g, b};
    } else {
        const __m128i g = _mm_slli_epi16(_mm_and_si128(_mm_srli_epi16(w, 5), five), 3);
        return {_mm_slli_epi16(_mm_and_si128(_mm_srli_epi16(w, 10), five), 3), g, b};
    }
}

// Eight pixels from p; reads exactly their bytes.
template <BgrSource S>
Channels load8(const uint8_t* p) {
    if constexpr (S == BgrSource::Bgra32) {
        return fromBgrx(load128(p), load128(p + 16));
    } else if constexpr (S == BgrSource::Bgr24) {
        // Pixels 4 to 7 are bytes 12 to 23: load 8 to 23 and drop 4.
        return fromBgrx(spreadBgr(load128(p)), spreadBgr(_mm_srli_si128(load128(p + 8), 4)));
    } else {
        return fromWords<S>(load128(p));
    }
}

// Four pixels from p into lanes 0 to 3; the other lanes are zero.
template <BgrSource S>
Channels load4(const uint8_t* p) {
    const __m128i zero = _mm_setzero_si128();
    if constexpr (S == BgrSource::Bgra32) {
        return fromBgrx(load128(p), zero);
    } else if constexpr (S == BgrSource::Bgr24) {
        return fromBgrx(spreadBgr(_mm_unpacklo_epi64(load64(p), load32(p + 8))), zero);
    } else {
        return fromWords<S>(load64(p));
    }
}

Channels add(const Channels& a, const Channels& b) {
    return {_mm_add_epi16(a.r, b.r), _mm_add_epi16(a.g, b.g), _mm_add_epi16(a.b, b.b)};
}

// Sums of neighbouring lanes: the pairs of a in lanes 0 to 3, of b in 4 to 7.
Channels pairSums(const Channels& a, const Channels& b) {
    const __m128i one = _mm_set1_epi16(1);
    const auto sums = [&](__m128i x, __m128i y) {
        return _mm_packs_epi32(_mm_madd_epi16(x, one), _mm_madd_epi16(y, one));
    };
    return {sums(a.r, b.r), sums(a.g, b.g), sums(a.b, b.b)};
}

Channels pairSums(const Channels& a) {
    const __m128i zero = _mm_setzero_si128();
    return pairSums(a, Channels{zero, zero, zero});
}

__m128i mulhu(__m128i a, int16_t k) { return _mm_mulhi_epu16(a, _mm_set1_epi16(k)); }
__m128i mulhs(__m128i a, int16_t k) { return _mm_mulhi_epi16(a, _mm_set1_epi16(k)); }

// Y in 16-bit lanes.
__m128i luma(const Channels& c) {
    __m128i v = mulhu(_mm_slli_epi16(c.r, 8), 8422);
    v = _mm_adds_epu16(v, mulhu(_mm_slli_epi16(c.g, 8), 16515));
    v = _mm_adds_epu16(v, mulhu(_mm_slli_epi16(c.b, 8), 3212));
    v = _mm_adds_epu16(v, _mm_set1_epi16(2112));
    return _mm_srli_epi16(v, 7);
}

__m128i lumaBytes(const Channels& a, const Channels& b) { return _mm_packus_epi16(luma(a), luma(b)); }

struct Chroma {
    __m128i cb, cr;  // bytes in the low half
};

// Unsigned chroma of sums of 2 or 4 pixels: offset 8200 with shift 6, or
// 16400 with shift 7.
template <int16_t kOffset, int kShift>
Chroma unsignedChroma(const Channels& sums) {
    const __m128i xr = _mm_slli_epi16(sums.r, 5);
    const __m128i xg = _mm_slli_epi16(sums.g, 5);
    const __m128i xb = _mm_slli_epi16(sums.b, 5);
    const __m128i offset = _mm_set1_epi16(kOffset);
    const auto finish = [&](__m128i main, __m128i other1, __m128i other2) {
        const __m128i diff = _mm_sub_epi16(main, _mm_adds_epu16(other1, other2));
        const __m128i v = _mm_srli_epi16(_mm_adds_epi16(diff, offset), kShift);
        return _mm_packus_epi16(v, v);
    };
    return {finish(mulhu(xb, 28770), mulhu(xr, 9699), mulhu(xg, 19071)),
            finish(mulhu(xr, 28770), mulhu(xg, 24117), mulhu(xb, 4653))};
}

// Signed chroma of the Cb Y Cr Y packer, from pair sums.
Chroma signedChroma(const Channels& sums) {
    const __m128i xr = _mm_slli_epi16(sums.r, 6);
    const __m128i xg = _mm_slli_epi16(sums.g, 6);
    const __m128i xb = _mm_slli_epi16(sums.b, 6);
    const __m128i offset = _mm_set1_epi16(16448);
    const auto finish = [&](__m128i main, __m128i other1, __m128i other2) {
        const __m128i v = _mm_add_epi16(_mm_add_epi16(main, other1), _mm_add_epi16(other2, offset));
        const __m128i s = _mm_srai_epi16(v, 7);
        return _mm_packus_epi16(s, s);
    };
    return {finish(mulhs(xb, 28770), mulhs(xg, -19071), mulhs(xr, -9699)),
            finish(mulhs(xr, 28770), mulhs(xg, -24117), mulhs(xb, -4653))};
}

// Cb, Cr interleaved, pair by pair.
__m128i interleave(const Chroma& c) { return _mm_unpacklo_epi8(c.cb, c.cr); }

// Packs 16 or 8 pixels per step; blocks of 8 where fewer are left.
template <BgrSource S, bool kChromaFirst>
void packedRow(const uint8_t* src, uint8_t* dst, int32_t count) {
    constexpr int32_t bytes = kPixelBytes<S>;
    const auto chroma = [](const Channels& sums) {
        if constexpr (kChromaFirst)
            return signedChroma(sums);
        else
            return unsignedChroma<8200, 6>(sums);
    };
    const auto group = [](__m128i y, __m128i uv, bool high) {
        if constexpr (kChromaFirst)
            return high ? _mm_unpackhi_epi8(uv, y) : _mm_unpacklo_epi8(uv, y);
        else
            return high ? _mm_unpackhi_epi8(y, uv) : _mm_unpacklo_epi8(y, uv);
    };
    int32_t x = 0;
    for (; x + 16 <= count; x += 16) {
        const Channels a = load8<S>(src + x * bytes);
        const Channels b = load8<S>(src + (x + 8) * bytes);
        const __m128i y = lumaBytes(a, b);
        const __m128i uv = interleave(chroma(pairSums(a, b)));
        store128(dst + 2 * x, group(y, uv, false));
        store128(dst + 2 * x + 16, group(y, uv, true));
    }
    if (x < count) {
        const Channels a = load8<S>(src + x * bytes);
        const __m128i y = _mm_packus_epi16(luma(a), luma(a));
        const __m128i uv = interleave(chroma(pairSums(a)));
        store128(dst + 2 * x, group(y, uv, false));
    }
}

// Row pairs to 4:2:0: 16, 8 and 4 pixels per step.
template <BgrSource S>
void planarRow(const Yuv420Rows& rows, int32_t count) {
    constexpr int32_t bytes = kPixelBytes<S>;
    int32_t x = 0;
    for (; x + 16 <= count; x += 16) {
        const Channels a0 = load8<S>(rows.src[0] + x * bytes);
        const Channels a1 = load8<S>(rows.src[0] + (x + 8) * bytes);
        const Channels b0 = load8<S>(rows.src[1] + x * bytes);
        const Channels b1 = load8<S>(rows.src[1] + (x + 8) * bytes);
        store128(rows.luma[0] + x, lumaBytes(a0, a1));
        store128(rows.luma[1] + x, lumaBytes(b0, b1));
        const Chroma c = unsignedChroma<16400, 7>(pairSums(add(a0, b0), add(a1, b1)));
        store64(rows.cb + x / 2, c.cb);
        store64(rows.cr + x / 2, c.cr);
    }
    if (x + 8 <= count) {
        const Channels a = load8<S>(rows.src[0] + x * bytes);
        const Channels b = load8<S>(rows.src[1] + x * bytes);
        store64(rows.luma[0] + x, lumaBytes(a, a));
        store64(rows.luma[1] + x, lumaBytes(b, b));
        const Chroma c = unsignedChroma<16400, 7>(pairSums(add(a, b)));
        store32(rows.cb + x / 2, c.cb);
        store32(rows.cr + x / 2, c.cr);
        x += 8;
    }
    if (x + 4 <= count) {
        const Channels a = load4<S>(rows.src[0] + x * bytes);
        const Channels b = load4<S>(rows.src[1] + x * bytes);
        store32(rows.luma[0] + x, lumaBytes(a, a));
        store32(rows.luma[1] + x, lumaBytes(b, b));
        const Chroma c = unsignedChroma<16400, 7>(pairSums(add(a, b)));
        store16(rows.cb + x / 2, c.cb);
        store16(rows.cr + x / 2, c.cr);
    }
}

}  // namespace

template <BgrSource S>
void yuy2VectorRowSse2(const uint8_t* src, uint8_t* dst, int32_t count) {
    packedRow<S, false>(src, dst, count);
}

void cbycrVectorRowSse2(const uint8_t* src, uint8_t* dst, int32_t count) {
    packedRow<BgrSource::Bgra32, true>(src, dst, count);
}

template <BgrSource S>
void yuv420VectorRowSse2(const Yuv420Rows& rows, int32_t count) {
    planarRow<S>(rows, count);
}

template void yuy2VectorRowSse2<BgrSource::Bgr24>(const uint8_t*, uint8_t*, int32_t);
template void yuy2VectorRowSse2<BgrSource::Bgra32>(const uint8_t*, uint8_t*, int32_t);
template void yuy2VectorRowSse2<BgrSource::Bgr565>(const uint8_t*, uint8_t*, int32_t);
template void yuy2VectorRowSse2<BgrSource::Bgr555>(const uint8_t*, uint8_t*, int32_t);
template void yuv420VectorRowSse2<BgrSource::Bgr24>(const Yuv420Rows&, int32_t);
template void yuv420VectorRowSse2<BgrSource::Bgra32>(const Yuv420Rows&, int32_t);
template void yuv420VectorRowSse2<BgrSource::Bgr565>(const Yuv420Rows&, int32_t);
template void yuv420VectorRowSse2<BgrSource::Bgr555>(const Yuv420Rows&, int32_t);

}  // namespace morva::x86

#endif  // MORVA_X86_64
