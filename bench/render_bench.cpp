// Whole renders through morvaRender, the library's main job: grids of
// sources into a 1920x1080 BGRA target, converted and scaled per cell. Items
// are target pixels.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "bench_util.h"
#include "morva.h"

namespace morva::bench {
namespace {

constexpr int32_t kTargetWidth = 1920, kTargetHeight = 1080;

struct GridCase {
    const char* name;
    int32_t grid;  // rows and columns
    int32_t sourceWidth, sourceHeight, sourceFormat;
    int32_t interpolation;
};

constexpr GridCase kCases[] = {
    // The cells have the sources' size: conversion alone.
    {"2x2_960x540_i420_linear", 2, 960, 540, FORMAT_I420, INTER_LINEAR},
    {"2x2_960x540_i420_nearest", 2, 960, 540, FORMAT_I420, INTER_NN},
    // Reduction by 0.75.
    {"2x2_1280x720_i420_linear", 2, 1280, 720, FORMAT_I420, INTER_LINEAR},
    {"2x2_1280x720_i420_nearest", 2, 1280, 720, FORMAT_I420, INTER_NN},
    {"2x2_1280x720_yuy2_linear", 2, 1280, 720, FORMAT_YUY2, INTER_LINEAR},
    {"2x2_1280x720_nv12_cubic", 2, 1280, 720, FORMAT_NV12, INTER_CUBIC},
    // Enlargement by 1.5 of sources already in the target's format.
    {"3x3_426x240_bgra_linear", 3, 428, 240, FORMAT_RGB32, INTER_LINEAR},
    // Sixteen full-HD sources reduced by 4.
    {"4x4_1920x1080_i420_linear", 4, 1920, 1080, FORMAT_I420, INTER_LINEAR},
};

void renderGrid(benchmark::State& state, const GridCase& c) {
    const std::string layout = "bench-" + std::to_string(c.grid);
    const std::string text =
        "rows:" + std::to_string(c.grid) + ";columns:" + std::to_string(c.grid) + ";";
    morvaSetLayout(layout.c_str(), text.c_str());
    TImage* target =
        morvaAllocateImage("target", kTargetWidth, -kTargetHeight, FORMAT_RGB32, nullptr, 0);
    std::vector<TImage*> sources;
    for (int32_t i = 0; i < c.grid * c.grid; ++i) {
        TImage* source = morvaAllocateImage("source", c.sourceWidth, -c.sourceHeight,
                                            c.sourceFormat, nullptr, 0);
        const std::vector<uint8_t> pixels = patternBytes(size_t(source->size));
        morvaUpdateImage(source, pixels.data());
        morvaSetAttributes(source, c.interpolation, 1);
        sources.push_back(source);
    }
    for (auto _ : state) {
        morvaRender(layout.c_str(), target, sources.data(), int32_t(sources.size()));
        benchmark::DoNotOptimize(target->data);
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * kTargetWidth * kTargetHeight);
    for (TImage* source : sources) morvaFreeImage(source);
    morvaFreeImage(target);
    morvaSetLayout(layout.c_str(), nullptr);
}

const bool registered = [] {
    for (const GridCase& c : kCases)
        benchmark::RegisterBenchmark((std::string("render/") + c.name).c_str(),
                                     [&c](benchmark::State& state) { renderGrid(state, c); })
            ->Unit(benchmark::kMillisecond);
    return true;
}();

}  // namespace
}  // namespace morva::bench
