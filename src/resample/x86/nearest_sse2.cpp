// SSE2 forms of the nearest neighbour row lookup for pixels of three and four
// samples: a pixel moves as one wide word instead of sample by sample; and of
// the rows whose columns step evenly.
#include "resample/nearest_forms.h"
#include "resample/x86/nearest_lanes.h"

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

namespace {

struct Sse2Moves {
    static constexpr int kEvenBytes = 16;
    static constexpr int kTwiceBytes = 16;

    template <int E>
    static void keepEven(const uint8_t* s, uint8_t* d) {
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 16));
        __m128i v;
        if constexpr (E == 1) {
            const __m128i low = _mm_set1_epi16(0xFF);
            v = _mm_packus_epi16(_mm_and_si128(a, low), _mm_and_si128(b, low));
        } else if constexpr (E == 2) {
            // Low halves sign-extended, so that the signed pack keeps their bits.
            v = _mm_packs_epi32(_mm_srai_epi32(_mm_slli_epi32(a, 16), 16), _mm_srai_epi32(_mm_slli_epi32(b, 16), 16));
        } else {
            v = _mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(a), _mm_castsi128_ps(b), 0x88));
        }
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d), v);
    }

    template <int E>
    static void twice(const uint8_t* s, uint8_t* d) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s));
        __m128i lo, hi;
        if constexpr (E == 1) {
            lo = _mm_unpacklo_epi8(v, v), hi = _mm_unpackhi_epi8(v, v);
        } else if constexpr (E == 2) {
            lo = _mm_unpacklo_epi16(v, v), hi = _mm_unpackhi_epi16(v, v);
        } else {
            lo = _mm_unpacklo_epi32(v, v), hi = _mm_unpackhi_epi32(v, v);
        }
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d), lo);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d + 16), hi);
    }
};

}  // namespace

MORVA_NEAREST_FORMS(Sse2, Sse2Moves)

}  // namespace morva
#endif
