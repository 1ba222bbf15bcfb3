// Internal to the direct converters: the field positions of the 16-bit BGR
// sources, and the vector forms of the pixel converters.
#pragma once

#include <cstdint>

#include "color/direct_converters.h"
#include "kernels/cpu.h"

namespace morva {

// Green and red of a 16-bit word as (w >> shift) & mask; blue is always
// (w << 3) & 0xF8, red's mask always 0xF8.
struct Bgr16Fields {
    int greenShift, greenMask, redShift;
};
inline constexpr Bgr16Fields kBgr555Fields{2, 0xF8, 7};
inline constexpr Bgr16Fields kBgr565Fields{3, 0xFC, 8};

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
