// Vector forms of the Lanczos row kernels, defined under x86/.
#pragma once

#include "kernels/cpu.h"
#include "resample/lanczos.h"

namespace morva {

// The interior's rounding constant: the float32 nearest to 0.5000001, bits
// 0x3F000002.
constexpr float kLanczosHalf = 0.50000011920928955078125f;

#if MORVA_X86_64
TapRow<uint8_t> lanczosRow8uC1Sse2, lanczosRow8uC3Sse2, lanczosRow8uC4Sse2;
TapRow<uint16_t> lanczosRow16uC1Sse2, lanczosRow16uC3Sse2, lanczosRow16uC4Sse2;
TapBlend<uint8_t> lanczosBlend8uSse2;
TapBlend<uint16_t> lanczosBlend16uSse2;
TapRow<uint8_t> lanczosRow8uC1Avx2, lanczosRow8uC4Avx2;
TapBlend<uint8_t> lanczosBlend8uAvx2;
TapBlend<uint16_t> lanczosBlend16uAvx2;
TapBlend<uint8_t> lanczosBlend8uAvx512;
TapBlend<uint16_t> lanczosBlend16uAvx512;
// One channel, columns that double the source.
TapRow<uint8_t> lanczosDoubleRow8uAvx2, lanczosDoubleRow8uAvx512;
TapRow<uint16_t> lanczosDoubleRow16uAvx2, lanczosDoubleRow16uAvx512;
#endif

}  // namespace morva
