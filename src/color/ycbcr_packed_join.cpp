// Planes joined into packed 4:2:2: from three planes at 4:2:2 or 4:2:0, or
// from two planes at 4:2:0. At 4:2:0 chroma row i serves rows 2i and 2i+1.
#include "color/ycbcr_layout.h"
#include "color/ycbcr_layout_rows.h"

namespace morva {
namespace yuvlayout {
namespace {

// At 4:2:0 (chromaEvery 2) an odd last row is left alone.
template <Packed422 order, int32_t chromaEvery>
struct PlanarToPacked {
    template <const RowKit& kit>
    static void run(InPlane y, InPlane cb, InPlane cr, OutPlane dst, int32_t width, int32_t height,
                    bool nonTemporal) {
        const int32_t rows = chromaEvery == 2 ? height & ~1 : height;
        for (int32_t r = 0; r < rows; ++r)
            kit.join4(y.row(r), cb.row(r / chromaEvery), cr.row(r / chromaEvery), dst.row(r), width / 2, order,
                      nonTemporal);
    }
};

// The two-plane chroma row already holds Cb, Cr in turn: a packed row is that
// row and the luma row interleaved.
template <Packed422 order>
struct TwoPlaneToPacked {
    template <const RowKit& kit>
    static void run(InPlane y, InPlane cbcr, OutPlane dst, int32_t width, int32_t height) {
        const int32_t n = width & ~1;
        for (int32_t r = 0; r < (height & ~1); ++r) {
            if (order == Packed422::YCbYCr)
                kit.join2(y.row(r), cbcr.row(r / 2), dst.row(r), n);
            else
                kit.join2(cbcr.row(r / 2), y.row(r), dst.row(r), n);
        }
    }
};

template <class Body>
const KernelTable<PlanarToPackedFn>& planarTable() {
    static const auto table = kitTable<PlanarToPackedFn, Body>();
    return table;
}

template <class Body>
const KernelTable<TwoPlaneToPackedFn>& twoPlaneTable() {
    static const auto table = kitTable<TwoPlaneToPackedFn, Body>();
    return table;
}

IppStatus checkFromTwoPlane(const uint8_t* pSrcY, const uint8_t* pSrcCbCr, const uint8_t* pDst, IppiSize roi) {
    if (anyNull(pSrcY, pSrcCbCr, pDst)) return ippStsNullPtrErr;
    if (roi.width < 2 || roi.height < 2) return ippStsSizeErr;
    return ippStsNoErr;
}

IppStatus checkFromPlanar(const uint8_t* const pSrc[3], const int32_t srcStep[3], const uint8_t* pDst,
                          IppiSize roi, int32_t minHeight) {
    if (planesMissing(pSrc, srcStep) || pDst == nullptr) return ippStsNullPtrErr;
    if (roi.width < 2 || roi.height < minHeight) return ippStsSizeErr;
    return ippStsNoErr;
}

// Planes Y, Cr, Cb at 4:2:0. The Cb plane (entry 2) is stepped by step entry
// 1 and the Cr plane by step entry 2. The formats that reach these kernels
// have equal chroma steps, and callers rely on nothing else.
void runFromYCrCb420(const KernelTable<PlanarToPackedFn>& table, const uint8_t* const pSrc[3],
                     const int32_t srcStep[3], uint8_t* pDst, int32_t dstStep, IppiSize roi, bool nonTemporal) {
    table.current()({pSrc[0], srcStep[0]}, {pSrc[2], srcStep[1]}, {pSrc[1], srcStep[2]}, {pDst, dstStep},
                    roi.width, roi.height, nonTemporal);
}

// Large frames go by streaming stores; stores stream only to aligned rows.
bool largeFrame(const int32_t srcStep[3], int32_t dstStep, int32_t height) {
    return (int64_t(srcStep[0]) + srcStep[1] + srcStep[2] + dstStep) * height > 0x80000;
}

bool alignedRows(const uint8_t* p, int32_t step) { return isMultipleOf16(p) && isMultipleOf16(int64_t(step)); }

}  // namespace
}  // namespace yuvlayout

using namespace yuvlayout;

const KernelTable<PlanarToPackedFn>& yCbCr422P3C2Table() {
    return planarTable<PlanarToPacked<Packed422::YCbYCr, 1>>();
}
const KernelTable<PlanarToPackedFn>& yCrCb420ToYCbCr422P3C2Table() {
    return planarTable<PlanarToPacked<Packed422::YCbYCr, 2>>();
}
const KernelTable<PlanarToPackedFn>& yCrCb420ToCbYCr422P3C2Table() {
    return planarTable<PlanarToPacked<Packed422::CbYCrY, 2>>();
}
const KernelTable<TwoPlaneToPackedFn>& yCbCr420ToYCbCr422P2C2Table() {
    return twoPlaneTable<TwoPlaneToPacked<Packed422::YCbYCr>>();
}
const KernelTable<TwoPlaneToPackedFn>& yCbCr420ToCbYCr422P2C2Table() {
    return twoPlaneTable<TwoPlaneToPacked<Packed422::CbYCrY>>();
}

IppStatus ippiYCbCr422_8u_P3C2R(const uint8_t* const pSrc[3], const int32_t srcStep[3], uint8_t* pDst,
                                int32_t dstStep, IppiSize roiSize) {
    if (IppStatus s = checkFromPlanar(pSrc, srcStep, pDst, roiSize, 1); s != ippStsNoErr) return s;
    yCbCr422P3C2Table().current()({pSrc[0], srcStep[0]}, {pSrc[1], srcStep[1]}, {pSrc[2], srcStep[2]},
                                  {pDst, dstStep}, roiSize.width, roiSize.height, false);
    return ippStsNoErr;
}

IppStatus ippiYCbCr420ToYCbCr422_8u_P2C2R(const uint8_t* pSrcY, int32_t srcYStep, const uint8_t* pSrcCbCr,
                                          int32_t srcCbCrStep, uint8_t* pDst, int32_t dstStep, IppiSize roiSize) {
    if (IppStatus s = checkFromTwoPlane(pSrcY, pSrcCbCr, pDst, roiSize); s != ippStsNoErr) return s;
    yCbCr420ToYCbCr422P2C2Table().current()({pSrcY, srcYStep}, {pSrcCbCr, srcCbCrStep}, {pDst, dstStep},
                                            roiSize.width, roiSize.height);
    return ippStsNoErr;
}

IppStatus ippiYCbCr420ToCbYCr422_8u_P2C2R(const uint8_t* pSrcY, int32_t srcYStep, const uint8_t* pSrcCbCr,
                                          int32_t srcCbCrStep, uint8_t* pDst, int32_t dstStep, IppiSize roiSize) {
    if (IppStatus s = checkFromTwoPlane(pSrcY, pSrcCbCr, pDst, roiSize); s != ippStsNoErr) return s;
    yCbCr420ToCbYCr422P2C2Table().current()({pSrcY, srcYStep}, {pSrcCbCr, srcCbCrStep}, {pDst, dstStep},
                                            roiSize.width, roiSize.height);
    return ippStsNoErr;
}

IppStatus ippiYCrCb420ToYCbCr422_8u_P3C2R(const uint8_t* const pSrc[3], const int32_t srcStep[3], uint8_t* pDst,
                                          int32_t dstStep, IppiSize roiSize) {
    if (IppStatus s = checkFromPlanar(pSrc, srcStep, pDst, roiSize, 2); s != ippStsNoErr) return s;
    const bool nonTemporal = largeFrame(srcStep, dstStep, roiSize.height) && alignedRows(pDst, dstStep) &&
                             alignedRows(pSrc[0], srcStep[0]) && alignedRows(pSrc[1], srcStep[1]) &&
                             alignedRows(pSrc[2], srcStep[2]);
    runFromYCrCb420(yCrCb420ToYCbCr422P3C2Table(), pSrc, srcStep, pDst, dstStep, roiSize, nonTemporal);
    return ippStsNoErr;
}

IppStatus ippiYCrCb420ToCbYCr422_8u_P3C2R(const uint8_t* const pSrc[3], const int32_t srcStep[3], uint8_t* pDst,
                                          int32_t dstStep, IppiSize roiSize) {
    if (IppStatus s = checkFromPlanar(pSrc, srcStep, pDst, roiSize, 2); s != ippStsNoErr) return s;
    // This one looks at the destination's alignment alone.
    const bool nonTemporal = largeFrame(srcStep, dstStep, roiSize.height) && alignedRows(pDst, dstStep);
    runFromYCrCb420(yCrCb420ToCbYCr422P3C2Table(), pSrc, srcStep, pDst, dstStep, roiSize, nonTemporal);
    return ippStsNoErr;
}

}  // namespace morva
