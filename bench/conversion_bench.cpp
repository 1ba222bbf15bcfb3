// Whole-frame conversions that video applications use most, through the
// router as morvaCopyImage reaches it: 1920x1080 I420, YUY2 and UYVY to BGR24
// and BGRA and back, at the baseline slot and the highest one. Items are
// pixels.
#include <benchmark/benchmark.h>

#include <string>

#include "bench_util.h"
#include "color/router.h"
#include "morva.h"

namespace morva::bench {
namespace {

constexpr int32_t kWidth = 1920, kHeight = 1080;

struct NamedFormat {
    const char* name;
    int32_t format;
};

constexpr NamedFormat kYuv[] = {{"i420", FORMAT_I420}, {"yuy2", FORMAT_YUY2}, {"uyvy", FORMAT_UYVY}};
constexpr NamedFormat kRgb[] = {{"bgr24", FORMAT_RGB24}, {"bgra", FORMAT_RGB32}};

void convertFrame(benchmark::State& state, int slot, int32_t from, int32_t to) {
    const int previous = currentCpuSlot();
    setCpuSlot(slot);
    TImage* source = morvaAllocateImage("source", kWidth, -kHeight, from, nullptr, 0);
    TImage* target = morvaAllocateImage("target", kWidth, -kHeight, to, nullptr, 0);
    const std::vector<uint8_t> pixels = patternBytes(size_t(source->size));
    morvaUpdateImage(source, pixels.data());
    for (auto _ : state) {
        convertColorSpace(source, target);
        benchmark::DoNotOptimize(target->data);
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * kWidth * kHeight);
    morvaFreeImage(source);
    morvaFreeImage(target);
    setCpuSlot(previous);
}

void registerPair(int slot, const NamedFormat& from, const NamedFormat& to) {
    const std::string name = std::string("convert_1080p/") + from.name + "_to_" + to.name + "/" +
                             isaName(slotIsa(slot));
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
        convertFrame(state, slot, from.format, to.format);
    })->Unit(benchmark::kMillisecond);
}

const bool registered = [] {
    for (int slot : {0, highestCpuSlot()}) {
        for (const NamedFormat& yuv : kYuv)
            for (const NamedFormat& rgb : kRgb) {
                registerPair(slot, yuv, rgb);
                registerPair(slot, rgb, yuv);
            }
        if (highestCpuSlot() == 0) break;
    }
    return true;
}();

}  // namespace
}  // namespace morva::bench
