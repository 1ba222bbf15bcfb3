// Edge treatment: coverages and formulas at worked values, the frame around
// resized targets (sides, corners, every channel, both depths), no effect on
// whole-pixel edges or edges clipped to the target region, the flags after
// nearest neighbour and super-sampling, and the twelve routines against a
// per-pixel model on random frames.
#include <gtest/gtest.h>

#include <vector>

#include "common/testing.h"
#include "morva.h"
#include "resample/edge_treatment.h"
#include "resize_path_testing.h"

namespace morva::testing {
namespace {

TEST(EdgeTreatment, CoverageIsThePartInsideTheEdge) {
    const EdgeCoverage c = edgeCoverage(10.25, 20.25, 5.5, 8.875);
    EXPECT_EQ(c.left, 0.75);    // column 10 lies before the edge
    EXPECT_EQ(c.right, 0.25);   // column 20 lies behind it
    EXPECT_EQ(c.top, 0.5);
    EXPECT_EQ(c.bottom, 0.875);
    const EdgeCoverage whole = edgeCoverage(10.0, 20.0, 3.0 + 5e-11, 9.0 - 5e-11);
    EXPECT_EQ(whole.left, 0.0);
    EXPECT_EQ(whole.right, 0.0);
    EXPECT_EQ(whole.top, 0.0);     // within 1e-10 of a whole pixel
    EXPECT_EQ(whole.bottom, 0.0);
}

TEST(EdgeTreatment, FormulasAtWorkedValues) {
    // White over black at 0.5: 127.5, and trunc(127.5 + 0.5000001) = 128.
    EXPECT_EQ(edgeSmooth(255, 0, 0.5f, 255), 128);
    EXPECT_EQ(edgeSubpixel(255, 0.5f, 255), 128);
    EXPECT_EQ(edgeSmooth(65535, 0, 0.5f, 65535), 32768);
    // A darker edge over a lighter frame: -200 * 0.25 + 200 = 150.
    EXPECT_EQ(edgeSmooth(0, 200, 0.25f, 255), 150);
    EXPECT_EQ(edgeSmooth(100, 100, 0.3f, 255), 100);
    EXPECT_EQ(edgeSubpixel(200, 0.75f, 255), 150);
}

// A white source of 6 x 3 at factor 1, placed at (10.25, 2.5): columns 11
// to 15 and rows 3 and 4 are whole; column 10 is covered 0.75, column 16
// 0.25, rows 2 and 5 half; the corners take the products. Smooth blends
// over what the target held, subpixel doesn't look at it.
TEST(EdgeTreatment, SidesAndCornersTakeTheirCoverage) {
    const Plane<uint8_t> src = flatPlane<uint8_t>(6, 3, 3, 255);
    for (int32_t kind : {EDGE_SMOOTH, EDGE_SUBPIXEL})
        for (uint8_t background : {uint8_t(0), uint8_t(100)}) {
            SCOPED_TRACE(std::string(kind == EDGE_SMOOTH ? "smooth" : "subpixel") + " over " +
                         std::to_string(background));
            Plane<uint8_t> dst = flatPlane<uint8_t>(20, 8, 3, background);
            const Plane<uint8_t> before = dst;
            ASSERT_EQ(resizeGuarded(src, wholeOf(src), dst, wholeOf(dst), 1.0, 1.0, 10.25, 2.5, INTER_LINEAR | kind)
                          .status,
                      ippStsNoErr);
            EXPECT_TRUE(untouchedOutside(before, dst, 10, 2, 7, 4));
            const double b = kind == EDGE_SMOOTH ? background : 0.0;
            const auto blend = [&](double c) { return uint8_t(std::trunc(b + (255.0 - b) * c + 0.5000001)); };
            const double across[] = {0.75, 1, 1, 1, 1, 1, 0.25}, down[] = {0.5, 1, 1, 0.5};
            for (int32_t y = 0; y < 4; ++y)
                for (int32_t x = 0; x < 7; ++x)
                    for (int32_t c = 0; c < 3; ++c)
                        ASSERT_EQ(dst.at(10 + x, 2 + y, c), blend(across[x] * down[y])) << x << "," << y;
        }
    // White over black at 0.5: 127.5 -> 128, on any background for subpixel.
    EXPECT_EQ(edgeSubpixel(255, 0.5f, 255), 128);
}

// Edges on whole pixels: the flags change nothing, though the rectangle
// was rounded by the rule of edge treatment.
TEST(EdgeTreatment, WholePixelEdgesWriteNoFrame) {
    Rng rng(12);
    Plane<uint8_t> src = makePlane<uint8_t>(12, 8, 3);
    fillRandom(src, rng);
    Plane<uint8_t> background = makePlane<uint8_t>(30, 20, 3);
    fillRandom(background, rng);
    Plane<uint8_t> plain = background;
    ASSERT_EQ(resizeGuarded(src, wholeOf(src), plain, wholeOf(plain), 1.5, 1.5, 3.0, 4.0, INTER_LINEAR).status,
              ippStsNoErr);
    for (int32_t kind : {EDGE_SMOOTH, EDGE_SUBPIXEL}) {
        Plane<uint8_t> flagged = background;
        ASSERT_EQ(resizeGuarded(src, wholeOf(src), flagged, wholeOf(flagged), 1.5, 1.5, 3.0, 4.0,
                                INTER_LINEAR | kind)
                      .status,
                  ippStsNoErr);
        EXPECT_EQ(flagged.samples, plain.samples);
    }
}

// The mapped image begins left of the target region: its left edge is the
// region's, whole, and nothing is written left of the region.
TEST(EdgeTreatment, EdgesClippedToTheRegionWriteNoFrame) {
    const Plane<uint8_t> src = flatPlane<uint8_t>(10, 10, 1, 255);
    Plane<uint8_t> dst = flatPlane<uint8_t>(20, 20, 1, 9);
    const Plane<uint8_t> before = dst;
    const IppiRect dstRoi{5, 5, 10, 10};
    ASSERT_EQ(
        resizeGuarded(src, wholeOf(src), dst, dstRoi, 1.0, 1.0, 2.5, 12.5, INTER_NN | EDGE_SUBPIXEL).status,
        ippStsNoErr);
    // Columns 5 .. 11 whole, column 12 the right frame; rows 13 and 14 whole,
    // row 12 the top frame; the bottom edge is the region's.
    EXPECT_TRUE(untouchedOutside(before, dst, 5, 12, 8, 3));
    EXPECT_EQ(dst.at(12, 13, 0), 128);
    EXPECT_EQ(dst.at(5, 12, 0), 128);
}

// The flags are independent of the interpolation.
TEST(EdgeTreatment, RunsAfterNearestNeighbourAndSuperSampling) {
    const Plane<uint8_t> src = flatPlane<uint8_t>(8, 8, 1, 200);
    for (int32_t id : {INTER_NN, INTER_SUPER}) {
        SCOPED_TRACE("id " + std::to_string(id));
        Plane<uint8_t> dst = makePlane<uint8_t>(12, 12, 1);
        ASSERT_EQ(
            resizeGuarded(src, wholeOf(src), dst, wholeOf(dst), 0.5, 0.5, 3.25, 3.25, id | EDGE_SUBPIXEL)
                .status,
            ippStsNoErr);
        EXPECT_EQ(dst.at(3, 5, 0), 150);  // left column, 200 * 0.75
        EXPECT_EQ(dst.at(4, 5, 0), 200);
        EXPECT_EQ(dst.at(7, 5, 0), 50);   // right column, 200 * 0.25
    }
}

// ---- The twelve routines against a per-pixel model ----------------------------------------

template <class T>
int32_t modelValue(EdgeKind kind, T edge, T frame, float c) {
    constexpr int32_t kMax = sizeof(T) == 1 ? 255 : 65535;
    return kind == EdgeKind::Smooth ? edgeSmooth(edge, frame, c, kMax) : edgeSubpixel(edge, c, kMax);
}

// The frame of the rectangle (x0, y0, width, height) as the definition
// writes it, every other sample as it was.
template <class T>
Plane<T> modelFrame(const Plane<T>& before, EdgeKind kind, int32_t x0, int32_t y0, int32_t width,
                    int32_t height, double left, double right, double top, double bottom) {
    Plane<T> after = before;
    const EdgeCoverage cover = edgeCoverage(left, right, top, bottom);
    const auto coverAcross = [&](int32_t x) { return x < 0 ? cover.left : (x >= width ? cover.right : 1.0); };
    const auto coverDown = [&](int32_t y) { return y < 0 ? cover.top : (y >= height ? cover.bottom : 1.0); };
    for (int32_t y = -1; y <= height; ++y)
        for (int32_t x = -1; x <= width; ++x) {
            const bool inside = x >= 0 && x < width && y >= 0 && y < height;
            const double c = coverAcross(x) * coverDown(y);
            if (inside || c == 0.0) continue;
            const int32_t ex = std::clamp(x, 0, width - 1), ey = std::clamp(y, 0, height - 1);
            for (int32_t s = 0; s < before.channels; ++s)
                after.at(x0 + x, y0 + y, s) = T(modelValue<T>(kind, before.at(x0 + ex, y0 + ey, s),
                                                              before.at(x0 + x, y0 + y, s), float(c)));
        }
    return after;
}

template <class T>
void checkRandomFrames(EdgeKind kind, int32_t channels, Rng& rng) {
    SCOPED_TRACE("channels " + std::to_string(channels) + " bytes " + std::to_string(sizeof(T)));
    const EdgeTreatmentFn routine = edgeTreatmentRoutine(kind, sizeof(T) == 1 ? 0 : 1, channels);
    ASSERT_NE(routine, nullptr);
    for (int n = 0; n < 40; ++n) {
        const int32_t width = rng.uniform(1, 9), height = rng.uniform(1, 9);
        Plane<T> image = makePlane<T>(width + 4, height + 4, channels, rng.uniform(0, 3));
        fillRandom(image, rng);
        // Edges around the rectangle at (2, 2): fractions, whole numbers,
        // and fractions within 1e-10 of them.
        const auto edge = [&](double whole, double side) {
            switch (rng.uniform(0, 3)) {
            case 0: return whole;
            case 1: return whole + side * 5e-11;
            default: return whole + side * rng.real(0.0, 1.0);
            }
        };
        const double left = edge(2.0, -1.0), top = edge(2.0, -1.0);
        const double right = edge(2.0 + width, 1.0), bottom = edge(2.0 + height, 1.0);
        const Plane<T> expected = modelFrame(image, kind, 2, 2, width, height, left, right, top, bottom);
        routine(reinterpret_cast<uint8_t*>(&image.at(2, 2, 0)), image.step * int32_t(sizeof(T)), width, height,
                left, right, top, bottom);
        ASSERT_EQ(image.samples, expected.samples)
            << width << "x" << height << " edges " << left << " " << right << " " << top << " " << bottom;
    }
}

TEST(EdgeTreatment, TwelveRoutinesMatchTheModel) {
    MORVA_SEED_TRACE();
    Rng rng(77);
    for (EdgeKind kind : {EdgeKind::Smooth, EdgeKind::Subpixel})
        for (int32_t channels : {1, 3, 4}) {
            checkRandomFrames<uint8_t>(kind, channels, rng);
            checkRandomFrames<uint16_t>(kind, channels, rng);
        }
    EXPECT_EQ(edgeTreatmentRoutine(EdgeKind::Smooth, 0, 2), nullptr);
    EXPECT_EQ(edgeTreatmentRoutine(EdgeKind::Subpixel, 2, 1), nullptr);
}

}  // namespace
}  // namespace morva::testing
