// BGR to YCbCr: every kernel and form, at a cache-sized frame and at 1080p.
#include <cstdint>
#include <vector>

#include "bench_util.h"
#include "color/bgr_to_ycbcr.h"

namespace morva::bench {
namespace {

const std::vector<std::pair<int, int>> kSizes = {{256, 64}, {1920, 1080}};

auto packedBody(int pixelBytes) {
    return [pixelBytes](benchmark::State& state, BgrToYuv422Fn fn, int w, int h) {
        const std::vector<uint8_t> src = patternBytes(size_t(w) * h * pixelBytes);
        std::vector<uint8_t> dst(size_t(w) * h * 2);
        for (auto _ : state) {
            fn(src.data(), w * pixelBytes, dst.data(), 2 * w, w, h);
            benchmark::DoNotOptimize(dst.data());
            benchmark::ClobberMemory();
        }
    };
}

auto planarBody(int pixelBytes) {
    return [pixelBytes](benchmark::State& state, BgrToYuv420Fn fn, int w, int h) {
        const std::vector<uint8_t> src = patternBytes(size_t(w) * h * pixelBytes);
        std::vector<uint8_t> y(size_t(w) * h), cb(size_t(w / 2) * (h / 2)), cr(cb.size());
        uint8_t* const planes[3] = {y.data(), cb.data(), cr.data()};
        const int32_t steps[3] = {w, w / 2, w / 2};
        for (auto _ : state) {
            fn(src.data(), w * pixelBytes, planes, steps, w, h);
            benchmark::DoNotOptimize(y.data());
            benchmark::ClobberMemory();
        }
    };
}

const bool registered = [] {
    registerForms("BGRToYCbCr422_8u_C3C2R", bgrToYcbcr422C3Table(), packedBody(3), kSizes);
    registerForms("BGRToYCbCr422_8u_AC4C2R", bgrToYcbcr422Ac4Table(), packedBody(4), kSizes);
    registerForms("BGRToCbYCr422_8u_AC4C2R", bgrToCbycr422Ac4Table(), packedBody(4), kSizes);
    registerForms("BGR565ToYCbCr422_16u8u_C3C2R", bgr565ToYcbcr422Table(), packedBody(2), kSizes);
    registerForms("BGR555ToYCbCr422_16u8u_C3C2R", bgr555ToYcbcr422Table(), packedBody(2), kSizes);
    registerForms("BGRToYCrCb420_8u_C3P3R", bgrToYuv420C3Table(), planarBody(3), kSizes);
    registerForms("BGRToYCrCb420_8u_AC4P3R", bgrToYuv420Ac4Table(), planarBody(4), kSizes);
    registerForms("BGR565ToYCrCb420_16u8u_C3P3R", bgr565ToYuv420Table(), planarBody(2), kSizes);
    registerForms("BGR555ToYCrCb420_16u8u_C3P3R", bgr555ToYuv420Table(), planarBody(2), kSizes);
    return true;
}();

}  // namespace
}  // namespace morva::bench
