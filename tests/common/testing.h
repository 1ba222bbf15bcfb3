// Shared test support: seeded random input, buffers with guarded margins, the
// loops over the forms of a kernel, and the harness that compares every vector
// form with the scalar definition.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "kernels/dispatch.h"
#include "kernels/scratch.h"

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

// Sets how many bytes of rows the calling thread's bands hold, for its
// scope: small values give many bands out of small images.
class BandBytesScope {
public:
    explicit BandBytesScope(int64_t bytes) : saved_(threadWorkBuffers().bandBytes) {
        threadWorkBuffers().bandBytes = bytes;
    }
    ~BandBytesScope() { threadWorkBuffers().bandBytes = saved_; }
    BandBytesScope(const BandBytesScope&) = delete;
    BandBytesScope& operator=(const BandBytesScope&) = delete;

private:
    int64_t saved_;
};

// A band size for a random test: mostly a few rows of a small image, now
// and then the default.
inline int64_t randomBandBytes(Rng& rng) {
    const int64_t sizes[] = {64, 500, 3000, 20000, threadWorkBuffers().bandBytes};
    return sizes[rng.uniform(0, 4)];
}

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

// One case of a forms sweep: a width in pixels (in bytes for byte kernels),
// rows, bytes of padding behind each row, the offsets of source and target
// from a 64-byte boundary, and a variant that the kernel's adapter reads (an
// axis, a streaming flag, a cache size).
struct FormCase {
    int width = 1, height = 1, padding = 0;
    size_t srcOffset = 0, dstOffset = 0;
    int variant = 0;

    int32_t step(int pixelBytes) const { return width * pixelBytes + padding; }
    // The bytes from the first pixel to the last of a plane of this geometry.
    size_t planeBytes(int pixelBytes) const { return size_t(step(pixelBytes)) * (height - 1) + size_t(width) * pixelBytes; }
};
std::ostream& operator<<(std::ostream& out, const FormCase& c);

// The standard sweep: every width of testWidths(maxWidth) at every height and
// variant, without and with padding, with the source and target offsets
// running through 0 to 63 independently over the cases.
std::vector<FormCase> formSweep(const std::vector<int>& heights, const std::vector<int>& variants = {0}, int maxWidth = 70);

// The forms harness. For every case, run(fn, case, rng) runs one form on
// input drawn from rng and returns the guarded buffer the form wrote. Every
// vector form this processor runs must leave the bytes of the scalar form, on
// the same input, and no form may touch a margin. Stops at the first failing
// case.
template <class Fn, class Case, class Run>
void compareFormsWithScalar(const KernelTable<Fn>& table, const std::vector<Case>& cases, Run&& run) {
    MORVA_SEED_TRACE();
    for (size_t i = 0; i < cases.size(); ++i) {
        Rng scalarRng{uint32_t(i)};
        const GuardedBuffer expected = run(table.scalar(), cases[i], scalarRng);
        ASSERT_TRUE(expected.marginsIntact()) << "scalar form, " << ::testing::PrintToString(cases[i]);
        forEachVectorForm(table, [&](const KernelForm<Fn>& form) {
            Rng rng{uint32_t(i)};
            const GuardedBuffer actual = run(form.fn, cases[i], rng);
            EXPECT_TRUE(actual.size() == expected.size() && actual.marginsIntact() &&
                        std::equal(actual.data(), actual.data() + actual.size(), expected.data()))
                << ::testing::PrintToString(cases[i]);
        });
        if (::testing::Test::HasFailure()) return;
    }
}

}  // namespace morva::testing
