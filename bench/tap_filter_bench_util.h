// Shared pieces of the cubic and Lanczos benchmarks: whole frames at a
// processor slot, and the row kernels and blends of a family per form.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <string>
#include <vector>

#include "bench_util.h"
#include "kernels/dispatch.h"
#include "morva.h"
#include "resample/resize.h"
#include "resample/tap_filter.h"

namespace morva::bench::tap_filter {

constexpr int32_t kSrcWidth = 1920, kSrcHeight = 1080;
inline const std::vector<std::pair<int, int>> kTargets = {{1280, 720}, {3840, 2160}};

using Resize8u = IppStatus (*)(const uint8_t*, IppiSize, int32_t, IppiRect, uint8_t*, int32_t,
                               IppiRect, double, double, double, double, int32_t, uint8_t*);

struct Layout {
    const char* name;
    int32_t channels;
    Resize8u kernel;
};

inline const Layout kLayouts[] = {{"grey", 1, &ippiResizeSqrPixel_8u_C1R},
                                  {"bgra", 4, &ippiResizeSqrPixel_8u_C4R}};

// A 1920x1080 frame resized to w x h; items are target pixels.
inline void wholeFrame(benchmark::State& state, int slot, Layout layout, int32_t interpolation,
                       int w, int h) {
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
        layout.kernel(src.data(), {kSrcWidth, kSrcHeight}, srcStep, srcRoi, dst.data(), dstStep,
                      dstRoi, xFactor, yFactor, 0.0, 0.0, interpolation, buffer.data());
        benchmark::DoNotOptimize(dst.data());
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * w * h);
    setCpuSlot(previous);
}

// Whole frames of each layout and target at the lowest and the highest slot.
inline void registerWholeFrames(const std::string& family, int32_t interpolation) {
    std::vector<int> slots = {0};
    if (highestCpuSlot() != 0) slots.push_back(highestCpuSlot());
    for (int slot : slots)
        for (const Layout& layout : kLayouts)
            for (const auto& [w, h] : kTargets) {
                const std::string name = "resize_1080p_" + std::string(layout.name) + "/" + family +
                                         "/" + isaName(slotIsa(slot)) + "/" + std::to_string(w) +
                                         "x" + std::to_string(h);
                benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
                    wholeFrame(state, slot, layout, interpolation, w, h);
                })->Unit(benchmark::kMillisecond);
            }
}

// Interior columns of a resize from 1920 to w: taps `above` before k and
// `below` after it stay in the row.
inline std::vector<int32_t> columnsTo(int w, int32_t channels, int32_t above, int32_t below) {
    std::vector<int32_t> columns(static_cast<size_t>(w));
    for (int j = 0; j < w; ++j) {
        const int32_t k = int32_t((j + 0.5) * kSrcWidth / w - 0.5);
        columns[size_t(j)] = std::clamp(k, above, kSrcWidth - 1 - below) * channels;
    }
    return columns;
}

// Row kernels of 8u grey and BGRA, and both blends of BGRA width, per form:
// one call per target row, items are target pixels.
template <int Taps>
void registerKernels(const std::string& family,
                     const KernelTable<TapRowFn<uint8_t>>& (*rowTable)(int32_t),
                     const KernelTable<TapBlendFn<uint8_t>>& blend8u,
                     const KernelTable<TapBlendFn<uint16_t>>& blend16u,
                     TapCoefficientsFn coefficients) {
    for (int32_t channels : {1, 4}) {
        registerForms(
            family + "_row_8u_c" + std::to_string(channels), rowTable(channels),
            [=](benchmark::State& state, TapRowFn<uint8_t> fn, int w, int h) {
                const std::vector<uint8_t> src = patternBytes(size_t(kSrcWidth) * channels);
                const std::vector<int32_t> columns = columnsTo(w, channels, Taps / 2 - 1, Taps / 2);
                std::vector<float> c(Taps * size_t(w));
                for (int j = 0; j < w; ++j)
                    coefficients(float(j % 97) / 97.0f, &c[size_t(Taps) * j]);
                std::vector<float> out(size_t(w) * channels);
                for (auto _ : state)
                    for (int y = 0; y < h; ++y)
                        fn(src.data(), columns.data(), c.data(), out.data(), w);
                benchmark::DoNotOptimize(out.data());
            },
            kTargets);
    }
    const auto blendBody = [=](auto fn, auto sample, benchmark::State& state, int w, int h) {
        using T = decltype(sample);
        std::vector<std::vector<float>> rows(Taps, std::vector<float>(size_t(w) * 4));
        const float* pointers[Taps];
        for (int t = 0; t < Taps; ++t) {
            for (size_t i = 0; i < rows[t].size(); ++i) rows[t][i] = float((i * 37 + t * 11) % 251);
            pointers[t] = rows[t].data();
        }
        float c[Taps];
        coefficients(0.3f, c);
        std::vector<T> dst(size_t(w) * 4);
        for (auto _ : state)
            for (int y = 0; y < h; ++y) fn(pointers, c, dst.data(), w * 4);
        benchmark::DoNotOptimize(dst.data());
    };
    registerForms(
        family + "_blend_8u_bgra", blend8u,
        [=](benchmark::State& state, TapBlendFn<uint8_t> fn, int w, int h) {
            blendBody(fn, uint8_t(), state, w, h);
        },
        kTargets);
    registerForms(
        family + "_blend_16u_bgra", blend16u,
        [=](benchmark::State& state, TapBlendFn<uint16_t> fn, int w, int h) {
            blendBody(fn, uint16_t(), state, w, h);
        },
        kTargets);
}

}  // namespace morva::bench::tap_filter
