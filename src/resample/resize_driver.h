// Resize of a whole image into another of the same format, plane by plane.
#pragma once

#include <cstdint>

#include "kernels/scratch.h"
#include "kernels/types.h"
#include "morva.h"
#include "resample/resize.h"

namespace morva {

// Rectangles are in image pixels; each plane takes them divided by its
// subsampling. The factors are target pixels per source pixel and go to every
// plane unchanged. False for invalid images, differing formats, differing
// buffer sizes on the equal-size copy, and planes no kernel takes; a kernel's
// own refusal leaves its plane as it was and is not a failure.
bool resizeImageInternal(const TImage* source, IppiRect sourceRect, TImage* destination,
                         IppiRect destinationRect, int32_t interpolation, double xFactor,
                         double yFactor);

// The same with the planes' work buffers taken from work, which keeps its
// block for the next call.
bool resizeImageInternal(const TImage* source, IppiRect sourceRect, TImage* destination,
                         IppiRect destinationRect, int32_t interpolation, double xFactor,
                         double yFactor, ScratchBuffer& work);

// The work buffer's size for one plane's resize: what the path it takes
// needs with these factors and shifts, at least the size query's answer.
int32_t resizeBufferSize(const PlaneEntry& sourcePlane, const IppiRect& sourcePlaneRect,
                         const IppiRect& destinationPlaneRect, int32_t interpolation,
                         double xFactor, double yFactor, double xShift, double yShift);

// ---- The driver's plan, for callers that feed it rows as they come ---------

enum class PlaneAction {
    Nothing,  // the kernel refuses: the plane keeps its bytes
    Copy,     // the resize is the identity: rows are copied as they stand
    Kernel,   // the resize kernel
};

// One plane of a resize as the driver sets it up for its kernel. The plane
// entries describe the geometry; where a caller passes its own rows, their
// data pointers are not used.
struct PlaneResize {
    PlaneEntry source;
    PlaneEntry destination;
    IppiRect sourceRect;
    IppiRect destinationRect;  // limited to the destination plane
    double xFactor = 0.0, yFactor = 0.0, xShift = 0.0, yShift = 0.0;
    int32_t interpolation = 0;
    PlaneAction action = PlaneAction::Nothing;
    ResizeGeometry geometry;  // target rows geometry.y0 .. y0 + height, unless Nothing
};

struct ImageResizePlan {
    enum class Kind {
        Refused,       // nothing is written
        WholeCopy,     // equal sizes: the whole buffer is copied
        PackedYuv422,  // FORMAT_YUY2's own kernel, over the whole image
        Planes,        // planes[0 .. planeCount) in order
    };
    Kind kind = Kind::Refused;
    int32_t planeCount = 0;
    PlaneResize planes[4];
    bool result = false;  // what resizeImageInternal returns once it ran
};

// One plane's part: the rectangles in plane units, the target's before it
// is limited to the plane.
PlaneResize planPlaneResize(const PlaneEntry& source, const PlaneEntry& destination,
                            const IppiRect& sourceRect, const IppiRect& destinationRect,
                            int32_t interpolation, double xFactor, double yFactor);

// What resizeImageInternal does with these arguments. The source needs its
// format, sizes and plane info only; its data may be null.
ImageResizePlan planImageResize(const TImage& source, IppiRect sourceRect,
                                const TImage& destination, IppiRect destinationRect,
                                int32_t interpolation, double xFactor, double yFactor);

// True where the plane's rows can be made band by band, each band of target
// rows from the source rows that sourceRowsOf names, with the bytes of one
// whole run. Band starts must lie a multiple of four rows below
// geometry.y0: nearest neighbour computes its row table in blocks of four.
bool runsInBands(const PlaneResize& plane);

struct RowRange {
    int32_t first = 0;
    int32_t end = 0;  // one past the last
};

// The source plane rows that target rows [firstRow, endRow) read, with a
// row to spare on either side, within the source plane.
RowRange sourceRowsOf(const PlaneResize& plane, int32_t firstRow, int32_t endRow);

// Writes target rows [firstRow, endRow) of the plane, a band within its rows.
// source and destination point where row 0 of each plane would lie; only the
// source rows that sourceRowsOf names are read.
void resizePlaneRows(const PlaneResize& plane, const uint8_t* source, uint8_t* destination,
                     int32_t firstRow, int32_t endRow, ScratchBuffer& work);

}  // namespace morva
