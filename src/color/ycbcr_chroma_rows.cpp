// Planar layouts into each other by whole rows: two planes and three at
// 4:2:0, and three planes between 4:2:2 and 4:2:0. Luma is copied; chroma
// rows are split, joined, dropped (the odd ones) or written twice.
#include "color/ycbcr_layout.h"
#include "color/ycbcr_layout_rows.h"

namespace morva {
namespace yuvlayout {
namespace {

// All kernels here are even in both directions.
void copyLuma(const RowKit& kit, InPlane src, OutPlane dst, int32_t width, int32_t height, bool nonTemporal) {
    for (int32_t r = 0; r < (height & ~1); ++r) kit.copy(src.row(r), dst.row(r), width & ~1, nonTemporal);
}

struct TwoPlaneToPlanar {
    template <const RowKit& kit>
    static void run(InPlane y, InPlane cbcr, OutPlane dstY, OutPlane cb, OutPlane cr, int32_t width,
                    int32_t height) {
        copyLuma(kit, y, dstY, width, height, false);
        for (int32_t i = 0; i < height / 2; ++i) kit.split2(cbcr.row(i), cb.row(i), cr.row(i), width / 2);
    }
};

struct PlanarToTwoPlane {
    template <const RowKit& kit>
    static void run(InPlane y, InPlane cb, InPlane cr, OutPlane dstY, OutPlane cbcr, int32_t width,
                    int32_t height) {
        copyLuma(kit, y, dstY, width, height, false);
        for (int32_t i = 0; i < height / 2; ++i) kit.join2(cb.row(i), cr.row(i), cbcr.row(i), width / 2);
    }
};

// 4:2:2 to 4:2:0: chroma row 2k becomes row k. Luma of frames above this
// many pixels goes by streaming stores.
constexpr int64_t kStreamLumaAbove = 348602;

struct Planar422To420 {
    template <const RowKit& kit>
    static void run(InPlane y, InPlane c1, InPlane c2, OutPlane dstY, OutPlane dstC1, OutPlane dstC2,
                    int32_t width, int32_t height) {
        copyLuma(kit, y, dstY, width, height, int64_t(width) * height > kStreamLumaAbove);
        for (int32_t k = 0; k < height / 2; ++k) {
            kit.copy(c1.row(2 * k), dstC1.row(k), width / 2, false);
            kit.copy(c2.row(2 * k), dstC2.row(k), width / 2, false);
        }
    }
};

// 4:2:0 to 4:2:2: chroma row i becomes rows 2i and 2i+1.
struct Planar420To422 {
    template <const RowKit& kit>
    static void run(InPlane y, InPlane c1, InPlane c2, OutPlane dstY, OutPlane dstC1, OutPlane dstC2,
                    int32_t width, int32_t height) {
        copyLuma(kit, y, dstY, width, height, false);
        for (int32_t i = 0; i < height / 2; ++i) {
            for (int32_t r = 2 * i; r < 2 * i + 2; ++r) {
                kit.copy(c1.row(i), dstC1.row(r), width / 2, false);
                kit.copy(c2.row(i), dstC2.row(r), width / 2, false);
            }
        }
    }
};

template <class T, class U>
IppStatus checkSides(T* const* src, const int32_t* srcStep, U* const* dst, const int32_t* dstStep,
                     IppiSize roi) {
    if (planesMissing(src, srcStep) || planesMissing(dst, dstStep)) return ippStsNullPtrErr;
    if (roi.width < 2 || roi.height < 2) return ippStsSizeErr;
    return ippStsNoErr;
}

void runPlanar(const KernelTable<PlanarToPlanarFn>& table, const uint8_t* const pSrc[3], const int32_t srcStep[3],
               uint8_t* const pDst[3], const int32_t dstStep[3], IppiSize roi) {
    table.current()({pSrc[0], srcStep[0]}, {pSrc[1], srcStep[1]}, {pSrc[2], srcStep[2]}, {pDst[0], dstStep[0]},
                    {pDst[1], dstStep[1]}, {pDst[2], dstStep[2]}, roi.width, roi.height);
}

}  // namespace
}  // namespace yuvlayout

using namespace yuvlayout;

const KernelTable<TwoPlaneToPlanarFn>& yCbCr420P2P3Table() {
    static const auto table = kitTable<TwoPlaneToPlanarFn, TwoPlaneToPlanar>();
    return table;
}
const KernelTable<PlanarToTwoPlaneFn>& yCrCb420ToYCbCr420P3P2Table() {
    static const auto table = kitTable<PlanarToTwoPlaneFn, PlanarToTwoPlane>();
    return table;
}
const KernelTable<PlanarToPlanarFn>& yCbCr422To420P3Table() {
    static const auto table = kitTable<PlanarToPlanarFn, Planar422To420>();
    return table;
}
const KernelTable<PlanarToPlanarFn>& yCbCr420To422P3Table() {
    static const auto table = kitTable<PlanarToPlanarFn, Planar420To422>();
    return table;
}

IppStatus ippiYCbCr420_8u_P2P3R(const uint8_t* pSrcY, int32_t srcYStep, const uint8_t* pSrcCbCr,
                                int32_t srcCbCrStep, uint8_t* const pDst[3], const int32_t dstStep[3],
                                IppiSize roiSize) {
    if (anyNull(pSrcY, pSrcCbCr) || planesMissing(pDst, dstStep)) return ippStsNullPtrErr;
    if (roiSize.width < 2 || roiSize.height < 2) return ippStsSizeErr;
    yCbCr420P2P3Table().current()({pSrcY, srcYStep}, {pSrcCbCr, srcCbCrStep}, {pDst[0], dstStep[0]},
                                  {pDst[1], dstStep[1]}, {pDst[2], dstStep[2]}, roiSize.width, roiSize.height);
    return ippStsNoErr;
}

IppStatus ippiYCrCb420ToYCbCr420_8u_P3P2R(const uint8_t* const pSrc[3], const int32_t srcStep[3],
                                          uint8_t* pDstY, int32_t dstYStep, uint8_t* pDstCbCr,
                                          int32_t dstCbCrStep, IppiSize roiSize) {
    if (planesMissing(pSrc, srcStep) || anyNull(pDstY, pDstCbCr)) return ippStsNullPtrErr;
    if (roiSize.width < 2 || roiSize.height < 2) return ippStsSizeErr;
    // Cb is entry 2, stepped by step entry 1; Cr is entry 1, stepped by step
    // entry 2. Callers give equal chroma steps.
    yCrCb420ToYCbCr420P3P2Table().current()({pSrc[0], srcStep[0]}, {pSrc[2], srcStep[1]}, {pSrc[1], srcStep[2]},
                                            {pDstY, dstYStep}, {pDstCbCr, dstCbCrStep}, roiSize.width,
                                            roiSize.height);
    return ippStsNoErr;
}

IppStatus ippiYCbCr422To420_8u_P3R(const uint8_t* const pSrc[3], const int32_t srcStep[3], uint8_t* const pDst[3],
                                   const int32_t dstStep[3], IppiSize roiSize) {
    if (IppStatus s = checkSides(pSrc, srcStep, pDst, dstStep, roiSize); s != ippStsNoErr) return s;
    runPlanar(yCbCr422To420P3Table(), pSrc, srcStep, pDst, dstStep, roiSize);
    return ippStsNoErr;
}

IppStatus ippiYCbCr420To422_8u_P3R(const uint8_t* const pSrc[3], const int32_t srcStep[3], uint8_t* const pDst[3],
                                   const int32_t dstStep[3], IppiSize roiSize) {
    if (IppStatus s = checkSides(pSrc, srcStep, pDst, dstStep, roiSize); s != ippStsNoErr) return s;
    runPlanar(yCbCr420To422P3Table(), pSrc, srcStep, pDst, dstStep, roiSize);
    return ippStsNoErr;
}

}  // namespace morva
