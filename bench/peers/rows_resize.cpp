// Resize rows: a 1920x1080 frame resized into a target of its own format
// through resizeImageInternal, the driver that render and copy use; and the
// antialiasing rows, which no peer has, against the same method without it.
#include "peers.h"
#include "resample/resize.h"
#include "resample/resize_driver.h"
#include "rows.h"

namespace morva::peers {
namespace {

constexpr int32_t kSourceWidth = 1920, kSourceHeight = 1080;

struct ResizeCase {
    int32_t format;
    int32_t targetWidth, targetHeight;
    Method method;
};

constexpr ResizeCase kResizes[] = {
    {FORMAT_GRAY8, 960, 540, Method::Nearest},    {FORMAT_GRAY8, 960, 540, Method::Linear},
    {FORMAT_GRAY8, 960, 540, Method::Super},      {FORMAT_GRAY8, 960, 540, Method::Cubic},
    {FORMAT_GRAY8, 960, 540, Method::Lanczos},    {FORMAT_GRAY8, 1280, 720, Method::Nearest},
    {FORMAT_GRAY8, 1280, 720, Method::Linear},    {FORMAT_GRAY8, 1280, 720, Method::Cubic},
    {FORMAT_GRAY8, 1280, 720, Method::Lanczos},   {FORMAT_GRAY8, 1280, 720, Method::Super},
    {FORMAT_GRAY8, 3840, 2160, Method::Nearest},  {FORMAT_GRAY8, 3840, 2160, Method::Linear},
    {FORMAT_GRAY8, 3840, 2160, Method::Cubic},    {FORMAT_GRAY8, 3840, 2160, Method::Lanczos},
    {FORMAT_GRAY8, 1366, 768, Method::Linear},    {FORMAT_GRAY8, 1366, 768, Method::Cubic},
    {FORMAT_GRAY8, 1366, 768, Method::Super},     {FORMAT_RGB32, 1280, 720, Method::Nearest},
    {FORMAT_RGB32, 1280, 720, Method::Linear},    {FORMAT_RGB32, 1280, 720, Method::Super},
    {FORMAT_RGB32, 960, 540, Method::Linear},     {FORMAT_RGB32, 3840, 2160, Method::Linear},
    {FORMAT_RGB24, 1280, 720, Method::Linear},    {FORMAT_RGB24, 1280, 720, Method::Super},
    {FORMAT_I420, 1280, 720, Method::Linear},     {FORMAT_I420, 960, 540, Method::Linear},
    {FORMAT_I420, 1366, 768, Method::Linear},     {FORMAT_YUY2, 1280, 720, Method::Linear},
    {FORMAT_YUY2, 1280, 720, Method::Super},
};

constexpr ResizeCase kAntialiased[] = {
    {FORMAT_GRAY8, 480, 270, Method::Linear},   {FORMAT_GRAY8, 480, 270, Method::Cubic},
    {FORMAT_GRAY8, 480, 270, Method::Lanczos},  {FORMAT_GRAY8, 1280, 720, Method::Linear},
    {FORMAT_GRAY8, 1280, 720, Method::Lanczos}, {FORMAT_RGB32, 640, 360, Method::Linear},
    {FORMAT_RGB24, 640, 360, Method::Linear},
};

// morva resizing the job's source into a target of its own.
Contender morvaResize(const ResizeJob& job, const std::string& name, int32_t interpolation) {
    const ImagePtr s = job.source;
    const ImagePtr d = allocateImage(job.targetWidth, job.targetHeight, s->format);
    const Rect r = job.region;
    const double xFactor = double(r.width) / s->width, yFactor = double(r.height) / s->height;
    return {name, "resizeImageInternal", [=] {
                resizeImageInternal(s.get(), {0, 0, s->width, s->height}, d.get(),
                                    {r.x, r.y, r.width, r.height}, interpolation, xFactor, yFactor);
            },
            d};
}

RowSetup setupResize(const ResizeCase& c, bool antialiased) {
    const ResizeJob job{sceneImage(kSourceWidth, kSourceHeight, c.format), c.targetWidth,
                        c.targetHeight, {0, 0, c.targetWidth, c.targetHeight}, c.method};
    const int32_t interpolation = morvaInterpolation(c.method);
    RowSetup setup;
    if (antialiased) {
        setup.morva = morvaResize(job, "morva", interpolation | RESIZE_ANTIALIASING);
        setup.baselines = {morvaResize(job, kMorvaWithoutAntialiasing, interpolation)};
    } else {
        setup.morva = morvaResize(job, "morva", interpolation);
        setup.baselines = askPeers(&Peer::resize, job);
    }
    setup.checkedRegion = job.region;
    return setup;
}

RowPlan resizeRow(const ResizeCase& c, bool antialiased) {
    const std::string target = sizeText(c.targetWidth, c.targetHeight);
    const std::string method = std::string(methodName(c.method)) + (antialiased ? " + antialiasing" : "");
    const std::string group = antialiased ? "antialias" : "resize";
    return {rowId({group, formatName(c.format), target, methodName(c.method)}), group,
            formatName(c.format) + " " + sizeText(kSourceWidth, kSourceHeight) + " -> " + target +
                ", " + method,
            [c, antialiased] { return setupResize(c, antialiased); }};
}

}  // namespace

std::vector<RowPlan> resizeRows() {
    std::vector<RowPlan> rows;
    for (const ResizeCase& c : kResizes) rows.push_back(resizeRow(c, false));
    return rows;
}

std::vector<RowPlan> antialiasRows() {
    std::vector<RowPlan> rows;
    for (const ResizeCase& c : kAntialiased) rows.push_back(resizeRow(c, true));
    return rows;
}

}  // namespace morva::peers
