// Mirror and set: every form against a plain reference, on planes with
// padding between rows that must stay as it was.
#include <gtest/gtest.h>

#include <cstring>
#include <tuple>
#include <vector>

#include "common/testing.h"
#include "kernels/mirror_forms.h"
#include "kernels/plane.h"
#include "kernels/set_forms.h"

namespace morva {
namespace {

using testing::GuardedBuffer;
using testing::Rng;

template <class Fn, class Body>
void forEachForm(const KernelTable<Fn>& table, Body&& body) {
    for (const KernelForm<Fn>& form : table.forms()) {
        if (!cpuSupports(form.isa)) continue;
        SCOPED_TRACE(std::string("form ") + form.name);
        body(form.fn);
    }
}

// A plane of width x height pixels in a guarded buffer, rows `step` apart.
struct Plane {
    int32_t width, height, pixelBytes, step;
    GuardedBuffer buffer;

    Plane(int32_t w, int32_t h, int32_t px, int32_t padding, size_t misalignment)
        : width(w), height(h), pixelBytes(px), step(w * px + padding),
          buffer(size_t(step) * (h - 1) + size_t(w) * px, misalignment) {}

    uint8_t* pixel(int32_t r, int32_t c) { return buffer.data() + ptrdiff_t(r) * step + ptrdiff_t(c) * pixelBytes; }
};

// ---- Mirror -----------------------------------------------------------------

const KernelTable<MirrorFn>& mirrorTableFor(int pixelBytes) {
    return pixelBytes == 1 ? mirrorC1Table() : pixelBytes == 3 ? mirrorC3Table() : mirrorC4Table();
}

// Pixel (r, c) of the result is pixel (r', c') of the original.
std::vector<uint8_t> mirrored(Plane& plane, int32_t flip) {
    const std::vector<uint8_t> original = plane.buffer.bytes();
    std::vector<uint8_t> expected = original;
    for (int32_t r = 0; r < plane.height; ++r)
        for (int32_t c = 0; c < plane.width; ++c) {
            const int32_t fromRow = flip == ippAxsVertical ? r : plane.height - 1 - r;
            const int32_t fromColumn = flip == ippAxsHorizontal ? c : plane.width - 1 - c;
            std::memcpy(expected.data() + (plane.pixel(r, c) - plane.buffer.data()),
                        original.data() + (plane.pixel(fromRow, fromColumn) - plane.buffer.data()),
                        plane.pixelBytes);
        }
    return expected;
}

class MirrorForms : public ::testing::TestWithParam<std::tuple<int, int32_t>> {};

TEST_P(MirrorForms, MatchTheReference) {
    MORVA_SEED_TRACE();
    const int pixelBytes = std::get<0>(GetParam());
    const int32_t flip = std::get<1>(GetParam());
    Rng rng(10 + pixelBytes * 3 + flip);
    forEachForm(mirrorTableFor(pixelBytes), [&](MirrorFn fn) {
        for (int32_t width : testing::testWidths()) {
            if (flip != ippAxsHorizontal && width < 2) continue;
            for (int32_t height : {1, 2, 3, 4, 5}) {
                if (flip != ippAxsVertical && height < 2) continue;
                for (int32_t padding : {0, 5}) {
                    Plane plane(width, height, pixelBytes, padding, size_t(width + height) % 16);
                    rng.fillWithExtremes(plane.buffer.data(), plane.buffer.size());
                    const std::vector<uint8_t> expected = mirrored(plane, flip);
                    fn(plane.buffer.data(), plane.step, width, height, flip);
                    ASSERT_EQ(plane.buffer.bytes(), expected) << width << "x" << height << " padding " << padding;
                    ASSERT_TRUE(plane.buffer.marginsIntact()) << width << "x" << height;
                }
            }
        }
    });
}

INSTANTIATE_TEST_SUITE_P(PixelsAndAxes, MirrorForms,
                         ::testing::Combine(::testing::Values(1, 3, 4),
                                            ::testing::Values(ippAxsHorizontal, ippAxsVertical, ippAxsBoth)));

struct MirrorCheck {
    int32_t width, height, flip;
    IppStatus expected;
};

class MirrorChecks : public ::testing::TestWithParam<MirrorCheck> {};

// Sizes first, then the axis, then the axis' own minimum; a failing call
// leaves the plane as it was.
TEST_P(MirrorChecks, StatusInOrderAndNoWriteOnFailure) {
    const MirrorCheck c = GetParam();
    using Entry = IppStatus (*)(uint8_t*, int32_t, int32_t, int32_t, int32_t);
    const std::pair<Entry, int> entries[] = {
        {&ippiMirror_8u_C1IR, 1}, {&ippiMirror_8u_C3IR, 3}, {&ippiMirror_8u_C4IR, 4}};
    for (const auto& [entry, pixelBytes] : entries) {
        std::vector<uint8_t> plane(64 * 4);
        for (size_t i = 0; i < plane.size(); ++i) plane[i] = uint8_t(i);
        const std::vector<uint8_t> before = plane;
        EXPECT_EQ(entry(plane.data(), 64, c.width, c.height, c.flip), c.expected) << pixelBytes;
        if (c.expected != ippStsNoErr) {
            EXPECT_EQ(plane, before) << pixelBytes;
        }
        EXPECT_EQ(entry(nullptr, 64, c.width, c.height, c.flip), ippStsNullPtrErr) << pixelBytes;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Arguments, MirrorChecks,
    ::testing::Values(MirrorCheck{1, 2, ippAxsHorizontal, ippStsNoErr},
                      MirrorCheck{1, 2, ippAxsVertical, ippStsSizeErr},
                      MirrorCheck{1, 2, ippAxsBoth, ippStsSizeErr},
                      MirrorCheck{2, 1, ippAxsHorizontal, ippStsSizeErr},
                      MirrorCheck{2, 1, ippAxsBoth, ippStsSizeErr},
                      MirrorCheck{2, 1, ippAxsVertical, ippStsNoErr},
                      MirrorCheck{4, 1, 3, ippStsMirrorFlipErr},
                      MirrorCheck{4, 4, -1, ippStsMirrorFlipErr},
                      MirrorCheck{0, 4, 3, ippStsSizeErr},
                      MirrorCheck{4, 0, 3, ippStsSizeErr},
                      MirrorCheck{-1, 4, ippAxsVertical, ippStsSizeErr}));

TEST(Mirror, TurnWithOddSizesReversesTheMiddleRowAroundItsCentre) {
    // 3 x 3 grey plane: turning by 180 degrees keeps only the centre pixel.
    uint8_t plane[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    ASSERT_EQ(ippiMirror_8u_C1IR(plane, 3, 3, 3, ippAxsBoth), ippStsNoErr);
    const uint8_t expected[9] = {9, 8, 7, 6, 5, 4, 3, 2, 1};
    EXPECT_EQ(std::memcmp(plane, expected, sizeof plane), 0);
}

// ---- Set --------------------------------------------------------------------

const KernelTable<SetRowsFn>& setTableFor(int pixelBytes) {
    switch (pixelBytes) {
    case 1: return setC1Table();
    case 2: return set16uTable();
    case 3: return setC3Table();
    default: return setC4Table();
    }
}

std::vector<uint8_t> filled(Plane& plane, const uint8_t* pixel) {
    std::vector<uint8_t> expected = plane.buffer.bytes();
    for (int32_t r = 0; r < plane.height; ++r)
        for (int32_t c = 0; c < plane.width; ++c)
            std::memcpy(expected.data() + (plane.pixel(r, c) - plane.buffer.data()), pixel, plane.pixelBytes);
    return expected;
}

class SetForms : public ::testing::TestWithParam<int> {};

TEST_P(SetForms, FillEveryPixelAndNothingElse) {
    MORVA_SEED_TRACE();
    const int pixelBytes = GetParam();
    Rng rng(20 + pixelBytes);
    forEachForm(setTableFor(pixelBytes), [&](SetRowsFn fn) {
        for (int32_t width : testing::testWidths())
            for (int32_t height : {1, 3})
                for (int32_t padding : {0, 7})
                    for (size_t misalignment = 0; misalignment < 32; ++misalignment)
                        for (bool nonTemporal : {false, true}) {
                            Plane plane(width, height, pixelBytes, padding, misalignment);
                            uint8_t pixel[4];
                            rng.fill(pixel, sizeof pixel);
                            const std::vector<uint8_t> expected = filled(plane, pixel);
                            fn(plane.buffer.data(), plane.step, size_t(width) * pixelBytes, height, pixel,
                               nonTemporal);
                            ASSERT_EQ(plane.buffer.bytes(), expected)
                                << width << "x" << height << " +" << misalignment << " padding " << padding
                                << (nonTemporal ? " streaming" : "");
                            ASSERT_TRUE(plane.buffer.marginsIntact()) << width << "x" << height;
                        }
    });
}

INSTANTIATE_TEST_SUITE_P(PixelSizes, SetForms, ::testing::Values(1, 2, 3, 4));

// Through the entry points: contiguous planes become one row, padded planes
// keep their padding, and planes past the streaming gate ask for the cache.
TEST(Set, EntryPointsFillContiguousAndPaddedPlanes) {
    const uint16_t sample = 0x1234;
    uint8_t pixels[4][4] = {{0xEE}, {}, {1, 2, 3}, {4, 5, 6, 7}};
    std::memcpy(pixels[1], &sample, 2);  // as a 16-bit store writes it
    for (int32_t padding : {0, 9})
        for (auto [width, height] : {std::pair{37, 5}, std::pair{1024, 600}})
            for (int pixelBytes = 1; pixelBytes <= 4; ++pixelBytes) {
                Plane plane(width, height, pixelBytes, padding, 1);
                const std::vector<uint8_t> expected = filled(plane, pixels[pixelBytes - 1]);
                uint8_t* p = plane.buffer.data();
                const IppStatus status =
                    pixelBytes == 1 ? ippiSet_8u_C1R(0xEE, p, plane.step, width, height)
                    : pixelBytes == 2 ? ippiSet_16u_C1R(sample, p, plane.step, width, height)
                    : pixelBytes == 3 ? ippiSet_8u_C3R(pixels[2], p, plane.step, width, height)
                                      : ippiSet_8u_C4R(pixels[3], p, plane.step, width, height);
                EXPECT_EQ(status, ippStsNoErr);
                EXPECT_TRUE(plane.buffer.bytes() == expected && plane.buffer.marginsIntact())
                    << width << "x" << height << " padding " << padding << " pixel " << pixelBytes;
            }
}

TEST(Set, EntryPointsCheckPointersThenSizesAndWriteNothingOnFailure) {
    std::vector<uint8_t> plane(64, 0x11);
    const std::vector<uint8_t> before = plane;
    const uint8_t value[4] = {1, 2, 3, 4};
    uint8_t* p = plane.data();
    for (auto [width, height] : {std::pair{0, 2}, std::pair{2, 0}, std::pair{-3, 2}, std::pair{2, INT32_MIN}}) {
        EXPECT_EQ(ippiSet_8u_C1R(9, p, 16, width, height), ippStsSizeErr);
        EXPECT_EQ(ippiSet_16u_C1R(9, p, 16, width, height), ippStsSizeErr);
        EXPECT_EQ(ippiSet_8u_C3R(value, p, 16, width, height), ippStsSizeErr);
        EXPECT_EQ(ippiSet_8u_C4R(value, p, 16, width, height), ippStsSizeErr);
        EXPECT_EQ(ippiSet_8u_C1R(9, nullptr, 16, width, height), ippStsNullPtrErr);
        EXPECT_EQ(ippiSet_16u_C1R(9, nullptr, 16, width, height), ippStsNullPtrErr);
        EXPECT_EQ(ippiSet_8u_C3R(nullptr, p, 16, width, height), ippStsNullPtrErr);
        EXPECT_EQ(ippiSet_8u_C4R(value, nullptr, 16, width, height), ippStsNullPtrErr);
    }
    EXPECT_EQ(ippiSet_8u_C3R(nullptr, p, 16, 2, 2), ippStsNullPtrErr);
    EXPECT_EQ(ippiSet_8u_C4R(nullptr, p, 16, 2, 2), ippStsNullPtrErr);
    EXPECT_EQ(plane, before);
}

}  // namespace
}  // namespace morva
