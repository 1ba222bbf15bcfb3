#include "color/ycbcr_to_bgr.h"

#include <cstddef>

#include "color/ycbcr_to_bgr_forms.h"
#include "color/yuv_fixed_point.h"

namespace morva {
namespace ycbcr {
namespace {

using yuv::Bgr;
using yuv::PixelForm;

// Byte positions of Y0, Cb, Y1, Cr in a packed group of two pixels.
struct GroupOrder {
    int y0, cb, y1, cr;
};
constexpr GroupOrder kYCbYCr{0, 1, 2, 3};
constexpr GroupOrder kCbYCrY{1, 0, 3, 2};

struct BgraPixel {
    static constexpr ptrdiff_t kBytes = 4;
    uint8_t alpha;
    void operator()(uint8_t* d, Bgr c) const {
        d[0] = c.b;
        d[1] = c.g;
        d[2] = c.r;
        d[3] = alpha;
    }
};

struct BgrPixel {
    static constexpr ptrdiff_t kBytes = 3;
    void operator()(uint8_t* d, Bgr c) const {
        d[0] = c.b;
        d[1] = c.g;
        d[2] = c.r;
    }
};

struct RgbPixel {
    static constexpr ptrdiff_t kBytes = 3;
    void operator()(uint8_t* d, Bgr c) const {
        d[0] = c.r;
        d[1] = c.g;
        d[2] = c.b;
    }
};

// Pixels [from, to) of a packed row, `from` even; both pixels of a group
// share its Cb and Cr.
template <PixelForm form, class Out>
void packedPairs(const uint8_t* src, uint8_t* dst, ptrdiff_t from, ptrdiff_t to, GroupOrder order, Out out) {
    for (ptrdiff_t x = from; x < to; x += 2) {
        const uint8_t* g = src + 2 * x;
        out(dst + x * Out::kBytes, form(g[order.y0], g[order.cb], g[order.cr]));
        out(dst + (x + 1) * Out::kBytes, form(g[order.y1], g[order.cb], g[order.cr]));
    }
}

// The last pixel of an odd row has Y and Cb in its own half group and no Cr:
// it takes the Cr of the group before it, or, alone in its row, its Cb.
template <PixelForm form, class Out>
void packedOddPixel(const uint8_t* src, uint8_t* dst, ptrdiff_t width, GroupOrder order, Out out) {
    if ((width & 1) == 0) return;
    const ptrdiff_t x = width - 1;
    const uint8_t* g = src + 2 * x;
    const uint8_t cb = g[order.cb];
    const uint8_t cr = x > 0 ? g[order.cr - 4] : cb;
    out(dst + x * Out::kBytes, form(g[order.y0], cb, cr));
}

// Pixel pairs [from, to) of a planar row to BGR; a pair shares one chroma
// sample of each plane.
template <PixelForm form>
void planarPairs(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst, ptrdiff_t from,
                 ptrdiff_t to) {
    const BgrPixel out;
    for (ptrdiff_t x = from; x < to; x += 2) {
        out(dst + x * 3, form(y[x], cb[x / 2], cr[x / 2]));
        out(dst + (x + 1) * 3, form(y[x + 1], cb[x / 2], cr[x / 2]));
    }
}

// Scalar definitions: the vector body's arithmetic pixel by pixel over the
// columns the body covers, then the kernel's own tail.

void yuy2ToBgraRow(const uint8_t* src, uint8_t* dst, int32_t width, uint8_t alpha) {
    packedPairs<yuv::q3>(src, dst, 0, bodyWidth(width), kYCbYCr, BgraPixel{alpha});
    yuy2ToBgraTail(src, dst, width, alpha);
}

void yuy2ToBgrRow(const uint8_t* src, uint8_t* dst, int32_t width, uint8_t alpha) {
    packedPairs<yuv::q4Rounded>(src, dst, 0, width & ~1, kYCbYCr, BgrPixel{});
    yuy2ToBgrOddPixel(src, dst, width, alpha);
}

void uyvyToBgraRow(const uint8_t* src, uint8_t* dst, int32_t width, uint8_t alpha) {
    packedPairs<yuv::q4Rounded>(src, dst, 0, bodyWidth(width), kCbYCrY, BgraPixel{alpha});
    uyvyToBgraTail(src, dst, width, alpha);
}

void uyvyToRgbRow(const uint8_t* src, uint8_t* dst, int32_t width, uint8_t alpha) {
    packedPairs<yuv::q4Rounded>(src, dst, 0, bodyWidth(width), kCbYCrY, RgbPixel{});
    uyvyToRgbTail(src, dst, width, alpha);
}

void planar422ToBgrRow(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst, int32_t width) {
    planarPairs<yuv::q4Rounded>(y, cb, cr, dst, 0, bodyWidth(width));
    planar422ToBgrTail(y, cb, cr, dst, width);
}

void planar420ToBgrRowPair(const uint8_t* y0, const uint8_t* y1, const uint8_t* cb, const uint8_t* cr,
                           uint8_t* dst0, uint8_t* dst1, int32_t width) {
    planarPairs<yuv::q4Rounded>(y0, cb, cr, dst0, 0, bodyWidth(width));
    planarPairs<yuv::q4Rounded>(y1, cb, cr, dst1, 0, bodyWidth(width));
    planar420ToBgrTail(y0, y1, cb, cr, dst0, dst1, width);
}

void yuy2ToBgraScalar(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
                      int32_t height, uint8_t alpha) {
    forEachPackedRow(&yuy2ToBgraRow, src, srcStep, dst, dstStep, width, height, alpha);
}

void yuy2ToBgrScalar(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
                     int32_t height) {
    forEachPackedRow(&yuy2ToBgrRow, src, srcStep, dst, dstStep, width, height, 0);
}

void uyvyToBgraScalar(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
                      int32_t height, uint8_t alpha) {
    forEachPackedRow(&uyvyToBgraRow, src, srcStep, dst, dstStep, width, height, alpha);
}

void uyvyToRgbScalar(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
                     int32_t height) {
    forEachPackedRow(&uyvyToRgbRow, src, srcStep, dst, dstStep, width, height, 0);
}

void planar422ToBgrScalar(const uint8_t* const src[3], const int32_t srcStep[3], uint8_t* dst, int32_t dstStep,
                          int32_t width, int32_t height) {
    forEachPlanar422Row(&planar422ToBgrRow, src, srcStep, dst, dstStep, width, height);
}

void planar420ToBgrScalar(const uint8_t* const src[3], const int32_t srcStep[3], uint8_t* dst, int32_t dstStep,
                          int32_t width, int32_t height) {
    forEachPlanar420RowPair(&planar420ToBgrRowPair, src, srcStep, dst, dstStep, width, height);
}

void planar420ToBgraRowPair(const uint8_t* y0, const uint8_t* y1, const uint8_t* cb, const uint8_t* cr,
                            uint8_t* dst0, uint8_t* dst1, int32_t width, uint8_t alpha) {
    planar420ToBgraTail(y0, cb, cr, dst0, 0, width, alpha);
    planar420ToBgraTail(y1, cb, cr, dst1, 0, width, alpha);
}

void planar420ToBgraScalar(const uint8_t* const src[3], const int32_t srcStep[3], uint8_t* dst, int32_t dstStep,
                           int32_t width, int32_t height, uint8_t alpha) {
    forEachYCrCb420RowPair(&planar420ToBgraRowPair, src, srcStep, dst, dstStep, width, height, alpha);
}

bool anyNull(const uint8_t* const planes[3], const int32_t* steps) {
    return planes == nullptr || steps == nullptr || planes[0] == nullptr || planes[1] == nullptr ||
           planes[2] == nullptr;
}

}  // namespace

void forEachPackedRow(PackedRow* row, const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep,
                      int32_t width, int32_t height, uint8_t alpha) {
    for (ptrdiff_t r = 0; r < height; ++r) row(src + r * srcStep, dst + r * dstStep, width, alpha);
}

void forEachPlanar422Row(Planar422Row* row, const uint8_t* const src[3], const int32_t srcStep[3], uint8_t* dst,
                         int32_t dstStep, int32_t width, int32_t height) {
    for (ptrdiff_t r = 0; r < height; ++r)
        row(src[0] + r * srcStep[0], src[1] + r * srcStep[1], src[2] + r * srcStep[2], dst + r * dstStep, width);
}

void forEachPlanar420RowPair(Planar420RowPair* rowPair, const uint8_t* const src[3], const int32_t srcStep[3],
                             uint8_t* dst, int32_t dstStep, int32_t width, int32_t height) {
    for (ptrdiff_t i = 0; i < height / 2; ++i) {
        const uint8_t* y0 = src[0] + 2 * i * srcStep[0];
        uint8_t* d0 = dst + 2 * i * dstStep;
        rowPair(y0, y0 + srcStep[0], src[1] + i * srcStep[1], src[2] + i * srcStep[2], d0, d0 + dstStep, width);
    }
}

// Planes Y, Cr, Cb.
void forEachYCrCb420RowPair(Planar420BgraRowPair* rowPair, const uint8_t* const src[3], const int32_t srcStep[3],
                            uint8_t* dst, int32_t dstStep, int32_t width, int32_t height, uint8_t alpha) {
    for (ptrdiff_t i = 0; i < height / 2; ++i) {
        const uint8_t* y0 = src[0] + 2 * i * srcStep[0];
        uint8_t* d0 = dst + 2 * i * dstStep;
        rowPair(y0, y0 + srcStep[0], src[2] + i * srcStep[2], src[1] + i * srcStep[1], d0, d0 + dstStep, width,
                alpha);
    }
}

void yuy2ToBgraTail(const uint8_t* src, uint8_t* dst, int32_t width, uint8_t alpha) {
    packedPairs<yuv::s2>(src, dst, bodyWidth(width), width & ~1, kYCbYCr, BgraPixel{alpha});
    packedOddPixel<yuv::s2>(src, dst, width, kYCbYCr, BgraPixel{alpha});
}

void yuy2ToBgrOddPixel(const uint8_t* src, uint8_t* dst, int32_t width, uint8_t) {
    packedOddPixel<yuv::s2>(src, dst, width, kYCbYCr, BgrPixel{});
}

void uyvyToBgraTail(const uint8_t* src, uint8_t* dst, int32_t width, uint8_t alpha) {
    packedPairs<yuv::s3>(src, dst, bodyWidth(width), width & ~1, kCbYCrY, BgraPixel{alpha});
    packedOddPixel<yuv::s3>(src, dst, width, kCbYCrY, BgraPixel{alpha});
}

void uyvyToRgbTail(const uint8_t* src, uint8_t* dst, int32_t width, uint8_t) {
    packedPairs<yuv::s3>(src, dst, bodyWidth(width), width & ~1, kCbYCrY, RgbPixel{});
    packedOddPixel<yuv::s3>(src, dst, width, kCbYCrY, RgbPixel{});
}

// An odd last column stays unwritten.
void planar422ToBgrTail(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst, int32_t width) {
    planarPairs<yuv::s2>(y, cb, cr, dst, bodyWidth(width), width & ~1);
}

void planar420ToBgrTail(const uint8_t* y0, const uint8_t* y1, const uint8_t* cb, const uint8_t* cr,
                        uint8_t* dst0, uint8_t* dst1, int32_t width) {
    planarPairs<yuv::s2Rounded>(y0, cb, cr, dst0, bodyWidth(width), width & ~1);
    planarPairs<yuv::s2Rounded>(y1, cb, cr, dst1, bodyWidth(width), width & ~1);
}

// Pixel 2j takes chroma column j; pixel 2j + 1 the rounded-up mean of columns
// j and j + 1, except in the last pair, which takes column j for both. The
// last pair is converted even when the width is 1 (no pair at all): its
// second pixel then comes from the Y byte behind the row and lands behind
// the destination row.
void planar420ToBgraTail(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst, int32_t fromPair,
                         int32_t width, uint8_t alpha) {
    const BgraPixel out{alpha};
    const ptrdiff_t last = width / 2 > 0 ? width / 2 - 1 : 0;
    for (ptrdiff_t j = fromPair; j < last; ++j) {
        const int32_t cbMid = (cb[j] + cb[j + 1] + 1) / 2;
        const int32_t crMid = (cr[j] + cr[j + 1] + 1) / 2;
        out(dst + 8 * j, yuv::s1(y[2 * j], cb[j], cr[j]));
        out(dst + 8 * j + 4, yuv::s1(y[2 * j + 1], cbMid, crMid));
    }
    out(dst + 8 * last, yuv::s1(y[2 * last], cb[last], cr[last]));
    out(dst + 8 * last + 4, yuv::s1(y[2 * last + 1], cb[last], cr[last]));
}

}  // namespace ycbcr

const KernelTable<Packed422ToBgraFn>& yuy2ToBgraTable() {
    static const KernelTable<Packed422ToBgraFn> table{
        {"scalar", Isa::Scalar, &ycbcr::yuy2ToBgraScalar},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &ycbcr::yuy2ToBgraSse2},
        {"avx2", Isa::Avx2, &ycbcr::yuy2ToBgraAvx2},
        {"avx512", Isa::Avx512, &ycbcr::yuy2ToBgraAvx512},
#endif
    };
    return table;
}

const KernelTable<Packed422ToBgrFn>& yuy2ToBgrTable() {
    static const KernelTable<Packed422ToBgrFn> table{
        {"scalar", Isa::Scalar, &ycbcr::yuy2ToBgrScalar},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &ycbcr::yuy2ToBgrSse2},
        {"avx2", Isa::Avx2, &ycbcr::yuy2ToBgrAvx2},
        {"avx512", Isa::Avx512, &ycbcr::yuy2ToBgrAvx512},
#endif
    };
    return table;
}

const KernelTable<Packed422ToBgraFn>& uyvyToBgraTable() {
    static const KernelTable<Packed422ToBgraFn> table{
        {"scalar", Isa::Scalar, &ycbcr::uyvyToBgraScalar},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &ycbcr::uyvyToBgraSse2},
        {"avx2", Isa::Avx2, &ycbcr::uyvyToBgraAvx2},
        {"avx512", Isa::Avx512, &ycbcr::uyvyToBgraAvx512},
#endif
    };
    return table;
}

const KernelTable<Packed422ToBgrFn>& uyvyToRgbTable() {
    static const KernelTable<Packed422ToBgrFn> table{
        {"scalar", Isa::Scalar, &ycbcr::uyvyToRgbScalar},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &ycbcr::uyvyToRgbSse2},
        {"avx2", Isa::Avx2, &ycbcr::uyvyToRgbAvx2},
        {"avx512", Isa::Avx512, &ycbcr::uyvyToRgbAvx512},
#endif
    };
    return table;
}

const KernelTable<Planar3ToBgrFn>& planar422ToBgrTable() {
    static const KernelTable<Planar3ToBgrFn> table{
        {"scalar", Isa::Scalar, &ycbcr::planar422ToBgrScalar},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &ycbcr::planar422ToBgrSse2},
        {"avx2", Isa::Avx2, &ycbcr::planar422ToBgrAvx2},
        {"avx512", Isa::Avx512, &ycbcr::planar422ToBgrAvx512},
#endif
    };
    return table;
}

const KernelTable<Planar3ToBgrFn>& planar420ToBgrTable() {
    static const KernelTable<Planar3ToBgrFn> table{
        {"scalar", Isa::Scalar, &ycbcr::planar420ToBgrScalar},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &ycbcr::planar420ToBgrSse2},
        {"avx2", Isa::Avx2, &ycbcr::planar420ToBgrAvx2},
        {"avx512", Isa::Avx512, &ycbcr::planar420ToBgrAvx512},
#endif
    };
    return table;
}

const KernelTable<Planar3ToBgraFn>& planar420ToBgraTable() {
    static const KernelTable<Planar3ToBgraFn> table{
        {"scalar", Isa::Scalar, &ycbcr::planar420ToBgraScalar},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &ycbcr::planar420ToBgraSse2},
        {"avx2", Isa::Avx2, &ycbcr::planar420ToBgraAvx2},
        {"avx512", Isa::Avx512, &ycbcr::planar420ToBgraAvx512},
#endif
    };
    return table;
}

IppStatus ippiYCbCr422ToBGR_8u_C2C4R(const uint8_t* pSrc, int32_t srcStep, uint8_t* pDst, int32_t dstStep,
                                     IppiSize roiSize, uint8_t alpha) {
    if (pSrc == nullptr || pDst == nullptr) return ippStsNullPtrErr;
    if (roiSize.width < 2 || roiSize.height < 1) return ippStsSizeErr;
    yuy2ToBgraTable().current()(pSrc, srcStep, pDst, dstStep, roiSize.width, roiSize.height, alpha);
    return ippStsNoErr;
}

IppStatus ippiYCbCr422ToBGR_8u_C2C3R(const uint8_t* pSrc, int32_t srcStep, uint8_t* pDst, int32_t dstStep,
                                     IppiSize roiSize) {
    if (pSrc == nullptr || pDst == nullptr) return ippStsNullPtrErr;
    if (roiSize.width < 2 || roiSize.height < 1) return ippStsSizeErr;
    yuy2ToBgrTable().current()(pSrc, srcStep, pDst, dstStep, roiSize.width, roiSize.height);
    return ippStsNoErr;
}

IppStatus ippiCbYCr422ToBGR_8u_C2C4R(const uint8_t* pSrc, int32_t srcStep, uint8_t* pDst, int32_t dstStep,
                                     IppiSize roiSize, uint8_t alpha) {
    if (pSrc == nullptr || pDst == nullptr) return ippStsNullPtrErr;
    if (roiSize.width < 1 || roiSize.height < 1) return ippStsSizeErr;
    uyvyToBgraTable().current()(pSrc, srcStep, pDst, dstStep, roiSize.width, roiSize.height, alpha);
    return ippStsNoErr;
}

IppStatus ippiCbYCr422ToRGB_8u_C2C3R(const uint8_t* pSrc, int32_t srcStep, uint8_t* pDst, int32_t dstStep,
                                     IppiSize roiSize) {
    if (pSrc == nullptr || pDst == nullptr) return ippStsNullPtrErr;
    if (roiSize.width < 1 || roiSize.height < 1) return ippStsSizeErr;
    uyvyToRgbTable().current()(pSrc, srcStep, pDst, dstStep, roiSize.width, roiSize.height);
    return ippStsNoErr;
}

// A null step array is refused like a null plane: the kernel could not run.
IppStatus ippiYCbCr422ToBGR_8u_P3C3R(const uint8_t* const pSrc[3], const int32_t srcStep[3], uint8_t* pDst,
                                     int32_t dstStep, IppiSize roiSize) {
    if (ycbcr::anyNull(pSrc, srcStep) || pDst == nullptr) return ippStsNullPtrErr;
    if (roiSize.width < 2 || roiSize.height < 1) return ippStsSizeErr;
    planar422ToBgrTable().current()(pSrc, srcStep, pDst, dstStep, roiSize.width, roiSize.height);
    return ippStsNoErr;
}

IppStatus ippiYCbCr420ToBGR_8u_P3C3R(const uint8_t* const pSrc[3], const int32_t srcStep[3], uint8_t* pDst,
                                     int32_t dstStep, IppiSize roiSize) {
    if (ycbcr::anyNull(pSrc, srcStep) || pDst == nullptr) return ippStsNullPtrErr;
    if (roiSize.width < 1 || roiSize.height < 1) return ippStsSizeErr;
    if (roiSize.height < 2) return ippStsDoubleSize;
    planar420ToBgrTable().current()(pSrc, srcStep, pDst, dstStep, roiSize.width, roiSize.height);
    return ((roiSize.width | roiSize.height) & 1) ? ippStsDoubleSize : ippStsNoErr;
}

IppStatus ippiYCrCb420ToBGR_8u_P3C4R(const uint8_t* const pSrc[3], const int32_t srcStep[3], uint8_t* pDst,
                                     int32_t dstStep, IppiSize roiSize, uint8_t alpha) {
    if (ycbcr::anyNull(pSrc, srcStep) || pDst == nullptr) return ippStsNullPtrErr;
    if (roiSize.width < 1 || roiSize.height < 1) return ippStsSizeErr;
    planar420ToBgraTable().current()(pSrc, srcStep, pDst, dstStep, roiSize.width, roiSize.height, alpha);
    return ((roiSize.width | roiSize.height) & 1) ? ippStsDoubleSize : ippStsNoErr;
}

}  // namespace morva
