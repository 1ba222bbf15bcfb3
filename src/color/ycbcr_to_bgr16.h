// YCbCr (packed 4:2:2 Y0 Cb Y1 Cr, planar 4:2:0) packed straight into 16-bit
// BGR pixels: 5-6-5, 5-5-5 and 4-4-4, red in the high field. No dithering:
// the low bits of each 8-bit channel are cut.
//
// The entry points take the destination step in bytes; the bodies take it in
// 16-bit units (the byte step shifted right by one), and so address rows by
// an even number of bytes. Pixels are little-endian words.
#pragma once

#include <cstdint>

#include "kernels/dispatch.h"
#include "kernels/status.h"
#include "kernels/types.h"

namespace morva {

// Where the cut channels go in the word: ((red >> redDrop) << redShift) |
// ((green & greenMask) << greenShift) | (blue >> blueDrop).
struct Bgr16Layout {
    int32_t redDrop, redShift, greenMask, greenShift, blueDrop;
};
inline constexpr Bgr16Layout kBgr565{3, 11, 0xFC, 3, 3};
inline constexpr Bgr16Layout kBgr555{3, 10, 0xF8, 2, 3};
inline constexpr Bgr16Layout kBgr444{4, 8, 0xF0, 0, 4};

// Bodies shared by the three layouts of each source; dst is a byte pointer and
// dstStep16 the step in 16-bit units.
using Packed422ToBgr16Kernel = void(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep16,
                                    int32_t width, int32_t height, const Bgr16Layout& layout);
using Planar420ToBgr16Kernel = void(const uint8_t* const src[3], const int32_t srcStep[3], uint8_t* dst,
                                    int32_t dstStep16, int32_t width, int32_t height, const Bgr16Layout& layout);
using Packed422ToBgr16Fn = Packed422ToBgr16Kernel*;
using Planar420ToBgr16Fn = Planar420ToBgr16Kernel*;

// Kernel tables, for tests and benchmarks; the first form is the scalar
// definition.
const KernelTable<Packed422ToBgr16Fn>& packed422ToBgr16Table();
const KernelTable<Planar420ToBgr16Fn>& planar420ToBgr16Table();

// Packed 4:2:2. Columns below (width & ~7) by Q4 truncated, other pairs by
// S2, an odd last pixel by S2 plain with Cr of the group before it. A frame
// whose rows lie back to back (source step 2 x width, step in 16-bit units
// equal to width, width even) is converted as one long row. A width of 1
// writes three bytes a row (red, green, blue, not a 16-bit pixel) at half
// the destination step per row.
IppStatus ippiYCbCr422ToBGR565_8u16u_C2C3R(const uint8_t* pSrc, int32_t srcStep, uint16_t* pDst, int32_t dstStep,
                                           IppiSize roiSize);
IppStatus ippiYCbCr422ToBGR555_8u16u_C2C3R(const uint8_t* pSrc, int32_t srcStep, uint16_t* pDst, int32_t dstStep,
                                           IppiSize roiSize);
IppStatus ippiYCbCr422ToBGR444_8u16u_C2C3R(const uint8_t* pSrc, int32_t srcStep, uint16_t* pDst, int32_t dstStep,
                                           IppiSize roiSize);

// Planar 4:2:0, planes Y, Cb, Cr, chroma replicated over 2 x 2 blocks. Every
// pixel by Q4 truncated, at any size, odd ones included.
IppStatus ippiYCbCr420ToBGR565_8u16u_P3C3R(const uint8_t* const pSrc[3], const int32_t srcStep[3], uint16_t* pDst,
                                           int32_t dstStep, IppiSize roiSize);
IppStatus ippiYCbCr420ToBGR555_8u16u_P3C3R(const uint8_t* const pSrc[3], const int32_t srcStep[3], uint16_t* pDst,
                                           int32_t dstStep, IppiSize roiSize);
IppStatus ippiYCbCr420ToBGR444_8u16u_P3C3R(const uint8_t* const pSrc[3], const int32_t srcStep[3], uint16_t* pDst,
                                           int32_t dstStep, IppiSize roiSize);

}  // namespace morva
