// Resize of a packed 4:2:2 image (Y0 U Y1 V macro-pixels) as one kernel:
// luma and chroma each on its own grid, by nearest neighbour, linear, cubic
// or super-sampling.
#pragma once

#include <cstdint>

#include "kernels/status.h"
#include "kernels/types.h"

namespace morva {

// Widths are in luma samples; srcRoi.x alone counts macro-pixels, so the
// region starts at pSrc + 4 * x + y * srcStep. The target is written from its
// top left corner over the scaled region, as far as dstSize reaches. The
// kernel allocates its own tables; interpolation is 1, 2, 4 or 8 exactly.
IppStatus ippiResizeYUV422_8u_C2R(const uint8_t* pSrc, IppiSize srcSize, int32_t srcStep,
                                  IppiRect srcRoi, uint8_t* pDst, int32_t dstStep,
                                  IppiSize dstSize, double xFactor, double yFactor,
                                  int32_t interpolation);

}  // namespace morva
