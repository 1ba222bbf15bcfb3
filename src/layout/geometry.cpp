#include "layout/geometry.h"

#include <cmath>

#include "morva.h"
#include "trace/trace.h"

namespace morva {

int32_t truncToInt32(double value) {
    if (!(value > -2147483649.0 && value < 2147483648.0)) return INT32_MIN;
    return static_cast<int32_t>(value);
}

std::optional<TargetPlacement> calcTargetRect(const IppiRect& sourceRect,
                                              const IppiRect& targetRect, int32_t scaleMode) {
    CTraces scope("calcTargetRect()");
    if (sourceRect.width <= 0 || sourceRect.height <= 0) return std::nullopt;
    const double xRatio = double(targetRect.width) / sourceRect.width;
    const double yRatio = double(targetRect.height) / sourceRect.height;
    switch (scaleMode) {
    case kScaleStretch:
        return TargetPlacement{targetRect, xRatio, yRatio};
    case kScaleFit: {
        const double s = yRatio <= xRatio ? yRatio : xRatio;
        const int32_t width = truncToInt32(sourceRect.width * s);
        const int32_t height = truncToInt32(sourceRect.height * s);
        const IppiRect rect{targetRect.x + (targetRect.width - width) / 2,
                            targetRect.y + (targetRect.height - height) / 2, width, height};
        return TargetPlacement{rect, s, s};
    }
    case kScaleFill: {
        // The oversize is cut off by the resize, which starts at the source's
        // top left: the right or bottom edge is lost.
        const double s = xRatio <= yRatio ? yRatio : xRatio;
        return TargetPlacement{targetRect, s, s};
    }
    default:
        return std::nullopt;
    }
}

namespace {
int32_t percentOf(const LayoutValue& value, int32_t whole) {
    return truncToInt32(double(value.value) * whole / 100.0);
}

// Places a length along one axis of its cell: the near margin wins over the
// far one, and without either the source sits at the cell's start.
int32_t placeInCell(int32_t cellStart, int32_t cellLength, int32_t length,
                    const LayoutValue& nearMargin, const LayoutValue& farMargin) {
    // In 64 bits, since nothing bounds the percentages: an absurd layout
    // wraps instead of overflowing.
    if (nearMargin.present) return int32_t(int64_t(cellStart) + percentOf(nearMargin, cellLength));
    if (farMargin.present)
        return int32_t(int64_t(cellStart) + cellLength - length - percentOf(farMargin, cellLength));
    return cellStart;
}
}  // namespace

IppiRect calcCellRect(int32_t index, const LayoutRecord& layout, int32_t targetWidth,
                      int32_t targetHeight) {
    const int32_t column = index % layout.columns;
    int32_t row = index / layout.columns;
    if (row > layout.columns - 1) row = layout.columns - 1;
    const int32_t cellWidth = targetWidth / layout.columns;
    const int32_t cellHeight = targetHeight / layout.rows;
    const int32_t width = layout.width.present ? percentOf(layout.width, cellWidth) : cellWidth;
    const int32_t height =
        layout.height.present ? percentOf(layout.height, cellHeight) : cellHeight;
    return {placeInCell(cellWidth * column, cellWidth, width, layout.marginLeft, layout.marginRight),
            placeInCell(cellHeight * row, cellHeight, height, layout.marginTop, layout.marginBottom),
            width, height};
}

}  // namespace morva

void morvaCalcImageDimension(int32_t width, int32_t height, int32_t& outWidth,
                             int32_t& outHeight) {
    morva::CTraces scope("morvaCalcImageDimension()");
    // The roundings of an allocation, without its treatment of the height's
    // sign; computed unsigned so the largest values wrap instead of
    // overflowing.
    outWidth = int32_t((uint32_t(width) + 3u) & ~3u);
    outHeight = int32_t((uint32_t(height) + 1u) & ~1u);
}
