// Layouts: the notation and the registry, the cells of a layout and the fit
// of a source into a cell, the choice among offered formats, composition of
// sources into a target, and display on a drawing target.
#include <gtest/gtest.h>

#include <memory>
#include <tuple>
#include <vector>

#include "layout/geometry.h"
#include "layout/layout_registry.h"
#include "layout/name_value_map.h"
#include "morva.h"

namespace {

using morva::CSTDNameValueMap;
using morva::IppiRect;
using Strings = std::vector<std::string>;

using ImagePtr = std::unique_ptr<TImage, decltype(&morvaFreeImage)>;

TEST(LayoutText, SplitTrimAndNameValuePairs) {
    const std::tuple<std::string, std::string, int, Strings> splits[] = {
        {"a;b;", ";", 0, {"a", "b"}}, {"a", ";", 0, {}}, {";a", ";", 0, {"", "a"}}, {"a:b:c", ":", 2, {"a", "b", "c"}},
        {"a::b", ":", 0, {"a", "", "b"}}, {"x--y--", "--", 0, {"x", "y"}}, {"", ";", 0, {}}, {"a;b", "", 0, {}}};
    for (const auto& [text, delimiter, max, expected] : splits) {
        Strings tokens;
        EXPECT_TRUE(morva::splitString(text, delimiter, tokens, max) == int(expected.size()) && tokens == expected) << text;
    }
    EXPECT_TRUE(morva::trimString("  rows \t ", " ") == "rows \t" && morva::trimString("   ", " ").empty());
    // Only well-formed pairs are stored, names in any case, the later value
    // winning. The values read for rows, columns, a and the empty name:
    const std::tuple<const char*, bool, Strings> parses[] = {
        {"rows:2;columns:3;", true, {"2", "3", "", ""}}, {"rows:2;columns:3", true, {"2", "3", "", ""}},
        {"rows:2", false, {"", "", "", ""}},           {"rows:2;", true, {"2", "", "", ""}},
        {" rows : 2 ;", true, {"2", "", "", ""}},      {"rows;", true, {"", "", "", ""}},
        {"rows:;", true, {"", "", "", ""}},            {"a:b:c;", true, {"", "", "", ""}},
        {"a:b:;", true, {"", "", "b", ""}},            {":5;", true, {"", "", "", "5"}},
        {";", true, {"", "", "", ""}},                 {"Rows:2;ROWS:3;", true, {"3", "", "", ""}}};
    for (const auto& [text, result, values] : parses) {
        CSTDNameValueMap map;
        EXPECT_EQ(map.parse(text, ";", ":", true), result) << text;
        EXPECT_EQ(Strings({map.getValue("rows"), map.getValue("columns"), map.getValue("a"), map.getValue("")}), values) << text;
    }
    CSTDNameValueMap map;
    map.parse("Width:50%;name:abc;big:99999999999;", ";", ":", true);
    EXPECT_TRUE(map.getInt("WIDTH") == 50 && map.getInt("name") == 0 && map.getInt("big") == INT32_MAX);
    map.getValue("fresh") = "7";  // a read adds the entry, names in any case
    EXPECT_EQ(map.getInt("FRESH"), 7);
}

// A redefinition keeps nothing of the earlier one, an empty value is none,
// and a text without a pair separator holds no pair.
TEST(Layouts, DefineReplaceAndRemoveByName) {
    EXPECT_FALSE(morvaSetLayout(nullptr, "rows:2;") || morvaSetLayout("", "rows:2;"));
    ASSERT_TRUE(morvaSetLayout("Grid", "rows:2;columns:3;width:50;margin-left:25;"));
    auto grid = morva::findLayout("GRID");
    ASSERT_TRUE(grid && grid->rows == 2 && grid->columns == 3 && grid->marginLeft.value == 25 && !grid->height.present);
    EXPECT_TRUE(grid->width.present && grid->width.value == 50);
    ASSERT_TRUE(morvaSetLayout("grid", "columns:4;width:;height:0;"));
    grid = morva::findLayout("Grid");
    EXPECT_TRUE(grid->rows == 1 && grid->columns == 4 && !grid->width.present && !grid->marginLeft.present);
    EXPECT_TRUE(grid->height.present && grid->height.value == 0);
    ASSERT_TRUE(morvaSetLayout("grid", "rows:2"));
    EXPECT_EQ(morva::findLayout("grid")->rows, 1);
    EXPECT_TRUE(morvaSetLayout("GRID", "") && !morva::findLayout("grid"));
    EXPECT_TRUE(morvaSetLayout("grid", nullptr) && morvaSetLayout("never-defined", nullptr));
}

auto asTuple(const IppiRect& r) { return std::tuple(r.x, r.y, r.width, r.height); }

// A 640x480 source in the cell 100,50,320,320. A mode without meaning, and an
// empty source, place nothing.
TEST(Geometry, TargetRectsCellsAndImageDimensions) {
    const IppiRect source{0, 0, 640, 480}, cell{100, 50, 320, 320};
    const std::tuple<int, IppiRect, double, double> placements[] = {
        {morva::kScaleFit, {100, 90, 320, 240}, 0.5, 0.5},
        {morva::kScaleFill, {100, 50, 320, 320}, 320.0 / 480.0, 320.0 / 480.0},
        {morva::kScaleStretch, {100, 50, 320, 320}, 0.5, 320.0 / 480.0}};
    for (const auto& [mode, rect, xFactor, yFactor] : placements) {
        const auto placed = morva::calcTargetRect(source, cell, mode);
        ASSERT_TRUE(placed && placed->xFactor == xFactor && placed->yFactor == yFactor) << mode;
        EXPECT_EQ(asTuple(placed->rect), asTuple(rect)) << mode;
    }
    EXPECT_FALSE(morva::calcTargetRect(source, cell, 3) || morva::calcTargetRect({0, 0, 0, 480}, cell, morva::kScaleFit));

    const std::tuple<const char*, int, int, int, IppiRect> cells[] = {
        {"rows:2;columns:3;", 4, 800, 600, {266, 300, 266, 300}},
        {"rows:3;columns:2;", 5, 200, 300, {100, 100, 100, 100}},  // the row is bounded by columns - 1
        {"rows:1;columns:2;", 3, 200, 100, {100, 100, 100, 100}},  // past the grid: below the target
        {"width:50;", 0, 101, 40, {0, 0, 50, 40}},
        {"width:50;margin-left:-10;margin-right:10;", 0, 100, 40, {-10, 0, 50, 40}},  // the near margin wins
        {"width:50;margin-right:10;", 0, 100, 40, {40, 0, 50, 40}},
        {"width:30;height:30;margin-bottom:10;", 0, 200, 100, {0, 60, 60, 30}}};
    for (const auto& [text, index, width, height, rect] : cells) {
        ASSERT_TRUE(morvaSetLayout("cell", text));
        EXPECT_EQ(asTuple(*morva::calcCellRect(index, *morva::findLayout("cell"), width, height)), asTuple(rect)) << text;
    }
    morvaSetLayout("cell", nullptr);
    // The roundings of an allocation, without its treatment of the sign.
    int w[3], h[3];
    for (auto [i, width, height] : {std::tuple{0, 10, 7}, {1, 8, 6}, {2, -5, -3}}) morvaCalcImageDimension(width, height, w[i], h[i]);
    EXPECT_TRUE(w[0] == 12 && h[0] == 8 && w[1] == 8 && h[1] == 6 && w[2] == -4 && h[2] == -2);
}

BITMAPINFOHEADER header(uint32_t compression, int width, int height, int bits = 16) {
    BITMAPINFOHEADER h{};
    h.biWidth = width, h.biHeight = height, h.biBitCount = uint16_t(bits), h.biCompression = compression;
    return h;
}

// RGB beats YUV and the narrowest fitting wins; equal widths keep the offered
// order; a top-down header fits only a negative minimum height.
TEST(PickFormat, RgbBeatsYuvAndTheNarrowestFittingWins) {
    const uint32_t yuy2 = morvaGetBitmapColorFormat(FORMAT_YUY2), nv12 = morvaGetBitmapColorFormat(FORMAT_NV12);
    const BITMAPINFOHEADER offered[] = {header(yuy2, 640, 480), header(0, 320, 240, 32), header(0, 1280, 720, 24),
                                        header(nv12, 640, 480), header(0, 640, -480, 32), header(0, 320, 240, 24)};
    const BITMAPINFOHEADER* list[] = {&offered[0], &offered[1], nullptr, &offered[3]};
    EXPECT_TRUE(morvaPickFormat(list, 4, 640, 480) == 0 && morvaPickFormat(list, 4, 0, 0) == 1);
    list[2] = &offered[2];
    EXPECT_EQ(morvaPickFormat(list, 4, 640, 480), 2);
    const BITMAPINFOHEADER* topDown[] = {&offered[4]};
    EXPECT_TRUE(morvaPickFormat(topDown, 1, 640, 480) == -1 && morvaPickFormat(topDown, 1, 640, -480) == 0);
    const BITMAPINFOHEADER* onlyNv12[] = {&offered[3], &offered[3]};
    const BITMAPINFOHEADER* twins[] = {&offered[1], &offered[5]};
    EXPECT_TRUE(morvaPickFormat(onlyNv12, 2, 0, 0) == -1 && morvaPickFormat(twins, 2, 0, 0) == 0);
}

ImagePtr solid(int width, int height, int format, uint8_t r, uint8_t g, uint8_t b, uint8_t a = 0) {
    ImagePtr image(morvaAllocateImage("solid", width, -height, format, nullptr, 0), &morvaFreeImage);
    morvaClearImage(image.get(), r, g, b, a);
    return image;
}

// The BGR bytes of a 32-bit target's pixel.
std::vector<int> pixel(const TImage& image, int x, int y) {
    const uint8_t* p = image.data + y * image.planeInfo->planes[0].stride + 4 * x;
    return {p[0], p[1], p[2]};
}

bool regionIs(const TImage& image, int x0, int y0, int w, int h, std::vector<int> bgr) {
    for (int y = y0; y < y0 + h; ++y)
        for (int x = x0; x < x0 + w; ++x)
            if (pixel(image, x, y) != bgr) return false;
    return true;
}

class Render : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(morvaSetLayout("quad", "rows:2;columns:2;")); }
    void TearDown() override { morvaSetLayout("quad", nullptr); }
    ImagePtr target_ = solid(64, 32, FORMAT_RGB32, 9, 9, 9);
};

// Four sources fill their cells, one of them converted from 4:2:0 and
// stretched as its attributes ask; a later render with another layout builds
// on the earlier one. A 16x16 source fits a 32x16 cell as 16x16 at x 8, and an
// empty cell and the cells past the sources keep their pixels.
TEST_F(Render, SourcesFillOrFitTheirCellsAndKeepTheRest) {
    ImagePtr a = solid(16, 8, FORMAT_RGB32, 255, 0, 0), b = solid(16, 8, FORMAT_RGB32, 0, 255, 0),
             c = solid(16, 8, FORMAT_RGB32, 0, 0, 255), grey = solid(16, 4, FORMAT_I420, 128, 128, 128);
    morvaSetAttributes(grey.get(), INTER_LINEAR, 0);
    TImage* four[] = {a.get(), b.get(), c.get(), grey.get()};
    ASSERT_TRUE(morvaRender("QUAD", target_.get(), four, 4));
    const std::vector<int> converted = pixel(*target_, 32, 16);
    EXPECT_TRUE(regionIs(*target_, 0, 0, 32, 16, {0, 0, 255}) && regionIs(*target_, 32, 0, 32, 16, {0, 255, 0}));
    EXPECT_TRUE(regionIs(*target_, 0, 16, 32, 16, {255, 0, 0}) && regionIs(*target_, 32, 16, 32, 16, converted));
    EXPECT_NE(converted, std::vector<int>({9, 9, 9}));
    ASSERT_TRUE(morvaSetLayout("corner", "margin-left:75;margin-top:50;width:25;height:50;"));
    ImagePtr red = solid(4, 4, FORMAT_RGB32, 255, 0, 0);
    TImage* one[] = {red.get()};
    ASSERT_TRUE(morvaRender("corner", target_.get(), one, 1));
    EXPECT_TRUE(regionIs(*target_, 48, 16, 16, 16, {0, 0, 255}) && regionIs(*target_, 32, 16, 16, 16, converted));
    morvaSetLayout("corner", nullptr);

    ImagePtr square = solid(16, 16, FORMAT_RGB32, 200, 100, 50), fresh = solid(64, 32, FORMAT_RGB32, 9, 9, 9);
    TImage* two[] = {nullptr, square.get()};
    ASSERT_TRUE(morvaRender("quad", fresh.get(), two, 2));
    EXPECT_TRUE(regionIs(*fresh, 40, 0, 16, 16, {50, 100, 200}));
    EXPECT_TRUE(regionIs(*fresh, 32, 0, 8, 16, {9, 9, 9}) && regionIs(*fresh, 56, 0, 8, 16, {9, 9, 9}));
    EXPECT_TRUE(regionIs(*fresh, 0, 0, 32, 32, {9, 9, 9}) && regionIs(*fresh, 32, 16, 32, 16, {9, 9, 9}));
}

// Refusals leave the target untouched. Unknown scale modes and empty sources
// place nothing, but the render as a whole succeeds.
TEST_F(Render, RefusalsAndEmptyPlacementsLeaveTheTarget) {
    ImagePtr a = solid(16, 8, FORMAT_RGB32, 255, 0, 0);
    TImage* sources[] = {a.get()};
    ASSERT_TRUE(morvaSetLayout("empty-grid", "rows:0;columns:2;"));
    for (const char* layout : {"missing", "", static_cast<const char*>(nullptr), "empty-grid"})
        EXPECT_FALSE(morvaRender(layout, target_.get(), sources, 1)) << (layout ? layout : "null");
    EXPECT_FALSE(morvaRender("quad", nullptr, sources, 1));
    morvaSetLayout("empty-grid", nullptr);
    morvaSetAttributes(a.get(), -1, 7);
    EXPECT_TRUE(morvaRender("quad", target_.get(), sources, 1) && morvaRender("quad", target_.get(), nullptr, 3) &&
                morvaRender("quad", target_.get(), sources, 0));
    EXPECT_TRUE(regionIs(*target_, 0, 0, 64, 32, {9, 9, 9}));
    // Finishing turns only bottom-up targets.
    ImagePtr bottomUp(morvaAllocateImage("t", 4, 2, FORMAT_GRAY8, nullptr, 0), &morvaFreeImage);
    bottomUp->data[0] = target_->data[0] = 1;
    EXPECT_TRUE(morvaRenderFinalize(target_.get()) && morvaRenderFinalize(bottomUp.get()) && !morvaRenderFinalize(nullptr));
    EXPECT_TRUE(target_->data[0] == 1 && bottomUp->data[4] == 1);
}

// Before the library is opened nothing draws, yet the call succeeds. Once
// opened, RGB images draw top line first at the origin; other descriptions
// draw nothing, yet succeed.
TEST(Display, DrawsRgbImagesTopLineFirstAtTheOriginOnceOpened) {
    ImagePtr bgra = solid(4, 2, FORMAT_RGB32, 10, 20, 30, 40), bgr = solid(4, 2, FORMAT_RGB24, 1, 2, 3);
    ImagePtr planar = solid(4, 2, FORMAT_I420, 1, 2, 3);
    bgra->data[4 * 4] = 99;  // first pixel of the second row
    std::vector<uint8_t> pixels(8 * 3 * 4, 0x11);
    MorvaCanvas canvas{pixels.data(), 8, 3, 8 * 4};
    MorvaDrawTarget target = morvaCanvasTarget(&canvas);
    const auto at = [&](int x, int y) { return std::vector<uint8_t>(&pixels[(y * 8 + x) * 4], &pixels[(y * 8 + x) * 4 + 4]); };
    const std::vector<uint8_t> untouched(4, 0x11);
    morvaFinit();  // closing a library that isn't open does nothing
    EXPECT_TRUE(morvaDisplayImage(bgra.get(), &target) && at(0, 0) == untouched);
    morvaInit();
    EXPECT_TRUE(morvaDisplayImage(bgra.get(), &target) && at(0, 0) == std::vector<uint8_t>({30, 20, 10, 40}) && at(0, 1)[0] == 99);
    EXPECT_TRUE(at(4, 0) == untouched && at(0, 2) == untouched);  // beyond the image
    EXPECT_TRUE(morvaDisplayImage(bgr.get(), &target) && at(1, 1) == std::vector<uint8_t>({3, 2, 1, 255}));
    std::fill(pixels.begin(), pixels.end(), 0x11);
    EXPECT_TRUE(morvaDisplayImage(planar.get(), &target) && morvaDisplayImage(planar.get(), nullptr) && at(0, 0) == untouched);
    EXPECT_FALSE(morvaDisplayImage(nullptr, &target));
    morvaFinit();
}

}  // namespace
