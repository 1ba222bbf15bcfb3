// SSE2 form of the set family, with 16-byte stores.
#include "kernels/cpu.h"

#if MORVA_X86_64

#include "kernels/x86/set_blocks.h"

namespace morva {

template <int PixelBytes>
void setSse2(uint8_t* dst, ptrdiff_t dstStep, size_t rowBytes, int32_t rows, const uint8_t* pixel,
             bool nonTemporal) {
    setRows<PixelBytes, Vec16>(dst, dstStep, rowBytes, rows, pixel, nonTemporal);
}

template void setSse2<1>(uint8_t*, ptrdiff_t, size_t, int32_t, const uint8_t*, bool);
template void setSse2<2>(uint8_t*, ptrdiff_t, size_t, int32_t, const uint8_t*, bool);
template void setSse2<3>(uint8_t*, ptrdiff_t, size_t, int32_t, const uint8_t*, bool);
template void setSse2<4>(uint8_t*, ptrdiff_t, size_t, int32_t, const uint8_t*, bool);

}  // namespace morva

#endif  // MORVA_X86_64
