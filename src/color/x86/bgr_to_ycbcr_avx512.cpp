// BGR to YCbCr, vector parts of the rows in AVX-512, 32 pixels a step.
//
// Each pixel sits in a 32-bit lane as B, G, R and a fourth byte that is never
// read. Luma is the lane form with its three high-half products side by side
// in the two 16-bit halves of the pixel's lane, summed by pmaddwd: the
// form's saturating additions never saturate (the sum is at most 30151), so
// the plain sum is theirs. Chroma sums come from pmaddubsw over pixel pairs.
//
// The lane forms convert each pixel and each pair or block on its own, so a
// row's last block may be shifted back to end where the vector part ends;
// its overlap is written twice with the same bytes. A vector part shorter
// than one block goes to the narrower forms.
#include "color/bgr_to_ycbcr_forms.h"

#if MORVA_X86_64

#include "color/x86/bgr16_words_avx512.h"
#include "color/x86/lanes.h"

namespace morva::x86 {
namespace {

using lanes::broadcast128;

constexpr int32_t kBlock = 32;

// 16 pixels, one to a 32-bit lane. A 24-bit row is loaded a whole register
// at a time while it goes on for 16 bytes behind the pixels (wholeEnd, from
// the row's vector part); its last pixels go through a byte mask, so that
// nothing behind the row is read. (Masked loads in the loop cost about twice
// as much, and more with the row in memory.)
template <BgrSource S>
MORVA_LANE_INLINE __m512i loadPixels(const uint8_t* row, int32_t x, int32_t wholeEnd) {
    const uint8_t* p = row + x * kPixelBytes<S>;
    if constexpr (S == BgrSource::Bgra32) {
        return _mm512_loadu_si512(p);
    } else if constexpr (S == BgrSource::Bgr24) {
        return lanes::spread3To4(x < wholeEnd ? _mm512_loadu_si512(p)
                                              : _mm512_maskz_loadu_epi8(lanes::firstBytes(48), p));
    } else {
        return loadBgr16Pixels<S == BgrSource::Bgr565 ? kBgr565Fields : kBgr555Fields>(p);
    }
}

// The first pixel from which a 64-byte load passes the end of `count`
// pixels.
template <BgrSource S>
constexpr int32_t wholeLoadsEnd(int32_t count) {
    return count - (64 + kPixelBytes<S> - 1) / kPixelBytes<S> + 1;
}

// Two 16-bit factors, low and high half of every 32-bit lane.
MORVA_LANE_INLINE __m512i factors(int16_t low, int16_t high) {
    return _mm512_set1_epi32(int32_t(uint32_t(uint16_t(high)) << 16 | uint16_t(low)));
}

// Four 16-bit factors, lanes 0 to 3 of every 64-bit group.
MORVA_LANE_INLINE __m512i factors(int16_t f0, int16_t f1, int16_t f2, int16_t f3) {
    const auto at = [](int16_t f, int lane) { return uint64_t(uint16_t(f)) << (16 * lane); };
    return _mm512_set1_epi64(int64_t(at(f0, 0) | at(f1, 1) | at(f2, 2) | at(f3, 3)));
}

// Luma of 16 pixels, one to a 32-bit lane. The halves of a lane hold B << 8
// and R << 8, then G << 8 and 0xFFFF, whose high-half product with 2113 is
// the form's 2112.
MORVA_LANE_INLINE __m512i luma(__m512i px) {
    constexpr int kAndOr = 0xEA;  // (a & b) | c
    const __m512i blueRed = _mm512_slli_epi16(px, 8);
    const __m512i greenOne =
        _mm512_ternarylogic_epi32(px, _mm512_set1_epi32(0x0000FF00), _mm512_set1_epi32(int32_t(0xFFFF0000)), kAndOr);
    const __m512i terms = _mm512_add_epi16(_mm512_mulhi_epu16(blueRed, factors(3212, 8422)),
                                           _mm512_mulhi_epu16(greenOne, factors(16515, 2113)));
    return _mm512_srli_epi32(_mm512_madd_epi16(terms, _mm512_set1_epi16(1)), 7);
}

// Sums over each pixel pair, 16-bit lanes B, G, R, G in each 64-bit group:
// green twice, for the two chroma products that take it.
MORVA_LANE_INLINE __m512i pairSums(__m512i px) {
    constexpr int8_t kPairBytes[16] = {0, 4, 1, 5, 2, 6, 1, 5, 8, 12, 9, 13, 10, 14, 9, 13};
    return _mm512_maddubs_epi16(_mm512_shuffle_epi8(px, broadcast128<__m512i>(kPairBytes)), _mm512_set1_epi8(1));
}

// The unsigned chroma lane form of sums B, G, R, G (of a pair or a block):
// Cb in 16-bit lane 0 and Cr in lane 2 of each 64-bit group, not yet clamped
// to 255; lanes 1 and 3 hold nothing of use.
template <int16_t kOffset, int kShift>
MORVA_LANE_INLINE __m512i chroma(__m512i sums) {
    const __m512i x = _mm512_slli_epi16(sums, 5);
    // Lanes B, R: the main products of Cb and Cr.
    const __m512i main = _mm512_mulhi_epu16(x, factors(28770, 0));
    // Lanes R, G, B, G: Cb's two other products, then Cr's.
    const __m512i others = _mm512_mulhi_epu16(_mm512_shuffle_epi32(x, _MM_PERM_CDAB), factors(9699, 19071, 4653, 24117));
    const __m512i otherSum = _mm512_adds_epu16(others, _mm512_srli_epi32(others, 16));
    const __m512i diff = _mm512_sub_epi16(main, otherSum);
    return _mm512_srli_epi16(_mm512_adds_epi16(diff, _mm512_set1_epi16(kOffset)), kShift);
}

// The signed chroma lane form of the Cb Y0 Cr Y1 packer, from pair sums B, G,
// R, G: Cb in 16-bit lane 0 and Cr in lane 2 of each 64-bit group, clamped;
// lanes 1 and 3 hold nothing of use. The additions wrap, as the lanes'.
MORVA_LANE_INLINE __m512i signedChroma(__m512i sums) {
    const __m512i x = _mm512_slli_epi16(sums, 6);
    // Lanes B, G, R, G: the main product of Cb and its green one, then Cr's.
    const __m512i first = _mm512_mulhi_epi16(x, factors(28770, -19071, 28770, -24117));
    // Lanes R, G, B, G: the last product of Cb, then of Cr.
    const __m512i last = _mm512_mulhi_epi16(_mm512_shuffle_epi32(x, _MM_PERM_CDAB), factors(-9699, 0, -4653, 0));
    const __m512i sum = _mm512_add_epi16(_mm512_add_epi16(first, _mm512_srli_epi32(first, 16)), last);
    const __m512i v = _mm512_srai_epi16(_mm512_add_epi16(sum, _mm512_set1_epi16(16448)), 7);
    return _mm512_max_epi16(_mm512_min_epi16(v, _mm512_set1_epi16(255)), _mm512_setzero_si512());
}

// 32 pixels to packed groups, Y0 Cb Y1 Cr or (from BGRA only) Cb Y0 Cr Y1.
template <BgrSource S, bool kChromaFirst>
MORVA_LANE_INLINE void packedBlock(const uint8_t* src, uint8_t* dst, int32_t x, int32_t wholeEnd) {
    for (int32_t at = x; at < x + kBlock; at += 16) {
        const __m512i px = loadPixels<S>(src, at, wholeEnd);
        // Per pair: luma in 16-bit lanes 0 and 2, and chroma beside it.
        __m512i groups;
        if constexpr (kChromaFirst) {
            groups = _mm512_or_si512(signedChroma(pairSums(px)), _mm512_slli_epi16(luma(px), 8));
        } else {
            const __m512i c = _mm512_min_epu16(chroma<8200, 6>(pairSums(px)), _mm512_set1_epi16(255));
            groups = _mm512_or_si512(luma(px), _mm512_slli_epi16(c, 8));
        }
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + 2 * at), _mm512_cvtepi32_epi16(groups));
    }
}

// Cb of blocks 0-15 and then Cr of blocks 0-15, from chroma of blocks 0-7
// and 8-15.
constexpr int16_t kChromaWords[32] = {0,  4,  8,  12, 16, 20, 24, 28, 32, 36, 40, 44, 48, 52, 56, 60,
                                      2,  6,  10, 14, 18, 22, 26, 30, 34, 38, 42, 46, 50, 54, 58, 62};

// 16 pixels of a row pair: their luma stored, their chroma returned.
template <BgrSource S>
MORVA_LANE_INLINE __m512i planarHalf(const Yuv420Rows& rows, int32_t x, int32_t wholeEnd) {
    const __m512i a = loadPixels<S>(rows.src[0], x, wholeEnd);
    const __m512i b = loadPixels<S>(rows.src[1], x, wholeEnd);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(rows.luma[0] + x), _mm512_cvtepi32_epi8(luma(a)));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(rows.luma[1] + x), _mm512_cvtepi32_epi8(luma(b)));
    return chroma<16400, 7>(_mm512_add_epi16(pairSums(a), pairSums(b)));
}

template <BgrSource S>
MORVA_LANE_INLINE void planarBlock(const Yuv420Rows& rows, int32_t x, int32_t wholeEnd) {
    const __m512i first = planarHalf<S>(rows, x, wholeEnd), second = planarHalf<S>(rows, x + 16, wholeEnd);
    const __m512i order = _mm512_loadu_si512(kChromaWords);
    const __m256i bytes = _mm512_cvtusepi16_epi8(_mm512_permutex2var_epi16(first, order, second));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(rows.cb + x / 2), _mm256_castsi256_si128(bytes));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(rows.cr + x / 2), _mm256_extracti128_si256(bytes, 1));
}

// A vector part narrower than a block goes to the widest form below.
template <BgrSource S>
void narrowPackedRow(const uint8_t* src, uint8_t* dst, int32_t count) {
    if constexpr (S == BgrSource::Bgr24 || S == BgrSource::Bgra32) yuy2VectorRowAvx2<S>(src, dst, count);
    else yuy2VectorRowSse2<S>(src, dst, count);
}
template <BgrSource S>
void narrowPlanarRow(const Yuv420Rows& rows, int32_t count) {
    if constexpr (S == BgrSource::Bgr24 || S == BgrSource::Bgra32) yuv420VectorRowAvx2<S>(rows, count);
    else yuv420VectorRowSse2<S>(rows, count);
}

// Blocks of 32 over [0, count), the last one shifted back to end at count.
template <class Block>
MORVA_LANE_INLINE void blocksOver(int32_t count, Block block) {
    int32_t x = 0;
    for (; x + kBlock <= count; x += kBlock) block(x);
    if (x < count) block(count - kBlock);
}

}  // namespace

template <BgrSource S>
void yuy2VectorRowAvx512(const uint8_t* src, uint8_t* dst, int32_t count) {
    if (count < kBlock) return narrowPackedRow<S>(src, dst, count);
    const int32_t wholeEnd = wholeLoadsEnd<S>(count);
    blocksOver(count, [&](int32_t x) MORVA_LANE_LAMBDA { packedBlock<S, false>(src, dst, x, wholeEnd); });
}

void cbycrVectorRowAvx512(const uint8_t* src, uint8_t* dst, int32_t count) {
    if (count < kBlock) return cbycrVectorRowSse2(src, dst, count);
    const int32_t wholeEnd = wholeLoadsEnd<BgrSource::Bgra32>(count);
    blocksOver(count, [&](int32_t x) MORVA_LANE_LAMBDA { packedBlock<BgrSource::Bgra32, true>(src, dst, x, wholeEnd); });
}

template <BgrSource S>
void yuv420VectorRowAvx512(const Yuv420Rows& rows, int32_t count) {
    if (count < kBlock) return narrowPlanarRow<S>(rows, count);
    const Yuv420Rows local = rows;  // the stores could not change it, but the compiler cannot tell
    const int32_t wholeEnd = wholeLoadsEnd<S>(count);
    blocksOver(count, [&](int32_t x) MORVA_LANE_LAMBDA { planarBlock<S>(local, x, wholeEnd); });
}

template void yuy2VectorRowAvx512<BgrSource::Bgr24>(const uint8_t*, uint8_t*, int32_t);
template void yuy2VectorRowAvx512<BgrSource::Bgra32>(const uint8_t*, uint8_t*, int32_t);
template void yuv420VectorRowAvx512<BgrSource::Bgr24>(const Yuv420Rows&, int32_t);
template void yuv420VectorRowAvx512<BgrSource::Bgra32>(const Yuv420Rows&, int32_t);
template void yuy2VectorRowAvx512<BgrSource::Bgr565>(const uint8_t*, uint8_t*, int32_t);
template void yuy2VectorRowAvx512<BgrSource::Bgr555>(const uint8_t*, uint8_t*, int32_t);
template void yuv420VectorRowAvx512<BgrSource::Bgr565>(const Yuv420Rows&, int32_t);
template void yuv420VectorRowAvx512<BgrSource::Bgr555>(const Yuv420Rows&, int32_t);

}  // namespace morva::x86

#endif  // MORVA_X86_64
