// SSE2 form of the set family. A pattern of the pixel repeated serves every
// alignment of the target: after the unaligned head store the fill goes on at
// the pattern byte that matches the target's new offset in the row.
#include "kernels/cpu.h"

#if MORVA_X86_64

#include <emmintrin.h>

#include <cstring>

#include "kernels/set_forms.h"

namespace morva {
namespace {

__m128i load16(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
void storeUnaligned(uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
void storeAligned(uint8_t* p, __m128i v) { _mm_store_si128(reinterpret_cast<__m128i*>(p), v); }
void storeStreaming(uint8_t* p, __m128i v) { _mm_stream_si128(reinterpret_cast<__m128i*>(p), v); }

// The row geometry of one pixel size. Pixels of 1, 2 and 4 bytes repeat every
// 16 bytes and fill in rounds of 64; pixels of 3 bytes repeat every 48, which
// is then the round. The pattern holds up to 15 bytes of head offset plus one
// period.
template <int PixelBytes>
struct RowShape {
    static constexpr size_t kPeriodRegs = PixelBytes == 3 ? 3 : 1;
    static constexpr size_t kRound = PixelBytes == 3 ? 48 : 64;
    static constexpr size_t kPatternBytes = 15 + 16 * kPeriodRegs;
};

template <int PixelBytes>
struct Pattern {
    uint8_t bytes[RowShape<PixelBytes>::kPatternBytes];

    explicit Pattern(const uint8_t* pixel) {
        for (size_t i = 0; i < sizeof bytes; ++i) bytes[i] = pixel[i % PixelBytes];
    }
};

template <int PixelBytes, bool Streaming>
void fillRow(uint8_t* dst, size_t n, const Pattern<PixelBytes>& pattern, const uint8_t* pixel) {
    using Shape = RowShape<PixelBytes>;
    size_t phase = 0;  // pattern byte that belongs at dst
    if (n >= Shape::kRound) {
        if (const size_t advance = (16 - (reinterpret_cast<uintptr_t>(dst) & 15)) & 15) {
            storeUnaligned(dst, load16(pattern.bytes));
            dst += advance;
            n -= advance;
            phase = advance;
        }
    }
    __m128i period[Shape::kPeriodRegs];
    for (size_t r = 0; r < Shape::kPeriodRegs; ++r) period[r] = load16(pattern.bytes + phase + 16 * r);

    const bool rounds = n >= Shape::kRound;
    for (; n >= Shape::kRound; n -= Shape::kRound, dst += Shape::kRound)
        for (size_t i = 0; i < Shape::kRound / 16; ++i) {
            if constexpr (Streaming) storeStreaming(dst + 16 * i, period[i % Shape::kPeriodRegs]);
            else storeAligned(dst + 16 * i, period[i % Shape::kPeriodRegs]);
        }
    if (Streaming && rounds) _mm_sfence();

    // Whole 16-byte stores, then pixels from the end of the row backwards; the
    // last of them may overlap bytes already written, with the same values.
    for (size_t i = 0; n >= 16; ++i, n -= 16, dst += 16) storeUnaligned(dst, period[i % Shape::kPeriodRegs]);
    for (uint8_t* end = dst + n; end > dst;) {
        end -= PixelBytes;
        std::memcpy(end, pixel, PixelBytes);
    }
}

}  // namespace

template <int PixelBytes>
void setSse2(uint8_t* dst, ptrdiff_t dstStep, size_t rowBytes, int32_t rows, const uint8_t* pixel,
             bool nonTemporal) {
    const Pattern<PixelBytes> pattern(pixel);
    const auto fill = nonTemporal ? &fillRow<PixelBytes, true> : &fillRow<PixelBytes, false>;
    for (int32_t r = 0; r < rows; ++r, dst += dstStep) fill(dst, rowBytes, pattern, pixel);
}

template void setSse2<1>(uint8_t*, ptrdiff_t, size_t, int32_t, const uint8_t*, bool);
template void setSse2<2>(uint8_t*, ptrdiff_t, size_t, int32_t, const uint8_t*, bool);
template void setSse2<3>(uint8_t*, ptrdiff_t, size_t, int32_t, const uint8_t*, bool);
template void setSse2<4>(uint8_t*, ptrdiff_t, size_t, int32_t, const uint8_t*, bool);

}  // namespace morva

#endif  // MORVA_X86_64
