// YCbCr (packed 4:2:2 in both byte orders, planar 4:2:2 and 4:2:0) to 24-bit
// and 32-bit BGR.
//
// Each kernel has a vector body over blocks of pixels and a scalar tail, and
// the two round differently (see yuv_fixed_point.h): the form that converts a
// pixel depends on its column. Output is blue, green, red (and alpha), except
// ippiCbYCr422ToRGB_8u_C2C3R, which writes red first.
//
// Steps are in bytes. Planar sources take three plane pointers and three steps
// in the order of the name: YCbCr is Y, Cb, Cr; YCrCb is Y, Cr, Cb.
#pragma once

#include <cstdint>

#include "kernels/dispatch.h"
#include "kernels/status.h"
#include "kernels/types.h"

namespace morva {

// Signatures of the kernel bodies, as function types (so that forms can be
// declared by them) and as the pointers their tables hold.
using Packed422ToBgrKernel = void(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep,
                                  int32_t width, int32_t height);
using Packed422ToBgraKernel = void(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep,
                                   int32_t width, int32_t height, uint8_t alpha);
using Planar3ToBgrKernel = void(const uint8_t* const src[3], const int32_t srcStep[3], uint8_t* dst,
                                int32_t dstStep, int32_t width, int32_t height);
using Planar3ToBgraKernel = void(const uint8_t* const src[3], const int32_t srcStep[3], uint8_t* dst,
                                 int32_t dstStep, int32_t width, int32_t height, uint8_t alpha);
using Packed422ToBgrFn = Packed422ToBgrKernel*;
using Packed422ToBgraFn = Packed422ToBgraKernel*;
using Planar3ToBgrFn = Planar3ToBgrKernel*;
using Planar3ToBgraFn = Planar3ToBgraKernel*;

// Kernel tables, for tests and benchmarks; the first form is the scalar
// definition.
const KernelTable<Packed422ToBgraFn>& yuy2ToBgraTable();
const KernelTable<Packed422ToBgrFn>& yuy2ToBgrTable();
const KernelTable<Packed422ToBgraFn>& uyvyToBgraTable();
const KernelTable<Packed422ToBgrFn>& uyvyToRgbTable();
const KernelTable<Planar3ToBgrFn>& planar422ToBgrTable();
const KernelTable<Planar3ToBgrFn>& planar420ToBgrTable();
const KernelTable<Planar3ToBgraFn>& planar420ToBgraTable();

// Packed Y0 Cb Y1 Cr to BGRA. Columns below (width & ~7) by Q3, the rest by
// S2; an odd last pixel takes Cr from the group before it. Width at least 2.
IppStatus ippiYCbCr422ToBGR_8u_C2C4R(const uint8_t* pSrc, int32_t srcStep, uint8_t* pDst, int32_t dstStep,
                                     IppiSize roiSize, uint8_t alpha);

// Packed Y0 Cb Y1 Cr to BGR. Every pair by Q4 rounded; an odd last pixel by
// S2 with Cr from the group before it. Width at least 2.
IppStatus ippiYCbCr422ToBGR_8u_C2C3R(const uint8_t* pSrc, int32_t srcStep, uint8_t* pDst, int32_t dstStep,
                                     IppiSize roiSize);

// Packed Cb Y0 Cr Y1 to BGRA. Columns below (width & ~7) by Q4 rounded, the
// rest by S3; an odd last pixel takes Cr from the group before it, or its own
// Cb when the width is 1.
IppStatus ippiCbYCr422ToBGR_8u_C2C4R(const uint8_t* pSrc, int32_t srcStep, uint8_t* pDst, int32_t dstStep,
                                     IppiSize roiSize, uint8_t alpha);

// As ippiCbYCr422ToBGR_8u_C2C4R, three channels, red written first.
IppStatus ippiCbYCr422ToRGB_8u_C2C3R(const uint8_t* pSrc, int32_t srcStep, uint8_t* pDst, int32_t dstStep,
                                     IppiSize roiSize);

// Planar 4:2:2 to BGR. Columns below (width & ~7) by Q4 rounded, the other
// pairs by S2; an odd last column is not written. Width at least 2.
IppStatus ippiYCbCr422ToBGR_8u_P3C3R(const uint8_t* const pSrc[3], const int32_t srcStep[3], uint8_t* pDst,
                                     int32_t dstStep, IppiSize roiSize);

// Planar 4:2:0 to BGR, chroma replicated over 2 x 2 blocks. Columns below
// (width & ~7) by Q4 rounded, the other pairs by S2 rounded. An odd last
// column or row is not written, and the result is then ippStsDoubleSize;
// with a height of 1 nothing is written.
IppStatus ippiYCbCr420ToBGR_8u_P3C3R(const uint8_t* const pSrc[3], const int32_t srcStep[3], uint8_t* pDst,
                                     int32_t dstStep, IppiSize roiSize);

// Planar 4:2:0, planes Y, Cr, Cb, to BGRA by S1, chroma interpolated along the
// row (odd pixels take the rounded-up mean of their two chroma neighbours,
// the last pair none). An odd last column or row is not written, and the
// result is then ippStsDoubleSize. With a width of 1 each row still gets two
// pixels, the second from the Y byte behind the row: source and destination
// rows need room for a second pixel.
IppStatus ippiYCrCb420ToBGR_8u_P3C4R(const uint8_t* const pSrc[3], const int32_t srcStep[3], uint8_t* pDst,
                                     int32_t dstStep, IppiSize roiSize, uint8_t alpha);

}  // namespace morva
