// The conversion router: one image into another of the same size and another
// format, by a raw copy, one routine from a hand-chosen table of pairs, or in
// two legs through a temporary image. The router does no pixel work itself.
#include "color/router.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "color/bgr_to_ycbcr.h"
#include "color/direct_converters.h"
#include "color/ycbcr_layout.h"
#include "color/ycbcr_to_bgr.h"
#include "color/ycbcr_to_bgr16.h"
#include "image/image.h"
#include "kernels/memory.h"
#include "trace/trace.h"

namespace morva {
namespace {

// What a routine of the table gets: the planes of both images in their
// natural order (0, 1, 2) and crossed (0, 2, 1), and the size in pixels.
struct Conversion {
    const uint8_t* src[3];  // natural
    int32_t srcStep[3];
    const uint8_t* srcX[3];  // crossed
    int32_t srcStepX[3];
    uint8_t* dst[3];
    int32_t dstStep[3];
    uint8_t* dstX[3];
    int32_t dstStepX[3];
    IppiSize size;
    int32_t width() const { return size.width; }
    int32_t height() const { return size.height; }
    const uint16_t* src16() const { return reinterpret_cast<const uint16_t*>(src[0]); }
    uint16_t* dst16() const { return reinterpret_cast<uint16_t*>(dst[0]); }
};

using Routine = void (*)(const Conversion&);

struct DirectPair {
    int32_t src;
    int32_t dst;
    Routine routine;
};

// The direct pairs, after the aliases of format 0 (read as 5 with its chroma
// planes crossed) and of format 6 (read as 5 with doubled chroma steps,
// unless the target is 5). A routine's statuses are not read.
// clang-format off
const DirectPair kDirectPairs[] = {
    {1, 2, [](const Conversion& c) { ippiYCbCr420ToYCbCr422_8u_P2C2R(c.src[0], c.srcStep[0], c.src[1], c.srcStep[1], c.dst[0], c.dstStep[0], c.size); }},
    {1, 3, [](const Conversion& c) { ippiYCbCr420ToCbYCr422_8u_P2C2R(c.src[0], c.srcStep[0], c.src[1], c.srcStep[1], c.dst[0], c.dstStep[0], c.size); }},
    {1, 5, [](const Conversion& c) { ippiYCbCr420_8u_P2P3R(c.src[0], c.srcStep[0], c.src[1], c.srcStep[1], c.dst, c.dstStep, c.size); }},
    {2, 1, [](const Conversion& c) { ippiYCbCr422ToYCbCr420_8u_C2P2R(c.src[0], c.srcStep[0], c.dst[0], c.dstStep[0], c.dst[1], c.dstStep[1], c.size); }},
    {2, 3, [](const Conversion& c) { ippiYCbCr422ToCbYCr422_8u_C2R(c.src[0], c.srcStep[0], c.dst[0], c.dstStep[0], c.size); }},
    // The natural order goes to a routine that writes Y, Cr, Cb: Cr lands in
    // plane 1. Every route through format 5 from this source carries it.
    {2, 5, [](const Conversion& c) { ippiYCbCr422ToYCrCb420_8u_C2P3R(c.src[0], c.srcStep[0], c.dst, c.dstStep, c.size); }},
    {2, 6, [](const Conversion& c) { ippiYCbCr422_8u_C2P3R(c.src[0], c.srcStep[0], c.dst, c.dstStep, c.size); }},
    {2, 11, [](const Conversion& c) { ippiYCbCr422ToBGR_8u_C2C4R(c.src[0], c.srcStep[0], c.dst[0], c.dstStep[0], c.size, 0); }},
    {2, 12, [](const Conversion& c) { ippiYCbCr422ToBGR_8u_C2C3R(c.src[0], c.srcStep[0], c.dst[0], c.dstStep[0], c.size); }},
    {2, 13, [](const Conversion& c) { ippiYCbCr422ToBGR565_8u16u_C2C3R(c.src[0], c.srcStep[0], c.dst16(), c.dstStep[0], c.size); }},
    {2, 14, [](const Conversion& c) { ippiYCbCr422ToBGR555_8u16u_C2C3R(c.src[0], c.srcStep[0], c.dst16(), c.dstStep[0], c.size); }},
    {2, 15, [](const Conversion& c) { ippiYCbCr422ToBGR444_8u16u_C2C3R(c.src[0], c.srcStep[0], c.dst16(), c.dstStep[0], c.size); }},
    {3, 1, [](const Conversion& c) { ippiCbYCr422ToYCbCr420_8u_C2P2R(c.src[0], c.srcStep[0], c.dst[0], c.dstStep[0], c.dst[1], c.dstStep[1], c.size); }},
    {3, 2, [](const Conversion& c) { ippiCbYCr422ToYCbCr422_8u_C2R(c.src[0], c.srcStep[0], c.dst[0], c.dstStep[0], c.size); }},
    {3, 5, [](const Conversion& c) { ippiCbYCr422ToYCrCb420_8u_C2P3R(c.src[0], c.srcStep[0], c.dstX, c.dstStepX, c.size); }},
    {3, 6, [](const Conversion& c) { ippiCbYCr422ToYCbCr422_8u_C2P3R(c.src[0], c.srcStep[0], c.dst, c.dstStep, c.size); }},
    {3, 11, [](const Conversion& c) { ippiCbYCr422ToBGR_8u_C2C4R(c.src[0], c.srcStep[0], c.dst[0], c.dstStep[0], c.size, 0); }},
    // Red first in memory: the one path to 24-bit BGR that is.
    {3, 12, [](const Conversion& c) { ippiCbYCr422ToRGB_8u_C2C3R(c.src[0], c.srcStep[0], c.dst[0], c.dstStep[0], c.size); }},
    {4, 5, [](const Conversion& c) { convertY411ToI420(c.dstStep, c.dst, c.src, c.srcStep, c.width(), c.height()); }},
    {5, 1, [](const Conversion& c) { ippiYCrCb420ToYCbCr420_8u_P3P2R(c.srcX, c.srcStepX, c.dst[0], c.dstStep[0], c.dst[1], c.dstStep[1], c.size); }},
    {5, 2, [](const Conversion& c) { ippiYCrCb420ToYCbCr422_8u_P3C2R(c.srcX, c.srcStepX, c.dst[0], c.dstStep[0], c.size); }},
    {5, 3, [](const Conversion& c) { ippiYCrCb420ToCbYCr422_8u_P3C2R(c.srcX, c.srcStepX, c.dst[0], c.dstStep[0], c.size); }},
    {5, 4, [](const Conversion& c) { ippiYCbCr420To411_8u_P3R(c.src, c.srcStep, c.dst, c.dstStep, c.size); }},
    {5, 6, [](const Conversion& c) { ippiYCbCr420To422_8u_P3R(c.src, c.srcStep, c.dst, c.dstStep, c.size); }},
    {5, 10, [](const Conversion& c) { convertI420ToY41P(c.srcStepX, c.srcX, c.dst[0], c.dstStep[0], c.width(), c.height()); }},
    {5, 11, [](const Conversion& c) { ippiYCrCb420ToBGR_8u_P3C4R(c.srcX, c.srcStepX, c.dst[0], c.dstStep[0], c.size, 0); }},
    {5, 12, [](const Conversion& c) { ippiYCbCr420ToBGR_8u_P3C3R(c.src, c.srcStep, c.dst[0], c.dstStep[0], c.size); }},
    {5, 13, [](const Conversion& c) { ippiYCbCr420ToBGR565_8u16u_P3C3R(c.src, c.srcStep, c.dst16(), c.dstStep[0], c.size); }},
    {5, 14, [](const Conversion& c) { ippiYCbCr420ToBGR555_8u16u_P3C3R(c.src, c.srcStep, c.dst16(), c.dstStep[0], c.size); }},
    {5, 15, [](const Conversion& c) { ippiYCbCr420ToBGR444_8u16u_P3C3R(c.src, c.srcStep, c.dst16(), c.dstStep[0], c.size); }},
    {6, 5, [](const Conversion& c) { ippiYCbCr422To420_8u_P3R(c.src, c.srcStep, c.dst, c.dstStep, c.size); }},
    {10, 5, [](const Conversion& c) { convertY41PToI420(c.dstStep, c.dst, c.src[0], c.srcStep[0], c.width(), c.height()); }},
    {11, 2, [](const Conversion& c) { ippiBGRToYCbCr422_8u_AC4C2R(c.src[0], c.srcStep[0], c.dst[0], c.dstStep[0], c.size); }},
    {11, 3, [](const Conversion& c) { ippiBGRToCbYCr422_8u_AC4C2R(c.src[0], c.srcStep[0], c.dst[0], c.dstStep[0], c.size); }},
    {11, 5, [](const Conversion& c) { ippiBGRToYCrCb420_8u_AC4P3R(c.src[0], c.srcStep[0], c.dstX, c.dstStepX, c.size); }},
    {11, 12, [](const Conversion& c) { convertBGRAToBGR(c.src[0], c.srcStep[0], c.dst[0], c.dstStep[0], c.width(), c.height()); }},
    {12, 2, [](const Conversion& c) { ippiBGRToYCbCr422_8u_C3C2R(c.src[0], c.srcStep[0], c.dst[0], c.dstStep[0], c.size); }},
    {12, 5, [](const Conversion& c) { ippiBGRToYCrCb420_8u_C3P3R(c.src[0], c.srcStep[0], c.dstX, c.dstStepX, c.size); }},
    {12, 11, [](const Conversion& c) { convertBGRToBGRA(c.src[0], c.srcStep[0], c.dst[0], c.dstStep[0], c.width(), c.height()); }},
    {13, 2, [](const Conversion& c) { ippiBGR565ToYCbCr422_16u8u_C3C2R(c.src16(), c.srcStep[0], c.dst[0], c.dstStep[0], c.size); }},
    {13, 5, [](const Conversion& c) { ippiBGR565ToYCrCb420_16u8u_C3P3R(c.src16(), c.srcStep[0], c.dstX, c.dstStepX, c.size); }},
    {13, 12, [](const Conversion& c) { convertBGR565ToBGR(c.src[0], c.dst[0], c.srcStep[0], c.dstStep[0], c.width(), c.height()); }},
    {14, 2, [](const Conversion& c) { ippiBGR555ToYCbCr422_16u8u_C3C2R(c.src16(), c.srcStep[0], c.dst[0], c.dstStep[0], c.size); }},
    {14, 5, [](const Conversion& c) { ippiBGR555ToYCrCb420_16u8u_C3P3R(c.src16(), c.srcStep[0], c.dstX, c.dstStepX, c.size); }},
    {14, 12, [](const Conversion& c) { convertBGR555ToBGR(c.src[0], c.dst[0], c.srcStep[0], c.dstStep[0], c.width(), c.height()); }},
    {18, 2, [](const Conversion& c) { ippiYCbCr422_8u_P3C2R(c.src, c.srcStep, c.dst[0], c.dstStep[0], c.size); }},
    {18, 5, [](const Conversion& c) { ippiYCbCr422To420_8u_P3R(c.src, c.srcStep, c.dst, c.dstStep, c.size); }},
    {18, 12, [](const Conversion& c) { ippiYCbCr422ToBGR_8u_P3C3R(c.src, c.srcStep, c.dst[0], c.dstStep[0], c.size); }},
};
// clang-format on

Routine findRoutine(int32_t src, int32_t dst) {
    for (const DirectPair& pair : kDirectPairs)
        if (pair.src == src && pair.dst == dst) return pair.routine;
    return nullptr;
}

// Pairs whose bytes are taken over as they stand: same format, and the
// formats whose leading planes are those of 5 (the alpha plane of 17 and the
// grey plane of 21 are left behind, since only the destination's bytes are
// copied).
bool isRawCopy(int32_t src, int32_t dst) {
    return src == dst || ((src == FORMAT_YUV420P || src == FORMAT_YUVA420P) && dst == FORMAT_I420) ||
           (src == FORMAT_GRAYA8 && dst == FORMAT_GRAY8);
}

template <class T>
void readPlanes(const TImage& image, T* planes[3], int32_t steps[3]) {
    for (int i = 0; i < 3; ++i) {
        planes[i] = image.planeInfo->planes[i].data;
        steps[i] = image.planeInfo->planes[i].stride;
    }
}

template <class T>
void crossPlanes(T* const planes[3], const int32_t steps[3], T* crossed[3], int32_t crossedSteps[3]) {
    crossed[0] = planes[0];
    crossed[1] = planes[2];
    crossed[2] = planes[1];
    crossedSteps[0] = steps[0];
    crossedSteps[1] = steps[2];
    crossedSteps[2] = steps[1];
}

// The pair as the table of direct routines names it: format 0 passes for 5
// with its chroma planes exchanged, and format 6 for 5 with every second
// chroma row, unless the target is 5.
struct ResolvedPair {
    int32_t src = -1;
    int32_t dst = -1;
    bool sourceCrossed = false;
    bool destinationCrossed = false;
    bool sourceRowsSkipped = false;
    bool rawCopy = false;
    Routine routine = nullptr;
    bool converts() const { return rawCopy || routine != nullptr; }
};

ResolvedPair resolvePair(int32_t src, int32_t dst) {
    ResolvedPair pair;
    pair.sourceCrossed = src == FORMAT_YV12;
    pair.destinationCrossed = dst == FORMAT_YV12;
    if (pair.sourceCrossed) src = FORMAT_I420;
    if (pair.destinationCrossed) dst = FORMAT_I420;
    pair.rawCopy = isRawCopy(src, dst);
    // Planar 4:2:2 passes for 4:2:0 by reading every second chroma row; the
    // odd ones are dropped, nothing is averaged.
    if (!pair.rawCopy && src == FORMAT_YVYU && dst != FORMAT_I420) {
        pair.sourceRowsSkipped = true;
        src = FORMAT_I420;
    }
    pair.src = src;
    pair.dst = dst;
    if (!pair.rawCopy) pair.routine = findRoutine(src, dst);
    return pair;
}

// Runs a pair's routine on the planes of two images of one size.
void runRoutine(const ResolvedPair& pair, const TImage& source, const TImage& destination) {
    Conversion c{};
    c.size = {destination.width, destination.height};
    readPlanes(source, c.src, c.srcStep);
    readPlanes(destination, c.dst, c.dstStep);
    if (pair.sourceCrossed) {
        std::swap(c.src[1], c.src[2]);
        std::swap(c.srcStep[1], c.srcStep[2]);
    }
    if (pair.destinationCrossed) {
        std::swap(c.dst[1], c.dst[2]);
        std::swap(c.dstStep[1], c.dstStep[2]);
    }
    if (pair.sourceRowsSkipped) {
        c.srcStep[1] *= 2;
        c.srcStep[2] *= 2;
    }
    crossPlanes(c.src, c.srcStep, c.srcX, c.srcStepX);
    crossPlanes(c.dst, c.dstStep, c.dstX, c.dstStepX);
    pair.routine(c);
}

}  // namespace

bool convertColorSpaceDirect(const TImage* source, TImage* destination) {
    if (!isValidImage(source) || !isValidImage(destination)) return false;
    if (source->width != destination->width || source->height != destination->height) return false;
    const ResolvedPair pair = resolvePair(source->format, destination->format);
    if (pair.rawCopy) {
        // The raw copies between 0 and 5 don't move the chroma planes: what
        // was Cb reads as Cr on the other side.
        ippsCopy_8u(source->data, destination->data, destination->size);
        return true;
    }
    if (pair.routine == nullptr) return false;
    runRoutine(pair, *source, *destination);
    return true;
}

namespace {

// Routines that write whole groups of eight pixels and leave the rest of a
// row as it was.
bool writesEveryPixel(const ResolvedPair& pair) {
    return !((pair.src == FORMAT_I420 && pair.dst == FORMAT_Y41P) ||
             (pair.src == FORMAT_Y41P && pair.dst == FORMAT_I420));
}

// 4:2:0 to planar 4:1:1 averages chroma rows k and k + 1 and treats the
// image's last rows on their own: a band would see other rows.
bool convertsInBands(const ResolvedPair& pair) {
    return !(pair.src == FORMAT_I420 && pair.dst == FORMAT_Y411);
}

// Packed 4:2:2 to planar 4:2:2 takes another chroma order by alignment.
bool dependsOnAlignment(const ResolvedPair& pair) {
    return pair.src == FORMAT_YUY2 && pair.dst == FORMAT_YVYU;
}

// The record of an image that convertColorSpace would allocate, laid out but
// without a buffer; false where the allocation would fail on its geometry.
bool layoutTemporary(int32_t width, int32_t height, int32_t format, TImage& image,
                     PlaneInfo& info) {
    image = TImage{};
    image.width = width;
    image.height = height;
    image.format = format;
    image.planeInfo = &info;
    return layoutPlanes(image, info, image.size) && image.size > 0;
}

void copyRawRows(const uint8_t* sourceBytes, const ImageRows& destination) {
    const PlaneInfo& layout = *destination.whole->planeInfo;
    const int32_t end = destination.firstRow + destination.rows;
    for (int32_t i = 0; i < layout.planeCount; ++i) {
        const PlaneEntry& plane = layout.planes[i];
        const int64_t first = planeRowOf(plane, destination.firstRow);
        ippsCopy_8u(sourceBytes + plane.offset + first * plane.stride, destination.planes[i],
                    planeRowsOf(plane, destination.firstRow, end) * plane.stride);
    }
}

// One leg over a band. A raw copy reads the bytes of the whole source image
// by the destination's layout, as the copy of the whole buffer does.
void convertLeg(const ResolvedPair& pair, const ImageRows& source, const ImageRows& destination) {
    if (pair.rawCopy) {
        copyRawRows(source.whole->data, destination);
        return;
    }
    PlaneInfo sourceInfo, destinationInfo;
    runRoutine(pair, viewOf(source, sourceInfo), viewOf(destination, destinationInfo));
}

}  // namespace

ConversionRoute findConversionRoute(int32_t sourceFormat, int32_t destinationFormat,
                                    int32_t width, int32_t height) {
    ConversionRoute route;
    route.sourceFormat = sourceFormat;
    route.destinationFormat = destinationFormat;
    route.rowStep = std::max({2, rowsPerBandStep(sourceFormat), rowsPerBandStep(destinationFormat)});
    const bool bgraAndYv12 = (sourceFormat == FORMAT_RGB32 && destinationFormat == FORMAT_YV12) ||
                             (sourceFormat == FORMAT_YV12 && destinationFormat == FORMAT_RGB32);
    const ResolvedPair direct = resolvePair(sourceFormat, destinationFormat);
    if (!bgraAndYv12 && direct.converts()) {
        route.converts = true;
        route.convertsInBands = convertsInBands(direct);
        route.writesEveryPixel = writesEveryPixel(direct);
        route.dependsOnAlignment = dependsOnAlignment(direct);
        route.copiesBuffer = direct.rawCopy;
        route.readsSourceBuffer = direct.rawCopy;
        return route;
    }
    route.viaTemporary = true;
    route.temporaryFormat = bgraAndYv12 ? FORMAT_RGB24 : FORMAT_I420;
    route.rowStep = std::max(route.rowStep, rowsPerBandStep(route.temporaryFormat));
    const ResolvedPair first = resolvePair(sourceFormat, route.temporaryFormat);
    const ResolvedPair second = resolvePair(route.temporaryFormat, destinationFormat);
    TImage temporary;
    PlaneInfo temporaryInfo;
    route.converts = first.converts() && second.converts() &&
                     layoutTemporary(width, height, route.temporaryFormat, temporary, temporaryInfo);
    // The second leg reads a band of the temporary image: a raw copy of it
    // would need the whole.
    route.convertsInBands = convertsInBands(first) && convertsInBands(second) && !second.rawCopy;
    route.writesEveryPixel = writesEveryPixel(second);
    route.dependsOnAlignment = dependsOnAlignment(second);
    route.readsSourceBuffer = first.rawCopy;
    return route;
}

bool convertRows(const ConversionRoute& route, const TImage& source,
                 const ImageRows& destination, ScratchBuffer& temporary) {
    return convertRows(route, rowsOf(source, destination.firstRow, destination.rows), destination,
                       temporary);
}

bool convertRows(const ConversionRoute& route, const ImageRows& source,
                 const ImageRows& destination, ScratchBuffer& temporary) {
    if (!route.converts) return false;
    if (!route.viaTemporary) {
        convertLeg(resolvePair(route.sourceFormat, route.destinationFormat), source, destination);
        return true;
    }
    TImage whole;
    PlaneInfo wholeInfo;
    layoutTemporary(source.whole->width, source.whole->height, route.temporaryFormat, whole,
                    wholeInfo);
    const BandLayout layout(whole, destination.rows);
    uint8_t* block = temporary.reserve(layout.bytes());
    if (block == nullptr) return false;
    const ImageRows temporaryRows = layout.place(block, destination.firstRow, destination.rows);
    // The temporary image starts out zero, and the second leg reads what the
    // first leaves.
    const ResolvedPair first = resolvePair(route.sourceFormat, route.temporaryFormat);
    if (!writesEveryPixel(first)) clearRows(temporaryRows);
    convertLeg(first, source, temporaryRows);
    convertLeg(resolvePair(route.temporaryFormat, route.destinationFormat), temporaryRows,
               destination);
    return true;
}

bool convertColorSpaceWithTemoraryImage(const TImage* source, TImage* destination,
                                        int32_t temporaryFormat) {
    CTraces scope("convertColorSpaceWithTemoraryImage()");
    TImage* temp = morvaAllocateImage("temp", destination->width, destination->height,
                                      temporaryFormat, nullptr, 0);
    if (temp == nullptr) return false;
    bool ok = convertColorSpaceDirect(source, temp);
    if (ok) ok = convertColorSpaceDirect(temp, destination);
    morvaFreeImage(temp);
    return ok;
}

namespace {

// The two legs band by band, through rows of the temporary image instead of
// the whole of it: the same bytes where the route converts in bands, and the
// same id taken. Nothing where the trace is on, whose lines tell of the
// whole temporary image, or where the sizes differ.
std::optional<bool> convertThroughTemporaryRows(const TImage& source, TImage& destination) {
    if (traceEnabled() || source.width != destination.width ||
        source.height != destination.height)
        return std::nullopt;
    const ConversionRoute route =
        findConversionRoute(source.format, destination.format, source.width, source.height);
    if (!route.convertsInBands) return std::nullopt;
    reserveImageIds(1);  // the temporary image is made, or fails, with its id
    if (!route.converts) return false;
    WorkBuffers& buffers = threadWorkBuffers();
    const int64_t rowBytes = std::max<int64_t>(1, destination.size / destination.height);
    const int32_t bandRows =
        int32_t(std::clamp<int64_t>(buffers.bandBytes / rowBytes / route.rowStep, 1,
                                    destination.height)) *
        route.rowStep;
    for (int32_t first = 0; first < destination.height; first += bandRows) {
        const int32_t rows = std::min(bandRows, destination.height - first);
        if (!convertRows(route, source, rowsOf(destination, first, rows), buffers.temporary))
            return false;
    }
    return true;
}

bool convertThroughTemporary(const TImage& source, TImage& destination, int32_t temporaryFormat) {
    const std::optional<bool> inBands = convertThroughTemporaryRows(source, destination);
    if (inBands) return *inBands;
    return convertColorSpaceWithTemoraryImage(&source, &destination, temporaryFormat);
}

}  // namespace

bool convertColorSpace(const TImage* source, TImage* destination) {
    CTraces scope("convertColorSpace()");
    if (!isValidImage(source) || !isValidImage(destination)) return false;
    traceWrite(scope, "Converting from %d --> %d\n", source->format, destination->format);
    // 32-bit BGR and format 0 go through 24-bit BGR by choice; their direct
    // route is not tried.
    const bool bgraAndYv12 = (source->format == FORMAT_RGB32 && destination->format == FORMAT_YV12) ||
                             (source->format == FORMAT_YV12 && destination->format == FORMAT_RGB32);
    if (bgraAndYv12) {
        if (source->width != destination->width || source->height != destination->height)
            return false;
        return convertThroughTemporary(*source, *destination, FORMAT_RGB24);
    }
    if (convertColorSpaceDirect(source, destination)) return true;
    return convertThroughTemporary(*source, *destination, FORMAT_I420);
}

}  // namespace morva
