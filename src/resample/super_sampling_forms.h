// Vector forms of the super-sampling row kernels, defined under x86/, and
// the scalar definitions they finish with.
#pragma once

#include "kernels/cpu.h"
#include "resample/super_sampling.h"
#include "resample/super_sampling_exact.h"

namespace morva {

// Scalar definitions (super_sampling.cpp) that take over behind the last
// vector step: the conversion, and the whole form across from target column
// `from` on.
template <class T, class Acc>
void superStoreRowScalar(const Acc* acc, T* dst, int32_t count, double factorProduct);
template <int Channels>
void superReduceWholeColumns(uint32_t* acc, int32_t from, int32_t width, int32_t run);

#if MORVA_X86_64
SuperAddRow<uint8_t> superAddRow8uSse2, superAddRow8uAvx2;
SuperAddRow<uint16_t> superAddRow16uSse2, superAddRow16uAvx2;
SuperAddRowWhole<uint8_t> superAddRowWhole8uSse2, superAddRowWhole8uAvx2;
SuperAddRowWhole<uint16_t> superAddRowWhole16uSse2, superAddRowWhole16uAvx2;
SuperStoreRow<uint8_t, float> superStore8uFromFloatSse2, superStore8uFromFloatAvx2;
SuperStoreRow<uint16_t, float> superStore16uFromFloatSse2, superStore16uFromFloatAvx2;
SuperStoreRow<uint8_t, uint32_t> superStore8uFromWholeSse2, superStore8uFromWholeAvx2;
SuperStoreRow<uint16_t, uint32_t> superStore16uFromWholeSse2, superStore16uFromWholeAvx2;
SuperReduceWhole superReduceWholeC1Sse2, superReduceWholeC3Sse2, superReduceWholeC4Sse2;
SuperReduceWhole superReduceWholeC1Avx2;
SuperReduceFractional superReduceFractionalC3Sse2, superReduceFractionalC4Sse2;
SuperReduceFractional superReduceFractionalC4Avx2;
SuperBox superBoxAvx512;
#endif

}  // namespace morva
