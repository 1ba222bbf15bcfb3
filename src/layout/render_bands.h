// Rendering a source of another format than the target's without its whole
// converted frame.
#pragma once

#include <cstdint>
#include <optional>

#include "kernels/scratch.h"
#include "kernels/types.h"
#include "morva.h"

namespace morva {

// Where copyWithResize puts a source: the rectangle from calcTargetRect,
// aligned inward to multiples of 4, and the factors of the unaligned one.
struct CellPlacement {
    IppiRect rect;
    double xFactor;
    double yFactor;
};
std::optional<CellPlacement> placeInCell(const IppiRect& sourceRect, const IppiRect& cellRect,
                                         int32_t scaleMode);

// Does what the whole-frame render of one source does (a zero-filled image
// "colorspaceconverter" of the source's size and the target's format,
// convertColorSpace into it, copyWithResize into the cell) with the same
// bytes, results and image ids, but converts rows band by band into a small
// window and resizes each band from there, or converts straight into the
// cell where the resize only copies. False, with nothing done, where this
// source and cell need the whole frame: a route or a resize that doesn't run
// in bands. The trace is the caller's to look at: this path writes none of
// the whole-frame path's lines.
bool renderConvertedInBands(const TImage& source, const IppiRect& cell, TImage& target,
                            WorkBuffers& buffers);

// Does what morvaCopyImage does between images of different sizes (a
// zero-filled image "Tempresize" of the destination's size and the source's
// format, copyWithResize into it, convertColorSpace from it) with the same
// bytes, result and ids, without the whole image: rows are resized band by
// band into a window and converted from there; between images of one format
// the destination is cleared and resized into. Nothing, with nothing done,
// where the route or the resize doesn't run in bands.
std::optional<bool> copyResizedInBands(const TImage& source, TImage& destination,
                                       int32_t interpolation, int32_t scaleMode,
                                       WorkBuffers& buffers);

// The paths of a render and of a copy when the trace is off: the band paths
// above, or else the whole-frame path with its temporary image in the
// thread's frame block, cleared only where its zeros are read.
void renderConvertedUntraced(const TImage& source, const IppiRect& cell, TImage& target,
                             WorkBuffers& buffers);
bool copyResizedUntraced(const TImage& source, TImage& destination, int32_t interpolation,
                         int32_t scaleMode, WorkBuffers& buffers);

}  // namespace morva
