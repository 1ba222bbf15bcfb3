// Plane kernels: mirror a plane in place, fill a plane with one pixel value.
#pragma once

#include <cstdint>

#include "kernels/status.h"

namespace morva {

enum : int32_t { ippAxsHorizontal = 0, ippAxsVertical = 1, ippAxsBoth = 2 };

IppStatus ippiMirror_8u_C1IR(uint8_t* pSrcDst, int32_t step, int32_t width, int32_t height,
                             int32_t flip);
IppStatus ippiMirror_8u_C3IR(uint8_t* pSrcDst, int32_t step, int32_t width, int32_t height,
                             int32_t flip);
IppStatus ippiMirror_8u_C4IR(uint8_t* pSrcDst, int32_t step, int32_t width, int32_t height,
                             int32_t flip);

IppStatus ippiSet_8u_C1R(uint8_t value, uint8_t* pDst, int32_t dstStep, int32_t width,
                         int32_t height);
IppStatus ippiSet_16u_C1R(uint16_t value, uint8_t* pDst, int32_t dstStep, int32_t width,
                          int32_t height);
IppStatus ippiSet_8u_C3R(const uint8_t* pValue, uint8_t* pDst, int32_t dstStep, int32_t width,
                         int32_t height);
IppStatus ippiSet_8u_C4R(const uint8_t* pValue, uint8_t* pDst, int32_t dstStep, int32_t width,
                         int32_t height);

}  // namespace morva
