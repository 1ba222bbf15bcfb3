// AVX2 forms of byte copy, byte clear and row copy: the same paths with
// 32-byte stores, which double the store rate on blocks held in the cache.
#include "kernels/cpu.h"

#if MORVA_X86_64

#include "kernels/x86/memory_blocks.h"

namespace morva {

void copyBytesAvx2(const uint8_t* src, uint8_t* dst, size_t n, CacheSizeFn cacheSize) {
    copyBytes<Vec32>(src, dst, n, cacheSize);
}

void zeroBytesAvx2(uint8_t* dst, size_t n, CacheSizeFn cacheSize) { zeroBytes<Vec32>(dst, n, cacheSize); }

void copyRowAvx2(const uint8_t* src, uint8_t* dst, size_t n, bool nonTemporal) {
    copyRow<Vec32>(src, dst, n, nonTemporal);
}

}  // namespace morva

#endif  // MORVA_X86_64
