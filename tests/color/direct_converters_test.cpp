// The scalar converters between formats that no kernel covers.
#include <gtest/gtest.h>

#include <numeric>
#include <vector>

#include "color/direct_converters.h"
#include "color/forms_harness.h"
#include "common/testing.h"

namespace {

using namespace morva;

TEST(DirectConverters, AlphaIsDroppedAndAddedAsZero) {
    MORVA_SEED_TRACE();
    morva::testing::Rng rng(3);
    std::vector<uint8_t> bgr(5 * 3 * 3), bgra(5 * 4 * 3, 0xEE), back(bgr.size());
    rng.fill(bgr.data(), bgr.size());
    convertBGRToBGRA(bgr.data(), 15, bgra.data(), 20, 5, 3);
    for (size_t p = 0; p < 15; ++p) EXPECT_EQ(bgra[4 * p + 3], 0);
    convertBGRAToBGR(bgra.data(), 20, back.data(), 15, 5, 3);
    EXPECT_EQ(back, bgr);
}

TEST(DirectConverters, SixteenBitFieldsWidenWithoutReplication) {
    const uint16_t words[] = {0x7FFF, 0xFFFF, 0x8000, 0x001F, 0x03E0, 0x7C00};
    std::vector<uint8_t> out(3 * 6);
    convertBGR555ToBGR(reinterpret_cast<const uint8_t*>(words), out.data(), 12, 18, 6, 1);
    EXPECT_EQ(out, (std::vector<uint8_t>{248, 248, 248, 248, 248, 248, 0, 0, 0, 248, 0, 0, 0, 248, 0, 0, 0, 248}));
    convertBGR565ToBGR(reinterpret_cast<const uint8_t*>(words), out.data(), 12, 18, 2, 1);
    EXPECT_EQ(std::vector<uint8_t>(out.begin(), out.begin() + 6),
              std::vector<uint8_t>({248, 252, 120, 248, 252, 248}));
}

// The planes of a 4:2:0 image, all `fill`.
struct I420 {
    std::vector<uint8_t> y, u, v;
    int32_t steps[3];
    uint8_t* planes[3];
    I420(int w, int h, uint8_t fill)
        : y(size_t(w) * h, fill), u(size_t(w / 2) * ((h + 1) / 2), fill), v(u), steps{w, w / 2, w / 2},
          planes{y.data(), u.data(), v.data()} {}
};

TEST(DirectConverters, PackedFourOneOneGroupsOfEightPixels) {
    // Width 12 converts one group of 8 pixels per row; odd height 3 still
    // writes chroma from its last, even row.
    std::vector<uint8_t> packed(3 * 18);
    std::iota(packed.begin(), packed.end(), uint8_t(0));
    I420 out(12, 3, 0xEE);
    convertY41PToI420(out.steps, out.planes, packed.data(), 18, 12, 3);
    EXPECT_EQ(std::vector<uint8_t>(out.y.begin(), out.y.begin() + 12),
              std::vector<uint8_t>({1, 3, 5, 7, 8, 9, 10, 11, 0xEE, 0xEE, 0xEE, 0xEE}));
    EXPECT_EQ(out.u, std::vector<uint8_t>({0, 0, 4, 4, 0xEE, 0xEE, 36, 36, 40, 40, 0xEE, 0xEE}));
    EXPECT_EQ(out.v, std::vector<uint8_t>({2, 2, 6, 6, 0xEE, 0xEE, 38, 38, 42, 42, 0xEE, 0xEE}));

    // Back, with the planes crossed as the router hands them: the chroma
    // changes places.
    std::vector<uint8_t> again(packed.size(), 0xEE);
    const uint8_t* crossed[3] = {out.y.data(), out.v.data(), out.u.data()};
    const int32_t steps[3] = {12, 6, 6};
    convertI420ToY41P(steps, crossed, again.data(), 18, 12, 3);
    EXPECT_EQ(std::vector<uint8_t>(again.begin(), again.begin() + 12),
              std::vector<uint8_t>({2, 1, 0, 3, 6, 5, 4, 7, 8, 9, 10, 11}));
    EXPECT_EQ(again[12], 0xEE);

    // Narrower than a group: nothing is converted.
    I420 untouched(4, 2, 0xEE);
    convertY41PToI420(untouched.steps, untouched.planes, packed.data(), 18, 7, 2);
    EXPECT_EQ(untouched.y, std::vector<uint8_t>(8, 0xEE));
}

TEST(DirectConverters, PlanarFourOneOneWidensEvenChromaRows) {
    // Width 8: chroma rows of 2 samples become 4; odd height 3 reads row 2.
    const std::vector<uint8_t> luma(24, 50);
    const std::vector<uint8_t> cb = {10, 21, 99, 99, 30, 41};
    const std::vector<uint8_t> cr = {100, 120, 0, 0, 200, 201};
    const uint8_t* src[3] = {luma.data(), cb.data(), cr.data()};
    const int32_t srcSteps[3] = {8, 2, 2};
    I420 out(8, 3, 0xEE);
    ASSERT_EQ(convertY411ToI420(out.steps, out.planes, src, srcSteps, 8, 3), 0);
    EXPECT_EQ(out.y, luma);
    EXPECT_EQ(out.u, std::vector<uint8_t>({10, 15, 21, 21, 30, 35, 41, 41}));
    EXPECT_EQ(out.v, std::vector<uint8_t>({100, 110, 120, 120, 200, 200, 201, 201}));

    // Width 6: one source sample, so the third chroma column stays.
    I420 narrow(6, 2, 0xEE);
    const int32_t narrowSteps[3] = {6, 2, 2};
    convertY411ToI420(narrow.steps, narrow.planes, src, narrowSteps, 6, 2);
    EXPECT_EQ(narrow.u, std::vector<uint8_t>({10, 10, 0xEE}));

    // The luma copy refuses a zero height, and nothing else is written.
    I420 none(8, 2, 0xEE);
    EXPECT_NE(convertY411ToI420(none.steps, none.planes, src, srcSteps, 8, 0), 0);
    EXPECT_EQ(none.u, std::vector<uint8_t>(4, 0xEE));
}

using morva::testing::ColorForms;
using morva::testing::FormsCase;
using morva::testing::formsOf;

INSTANTIATE_TEST_SUITE_P(DirectConverters, ColorForms,
                         ::testing::Values(FormsCase{"BGRA_BGR", formsOf(bgraToBgrTable()), {{4}}, {{3}}},
                                           FormsCase{"BGR_BGRA", formsOf(bgrToBgraTable()), {{3}}, {{4}}},
                                           FormsCase{"BGR555_BGR", formsOf(bgr555ToBgrTable()), {{2}}, {{3}}},
                                           FormsCase{"BGR565_BGR", formsOf(bgr565ToBgrTable()), {{2}}, {{3}}}),
                         morva::testing::caseName);

}  // namespace
