// Internal to the direct converters: the vector forms of the pixel
// converters.
#pragma once

#include <cstdint>

#include "color/bgr_fixed_point.h"
#include "color/direct_converters.h"
#include "kernels/cpu.h"

namespace morva {

#if MORVA_X86_64
namespace direct {
void bgraToBgrAvx512(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
                     int32_t height);
void bgrToBgraAvx512(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
                     int32_t height);
void bgr555ToBgrAvx512(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
                       int32_t height);
void bgr565ToBgrAvx512(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
                       int32_t height);
}  // namespace direct
#endif

}  // namespace morva
