// Vector forms of the nearest neighbour row lookup, defined under x86/.
#pragma once

#include "kernels/cpu.h"
#include "resample/nearest.h"

namespace morva {

#if MORVA_X86_64
NearestRow<uint8_t> nearestRow8uC3Sse2, nearestRow8uC4Sse2;
NearestRow<uint16_t> nearestRow16uC3Sse2, nearestRow16uC4Sse2;
#endif

}  // namespace morva
