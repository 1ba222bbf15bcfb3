// SSE2 forms of the mirror family. A block of pixels is loaded, reversed in
// registers and stored at the mirrored place; what is left over at the end of
// a row goes pixel by pixel.
//
// All loads and stores are unaligned: on x86-64 processors of today they cost
// nothing extra on aligned rows, so one form serves aligned and unaligned
// planes alike.
#include "kernels/cpu.h"

#if MORVA_X86_64

#include <emmintrin.h>

#include <utility>

#include "kernels/mirror_forms.h"
#include "kernels/plane.h"

namespace morva {
namespace {

__m128i load16(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
void store16(uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

__m128i reverseBytes(__m128i x) {
    x = _mm_shuffle_epi32(x, _MM_SHUFFLE(0, 1, 2, 3));
    x = _mm_shufflelo_epi16(x, _MM_SHUFFLE(2, 3, 0, 1));
    x = _mm_shufflehi_epi16(x, _MM_SHUFFLE(2, 3, 0, 1));
    return _mm_or_si128(_mm_slli_epi16(x, 8), _mm_srli_epi16(x, 8));
}

// A block of pixels in Regs registers and how to reverse its pixel order.
// Pixels of 1 and 4 bytes: two registers, each reversed on its own and the
// two exchanged.
template <int PixelBytes>
struct Pixels {
    static constexpr int kBytes = PixelBytes;
    static constexpr int kRegs = 2;
    static constexpr int kPerBlock = 16 * kRegs / PixelBytes;

    static __m128i reverseRegister(__m128i x) {
        if constexpr (PixelBytes == 4) return _mm_shuffle_epi32(x, _MM_SHUFFLE(0, 1, 2, 3));
        else return reverseBytes(x);
    }
    static void reverse(__m128i (&v)[kRegs]) {
        const __m128i first = reverseRegister(v[0]);
        v[0] = reverseRegister(v[1]);
        v[1] = first;
    }
};

// Pixels of 3 bytes: 16 pixels in three registers. Reversing all 48 bytes
// reverses the pixels and also the channels within each; a second step
// exchanges bytes 0 and 2 of every pixel back, by shifting the 48 bytes two
// places either way and choosing per byte.
template <>
struct Pixels<3> {
    static constexpr int kBytes = 3;
    static constexpr int kRegs = 3;
    static constexpr int kPerBlock = 16;

    // kMasks.bytes[phase][r] selects the bytes of register r whose place in
    // the block is congruent to phase mod 3.
    struct MaskTable {
        alignas(16) uint8_t bytes[3][3][16];
    };
    static constexpr MaskTable kMasks = [] {
        MaskTable t{};
        for (int phase = 0; phase < 3; ++phase)
            for (int r = 0; r < 3; ++r)
                for (int i = 0; i < 16; ++i) t.bytes[phase][r][i] = (16 * r + i) % 3 == phase ? 0xFF : 0;
        return t;
    }();
    static __m128i mask(int phase, int r) {
        return _mm_load_si128(reinterpret_cast<const __m128i*>(kMasks.bytes[phase][r]));
    }

    static void reverse(__m128i (&v)[kRegs]) {
        const __m128i x[3] = {reverseBytes(v[2]), reverseBytes(v[1]), reverseBytes(v[0])};
        const __m128i zero = _mm_setzero_si128();
        for (int r = 0; r < 3; ++r) {
            const __m128i previous = r > 0 ? x[r - 1] : zero;
            const __m128i next = r < 2 ? x[r + 1] : zero;
            // Byte i of `later` holds block byte i + 2, of `earlier` byte i - 2.
            const __m128i later = _mm_or_si128(_mm_srli_si128(x[r], 2), _mm_slli_si128(next, 14));
            const __m128i earlier = _mm_or_si128(_mm_slli_si128(x[r], 2), _mm_srli_si128(previous, 14));
            v[r] = _mm_or_si128(_mm_and_si128(x[r], mask(1, r)),
                                _mm_or_si128(_mm_and_si128(later, mask(0, r)),
                                             _mm_and_si128(earlier, mask(2, r))));
        }
    }
};

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
void exchangeRows(uint8_t* a, uint8_t* b, size_t n) {
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

}  // namespace

template <int PixelBytes>
void mirrorSse2(uint8_t* plane, ptrdiff_t step, int32_t width, int32_t height, int32_t flip) {
    using P = Pixels<PixelBytes>;
    const auto row = [&](int32_t r) { return plane + r * step; };
    switch (flip) {
    case ippAxsHorizontal:
        for (int32_t r = 0; r < height / 2; ++r)
            exchangeRows(row(r), row(height - 1 - r), size_t(width) * PixelBytes);
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

template void mirrorSse2<1>(uint8_t*, ptrdiff_t, int32_t, int32_t, int32_t);
template void mirrorSse2<3>(uint8_t*, ptrdiff_t, int32_t, int32_t, int32_t);
template void mirrorSse2<4>(uint8_t*, ptrdiff_t, int32_t, int32_t, int32_t);

}  // namespace morva

#endif  // MORVA_X86_64
