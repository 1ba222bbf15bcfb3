// Clearing an image to one colour, and copying one image into another of any
// size and format.
#include <algorithm>
#include <cstdint>

#include "color/router.h"
#include "image/image.h"
#include "kernels/plane.h"
#include "layout/render.h"
#include "layout/render_bands.h"
#include "trace/trace.h"

namespace morva {
namespace {

struct YuvColour {
    uint8_t y, u, v;
};

// Computed in double precision with these constants as they stand, then cut
// toward zero; the three stay within 0 to 255.
YuvColour toYuv(uint8_t red, uint8_t green, uint8_t blue) {
    const double y = 0.587 * green + 0.299 * red + 0.114 * blue;
    const double u = 0.5 * blue - (0.169 * red + 0.332 * green) + 128.0;
    const double v = 0.5 * red - 0.419 * green - 0.0813 * blue + 128.0;
    return {uint8_t(int32_t(y)), uint8_t(int32_t(u)), uint8_t(int32_t(v))};
}

void setPlane(const PlaneEntry& plane, uint8_t value) {
    ippiSet_8u_C1R(value, plane.data, plane.stride, plane.width, plane.height);
}

// Two-plane 4:2:0 gets a block of 16 by 16 luma samples and 8 by 8 chroma
// pairs at its top left, not the whole plane; the rest keeps its pixels. The
// blocks stop at the planes' edges.
void clearNv12Block(const PlaneInfo& info, const YuvColour& c) {
    const PlaneEntry& luma = info.planes[0];
    const PlaneEntry& chroma = info.planes[1];
    ippiSet_8u_C1R(c.y, luma.data, luma.stride, std::min(16, luma.width),
                   std::min(16, luma.height));
    ippiSet_16u_C1R(uint16_t(c.u + 256 * c.v), chroma.data, chroma.stride,
                    std::min(8, chroma.width / 2), std::min(8, chroma.height));
}

}  // namespace

bool clearImageInternal(TImage* image, uint8_t red, uint8_t green, uint8_t blue, uint8_t alpha) {
    const YuvColour c = toYuv(red, green, blue);
    const PlaneInfo& info = *image->planeInfo;
    const PlaneEntry& plane0 = info.planes[0];
    switch (image->format) {
    case FORMAT_YV12:  // chroma as for I420, although conversion reads YV12's planes crossed
    case FORMAT_I420:
        setPlane(info.planes[0], c.y);
        setPlane(info.planes[1], c.u);
        setPlane(info.planes[2], c.v);
        return true;
    case FORMAT_NV12:
        clearNv12Block(info, c);
        return true;
    case FORMAT_YUY2: {
        const uint8_t pattern[4] = {c.y, c.u, c.y, c.v};
        ippiSet_8u_C4R(pattern, plane0.data, plane0.stride, image->width / 2, image->height);
        return true;
    }
    case FORMAT_UYVY: {
        // Chroma in the order v, u: the reverse of YUY2's, as designed.
        const uint8_t pattern[4] = {c.v, c.y, c.u, c.y};
        ippiSet_8u_C4R(pattern, plane0.data, plane0.stride, image->width / 2, image->height);
        return true;
    }
    case FORMAT_RGB32: {
        const uint8_t pattern[4] = {blue, green, red, alpha};
        ippiSet_8u_C4R(pattern, plane0.data, plane0.stride, image->width, image->height);
        return true;
    }
    case FORMAT_RGB24: {
        const uint8_t pattern[3] = {blue, green, red};
        ippiSet_8u_C3R(pattern, plane0.data, plane0.stride, image->width, image->height);
        return true;
    }
    default:
        return false;
    }
}

}  // namespace morva

bool morvaClearImage(TImage* image, uint8_t red, uint8_t green, uint8_t blue, uint8_t alpha) {
    morva::CTraces scope("morvaClearImage()");
    if (!morva::isValidImage(image)) return false;
    morva::traceWrite(scope, "%s", morva::describeImage(image).c_str());
    return morva::clearImageInternal(image, red, green, blue, alpha);
}

bool morvaCopyImage(const TImage* source, TImage* destination, int32_t interpolation,
                    int32_t scaleMode) {
    morva::CTraces scope("morvaCopyImage()");
    if (!morva::isValidImage(source) || !morva::isValidImage(destination)) return false;
    morva::WorkBuffers& buffers = morva::threadWorkBuffers();
    const struct Trim {
        morva::WorkBuffers& buffers;
        ~Trim() { buffers.trim(morva::kKeptWorkBytes); }
    } trim{buffers};
    if (source->width == destination->width && source->height == destination->height)
        return morva::convertColorSpace(source, destination);
    // The trace tells of the whole-image steps below: with the trace on,
    // they are taken.
    if (!morva::traceEnabled())
        return morva::copyResizedUntraced(*source, *destination, interpolation, scaleMode,
                                          buffers);
    return morva::copyResizedWholeFrame(*source, *destination, interpolation, scaleMode,
                                        buffers.work);
}
