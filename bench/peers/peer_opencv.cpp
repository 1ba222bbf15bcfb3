// OpenCV (core and imgproc) on one thread: cvtColor for conversions, resize
// for resampling, both writing into matrices that wrap the target's planes.
#include <opencv2/core.hpp>
#include <opencv2/core/version.hpp>
#include <opencv2/imgproc.hpp>

#include <optional>
#include <stdexcept>

#include "peers.h"

namespace morva::peers {
namespace {

// One plane as a matrix of its units (1 to 4 bytes of 8 bits each).
cv::Mat planeMat(const TImage& image, int index) {
    const PlaneEntry& e = image.planeInfo->planes[index];
    const int channels = e.channels * e.bytesPerChannel;
    return cv::Mat(e.height, e.width, CV_8UC(channels), e.data, size_t(e.stride));
}

// A three-plane 4:2:0 image as the one matrix of 1.5 times the height that
// cvtColor takes; morva holds the planes back to back without padding.
cv::Mat i420Mat(const TImage& image) {
    const PlaneInfo& p = *image.planeInfo;
    const bool packed = p.planes[0].stride == image.width &&
                        p.planes[1].data == p.planes[0].data + int64_t(image.width) * image.height &&
                        p.planes[2].data == p.planes[1].data + int64_t(p.planes[1].stride) * p.planes[1].height &&
                        p.planes[1].stride * 2 == image.width;
    if (!packed) throw std::runtime_error("I420 planes are not back to back");
    return cv::Mat(image.height * 3 / 2, image.width, CV_8UC1, image.data);
}

// An image as cvtColor takes it: packed 4:2:2 as two bytes a pixel.
cv::Mat wholeMat(const TImage& image) {
    if (image.format == FORMAT_I420) return i420Mat(image);
    if (image.format == FORMAT_YUY2 || image.format == FORMAT_UYVY)
        return cv::Mat(image.height, image.width, CV_8UC2, image.data, size_t(planeStride(image, 0)));
    return planeMat(image, 0);
}

struct Conversion {
    int32_t from, to;
    std::vector<int> codes;  // cvtColor codes, applied in turn
    const char* call;
};

const Conversion kConversions[] = {
    {FORMAT_I420, FORMAT_RGB32, {cv::COLOR_YUV2BGRA_I420}, "cvtColor YUV2BGRA_I420"},
    {FORMAT_I420, FORMAT_RGB24, {cv::COLOR_YUV2BGR_I420}, "cvtColor YUV2BGR_I420"},
    {FORMAT_I420, FORMAT_RGB565, {cv::COLOR_YUV2BGR_I420, cv::COLOR_BGR2BGR565},
     "cvtColor YUV2BGR_I420 + BGR2BGR565"},
    {FORMAT_I420, FORMAT_RGB555, {cv::COLOR_YUV2BGR_I420, cv::COLOR_BGR2BGR555},
     "cvtColor YUV2BGR_I420 + BGR2BGR555"},
    {FORMAT_RGB24, FORMAT_I420, {cv::COLOR_BGR2YUV_I420}, "cvtColor BGR2YUV_I420"},
    {FORMAT_RGB32, FORMAT_I420, {cv::COLOR_BGRA2YUV_I420}, "cvtColor BGRA2YUV_I420"},
    {FORMAT_RGB565, FORMAT_I420, {cv::COLOR_BGR5652BGR, cv::COLOR_BGR2YUV_I420},
     "cvtColor BGR5652BGR + BGR2YUV_I420"},
    {FORMAT_YUY2, FORMAT_RGB32, {cv::COLOR_YUV2BGRA_YUY2}, "cvtColor YUV2BGRA_YUY2"},
    {FORMAT_UYVY, FORMAT_RGB32, {cv::COLOR_YUV2BGRA_UYVY}, "cvtColor YUV2BGRA_UYVY"},
    {FORMAT_YUY2, FORMAT_RGB565, {cv::COLOR_YUV2BGR_YUY2, cv::COLOR_BGR2BGR565},
     "cvtColor YUV2BGR_YUY2 + BGR2BGR565"},
    {FORMAT_RGB24, FORMAT_RGB32, {cv::COLOR_BGR2BGRA}, "cvtColor BGR2BGRA"},
    {FORMAT_RGB32, FORMAT_RGB24, {cv::COLOR_BGRA2BGR}, "cvtColor BGRA2BGR"},
};

std::vector<Contender> convert(const ConvertJob& job) {
    for (const Conversion& c : kConversions) {
        if (c.from != job.source->format || c.to != job.targetFormat) continue;
        const ImagePtr source = job.source;
        const ImagePtr target = allocateImage(source->width, source->height, job.targetFormat);
        const cv::Mat in = wholeMat(*source);
        // Two steps pass a whole BGR frame between them, kept across calls.
        auto between = std::make_shared<cv::Mat>();
        const std::vector<int> codes = c.codes;
        return {{"OpenCV", c.call,
                 [=] {
                     cv::Mat out = wholeMat(*target);
                     if (codes.size() == 1) {
                         cv::cvtColor(in, out, codes[0]);
                     } else {
                         cv::cvtColor(in, *between, codes[0]);
                         cv::cvtColor(*between, out, codes[1]);
                     }
                 },
                 target}};
    }
    return {};
}

struct Interpolation {
    int flag;
    const char* name;
};

Interpolation interpolationOf(Method method) {
    switch (method) {
    case Method::Nearest: return {cv::INTER_NEAREST, "INTER_NEAREST"};
    case Method::Linear: return {cv::INTER_LINEAR, "INTER_LINEAR"};
    case Method::Cubic: return {cv::INTER_CUBIC, "INTER_CUBIC"};
    case Method::Lanczos: return {cv::INTER_LANCZOS4, "INTER_LANCZOS4"};
    case Method::Super: return {cv::INTER_AREA, "INTER_AREA"};
    }
    return {cv::INTER_LINEAR, "INTER_LINEAR"};
}

cv::Rect cvRect(const Rect& r) { return {r.x, r.y, r.width, r.height}; }

// Each plane of an I420 image resized on its own into the region.
void resizeI420(const TImage& s, const TImage& d, const Rect& r, int flag) {
    for (int i = 0; i < 3; ++i) {
        const int sub = i == 0 ? 1 : 2;
        const cv::Rect part(r.x / sub, r.y / sub, r.width / sub, r.height / sub);
        cv::Mat out = planeMat(d, i)(part);
        cv::resize(planeMat(s, i), out, part.size(), 0, 0, flag);
    }
}

std::vector<Contender> resize(const ResizeJob& job) {
    const ImagePtr s = job.source;
    if (s->format != FORMAT_GRAY8 && s->format != FORMAT_RGB24 && s->format != FORMAT_RGB32 &&
        s->format != FORMAT_I420)
        return {};
    const Interpolation how = interpolationOf(job.method);
    const ImagePtr d = allocateImage(job.targetWidth, job.targetHeight, s->format);
    const Rect r = job.region;
    if (s->format == FORMAT_I420)
        return {{"OpenCV", std::string("resize per plane, ") + how.name,
                 [=] { resizeI420(*s, *d, r, how.flag); }, d}};
    return {{"OpenCV", std::string("resize, ") + how.name,
             [=] {
                 cv::Mat out = planeMat(*d, 0)(cvRect(r));
                 cv::resize(planeMat(*s, 0), out, out.size(), 0, 0, how.flag);
             },
             d}};
}

std::vector<Contender> grid(const GridJob& job) {
    if (job.method != Method::Nearest && job.method != Method::Linear) return {};
    const Interpolation how = interpolationOf(job.method);
    auto cellMat = [](TImage& target, const Rect& r) { return planeMat(target, 0)(cvRect(r)); };
    if (cellsHaveSourceSize(job))
        return {gridContender(job, "OpenCV", "cvtColor YUV2BGRA_I420 into each cell",
                              [=](const TImage& s, TImage& target, const Rect& r) {
                                  cv::Mat out = cellMat(target, r);
                                  cv::cvtColor(i420Mat(s), out, cv::COLOR_YUV2BGRA_I420);
                              })};

    const Rect& cell = job.placements.front();
    const ImagePtr scaled = allocateImage(cell.width, cell.height, FORMAT_I420);
    auto converted = std::make_shared<cv::Mat>();
    auto scaleFirst = [=](const TImage& s, TImage& target, const Rect& r) {
        resizeI420(s, *scaled, wholeImage(*scaled), how.flag);
        cv::Mat out = cellMat(target, r);
        cv::cvtColor(i420Mat(*scaled), out, cv::COLOR_YUV2BGRA_I420);
    };
    auto convertFirst = [=](const TImage& s, TImage& target, const Rect& r) {
        cv::cvtColor(i420Mat(s), *converted, cv::COLOR_YUV2BGRA_I420);
        cv::Mat out = cellMat(target, r);
        cv::resize(*converted, out, out.size(), 0, 0, how.flag);
    };
    return {gridContender(job, "OpenCV", std::string("resize per plane + cvtColor into each cell, ") + how.name,
                          scaleFirst),
            gridContender(job, "OpenCV", std::string("cvtColor + resize into each cell, ") + how.name,
                          convertFirst)};
}

}  // namespace

Peer opencvPeer() {
    cv::setNumThreads(1);
    return {"OpenCV", [] { return std::string("OpenCV ") + CV_VERSION; }, convert, resize, grid};
}

}  // namespace morva::peers
