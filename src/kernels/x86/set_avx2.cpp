// AVX2 form of the set family: the same row fill with 32-byte stores, which
// double the store rate on planes held in the cache.
#include "kernels/cpu.h"

#if MORVA_X86_64

#include "kernels/x86/set_blocks.h"

namespace morva {

template <int PixelBytes>
void setAvx2(uint8_t* dst, ptrdiff_t dstStep, size_t rowBytes, int32_t rows, const uint8_t* pixel,
             bool nonTemporal) {
    setRows<PixelBytes, Vec32>(dst, dstStep, rowBytes, rows, pixel, nonTemporal);
}

template void setAvx2<1>(uint8_t*, ptrdiff_t, size_t, int32_t, const uint8_t*, bool);
template void setAvx2<2>(uint8_t*, ptrdiff_t, size_t, int32_t, const uint8_t*, bool);
template void setAvx2<3>(uint8_t*, ptrdiff_t, size_t, int32_t, const uint8_t*, bool);
template void setAvx2<4>(uint8_t*, ptrdiff_t, size_t, int32_t, const uint8_t*, bool);

}  // namespace morva

#endif  // MORVA_X86_64
