// Vector pieces shared by the SSE2 and AVX2 forms of the packed 4:2:2
// resize. Internal linkage, so that each file keeps the copy compiled for its
// own instruction set.
#pragma once

#include "kernels/cpu.h"

#if MORVA_X86_64
#include <emmintrin.h>

#include <cstring>

#include "resample/yuv422_kernels.h"

namespace morva {
namespace {

inline __m128i load32(const uint8_t* p) {
    int32_t v;
    std::memcpy(&v, p, sizeof v);
    return _mm_cvtsi32_si128(v);
}

inline __m128i load64(const void* p) { return _mm_loadl_epi64(static_cast<const __m128i*>(p)); }
inline __m128i load128(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }
inline void store64(void* p, __m128i v) { _mm_storel_epi64(static_cast<__m128i*>(p), v); }
inline void store128(void* p, __m128i v) { _mm_storeu_si128(static_cast<__m128i*>(p), v); }

// The (lower, upper) source sample pairs of macro-pixel p as int16, in target
// order: Y(2p), U, Y(2p + 1), V.
inline __m128i linearPairs(const uint8_t* row, const Yuv422LinearColumns& c, int32_t p) {
    // Bytes 0 .. 3 of a luma sample: it and the next luma in the low bytes.
    const __m128i y0 = load32(row + 2 * ptrdiff_t(c.luma[2 * p]));
    const __m128i y1 = load32(row + 2 * ptrdiff_t(c.luma[2 * p + 1]));
    const __m128i luma = _mm_and_si128(_mm_unpacklo_epi32(y0, y1), _mm_set1_epi16(0x00FF));
    // Two chroma pairs: U V U' V', then U U' V V'.
    __m128i chroma = _mm_srli_epi16(load64(row + 4 * ptrdiff_t(c.chroma[p])), 8);
    chroma = _mm_shufflelo_epi16(chroma, _MM_SHUFFLE(3, 1, 2, 0));
    return _mm_unpacklo_epi32(luma, chroma);
}

// The window samples of macro-pixel p of a cubic pass as int16, in target
// order: ab holds the first two window samples of Y(2p), U, Y(2p + 1), V,
// cd the last two. Reads the window's bytes and, for luma, the byte behind
// its last sample, which lies in the same macro-pixel.
struct CubicWindow16 {
    __m128i ab, cd;
};

inline CubicWindow16 cubicWindow16(const uint8_t* row, const Yuv422CubicColumns& c, int32_t p) {
    const __m128i lowBytes = _mm_set1_epi16(0x00FF);
    // Bytes -2 .. 5 of a luma base: its window samples in the low bytes.
    const __m128i y0 = _mm_and_si128(load64(row + 2 * ptrdiff_t(c.luma[2 * p]) - 2), lowBytes);
    const __m128i y1 = _mm_and_si128(load64(row + 2 * ptrdiff_t(c.luma[2 * p + 1]) - 2), lowBytes);
    // Bytes -4 .. 11 of a chroma base: U and V of pairs base - 1 .. base + 2.
    const __m128i uv = _mm_srli_epi16(load128(row + 4 * ptrdiff_t(c.chroma[p]) - 4), 8);
    const __m128i yy = _mm_unpacklo_epi16(y0, y1);  // a0 a1 b0 b1 c0 c1 d0 d1
    return {_mm_unpacklo_epi16(yy, uv), _mm_unpackhi_epi16(yy, uv)};
}

}  // namespace
}  // namespace morva
#endif
