#include "color/ycbcr_to_bgr16.h"

#include <cstddef>

#include "color/ycbcr_to_bgr16_forms.h"
#include "color/yuv_fixed_point.h"

namespace morva {
namespace ycbcr16 {
namespace {

using yuv::Bgr;
using yuv::PixelForm;

uint16_t pack(Bgr c, const Bgr16Layout& l) {
    return static_cast<uint16_t>(((c.r >> l.redDrop) << l.redShift) | ((c.g & l.greenMask) << l.greenShift) |
                                 (c.b >> l.blueDrop));
}

// Words are stored byte by byte: destinations need not be 2-byte aligned.
void storeWord(uint8_t* d, uint16_t v) {
    d[0] = static_cast<uint8_t>(v);
    d[1] = static_cast<uint8_t>(v >> 8);
}

// Pixels [from, to) of packed Y0 Cb Y1 Cr, `from` even.
template <PixelForm form>
void packedPairs(const uint8_t* src, uint8_t* dst, int64_t from, int64_t to, const Bgr16Layout& l) {
    for (int64_t x = from; x < to; x += 2) {
        const uint8_t* g = src + 2 * x;
        storeWord(dst + 2 * x, pack(form(g[0], g[1], g[3]), l));
        storeWord(dst + 2 * x + 2, pack(form(g[2], g[1], g[3]), l));
    }
}

// A single column: each row's Y and the chroma byte beside it, which stands
// for Cb and Cr alike, by S2, written as red, green, blue bytes at r times
// the step in 16-bit units, in bytes. Not a 16-bit pixel, and the same for
// all layouts; kept as the kernels have always done it.
void singleColumn(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep16, int32_t height) {
    for (ptrdiff_t r = 0; r < height; ++r) {
        const uint8_t* s = src + r * srcStep;
        const Bgr c = yuv::s2(s[0], s[1], s[1]);
        uint8_t* d = dst + r * dstStep16;
        d[0] = c.r;
        d[1] = c.g;
        d[2] = c.b;
    }
}

void planarRowPair(const uint8_t* y0, const uint8_t* y1, const uint8_t* cb, const uint8_t* cr, uint8_t* dst0,
                   uint8_t* dst1, int32_t width, const Bgr16Layout& l) {
    planarColumns(y0, cb, cr, dst0, 0, width, l);
    planarColumns(y1, cb, cr, dst1, 0, width, l);
}

void packed422ToBgr16Scalar(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep16, int32_t width,
                            int32_t height, const Bgr16Layout& layout) {
    packedFrame(&packedRowScalar, src, srcStep, dst, dstStep16, width, height, layout);
}

void planar420ToBgr16Scalar(const uint8_t* const src[3], const int32_t srcStep[3], uint8_t* dst, int32_t dstStep16,
                            int32_t width, int32_t height, const Bgr16Layout& layout) {
    planarFrame(&planarRowPair, src, srcStep, dst, dstStep16, width, height, layout);
}

bool anyNull(const uint8_t* const planes[3], const int32_t* steps) {
    return planes == nullptr || steps == nullptr || planes[0] == nullptr || planes[1] == nullptr ||
           planes[2] == nullptr;
}

IppStatus packedEntry(const uint8_t* src, int32_t srcStep, uint16_t* dst, int32_t dstStep, IppiSize size,
                      const Bgr16Layout& layout) {
    if (src == nullptr || dst == nullptr) return ippStsNullPtrErr;
    if (size.width < 1 || size.height < 1) return ippStsSizeErr;
    packed422ToBgr16Table().current()(src, srcStep, reinterpret_cast<uint8_t*>(dst), dstStep >> 1, size.width,
                                      size.height, layout);
    return ippStsNoErr;
}

// A null step array is refused like a null plane: the kernel could not run.
IppStatus planarEntry(const uint8_t* const src[3], const int32_t srcStep[3], uint16_t* dst, int32_t dstStep,
                      IppiSize size, const Bgr16Layout& layout) {
    if (anyNull(src, srcStep) || dst == nullptr) return ippStsNullPtrErr;
    if (size.width < 1 || size.height < 1) return ippStsSizeErr;
    planar420ToBgr16Table().current()(src, srcStep, reinterpret_cast<uint8_t*>(dst), dstStep >> 1, size.width,
                                      size.height, layout);
    return ippStsNoErr;
}

}  // namespace

void packedFrame(PackedRow* row, const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep16,
                 int32_t width, int32_t height, const Bgr16Layout& layout) {
    // Rows back to back, and no pair straddles two rows: one long row.
    if (srcStep == 2 * int64_t(width) && dstStep16 == width && width % 2 == 0) {
        row(src, dst, int64_t(width) * height, layout);
    } else if (width != 1) {
        for (ptrdiff_t r = 0; r < height; ++r) row(src + r * srcStep, dst + 2 * r * dstStep16, width, layout);
    } else {
        singleColumn(src, srcStep, dst, dstStep16, height);
    }
}

void planarFrame(PlanarRowPair* rowPair, const uint8_t* const src[3], const int32_t srcStep[3], uint8_t* dst,
                 int32_t dstStep16, int32_t width, int32_t height, const Bgr16Layout& layout) {
    const ptrdiff_t dstStep = 2 * ptrdiff_t(dstStep16);
    for (ptrdiff_t i = 0; i < height / 2; ++i) {
        const uint8_t* y0 = src[0] + 2 * i * srcStep[0];
        uint8_t* d0 = dst + 2 * i * dstStep;
        rowPair(y0, y0 + srcStep[0], src[1] + i * srcStep[1], src[2] + i * srcStep[2], d0, d0 + dstStep, width,
                layout);
    }
    if (height & 1) {
        const ptrdiff_t last = height - 1;
        planarColumns(src[0] + last * srcStep[0], src[1] + last / 2 * srcStep[1], src[2] + last / 2 * srcStep[2],
                      dst + last * dstStep, 0, width, layout);
    }
}

// The vector body's Q4 truncated over the columns it covers, then the tail.
void packedRowScalar(const uint8_t* src, uint8_t* dst, int64_t count, const Bgr16Layout& l) {
    packedPairs<yuv::q4Truncated>(src, dst, 0, count & ~int64_t(7), l);
    packedTail(src, dst, count, l);
}

// Pairs by S2, then an odd last pixel by S2 plain with the Cr of the group
// before it.
void packedTail(const uint8_t* src, uint8_t* dst, int64_t count, const Bgr16Layout& l) {
    packedPairs<yuv::s2>(src, dst, count & ~int64_t(7), count & ~int64_t(1), l);
    if (count & 1) {
        const int64_t x = count - 1;
        const uint8_t* g = src + 2 * x;
        storeWord(dst + 2 * x, pack(yuv::s2Plain(g[0], g[1], g[-1]), l));
    }
}

void planarColumns(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst, int32_t from,
                   int32_t width, const Bgr16Layout& l) {
    for (ptrdiff_t x = from; x < width; ++x)
        storeWord(dst + 2 * x, pack(yuv::q4Truncated(y[x], cb[x / 2], cr[x / 2]), l));
}

}  // namespace ycbcr16

const KernelTable<Packed422ToBgr16Fn>& packed422ToBgr16Table() {
    static const KernelTable<Packed422ToBgr16Fn> table{
        {"scalar", Isa::Scalar, &ycbcr16::packed422ToBgr16Scalar},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &ycbcr16::packed422ToBgr16Sse2},
        {"avx2", Isa::Avx2, &ycbcr16::packed422ToBgr16Avx2},
        {"avx512", Isa::Avx512, &ycbcr16::packed422ToBgr16Avx512},
#endif
    };
    return table;
}

const KernelTable<Planar420ToBgr16Fn>& planar420ToBgr16Table() {
    static const KernelTable<Planar420ToBgr16Fn> table{
        {"scalar", Isa::Scalar, &ycbcr16::planar420ToBgr16Scalar},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &ycbcr16::planar420ToBgr16Sse2},
        {"avx2", Isa::Avx2, &ycbcr16::planar420ToBgr16Avx2},
        {"avx512", Isa::Avx512, &ycbcr16::planar420ToBgr16Avx512},
#endif
    };
    return table;
}

IppStatus ippiYCbCr422ToBGR565_8u16u_C2C3R(const uint8_t* pSrc, int32_t srcStep, uint16_t* pDst, int32_t dstStep,
                                           IppiSize roiSize) {
    return ycbcr16::packedEntry(pSrc, srcStep, pDst, dstStep, roiSize, kBgr565);
}

IppStatus ippiYCbCr422ToBGR555_8u16u_C2C3R(const uint8_t* pSrc, int32_t srcStep, uint16_t* pDst, int32_t dstStep,
                                           IppiSize roiSize) {
    return ycbcr16::packedEntry(pSrc, srcStep, pDst, dstStep, roiSize, kBgr555);
}

IppStatus ippiYCbCr422ToBGR444_8u16u_C2C3R(const uint8_t* pSrc, int32_t srcStep, uint16_t* pDst, int32_t dstStep,
                                           IppiSize roiSize) {
    return ycbcr16::packedEntry(pSrc, srcStep, pDst, dstStep, roiSize, kBgr444);
}

IppStatus ippiYCbCr420ToBGR565_8u16u_P3C3R(const uint8_t* const pSrc[3], const int32_t srcStep[3], uint16_t* pDst,
                                           int32_t dstStep, IppiSize roiSize) {
    return ycbcr16::planarEntry(pSrc, srcStep, pDst, dstStep, roiSize, kBgr565);
}

IppStatus ippiYCbCr420ToBGR555_8u16u_P3C3R(const uint8_t* const pSrc[3], const int32_t srcStep[3], uint16_t* pDst,
                                           int32_t dstStep, IppiSize roiSize) {
    return ycbcr16::planarEntry(pSrc, srcStep, pDst, dstStep, roiSize, kBgr555);
}

IppStatus ippiYCbCr420ToBGR444_8u16u_P3C3R(const uint8_t* const pSrc[3], const int32_t srcStep[3], uint16_t* pDst,
                                           int32_t dstStep, IppiSize roiSize) {
    return ycbcr16::planarEntry(pSrc, srcStep, pDst, dstStep, roiSize, kBgr444);
}

}  // namespace morva
