// SSE2 row operations of the YCbCr layout kernels. Bytes are separated by
// masking or shifting 16-bit lanes and packing them back with unsigned
// saturation (which can't saturate, the lanes hold 0..255), and merged by
// unpacking. What is left of a row after the vector blocks goes to the scalar
// kit.
#include "color/ycbcr_layout_rows.h"

#if MORVA_X86_64

#include <emmintrin.h>

#include "color/x86/lanes.h"

namespace morva::yuvlayout {
namespace {

__m128i load(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
__m128i loadHalf(const uint8_t* p) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)); }
void store(uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
void storeHalf(uint8_t* p, __m128i v) { _mm_storel_epi64(reinterpret_cast<__m128i*>(p), v); }

// The even bytes of a and then of b.
__m128i evenBytes(__m128i a, __m128i b) {
    const __m128i low = _mm_set1_epi16(0x00FF);
    return _mm_packus_epi16(_mm_and_si128(a, low), _mm_and_si128(b, low));
}
__m128i oddBytes(__m128i a, __m128i b) {
    return _mm_packus_epi16(_mm_srli_epi16(a, 8), _mm_srli_epi16(b, 8));
}
template <int32_t phase>
__m128i phaseBytes(__m128i a, __m128i b) {
    return phase == 0 ? evenBytes(a, b) : oddBytes(a, b);
}

using RowStores = lanes::RowStores<__m128i>;

void swapPairs(const uint8_t* src, uint8_t* dst, int32_t units, bool nonTemporal) {
    const RowStores put(dst, nonTemporal);
    int32_t i = 0;
    for (; i + 8 <= units; i += 8) {
        const __m128i v = load(src + 2 * i);
        put(dst + 2 * i, _mm_or_si128(_mm_slli_epi16(v, 8), _mm_srli_epi16(v, 8)));
    }
    kScalarRows.swapPairs(src + 2 * i, dst + 2 * i, units - i, false);
}

template <int32_t phase>
void pickPhase(const uint8_t* src, uint8_t* dst, int32_t n) {
    int32_t i = 0;
    for (; i + 16 <= n; i += 16) store(dst + i, phaseBytes<phase>(load(src + 2 * i), load(src + 2 * i + 16)));
    kScalarRows.pick(src + 2 * i, dst + i, n - i, phase);
}

void pick(const uint8_t* src, uint8_t* dst, int32_t n, int32_t phase) {
    if (phase == 0)
        pickPhase<0>(src, dst, n);
    else
        pickPhase<1>(src, dst, n);
}

void split2(const uint8_t* src, uint8_t* even, uint8_t* odd, int32_t n) {
    int32_t i = 0;
    for (; i + 16 <= n; i += 16) {
        const __m128i a = load(src + 2 * i), b = load(src + 2 * i + 16);
        store(even + i, evenBytes(a, b));
        store(odd + i, oddBytes(a, b));
    }
    kScalarRows.split2(src + 2 * i, even + i, odd + i, n - i);
}

void join2(const uint8_t* even, const uint8_t* odd, uint8_t* dst, int32_t n) {
    int32_t i = 0;
    for (; i + 16 <= n; i += 16) {
        const __m128i e = load(even + i), o = load(odd + i);
        store(dst + 2 * i, _mm_unpacklo_epi8(e, o));
        store(dst + 2 * i + 16, _mm_unpackhi_epi8(e, o));
    }
    kScalarRows.join2(even + i, odd + i, dst + 2 * i, n - i);
}

// Luma sits at even bytes in Y0 Cb Y1 Cr and at odd bytes in Cb Y0 Cr Y1; the
// chroma bytes, in either order, are Cb, Cr in turn.
template <Packed422 order>
void split4Order(const uint8_t* src, uint8_t* y, uint8_t* cb, uint8_t* cr, int32_t pairs) {
    constexpr int32_t luma = order == Packed422::YCbYCr ? 0 : 1;
    int32_t j = 0;
    for (; j + 16 <= pairs; j += 16) {  // 32 pixels
        const uint8_t* s = src + 4 * j;
        const __m128i v0 = load(s), v1 = load(s + 16), v2 = load(s + 32), v3 = load(s + 48);
        store(y + 2 * j, phaseBytes<luma>(v0, v1));
        store(y + 2 * j + 16, phaseBytes<luma>(v2, v3));
        const __m128i c01 = phaseBytes<1 - luma>(v0, v1), c23 = phaseBytes<1 - luma>(v2, v3);
        store(cb + j, evenBytes(c01, c23));
        store(cr + j, oddBytes(c01, c23));
    }
    if (j + 8 <= pairs) {  // 16 pixels
        const uint8_t* s = src + 4 * j;
        const __m128i v0 = load(s), v1 = load(s + 16);
        store(y + 2 * j, phaseBytes<luma>(v0, v1));
        const __m128i c = phaseBytes<1 - luma>(v0, v1);
        storeHalf(cb + j, evenBytes(c, c));
        storeHalf(cr + j, oddBytes(c, c));
        j += 8;
    }
    kScalarRows.split4(src + 4 * j, y + 2 * j, cb + j, cr + j, pairs - j, order);
}

void split4(const uint8_t* src, uint8_t* y, uint8_t* cb, uint8_t* cr, int32_t pairs, Packed422 order) {
    if (order == Packed422::YCbYCr)
        split4Order<Packed422::YCbYCr>(src, y, cb, cr, pairs);
    else
        split4Order<Packed422::CbYCrY>(src, y, cb, cr, pairs);
}

// Two bytes a pixel: luma and its chroma byte, in the order's sequence.
template <Packed422 order>
void putPixels(const RowStores& put, uint8_t* dst, __m128i luma, __m128i chroma) {
    if (order == Packed422::YCbYCr) {
        put(dst, _mm_unpacklo_epi8(luma, chroma));
        put(dst + 16, _mm_unpackhi_epi8(luma, chroma));
    } else {
        put(dst, _mm_unpacklo_epi8(chroma, luma));
        put(dst + 16, _mm_unpackhi_epi8(chroma, luma));
    }
}

template <Packed422 order>
void join4Order(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst, int32_t pairs,
                bool nonTemporal) {
    const RowStores put(dst, nonTemporal);
    int32_t j = 0;
    for (; j + 16 <= pairs; j += 16) {  // 32 pixels
        const __m128i u = load(cb + j), v = load(cr + j);
        putPixels<order>(put, dst + 4 * j, load(y + 2 * j), _mm_unpacklo_epi8(u, v));
        putPixels<order>(put, dst + 4 * j + 32, load(y + 2 * j + 16), _mm_unpackhi_epi8(u, v));
    }
    if (j + 8 <= pairs) {  // 16 pixels
        const __m128i c = _mm_unpacklo_epi8(loadHalf(cb + j), loadHalf(cr + j));
        putPixels<order>(put, dst + 4 * j, load(y + 2 * j), c);
        j += 8;
    }
    kScalarRows.join4(y + 2 * j, cb + j, cr + j, dst + 4 * j, pairs - j, order, false);
}

void join4(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst, int32_t pairs, Packed422 order,
           bool nonTemporal) {
    if (order == Packed422::YCbYCr)
        join4Order<Packed422::YCbYCr>(y, cb, cr, dst, pairs, nonTemporal);
    else
        join4Order<Packed422::CbYCrY>(y, cb, cr, dst, pairs, nonTemporal);
}

// 16 means of the even bytes, in 16-bit lanes: (a + b + bias) >> 1.
__m128i averageBlock(const uint8_t* upper, const uint8_t* lower, __m128i bias) {
    const __m128i low = _mm_set1_epi16(0x00FF);
    const auto mean = [&](int offset) {
        const __m128i a = _mm_and_si128(load(upper + offset), low);
        const __m128i b = _mm_and_si128(load(lower + offset), low);
        return _mm_srli_epi16(_mm_add_epi16(_mm_add_epi16(a, b), bias), 1);
    };
    return _mm_packus_epi16(mean(0), mean(16));
}

void averageEven(const uint8_t* upper, const uint8_t* lower, uint8_t* dst, int32_t n, int32_t roundUp) {
    int32_t j = 0;
    for (; j + 16 <= roundUp && j + 16 <= n; j += 16)
        store(dst + j, averageBlock(upper + 2 * j, lower + 2 * j, _mm_set1_epi16(1)));
    if (j >= roundUp) {
        for (; j + 16 <= n; j += 16) store(dst + j, averageBlock(upper + 2 * j, lower + 2 * j, _mm_setzero_si128()));
    }
    kScalarRows.averageEven(upper + 2 * j, lower + 2 * j, dst + j, n - j, roundUp - j);
}

}  // namespace

const RowKit kSse2Rows{&copyRowByMemoryKernel, &copyPlaneByMemoryKernel, &swapPairs, &pick,       &split2,
                       &join2,                 &split4,                  &join4,     &averageEven};

}  // namespace morva::yuvlayout

#endif  // MORVA_X86_64
