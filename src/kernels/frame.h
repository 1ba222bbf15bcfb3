// The rest of the kernel frame: the cache query, float truncation and the
// floating-point control operations.
#pragma once

#include <array>
#include <atomic>
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

// The memo behind ippGetMaxCacheSizeB: asks its source on the first call with
// a valid pointer and answers every later call from what it found.
class CacheSizeMemo {
public:
    explicit CacheSizeMemo(const CpuidSource& cpu) : cpu_(cpu) {}
    IppStatus get(int32_t* pSizeByte);

private:
    static constexpr IppStatus kNotAsked = 1;  // no status of the query
    const CpuidSource& cpu_;
    std::atomic<IppStatus> status_{kNotAsked};
    std::atomic<int32_t> size_{0};
};

// Cache sizes by the descriptor bytes of identification leaf 2, largest
// first, ended by a row with descriptor 0.
struct CacheDescriptor {
    uint32_t descriptor;
    uint32_t sizeBytes;
};
constexpr int kCacheDescriptorRows = 55;
extern const CacheDescriptor ownCacheDescriptors[kCacheDescriptorRows + 1];

// The rows of 512 KiB and more in two bytes each: the descriptor, then the
// size packed as (mantissa << 4 | exponent), size = mantissa << (exponent + 18).
// Ended by a 0 byte.
constexpr int kPackedDescriptorRows = 43;
extern const std::array<uint8_t, 2 * kPackedDescriptorRows + 1> ownCacheDescriptorsPacked;

// Largest cache by the leaf-2 descriptors alone, or -1 if unknown.
int32_t ownLargestCacheFromDescriptors(const CpuidSource& cpu);

// The same for this processor, asked once per process.
int32_t hostDescriptorCacheSize();

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
