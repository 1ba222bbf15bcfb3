// Lanczos: the stored window against its rule, coefficients at a whole
// position, identity at factor 1, degradation of small sources, clamped
// overshoot, the blend's rounding, every vector form against the scalar
// definition, and whole resizes against the per-pixel model at each slot.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "common/testing.h"
#include "resample/lanczos.h"
#include "resize_test_util.h"
#include "tap_filter_forms_harness.h"
#include "tap_filter_reference.h"

namespace morva::testing {
namespace {

// sin(pi * n / m) with the argument reduced by whole half-turns first, as the
// table's generator does it.
double sinPi(int n, int m) {
    const double s = std::sin(M_PI * (double(n % m) / double(m)));
    return (n / m) % 2 ? -s : s;
}

double sinc(int n, int m) { return n == 0 ? 1.0 : sinPi(n, m) / (M_PI * (double(n) / double(m))); }

TEST(LanczosTable, IsTheNearestFloatToTheWindow) {
    for (int i = 0; i < kLanczosTableSize; ++i) {
        const float expected = i >= 300 ? 0.0f : float(sinc(i, 100) * sinc(i, 300));
        EXPECT_EQ(std::memcmp(&ownLanczosTable[i], &expected, sizeof(float)), 0)
            << "entry " << i << ": " << ownLanczosTable[i] << " against " << expected;
    }
}

// The values the design was first shipped with agree with ours to 1e-7.
TEST(LanczosTable, AgreesWithTheFirstShippedValues) {
    const std::pair<int, double> shipped[] = {{0, 1.0},   {1, 0.99981719},    {50, 0.60792708},
                                              {100, 0.0}, {101, -0.00815418}, {150, -0.13509491},
                                              {200, 0.0}, {250, 0.024317089}, {299, 0.00001118},
                                              {300, 0.0}, {301, 0.0}};
    for (const auto& [i, value] : shipped)
        EXPECT_NEAR(ownLanczosTable[i], value, 1e-7) << "entry " << i;
}

TEST(LanczosCoefficients, WholePositionPicksTheCentreTap) {
    float c[6];
    ownLanczosCoefficients(0.0f, c);
    const float expected[6] = {0.0f, 0.0f, 1.0f, 0.0f, 0.0f, 0.0f};
    for (int n = 0; n < 6; ++n) EXPECT_EQ(c[n], expected[n]) << "tap " << n;
}

template <class T>
Plane<T> resizeWhole(const Plane<T>& src, int32_t dstWidth, int32_t dstHeight, double xFactor,
                     double yFactor, int32_t interpolation) {
    Plane<T> dst = makePlane<T>(dstWidth, dstHeight, src.channels);
    const IppiRect srcRoi{0, 0, src.width, src.height}, dstRoi{0, 0, dstWidth, dstHeight};
    std::vector<uint8_t> buffer(size_t(bufferSize(srcRoi, dstRoi, src.channels, interpolation)));
    EXPECT_EQ(runResize(src, srcRoi, dst, dstRoi, xFactor, yFactor, 0.0, 0.0, interpolation,
                        buffer.data()),
              ippStsNoErr);
    return dst;
}

template <class T>
void checkIdentity(int32_t channels) {
    SCOPED_TRACE("channels " + std::to_string(channels) + " bytes " + std::to_string(sizeof(T)));
    Rng rng{uint32_t(channels)};
    Plane<T> src = makePlane<T>(15, 12, channels, 3);
    fillRandom(src, rng);
    EXPECT_EQ(pixels(resizeWhole(src, 15, 12, 1.0, 1.0, INTER_LANCZOS)), pixels(src));
}

TEST(Lanczos, FactorOneReproducesTheSource) {
    for (int32_t channels : {1, 3, 4}) {
        checkIdentity<uint8_t>(channels);
        checkIdentity<uint16_t>(channels);
    }
}

// Below 6 pixels either way Lanczos runs the cubic through four samples, and
// below 4 linear: the whole source decides, not the region.
TEST(Lanczos, SmallSourcesRunCubicOrLinear) {
    Rng rng(61);
    Plane<uint8_t> narrow = makePlane<uint8_t>(5, 100, 1);
    fillRandom(narrow, rng);
    EXPECT_EQ(resizeWhole(narrow, 12, 130, 2.5, 1.3, INTER_LANCZOS).samples,
              resizeWhole(narrow, 12, 130, 2.5, 1.3, INTER_CUBIC).samples);
    Plane<uint16_t> thin = makePlane<uint16_t>(3, 100, 4);
    fillRandom(thin, rng);
    EXPECT_EQ(resizeWhole(thin, 7, 80, 2.5, 0.8, INTER_LANCZOS).samples,
              resizeWhole(thin, 7, 80, 2.5, 0.8, INTER_LINEAR).samples);
}

// Three lobes ring on both sides of a hard edge, below 0 on the dark side
// and above the maximum on the bright side; clamped, a dark row stays near 0
// and a bright row near the maximum, where a wrapped value would jump to the
// other end.
template <class T>
void checkOvershootIsClamped() {
    constexpr int32_t kTop = int32_t(T(~T(0)));
    Plane<T> src = makePlane<T>(6, 12, 1);
    for (int32_t y = 6; y < 12; ++y)
        for (int32_t x = 0; x < 6; ++x) src.at(x, y, 0) = T(kTop);
    // The edge lies between source rows 5 and 6, target row 23.5.
    const Plane<T> dst = resizeWhole(src, 6, 48, 1.0, 4.0, INTER_LANCZOS);
    for (int32_t y = 0; y < 48; ++y) {
        for (int32_t x = 0; x < 6; ++x) {
            const int32_t v = dst.at(x, y, 0);
            if (y < 20) EXPECT_LT(v, kTop / 4) << "row " << y << " column " << x;
            if (y >= 28) EXPECT_GT(v, kTop - kTop / 4) << "row " << y << " column " << x;
        }
    }
    EXPECT_EQ(dst.at(0, 0, 0), 0);
    EXPECT_EQ(dst.at(0, 47, 0), T(kTop));
}

TEST(Lanczos, OvershootIsClampedInRimAndInterior) {
    checkOvershootIsClamped<uint8_t>();
    checkOvershootIsClamped<uint16_t>();
}

TEST(Lanczos, SixBySixSourceMatchesTheModel) {
    MORVA_SEED_TRACE();
    Rng rng(66);
    for (double factor : {0.6, 1.0, 2.0, 3.5}) {
        RandomResize r{6, 6, 24, 24, {0, 0, 6, 6}, {0, 0, 24, 24}, factor, factor, 0.0, 0.0};
        checkTapResize<uint8_t>(r, 3, INTER_LANCZOS, 6, rng);
        checkTapResize<uint16_t>(r, 1, INTER_LANCZOS, 6, rng);
    }
}

// The interior adds the float32 nearest to 0.5000001 and truncates: halves go
// up; results saturate.
TEST(LanczosKernels, BlendRoundsHalvesUp) {
    const std::vector<float> centre = {2.5f,   3.5f,   -0.5f,    -7.0f,
                                       254.5f, 255.5f, 65534.5f, 70000.0f};
    const std::vector<float> zero(centre.size(), 0.0f);
    const float* rows[6] = {zero.data(), zero.data(), centre.data(),
                            zero.data(), zero.data(), zero.data()};
    const float c[6] = {0.0f, 0.0f, 1.0f, 0.0f, 0.0f, 0.0f};
    uint8_t out8[8];
    lanczosBlend8uTable().scalar()(rows, c, out8, 8);
    EXPECT_EQ(std::vector<uint8_t>(out8, out8 + 8),
              (std::vector<uint8_t>{3, 4, 0, 0, 255, 255, 255, 255}));
    uint16_t out16[8];
    lanczosBlend16uTable().scalar()(rows, c, out16, 8);
    EXPECT_EQ(std::vector<uint16_t>(out16, out16 + 8),
              (std::vector<uint16_t>{3, 4, 0, 0, 255, 256, 65535, 65535}));
}

// ---- Forms suites ------------------------------------------------------------

TEST(LanczosForms, RowInterpolationMatchesScalar) {
    MORVA_SEED_TRACE();
    for (int32_t channels : {1, 3, 4}) {
        SCOPED_TRACE("channels " + std::to_string(channels));
        checkTapRowForms<uint8_t, 6>(lanczosRow8uTable(channels), channels,
                                     &ownLanczosCoefficients);
        checkTapRowForms<uint16_t, 6>(lanczosRow16uTable(channels), channels,
                                      &ownLanczosCoefficients);
    }
}

TEST(LanczosForms, BlendMatchesScalar) {
    MORVA_SEED_TRACE();
    checkTapBlendForms<uint8_t, 6>(lanczosBlend8uTable(), &ownLanczosCoefficients);
    checkTapBlendForms<uint16_t, 6>(lanczosBlend16uTable(), &ownLanczosCoefficients);
}

// ---- Whole resizes ---------------------------------------------------------------

TEST(LanczosResize, RandomGeometryMatchesModelAtEverySlot) {
    MORVA_SEED_TRACE();
    ResizeSettingsGuard restore;
    Rng rng(606);
    for (int slot : testSlots()) {
        setCpuSlot(slot);
        SCOPED_TRACE("slot " + std::to_string(slot));
        int written = 0;
        for (int n = 0; n < 180 && !::testing::Test::HasFailure(); ++n) {
            const RandomResize r = RandomResize::draw(rng);
            constexpr int32_t kChannels[] = {1, 3, 4};
            const int32_t channels = kChannels[n % 3];
            written += n % 2 ? checkTapResize<uint8_t>(r, channels, INTER_LANCZOS, 6, rng)
                             : checkTapResize<uint16_t>(r, channels, INTER_LANCZOS, 6, rng);
        }
        EXPECT_GT(written, 60);
    }
}

TEST(LanczosResize, BandsAndNegativeStepsGiveTheSameTarget) {
    checkBandsAndNegativeStep<uint8_t>(INTER_LANCZOS, 3);
    checkBandsAndNegativeStep<uint16_t>(INTER_LANCZOS, 1);
}

}  // namespace
}  // namespace morva::testing
