// Mirror and set, every form, on a cache-sized plane and a 1920x1080 frame,
// beside memset for the fill.
#include <cstring>
#include <vector>

#include "bench_util.h"
#include "kernels/mirror_forms.h"
#include "kernels/set_forms.h"

namespace morva::bench {
namespace {

const std::vector<std::pair<int, int>> kSizes = {{256, 256}, {1920, 1080}};

void registerMirror(const char* name, const KernelTable<MirrorFn>& table, int pixelBytes) {
    for (int32_t flip : {0, 1, 2})
        registerForms(std::string(name) + "/flip" + std::to_string(flip), table,
                      [=](benchmark::State& state, MirrorFn fn, int w, int h) {
                          std::vector<uint8_t> plane = patternBytes(size_t(w) * h * pixelBytes);
                          for (auto _ : state) {
                              fn(plane.data(), ptrdiff_t(w) * pixelBytes, w, h, flip);
                              benchmark::ClobberMemory();
                          }
                      },
                      kSizes);
}

// Cached stores, as the entry point chooses below the cache's size, and
// streaming stores, as it chooses above.
void registerSet(const char* name, const KernelTable<SetRowsFn>& table, int pixelBytes) {
    for (bool nonTemporal : {false, true})
        registerForms(std::string(name) + (nonTemporal ? "/streaming" : "/cached"), table,
                      [=](benchmark::State& state, SetRowsFn fn, int w, int h) {
                          std::vector<uint8_t> plane(size_t(w) * h * pixelBytes);
                          const uint8_t pixel[4] = {1, 2, 3, 4};
                          for (auto _ : state) {
                              fn(plane.data(), ptrdiff_t(w) * pixelBytes, plane.size(), 1, pixel, nonTemporal);
                              benchmark::ClobberMemory();
                          }
                      },
                      kSizes);
}

const bool registered = [] {
    registerMirror("ippiMirror_8u_C1IR", mirrorC1Table(), 1);
    registerMirror("ippiMirror_8u_C3IR", mirrorC3Table(), 3);
    registerMirror("ippiMirror_8u_C4IR", mirrorC4Table(), 4);
    registerSet("ippiSet_8u_C1R", setC1Table(), 1);
    registerSet("ippiSet_16u_C1R", set16uTable(), 2);
    registerSet("ippiSet_8u_C3R", setC3Table(), 3);
    registerSet("ippiSet_8u_C4R", setC4Table(), 4);
    for (const auto& [w, h] : kSizes)
        benchmark::RegisterBenchmark(("memset/C4/" + std::to_string(w) + "x" + std::to_string(h)).c_str(),
                                     [w = w, h = h](benchmark::State& state) {
                                         std::vector<uint8_t> plane(size_t(w) * h * 4);
                                         for (auto _ : state) {
                                             std::memset(plane.data(), 7, plane.size());
                                             benchmark::ClobberMemory();
                                         }
                                         state.SetItemsProcessed(int64_t(state.iterations()) * w * h);
                                     });
    return true;
}();

}  // namespace
}  // namespace morva::bench
