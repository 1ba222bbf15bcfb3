// Internal to the YCbCr layout kernels: the row operations their bodies are
// built from, one kit per instruction set.
//
// Every kernel of the family is a row loop over a handful of byte moves
// (pick every other byte, split or join pairs and 4-byte groups, swap within
// 16-bit units, copy, and the one average of the 4:1:1 kernel). The row loops
// are written once, as templates over a kit; a form of a kernel is its row
// loop run with one kit. Vector kits hand what is left of a row to the scalar
// kit, so the scalar kit is the definition of every byte.
//
// This header is also compiled with other instruction-set flags: keep it free
// of inline functions that the vector files would call.
#pragma once

#include <cstdint>

#include "color/ycbcr_layout.h"
#include "kernels/cpu.h"

namespace morva::yuvlayout {

// Byte order of packed 4:2:2: Y0 Cb Y1 Cr, or Cb Y0 Cr Y1. The luma bytes
// sit at even positions in the first, at odd ones in the second.
enum class Packed422 : int32_t { YCbYCr = 0, CbYCrY = 1 };

struct RowKit {
    // dst[i] = src[i], i < n. nonTemporal allows streaming stores.
    void (*copy)(const uint8_t* src, uint8_t* dst, int32_t n, bool nonTemporal);
    // A whole plane of width x height bytes.
    void (*copyPlane)(InPlane src, OutPlane dst, int32_t width, int32_t height);
    // dst[2i] = src[2i+1], dst[2i+1] = src[2i], i < units.
    void (*swapPairs)(const uint8_t* src, uint8_t* dst, int32_t units, bool nonTemporal);
    // dst[i] = src[2i + phase], i < n; phase 0 or 1. Reads 2n bytes.
    void (*pick)(const uint8_t* src, uint8_t* dst, int32_t n, int32_t phase);
    // even[i] = src[2i], odd[i] = src[2i+1], i < n.
    void (*split2)(const uint8_t* src, uint8_t* even, uint8_t* odd, int32_t n);
    // dst[2i] = even[i], dst[2i+1] = odd[i], i < n.
    void (*join2)(const uint8_t* even, const uint8_t* odd, uint8_t* dst, int32_t n);
    // pairs 4-byte groups of packed 4:2:2 into 2 * pairs luma bytes and pairs
    // bytes of each chroma.
    void (*split4)(const uint8_t* src, uint8_t* y, uint8_t* cb, uint8_t* cr, int32_t pairs, Packed422 order);
    // The inverse of split4.
    void (*join4)(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst, int32_t pairs,
                  Packed422 order, bool nonTemporal);
    // dst[j] = (upper[2j] + lower[2j] + 1) >> 1 for j < roundUp, and
    // (upper[2j] + lower[2j]) >> 1 from there to n.
    void (*averageEven)(const uint8_t* upper, const uint8_t* lower, uint8_t* dst, int32_t n, int32_t roundUp);
};

extern const RowKit kScalarRows;

// Copies through the library's memory kernels, for the vector kits: rows by
// ownCopyRow, a plane by ippiCopy_8u_C1R.
void copyRowByMemoryKernel(const uint8_t* src, uint8_t* dst, int32_t n, bool nonTemporal);
void copyPlaneByMemoryKernel(InPlane src, OutPlane dst, int32_t width, int32_t height);
#if MORVA_X86_64
extern const RowKit kSse2Rows;
extern const RowKit kAvx2Rows;
extern const RowKit kAvx512Rows;
#endif

// Argument checks of the entry points.
template <class... T>
bool anyNull(const T*... p) {
    return ((p == nullptr) || ...);
}
// A plane array, its step array or one of its three entries is missing.
template <class T>
bool planesMissing(T* const* planes, const int32_t* steps) {
    return planes == nullptr || steps == nullptr || planes[0] == nullptr || planes[1] == nullptr ||
           planes[2] == nullptr;
}
inline bool isMultipleOf16(const void* p) { return (reinterpret_cast<uintptr_t>(p) & 15) == 0; }
inline bool isMultipleOf16(int64_t n) { return (n & 15) == 0; }

// Builds a kernel's table: its row loop Body::run<kit> with every kit, the
// scalar definition first.
template <class Fn, class Body>
KernelTable<Fn> kitTable() {
    return KernelTable<Fn>{
        {"scalar", Isa::Scalar, &Body::template run<kScalarRows>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &Body::template run<kSse2Rows>},
        {"avx2", Isa::Avx2, &Body::template run<kAvx2Rows>},
        {"avx512", Isa::Avx512, &Body::template run<kAvx512Rows>},
#endif
    };
}

}  // namespace morva::yuvlayout
