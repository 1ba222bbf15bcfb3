// The scalar row operations of the YCbCr layout kernels: the definition of
// every byte the family writes.
#include <cstring>

#include "color/ycbcr_layout_rows.h"
#include "kernels/memory.h"

namespace morva::yuvlayout {
namespace {

void copyRow(const uint8_t* src, uint8_t* dst, int32_t n, bool /*nonTemporal*/) {
    if (n > 0) std::memcpy(dst, src, size_t(n));
}

void copyPlane(InPlane src, OutPlane dst, int32_t width, int32_t height) {
    for (int32_t r = 0; r < height; ++r) copyRow(src.row(r), dst.row(r), width, false);
}

void swapPairs(const uint8_t* src, uint8_t* dst, int32_t units, bool /*nonTemporal*/) {
    for (int32_t i = 0; i < units; ++i) {
        dst[2 * i] = src[2 * i + 1];
        dst[2 * i + 1] = src[2 * i];
    }
}

void pick(const uint8_t* src, uint8_t* dst, int32_t n, int32_t phase) {
    for (int32_t i = 0; i < n; ++i) dst[i] = src[2 * i + phase];
}

void split2(const uint8_t* src, uint8_t* even, uint8_t* odd, int32_t n) {
    for (int32_t i = 0; i < n; ++i) {
        even[i] = src[2 * i];
        odd[i] = src[2 * i + 1];
    }
}

void join2(const uint8_t* even, const uint8_t* odd, uint8_t* dst, int32_t n) {
    for (int32_t i = 0; i < n; ++i) {
        dst[2 * i] = even[i];
        dst[2 * i + 1] = odd[i];
    }
}

// Positions within a 4-byte group of packed 4:2:2.
struct GroupLayout {
    int y0, cb, y1, cr;
};
constexpr GroupLayout groupLayout(Packed422 order) {
    return order == Packed422::YCbYCr ? GroupLayout{0, 1, 2, 3} : GroupLayout{1, 0, 3, 2};
}

void split4(const uint8_t* src, uint8_t* y, uint8_t* cb, uint8_t* cr, int32_t pairs, Packed422 order) {
    const GroupLayout at = groupLayout(order);
    for (int32_t j = 0; j < pairs; ++j) {
        const uint8_t* s = src + 4 * j;
        y[2 * j] = s[at.y0];
        y[2 * j + 1] = s[at.y1];
        cb[j] = s[at.cb];
        cr[j] = s[at.cr];
    }
}

void join4(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst, int32_t pairs, Packed422 order,
           bool /*nonTemporal*/) {
    const GroupLayout at = groupLayout(order);
    for (int32_t j = 0; j < pairs; ++j) {
        uint8_t* d = dst + 4 * j;
        d[at.y0] = y[2 * j];
        d[at.y1] = y[2 * j + 1];
        d[at.cb] = cb[j];
        d[at.cr] = cr[j];
    }
}

void averageEven(const uint8_t* upper, const uint8_t* lower, uint8_t* dst, int32_t n, int32_t roundUp) {
    for (int32_t j = 0; j < n; ++j) {
        const int32_t bias = j < roundUp ? 1 : 0;
        dst[j] = uint8_t((upper[2 * j] + lower[2 * j] + bias) >> 1);
    }
}

}  // namespace

void copyRowByMemoryKernel(const uint8_t* src, uint8_t* dst, int32_t n, bool nonTemporal) {
    // Streaming stores to a target that trails the source by just under
    // 64 KiB (modulo 64 KiB) stall on address aliasing with the loads; such
    // rows take ordinary stores. The bytes are the same either way.
    const uintptr_t alignedDst = (reinterpret_cast<uintptr_t>(dst) + 15) & ~uintptr_t(15);
    const uint32_t lag = uint32_t(reinterpret_cast<uintptr_t>(src) - alignedDst) & 0xFFFF;
    const bool aliasing = lag >= 65216 && lag <= 65520;
    ownCopyRow(src, dst, n, nonTemporal && !aliasing);
}

void copyPlaneByMemoryKernel(InPlane src, OutPlane dst, int32_t width, int32_t height) {
    // Cannot fail: the callers pass planes they checked and sizes of at least 1.
    ippiCopy_8u_C1R(src.data, src.step, dst.data, dst.step, width, height);
}

const RowKit kScalarRows{&copyRow, &copyPlane, &swapPairs, &pick,  &split2,
                         &join2,   &split4,    &join4,     &averageEven};

}  // namespace morva::yuvlayout
