// The plane resize driver: per-plane rectangles, a work buffer per plane and
// the kernel for the plane's sample size and channel count.
#include "resample/resize_driver.h"

#include <algorithm>
#include <cmath>

#include "image/formats.h"
#include "image/image.h"
#include "kernels/memory.h"
#include "resample/resize_work_size.h"
#include "resample/yuv422_resize.h"
#include "trace/trace.h"

namespace morva {
namespace {

// value / divisor rounded up, as the planes' own sizes are.
int32_t divideUp(int32_t value, int32_t divisor) {
    if (divisor == 1) return value;
    return static_cast<int32_t>((int64_t(value) + divisor - 1) / divisor);
}

IppiRect planeRect(const IppiRect& r, const PlaneGroup& group) {
    return {divideUp(r.x, group.subW), divideUp(r.y, group.subH), divideUp(r.width, group.subW),
            divideUp(r.height, group.subH)};
}

// Rounding x up and width up independently can carry the rectangle past the
// plane; it is cut at the plane's edge so that nothing is ever written
// outside it. x and y stay.
IppiRect limitToPlane(IppiRect r, const PlaneEntry& plane) {
    r.width = static_cast<int32_t>(std::min<int64_t>(r.width, int64_t(plane.width) - r.x));
    r.height = static_cast<int32_t>(std::min<int64_t>(r.height, int64_t(plane.height) - r.y));
    return r;
}

using PlaneKernel = IppStatus (*)(const uint8_t* src, IppiSize srcSize, int32_t srcStep,
                                  IppiRect srcRoi, uint8_t* dst, int32_t dstStep, IppiRect dstRoi,
                                  double xFactor, double yFactor, double xShift, double yShift,
                                  int32_t interpolation, uint8_t* buffer);

template <class T, auto Kernel>
IppStatus onSamples(const uint8_t* src, IppiSize srcSize, int32_t srcStep, IppiRect srcRoi,
                    uint8_t* dst, int32_t dstStep, IppiRect dstRoi, double xFactor, double yFactor,
                    double xShift, double yShift, int32_t interpolation, uint8_t* buffer) {
    return Kernel(reinterpret_cast<const T*>(src), srcSize, srcStep, srcRoi,
                  reinterpret_cast<T*>(dst), dstStep, dstRoi, xFactor, yFactor, xShift, yShift,
                  interpolation, buffer);
}

struct KernelChoice {
    int32_t bytesPerChannel;
    int32_t channels;
    PlaneKernel kernel;
};

constexpr KernelChoice kKernels[] = {
    {1, 1, &onSamples<uint8_t, &ippiResizeSqrPixel_8u_C1R>},
    {1, 3, &onSamples<uint8_t, &ippiResizeSqrPixel_8u_C3R>},
    {1, 4, &onSamples<uint8_t, &ippiResizeSqrPixel_8u_C4R>},
    {2, 1, &onSamples<uint16_t, &ippiResizeSqrPixel_16u_C1R>},
    {2, 3, &onSamples<uint16_t, &ippiResizeSqrPixel_16u_C3R>},
    {2, 4, &onSamples<uint16_t, &ippiResizeSqrPixel_16u_C4R>},
};

PlaneKernel chooseKernel(int32_t bytesPerChannel, int32_t channels) {
    for (const KernelChoice& choice : kKernels)
        if (choice.bytesPerChannel == bytesPerChannel && choice.channels == channels)
            return choice.kernel;
    return nullptr;
}

int32_t doubled(int32_t v) { return static_cast<int32_t>(std::min<int64_t>(2 * int64_t(v), INT32_MAX)); }

// Packed 4:2:2 in Y0 U Y1 V order goes through its own kernel, which maps luma
// and chroma each on its own grid. Plane widths count macro-pixels; the
// kernel takes luma widths, but the region's x stays in macro-pixels. It
// writes from the plane's top left corner whatever rectangle was asked for.
void resizePackedYuv422(const PlaneEntry& src, const IppiRect& srcRect, const PlaneEntry& dst,
                        double xFactor, double yFactor, int32_t interpolation) {
    const IppiSize srcSize{doubled(src.width), src.height};
    const IppiRect srcRoi{srcRect.x, srcRect.y, doubled(srcRect.width), srcRect.height};
    const IppiSize dstSize{doubled(dst.width), dst.height};
    ippiResizeYUV422_8u_C2R(src.data, srcSize, src.stride, srcRoi, dst.data, dst.stride, dstSize,
                            xFactor, yFactor, interpolation);
}

bool hasEdgeTreatment(const ResizeGeometry& g) { return g.smoothEdge || g.subpixelEdge; }

// Whether the kernel would only copy. At factors of exactly 1.0, with the
// shifts whole numbers (they are the plane rectangle's x and y), every
// position of the centre rule is whole: d = (x + 0.5) * 1.0 - 0.5 +
// (0.0 - s) = x - s, so every fraction is 0. Per family, after the
// degradation by the source plane's size:
// - nearest: (x + 0.5) - 1e-10 - s, in either order of the additions, lies
//   within a few ulps below x - s + 0.5 and truncates to x - s.
// - linear, 8u: fraction 0 gives the pair (16384, 0); row buffers hold
//   (p * 16384 + 128) >> 8 = 64p, the blend (64p * 16384 + 524288) >> 20 = p,
//   the rim (16384p + 8192) >> 14 = p. 16u: a + (b - a) * 0 = a, and a plus
//   the half, truncated, is a.
// - cubic (id 4): taps 1.1e-16, 1, 1.1e-16, 0 give p plus at most
//   65535 * 4.5e-16 in rows and blend, which rounding to nearest (interior)
//   or adding 0.5000001 and truncating (rim) takes back to p. Catmull-Rom's
//   taps are 0, 1, 0, 0.
// - Lanczos: the window gives 0, -0, 1, 0, 0, 0, their sum is 1, and every
//   sum is p exactly.
// Not so the B-spline and B 0.5 C 0.3 cubics (a centre tap below 1: they
// smooth), the antialiasing path (its own centre rule and filter), the edge
// treatments (a frame around the target), and super-sampling, which refuses
// a factor of 1.0 and so writes nothing. The resize tests check this against
// the kernels on random planes.
bool isPlainCopy(const PlaneResize& p) {
    if (p.xFactor != 1.0 || p.yFactor != 1.0) return false;
    const ResizeGeometry& g = p.geometry;
    if (hasEdgeTreatment(g)) return false;
    switch (g.interpolation) {
    case INTER_NN:
        return true;  // with or without the antialiasing flag: nearest has no variant
    case INTER_LINEAR:
    case INTER_CUBIC:
    case INTER_CUBIC_CATMULLROM:
    case INTER_LANCZOS:
        return !g.antialiasing;
    default:
        return false;
    }
}

// The plane's action: the kernel refuses where its check does and where the
// work buffer can't be had (a null buffer), and only copies where the
// mapping is the identity.
PlaneAction choosePlaneAction(PlaneResize& p) {
    static const uint8_t anyByte = 0;
    const IppStatus check =
        ownResizeCheck(&anyByte, {p.source.width, p.source.height}, p.sourceRect, &anyByte,
                       p.destinationRect, p.xFactor, p.yFactor, p.xShift, p.yShift,
                       p.interpolation, &anyByte, &p.geometry);
    if (check != ippStsNoErr) return PlaneAction::Nothing;
    if (resizeBufferSize(p.source, p.sourceRect, p.destinationRect, p.interpolation, p.xFactor,
                         p.yFactor, p.xShift, p.yShift) == 0)
        return PlaneAction::Nothing;
    return isPlainCopy(p) ? PlaneAction::Copy : PlaneAction::Kernel;
}

int32_t bytesPerUnit(const PlaneEntry& plane) { return plane.bytesPerChannel * plane.channels; }

// Rows [firstRow, endRow) of a plane whose resize is the identity: target
// (x, y) is source (x - xShift, y - yShift).
void copyPlaneRows(const PlaneResize& p, const uint8_t* source, uint8_t* destination,
                   int32_t firstRow, int32_t endRow) {
    const ResizeGeometry& g = p.geometry;
    const int64_t unit = bytesPerUnit(p.source);
    const int64_t sourceRow = firstRow - int64_t(p.yShift);
    const int64_t sourceColumn = g.x0 - int64_t(p.xShift);
    ippiCopy_8u_C1R(source + sourceRow * p.source.stride + sourceColumn * unit, p.source.stride,
                    destination + int64_t(firstRow) * p.destination.stride + g.x0 * unit,
                    p.destination.stride, int32_t(g.width * unit), endRow - firstRow);
}

void runKernel(const PlaneResize& p, const uint8_t* source, uint8_t* destination,
               const IppiRect& destinationRoi, ScratchBuffer& work) {
    const PlaneKernel kernel = chooseKernel(p.source.bytesPerChannel, p.source.channels);
    uint8_t* buffer = work.reserve(resizeBufferSize(p.source, p.sourceRect, destinationRoi,
                                                    p.interpolation, p.xFactor, p.yFactor,
                                                    p.xShift, p.yShift));
    // Statuses are not examined: a refused plane stays as it was.
    kernel(source, {p.source.width, p.source.height}, p.source.stride, p.sourceRect, destination,
           p.destination.stride, destinationRoi, p.xFactor, p.yFactor, p.xShift, p.yShift,
           p.interpolation, buffer);
}

// Source rows around a target row's position that each family reads: taps
// k - before .. k + after of k = floor(d).
struct TapReach {
    int32_t before, after;
};

TapReach tapReach(int32_t id) {
    switch (id) {
    case INTER_NN: return {0, 1};  // trunc(d + 0.5 - 1e-10) is k or k + 1
    case INTER_LINEAR: return {0, 1};
    case INTER_LANCZOS: return {2, 3};
    default: return {1, 2};  // the cubics
    }
}

}  // namespace

int32_t resizeBufferSize(const PlaneEntry& sourcePlane, const IppiRect& sourcePlaneRect,
                         const IppiRect& destinationPlaneRect, int32_t interpolation,
                         double xFactor, double yFactor, double xShift, double yShift) {
    // The size query counts the antialiasing path's intermediate image by the
    // region's rows, while the path keeps every row of the plane, and it
    // can't see how far a super-sampling box reaches: resizeWorkSize adds what
    // this geometry needs, so that no kernel writes past the buffer. A refused
    // query, or a size beyond 32 bits, leaves 0, and the kernel then refuses
    // the null buffer.
    const int64_t size = resizeWorkSize({sourcePlane.width, sourcePlane.height}, sourcePlaneRect,
                                        destinationPlaneRect, sourcePlane.channels, xFactor,
                                        yFactor, xShift, yShift, interpolation);
    return size <= INT32_MAX ? int32_t(size) : 0;
}

PlaneResize planPlaneResize(const PlaneEntry& source, const PlaneEntry& destination,
                            const IppiRect& sourceRect, const IppiRect& destinationRect,
                            int32_t interpolation, double xFactor, double yFactor) {
    PlaneResize p;
    p.source = source;
    p.destination = destination;
    p.sourceRect = sourceRect;
    // The mapping sends source column 0 to the target rectangle's left
    // edge: a source rectangle with x above 0 clips, it doesn't shift.
    p.xShift = destinationRect.x;
    p.yShift = destinationRect.y;
    p.destinationRect = limitToPlane(destinationRect, destination);
    p.xFactor = xFactor;
    p.yFactor = yFactor;
    p.interpolation = interpolation;
    p.action = chooseKernel(source.bytesPerChannel, source.channels) != nullptr
                   ? choosePlaneAction(p)
                   : PlaneAction::Nothing;
    return p;
}

ImageResizePlan planImageResize(const TImage& source, IppiRect sourceRect,
                                const TImage& destination, IppiRect destinationRect,
                                int32_t interpolation, double xFactor, double yFactor) {
    ImageResizePlan plan;
    const PixelFormatRow* row = findFormatRow(source.format);
    if (source.format != destination.format || row == nullptr) return plan;

    // Equal sizes: no resampling, the whole buffer is copied. The rectangles'
    // positions are not looked at.
    if (source.width == destination.width && source.height == destination.height &&
        sourceRect.width == destinationRect.width && sourceRect.height == destinationRect.height) {
        plan.result = source.size == destination.size;
        if (plan.result) plan.kind = ImageResizePlan::Kind::WholeCopy;
        return plan;
    }
    if (source.format == FORMAT_YUY2) {
        plan.kind = ImageResizePlan::Kind::PackedYuv422;
        plan.result = true;
        return plan;
    }

    plan.kind = ImageResizePlan::Kind::Planes;
    plan.result = true;
    for (int32_t index = 0; index < source.planeInfo->planeCount; ++index) {
        const PlaneGroup& group = row->group[index];
        const PlaneEntry& from = source.planeInfo->planes[index];
        // Planes no kernel takes end the resize: those before stay done.
        if (chooseKernel(from.bytesPerChannel, from.channels) == nullptr) {
            plan.result = false;
            return plan;
        }
        plan.planes[index] = planPlaneResize(
            from, destination.planeInfo->planes[index], planeRect(sourceRect, group),
            planeRect(destinationRect, group), interpolation, xFactor, yFactor);
        plan.planeCount = index + 1;
    }
    return plan;
}

bool runsInBands(const PlaneResize& plane) {
    if (plane.action != PlaneAction::Kernel) return true;
    const ResizeGeometry& g = plane.geometry;
    // Edge treatment draws a frame around the whole target, super-sampling
    // opens its boxes from the first target row, and the antialiasing path
    // filters every source row: none of them can start over at a band.
    if (hasEdgeTreatment(g) || g.interpolation == INTER_SUPER) return false;
    return !g.antialiasing || g.interpolation == INTER_NN;
}

RowRange sourceRowsOf(const PlaneResize& plane, int32_t firstRow, int32_t endRow) {
    const int64_t height = plane.source.height;
    auto within = [height](double row) {
        return int32_t(std::clamp<double>(row, 0.0, double(height)));
    };
    if (plane.action == PlaneAction::Copy)
        return {within(firstRow - plane.yShift), within(endRow - plane.yShift)};
    const ResizeGeometry& g = plane.geometry;
    const auto position = [&g](int32_t y) {
        return std::floor((double(y) + 0.5) * g.yScale - 0.5 + g.yOffset);
    };
    const TapReach reach = tapReach(g.interpolation);
    return {within(position(firstRow) - reach.before - 1),
            within(position(endRow - 1) + reach.after + 2)};
}

void resizePlaneRows(const PlaneResize& plane, const uint8_t* source, uint8_t* destination,
                     int32_t firstRow, int32_t endRow, ScratchBuffer& work) {
    const ResizeGeometry& g = plane.geometry;
    if (plane.action == PlaneAction::Nothing || firstRow >= endRow) return;
    if (plane.action == PlaneAction::Copy) {
        copyPlaneRows(plane, source, destination, firstRow, endRow);
        return;
    }
    // A band's region starts at its first row and ends at its last, but the
    // first and the last band keep the rectangle's own edges: the check then
    // finds the same rows, and rounds them as in one whole run.
    const IppiRect& whole = plane.destinationRect;
    const int32_t top = firstRow == g.y0 ? whole.y : firstRow;
    const int32_t bottom = endRow == g.y0 + g.height ? whole.y + whole.height : endRow;
    runKernel(plane, source, destination, {whole.x, top, whole.width, bottom - top}, work);
}

bool resizeImageInternal(const TImage* source, IppiRect sourceRect, TImage* destination,
                         IppiRect destinationRect, int32_t interpolation, double xFactor,
                         double yFactor, ScratchBuffer& work) {
    CTraces scope("resizeImageInternal()");
    if (!isValidImage(source) || !isValidImage(destination)) return false;
    const ImageResizePlan plan = planImageResize(*source, sourceRect, *destination,
                                                 destinationRect, interpolation, xFactor, yFactor);
    switch (plan.kind) {
    case ImageResizePlan::Kind::Refused:
        break;
    case ImageResizePlan::Kind::WholeCopy:
        ippsCopy_8u(source->data, destination->data, source->size);
        break;
    case ImageResizePlan::Kind::PackedYuv422: {
        const PlaneEntry& src = source->planeInfo->planes[0];
        const IppiRect srcRect =
            planeRect(sourceRect, findFormatRow(source->format)->group[0]);
        resizePackedYuv422(src, srcRect, destination->planeInfo->planes[0], xFactor, yFactor,
                           interpolation);
        break;
    }
    case ImageResizePlan::Kind::Planes:
        for (int32_t index = 0; index < plan.planeCount; ++index) {
            const PlaneResize& p = plan.planes[index];
            if (p.action == PlaneAction::Copy)
                copyPlaneRows(p, p.source.data, p.destination.data, p.geometry.y0,
                              p.geometry.y0 + p.geometry.height);
            else if (p.action == PlaneAction::Kernel)
                runKernel(p, p.source.data, p.destination.data, p.destinationRect, work);
        }
        break;
    }
    return plan.result;
}

bool resizeImageInternal(const TImage* source, IppiRect sourceRect, TImage* destination,
                         IppiRect destinationRect, int32_t interpolation, double xFactor,
                         double yFactor) {
    ScratchBuffer work;
    return resizeImageInternal(source, sourceRect, destination, destinationRect, interpolation,
                               xFactor, yFactor, work);
}

}  // namespace morva
