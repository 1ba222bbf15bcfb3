// SSE2 forms of the nearest neighbour row lookup for pixels of three and four
// samples: a pixel moves as one wide word instead of sample by sample.
#include "resample/nearest_forms.h"

#if MORVA_X86_64
#include <emmintrin.h>

#include <cstring>

namespace morva {
namespace {

template <class T>
T load(const void* p) {
    T v;
    std::memcpy(&v, p, sizeof(T));
    return v;
}

template <class T>
void store(void* p, T v) {
    std::memcpy(p, &v, sizeof(T));
}

// Three samples copied as four: the fourth lands on the next pixel's first
// sample, which that pixel then overwrites. Only where the wider read stays
// inside the source row and the wider write is not the row's last pixel.
template <class T, class Word>
void lookupThreeChannels(const T* s, int32_t srcWidth, const int32_t* columns, T* d,
                         int32_t width) {
    const int64_t rowSamples = int64_t(srcWidth) * 3;
    for (int32_t j = 0; j < width; ++j) {
        const T* pixel = s + columns[j];
        T* out = d + 3 * j;
        if (j + 1 < width && columns[j] + 4 <= rowSamples) {
            store<Word>(out, load<Word>(pixel));
        } else {
            out[0] = pixel[0];
            out[1] = pixel[1];
            out[2] = pixel[2];
        }
    }
}

}  // namespace

void nearestRow8uC3Sse2(const uint8_t* s, int32_t srcWidth, const int32_t* columns, uint8_t* d,
                        int32_t width) {
    lookupThreeChannels<uint8_t, uint32_t>(s, srcWidth, columns, d, width);
}

void nearestRow16uC3Sse2(const uint16_t* s, int32_t srcWidth, const int32_t* columns,
                         uint16_t* d, int32_t width) {
    lookupThreeChannels<uint16_t, uint64_t>(s, srcWidth, columns, d, width);
}

void nearestRow8uC4Sse2(const uint8_t* s, int32_t, const int32_t* columns, uint8_t* d,
                        int32_t width) {
    int32_t j = 0;
    for (; j + 4 <= width; j += 4) {
        const __m128i v = _mm_set_epi32(
            load<int32_t>(s + columns[j + 3]), load<int32_t>(s + columns[j + 2]),
            load<int32_t>(s + columns[j + 1]), load<int32_t>(s + columns[j]));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d + 4 * j), v);
    }
    for (; j < width; ++j) store<uint32_t>(d + 4 * j, load<uint32_t>(s + columns[j]));
}

void nearestRow16uC4Sse2(const uint16_t* s, int32_t, const int32_t* columns, uint16_t* d,
                         int32_t width) {
    int32_t j = 0;
    for (; j + 2 <= width; j += 2) {
        const __m128i v =
            _mm_set_epi64x(load<int64_t>(s + columns[j + 1]), load<int64_t>(s + columns[j]));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d + 4 * j), v);
    }
    for (; j < width; ++j) store<uint64_t>(d + 4 * j, load<uint64_t>(s + columns[j]));
}

}  // namespace morva
#endif
