// YCbCr to 24- and 32-bit BGR: worked rows through every form, statuses, and
// every vector form against the scalar definition.
#include "color/ycbcr_to_bgr.h"

#include <gtest/gtest.h>

#include <tuple>
#include <utility>
#include <vector>

#include "color/forms_harness.h"
#include "color/yuv_fixed_point.h"

namespace morva {
namespace {

using testing::ColorForms;
using testing::evenSize;
using testing::evenWidth;
using testing::everyPixel;
using testing::formsOf;
using testing::FormsCase;
using testing::Image;
using testing::PlaneShape;
using testing::rep;
using testing::operator+;
using Bytes = std::vector<uint8_t>;
constexpr uint8_t A = testing::kAlpha, E = 0xEE;

struct Worked {
    const char* name;
    std::vector<testing::Form> forms;
    Image src, expected;
    int32_t w, h;
};

std::vector<Worked> workedRows() {
    const auto yuy2Bgra = formsOf(yuy2ToBgraTable()), yuy2Bgr = formsOf(yuy2ToBgrTable()),
               uyvyBgra = formsOf(uyvyToBgraTable()), uyvyRgb = formsOf(uyvyToRgbTable());
    const Bytes p422 = rep({1, 54, 64}, 8) + rep({0, 54, 63}, 2) + rep({E}, 3);
    const Bytes p420 = rep({1, 54, 64}, 8) + rep({1, 55, 64}, 2);
    const Bytes interpolated = Bytes{29, 97, 86, A, 130, 77, 86, A} +
                                              rep({231, 57, 86, A}, 4);
    return {
        // Body by Q3 to column 16, the odd pixel by S2 with Cr of the group before.
        {"yuy2 bgra", yuy2Bgra, {{rep({100, 200, 100, 128}, 7) + Bytes{100, 200, 100, 60, 100, 200}}, {34}},
         {{rep({242, 69, 97, A}, 14) + rep({242, 125, 0, A}, 2) + Bytes{242, 124, 0, A}}, {68}}, 17, 1},
        // Every pair by Q4 rounded, the odd pixel by S2.
        {"yuy2 bgr white", yuy2Bgr, {{rep({235, 128}, 23)}, {46}}, {{rep({255}, 66) + rep({254}, 3)}, {69}}, 23, 1},
        {"yuy2 bgr", yuy2Bgr, {{rep({100, 200, 100, 60}, 11) + Bytes{100, 200}}, {46}},
         {{rep({243, 125, 0}, 22) + Bytes{242, 124, 0}}, {69}}, 23, 1},
        // Body by Q4 rounded, the rest by S3.
        {"uyvy bgra", uyvyBgra, {{rep({103, 60, 136, 60}, 5) + Bytes{103, 60}}, {22}},
         {{rep({1, 54, 64, A}, 8) + rep({1, 55, 64, A}, 3)}, {44}}, 11, 1},
        // A lone pixel takes its Cb for Cr.
        {"uyvy bgra width 1", uyvyBgra, {{{54, 145}}, {2}}, {{{1, 239, 32, A}}, {4}}, 1, 1},
        {"uyvy rgb", uyvyRgb, {{rep({103, 60, 136, 60}, 5)}, {20}}, {{rep({64, 54, 1}, 8) + rep({64, 55, 1}, 2)}, {30}},
         10, 1},
        // Body by Q4 rounded, other pairs by S2, the odd column unwritten.
        {"planar 422", formsOf(planar422ToBgrTable()), {{rep({60}, 22), rep({103}, 12), rep({136}, 12)}, {11, 6, 6}},
         {{p422 + p422}, {33}}, 11, 2},
        // Body by Q4 rounded, other pairs by S2 rounded.
        {"planar 420", formsOf(planar420ToBgrTable()), {{rep({60}, 20), rep({103}, 5), rep({136}, 5)}, {10, 5, 5}},
         {{p420 + p420}, {30}}, 10, 2},
        // Planes Y, Cr, Cb; odd pixels take the rounded-up mean of two chroma
        // columns but the last pair; both rows share the chroma row.
        {"ycrcb 420 bgra", formsOf(planar420ToBgraTable()),
         {{rep({90}, 12), {128, 128, 128}, {100, 200, 200}}, {6, 3, 3}}, {{interpolated + interpolated}, {24}}, 6, 2},
        // Width 1 still converts the pair, its second pixel from the Y byte
        // behind the row.
        {"ycrcb 420 bgra width 1", formsOf(planar420ToBgraTable()), {{{200, 50, 200, 50}, {180}, {60}}, {2, 1, 1}},
         {{rep(Bytes{77, 198, 255, A, 0, 23, 122, A} + rep({E}, 4), 2)}, {12}}, 1, 2},
    };
}

// Every fixed-point form over a dense sample of inputs, pinned by checksum:
// the scalar tails have no vector form to be compared with.
TEST(YCbCrToBGR, FixedPointFormsArePinned) {
    const std::tuple<const char*, yuv::PixelForm, uint32_t> forms[] = {
        {"q3", yuv::q3, 0x65f0ba20}, {"q4Rounded", yuv::q4Rounded, 0x23c99a47},
        {"q4Truncated", yuv::q4Truncated, 0xd54a5b07}, {"s1", yuv::s1, 0xfe76dce8},
        {"s2", yuv::s2, 0x615b51ab}, {"s2Rounded", yuv::s2Rounded, 0x2e2d57eb},
        {"s2Plain", yuv::s2Plain, 0xc974aa14}, {"s3", yuv::s3, 0x3277cdcb}};
    for (const auto& [name, form, pinned] : forms) {
        uint32_t hash = 2166136261u;
        for (int y = 0; y < 256; ++y)
            for (int cb = 0; cb < 256; cb += 5)
                for (int cr = 0; cr < 256; cr += 7) {
                    const yuv::Bgr c = form(y, cb, cr);
                    for (const uint8_t v : {c.b, c.g, c.r}) hash = (hash ^ v) * 16777619u;
                }
        EXPECT_EQ(hash, pinned) << name;
    }
}

TEST(YCbCrToBGR, WorkedRowsThroughEveryForm) {
    for (const Worked& row : workedRows()) {
        SCOPED_TRACE(row.name);
        testing::expectEveryForm(row.forms, row.src, row.expected, row.w, row.h);
    }
}

const PlaneShape kPacked{2}, kLuma{1}, kChroma422{1, 2}, kChroma420{1, 2, 2};
const std::vector<PlaneShape> planar422 = {kLuma, kChroma422, kChroma422}, planar420 = {kLuma, kChroma420, kChroma420};
using Sizes = std::vector<std::pair<IppiSize, IppStatus>>;

// Sizes below the least width or height are refused before any warning. The
// 4:2:0 kernels warn of an odd width or height.
Sizes sizes(int32_t minWidth, bool warns) {
    Sizes v = {{{minWidth - 1, 4}, ippStsSizeErr}, {{8, 0}, ippStsSizeErr}, {{minWidth - 1, 1}, ippStsSizeErr}};
    if (warns) v.insert(v.end(), {{{9, 5}, ippStsDoubleSize}, {{8, 1}, ippStsDoubleSize}, {{8, 4}, ippStsNoErr}});
    return v;
}

TEST(YCbCrToBGR, Statuses) {
    using testing::entry;
    const testing::EntryCase entries[] = {
        {"YCbCr422ToBGR_8u_C2C4R", {kPacked}, {{4}}, entry<ippiYCbCr422ToBGR_8u_C2C4R>, sizes(2, false)},
        {"YCbCr422ToBGR_8u_C2C3R", {kPacked}, {{3}}, entry<ippiYCbCr422ToBGR_8u_C2C3R>, sizes(2, false)},
        {"CbYCr422ToBGR_8u_C2C4R", {kPacked}, {{4}}, entry<ippiCbYCr422ToBGR_8u_C2C4R>, sizes(1, false)},
        {"CbYCr422ToRGB_8u_C2C3R", {kPacked}, {{3}}, entry<ippiCbYCr422ToRGB_8u_C2C3R>, sizes(1, false)},
        {"YCbCr422ToBGR_8u_P3C3R", planar422, {{3}}, entry<ippiYCbCr422ToBGR_8u_P3C3R>, sizes(2, false)},
        {"YCbCr420ToBGR_8u_P3C3R", planar420, {{3}}, entry<ippiYCbCr420ToBGR_8u_P3C3R>, sizes(1, true)},
        {"YCrCb420ToBGR_8u_P3C4R", planar420, {{4}}, entry<ippiYCrCb420ToBGR_8u_P3C4R>, sizes(1, true)},
    };
    for (const testing::EntryCase& e : entries) testing::expectStatuses(e);
    // A missing step array.
    const uint8_t bytes[64] = {}, *planes[3] = {bytes, bytes, bytes};
    uint8_t dst[64];
    EXPECT_EQ(ippiYCbCr422ToBGR_8u_P3C3R(planes, nullptr, dst, 24, {8, 2}), ippStsNullPtrErr);
    EXPECT_EQ(ippiYCbCr420ToBGR_8u_P3C3R(planes, nullptr, dst, 24, {8, 2}), ippStsNullPtrErr);
    EXPECT_EQ(ippiYCrCb420ToBGR_8u_P3C4R(planes, nullptr, dst, 32, {8, 2}, 0), ippStsNullPtrErr);
}

INSTANTIATE_TEST_SUITE_P(
    YCbCrToBGR, ColorForms,
    ::testing::Values(
        FormsCase{"YUY2_BGRA", formsOf(yuy2ToBgraTable()), {kPacked}, {{4}}, everyPixel, 2},
        FormsCase{"YUY2_BGR", formsOf(yuy2ToBgrTable()), {kPacked}, {{3}}, everyPixel, 2},
        FormsCase{"UYVY_BGRA", formsOf(uyvyToBgraTable()), {kPacked}, {{4}}},
        FormsCase{"UYVY_RGB", formsOf(uyvyToRgbTable()), {kPacked}, {{3}}},
        FormsCase{"Planar422_BGR", formsOf(planar422ToBgrTable()), planar422, {{3}}, evenWidth, 2},
        FormsCase{"Planar420_BGR", formsOf(planar420ToBgrTable()), planar420, {{3}}, evenSize},
        // Width 1, where a pair is converted all the same, is a worked row.
        FormsCase{"YCrCb420_BGRA", formsOf(planar420ToBgraTable()), planar420, {{4}}, evenSize, 2}),
    testing::caseName);

}  // namespace
}  // namespace morva
