// Vector forms of the packed 4:2:2 resize passes, defined under x86/.
#pragma once

#include "kernels/cpu.h"
#include "resample/yuv422_kernels.h"

namespace morva {

#if MORVA_X86_64
Yuv422LinearRow yuv422LinearRowSse2, yuv422LinearRowAvx2;
Yuv422LinearBlend yuv422LinearBlendSse2, yuv422LinearBlendAvx2;
Yuv422CubicRow yuv422CubicRowSse2, yuv422CubicRowAvx2;
Yuv422CubicBlend yuv422CubicBlendSse2, yuv422CubicBlendAvx2;
Yuv422SumRow yuv422SumRowSse2, yuv422SumRowAvx2;
Yuv422WeighRow yuv422WeighRowSse2, yuv422WeighRowAvx2;
#endif

}  // namespace morva
