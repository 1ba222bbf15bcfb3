// Internal view of the memory kernels: the allocator table, the signatures of
// the copy and clear bodies, and their forms.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kernels/dispatch.h"

namespace morva {

// The allocator behind ippsMalloc_8u and ippsFree, so that the two always
// pair through one place: allocate, allocate cleared, re-allocate, release.
// Holds the C runtime's functions; only allocate and release are called.
struct OwnAllocator {
    void* (*allocate)(size_t);
    void* (*allocateCleared)(size_t, size_t);
    void* (*reallocate)(void*, size_t);
    void (*release)(void*);
};
extern OwnAllocator ownAllocator;

// The largest cache in bytes, or -1 if unknown. The copy and clear bodies ask
// it only for lengths above their gates.
using CacheSizeFn = int32_t (*)();

// Length gates above which the bodies consider non-temporal stores.
constexpr size_t kCopyStreamGate = 0x20000;    // and length >= cache / 2
constexpr size_t kZeroStreamGate = 0x80000;    // and length >= cache
constexpr int64_t kPlaneCopyStreamGate = 0x100000;  // width * height, no cache test

using CopyBytesFn = void (*)(const uint8_t* src, uint8_t* dst, size_t n, CacheSizeFn cacheSize);
using ZeroBytesFn = void (*)(uint8_t* dst, size_t n, CacheSizeFn cacheSize);
using CopyRowFn = void (*)(const uint8_t* src, uint8_t* dst, size_t n, bool nonTemporal);

const KernelTable<CopyBytesFn>& copyBytesTable();
const KernelTable<ZeroBytesFn>& zeroBytesTable();
const KernelTable<CopyRowFn>& copyRowTable();

#if MORVA_X86_64
void copyBytesSse2(const uint8_t* src, uint8_t* dst, size_t n, CacheSizeFn cacheSize);
void zeroBytesSse2(uint8_t* dst, size_t n, CacheSizeFn cacheSize);
void copyRowSse2(const uint8_t* src, uint8_t* dst, size_t n, bool nonTemporal);
void copyBytesAvx2(const uint8_t* src, uint8_t* dst, size_t n, CacheSizeFn cacheSize);
void zeroBytesAvx2(uint8_t* dst, size_t n, CacheSizeFn cacheSize);
void copyRowAvx2(const uint8_t* src, uint8_t* dst, size_t n, bool nonTemporal);
#endif

}  // namespace morva
