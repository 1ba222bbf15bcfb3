// Edge treatment: coverages and formulas at worked values, the frame around
// a resized target (sides, corners, every channel), no frame on whole-pixel
// or clipped edges, the flags after every interpolation, and the twelve
// routines against a per-pixel model on random frames.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "resample/edge_treatment.h"
#include "resample_testing.h"

namespace morva::testing {
namespace {

TEST(EdgeTreatment, CoveragesAndFormulasAtWorkedValues) {
    // Column 10 lies before the left edge, column 20 behind the right one;
    // within 1e-10 of a whole pixel counts as whole.
    const EdgeCoverage c = edgeCoverage(10.25, 20.0, 3.0 + 5e-11, 8.875);
    EXPECT_EQ(std::vector<double>({c.left, c.right, c.top, c.bottom}), std::vector<double>({0.75, 0.0, 0.0, 0.875}));
    EXPECT_EQ(edgeCoverage(10.0, 20.25, 3.0, 9.0 - 5e-11).bottom, 0.0);
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
    const Plane<uint8_t> src = makePlane<uint8_t>(6, 3, 3, 0, 255);
    for (int32_t kind : {EDGE_SMOOTH, EDGE_SUBPIXEL})
        for (uint8_t background : {uint8_t(0), uint8_t(100)}) {
            SCOPED_TRACE("kind " + std::to_string(kind) + " over " + std::to_string(background));
            const Plane<uint8_t> dst = resized(src, 20, 8, 1.0, 1.0, 10.25, 2.5, INTER_LINEAR | kind, background);
            Plane<uint8_t> expected = makePlane<uint8_t>(20, 8, 3, 0, background);
            const double b = kind == EDGE_SMOOTH ? background : 0.0;
            const double across[] = {0.75, 1, 1, 1, 1, 1, 0.25}, down[] = {0.5, 1, 1, 0.5};
            for (int32_t y = 0; y < 4; ++y)
                for (int32_t x = 0; x < 7; ++x)
                    for (int32_t c = 0; c < 3; ++c)
                        expected.at(10 + x, 2 + y, c) = uint8_t(std::trunc(b + (255.0 - b) * across[x] * down[y] + 0.5000001));
            EXPECT_EQ(dst.samples, expected.samples);
        }
}

// Edges clipped to the target region write no frame: the mapped image
// begins left of and below the region; columns 5 .. 11 whole, column 12 the
// right frame; row 12 the top frame, rows 13 and 14 whole; the left and
// bottom edges are the region's.
TEST(EdgeTreatment, ClippedEdgesWriteNoFrame) {
    const Plane<uint8_t> white = makePlane<uint8_t>(10, 10, 1, 0, 255);
    Plane<uint8_t> dst = makePlane<uint8_t>(20, 20, 1, 0, 9);
    const Plane<uint8_t> before = dst;
    ASSERT_EQ(resizeGuarded(white, white.whole(), dst, {5, 5, 10, 10}, 1.0, 1.0, 2.5, 12.5, INTER_NN | EDGE_SUBPIXEL).status,
              ippStsNoErr);
    EXPECT_EQ(within(before, dst, 5, 12, 8, 3).samples, dst.samples);
    EXPECT_EQ(dst.at(12, 13, 0), 128);
    EXPECT_EQ(dst.at(5, 12, 0), 128);
}

// The flags follow every interpolation: the left column is covered 0.75,
// the right one 0.25. Edges on whole pixels write no frame, though the
// rectangle was rounded by the rule of edge treatment.
TEST(EdgeTreatment, FollowsEveryInterpolation) {
    Rng rng(12);
    Plane<uint8_t> flat = makePlane<uint8_t>(8, 8, 1, 0, 200), src = makePlane<uint8_t>(12, 8, 3);
    fillRandom(src, rng);
    for (int32_t id : {INTER_NN, INTER_LINEAR, INTER_CUBIC, INTER_LANCZOS, INTER_SUPER}) {
        const Plane<uint8_t> dst = resized(flat, 12, 12, 0.5, 0.5, 3.25, 3.25, id | EDGE_SUBPIXEL);
        EXPECT_EQ(std::vector<uint8_t>(dst.row(5) + 2, dst.row(5) + 9), (std::vector<uint8_t>{0, 150, 200, 200, 200, 50, 0}))
            << "id " << id;
        const Plane<uint8_t> plain = resized<uint8_t>(src, 30, 20, 0.5, 0.5, 3.0, 4.0, id, 77);
        for (int32_t kind : {EDGE_SMOOTH, EDGE_SUBPIXEL})
            EXPECT_EQ(resized<uint8_t>(src, 30, 20, 0.5, 0.5, 3.0, 4.0, id | kind, 77).samples, plain.samples) << id;
    }
}

// ---- The twelve routines against a per-pixel model ----

// The frame of the rectangle (x0, y0, width, height) as the definition
// writes it, every other sample as it was.
template <class T>
Plane<T> modelFrame(const Plane<T>& before, EdgeKind kind, int32_t x0, int32_t y0, int32_t width, int32_t height,
                    double left, double right, double top, double bottom) {
    constexpr int32_t kMax = sizeof(T) == 1 ? 255 : 65535;
    Plane<T> after = before;
    const EdgeCoverage cover = edgeCoverage(left, right, top, bottom);
    for (int32_t y = -1; y <= height; ++y)
        for (int32_t x = -1; x <= width; ++x) {
            const double c = (x < 0 ? cover.left : (x >= width ? cover.right : 1.0)) *
                             (y < 0 ? cover.top : (y >= height ? cover.bottom : 1.0));
            if ((x >= 0 && x < width && y >= 0 && y < height) || c == 0.0) continue;
            const int32_t ex = std::clamp(x, 0, width - 1), ey = std::clamp(y, 0, height - 1);
            for (int32_t s = 0; s < before.channels; ++s) {
                const T edge = before.at(x0 + ex, y0 + ey, s), frame = before.at(x0 + x, y0 + y, s);
                after.at(x0 + x, y0 + y, s) = T(kind == EdgeKind::Smooth ? edgeSmooth(edge, frame, float(c), kMax)
                                                                         : edgeSubpixel(edge, float(c), kMax));
            }
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
            const int kind = rng.uniform(0, 3);
            return whole + (kind == 0 ? 0.0 : side * (kind == 1 ? 5e-11 : rng.real(0.0, 1.0)));
        };
        const double left = edge(2.0, -1.0), top = edge(2.0, -1.0);
        const double right = edge(2.0 + width, 1.0), bottom = edge(2.0 + height, 1.0);
        const Plane<T> expected = modelFrame(image, kind, 2, 2, width, height, left, right, top, bottom);
        routine(reinterpret_cast<uint8_t*>(&image.at(2, 2, 0)), image.step * int32_t(sizeof(T)), width, height, left,
                right, top, bottom);
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
}

}  // namespace
}  // namespace morva::testing
