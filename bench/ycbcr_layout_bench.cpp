// YCbCr layout kernels, every form, in Mpix/s, beside a memcpy of one packed
// 4:2:2 frame (2 bytes a pixel). 320x240 stays in the second-level cache;
// 1920x1080 doesn't, and there the kernels whose entry points choose
// streaming stores for large frames use them.
#include <cstring>
#include <vector>

#include "bench_util.h"
#include "color/ycbcr_layout.h"

namespace morva::bench {
namespace {

using yuvlayout::InPlane;
using yuvlayout::OutPlane;

const std::vector<std::pair<int, int>> kSizes = {{320, 240}, {1920, 1080}};

enum class Layout { Packed, TwoPlane420, Planar422, Planar420, Planar411 };

// Planes of one image, rows padded to 64 bytes.
struct Frame {
    std::vector<std::vector<uint8_t>> planes;
    int32_t step[3] = {};

    Frame(Layout layout, int w, int h) {
        std::vector<std::pair<int, int>> shapes;  // row bytes, rows
        switch (layout) {
        case Layout::Packed: shapes = {{2 * w, h}}; break;
        case Layout::TwoPlane420: shapes = {{w, h}, {w, h / 2}}; break;
        case Layout::Planar422: shapes = {{w, h}, {w / 2, h}, {w / 2, h}}; break;
        case Layout::Planar420: shapes = {{w, h}, {w / 2, h / 2}, {w / 2, h / 2}}; break;
        case Layout::Planar411: shapes = {{w, h}, {w / 4, h}, {w / 4, h}}; break;
        }
        for (size_t k = 0; k < shapes.size(); ++k) {
            step[k] = (shapes[k].first + 63) & ~63;
            planes.push_back(patternBytes(size_t(step[k]) * shapes[k].second));
        }
    }
    InPlane in(int k) const { return {planes[k].data(), step[k]}; }
    OutPlane out(int k) { return {planes[k].data(), step[k]}; }
};

// Bodies called with frames, one overload per body signature.
void invoke(SwapPairsFn fn, const Frame& s, Frame& d, int w, int h, bool nt) { fn(s.in(0), d.out(0), w, h, nt); }
void invoke(PackedToPlanarFn fn, const Frame& s, Frame& d, int w, int h, bool) {
    fn(s.in(0), d.out(0), d.out(1), d.out(2), w, h);
}
void invoke(PackedToTwoPlaneFn fn, const Frame& s, Frame& d, int w, int h, bool) {
    fn(s.in(0), d.out(0), d.out(1), w, h);
}
void invoke(TwoPlaneToPackedFn fn, const Frame& s, Frame& d, int w, int h, bool) {
    fn(s.in(0), s.in(1), d.out(0), w, h);
}
void invoke(PlanarToPackedFn fn, const Frame& s, Frame& d, int w, int h, bool nt) {
    fn(s.in(0), s.in(1), s.in(2), d.out(0), w, h, nt);
}
void invoke(TwoPlaneToPlanarFn fn, const Frame& s, Frame& d, int w, int h, bool) {
    fn(s.in(0), s.in(1), d.out(0), d.out(1), d.out(2), w, h);
}
void invoke(PlanarToTwoPlaneFn fn, const Frame& s, Frame& d, int w, int h, bool) {
    fn(s.in(0), s.in(1), s.in(2), d.out(0), d.out(1), w, h);
}
void invoke(PlanarToPlanarFn fn, const Frame& s, Frame& d, int w, int h, bool) {
    fn(s.in(0), s.in(1), s.in(2), d.out(0), d.out(1), d.out(2), w, h);
}

// streams: the entry point turns streaming stores on for large aligned frames.
template <class Fn>
void registerKernel(const char* name, const KernelTable<Fn>& table, Layout from, Layout to, bool streams = false) {
    registerForms(name, table,
                  [from, to, streams](benchmark::State& state, Fn fn, int w, int h) {
                      const Frame src(from, w, h);
                      Frame dst(to, w, h);
                      const bool nonTemporal = streams && int64_t(w) * h >= 1920 * 1080;
                      for (auto _ : state) {
                          invoke(fn, src, dst, w, h, nonTemporal);
                          benchmark::ClobberMemory();
                      }
                  },
                  kSizes);
}

const bool registered = [] {
    using L = Layout;
    registerKernel("ippiCbYCr422ToYCbCr422_8u_C2R", cbYCr422ToYCbCr422C2Table(), L::Packed, L::Packed);
    registerKernel("ippiYCbCr422ToCbYCr422_8u_C2R", yCbCr422ToCbYCr422C2Table(), L::Packed, L::Packed, true);
    registerKernel("ippiYCbCr422_8u_C2P3R", yCbCr422C2P3Table(), L::Packed, L::Planar422);
    registerKernel("ippiCbYCr422ToYCbCr422_8u_C2P3R", cbYCr422ToYCbCr422C2P3Table(), L::Packed, L::Planar422);
    registerKernel("ippiYCbCr422_8u_P3C2R", yCbCr422P3C2Table(), L::Planar422, L::Packed);
    registerKernel("ippiYCbCr422ToYCrCb420_8u_C2P3R", yCbCr422ToYCrCb420C2P3Table(), L::Packed, L::Planar420);
    registerKernel("ippiCbYCr422ToYCrCb420_8u_C2P3R", cbYCr422ToYCrCb420C2P3Table(), L::Packed, L::Planar420);
    registerKernel("ippiYCbCr422ToYCbCr420_8u_C2P2R", yCbCr422ToYCbCr420C2P2Table(), L::Packed, L::TwoPlane420);
    registerKernel("ippiCbYCr422ToYCbCr420_8u_C2P2R", cbYCr422ToYCbCr420C2P2Table(), L::Packed, L::TwoPlane420);
    registerKernel("ippiYCbCr420ToYCbCr422_8u_P2C2R", yCbCr420ToYCbCr422P2C2Table(), L::TwoPlane420, L::Packed);
    registerKernel("ippiYCbCr420ToCbYCr422_8u_P2C2R", yCbCr420ToCbYCr422P2C2Table(), L::TwoPlane420, L::Packed);
    registerKernel("ippiYCrCb420ToYCbCr422_8u_P3C2R", yCrCb420ToYCbCr422P3C2Table(), L::Planar420, L::Packed,
                   true);
    registerKernel("ippiYCrCb420ToCbYCr422_8u_P3C2R", yCrCb420ToCbYCr422P3C2Table(), L::Planar420, L::Packed,
                   true);
    registerKernel("ippiYCbCr420_8u_P2P3R", yCbCr420P2P3Table(), L::TwoPlane420, L::Planar420);
    registerKernel("ippiYCrCb420ToYCbCr420_8u_P3P2R", yCrCb420ToYCbCr420P3P2Table(), L::Planar420, L::TwoPlane420);
    registerKernel("ippiYCbCr422To420_8u_P3R", yCbCr422To420P3Table(), L::Planar422, L::Planar420);
    registerKernel("ippiYCbCr420To422_8u_P3R", yCbCr420To422P3Table(), L::Planar420, L::Planar422);
    registerKernel("ippiYCbCr420To411_8u_P3R", yCbCr420To411P3Table(), L::Planar420, L::Planar411);

    for (const auto& [w, h] : kSizes) {
        const std::string name = "memcpy_packed422/" + std::to_string(w) + "x" + std::to_string(h);
        benchmark::RegisterBenchmark(name.c_str(), [w = w, h = h](benchmark::State& state) {
            const size_t n = size_t(2) * w * h;
            const std::vector<uint8_t> src = patternBytes(n);
            std::vector<uint8_t> dst(n);
            for (auto _ : state) {
                std::memcpy(dst.data(), src.data(), n);
                benchmark::ClobberMemory();
            }
            state.SetItemsProcessed(int64_t(state.iterations()) * w * h);
        });
    }
    return true;
}();

}  // namespace
}  // namespace morva::bench
