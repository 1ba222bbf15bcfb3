// FFmpeg's swscale with one thread: one context per geometry, made before
// the timing, and one sws_scale per frame, which converts and resizes in one
// pass.
extern "C" {
#include <libavutil/opt.h>
#include <libavutil/pixfmt.h>
#include <libswscale/swscale.h>
}

#include <stdexcept>

#include "peers.h"

namespace morva::peers {
namespace {

AVPixelFormat pixelFormatOf(int32_t format) {
    switch (format) {
    case FORMAT_I420: return AV_PIX_FMT_YUV420P;
    case FORMAT_YVYU: return AV_PIX_FMT_YUV422P;
    case FORMAT_NV12: return AV_PIX_FMT_NV12;
    case FORMAT_YUY2: return AV_PIX_FMT_YUYV422;
    case FORMAT_UYVY: return AV_PIX_FMT_UYVY422;
    case FORMAT_RGB32: return AV_PIX_FMT_BGRA;
    case FORMAT_RGB24: return AV_PIX_FMT_BGR24;
    case FORMAT_RGB565: return AV_PIX_FMT_RGB565LE;
    case FORMAT_RGB555: return AV_PIX_FMT_RGB555LE;
    case FORMAT_GRAY8: return AV_PIX_FMT_GRAY8;
    default: return AV_PIX_FMT_NONE;
    }
}

struct Flag {
    int value;
    const char* name;
};

using ContextPtr = std::shared_ptr<SwsContext>;

// A context of one thread from w x h in one format to another geometry.
ContextPtr makeContext(int32_t fromFormat, int32_t w, int32_t h, int32_t toFormat, int32_t toW,
                       int32_t toH, int flags) {
    SwsContext* c = sws_alloc_context();
    if (c == nullptr) throw std::bad_alloc();
    ContextPtr context(c, sws_freeContext);
    const bool set = av_opt_set_int(c, "srcw", w, 0) >= 0 && av_opt_set_int(c, "srch", h, 0) >= 0 &&
                     av_opt_set_int(c, "src_format", pixelFormatOf(fromFormat), 0) >= 0 &&
                     av_opt_set_int(c, "dstw", toW, 0) >= 0 && av_opt_set_int(c, "dsth", toH, 0) >= 0 &&
                     av_opt_set_int(c, "dst_format", pixelFormatOf(toFormat), 0) >= 0 &&
                     av_opt_set_int(c, "sws_flags", flags, 0) >= 0 &&
                     av_opt_set_int(c, "threads", 1, 0) >= 0;
    if (!set || sws_init_context(c, nullptr, nullptr) < 0)
        throw std::runtime_error("swscale refuses a context from " + formatName(fromFormat) +
                                 " to " + formatName(toFormat));
    return context;
}

// The plane pointers and strides of an image, starting at pixel (x, y).
struct Planes {
    uint8_t* data[4] = {};
    int stride[4] = {};
};
Planes planesAt(const TImage& image, int32_t x, int32_t y) {
    Planes p;
    for (int i = 0; i < image.planeInfo->planeCount && i < 4; ++i) {
        p.data[i] = planeData(image, i) + planeOffset(image, i, x, y);
        p.stride[i] = planeStride(image, i);
    }
    return p;
}

void scale(SwsContext* context, const TImage& source, const TImage& target, const Rect& r) {
    const Planes in = planesAt(source, 0, 0), out = planesAt(target, r.x, r.y);
    sws_scale(context, in.data, in.stride, 0, source.height, out.data, out.stride);
}

bool takes(int32_t format) { return pixelFormatOf(format) != AV_PIX_FMT_NONE; }

std::vector<Contender> convert(const ConvertJob& job) {
    const ImagePtr source = job.source;
    if (!takes(source->format) || !takes(job.targetFormat)) return {};
    const ImagePtr target = allocateImage(source->width, source->height, job.targetFormat);
    const ContextPtr context = makeContext(source->format, source->width, source->height,
                                           job.targetFormat, target->width, target->height,
                                           SWS_BILINEAR);
    return {{"swscale", "sws_scale, SWS_BILINEAR",
             [=] { scale(context.get(), *source, *target, wholeImage(*target)); }, target}};
}

// The flags of a method; two for linear, whose fast form is linear too.
std::vector<Flag> flagsOf(Method method) {
    switch (method) {
    case Method::Nearest: return {{SWS_POINT, "SWS_POINT"}};
    case Method::Linear: return {{SWS_BILINEAR, "SWS_BILINEAR"}, {SWS_FAST_BILINEAR, "SWS_FAST_BILINEAR"}};
    case Method::Cubic: return {{SWS_BICUBIC, "SWS_BICUBIC"}};
    case Method::Lanczos: return {{SWS_LANCZOS, "SWS_LANCZOS"}};
    case Method::Super: return {{SWS_AREA, "SWS_AREA"}};
    }
    return {};
}

std::vector<Contender> resize(const ResizeJob& job) {
    const ImagePtr s = job.source;
    if (!takes(s->format)) return {};
    const Rect r = job.region;
    std::vector<Contender> out;
    for (const Flag& flag : flagsOf(job.method)) {
        const ImagePtr d = allocateImage(job.targetWidth, job.targetHeight, s->format);
        const ContextPtr context =
            makeContext(s->format, s->width, s->height, s->format, r.width, r.height, flag.value);
        out.push_back({"swscale", std::string("sws_scale, ") + flag.name,
                       [=] { scale(context.get(), *s, *d, r); }, d});
    }
    return out;
}

std::vector<Contender> grid(const GridJob& job) {
    if (job.method != Method::Nearest && job.method != Method::Linear) return {};
    const TImage& first = *job.sources.front();
    const Rect& cell = job.placements.front();
    std::vector<Contender> out;
    for (const Flag& flag : flagsOf(job.method)) {
        const ContextPtr context = makeContext(first.format, first.width, first.height, FORMAT_RGB32,
                                               cell.width, cell.height, flag.value);
        out.push_back(gridContender(job, "swscale", std::string("sws_scale into each cell, ") + flag.name,
                                    [context](const TImage& s, TImage& target, const Rect& r) {
                                        scale(context.get(), s, target, r);
                                    }));
    }
    return out;
}

}  // namespace

Peer swscalePeer() {
    auto version = [] {
        const unsigned v = swscale_version();
        return "swscale " + std::to_string(v >> 16) + "." + std::to_string((v >> 8) & 255) + "." +
               std::to_string(v & 255);
    };
    return {"swscale", version, convert, resize, grid};
}

}  // namespace morva::peers
