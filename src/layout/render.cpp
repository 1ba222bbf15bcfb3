// Composition: sources into their cells of a target by a named layout.
#include "layout/render.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "color/router.h"
#include "image/image.h"
#include "layout/geometry.h"
#include "layout/layout_registry.h"
#include "layout/render_bands.h"
#include "resample/resize_driver.h"
#include "trace/trace.h"

namespace morva {

bool copyWithResize(const TImage* source, const IppiRect& sourceRect, TImage* target,
                    const IppiRect& cellRect, int32_t interpolation, int32_t scaleMode,
                    ScratchBuffer& work) {
    if (!isValidImage(source) || !isValidImage(target) || source->format != target->format)
        return false;
    const std::optional<CellPlacement> placed = placeInCell(sourceRect, cellRect, scaleMode);
    if (!placed) return false;
    return resizeImageInternal(source, sourceRect, target, placed->rect, interpolation,
                               placed->xFactor, placed->yFactor, work);
}

bool copyWithResize(const TImage* source, const IppiRect& sourceRect, TImage* target,
                    const IppiRect& cellRect, int32_t interpolation, int32_t scaleMode) {
    ScratchBuffer work;
    return copyWithResize(source, sourceRect, target, cellRect, interpolation, scaleMode, work);
}

namespace {
struct ImageDeleter {
    void operator()(TImage* image) const { morvaFreeImage(image); }
};
}  // namespace

void renderSourceWholeFrame(const TImage& source, const IppiRect& cell, TImage& target,
                            ScratchBuffer& work) {
    const IppiRect sourceRect{0, 0, source.width, source.height};
    std::unique_ptr<TImage, ImageDeleter> converted;
    if (source.format != target.format) {
        converted.reset(morvaAllocateImage("colorspaceconverter", source.width, source.height,
                                           target.format, nullptr, 0));
        if (!converted) return;
        convertColorSpace(&source, converted.get());
    }
    copyWithResize(converted ? converted.get() : &source, sourceRect, &target, cell,
                   source.planeInfo->interpolation, source.planeInfo->scaleMode, work);
}

bool copyResizedWholeFrame(const TImage& source, TImage& destination, int32_t interpolation,
                           int32_t scaleMode, ScratchBuffer& work) {
    // Resize first, in the source's format, into a zero-filled image of the
    // destination's size; then convert. Parts outside a fitted rectangle stay
    // zero bytes.
    std::unique_ptr<TImage, ImageDeleter> resized(morvaAllocateImage(
        "Tempresize", destination.width, destination.height, source.format, nullptr, 0));
    if (!resized) return false;
    const IppiRect sourceRect{0, 0, source.width, source.height};
    const IppiRect destinationRect{0, 0, destination.width, destination.height};
    return copyWithResize(&source, sourceRect, resized.get(), destinationRect, interpolation,
                          scaleMode, work) &&
           convertColorSpace(resized.get(), &destination);
}

namespace {

// Source i into its cell: converted at its own size when its format differs,
// then resized by its own attributes. Failures stay with this source. The
// trace shows the steps of the whole-frame path: with the trace on, that is
// the path taken.
void renderSource(const TImage& source, int32_t index, const LayoutRecord& layout,
                  TImage& target, int32_t targetWidth, int32_t targetHeight,
                  WorkBuffers& buffers) {
    const std::optional<IppiRect> cell = calcCellRect(index, layout, targetWidth, targetHeight);
    if (!cell) return;
    if (source.format != target.format && !traceEnabled())
        renderConvertedUntraced(source, *cell, target, buffers);
    else
        renderSourceWholeFrame(source, *cell, target, buffers.work);
}

struct Candidate {
    int32_t index;
    BITMAPINFOHEADER header;
};

int32_t pickFromList(std::vector<Candidate>& list, int32_t minWidth, int32_t minHeight) {
    if (list.empty()) return -1;
    std::stable_sort(list.begin(), list.end(), [](const Candidate& a, const Candidate& b) {
        return a.header.biWidth < b.header.biWidth;
    });
    if (minWidth == 0 && minHeight == 0) return list.front().index;
    for (const Candidate& c : list)
        if (c.header.biWidth >= minWidth && c.header.biHeight >= minHeight) return c.index;
    return -1;
}

}  // namespace
}  // namespace morva

using morva::CTraces;
using morva::describeImage;
using morva::isValidImage;
using morva::traceWrite;

bool morvaRender(const char* layoutName, TImage* target, TImage* const* sources, int32_t count) {
    CTraces scope("morvaRender()");
    if (!isValidImage(target) || layoutName == nullptr || *layoutName == '\0') return false;
    traceWrite(scope, "Target image:%s", describeImage(target).c_str());
    // A null array holds no valid source.
    auto sourceAt = [sources](int32_t i) { return sources != nullptr ? sources[i] : nullptr; };
    for (int32_t i = 0; i < count; ++i)
        if (isValidImage(sourceAt(i)))
            traceWrite(scope, "Source image:%s", describeImage(sourceAt(i)).c_str());
    const std::optional<morva::LayoutRecord> layout = morva::findLayout(layoutName);
    if (!layout) {
        traceWrite(scope, "Layout '%s' not found.\n", layoutName);
        return false;
    }
    // A grid without rows or columns has no cells; it is refused, and the
    // target stays as it was.
    if (layout->rows == 0 || layout->columns == 0) {
        traceWrite(scope, "Layout '%s' has no cells.\n", layoutName);
        return false;
    }
    const int32_t width = target->width;
    const int32_t height = target->height;
    // Later sources overwrite earlier ones; an invalid source keeps its cell
    // and the others keep their indices.
    morva::WorkBuffers& buffers = morva::threadWorkBuffers();
    for (int32_t i = 0; i < count; ++i)
        if (isValidImage(sourceAt(i)))
            morva::renderSource(*sourceAt(i), i, *layout, *target, width, height, buffers);
    buffers.trim(morva::kKeptWorkBytes);
    return true;
}

bool morvaRenderFinalize(TImage* target) {
    CTraces scope("morvaRenderFinalize()");
    if (!isValidImage(target)) return false;
    if (!target->flipped) return true;
    return morvaFlipImage(target);
}

int32_t morvaPickFormat(const BITMAPINFOHEADER* const* headers, int32_t count, int32_t minWidth,
                        int32_t minHeight) {
    CTraces scope("morvaPickFormat()");
    std::vector<morva::Candidate> rgb, yuv;
    for (int32_t i = 0; i < count; ++i) {
        if (headers == nullptr || headers[i] == nullptr) continue;
        switch (morvaGetBitmapColorFormat(headers[i])) {
        case FORMAT_RGB32:
        case FORMAT_RGB24:
        case FORMAT_RGB565:
        case FORMAT_RGB555:
        case FORMAT_RGB444: rgb.push_back({i, *headers[i]}); break;
        case FORMAT_YUY2:
        case FORMAT_UYVY:
        case FORMAT_I420: yuv.push_back({i, *headers[i]}); break;
        default: break;
        }
    }
    // Any fitting RGB format beats every YUV format.
    const int32_t picked = morva::pickFromList(rgb, minWidth, minHeight);
    return picked >= 0 ? picked : morva::pickFromList(yuv, minWidth, minHeight);
}
