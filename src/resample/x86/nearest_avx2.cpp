// AVX2 forms of the nearest neighbour rows whose columns step evenly.
#include "resample/x86/nearest_lanes.h"

#if MORVA_X86_64
#include <immintrin.h>

namespace morva {
namespace {

struct Avx2Moves {
    static constexpr int kEvenBytes = 32;
    static constexpr int kTwiceBytes = 16;

    template <int E>
    static void keepEven(const uint8_t* s, uint8_t* d) {
        const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s));
        const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + 32));
        __m256i v;
        if constexpr (E == 1) {
            const __m256i low = _mm256_set1_epi16(0xFF);
            v = _mm256_packus_epi16(_mm256_and_si256(a, low), _mm256_and_si256(b, low));
        } else if constexpr (E == 2) {
            const __m256i low = _mm256_set1_epi32(0xFFFF);
            v = _mm256_packus_epi32(_mm256_and_si256(a, low), _mm256_and_si256(b, low));
        } else {
            v = _mm256_castps_si256(_mm256_shuffle_ps(_mm256_castsi256_ps(a), _mm256_castsi256_ps(b), 0x88));
        }
        // Packs and shuffles work within 128-bit halves: quarters 0, 2, 1, 3.
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d), _mm256_permute4x64_epi64(v, 0xD8));
    }

    // Each pixel widened to twice its size, its copy in the upper half.
    template <int E>
    static void twice(const uint8_t* s, uint8_t* d) {
        const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s));
        __m256i v;
        if constexpr (E == 1) {
            v = _mm256_cvtepu8_epi16(x), v = _mm256_or_si256(v, _mm256_slli_epi16(v, 8));
        } else if constexpr (E == 2) {
            v = _mm256_cvtepu16_epi32(x), v = _mm256_or_si256(v, _mm256_slli_epi32(v, 16));
        } else {
            v = _mm256_cvtepu32_epi64(x), v = _mm256_or_si256(v, _mm256_slli_epi64(v, 32));
        }
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d), v);
    }
};

}  // namespace

MORVA_NEAREST_FORMS(Avx2, Avx2Moves)

}  // namespace morva
#endif
