// SSE2 forms of byte copy, byte clear and row copy, with 16-byte stores.
#include "kernels/cpu.h"

#if MORVA_X86_64

#include "kernels/x86/memory_blocks.h"

namespace morva {

void copyBytesSse2(const uint8_t* src, uint8_t* dst, size_t n, CacheSizeFn cacheSize) {
    copyBytes<Vec16>(src, dst, n, cacheSize);
}

void zeroBytesSse2(uint8_t* dst, size_t n, CacheSizeFn cacheSize) { zeroBytes<Vec16>(dst, n, cacheSize); }

void copyRowSse2(const uint8_t* src, uint8_t* dst, size_t n, bool nonTemporal) {
    copyRow<Vec16>(src, dst, n, nonTemporal);
}

}  // namespace morva

#endif  // MORVA_X86_64
