// A window of source bytes for the AVX-512 row kernels that pick their taps
// by a permutation instead of a load per column: masked loads, so that no
// byte past the source row is read.
#pragma once

#include "kernels/cpu.h"

#if MORVA_X86_64
#include <immintrin.h>

#include <cstdint>

namespace morva {
namespace {

// p[0 .. 63], of which the first `available` bytes are read and the rest
// are 0 (none for available <= 0).
inline __m512i loadWindow(const uint8_t* p, int64_t available) {
    const __mmask64 mask = available >= 64 ? ~__mmask64(0)
                                            : (available <= 0 ? 0 : (__mmask64(1) << available) - 1);
    return _mm512_maskz_loadu_epi8(mask, p);
}

// Sixteen int32 lanes as sixteen-bit lanes of one half each, a's in the low one.
inline __m512i narrowTwo(__m512i a, __m512i b) {
    return _mm512_inserti64x4(_mm512_castsi256_si512(_mm512_cvtepi32_epi16(a)), _mm512_cvtepi32_epi16(b), 1);
}

// True if every lane of v is below limit, unsigned.
inline bool allBelow(__m512i v, int32_t limit) {
    return _mm512_cmplt_epu32_mask(v, _mm512_set1_epi32(limit)) == 0xFFFF;
}

}  // namespace
}  // namespace morva
#endif
