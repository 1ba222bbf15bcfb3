// 16-bit BGR words (5-5-5, 5-6-5) as 32-bit pixel lanes B, G, R, 0 in
// AVX-512 registers, for the forms that read such words.
#pragma once

#include "kernels/cpu.h"

#if MORVA_X86_64

#include "color/bgr_fixed_point.h"
#include "color/x86/lanes.h"

namespace morva {
namespace {

// Words, one to a 32-bit lane, to B, G, R bytes: each field shifted straight
// to its byte and masked, the same bits as the scalar shift down and mask.
template <const Bgr16Fields& f>
MORVA_LANE_INLINE __m512i widenBgr16Fields(__m512i words) {
    constexpr int kOr3 = 0xFE;  // a | b | c
    const __m512i blue = _mm512_and_si512(_mm512_slli_epi32(words, 3), _mm512_set1_epi32(0xF8));
    const __m512i green =
        _mm512_and_si512(_mm512_slli_epi32(words, 8 - f.greenShift), _mm512_set1_epi32(f.greenMask << 8));
    const __m512i red = _mm512_and_si512(_mm512_slli_epi32(words, 16 - f.redShift), _mm512_set1_epi32(0xF8 << 16));
    return _mm512_ternarylogic_epi32(blue, green, red, kOr3);
}

// 16 words (32 bytes) from memory as pixel lanes.
template <const Bgr16Fields& f>
MORVA_LANE_INLINE __m512i loadBgr16Pixels(const uint8_t* p) {
    return widenBgr16Fields<f>(_mm512_cvtepu16_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p))));
}

}  // namespace
}  // namespace morva

#endif
