// libyuv: a function per pair of formats, ScalePlane and its per-layout
// relatives for resizing; nearest, bilinear and box filters only.
#include <libyuv.h>
#include <libyuv/scale_rgb.h>

#include <optional>

#include "peers.h"

namespace morva::peers {
namespace {

// A plane as the two arguments libyuv takes for it: pointer and stride.
#define PLANE(image, index) planeData(image, index), planeStride(image, index)

using ConvertCall = void (*)(const TImage& s, TImage& d, std::vector<uint8_t>& scratch);

struct Conversion {
    int32_t from, to;
    const char* call;
    ConvertCall fn;
};

const Conversion kConversions[] = {
    {FORMAT_I420, FORMAT_RGB32, "I420ToARGB",
     [](const TImage& s, TImage& d, std::vector<uint8_t>&) {
         libyuv::I420ToARGB(PLANE(s, 0), PLANE(s, 1), PLANE(s, 2), PLANE(d, 0), s.width, s.height);
     }},
    {FORMAT_I420, FORMAT_RGB24, "I420ToRGB24",
     [](const TImage& s, TImage& d, std::vector<uint8_t>&) {
         libyuv::I420ToRGB24(PLANE(s, 0), PLANE(s, 1), PLANE(s, 2), PLANE(d, 0), s.width, s.height);
     }},
    {FORMAT_I420, FORMAT_RGB565, "I420ToRGB565",
     [](const TImage& s, TImage& d, std::vector<uint8_t>&) {
         libyuv::I420ToRGB565(PLANE(s, 0), PLANE(s, 1), PLANE(s, 2), PLANE(d, 0), s.width, s.height);
     }},
    {FORMAT_I420, FORMAT_RGB555, "I420ToARGB1555",
     [](const TImage& s, TImage& d, std::vector<uint8_t>&) {
         libyuv::I420ToARGB1555(PLANE(s, 0), PLANE(s, 1), PLANE(s, 2), PLANE(d, 0), s.width,
                                s.height);
     }},
    {FORMAT_I420, FORMAT_YUY2, "I420ToYUY2",
     [](const TImage& s, TImage& d, std::vector<uint8_t>&) {
         libyuv::I420ToYUY2(PLANE(s, 0), PLANE(s, 1), PLANE(s, 2), PLANE(d, 0), s.width, s.height);
     }},
    {FORMAT_RGB24, FORMAT_I420, "RGB24ToI420",
     [](const TImage& s, TImage& d, std::vector<uint8_t>&) {
         libyuv::RGB24ToI420(PLANE(s, 0), PLANE(d, 0), PLANE(d, 1), PLANE(d, 2), s.width, s.height);
     }},
    {FORMAT_RGB32, FORMAT_I420, "ARGBToI420",
     [](const TImage& s, TImage& d, std::vector<uint8_t>&) {
         libyuv::ARGBToI420(PLANE(s, 0), PLANE(d, 0), PLANE(d, 1), PLANE(d, 2), s.width, s.height);
     }},
    {FORMAT_RGB32, FORMAT_YUY2, "ARGBToYUY2",
     [](const TImage& s, TImage& d, std::vector<uint8_t>&) {
         libyuv::ARGBToYUY2(PLANE(s, 0), PLANE(d, 0), s.width, s.height);
     }},
    {FORMAT_RGB565, FORMAT_I420, "RGB565ToI420",
     [](const TImage& s, TImage& d, std::vector<uint8_t>&) {
         libyuv::RGB565ToI420(PLANE(s, 0), PLANE(d, 0), PLANE(d, 1), PLANE(d, 2), s.width, s.height);
     }},
    {FORMAT_YUY2, FORMAT_RGB32, "YUY2ToARGB",
     [](const TImage& s, TImage& d, std::vector<uint8_t>&) {
         libyuv::YUY2ToARGB(PLANE(s, 0), PLANE(d, 0), s.width, s.height);
     }},
    {FORMAT_UYVY, FORMAT_RGB32, "UYVYToARGB",
     [](const TImage& s, TImage& d, std::vector<uint8_t>&) {
         libyuv::UYVYToARGB(PLANE(s, 0), PLANE(d, 0), s.width, s.height);
     }},
    {FORMAT_YUY2, FORMAT_I420, "YUY2ToI420",
     [](const TImage& s, TImage& d, std::vector<uint8_t>&) {
         libyuv::YUY2ToI420(PLANE(s, 0), PLANE(d, 0), PLANE(d, 1), PLANE(d, 2), s.width, s.height);
     }},
    {FORMAT_UYVY, FORMAT_I420, "UYVYToI420",
     [](const TImage& s, TImage& d, std::vector<uint8_t>&) {
         libyuv::UYVYToI420(PLANE(s, 0), PLANE(d, 0), PLANE(d, 1), PLANE(d, 2), s.width, s.height);
     }},
    // No direct call: a whole BGRA frame between the two steps.
    {FORMAT_YUY2, FORMAT_RGB565, "YUY2ToARGB + ARGBToRGB565",
     [](const TImage& s, TImage& d, std::vector<uint8_t>& scratch) {
         const int stride = 4 * s.width;
         scratch.resize(size_t(stride) * s.height);
         libyuv::YUY2ToARGB(PLANE(s, 0), scratch.data(), stride, s.width, s.height);
         libyuv::ARGBToRGB565(scratch.data(), stride, PLANE(d, 0), s.width, s.height);
     }},
    {FORMAT_YVYU, FORMAT_RGB32, "I422ToARGB",
     [](const TImage& s, TImage& d, std::vector<uint8_t>&) {
         libyuv::I422ToARGB(PLANE(s, 0), PLANE(s, 1), PLANE(s, 2), PLANE(d, 0), s.width, s.height);
     }},
    {FORMAT_NV12, FORMAT_I420, "NV12ToI420",
     [](const TImage& s, TImage& d, std::vector<uint8_t>&) {
         libyuv::NV12ToI420(PLANE(s, 0), PLANE(s, 1), PLANE(d, 0), PLANE(d, 1), PLANE(d, 2), s.width,
                            s.height);
     }},
    {FORMAT_RGB24, FORMAT_RGB32, "RGB24ToARGB",
     [](const TImage& s, TImage& d, std::vector<uint8_t>&) {
         libyuv::RGB24ToARGB(PLANE(s, 0), PLANE(d, 0), s.width, s.height);
     }},
    {FORMAT_RGB32, FORMAT_RGB24, "ARGBToRGB24",
     [](const TImage& s, TImage& d, std::vector<uint8_t>&) {
         libyuv::ARGBToRGB24(PLANE(s, 0), PLANE(d, 0), s.width, s.height);
     }},
};

std::vector<Contender> convert(const ConvertJob& job) {
    for (const Conversion& c : kConversions) {
        if (c.from != job.source->format || c.to != job.targetFormat) continue;
        const ImagePtr source = job.source;
        const ImagePtr target = allocateImage(source->width, source->height, job.targetFormat);
        auto scratch = std::make_shared<std::vector<uint8_t>>();
        return {{"libyuv", c.call, [=] { c.fn(*source, *target, *scratch); }, target}};
    }
    return {};
}

std::optional<libyuv::FilterMode> filterOf(Method method) {
    switch (method) {
    case Method::Nearest: return libyuv::kFilterNone;
    case Method::Linear: return libyuv::kFilterBilinear;
    case Method::Super: return libyuv::kFilterBox;
    default: return std::nullopt;  // no cubic, no Lanczos
    }
}

const char* filterName(libyuv::FilterMode mode) {
    switch (mode) {
    case libyuv::kFilterNone: return "kFilterNone";
    case libyuv::kFilterLinear: return "kFilterLinear";
    case libyuv::kFilterBilinear: return "kFilterBilinear";
    default: return "kFilterBox";
    }
}

// The region of every plane of an I420 image.
struct I420Region {
    uint8_t* data[3];
    int stride[3];
};
I420Region i420Region(const TImage& image, const Rect& r) {
    I420Region out{};
    for (int i = 0; i < 3; ++i) {
        out.data[i] = planeData(image, i) + planeOffset(image, i, r.x, r.y);
        out.stride[i] = planeStride(image, i);
    }
    return out;
}

void scaleI420(const TImage& s, const TImage& d, const Rect& r, libyuv::FilterMode mode) {
    const I420Region out = i420Region(d, r);
    libyuv::I420Scale(PLANE(s, 0), PLANE(s, 1), PLANE(s, 2), s.width, s.height, out.data[0],
                      out.stride[0], out.data[1], out.stride[1], out.data[2], out.stride[2],
                      r.width, r.height, mode);
}

// The scalers of one-plane layouts, with the result dropped where there is
// one, so that a table holds them.
using ScaleOnePlane = void (*)(const uint8_t* src, int srcStride, int srcWidth, int srcHeight,
                               uint8_t* dst, int dstStride, int dstWidth, int dstHeight,
                               libyuv::FilterMode mode);
template <auto scaler>
void dropResult(const uint8_t* src, int srcStride, int srcWidth, int srcHeight, uint8_t* dst,
                int dstStride, int dstWidth, int dstHeight, libyuv::FilterMode mode) {
    scaler(src, srcStride, srcWidth, srcHeight, dst, dstStride, dstWidth, dstHeight, mode);
}

struct OnePlaneScaler {
    int32_t format;
    const char* call;
    ScaleOnePlane fn;
};

const OnePlaneScaler kScalers[] = {
    {FORMAT_GRAY8, "ScalePlane", dropResult<libyuv::ScalePlane>},
    {FORMAT_RGB32, "ARGBScale", dropResult<libyuv::ARGBScale>},
    {FORMAT_RGB24, "RGBScale", dropResult<libyuv::RGBScale>},
};

std::vector<Contender> resize(const ResizeJob& job) {
    const std::optional<libyuv::FilterMode> mode = filterOf(job.method);
    if (!mode) return {};
    const ImagePtr s = job.source;
    const ImagePtr d = allocateImage(job.targetWidth, job.targetHeight, s->format);
    const Rect r = job.region;
    const std::string suffix = std::string(", ") + filterName(*mode);
    if (s->format == FORMAT_I420)
        return {{"libyuv", "I420Scale" + suffix, [=] { scaleI420(*s, *d, r, *mode); }, d}};
    for (const OnePlaneScaler& scaler : kScalers) {
        if (scaler.format != s->format) continue;
        uint8_t* out = planeData(*d, 0) + planeOffset(*d, 0, r.x, r.y);
        return {{"libyuv", scaler.call + suffix,
                 [=, fn = scaler.fn, outStride = planeStride(*d, 0)] {
                     fn(PLANE(*s, 0), s->width, s->height, out, outStride, r.width, r.height, *mode);
                 },
                 d}};
    }
    return {};
}

void i420ToCell(const TImage& s, TImage& target, const Rect& r) {
    libyuv::I420ToARGB(PLANE(s, 0), PLANE(s, 1), PLANE(s, 2),
                       planeData(target, 0) + planeOffset(target, 0, r.x, r.y),
                       planeStride(target, 0), s.width, s.height);
}

std::vector<Contender> grid(const GridJob& job) {
    const std::optional<libyuv::FilterMode> mode = filterOf(job.method);
    if (!mode) return {};
    if (cellsHaveSourceSize(job)) return {gridContender(job, "libyuv", "I420ToARGB into each cell", i420ToCell)};

    // Scaling first works on fewer bytes when the cells are smaller, and
    // converting first when they are larger: both are offered.
    const std::string suffix = std::string(", ") + filterName(*mode);
    const Rect& cell = job.placements.front();
    const TImage& first = *job.sources.front();
    const ImagePtr scaled = allocateImage(cell.width, cell.height, FORMAT_I420);
    const ImagePtr converted = allocateImage(first.width, first.height, FORMAT_RGB32);
    auto scaleFirst = [=, mode = *mode](const TImage& s, TImage& target, const Rect& r) {
        scaleI420(s, *scaled, wholeImage(*scaled), mode);
        i420ToCell(*scaled, target, r);
    };
    auto convertFirst = [=, mode = *mode](const TImage& s, TImage& target, const Rect& r) {
        libyuv::I420ToARGB(PLANE(s, 0), PLANE(s, 1), PLANE(s, 2), PLANE(*converted, 0), s.width,
                           s.height);
        libyuv::ARGBScale(PLANE(*converted, 0), s.width, s.height,
                          planeData(target, 0) + planeOffset(target, 0, r.x, r.y),
                          planeStride(target, 0), r.width, r.height, mode);
    };
    return {gridContender(job, "libyuv", "I420Scale + I420ToARGB into each cell" + suffix, scaleFirst),
            gridContender(job, "libyuv", "I420ToARGB + ARGBScale into each cell" + suffix, convertFirst)};
}

#undef PLANE

}  // namespace

Peer libyuvPeer() {
    return {"libyuv", [] { return "libyuv " + std::to_string(LIBYUV_VERSION); }, convert, resize,
            grid};
}

}  // namespace morva::peers
