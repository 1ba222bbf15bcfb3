// Cubic family: coefficients at whole positions, identity and smoothing at
// factor 1, the different roundings of rim and interior, clamped overshoot,
// bands and negative steps, every vector form of the row kernels and blends
// against the scalar definitions, and whole resizes of every id, layout and
// depth against the per-pixel model at each slot.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "common/testing.h"
#include "resample/cubic.h"
#include "resize_test_util.h"
#include "tap_filter_forms_harness.h"
#include "tap_filter_reference.h"

namespace morva::testing {
namespace {

constexpr int32_t kCubicIds[] = {INTER_CUBIC, INTER_CUBIC_BSPLINE, INTER_CUBIC_CATMULLROM,
                                 INTER_CUBIC_B05C03};

struct WholeCoefficients {
    int32_t id;
    float c[4];
};

class CubicCoefficientsAtZero : public ::testing::TestWithParam<WholeCoefficients> {};

// At f = 0 the distances are 1, 0, 1, 2. The cubic through four samples keeps
// the rounding residue of its expression at d = 1.
TEST_P(CubicCoefficientsAtZero, AreTheKernelAtWholeDistances) {
    const WholeCoefficients& expected = GetParam();
    float c[4];
    cubicCoefficients(expected.id, 0.0f, c);
    for (int n = 0; n < 4; ++n) EXPECT_EQ(c[n], expected.c[n]) << "tap " << n;
}

INSTANTIATE_TEST_SUITE_P(
    Ids, CubicCoefficientsAtZero,
    ::testing::Values(WholeCoefficients{INTER_CUBIC,
                                        {float(1.1102230246251565e-16), 1.0f,
                                         float(1.1102230246251565e-16), 0.0f}},
                      WholeCoefficients{
                          INTER_CUBIC_BSPLINE,
                          {float(1.0 / 6.0), float(2.0 / 3.0), float(1.0 / 6.0), 0.0f}},
                      WholeCoefficients{INTER_CUBIC_CATMULLROM, {0.0f, 1.0f, 0.0f, 0.0f}},
                      WholeCoefficients{INTER_CUBIC_B05C03,
                                        {float(1.0 / 12.0), float(0.8333333333333334),
                                         float(1.0 / 12.0), 0.0f}}));

template <class T>
Plane<T> resizeWhole(const Plane<T>& src, int32_t dstWidth, int32_t dstHeight, double xFactor,
                     double yFactor, double xShift, double yShift, int32_t interpolation) {
    Plane<T> dst = makePlane<T>(dstWidth, dstHeight, src.channels);
    const IppiRect srcRoi{0, 0, src.width, src.height}, dstRoi{0, 0, dstWidth, dstHeight};
    std::vector<uint8_t> buffer(size_t(bufferSize(srcRoi, dstRoi, src.channels, interpolation)));
    EXPECT_EQ(runResize(src, srcRoi, dst, dstRoi, xFactor, yFactor, xShift, yShift, interpolation,
                        buffer.data()),
              ippStsNoErr);
    return dst;
}

// The cubic through four samples and Catmull-Rom reproduce the source at
// factor 1, in the rim and in the interior, for every layout and depth.
template <class T>
void checkIdentity(int32_t id, int32_t channels) {
    SCOPED_TRACE("id " + std::to_string(id) + " channels " + std::to_string(channels) + " bytes " +
                 std::to_string(sizeof(T)));
    Rng rng{uint32_t(id * 7 + channels)};
    Plane<T> src = makePlane<T>(13, 11, channels, 3);
    fillRandom(src, rng);
    EXPECT_EQ(pixels(resizeWhole(src, 13, 11, 1.0, 1.0, 0.0, 0.0, id)), pixels(src));
}

TEST(Cubic, FactorOneReproducesTheSource) {
    for (int32_t id : {INTER_CUBIC, INTER_CUBIC_CATMULLROM})
        for (int32_t channels : {1, 3, 4}) {
            checkIdentity<uint8_t>(id, channels);
            checkIdentity<uint16_t>(id, channels);
        }
}

// The B-spline weighs 1/6, 2/3, 1/6 at factor 1: a lone bright pixel in the
// interior spreads to its neighbours.
TEST(Cubic, BSplineSmoothsAtFactorOne) {
    Plane<uint8_t> src = makePlane<uint8_t>(8, 8, 1);
    src.at(3, 3, 0) = 255;
    const Plane<uint8_t> dst = resizeWhole(src, 8, 8, 1.0, 1.0, 0.0, 0.0, INTER_CUBIC_BSPLINE);
    EXPECT_EQ(dst.at(3, 3, 0), 113);  // 255 * 4/9
    EXPECT_EQ(dst.at(2, 3, 0), 28);   // 255 * 1/9
    EXPECT_EQ(dst.at(3, 4, 0), 28);
    EXPECT_EQ(dst.at(4, 4, 0), 7);  // 255 * 1/36
    EXPECT_EQ(dst.at(5, 3, 0), 0);
}

// Catmull-Rom at fraction 0.5 has the binary coefficients -1/16, 9/16, 9/16,
// -1/16: taps 16, 4, 4, 16 give exactly 2.5. Row 0 (d = 0) is a rim row and
// rounds up to 3; row 1 (d = 1) is interior and rounds to even, 2.
template <class T>
void checkHalfRounding(int32_t channels) {
    SCOPED_TRACE("channels " + std::to_string(channels) + " bytes " + std::to_string(sizeof(T)));
    Plane<T> src = makePlane<T>(8, 8, channels);
    const T row[8] = {0, 16, 4, 4, 16, 0, 0, 0};
    for (int32_t y = 0; y < 8; ++y)
        for (int32_t x = 0; x < 8; ++x)
            for (int32_t c = 0; c < channels; ++c) src.at(x, y, c) = row[x];
    const Plane<T> dst = resizeWhole(src, 8, 8, 1.0, 1.0, 0.5, 0.0, INTER_CUBIC_CATMULLROM);
    for (int32_t c = 0; c < channels; ++c) {
        EXPECT_EQ(dst.at(3, 0, c), 3) << "rim";
        EXPECT_EQ(dst.at(3, 1, c), 2) << "interior";
    }
}

TEST(Cubic, HalvesRoundUpInTheRimAndToEvenInTheInterior) {
    for (int32_t channels : {1, 3, 4}) {
        checkHalfRounding<uint8_t>(channels);
        checkHalfRounding<uint16_t>(channels);
    }
}

// A hard edge enlarged by the cubic through four samples rings below 0 and
// above the maximum; rim and interior both clamp, so every row stays rising
// (a wrapped value would break it).
template <class T>
void checkOvershootIsClamped() {
    constexpr T kTop = T(~T(0));
    Plane<T> src = makePlane<T>(8, 6, 1);
    for (int32_t y = 0; y < 6; ++y)
        for (int32_t x = 4; x < 8; ++x) src.at(x, y, 0) = kTop;
    const Plane<T> dst = resizeWhole(src, 32, 6, 4.0, 1.0, 0.0, 0.0, INTER_CUBIC);
    for (int32_t y = 0; y < 6; ++y) {
        SCOPED_TRACE("row " + std::to_string(y));
        const T* row = dst.row(y);
        EXPECT_TRUE(std::is_sorted(row, row + 32));
        EXPECT_EQ(row[0], 0);
        EXPECT_EQ(row[31], kTop);
    }
}

TEST(Cubic, OvershootIsClampedInRimAndInterior) {
    checkOvershootIsClamped<uint8_t>();
    checkOvershootIsClamped<uint16_t>();
}

TEST(Cubic, FourByFourSourceMatchesTheModel) {
    MORVA_SEED_TRACE();
    Rng rng(44);
    for (int32_t id : kCubicIds)
        for (double factor : {0.75, 1.0, 2.0, 3.5}) {
            RandomResize r{4, 4, 16, 16, {0, 0, 4, 4}, {0, 0, 16, 16}, factor, factor, 0.0, 0.0};
            checkTapResize<uint8_t>(r, 1, id, 4, rng);
            checkTapResize<uint16_t>(r, 4, id, 4, rng);
        }
}

// ---- Forms suites ------------------------------------------------------------

TEST(CubicForms, RowInterpolationMatchesScalar) {
    MORVA_SEED_TRACE();
    for (int32_t channels : {1, 3, 4}) {
        SCOPED_TRACE("channels " + std::to_string(channels));
        const auto coefficients = [](float f, float* c) { cubicCoefficients(INTER_CUBIC, f, c); };
        checkTapRowForms<uint8_t, 4>(cubicRow8uTable(channels), channels, coefficients);
        checkTapRowForms<uint16_t, 4>(cubicRow16uTable(channels), channels, coefficients);
    }
}

TEST(CubicForms, BlendMatchesScalar) {
    MORVA_SEED_TRACE();
    const auto coefficients = [](float f, float* c) {
        cubicCoefficients(INTER_CUBIC_CATMULLROM, f, c);
    };
    checkTapBlendForms<uint8_t, 4>(cubicBlend8uTable(), coefficients);
    checkTapBlendForms<uint16_t, 4>(cubicBlend16uTable(), coefficients);
}

// Ties go to even in the blend; results saturate.
TEST(CubicKernels, BlendRoundsHalvesToEven) {
    const std::vector<float> centre = {2.5f,   3.5f,   -0.5f,    -7.0f,
                                       254.5f, 255.5f, 65534.5f, 70000.0f};
    const std::vector<float> zero(centre.size(), 0.0f);
    const float* rows[4] = {zero.data(), centre.data(), zero.data(), zero.data()};
    const float c[4] = {0.0f, 1.0f, 0.0f, 0.0f};
    uint8_t out8[8];
    cubicBlend8uTable().scalar()(rows, c, out8, 8);
    EXPECT_EQ(std::vector<uint8_t>(out8, out8 + 8),
              (std::vector<uint8_t>{2, 4, 0, 0, 254, 255, 255, 255}));
    uint16_t out16[8];
    cubicBlend16uTable().scalar()(rows, c, out16, 8);
    EXPECT_EQ(std::vector<uint16_t>(out16, out16 + 8),
              (std::vector<uint16_t>{2, 4, 0, 0, 254, 256, 65534, 65535}));
}

// ---- Whole resizes ---------------------------------------------------------------

TEST(CubicResize, RandomGeometryMatchesModelAtEverySlot) {
    MORVA_SEED_TRACE();
    ResizeSettingsGuard restore;
    Rng rng(404);
    for (int slot : testSlots()) {
        setCpuSlot(slot);
        SCOPED_TRACE("slot " + std::to_string(slot));
        int written = 0;
        for (int n = 0; n < 240 && !::testing::Test::HasFailure(); ++n) {
            const RandomResize r = RandomResize::draw(rng);
            constexpr int32_t kChannels[] = {1, 3, 4};
            const int32_t channels = kChannels[n % 3];
            const int32_t id = kCubicIds[(n / 3) % 4];
            written += n % 2 ? checkTapResize<uint8_t>(r, channels, id, 4, rng)
                             : checkTapResize<uint16_t>(r, channels, id, 4, rng);
        }
        EXPECT_GT(written, 80);
    }
}

TEST(CubicResize, BandsAndNegativeStepsGiveTheSameTarget) {
    for (int32_t id : {INTER_CUBIC, INTER_CUBIC_B05C03}) {
        checkBandsAndNegativeStep<uint8_t>(id, 1);
        checkBandsAndNegativeStep<uint16_t>(id, 4);
    }
}

}  // namespace
}  // namespace morva::testing
