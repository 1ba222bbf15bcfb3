// 8-bit YCbCr layout kernels: packed 4:2:2 in both byte orders, two planes
// (Y and interleaved Cb, Cr at half height), and three planes of 4:2:2, 4:2:0
// or 4:1:1. Samples are moved, not filtered: going down in chroma rows the
// even row is kept, going up a row is repeated. One kernel averages.
//
// Steps are in bytes and may be negative. Planar sides take arrays of three
// pointers and three steps in the order of the name (YCbCr: Y, Cb, Cr; YCrCb:
// Y, Cr, Cb); a two-plane side takes pointer and step of the luma plane, then
// of the chroma plane. "Even" kernels work on width & ~1 (and height & ~1),
// so that an odd last column (row) stays as it was, without a warning.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kernels/dispatch.h"
#include "kernels/status.h"
#include "kernels/types.h"

namespace morva {

namespace yuvlayout {

// One plane of a body's source or destination: its first row and row step.
struct InPlane {
    const uint8_t* data;
    int32_t step;
    const uint8_t* row(int32_t r) const { return data + ptrdiff_t(r) * step; }
};
struct OutPlane {
    uint8_t* data;
    int32_t step;
    uint8_t* row(int32_t r) const { return data + ptrdiff_t(r) * step; }
};

}  // namespace yuvlayout

// Body signatures, one per shape of arguments. The entry points have put the
// chroma planes in the order named here (cb, cr) and decided whether streaming
// stores may be used; bodies take the width and height as the caller gave them
// and leave what the kernel leaves.
using SwapPairsFn = void (*)(yuvlayout::InPlane src, yuvlayout::OutPlane dst, int32_t width, int32_t height,
                             bool nonTemporal);
using PackedToPlanarFn = void (*)(yuvlayout::InPlane src, yuvlayout::OutPlane y, yuvlayout::OutPlane cb,
                                  yuvlayout::OutPlane cr, int32_t width, int32_t height);
using PackedToTwoPlaneFn = void (*)(yuvlayout::InPlane src, yuvlayout::OutPlane y, yuvlayout::OutPlane cbcr,
                                    int32_t width, int32_t height);
using TwoPlaneToPackedFn = void (*)(yuvlayout::InPlane y, yuvlayout::InPlane cbcr, yuvlayout::OutPlane dst,
                                    int32_t width, int32_t height);
using PlanarToPackedFn = void (*)(yuvlayout::InPlane y, yuvlayout::InPlane cb, yuvlayout::InPlane cr,
                                  yuvlayout::OutPlane dst, int32_t width, int32_t height, bool nonTemporal);
using TwoPlaneToPlanarFn = void (*)(yuvlayout::InPlane y, yuvlayout::InPlane cbcr, yuvlayout::OutPlane dstY,
                                    yuvlayout::OutPlane cb, yuvlayout::OutPlane cr, int32_t width, int32_t height);
using PlanarToTwoPlaneFn = void (*)(yuvlayout::InPlane y, yuvlayout::InPlane cb, yuvlayout::InPlane cr,
                                    yuvlayout::OutPlane dstY, yuvlayout::OutPlane cbcr, int32_t width,
                                    int32_t height);
using PlanarToPlanarFn = void (*)(yuvlayout::InPlane y, yuvlayout::InPlane c1, yuvlayout::InPlane c2,
                                  yuvlayout::OutPlane dstY, yuvlayout::OutPlane dstC1, yuvlayout::OutPlane dstC2,
                                  int32_t width, int32_t height);

// Kernel tables, for tests and benchmarks; the first form is the scalar
// definition.
const KernelTable<SwapPairsFn>& cbYCr422ToYCbCr422C2Table();
const KernelTable<SwapPairsFn>& yCbCr422ToCbYCr422C2Table();
const KernelTable<PackedToPlanarFn>& yCbCr422C2P3Table();
const KernelTable<PackedToPlanarFn>& cbYCr422ToYCbCr422C2P3Table();
const KernelTable<PlanarToPackedFn>& yCbCr422P3C2Table();
const KernelTable<PackedToPlanarFn>& yCbCr422ToYCrCb420C2P3Table();
const KernelTable<PackedToPlanarFn>& cbYCr422ToYCrCb420C2P3Table();
const KernelTable<PackedToTwoPlaneFn>& yCbCr422ToYCbCr420C2P2Table();
const KernelTable<PackedToTwoPlaneFn>& cbYCr422ToYCbCr420C2P2Table();
const KernelTable<TwoPlaneToPackedFn>& yCbCr420ToYCbCr422P2C2Table();
const KernelTable<TwoPlaneToPackedFn>& yCbCr420ToCbYCr422P2C2Table();
const KernelTable<PlanarToPackedFn>& yCrCb420ToYCbCr422P3C2Table();
const KernelTable<PlanarToPackedFn>& yCrCb420ToCbYCr422P3C2Table();
const KernelTable<TwoPlaneToPlanarFn>& yCbCr420P2P3Table();
const KernelTable<PlanarToTwoPlaneFn>& yCrCb420ToYCbCr420P3P2Table();
const KernelTable<PlanarToPlanarFn>& yCbCr422To420P3Table();
const KernelTable<PlanarToPlanarFn>& yCbCr420To422P3Table();
const KernelTable<PlanarToPlanarFn>& yCbCr420To411P3Table();

// Packed 4:2:2: exchange the two bytes of every 16-bit unit (Cb Y0 Cr Y1 <->
// Y0 Cb Y1 Cr). Even in width. Width at least 2, height at least 1.
IppStatus ippiCbYCr422ToYCbCr422_8u_C2R(const uint8_t* pSrc, int32_t srcStep, uint8_t* pDst, int32_t dstStep,
                                        IppiSize roiSize);
IppStatus ippiYCbCr422ToCbYCr422_8u_C2R(const uint8_t* pSrc, int32_t srcStep, uint8_t* pDst, int32_t dstStep,
                                        IppiSize roiSize);

// Packed Y0 Cb Y1 Cr to planes Y, Cb, Cr at 4:2:2. Even in width; width at
// least 2. When source, luma plane, their steps and the even width are all
// multiples of 16, Cb goes to entry 1 and Cr to entry 2; otherwise the two
// chroma entries (pointers and steps) trade places.
IppStatus ippiYCbCr422_8u_C2P3R(const uint8_t* pSrc, int32_t srcStep, uint8_t* const pDst[3],
                                const int32_t dstStep[3], IppiSize roiSize);
// Packed Cb Y0 Cr Y1 to planes Y, Cb, Cr at 4:2:2. Even in width; width at
// least 2.
IppStatus ippiCbYCr422ToYCbCr422_8u_C2P3R(const uint8_t* pSrc, int32_t srcStep, uint8_t* const pDst[3],
                                          const int32_t dstStep[3], IppiSize roiSize);
// Planes Y, Cb, Cr at 4:2:2 to packed Y0 Cb Y1 Cr. Even in width; width at
// least 2, height at least 1. A fourth (alpha) plane is never looked at.
IppStatus ippiYCbCr422_8u_P3C2R(const uint8_t* const pSrc[3], const int32_t srcStep[3], uint8_t* pDst,
                                int32_t dstStep, IppiSize roiSize);

// Packed 4:2:2 to three planes at 4:2:0: luma of every row, chroma of the
// even rows; entry 1 gets Cr, entry 2 Cb. Even in both; at least 2 x 2.
IppStatus ippiYCbCr422ToYCrCb420_8u_C2P3R(const uint8_t* pSrc, int32_t srcStep, uint8_t* const pDst[3],
                                          const int32_t dstStep[3], IppiSize roiSize);
IppStatus ippiCbYCr422ToYCrCb420_8u_C2P3R(const uint8_t* pSrc, int32_t srcStep, uint8_t* const pDst[3],
                                          const int32_t dstStep[3], IppiSize roiSize);

// Packed 4:2:2 to two planes at 4:2:0, chroma bytes Cb, Cr of the even rows.
// Even in both; at least 2 x 2.
IppStatus ippiYCbCr422ToYCbCr420_8u_C2P2R(const uint8_t* pSrc, int32_t srcStep, uint8_t* pDstY, int32_t dstYStep,
                                          uint8_t* pDstCbCr, int32_t dstCbCrStep, IppiSize roiSize);
IppStatus ippiCbYCr422ToYCbCr420_8u_C2P2R(const uint8_t* pSrc, int32_t srcStep, uint8_t* pDstY, int32_t dstYStep,
                                          uint8_t* pDstCbCr, int32_t dstCbCrStep, IppiSize roiSize);

// Two planes at 4:2:0 to packed 4:2:2: chroma row i goes with rows 2i, 2i+1.
// Even in both; at least 2 x 2.
IppStatus ippiYCbCr420ToYCbCr422_8u_P2C2R(const uint8_t* pSrcY, int32_t srcYStep, const uint8_t* pSrcCbCr,
                                          int32_t srcCbCrStep, uint8_t* pDst, int32_t dstStep, IppiSize roiSize);
IppStatus ippiYCbCr420ToCbYCr422_8u_P2C2R(const uint8_t* pSrcY, int32_t srcYStep, const uint8_t* pSrcCbCr,
                                          int32_t srcCbCrStep, uint8_t* pDst, int32_t dstStep, IppiSize roiSize);

// Planes Y, Cr, Cb at 4:2:0 to packed 4:2:2. The Cb plane (entry 2) is
// stepped by step entry 1 and the Cr plane by step entry 2: callers give
// equal chroma steps. Even in both; at least 2 x 2.
IppStatus ippiYCrCb420ToYCbCr422_8u_P3C2R(const uint8_t* const pSrc[3], const int32_t srcStep[3], uint8_t* pDst,
                                          int32_t dstStep, IppiSize roiSize);
IppStatus ippiYCrCb420ToCbYCr422_8u_P3C2R(const uint8_t* const pSrc[3], const int32_t srcStep[3], uint8_t* pDst,
                                          int32_t dstStep, IppiSize roiSize);

// Two planes to three at 4:2:0: Y copied, chroma bytes split into entry 1
// (Cb) and entry 2 (Cr). Even in both; at least 2 x 2.
IppStatus ippiYCbCr420_8u_P2P3R(const uint8_t* pSrcY, int32_t srcYStep, const uint8_t* pSrcCbCr,
                                int32_t srcCbCrStep, uint8_t* const pDst[3], const int32_t dstStep[3],
                                IppiSize roiSize);
// Planes Y, Cr, Cb to two planes at 4:2:0: Y copied, entries 2 and 1 joined
// into bytes Cb, Cr, chroma steps taken crosswise as above. Even in both; at
// least 2 x 2.
IppStatus ippiYCrCb420ToYCbCr420_8u_P3P2R(const uint8_t* const pSrc[3], const int32_t srcStep[3],
                                          uint8_t* pDstY, int32_t dstYStep, uint8_t* pDstCbCr,
                                          int32_t dstCbCrStep, IppiSize roiSize);

// Three planes 4:2:2 to 4:2:0: Y copied, chroma rows 0, 2, 4, ... kept.
// Even in both; at least 2 x 2.
IppStatus ippiYCbCr422To420_8u_P3R(const uint8_t* const pSrc[3], const int32_t srcStep[3], uint8_t* const pDst[3],
                                   const int32_t dstStep[3], IppiSize roiSize);
// Three planes 4:2:0 to 4:2:2: Y copied, each chroma row written twice.
// Even in both; at least 2 x 2.
IppStatus ippiYCbCr420To422_8u_P3R(const uint8_t* const pSrc[3], const int32_t srcStep[3], uint8_t* const pDst[3],
                                   const int32_t dstStep[3], IppiSize roiSize);
// Three planes 4:2:0 to 4:1:1 (chroma at a quarter of the width, every row).
// Width a multiple of 4 and at least 4, height even and at least 2. Odd
// destination chroma rows are the mean of two source rows: rounded up in the
// columns below (width / 4) & ~31, rounded down behind them.
IppStatus ippiYCbCr420To411_8u_P3R(const uint8_t* const pSrc[3], const int32_t srcStep[3], uint8_t* const pDst[3],
                                   const int32_t dstStep[3], IppiSize roiSize);

}  // namespace morva
