// AVX-512 forms of the YCbCr to 16-bit BGR kernels (see bgr16_wide_rows.h).
#include "color/x86/bgr16_wide_rows.h"

#if MORVA_X86_64

namespace morva::ycbcr16 {

void packed422ToBgr16Avx512(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep16, int32_t width,
                          int32_t height, const Bgr16Layout& layout) {
    packedFrame(&packedRow<__m512i>, src, srcStep, dst, dstStep16, width, height, layout);
}

void planar420ToBgr16Avx512(const uint8_t* const src[3], const int32_t srcStep[3], uint8_t* dst, int32_t dstStep16,
                          int32_t width, int32_t height, const Bgr16Layout& layout) {
    planarFrame(&planarRowPair<__m512i>, src, srcStep, dst, dstStep16, width, height, layout);
}

}  // namespace morva::ycbcr16

#endif
