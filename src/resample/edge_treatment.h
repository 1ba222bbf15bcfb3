// Edge treatment: the one-pixel frame around a target whose edges don't lie
// on whole pixels, filled from the outermost written pixels by how much of
// each frame pixel the image covers.
#pragma once

#include <cstdint>

#include "resample/resize_general.h"

namespace morva {

// The part of each frame side that the image covers, in float64. Top and
// left take the complement of the edge's fraction (their frame pixel lies
// before the edge), bottom and right the fraction itself; an edge within
// 1e-10 of a whole pixel gives 0, and a side with 0 is not written.
struct EdgeCoverage {
    double top = 0.0;
    double left = 0.0;
    double bottom = 0.0;
    double right = 0.0;
};
EdgeCoverage edgeCoverage(double left, double right, double top, double bottom);

// The new value of frame sample `frame` from edge sample `edge` at coverage c:
// EDGE_SMOOTH blends over what the frame held, EDGE_SUBPIXEL scales the edge.
// maxValue is 255 or 65535.
int32_t edgeSmooth(int32_t edge, int32_t frame, float c, int32_t maxValue);
int32_t edgeSubpixel(int32_t edge, float c, int32_t maxValue);

// The routine of a kind for 8u (depth 0) or 16u (depth 1) samples, 1, 3 or
// 4 of them per pixel; null for anything else.
EdgeTreatmentFn edgeTreatmentRoutine(EdgeKind kind, int32_t depth, int32_t nChannels);

}  // namespace morva
