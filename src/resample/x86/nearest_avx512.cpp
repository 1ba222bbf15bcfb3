// AVX-512 forms of the nearest neighbour rows whose columns step evenly: the
// narrowing moves keep every other pixel in one instruction.
#include "resample/x86/nearest_lanes.h"

#if MORVA_X86_64
#include <immintrin.h>

namespace morva {
namespace {

struct Avx512Moves {
    static constexpr int kEvenBytes = 32;
    static constexpr int kTwiceBytes = 32;

    template <int E>
    static void keepEven(const uint8_t* s, uint8_t* d) {
        const __m512i v = _mm512_loadu_si512(s);
        __m256i even;
        if constexpr (E == 1)
            even = _mm512_cvtepi16_epi8(v);
        else if constexpr (E == 2)
            even = _mm512_cvtepi32_epi16(v);
        else
            even = _mm512_cvtepi64_epi32(v);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d), even);
    }

    template <int E>
    static void twice(const uint8_t* s, uint8_t* d) {
        const __m256i x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s));
        __m512i v;
        if constexpr (E == 1) {
            v = _mm512_cvtepu8_epi16(x), v = _mm512_or_si512(v, _mm512_slli_epi16(v, 8));
        } else if constexpr (E == 2) {
            v = _mm512_cvtepu16_epi32(x), v = _mm512_or_si512(v, _mm512_slli_epi32(v, 16));
        } else {
            v = _mm512_cvtepu32_epi64(x), v = _mm512_or_si512(v, _mm512_slli_epi64(v, 32));
        }
        _mm512_storeu_si512(d, v);
    }
};

}  // namespace

MORVA_NEAREST_FORMS(Avx512, Avx512Moves)

}  // namespace morva
#endif
