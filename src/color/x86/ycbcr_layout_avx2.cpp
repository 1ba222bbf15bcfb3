// AVX2 row operations of the YCbCr layout kernels: the SSE2 moves on 256-bit
// registers. Packing and unpacking work within each 128-bit lane, so packed
// results are put back in order by a 64-bit permutation, and the inputs of
// unpacks are permuted beforehand. What is left of a row goes to the SSE2 kit, which hands
// its own rest to the scalar kit.
#include "color/ycbcr_layout_rows.h"

#if MORVA_X86_64

#include <immintrin.h>

namespace morva::yuvlayout {
namespace {

__m256i load(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
void store(uint8_t* p, __m256i v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }

// Packs the 16-bit lanes of a and then b to bytes, in order.
__m256i packInOrder(__m256i a, __m256i b) {
    return _mm256_permute4x64_epi64(_mm256_packus_epi16(a, b), 0xD8);
}
__m256i evenBytes(__m256i a, __m256i b) {
    const __m256i low = _mm256_set1_epi16(0x00FF);
    return packInOrder(_mm256_and_si256(a, low), _mm256_and_si256(b, low));
}
__m256i oddBytes(__m256i a, __m256i b) { return packInOrder(_mm256_srli_epi16(a, 8), _mm256_srli_epi16(b, 8)); }
template <int32_t phase>
__m256i phaseBytes(__m256i a, __m256i b) {
    return phase == 0 ? evenBytes(a, b) : oddBytes(a, b);
}

// Interleaves the bytes of a and b: the first 32 bytes of the result in lo,
// the next 32 in hi.
struct Interleaved {
    __m256i lo, hi;
};
// (Quarters of the inputs are put in the order 0, 2, 1, 3 first, so that the
// in-lane unpacks come out in sequence; a lane exchange afterwards costs more
// on some processors.)
Interleaved interleave(__m256i a, __m256i b) {
    const __m256i qa = _mm256_permute4x64_epi64(a, 0xD8), qb = _mm256_permute4x64_epi64(b, 0xD8);
    return {_mm256_unpacklo_epi8(qa, qb), _mm256_unpackhi_epi8(qa, qb)};
}

// Stores of one destination row; streaming ones when allowed and the row
// starts on 16 bytes (by halves unless it starts on 32). Fenced at the end.
class RowStores {
public:
    RowStores(const uint8_t* row, bool nonTemporal) {
        const uintptr_t at = reinterpret_cast<uintptr_t>(row);
        mode_ = !nonTemporal || (at & 15) != 0 ? Mode::Plain : (at & 31) == 0 ? Mode::Stream : Mode::StreamHalves;
    }
    RowStores(const RowStores&) = delete;
    RowStores& operator=(const RowStores&) = delete;
    ~RowStores() {
        if (mode_ != Mode::Plain) _mm_sfence();
    }
    void operator()(uint8_t* p, __m256i v) const {
        switch (mode_) {
        case Mode::Plain: store(p, v); break;
        case Mode::Stream: _mm256_stream_si256(reinterpret_cast<__m256i*>(p), v); break;
        case Mode::StreamHalves:
            _mm_stream_si128(reinterpret_cast<__m128i*>(p), _mm256_castsi256_si128(v));
            _mm_stream_si128(reinterpret_cast<__m128i*>(p + 16), _mm256_extracti128_si256(v, 1));
            break;
        }
    }

private:
    enum class Mode { Plain, Stream, StreamHalves } mode_;
};

void swapPairs(const uint8_t* src, uint8_t* dst, int32_t units, bool nonTemporal) {
    int32_t i = 0;
    {
        const RowStores put(dst, nonTemporal);
        for (; i + 16 <= units; i += 16) {
            const __m256i v = load(src + 2 * i);
            put(dst + 2 * i, _mm256_or_si256(_mm256_slli_epi16(v, 8), _mm256_srli_epi16(v, 8)));
        }
    }
    kSse2Rows.swapPairs(src + 2 * i, dst + 2 * i, units - i, false);
}

template <int32_t phase>
void pickPhase(const uint8_t* src, uint8_t* dst, int32_t n) {
    int32_t i = 0;
    for (; i + 32 <= n; i += 32) store(dst + i, phaseBytes<phase>(load(src + 2 * i), load(src + 2 * i + 32)));
    kSse2Rows.pick(src + 2 * i, dst + i, n - i, phase);
}

void pick(const uint8_t* src, uint8_t* dst, int32_t n, int32_t phase) {
    if (phase == 0)
        pickPhase<0>(src, dst, n);
    else
        pickPhase<1>(src, dst, n);
}

void split2(const uint8_t* src, uint8_t* even, uint8_t* odd, int32_t n) {
    int32_t i = 0;
    for (; i + 32 <= n; i += 32) {
        const __m256i a = load(src + 2 * i), b = load(src + 2 * i + 32);
        store(even + i, evenBytes(a, b));
        store(odd + i, oddBytes(a, b));
    }
    kSse2Rows.split2(src + 2 * i, even + i, odd + i, n - i);
}

void join2(const uint8_t* even, const uint8_t* odd, uint8_t* dst, int32_t n) {
    int32_t i = 0;
    for (; i + 32 <= n; i += 32) {
        const Interleaved d = interleave(load(even + i), load(odd + i));
        store(dst + 2 * i, d.lo);
        store(dst + 2 * i + 32, d.hi);
    }
    kSse2Rows.join2(even + i, odd + i, dst + 2 * i, n - i);
}

template <Packed422 order>
void split4Order(const uint8_t* src, uint8_t* y, uint8_t* cb, uint8_t* cr, int32_t pairs) {
    constexpr int32_t luma = order == Packed422::YCbYCr ? 0 : 1;
    int32_t j = 0;
    for (; j + 32 <= pairs; j += 32) {  // 64 pixels
        const uint8_t* s = src + 4 * j;
        const __m256i v0 = load(s), v1 = load(s + 32), v2 = load(s + 64), v3 = load(s + 96);
        store(y + 2 * j, phaseBytes<luma>(v0, v1));
        store(y + 2 * j + 32, phaseBytes<luma>(v2, v3));
        const __m256i c01 = phaseBytes<1 - luma>(v0, v1), c23 = phaseBytes<1 - luma>(v2, v3);
        store(cb + j, evenBytes(c01, c23));
        store(cr + j, oddBytes(c01, c23));
    }
    kSse2Rows.split4(src + 4 * j, y + 2 * j, cb + j, cr + j, pairs - j, order);
}

void split4(const uint8_t* src, uint8_t* y, uint8_t* cb, uint8_t* cr, int32_t pairs, Packed422 order) {
    if (order == Packed422::YCbYCr)
        split4Order<Packed422::YCbYCr>(src, y, cb, cr, pairs);
    else
        split4Order<Packed422::CbYCrY>(src, y, cb, cr, pairs);
}

// 64 bytes of a and b interleaved, from inputs whose 64-bit quarters stand
// in the order 0, 2, 1, 3: the unpacks then produce the bytes in sequence
// without exchanging lanes afterwards.
template <Packed422 order>
void putPixels(const RowStores& put, uint8_t* dst, __m256i lumaQuartered, __m256i chromaQuartered) {
    const __m256i a = order == Packed422::YCbYCr ? lumaQuartered : chromaQuartered;
    const __m256i b = order == Packed422::YCbYCr ? chromaQuartered : lumaQuartered;
    put(dst, _mm256_unpacklo_epi8(a, b));
    put(dst + 32, _mm256_unpackhi_epi8(a, b));
}

template <Packed422 order>
void join4Order(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst, int32_t pairs,
                bool nonTemporal) {
    // Chroma 32-bit words in the order 0, 2, 4, 6, 1, 3, 5, 7: unpacking Cb
    // with Cr then gives the Cb, Cr bytes of pairs 0..15 and 16..31 with their
    // quarters already in the order putPixels wants.
    const __m256i wordOrder = _mm256_setr_epi32(0, 2, 4, 6, 1, 3, 5, 7);
    int32_t j = 0;
    {
        const RowStores put(dst, nonTemporal);
        for (; j + 32 <= pairs; j += 32) {  // 64 pixels
            const __m256i u = _mm256_permutevar8x32_epi32(load(cb + j), wordOrder);
            const __m256i v = _mm256_permutevar8x32_epi32(load(cr + j), wordOrder);
            const __m256i y0 = _mm256_permute4x64_epi64(load(y + 2 * j), 0xD8);
            const __m256i y1 = _mm256_permute4x64_epi64(load(y + 2 * j + 32), 0xD8);
            putPixels<order>(put, dst + 4 * j, y0, _mm256_unpacklo_epi8(u, v));
            putPixels<order>(put, dst + 4 * j + 64, y1, _mm256_unpackhi_epi8(u, v));
        }
    }
    kSse2Rows.join4(y + 2 * j, cb + j, cr + j, dst + 4 * j, pairs - j, order, nonTemporal);
}

void join4(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst, int32_t pairs, Packed422 order,
           bool nonTemporal) {
    if (order == Packed422::YCbYCr)
        join4Order<Packed422::YCbYCr>(y, cb, cr, dst, pairs, nonTemporal);
    else
        join4Order<Packed422::CbYCrY>(y, cb, cr, dst, pairs, nonTemporal);
}

// 32 means of the even bytes, in 16-bit lanes: (a + b + bias) >> 1.
__m256i averageBlock(const uint8_t* upper, const uint8_t* lower, __m256i bias) {
    const __m256i low = _mm256_set1_epi16(0x00FF);
    const auto mean = [&](int offset) {
        const __m256i a = _mm256_and_si256(load(upper + offset), low);
        const __m256i b = _mm256_and_si256(load(lower + offset), low);
        return _mm256_srli_epi16(_mm256_add_epi16(_mm256_add_epi16(a, b), bias), 1);
    };
    return packInOrder(mean(0), mean(32));
}

void averageEven(const uint8_t* upper, const uint8_t* lower, uint8_t* dst, int32_t n, int32_t roundUp) {
    int32_t j = 0;
    for (; j + 32 <= roundUp && j + 32 <= n; j += 32)
        store(dst + j, averageBlock(upper + 2 * j, lower + 2 * j, _mm256_set1_epi16(1)));
    if (j >= roundUp) {
        for (; j + 32 <= n; j += 32)
            store(dst + j, averageBlock(upper + 2 * j, lower + 2 * j, _mm256_setzero_si256()));
    }
    kSse2Rows.averageEven(upper + 2 * j, lower + 2 * j, dst + j, n - j, roundUp - j);
}

}  // namespace

const RowKit kAvx2Rows{&copyRowByMemoryKernel, &copyPlaneByMemoryKernel, &swapPairs, &pick,       &split2,
                       &join2,                 &split4,                  &join4,     &averageEven};

}  // namespace morva::yuvlayout

#endif  // MORVA_X86_64
