// Rendering a source of another format than the target's without its whole
// converted frame.
#pragma once

#include <cstdint>
#include <optional>

#include "kernels/scratch.h"
#include "kernels/types.h"
#include "morva.h"

namespace morva {

// Work buffers that renders reuse from source to source and call to call.
struct RenderBuffers {
    ScratchBuffer window;     // converted rows of the source at hand
    ScratchBuffer temporary;  // rows of a conversion's own temporary image
    ScratchBuffer work;       // the resize kernels' work buffer

    // Gives back every block larger than keptBytes.
    void trim(int64_t keptBytes);
};

// The calling thread's buffers. What a thread keeps between calls is trimmed
// to kKeptRenderBytes a block.
RenderBuffers& threadRenderBuffers();
constexpr int64_t kKeptRenderBytes = int64_t(4) << 20;

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
                            RenderBuffers& buffers);

}  // namespace morva
