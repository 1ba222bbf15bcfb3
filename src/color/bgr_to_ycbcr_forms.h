// Internal to the BGR to YCbCr family: the vector parts of a row, which every
// form supplies. The row drivers in bgr_to_ycbcr.cpp decide which columns the
// vector part converts and convert the rest by the exact forms.
#pragma once

#include <cstdint>

#include "color/bgr_fixed_point.h"
#include "kernels/cpu.h"

namespace morva {

// Pixels [0, count) of one row to packed 4:2:2, by the lane forms; count is a
// multiple of 8.
using Yuv422VectorRowFn = void (*)(const uint8_t* src, uint8_t* dst, int32_t count);

// Two source rows and what they produce in 4:2:0: two luma rows, one row of
// each chroma plane.
struct Yuv420Rows {
    const uint8_t* src[2];
    uint8_t* luma[2];
    uint8_t* cb;
    uint8_t* cr;
};

// Pixels [0, count) of a row pair to 4:2:0, by the lane forms; count is a
// multiple of 4.
using Yuv420VectorRowFn = void (*)(const Yuv420Rows& rows, int32_t count);

#if MORVA_X86_64
namespace x86 {

// Y0 Cb Y1 Cr.
template <BgrSource S>
void yuy2VectorRowSse2(const uint8_t* src, uint8_t* dst, int32_t count);
template <BgrSource S>
void yuy2VectorRowAvx2(const uint8_t* src, uint8_t* dst, int32_t count);
template <BgrSource S>
void yuy2VectorRowAvx512(const uint8_t* src, uint8_t* dst, int32_t count);

// Cb Y0 Cr Y1, from BGRA only.
void cbycrVectorRowSse2(const uint8_t* src, uint8_t* dst, int32_t count);
void cbycrVectorRowAvx512(const uint8_t* src, uint8_t* dst, int32_t count);

template <BgrSource S>
void yuv420VectorRowSse2(const Yuv420Rows& rows, int32_t count);
template <BgrSource S>
void yuv420VectorRowAvx2(const Yuv420Rows& rows, int32_t count);
template <BgrSource S>
void yuv420VectorRowAvx512(const Yuv420Rows& rows, int32_t count);

}  // namespace x86
#endif

}  // namespace morva
