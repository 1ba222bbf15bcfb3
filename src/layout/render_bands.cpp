// A source converted and resized into its cell band by band. The whole-frame
// path converts the source into a zero-filled image of its size and then
// resizes that image into the cell; here only the rows that a band of
// target rows reads are converted, into a window that slides down the
// converted image, with each row at the offset from a 32-byte boundary that
// it has in the whole image. Rows that a conversion leaves unwritten are
// zero as in the whole image, and so is every row where the conversion
// fails.
#include "layout/render_bands.h"

#include <algorithm>
#include <cstdint>

#include "color/router.h"
#include "image/image.h"
#include "image/image_rows.h"
#include "kernels/memory.h"
#include "layout/geometry.h"
#include "layout/render.h"
#include "resample/resize_driver.h"

namespace morva {
namespace {

// A temporary image as the whole-frame paths allocate it, laid out only.
class ImageLayout {
public:
    ImageLayout(int32_t width, int32_t height, int32_t format) {
        image_.width = width;
        image_.height = height;
        image_.format = format;
        image_.planeInfo = &info_;
        available_ = layoutPlanes(image_, info_, image_.size) && image_.size > 0;
    }
    ImageLayout(const ImageLayout&) = delete;
    ImageLayout& operator=(const ImageLayout&) = delete;

    const TImage& image() const { return image_; }
    // What the allocation needs besides memory: a geometry it accepts.
    bool available() const { return available_; }
    // Bytes of one image row over all planes, at least 1.
    int64_t rowBytes() const { return std::max<int64_t>(1, image_.size / image_.height); }

private:
    TImage image_{};
    PlaneInfo info_{};
    bool available_ = false;
};

int32_t alignDown(int32_t value, int32_t step) { return value / step * step; }

int32_t alignUp(int64_t value, int32_t step) {
    return int32_t((value + step - 1) / step * step);
}

// A plane's origin for the resize: where its row 0 would lie if the whole
// image were there. Formed as an address, since it lies before the block
// for every band but the first; the resize touches only the band's rows.
uint8_t* planeOrigin(const ImageRows& band, int32_t plane) {
    const PlaneEntry& entry = band.whole->planeInfo->planes[plane];
    const uintptr_t first = reinterpret_cast<uintptr_t>(band.planes[plane]);
    const uintptr_t before = uintptr_t(planeRowOf(entry, band.firstRow)) * uintptr_t(entry.stride);
    return reinterpret_cast<uint8_t*>(first - before);
}

// Rows of the converted image in the window's block: rows [first, end) of
// the image, moved up when the window slides, so that rows shared by two
// bands are converted once.
class ConvertedWindow {
public:
    ConvertedWindow(const TImage& source, const ConversionRoute& route, const TImage& converted,
                    int32_t maxRows, WorkBuffers& buffers)
        : source_(source), route_(route), layout_(converted, maxRows), buffers_(buffers) {}

    bool ready() { return (block_ = buffers_.window.reserve(layout_.bytes())) != nullptr; }

    // Makes rows [first, end) of the converted image present; first never
    // goes back up.
    void cover(int32_t first, int32_t end) {
        const ImageRows next = layout_.place(block_, first, end - first);
        const int32_t held = rows_.firstRow + rows_.rows;
        int32_t from = first;
        if (rows_.whole != nullptr && first >= rows_.firstRow && first < held) {
            moveRows(rows_, next);
            from = std::min(held, end);
        }
        rows_ = next;
        if (from < end) convert(from, end);
    }

    const ImageRows& rows() const { return rows_; }

private:
    // Rows [first, end) of the window as the whole image would hold them
    // after the conversion: zero where it writes nothing.
    void convert(int32_t first, int32_t end) {
        const ImageRows part = rowsWithin(rows_, first, end);
        if (!route_.converts || !route_.writesEveryPixel) clearRows(part);
        if (route_.converts && !convertRows(route_, source_, part, buffers_.temporary))
            clearRows(part);
    }

    const TImage& source_;
    const ConversionRoute& route_;
    BandLayout layout_;
    WorkBuffers& buffers_;
    uint8_t* block_ = nullptr;
    ImageRows rows_;
};

// Target rows in bands of `height` image rows: band k of a plane covers its
// rows geometry.y0 + k * (height / subH) on, within the rows it writes.
class BandSchedule {
public:
    BandSchedule(const ImageResizePlan& plan, int32_t height) : plan_(plan), height_(height) {}

    bool empty(int32_t band) const {
        for (int32_t p = 0; p < plan_.planeCount; ++p)
            if (rowsOf(p, band).first < rowsOf(p, band).end) return false;
        return true;
    }

    RowRange rowsOf(int32_t plane, int32_t band) const {
        const PlaneResize& p = plan_.planes[plane];
        if (p.action == PlaneAction::Nothing) return {};
        const int64_t step = height_ / p.destination.subH;
        const int64_t end = int64_t(p.geometry.y0) + p.geometry.height;
        const int64_t first = std::min(p.geometry.y0 + step * band, end);
        return {int32_t(first), int32_t(std::min(first + step, end))};
    }

    // The converted image's rows that band k reads, on multiples of rowStep.
    RowRange sourceRowsOf(int32_t band, int32_t rowStep, int32_t imageHeight) const {
        int64_t first = INT32_MAX, end = 0;
        for (int32_t p = 0; p < plan_.planeCount; ++p) {
            const RowRange rows = rowsOf(p, band);
            if (rows.first >= rows.end) continue;
            const RowRange read = morva::sourceRowsOf(plan_.planes[p], rows.first, rows.end);
            const int32_t subH = plan_.planes[p].source.subH;
            first = std::min<int64_t>(first, int64_t(read.first) * subH);
            end = std::max<int64_t>(end, int64_t(read.end) * subH);
        }
        if (first >= end) return {};
        return {alignDown(int32_t(first), rowStep),
                std::min(alignUp(end, rowStep), imageHeight)};
    }

private:
    const ImageResizePlan& plan_;
    int32_t height_;
};

// Band height in target image rows: a window of about bandBytes of
// converted rows, a multiple of four rows in every plane (nearest neighbour
// builds its row table in blocks of four). Each band builds the column
// tables anew, so a strong reduction still gets a few units of rows.
int32_t bandHeight(const ImageLayout& converted, double yFactor, int32_t targetFormat,
                   int64_t bandBytes) {
    const int32_t unit = 4 * rowsPerBandStep(targetFormat);
    const double rows = double(bandBytes / converted.rowBytes()) * yFactor;
    const double clamped = std::clamp(rows, double(4 * unit), double(INT32_MAX / 2));
    return alignDown(int32_t(clamped), unit);
}

// The resize of every band from a window that slides down the converted
// image.
void resizeThroughWindow(const TImage& source, const ConversionRoute& route,
                         const ImageLayout& converted, const ImageResizePlan& plan,
                         double yFactor, TImage& target, WorkBuffers& buffers) {
    const BandSchedule schedule(plan,
                                bandHeight(converted, yFactor, target.format, buffers.bandBytes));
    const int32_t imageHeight = converted.image().height;
    int32_t maxRows = 0;
    for (int32_t band = 0; !schedule.empty(band); ++band) {
        const RowRange rows = schedule.sourceRowsOf(band, route.rowStep, imageHeight);
        maxRows = std::max(maxRows, rows.end - rows.first);
    }
    ConvertedWindow window(source, route, converted.image(), maxRows, buffers);
    if (maxRows == 0 || !window.ready()) return;
    for (int32_t band = 0; !schedule.empty(band); ++band) {
        const RowRange rows = schedule.sourceRowsOf(band, route.rowStep, imageHeight);
        window.cover(rows.first, rows.end);
        for (int32_t p = 0; p < plan.planeCount; ++p) {
            const RowRange out = schedule.rowsOf(p, band);
            resizePlaneRows(plan.planes[p], planeOrigin(window.rows(), p),
                            target.planeInfo->planes[p].data, out.first, out.end, buffers.work);
        }
    }
}

// The cell of an identity resize that takes every source column, and every
// row from the top down to rows: the conversion can write there itself.
// Null where some plane is cut otherwise or not copied.
std::optional<ImageRows> cellOfPlainCopy(const ImageResizePlan& plan, const TImage& converted,
                                         const TImage& target, int32_t rowStep,
                                         PlaneInfo& cellInfo) {
    if (plan.kind != ImageResizePlan::Kind::Planes || !plan.result ||
        plan.planeCount != converted.planeInfo->planeCount)
        return std::nullopt;
    const int32_t rows = plan.planes[0].geometry.height;
    if (rows % rowStep != 0 && rows != converted.height) return std::nullopt;
    cellInfo = *converted.planeInfo;
    ImageRows cell{&converted, 0, rows, {}};
    for (int32_t i = 0; i < plan.planeCount; ++i) {
        const PlaneResize& p = plan.planes[i];
        const ResizeGeometry& g = p.geometry;
        if (p.action != PlaneAction::Copy || g.x0 != p.xShift || g.y0 != p.yShift ||
            g.width != p.source.width || g.height != planeRowsOf(p.source, 0, rows))
            return std::nullopt;
        const PlaneEntry& plane = target.planeInfo->planes[i];
        cellInfo.planes[i].stride = plane.stride;
        cell.planes[i] = plane.data + int64_t(g.y0) * plane.stride +
                         int64_t(g.x0) * plane.bytesPerChannel * plane.channels;
    }
    return cell;
}

// Converts rows of the source straight into destination, band by band so
// that a temporary image's rows stay few; clearing each band first where the
// whole image would hold zeros.
void convertInBands(const TImage& source, const ConversionRoute& route, const ImageRows& whole,
                    int32_t bandRows, bool clearFirst, WorkBuffers& buffers) {
    for (int32_t first = 0; first < whole.rows; first += bandRows) {
        const ImageRows band = rowsWithin(whole, first, std::min(first + bandRows, whole.rows));
        if (clearFirst) clearRows(band);
        if (route.converts && !convertRows(route, source, band, buffers.temporary))
            clearRows(band);
    }
}

int32_t conversionBandRows(const ImageLayout& converted, int32_t rowStep, int64_t bandBytes) {
    return std::max(rowStep, alignDown(int32_t(std::min<int64_t>(
                                           bandBytes / converted.rowBytes(), INT32_MAX / 2)),
                                       rowStep));
}

// Rows [first, end) of the resized image, made in a band of the window and
// converted from there into the same rows of the destination. The resized
// image is zero outside the fitted rectangle.
void resizeAndConvertRows(const TImage& source, const ImageResizePlan& plan,
                          const ConversionRoute& route, const BandLayout& layout,
                          uint8_t* block, int32_t first, int32_t end, TImage& destination,
                          WorkBuffers& buffers) {
    const ImageRows band = layout.place(block, first, end - first);
    clearRows(band);
    for (int32_t p = 0; p < plan.planeCount; ++p) {
        const PlaneResize& plane = plan.planes[p];
        const int32_t rowsEnd = planeRowOf(plane.destination, first) +
                                planeRowsOf(plane.destination, first, end);
        resizePlaneRows(plane, source.planeInfo->planes[p].data, planeOrigin(band, p),
                        std::max(plane.geometry.y0, planeRowOf(plane.destination, first)),
                        std::min(plane.geometry.y0 + plane.geometry.height, rowsEnd), buffers.work);
    }
    convertRows(route, band, rowsOf(destination, first, end - first), buffers.temporary);
}

// A temporary image of the whole-frame paths held in the thread's frame
// block instead of an allocation of its own: the same layout, the same
// alignment (the block is ippsMalloc_8u's), the same margin of twice its
// planes behind it, and the id it would take. Null where the allocation
// would fail on the geometry.
class FrameImage {
public:
    FrameImage(int32_t width, int32_t height, int32_t format, bool zeroFilled,
               ScratchBuffer& block)
        : layout_(width, height, format) {
        reserveImageIds(1);
        if (!layout_.available()) return;
        uint8_t* data = block.reserve(3 * int64_t(layout_.image().size));
        if (data == nullptr) return;
        image_ = layout_.image();
        info_ = *image_.planeInfo;
        image_.planeInfo = &info_;
        image_.data = data;
        for (int32_t i = 0; i < info_.planeCount; ++i)
            info_.planes[i].data = data + info_.planes[i].offset;
        if (zeroFilled) ippsZero_8u(data, image_.size);
        ready_ = true;
    }
    FrameImage(const FrameImage&) = delete;
    FrameImage& operator=(const FrameImage&) = delete;

    TImage* get() { return ready_ ? &image_ : nullptr; }

private:
    ImageLayout layout_;
    TImage image_{};
    PlaneInfo info_{};
    bool ready_ = false;
};

}  // namespace

void renderConvertedUntraced(const TImage& source, const IppiRect& cell, TImage& target,
                             WorkBuffers& buffers) {
    if (renderConvertedInBands(source, cell, target, buffers)) return;
    // The converted image needs its zeros only where the conversion leaves
    // pixels, or where the whole buffer, padding included, is copied on.
    const ConversionRoute route =
        findConversionRoute(source.format, target.format, source.width, source.height);
    const bool sizesOfTarget = source.width == target.width && source.height == target.height;
    FrameImage converted(source.width, source.height, target.format,
                         !route.converts || !route.writesEveryPixel || sizesOfTarget,
                         buffers.frame);
    if (converted.get() == nullptr) return;
    convertColorSpace(&source, converted.get());
    copyWithResize(converted.get(), {0, 0, source.width, source.height}, &target, cell,
                   source.planeInfo->interpolation, source.planeInfo->scaleMode, buffers.work);
}

bool copyResizedUntraced(const TImage& source, TImage& destination, int32_t interpolation,
                         int32_t scaleMode, WorkBuffers& buffers) {
    const std::optional<bool> inBands =
        copyResizedInBands(source, destination, interpolation, scaleMode, buffers);
    if (inBands) return *inBands;
    FrameImage resized(destination.width, destination.height, source.format, true, buffers.frame);
    if (resized.get() == nullptr) return false;
    return copyWithResize(&source, {0, 0, source.width, source.height}, resized.get(),
                          {0, 0, destination.width, destination.height}, interpolation, scaleMode,
                          buffers.work) &&
           convertColorSpace(resized.get(), &destination);
}

std::optional<CellPlacement> placeInCell(const IppiRect& sourceRect, const IppiRect& cellRect,
                                         int32_t scaleMode) {
    const std::optional<TargetPlacement> placed = calcTargetRect(sourceRect, cellRect, scaleMode);
    if (!placed) return std::nullopt;
    const std::optional<IppiRect> aligned = alignInward(placed->rect);
    if (!aligned) return std::nullopt;
    return CellPlacement{*aligned, placed->xFactor, placed->yFactor};
}

bool renderConvertedInBands(const TImage& source, const IppiRect& cell, TImage& target,
                            WorkBuffers& buffers) {
    // "colorspaceconverter": the source's size, the target's format.
    const ImageLayout converted(source.width, source.height, target.format);
    // An image the allocation rounds to another size is left to the
    // whole-frame path, where the conversion refuses the sizes.
    if (converted.image().width != source.width || converted.image().height != source.height)
        return false;
    if (!converted.available()) {
        reserveImageIds(1);  // "colorspaceconverter" takes its id and fails: the source is skipped
        return true;
    }
    const ConversionRoute route =
        findConversionRoute(source.format, target.format, source.width, source.height);
    if (route.converts && !route.convertsInBands) return false;
    const IppiRect sourceRect{0, 0, source.width, source.height};
    const std::optional<CellPlacement> placed =
        placeInCell(sourceRect, cell, source.planeInfo->scaleMode);
    ImageResizePlan plan;
    if (placed)
        plan = planImageResize(converted.image(), sourceRect, target, placed->rect,
                               source.planeInfo->interpolation, placed->xFactor, placed->yFactor);
    for (int32_t p = 0; p < plan.planeCount; ++p)
        if (!runsInBands(plan.planes[p])) return false;
    // The target has the converted image's layout where the whole buffer is
    // copied: converting in place gives the same bytes, unless the result
    // hangs on alignment and the target's buffer lies otherwise than an
    // allocation's.
    const bool wholeCopy = plan.kind == ImageResizePlan::Kind::WholeCopy;
    if (plan.kind == ImageResizePlan::Kind::PackedYuv422 ||
        (wholeCopy && route.dependsOnAlignment &&
         reinterpret_cast<uintptr_t>(target.data) % 32 != 0))
        return false;

    reserveImageIds(route.viaTemporary ? 2 : 1);
    const int32_t bandRows = conversionBandRows(converted, route.rowStep, buffers.bandBytes);
    if (wholeCopy) {
        // Padding and planes no conversion writes are cleared, as in the
        // zero-filled image.
        convertInBands(source, route, rowsOf(target, 0, target.height), bandRows, true, buffers);
        return true;
    }
    if (plan.kind != ImageResizePlan::Kind::Planes) return true;
    PlaneInfo cellInfo;
    const std::optional<ImageRows> straight =
        route.converts && route.writesEveryPixel && !route.dependsOnAlignment &&
                !route.copiesBuffer
            ? cellOfPlainCopy(plan, converted.image(), target, route.rowStep, cellInfo)
            : std::nullopt;
    if (straight) {
        TImage cellLayout = converted.image();
        cellLayout.planeInfo = &cellInfo;
        ImageRows rows = *straight;
        rows.whole = &cellLayout;
        convertInBands(source, route, rows, bandRows, false, buffers);
        return true;
    }
    resizeThroughWindow(source, route, converted, plan, placed->yFactor, target, buffers);
    return true;
}

std::optional<bool> copyResizedInBands(const TImage& source, TImage& destination,
                                       int32_t interpolation, int32_t scaleMode,
                                       WorkBuffers& buffers) {
    // "Tempresize": the destination's size, the source's format.
    const ImageLayout resized(destination.width, destination.height, source.format);
    if (resized.image().width != destination.width ||
        resized.image().height != destination.height)
        return std::nullopt;
    const IppiRect sourceRect{0, 0, source.width, source.height};
    const std::optional<CellPlacement> placed =
        placeInCell(sourceRect, {0, 0, destination.width, destination.height}, scaleMode);
    ImageResizePlan plan;
    if (placed)
        plan = planImageResize(source, sourceRect, resized.image(), placed->rect, interpolation,
                               placed->xFactor, placed->yFactor);
    // Without the image, or without a resize into it, nothing is converted.
    if (!resized.available() || !plan.result) {
        reserveImageIds(1);
        return false;
    }
    const ConversionRoute route = findConversionRoute(source.format, destination.format,
                                                      destination.width, destination.height);
    if (source.format == destination.format) {
        // The resized image is copied whole into the destination, which has
        // its layout: clearing the destination and resizing into it gives the
        // same bytes.
        reserveImageIds(1);
        ippsZero_8u(destination.data, destination.size);
        resizeImageInternal(&source, sourceRect, &destination, placed->rect, interpolation,
                            placed->xFactor, placed->yFactor, buffers.work);
        return true;
    }
    bool inBands = route.convertsInBands && !route.readsSourceBuffer &&
                   plan.kind == ImageResizePlan::Kind::Planes;
    for (int32_t p = 0; p < plan.planeCount; ++p) inBands = inBands && runsInBands(plan.planes[p]);
    if (!inBands) return std::nullopt;
    reserveImageIds(route.viaTemporary ? 2 : 1);
    if (!route.converts) return false;

    // Bands start on the fitted rectangle's first row and on multiples of a
    // step from it that keep every plane's bands four rows apart (nearest
    // neighbour) and the conversion's on its row pairs; the rows above it
    // are zero and converted in bands of their own.
    const int32_t step = std::max(4 * rowsPerBandStep(source.format), route.rowStep);
    const int32_t bandRows =
        std::max(step, alignDown(conversionBandRows(resized, 1, buffers.bandBytes), step));
    const BandLayout layout(resized.image(), bandRows);
    uint8_t* block = buffers.window.reserve(layout.bytes());
    if (block == nullptr) return std::nullopt;
    const int32_t height = destination.height;
    const int32_t top = std::clamp(placed->rect.y, 0, height);
    for (int32_t first = 0; first < height;) {
        const int32_t end = std::min(first < top ? top : height, first + bandRows);
        resizeAndConvertRows(source, plan, route, layout, block, first, end, destination, buffers);
        first = end;
    }
    return true;
}

}  // namespace morva
