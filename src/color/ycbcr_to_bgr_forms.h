// Internal to the YCbCr to BGR family: the pieces its forms share.
//
// A form converts the vector body of each row its own way and hands the rest
// of the row to the scalar tail of the kernel, which lives in
// ycbcr_to_bgr.cpp and is the same for all forms. The row loops live there
// too; a form is a row function run by them.
#pragma once

#include <cstdint>

#include "color/ycbcr_to_bgr.h"
#include "kernels/cpu.h"

namespace morva::ycbcr {

// Columns converted by the vector body of every kernel of the family: blocks
// of 16 and then one of 8, or blocks of 8 alone, cover the same columns.
// (static: this header is also compiled with other instruction-set flags.)
static constexpr int32_t bodyWidth(int32_t width) { return width & ~7; }

// Row functions. Packed rows hold 2 bytes a pixel; planar 4:2:2 rows one
// chroma sample per pixel pair; planar 4:2:0 rows come in pairs that share a
// chroma row.
using PackedRow = void(const uint8_t* src, uint8_t* dst, int32_t width, uint8_t alpha);
using Planar422Row = void(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst, int32_t width);
using Planar420RowPair = void(const uint8_t* y0, const uint8_t* y1, const uint8_t* cb, const uint8_t* cr,
                              uint8_t* dst0, uint8_t* dst1, int32_t width);
using Planar420BgraRowPair = void(const uint8_t* y0, const uint8_t* y1, const uint8_t* cb, const uint8_t* cr,
                                  uint8_t* dst0, uint8_t* dst1, int32_t width, uint8_t alpha);

// Row loops, one per source layout.
void forEachPackedRow(PackedRow* row, const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep,
                      int32_t width, int32_t height, uint8_t alpha);
void forEachPlanar422Row(Planar422Row* row, const uint8_t* const src[3], const int32_t srcStep[3], uint8_t* dst,
                         int32_t dstStep, int32_t width, int32_t height);
void forEachPlanar420RowPair(Planar420RowPair* rowPair, const uint8_t* const src[3], const int32_t srcStep[3],
                             uint8_t* dst, int32_t dstStep, int32_t width, int32_t height);
// Planes in the order Y, Cr, Cb; the row pair gets them as Y, Cb, Cr.
void forEachYCrCb420RowPair(Planar420BgraRowPair* rowPair, const uint8_t* const src[3], const int32_t srcStep[3],
                            uint8_t* dst, int32_t dstStep, int32_t width, int32_t height, uint8_t alpha);

// Scalar tails: each converts the columns from bodyWidth(width) on, as its
// kernel does after the vector body (the alpha of the three-channel ones is
// not used). The vector body of ippiYCbCr422ToBGR_8u_C2C3R covers every pair,
// so its tail is the odd last pixel alone.
PackedRow yuy2ToBgraTail, yuy2ToBgrOddPixel, uyvyToBgraTail, uyvyToRgbTail;
Planar422Row planar422ToBgrTail;
Planar420RowPair planar420ToBgrTail;
// The interpolating 4:2:0 to BGRA row, from chroma column fromPair on, its
// last pair included.
void planar420ToBgraTail(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst, int32_t fromPair,
                         int32_t width, uint8_t alpha);

#if MORVA_X86_64
Packed422ToBgraKernel yuy2ToBgraSse2, uyvyToBgraSse2, yuy2ToBgraAvx2, uyvyToBgraAvx2, yuy2ToBgraAvx512,
    uyvyToBgraAvx512;
Packed422ToBgrKernel yuy2ToBgrSse2, uyvyToRgbSse2, yuy2ToBgrAvx2, uyvyToRgbAvx2, yuy2ToBgrAvx512, uyvyToRgbAvx512;
Planar3ToBgrKernel planar422ToBgrSse2, planar420ToBgrSse2, planar422ToBgrAvx2, planar420ToBgrAvx2,
    planar422ToBgrAvx512, planar420ToBgrAvx512;
Planar3ToBgraKernel planar420ToBgraSse2, planar420ToBgraAvx2, planar420ToBgraAvx512;
#endif

}  // namespace morva::ycbcr
