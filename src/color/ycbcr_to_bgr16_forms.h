// Internal to the YCbCr to 16-bit BGR family: row functions, the frame loops
// that run them (ycbcr_to_bgr16.cpp), the scalar tails, and the vector forms.
#pragma once

#include <cstdint>

#include "color/ycbcr_to_bgr16.h"
#include "kernels/cpu.h"

namespace morva::ycbcr16 {

// `count` pixels of packed 4:2:2 from one row, or from a whole frame whose
// rows lie back to back.
using PackedRow = void(const uint8_t* src, uint8_t* dst, int64_t count, const Bgr16Layout& layout);
// Two Y rows that share one chroma row.
using PlanarRowPair = void(const uint8_t* y0, const uint8_t* y1, const uint8_t* cb, const uint8_t* cr,
                           uint8_t* dst0, uint8_t* dst1, int32_t width, const Bgr16Layout& layout);

// The frame loops: the contiguous, row and single-column paths of the packed
// kernels; row pairs and an odd last row of the planar kernels.
void packedFrame(PackedRow* row, const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep16,
                 int32_t width, int32_t height, const Bgr16Layout& layout);
void planarFrame(PlanarRowPair* rowPair, const uint8_t* const src[3], const int32_t srcStep[3], uint8_t* dst,
                 int32_t dstStep16, int32_t width, int32_t height, const Bgr16Layout& layout);

// The scalar definition of a packed row, and its tail: pixels from
// (count & ~7) on.
PackedRow packedRowScalar, packedTail;
// Columns [from, width) of one planar row, by the scalar Q4 truncated.
void planarColumns(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst, int32_t from,
                   int32_t width, const Bgr16Layout& layout);

#if MORVA_X86_64
Packed422ToBgr16Kernel packed422ToBgr16Sse2, packed422ToBgr16Avx2, packed422ToBgr16Avx512;
Planar420ToBgr16Kernel planar420ToBgr16Sse2, planar420ToBgr16Avx2, planar420ToBgr16Avx512;
#endif

}  // namespace morva::ycbcr16
