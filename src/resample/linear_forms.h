// Vector forms of the linear row kernels, defined under x86/, and the scalar
// definitions they finish with.
#pragma once

#include "kernels/cpu.h"
#include "resample/linear.h"

namespace morva {

// 16u blends round by adding the float32 with bits 0x3F000002.
constexpr float kBlend16uHalf = 0.50000011920928955078125f;

// The scalar definitions (linear.cpp): the vector forms hand them the
// columns and samples behind their last vector step.
template <int Channels>
void linearRow8uScalar(const uint8_t* p, int32_t srcWidth, const int32_t* columns, const int16_t* weights,
                       int16_t* out, int32_t width);
template <int Channels>
void linearRow16uScalar(const uint16_t* p, int32_t srcWidth, const int32_t* columns, const float* fractions,
                        float* out, int32_t width);
LinearAxis8u linearAxis8uScalar;
LinearBlend8u linearBlend8uScalar;
LinearBlend16u linearBlend16uScalar;

#if MORVA_X86_64
LinearRow8u linearRow8uC1Sse2, linearRow8uC3Sse2, linearRow8uC4Sse2;
LinearRow8u linearRow8uC3Avx2, linearRow8uC4Avx2;
LinearRow8u linearRow8uC1Avx512, linearRow8uC4Avx512;
LinearAxis8u linearAxis8uAvx512;
LinearRow16u linearRow16uC1Sse2, linearRow16uC3Sse2, linearRow16uC4Sse2;
LinearBlend8u linearBlend8uSse2, linearBlend8uAvx2;
LinearBlend16u linearBlend16uSse2, linearBlend16uAvx2;
#endif

}  // namespace morva
