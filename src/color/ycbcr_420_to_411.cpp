// Three planes 4:2:0 to 4:1:1: chroma goes from half width and half height
// to a quarter of the width at full height. Every other chroma column is
// dropped; the even destination rows take a source row as it is, the odd ones
// the mean of it and the row below.
#include "color/ycbcr_layout.h"
#include "color/ycbcr_layout_rows.h"

namespace morva {
namespace yuvlayout {
namespace {

// Width a multiple of 4, height even (checked by the entry point).
struct Planar420To411 {
    template <const RowKit& kit>
    static void run(InPlane y, InPlane c1, InPlane c2, OutPlane dstY, OutPlane dstC1, OutPlane dstC2,
                    int32_t width, int32_t height) {
        kit.copyPlane(y, dstY, width, height);
        chroma<kit>(c1, dstC1, width, height);
        chroma<kit>(c2, dstC2, width, height);
    }

    // The mean rounds up over the columns that whole blocks of 32 cover and
    // down behind them; the split is part of the results.
    //
    // The last source row goes to the last two destination rows unaveraged.
    // At a height of 2 the plane has one chroma row, which therefore fills
    // both rows; nothing is read or written outside the planes (the loop
    // before it averages only while a row below exists).
    template <const RowKit& kit>
    static void chroma(InPlane src, OutPlane dst, int32_t width, int32_t height) {
        const int32_t q = width / 4;
        const int32_t roundUp = q & ~31;
        const int32_t last = height / 2 - 1;
        for (int32_t k = 0; k < last; ++k) {
            kit.pick(src.row(k), dst.row(2 * k), q, 0);
            kit.averageEven(src.row(k), src.row(k + 1), dst.row(2 * k + 1), q, roundUp);
        }
        kit.pick(src.row(last), dst.row(2 * last), q, 0);
        kit.pick(src.row(last), dst.row(2 * last + 1), q, 0);
    }
};

}  // namespace
}  // namespace yuvlayout

using namespace yuvlayout;

const KernelTable<PlanarToPlanarFn>& yCbCr420To411P3Table() {
    static const auto table = kitTable<PlanarToPlanarFn, Planar420To411>();
    return table;
}

IppStatus ippiYCbCr420To411_8u_P3R(const uint8_t* const pSrc[3], const int32_t srcStep[3], uint8_t* const pDst[3],
                                   const int32_t dstStep[3], IppiSize roiSize) {
    if (planesMissing(pSrc, srcStep) || planesMissing(pDst, dstStep)) return ippStsNullPtrErr;
    const IppiSize s = roiSize;
    if (s.width < 4 || s.height < 2 || s.width % 4 != 0 || s.height % 2 != 0) return ippStsSizeErr;
    yCbCr420To411P3Table().current()({pSrc[0], srcStep[0]}, {pSrc[1], srcStep[1]}, {pSrc[2], srcStep[2]},
                                     {pDst[0], dstStep[0]}, {pDst[1], dstStep[1]}, {pDst[2], dstStep[2]},
                                     s.width, s.height);
    return ippStsNoErr;
}

}  // namespace morva
