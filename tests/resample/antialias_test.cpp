// The antialiasing path: the half-sample position, the stretched filter and
// its slot counts, clamped taps at the image's edges, the clamp of
// overshoots, a region lower than the image, the flag with nearest
// neighbour, every vector form of the pass kernels against the scalar
// definition, and random geometry at every processor slot.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

#include "common/testing.h"
#include "morva.h"
#include "resample/antialias.h"
#include "resample/resize_driver.h"
#include "resize_path_testing.h"

namespace morva::testing {
namespace {

constexpr int32_t kAntialiasIds[] = {INTER_LINEAR, INTER_CUBIC, INTER_CUBIC_BSPLINE, INTER_CUBIC_CATMULLROM,
                                     INTER_CUBIC_B05C03, INTER_LANCZOS};

// ---- Worked cases ----------------------------------------------------------------

// Target x lies at source position x + 0.5, between samples x and x + 1,
// both weighing 0.5: each target sample is the mean of four, rounded half up,
// and the last column and row repeat the edge.
template <class T>
void checkMeanOfNeighbours(int32_t channels) {
    SCOPED_TRACE("channels " + std::to_string(channels) + " bytes " + std::to_string(sizeof(T)));
    Rng rng(uint32_t(70 + channels));
    Plane<T> src = makePlane<T>(11, 7, channels, 3);
    fillRandom(src, rng);
    Plane<T> dst = makePlane<T>(11, 7, channels);
    const PathRun run = resizeGuarded(src, wholeOf(src), dst, wholeOf(dst), 1.0, 1.0, 0.0, 0.0,
                                      INTER_LINEAR | RESIZE_ANTIALIASING);
    ASSERT_EQ(run.status, ippStsNoErr);
    for (int32_t y = 0; y < 7; ++y)
        for (int32_t x = 0; x < 11; ++x)
            for (int32_t c = 0; c < channels; ++c) {
                const int32_t x1 = std::min(x + 1, 10), y1 = std::min(y + 1, 6);
                const int64_t sum =
                    int64_t(src.at(x, y, c)) + src.at(x1, y, c) + src.at(x, y1, c) + src.at(x1, y1, c);
                ASSERT_EQ(dst.at(x, y, c), T((sum + 2) / 4)) << x << "," << y << "," << c;
            }
}

TEST(Antialias, LinearAtFactorOneIsTheMeanOfNeighbours) {
    for (int32_t channels : {1, 3, 4}) {
        checkMeanOfNeighbours<uint8_t>(channels);
        checkMeanOfNeighbours<uint16_t>(channels);
    }
}

TEST(Antialias, SlotsFollowTheStretchedReach) {
    // Reduction by 2: linear reaches 2 (five slots), the cubics 4, Lanczos 6.
    EXPECT_EQ(antialiasAxis(INTER_LINEAR, 2.0).taps, 5);
    EXPECT_EQ(antialiasAxis(INTER_CUBIC_CATMULLROM, 2.0).taps, 9);
    EXPECT_EQ(antialiasAxis(INTER_LANCZOS, 2.0).taps, 13);
    EXPECT_EQ(antialiasAxis(INTER_LANCZOS, 2.0).kernelScale, 0.5);
    // Enlarging by 1.5: the plain filter, 2R + 1 slots.
    EXPECT_EQ(antialiasAxis(INTER_LINEAR, 1.0 / 1.5).taps, 3);
    EXPECT_EQ(antialiasAxis(INTER_LANCZOS, 1.0 / 1.5).taps, 7);
    EXPECT_EQ(antialiasAxis(INTER_LANCZOS, 1.0 / 1.5).reach, 3.0);
    // A reach that isn't whole rounds up: 2 * 1.25 -> 3.
    EXPECT_EQ(antialiasAxis(INTER_CUBIC, 1.25).taps, 7);
}

TEST(Antialias, FiltersAtTheirKnots) {
    for (int32_t id : kAntialiasIds) EXPECT_EQ(antialiasFilter(id, antialiasReach(id)), 0.0) << id;
    EXPECT_EQ(antialiasFilter(INTER_LINEAR, 0.25), 0.75);
    EXPECT_EQ(antialiasFilter(INTER_CUBIC, 0.0), 1.0);
    EXPECT_EQ(antialiasFilter(INTER_CUBIC_BSPLINE, 0.0), 2.0 / 3.0);
    EXPECT_EQ(antialiasFilter(INTER_CUBIC_CATMULLROM, 1.0), 0.0);
    EXPECT_EQ(antialiasFilter(INTER_CUBIC_B05C03, 0.0), 5.0 / 6.0);
    EXPECT_EQ(antialiasFilter(INTER_LANCZOS, 0.0), 1.0);
    EXPECT_LT(antialiasFilter(INTER_LANCZOS, 1.5), 0.0);
}

// Reduction by 2 with linear: target X takes a tent of weights 1/4, 1/2,
// 1/4 around source position 2X + 1, not 2X + 0.5. A spike at column 2
// reaches targets 0 and 1 alike.
TEST(Antialias, ReductionByTwoTakesATentAroundTheShiftedCentre) {
    Plane<uint8_t> src = makePlane<uint8_t>(8, 2, 1);
    src.at(2, 0, 0) = src.at(2, 1, 0) = 100;
    Plane<uint8_t> dst = makePlane<uint8_t>(4, 1, 1);
    ASSERT_EQ(resizeGuarded(src, wholeOf(src), dst, wholeOf(dst), 0.5, 0.5, 0.0, 0.0,
                            INTER_LINEAR | RESIZE_ANTIALIASING)
                  .status,
              ippStsNoErr);
    EXPECT_EQ(pixels(dst), (std::vector<uint8_t>{25, 25, 0, 0}));
}

// Taps left of and above the image take sample 0: the same as an image
// whose first column and row were repeated eight more times, shifted so
// that the target doesn't move.
template <class T>
void checkClampedTaps(int32_t id, int32_t channels) {
    SCOPED_TRACE("id " + std::to_string(id) + " channels " + std::to_string(channels));
    Rng rng(uint32_t(id * 7 + channels));
    Plane<T> src = makePlane<T>(14, 10, channels);
    fillRandom(src, rng);
    constexpr int32_t kMore = 8;
    Plane<T> wide = makePlane<T>(14 + kMore, 10 + kMore, channels);
    for (int32_t y = 0; y < wide.height; ++y)
        for (int32_t x = 0; x < wide.width; ++x)
            for (int32_t c = 0; c < channels; ++c)
                wide.at(x, y, c) = src.at(std::max(x - kMore, 0), std::max(y - kMore, 0), c);
    Plane<T> expected = makePlane<T>(7, 5, channels), actual = expected;
    const int32_t interpolation = id | RESIZE_ANTIALIASING;
    ASSERT_EQ(resizeGuarded(src, wholeOf(src), expected, wholeOf(expected), 0.5, 0.5, 0.0, 0.0, interpolation)
                  .status,
              ippStsNoErr);
    ASSERT_EQ(resizeGuarded(wide, wholeOf(wide), actual, wholeOf(actual), 0.5, 0.5, -4.0, -4.0, interpolation)
                  .status,
              ippStsNoErr);
    EXPECT_EQ(actual.samples, expected.samples);
}

TEST(Antialias, TapsOutsideTheImageRepeatItsEdge) {
    for (int32_t id : kAntialiasIds) {
        checkClampedTaps<uint8_t>(id, 3);
        checkClampedTaps<uint16_t>(id, 1);
    }
}

// A step from 0 to white at column 8, Lanczos at factor 1 (six rows, or it
// would degrade to the cubic): the lobes give about -28 at column 6 and 283
// at column 8 (in levels of 255); the conversion clamps them.
template <class T>
void checkOvershoot() {
    constexpr T kWhite = T(~T(0));
    Plane<T> src = makePlane<T>(16, 6, 1);
    for (int32_t y = 0; y < 6; ++y)
        for (int32_t x = 8; x < 16; ++x) src.at(x, y, 0) = kWhite;
    Plane<T> dst = makePlane<T>(16, 6, 1);
    ASSERT_EQ(resizeGuarded(src, wholeOf(src), dst, wholeOf(dst), 1.0, 1.0, 0.0, 0.0,
                            INTER_LANCZOS | RESIZE_ANTIALIASING)
                  .status,
              ippStsNoErr);
    for (int32_t y = 0; y < 6; ++y) {
        EXPECT_EQ(dst.at(6, y, 0), 0);
        EXPECT_EQ(dst.at(8, y, 0), kWhite);
        EXPECT_LT(dst.at(9, y, 0), kWhite);  // the next lobe undershoots
    }
}

TEST(Antialias, OvershootIsClampedToTheSampleRange) {
    checkOvershoot<uint8_t>();
    checkOvershoot<uint16_t>();
}

struct FreeImage {
    void operator()(TImage* image) const { morvaFreeImage(image); }
};
using Image = std::unique_ptr<TImage, FreeImage>;

Plane<uint8_t> planeOf(const PlaneEntry& p) {
    Plane<uint8_t> plane = makePlane<uint8_t>(p.width, p.height, p.channels, p.stride - p.width * p.channels);
    std::memcpy(plane.samples.data(), p.data, plane.samples.size());
    return plane;
}

// Through the plane driver: 10 rows out of 200 with antialiasing. The
// intermediate image covers every source row, the size query counts the
// region's: the driver's work buffer must hold them all (a sanitizer build
// reports any write past it), and the result is the kernel's.
TEST(AntialiasDriver, RegionLowerThanTheImage) {
    const Image src(morvaAllocateImage("source", 64, -200, FORMAT_RGB32, nullptr, 0));
    const Image dst(morvaAllocateImage("target", 32, -100, FORMAT_RGB32, nullptr, 0));
    ASSERT_TRUE(src && dst);
    const PlaneEntry& in = src->planeInfo->planes[0];
    Rng rng(606);
    rng.fill(in.data, size_t(in.stride) * in.height);
    const IppiRect srcRect{0, 150, 64, 10}, dstRect{0, 0, 32, 100};
    const int32_t interpolation = INTER_LANCZOS | RESIZE_ANTIALIASING;
    EXPECT_GT(resizeWorkSize({64, 200}, srcRect, dstRect, 4, 0.5, 0.5, 0.0, 0.0, interpolation),
              bufferSize(srcRect, dstRect, 4, interpolation));
    ASSERT_TRUE(resizeImageInternal(src.get(), srcRect, dst.get(), dstRect, interpolation, 0.5, 0.5));

    Plane<uint8_t> expected = planeOf(dst->planeInfo->planes[0]);
    std::fill(expected.samples.begin(), expected.samples.end(), uint8_t(0));
    ASSERT_EQ(resizeGuarded(planeOf(in), srcRect, expected, dstRect, 0.5, 0.5, 0.0, 0.0, interpolation).status,
              ippStsNoErr);
    EXPECT_EQ(planeOf(dst->planeInfo->planes[0]).samples, expected.samples);
    EXPECT_NE(expected.samples, std::vector<uint8_t>(expected.samples.size(), 0));
}

// ---- Forms ----------------------------------------------------------------------------

// Weights of both signs, 0, and of exponents far apart, so that the float64
// sums cancel and round and their order shows in the float32 result.
float drawWeight(Rng& rng) {
    switch (rng.uniform(0, 3)) {
    case 0: return 0.0f;
    case 1: return float(std::ldexp(rng.real(-1.0, 1.0), rng.uniform(-60, 60)));
    default: return float(rng.real(-0.4, 1.0));
    }
}

// Random slot rows: indices anywhere in the row (the last pixel too),
// odd slot counts; 1 to 9 rows.
template <class T>
void checkRowsForms(int32_t channels) {
    MORVA_SEED_TRACE();
    SCOPED_TRACE("channels " + std::to_string(channels) + " bytes " + std::to_string(sizeof(T)));
    Rng rng(uint32_t(channels * 31 + sizeof(T)));
    const auto& table = antialiasRowsTable<T>(channels);
    forEachVectorForm(table, [&](const KernelForm<AntialiasRowsFn<T>>& form) {
        for (int32_t width : testWidths(40)) {
            const int32_t taps = 2 * rng.uniform(0, 7) + 1;
            const int32_t rows = rng.uniform(1, 9);
            const int32_t srcWidth = rng.uniform(1, 90);
            const int32_t srcStep = srcWidth * channels + rng.uniform(0, 3);
            std::vector<int32_t> indices(size_t(width) * taps);
            std::vector<float> weights(indices.size());
            for (size_t i = 0; i < indices.size(); ++i) {
                indices[i] = (i % 5 == 0 ? srcWidth - 1 : rng.uniform(0, srcWidth - 1)) * channels;
                weights[i] = drawWeight(rng);
            }
            GuardedBuffer src((size_t(rows - 1) * srcStep + size_t(srcWidth) * channels) * sizeof(T),
                              sampleOffset<T>(rng));
            rng.fillWithExtremes(src.data(), src.size());
            const size_t outBytes = size_t(rows) * width * channels * sizeof(float);
            GuardedBuffer expected(outBytes), actual(outBytes, 4 * size_t(rng.uniform(0, 15)));
            const T* s = reinterpret_cast<const T*>(src.data());
            table.scalar()(s, srcStep, rows, indices.data(), weights.data(), taps,
                           reinterpret_cast<float*>(expected.data()), width);
            form.fn(s, srcStep, rows, indices.data(), weights.data(), taps,
                    reinterpret_cast<float*>(actual.data()), width);
            ASSERT_EQ(actual.bytes(), expected.bytes())
                << "width " << width << " taps " << taps << " rows " << rows;
            ASSERT_TRUE(actual.marginsIntact()) << "width " << width;
        }
    });
}

TEST(AntialiasForms, PassAcrossMatchesScalar) {
    for (int32_t channels : {1, 3, 4}) {
        checkRowsForms<uint8_t>(channels);
        checkRowsForms<uint16_t>(channels);
    }
}

float drawAccumulator(Rng& rng, float top) {
    switch (rng.uniform(0, 5)) {
    case 0: return float(rng.uniform(-3, int(top) + 3)) + (rng.uniform(0, 1) ? 0.5f : 0.4999999f);
    case 1: return float(rng.real(-1e10, 1e10));
    case 2:
        return rng.uniform(0, 1) ? std::numeric_limits<float>::quiet_NaN()
                                 : -std::numeric_limits<float>::infinity();
    default: return float(rng.real(-2.0, top + 2.0));
    }
}

TEST(AntialiasForms, PassDownMatchesScalar) {
    MORVA_SEED_TRACE();
    Rng rng(404);
    for (int32_t channels : {1, 3}) {
        forEachVectorForm(
            antialiasAccumulateTable(channels), [&](const KernelForm<AntialiasAccumulateFn>& form) {
                for (int32_t count : testWidths()) {
                    std::vector<float> row(static_cast<size_t>(count));
                    for (float& v : row) v = drawAccumulator(rng, 65535.0f);
                    const float weight = float(rng.real(-0.5, 1.0));
                    const size_t bytes = sizeof(float) * size_t(count);
                    GuardedBuffer expected(bytes), actual(bytes, 4 * size_t(rng.uniform(0, 15)));
                    for (size_t i = 0; i < size_t(count); ++i) {
                        const float a = float(rng.real(-100.0, 70000.0));
                        std::memcpy(expected.data() + 4 * i, &a, 4);
                        std::memcpy(actual.data() + 4 * i, &a, 4);
                    }
                    antialiasAccumulateTable(channels).scalar()(
                        row.data(), weight, reinterpret_cast<float*>(expected.data()), count);
                    form.fn(row.data(), weight, reinterpret_cast<float*>(actual.data()), count);
                    ASSERT_EQ(actual.bytes(), expected.bytes()) << "count " << count;
                    ASSERT_TRUE(actual.marginsIntact());
                }
            });
    }
}

template <class T>
void checkStoreForms() {
    MORVA_SEED_TRACE();
    Rng rng(uint32_t(17 * sizeof(T)));
    const float top = sizeof(T) == 1 ? 255.0f : 65535.0f;
    forEachVectorForm(antialiasStoreTable<T>(), [&](const KernelForm<AntialiasStoreFn<T>>& form) {
        for (int32_t count : testWidths()) {
            std::vector<float> expectedAcc(static_cast<size_t>(count));
            for (float& v : expectedAcc) v = drawAccumulator(rng, top);
            std::vector<float> actualAcc = expectedAcc;
            const size_t bytes = sizeof(T) * size_t(count);
            GuardedBuffer expected(bytes), actual(bytes, sampleOffset<T>(rng));
            antialiasStoreTable<T>().scalar()(expectedAcc.data(), reinterpret_cast<T*>(expected.data()), count);
            form.fn(actualAcc.data(), reinterpret_cast<T*>(actual.data()), count);
            ASSERT_EQ(actual.bytes(), expected.bytes()) << "count " << count;
            ASSERT_TRUE(actual.marginsIntact());
            for (float v : actualAcc) ASSERT_EQ(v, 0.0f) << "accumulators are cleared";
        }
    });
}

TEST(AntialiasForms, ConversionMatchesScalar) {
    checkStoreForms<uint8_t>();
    checkStoreForms<uint16_t>();
}

// ---- Random geometry ----------------------------------------------------------------------

TEST(AntialiasResize, RandomGeometryAtEverySlot) {
    MORVA_SEED_TRACE();
    ResizeSettingsGuard restore;
    Rng rng(909);
    int written = 0;
    for (int n = 0; n < 180 && !::testing::Test::HasFailure(); ++n) {
        const RandomResize r = RandomResize::draw(rng, 32);
        constexpr int32_t kChannels[] = {1, 3, 4};
        const int32_t channels = kChannels[n % 3];
        const int32_t id = kAntialiasIds[rng.uniform(0, 5)];
        const int32_t interpolation = id | RESIZE_ANTIALIASING;
        written += n % 2 ? checkRandomPath<uint8_t>(r, channels, interpolation, rng)
                         : checkRandomPath<uint16_t>(r, channels, interpolation, rng);
    }
    EXPECT_GT(written, 80);
}

}  // namespace
}  // namespace morva::testing
