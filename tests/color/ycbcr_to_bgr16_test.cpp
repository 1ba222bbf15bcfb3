// YCbCr to 16-bit BGR: worked frames in every layout, the single column,
// statuses, and every vector form against the scalar definition.
#include "color/ycbcr_to_bgr16.h"

#include <gtest/gtest.h>

#include <functional>
#include <tuple>
#include <utility>
#include <vector>

#include "color/forms_harness.h"

namespace morva {
namespace {

using testing::ColorForms;
using testing::FormsCase;
using testing::rep;
using testing::operator+;

struct LayoutCase {
    const char* name;
    decltype(&ippiYCbCr422ToBGR565_8u16u_C2C3R) packed;
    decltype(&ippiYCbCr420ToBGR565_8u16u_P3C3R) planar;
    uint16_t white;  // (235, 128, 128)
    uint16_t block;  // (60, 60, 126) by Q4 truncated
    uint16_t pair;   // the same by S2
};

const LayoutCase kLayouts[] = {
    {"BGR565", ippiYCbCr422ToBGR565_8u16u_C2C3R, ippiYCbCr420ToBGR565_8u16u_P3C3R, 0xFFFF, 0x2A60, 0x3260},
    {"BGR555", ippiYCbCr422ToBGR555_8u16u_C2C3R, ippiYCbCr420ToBGR555_8u16u_P3C3R, 0x7FFF, 0x1520, 0x1920},
    {"BGR444", ippiYCbCr422ToBGR444_8u16u_C2C3R, ippiYCbCr420ToBGR444_8u16u_P3C3R, 0x0FFF, 0x0240, 0x0340},
};

// A packed frame of h rows of the group repeated, converted with a step of
// `stepWords` words: want(r, x) inside the image, nothing beyond it.
void expectPacked(const LayoutCase& l, std::vector<uint8_t> group, int w, int h, int stepWords,
                  const std::function<uint16_t(int r, int x)>& want) {
    const std::vector<uint8_t> src = rep(group, w * h / 2 + 1);
    std::vector<uint16_t> dst(stepWords * h, 0xEEEE);
    ASSERT_EQ(l.packed(src.data(), 2 * w, dst.data(), 2 * stepWords, {w, h}), ippStsNoErr);
    for (int r = 0; r < h; ++r)
        for (int x = 0; x < stepWords; ++x)
            EXPECT_EQ(dst[r * stepWords + x], x < w ? want(r, x) : 0xEEEE) << w << "x" << h << " " << r << "," << x;
}

class YCbCrToBGR16Layout : public ::testing::TestWithParam<LayoutCase> {};

TEST_P(YCbCrToBGR16Layout, WorkedFrames) {
    const LayoutCase& l = GetParam();
    // Studio white is all ones in block, pair and odd pixel alike.
    expectPacked(l, {235, 128, 235, 128}, 11, 1, 11, [&](int, int) { return l.white; });
    // Columns below 8 by Q4 truncated, the other pairs by S2.
    expectPacked(l, {60, 60, 60, 126}, 12, 2, 13, [&](int, int x) { return x < 8 ? l.block : l.pair; });
    // Rows back to back make one long row of two blocks; apart, every pixel
    // goes through the pair tail.
    expectPacked(l, {60, 60, 60, 126}, 4, 4, 4, [&](int, int) { return l.block; });
    expectPacked(l, {60, 60, 60, 126}, 4, 4, 5, [&](int, int) { return l.pair; });
    // At an odd width a pair would straddle two rows: tight steps change nothing.
    std::vector<uint8_t> src(2 * 3 * 4);
    testing::Rng(3).fill(src.data(), src.size());
    std::vector<uint16_t> tight(3 * 4), padded(4 * 4);
    ASSERT_EQ(l.packed(src.data(), 6, tight.data(), 6, {3, 4}), ippStsNoErr);
    ASSERT_EQ(l.packed(src.data(), 6, padded.data(), 8, {3, 4}), ippStsNoErr);
    for (int r = 0; r < 4; ++r)
        for (int x = 0; x < 3; ++x) EXPECT_EQ(tight[3 * r + x], padded[4 * r + x]) << r << "," << x;
    // Planar 4:2:0: Q4 truncated everywhere, odd sizes included.
    for (const auto& [w, h, white] :
         {std::tuple{11, 1, true}, std::tuple{13, 5, false}, std::tuple{1, 3, false}, std::tuple{7, 1, false}}) {
        const std::vector<uint8_t> y(w * h, white ? 235 : 60), cb(64, white ? 128 : 60), cr(64, white ? 128 : 126);
        const uint8_t* planes[3] = {y.data(), cb.data(), cr.data()};
        const int32_t steps[3] = {w, (w + 1) / 2, (w + 1) / 2};
        std::vector<uint16_t> dst(w * h + 1, 0xEEEE), want(w * h, white ? l.white : l.block);
        want.push_back(0xEEEE);
        ASSERT_EQ(l.planar(planes, steps, dst.data(), 2 * w, {w, h}), ippStsNoErr);
        EXPECT_EQ(dst, want) << w << "x" << h;
    }
}

INSTANTIATE_TEST_SUITE_P(All, YCbCrToBGR16Layout, ::testing::ValuesIn(kLayouts),
                         [](const auto& info) { return std::string(info.param.name); });

// The last pixel of an odd row takes the Cr of the group before it, by S2
// plain (which here differs from S2).
TEST(YCbCrToBGR16, OddPixelByS2PlainWithCrOfGroupBefore) {
    std::vector<uint8_t> src = rep({63, 96, 63, 90}, 6);
    src[4 * 4 + 3] = 132;  // Cr of pixels 8 and 9
    std::vector<uint16_t> dst(11);
    ASSERT_EQ(ippiYCbCr422ToBGR565_8u16u_C2C3R(src.data(), 22, dst.data(), 22, {11, 1}), ippStsNoErr);
    EXPECT_EQ(dst[10], 0x3A00);
    EXPECT_EQ(dst[9], 0x39E0);
}

// Width 1: three bytes a row, red, green, blue, at r times half the step.
TEST(YCbCrToBGR16, SingleColumnWritesThreeBytesAtHalfRowOffsets) {
    const uint8_t src[3 * 4] = {200, 60, 0, 0, 50, 180, 0, 0, 200, 60, 0, 0};
    const int32_t step = 20;  // 10 in 16-bit units
    std::vector<uint8_t> dst(64, 0xEE);
    ASSERT_EQ(ippiYCbCr422ToBGR565_8u16u_C2C3R(src, 4, reinterpret_cast<uint16_t*>(dst.data()), step, {1, 3}),
              ippStsNoErr);
    const std::vector<uint8_t> rgb = {105, 255, 77}, gap = rep({0xEE}, 7);
    EXPECT_EQ(dst, (rgb + gap + std::vector<uint8_t>{122, 0, 144} + gap + rgb + rep({0xEE}, 41)));
}

const testing::PlaneShape kPacked{2}, kLuma{1}, kChroma420{1, 2, 2};
using P = const testing::Planes&;

TEST(YCbCrToBGR16, Statuses) {
    const std::vector<std::pair<IppiSize, IppStatus>> refused = {
        {{0, 4}, ippStsSizeErr}, {{8, 0}, ippStsSizeErr}, {{-1, -1}, ippStsSizeErr}, {{8, 4}, ippStsNoErr}};
    const uint8_t bytes[64] = {}, *planes[3] = {bytes, bytes, bytes};
    const int32_t steps[3] = {8, 4, 4};
    uint16_t dst[64];
    for (const LayoutCase& l : kLayouts) {
        testing::expectStatuses({std::string("packed ") + l.name, {kPacked}, {{2}},
                                 [&](P s, P d, IppiSize r) { return testing::callEntry(l.packed, s, d, r); }, refused});
        testing::expectStatuses({std::string("planar ") + l.name, {kLuma, kChroma420, kChroma420}, {{2}},
                                 [&](P s, P d, IppiSize r) { return testing::callEntry(l.planar, s, d, r); }, refused});
        // A missing plane or step array.
        EXPECT_EQ(l.planar(nullptr, steps, dst, 16, {8, 4}), ippStsNullPtrErr);
        EXPECT_EQ(l.planar(planes, nullptr, dst, 16, {8, 4}), ippStsNullPtrErr);
    }
}

// Width 1 of the packed kernels writes at half-row offsets, outside this
// geometry; it has its own test and one code path for all forms.
const Bgr16Layout* const kBodies[] = {&kBgr565, &kBgr555, &kBgr444};

std::vector<FormsCase> formsCases() {
    std::vector<FormsCase> cases;
    for (const Bgr16Layout* l : kBodies) {
        const std::string name = l == &kBgr565 ? "565" : l == &kBgr555 ? "555" : "444";
        cases.push_back({.name = "Packed_" + name, .forms = testing::formsOf(packed422ToBgr16Table(), *l),
                         .src = {kPacked}, .dst = {{2}}, .minWidth = 2, .dstStepMultiple = 2});
        cases.push_back({.name = "Planar_" + name, .forms = testing::formsOf(planar420ToBgr16Table(), *l),
                         .src = {kLuma, kChroma420, kChroma420}, .dst = {{2}}, .dstStepMultiple = 2});
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(YCbCrToBGR16, ColorForms, ::testing::ValuesIn(formsCases()), testing::caseName);

}  // namespace
}  // namespace morva
