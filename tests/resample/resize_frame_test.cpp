// The resize frame: the size query's formulas and refusals, the order of the
// argument checks and the untouched target of every refusal, degradation,
// both rounding rules, and bands and negative steps that change no byte.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "resample_testing.h"

namespace morva::testing {
namespace {

struct SizeCase {
    IppiRect srcRoi, dstRoi;
    int32_t channels, interpolation;
    IppStatus status;
    int32_t size;  // checked where status is 0 or 46
    int threads = 1;
};

class BufferSize : public ::testing::TestWithParam<SizeCase> {};

TEST_P(BufferSize, FollowsTheFormulaOrRefuses) {
    const SizeCase& c = GetParam();
    ResizeSettingsGuard restore;
    setNumThreads(c.threads);
    int32_t size = -1;
    EXPECT_EQ(ippiResizeGetBufSize(c.srcRoi, c.dstRoi, c.channels, c.interpolation, &size), c.status);
    EXPECT_EQ(size, c.status == ippStsNoErr || c.status == ippStsNoAntialiasing ? c.size : -1);
}

// Regions 30x20 -> 100x50: base = (112 + 64) * 4 = 704.
constexpr IppiRect kSrc{0, 0, 30, 20}, kDst{0, 0, 100, 50};
INSTANTIATE_TEST_SUITE_P(
    Formulas, BufferSize,
    ::testing::Values(
        SizeCase{kSrc, kDst, 1, INTER_NN, ippStsNoErr, 704 + 16},
        SizeCase{kSrc, kDst, 3, INTER_LINEAR, ippStsNoErr, 704 + 4 * (128 + 64 + 320 * 3) + 16},
        SizeCase{kSrc, kDst, 1, INTER_CUBIC_B05C03, ippStsNoErr, 704 + 4 * (128 + 64 + 512 + 320 + 640) + 16},
        SizeCase{kSrc, kDst, 1, INTER_LANCZOS, ippStsNoErr, 704 + 4 * (128 + 64 + 768 + 480 + 768) + 16},
        SizeCase{kSrc, kDst, 4, INTER_SUPER, ippStsNoErr, 32 * 8 * 4 + 16},
        SizeCase{kSrc, kDst, 4, INTER_LINEAR | EDGE_SMOOTH, ippStsNoErr, 704 + 4 * (128 + 64 + 320 * 4) + 16},
        // Antialiasing: no variant for these two, the size all the same.
        SizeCase{kSrc, kDst, 1, INTER_NN | kAntialias, ippStsNoAntialiasing, 704 + 16},
        SizeCase{kSrc, kDst, 4, INTER_SUPER | kAntialias, ippStsNoAntialiasing, 32 * 8 * 4 + 16},
        // The general path takes a share per thread, the antialiasing path one.
        SizeCase{kSrc, kDst, 1, INTER_NN, ippStsNoErr, 3 * (704 + 16), 3},
        SizeCase{kSrc, kDst, 1, INTER_NN | kAntialias, ippStsNoAntialiasing, 704 + 16, 3},
        // 200x100 -> 100x50 linear: reach 2 both ways, A = 256, B = 512,
        // D = 10000, E = 112.
        SizeCase{{0, 0, 200, 100}, kDst, 1, INTER_LINEAR | kAntialias, ippStsNoErr,
                 8 * 10000 + 4 * 112 + 8 * 512 + 8 * 256 + 16}));

INSTANTIATE_TEST_SUITE_P(
    Refusals, BufferSize,
    ::testing::Values(SizeCase{{-1, 0, 30, 20}, kDst, 1, INTER_NN, ippStsSizeErr, 0},
                      SizeCase{kSrc, {0, 0, 100, 0}, 1, INTER_NN, ippStsSizeErr, 0},
                      SizeCase{kSrc, kDst, 2, INTER_NN, ippStsNumChannelsErr, 0},
                      // channels before interpolation
                      SizeCase{kSrc, kDst, 5, 3, ippStsNumChannelsErr, 0},
                      SizeCase{kSrc, kDst, 1, 3, ippStsInterpolationErr, 0},
                      SizeCase{kSrc, kDst, 1, INTER_NN | EDGE_SMOOTH | EDGE_SUBPIXEL, ippStsInterpolationErr, 0},
                      SizeCase{kSrc, kDst, 1, INTER_NN | EDGE_SUBPIXEL | kAntialias, ippStsInterpolationErr, 0},
                      // A size beyond 32 bits can't be delivered.
                      SizeCase{kSrc, {0, 0, 1 << 30, 4}, 4, INTER_LINEAR, ippStsSizeErr, 0}));

TEST(BufferSizeQuery, NeedsAResultPointer) {
    EXPECT_EQ(ippiResizeGetBufSize(kSrc, kDst, 1, INTER_NN, nullptr), ippStsNullPtrErr);
}

// ---- The argument check ----

struct CheckArgs {
    bool nullSrc = false, nullDst = false, nullBuffer = false;
    IppiSize srcSize{20, 10};
    IppiRect srcRoi{0, 0, 20, 10};
    IppiRect dstRoi{0, 0, 40, 20};
    double xFactor = 2.0, yFactor = 2.0, xShift = 0.0, yShift = 0.0;
    int32_t interpolation = INTER_LINEAR;

    IppStatus check(ResizeGeometry& g) const {
        return geometryOf(srcSize, srcRoi, dstRoi, xFactor, yFactor, xShift, yShift, interpolation, g);
    }
};

struct CheckCase {
    const char* what;
    void (*change)(CheckArgs&);
    IppStatus status;
};

class CheckOrder : public ::testing::TestWithParam<CheckCase> {};

// Through the kernel, on a real source and target: a refusal writes nothing.
TEST_P(CheckOrder, StopsAtTheFirstFailureWithNothingWritten) {
    CheckArgs a;
    GetParam().change(a);
    Rng rng(3);
    Plane<uint8_t> src = makePlane<uint8_t>(20, 10, 3, 2), dst = makePlane<uint8_t>(40, 20, 3);
    fillRandom(src, rng);
    fillRandom(dst, rng);
    const std::vector<uint8_t> before = dst.samples;
    std::vector<uint8_t> buffer(size_t(std::max(bufferSize({0, 0, 20, 10}, a.dstRoi, 3, a.interpolation), 1)));
    Plane<uint8_t> none = makePlane<uint8_t>(0, 0, 3);  // no samples: a null target
    const IppStatus status = runResize(a.nullSrc ? nullptr : src.samples.data(), a.srcSize, src.step, a.srcRoi,
                                       a.nullDst ? none : dst, a.dstRoi, a.xFactor, a.yFactor, a.xShift, a.yShift,
                                       a.interpolation, a.nullBuffer ? nullptr : buffer.data());
    EXPECT_EQ(status, GetParam().status) << GetParam().what;
    EXPECT_TRUE(status == ippStsNoErr || dst.samples == before) << GetParam().what;
}

const double kNaN = std::numeric_limits<double>::quiet_NaN();

INSTANTIATE_TEST_SUITE_P(
    Cases, CheckOrder,
    ::testing::Values(
        CheckCase{"valid", [](CheckArgs&) {}, ippStsNoErr},
        CheckCase{"null buffer before sizes", [](CheckArgs& a) { a.nullBuffer = true; a.srcSize.width = 0; }, ippStsNullPtrErr},
        CheckCase{"null source", [](CheckArgs& a) { a.nullSrc = true; }, ippStsNullPtrErr},
        CheckCase{"null target", [](CheckArgs& a) { a.nullDst = true; }, ippStsNullPtrErr},
        CheckCase{"source height", [](CheckArgs& a) { a.srcSize.height = 0; a.xFactor = 0; }, ippStsSizeErr},
        CheckCase{"region x", [](CheckArgs& a) { a.srcRoi.x = -1; }, ippStsSizeErr},
        CheckCase{"region width", [](CheckArgs& a) { a.srcRoi.width = 0; }, ippStsSizeErr},
        CheckCase{"target y", [](CheckArgs& a) { a.dstRoi.y = -3; }, ippStsSizeErr},
        CheckCase{"target height", [](CheckArgs& a) { a.dstRoi.height = 0; }, ippStsSizeErr},
        CheckCase{"target past 32 bits", [](CheckArgs& a) { a.dstRoi.x = INT32_MAX - 5; }, ippStsSizeErr},
        CheckCase{"factor before id", [](CheckArgs& a) { a.yFactor = 0.0; a.interpolation = 3; }, ippStsResizeFactorErr},
        CheckCase{"negative factor", [](CheckArgs& a) { a.xFactor = -1.0; }, ippStsResizeFactorErr},
        CheckCase{"NaN factor", [](CheckArgs& a) { a.xFactor = kNaN; }, ippStsResizeFactorErr},
        CheckCase{"infinite shift", [](CheckArgs& a) { a.yShift = HUGE_VAL; }, ippStsResizeFactorErr},
        CheckCase{"vanishing factor", [](CheckArgs& a) { a.xFactor = 1e-300; }, ippStsResizeFactorErr},
        CheckCase{"unknown id", [](CheckArgs& a) { a.interpolation = 9; }, ippStsInterpolationErr},
        CheckCase{"id 0", [](CheckArgs& a) { a.interpolation = 0; }, ippStsInterpolationErr},
        CheckCase{"two flags before super factors", [](CheckArgs& a) { a.interpolation = INTER_SUPER | EDGE_SMOOTH | kAntialias; }, ippStsInterpolationErr},
        CheckCase{"super enlarging", [](CheckArgs& a) { a.interpolation = INTER_SUPER; a.srcRoi.x = 50; }, ippStsResizeFactorErr},
        CheckCase{"super at 1.0 across", [](CheckArgs& a) { a.interpolation = INTER_SUPER; a.xFactor = 1.0; a.yFactor = 0.5; }, ippStsResizeFactorErr},
        CheckCase{"super at 1.0 down", [](CheckArgs& a) { a.interpolation = INTER_SUPER; a.xFactor = 0.5; a.yFactor = 1.0; }, ippStsResizeFactorErr},
        CheckCase{"super at 1.0", [](CheckArgs& a) { a.interpolation = INTER_SUPER; a.xFactor = a.yFactor = 1.0; }, ippStsResizeFactorErr},
        CheckCase{"super enlarging across", [](CheckArgs& a) { a.interpolation = INTER_SUPER; a.xFactor = 1.5; a.yFactor = 0.5; }, ippStsResizeFactorErr},
        CheckCase{"origin at the right edge", [](CheckArgs& a) { a.srcRoi.x = 20; a.dstRoi.x = 1000; }, ippStsWrongIntersectROI},
        CheckCase{"origin below", [](CheckArgs& a) { a.srcRoi.y = 10; }, ippStsWrongIntersectROI},
        CheckCase{"mapped beside the target", [](CheckArgs& a) { a.xShift = 100.0; }, ippStsNoOperation},
        CheckCase{"mapped above the target", [](CheckArgs& a) { a.yShift = -100.0; }, ippStsNoOperation},
        CheckCase{"narrower than a pixel", [](CheckArgs& a) { a.srcRoi.width = 1; a.xFactor = 0.3; a.xShift = 10.1; }, ippStsNoOperation}));

// Degradation looks at the whole image, never at the region; a refusal
// still records the id.
TEST(ResizeCheck, DegradesSmallSources) {
    struct Case { IppiSize size; IppiRect roi; int32_t asked, runs; IppStatus status; };
    const Case cases[] = {
        {{5, 100}, {0, 0, 1, 1}, INTER_LANCZOS, INTER_CUBIC, ippStsNoErr},
        {{3, 100}, {0, 0, 1, 1}, INTER_LANCZOS, INTER_LINEAR, ippStsNoErr},
        {{3, 100}, {0, 0, 1, 1}, INTER_CUBIC, INTER_LINEAR, ippStsNoErr},
        {{100, 2}, {0, 0, 1, 1}, INTER_CUBIC_CATMULLROM, INTER_LINEAR, ippStsNoErr},
        {{4, 4}, {0, 0, 1, 1}, INTER_CUBIC_BSPLINE, INTER_CUBIC_BSPLINE, ippStsNoErr},
        {{6, 6}, {0, 0, 1, 1}, INTER_LANCZOS, INTER_LANCZOS, ippStsNoErr},
        {{1, 1}, {0, 0, 1, 1}, INTER_LINEAR, INTER_LINEAR, ippStsNoErr},
        {{100, 100}, {0, 0, 3, 3}, INTER_LANCZOS, INTER_LANCZOS, ippStsNoErr},
        {{8, 8}, {0, 0, 8, 8}, INTER_SUPER, INTER_SUPER, ippStsResizeFactorErr}};
    for (const Case& c : cases) {
        CheckArgs a;
        a.srcSize = c.size;
        a.srcRoi = c.roi;
        a.xFactor = c.status == ippStsNoErr ? 2.0 : 0.5;
        a.yFactor = c.status == ippStsNoErr ? 2.0 : 1.0;
        a.interpolation = c.asked | EDGE_SUBPIXEL;
        ResizeGeometry g;
        EXPECT_EQ(a.check(g), c.status);
        EXPECT_EQ(g.interpolation, c.runs) << c.size.width << "x" << c.size.height << " id " << c.asked;
        EXPECT_TRUE(c.status != ippStsNoErr || g.subpixelEdge == 0x40000000u);
    }
}

// Region 10 pixels wide from 10.5 to 20.5: a plain resize counts pixels whose
// centre lies on an edge (columns 10 to 20), edge treatment only pixels
// wholly inside (11 to 19).
TEST(ResizeCheck, TwoRoundingRules) {
    CheckArgs a;
    a.srcRoi = {0, 0, 10, 10};
    a.xFactor = a.yFactor = 1.0;
    a.xShift = a.yShift = 10.5;
    ResizeGeometry g;
    ASSERT_EQ(a.check(g), ippStsNoErr);
    EXPECT_EQ(std::vector<int32_t>({g.x0, g.width, g.y0, g.height}), std::vector<int32_t>({10, 11, 10, 10}));
    // The bottom is clipped to the target at 20.
    EXPECT_EQ(std::vector<double>({g.left, g.right, g.bottom, g.xScale, g.xOffset, g.factorProduct}),
              std::vector<double>({10.5, 20.5, 20.0, 1.0, -10.5, 0.0}));
    for (int32_t flag : {EDGE_SMOOTH, EDGE_SUBPIXEL}) {
        a.interpolation = INTER_NN | flag;
        ASSERT_EQ(a.check(g), ippStsNoErr);
        EXPECT_EQ(std::vector<int32_t>({g.x0, g.width, g.y0, g.height}), std::vector<int32_t>({11, 9, 11, 9}));
    }
    // The region bounds the target, not the samples: from source column 10
    // at factor 2 and shift 0, the target starts at column 20, unshifted.
    CheckArgs clipped;
    clipped.srcRoi = {10, 0, 10, 10};
    ASSERT_EQ(clipped.check(g), ippStsNoErr);
    EXPECT_EQ(std::vector<double>({double(g.x0), double(g.width), g.xOffset}), std::vector<double>({20, 20, 0}));
    // Both edges at 10.5 (a vanishing region): column 10 alone.
    a.interpolation = INTER_NN;
    a.xFactor = 1e-12;
    a.srcRoi.width = 1;
    ASSERT_EQ(a.check(g), ippStsNoErr);
    EXPECT_EQ(g.x0, 10);
    EXPECT_EQ(g.width, 1);
}

// ---- The kernels ----

// Nearest neighbour and super-sampling have no antialiasing variant: with
// the flag they resample as without it and warn.
TEST(ResizeKernel, AntialiasingWithoutAVariantResamplesWithoutItAndWarns) {
    Rng rng(5);
    Plane<uint16_t> src = makePlane<uint16_t>(30, 20, 3);
    fillRandom(src, rng);
    for (int32_t id : {INTER_NN, INTER_SUPER}) {
        Plane<uint16_t> plain = makePlane<uint16_t>(13, 9, 3), flagged = plain;
        ASSERT_EQ(resizeGuarded(src, src.whole(), plain, plain.whole(), 0.43, 0.45, 0, 0, id).status, ippStsNoErr);
        EXPECT_EQ(resizeGuarded(src, src.whole(), flagged, flagged.whole(), 0.43, 0.45, 0, 0, id | kAntialias).status,
                  ippStsNoAntialiasing);
        EXPECT_EQ(flagged.samples, plain.samples) << "id " << id;
    }
}

// ---- Bands and steps ----

// The target is the same whether its rows go in one band or in several,
// and whether the source is read top down or, stored upside down, with a
// negative step: row caches and rings then step backwards. Enlarging, and
// reducing down so that rings skip rows.
template <class T>
void checkBandsAndSteps(int32_t interpolation, int32_t channels) {
    SCOPED_TRACE("interpolation " + std::to_string(interpolation) + " channels " + std::to_string(channels));
    Rng rng(uint32_t(interpolation + channels));
    Plane<T> src = makePlane<T>(57, 180, channels, 1), background = makePlane<T>(130, 100, channels);
    fillRandom(src, rng);
    fillRandom(background, rng);
    const Plane<T> flipped = upsideDown(src);
    const IppiRect dstRoi{3, 2, 120, 95};
    for (const auto& [xFactor, yFactor] : {std::pair{1.7, 2.21}, std::pair{2.1, 0.37}}) {
        const auto run = [&, xFactor = xFactor, yFactor = yFactor](int threads, bool negative) {
            setNumThreads(threads);
            Plane<T> dst = background;
            const PathRun r = resizeGuarded(negative ? flipped : src, src.whole(), dst, dstRoi, xFactor, yFactor, 3.0,
                                            2.0, interpolation, 0, negative);
            EXPECT_EQ(r.status, ippStsNoErr);
            EXPECT_TRUE(r.bufferIntact);
            return dst.samples;
        };
        const std::vector<T> single = run(1, false);
        for (int threads : {2, 3, 4}) EXPECT_EQ(run(threads, false), single) << threads << " threads, " << xFactor;
        EXPECT_EQ(run(1, true), single) << "negative step, " << xFactor;
    }
}

TEST(ResizeBands, AndNegativeStepsGiveTheSameBytes) {
    ResizeSettingsGuard restore;
    checkBandsAndSteps<uint8_t>(INTER_NN, 3);
    checkBandsAndSteps<uint16_t>(INTER_NN, 1);
    checkBandsAndSteps<uint8_t>(INTER_LINEAR, 1);
    checkBandsAndSteps<uint16_t>(INTER_LINEAR, 4);
    checkBandsAndSteps<uint8_t>(INTER_CUBIC, 1);
    checkBandsAndSteps<uint16_t>(INTER_CUBIC_B05C03, 4);
    checkBandsAndSteps<uint8_t>(INTER_LANCZOS, 3);
    checkBandsAndSteps<uint16_t>(INTER_LANCZOS, 1);
}

}  // namespace
}  // namespace morva::testing
