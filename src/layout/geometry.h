// Where pixels go: the cell of a source in a layout, and the rectangle a
// source takes in a cell by its scale mode.
#pragma once

#include <optional>

#include "kernels/types.h"
#include "layout/layout_registry.h"

namespace morva {

enum ScaleMode : int32_t { kScaleStretch = 0, kScaleFit = 1, kScaleFill = 2 };

struct TargetPlacement {
    IppiRect rect;
    double xFactor;
    double yFactor;
};

// Fits a source of sourceRect's size into targetRect. Nothing for a scale
// mode other than stretch, fit and fill, for an empty source, whose factors
// would be infinite, and for a fitted rectangle whose place leaves 32 bits.
std::optional<TargetPlacement> calcTargetRect(const IppiRect& sourceRect,
                                              const IppiRect& targetRect, int32_t scaleMode);

// The rectangle of source number index. The row is bounded by the number of
// columns, as designed: with more rows than columns, sources past the
// reachable rows land on the last one. Nothing for a layout without rows or
// columns, and for a rectangle whose place leaves 32 bits.
std::optional<IppiRect> calcCellRect(int32_t index, const LayoutRecord& layout,
                                     int32_t targetWidth, int32_t targetHeight);

// x and y rounded up to multiples of 4, width and height down. Nothing where
// the rounding leaves 32 bits.
std::optional<IppiRect> alignInward(const IppiRect& rect);

// Conversion toward zero to 32 bits; values outside the range give INT32_MIN,
// as the processor's own conversion does.
int32_t truncToInt32(double value);

}  // namespace morva
