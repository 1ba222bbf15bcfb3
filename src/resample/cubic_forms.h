// Vector forms of the cubic row kernels, defined under x86/.
#pragma once

#include "kernels/cpu.h"
#include "resample/cubic.h"

namespace morva {

#if MORVA_X86_64
TapRow<uint8_t> cubicRow8uC1Sse2, cubicRow8uC3Sse2, cubicRow8uC4Sse2;
TapRow<uint16_t> cubicRow16uC1Sse2, cubicRow16uC3Sse2, cubicRow16uC4Sse2;
TapBlend<uint8_t> cubicBlend8uSse2;
TapBlend<uint16_t> cubicBlend16uSse2;
TapRow<uint8_t> cubicRow8uC1Avx2, cubicRow8uC4Avx2;
TapBlend<uint8_t> cubicBlend8uAvx2;
TapBlend<uint16_t> cubicBlend16uAvx2;
TapBlend<uint8_t> cubicBlend8uAvx512;
TapBlend<uint16_t> cubicBlend16uAvx512;
// One channel, columns that double the source.
TapRow<uint8_t> cubicDoubleRow8uAvx2, cubicDoubleRow8uAvx512;
TapRow<uint16_t> cubicDoubleRow16uAvx2, cubicDoubleRow16uAvx512;
#endif

}  // namespace morva
