// Shared test support: seeded random input, buffers with guarded margins, and
// the loop that runs every vector form of a kernel against its scalar
// definition.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "kernels/dispatch.h"

namespace morva::testing {

// The seed of this run: MORVA_TEST_SEED if set, else a fixed value, so that a
// failure can be replayed. Tests print it through SeedTrace.
uint32_t testSeed();

class Rng {
public:
    explicit Rng(uint32_t salt = 0) : engine_(testSeed() * 2654435761u + salt) {}
    uint32_t next() { return static_cast<uint32_t>(engine_()); }
    int uniform(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(engine_); }
    double real(double lo, double hi) { return std::uniform_real_distribution<double>(lo, hi)(engine_); }
    void fill(uint8_t* p, size_t n);
    // Fills with a mix of random bytes and the extremes 0 and 255, which reach
    // saturation in arithmetic kernels.
    void fillWithExtremes(uint8_t* p, size_t n);

private:
    std::mt19937 engine_;
};

// Adds the seed to every failure message of the scope.
#define MORVA_SEED_TRACE() SCOPED_TRACE("MORVA_TEST_SEED=" + std::to_string(::morva::testing::testSeed()))

// A byte buffer with a margin of sentinel bytes on both sides, whose start
// can be placed at any offset from a 64-byte boundary.
class GuardedBuffer {
public:
    static constexpr size_t kMargin = 64;
    static constexpr uint8_t kSentinel = 0xA5;

    explicit GuardedBuffer(size_t size, size_t misalignment = 0);
    uint8_t* data() { return data_; }
    const uint8_t* data() const { return data_; }
    size_t size() const { return size_; }
    // True while no byte of either margin has changed.
    bool marginsIntact() const;
    std::vector<uint8_t> bytes() const { return {data_, data_ + size_}; }

private:
    std::vector<uint8_t> storage_;
    uint8_t* data_;
    size_t size_;
};

// Calls fn(form) for every non-scalar form of the table that this processor
// runs, with the form's name in failure messages.
template <class Fn, class Body>
void forEachVectorForm(const KernelTable<Fn>& table, Body&& body) {
    for (const KernelForm<Fn>& form : table.forms()) {
        if (form.isa == Isa::Scalar || !cpuSupports(form.isa)) continue;
        SCOPED_TRACE(std::string("form ") + form.name);
        body(form);
    }
}

// Widths that leave every tail length of a vector loop, plus the small and
// the large cases.
std::vector<int> testWidths(int maxWidth = 70);

}  // namespace morva::testing
