// BGR to YCbCr: entry points, tables, and the scalar definition.
//
// Each row is split by column: a leading part that the vector bodies convert
// with the lane forms, and a tail converted by the exact forms. The split is
// part of the result (the two forms differ by a level here and there), so it
// lives here once, in the row drivers, and every form runs through them; a
// form only supplies the function that converts the vector part. The scalar
// definition supplies one that computes the lane forms pixel by pixel.
#include "color/bgr_to_ycbcr.h"

#include "color/bgr_to_ycbcr_forms.h"

namespace morva {
namespace {

// ---------------------------------------------------------------------------
// Where the vector part of a row ends.

// Y0 Cb Y1 Cr: blocks of 16 over (width & ~31), then one block of 8 if
// (width & 15) >= 8. A width of 16 to 23 thus has no vector part, and 48 has
// 32 pixels of it.
int32_t yuy2VectorColumns(int32_t width) { return (width & ~31) + ((width & 15) >= 8 ? 8 : 0); }

// Cb Y0 Cr Y1: blocks of 8.
int32_t cbycrVectorColumns(int32_t width) { return width & ~7; }

// 4:2:0: blocks of 8 by 2 rows over (width & ~15), then one block of 4 by 2
// rows if (width & 7) >= 4.
int32_t yuv420VectorColumns(int32_t width) { return (width & ~15) + ((width & 7) >= 4 ? 4 : 0); }

// ---------------------------------------------------------------------------
// Packed 4:2:2.

// Byte positions of the two luma and two chroma samples in a 4-byte group.
struct PackedLayout {
    int y0, cb, y1, cr;
};
constexpr PackedLayout kYCbCrLayout{0, 1, 2, 3};
constexpr PackedLayout kCbYCrLayout{1, 0, 3, 2};

// Pixels [from, width) by the exact forms: pairs, then a lone last pixel that
// stores its Y and Cb; its Cr byte, past the row, is not written.
template <BgrSource S>
void packedTail(const uint8_t* src, uint8_t* dst, int32_t from, int32_t width, const PackedLayout& at,
                const ChromaForm& pair, const ChromaForm& lone) {
    constexpr int32_t bytes = kPixelBytes<S>;
    int32_t x = from;
    for (; x + 1 < width; x += 2) {
        const Rgb p0 = loadPixel<S>(src + x * bytes);
        const Rgb p1 = loadPixel<S>(src + (x + 1) * bytes);
        uint8_t* group = dst + 2 * x;
        group[at.y0] = lumaExact(p0);
        group[at.y1] = lumaExact(p1);
        group[at.cb] = cbExact(p0 + p1, pair);
        group[at.cr] = crExact(p0 + p1, pair);
    }
    if (x < width) {
        const Rgb p = loadPixel<S>(src + x * bytes);
        dst[2 * x + at.y0] = lumaExact(p);
        dst[2 * x + at.cb] = cbExact(p, lone);
    }
}

template <BgrSource S>
void yuy2LanesRow(const uint8_t* src, uint8_t* dst, int32_t count) {
    constexpr int32_t bytes = kPixelBytes<S>;
    for (int32_t x = 0; x < count; x += 2) {
        const Rgb p0 = loadPixel<S>(src + x * bytes);
        const Rgb p1 = loadPixel<S>(src + (x + 1) * bytes);
        uint8_t* group = dst + 2 * x;
        group[0] = lumaLanes(p0);
        group[1] = cbLanes(p0 + p1, kPairLanes);
        group[2] = lumaLanes(p1);
        group[3] = crLanes(p0 + p1, kPairLanes);
    }
}

void cbycrLanesRow(const uint8_t* src, uint8_t* dst, int32_t count) {
    for (int32_t x = 0; x < count; x += 2) {
        const Rgb p0 = loadPixel<BgrSource::Bgra32>(src + x * 4);
        const Rgb p1 = loadPixel<BgrSource::Bgra32>(src + (x + 1) * 4);
        uint8_t* group = dst + 2 * x;
        group[0] = cbCbYCrLanes(p0 + p1);
        group[1] = lumaLanes(p0);
        group[2] = crCbYCrLanes(p0 + p1);
        group[3] = lumaLanes(p1);
    }
}

// The rows of a packed kernel: columns [0, vectorEnd) by the form's vector
// row, the rest by the exact forms in the kernel's byte layout.
template <BgrSource S>
void toPacked422(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
                 int32_t height, int32_t vectorEnd, Yuv422VectorRowFn vectorRow, const PackedLayout& at,
                 const ChromaForm& pair, const ChromaForm& lone) {
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* s = src + int64_t(y) * srcStep;
        uint8_t* d = dst + int64_t(y) * dstStep;
        if (vectorEnd > 0) vectorRow(s, d, vectorEnd);
        packedTail<S>(s, d, vectorEnd, width, at, pair, lone);
    }
}

template <BgrSource S, Yuv422VectorRowFn Row>
void yuy2Body(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
              int32_t height) {
    toPacked422<S>(src, srcStep, dst, dstStep, width, height, yuy2VectorColumns(width), Row, kYCbCrLayout,
                   kPairChroma, kLoneChroma);
}

template <Yuv422VectorRowFn Row>
void cbycrBody(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
               int32_t height) {
    toPacked422<BgrSource::Bgra32>(src, srcStep, dst, dstStep, width, height, cbycrVectorColumns(width), Row,
                                   kCbYCrLayout, kCbYCrPairChroma, kCbYCrLoneChroma);
}

// ---------------------------------------------------------------------------
// Planar 4:2:0.

template <BgrSource S>
void blockTail(const Yuv420Rows& rows, int32_t from, int32_t to) {
    constexpr int32_t bytes = kPixelBytes<S>;
    for (int32_t x = from; x < to; x += 2) {
        const Rgb a0 = loadPixel<S>(rows.src[0] + x * bytes);
        const Rgb a1 = loadPixel<S>(rows.src[0] + (x + 1) * bytes);
        const Rgb b0 = loadPixel<S>(rows.src[1] + x * bytes);
        const Rgb b1 = loadPixel<S>(rows.src[1] + (x + 1) * bytes);
        rows.luma[0][x] = lumaExact(a0);
        rows.luma[0][x + 1] = lumaExact(a1);
        rows.luma[1][x] = lumaExact(b0);
        rows.luma[1][x + 1] = lumaExact(b1);
        const Rgb sum = a0 + a1 + b0 + b1;
        rows.cb[x / 2] = cbExact(sum, kBlockChroma);
        rows.cr[x / 2] = crExact(sum, kBlockChroma);
    }
}

template <BgrSource S>
void yuv420LanesRow(const Yuv420Rows& rows, int32_t count) {
    constexpr int32_t bytes = kPixelBytes<S>;
    for (int32_t x = 0; x < count; x += 2) {
        const Rgb a0 = loadPixel<S>(rows.src[0] + x * bytes);
        const Rgb a1 = loadPixel<S>(rows.src[0] + (x + 1) * bytes);
        const Rgb b0 = loadPixel<S>(rows.src[1] + x * bytes);
        const Rgb b1 = loadPixel<S>(rows.src[1] + (x + 1) * bytes);
        rows.luma[0][x] = lumaLanes(a0);
        rows.luma[0][x + 1] = lumaLanes(a1);
        rows.luma[1][x] = lumaLanes(b0);
        rows.luma[1][x + 1] = lumaLanes(b1);
        const Rgb sum = a0 + a1 + b0 + b1;
        rows.cb[x / 2] = cbLanes(sum, kBlockLanes);
        rows.cr[x / 2] = crLanes(sum, kBlockLanes);
    }
}

template <BgrSource S>
void lumaExactRow(const uint8_t* src, uint8_t* luma, int32_t from, int32_t to) {
    for (int32_t x = from; x < to; ++x) luma[x] = lumaExact(loadPixel<S>(src + x * kPixelBytes<S>));
}

// The 8-bit sources leave an odd last column and row alone. The 16-bit ones
// write their luma by the exact form: the last column of each row pair, and
// the whole of an odd last row; these get no chroma.
template <BgrSource S>
constexpr bool kWritesOddLuma = S == BgrSource::Bgr565 || S == BgrSource::Bgr555;

template <BgrSource S>
void toYuv420(const uint8_t* src, int32_t srcStep, uint8_t* const dst[3], const int32_t dstStep[3],
              int32_t width, int32_t height, Yuv420VectorRowFn vectorRow) {
    const int32_t vectorEnd = yuv420VectorColumns(width);
    for (int32_t i = 0; i < height / 2; ++i) {
        const Yuv420Rows rows{{src + int64_t(2 * i) * srcStep, src + int64_t(2 * i + 1) * srcStep},
                              {dst[0] + int64_t(2 * i) * dstStep[0], dst[0] + int64_t(2 * i + 1) * dstStep[0]},
                              dst[1] + int64_t(i) * dstStep[1],
                              dst[2] + int64_t(i) * dstStep[2]};
        if (vectorEnd > 0) vectorRow(rows, vectorEnd);
        blockTail<S>(rows, vectorEnd, width & ~1);
        if (kWritesOddLuma<S> && (width & 1)) {
            lumaExactRow<S>(rows.src[0], rows.luma[0], width - 1, width);
            lumaExactRow<S>(rows.src[1], rows.luma[1], width - 1, width);
        }
    }
    if (kWritesOddLuma<S> && (height & 1)) {
        const int32_t last = height - 1;
        lumaExactRow<S>(src + int64_t(last) * srcStep, dst[0] + int64_t(last) * dstStep[0], 0, width);
    }
}

template <BgrSource S, Yuv420VectorRowFn Row>
void yuv420Body(const uint8_t* src, int32_t srcStep, uint8_t* const dst[3], const int32_t dstStep[3],
                int32_t width, int32_t height) {
    toYuv420<S>(src, srcStep, dst, dstStep, width, height, Row);
}

// ---------------------------------------------------------------------------
// Tables. AVX-512 forms exist for every source, AVX2 forms for the 24- and
// 32-bit ones.

template <BgrSource S>
constexpr bool kHasAvx2 = S == BgrSource::Bgr24 || S == BgrSource::Bgra32;

template <BgrSource S>
const KernelTable<BgrToYuv422Fn>& yuy2Table() {
#if MORVA_X86_64
    if constexpr (kHasAvx2<S>) {
        static const KernelTable<BgrToYuv422Fn> table{
            {"scalar", Isa::Scalar, &yuy2Body<S, &yuy2LanesRow<S>>},
            {"sse2", Isa::Sse2, &yuy2Body<S, &x86::yuy2VectorRowSse2<S>>},
            {"avx2", Isa::Avx2, &yuy2Body<S, &x86::yuy2VectorRowAvx2<S>>},
            {"avx512", Isa::Avx512, &yuy2Body<S, &x86::yuy2VectorRowAvx512<S>>},
        };
        return table;
    } else {
        static const KernelTable<BgrToYuv422Fn> table{
            {"scalar", Isa::Scalar, &yuy2Body<S, &yuy2LanesRow<S>>},
            {"sse2", Isa::Sse2, &yuy2Body<S, &x86::yuy2VectorRowSse2<S>>},
            {"avx512", Isa::Avx512, &yuy2Body<S, &x86::yuy2VectorRowAvx512<S>>},
        };
        return table;
    }
#else
    static const KernelTable<BgrToYuv422Fn> table{{"scalar", Isa::Scalar, &yuy2Body<S, &yuy2LanesRow<S>>}};
    return table;
#endif
}

template <BgrSource S>
const KernelTable<BgrToYuv420Fn>& yuv420Table() {
#if MORVA_X86_64
    if constexpr (kHasAvx2<S>) {
        static const KernelTable<BgrToYuv420Fn> table{
            {"scalar", Isa::Scalar, &yuv420Body<S, &yuv420LanesRow<S>>},
            {"sse2", Isa::Sse2, &yuv420Body<S, &x86::yuv420VectorRowSse2<S>>},
            {"avx2", Isa::Avx2, &yuv420Body<S, &x86::yuv420VectorRowAvx2<S>>},
            {"avx512", Isa::Avx512, &yuv420Body<S, &x86::yuv420VectorRowAvx512<S>>},
        };
        return table;
    } else {
        static const KernelTable<BgrToYuv420Fn> table{
            {"scalar", Isa::Scalar, &yuv420Body<S, &yuv420LanesRow<S>>},
            {"sse2", Isa::Sse2, &yuv420Body<S, &x86::yuv420VectorRowSse2<S>>},
            {"avx512", Isa::Avx512, &yuv420Body<S, &x86::yuv420VectorRowAvx512<S>>},
        };
        return table;
    }
#else
    static const KernelTable<BgrToYuv420Fn> table{{"scalar", Isa::Scalar, &yuv420Body<S, &yuv420LanesRow<S>>}};
    return table;
#endif
}

// ---------------------------------------------------------------------------
// Entry points: pointers, then sizes, then the body.

IppStatus runPacked(const KernelTable<BgrToYuv422Fn>& table, const void* pSrc, int32_t srcStep,
                    uint8_t* pDst, int32_t dstStep, IppiSize roi, int32_t minWidth) {
    if (!pSrc || !pDst) return ippStsNullPtrErr;
    if (roi.width < minWidth || roi.height < 1) return ippStsSizeErr;
    table.current()(static_cast<const uint8_t*>(pSrc), srcStep, pDst, dstStep, roi.width, roi.height);
    return ippStsNoErr;
}

// Planes and steps come in the order Y, Cr, Cb; the body takes Y, Cb, Cr.
IppStatus runPlanar(const KernelTable<BgrToYuv420Fn>& table, const void* pSrc, int32_t srcStep,
                    uint8_t* const pDst[3], const int32_t dstStep[3], IppiSize roi, bool warnOddSize) {
    if (!pSrc || !pDst || !pDst[0] || !pDst[1] || !pDst[2] || !dstStep) return ippStsNullPtrErr;
    if (roi.width < 2 || roi.height < 2) return ippStsSizeErr;
    uint8_t* const planes[3] = {pDst[0], pDst[2], pDst[1]};
    const int32_t steps[3] = {dstStep[0], dstStep[2], dstStep[1]};
    table.current()(static_cast<const uint8_t*>(pSrc), srcStep, planes, steps, roi.width, roi.height);
    const bool odd = (roi.width & 1) || (roi.height & 1);
    return warnOddSize && odd ? ippStsDoubleSize : ippStsNoErr;
}

}  // namespace

const KernelTable<BgrToYuv422Fn>& bgrToYcbcr422C3Table() { return yuy2Table<BgrSource::Bgr24>(); }
const KernelTable<BgrToYuv422Fn>& bgrToYcbcr422Ac4Table() { return yuy2Table<BgrSource::Bgra32>(); }
const KernelTable<BgrToYuv422Fn>& bgr565ToYcbcr422Table() { return yuy2Table<BgrSource::Bgr565>(); }
const KernelTable<BgrToYuv422Fn>& bgr555ToYcbcr422Table() { return yuy2Table<BgrSource::Bgr555>(); }

const KernelTable<BgrToYuv422Fn>& bgrToCbycr422Ac4Table() {
    // The vector body comes in an aligned and an unaligned variant with the same
    // results; ours loads unaligned throughout.
#if MORVA_X86_64
    static const KernelTable<BgrToYuv422Fn> table{
        {"scalar", Isa::Scalar, &cbycrBody<&cbycrLanesRow>},
        {"sse2", Isa::Sse2, &cbycrBody<&x86::cbycrVectorRowSse2>},
        {"avx512", Isa::Avx512, &cbycrBody<&x86::cbycrVectorRowAvx512>},
    };
#else
    static const KernelTable<BgrToYuv422Fn> table{{"scalar", Isa::Scalar, &cbycrBody<&cbycrLanesRow>}};
#endif
    return table;
}

const KernelTable<BgrToYuv420Fn>& bgrToYuv420C3Table() { return yuv420Table<BgrSource::Bgr24>(); }
const KernelTable<BgrToYuv420Fn>& bgrToYuv420Ac4Table() { return yuv420Table<BgrSource::Bgra32>(); }
const KernelTable<BgrToYuv420Fn>& bgr565ToYuv420Table() { return yuv420Table<BgrSource::Bgr565>(); }
const KernelTable<BgrToYuv420Fn>& bgr555ToYuv420Table() { return yuv420Table<BgrSource::Bgr555>(); }

IppStatus ippiBGRToYCbCr422_8u_C3C2R(const uint8_t* pSrc, int32_t srcStep, uint8_t* pDst,
                                     int32_t dstStep, IppiSize roi) {
    return runPacked(bgrToYcbcr422C3Table(), pSrc, srcStep, pDst, dstStep, roi, 2);
}

IppStatus ippiBGRToYCbCr422_8u_AC4C2R(const uint8_t* pSrc, int32_t srcStep, uint8_t* pDst,
                                      int32_t dstStep, IppiSize roi) {
    return runPacked(bgrToYcbcr422Ac4Table(), pSrc, srcStep, pDst, dstStep, roi, 2);
}

IppStatus ippiBGRToCbYCr422_8u_AC4C2R(const uint8_t* pSrc, int32_t srcStep, uint8_t* pDst,
                                      int32_t dstStep, IppiSize roi) {
    return runPacked(bgrToCbycr422Ac4Table(), pSrc, srcStep, pDst, dstStep, roi, 1);
}

IppStatus ippiBGR565ToYCbCr422_16u8u_C3C2R(const uint16_t* pSrc, int32_t srcStep, uint8_t* pDst,
                                           int32_t dstStep, IppiSize roi) {
    return runPacked(bgr565ToYcbcr422Table(), pSrc, srcStep, pDst, dstStep, roi, 2);
}

IppStatus ippiBGR555ToYCbCr422_16u8u_C3C2R(const uint16_t* pSrc, int32_t srcStep, uint8_t* pDst,
                                           int32_t dstStep, IppiSize roi) {
    return runPacked(bgr555ToYcbcr422Table(), pSrc, srcStep, pDst, dstStep, roi, 2);
}

IppStatus ippiBGRToYCrCb420_8u_C3P3R(const uint8_t* pSrc, int32_t srcStep, uint8_t* const pDst[3],
                                     const int32_t dstStep[3], IppiSize roi) {
    return runPlanar(bgrToYuv420C3Table(), pSrc, srcStep, pDst, dstStep, roi, true);
}

IppStatus ippiBGRToYCrCb420_8u_AC4P3R(const uint8_t* pSrc, int32_t srcStep, uint8_t* const pDst[3],
                                      const int32_t dstStep[3], IppiSize roi) {
    return runPlanar(bgrToYuv420Ac4Table(), pSrc, srcStep, pDst, dstStep, roi, true);
}

IppStatus ippiBGR565ToYCrCb420_16u8u_C3P3R(const uint16_t* pSrc, int32_t srcStep,
                                           uint8_t* const pDst[3], const int32_t dstStep[3],
                                           IppiSize roi) {
    return runPlanar(bgr565ToYuv420Table(), pSrc, srcStep, pDst, dstStep, roi, false);
}

IppStatus ippiBGR555ToYCrCb420_16u8u_C3P3R(const uint16_t* pSrc, int32_t srcStep,
                                           uint8_t* const pDst[3], const int32_t dstStep[3],
                                           IppiSize roi) {
    return runPlanar(bgr555ToYuv420Table(), pSrc, srcStep, pDst, dstStep, roi, false);
}

}  // namespace morva
