#include "image/image_rows.h"

#include <algorithm>
#include <cstring>

#include "image/formats.h"

namespace morva {
namespace {

// ippsMalloc_8u's blocks start on 32-byte boundaries.
constexpr int64_t kBlockAlignment = 32;

int64_t offsetInBlock(const PlaneEntry& plane, int32_t planeRow) {
    return (plane.offset + int64_t(planeRow) * plane.stride) % kBlockAlignment;
}

}  // namespace

int32_t planeRowOf(const PlaneEntry& plane, int32_t row) { return row / plane.subH; }

int32_t planeRowsOf(const PlaneEntry& plane, int32_t firstRow, int32_t endRow) {
    const int32_t end = int32_t((int64_t(endRow) + plane.subH - 1) / plane.subH);
    const int32_t height = plane.height;  // a value: the record's fields are packed
    return std::min(end, height) - planeRowOf(plane, firstRow);
}

int32_t rowsPerBandStep(int32_t format) {
    const PixelFormatRow* row = findFormatRow(format);
    int32_t step = 1;
    for (int32_t i = 0; row != nullptr && i < row->planes; ++i)
        step = std::max(step, row->group[i].subH);
    return step;
}

ImageRows rowsOf(const TImage& image, int32_t firstRow, int32_t rows) {
    ImageRows band{&image, firstRow, rows, {}};
    for (int32_t i = 0; i < image.planeInfo->planeCount; ++i) {
        const PlaneEntry& plane = image.planeInfo->planes[i];
        band.planes[i] = plane.data + int64_t(planeRowOf(plane, firstRow)) * plane.stride;
    }
    return band;
}

ImageRows rowsWithin(const ImageRows& band, int32_t firstRow, int32_t endRow) {
    ImageRows part = band;
    part.firstRow = firstRow;
    part.rows = endRow - firstRow;
    for (int32_t i = 0; i < band.whole->planeInfo->planeCount; ++i) {
        const PlaneEntry& plane = band.whole->planeInfo->planes[i];
        part.planes[i] +=
            int64_t(planeRowOf(plane, firstRow) - planeRowOf(plane, band.firstRow)) * plane.stride;
    }
    return part;
}

TImage viewOf(const ImageRows& band, PlaneInfo& info) {
    const TImage& whole = *band.whole;
    info = *whole.planeInfo;
    for (int32_t i = 0; i < info.planeCount; ++i) {
        PlaneEntry& plane = info.planes[i];
        plane.data = band.planes[i];
        plane.height = planeRowsOf(plane, band.firstRow, band.firstRow + band.rows);
    }
    TImage view{};
    view.width = whole.width;
    view.height = band.rows;
    view.format = whole.format;
    view.data = band.planes[0];
    view.planeInfo = &info;
    return view;
}

BandLayout::BandLayout(const TImage& whole, int32_t maxRows) : whole_(&whole) {
    for (int32_t i = 0; i < whole.planeInfo->planeCount; ++i) {
        const PlaneEntry& plane = whole.planeInfo->planes[i];
        // One plane row more than the rows hold: a band that starts between
        // two rows of a subsampled plane reaches into one more.
        const int64_t planeRows = std::min<int64_t>(maxRows / plane.subH + 1, plane.height);
        planeStart_[i] = bytes_;
        bytes_ += planeRows * plane.stride + kBlockAlignment;
    }
}

ImageRows BandLayout::place(uint8_t* block, int32_t firstRow, int32_t rows) const {
    ImageRows band{whole_, firstRow, rows, {}};
    for (int32_t i = 0; i < whole_->planeInfo->planeCount; ++i) {
        const PlaneEntry& plane = whole_->planeInfo->planes[i];
        band.planes[i] =
            block + planeStart_[i] + offsetInBlock(plane, planeRowOf(plane, firstRow));
    }
    return band;
}

void clearRows(const ImageRows& band) {
    for (int32_t i = 0; i < band.whole->planeInfo->planeCount; ++i) {
        const PlaneEntry& plane = band.whole->planeInfo->planes[i];
        const int32_t rows = planeRowsOf(plane, band.firstRow, band.firstRow + band.rows);
        if (rows > 0) std::memset(band.planes[i], 0, size_t(rows) * size_t(plane.stride));
    }
}

void moveRows(const ImageRows& from, const ImageRows& to) {
    const int32_t end = from.firstRow + from.rows;
    if (to.firstRow >= end) return;
    for (int32_t i = 0; i < from.whole->planeInfo->planeCount; ++i) {
        const PlaneEntry& plane = from.whole->planeInfo->planes[i];
        const int32_t skipped = planeRowOf(plane, to.firstRow) - planeRowOf(plane, from.firstRow);
        const int32_t kept = planeRowsOf(plane, to.firstRow, end);
        if (kept > 0)
            std::memmove(to.planes[i], from.planes[i] + int64_t(skipped) * plane.stride,
                         size_t(kept) * size_t(plane.stride));
    }
}

}  // namespace morva
