// The plane resize driver: per-plane rectangles, a work buffer per plane and
// the kernel for the plane's sample size and channel count.
#include "resample/resize_driver.h"

#include <algorithm>

#include "image/formats.h"
#include "image/image.h"
#include "kernels/memory.h"
#include "resample/resize.h"
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

bool resizeImageInternal(const TImage* source, IppiRect sourceRect, TImage* destination,
                         IppiRect destinationRect, int32_t interpolation, double xFactor,
                         double yFactor) {
    CTraces scope("resizeImageInternal()");
    if (!isValidImage(source) || !isValidImage(destination) ||
        source->format != destination->format)
        return false;
    const PixelFormatRow* row = findFormatRow(source->format);
    if (row == nullptr) return false;

    // Equal sizes: no resampling, the whole buffer is copied. The rectangles'
    // positions are not looked at.
    if (source->width == destination->width && source->height == destination->height &&
        sourceRect.width == destinationRect.width && sourceRect.height == destinationRect.height) {
        if (source->size != destination->size) return false;
        ippsCopy_8u(source->data, destination->data, source->size);
        return true;
    }

    for (int32_t index = 0; index < source->planeInfo->planeCount; ++index) {
        const PlaneGroup& group = row->group[index];
        const PlaneEntry& src = source->planeInfo->planes[index];
        const PlaneEntry& dst = destination->planeInfo->planes[index];
        const IppiRect srcRect = planeRect(sourceRect, group);
        IppiRect dstRect = planeRect(destinationRect, group);
        // The mapping sends source column 0 to the target rectangle's left
        // edge: a source rectangle with x above 0 clips, it doesn't shift.
        const double xShift = dstRect.x;
        const double yShift = dstRect.y;

        if (source->format == FORMAT_YUY2) {
            resizePackedYuv422(src, srcRect, dst, xFactor, yFactor, interpolation);
            return true;
        }

        dstRect = limitToPlane(dstRect, dst);
        uint8_t* buffer = ippsMalloc_8u(resizeBufferSize(src, srcRect, dstRect, interpolation,
                                                         xFactor, yFactor, xShift, yShift));
        const PlaneKernel kernel = chooseKernel(src.bytesPerChannel, src.channels);
        if (kernel == nullptr) {
            ippsFree(buffer);
            return false;
        }
        // Statuses are not examined: a refused plane stays as it was.
        kernel(src.data, {src.width, src.height}, src.stride, srcRect, dst.data, dst.stride,
               dstRect, xFactor, yFactor, xShift, yShift, interpolation, buffer);
        ippsFree(buffer);
    }
    return true;
}

}  // namespace morva
