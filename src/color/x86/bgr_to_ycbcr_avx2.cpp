// BGR to YCbCr, vector parts of the rows in AVX2, 32 pixels a step, for the
// 24- and 32-bit sources. What is left of the vector part, fewer than 32
// pixels, goes to the SSE2 rows.
//
// The 256-bit pack instructions work within 128-bit halves; each pack is
// followed by a permutation that puts the lanes back in pixel order.
#include "color/bgr_to_ycbcr_forms.h"

#if MORVA_X86_64

#include <immintrin.h>

namespace morva::x86 {
namespace {

// Sixteen pixels, one channel value 0..255 in each 16-bit lane, in order.
struct Channels {
    __m256i r, g, b;
};

__m128i load128(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
__m256i load256(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
void store128(uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
void store256(uint8_t* p, __m256i v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }

// Quadwords 0, 2, 1, 3: undoes the interleave of a pack of two registers.
__m256i inOrder(__m256i v) { return _mm256_permute4x64_epi64(v, 0xD8); }

template <int kShift>
__m256i bgrxChannel(__m256i lo, __m256i hi) {
    const __m256i byte = _mm256_set1_epi32(0xFF);
    return _mm256_packs_epi32(_mm256_and_si256(_mm256_srli_epi32(lo, kShift), byte),
                              _mm256_and_si256(_mm256_srli_epi32(hi, kShift), byte));
}

// 4-byte pixels 0-3 | 8-11 in lo and 4-7 | 12-15 in hi: the pack within
// halves then yields pixels 0 to 15 in order.
Channels fromBgrx(__m256i lo, __m256i hi) {
    return {bgrxChannel<16>(lo, hi), bgrxChannel<8>(lo, hi), bgrxChannel<0>(lo, hi)};
}

template <BgrSource S>
Channels load16(const uint8_t* p) {
    if constexpr (S == BgrSource::Bgra32) {
        const __m256i v0 = load256(p), v1 = load256(p + 32);
        return fromBgrx(_mm256_permute2x128_si256(v0, v1, 0x20), _mm256_permute2x128_si256(v0, v1, 0x31));
    } else {
        static_assert(S == BgrSource::Bgr24);
        // Pixels 0-3, 4-7, 8-11 start at bytes 0, 12, 24; pixels 12-15 are the
        // last 12 bytes of the load at 32, so that nothing past byte 47 is read.
        const __m256i spread = _mm256_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1,  //
                                                0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1);
        const __m256i spreadLast = _mm256_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1,  //
                                                    4, 5, 6, -1, 7, 8, 9, -1, 10, 11, 12, -1, 13, 14, 15, -1);
        const __m256i lo = _mm256_setr_m128i(load128(p), load128(p + 24));
        const __m256i hi = _mm256_setr_m128i(load128(p + 12), load128(p + 32));
        return fromBgrx(_mm256_shuffle_epi8(lo, spread), _mm256_shuffle_epi8(hi, spreadLast));
    }
}

Channels add(const Channels& a, const Channels& b) {
    return {_mm256_add_epi16(a.r, b.r), _mm256_add_epi16(a.g, b.g), _mm256_add_epi16(a.b, b.b)};
}

// Sums of neighbouring pixels: pairs of a in lanes 0 to 7, of b in 8 to 15.
Channels pairSums(const Channels& a, const Channels& b) {
    const __m256i one = _mm256_set1_epi16(1);
    const auto sums = [&](__m256i x, __m256i y) {
        return inOrder(_mm256_packs_epi32(_mm256_madd_epi16(x, one), _mm256_madd_epi16(y, one)));
    };
    return {sums(a.r, b.r), sums(a.g, b.g), sums(a.b, b.b)};
}

__m256i mulhu(__m256i a, int16_t k) { return _mm256_mulhi_epu16(a, _mm256_set1_epi16(k)); }

__m256i luma(const Channels& c) {
    __m256i v = mulhu(_mm256_slli_epi16(c.r, 8), 8422);
    v = _mm256_adds_epu16(v, mulhu(_mm256_slli_epi16(c.g, 8), 16515));
    v = _mm256_adds_epu16(v, mulhu(_mm256_slli_epi16(c.b, 8), 3212));
    v = _mm256_adds_epu16(v, _mm256_set1_epi16(2112));
    return _mm256_srli_epi16(v, 7);
}

// 32 luma bytes in order.
__m256i lumaBytes(const Channels& a, const Channels& b) { return inOrder(_mm256_packus_epi16(luma(a), luma(b))); }

// Cb in lanes 0 to 7 of each half and Cr in lanes 8 to 15: pairs 0-7 in the
// low half, 8-15 in the high half.
template <int16_t kOffset, int kShift>
__m256i unsignedChroma(const Channels& sums) {
    const __m256i xr = _mm256_slli_epi16(sums.r, 5);
    const __m256i xg = _mm256_slli_epi16(sums.g, 5);
    const __m256i xb = _mm256_slli_epi16(sums.b, 5);
    const __m256i offset = _mm256_set1_epi16(kOffset);
    const auto finish = [&](__m256i main, __m256i other1, __m256i other2) {
        const __m256i diff = _mm256_sub_epi16(main, _mm256_adds_epu16(other1, other2));
        return _mm256_srli_epi16(_mm256_adds_epi16(diff, offset), kShift);
    };
    return _mm256_packus_epi16(finish(mulhu(xb, 28770), mulhu(xr, 9699), mulhu(xg, 19071)),
                               finish(mulhu(xr, 28770), mulhu(xg, 24117), mulhu(xb, 4653)));
}

template <BgrSource S>
void packedRow(const uint8_t* src, uint8_t* dst, int32_t count) {
    constexpr int32_t bytes = kPixelBytes<S>;
    int32_t x = 0;
    for (; x + 32 <= count; x += 32) {
        const Channels a = load16<S>(src + x * bytes);
        const Channels b = load16<S>(src + (x + 16) * bytes);
        const __m256i y = lumaBytes(a, b);
        const __m256i chroma = unsignedChroma<8200, 6>(pairSums(a, b));
        const __m256i uv = _mm256_unpacklo_epi8(chroma, _mm256_srli_si256(chroma, 8));
        // Pixels 0-7 | 16-23 and 8-15 | 24-31.
        const __m256i lo = _mm256_unpacklo_epi8(y, uv), hi = _mm256_unpackhi_epi8(y, uv);
        store256(dst + 2 * x, _mm256_permute2x128_si256(lo, hi, 0x20));
        store256(dst + 2 * x + 32, _mm256_permute2x128_si256(lo, hi, 0x31));
    }
    if (x < count) yuy2VectorRowSse2<S>(src + x * bytes, dst + 2 * x, count - x);
}

template <BgrSource S>
void planarRow(const Yuv420Rows& rows, int32_t count) {
    constexpr int32_t bytes = kPixelBytes<S>;
    int32_t x = 0;
    for (; x + 32 <= count; x += 32) {
        const Channels a0 = load16<S>(rows.src[0] + x * bytes);
        const Channels a1 = load16<S>(rows.src[0] + (x + 16) * bytes);
        const Channels b0 = load16<S>(rows.src[1] + x * bytes);
        const Channels b1 = load16<S>(rows.src[1] + (x + 16) * bytes);
        store256(rows.luma[0] + x, lumaBytes(a0, a1));
        store256(rows.luma[1] + x, lumaBytes(b0, b1));
        const __m256i chroma = inOrder(unsignedChroma<16400, 7>(pairSums(add(a0, b0), add(a1, b1))));
        store128(rows.cb + x / 2, _mm256_castsi256_si128(chroma));
        store128(rows.cr + x / 2, _mm256_extracti128_si256(chroma, 1));
    }
    if (x < count) {
        const Yuv420Rows rest{{rows.src[0] + x * bytes, rows.src[1] + x * bytes},
                              {rows.luma[0] + x, rows.luma[1] + x},
                              rows.cb + x / 2,
                              rows.cr + x / 2};
        yuv420VectorRowSse2<S>(rest, count - x);
    }
}

}  // namespace

template <BgrSource S>
void yuy2VectorRowAvx2(const uint8_t* src, uint8_t* dst, int32_t count) {
    packedRow<S>(src, dst, count);
}

template <BgrSource S>
void yuv420VectorRowAvx2(const Yuv420Rows& rows, int32_t count) {
    planarRow<S>(rows, count);
}

template void yuy2VectorRowAvx2<BgrSource::Bgr24>(const uint8_t*, uint8_t*, int32_t);
template void yuy2VectorRowAvx2<BgrSource::Bgra32>(const uint8_t*, uint8_t*, int32_t);
template void yuv420VectorRowAvx2<BgrSource::Bgr24>(const Yuv420Rows&, int32_t);
template void yuv420VectorRowAvx2<BgrSource::Bgra32>(const Yuv420Rows&, int32_t);

}  // namespace morva::x86

#endif  // MORVA_X86_64
