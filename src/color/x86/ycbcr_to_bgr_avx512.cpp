// AVX-512 forms of the YCbCr to BGR kernels.
#include "kernels/cpu.h"

#if MORVA_X86_64

#include <cstdint>

#include "color/x86/interpolating_420_rows.h"
#include "color/ycbcr_to_bgr_forms.h"

namespace morva::ycbcr {

void planar420ToBgraAvx512(const uint8_t* const src[3], const int32_t srcStep[3], uint8_t* dst, int32_t dstStep,
                           int32_t width, int32_t height, uint8_t alpha) {
    forEachYCrCb420RowPair(&interpolatingRowPair<__m512i>, src, srcStep, dst, dstStep, width, height, alpha);
}

}  // namespace morva::ycbcr

#endif
