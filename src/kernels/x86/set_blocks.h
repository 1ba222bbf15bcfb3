// The set family's row fill over vector registers V (Vec16, Vec32). A
// pattern of the pixel repeated serves every alignment of the target: after
// the unaligned head store the fill goes on at the pattern byte that matches
// the target's new offset in the row. The SSE2 and AVX2 files instantiate it.
#pragma once

#include <cstring>

#include "kernels/set_forms.h"
#include "kernels/x86/vector_registers.h"

namespace morva {
namespace {

// Pixels of 1, 2 and 4 bytes repeat within one register and fill in rounds
// of four registers; pixels of 3 bytes repeat every three registers, which
// are then the round. The pattern holds a head offset below one register
// plus one period.
template <int PixelBytes, class V>
struct RowShape {
    static constexpr size_t kPeriodRegs = PixelBytes == 3 ? 3 : 1;
    static constexpr size_t kRoundRegs = PixelBytes == 3 ? 3 : 4;
    static constexpr size_t kRound = kRoundRegs * V::kBytes;
    static constexpr size_t kPatternBytes = V::kBytes - 1 + V::kBytes * kPeriodRegs;
};

template <int PixelBytes, class V>
struct Pattern {
    uint8_t bytes[RowShape<PixelBytes, V>::kPatternBytes];

    explicit Pattern(const uint8_t* pixel) {
        for (size_t i = 0; i < sizeof bytes; ++i) bytes[i] = pixel[i % PixelBytes];
    }
};

template <int PixelBytes, class V, bool Streaming>
void fillRow(uint8_t* dst, size_t n, const Pattern<PixelBytes, V>& pattern, const uint8_t* pixel) {
    using Shape = RowShape<PixelBytes, V>;
    size_t phase = 0;  // pattern byte that belongs at dst
    if (n >= Shape::kRound) {
        if (const size_t advance = bytesToBoundary<V>(dst)) {
            V::storeUnaligned(dst, V::load(pattern.bytes));
            dst += advance;
            n -= advance;
            phase = advance;
        }
    }
    typename V::Reg period[Shape::kPeriodRegs];
    for (size_t r = 0; r < Shape::kPeriodRegs; ++r) period[r] = V::load(pattern.bytes + phase + V::kBytes * r);

    const bool rounds = n >= Shape::kRound;
    for (; n >= Shape::kRound; n -= Shape::kRound, dst += Shape::kRound)
        for (size_t i = 0; i < Shape::kRoundRegs; ++i) {
            if constexpr (Streaming) V::storeStreaming(dst + V::kBytes * i, period[i % Shape::kPeriodRegs]);
            else V::storeAligned(dst + V::kBytes * i, period[i % Shape::kPeriodRegs]);
        }
    if (Streaming && rounds) _mm_sfence();

    // Whole registers, a 16-byte store where the register is wider, then
    // pixels from the end of the row backwards; the last of them may overlap
    // bytes already written, with the same values.
    size_t i = 0;
    for (; n >= V::kBytes; ++i, n -= V::kBytes, dst += V::kBytes)
        V::storeUnaligned(dst, period[i % Shape::kPeriodRegs]);
    if (V::kBytes > 16 && n >= 16) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), V::low16(period[i % Shape::kPeriodRegs]));
        dst += 16;
        n -= 16;
    }
    for (uint8_t* end = dst + n; end > dst;) {
        end -= PixelBytes;
        std::memcpy(end, pixel, PixelBytes);
    }
}

template <int PixelBytes, class V>
void setRows(uint8_t* dst, ptrdiff_t dstStep, size_t rowBytes, int32_t rows, const uint8_t* pixel,
             bool nonTemporal) {
    const Pattern<PixelBytes, V> pattern(pixel);
    const auto fill = nonTemporal ? &fillRow<PixelBytes, V, true> : &fillRow<PixelBytes, V, false>;
    for (int32_t r = 0; r < rows; ++r, dst += dstStep) fill(dst, rowBytes, pattern, pixel);
}

}  // namespace
}  // namespace morva
