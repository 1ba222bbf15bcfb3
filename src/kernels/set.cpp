// The set family: entry points with their checks and streaming decision, and
// the scalar definition, one template over the pixel size.
#include <cstring>

#include "kernels/frame.h"
#include "kernels/plane.h"
#include "kernels/set_forms.h"

namespace morva {
namespace {

template <int PixelBytes>
void setScalar(uint8_t* dst, ptrdiff_t dstStep, size_t rowBytes, int32_t rows, const uint8_t* pixel,
               bool) {
    for (int32_t r = 0; r < rows; ++r, dst += dstStep)
        for (size_t i = 0; i < rowBytes; i += PixelBytes) std::memcpy(dst + i, pixel, PixelBytes);
}

enum class Streaming { ByCacheSize, Never };

// The checks after the pointers, the contiguous-plane rule and the streaming
// decision, shared by the family.
template <int PixelBytes>
IppStatus setPlane(const KernelTable<SetRowsFn>& table, const uint8_t* pixel, uint8_t* pDst,
                   int32_t dstStep, int32_t width, int32_t height, Streaming streaming) {
    if (width < 1 || height < 1) return ippStsSizeErr;
    // In 64 bits: a plane beyond 2 GiB must neither wrap nor look small.
    const int64_t rowBytes = int64_t(width) * PixelBytes;
    const int64_t total = rowBytes * height;
    const bool contiguous = rowBytes == dstStep;

    bool nonTemporal = false;
    if (total > kSetStreamGate) {
        // The 16-bit set asks as the others do, but never streams.
        int32_t cacheSize = 0;
        const IppStatus cacheStatus = ippGetMaxCacheSizeB(&cacheSize);
        nonTemporal = streaming == Streaming::ByCacheSize && cacheStatus == ippStsNoErr &&
                      total >= cacheSize;
    }
    table.current()(pDst, dstStep, size_t(contiguous ? total : rowBytes), contiguous ? 1 : height,
                    pixel, nonTemporal);
    return ippStsNoErr;
}

template <int PixelBytes>
const KernelTable<SetRowsFn>& setTable() {
    static const KernelTable<SetRowsFn> table{
        {"scalar", Isa::Scalar, &setScalar<PixelBytes>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &setSse2<PixelBytes>},
        {"avx2", Isa::Avx2, &setAvx2<PixelBytes>},
#endif
    };
    return table;
}

}  // namespace

const KernelTable<SetRowsFn>& setC1Table() { return setTable<1>(); }
const KernelTable<SetRowsFn>& set16uTable() { return setTable<2>(); }
const KernelTable<SetRowsFn>& setC3Table() { return setTable<3>(); }
const KernelTable<SetRowsFn>& setC4Table() { return setTable<4>(); }

IppStatus ippiSet_8u_C1R(uint8_t value, uint8_t* pDst, int32_t dstStep, int32_t width,
                         int32_t height) {
    if (pDst == nullptr) return ippStsNullPtrErr;
    return setPlane<1>(setC1Table(), &value, pDst, dstStep, width, height, Streaming::ByCacheSize);
}

IppStatus ippiSet_16u_C1R(uint16_t value, uint8_t* pDst, int32_t dstStep, int32_t width,
                          int32_t height) {
    if (pDst == nullptr) return ippStsNullPtrErr;
    // The sample as a 16-bit store writes it, in the processor's byte order.
    uint8_t pixel[2];
    std::memcpy(pixel, &value, sizeof pixel);
    return setPlane<2>(set16uTable(), pixel, pDst, dstStep, width, height, Streaming::Never);
}

IppStatus ippiSet_8u_C3R(const uint8_t* pValue, uint8_t* pDst, int32_t dstStep, int32_t width,
                         int32_t height) {
    if (pValue == nullptr || pDst == nullptr) return ippStsNullPtrErr;
    return setPlane<3>(setC3Table(), pValue, pDst, dstStep, width, height, Streaming::ByCacheSize);
}

IppStatus ippiSet_8u_C4R(const uint8_t* pValue, uint8_t* pDst, int32_t dstStep, int32_t width,
                         int32_t height) {
    if (pValue == nullptr || pDst == nullptr) return ippStsNullPtrErr;
    return setPlane<4>(setC4Table(), pValue, pDst, dstStep, width, height, Streaming::ByCacheSize);
}

}  // namespace morva
