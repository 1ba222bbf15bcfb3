// AVX-512 forms of the one-channel cubic and Lanczos rows whose columns double
// the source (x86/tap_double_lanes.h).
#include "resample/x86/tap_double_lanes.h"

#if MORVA_X86_64
namespace morva {

MORVA_TAP_DOUBLE_FORMS(Avx512, Avx512Floats, cubicRow8uC1Avx2, lanczosRow8uC1Avx2)

}  // namespace morva
#endif
