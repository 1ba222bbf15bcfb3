// Vector forms of the antialiasing path's pass kernels, defined under x86/,
// and the scalar definitions they finish with.
#pragma once

#include "kernels/cpu.h"
#include "resample/antialias.h"
#include "resample/antialias_stride.h"

namespace morva {

// The scalar definitions of the one-sample pass across and of the pass down
// (antialias.cpp): the vector forms hand them the rows and samples behind
// their last vector step.
template <class T>
void antialiasRowsC1Scalar(const T* src, int32_t srcStep, int32_t rows, const int32_t* indices,
                           const float* weights, int32_t taps, float* out, int32_t width);
template <class T>
void antialiasDownScalar(const float* image, const int32_t* offsets, const float* weights, int32_t taps,
                         T* dst, int32_t count);

#if MORVA_X86_64
AntialiasRows<uint8_t> antialiasRows8uC1Sse2, antialiasRows8uC3Sse2, antialiasRows8uC4Sse2;
AntialiasRows<uint16_t> antialiasRows16uC1Sse2, antialiasRows16uC3Sse2, antialiasRows16uC4Sse2;
AntialiasRows<uint8_t> antialiasRows8uC1Avx2, antialiasRows8uC3Avx2, antialiasRows8uC4Avx2;
AntialiasRows<uint16_t> antialiasRows16uC1Avx2, antialiasRows16uC3Avx2, antialiasRows16uC4Avx2;
AntialiasDown<uint8_t> antialiasDown8uSse2, antialiasDown8uAvx2, antialiasDown8uAvx512;
AntialiasDown<uint16_t> antialiasDown16uSse2, antialiasDown16uAvx2, antialiasDown16uAvx512;
AntialiasStridedRow<uint8_t> antialiasStridedRow8uC1Avx512, antialiasStridedRow8uC3Avx512,
    antialiasStridedRow8uC4Avx512;
AntialiasStridedRow<uint16_t> antialiasStridedRow16uC1Avx512, antialiasStridedRow16uC3Avx512,
    antialiasStridedRow16uC4Avx512;
#endif

}  // namespace morva
