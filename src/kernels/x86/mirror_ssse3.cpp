// SSSE3 form of the 3-byte mirror: byte shuffles reverse 16 pixels of three
// registers in nine shuffles, where SSE2 needs shifts and masks.
#include "kernels/cpu.h"

#if MORVA_X86_64

#include <tmmintrin.h>

#include "kernels/mirror_forms.h"
#include "kernels/x86/mirror_blocks.h"

namespace morva {
namespace {

struct Pixels3 {
    static constexpr int kBytes = 3;
    static constexpr int kRegs = 3;
    static constexpr int kPerBlock = 16;

    // kShuffles.bytes[out][in]: where byte i of output register `out` comes
    // from in input register `in`, or 0x80 for a byte that comes from another
    // register. Output byte j is channel j % 3 of pixel 15 - j / 3.
    struct ShuffleTable {
        alignas(16) uint8_t bytes[3][3][16];
    };
    static constexpr ShuffleTable kShuffles = [] {
        ShuffleTable t{};
        for (int out = 0; out < 3; ++out)
            for (int in = 0; in < 3; ++in)
                for (int i = 0; i < 16; ++i) {
                    const int j = 16 * out + i;
                    const int from = 3 * (15 - j / 3) + j % 3;
                    t.bytes[out][in][i] = from / 16 == in ? uint8_t(from % 16) : 0x80;
                }
        return t;
    }();

    template <int Out>
    static __m128i gather(const __m128i (&v)[3]) {
        const auto shuffle = [&](int in) {
            return _mm_shuffle_epi8(v[in], _mm_load_si128(reinterpret_cast<const __m128i*>(kShuffles.bytes[Out][in])));
        };
        return _mm_or_si128(_mm_or_si128(shuffle(0), shuffle(1)), shuffle(2));
    }

    static void reverse(__m128i (&v)[kRegs]) {
        const __m128i in[3] = {v[0], v[1], v[2]};
        v[0] = gather<0>(in);
        v[1] = gather<1>(in);
        v[2] = gather<2>(in);
    }
};

}  // namespace

void mirrorC3Ssse3(uint8_t* plane, ptrdiff_t step, int32_t width, int32_t height, int32_t flip) {
    mirrorBlocks<Pixels3>(plane, step, width, height, flip);
}

}  // namespace morva

#endif  // MORVA_X86_64
