// Super-sampling: worked boxes in both forms, starts left of and inside a
// sample, the 32-bit wrap of whole sums, refused factors, every vector form
// of the row kernels against the scalar definition, and random geometry at
// every processor slot.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

#include "common/testing.h"
#include "morva.h"
#include "resample/resize_driver.h"
#include "resample/super_sampling.h"
#include "resize_path_testing.h"

namespace morva::testing {
namespace {

// ---- Worked boxes ------------------------------------------------------------------

template <class T>
void checkExactHalving(int32_t channels) {
    SCOPED_TRACE("channels " + std::to_string(channels) + " bytes " + std::to_string(sizeof(T)));
    Rng rng(uint32_t(40 + channels));
    Plane<T> src = makePlane<T>(10, 6, channels, 2);
    fillRandom(src, rng);
    Plane<T> dst = makePlane<T>(5, 3, channels);
    const PathRun run = resizeGuarded(src, wholeOf(src), dst, wholeOf(dst), 0.5, 0.5, 0.0, 0.0, INTER_SUPER);
    ASSERT_EQ(run.status, ippStsNoErr);
    for (int32_t y = 0; y < 3; ++y)
        for (int32_t x = 0; x < 5; ++x)
            for (int32_t c = 0; c < channels; ++c) {
                const int64_t sum = int64_t(src.at(2 * x, 2 * y, c)) + src.at(2 * x + 1, 2 * y, c) +
                                    src.at(2 * x, 2 * y + 1, c) + src.at(2 * x + 1, 2 * y + 1, c);
                ASSERT_EQ(dst.at(x, y, c), T(std::trunc(double(sum) * 0.25 + 0.5))) << x << "," << y;
            }
}

TEST(SuperSampling, ExactHalvingIsTheRoundedMeanOfFour) {
    for (int32_t channels : {1, 3, 4}) {
        checkExactHalving<uint8_t>(channels);
        checkExactHalving<uint16_t>(channels);
    }
}

// 257 x 257 samples of 65535 sum to 4328521215: the whole form's unsigned
// 32-bit sum wraps to 33553919, whose mean is 508.
TEST(SuperSampling, WholeSumsOfSixteenBitsWrapAt32Bits) {
    const Plane<uint16_t> src = flatPlane<uint16_t>(257, 257, 1, 65535);
    Plane<uint16_t> dst = makePlane<uint16_t>(1, 1, 1);
    const double f = 1.0 / 257.0;
    ASSERT_EQ(resizeGuarded(src, wholeOf(src), dst, wholeOf(dst), f, f, 0.0, 0.0, INTER_SUPER).status,
              ippStsNoErr);
    EXPECT_EQ(dst.at(0, 0, 0), 508);
}

// Two equal rows of 10, 20 .. 60 reduced by 1.5 across and 2 down: target
// columns take sample 0 and half of 1, half of 1 and 2, 3 and half of 4...
TEST(SuperSampling, ReductionByOneAndAHalfSharesTheMiddleSample) {
    Plane<uint8_t> src = makePlane<uint8_t>(6, 2, 1);
    for (int32_t y = 0; y < 2; ++y)
        for (int32_t x = 0; x < 6; ++x) src.at(x, y, 0) = uint8_t(10 * (x + 1));
    Plane<uint8_t> dst = makePlane<uint8_t>(4, 1, 1);
    ASSERT_EQ(resizeGuarded(src, wholeOf(src), dst, wholeOf(dst), 2.0 / 3.0, 0.5, 0.0, 0.0, INTER_SUPER).status,
              ippStsNoErr);
    // (10 + 10) / 1.5 = 13.3, (10 + 30) / 1.5 = 26.7, (40 + 25) / 1.5, (25 + 60) / 1.5.
    EXPECT_EQ(pixels(dst), (std::vector<uint8_t>{13, 27, 43, 57}));
}

// Whole across but not down: the float accumulators serve both directions.
// Rows of 30, 60, 90, 120; each target row covers 4/3 of them.
TEST(SuperSampling, HalfAcrossThreeQuartersDown) {
    Plane<uint8_t> src = makePlane<uint8_t>(4, 4, 1);
    for (int32_t y = 0; y < 4; ++y)
        for (int32_t x = 0; x < 4; ++x) src.at(x, y, 0) = uint8_t(30 * (y + 1));
    Plane<uint8_t> dst = makePlane<uint8_t>(2, 3, 1);
    ASSERT_EQ(resizeGuarded(src, wholeOf(src), dst, wholeOf(dst), 0.5, 0.75, 0.0, 0.0, INTER_SUPER).status,
              ippStsNoErr);
    // (30 + 60 / 3) * 3 / 4 = 37.5 -> 38, (40 + 60) * 3 / 4 = 75, (30 + 120) * 3 / 4 = 112.5 -> 113.
    EXPECT_EQ(pixels(dst), (std::vector<uint8_t>{38, 38, 75, 75, 113, 113}));
}

// Shift 0.6 at factor 0.5: target column 1 starts at source position 0.8,
// so it takes 0.2 of column 0, column 1, 0.8 of column 2. Exact factors,
// yet the fraction makes the form fractional.
TEST(SuperSampling, StartInsideASampleTakesItsCover) {
    Plane<uint8_t> src = makePlane<uint8_t>(6, 2, 1);
    for (int32_t y = 0; y < 2; ++y) {
        src.at(0, y, 0) = 250;
        src.at(2, y, 0) = 100;
    }
    Plane<uint8_t> dst = flatPlane<uint8_t>(4, 1, 1, 7);
    ASSERT_EQ(resizeGuarded(src, wholeOf(src), dst, wholeOf(dst), 0.5, 0.5, 0.6, 0.0, INTER_SUPER).status,
              ippStsNoErr);
    EXPECT_EQ(dst.at(0, 0, 0), 7) << "the target starts at column 1";
    EXPECT_EQ(dst.at(1, 0, 0), 65);  // (250 * 0.2 + 100 * 0.8) / 2 = 65
}

// Shift 0.3 at factor 0.5: target column 0 (centre inside the image) starts
// at source position -0.6. The part left of the image counts as column 0.
TEST(SuperSampling, TargetStartingLeftOfTheImageRepeatsColumnZero) {
    Plane<uint8_t> src = makePlane<uint8_t>(6, 2, 1);
    for (int32_t y = 0; y < 2; ++y) {
        src.at(0, y, 0) = 100;
        src.at(1, y, 0) = 200;
    }
    Plane<uint8_t> dst = makePlane<uint8_t>(4, 1, 1);
    ASSERT_EQ(resizeGuarded(src, wholeOf(src), dst, wholeOf(dst), 0.5, 0.5, 0.3, 0.0, INTER_SUPER).status,
              ippStsNoErr);
    EXPECT_EQ(dst.at(0, 0, 0), 120);  // (100 * 1.6 + 200 * 0.4) / 2
}

// A box ending behind the accumulator row: the reduction never reads past
// it. The third accumulator (NaN) lies outside the row of two columns.
TEST(SuperSampling, LastColumnsRemainderIsNotRead) {
    std::vector<float> acc{100.0f, 40.0f, std::numeric_limits<float>::quiet_NaN()};
    superReduceRow(acc.data(), 1, 2, 2, 1.25, 0.0, nullptr);
    EXPECT_EQ(acc[0], 110.0f);  // 100 + 40 * 0.25
    EXPECT_EQ(acc[1], 30.0f);   // 40 * 0.75; its remaining 0.5 isn't read
}

// ---- Statuses --------------------------------------------------------------------------

TEST(SuperSampling, FactorsAtOrAboveOneAreRefusedWhole) {
    const Plane<uint8_t> src = flatPlane<uint8_t>(8, 8, 1, 200);
    for (const auto& [xFactor, yFactor] : {std::pair{1.0, 0.5}, {0.5, 1.0}, {1.5, 0.5}, {1.0, 1.0}}) {
        SCOPED_TRACE(std::to_string(xFactor) + " x " + std::to_string(yFactor));
        Plane<uint8_t> dst = flatPlane<uint8_t>(8, 8, 1, 3);
        const Plane<uint8_t> before = dst;
        std::vector<uint8_t> buffer(4096);
        EXPECT_EQ(runResize(src, wholeOf(src), dst, wholeOf(dst), xFactor, yFactor, 0.0, 0.0, INTER_SUPER,
                            buffer.data()),
                  ippStsResizeFactorErr);
        EXPECT_EQ(dst.samples, before.samples);
    }
}

// Nearest neighbour and super-sampling have no antialiasing variant: with
// the flag they resample as without it and warn.
TEST(SuperSampling, AntialiasingFlagWithoutVariantResamplesWithoutItAndWarns) {
    Rng rng(5);
    Plane<uint16_t> src = makePlane<uint16_t>(15, 9, 3);
    fillRandom(src, rng);
    for (int32_t id : {INTER_NN, INTER_SUPER}) {
        SCOPED_TRACE("id " + std::to_string(id));
        Plane<uint16_t> plain = makePlane<uint16_t>(7, 5, 3);
        Plane<uint16_t> flagged = plain;
        ASSERT_EQ(resizeGuarded(src, wholeOf(src), plain, wholeOf(plain), 0.45, 0.5, 0.0, 0.0, id).status, ippStsNoErr);
        EXPECT_EQ(resizeGuarded(src, wholeOf(src), flagged, wholeOf(flagged), 0.45, 0.5, 0.0, 0.0, id | RESIZE_ANTIALIASING)
                      .status,
                  ippStsNoAntialiasing);
        EXPECT_EQ(flagged.samples, plain.samples);
    }
}

struct FreeImage {
    void operator()(TImage* image) const { morvaFreeImage(image); }
};
using Image = std::unique_ptr<TImage, FreeImage>;

// Through the plane driver: a region of one pixel at (24, 24) and factors of
// 0.02 give one target pixel whose box is the 50 x 50 samples from the
// image's corner, far wider than the region the size query counts. The
// driver's buffer must hold them (a sanitizer build reports any write past
// it), and the result is the kernel's.
TEST(SuperSamplingDriver, BoxWiderThanTheRegion) {
    const Image src(morvaAllocateImage("source", 100, -100, FORMAT_GRAY8, nullptr, 0));
    const Image dst(morvaAllocateImage("target", 4, -4, FORMAT_GRAY8, nullptr, 0));
    ASSERT_TRUE(src && dst);
    const PlaneEntry& in = src->planeInfo->planes[0];
    Rng rng(616);
    rng.fill(in.data, size_t(in.stride) * in.height);
    const IppiRect srcRect{24, 24, 1, 1}, dstRect{0, 0, 4, 4};
    ASSERT_TRUE(resizeImageInternal(src.get(), srcRect, dst.get(), dstRect, INTER_SUPER, 0.02, 0.02));

    Plane<uint8_t> source = makePlane<uint8_t>(in.width, in.height, 1, in.stride - in.width);
    std::memcpy(source.samples.data(), in.data, source.samples.size());
    Plane<uint8_t> expected = makePlane<uint8_t>(4, 4, 1);
    ASSERT_EQ(resizeGuarded(source, srcRect, expected, dstRect, 0.02, 0.02, 0.0, 0.0, INTER_SUPER).status,
              ippStsNoErr);
    EXPECT_NE(expected.at(0, 0, 0), 0);
    const PlaneEntry& out = dst->planeInfo->planes[0];
    for (int32_t y = 0; y < 4; ++y)
        for (int32_t x = 0; x < 4; ++x) EXPECT_EQ(out.data[y * out.stride + x], expected.at(x, y, 0)) << x << "," << y;
}

// ---- Forms ---------------------------------------------------------------------------------

template <class T>
std::vector<T> randomSamples(Rng& rng, int32_t count) {
    std::vector<T> v(static_cast<size_t>(count));
    for (T& s : v) {
        const uint32_t r = rng.next();
        s = (r & 7) == 0 ? T(0) : ((r & 7) == 1 ? T(~T(0)) : T(r >> 8));
    }
    return v;
}

double drawWeight(Rng& rng) {
    switch (rng.uniform(0, 3)) {
    case 0: return 1.0;
    case 1: return rng.real(0.0, 2e-7);
    default: return rng.real(0.0, 1.0 + 1e-7);
    }
}

template <class T>
void checkAddForms() {
    MORVA_SEED_TRACE();
    Rng rng(uint32_t(11 * sizeof(T)));
    forEachVectorForm(superAddRowTable<T>(), [&](const KernelForm<SuperAddRowFn<T>>& form) {
        for (int32_t count : testWidths()) {
            const std::vector<T> src = randomSamples<T>(rng, count);
            std::vector<float> start(static_cast<size_t>(count));
            for (float& a : start) a = float(rng.real(0.0, 1e6));
            const double weight = drawWeight(rng);
            const size_t bytes = sizeof(float) * size_t(count);
            GuardedBuffer expected(bytes), actual(bytes, 4 * size_t(rng.uniform(0, 15)));
            std::memcpy(expected.data(), start.data(), bytes);
            std::memcpy(actual.data(), start.data(), bytes);
            superAddRowTable<T>().scalar()(src.data(), reinterpret_cast<float*>(expected.data()), count,
                                           weight);
            form.fn(src.data(), reinterpret_cast<float*>(actual.data()), count, weight);
            ASSERT_EQ(actual.bytes(), expected.bytes()) << "count " << count << " weight " << weight;
            ASSERT_TRUE(actual.marginsIntact()) << "count " << count;
        }
    });
    forEachVectorForm(superAddRowWholeTable<T>(), [&](const KernelForm<SuperAddRowWholeFn<T>>& form) {
        for (int32_t count : testWidths()) {
            const std::vector<T> src = randomSamples<T>(rng, count);
            const size_t bytes = sizeof(uint32_t) * size_t(count);
            GuardedBuffer expected(bytes), actual(bytes, 4 * size_t(rng.uniform(0, 15)));
            rng.fillWithExtremes(expected.data(), bytes);  // sums that wrap
            std::memcpy(actual.data(), expected.data(), bytes);
            superAddRowWholeTable<T>().scalar()(src.data(), reinterpret_cast<uint32_t*>(expected.data()),
                                                count);
            form.fn(src.data(), reinterpret_cast<uint32_t*>(actual.data()), count);
            ASSERT_EQ(actual.bytes(), expected.bytes()) << "count " << count;
            ASSERT_TRUE(actual.marginsIntact()) << "count " << count;
        }
    });
}

TEST(SuperSamplingForms, RowAdditionMatchesScalar) {
    checkAddForms<uint8_t>();
    checkAddForms<uint16_t>();
}

// Accumulators whose scaled value lies on a half, near one, beyond the
// 32-bit range, or is not a number; the store keeps the low bits.
float drawFloatAccumulator(Rng& rng, double factorProduct) {
    switch (rng.uniform(0, 5)) {
    case 0: return float((rng.uniform(0, 70000) + 0.5) / factorProduct);
    case 1: return float(rng.uniform(0, 70000) / factorProduct);
    case 2: return float(rng.real(2.2e9, 1e12) / factorProduct);
    case 3:
        return rng.uniform(0, 1) ? std::numeric_limits<float>::quiet_NaN()
                                 : std::numeric_limits<float>::infinity();
    default: return float(rng.real(0.0, 70000.0 / factorProduct));
    }
}

uint32_t drawWholeAccumulator(Rng& rng, double factorProduct) {
    switch (rng.uniform(0, 2)) {
    case 0: return uint32_t(std::min((rng.uniform(0, 70000) + 0.5) / factorProduct, 4294967295.0));
    case 1: return rng.next();
    default: return 0xFFFFFFFFu - uint32_t(rng.uniform(0, 3));
    }
}

template <class T, class Acc, class Draw>
void checkStoreForms(Draw draw) {
    MORVA_SEED_TRACE();
    Rng rng(uint32_t(23 * sizeof(T) + sizeof(Acc)));
    forEachVectorForm(superStoreRowTable<T, Acc>(), [&](const KernelForm<SuperStoreRowFn<T, Acc>>& form) {
        for (int32_t count : testWidths()) {
            const double factorProduct = rng.uniform(0, 2) == 0 ? 0.25 : rng.real(1e-4, 1.0);
            std::vector<Acc> acc(static_cast<size_t>(count));
            for (Acc& a : acc) a = draw(rng, factorProduct);
            const size_t bytes = sizeof(T) * size_t(count);
            GuardedBuffer expected(bytes), actual(bytes, sampleOffset<T>(rng));
            superStoreRowTable<T, Acc>().scalar()(acc.data(), reinterpret_cast<T*>(expected.data()), count,
                                                  factorProduct);
            form.fn(acc.data(), reinterpret_cast<T*>(actual.data()), count, factorProduct);
            ASSERT_EQ(actual.bytes(), expected.bytes()) << "count " << count;
            ASSERT_TRUE(actual.marginsIntact()) << "count " << count;
        }
    });
}

// Accumulators of exponents far apart, so that float32 sums round and their
// order shows; random boxes, covers and row lengths. Each form reduces the
// row in place from one schedule; rows walked in chunks without a schedule
// give the same.
float drawSpreadAccumulator(Rng& rng) {
    return rng.uniform(0, 5) == 0 ? 0.0f : float(std::ldexp(rng.real(0.0, 1.0), rng.uniform(-20, 30)));
}

TEST(SuperSamplingForms, ReductionAcrossMatchesScalar) {
    MORVA_SEED_TRACE();
    Rng rng(515);
    for (int32_t channels : {1, 3, 4}) {
        SCOPED_TRACE("channels " + std::to_string(channels));
        const auto& table = superReduceFractionalTable(channels);
        for (int n = 0; n < 60; ++n) {
            const double scale = rng.uniform(0, 3) == 0 ? double(rng.uniform(1, 5)) + rng.real(0.0, 2e-7)
                                                         : rng.real(1.0, 9.0);
            const double cover = rng.uniform(0, 2) == 0 ? 0.0 : rng.real(0.0, 1.0);
            const int32_t width = rng.uniform(1, 300);
            const int32_t columns = int32_t(std::ceil(width * scale + cover)) + rng.uniform(-1, 2);
            std::vector<float> row(size_t(std::max(columns, 1)) * channels);
            for (float& v : row) v = drawSpreadAccumulator(rng);
            std::vector<SuperColumn> schedule(static_cast<size_t>(width));
            superColumnSchedule(scale, cover, columns, width, schedule.data());
            std::vector<float> expected = row;
            table.scalar()(expected.data(), schedule.data(), 0, width);
            forEachVectorForm(table, [&](const KernelForm<SuperReduceFractionalFn>& form) {
                std::vector<float> actual = row;
                form.fn(actual.data(), schedule.data(), 0, width);
                ASSERT_EQ(actual, expected) << "scale " << scale << " width " << width;
            });
            std::vector<float> walked = row;
            superReduceRow(walked.data(), channels, columns, width, scale, cover, nullptr);
            ASSERT_EQ(walked, expected) << "scale " << scale << " width " << width;
        }
    }
}

TEST(SuperSamplingForms, WholeReductionAcrossMatchesScalar) {
    MORVA_SEED_TRACE();
    Rng rng(525);
    for (int32_t channels : {1, 3, 4}) {
        SCOPED_TRACE("channels " + std::to_string(channels));
        const auto& table = superReduceWholeTable(channels);
        forEachVectorForm(table, [&](const KernelForm<SuperReduceWholeFn>& form) {
            for (int32_t width : testWidths()) {
                const int32_t run = rng.uniform(0, 1) ? 2 : rng.uniform(1, 6);
                std::vector<uint32_t> row(size_t(width) * run * channels +
                                          size_t(rng.uniform(0, 3)) * channels);
                for (uint32_t& v : row) v = rng.next();
                std::vector<uint32_t> expected = row, actual = row;
                table.scalar()(expected.data(), width, run);
                form.fn(actual.data(), width, run);
                ASSERT_EQ(actual, expected) << "width " << width << " run " << run;
            }
        });
    }
}

TEST(SuperSamplingForms, ConversionMatchesScalar) {
    checkStoreForms<uint8_t, float>(&drawFloatAccumulator);
    checkStoreForms<uint16_t, float>(&drawFloatAccumulator);
    checkStoreForms<uint8_t, uint32_t>(&drawWholeAccumulator);
    checkStoreForms<uint16_t, uint32_t>(&drawWholeAccumulator);
}

// ---- Random geometry --------------------------------------------------------------------

// Reductions of random geometry: factors below 1, exact ones (the whole
// form from aligned starts) now and then.
RandomResize drawReduction(Rng& rng) {
    RandomResize r = RandomResize::draw(rng, 40);
    const double exact[] = {0.5, 1.0 / 3.0, 0.25, 0.2};
    if (rng.uniform(0, 2) == 0) {
        r.xFactor = exact[rng.uniform(0, 3)];
        r.yFactor = exact[rng.uniform(0, 3)];
        r.xShift = r.dstRoi.x;
        r.yShift = r.dstRoi.y;
    } else {
        r.xFactor = rng.real(0.06, 0.999);
        r.yFactor = rng.real(0.06, 0.999);
    }
    return r;
}

TEST(SuperSamplingResize, RandomGeometryAtEverySlot) {
    MORVA_SEED_TRACE();
    ResizeSettingsGuard restore;
    Rng rng(808);
    int written = 0;
    for (int n = 0; n < 240 && !::testing::Test::HasFailure(); ++n) {
        const RandomResize r = drawReduction(rng);
        constexpr int32_t kChannels[] = {1, 3, 4};
        const int32_t channels = kChannels[n % 3];
        written += n % 2 ? checkRandomPath<uint8_t>(r, channels, INTER_SUPER, rng)
                         : checkRandomPath<uint16_t>(r, channels, INTER_SUPER, rng);
    }
    EXPECT_GT(written, 120);
}

}  // namespace
}  // namespace morva::testing
