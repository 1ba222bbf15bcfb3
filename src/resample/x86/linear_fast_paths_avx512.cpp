// AVX-512 forms of the linear fast paths.
#include "resample/x86/linear_fast_paths_lanes.h"

#if MORVA_X86_64
namespace morva {

MORVA_LINEAR_FAST_FORMS(Avx512, Avx512Lanes, Avx512Lanes32)

}  // namespace morva
#endif
