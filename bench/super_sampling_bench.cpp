// Super-sampling benchmarks: whole 1920x1080 frames (grey, BGRA) to 1280x720
// (the fractional form, boxes of 1.5 x 1.5) and to 960x540 (the whole form)
// at each processor slot, and the row kernels per form. Items are target
// pixels for whole frames, samples for row kernels.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "bench_util.h"
#include "morva.h"
#include "resample/resize.h"
#include "resample/super_sampling.h"

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

void wholeFrame(benchmark::State& state, int slot, Layout layout, int w, int h) {
    const int previous = currentCpuSlot();
    setCpuSlot(slot);
    const int32_t srcStep = kSrcWidth * layout.channels, dstStep = w * layout.channels;
    const std::vector<uint8_t> src = patternBytes(size_t(srcStep) * kSrcHeight);
    std::vector<uint8_t> dst(size_t(dstStep) * h);
    const IppiRect srcRoi{0, 0, kSrcWidth, kSrcHeight}, dstRoi{0, 0, w, h};
    int32_t size = 0;
    ippiResizeGetBufSize(srcRoi, dstRoi, layout.channels, INTER_SUPER, &size);
    std::vector<uint8_t> buffer(static_cast<size_t>(size));
    const double xFactor = double(w) / kSrcWidth, yFactor = double(h) / kSrcHeight;
    for (auto _ : state) {
        layout.kernel(src.data(), {kSrcWidth, kSrcHeight}, srcStep, srcRoi, dst.data(), dstStep, dstRoi,
                      xFactor, yFactor, 0.0, 0.0, INTER_SUPER, buffer.data());
        benchmark::DoNotOptimize(dst.data());
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * w * h);
    setCpuSlot(previous);
}

// One 1080p row of BGRA samples per call.
constexpr int32_t kRowSamples = kSrcWidth * 4;

template <class Fn, class Body>
void registerRowKernel(const std::string& base, const KernelTable<Fn>& table, Body body) {
    for (const KernelForm<Fn>& form : table.forms()) {
        if (!cpuSupports(form.isa)) continue;
        const Fn fn = form.fn;
        benchmark::RegisterBenchmark((base + "/" + form.name).c_str(), [=](benchmark::State& state) {
            body(state, fn);
            state.SetItemsProcessed(int64_t(state.iterations()) * kRowSamples);
        });
    }
}

void registerRowKernels() {
    const std::vector<uint8_t> row = patternBytes(kRowSamples);
    for (double weight : {1.0, 0.5}) {
        registerRowKernel("super_add_row_8u/weight_" + std::to_string(weight).substr(0, 3),
                          superAddRowTable<uint8_t>(),
                          [row, weight](benchmark::State& state, SuperAddRowFn<uint8_t> fn) {
                              std::vector<float> acc(kRowSamples, 0.0f);
                              for (auto _ : state) fn(row.data(), acc.data(), kRowSamples, weight);
                              benchmark::DoNotOptimize(acc.data());
                          });
    }
    registerRowKernel("super_add_row_whole_8u", superAddRowWholeTable<uint8_t>(),
                      [row](benchmark::State& state, SuperAddRowWholeFn<uint8_t> fn) {
                          std::vector<uint32_t> acc(kRowSamples, 0);
                          for (auto _ : state) fn(row.data(), acc.data(), kRowSamples);
                          benchmark::DoNotOptimize(acc.data());
                      });
    registerRowKernel("super_store_8u_from_float", superStoreRowTable<uint8_t, float>(),
                      [](benchmark::State& state, SuperStoreRowFn<uint8_t, float> fn) {
                          std::vector<float> acc(kRowSamples, 400.25f);
                          std::vector<uint8_t> dst(kRowSamples);
                          for (auto _ : state) fn(acc.data(), dst.data(), kRowSamples, 0.44444);
                          benchmark::DoNotOptimize(dst.data());
                      });
    registerRowKernel("super_store_8u_from_whole", superStoreRowTable<uint8_t, uint32_t>(),
                      [](benchmark::State& state, SuperStoreRowFn<uint8_t, uint32_t> fn) {
                          std::vector<uint32_t> acc(kRowSamples, 402);
                          std::vector<uint8_t> dst(kRowSamples);
                          for (auto _ : state) fn(acc.data(), dst.data(), kRowSamples, 0.25);
                          benchmark::DoNotOptimize(dst.data());
                      });
    for (int32_t channels : {1, 4}) {
        const int32_t width = kRowSamples / channels * 2 / 3;
        registerRowKernel("super_reduce_fractional_c" + std::to_string(channels),
                          superReduceFractionalTable(channels),
                          [width, channels](benchmark::State& state, SuperReduceFractionalFn fn) {
                              std::vector<float> acc(kRowSamples, 300.0f);
                              std::vector<SuperColumn> schedule(static_cast<size_t>(width));
                              superColumnSchedule(1.5, 0.0, kRowSamples / channels, width, schedule.data());
                              for (auto _ : state) {
                                  fn(acc.data(), schedule.data(), 0, width);
                                  benchmark::DoNotOptimize(acc.data());
                              }
                          });
        registerRowKernel("super_reduce_whole_c" + std::to_string(channels), superReduceWholeTable(channels),
                          [channels](benchmark::State& state, SuperReduceWholeFn fn) {
                              std::vector<uint32_t> acc(kRowSamples, 300);
                              for (auto _ : state) {
                                  fn(acc.data(), kRowSamples / channels / 2, 2);
                                  benchmark::DoNotOptimize(acc.data());
                              }
                          });
    }
}

const bool registered = [] {
    std::vector<int> slots = {0};
    if (highestCpuSlot() != 0) slots.push_back(highestCpuSlot());
    for (int slot : slots) {
        const std::string level = isaName(slotIsa(slot));
        for (const Layout& layout : kLayouts)
            for (const auto& [w, h] : {std::pair{1280, 720}, std::pair{960, 540}}) {
                const std::string name = std::string("super_1080p_") + layout.name + "/" + level + "/" +
                                         std::to_string(w) + "x" + std::to_string(h);
                benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
                    wholeFrame(state, slot, layout, w, h);
                })->Unit(benchmark::kMillisecond);
            }
    }
    registerRowKernels();
    return true;
}();

}  // namespace
}  // namespace morva::bench
