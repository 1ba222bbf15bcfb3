// SSE2 forms of the mirror family: pixel reversal in registers by word and
// dword shuffles.
#include "kernels/cpu.h"

#if MORVA_X86_64

#include "kernels/mirror_forms.h"
#include "kernels/x86/mirror_blocks.h"

namespace morva {
namespace {

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

    // Register R of the block with bytes 0 and 2 of every pixel exchanged.
    template <int R>
    static __m128i exchangeOuterChannels(const __m128i (&x)[3]) {
        const __m128i zero = _mm_setzero_si128();
        const __m128i previous = R > 0 ? x[R > 0 ? R - 1 : 0] : zero;
        const __m128i next = R < 2 ? x[R < 2 ? R + 1 : 2] : zero;
        // Byte i of `later` holds block byte i + 2, of `earlier` byte i - 2.
        const __m128i later = _mm_or_si128(_mm_srli_si128(x[R], 2), _mm_slli_si128(next, 14));
        const __m128i earlier = _mm_or_si128(_mm_slli_si128(x[R], 2), _mm_srli_si128(previous, 14));
        return _mm_or_si128(_mm_and_si128(x[R], mask(1, R)),
                            _mm_or_si128(_mm_and_si128(later, mask(0, R)), _mm_and_si128(earlier, mask(2, R))));
    }

    static void reverse(__m128i (&v)[kRegs]) {
        const __m128i x[3] = {reverseBytes(v[2]), reverseBytes(v[1]), reverseBytes(v[0])};
        v[0] = exchangeOuterChannels<0>(x);
        v[1] = exchangeOuterChannels<1>(x);
        v[2] = exchangeOuterChannels<2>(x);
    }
};
}  // namespace

template <int PixelBytes>
void mirrorSse2(uint8_t* plane, ptrdiff_t step, int32_t width, int32_t height, int32_t flip) {
    mirrorBlocks<Pixels<PixelBytes>>(plane, step, width, height, flip);
}

template void mirrorSse2<1>(uint8_t*, ptrdiff_t, int32_t, int32_t, int32_t);
template void mirrorSse2<3>(uint8_t*, ptrdiff_t, int32_t, int32_t, int32_t);
template void mirrorSse2<4>(uint8_t*, ptrdiff_t, int32_t, int32_t, int32_t);

}  // namespace morva

#endif  // MORVA_X86_64
