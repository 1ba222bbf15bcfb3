// BGR to YCbCr: worked values through every form, the column split between
// vector body and tail, statuses, and every vector form against the scalar
// definition.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "color/bgr_to_ycbcr.h"
#include "color/forms_harness.h"

namespace morva {
namespace {

using testing::ColorForms;
using testing::formsOf;
using testing::FormsCase;
using testing::Image;
using testing::rep;
using testing::operator+;
constexpr uint8_t E = 0xEE;

// A packed row of one colour at width w: pairs, then the lone pixel's Y and
// Cb (its Cr, past the row, is not written).
std::vector<uint8_t> packedRow(int w, bool chromaFirst, uint8_t y, uint8_t cb, uint8_t cr) {
    using Bytes = std::vector<uint8_t>;
    const Bytes g = chromaFirst ? Bytes{cb, y, cr, y} : Bytes{y, cb, y, cr};
    return rep(g, w / 2) + rep({g[0], g[1]}, w % 2);
}

// Planes Y, Cb, Cr of one colour, tightly packed.
Image planar(int w, int h, uint8_t y, uint8_t cb, uint8_t cr) {
    return {{rep({y}, w * h), rep({cb}, w / 2 * (h / 2)), rep({cr}, w / 2 * (h / 2))}, {w, w / 2, w / 2}};
}

TEST(BgrToYuv, StudioColoursThroughEveryForm) {
    const struct {
        uint8_t b, g, r, y, cb, cr;
    } colours[] = {{255, 255, 255, 235, 128, 128}, {0, 0, 0, 16, 128, 128}, {255, 0, 0, 41, 240, 110},
                   {0, 0, 255, 82, 90, 240}};
    for (const auto& c : colours) {
        SCOPED_TRACE(::testing::Message() << int(c.b) << "," << int(c.g) << "," << int(c.r));
        const std::vector<uint8_t> bgr = {c.b, c.g, c.r}, bgra = {c.b, c.g, c.r, 0x5A};
        // Widths with a vector part, pairs and a lone pixel.
        testing::expectEveryForm(formsOf(bgrToYcbcr422Ac4Table()), {{rep(bgra, 70)}, {140}},
                                 {{rep(packedRow(35, false, c.y, c.cb, c.cr), 2)}, {70}}, 35, 2);
        testing::expectEveryForm(formsOf(bgrToCbycr422Ac4Table()), {{rep(bgra, 22)}, {44}},
                                 {{rep(packedRow(11, true, c.y, c.cb, c.cr), 2)}, {22}}, 11, 2);
        testing::expectEveryForm(formsOf(bgrToYuv420Ac4Table()), {{rep(bgra, 88)}, {88}},
                                 planar(22, 4, c.y, c.cb, c.cr), 22, 4);
        // 24-bit pixels through an entry point, which takes planes Y, Cr, Cb.
        Image out = planar(22, 4, 0, 0, 0);
        uint8_t* const planes[3] = {out.planes[0].data(), out.planes[2].data(), out.planes[1].data()};
        ASSERT_EQ(ippiBGRToYCrCb420_8u_C3P3R(rep(bgr, 88).data(), 66, planes, out.steps.data(), {22, 4}), 0);
        EXPECT_EQ(out.planes, planar(22, 4, c.y, c.cb, c.cr).planes);
    }
}

// A 5-5-5 white counts 248 in each channel; bit 15 is not read.
TEST(BgrToYuv, Bgr555WhiteIsY229AndBit15IsIgnored) {
    for (const auto& [word, y] : {std::pair<uint16_t, uint8_t>{0x7FFF, 229}, {0xFFFF, 229}, {0x8000, 16}}) {
        SCOPED_TRACE(word);
        const std::vector<uint8_t> src = rep({uint8_t(word), uint8_t(word >> 8)}, 35 * 3);
        testing::expectEveryForm(formsOf(bgr555ToYcbcr422Table()), {{src}, {70}},
                                 {{rep(packedRow(35, false, y, 128, 128), 3)}, {70}}, 35, 3);
        testing::expectEveryForm(formsOf(bgr555ToYuv420Table()), {{src}, {70}}, planar(35, 3, y, 128, 128), 35, 3);
    }
}

// Rows short of a vector part: pairs and a lone pixel by the exact forms, the
// Cb Y Cr Y packer with its own offsets (128.5, and 2 more in Cr of a pair).
TEST(BgrToYuv, TailsKeepTheirOwnOffsets) {
    const std::vector<uint8_t> src = {227, 213, 0, 0, 227, 213, 0, 0,  // a pair where Cr sees the stray 2
                                      0,   0,   15, 0, 0,  0,   15, 0,  // a pair where 128.5 and 128.125 differ
                                      68,  0,   0,  0};                  // a lone pixel, likewise
    // The byte after the lone pixel, its Cr, keeps what it held.
    testing::expectEveryForm(formsOf(bgrToYcbcr422Ac4Table()), {{src}, {20}},
                             {{{146, 165, 146, 33, 20, 125, 20, 134, 23, 157, E}}, {11}}, 5, 1);
    testing::expectEveryForm(formsOf(bgrToCbycr422Ac4Table()), {{src}, {20}},
                             {{{166, 146, 33, 146, 126, 20, 135, 20, 158, 23, E}}, {11}}, 5, 1);
}

// Which columns the vector body converts: BGR (98, 37, 1) gives Y 44 in the
// lane form and 45 in the exact form, so each pixel shows which one it took.
TEST(BgrToYuv, ColumnSplitBetweenBodyAndTail) {
    // Widths and the columns of their vector part. Y Cb Y Cr: blocks of 16
    // over (width & ~31), one of 8 if (width & 15) >= 8.
    const std::pair<int, int> yuy2[] = {{7, 0},   {8, 8},   {15, 8},  {16, 0},  {23, 0},  {24, 8},  {31, 8},
                          {32, 32}, {40, 40}, {47, 40}, {48, 32}, {56, 40}, {64, 64}};
    // Cb Y Cr Y: blocks of 8.
    const std::pair<int, int> cbycr[] = {{1, 0}, {7, 0}, {8, 8}, {13, 8}, {16, 16}, {17, 16}, {31, 24}};
    // 4:2:0: blocks of 8 over (width & ~15), one of 4 if (width & 7) >= 4.
    const std::pair<int, int> yuv420[] = {{2, 0},   {3, 0},   {4, 4},   {7, 4},   {8, 0},   {12, 4},  {15, 4},
                            {16, 16}, {20, 20}, {24, 16}, {28, 20}, {31, 20}};
    const std::vector<uint8_t> src = rep({98, 37, 1, 0}, 128);
    const auto check = [&](const std::vector<testing::Form>& forms, const auto& splits, bool packed, int yAt) {
        for (const auto& [width, vectorColumns] : splits) {
            for (const testing::Form& form : forms) {
                if (!cpuSupports(form.isa)) continue;
                Image dst = packed ? Image{{rep({0}, 4 * width)}, {2 * width}} : planar(width, 2, 0, 0, 0);
                form.run(Image{{src}, {4 * width}}.view(), dst.view(), width, 2, false);
                for (int x = 0; x < (packed ? width : width & ~1); ++x)
                    ASSERT_EQ(dst.planes[0][packed ? 2 * x + yAt : x], x < vectorColumns ? 44 : 45)
                        << form.name << " width " << width << " x " << x;
            }
        }
    };
    check(formsOf(bgrToYcbcr422Ac4Table()), yuy2, true, 0);
    check(formsOf(bgrToCbycr422Ac4Table()), cbycr, true, 1);
    check(formsOf(bgrToYuv420Ac4Table()), yuv420, false, 0);
}

// Pointers, then sizes; the 8-bit sources warn of an odd 4:2:0 size, the
// 16-bit ones write its luma.
TEST(BgrToYuv, Statuses) {
    using Sizes = std::vector<std::pair<IppiSize, IppStatus>>;
    const auto packedSizes = [](int32_t minWidth) {
        return Sizes{{{minWidth - 1, 1}, ippStsSizeErr}, {{minWidth, 0}, ippStsSizeErr}, {{minWidth, 1}, ippStsNoErr}};
    };
    const auto planarSizes = [](IppStatus odd) {
        return Sizes{
            {{1, 2}, ippStsSizeErr}, {{2, 1}, ippStsSizeErr}, {{4, 4}, ippStsNoErr}, {{3, 2}, odd}, {{2, 3}, odd}};
    };
    const std::vector<testing::PlaneShape> yuv420 = {{1}, {1, 2, 2}, {1, 2, 2}};
    using testing::entry;
    const testing::EntryCase entries[] = {
        {"BGRToYCbCr422_8u_C3C2R", {{3}}, {{2}}, entry<ippiBGRToYCbCr422_8u_C3C2R>, packedSizes(2)},
        {"BGRToYCbCr422_8u_AC4C2R", {{4}}, {{2}}, entry<ippiBGRToYCbCr422_8u_AC4C2R>, packedSizes(2)},
        {"BGRToCbYCr422_8u_AC4C2R", {{4}}, {{2}}, entry<ippiBGRToCbYCr422_8u_AC4C2R>, packedSizes(1)},
        {"BGR565ToYCbCr422_16u8u_C3C2R", {{2}}, {{2}}, entry<ippiBGR565ToYCbCr422_16u8u_C3C2R>, packedSizes(2)},
        {"BGR555ToYCbCr422_16u8u_C3C2R", {{2}}, {{2}}, entry<ippiBGR555ToYCbCr422_16u8u_C3C2R>, packedSizes(2)},
        {"BGRToYCrCb420_8u_C3P3R", {{3}}, yuv420, entry<ippiBGRToYCrCb420_8u_C3P3R>, planarSizes(ippStsDoubleSize)},
        {"BGRToYCrCb420_8u_AC4P3R", {{4}}, yuv420, entry<ippiBGRToYCrCb420_8u_AC4P3R>, planarSizes(ippStsDoubleSize)},
        {"BGR565ToYCrCb420_16u8u_C3P3R", {{2}}, yuv420, entry<ippiBGR565ToYCrCb420_16u8u_C3P3R>, planarSizes(0)},
        {"BGR555ToYCrCb420_16u8u_C3P3R", {{2}}, yuv420, entry<ippiBGR555ToYCrCb420_16u8u_C3P3R>, planarSizes(0)},
    };
    for (const testing::EntryCase& e : entries) testing::expectStatuses(e);
    // A missing plane or step array.
    uint8_t bytes[64] = {}, *planes[3] = {bytes, bytes, bytes};
    const int32_t steps[3] = {4, 2, 2};
    EXPECT_EQ(ippiBGRToYCrCb420_8u_AC4P3R(bytes, 16, nullptr, steps, {2, 2}), ippStsNullPtrErr);
    EXPECT_EQ(ippiBGRToYCrCb420_8u_AC4P3R(bytes, 16, planes, nullptr, {2, 2}), ippStsNullPtrErr);
}

// Packed targets write 2 x width bytes a row. Planar ones write planes Y, Cb,
// Cr at 4:2:0; the 8-bit sources leave an odd last column and row, the
// 16-bit ones write their luma.
const testing::PlaneShape kY{1}, kC{1, 2, 2, true};

FormsCase packedCase(const char* name, const KernelTable<BgrToYuv422Fn>& table, int32_t bytes, int32_t minWidth) {
    return {.name = name, .forms = formsOf(table), .src = {{bytes}}, .dst = {{2}}, .minWidth = minWidth};
}
FormsCase planarCase(const char* name, const KernelTable<BgrToYuv420Fn>& table, int32_t bytes, bool oddLuma) {
    return {.name = name, .forms = formsOf(table), .src = {{bytes}}, .dst = {kY, kC, kC},
            .written = oddLuma ? testing::everyPixel : testing::evenSize, .minWidth = 2, .minHeight = 2};
}

INSTANTIATE_TEST_SUITE_P(BgrToYuv, ColorForms,
                         ::testing::Values(packedCase("Bgr24_422", bgrToYcbcr422C3Table(), 3, 2),
                                           packedCase("Bgra_422", bgrToYcbcr422Ac4Table(), 4, 2),
                                           packedCase("Bgra_CbYCr", bgrToCbycr422Ac4Table(), 4, 1),
                                           packedCase("Bgr565_422", bgr565ToYcbcr422Table(), 2, 2),
                                           packedCase("Bgr555_422", bgr555ToYcbcr422Table(), 2, 2),
                                           planarCase("Bgr24_420", bgrToYuv420C3Table(), 3, false),
                                           planarCase("Bgra_420", bgrToYuv420Ac4Table(), 4, false),
                                           planarCase("Bgr565_420", bgr565ToYuv420Table(), 2, true),
                                           planarCase("Bgr555_420", bgr555ToYuv420Table(), 2, true)),
                         testing::caseName);

}  // namespace
}  // namespace morva
