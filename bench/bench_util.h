// Shared helpers of the benchmarks.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

#include "kernels/dispatch.h"

namespace morva::bench {

// Registers one benchmark per form of a table that this processor runs,
// named "<base>/<form>". body(state, fn) runs the measured loop.
template <class Fn, class Body>
void registerForms(const std::string& base, const KernelTable<Fn>& table, Body body,
                   const std::vector<std::pair<int, int>>& sizes) {
    for (const KernelForm<Fn>& form : table.forms()) {
        if (!cpuSupports(form.isa)) continue;
        for (const auto& [w, h] : sizes) {
            const std::string name =
                base + "/" + form.name + "/" + std::to_string(w) + "x" + std::to_string(h);
            Fn fn = form.fn;
            benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
                body(state, fn, w, h);
                state.SetItemsProcessed(int64_t(state.iterations()) * w * h);
            });
        }
    }
}

// Bytes with a fixed pseudo-random pattern, for benchmark input.
inline std::vector<uint8_t> patternBytes(size_t n) {
    std::vector<uint8_t> v(n);
    uint32_t x = 0x12345678u;
    for (auto& b : v) {
        x = x * 1664525u + 1013904223u;
        b = static_cast<uint8_t>(x >> 24);
    }
    return v;
}

}  // namespace morva::bench
