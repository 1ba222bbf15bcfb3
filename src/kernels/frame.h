// The rest of the kernel frame: the cache query, float truncation and the
// floating-point control operations.
#pragma once

#include <cstdint>

#include "kernels/cpu.h"
#include "kernels/status.h"

namespace morva {

// Size in bytes of the largest data or unified cache. Asks the processor
// once per process and memoises the answer.
IppStatus ippGetMaxCacheSizeB(int32_t* pSizeByte);

// The same query without the memo, on any identification source.
struct CacheQuery {
    IppStatus status;
    int32_t size;
};
CacheQuery queryLargestCache(const CpuidSource& cpu);

// Largest cache by the leaf-2 descriptors alone, or -1 if unknown.
int32_t ownLargestCacheFromDescriptors(const CpuidSource& cpu);

// Truncation toward zero; values outside the 32-bit range give INT32_MIN.
int32_t ownFloatToInt32Trunc(long double value);

// Floating-point control state. Nothing in the library calls these: kernels
// run under the state the caller left.
uint32_t ownSetDefaultMxcsr();
uint32_t ownSetMxcsrMasked(uint32_t value, uint32_t mask);
uint32_t ownSetFpuControlMasked(uint32_t value, uint32_t mask);
uint32_t ownGetMxcsr();
uint32_t ownGetFpuControl();
uint32_t ownGetFpuStatus();
uint32_t ownClearFpuStatus();

}  // namespace morva
