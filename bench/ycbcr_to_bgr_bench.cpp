// YCbCr to BGR, 24/32-bit and 16-bit: every kernel and form, at a
// cache-sized frame and at 1080p, in pixels per second. Frames have tight
// steps, as images of the library do (the 16-bit packed kernels then take
// their one-long-row path).
#include <cstdint>
#include <vector>

#include "bench_util.h"
#include "color/ycbcr_to_bgr.h"
#include "color/ycbcr_to_bgr16.h"

namespace morva::bench {
namespace {

const std::vector<std::pair<int, int>> kSizes = {{256, 64}, {1920, 1080}};

// Source planes of a 4:2:0 or 4:2:2 frame, Y then two chroma planes.
struct Planes {
    std::vector<uint8_t> bytes;
    const uint8_t* p[3];
    int32_t steps[3];
    Planes(int w, int h, int chromaRows) : bytes(patternBytes(size_t(w) * h + 2 * size_t(w / 2) * chromaRows)) {
        p[0] = bytes.data();
        p[1] = p[0] + size_t(w) * h;
        p[2] = p[1] + size_t(w / 2) * chromaRows;
        steps[0] = w;
        steps[1] = steps[2] = w / 2;
    }
};

template <class Run>
void loop(benchmark::State& state, std::vector<uint8_t>& dst, Run run) {
    for (auto _ : state) {
        run();
        benchmark::DoNotOptimize(dst.data());
        benchmark::ClobberMemory();
    }
}

auto packedBody(int outBytes) {
    return [outBytes](benchmark::State& state, Packed422ToBgrFn fn, int w, int h) {
        const std::vector<uint8_t> src = patternBytes(size_t(w) * h * 2);
        std::vector<uint8_t> dst(size_t(w) * h * outBytes);
        loop(state, dst, [&] { fn(src.data(), 2 * w, dst.data(), outBytes * w, w, h); });
    };
}

void packedAlphaBody(benchmark::State& state, Packed422ToBgraFn fn, int w, int h) {
    const std::vector<uint8_t> src = patternBytes(size_t(w) * h * 2);
    std::vector<uint8_t> dst(size_t(w) * h * 4);
    loop(state, dst, [&] { fn(src.data(), 2 * w, dst.data(), 4 * w, w, h, 0); });
}

auto planarBody(bool halfHeightChroma) {
    return [halfHeightChroma](benchmark::State& state, Planar3ToBgrFn fn, int w, int h) {
        const Planes src(w, h, halfHeightChroma ? h / 2 : h);
        std::vector<uint8_t> dst(size_t(w) * h * 3);
        loop(state, dst, [&] { fn(src.p, src.steps, dst.data(), 3 * w, w, h); });
    };
}

void planarAlphaBody(benchmark::State& state, Planar3ToBgraFn fn, int w, int h) {
    const Planes src(w, h, h / 2);
    std::vector<uint8_t> dst(size_t(w) * h * 4);
    loop(state, dst, [&] { fn(src.p, src.steps, dst.data(), 4 * w, w, h, 0); });
}

void packed16Body(benchmark::State& state, Packed422ToBgr16Fn fn, int w, int h) {
    const std::vector<uint8_t> src = patternBytes(size_t(w) * h * 2);
    std::vector<uint8_t> dst(size_t(w) * h * 2);
    loop(state, dst, [&] { fn(src.data(), 2 * w, dst.data(), w, w, h, kBgr565); });
}

void planar16Body(benchmark::State& state, Planar420ToBgr16Fn fn, int w, int h) {
    const Planes src(w, h, h / 2);
    std::vector<uint8_t> dst(size_t(w) * h * 2);
    loop(state, dst, [&] { fn(src.p, src.steps, dst.data(), w, w, h, kBgr565); });
}

const bool registered = [] {
    registerForms("YCbCr422ToBGR_8u_C2C4R", yuy2ToBgraTable(), packedAlphaBody, kSizes);
    registerForms("YCbCr422ToBGR_8u_C2C3R", yuy2ToBgrTable(), packedBody(3), kSizes);
    registerForms("CbYCr422ToBGR_8u_C2C4R", uyvyToBgraTable(), packedAlphaBody, kSizes);
    registerForms("CbYCr422ToRGB_8u_C2C3R", uyvyToRgbTable(), packedBody(3), kSizes);
    registerForms("YCbCr422ToBGR_8u_P3C3R", planar422ToBgrTable(), planarBody(false), kSizes);
    registerForms("YCbCr420ToBGR_8u_P3C3R", planar420ToBgrTable(), planarBody(true), kSizes);
    registerForms("YCrCb420ToBGR_8u_P3C4R", planar420ToBgraTable(), planarAlphaBody, kSizes);
    registerForms("YCbCr422ToBGR565_8u16u_C2C3R", packed422ToBgr16Table(), packed16Body, kSizes);
    registerForms("YCbCr420ToBGR565_8u16u_P3C3R", planar420ToBgr16Table(), planar16Body, kSizes);
    return true;
}();

}  // namespace
}  // namespace morva::bench
