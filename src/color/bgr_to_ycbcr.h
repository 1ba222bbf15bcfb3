// BGR of 16, 24 and 32 bits to YCbCr, packed 4:2:2 or planar 4:2:0, chroma
// averaged over each pair or 2 x 2 block.
#pragma once

#include <cstdint>

#include "kernels/dispatch.h"
#include "kernels/status.h"
#include "kernels/types.h"

namespace morva {

// A body to packed 4:2:2 (Y0 Cb Y1 Cr, or Cb Y0 Cr Y1). Steps are in bytes.
using BgrToYuv422Fn = void (*)(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep,
                               int32_t width, int32_t height);

// A body to planar 4:2:0. Planes in the order Y, Cb, Cr.
using BgrToYuv420Fn = void (*)(const uint8_t* src, int32_t srcStep, uint8_t* const dst[3],
                               const int32_t dstStep[3], int32_t width, int32_t height);

// Tables, for tests and benchmarks.
const KernelTable<BgrToYuv422Fn>& bgrToYcbcr422C3Table();
const KernelTable<BgrToYuv422Fn>& bgrToYcbcr422Ac4Table();
const KernelTable<BgrToYuv422Fn>& bgrToCbycr422Ac4Table();
const KernelTable<BgrToYuv422Fn>& bgr565ToYcbcr422Table();
const KernelTable<BgrToYuv422Fn>& bgr555ToYcbcr422Table();
const KernelTable<BgrToYuv420Fn>& bgrToYuv420C3Table();
const KernelTable<BgrToYuv420Fn>& bgrToYuv420Ac4Table();
const KernelTable<BgrToYuv420Fn>& bgr565ToYuv420Table();
const KernelTable<BgrToYuv420Fn>& bgr555ToYuv420Table();

// Packed 4:2:2 targets. A lone last pixel of an odd width gets its Y and Cb;
// the Cr byte of its group (past the row's 2 x width bytes) is not written.
IppStatus ippiBGRToYCbCr422_8u_C3C2R(const uint8_t* pSrc, int32_t srcStep, uint8_t* pDst,
                                     int32_t dstStep, IppiSize roi);
IppStatus ippiBGRToYCbCr422_8u_AC4C2R(const uint8_t* pSrc, int32_t srcStep, uint8_t* pDst,
                                      int32_t dstStep, IppiSize roi);
IppStatus ippiBGRToCbYCr422_8u_AC4C2R(const uint8_t* pSrc, int32_t srcStep, uint8_t* pDst,
                                      int32_t dstStep, IppiSize roi);
IppStatus ippiBGR565ToYCbCr422_16u8u_C3C2R(const uint16_t* pSrc, int32_t srcStep, uint8_t* pDst,
                                           int32_t dstStep, IppiSize roi);
IppStatus ippiBGR555ToYCbCr422_16u8u_C3C2R(const uint16_t* pSrc, int32_t srcStep, uint8_t* pDst,
                                           int32_t dstStep, IppiSize roi);

// Planar 4:2:0 targets, planes and steps in the order Y, Cr, Cb. The 8-bit
// sources leave an odd last column and row unwritten and return
// ippStsDoubleSize; the 16-bit sources write their luma and return 0.
IppStatus ippiBGRToYCrCb420_8u_C3P3R(const uint8_t* pSrc, int32_t srcStep, uint8_t* const pDst[3],
                                     const int32_t dstStep[3], IppiSize roi);
IppStatus ippiBGRToYCrCb420_8u_AC4P3R(const uint8_t* pSrc, int32_t srcStep, uint8_t* const pDst[3],
                                      const int32_t dstStep[3], IppiSize roi);
IppStatus ippiBGR565ToYCrCb420_16u8u_C3P3R(const uint16_t* pSrc, int32_t srcStep,
                                           uint8_t* const pDst[3], const int32_t dstStep[3],
                                           IppiSize roi);
IppStatus ippiBGR555ToYCrCb420_16u8u_C3P3R(const uint16_t* pSrc, int32_t srcStep,
                                           uint8_t* const pDst[3], const int32_t dstStep[3],
                                           IppiSize roi);

}  // namespace morva
