// Resize benchmarks: whole 1920x1080 frames (grey, BGR24, BGRA) to 960x540,
// 1280x720 and 3840x2160 by nearest neighbour and linear at each processor
// slot (halving and doubling take the fast paths), the row kernels of both
// families and the one-channel fast paths per form. Items are target pixels.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "bench_util.h"
#include "morva.h"
#include "resample/linear.h"
#include "resample/linear_fast_paths.h"
#include "resample/nearest.h"
#include "resample/resize.h"

namespace morva::bench {
namespace {

constexpr int32_t kSrcWidth = 1920, kSrcHeight = 1080;
const std::vector<std::pair<int, int>> kTargets = {{960, 540}, {1280, 720}, {3840, 2160}};

using Resize8u = IppStatus (*)(const uint8_t*, IppiSize, int32_t, IppiRect, uint8_t*, int32_t, IppiRect,
                               double, double, double, double, int32_t, uint8_t*);

struct Layout {
    const char* name;
    int32_t channels;
    Resize8u kernel;
};

constexpr Layout kLayouts[] = {{"grey", 1, &ippiResizeSqrPixel_8u_C1R},
                               {"bgr24", 3, &ippiResizeSqrPixel_8u_C3R},
                               {"bgra", 4, &ippiResizeSqrPixel_8u_C4R}};

void wholeFrame(benchmark::State& state, int slot, Layout layout, int32_t interpolation, int w, int h) {
    const int previous = currentCpuSlot();
    setCpuSlot(slot);
    const int32_t srcStep = kSrcWidth * layout.channels, dstStep = w * layout.channels;
    const std::vector<uint8_t> src = patternBytes(size_t(srcStep) * kSrcHeight);
    std::vector<uint8_t> dst(size_t(dstStep) * h);
    const IppiRect srcRoi{0, 0, kSrcWidth, kSrcHeight}, dstRoi{0, 0, w, h};
    int32_t size = 0;
    ippiResizeGetBufSize(srcRoi, dstRoi, layout.channels, interpolation, &size);
    std::vector<uint8_t> buffer(static_cast<size_t>(size));
    const double xFactor = double(w) / kSrcWidth, yFactor = double(h) / kSrcHeight;
    for (auto _ : state) {
        layout.kernel(src.data(), {kSrcWidth, kSrcHeight}, srcStep, srcRoi, dst.data(), dstStep, dstRoi,
                      xFactor, yFactor, 0.0, 0.0, interpolation, buffer.data());
        benchmark::DoNotOptimize(dst.data());
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * w * h);
    setCpuSlot(previous);
}

// Columns of a resize from 1920 to w, as the tables hold them.
std::vector<int32_t> columnsTo(int w, int32_t channels, int32_t limit) {
    std::vector<int32_t> columns(static_cast<size_t>(w));
    for (int j = 0; j < w; ++j) {
        const int32_t k = int32_t((j + 0.5) * kSrcWidth / w - 0.5);
        columns[size_t(j)] = std::min(std::max(k, 0), limit) * channels;
    }
    return columns;
}

void registerRowKernels() {
    for (int32_t channels : {1, 3, 4}) {
        const std::string suffix = "_c" + std::to_string(channels);
        registerForms(
            "nearest_row_8u" + suffix, nearestRow8uTable(channels),
            [channels](benchmark::State& state, NearestRowFn<uint8_t> fn, int w, int h) {
                const std::vector<uint8_t> src = patternBytes(size_t(kSrcWidth) * channels);
                const std::vector<int32_t> columns = columnsTo(w, channels, kSrcWidth - 1);
                std::vector<uint8_t> dst(size_t(w) * channels * h);
                for (auto _ : state)
                    for (int y = 0; y < h; ++y) fn(src.data(), kSrcWidth, columns.data(), dst.data() + size_t(y) * w * channels, w);
                benchmark::DoNotOptimize(dst.data());
            },
            kTargets);
        registerForms(
            "linear_row_8u" + suffix, linearRow8uTable(channels),
            [channels](benchmark::State& state, LinearRow8uFn fn, int w, int h) {
                const std::vector<uint8_t> src = patternBytes(size_t(kSrcWidth) * channels);
                const std::vector<int32_t> columns = columnsTo(w, channels, kSrcWidth - 2);
                std::vector<int16_t> weights(size_t(2 * w), 8192);
                std::vector<int16_t> out(size_t(w) * channels);
                for (auto _ : state)
                    for (int y = 0; y < h; ++y) fn(src.data(), kSrcWidth, columns.data(), weights.data(), out.data(), w);
                benchmark::DoNotOptimize(out.data());
            },
            kTargets);
    }
    registerForms(
        "linear_blend_8u_bgra", linearBlend8uTable(),
        [](benchmark::State& state, LinearBlend8uFn fn, int w, int h) {
            std::vector<int16_t> a(size_t(w) * 4, 1000), b(size_t(w) * 4, 16000);
            std::vector<uint8_t> dst(size_t(w) * 4 * h);
            for (auto _ : state)
                for (int y = 0; y < h; ++y) fn(a.data(), b.data(), dst.data() + size_t(y) * w * 4, w * 4, 5000);
            benchmark::DoNotOptimize(dst.data());
        },
        kTargets);
    registerForms(
        "linear_blend_16u", linearBlend16uTable(),
        [](benchmark::State& state, LinearBlend16uFn fn, int w, int h) {
            std::vector<float> a(size_t(w), 100.0f), b(size_t(w), 60000.0f);
            std::vector<uint16_t> dst(size_t(w) * h);
            for (auto _ : state)
                for (int y = 0; y < h; ++y) fn(a.data(), b.data(), dst.data() + size_t(y) * w, w, 0.3f);
            benchmark::DoNotOptimize(dst.data());
        },
        kTargets);
}

// The one-channel 8u fast paths of a 1920x1080 frame: the halving to
// 960x540 and the doubling to 3840x2160, one call per target row.
void registerFastPaths() {
    const std::vector<uint8_t> src = patternBytes(size_t(kSrcWidth) * 2);
    registerForms(
        "linear_box_8u_c1", linearBox8uTable(1),
        [src](benchmark::State& state, LinearBoxFn<uint8_t> fn, int w, int h) {
            std::vector<uint8_t> dst(static_cast<size_t>(w));
            for (auto _ : state)
                for (int y = 0; y < h; ++y) fn(src.data(), src.data() + kSrcWidth, dst.data(), w);
            benchmark::DoNotOptimize(dst.data());
        },
        {{960, 540}});
    registerForms(
        "linear_double_8u_c1", linearDouble8uTable(1),
        [src](benchmark::State& state, LinearDoubleFn<uint8_t> fn, int w, int h) {
            std::vector<uint8_t> dst(static_cast<size_t>(w));
            for (auto _ : state)
                for (int y = 0; y < h; ++y) fn(src.data(), src.data() + kSrcWidth, 1 + 2 * (y % 2), 3, dst.data(), w);
            benchmark::DoNotOptimize(dst.data());
        },
        {{3838, 2158}});
    registerForms(
        "nearest_every_other_8u_c1", nearestEveryOther8uTable(1),
        [src](benchmark::State& state, NearestEveryOtherFn<uint8_t> fn, int w, int h) {
            std::vector<uint8_t> dst(static_cast<size_t>(w));
            for (auto _ : state)
                for (int y = 0; y < h; ++y) fn(src.data(), dst.data(), w);
            benchmark::DoNotOptimize(dst.data());
        },
        {{960, 540}});
    registerForms(
        "nearest_twice_8u_c1", nearestTwice8uTable(1),
        [src](benchmark::State& state, NearestTwiceFn<uint8_t> fn, int w, int h) {
            std::vector<uint8_t> dst(static_cast<size_t>(w));
            for (auto _ : state)
                for (int y = 0; y < h; ++y) fn(src.data(), dst.data(), w, 0);
            benchmark::DoNotOptimize(dst.data());
        },
        {{3840, 2160}});
}

const bool registered = [] {
    std::vector<int> slots = {0};
    if (highestCpuSlot() != 0) slots.push_back(highestCpuSlot());
    for (int slot : slots) {
        const std::string level = isaName(slotIsa(slot));
        for (const Layout& layout : kLayouts)
            for (int32_t interpolation : {INTER_NN, INTER_LINEAR})
                for (const auto& [w, h] : kTargets) {
                    const std::string name = std::string("resize_1080p_") + layout.name + "/" +
                                             (interpolation == INTER_NN ? "nearest" : "linear") + "/" + level +
                                             "/" + std::to_string(w) + "x" + std::to_string(h);
                    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
                        wholeFrame(state, slot, layout, interpolation, w, h);
                    })->Unit(benchmark::kMillisecond);
                }
    }
    registerRowKernels();
    registerFastPaths();
    return true;
}();

}  // namespace
}  // namespace morva::bench
