// The resize frame: the size query's formulas and refusals, the order of the
// argument checks, degradation, both rounding rules, refusals that leave the
// target untouched, and the band split giving the single thread's bytes.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "common/testing.h"
#include "resample/resize_general.h"
#include "resize_test_util.h"

namespace morva::testing {
namespace {

constexpr int32_t kAntialias = RESIZE_ANTIALIASING;

struct SizeCase {
    IppiRect srcRoi, dstRoi;
    int32_t channels, interpolation;
    IppStatus status;
    int32_t size;  // checked where status is 0 or 46
};

class BufferSize : public ::testing::TestWithParam<SizeCase> {};

TEST_P(BufferSize, FollowsTheFormulaOrRefuses) {
    const SizeCase& c = GetParam();
    int32_t size = -1;
    EXPECT_EQ(ippiResizeGetBufSize(c.srcRoi, c.dstRoi, c.channels, c.interpolation, &size), c.status);
    if (c.status == ippStsNoErr || c.status == ippStsNoAntialiasing) EXPECT_EQ(size, c.size);
    else EXPECT_EQ(size, -1);
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

TEST(BufferSize, NullResultPointer) {
    EXPECT_EQ(ippiResizeGetBufSize(kSrc, kDst, 1, INTER_NN, nullptr), ippStsNullPtrErr);
}

TEST(BufferSize, GeneralPathScalesWithThreadsAntialiasingDoesNot) {
    ResizeSettingsGuard restore;
    setNumThreads(3);
    EXPECT_EQ(bufferSize(kSrc, kDst, 1, INTER_NN), 3 * (704 + 16));
    int32_t size = 0;
    EXPECT_EQ(ippiResizeGetBufSize(kSrc, kDst, 1, INTER_NN | kAntialias, &size), ippStsNoAntialiasing);
    EXPECT_EQ(size, 704 + 16);
}

// ---- ownResizeCheck -----------------------------------------------------------

struct CheckArgs {
    bool nullSrc = false, nullDst = false, nullBuffer = false;
    IppiSize srcSize{20, 10};
    IppiRect srcRoi{0, 0, 20, 10};
    IppiRect dstRoi{0, 0, 40, 20};
    double xFactor = 2.0, yFactor = 2.0, xShift = 0.0, yShift = 0.0;
    int32_t interpolation = INTER_LINEAR;

    IppStatus run(ResizeGeometry* g) const {
        static const uint8_t any[1] = {};
        return ownResizeCheck(nullSrc ? nullptr : any, srcSize, srcRoi, nullDst ? nullptr : any, dstRoi,
                              xFactor, yFactor, xShift, yShift, interpolation, nullBuffer ? nullptr : any, g);
    }
};

struct CheckCase {
    const char* what;
    CheckArgs args;
    IppStatus status;
};

class CheckOrder : public ::testing::TestWithParam<CheckCase> {};

TEST_P(CheckOrder, StopsAtTheFirstFailure) {
    ResizeGeometry g;
    EXPECT_EQ(GetParam().args.run(&g), GetParam().status) << GetParam().what;
}

CheckArgs with(void (*change)(CheckArgs&)) {
    CheckArgs a;
    change(a);
    return a;
}

const double kNaN = std::numeric_limits<double>::quiet_NaN();

INSTANTIATE_TEST_SUITE_P(
    Cases, CheckOrder,
    ::testing::Values(
        CheckCase{"valid", {}, ippStsNoErr},
        CheckCase{"null buffer before sizes", with([](CheckArgs& a) { a.nullBuffer = true; a.srcSize.width = 0; }), ippStsNullPtrErr},
        CheckCase{"null source", with([](CheckArgs& a) { a.nullSrc = true; }), ippStsNullPtrErr},
        CheckCase{"null target", with([](CheckArgs& a) { a.nullDst = true; }), ippStsNullPtrErr},
        CheckCase{"source height", with([](CheckArgs& a) { a.srcSize.height = 0; a.xFactor = 0; }), ippStsSizeErr},
        CheckCase{"region x", with([](CheckArgs& a) { a.srcRoi.x = -1; }), ippStsSizeErr},
        CheckCase{"region width", with([](CheckArgs& a) { a.srcRoi.width = 0; }), ippStsSizeErr},
        CheckCase{"target y", with([](CheckArgs& a) { a.dstRoi.y = -3; }), ippStsSizeErr},
        CheckCase{"target height", with([](CheckArgs& a) { a.dstRoi.height = 0; }), ippStsSizeErr},
        CheckCase{"target past 32 bits", with([](CheckArgs& a) { a.dstRoi.x = INT32_MAX - 5; }), ippStsSizeErr},
        CheckCase{"factor before id", with([](CheckArgs& a) { a.yFactor = 0.0; a.interpolation = 3; }), ippStsResizeFactorErr},
        CheckCase{"negative factor", with([](CheckArgs& a) { a.xFactor = -1.0; }), ippStsResizeFactorErr},
        CheckCase{"NaN factor", with([](CheckArgs& a) { a.xFactor = kNaN; }), ippStsResizeFactorErr},
        CheckCase{"infinite shift", with([](CheckArgs& a) { a.yShift = HUGE_VAL; }), ippStsResizeFactorErr},
        CheckCase{"vanishing factor", with([](CheckArgs& a) { a.xFactor = 1e-300; }), ippStsResizeFactorErr},
        CheckCase{"unknown id", with([](CheckArgs& a) { a.interpolation = 9; }), ippStsInterpolationErr},
        CheckCase{"two flags before super factors", with([](CheckArgs& a) { a.interpolation = INTER_SUPER | EDGE_SMOOTH | kAntialias; }), ippStsInterpolationErr},
        CheckCase{"super enlarging", with([](CheckArgs& a) { a.interpolation = INTER_SUPER; a.srcRoi.x = 50; }), ippStsResizeFactorErr},
        CheckCase{"super at 1.0 across", with([](CheckArgs& a) { a.interpolation = INTER_SUPER; a.xFactor = 1.0; a.yFactor = 0.5; }), ippStsResizeFactorErr},
        CheckCase{"origin at the right edge", with([](CheckArgs& a) { a.srcRoi.x = 20; a.dstRoi.x = 1000; }), ippStsWrongIntersectROI},
        CheckCase{"origin below", with([](CheckArgs& a) { a.srcRoi.y = 10; }), ippStsWrongIntersectROI},
        CheckCase{"mapped beside the target", with([](CheckArgs& a) { a.xShift = 100.0; }), ippStsNoOperation},
        CheckCase{"narrower than a pixel", with([](CheckArgs& a) { a.srcRoi.width = 1; a.xFactor = 0.3; a.xShift = 10.1; }), ippStsNoOperation}));

// Degradation looks at the whole image, never at the region.
TEST(ResizeCheck, DegradesSmallSources) {
    struct Case { IppiSize size; int32_t asked, runs; };
    const Case cases[] = {
        {{5, 100}, INTER_LANCZOS, INTER_CUBIC},       {{3, 100}, INTER_LANCZOS, INTER_LINEAR},
        {{3, 100}, INTER_CUBIC, INTER_LINEAR},         {{100, 2}, INTER_CUBIC_CATMULLROM, INTER_LINEAR},
        {{4, 4}, INTER_CUBIC_BSPLINE, INTER_CUBIC_BSPLINE}, {{6, 6}, INTER_LANCZOS, INTER_LANCZOS},
        {{1, 1}, INTER_LINEAR, INTER_LINEAR},          {{1, 1}, INTER_NN, INTER_NN},
        {{1, 1}, INTER_SUPER, INTER_SUPER}};
    for (const Case& c : cases) {
        CheckArgs a;
        a.srcSize = c.size;
        a.srcRoi = {0, 0, 1, 1};
        a.xFactor = a.yFactor = 0.5;
        a.interpolation = c.asked | EDGE_SUBPIXEL;
        ResizeGeometry g;
        a.run(&g);
        EXPECT_EQ(g.interpolation, c.runs) << c.size.width << "x" << c.size.height << " id " << c.asked;
        EXPECT_EQ(g.subpixelEdge, 0x40000000u);
    }
    CheckArgs a;  // a small region of a large image keeps Lanczos
    a.srcSize = {100, 100};
    a.srcRoi = {0, 0, 3, 3};
    a.interpolation = INTER_LANCZOS;
    ResizeGeometry g;
    ASSERT_EQ(a.run(&g), ippStsNoErr);
    EXPECT_EQ(g.interpolation, INTER_LANCZOS);
}

TEST(ResizeCheck, SuperRefusalStillRecordsTheId) {
    CheckArgs a;
    a.interpolation = INTER_SUPER;
    a.xFactor = 0.5;
    a.yFactor = 1.0;
    ResizeGeometry g;
    EXPECT_EQ(a.run(&g), ippStsResizeFactorErr);
    EXPECT_EQ(g.interpolation, INTER_SUPER);
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
    ASSERT_EQ(a.run(&g), ippStsNoErr);
    EXPECT_EQ(g.x0, 10);
    EXPECT_EQ(g.width, 11);
    EXPECT_EQ(g.y0, 10);
    EXPECT_EQ(g.height, 10);  // bottom clipped to the target at 20
    EXPECT_EQ(g.left, 10.5);
    EXPECT_EQ(g.right, 20.5);
    EXPECT_EQ(g.bottom, 20.0);
    EXPECT_EQ(g.xScale, 1.0);
    EXPECT_EQ(g.xOffset, -10.5);
    EXPECT_EQ(g.factorProduct, 0.0);
    for (int32_t flag : {EDGE_SMOOTH, EDGE_SUBPIXEL}) {
        a.interpolation = INTER_NN | flag;
        ASSERT_EQ(a.run(&g), ippStsNoErr);
        EXPECT_EQ(g.x0, 11);
        EXPECT_EQ(g.width, 9);
        EXPECT_EQ(g.y0, 11);
        EXPECT_EQ(g.height, 9);
    }
    // Both edges at 10.5 (a vanishing region): column 10 alone.
    a.interpolation = INTER_NN;
    a.xFactor = 1e-12;
    a.srcRoi.width = 1;
    ASSERT_EQ(a.run(&g), ippStsNoErr);
    EXPECT_EQ(g.x0, 10);
    EXPECT_EQ(g.width, 1);
}

// ---- The kernels' refusals ---------------------------------------------------

TEST(ResizeKernel, RefusalsLeaveTheTargetUntouched) {
    struct Case { const char* what; void (*change)(CheckArgs&); IppStatus status; };
    const Case cases[] = {
        {"null buffer", [](CheckArgs& a) { a.nullBuffer = true; }, ippStsNullPtrErr},
        {"size", [](CheckArgs& a) { a.srcRoi.height = 0; }, ippStsSizeErr},
        {"factor", [](CheckArgs& a) { a.xFactor = 0.0; }, ippStsResizeFactorErr},
        {"interpolation", [](CheckArgs& a) { a.interpolation = 0; }, ippStsInterpolationErr},
        {"origin", [](CheckArgs& a) { a.srcRoi.x = 25; }, ippStsWrongIntersectROI},
        {"empty", [](CheckArgs& a) { a.yShift = -100.0; }, ippStsNoOperation},
    };
    Rng rng(3);
    Plane<uint8_t> src = makePlane<uint8_t>(20, 10, 3);
    fillRandom(src, rng);
    std::vector<uint8_t> buffer(size_t(bufferSize({0, 0, 20, 10}, {0, 0, 40, 20}, 3, INTER_LINEAR)));
    for (const Case& c : cases) {
        CheckArgs a;
        c.change(a);
        Plane<uint8_t> dst = makePlane<uint8_t>(40, 20, 3);
        fillRandom(dst, rng);
        const std::vector<uint8_t> before = dst.samples;
        EXPECT_EQ(runResize(src, a.srcRoi, dst, a.dstRoi, a.xFactor, a.yFactor, a.xShift, a.yShift,
                            a.interpolation, a.nullBuffer ? nullptr : buffer.data()),
                  c.status)
            << c.what;
        EXPECT_EQ(dst.samples, before) << c.what;
    }
}

// Methods whose family isn't built are refused, never run by another method.
TEST(ResizeKernel, MissingPathsAreRefused) {
    Rng rng(4);
    Plane<uint16_t> src = makePlane<uint16_t>(12, 12, 1);
    fillRandom(src, rng);
    const IppiRect srcRoi{0, 0, 12, 12}, dstRoi{0, 0, 8, 8};
    std::vector<uint8_t> buffer(1 << 16);
    std::vector<int32_t> values;
    for (int32_t id : {INTER_CUBIC, INTER_CUBIC_BSPLINE, INTER_CUBIC_CATMULLROM, INTER_CUBIC_B05C03, INTER_SUPER, INTER_LANCZOS})
        if (findResizeFamily(id) == nullptr) values.push_back(id);
    if (antialiasPath() == nullptr) values.push_back(INTER_LINEAR | kAntialias);
    if (findEdgeTreatment(EdgeKind::Smooth, 1, 1) == nullptr) values.push_back(INTER_NN | EDGE_SMOOTH);
    if (findEdgeTreatment(EdgeKind::Subpixel, 1, 1) == nullptr) values.push_back(INTER_LINEAR | EDGE_SUBPIXEL);
    for (int32_t value : values) {
        Plane<uint16_t> dst = makePlane<uint16_t>(8, 8, 1);
        fillRandom(dst, rng);
        const std::vector<uint16_t> before = dst.samples;
        EXPECT_EQ(runResize(src, srcRoi, dst, dstRoi, 2.0 / 3.0, 2.0 / 3.0, 0.0, 0.0, value, buffer.data()),
                  ippStsInterpolationErr)
            << std::hex << value;
        EXPECT_EQ(dst.samples, before) << std::hex << value;
    }
}

TEST(ResizeKernel, AntialiasingWithNearestResamplesWithoutIt) {
    Rng rng(5);
    Plane<uint8_t> src = makePlane<uint8_t>(30, 20, 4);
    fillRandom(src, rng);
    Plane<uint8_t> plain = makePlane<uint8_t>(13, 9, 4);
    Plane<uint8_t> flagged = plain;
    const IppiRect srcRoi{0, 0, 30, 20}, dstRoi{0, 0, 13, 9};
    std::vector<uint8_t> buffer(size_t(bufferSize(srcRoi, dstRoi, 4, INTER_NN)));
    ASSERT_EQ(runResize(src, srcRoi, plain, dstRoi, 0.43, 0.45, 0.0, 0.0, INTER_NN, buffer.data()), ippStsNoErr);
    EXPECT_EQ(runResize(src, srcRoi, flagged, dstRoi, 0.43, 0.45, 0.0, 0.0, INTER_NN | kAntialias, buffer.data()),
              ippStsNoAntialiasing);
    EXPECT_EQ(flagged.samples, plain.samples);
}

// The region bounds the target, not the samples: with the shift at 0 and the
// region starting at column 10, target columns below 10 * xFactor stay.
TEST(ResizeKernel, RegionClipsWithoutShifting) {
    Rng rng(6);
    Plane<uint8_t> src = makePlane<uint8_t>(20, 10, 1);
    fillRandom(src, rng);
    Plane<uint8_t> dst = makePlane<uint8_t>(40, 20, 1);
    fillRandom(dst, rng);
    Plane<uint8_t> expected = dst;
    const IppiRect srcRoi{10, 0, 10, 10}, dstRoi{0, 0, 40, 20};
    std::vector<uint8_t> buffer(size_t(bufferSize(srcRoi, dstRoi, 1, INTER_LINEAR)));
    ASSERT_EQ(runResize(src, srcRoi, dst, dstRoi, 2.0, 2.0, 0.0, 0.0, INTER_LINEAR, buffer.data()), ippStsNoErr);
    ResizeGeometry g;
    ASSERT_EQ(ownResizeCheck(src.samples.data(), {20, 10}, srcRoi, dst.samples.data(), dstRoi, 2.0, 2.0, 0.0, 0.0,
                             INTER_LINEAR, buffer.data(), &g),
              ippStsNoErr);
    EXPECT_EQ(g.x0, 20);
    referenceLinear(src, g, expected);
    EXPECT_EQ(dst.samples, expected.samples);
}

// Factors from a millionth to a million and far shifts: every read stays
// inside the source (the sanitizer build watches), every write inside the
// computed region, and the bytes are the model's.
TEST(ResizeKernel, ExtremeGeometryStaysInsideTheImages) {
    MORVA_SEED_TRACE();
    Rng rng(21);
    for (int n = 0; n < 300 && !::testing::Test::HasFailure(); ++n) {
        RandomResize r = RandomResize::draw(rng, 12);
        r.xFactor = std::pow(10.0, rng.real(-6.0, 6.0));
        r.yFactor = std::pow(10.0, rng.real(-6.0, 6.0));
        if (n % 3 == 0) {
            // A region that starts on or just beside a pixel centre.
            r.xShift = r.dstRoi.x - r.srcRoi.x * r.xFactor + 0.5 + rng.real(-1e-9, 1e-9);
            r.yShift = r.dstRoi.y - r.srcRoi.y * r.yFactor + 0.5 + rng.real(-1e-9, 1e-9);
        } else if (n % 3 == 1) {
            r.xShift = rng.real(-1e6, 1e6);
        }
        const int32_t interpolation = n % 2 ? INTER_NN : INTER_LINEAR;
        if (n % 4 < 2) checkRandomResize<uint8_t>(r, 3, interpolation, rng);
        else checkRandomResize<uint16_t>(r, 1, interpolation, rng);
    }
}

// ---- Bands -------------------------------------------------------------------------

template <class T>
void checkBands(int32_t channels, int32_t interpolation) {
    SCOPED_TRACE("channels " + std::to_string(channels) + " id " + std::to_string(interpolation));
    Rng rng(uint32_t(8 + channels));
    Plane<T> src = makePlane<T>(57, 41, channels, 1);
    fillRandom(src, rng);
    const IppiRect srcRoi{0, 0, 57, 41}, dstRoi{3, 2, 100, 91};
    Plane<T> single = makePlane<T>(110, 97, channels);
    fillRandom(single, rng);
    Plane<T> banded = single;
    setNumThreads(1);
    std::vector<uint8_t> buffer(size_t(bufferSize(srcRoi, dstRoi, channels, interpolation)));
    ASSERT_EQ(runResize(src, srcRoi, single, dstRoi, 1.7, 2.21, 3.0, 2.0, interpolation, buffer.data()), ippStsNoErr);
    for (int threads : {2, 3, 4}) {
        setNumThreads(threads);
        GuardedBuffer shares(size_t(bufferSize(srcRoi, dstRoi, channels, interpolation)));
        ASSERT_EQ(runResize(src, srcRoi, banded, dstRoi, 1.7, 2.21, 3.0, 2.0, interpolation, shares.data()),
                  ippStsNoErr);
        EXPECT_TRUE(shares.marginsIntact());
        EXPECT_EQ(banded.samples, single.samples) << threads << " threads";
    }
}

TEST(ResizeBands, GiveTheSingleThreadsBytes) {
    ResizeSettingsGuard restore;
    checkBands<uint8_t>(3, INTER_NN);
    checkBands<uint8_t>(1, INTER_LINEAR);
    checkBands<uint16_t>(4, INTER_LINEAR);
    checkBands<uint16_t>(1, INTER_NN);
}

}  // namespace
}  // namespace morva::testing
