// Vector forms of the antialiasing path's pass kernels, defined under x86/,
// and the scalar definitions they finish with.
#pragma once

#include "kernels/cpu.h"
#include "resample/antialias.h"

namespace morva {

// The scalar definitions of the one-sample pass across and of the
// conversion (antialias.cpp): the vector forms hand them the rows and
// samples behind their last vector step.
template <class T>
void antialiasRowsC1Scalar(const T* src, int32_t srcStep, int32_t rows, const int32_t* indices,
                           const float* weights, int32_t taps, float* out, int32_t width);
template <class T>
void antialiasStoreScalar(float* acc, T* dst, int32_t count);

#if MORVA_X86_64
AntialiasRows<uint8_t> antialiasRows8uC1Sse2, antialiasRows8uC3Sse2, antialiasRows8uC4Sse2;
AntialiasRows<uint16_t> antialiasRows16uC1Sse2, antialiasRows16uC3Sse2, antialiasRows16uC4Sse2;
AntialiasRows<uint8_t> antialiasRows8uC1Avx2, antialiasRows8uC3Avx2, antialiasRows8uC4Avx2;
AntialiasRows<uint16_t> antialiasRows16uC1Avx2, antialiasRows16uC3Avx2, antialiasRows16uC4Avx2;
AntialiasAccumulate antialiasAccumulateSse2, antialiasAccumulateAvx2;
AntialiasStore<uint8_t> antialiasStore8uSse2, antialiasStore8uAvx2;
AntialiasStore<uint16_t> antialiasStore16uSse2, antialiasStore16uAvx2;
#endif

}  // namespace morva
