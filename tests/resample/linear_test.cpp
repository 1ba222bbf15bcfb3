// Linear: exactness at factor 1, the different roundings of rim and
// interior, degenerate sources, negative steps, every vector form of the row
// kernels and blends against the scalar definitions, and whole resizes
// against the per-pixel model.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "common/testing.h"
#include "resample/linear.h"
#include "resize_test_util.h"

namespace morva::testing {
namespace {

template <class T>
std::vector<uint8_t> workBuffer(IppiRect srcRoi, IppiRect dstRoi, int32_t channels) {
    return std::vector<uint8_t>(size_t(bufferSize(srcRoi, dstRoi, channels, INTER_LINEAR)));
}

template <class T>
void checkIdentity(int32_t channels) {
    SCOPED_TRACE("channels " + std::to_string(channels) + " bytes " + std::to_string(sizeof(T)));
    Rng rng{uint32_t(channels)};
    Plane<T> src = makePlane<T>(13, 9, channels, 3);
    fillRandom(src, rng);
    Plane<T> dst = makePlane<T>(13, 9, channels, 3);
    const IppiRect all{0, 0, 13, 9};
    auto buffer = workBuffer<T>(all, all, channels);
    ASSERT_EQ(runResize(src, all, dst, all, 1.0, 1.0, 0.0, 0.0, INTER_LINEAR, buffer.data()), ippStsNoErr);
    EXPECT_EQ(pixels(dst), pixels(src));
}

// Every position is whole and every fraction 0; the last row and column go
// to the rim with both taps on the edge pixel: the source comes back exactly.
TEST(Linear, FactorOneReproducesTheSource) {
    for (int32_t channels : {1, 3, 4}) {
        checkIdentity<uint8_t>(channels);
        checkIdentity<uint16_t>(channels);
    }
}

// Source rows all alike, columns 0 and 1; the target column 1 has the same
// fraction across in a rim row (row 0, above the source) and an interior row
// (row 1). The rim rounds once, the interior twice: one level apart.
template <class T>
void checkRimAgainstInterior(double xShift, const char* what) {
    SCOPED_TRACE(what);
    Plane<T> src = makePlane<T>(2, 4, 1);
    for (int32_t y = 0; y < 4; ++y) src.at(1, y, 0) = 1;
    Plane<T> dst = makePlane<T>(4, 6, 1);
    const IppiRect srcRoi{0, 0, 2, 4}, dstRoi{0, 0, 4, 6};
    auto buffer = workBuffer<T>(srcRoi, dstRoi, 1);
    ASSERT_EQ(runResize(src, srcRoi, dst, dstRoi, 1.0, 1.0, xShift, 0.5, INTER_LINEAR, buffer.data()),
              ippStsNoErr);
    EXPECT_EQ(dst.at(1, 0, 0), 0) << "rim";
    EXPECT_EQ(dst.at(1, 1, 0), 1) << "interior";
}

TEST(Linear, RimAndInteriorRoundDifferently) {
    // 8u: fraction 8100 / 16384. Rim (8100 + 8192) >> 14 = 0; interior
    // (8100 + 128) >> 8 = 32, then (32 * 16384 + 524288) >> 20 = 1.
    checkRimAgainstInterior<uint8_t>(1.0 - 8100.5 / 16384.0, "8u");
    // 16u: fraction 0.5 - 2^-23. Rim + 0.5000001 in float64 stays below 1;
    // interior + 0.5 + 2^-23 in float32 reaches 1 exactly.
    checkRimAgainstInterior<uint16_t>(0.5 + 0x1p-23, "16u");
}

TEST(Linear, OnePixelWideSourceGoesThroughTheRim) {
    Plane<uint8_t> src = makePlane<uint8_t>(1, 5, 1);
    for (int32_t y = 0; y < 5; ++y) src.at(0, y, 0) = uint8_t(40 * y + 3);
    Plane<uint8_t> dst = makePlane<uint8_t>(4, 10, 1);
    Plane<uint8_t> expected = dst;
    const IppiRect srcRoi{0, 0, 1, 5}, dstRoi{0, 0, 4, 10};
    auto buffer = workBuffer<uint8_t>(srcRoi, dstRoi, 1);
    ASSERT_EQ(runResize(src, srcRoi, dst, dstRoi, 4.0, 2.0, 0.0, 0.0, INTER_LINEAR, buffer.data()), ippStsNoErr);
    ResizeGeometry g;
    ASSERT_EQ(ownResizeCheck(src.samples.data(), {1, 5}, srcRoi, dst.samples.data(), dstRoi, 4.0, 2.0, 0.0,
                             0.0, INTER_LINEAR, buffer.data(), &g),
              ippStsNoErr);
    referenceLinear(src, g, expected);
    EXPECT_EQ(dst.samples, expected.samples);
}

TEST(Linear, OnePixelSourceGivesAFlatTarget) {
    Plane<uint16_t> src = makePlane<uint16_t>(1, 1, 3);
    src.samples = {65535, 0, 1234};
    Plane<uint16_t> dst = makePlane<uint16_t>(7, 5, 3);
    const IppiRect srcRoi{0, 0, 1, 1}, dstRoi{0, 0, 7, 5};
    auto buffer = workBuffer<uint16_t>(srcRoi, dstRoi, 3);
    ASSERT_EQ(runResize(src, srcRoi, dst, dstRoi, 7.0, 5.0, 0.0, 0.0, INTER_LINEAR, buffer.data()), ippStsNoErr);
    for (int32_t y = 0; y < 5; ++y)
        for (int32_t x = 0; x < 7; ++x)
            for (int32_t c = 0; c < 3; ++c) ASSERT_EQ(dst.at(x, y, c), src.samples[size_t(c)]);
}

// The same picture stored bottom row first and read with a negative step
// gives the same target, whether the row cache steps up or down.
template <class T>
void checkNegativeStep(int32_t channels, double xFactor, double yFactor) {
    SCOPED_TRACE("channels " + std::to_string(channels) + " factors " + std::to_string(xFactor) +
                 " " + std::to_string(yFactor));
    Rng rng(7);
    Plane<T> src = makePlane<T>(11, 9, channels, 2);
    fillRandom(src, rng);
    Plane<T> upsideDown = src;
    for (int32_t y = 0; y < src.height; ++y)
        std::memcpy(upsideDown.row(src.height - 1 - y), src.row(y), sizeof(T) * size_t(src.step));
    Plane<T> expected = makePlane<T>(17, 23, channels);
    Plane<T> actual = expected;
    const IppiRect srcRoi{0, 0, 11, 9}, dstRoi{0, 0, 17, 23};
    auto buffer = workBuffer<T>(srcRoi, dstRoi, channels);
    ASSERT_EQ(runResize(src, srcRoi, expected, dstRoi, xFactor, yFactor, 0.0, 0.0, INTER_LINEAR, buffer.data()),
              ippStsNoErr);
    ASSERT_EQ(runResize(src, srcRoi, actual, dstRoi, xFactor, yFactor, 0.0, 0.0, INTER_LINEAR, buffer.data(),
                        upsideDown.row(src.height - 1), -src.step),
              ippStsNoErr);
    EXPECT_EQ(actual.samples, expected.samples);
}

TEST(Linear, NegativeSourceStepGivesTheSameTarget) {
    for (double yFactor : {0.4, 1.0, 2.5}) {
        checkNegativeStep<uint8_t>(3, 1.5, yFactor);
        checkNegativeStep<uint16_t>(1, 0.7, yFactor);
    }
}

TEST(LinearKernels, FullWhiteStaysWhite) {
    const uint8_t white[8] = {255, 255, 255, 255, 255, 255, 255, 255};
    const int32_t columns[1] = {0};
    const int16_t weights[2] = {16384 - 5000, 5000};
    int16_t across[4] = {};
    linearRow8uTable(4).scalar()(white, columns, weights, across, 1);
    for (int16_t v : across) EXPECT_EQ(v, 16320);
    uint8_t out[4] = {};
    linearBlend8uTable().scalar()(across, across, out, 4, 9000);
    for (uint8_t v : out) EXPECT_EQ(v, 255);
}

// ---- Forms suites ------------------------------------------------------------

// Random interior columns (both taps inside the row, the last pair too) and
// weights from 0 to the whole; rows unaligned; output margins untouched.
template <class Fn, class T, class Weight, class Out>
void checkRowForms(const KernelTable<Fn>& table, int32_t channels, Weight (*drawWeights)(Rng&, std::vector<Weight>&, int32_t)) {
    MORVA_SEED_TRACE();
    Rng rng(uint32_t(channels * 13 + sizeof(T)));
    forEachVectorForm(table, [&](const KernelForm<Fn>& form) {
        for (int32_t width : testWidths()) {
            const int32_t srcWidth = rng.uniform(2, 300);
            std::vector<int32_t> columns(static_cast<size_t>(width));
            for (int32_t& c : columns) c = rng.uniform(0, srcWidth - 2) * channels;
            columns.back() = (srcWidth - 2) * channels;
            std::vector<Weight> weights;
            drawWeights(rng, weights, width);
            GuardedBuffer src(size_t(srcWidth) * channels * sizeof(T), sampleOffset<T>(rng));
            rng.fillWithExtremes(src.data(), src.size());
            const size_t outBytes = size_t(width) * channels * sizeof(Out);
            GuardedBuffer expected(outBytes), actual(outBytes, sampleOffset<Out>(rng));
            const T* s = reinterpret_cast<const T*>(src.data());
            table.scalar()(s, columns.data(), weights.data(), reinterpret_cast<Out*>(expected.data()), width);
            form.fn(s, columns.data(), weights.data(), reinterpret_cast<Out*>(actual.data()), width);
            ASSERT_EQ(actual.bytes(), expected.bytes()) << "width " << width;
            ASSERT_TRUE(actual.marginsIntact()) << "width " << width;
        }
    });
}

int16_t drawPairs(Rng& rng, std::vector<int16_t>& w, int32_t width) {
    for (int32_t j = 0; j < width; ++j) {
        const int32_t f = rng.uniform(0, 3) == 0 ? (rng.uniform(0, 1) ? 0 : 16384) : rng.uniform(0, 16384);
        w.push_back(int16_t(16384 - f));
        w.push_back(int16_t(f));
    }
    return 0;
}

float drawFractions(Rng& rng, std::vector<float>& w, int32_t width) {
    for (int32_t j = 0; j < width; ++j) w.push_back(rng.uniform(0, 7) == 0 ? 0.0f : float(rng.real(0.0, 1.0)));
    return 0;
}

TEST(LinearForms, RowInterpolationMatchesScalar) {
    for (int32_t channels : {1, 3, 4}) {
        SCOPED_TRACE("channels " + std::to_string(channels));
        checkRowForms<LinearRow8uFn, uint8_t, int16_t, int16_t>(linearRow8uTable(channels), channels, &drawPairs);
        checkRowForms<LinearRow16uFn, uint16_t, float, float>(linearRow16uTable(channels), channels, &drawFractions);
    }
}

template <class Fn, class In, class Out, class Fraction>
void checkBlendForms(const KernelTable<Fn>& table, In (*draw)(Rng&), Fraction (*drawFraction)(Rng&)) {
    MORVA_SEED_TRACE();
    Rng rng(uint32_t(sizeof(In) * 5 + sizeof(Out)));
    forEachVectorForm(table, [&](const KernelForm<Fn>& form) {
        for (int32_t count : testWidths(140)) {
            std::vector<In> a(static_cast<size_t>(count)), b(static_cast<size_t>(count));
            for (In& v : a) v = draw(rng);
            for (In& v : b) v = draw(rng);
            const Fraction fraction = drawFraction(rng);
            const size_t outBytes = size_t(count) * sizeof(Out);
            GuardedBuffer expected(outBytes), actual(outBytes, sampleOffset<Out>(rng));
            table.scalar()(a.data(), b.data(), reinterpret_cast<Out*>(expected.data()), count, fraction);
            form.fn(a.data(), b.data(), reinterpret_cast<Out*>(actual.data()), count, fraction);
            ASSERT_EQ(actual.bytes(), expected.bytes()) << "count " << count;
            ASSERT_TRUE(actual.marginsIntact()) << "count " << count;
        }
    });
}

TEST(LinearForms, BlendMatchesScalar) {
    checkBlendForms<LinearBlend8uFn, int16_t, uint8_t, int32_t>(
        linearBlend8uTable(),
        [](Rng& rng) { return int16_t(rng.uniform(0, 2) == 0 ? (rng.uniform(0, 1) ? 0 : 16320) : rng.uniform(0, 16320)); },
        [](Rng& rng) { return rng.uniform(0, 2) == 0 ? (rng.uniform(0, 1) ? 0 : 16384) : rng.uniform(0, 16384); });
    checkBlendForms<LinearBlend16uFn, float, uint16_t, float>(
        linearBlend16uTable(),
        [](Rng& rng) {
            // Whole values, halves (where the rounding constant decides) and the extremes.
            switch (rng.uniform(0, 3)) {
            case 0: return float(rng.uniform(0, 1) ? 0 : 65535);
            case 1: return float(rng.uniform(0, 65534)) + 0.5f;
            default: return float(rng.real(0.0, 65535.0));
            }
        },
        [](Rng& rng) { return rng.uniform(0, 3) == 0 ? 0.0f : float(rng.real(0.0, 1.0)); });
}

// ---- Whole resizes ---------------------------------------------------------------

TEST(LinearResize, RandomGeometryMatchesModel) {
    MORVA_SEED_TRACE();
    ResizeSettingsGuard restore;
    Rng rng(202);
    for (int slot : {0, highestCpuSlot()}) {
        setCpuSlot(slot);
        SCOPED_TRACE("slot " + std::to_string(slot));
        int written = 0;
        for (int n = 0; n < 150 && !::testing::Test::HasFailure(); ++n) {
            const RandomResize r = RandomResize::draw(rng);
            constexpr int32_t kChannels[] = {1, 3, 4};
            const int32_t channels = kChannels[n % 3];
            written += n % 2 ? checkRandomResize<uint8_t>(r, channels, INTER_LINEAR, rng)
                             : checkRandomResize<uint16_t>(r, channels, INTER_LINEAR, rng);
        }
        EXPECT_GT(written, 75);
    }
}

}  // namespace
}  // namespace morva::testing
