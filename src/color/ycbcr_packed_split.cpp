// Packed 4:2:2 split into planes: three planes at 4:2:2 or 4:2:0, or two
// planes at 4:2:0 (luma, and chroma bytes Cb, Cr in turn). Going to 4:2:0 the
// chroma of the even rows is kept and that of the odd rows dropped.
#include "color/ycbcr_layout.h"
#include "color/ycbcr_layout_rows.h"

namespace morva {
namespace yuvlayout {
namespace {

constexpr int32_t lumaPhase(Packed422 order) { return order == Packed422::YCbYCr ? 0 : 1; }

// Rows r with r % chromaEvery == 0 give their chroma to row r / chromaEvery;
// the others give luma only. At 4:2:0 an odd last row is left alone.
template <Packed422 order, int32_t chromaEvery>
struct PackedToPlanar {
    template <const RowKit& kit>
    static void run(InPlane src, OutPlane y, OutPlane cb, OutPlane cr, int32_t width, int32_t height) {
        const int32_t pairs = width / 2;
        const int32_t rows = chromaEvery == 2 ? height & ~1 : height;
        for (int32_t r = 0; r < rows; ++r) {
            if (r % chromaEvery == 0)
                kit.split4(src.row(r), y.row(r), cb.row(r / chromaEvery), cr.row(r / chromaEvery), pairs, order);
            else
                kit.pick(src.row(r), y.row(r), 2 * pairs, lumaPhase(order));
        }
    }
};

// A packed row is luma and chroma bytes in turn, and the chroma bytes in turn
// are already the two-plane chroma row: one split of even and odd bytes.
template <Packed422 order>
struct PackedToTwoPlane {
    template <const RowKit& kit>
    static void run(InPlane src, OutPlane y, OutPlane cbcr, int32_t width, int32_t height) {
        const int32_t n = width & ~1;
        for (int32_t r = 0; r < (height & ~1); r += 2) {
            uint8_t* chroma = cbcr.row(r / 2);
            if (order == Packed422::YCbYCr)
                kit.split2(src.row(r), y.row(r), chroma, n);
            else
                kit.split2(src.row(r), chroma, y.row(r), n);
            kit.pick(src.row(r + 1), y.row(r + 1), n, lumaPhase(order));
        }
    }
};

template <class Body>
const KernelTable<PackedToPlanarFn>& planarTable() {
    static const auto table = kitTable<PackedToPlanarFn, Body>();
    return table;
}

template <class Body>
const KernelTable<PackedToTwoPlaneFn>& twoPlaneTable() {
    static const auto table = kitTable<PackedToTwoPlaneFn, Body>();
    return table;
}

IppStatus checkToPlanar(const uint8_t* pSrc, uint8_t* const pDst[3], const int32_t dstStep[3], IppiSize roi,
                        int32_t minHeight) {
    if (pSrc == nullptr || planesMissing(pDst, dstStep)) return ippStsNullPtrErr;
    if (roi.width < 2 || roi.height < minHeight) return ippStsSizeErr;
    return ippStsNoErr;
}

IppStatus checkToTwoPlane(const uint8_t* pSrc, const uint8_t* pDstY, const uint8_t* pDstCbCr, IppiSize roi) {
    if (anyNull(pSrc, pDstY, pDstCbCr)) return ippStsNullPtrErr;
    if (roi.width < 2 || roi.height < 2) return ippStsSizeErr;
    return ippStsNoErr;
}

}  // namespace
}  // namespace yuvlayout

using namespace yuvlayout;

const KernelTable<PackedToPlanarFn>& yCbCr422C2P3Table() {
    return planarTable<PackedToPlanar<Packed422::YCbYCr, 1>>();
}
const KernelTable<PackedToPlanarFn>& cbYCr422ToYCbCr422C2P3Table() {
    return planarTable<PackedToPlanar<Packed422::CbYCrY, 1>>();
}
const KernelTable<PackedToPlanarFn>& yCbCr422ToYCrCb420C2P3Table() {
    return planarTable<PackedToPlanar<Packed422::YCbYCr, 2>>();
}
const KernelTable<PackedToPlanarFn>& cbYCr422ToYCrCb420C2P3Table() {
    return planarTable<PackedToPlanar<Packed422::CbYCrY, 2>>();
}
const KernelTable<PackedToTwoPlaneFn>& yCbCr422ToYCbCr420C2P2Table() {
    return twoPlaneTable<PackedToTwoPlane<Packed422::YCbYCr>>();
}
const KernelTable<PackedToTwoPlaneFn>& cbYCr422ToYCbCr420C2P2Table() {
    return twoPlaneTable<PackedToTwoPlane<Packed422::CbYCrY>>();
}

IppStatus ippiYCbCr422_8u_C2P3R(const uint8_t* pSrc, int32_t srcStep, uint8_t* const pDst[3],
                                const int32_t dstStep[3], IppiSize roiSize) {
    // No lower limit of height: a height of 0 or less converts no row.
    if (IppStatus s = checkToPlanar(pSrc, pDst, dstStep, roiSize, INT32_MIN); s != ippStsNoErr) return s;
    const int32_t width = roiSize.width & ~1;
    // The chroma order follows the path: aligned rows put Cb in entry 1, all
    // others put it in entry 2. Callers have relied on both, so both stay.
    const bool aligned = isMultipleOf16(pSrc) && isMultipleOf16(pDst[0]) && isMultipleOf16(int64_t(srcStep)) &&
                         isMultipleOf16(int64_t(dstStep[0])) && isMultipleOf16(int64_t(width));
    const int cb = aligned ? 1 : 2, cr = aligned ? 2 : 1;
    yCbCr422C2P3Table().current()({pSrc, srcStep}, {pDst[0], dstStep[0]}, {pDst[cb], dstStep[cb]},
                                  {pDst[cr], dstStep[cr]}, width, roiSize.height);
    return ippStsNoErr;
}

IppStatus ippiCbYCr422ToYCbCr422_8u_C2P3R(const uint8_t* pSrc, int32_t srcStep, uint8_t* const pDst[3],
                                          const int32_t dstStep[3], IppiSize roiSize) {
    if (IppStatus s = checkToPlanar(pSrc, pDst, dstStep, roiSize, INT32_MIN); s != ippStsNoErr) return s;
    cbYCr422ToYCbCr422C2P3Table().current()({pSrc, srcStep}, {pDst[0], dstStep[0]}, {pDst[1], dstStep[1]},
                                            {pDst[2], dstStep[2]}, roiSize.width, roiSize.height);
    return ippStsNoErr;
}

// The 4:2:0 splitters write Cr to entry 1 and Cb to entry 2, as their names say.
IppStatus ippiYCbCr422ToYCrCb420_8u_C2P3R(const uint8_t* pSrc, int32_t srcStep, uint8_t* const pDst[3],
                                          const int32_t dstStep[3], IppiSize roiSize) {
    if (IppStatus s = checkToPlanar(pSrc, pDst, dstStep, roiSize, 2); s != ippStsNoErr) return s;
    yCbCr422ToYCrCb420C2P3Table().current()({pSrc, srcStep}, {pDst[0], dstStep[0]}, {pDst[2], dstStep[2]},
                                            {pDst[1], dstStep[1]}, roiSize.width, roiSize.height);
    return ippStsNoErr;
}

IppStatus ippiCbYCr422ToYCrCb420_8u_C2P3R(const uint8_t* pSrc, int32_t srcStep, uint8_t* const pDst[3],
                                          const int32_t dstStep[3], IppiSize roiSize) {
    if (IppStatus s = checkToPlanar(pSrc, pDst, dstStep, roiSize, 2); s != ippStsNoErr) return s;
    cbYCr422ToYCrCb420C2P3Table().current()({pSrc, srcStep}, {pDst[0], dstStep[0]}, {pDst[2], dstStep[2]},
                                            {pDst[1], dstStep[1]}, roiSize.width, roiSize.height);
    return ippStsNoErr;
}

IppStatus ippiYCbCr422ToYCbCr420_8u_C2P2R(const uint8_t* pSrc, int32_t srcStep, uint8_t* pDstY, int32_t dstYStep,
                                          uint8_t* pDstCbCr, int32_t dstCbCrStep, IppiSize roiSize) {
    if (IppStatus s = checkToTwoPlane(pSrc, pDstY, pDstCbCr, roiSize); s != ippStsNoErr) return s;
    yCbCr422ToYCbCr420C2P2Table().current()({pSrc, srcStep}, {pDstY, dstYStep}, {pDstCbCr, dstCbCrStep},
                                            roiSize.width, roiSize.height);
    return ippStsNoErr;
}

IppStatus ippiCbYCr422ToYCbCr420_8u_C2P2R(const uint8_t* pSrc, int32_t srcStep, uint8_t* pDstY, int32_t dstYStep,
                                          uint8_t* pDstCbCr, int32_t dstCbCrStep, IppiSize roiSize) {
    if (IppStatus s = checkToTwoPlane(pSrc, pDstY, pDstCbCr, roiSize); s != ippStsNoErr) return s;
    cbYCr422ToYCbCr420C2P2Table().current()({pSrc, srcStep}, {pDstY, dstYStep}, {pDstCbCr, dstCbCrStep},
                                            roiSize.width, roiSize.height);
    return ippStsNoErr;
}

}  // namespace morva
