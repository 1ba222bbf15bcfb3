// Per-coordinate tables of the packed 4:2:2 resize, built once per call
// before the first pixel.
#pragma once

#include <cstdint>

#include "resample/yuv422_kernels.h"

namespace morva {

// Nearest neighbour maps centres: target k reads source
// trunc((k + 0.5) * scale + 1e-7), held below `left`.
int32_t yuv422NearestIndex(double position, int32_t left);

// Linear and cubic map corners: the first target sample lies on the first
// source sample, the last on the last. Target k lies at k * step.
double yuv422CornerStep(int32_t samples, double factor);

// Linear: samples lower and lower + 1, the upper one weighed upperWeight / 16384.
struct LinearTap {
    int32_t lower;
    int16_t upperWeight;
};
LinearTap yuv422LinearTap(double position, int32_t left);

// Cubic: window base - 1 .. base + 2, moved inward at the edges, t in [-1, 2].
struct CubicTap {
    int32_t base;
    float t;
};
CubicTap yuv422CubicTap(double position, int32_t left, int32_t origin);

struct NearestTables {
    int32_t* rows;    // H source rows
    int32_t* luma;    // 2P luma samples
    int32_t* chroma;  // P chroma pairs
};
void buildNearestTables(const Yuv422Geometry& g, const NearestTables& t);

struct LinearTables {
    int32_t* rows;         // H: the upper of two source rows
    int16_t* rowWeights;   // H: Q14 weight of the lower row
    int32_t* luma;         // 2P
    int32_t* chroma;       // P
    int16_t* weights;      // 4P (lower, upper) pairs in target order
};
void buildLinearTables(const Yuv422Geometry& g, const LinearTables& t);

struct CubicTables {
    int32_t* rows;                   // H window bases
    CubicCoefficients* rowWeights;   // H
    int32_t* luma;                   // 2P
    int32_t* chroma;                 // P
    float* u;                        // 4P each, in target order
    float* v;
    float* z;
};
void buildCubicTables(const Yuv422Geometry& g, const CubicTables& t);

}  // namespace morva
