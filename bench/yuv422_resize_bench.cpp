// Packed 4:2:2 resize of a 1920x1080 frame to 1280x720, by method and level.
// Items are target pixels, so the rate reads in Mpix/s.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "bench_util.h"
#include "morva.h"
#include "resample/yuv422_kernels.h"

namespace morva::bench {
namespace {

constexpr IppiSize kSource{1920, 1080};
constexpr IppiSize kTarget{1280, 720};

void resizeFrame(benchmark::State& state, int32_t method, Isa level) {
    const std::vector<uint8_t> src = patternBytes(size_t(2) * kSource.width * kSource.height);
    std::vector<uint8_t> dst(size_t(2) * kTarget.width * kTarget.height);
    const Yuv422Passes passes = yuv422PassesUpTo(level);
    const double xFactor = double(kTarget.width) / kSource.width;
    const double yFactor = double(kTarget.height) / kSource.height;
    for (auto _ : state) {
        const IppStatus status = resizeYuv422With(
            passes, src.data(), kSource, 2 * kSource.width, {0, 0, kSource.width, kSource.height},
            dst.data(), 2 * kTarget.width, kTarget, xFactor, yFactor, method);
        if (status != ippStsNoErr) state.SkipWithError("resize failed");
        benchmark::DoNotOptimize(dst.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * kTarget.width * kTarget.height);
}

const bool registered = [] {
    const std::pair<int32_t, const char*> methods[] = {
        {INTER_NN, "nearest"}, {INTER_LINEAR, "linear"}, {INTER_CUBIC, "cubic"}, {INTER_SUPER, "super"}};
    for (const auto& [method, name] : methods)
        for (Isa level : {Isa::Scalar, Isa::Sse2, Isa::Avx2}) {
            if (!cpuSupports(level)) continue;
            // Nearest neighbour has no vector form: one run is enough.
            if (method == INTER_NN && level != Isa::Scalar) continue;
            const std::string label = std::string("yuv422_resize/") + name + "/" + isaName(level) +
                                      "/1920x1080_to_1280x720";
            benchmark::RegisterBenchmark(label.c_str(), [method = method, level](benchmark::State& s) {
                resizeFrame(s, method, level);
            })->Unit(benchmark::kMillisecond);
        }
    return true;
}();

}  // namespace
}  // namespace morva::bench
