// The fast paths of the interpolation families: which tables select them,
// and whole resizes of the geometry that selects them (and of geometry just
// beside it) against the per-pixel models, at every processor slot this
// host runs.
#include <cmath>
#include <cstring>
#include <vector>

#include "resample/linear_fast_paths.h"
#include "resample/nearest.h"
#include "resample/resize_common.h"
#include "resize_model.h"

namespace morva::testing {
namespace {

// The tables' floor, to the bit: signs of zero, halves, neighbours of whole
// numbers, the edge of the fraction range and beyond it.
TEST(TableArithmetic, FloorOfIsTheLibrarysFloor) {
    std::vector<double> values = {0.0, -0.0, 0.5, -0.5, 1.0, -1.0, 0x1p52, -0x1p52, 0x1p52 - 0.5, -0x1p52 + 0.5,
                                  0x1p63, -0x1p63, 1e300, -1e300, HUGE_VAL, -HUGE_VAL, NAN};
    for (double v : {1.0, 7.0, 1919.0, 2147483648.0}) {
        values.push_back(std::nextafter(v, 0.0));
        values.push_back(-std::nextafter(v, 0.0));
        values.push_back(std::nextafter(v, 1e9));
    }
    Rng rng{5};
    for (int n = 0; n < 1000; ++n) values.push_back(rng.real(-3000.0, 3000.0));
    for (double v : values) {
        const double expected = std::floor(v), actual = floorOf(v);
        EXPECT_TRUE(std::memcmp(&expected, &actual, sizeof(double)) == 0) << v;
    }
}

// The shape of a linear axis of `count` target pixels from `first`, with
// Q14 fractions as the 8u tables hold them.
AxisShape linearShape(int32_t count, int32_t first, double scale, double offset) {
    std::vector<int32_t> entries, quarters;
    for (int32_t i = 0; i < count; ++i) {
        const model::Position p = model::position(first + i, scale, offset);
        const int32_t f = model::q14(p.fraction);
        entries.push_back(p.k);
        quarters.push_back(f % 4096 == 0 ? f / 4096 : -1);
    }
    return axisShape(entries.data(), count, 1, [&](int32_t i) { return quarters[size_t(i)]; });
}

TEST(LinearFastPaths, SelectorReadsTheTables) {
    using S = AxisShape;
    const struct {
        int32_t first;
        double factor, shift;
        S shape;
    } cases[] = {
        {0, 0.5, 0.0, S::Half},       {960, 0.5, 960.0, S::Half},  // the right cell of a grid
        {0, 0.5, 0.25, S::General},   {0, 0.5, 7.0, S::Half},       // a whole target pixel: a source pair
        {0, 2.0, 0.0, S::Double},     {1, 2.0, 0.0, S::Double},     // from an odd column: the other phase
        {0, 2.0, 1.0, S::Double},     {0, 2.0, 0.5, S::General},    // fractions 1/2 and 0
        {0, 1.0, 0.0, S::Copy},       {0, 1.0, -3.0, S::Copy},
        {0, 1.0, 0.5, S::General},    {0, 2.0 / 3.0, 0.0, S::General},
        {0, 0.25, 0.0, S::General},   {0, 4.0, 0.0, S::General},
    };
    for (const auto& c : cases)
        for (int32_t count : {3, 8, 61})
            EXPECT_EQ(linearShape(count, c.first, 1 / c.factor, 0.0 - c.shift / c.factor), c.shape)
                << "factor " << c.factor << " shift " << c.shift << " from " << c.first << ", " << count;
}

// Tables of nearest neighbour, as the family builds them.
NearestColumnShape nearestShape(int32_t count, int32_t first, double factor, double shift) {
    std::vector<int32_t> columns;
    for (int32_t i = 0; i < count; ++i)
        columns.push_back(model::nearestIndex(i, count, first, 1 / factor, 0.0 - shift / factor, 1 << 20));
    return nearestColumnShape(columns.data(), count, 1);
}

TEST(NearestFastPaths, SelectorReadsTheTables) {
    using S = NearestColumnShape;
    const struct {
        int32_t first;
        double factor, shift;
        S::Kind kind;
        int32_t phase;
    } cases[] = {
        {0, 1.0, 0.0, S::Copy, 0},         {1, 1.0, 0.7, S::Copy, 0},   {0, 0.5, 0.0, S::EveryOther, 0},
        {0, 0.5, 0.3, S::EveryOther, 0},   {0, 2.0, 0.0, S::Twice, 0},  {1, 2.0, 0.0, S::Twice, 1},
        {1, 2.0, 1.0, S::Twice, 0},        {0, 2.0, 0.5, S::General, 0}, {0, 2.0 / 3.0, 0.0, S::General, 0},
        {0, 0.25, 0.0, S::General, 0},     {0, 3.0, 0.0, S::General, 0},
    };
    for (const auto& c : cases)
        for (int32_t count : {5, 8, 61}) {
            const S shape = nearestShape(count, c.first, c.factor, c.shift);
            EXPECT_EQ(shape.kind, c.kind) << "factor " << c.factor << " shift " << c.shift << ", " << count;
            if (c.kind == S::Twice) {
                EXPECT_EQ(shape.phase, c.phase);
            }
        }
}

// Slots 0 .. the highest this host runs: every form of every kernel.
std::vector<int> allSlots() {
    std::vector<int> slots;
    for (int slot = 0; slot <= highestCpuSlot(); ++slot) slots.push_back(slot);
    return slots;
}

// One resize at every slot against the model.
template <class T>
void checkAtEverySlot(const RandomResize& r, int32_t channels, int32_t interpolation, Rng& rng) {
    SCOPED_TRACE(r.describe() + " channels " + std::to_string(channels));
    Plane<T> src = makePlane<T>(r.srcWidth, r.srcHeight, channels, rng.uniform(0, 5));
    fillRandom(src, rng);
    Plane<T> background = makePlane<T>(r.dstWidth, r.dstHeight, channels, rng.uniform(0, 5));
    fillRandom(background, rng);
    ResizeGeometry g;
    const IppStatus check = geometryOf({r.srcWidth, r.srcHeight}, r.srcRoi, r.dstRoi, r.xFactor, r.yFactor,
                                       r.xShift, r.yShift, interpolation, g);
    Plane<T> expected = background;
    if (check == ippStsNoErr) model::resize(src, g, expected);
    for (int slot : allSlots()) {
        setCpuSlot(slot);
        SCOPED_TRACE("slot " + std::to_string(slot));
        Plane<T> dst = background;
        // Now and then the source bottom row first, read with a negative step.
        const bool flipped = rng.uniform(0, 3) == 0;
        const PathRun run = resizeGuarded(flipped ? upsideDown(src) : src, r.srcRoi, dst, r.dstRoi, r.xFactor,
                                          r.yFactor, r.xShift, r.yShift, interpolation, size_t(rng.uniform(0, 63)),
                                          flipped);
        ASSERT_EQ(run.status, check);
        ASSERT_TRUE(run.bufferIntact);
        ASSERT_EQ(dst.samples, expected.samples);
    }
}

// Factors of 1/2, 1 and 2 on each axis, shifts on whole target pixels, on
// halves and anywhere, sources from 1 to 150 pixels (odd ones give rims on
// the right and at the bottom), regions that start inside the source.
RandomResize drawFastGeometry(Rng& rng) {
    RandomResize r = RandomResize::draw(rng, 150);
    const double factors[] = {0.5, 1.0, 2.0};
    r.xFactor = factors[rng.uniform(0, 2)];
    r.yFactor = rng.uniform(0, 3) == 0 ? factors[rng.uniform(0, 2)] : r.xFactor;
    r.dstWidth = int32_t(std::ceil(r.srcWidth * r.xFactor)) + rng.uniform(0, 3);
    r.dstHeight = int32_t(std::ceil(r.srcHeight * r.yFactor)) + rng.uniform(0, 3);
    const int32_t dx = rng.uniform(0, 3), dy = rng.uniform(0, 3);
    r.dstRoi = {dx, dy, r.dstWidth - dx, r.dstHeight - dy};
    const auto shift = [&](int32_t corner) {
        switch (rng.uniform(0, 3)) {
        case 0: return double(corner);
        case 1: return corner + 0.5;
        case 2: return corner - double(rng.uniform(1, 4));
        default: return corner + rng.real(-1.0, 1.0);
        }
    };
    r.xShift = shift(dx);
    r.yShift = shift(dy);
    return r;
}

class FastPathResize : public ::testing::TestWithParam<int32_t> {};

TEST_P(FastPathResize, MatchesTheModelAtEverySlot) {
    MORVA_SEED_TRACE();
    ResizeSettingsGuard restore;
    Rng rng{uint32_t(GetParam()) * 7};
    for (int n = 0; n < 90 && !HasFailure(); ++n) {
        const RandomResize r = drawFastGeometry(rng);
        // One channel in half the cases: the cubic and Lanczos paths have it alone.
        const int32_t channels = n % 4 < 2 ? 1 : (n % 4 == 2 ? 3 : 4);
        if (n % 2)
            checkAtEverySlot<uint8_t>(r, channels, GetParam(), rng);
        else
            checkAtEverySlot<uint16_t>(r, channels, GetParam(), rng);
    }
}

INSTANTIATE_TEST_SUITE_P(Ids, FastPathResize, ::testing::Values(INTER_NN, INTER_LINEAR, INTER_CUBIC, INTER_LANCZOS));

}  // namespace
}  // namespace morva::testing
