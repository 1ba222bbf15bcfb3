// Vector forms of the linear fast paths, defined under x86/, and the scalar
// definitions they finish rows with.
#pragma once

#include "kernels/cpu.h"
#include "resample/linear_fast_paths.h"

namespace morva {

template <class T, int Channels>
void linearBoxScalar(const T* upper, const T* lower, T* dst, int32_t width);
template <class T, int Channels>
void linearDoubleScalar(const T* upper, const T* lower, int32_t rowQuarters, int32_t firstQuarters,
                        T* dst, int32_t width);
LinearVertical8u linearVertical8uScalar;

#if MORVA_X86_64
LinearBox<uint8_t> linearBox8uC1Sse2, linearBox8uC1Avx2, linearBox8uC1Avx512;
LinearBox<uint8_t> linearBox8uC4Sse2, linearBox8uC4Avx2, linearBox8uC4Avx512;
LinearBox<uint16_t> linearBox16uC1Sse2, linearBox16uC1Avx2, linearBox16uC1Avx512;
LinearDouble<uint8_t> linearDouble8uC1Sse2, linearDouble8uC1Avx2, linearDouble8uC1Avx512;
LinearDouble<uint8_t> linearDouble8uC4Sse2, linearDouble8uC4Avx2, linearDouble8uC4Avx512;
LinearDouble<uint16_t> linearDouble16uC1Sse2, linearDouble16uC1Avx2, linearDouble16uC1Avx512;
LinearVertical8u linearVertical8uSse2, linearVertical8uAvx2, linearVertical8uAvx512;
#endif

}  // namespace morva
