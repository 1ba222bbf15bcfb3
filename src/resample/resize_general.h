// The general resampling path and the seams where interpolation families,
// the antialiasing path and the edge treatment plug in.
#pragma once

#include <cstdint>

#include "kernels/status.h"
#include "resample/resize.h"

namespace morva {

// The arguments of a resampling path, as the kernel body hands them on.
struct ResizeArgs {
    const uint8_t* src = nullptr;  // first byte of the source image
    int32_t srcWidth = 0;
    int32_t srcHeight = 0;
    int32_t srcStep = 0;           // bytes
    uint8_t* dst = nullptr;        // first byte of the target image
    int32_t dstStep = 0;           // bytes
    int32_t x0 = 0;
    int32_t y0 = 0;
    int32_t width = 0;
    int32_t height = 0;
    double xScale = 0.0;
    double yScale = 0.0;
    double xOffset = 0.0;
    double yOffset = 0.0;
    double factorProduct = 0.0;
    int32_t interpolation = 0;     // the id alone, after degradation
    uint8_t* buffer = nullptr;
    int32_t nChannels = 1;         // samples between neighbouring pixels
    int32_t nProcessed = 1;        // samples of a pixel that are resampled
    int32_t depth = 0;             // 0 for 8u, 1 for 16u
    int32_t planar = 0;
};

// The arguments that follow from a checked geometry, for a source of srcSize
// with channels samples a pixel, all of them resampled. Pointers, steps,
// buffer and depth are the caller's to fill.
ResizeArgs argsFromGeometry(const ResizeGeometry& geometry, IppiSize srcSize, int32_t channels);

// Builds the per-coordinate tables and runs the family of args.interpolation.
IppStatus ownResizeGeneral(const ResizeArgs& args);

// What the opening steps of the general path hand an interpolation family.
struct ResizeJob {
    const ResizeArgs* args = nullptr;
    uint8_t* dst = nullptr;        // target pixel (x0, y0)
    int32_t srcStep = 0;           // in samples
    int32_t dstStep = 0;           // in samples
    // Laid out only for families that use them: per target column the source
    // column in samples, per target row the source row times srcStep.
    int32_t* columns = nullptr;
    int32_t* rows = nullptr;
    // Where the family's own part of the work buffer begins: behind the row
    // table, or the start of the buffer for a family without tables.
    uint8_t* freeSpace = nullptr;
};

using ResizeFamilyFn = IppStatus (*)(const ResizeJob& job);

struct ResizeFamily {
    ResizeFamilyFn run;
    bool usesTables;  // false: runs before the column and row tables exist
};

// The family of an interpolation id, or null where none is built.
const ResizeFamily* findResizeFamily(int32_t id);

// A whole resampling path with its own tables (the antialiasing path).
using ResizePathFn = IppStatus (*)(const ResizeArgs& args);
ResizePathFn antialiasPath();

// The one-pixel frame around the target after the resize. dst is the target
// pixel (x0, y0), dstStep in bytes.
enum class EdgeKind { Smooth, Subpixel };
using EdgeTreatmentFn = void (*)(uint8_t* dst, int32_t dstStep, int32_t width, int32_t height,
                                 double left, double right, double top, double bottom);
EdgeTreatmentFn findEdgeTreatment(EdgeKind kind, int32_t depth, int32_t nChannels);

}  // namespace morva
