#include "layout/geometry.h"

#include <algorithm>
#include <cmath>

#include "morva.h"
#include "trace/trace.h"

namespace morva {
namespace {

// A value that fits 32 bits, or nothing: geometry that would overflow is
// refused rather than wrapped, and what it would have placed is skipped.
std::optional<int32_t> narrowed(int64_t value) {
    if (value < INT32_MIN || value > INT32_MAX) return std::nullopt;
    return int32_t(value);
}

}  // namespace

int32_t truncToInt32(double value) {
    if (!(value > -2147483649.0 && value < 2147483648.0)) return INT32_MIN;
    return static_cast<int32_t>(value);
}

std::optional<TargetPlacement> calcTargetRect(const IppiRect& sourceRect,
                                              const IppiRect& targetRect, int32_t scaleMode) {
    CTraces scope("calcTargetRect()");
    // The refusals below are ours (the design divides by zero or leaves the
    // rectangle undefined); each says why in the trace.
    if (sourceRect.width <= 0 || sourceRect.height <= 0) {
        traceWrite(scope, "Nothing placed: the source is %d x %d.\n", sourceRect.width,
                   sourceRect.height);
        return std::nullopt;
    }
    const double xRatio = double(targetRect.width) / sourceRect.width;
    const double yRatio = double(targetRect.height) / sourceRect.height;
    switch (scaleMode) {
    case kScaleStretch:
        return TargetPlacement{targetRect, xRatio, yRatio};
    case kScaleFit: {
        const double s = yRatio <= xRatio ? yRatio : xRatio;
        const int32_t width = truncToInt32(sourceRect.width * s);
        const int32_t height = truncToInt32(sourceRect.height * s);
        // Centred in 64 bits: absurd percentages of a layout give rectangles
        // whose centring leaves 32 bits, and those place nothing.
        const std::optional<int32_t> x =
            narrowed(targetRect.x + (int64_t(targetRect.width) - width) / 2);
        const std::optional<int32_t> y =
            narrowed(targetRect.y + (int64_t(targetRect.height) - height) / 2);
        if (!x || !y) {
            traceWrite(scope, "Nothing placed: the fitted rectangle lies beyond 32 bits.\n");
            return std::nullopt;
        }
        return TargetPlacement{{*x, *y, width, height}, s, s};
    }
    case kScaleFill: {
        // The oversize is cut off by the resize, which starts at the source's
        // top left: the right or bottom edge is lost.
        const double s = xRatio <= yRatio ? yRatio : xRatio;
        return TargetPlacement{targetRect, s, s};
    }
    default:
        traceWrite(scope, "Nothing placed: scale mode %d is unknown.\n", scaleMode);
        return std::nullopt;
    }
}

namespace {
int32_t percentOf(const LayoutValue& value, int32_t whole) {
    return truncToInt32(double(value.value) * whole / 100.0);
}

// Places a length along one axis of its cell: the near margin wins over the
// far one, and without either the source sits at the cell's start. In 64
// bits, since nothing bounds the percentages.
int64_t placeInCell(int64_t cellStart, int32_t cellLength, int32_t length,
                    const LayoutValue& nearMargin, const LayoutValue& farMargin) {
    if (nearMargin.present) return cellStart + percentOf(nearMargin, cellLength);
    if (farMargin.present)
        return cellStart + cellLength - length - percentOf(farMargin, cellLength);
    return cellStart;
}
}  // namespace

std::optional<IppiRect> calcCellRect(int32_t index, const LayoutRecord& layout,
                                     int32_t targetWidth, int32_t targetHeight) {
    if (layout.rows == 0 || layout.columns == 0) return std::nullopt;
    // In 64 bits: columns may be any 32-bit value, and the bound below is
    // columns - 1. Quotients of 32-bit values by a non-zero divisor fit 32
    // bits except INT32_MIN / -1, which 64 bits hold as well.
    const int64_t columns = layout.columns;
    const int64_t column = index % columns;
    const int64_t row = std::min(index / columns, columns - 1);
    const std::optional<int32_t> cellWidth = narrowed(targetWidth / columns);
    const std::optional<int32_t> cellHeight = narrowed(targetHeight / int64_t(layout.rows));
    if (!cellWidth || !cellHeight) return std::nullopt;
    const int32_t width = layout.width.present ? percentOf(layout.width, *cellWidth) : *cellWidth;
    const int32_t height =
        layout.height.present ? percentOf(layout.height, *cellHeight) : *cellHeight;
    const std::optional<int32_t> x = narrowed(placeInCell(
        *cellWidth * column, *cellWidth, width, layout.marginLeft, layout.marginRight));
    const std::optional<int32_t> y = narrowed(placeInCell(
        *cellHeight * row, *cellHeight, height, layout.marginTop, layout.marginBottom));
    if (!x || !y) return std::nullopt;
    return IppiRect{*x, *y, width, height};
}

std::optional<IppiRect> alignInward(const IppiRect& r) {
    const std::optional<int32_t> x = narrowed((int64_t(r.x) + 3) & ~int64_t(3));
    const std::optional<int32_t> y = narrowed((int64_t(r.y) + 3) & ~int64_t(3));
    if (!x || !y) return std::nullopt;
    return IppiRect{*x, *y, r.width & ~3, r.height & ~3};
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
