// The BGR pixel converters between 32-, 24- and 16-bit pixels: every form, at
// a cache-sized frame and at 1080p.
#include <cstdint>
#include <vector>

#include "bench_util.h"
#include "color/direct_converters.h"

namespace morva::bench {
namespace {

const std::vector<std::pair<int, int>> kSizes = {{256, 64}, {1920, 1080}};

auto body(int srcBytes, int dstBytes) {
    return [=](benchmark::State& state, PixelConvertFn fn, int w, int h) {
        const std::vector<uint8_t> src = patternBytes(size_t(w) * h * srcBytes);
        std::vector<uint8_t> dst(size_t(w) * h * dstBytes);
        for (auto _ : state) {
            fn(src.data(), w * srcBytes, dst.data(), w * dstBytes, w, h);
            benchmark::DoNotOptimize(dst.data());
            benchmark::ClobberMemory();
        }
    };
}

const bool registered = [] {
    registerForms("convertBGRAToBGR", bgraToBgrTable(), body(4, 3), kSizes);
    registerForms("convertBGRToBGRA", bgrToBgraTable(), body(3, 4), kSizes);
    registerForms("convertBGR555ToBGR", bgr555ToBgrTable(), body(2, 3), kSizes);
    registerForms("convertBGR565ToBGR", bgr565ToBgrTable(), body(2, 3), kSizes);
    return true;
}();

}  // namespace
}  // namespace morva::bench
