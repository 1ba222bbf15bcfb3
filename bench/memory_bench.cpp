// Byte copy, byte clear and plane copy, every form, beside memcpy and memset.
// A 256x256 block stays in the cache; a 1920x1080 grey plane (2 MB) doesn't
// fit the first levels.
#include <cstring>
#include <vector>

#include "bench_util.h"
#include "kernels/frame.h"
#include "kernels/memory_forms.h"

namespace morva::bench {
namespace {

const std::vector<std::pair<int, int>> kSizes = {{256, 256}, {1920, 1080}};

std::string sizeName(int w, int h) { return std::to_string(w) + "x" + std::to_string(h); }

template <class Fn, class Body>
void registerByteForms(const std::string& base, const KernelTable<Fn>& table, Body body) {
    for (const KernelForm<Fn>& form : table.forms()) {
        if (!cpuSupports(form.isa)) continue;
        for (const auto& [w, h] : kSizes) {
            const Fn fn = form.fn;
            const size_t n = size_t(w) * h;
            benchmark::RegisterBenchmark((base + "/" + form.name + "/" + sizeName(w, h)).c_str(),
                                         [=](benchmark::State& state) {
                                             body(state, fn, n);
                                             state.SetBytesProcessed(int64_t(state.iterations()) * n);
                                         });
        }
    }
}

template <class Body>
void registerBaseline(const std::string& name, Body body) {
    for (const auto& [w, h] : kSizes) {
        const size_t n = size_t(w) * h;
        benchmark::RegisterBenchmark((name + "/" + sizeName(w, h)).c_str(), [=](benchmark::State& state) {
            body(state, n);
            state.SetBytesProcessed(int64_t(state.iterations()) * n);
        });
    }
}

const bool registered = [] {
    registerByteForms("ippsCopy_8u", copyBytesTable(), [](benchmark::State& state, CopyBytesFn fn, size_t n) {
        const std::vector<uint8_t> src = patternBytes(n);
        std::vector<uint8_t> dst(n);
        for (auto _ : state) {
            fn(src.data(), dst.data(), n, &hostDescriptorCacheSize);
            benchmark::ClobberMemory();
        }
    });
    registerBaseline("memcpy", [](benchmark::State& state, size_t n) {
        const std::vector<uint8_t> src = patternBytes(n);
        std::vector<uint8_t> dst(n);
        for (auto _ : state) {
            std::memcpy(dst.data(), src.data(), n);
            benchmark::ClobberMemory();
        }
    });
    registerByteForms("ippsZero_8u", zeroBytesTable(), [](benchmark::State& state, ZeroBytesFn fn, size_t n) {
        std::vector<uint8_t> dst(n, 1);
        for (auto _ : state) {
            fn(dst.data(), n, &hostDescriptorCacheSize);
            benchmark::ClobberMemory();
        }
    });
    registerBaseline("memset", [](benchmark::State& state, size_t n) {
        std::vector<uint8_t> dst(n, 1);
        for (auto _ : state) {
            std::memset(dst.data(), 0, n);
            benchmark::ClobberMemory();
        }
    });
    // Plane copy row by row, rows padded to 64 bytes more than the width,
    // streaming by the plane-copy rule.
    for (bool nonTemporal : {false, true})
        registerByteForms(std::string("ownCopyRow/") + (nonTemporal ? "streaming" : "cached"), copyRowTable(),
                          [nonTemporal](benchmark::State& state, CopyRowFn fn, size_t n) {
                              const size_t width = n >= 1920 * 1080 ? 1920 : 256, height = n / width;
                              const size_t step = width + 64;
                              const std::vector<uint8_t> src = patternBytes(step * height);
                              std::vector<uint8_t> dst(step * height);
                              for (auto _ : state) {
                                  for (size_t y = 0; y < height; ++y)
                                      fn(src.data() + y * step, dst.data() + y * step, width, nonTemporal);
                                  benchmark::ClobberMemory();
                              }
                          });
    return true;
}();

}  // namespace
}  // namespace morva::bench
