// The six square-pixel resize kernels, their buffer-size query and the
// argument check that also works out the geometry of a resize.
#pragma once

#include <cstdint>

#include "kernels/status.h"
#include "kernels/types.h"

namespace morva {

// Interpolation value: the id in the low 29 bits, three flags on top.
constexpr int32_t kInterpolationIdMask = 0x1FFFFFFF;
constexpr uint32_t kEdgeSmoothBit = 0x80000000u;
constexpr uint32_t kEdgeSubpixelBit = 0x40000000u;
constexpr uint32_t kAntialiasingBit = 0x20000000u;

// What ownResizeCheck works out, and the kernels read.
struct ResizeGeometry {
    int32_t x0 = 0;      // first target column
    int32_t y0 = 0;      // first target row
    int32_t width = 0;   // target columns to write
    int32_t height = 0;  // target rows to write
    double xScale = 0.0;  // 1 / xFactor
    double yScale = 0.0;  // 1 / yFactor
    double xOffset = 0.0; // 0.0 - xShift / xFactor
    double yOffset = 0.0; // 0.0 - yShift / yFactor
    double factorProduct = 0.0;  // xFactor * yFactor for INTER_SUPER, else 0.0
    double left = 0.0;    // unrounded edges of the target
    double right = 0.0;
    double top = 0.0;
    double bottom = 0.0;
    int32_t interpolation = 0;  // the id after degradation
    uint32_t smoothEdge = 0;    // bit 31 of the value alone
    uint32_t subpixelEdge = 0;  // bit 30 alone
    uint32_t antialiasing = 0;  // bit 29 alone
};

// Size in bytes of the work buffer that a resize of these regions needs.
IppStatus ippiResizeGetBufSize(IppiRect srcRoi, IppiRect dstRoi, int32_t nChannel,
                               int32_t interpolation, int32_t* pSize);

// Checks the arguments of a resize in their fixed order and fills geometry.
// Anything but ippStsNoErr means that nothing may be written.
IppStatus ownResizeCheck(const void* pSrc, IppiSize srcSize, IppiRect srcRoi, const void* pDst,
                         IppiRect dstRoi, double xFactor, double yFactor, double xShift,
                         double yShift, int32_t interpolation, const uint8_t* pBuffer,
                         ResizeGeometry* geometry);

// Resamples one interleaved plane: target = factor * source + shift, on the
// grid whose pixels have their corners at integers. Steps are in bytes.
IppStatus ippiResizeSqrPixel_8u_C1R(const uint8_t* pSrc, IppiSize srcSize, int32_t srcStep,
                                    IppiRect srcRoi, uint8_t* pDst, int32_t dstStep,
                                    IppiRect dstRoi, double xFactor, double yFactor,
                                    double xShift, double yShift, int32_t interpolation,
                                    uint8_t* pBuffer);
IppStatus ippiResizeSqrPixel_8u_C3R(const uint8_t* pSrc, IppiSize srcSize, int32_t srcStep,
                                    IppiRect srcRoi, uint8_t* pDst, int32_t dstStep,
                                    IppiRect dstRoi, double xFactor, double yFactor,
                                    double xShift, double yShift, int32_t interpolation,
                                    uint8_t* pBuffer);
IppStatus ippiResizeSqrPixel_8u_C4R(const uint8_t* pSrc, IppiSize srcSize, int32_t srcStep,
                                    IppiRect srcRoi, uint8_t* pDst, int32_t dstStep,
                                    IppiRect dstRoi, double xFactor, double yFactor,
                                    double xShift, double yShift, int32_t interpolation,
                                    uint8_t* pBuffer);
IppStatus ippiResizeSqrPixel_16u_C1R(const uint16_t* pSrc, IppiSize srcSize, int32_t srcStep,
                                     IppiRect srcRoi, uint16_t* pDst, int32_t dstStep,
                                     IppiRect dstRoi, double xFactor, double yFactor,
                                     double xShift, double yShift, int32_t interpolation,
                                     uint8_t* pBuffer);
IppStatus ippiResizeSqrPixel_16u_C3R(const uint16_t* pSrc, IppiSize srcSize, int32_t srcStep,
                                     IppiRect srcRoi, uint16_t* pDst, int32_t dstStep,
                                     IppiRect dstRoi, double xFactor, double yFactor,
                                     double xShift, double yShift, int32_t interpolation,
                                     uint8_t* pBuffer);
IppStatus ippiResizeSqrPixel_16u_C4R(const uint16_t* pSrc, IppiSize srcSize, int32_t srcStep,
                                     IppiRect srcRoi, uint16_t* pDst, int32_t dstStep,
                                     IppiRect dstRoi, double xFactor, double yFactor,
                                     double xShift, double yShift, int32_t interpolation,
                                     uint8_t* pBuffer);

}  // namespace morva
