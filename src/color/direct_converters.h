// The conversions no kernel covers: alpha dropped or added between 32-bit and
// 24-bit BGR, 16-bit BGR widened to 24 bits, and the packed and planar 4:1:1
// formats to and from planar 4:2:0. Called by the router with valid pointers
// and equal sizes; only the planar 4:1:1 one can fail. The four converters of
// BGR pixels have vector forms beside their scalar definitions, behind
// tables like the kernels'; the 4:1:1 ones are scalar.
#pragma once

#include <cstdint>

#include "kernels/dispatch.h"

namespace morva {

// A body of the BGR pixel converters: source, source step, destination,
// destination step, size. Tables for tests and benchmarks; the first form is
// the scalar definition.
using PixelConvertFn = void (*)(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep,
                                int32_t width, int32_t height);
const KernelTable<PixelConvertFn>& bgraToBgrTable();
const KernelTable<PixelConvertFn>& bgrToBgraTable();
const KernelTable<PixelConvertFn>& bgr555ToBgrTable();
const KernelTable<PixelConvertFn>& bgr565ToBgrTable();

int32_t convertBGRAToBGR(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep,
                         int32_t width, int32_t height);
int32_t convertBGRToBGRA(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep,
                         int32_t width, int32_t height);
int32_t convertBGR555ToBGR(const uint8_t* src, uint8_t* dst, int32_t srcStep, int32_t dstStep,
                           int32_t width, int32_t height);
int32_t convertBGR565ToBGR(const uint8_t* src, uint8_t* dst, int32_t srcStep, int32_t dstStep,
                           int32_t width, int32_t height);
int32_t convertY41PToI420(const int32_t dstStep[3], uint8_t* const dst[3], const uint8_t* src,
                          int32_t srcStep, int32_t width, int32_t height);
int32_t convertI420ToY41P(const int32_t srcStep[3], const uint8_t* const src[3], uint8_t* dst,
                          int32_t dstStep, int32_t width, int32_t height);
int32_t convertY411ToI420(const int32_t dstStep[3], uint8_t* const dst[3],
                          const uint8_t* const src[3], const int32_t srcStep[3], int32_t width,
                          int32_t height);

}  // namespace morva
