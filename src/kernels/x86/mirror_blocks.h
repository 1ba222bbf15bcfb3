// The block loop of the mirror forms, shared by the instruction-set files.
// Everything here has internal linkage: each file gets its own copy, built
// with its own instruction-set flags, which the linker can't merge with
// another file's.
//
// A block of pixels is loaded, reversed in registers and stored at the
// mirrored place; what is left at the end of a row goes pixel by pixel. The
// pixel type P names the pixel size (kBytes), the registers of a block
// (kRegs), the pixels in it (kPerBlock) and reverse(v), which reverses their
// order in the registers.
//
// All loads and stores are unaligned: on x86-64 processors of today they cost
// nothing extra on aligned rows, so one form serves aligned and unaligned
// planes alike.
#pragma once

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>
#include <utility>

#include "kernels/plane.h"

namespace morva {
namespace {

inline __m128i load16(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
inline void store16(uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

template <class P>
struct Block {
    __m128i v[P::kRegs];

    static Block load(const uint8_t* p) {
        Block b;
        for (int r = 0; r < P::kRegs; ++r) b.v[r] = load16(p + 16 * r);
        return b;
    }
    void store(uint8_t* p) const {
        for (int r = 0; r < P::kRegs; ++r) store16(p + 16 * r, v[r]);
    }
    Block reversed() const {
        Block b = *this;
        P::reverse(b.v);
        return b;
    }
};

template <int PixelBytes>
void swapPixels(uint8_t* a, uint8_t* b) {
    for (int k = 0; k < PixelBytes; ++k) std::swap(a[k], b[k]);
}

template <class P>
uint8_t* pixelAt(uint8_t* row, int32_t c) {
    return row + ptrdiff_t(c) * P::kBytes;
}

// Reverses the pixels of one row: blocks from both ends towards the middle,
// then single pixels.
template <class P>
void reverseRow(uint8_t* row, int32_t width) {
    constexpr int32_t k = P::kPerBlock;
    int32_t left = 0, right = width;
    for (; right - left >= 2 * k; left += k, right -= k) {
        const Block<P> a = Block<P>::load(pixelAt<P>(row, left));
        const Block<P> b = Block<P>::load(pixelAt<P>(row, right - k));
        b.reversed().store(pixelAt<P>(row, left));
        a.reversed().store(pixelAt<P>(row, right - k));
    }
    for (--right; left < right; ++left, --right)
        swapPixels<P::kBytes>(pixelAt<P>(row, left), pixelAt<P>(row, right));
}

// Exchanges pixel c of `top` with pixel width-1-c of `bottom`, for every c.
template <class P>
void exchangeReversed(uint8_t* top, uint8_t* bottom, int32_t width) {
    constexpr int32_t k = P::kPerBlock;
    int32_t c = 0;
    for (; c + k <= width; c += k) {
        const Block<P> a = Block<P>::load(pixelAt<P>(top, c));
        const Block<P> b = Block<P>::load(pixelAt<P>(bottom, width - c - k));
        b.reversed().store(pixelAt<P>(top, c));
        a.reversed().store(pixelAt<P>(bottom, width - c - k));
    }
    for (; c < width; ++c) swapPixels<P::kBytes>(pixelAt<P>(top, c), pixelAt<P>(bottom, width - 1 - c));
}

// Exchanges two rows of n bytes, the same for every pixel size.
inline void exchangeRows(uint8_t* a, uint8_t* b, size_t n) {
    size_t i = 0;
    for (; i + 32 <= n; i += 32) {
        const __m128i a0 = load16(a + i), a1 = load16(a + i + 16);
        const __m128i b0 = load16(b + i), b1 = load16(b + i + 16);
        store16(a + i, b0);
        store16(a + i + 16, b1);
        store16(b + i, a0);
        store16(b + i + 16, a1);
    }
    if (i + 16 <= n) {
        const __m128i a0 = load16(a + i), b0 = load16(b + i);
        store16(a + i, b0);
        store16(b + i, a0);
        i += 16;
    }
    for (; i < n; ++i) std::swap(a[i], b[i]);
}

// Mirrors a plane by the axis, blocks of P pixels at a time.
template <class P>
void mirrorBlocks(uint8_t* plane, ptrdiff_t step, int32_t width, int32_t height, int32_t flip) {
    const auto row = [&](int32_t r) { return plane + r * step; };
    switch (flip) {
    case ippAxsHorizontal:
        for (int32_t r = 0; r < height / 2; ++r)
            exchangeRows(row(r), row(height - 1 - r), size_t(width) * P::kBytes);
        break;
    case ippAxsVertical:
        for (int32_t r = 0; r < height; ++r) reverseRow<P>(row(r), width);
        break;
    case ippAxsBoth:
        for (int32_t r = 0; r < height / 2; ++r) exchangeReversed<P>(row(r), row(height - 1 - r), width);
        if (height % 2 == 1) reverseRow<P>(row(height / 2), width);
        break;
    }
}

}  // namespace
}  // namespace morva
