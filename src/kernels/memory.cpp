// Aligned allocation, and the entry points of byte copy, byte clear and
// plane copy with their scalar definitions.
#include <cstdlib>
#include <cstring>

#include "kernels/frame.h"
#include "kernels/memory.h"
#include "kernels/memory_forms.h"

namespace morva {

OwnAllocator ownAllocator = {&::malloc, &::calloc, &::realloc, &::free};

namespace {

// The block starts on a 32-byte boundary and the allocator's own address is
// kept in the pointer-sized word just before it. The request covers the
// worst placement: the head word, up to 31 bytes to the boundary, and one
// spare byte behind the asked-for end.
constexpr uintptr_t kBlockAlignment = 32;
constexpr size_t kHeadBytes = sizeof(void*);
constexpr size_t kExtraBytes = kHeadBytes + kBlockAlignment;

void* allocateAligned(size_t bytes) {
    void* raw = ownAllocator.allocate(bytes + kExtraBytes);
    if (raw == nullptr) return nullptr;
    const uintptr_t block =
        (reinterpret_cast<uintptr_t>(raw) + kHeadBytes + kBlockAlignment - 1) & ~(kBlockAlignment - 1);
    std::memcpy(reinterpret_cast<void*>(block - kHeadBytes), &raw, sizeof raw);
    return reinterpret_cast<void*>(block);
}

template <class T>
T* allocateElements(int32_t len) {
    if (len < 1) return nullptr;
    return static_cast<T*>(allocateAligned(size_t(len) * sizeof(T)));
}

void copyBytesScalar(const uint8_t* src, uint8_t* dst, size_t n, CacheSizeFn) {
    for (size_t i = 0; i < n; ++i) dst[i] = src[i];
}

void zeroBytesScalar(uint8_t* dst, size_t n, CacheSizeFn) {
    for (size_t i = 0; i < n; ++i) dst[i] = 0;
}

void copyRowScalar(const uint8_t* src, uint8_t* dst, size_t n, bool) {
    for (size_t i = 0; i < n; ++i) dst[i] = src[i];
}

}  // namespace

const KernelTable<CopyBytesFn>& copyBytesTable() {
    static const KernelTable<CopyBytesFn> table{
        {"scalar", Isa::Scalar, &copyBytesScalar},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &copyBytesSse2},
        {"avx2", Isa::Avx2, &copyBytesAvx2},
#endif
    };
    return table;
}

const KernelTable<ZeroBytesFn>& zeroBytesTable() {
    static const KernelTable<ZeroBytesFn> table{
        {"scalar", Isa::Scalar, &zeroBytesScalar},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &zeroBytesSse2},
        {"avx2", Isa::Avx2, &zeroBytesAvx2},
#endif
    };
    return table;
}

const KernelTable<CopyRowFn>& copyRowTable() {
    static const KernelTable<CopyRowFn> table{
        {"scalar", Isa::Scalar, &copyRowScalar},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &copyRowSse2},
        {"avx2", Isa::Avx2, &copyRowAvx2},
#endif
    };
    return table;
}

uint8_t* ippsMalloc_8u(int32_t len) { return allocateElements<uint8_t>(len); }
int16_t* ippsMalloc_16s(int32_t len) { return allocateElements<int16_t>(len); }
int32_t* ippsMalloc_32s(int32_t len) { return allocateElements<int32_t>(len); }

void ippsFree(void* ptr) {
    if (ptr == nullptr) return;
    void* raw;
    std::memcpy(&raw, static_cast<uint8_t*>(ptr) - kHeadBytes, sizeof raw);
    ownAllocator.release(raw);
}

IppStatus ippsCopy_8u(const uint8_t* pSrc, uint8_t* pDst, int32_t len) {
    if (pSrc == nullptr || pDst == nullptr) return ippStsNullPtrErr;
    if (len < 1) return ippStsSizeErr;
    copyBytesTable().current()(pSrc, pDst, size_t(len), &hostDescriptorCacheSize);
    return ippStsNoErr;
}

IppStatus ippsZero_8u(uint8_t* pDst, int32_t len) {
    if (pDst == nullptr) return ippStsNullPtrErr;
    if (len < 1) return ippStsSizeErr;
    zeroBytesTable().current()(pDst, size_t(len), &hostDescriptorCacheSize);
    return ippStsNoErr;
}

IppStatus ippiCopy_8u_C1R(const uint8_t* pSrc, int32_t srcStep, uint8_t* pDst, int32_t dstStep,
                          int32_t width, int32_t height) {
    if (pSrc == nullptr || pDst == nullptr) return ippStsNullPtrErr;
    if (width < 1 || height < 1) return ippStsSizeErr;
    // The area is taken in 64 bits: a plane beyond 2 GiB streams as any other
    // large plane rather than wrapping to a small or negative product.
    const int64_t area = int64_t(width) * height;
    const bool nonTemporal = area > kPlaneCopyStreamGate;
    const CopyRowFn copyRow = copyRowTable().current();
    if (srcStep == dstStep && srcStep == width) {
        copyRow(pSrc, pDst, size_t(area), nonTemporal);
        return ippStsNoErr;
    }
    for (int32_t row = 0; row < height; ++row)
        copyRow(pSrc + ptrdiff_t(row) * srcStep, pDst + ptrdiff_t(row) * dstStep, size_t(width),
                nonTemporal);
    return ippStsNoErr;
}

void ownCopyRow(const uint8_t* src, uint8_t* dst, int32_t n, bool nonTemporal) {
    if (n > 0) copyRowTable().current()(src, dst, size_t(n), nonTemporal);
}

}  // namespace morva
