// Packed 4:2:2 resize: statuses and their order with nothing written,
// allocation failures, degradation, extents, the methods' defined results,
// and every level against the scalar definitions.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

#include "kernels/memory_forms.h"
#include "resample/yuv422_kernels.h"
#include "resample/yuv422_resize.h"
#include "resample/yuv422_tables.h"
#include "resample_testing.h"

namespace morva::testing {
namespace {

// A source in a buffer of exactly its size, so that the sanitizers report a
// read outside it.
struct Source {
    IppiSize size;
    int32_t step;
    std::vector<uint8_t> bytes;
    Source(int32_t width, int32_t height, int32_t padding = 0)
        : size{width, height}, step(2 * width + padding), bytes(size_t(step) * height) {}
    uint8_t at(int32_t row, int32_t byte) const { return bytes[size_t(row) * step + byte]; }
    // Random bytes without the sentinel value, so that written bytes can be
    // told apart.
    void fill(Rng& rng) {
        rng.fillWithExtremes(bytes.data(), bytes.size());
        std::replace(bytes.begin(), bytes.end(), GuardedBuffer::kSentinel, uint8_t(0));
    }
};

// A target of sentinel bytes inside a guarded margin.
struct Target {
    IppiSize size;
    int32_t step;
    GuardedBuffer buffer;
    Target(int32_t width, int32_t height, int32_t padding = 0, size_t misalignment = 0)
        : size{width, height}, step(2 * width + padding), buffer(size_t(step) * height, misalignment) {}
    uint8_t at(int32_t row, int32_t byte) const { return buffer.data()[size_t(row) * step + byte]; }
    bool untouched() const {
        const std::vector<uint8_t> b = buffer.bytes();
        return buffer.marginsIntact() && std::count(b.begin(), b.end(), GuardedBuffer::kSentinel) == ptrdiff_t(b.size());
    }
};

// Byte offsets of luma sample k, and of the U and V of pair p, in a row.
int32_t Y(int32_t k) { return 2 * k; }
int32_t U(int32_t p) { return 4 * p + 1; }
int32_t V(int32_t p) { return 4 * p + 3; }

struct Call { IppiRect roi; double xFactor, yFactor; int32_t interpolation; };

IppStatus resize(const Source& s, Target& t, const Call& c, const Yuv422Passes& passes = yuv422PassesUpTo(Isa::Scalar)) {
    return resizeYuv422With(passes, s.bytes.data(), s.size, s.step, c.roi, t.buffer.data(), t.step, t.size, c.xFactor,
                            c.yFactor, c.interpolation);
}

Call whole(const Source& s, double xFactor, double yFactor, int32_t method) {
    return {{0, 0, s.size.width, s.size.height}, xFactor, yFactor, method};
}

constexpr int32_t kMethods[] = {INTER_NN, INTER_LINEAR, INTER_CUBIC, INTER_SUPER};

std::string methodName(int32_t method) {
    return method == INTER_NN ? "nearest" : method == INTER_LINEAR ? "linear" : method == INTER_CUBIC ? "cubic" : "super";
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
constexpr int32_t kBig = 1 << 30;

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
    // x counts macro-pixels: from x = width / 2 on, the region starts behind the row.
    {"region_behind_row", false, false, {16, 8}, {8, 0, 8, 8}, {8, 4}, 0.5, 0.5, 2, ippStsWrongIntersectROI},
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
    // Tables for 2^29 macro-pixels exceed the allocator's 32-bit length; the
    // source, far too small for such a call, must not be read.
    {"tables_too_long_nearest", false, false, {kBig, 8}, {0, 0, kBig, 8}, {kBig, 2}, 1.0, 0.25, INTER_NN, ippStsMemAllocErr},
    {"tables_too_long_linear", false, false, {kBig, 8}, {0, 0, kBig, 8}, {kBig, 2}, 1.0, 0.25, INTER_LINEAR, ippStsMemAllocErr},
    {"tables_too_long_cubic", false, false, {kBig, 8}, {0, 0, kBig, 8}, {kBig, 2}, 1.0, 0.25, INTER_CUBIC, ippStsMemAllocErr},
    {"tables_too_long_super", false, false, {kBig, 8}, {0, 0, kBig, 8}, {kBig, 2}, 1.0, 0.25, INTER_SUPER, ippStsMemAllocErr},
};

class Yuv422Status : public ::testing::TestWithParam<StatusCase> {};

TEST_P(Yuv422Status, ComesInItsOrderAndWritesNothingOnFailure) {
    const StatusCase& c = GetParam();
    Source src(16, 8);
    Rng rng(1);
    src.fill(rng);
    Target dst(8, 4);
    const IppStatus status = resizeYuv422With(yuv422PassesUpTo(Isa::Scalar), c.nullSource ? nullptr : src.bytes.data(),
                                              c.srcSize, src.step, c.roi, c.nullTarget ? nullptr : dst.buffer.data(),
                                              dst.step, c.dstSize, c.xFactor, c.yFactor, c.interpolation);
    EXPECT_EQ(status, c.expected);
    EXPECT_TRUE(status == ippStsNoErr || dst.untouched());
}

INSTANTIATE_TEST_SUITE_P(Cases, Yuv422Status, ::testing::ValuesIn(kStatusCases),
                         [](const auto& info) { return std::string(info.param.name); });

// Fails the n-th allocation and counts blocks that are still held.
struct FailingAllocator {
    static inline int calls = 0, failAt = 0, held = 0;
    static void* allocate(size_t n) { return ++calls == failAt ? nullptr : (++held, std::malloc(n)); }
    static void release(void* p) { --held, std::free(p); }
};

// Any failed block gives ippStsMemAllocErr, with no allocation after it,
// nothing written and nothing held.
TEST(Yuv422Allocation, AnyFailedBlockIsRefusedWithNothingWrittenOrHeld) {
    const OwnAllocator saved = ownAllocator;
    ownAllocator.allocate = &FailingAllocator::allocate;
    ownAllocator.release = &FailingAllocator::release;
    Source src(16, 8);
    Rng rng(3);
    src.fill(rng);
    for (int32_t method : kMethods) {
        SCOPED_TRACE(methodName(method));
        int blocks = 0;
        for (int n = 0; n == 0 || n <= blocks; ++n) {
            FailingAllocator::calls = FailingAllocator::held = 0;
            FailingAllocator::failAt = n;
            Target dst(12, 4);
            EXPECT_EQ(resize(src, dst, whole(src, 0.75, 0.5, method)), n == 0 ? ippStsNoErr : ippStsMemAllocErr) << n;
            EXPECT_EQ(FailingAllocator::held, 0);
            if (n == 0) blocks = FailingAllocator::calls;
            EXPECT_EQ(FailingAllocator::calls, n == 0 ? blocks : n) << "allocation goes on after a failure";
            EXPECT_TRUE(n == 0 || dst.untouched());
        }
        EXPECT_GE(blocks, 2);
    }
    ownAllocator = saved;
}

// Small sources run a simpler method; at the thresholds the methods give
// other bytes, so the comparison can see a difference.
TEST(Yuv422Degradation, SmallSourcesRunASimplerMethod) {
    struct Case { IppiSize size; int32_t asked, other; bool same; };
    for (const Case& d : {Case{{6, 8}, INTER_CUBIC, INTER_LINEAR, true}, Case{{8, 3}, INTER_CUBIC, INTER_LINEAR, true},
                          Case{{2, 8}, INTER_LINEAR, INTER_NN, true}, Case{{2, 8}, INTER_CUBIC, INTER_NN, true},
                          Case{{8, 1}, INTER_LINEAR, INTER_NN, true}, Case{{4, 2}, INTER_CUBIC, INTER_LINEAR, true},
                          Case{{8, 4}, INTER_CUBIC, INTER_LINEAR, false}, Case{{4, 2}, INTER_LINEAR, INTER_NN, false}}) {
        SCOPED_TRACE(std::to_string(d.size.width) + "x" + std::to_string(d.size.height) + " " + methodName(d.asked));
        Source src(d.size.width, d.size.height);
        Rng rng(4);
        src.fill(rng);
        Target asked(2 * d.size.width + 2, 2 * d.size.height + 1), other(asked.size.width, asked.size.height);
        ASSERT_EQ(resize(src, asked, whole(src, 2.3, 2.3, d.asked)), ippStsNoErr);
        ASSERT_EQ(resize(src, other, whole(src, 2.3, 2.3, d.other)), ippStsNoErr);
        EXPECT_EQ(asked.buffer.bytes() == other.buffer.bytes(), d.same);
    }
}

// The scaled region is written from the target's corner, as far as the
// target reaches, and nothing else: run over two fills, a written byte comes
// out the same over both, an unwritten one keeps its fill.
TEST(Yuv422Extent, WritesTheScaledRegionFromTheCornerAndNothingElse) {
    struct Case { IppiSize srcSize; IppiRect roi; IppiSize dstSize; double xFactor, yFactor; int32_t macroPixels, rows; };
    const Case cases[] = {
        {{8, 4}, {0, 0, 2, 1}, {8, 4}, 0.8, 0.6, 1, 1},          // 1.6 samples make one macro-pixel, 0.6 rows one row
        {{18, 6}, {0, 0, 18, 6}, {24, 6}, 0.5, 0.5, 4, 3},       // 9 samples lose the odd one
        {{32, 8}, {0, 0, 32, 8}, {11, 3}, 1.0, 1.0, 5, 3},       // the target holds the extent
        {{16, 8}, {0, 2, 16, 20}, {16, 10}, 1.0, 1.0, 8, 6}};    // the region clipped
    Rng rng(6);
    for (const Case& e : cases)
        for (int32_t method : kMethods) {
            SCOPED_TRACE(methodName(method) + " source " + std::to_string(e.srcSize.width));
            Source src(e.srcSize.width, e.srcSize.height);
            src.fill(rng);
            Target zeros(e.dstSize.width, e.dstSize.height, 3), ones(e.dstSize.width, e.dstSize.height, 3);
            std::fill_n(zeros.buffer.data(), zeros.buffer.size(), 0x00);
            std::fill_n(ones.buffer.data(), ones.buffer.size(), 0xFF);
            ASSERT_EQ(resize(src, zeros, {e.roi, e.xFactor, e.yFactor, method}), ippStsNoErr);
            ASSERT_EQ(resize(src, ones, {e.roi, e.xFactor, e.yFactor, method}), ippStsNoErr);
            EXPECT_TRUE(zeros.buffer.marginsIntact() && ones.buffer.marginsIntact());
            for (int32_t r = 0; r < e.dstSize.height; ++r)
                for (int32_t b = 0; b < zeros.step; ++b) {
                    const bool inside = r < e.rows && b < 4 * e.macroPixels;
                    ASSERT_EQ(zeros.at(r, b) == ones.at(r, b), inside) << "row " << r << " byte " << b;
                }
        }
}

// ---- Defined results ----

// Across 8 luma samples at 0.75: luma 0, 2, 3, 4, 6, 7 and chroma pairs 0,
// 2, 3. Target macro-pixel 1 takes luma 3 and 4 but pair 2, the pair whose
// own centre is nearest. Row 1 of 2 at 0.5.
TEST(Yuv422Results, NearestMapsCentresOnTheLumaAndChromaGridsApart) {
    Source src(8, 2);
    for (size_t i = 0; i < src.bytes.size(); ++i) src.bytes[i] = uint8_t(i);
    Target dst(6, 1);
    ASSERT_EQ(resize(src, dst, whole(src, 0.75, 0.5, INTER_NN)), ippStsNoErr);
    EXPECT_EQ(dst.buffer.bytes(), (std::vector<uint8_t>{16, 17, 20, 19, 22, 25, 24, 27, 28, 29, 30, 31}));
}

// The cubic window moves inward at the edges of the image, not of a region.
TEST(Yuv422Results, CubicWindowsAtTheEdges) {
    struct Case { double q; int32_t origin, base; float t; };
    for (const Case& c : {Case{0.25, 0, 1, -0.75f},   // first sample of the image
                          Case{0.25, 3, 0, 0.25f},    // the region starts inside
                          Case{5.5, 0, 5, 0.5f}, Case{8.5, 0, 7, 1.5f},  // next to last
                          Case{9.0, 0, 7, 2.0f}, Case{12.0, 0, 7, 2.0f}}) {  // last, and held on it
        const CubicTap tap = yuv422CubicTap(c.q, 10, c.origin);
        EXPECT_EQ(tap.base, c.base) << "q " << c.q;
        EXPECT_EQ(tap.t, c.t) << "q " << c.q;
    }
}

// Linear and cubic map corners: with scaled sizes whole and even, the
// target's first and last samples are the region's.
TEST(Yuv422Results, LinearAndCubicMapFirstAndLastSampleOntoTheTarget) {
    struct Case { IppiSize srcSize; IppiRect roi; double xFactor, yFactor; };
    Rng rng(7);
    for (const Case& c : {Case{{40, 10}, {0, 0, 40, 10}, 0.6, 0.6}, Case{{40, 10}, {0, 0, 40, 10}, 1.5, 2.5},
                          Case{{48, 12}, {0, 2, 40, 10}, 2.5, 1.5}})
        for (int32_t method : {INTER_LINEAR, INTER_CUBIC}) {
            SCOPED_TRACE(methodName(method) + " factor " + std::to_string(c.xFactor));
            Source src(c.srcSize.width, c.srcSize.height);
            src.fill(rng);
            const int32_t across = int32_t(std::lround(c.roi.width * c.xFactor));
            const int32_t down = int32_t(std::lround(c.roi.height * c.yFactor));
            Target dst(across, down);
            ASSERT_EQ(resize(src, dst, {c.roi, c.xFactor, c.yFactor, method}), ippStsNoErr);
            const int32_t top = c.roi.y, bottom = c.roi.y + c.roi.height - 1, lastPair = c.roi.width / 2 - 1;
            EXPECT_EQ(std::vector<uint8_t>({dst.at(0, Y(0)), dst.at(0, U(0)), dst.at(0, V(0)), dst.at(down - 1, Y(across - 1)),
                                            dst.at(down - 1, U(across / 2 - 1)), dst.at(down - 1, V(across / 2 - 1))}),
                      std::vector<uint8_t>({src.at(top, Y(0)), src.at(top, U(0)), src.at(top, V(0)),
                                            src.at(bottom, Y(c.roi.width - 1)), src.at(bottom, U(lastPair)),
                                            src.at(bottom, V(lastPair))}));
        }
}

// A half is the rounded mean of two by two, luma across neighbours, chroma
// across macro-pixels: (20 + 60 + 21 + 65) / 4 = 41.5. At two thirds the
// shared sample weighs half in both boxes: luma rows of 0, 10, 20, 0, 10,
// 20 ... plus 60 per row give ((0 + 10 / 2) + (60 + 70 / 2) / 2) * 4 / 9 =
// 23.3, and so on.
TEST(Yuv422Results, SuperSamplingBoxes) {
    Source quad(4, 2);
    quad.bytes = {10, 20, 30, 40, 50, 60, 70, 80, 11, 21, 33, 43, 55, 65, 77, 87};
    Target half(2, 1);
    ASSERT_EQ(resize(quad, half, whole(quad, 0.5, 0.5, INTER_SUPER)), ippStsNoErr);
    EXPECT_EQ(half.buffer.bytes(), (std::vector<uint8_t>{21, 42, 63, 63}));
    Source thirds(12, 3);
    for (int32_t r = 0; r < 3; ++r)
        for (int32_t k = 0; k < 12; ++k) thirds.bytes[size_t(r) * thirds.step + Y(k)] = uint8_t(10 * (k % 3) + 60 * r);
    Target dst(8, 2);
    ASSERT_EQ(resize(thirds, dst, whole(thirds, 2.0 / 3.0, 2.0 / 3.0, INTER_SUPER)), ippStsNoErr);
    EXPECT_EQ(std::vector<uint8_t>({dst.at(0, Y(0)), dst.at(0, Y(1)), dst.at(1, Y(0)), dst.at(1, Y(1))}),
              std::vector<uint8_t>({23, 37, 103, 117}));
}

// A region at x = 2 reads as the image that starts at byte 8 of each row
// (the cubic edge rule alone tells a region's start from an image's). At
// factor 1 every method copies the region; with x > 0 the clip lets it run
// up to 2x luma samples past the row, and those target samples repeat the
// row's last sample.
TEST(Yuv422Results, RegionXCountsMacroPixelsAndReadsOnlyTheImage) {
    Rng rng(12);
    Source src(28, 6, 2), shifted(24, 6, 10);  // the same step
    src.fill(rng);
    std::copy(src.bytes.begin() + 8, src.bytes.end(), shifted.bytes.begin());
    for (int32_t method : {INTER_NN, INTER_LINEAR, INTER_SUPER}) {
        const double factor = method == INTER_SUPER ? 0.7 : 1.3;
        Target a(30, 8), b(30, 8);
        ASSERT_EQ(resize(src, a, {{2, 1, 24, 5}, factor, factor, method}), ippStsNoErr);
        ASSERT_EQ(resize(shifted, b, {{0, 1, 24, 5}, factor, factor, method}), ippStsNoErr);
        EXPECT_EQ(a.buffer.bytes(), b.buffer.bytes()) << methodName(method);
    }
    Source row(16, 4);
    row.fill(rng);
    for (int32_t method : kMethods) {
        Target dst(16, 4);
        ASSERT_EQ(resize(row, dst, {{4, 0, 16, 4}, 1.0, 1.0, method}), ippStsNoErr);
        for (int32_t r = 0; r < 4; ++r)
            for (int32_t b = 0; b < 24; ++b)
                EXPECT_EQ(dst.at(r, b), row.at(r, b < 16 ? 16 + b : (b % 2 == 0 ? Y(15) : (b % 4 == 1 ? U(7) : V(7)))))
                    << methodName(method) << " row " << r << " byte " << b;
    }
}

// ---- The cubic blend's two roundings ----

// 2.4999998f + 0.5000001 is below 3 in float64, but the float32 sum rounds
// to 3: the two-at-a-time body gives 3, the scalar form of a last odd
// macro-pixel 2. The body also multiplies by the float32 nearest to a third,
// the scalar form by a third in float64: at t = 19 / 1024 the two differ, and
// rows of 0, 0, 0, d put z * d on the two sides of a rounding step, which
// random data meets too rarely.
TEST(Yuv422CubicBlend, TheBodyAndALastOddMacroPixelRoundApart) {
    const CubicCoefficients w = cubicCoefficients(19.0f / 1024.0f);
    const float d = -0x1.437acep+7f;
    ASSERT_NE(cubicRoundPair(w.zPair * d), cubicRoundSingle(w.zSingle * d));
    const std::vector<float> half(28, std::nextafter(2.5f, 0.0f)), zeros(28, 0.0f), last(28, d);
    const float* flat[4] = {half.data(), half.data(), half.data(), half.data()};
    const float* third[4] = {zeros.data(), zeros.data(), zeros.data(), last.data()};
    const auto check = [&](Yuv422CubicBlend* blend) {
        for (int32_t macroPixels = 1; macroPixels <= 7; ++macroPixels) {
            std::vector<uint8_t> out(4 * macroPixels + 8, 0xEE), expected(4 * macroPixels, 3);
            expected.resize(expected.size() + 8, 0xEE);
            if (macroPixels & 1) std::fill_n(expected.end() - 12, 4, uint8_t(2));
            blend(flat, cubicCoefficients(0.0f), out.data(), macroPixels);
            EXPECT_EQ(out, expected) << macroPixels << " macro-pixels";
        }
        std::vector<uint8_t> out(20), expected(20, cubicRoundPair(w.zPair * d));
        std::fill_n(expected.end() - 4, 4, cubicRoundSingle(w.zSingle * d));
        blend(third, w, out.data(), 5);
        EXPECT_EQ(out, expected);
    };
    check(yuv422CubicBlendTable().scalar());
    forEachVectorForm(yuv422CubicBlendTable(), [&](const auto& form) { check(form.fn); });
}

// ---- Every level against the scalar definitions ----

// Runs one resize at every level, through the entry point at the current
// slot, and from the source stored bottom row first with a negative step,
// and compares each with the scalar definitions, margins and unwritten bytes
// included. Fills: 0 random, 1 with extremes, 2 alternating 0 and 255, 3 one
// value, which the target must take.
void expectLevelsAgree(Source& src, const Call& call, IppiSize dstSize, int32_t dstPadding, int fill, Rng& rng) {
    if (fill == 0) rng.fill(src.bytes.data(), src.bytes.size());
    if (fill == 1) rng.fillWithExtremes(src.bytes.data(), src.bytes.size());
    for (size_t i = 0; i < src.bytes.size() && fill == 2; ++i) src.bytes[i] = (i / 2 + i / 4) % 2 ? 255 : 0;
    const uint8_t value = uint8_t(rng.uniform(0, 1) ? 255 : rng.uniform(0, 254));
    if (fill == 3) std::fill(src.bytes.begin(), src.bytes.end(), value);
    Source flipped = src;
    for (int32_t r = 0; r < src.size.height; ++r)
        std::copy_n(src.bytes.begin() + r * src.step, src.step, flipped.bytes.end() - (r + 1) * src.step);
    const size_t misalignment = size_t(rng.uniform(0, 63));
    Target reference(dstSize.width, dstSize.height, dstPadding, misalignment);
    const IppStatus status = resize(src, reference, call);
    ASSERT_TRUE(status == ippStsNoErr || status == ippStsResizeNoOperationErr);
    ASSERT_TRUE(reference.buffer.marginsIntact());
    const std::vector<uint8_t> bytes = reference.buffer.bytes();
    for (uint8_t b : bytes)
        ASSERT_TRUE(fill != 3 || b == value || b == GuardedBuffer::kSentinel) << int(b) << " of " << int(value);
    for (int level : {int(Isa::Sse2), int(Isa::Avx2), int(Isa::Avx512), -1, -2}) {
        if (level >= 0 && !cpuSupports(Isa(level))) continue;
        SCOPED_TRACE(level == -1 ? "entry point" : level == -2 ? "negative step" : isaName(Isa(level)));
        Target dst(dstSize.width, dstSize.height, dstPadding, misalignment);
        const IppStatus s =
            level == -1 ? ippiResizeYUV422_8u_C2R(src.bytes.data(), src.size, src.step, call.roi, dst.buffer.data(),
                                                  dst.step, dst.size, call.xFactor, call.yFactor, call.interpolation)
            : level == -2 ? resizeYuv422With(yuv422PassesUpTo(Isa::Scalar), &flipped.bytes.back() + 1 - flipped.step,
                                             src.size, -src.step, call.roi, dst.buffer.data(), dst.step, dst.size,
                                             call.xFactor, call.yFactor, call.interpolation)
                          : resize(src, dst, call, yuv422PassesUpTo(Isa(level)));
        ASSERT_EQ(s, status);
        ASSERT_TRUE(dst.buffer.marginsIntact());
        ASSERT_EQ(dst.buffer.bytes(), bytes);
    }
}

class Yuv422Forms : public ::testing::TestWithParam<int32_t> {};

TEST_P(Yuv422Forms, EveryLevelGivesTheScalarBytes) {
    MORVA_SEED_TRACE();
    const int32_t method = GetParam();
    const bool super = method == INTER_SUPER;
    Rng rng(100 + uint32_t(method));
    const auto factor = [&] {
        const double picks[] = {1.0, 0.5, 0.25, 1.0 / 3.0, 2.0 / 3.0};
        if (!super) return rng.real(0.2, 4.0);
        return rng.uniform(0, 2) == 0 ? picks[rng.uniform(0, 4)] : rng.real(0.1, 1.0);
    };
    for (int round = 0; round < 150 && !HasFatalFailure(); ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        const int32_t width = 2 * rng.uniform(1, 40), height = rng.uniform(1, 20);
        Source src(width, height, rng.uniform(0, 1) ? rng.uniform(1, 9) : 0);
        const int32_t x = rng.uniform(0, 3) == 0 ? 2 * rng.uniform(0, (width / 2 - 1) / 2) : 0;
        const int32_t y = rng.uniform(0, 2) == 0 ? rng.uniform(0, height - 1) : 0;
        const int32_t roiWidth = 2 * rng.uniform(1, width / 2 + 2), roiHeight = rng.uniform(1, height + 2);
        const double xFactor = factor(), yFactor = factor();
        const IppiSize dstSize{rng.uniform(2, 120), rng.uniform(1, 40)};
        const int32_t dstPadding = rng.uniform(0, 7);
        expectLevelsAgree(src, {{x, y, roiWidth, roiHeight}, xFactor, yFactor, method}, dstSize, dstPadding,
                          rng.uniform(0, 3), rng);
    }
    // Long rows, few of them: every vector loop runs long and ends in each
    // kind of tail.
    Source large(1920, 24);
    expectLevelsAgree(large, {{0, 0, 1920, 24}, super ? 0.6667 : 1.418, super ? 0.75 : 1.25, method}, {2730, 30}, 4, 1,
                      rng);
}

INSTANTIATE_TEST_SUITE_P(Methods, Yuv422Forms, ::testing::ValuesIn(kMethods),
                         [](const auto& info) { return methodName(info.param); });

}  // namespace
}  // namespace morva::testing
