// AVX2 forms of the nearest neighbour row lookup: whole four-sample pixels
// fetched by hardware gathers, which read exactly the pixel's bytes.
#include "resample/nearest_forms.h"

#if MORVA_X86_64
#include <immintrin.h>

#include <cstring>

namespace morva {

void nearestRow8uC4Avx2(const uint8_t* s, int32_t, const int32_t* columns, uint8_t* d,
                        int32_t width) {
    int32_t j = 0;
    for (; j + 8 <= width; j += 8) {
        const __m256i index = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(columns + j));
        const __m256i v = _mm256_i32gather_epi32(reinterpret_cast<const int*>(s), index, 1);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + 4 * j), v);
    }
    for (; j < width; ++j) std::memcpy(d + 4 * j, s + columns[j], 4);
}

void nearestRow16uC4Avx2(const uint16_t* s, int32_t, const int32_t* columns, uint16_t* d,
                         int32_t width) {
    int32_t j = 0;
    for (; j + 4 <= width; j += 4) {
        const __m128i index = _mm_loadu_si128(reinterpret_cast<const __m128i*>(columns + j));
        const __m256i v =
            _mm256_i32gather_epi64(reinterpret_cast<const long long*>(s), index, 2);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + 4 * j), v);
    }
    for (; j < width; ++j) std::memcpy(d + 4 * j, s + columns[j], 8);
}

}  // namespace morva
#endif
