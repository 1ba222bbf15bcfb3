// Packed 4:2:2 between its two byte orders: each 16-bit unit (a luma byte and
// a chroma byte) has its bytes exchanged, which turns Cb Y0 Cr Y1 into
// Y0 Cb Y1 Cr and back.
#include "color/ycbcr_layout.h"
#include "color/ycbcr_layout_rows.h"

namespace morva {
namespace yuvlayout {
namespace {

// Whole pixels only: an odd last pixel shares its group with a pixel that
// isn't there, so it is left as it was.
struct SwapPairs {
    template <const RowKit& kit>
    static void run(InPlane src, OutPlane dst, int32_t width, int32_t height, bool nonTemporal) {
        for (int32_t r = 0; r < height; ++r) kit.swapPairs(src.row(r), dst.row(r), width & ~1, nonTemporal);
    }
};

IppStatus swapEntry(const KernelTable<SwapPairsFn>& table, const uint8_t* pSrc, int32_t srcStep, uint8_t* pDst,
                    int32_t dstStep, IppiSize roi, bool nonTemporal) {
    table.current()({pSrc, srcStep}, {pDst, dstStep}, roi.width, roi.height, nonTemporal);
    return ippStsNoErr;
}

bool sizeOk(IppiSize roi) { return roi.width >= 2 && roi.height >= 1; }

}  // namespace
}  // namespace yuvlayout

using namespace yuvlayout;

const KernelTable<SwapPairsFn>& cbYCr422ToYCbCr422C2Table() {
    static const auto table = kitTable<SwapPairsFn, SwapPairs>();
    return table;
}

const KernelTable<SwapPairsFn>& yCbCr422ToCbYCr422C2Table() {
    static const auto table = kitTable<SwapPairsFn, SwapPairs>();
    return table;
}

IppStatus ippiCbYCr422ToYCbCr422_8u_C2R(const uint8_t* pSrc, int32_t srcStep, uint8_t* pDst, int32_t dstStep,
                                        IppiSize roiSize) {
    if (anyNull(pSrc, pDst)) return ippStsNullPtrErr;
    if (!sizeOk(roiSize)) return ippStsSizeErr;
    return swapEntry(cbYCr422ToYCbCr422C2Table(), pSrc, srcStep, pDst, dstStep, roiSize, false);
}

IppStatus ippiYCbCr422ToCbYCr422_8u_C2R(const uint8_t* pSrc, int32_t srcStep, uint8_t* pDst, int32_t dstStep,
                                        IppiSize roiSize) {
    if (anyNull(pSrc, pDst)) return ippStsNullPtrErr;
    if (!sizeOk(roiSize)) return ippStsSizeErr;
    // Frames that would push the cache out go by streaming stores, which need
    // an aligned destination row.
    const int64_t traffic = (int64_t(srcStep) + dstStep) * roiSize.height;
    const bool nonTemporal = traffic >= 0x80001 && isMultipleOf16(pDst) && isMultipleOf16(int64_t(dstStep));
    return swapEntry(yCbCr422ToCbYCr422C2Table(), pSrc, srcStep, pDst, dstStep, roiSize, nonTemporal);
}

}  // namespace morva
