// The even-stepping nearest neighbour rows written once against a small
// per-instruction-set interface of whole-pixel moves:
//
//   keepEven<E>(src, dst)  kEvenBytes bytes of dst from twice as many of src:
//                          every other pixel of E bytes, from the first
//   twice<E>(src, dst)     twice kTwiceBytes bytes of dst from kTwiceBytes of
//                          src: each pixel of E bytes two times
//
// Rows are walked block by block (blocks.h). Internal linkage: each
// instruction set's file keeps its own copy.
#pragma once

#include "resample/nearest_forms.h"
#include "resample/x86/blocks.h"

#if MORVA_X86_64
namespace morva {
namespace {

template <class Moves, class T, int Channels>
void everyOther(const T* src, T* dst, int32_t width) {
    constexpr int kPixel = int(sizeof(T)) * Channels;
    constexpr int32_t n = Moves::kEvenBytes / kPixel;
    // A block reads the odd pixel behind its last even one, which for the
    // row's last target pixel may lie outside the image: that one alone.
    if (width <= n) return nearestEveryOtherScalar<T, Channels>(src, dst, width);
    const auto* s = reinterpret_cast<const uint8_t*>(src);
    auto* d = reinterpret_cast<uint8_t*>(dst);
    blocksOver(width - 1, n, [&](int32_t j) { Moves::template keepEven<kPixel>(s + 2 * j * kPixel, d + j * kPixel); });
    nearestEveryOtherScalar<T, Channels>(src + 2 * (width - 1) * Channels, dst + (width - 1) * Channels, 1);
}

template <class Moves, class T, int Channels>
void twice(const T* src, T* dst, int32_t width, int32_t phase) {
    constexpr int kPixel = int(sizeof(T)) * Channels;
    constexpr int32_t n = Moves::kTwiceBytes / kPixel;  // source pixels of a block
    if (phase == 1 && width > 0) {
        // The first source pixel once; the rest pairs from the next.
        nearestTwiceScalar<T, Channels>(src, dst, 1, 1);
        src += Channels;
        dst += Channels;
        --width;
    }
    const int32_t pairs = width / 2;
    if (pairs < n) return nearestTwiceScalar<T, Channels>(src, dst, width, 0);
    const auto* s = reinterpret_cast<const uint8_t*>(src);
    auto* d = reinterpret_cast<uint8_t*>(dst);
    blocksOver(pairs, n, [&](int32_t m) { Moves::template twice<kPixel>(s + m * kPixel, d + 2 * m * kPixel); });
    if (width % 2) nearestTwiceScalar<T, Channels>(src + pairs * Channels, dst + 2 * pairs * Channels, 1, 0);
}

}  // namespace

// The forms of one instruction set, named by its suffix.
#define MORVA_NEAREST_FORMS(Suffix, Moves)                                                                  \
    void nearestEveryOther8uC1##Suffix(const uint8_t* s, uint8_t* d, int32_t w) {                            \
        everyOther<Moves, uint8_t, 1>(s, d, w);                                                              \
    }                                                                                                        \
    void nearestEveryOther8uC4##Suffix(const uint8_t* s, uint8_t* d, int32_t w) {                            \
        everyOther<Moves, uint8_t, 4>(s, d, w);                                                              \
    }                                                                                                        \
    void nearestEveryOther16uC1##Suffix(const uint16_t* s, uint16_t* d, int32_t w) {                         \
        everyOther<Moves, uint16_t, 1>(s, d, w);                                                             \
    }                                                                                                        \
    void nearestTwice8uC1##Suffix(const uint8_t* s, uint8_t* d, int32_t w, int32_t p) {                      \
        twice<Moves, uint8_t, 1>(s, d, w, p);                                                                \
    }                                                                                                        \
    void nearestTwice8uC4##Suffix(const uint8_t* s, uint8_t* d, int32_t w, int32_t p) {                      \
        twice<Moves, uint8_t, 4>(s, d, w, p);                                                                \
    }                                                                                                        \
    void nearestTwice16uC1##Suffix(const uint16_t* s, uint16_t* d, int32_t w, int32_t p) {                   \
        twice<Moves, uint16_t, 1>(s, d, w, p);                                                               \
    }

}  // namespace morva
#endif
