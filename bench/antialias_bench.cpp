// Antialiasing path benchmarks: whole 1920x1080 frames (grey, BGRA) reduced
// by 2 and by 4 with the linear, cubic and Lanczos filters at each processor
// slot, and the pass across per form. Items are target pixels for whole
// frames, intermediate samples for the pass across.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <string>
#include <vector>

#include "bench_util.h"
#include "morva.h"
#include "resample/antialias.h"
#include "resample/resize.h"
#include "resample/resize_work_size.h"

namespace morva::bench {
namespace {

constexpr int32_t kSrcWidth = 1920, kSrcHeight = 1080;

using Resize8u = IppStatus (*)(const uint8_t*, IppiSize, int32_t, IppiRect, uint8_t*, int32_t, IppiRect,
                               double, double, double, double, int32_t, uint8_t*);

struct Layout {
    const char* name;
    int32_t channels;
    Resize8u kernel;
};

constexpr Layout kLayouts[] = {{"grey", 1, &ippiResizeSqrPixel_8u_C1R},
                               {"bgra", 4, &ippiResizeSqrPixel_8u_C4R}};

struct Filter {
    const char* name;
    int32_t id;
};

constexpr Filter kFilters[] = {{"linear", INTER_LINEAR}, {"cubic", INTER_CUBIC}, {"lanczos", INTER_LANCZOS}};

void wholeFrame(benchmark::State& state, int slot, Layout layout, int32_t id, int reduction) {
    const int previous = currentCpuSlot();
    setCpuSlot(slot);
    const int32_t w = kSrcWidth / reduction, h = kSrcHeight / reduction;
    const int32_t srcStep = kSrcWidth * layout.channels, dstStep = w * layout.channels;
    const std::vector<uint8_t> src = patternBytes(size_t(srcStep) * kSrcHeight);
    std::vector<uint8_t> dst(size_t(dstStep) * h);
    const IppiRect srcRoi{0, 0, kSrcWidth, kSrcHeight}, dstRoi{0, 0, w, h};
    const double factor = 1.0 / reduction;
    const int32_t interpolation = id | RESIZE_ANTIALIASING;
    std::vector<uint8_t> buffer(size_t(resizeWorkSize({kSrcWidth, kSrcHeight}, srcRoi, dstRoi, layout.channels,
                                                      factor, factor, 0.0, 0.0, interpolation)));
    for (auto _ : state) {
        layout.kernel(src.data(), {kSrcWidth, kSrcHeight}, srcStep, srcRoi, dst.data(), dstStep, dstRoi, factor,
                      factor, 0.0, 0.0, interpolation, buffer.data());
        benchmark::DoNotOptimize(dst.data());
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * w * h);
    setCpuSlot(previous);
}

// The pass across of 16 source rows into 960 target columns, slots of a
// reduction by 2 (5 for linear, 13 for Lanczos).
void registerPassAcross() {
    constexpr int32_t kRows = 16, kWidth = kSrcWidth / 2;
    for (int32_t channels : {1, 4})
        for (int32_t taps : {5, 13}) {
            const auto& table = antialiasRowsTable<uint8_t>(channels);
            for (const KernelForm<AntialiasRowsFn<uint8_t>>& form : table.forms()) {
                if (!cpuSupports(form.isa)) continue;
                const std::string name = "antialias_across_8u_c" + std::to_string(channels) + "/taps_" +
                                         std::to_string(taps) + "/" + form.name;
                const AntialiasRowsFn<uint8_t> fn = form.fn;
                benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
                    const std::vector<uint8_t> src = patternBytes(size_t(kSrcWidth) * channels * kRows);
                    std::vector<int32_t> indices(size_t(kWidth) * taps);
                    std::vector<float> weights(indices.size(), 1.0f / float(taps));
                    for (int32_t c = 0; c < kWidth; ++c)
                        for (int32_t j = 0; j < taps; ++j)
                            indices[size_t(c) * taps + j] =
                                std::min(std::max(2 * c + 1 - taps / 2 + j, 0), kSrcWidth - 1) * channels;
                    std::vector<float> out(size_t(kWidth) * channels * kRows);
                    for (auto _ : state) {
                        fn(src.data(), kSrcWidth * channels, kRows, indices.data(), weights.data(), taps,
                           out.data(), kWidth);
                        benchmark::DoNotOptimize(out.data());
                    }
                    state.SetItemsProcessed(int64_t(state.iterations()) * kWidth * channels * kRows);
                });
            }
        }
}

const bool registered = [] {
    std::vector<int> slots = {0};
    if (highestCpuSlot() != 0) slots.push_back(highestCpuSlot());
    for (int slot : slots) {
        const std::string level = isaName(slotIsa(slot));
        for (const Layout& layout : kLayouts)
            for (const Filter& filter : kFilters)
                for (int reduction : {2, 4}) {
                    const std::string name = std::string("antialias_1080p_") + layout.name + "/" + filter.name +
                                             "/by_" + std::to_string(reduction) + "/" + level;
                    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
                        wholeFrame(state, slot, layout, filter.id, reduction);
                    })->Unit(benchmark::kMillisecond);
                }
    }
    registerPassAcross();
    return true;
}();

}  // namespace
}  // namespace morva::bench
