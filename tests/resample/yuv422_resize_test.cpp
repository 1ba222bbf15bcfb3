// Packed 4:2:2 resize: statuses and their order, extents, the methods'
// defined results, and every vector form against the scalar definitions.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

#include "common/testing.h"
#include "kernels/memory_forms.h"
#include "morva.h"
#include "resample/yuv422_kernels.h"
#include "resample/yuv422_resize.h"
#include "resample/yuv422_tables.h"

namespace morva {
namespace {

using testing::GuardedBuffer;
using testing::Rng;

// A source in a buffer of exactly its size, so that the sanitizers report a
// read outside it.
struct Source {
    IppiSize size;
    int32_t step;
    std::vector<uint8_t> bytes;

    Source(int32_t width, int32_t height, int32_t padding = 0)
        : size{width, height}, step(2 * width + padding), bytes(size_t(step) * height) {}

    const uint8_t* data() const { return bytes.data(); }
    uint8_t at(int32_t row, int32_t byte) const { return bytes[size_t(row) * step + byte]; }
    uint8_t luma(int32_t row, int32_t k) const { return at(row, 2 * k); }
    uint8_t u(int32_t row, int32_t pair) const { return at(row, 4 * pair + 1); }
    uint8_t v(int32_t row, int32_t pair) const { return at(row, 4 * pair + 3); }
};

// A target of sentinel bytes inside a guarded margin.
struct Target {
    IppiSize size;
    int32_t step;
    GuardedBuffer buffer;

    Target(int32_t width, int32_t height, int32_t padding = 0, size_t misalignment = 0)
        : size{width, height}, step(2 * width + padding),
          buffer(size_t(step) * height, misalignment) {}

    uint8_t* data() { return buffer.data(); }
    uint8_t at(int32_t row, int32_t byte) const { return buffer.data()[size_t(row) * step + byte]; }
    uint8_t luma(int32_t row, int32_t k) const { return at(row, 2 * k); }
    uint8_t u(int32_t row, int32_t pair) const { return at(row, 4 * pair + 1); }
    uint8_t v(int32_t row, int32_t pair) const { return at(row, 4 * pair + 3); }

    bool untouched() const {
        const std::vector<uint8_t> b = buffer.bytes();
        return buffer.marginsIntact() &&
               std::all_of(b.begin(), b.end(), [](uint8_t x) { return x == GuardedBuffer::kSentinel; });
    }
    // Every byte of the image, margins aside.
    void fill(uint8_t value) { std::fill_n(buffer.data(), buffer.size(), value); }
};

struct Call {
    IppiRect roi;
    double xFactor;
    double yFactor;
    int32_t interpolation;
};

IppStatus resize(const Source& s, Target& t, const Call& c,
                 const Yuv422Passes& passes = yuv422PassesUpTo(Isa::Scalar)) {
    return resizeYuv422With(passes, s.data(), s.size, s.step, c.roi, t.data(), t.step, t.size,
                            c.xFactor, c.yFactor, c.interpolation);
}

Call wholeImage(const Source& s, double xFactor, double yFactor, int32_t method) {
    return {{0, 0, s.size.width, s.size.height}, xFactor, yFactor, method};
}

// Fills without the sentinel value, so that written bytes can be told apart.
void fillSource(Source& s, Rng& rng) {
    rng.fillWithExtremes(s.bytes.data(), s.bytes.size());
    for (uint8_t& b : s.bytes)
        if (b == GuardedBuffer::kSentinel) b = 0;
}

constexpr int32_t kMethods[] = {INTER_NN, INTER_LINEAR, INTER_CUBIC, INTER_SUPER};

std::string methodName(int32_t method) {
    switch (method) {
    case INTER_NN: return "nearest";
    case INTER_LINEAR: return "linear";
    case INTER_CUBIC: return "cubic";
    default: return "super";
    }
}

// ---- Statuses ----

struct StatusCase {
    const char* name;
    bool nullSource, nullTarget;
    IppiSize srcSize;
    IppiRect roi;
    IppiSize dstSize;
    double xFactor, yFactor;
    int32_t interpolation;
    IppStatus expected;
};

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Each case breaks one check, or two to show which comes first.
const StatusCase kStatusCases[] = {
    {"valid", false, false, {16, 8}, {0, 0, 16, 8}, {8, 4}, 0.5, 0.5, INTER_LINEAR, ippStsNoErr},
    {"null_source", true, false, {16, 8}, {0, 0, 16, 8}, {8, 4}, 0.5, 0.5, 2, ippStsNullPtrErr},
    {"null_target", false, true, {16, 8}, {0, 0, 16, 8}, {8, 4}, 0.5, 0.5, 2, ippStsNullPtrErr},
    {"null_before_size", true, false, {0, 8}, {0, 0, 16, 8}, {8, 4}, 0.5, 0.5, 2, ippStsNullPtrErr},
    {"source_width_0", false, false, {0, 8}, {0, 0, 16, 8}, {8, 4}, 0.5, 0.5, 2, ippStsSizeErr},
    {"source_height_0", false, false, {16, 0}, {0, 0, 16, 8}, {8, 4}, 0.5, 0.5, 2, ippStsSizeErr},
    {"region_x_negative", false, false, {16, 8}, {-2, 0, 16, 8}, {8, 4}, 0.5, 0.5, 2, ippStsSizeErr},
    {"region_y_negative", false, false, {16, 8}, {0, -1, 16, 8}, {8, 4}, 0.5, 0.5, 2, ippStsSizeErr},
    {"region_width_0", false, false, {16, 8}, {0, 0, 0, 8}, {8, 4}, 0.5, 0.5, 2, ippStsSizeErr},
    {"region_height_0", false, false, {16, 8}, {0, 0, 16, 0}, {8, 4}, 0.5, 0.5, 2, ippStsSizeErr},
    {"size_before_origin", false, false, {16, 8}, {16, 0, 0, 8}, {8, 4}, 0.5, 0.5, 2, ippStsSizeErr},
    {"origin_right", false, false, {16, 8}, {16, 0, 16, 8}, {8, 4}, 0.5, 0.5, 2, ippStsWrongIntersectROI},
    {"origin_below", false, false, {16, 8}, {0, 8, 16, 8}, {8, 4}, 0.5, 0.5, 2, ippStsWrongIntersectROI},
    {"origin_before_even", false, false, {15, 8}, {16, 0, 16, 8}, {1, 4}, 0.5, 0.5, 2, ippStsWrongIntersectROI},
    {"target_width_0", false, false, {16, 8}, {0, 0, 16, 8}, {0, 4}, 0.5, 0.5, 2, ippStsSizeErr},
    {"target_height_0", false, false, {16, 8}, {0, 0, 16, 8}, {8, 0}, 0.5, 0.5, 2, ippStsSizeErr},
    {"target_width_1", false, false, {16, 8}, {0, 0, 16, 8}, {1, 4}, 0.5, 0.5, 2, ippStsSizeErr},
    {"odd_source_width", false, false, {15, 8}, {0, 0, 14, 8}, {8, 4}, 0.5, 0.5, 2, ippStsSizeErr},
    {"odd_region_width", false, false, {16, 8}, {0, 0, 15, 8}, {8, 4}, 0.5, 0.5, 2, ippStsSizeErr},
    {"odd_region_x", false, false, {16, 8}, {1, 0, 14, 8}, {8, 4}, 0.5, 0.5, 2, ippStsSizeErr},
    {"even_before_factor", false, false, {16, 8}, {1, 0, 14, 8}, {8, 4}, 0.0, 0.5, 2, ippStsSizeErr},
    {"x_factor_0", false, false, {16, 8}, {0, 0, 16, 8}, {8, 4}, 0.0, 0.5, 2, ippStsResizeFactorErr},
    {"y_factor_negative", false, false, {16, 8}, {0, 0, 16, 8}, {8, 4}, 0.5, -1.0, 2, ippStsResizeFactorErr},
    {"factor_nan", false, false, {16, 8}, {0, 0, 16, 8}, {8, 4}, kNaN, 0.5, 2, ippStsResizeFactorErr},
    {"factor_before_method", false, false, {16, 8}, {0, 0, 16, 8}, {8, 4}, 0.0, 0.5, 3, ippStsResizeFactorErr},
    {"method_3", false, false, {16, 8}, {0, 0, 16, 8}, {8, 4}, 0.5, 0.5, 3, ippStsInterpolationErr},
    {"method_lanczos", false, false, {16, 8}, {0, 0, 16, 8}, {8, 4}, 0.5, 0.5, INTER_LANCZOS, ippStsInterpolationErr},
    {"method_with_flag", false, false, {16, 8}, {0, 0, 16, 8}, {8, 4}, 0.5, 0.5, 0x20000002, ippStsInterpolationErr},
    {"method_before_extent", false, false, {16, 8}, {0, 0, 2, 8}, {8, 4}, 0.7, 0.5, 5, ippStsInterpolationErr},
    {"width_1_4", false, false, {16, 8}, {0, 0, 2, 8}, {8, 4}, 0.7, 0.5, 2, ippStsResizeNoOperationErr},
    {"height_0_4", false, false, {16, 8}, {0, 0, 16, 1}, {8, 4}, 0.5, 0.4, 2, ippStsResizeNoOperationErr},
    {"extent_before_super_factor", false, false, {16, 8}, {0, 0, 2, 8}, {8, 4}, 0.7, 2.0, INTER_SUPER, ippStsResizeNoOperationErr},
    {"super_enlarging", false, false, {16, 8}, {0, 0, 16, 8}, {8, 4}, 0.5, 1.5, INTER_SUPER, ippStsResizeFactorErr},
    {"super_factor_1", false, false, {16, 8}, {0, 0, 16, 8}, {8, 4}, 1.0, 1.0, INTER_SUPER, ippStsNoErr},
    // x counts macro-pixels: from x = width / 2 on, the region starts behind the row.
    {"region_behind_row", false, false, {16, 8}, {8, 0, 8, 8}, {8, 4}, 0.5, 0.5, 2, ippStsWrongIntersectROI},
};

class Yuv422Status : public ::testing::TestWithParam<StatusCase> {};

TEST_P(Yuv422Status, ComesInItsOrderAndWritesNothingOnFailure) {
    const StatusCase& c = GetParam();
    Source src(16, 8);
    Rng rng(1);
    fillSource(src, rng);
    Target dst(8, 4);
    const IppStatus status = resizeYuv422With(
        yuv422PassesUpTo(Isa::Scalar), c.nullSource ? nullptr : src.data(), c.srcSize, src.step,
        c.roi, c.nullTarget ? nullptr : dst.data(), dst.step, c.dstSize, c.xFactor, c.yFactor,
        c.interpolation);
    EXPECT_EQ(status, c.expected);
    if (status != ippStsNoErr) {
        EXPECT_TRUE(dst.untouched());
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, Yuv422Status, ::testing::ValuesIn(kStatusCases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(Yuv422Status, EntryPointRunsTheCurrentSlot) {
    Source src(16, 8);
    Rng rng(2);
    fillSource(src, rng);
    Target viaEntry(24, 12), viaScalar(24, 12);
    const Call c = wholeImage(src, 1.5, 1.5, INTER_CUBIC);
    ASSERT_EQ(ippiResizeYUV422_8u_C2R(src.data(), src.size, src.step, c.roi, viaEntry.data(),
                                      viaEntry.step, viaEntry.size, 1.5, 1.5, INTER_CUBIC),
              ippStsNoErr);
    ASSERT_EQ(resize(src, viaScalar, c), ippStsNoErr);
    EXPECT_EQ(viaEntry.buffer.bytes(), viaScalar.buffer.bytes());
}

// ---- Allocation failures ----

// Fails the n-th allocation and counts blocks that are still held.
struct FailingAllocator {
    static inline int calls = 0, failAt = 0, held = 0;
    static void* allocate(size_t n) {
        if (++calls == failAt) return nullptr;
        ++held;
        return std::malloc(n);
    }
    static void release(void* p) {
        --held;
        std::free(p);
    }
};

class Yuv422Allocation : public ::testing::TestWithParam<int32_t> {
protected:
    void SetUp() override {
        ownAllocator.allocate = &FailingAllocator::allocate;
        ownAllocator.release = &FailingAllocator::release;
    }
    void TearDown() override { ownAllocator = saved_; }
    OwnAllocator saved_ = ownAllocator;
};

TEST_P(Yuv422Allocation, AnyFailedBlockGivesMemAllocErrWithNothingWrittenOrHeld) {
    Source src(16, 8);
    Rng rng(3);
    fillSource(src, rng);
    const Call c = wholeImage(src, 0.75, 0.5, GetParam());
    FailingAllocator::calls = FailingAllocator::held = 0;
    FailingAllocator::failAt = 0;
    Target full(12, 4);
    ASSERT_EQ(resize(src, full, c), ippStsNoErr);
    const int blocks = FailingAllocator::calls;
    EXPECT_GE(blocks, 2);
    EXPECT_EQ(FailingAllocator::held, 0);
    for (int n = 1; n <= blocks; ++n) {
        SCOPED_TRACE("failing allocation " + std::to_string(n));
        FailingAllocator::calls = FailingAllocator::held = 0;
        FailingAllocator::failAt = n;
        Target dst(12, 4);
        EXPECT_EQ(resize(src, dst, c), ippStsMemAllocErr);
        EXPECT_EQ(FailingAllocator::calls, n) << "allocation goes on after a failure";
        EXPECT_EQ(FailingAllocator::held, 0);
        EXPECT_TRUE(dst.untouched());
    }
}

INSTANTIATE_TEST_SUITE_P(Methods, Yuv422Allocation, ::testing::ValuesIn(kMethods),
                         [](const auto& info) { return methodName(info.param); });

TEST(Yuv422AllocationSize, TablesBeyondTheAllocatorsLengthAreRefusedBeforeAnyRead) {
    // Tables for 2^29 macro-pixels don't fit a 32-bit length; the source
    // buffer is far too small for such a call and must not be read.
    Source src(16, 8);
    Target dst(8, 2);
    for (int32_t method : kMethods) {
        SCOPED_TRACE(methodName(method));
        const IppiSize bigSource{1 << 30, 8};
        const IppiSize bigTarget{1 << 30, 2};
        const IppStatus status = resizeYuv422With(
            yuv422PassesUpTo(Isa::Scalar), src.data(), bigSource, src.step,
            {0, 0, bigSource.width, 8}, dst.data(), dst.step, bigTarget, 1.0, 0.25, method);
        EXPECT_EQ(status, ippStsMemAllocErr);
        EXPECT_TRUE(dst.untouched());
    }
}

// ---- Degradation by the source size ----

struct DegradeCase {
    IppiSize srcSize;
    int32_t asked;
    int32_t runs;
};

class Yuv422Degradation : public ::testing::TestWithParam<DegradeCase> {};

TEST_P(Yuv422Degradation, SmallSourcesRunASimplerMethod) {
    const DegradeCase& d = GetParam();
    Source src(d.srcSize.width, d.srcSize.height);
    Rng rng(4);
    fillSource(src, rng);
    Target asked(2 * d.srcSize.width + 2, 2 * d.srcSize.height + 1);
    Target runs(asked.size.width, asked.size.height);
    ASSERT_EQ(resize(src, asked, wholeImage(src, 2.3, 2.3, d.asked)), ippStsNoErr);
    ASSERT_EQ(resize(src, runs, wholeImage(src, 2.3, 2.3, d.runs)), ippStsNoErr);
    EXPECT_EQ(asked.buffer.bytes(), runs.buffer.bytes());
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, Yuv422Degradation,
    ::testing::Values(DegradeCase{{6, 8}, INTER_CUBIC, INTER_LINEAR},
                      DegradeCase{{8, 3}, INTER_CUBIC, INTER_LINEAR},
                      DegradeCase{{2, 8}, INTER_LINEAR, INTER_NN},
                      DegradeCase{{2, 8}, INTER_CUBIC, INTER_NN},
                      DegradeCase{{8, 1}, INTER_LINEAR, INTER_NN},
                      DegradeCase{{4, 2}, INTER_CUBIC, INTER_LINEAR}));

TEST(Yuv422Degradation, AtTheThresholdsTheMethodsStayApart) {
    // The comparison above can see a difference: cubic at 8 by 4 and linear
    // at 4 by 2 give other bytes than the method below them.
    for (const DegradeCase& d : {DegradeCase{{8, 4}, INTER_CUBIC, INTER_LINEAR},
                                 DegradeCase{{4, 2}, INTER_LINEAR, INTER_NN}}) {
        Source src(d.srcSize.width, d.srcSize.height);
        Rng rng(5);
        fillSource(src, rng);
        Target a(2 * d.srcSize.width + 2, 2 * d.srcSize.height + 1);
        Target b(a.size.width, a.size.height);
        ASSERT_EQ(resize(src, a, wholeImage(src, 2.3, 2.3, d.asked)), ippStsNoErr);
        ASSERT_EQ(resize(src, b, wholeImage(src, 2.3, 2.3, d.runs)), ippStsNoErr);
        EXPECT_NE(a.buffer.bytes(), b.buffer.bytes());
    }
}

// ---- Extents ----

struct ExtentCase {
    const char* name;
    IppiSize srcSize;
    IppiRect roi;
    IppiSize dstSize;
    double xFactor, yFactor;
    int32_t macroPixels, rows;
};

const ExtentCase kExtentCases[] = {
    // 1.6 samples across make one macro-pixel, 0.6 rows one row.
    {"width_1_6_height_0_6", {8, 4}, {0, 0, 2, 1}, {8, 4}, 0.8, 0.6, 1, 1},
    // 9 samples across lose the odd one.
    {"width_9", {18, 6}, {0, 0, 18, 6}, {24, 6}, 0.5, 0.5, 4, 3},
    // The target's size holds the extent.
    {"held_by_target", {32, 8}, {0, 0, 32, 8}, {11, 3}, 1.0, 1.0, 5, 3},
    {"region_clipped", {16, 8}, {0, 2, 16, 20}, {16, 10}, 1.0, 1.0, 8, 6},
};

class Yuv422Extent : public ::testing::TestWithParam<std::tuple<ExtentCase, int32_t>> {};

TEST_P(Yuv422Extent, WritesTheScaledRegionFromTheCornerAndNothingElse) {
    const auto& [e, method] = GetParam();
    Source src(e.srcSize.width, e.srcSize.height);
    Rng rng(6);
    fillSource(src, rng);
    // Run over two fills: a written byte comes out the same over both, an
    // unwritten one keeps its fill.
    Target zeros(e.dstSize.width, e.dstSize.height, 3), ones(e.dstSize.width, e.dstSize.height, 3);
    zeros.fill(0x00);
    ones.fill(0xFF);
    const Call c{e.roi, e.xFactor, e.yFactor, method};
    ASSERT_EQ(resize(src, zeros, c), ippStsNoErr);
    ASSERT_EQ(resize(src, ones, c), ippStsNoErr);
    EXPECT_TRUE(zeros.buffer.marginsIntact() && ones.buffer.marginsIntact());
    for (int32_t r = 0; r < e.dstSize.height; ++r)
        for (int32_t b = 0; b < zeros.step; ++b) {
            const bool inside = r < e.rows && b < 4 * e.macroPixels;
            if (inside)
                ASSERT_EQ(zeros.at(r, b), ones.at(r, b)) << "not written: row " << r << " byte " << b;
            else
                ASSERT_TRUE(zeros.at(r, b) == 0x00 && ones.at(r, b) == 0xFF)
                    << "written: row " << r << " byte " << b;
        }
}

INSTANTIATE_TEST_SUITE_P(Cases, Yuv422Extent,
                         ::testing::Combine(::testing::ValuesIn(kExtentCases),
                                            ::testing::ValuesIn(kMethods)),
                         [](const auto& info) {
                             return std::string(std::get<0>(info.param).name) + "_" +
                                    methodName(std::get<1>(info.param));
                         });

// ---- Defined results ----

TEST(Yuv422Nearest, MapsCentresOnTheLumaAndChromaGridsApart) {
    // Across 8 luma samples at 0.75: luma 0, 2, 3, 4, 6, 7 and chroma pairs
    // 0, 2, 3. Target macro-pixel 1 takes luma 3 and 4 but pair 2, the pair
    // whose own centre is nearest.
    Source src(8, 2);
    for (size_t i = 0; i < src.bytes.size(); ++i) src.bytes[i] = uint8_t(i);
    Target dst(6, 1);
    ASSERT_EQ(resize(src, dst, wholeImage(src, 0.75, 0.5, INTER_NN)), ippStsNoErr);
    const int luma[] = {0, 2, 3, 4, 6, 7}, chroma[] = {0, 2, 3};
    for (int j = 0; j < 6; ++j) EXPECT_EQ(dst.luma(0, j), src.luma(1, luma[j])) << "luma " << j;
    for (int p = 0; p < 3; ++p) {
        EXPECT_EQ(dst.u(0, p), src.u(1, chroma[p])) << "pair " << p;
        EXPECT_EQ(dst.v(0, p), src.v(1, chroma[p])) << "pair " << p;
    }
}

TEST(Yuv422Taps, LinearReachesTheLastSampleByItsUpperWeight) {
    const LinearTap last = yuv422LinearTap(9.0, 10);
    EXPECT_EQ(last.lower, 8);
    EXPECT_EQ(last.upperWeight, 16384);
    const LinearTap inner = yuv422LinearTap(3.25, 10);
    EXPECT_EQ(inner.lower, 3);
    EXPECT_EQ(inner.upperWeight, 4096);
}

TEST(Yuv422Taps, CubicWindowMovesInwardAtTheEdges) {
    struct Case {
        double q;
        int32_t left, origin, base;
        float t;
    };
    for (const Case& c : {Case{0.25, 10, 0, 1, -0.75f},   // first sample of the image
                          Case{0.25, 10, 3, 0, 0.25f},    // the region starts inside
                          Case{5.5, 10, 0, 5, 0.5f},
                          Case{8.5, 10, 0, 7, 1.5f},      // next to last
                          Case{9.0, 10, 0, 7, 2.0f},      // last
                          Case{12.0, 10, 0, 7, 2.0f}}) {  // held on the last
        const CubicTap tap = yuv422CubicTap(c.q, c.left, c.origin);
        EXPECT_EQ(tap.base, c.base) << "q " << c.q;
        EXPECT_EQ(tap.t, c.t) << "q " << c.q;
    }
}

TEST(Yuv422Corners, LinearAndCubicMapFirstAndLastSampleOntoTheTarget) {
    struct Case {
        IppiSize srcSize;
        IppiRect roi;
        double xFactor, yFactor;
    };
    // Factors whose scaled sizes are whole and even, so that the target's
    // last sample maps to the region's last.
    for (const Case& c : {Case{{40, 10}, {0, 0, 40, 10}, 0.6, 0.6},
                          Case{{40, 10}, {0, 0, 40, 10}, 1.5, 2.5},
                          Case{{48, 12}, {0, 2, 40, 10}, 2.5, 1.5}}) {
        for (int32_t method : {INTER_LINEAR, INTER_CUBIC}) {
            SCOPED_TRACE(methodName(method) + " factor " + std::to_string(c.xFactor));
            Source src(c.srcSize.width, c.srcSize.height);
            Rng rng(7);
            fillSource(src, rng);
            const int32_t across = int32_t(std::lround(c.roi.width * c.xFactor));
            const int32_t down = int32_t(std::lround(c.roi.height * c.yFactor));
            Target dst(across, down);
            ASSERT_EQ(resize(src, dst, {c.roi, c.xFactor, c.yFactor, method}), ippStsNoErr);
            const int32_t top = c.roi.y, bottom = c.roi.y + c.roi.height - 1;
            const int32_t lastLuma = c.roi.width - 1, lastPair = c.roi.width / 2 - 1;
            EXPECT_EQ(dst.luma(0, 0), src.luma(top, 0));
            EXPECT_EQ(dst.u(0, 0), src.u(top, 0));
            EXPECT_EQ(dst.v(0, 0), src.v(top, 0));
            EXPECT_EQ(dst.luma(down - 1, across - 1), src.luma(bottom, lastLuma));
            EXPECT_EQ(dst.u(down - 1, across / 2 - 1), src.u(bottom, lastPair));
            EXPECT_EQ(dst.v(down - 1, across / 2 - 1), src.v(bottom, lastPair));
        }
    }
}

TEST(Yuv422Super, FactorOneCopiesTheRegion) {
    Source src(20, 6, 4);
    Rng rng(8);
    fillSource(src, rng);
    // x counts macro-pixels: the region starts at byte 8.
    Target dst(12, 4);
    ASSERT_EQ(resize(src, dst, {{2, 1, 12, 4}, 1.0, 1.0, INTER_SUPER}), ippStsNoErr);
    for (int32_t r = 0; r < 4; ++r)
        for (int32_t b = 0; b < 24; ++b) ASSERT_EQ(dst.at(r, b), src.at(r + 1, 8 + b)) << r << "," << b;
}

TEST(Yuv422Super, HalfIsTheRoundedMeanOfTwoByTwo) {
    Source src(16, 8);
    Rng rng(9);
    fillSource(src, rng);
    Target dst(8, 4);
    ASSERT_EQ(resize(src, dst, wholeImage(src, 0.5, 0.5, INTER_SUPER)), ippStsNoErr);
    const auto mean4 = [](int a, int b, int c, int d) { return (a + b + c + d + 2) / 4; };
    for (int32_t r = 0; r < 4; ++r) {
        for (int32_t j = 0; j < 8; ++j)
            EXPECT_EQ(dst.luma(r, j), mean4(src.luma(2 * r, 2 * j), src.luma(2 * r, 2 * j + 1),
                                            src.luma(2 * r + 1, 2 * j), src.luma(2 * r + 1, 2 * j + 1)));
        for (int32_t p = 0; p < 4; ++p) {
            EXPECT_EQ(dst.u(r, p), mean4(src.u(2 * r, 2 * p), src.u(2 * r, 2 * p + 1),
                                         src.u(2 * r + 1, 2 * p), src.u(2 * r + 1, 2 * p + 1)));
            EXPECT_EQ(dst.v(r, p), mean4(src.v(2 * r, 2 * p), src.v(2 * r, 2 * p + 1),
                                         src.v(2 * r + 1, 2 * p), src.v(2 * r + 1, 2 * p + 1)));
        }
    }
}

TEST(Yuv422Super, ThirdsWeighTheSharedSampleInBothBoxes) {
    // 1.5 source samples per target sample: target 0 takes sample 0 and half
    // of sample 1, target 1 the other half and sample 2. Rows alike.
    const auto y = [](int r, int k) { return 10 * (k % 3) + 60 * r; };
    Source src(12, 3);
    for (int32_t r = 0; r < 3; ++r)
        for (int32_t k = 0; k < 12; ++k) src.bytes[size_t(r) * src.step + 2 * k] = uint8_t(y(r, k));
    Target dst(8, 2);
    const double factor = 2.0 / 3.0;
    ASSERT_EQ(resize(src, dst, wholeImage(src, factor, factor, INTER_SUPER)), ippStsNoErr);
    const auto box = [&](int r0, double w0, int r1, double w1, int k0, double v0, int k1, double v1) {
        const auto row = [&](int r) { return v0 * y(r, k0) + v1 * y(r, k1); };
        return int((w0 * row(r0) + w1 * row(r1)) * (factor * factor) + 0.5);
    };
    EXPECT_EQ(dst.luma(0, 0), box(0, 1.0, 1, 0.5, 0, 1.0, 1, 0.5));
    EXPECT_EQ(dst.luma(0, 1), box(0, 1.0, 1, 0.5, 1, 0.5, 2, 1.0));
    EXPECT_EQ(dst.luma(1, 0), box(1, 0.5, 2, 1.0, 0, 1.0, 1, 0.5));
    EXPECT_EQ(dst.luma(1, 1), box(1, 0.5, 2, 1.0, 1, 0.5, 2, 1.0));
}

TEST(Yuv422AllMethods, AConstantImageStaysConstant) {
    Rng rng(10);
    for (int32_t method : kMethods)
        for (int round = 0; round < 12; ++round) {
            Source src(2 * rng.uniform(1, 20), rng.uniform(1, 12));
            const uint8_t value = round % 3 == 0 ? 255 : uint8_t(rng.uniform(0, 254));
            std::fill(src.bytes.begin(), src.bytes.end(), value);
            const bool reduce = method == INTER_SUPER;
            const double xFactor = reduce ? rng.real(0.2, 1.0) : rng.real(0.3, 3.0);
            const double yFactor = reduce ? rng.real(0.2, 1.0) : rng.real(0.3, 3.0);
            Target dst(rng.uniform(2, 60), rng.uniform(1, 30));
            const IppStatus status = resize(src, dst, wholeImage(src, xFactor, yFactor, method));
            if (status == ippStsResizeNoOperationErr) continue;
            ASSERT_EQ(status, ippStsNoErr);
            const std::vector<uint8_t> out = dst.buffer.bytes();
            for (uint8_t b : out)
                ASSERT_TRUE(b == value || b == GuardedBuffer::kSentinel)
                    << methodName(method) << " " << xFactor << " x " << yFactor << ": " << int(b);
        }
}

TEST(Yuv422AllMethods, NegativeSourceStepReadsRowsUpward) {
    Rng rng(11);
    Source src(24, 10, 6), flipped(24, 10, 6);
    fillSource(src, rng);
    for (int32_t r = 0; r < 10; ++r)
        std::copy_n(src.bytes.begin() + size_t(r) * src.step, src.step,
                    flipped.bytes.begin() + size_t(9 - r) * src.step);
    for (int32_t method : kMethods) {
        SCOPED_TRACE(methodName(method));
        const Call c{{2, 1, 16, 8}, 0.75, method == INTER_SUPER ? 0.6 : 1.7, method};
        Target up(20, 14), down(20, 14);
        ASSERT_EQ(resize(src, up, c), ippStsNoErr);
        const IppStatus status = resizeYuv422With(
            yuv422PassesUpTo(Isa::Scalar), flipped.data() + size_t(9) * flipped.step, src.size,
            -flipped.step, c.roi, down.data(), down.step, down.size, c.xFactor, c.yFactor, method);
        ASSERT_EQ(status, ippStsNoErr);
        EXPECT_EQ(up.buffer.bytes(), down.buffer.bytes());
    }
}

TEST(Yuv422AllMethods, RegionXCountsMacroPixels) {
    // A region at x = 2 reads as the image that starts at byte 8 of each row
    // (the cubic edge rule alone tells a region's start from an image's).
    Rng rng(12);
    Source src(28, 6, 2);
    fillSource(src, rng);
    Source shifted(24, 6, 10);  // the same step
    shifted.bytes = src.bytes;
    shifted.bytes.erase(shifted.bytes.begin(), shifted.bytes.begin() + 8);
    shifted.bytes.resize(size_t(shifted.step) * 6);
    for (int32_t method : {INTER_NN, INTER_LINEAR, INTER_SUPER}) {
        SCOPED_TRACE(methodName(method));
        const double factor = method == INTER_SUPER ? 0.7 : 1.3;
        Target a(30, 8), b(30, 8);
        ASSERT_EQ(resize(src, a, {{2, 1, 24, 5}, factor, factor, method}), ippStsNoErr);
        ASSERT_EQ(resize(shifted, b, {{0, 1, 24, 5}, factor, factor, method}), ippStsNoErr);
        EXPECT_EQ(a.buffer.bytes(), b.buffer.bytes());
    }
}

TEST(Yuv422AllMethods, RegionsReachingPastTheRowReadOnlyTheImage) {
    // With x > 0 the clip lets a region run up to 2x luma samples past the
    // row; those target samples repeat the row's last sample.
    Rng rng(13);
    Source src(16, 4);
    fillSource(src, rng);
    for (int32_t method : kMethods) {
        SCOPED_TRACE(methodName(method));
        Target dst(16, 4);
        ASSERT_EQ(resize(src, dst, {{4, 0, 16, 4}, 1.0, 1.0, method}), ippStsNoErr);
        for (int32_t r = 0; r < 4; ++r) {
            for (int32_t b = 0; b < 16; ++b) EXPECT_EQ(dst.at(r, b), src.at(r, 16 + b));
            for (int32_t j = 8; j < 12; ++j) EXPECT_EQ(dst.luma(r, j), src.luma(r, 15));
            for (int32_t p = 4; p < 6; ++p) {
                EXPECT_EQ(dst.u(r, p), src.u(r, 7));
                EXPECT_EQ(dst.v(r, p), src.v(r, 7));
            }
        }
    }
}

// ---- The scalar form of a last odd macro-pixel ----

TEST(Yuv422CubicBlend, LastOddMacroPixelRoundsInFloat64) {
    // 2.4999998f + 0.5000001 is below 3 in float64, but the float32 sum
    // rounds to 3: the two-at-a-time body gives 3, the scalar form 2.
    const float value = std::nextafter(2.5f, 0.0f);
    const CubicCoefficients atZero = cubicCoefficients(0.0f);
    std::vector<float> row(4 * 7, value);
    const float* rows[4] = {row.data(), row.data(), row.data(), row.data()};
    for (int32_t macroPixels = 1; macroPixels <= 7; ++macroPixels) {
        std::vector<uint8_t> expected(4 * macroPixels, 3);
        if (macroPixels & 1) std::fill_n(expected.end() - 4, 4, uint8_t(2));
        const auto check = [&](Yuv422CubicBlend* blend) {
            std::vector<uint8_t> out(4 * macroPixels + 8, 0xEE);
            blend(rows, atZero, out.data(), macroPixels);
            EXPECT_EQ(std::vector<uint8_t>(out.begin(), out.begin() + 4 * macroPixels), expected)
                << macroPixels << " macro-pixels";
            EXPECT_TRUE(std::all_of(out.begin() + 4 * macroPixels, out.end(),
                                    [](uint8_t b) { return b == 0xEE; }));
        };
        check(yuv422CubicBlendTable().scalar());
        testing::forEachVectorForm(yuv422CubicBlendTable(),
                                   [&](const auto& form) { check(form.fn); });
    }
}

TEST(Yuv422CubicBlend, BodyMultipliesByTheFloatNearestAThird) {
    // With rows 0, 0, 0, d the value is z * d. Find a row weight whose two
    // forms of z differ and a d that puts z * d on the two sides of a
    // rounding step with them: random data meets such a case too rarely.
    CubicCoefficients w{};
    float d = 0.0f;
    for (int k = 1; k < 1024 && d == 0.0f; ++k) {
        w = cubicCoefficients(float(k) / 1024.0f);
        for (int n = 1; n < 256 && w.zPair != w.zSingle && d == 0.0f; ++n) {
            float candidate = float((n - 0.5) / w.zPair);
            for (int step = 0; step < 16; ++step, candidate = std::nextafter(candidate, 0.0f))
                if (cubicRoundPair(w.zPair * candidate) != cubicRoundPair(w.zSingle * candidate)) {
                    d = candidate;
                    break;
                }
        }
    }
    ASSERT_NE(d, 0.0f);
    const int32_t macroPixels = 5;
    const std::vector<float> zeros(4 * macroPixels, 0.0f), last(4 * macroPixels, d);
    const float* rows[4] = {zeros.data(), zeros.data(), zeros.data(), last.data()};
    std::vector<uint8_t> expected(4 * macroPixels, cubicRoundPair(w.zPair * d));
    std::fill_n(expected.end() - 4, 4, cubicRoundSingle(w.zSingle * d));
    const auto check = [&](Yuv422CubicBlend* blend) {
        std::vector<uint8_t> out(4 * macroPixels);
        blend(rows, w, out.data(), macroPixels);
        EXPECT_EQ(out, expected);
    };
    check(yuv422CubicBlendTable().scalar());
    testing::forEachVectorForm(yuv422CubicBlendTable(), [&](const auto& form) { check(form.fn); });
}

// ---- Every level against the scalar definitions ----

struct FormsCase {
    int32_t method;
    int32_t srcWidth, srcHeight, srcPadding;
    IppiRect roi;
    double xFactor, yFactor;
    int32_t dstWidth, dstHeight, dstPadding;
    size_t misalignment;
    int fill;  // 0 random, 1 with extremes, 2 alternating 0 and 255
};

FormsCase randomCase(Rng& rng, int32_t method) {
    FormsCase c{};
    c.method = method;
    c.srcWidth = 2 * rng.uniform(1, 40);
    c.srcHeight = rng.uniform(1, 20);
    c.srcPadding = rng.uniform(0, 1) ? rng.uniform(1, 9) : 0;
    const int32_t x = rng.uniform(0, 3) == 0 ? 2 * rng.uniform(0, (c.srcWidth / 2 - 1) / 2) : 0;
    const int32_t y = rng.uniform(0, 2) == 0 ? rng.uniform(0, c.srcHeight - 1) : 0;
    c.roi = {x, y, 2 * rng.uniform(1, c.srcWidth / 2 + 2), rng.uniform(1, c.srcHeight + 2)};
    if (method == INTER_SUPER) {
        const double picks[] = {1.0, 0.5, 0.25, 1.0 / 3.0, 2.0 / 3.0};
        c.xFactor = rng.uniform(0, 2) == 0 ? picks[rng.uniform(0, 4)] : rng.real(0.1, 1.0);
        c.yFactor = rng.uniform(0, 2) == 0 ? picks[rng.uniform(0, 4)] : rng.real(0.1, 1.0);
    } else {
        c.xFactor = rng.real(0.2, 4.0);
        c.yFactor = rng.real(0.2, 4.0);
    }
    c.dstWidth = rng.uniform(2, 120);
    c.dstHeight = rng.uniform(1, 40);
    c.dstPadding = rng.uniform(0, 7);
    c.misalignment = size_t(rng.uniform(0, 63));
    c.fill = rng.uniform(0, 2);
    return c;
}

void fillForCase(Source& src, int fill, Rng& rng) {
    if (fill == 0) rng.fill(src.bytes.data(), src.bytes.size());
    if (fill == 1) rng.fillWithExtremes(src.bytes.data(), src.bytes.size());
    if (fill == 2)
        for (size_t i = 0; i < src.bytes.size(); ++i) src.bytes[i] = (i / 2 + i / 4) % 2 ? 255 : 0;
}

// Runs the case at every level and compares each with the scalar
// definitions, margins and unwritten bytes included.
void expectLevelsAgree(const FormsCase& c, Rng& rng) {
    Source src(c.srcWidth, c.srcHeight, c.srcPadding);
    fillForCase(src, c.fill, rng);
    const Call call{c.roi, c.xFactor, c.yFactor, c.method};
    Target reference(c.dstWidth, c.dstHeight, c.dstPadding, c.misalignment);
    const IppStatus status = resize(src, reference, call);
    ASSERT_TRUE(status == ippStsNoErr || status == ippStsResizeNoOperationErr);
    ASSERT_TRUE(reference.buffer.marginsIntact());
    for (Isa level : {Isa::Sse2, Isa::Avx2}) {
        if (!cpuSupports(level)) continue;
        SCOPED_TRACE(isaName(level));
        Target dst(c.dstWidth, c.dstHeight, c.dstPadding, c.misalignment);
        ASSERT_EQ(resize(src, dst, call, yuv422PassesUpTo(level)), status);
        ASSERT_TRUE(dst.buffer.marginsIntact());
        ASSERT_EQ(dst.buffer.bytes(), reference.buffer.bytes());
    }
}

class Yuv422Forms : public ::testing::TestWithParam<int32_t> {};

TEST_P(Yuv422Forms, EveryLevelGivesTheScalarBytes) {
    MORVA_SEED_TRACE();
    Rng rng(100 + uint32_t(GetParam()));
    for (int round = 0; round < 150; ++round) {
        const FormsCase c = randomCase(rng, GetParam());
        SCOPED_TRACE("round " + std::to_string(round) + ": source " + std::to_string(c.srcWidth) +
                     "x" + std::to_string(c.srcHeight) + ", region " + std::to_string(c.roi.x) +
                     "," + std::to_string(c.roi.y) + " " + std::to_string(c.roi.width) + "x" +
                     std::to_string(c.roi.height) + ", factors " + std::to_string(c.xFactor) +
                     " " + std::to_string(c.yFactor) + ", target " + std::to_string(c.dstWidth) +
                     "x" + std::to_string(c.dstHeight));
        expectLevelsAgree(c, rng);
        if (HasFatalFailure()) return;
    }
}

TEST_P(Yuv422Forms, OneLargeFrame) {
    MORVA_SEED_TRACE();
    Rng rng(200 + uint32_t(GetParam()));
    const bool super = GetParam() == INTER_SUPER;
    // Long rows, few of them: every vector loop runs long and ends in each
    // kind of tail.
    const FormsCase c{GetParam(), 1920, 24, 0, {0, 0, 1920, 24}, super ? 0.6667 : 1.418,
                      super ? 0.75 : 1.25, 2730, 30, 4, 5, 1};
    expectLevelsAgree(c, rng);
}

INSTANTIATE_TEST_SUITE_P(Methods, Yuv422Forms, ::testing::ValuesIn(kMethods),
                         [](const auto& info) { return methodName(info.param); });

}  // namespace
}  // namespace morva
