// The frame of the six resize kernels: buffer-size query, argument check and
// geometry, the band split over threads, and the choice of path.
#include <omp.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>

#include "kernels/dispatch.h"
#include "morva.h"
#include "resample/resize.h"
#include "resample/resize_common.h"
#include "resample/resize_general.h"

namespace morva {
namespace {

bool isKnownId(int32_t id) {
    switch (id) {
    case INTER_NN:
    case INTER_LINEAR:
    case INTER_CUBIC:
    case INTER_CUBIC_BSPLINE:
    case INTER_CUBIC_CATMULLROM:
    case INTER_CUBIC_B05C03:
    case INTER_SUPER:
    case INTER_LANCZOS:
        return true;
    default:
        return false;
    }
}

// Positions are (x + 0.5) * (1 / factor) - 0.5 - shift / factor for x below
// 2^31; these bounds keep every one of them finite.
bool mappingFinite(double factor, double shift) {
    constexpr double kLimit = 1e290;
    return std::isfinite(factor) && std::isfinite(shift) && 1.0 / factor < kLimit &&
           std::fabs(shift / factor) < kLimit;
}

bool isCubicId(int32_t id) { return id >= INTER_CUBIC && id <= INTER_CUBIC_B05C03; }

// At most one of the three flags may be set.
bool hasTwoFlags(int32_t interpolation) {
    const uint32_t v = static_cast<uint32_t>(interpolation);
    const int flags = ((v & kEdgeSmoothBit) != 0) + ((v & kEdgeSubpixelBit) != 0) +
                      ((v & kAntialiasingBit) != 0);
    return flags >= 2;
}

// Byte counts of the size query, summed in 64 bits with overflow checks.
class ByteCount {
public:
    constexpr ByteCount(int64_t value = 0) : value_(value) {}
    bool valid() const { return valid_; }
    int64_t value() const { return value_; }
    friend ByteCount operator+(ByteCount a, ByteCount b) {
        ByteCount r;
        r.valid_ = a.valid_ && b.valid_ && !__builtin_add_overflow(a.value_, b.value_, &r.value_);
        return r;
    }
    friend ByteCount operator*(ByteCount a, ByteCount b) {
        ByteCount r;
        r.valid_ = a.valid_ && b.valid_ && !__builtin_mul_overflow(a.value_, b.value_, &r.value_);
        return r;
    }

private:
    int64_t value_ = 0;
    bool valid_ = true;
};

// v rounded up to a multiple of n.
ByteCount align(ByteCount v, int64_t n) {
    const ByteCount sum = v + ByteCount(n - 1);
    return sum.valid() ? ByteCount(sum.value() / n * n) : sum;
}

// Sizes that no 32-bit result can carry are refused as a size error; the
// buffer could not be asked for anyway.
IppStatus deliverSize(ByteCount size, int32_t* pSize) {
    if (!size.valid() || size.value() > INT32_MAX) return ippStsSizeErr;
    *pSize = static_cast<int32_t>(size.value());
    return ippStsNoErr;
}

ByteCount generalPathSize(int32_t id, ByteCount w, ByteCount h, ByteCount sw, ByteCount c) {
    const ByteCount base = (align(w, 16) + align(h, 16)) * 4;
    switch (id) {
    case INTER_NN:
        return base;
    case INTER_LINEAR:
        return base + ByteCount(4) * (align(w, 64) + align(h, 64) + align(w * 2 + 64, 64) * c);
    case INTER_CUBIC:
    case INTER_CUBIC_BSPLINE:
    case INTER_CUBIC_CATMULLROM:
    case INTER_CUBIC_B05C03:
        return base + ByteCount(4) * (align(w, 32) + align(h, 32) + align(w * 4 + 96, 32) +
                                      align(h * 4 + 96, 32) + align(w * 4 + 192, 64) * c);
    case INTER_LANCZOS:
        return base + ByteCount(4) * (align(w, 32) + align(h, 32) + align(w * 6 + 160, 32) +
                                      align(h * 6 + 160, 32) + align(w * 6 + 160, 32) * c);
    default:  // INTER_SUPER
        return align(sw, 16) * 8 * c;
    }
}

// The antialiasing path's buffer: tables of the stretched filter and an
// intermediate image as high as the source region.
ByteCount antialiasPathSize(int32_t id, const IppiRect& srcRoi, const IppiRect& dstRoi,
                            ByteCount c) {
    const double reach = id == INTER_LINEAR ? 1.0 : (id == INTER_LANCZOS ? 3.0 : 2.0);
    double reachX = reach, reachY = reach;
    const double quotientX = double(srcRoi.width) / double(dstRoi.width);
    const double quotientY = double(srcRoi.height) / double(dstRoi.height);
    if (quotientX >= 1.0) reachX *= quotientX;
    if (quotientY >= 1.0) reachY *= quotientY;
    const ByteCount tx(static_cast<int64_t>(std::ceil(reachX)));
    const ByteCount ty(static_cast<int64_t>(std::ceil(reachY)));
    const ByteCount w(dstRoi.width), h(dstRoi.height), sh(srcRoi.height);
    const ByteCount a = align((ty * 2 + 1) * h, 16);
    const ByteCount b = align((tx * 2 + 1) * w, 16);
    const ByteCount d = align(w * sh * c, 16);
    const ByteCount e = align(w * c, 16);
    return d * 8 + e * 4 + b * 8 + a * 8 + 16;
}

}  // namespace

IppStatus ippiResizeGetBufSize(IppiRect srcRoi, IppiRect dstRoi, int32_t nChannel,
                               int32_t interpolation, int32_t* pSize) {
    if (pSize == nullptr) return ippStsNullPtrErr;
    if (srcRoi.x < 0 || srcRoi.y < 0 || dstRoi.x < 0 || dstRoi.y < 0 || srcRoi.width < 1 ||
        srcRoi.height < 1 || dstRoi.width < 1 || dstRoi.height < 1)
        return ippStsSizeErr;
    if (nChannel != 1 && nChannel != 3 && nChannel != 4) return ippStsNumChannelsErr;
    const int32_t id = interpolation & kInterpolationIdMask;
    if (!isKnownId(id) || hasTwoFlags(interpolation)) return ippStsInterpolationErr;

    const ByteCount w(dstRoi.width), h(dstRoi.height), sw(srcRoi.width), c(nChannel);
    if ((static_cast<uint32_t>(interpolation) & kAntialiasingBit) == 0) {
        const ByteCount size = (generalPathSize(id, w, h, sw, c) + 16) * ippGetNumThreads();
        return deliverSize(size, pSize);
    }
    // The antialiasing path never runs in bands: no thread multiple here.
    if (id == INTER_SUPER || id == INTER_NN) {
        const IppStatus status = deliverSize(generalPathSize(id, w, h, sw, c) + 16, pSize);
        return status == ippStsNoErr ? ippStsNoAntialiasing : status;
    }
    return deliverSize(antialiasPathSize(id, srcRoi, dstRoi, c), pSize);
}

IppStatus ownResizeCheck(const void* pSrc, IppiSize srcSize, IppiRect srcRoi, const void* pDst,
                         IppiRect dstRoi, double xFactor, double yFactor, double xShift,
                         double yShift, int32_t interpolation, const uint8_t* pBuffer,
                         ResizeGeometry* geometry) {
    if (pSrc == nullptr || pDst == nullptr || pBuffer == nullptr || geometry == nullptr)
        return ippStsNullPtrErr;
    if (srcSize.width < 1 || srcSize.height < 1 || srcRoi.x < 0 || srcRoi.y < 0 ||
        srcRoi.width < 1 || srcRoi.height < 1 || dstRoi.x < 0 || dstRoi.y < 0 ||
        dstRoi.width < 1 || dstRoi.height < 1)
        return ippStsSizeErr;
    // A target region that reaches past the 32-bit range can't be addressed
    // by any step: refused with the sizes.
    if (int64_t(dstRoi.x) + dstRoi.width > INT32_MAX || int64_t(dstRoi.y) + dstRoi.height > INT32_MAX)
        return ippStsSizeErr;
    // Besides factors at or below zero, factors and shifts from which no
    // finite source position can be computed are refused with them: NaN,
    // infinities, and factors so small (or shifts so large against them)
    // that the mapping leaves the float64 range.
    if (!(xFactor > 0.0) || !(yFactor > 0.0) || !mappingFinite(xFactor, xShift) ||
        !mappingFinite(yFactor, yShift))
        return ippStsResizeFactorErr;
    int32_t id = interpolation & kInterpolationIdMask;
    if (!isKnownId(id)) return ippStsInterpolationErr;
    if (hasTwoFlags(interpolation)) return ippStsInterpolationErr;

    ResizeGeometry& g = *geometry;
    if (id == INTER_SUPER) {
        if (xFactor >= 1.0 || yFactor >= 1.0) {
            g.interpolation = id;
            return ippStsResizeFactorErr;
        }
        g.factorProduct = xFactor * yFactor;
    } else {
        g.factorProduct = 0.0;
    }

    // Degradation looks at the whole image, never at the region.
    if (id == INTER_LANCZOS && (srcSize.width < 6 || srcSize.height < 6)) id = INTER_CUBIC;
    if (isCubicId(id) && (srcSize.width < 4 || srcSize.height < 4)) id = INTER_LINEAR;
    const uint32_t bits = static_cast<uint32_t>(interpolation);
    g.interpolation = id;
    g.smoothEdge = bits & kEdgeSmoothBit;
    g.subpixelEdge = bits & kEdgeSubpixelBit;
    g.antialiasing = bits & kAntialiasingBit;

    if (srcSize.width <= srcRoi.x || srcSize.height <= srcRoi.y) return ippStsWrongIntersectROI;

    const int32_t w = std::min(srcSize.width - srcRoi.x, srcRoi.width);
    const int32_t h = std::min(srcSize.height - srcRoi.y, srcRoi.height);
    const double dstRight = double(dstRoi.x) + double(dstRoi.width);
    const double dstBottom = double(dstRoi.y) + double(dstRoi.height);
    const double left = std::max(srcRoi.x * xFactor + xShift, double(dstRoi.x));
    const double top = std::max(srcRoi.y * yFactor + yShift, double(dstRoi.y));
    const double right = std::min((double(srcRoi.x) + w) * xFactor + xShift, dstRight);
    const double bottom = std::min((double(srcRoi.y) + h) * yFactor + yShift, dstBottom);

    // Two rounding rules. Edge treatment writes only pixels wholly inside the
    // edges; a plain resize writes every pixel whose centre is inside, a
    // centre on an edge counting on either side.
    double x0, y0, x1, y1;
    if (g.smoothEdge || g.subpixelEdge) {
        x0 = std::ceil(left - 1e-10);
        y0 = std::ceil(top - 1e-10);
        x1 = std::floor(right + 1e-10);
        y1 = std::floor(bottom + 1e-10);
    } else {
        x0 = std::trunc(left + 0.4999999999);
        y0 = std::trunc(top + 0.4999999999);
        x1 = std::trunc(right + 0.5000000001);
        y1 = std::trunc(bottom + 0.5000000001);
    }
    if (!(x0 < x1) || !(y0 < y1)) return ippStsNoOperation;

    // Both ends now lie within the target region, so they fit 32 bits.
    g.x0 = static_cast<int32_t>(x0);
    g.y0 = static_cast<int32_t>(y0);
    g.width = static_cast<int32_t>(x1 - x0);
    g.height = static_cast<int32_t>(y1 - y0);
    g.xScale = 1.0 / xFactor;
    g.yScale = 1.0 / yFactor;
    g.xOffset = 0.0 - xShift / xFactor;
    g.yOffset = 0.0 - yShift / yFactor;
    g.left = left;
    g.right = right;
    g.top = top;
    g.bottom = bottom;
    return ippStsNoErr;
}

namespace {

// The row table holds source rows times the step as 32-bit entries; a source
// whose rows span more than that can't be addressed and is refused.
bool sourceAddressable(IppiSize srcSize, int32_t srcStep, int32_t channels, int32_t sampleSize) {
    const int64_t rows = int64_t(srcSize.height - 1) * std::llabs(int64_t(srcStep));
    const int64_t row = int64_t(srcSize.width) * channels * sampleSize;
    return rows + row <= INT32_MAX;
}

// Rows of the target split into one band per thread; the last band takes the
// rest. Each thread builds its own tables in its own share of the buffer,
// which the size query made large enough for all threads.
IppStatus runBands(const ResizeArgs& whole, IppiRect srcRoi, IppiRect dstRoi,
                   int32_t interpolation) {
    std::atomic<IppStatus> status{ippStsNoErr};
    int32_t teamSize = 1, bandHeight = 0, rest = 0, size = 0;
    IppStatus sizeStatus = ippStsNoErr;
#pragma omp parallel num_threads(ippGetNumThreads())
    {
#pragma omp master
        {
            teamSize = omp_get_num_threads();
            bandHeight = whole.height / teamSize;
            rest = whole.height % teamSize;
            sizeStatus =
                ippiResizeGetBufSize(srcRoi, dstRoi, whole.nChannels, interpolation, &size);
        }
#pragma omp barrier
        const int32_t t = omp_get_thread_num();
        ResizeArgs band = whole;
        band.y0 = whole.y0 + bandHeight * t;
        band.height = bandHeight + (t == teamSize - 1 ? rest : 0);
        band.buffer = whole.buffer + (int64_t(size) * t) / teamSize;
        if (sizeStatus != ippStsNoErr)
            status.store(sizeStatus);
        else if (band.height > 0)
            status.store(ownResizeGeneral(band));
    }
    return status.load();
}

template <class T>
IppStatus resizeSqrPixel(const T* pSrc, IppiSize srcSize, int32_t srcStep, IppiRect srcRoi,
                         T* pDst, int32_t dstStep, IppiRect dstRoi, double xFactor,
                         double yFactor, double xShift, double yShift, int32_t interpolation,
                         uint8_t* pBuffer, int32_t channels) {
    ResizeGeometry g;
    IppStatus status = ownResizeCheck(pSrc, srcSize, srcRoi, pDst, dstRoi, xFactor, yFactor,
                                      xShift, yShift, interpolation, pBuffer, &g);
    if (status != ippStsNoErr) return status;
    const int32_t depth = sizeof(T) == 1 ? 0 : 1;
    if (!sourceAddressable(srcSize, srcStep, channels, sizeof(T))) return ippStsSizeErr;

    ResizeArgs args = argsFromGeometry(g, srcSize, channels);
    args.src = reinterpret_cast<const uint8_t*>(pSrc);
    args.srcStep = srcStep;
    args.dst = reinterpret_cast<uint8_t*>(pDst);
    args.dstStep = dstStep;
    args.buffer = pBuffer;
    args.depth = depth;

    // Nearest neighbour and super-sampling have no antialiasing variant: they
    // resample as if the flag were absent, and say so in the status.
    const bool noAntialiasVariant = g.interpolation == INTER_NN || g.interpolation == INTER_SUPER;
    const bool big = g.width >= 64 && g.height >= 64;
    const bool parallel = big && ippGetNumThreads() > 1;
    if (parallel && !g.antialiasing)
        status = runBands(args, srcRoi, dstRoi, interpolation);
    else if (g.antialiasing && !noAntialiasVariant)
        status = antialiasPath()(args);
    else
        status = ownResizeGeneral(args);

    if (g.smoothEdge || g.subpixelEdge) {
        const EdgeKind kind = g.smoothEdge ? EdgeKind::Smooth : EdgeKind::Subpixel;
        uint8_t* corner = reinterpret_cast<uint8_t*>(pDst) + ptrdiff_t(g.y0) * dstStep +
                          ptrdiff_t(g.x0) * channels * ptrdiff_t(sizeof(T));
        findEdgeTreatment(kind, depth, channels)(corner, dstStep, g.width, g.height, g.left,
                                                 g.right, g.top, g.bottom);
    }
    if (g.antialiasing && noAntialiasVariant) status |= ippStsNoAntialiasing;
    return status;
}

}  // namespace

#define MORVA_RESIZE_ENTRY(name, T, channels)                                                  \
    IppStatus name(const T* pSrc, IppiSize srcSize, int32_t srcStep, IppiRect srcRoi, T* pDst, \
                   int32_t dstStep, IppiRect dstRoi, double xFactor, double yFactor,           \
                   double xShift, double yShift, int32_t interpolation, uint8_t* pBuffer) {    \
        return resizeSqrPixel<T>(pSrc, srcSize, srcStep, srcRoi, pDst, dstStep, dstRoi,        \
                                 xFactor, yFactor, xShift, yShift, interpolation, pBuffer,     \
                                 channels);                                                    \
    }

MORVA_RESIZE_ENTRY(ippiResizeSqrPixel_8u_C1R, uint8_t, 1)
MORVA_RESIZE_ENTRY(ippiResizeSqrPixel_8u_C3R, uint8_t, 3)
MORVA_RESIZE_ENTRY(ippiResizeSqrPixel_8u_C4R, uint8_t, 4)
MORVA_RESIZE_ENTRY(ippiResizeSqrPixel_16u_C1R, uint16_t, 1)
MORVA_RESIZE_ENTRY(ippiResizeSqrPixel_16u_C3R, uint16_t, 3)
MORVA_RESIZE_ENTRY(ippiResizeSqrPixel_16u_C4R, uint16_t, 4)

#undef MORVA_RESIZE_ENTRY

}  // namespace morva
