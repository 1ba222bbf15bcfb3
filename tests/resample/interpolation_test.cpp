// The interpolation families: worked cases of each, coefficients and filters
// at their knots, the blends' rounding of halves, and whole resizes of random
// geometry at the lowest and the highest processor slot against the
// per-pixel models.
#include <cmath>
#include <limits>
#include <vector>

#include "resample/antialias.h"
#include "resample/cubic.h"
#include "resample/lanczos.h"
#include "resample/super_sampling.h"
#include "resample/super_sampling_exact.h"
#include "resize_model.h"

namespace morva::testing {
namespace {

struct Worked {
    const char* what;
    int32_t interpolation;
    int32_t srcWidth, srcHeight;
    std::vector<int32_t> source;  // row by row; one row stands for all, one value for every sample
    int32_t dstWidth, dstHeight;
    double xFactor, yFactor, xShift, yShift;
    std::vector<int32_t> expected;  // the whole target row by row, -1 where not pinned
    int32_t background = 0;
    int32_t depths = 3;  // bit 0: 8u, bit 1: 16u
};

// Every channel of one and of three carries the source alike.
template <class T>
void checkWorked(const Worked& w, int32_t channels) {
    SCOPED_TRACE(std::string(w.what) + ", " + std::to_string(8 * sizeof(T)) + " bits, channels " +
                 std::to_string(channels));
    Plane<T> src = makePlane<T>(w.srcWidth, w.srcHeight, channels);
    const size_t n = w.source.size();
    for (int32_t y = 0; y < w.srcHeight; ++y)
        for (int32_t x = 0; x < w.srcWidth; ++x)
            for (int32_t c = 0; c < channels; ++c)
                src.at(x, y, c) = T(w.source[n == 1 ? 0 : (n == size_t(w.srcWidth) ? x : y * w.srcWidth + x)]);
    const Plane<T> dst = resized(src, w.dstWidth, w.dstHeight, w.xFactor, w.yFactor, w.xShift, w.yShift,
                                 w.interpolation, T(w.background));
    for (int32_t c = 0; c < channels; ++c) {
        std::vector<int32_t> got;
        for (int32_t y = 0; y < w.dstHeight; ++y)
            for (int32_t x = 0; x < w.dstWidth; ++x)
                got.push_back(w.expected[got.size()] < 0 ? -1 : dst.at(x, y, c));
        EXPECT_EQ(got, w.expected) << "channel " << c;
    }
}

void checkWorkedCases(const std::vector<Worked>& cases) {
    for (const Worked& w : cases)
        for (int32_t channels : {1, 3}) {
            if (w.depths & 1) checkWorked<uint8_t>(w, channels);
            if (w.depths & 2) checkWorked<uint16_t>(w, channels);
        }
}

TEST(ResizeWorked, NearestNeighbour) {
    checkWorkedCases({
        {"ties go to the lower pixel", INTER_NN, 8, 1, {0, 1, 2, 3, 4, 5, 6, 7}, 4, 1, 0.5, 1, 0, 0, {0, 2, 4, 6}},
        {"ties down a column", INTER_NN, 1, 8, {0, 1, 2, 3, 4, 5, 6, 7}, 1, 4, 1, 0.5, 0, 0, {0, 2, 4, 6}},
        {"a third: 3x + 1.5", INTER_NN, 9, 1, {0, 1, 2, 3, 4, 5, 6, 7, 8}, 3, 1, 1.0 / 3.0, 1, 0, 0, {1, 4, 7}},
        {"a quarter: 4x + 2 - 1e-10", INTER_NN, 16, 1, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15},
         4, 1, 0.25, 1, 0, 0, {1, 5, 9, 13}},
    });
}

// Source column 1 of ones, fraction across just below a half: the rim row 0
// rounds once and gives 0, the interior row 1 rounds twice and gives 1.
// 8u: fraction 8100 / 16384; (8100 + 8192) >> 14 = 0, (8100 + 128) >> 8 =
// 32 and (32 * 16384 + 524288) >> 20 = 1. 16u: fraction 0.5 - 2^-23; + 0.5000001
// in float64 stays below 1, + 0.5 + 2^-23 in float32 reaches it.
TEST(ResizeWorked, Linear) {
    checkWorkedCases({
        {"rim and interior round apart, 8u", INTER_LINEAR, 2, 4, {0, 1}, 2, 2, 1, 1, 1.0 - 8100.5 / 16384.0, 0.5,
         {0, 0, 0, 1}, 0, 1},
        {"rim and interior round apart, 16u", INTER_LINEAR, 2, 4, {0, 1}, 2, 2, 1, 1, 0.5 + 0x1p-23, 0.5,
         {0, 0, 0, 1}, 0, 2},
    });
}

// The B-spline weighs 1/6, 2/3, 1/6 at factor 1: a lone pixel of 255
// spreads to 255 * 4/9, 1/9 and 1/36. Catmull-Rom at fraction 0.5 weighs
// taps 16, 4, 4, 16 by -1/16, 9/16, 9/16, -1/16: exactly 2.5, which rim
// rows 0, 2 and 3 round up and the interior row 1 rounds to even.
TEST(ResizeWorked, Cubic) {
    checkWorkedCases({
        {"B-spline smooths at factor 1", INTER_CUBIC_BSPLINE, 5, 5,
         {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 255, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 5, 5, 1, 1, 0, 0,
         {0, 0, 0, 0, 0, 0, 7, 28, 7, 0, 0, 28, 113, 28, 0, 0, 7, 28, 7, 0, 0, 0, 0, 0, 0}},
        {"halves: rim up, interior to even", INTER_CUBIC_CATMULLROM, 8, 4, {0, 16, 4, 4, 16, 0, 0, 0}, 1, 4, 1, 1,
         -2.5, 0, {3, 2, 3, 3}},
    });
}

TEST(ResizeWorked, SuperSampling) {
    checkWorkedCases({
        // (30 + 41 + 71 + 80) / 4 = 55.5.
        {"halving: the mean of four, halves up", INTER_SUPER, 4, 2, {10, 20, 30, 41, 50, 60, 71, 80}, 2, 1,
         0.5, 0.5, 0, 0, {35, 56}},
        // Columns 0 and half of 1, half of 1 and 2, ...: (10 + 10) / 1.5 = 13.3.
        {"by one and a half across", INTER_SUPER, 6, 2, {10, 20, 30, 40, 50, 60}, 4, 1, 2.0 / 3.0, 0.5, 0, 0,
         {13, 27, 43, 57}},
        // Rows of 4/3: (30 + 60 / 3) * 3 / 4 = 37.5, (30 + 120) * 3 / 4 = 112.5.
        {"whole across, fractional down", INTER_SUPER, 4, 4,
         {30, 30, 30, 30, 60, 60, 60, 60, 90, 90, 90, 90, 120, 120, 120, 120}, 2, 3, 0.5, 0.75, 0, 0,
         {38, 38, 75, 75, 113, 113}},
        // Column 1 starts at 0.8: (250 * 0.2 + 100 * 0.8) / 2; column 0 isn't written.
        {"a start inside a sample", INTER_SUPER, 6, 2, {250, 0, 100, 0, 0, 0}, 4, 1, 0.5, 0.5, 0.6, 0,
         {7, 65, 10, 0}, 7},
        // Column 0 starts at -0.6, which counts as column 0: (100 * 1.6 + 200 * 0.4) / 2.
        {"a start left of the image", INTER_SUPER, 6, 2, {100, 200, 0, 0, 0, 0}, 4, 1, 0.5, 0.5, 0.3, 0,
         {120, 60, 0, 0}},
        // 257 * 257 * 65535 wraps in 32 bits to 33553919, whose mean is 508.
        {"whole sums wrap at 32 bits", INTER_SUPER, 257, 257, {65535}, 1, 1, 1 / 257.0, 1 / 257.0, 0, 0, {508}, 0, 2},
    });
}

TEST(ResizeWorked, Antialiasing) {
    checkWorkedCases({
        // Source position x + 0.5: the mean of four, halves up, the last
        // column and row repeating the edge.
        {"linear at factor 1", INTER_LINEAR | kAntialias, 3, 2, {0, 40, 100, 20, 62, 200}, 3, 2, 1, 1, 0, 0,
         {31, 101, 150, 41, 131, 200}},
        // Target X takes weights 1/4, 1/2, 1/4 around 2X + 1, not 2X + 0.5.
        {"a tent around the shifted centre", INTER_LINEAR | kAntialias, 8, 2, {0, 0, 100, 0, 0, 0, 0, 0}, 4, 1,
         0.5, 0.5, 0, 0, {25, 25, 0, 0}},
        // The B-spline reducing by 2: target 0 takes taps -3 .. 5 around 1,
        // weighing 0, 1/48, 1/6, 23/48 (all on sample 0 or left of it,
        // which takes sample 0), 2/3, ... of a sum 2: a third of column 0.
        {"taps left of the image take its edge", INTER_CUBIC_BSPLINE | kAntialias, 8, 4, {100, 0, 0, 0, 0, 0, 0, 0}, 4, 2,
         0.5, 0.5, 0, 0, {33, 1, 0, 0, 33, 1, 0, 0}},
        // And above: a ninth of the corner.
        {"taps above the image take its edge", INTER_CUBIC_BSPLINE | kAntialias, 8, 4,
         {100, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 4, 2, 0.5, 0.5,
         0, 0, {11, 0, 0, 0, 0, 0, 0, 0}},
        // The lobes give about -28 at column 6 and 283 at column 8.
        {"Lanczos overshoot clamped", INTER_LANCZOS | kAntialias, 16, 6,
         {0, 0, 0, 0, 0, 0, 0, 0, 255, 255, 255, 255, 255, 255, 255, 255}, 16, 1, 1, 1, 0, 0,
         {-1, -1, -1, -1, -1, -1, 0, -1, 255, -1, -1, -1, -1, -1, -1, -1}, 0, 1},
    });
}

// ---- Coefficients, filters and roundings ----

TEST(ResizeKernels, CoefficientsAndFiltersAtTheirKnots) {
    // At fraction 0 the distances are 1, 0, 1, 2. The cubic through four
    // samples keeps the rounding residue of its expression at d = 1.
    const float residue = float(1.1102230246251565e-16);
    const std::pair<int32_t, std::vector<float>> cubics[] = {
        {INTER_CUBIC, {residue, 1.0f, residue, 0.0f}},
        {INTER_CUBIC_BSPLINE, {float(1.0 / 6.0), float(2.0 / 3.0), float(1.0 / 6.0), 0.0f}},
        {INTER_CUBIC_CATMULLROM, {0.0f, 1.0f, 0.0f, 0.0f}},
        {INTER_CUBIC_B05C03, {float(1.0 / 12.0), float(0.8333333333333334), float(1.0 / 12.0), 0.0f}}};
    for (const auto& [id, expected] : cubics) {
        std::vector<float> c(4);
        cubicCoefficients(id, 0.0f, c.data());
        EXPECT_EQ(c, expected) << "id " << id;
    }
    std::vector<float> c(6);
    ownLanczosCoefficients(0.0f, c.data());
    EXPECT_EQ(c, (std::vector<float>{0, 0, 1, 0, 0, 0}));
    // The window as first shipped, to 1e-7.
    for (const auto& [i, value] : {std::pair{0, 1.0}, {1, 0.99981719}, {50, 0.60792708}, {100, 0.0},
                                   {101, -0.00815418}, {150, -0.13509491}, {200, 0.0}, {250, 0.024317089},
                                   {299, 0.00001118}, {300, 0.0}, {301, 0.0}})
        EXPECT_NEAR(ownLanczosTable[i], value, 1e-7) << "entry " << i;
    // The antialiasing filters, 0 at their reach.
    for (const auto& [id, d, value] : {std::tuple{INTER_LINEAR, 0.25, 0.75}, {INTER_CUBIC, 0.0, 1.0},
                                       {INTER_CUBIC_BSPLINE, 0.0, 2.0 / 3.0}, {INTER_CUBIC_CATMULLROM, 1.0, 0.0},
                                       {INTER_CUBIC_B05C03, 0.0, 5.0 / 6.0}, {INTER_LANCZOS, 0.0, 1.0}}) {
        EXPECT_EQ(antialiasFilter(id, d), value) << id;
        EXPECT_EQ(antialiasFilter(id, antialiasReach(id)), 0.0) << id;
    }
}

// The Lanczos blend adds the float32 nearest to 0.5000001 and truncates:
// halves go up, where the cubic blend takes them to even; it saturates.
TEST(ResizeKernels, LanczosBlendRoundsHalvesUp) {
    const std::vector<float> centre = {2.5f, 3.5f, -0.5f, -7.0f, 254.5f, 255.5f, 65534.5f, 70000.0f};
    const std::vector<float> zero(centre.size(), 0.0f);
    const float* rows[6] = {zero.data(), zero.data(), centre.data(), zero.data(), zero.data(), zero.data()};
    const float c[6] = {0, 0, 1, 0, 0, 0};
    std::vector<uint8_t> out8(8);
    std::vector<uint16_t> out16(8);
    lanczosBlend8uTable().scalar()(rows, c, out8.data(), 8);
    lanczosBlend16uTable().scalar()(rows, c, out16.data(), 8);
    EXPECT_EQ(out8, (std::vector<uint8_t>{3, 4, 0, 0, 255, 255, 255, 255}));
    EXPECT_EQ(out16, (std::vector<uint16_t>{3, 4, 0, 0, 255, 256, 65535, 65535}));
}

// A box ending behind the accumulator row: the reduction never reads past
// it. The third accumulator (NaN) lies outside the row of two columns.
TEST(ResizeKernels, SuperSamplingReadsNoColumnPastTheRow) {
    std::vector<float> acc{100.0f, 40.0f, std::numeric_limits<float>::quiet_NaN()};
    superReduceRow(acc.data(), 1, 2, 2, 1.25, 0.0, nullptr);
    EXPECT_EQ(acc[0], 110.0f);  // 100 + 40 * 0.25
    EXPECT_EQ(acc[1], 30.0f);   // 40 * 0.75; its remaining 0.5 isn't read
}

// ---- Random geometry ----

class ResizeRandomGeometry : public ::testing::TestWithParam<int32_t> {};

// Sizes from 1, so that small sources degrade to the simpler method.
TEST_P(ResizeRandomGeometry, MatchesTheModelAtBothSlots) {
    MORVA_SEED_TRACE();
    ResizeSettingsGuard restore;
    const int32_t interpolation = GetParam();
    const bool reduces = interpolation == INTER_SUPER;
    Rng rng{uint32_t(interpolation)};
    int written = 0;
    for (int n = 0; n < 150 && !HasFailure(); ++n) {
        RandomResize r = RandomResize::draw(rng, 40);
        if (n % 4 == 3 && !reduces && !(interpolation & kAntialias)) {
            // Factors from a millionth to a million, and far shifts or a
            // region that starts on or just beside a pixel centre: every read
            // stays inside the source (the sanitizer build watches).
            r.xFactor = std::pow(10.0, rng.real(-6.0, 6.0));
            r.yFactor = std::pow(10.0, rng.real(-6.0, 6.0));
            const bool centre = rng.uniform(0, 1);
            r.xShift = centre ? r.dstRoi.x - r.srcRoi.x * r.xFactor + 0.5 + rng.real(-1e-9, 1e-9) : rng.real(-1e6, 1e6);
            r.yShift = centre ? r.dstRoi.y - r.srcRoi.y * r.yFactor + 0.5 + rng.real(-1e-9, 1e-9) : r.yShift;
        }
        if (reduces) {
            // Reductions: 1, 2 and 3 give whole boxes of 2, 5 and 10.
            r.xFactor = 1 / (1 + r.xFactor * r.xFactor);
            r.yFactor = 1 / (1 + r.yFactor * r.yFactor);
        }
        const int32_t channels = n % 3 == 0 ? 1 : (n % 3 == 1 ? 3 : 4);
        written += n % 2 ? checkRandomResize<uint8_t>(r, channels, interpolation, rng)
                         : checkRandomResize<uint16_t>(r, channels, interpolation, rng);
    }
    EXPECT_GT(written, 50);
}

INSTANTIATE_TEST_SUITE_P(Ids, ResizeRandomGeometry,
                         ::testing::Values(INTER_NN, INTER_LINEAR, INTER_CUBIC, INTER_CUBIC_BSPLINE,
                                           INTER_CUBIC_CATMULLROM, INTER_CUBIC_B05C03, INTER_LANCZOS, INTER_SUPER,
                                           INTER_LINEAR | kAntialias, INTER_CUBIC | kAntialias,
                                           INTER_LANCZOS | kAntialias));

// Reductions whose parts are whole numbers of halves and quarters, on
// sources wide enough for many blocks of the whole-number path, most of them
// from a region corner on a sample: the bytes the model of the float32
// definition gives, at both slots.
TEST(ResizeKernels, SuperSamplingInWholeNumbersMatchesTheModel) {
    MORVA_SEED_TRACE();
    ResizeSettingsGuard restore;
    Rng rng{8};
    constexpr double kFactors[] = {0.5, 1 / 3.0, 0.25, 2 / 3.0, 0.8, 0.4};
    int planned = 0;
    for (int n = 0; n < 100 && !HasFailure(); ++n) {
        RandomResize r = RandomResize::draw(rng, 40);
        r.srcWidth = rng.uniform(1, 300);
        r.srcRoi = {0, 0, r.srcWidth, r.srcHeight};
        r.xFactor = kFactors[rng.uniform(0, 5)];
        r.yFactor = kFactors[rng.uniform(0, 5)];
        r.dstWidth = int32_t(r.srcWidth * r.xFactor) + rng.uniform(1, 4);
        r.dstRoi = {rng.uniform(0, 3) == 0, 0, r.dstWidth - 1, r.dstHeight};
        r.xShift = r.dstRoi.x + (rng.uniform(0, 3) == 0 ? 0.5 * r.xFactor : 0.0);
        r.yShift = rng.uniform(0, 3) == 0 ? 0.25 * r.yFactor : 0.0;
        const int32_t channels = n % 3 == 0 ? 1 : (n % 3 == 1 ? 3 : 4);
        checkRandomResize<uint8_t>(r, channels, INTER_SUPER, rng);
        ResizeGeometry g;
        SuperOpening opening;
        SuperBoxPlan plan;
        if (geometryOf({r.srcWidth, r.srcHeight}, r.srcRoi, r.dstRoi, r.xFactor, r.yFactor, r.xShift, r.yShift,
                       INTER_SUPER, g) != ippStsNoErr)
            continue;
        const ResizeArgs args = argsFromGeometry(g, {r.srcWidth, r.srcHeight}, channels);
        planned += openSuper(args, opening) && plan.make(args, opening);
    }
    EXPECT_GT(planned, 40);
}

// The antialiasing path reducing by whole factors on sources wide enough for
// many blocks: linear by 2 and 4 (whole-number weights), the cubics and
// Lanczos (one filter with a whole step), from regions on the grid and off it.
TEST(ResizeKernels, AntialiasingByWholeFactorsMatchesTheModel) {
    MORVA_SEED_TRACE();
    ResizeSettingsGuard restore;
    Rng rng{29};
    constexpr int32_t kIds[] = {INTER_LINEAR, INTER_CUBIC, INTER_CUBIC_BSPLINE, INTER_LANCZOS};
    constexpr double kFactors[] = {1.0, 0.5, 0.25, 1 / 3.0};
    for (int n = 0; n < 60 && !HasFailure(); ++n) {
        RandomResize r = RandomResize::draw(rng, 30);
        r.srcWidth = rng.uniform(1, 200);
        r.srcRoi = {0, rng.uniform(0, 3) == 0 ? rng.uniform(0, r.srcHeight - 1) : 0, r.srcWidth, r.srcHeight};
        r.xFactor = kFactors[rng.uniform(0, 3)];
        r.yFactor = kFactors[rng.uniform(0, 3)];
        r.dstWidth = int32_t(r.srcWidth * r.xFactor) + rng.uniform(1, 3);
        r.dstRoi = {0, 0, r.dstWidth, r.dstHeight};
        r.xShift = rng.uniform(0, 3) == 0 ? rng.real(-2.0, 2.0) : 0.0;
        r.yShift = 0.0;
        const int32_t channels = n % 3 == 0 ? 1 : (n % 3 == 1 ? 3 : 4);
        const int32_t id = kIds[rng.uniform(0, 3)] | kAntialias;
        if (n % 2)
            checkRandomResize<uint8_t>(r, channels, id, rng);
        else
            checkRandomResize<uint16_t>(r, channels, id, rng);
    }
}

}  // namespace
}  // namespace morva::testing
