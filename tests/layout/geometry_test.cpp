// Cells of a layout, the fit of a source into a cell, the size an image will
// have, and the choice among offered formats.
#include <gtest/gtest.h>

#include "layout/geometry.h"
#include "morva.h"

namespace {

using morva::calcCellRect;
using morva::calcTargetRect;
using morva::IppiRect;
using morva::LayoutRecord;

void expectRect(const IppiRect& r, int x, int y, int w, int h) {
    EXPECT_EQ(r.x, x);
    EXPECT_EQ(r.y, y);
    EXPECT_EQ(r.width, w);
    EXPECT_EQ(r.height, h);
}

TEST(TargetRect, FitFillAndStretch) {
    const IppiRect source{0, 0, 640, 480};
    const IppiRect cell{100, 50, 320, 320};
    auto fit = calcTargetRect(source, cell, morva::kScaleFit);
    ASSERT_TRUE(fit);
    expectRect(fit->rect, 100, 90, 320, 240);
    EXPECT_EQ(fit->xFactor, 0.5);
    EXPECT_EQ(fit->yFactor, 0.5);

    auto fill = calcTargetRect(source, cell, morva::kScaleFill);
    expectRect(fill->rect, 100, 50, 320, 320);
    EXPECT_EQ(fill->xFactor, 320.0 / 480.0);
    EXPECT_EQ(fill->yFactor, 320.0 / 480.0);

    auto stretch = calcTargetRect(source, cell, morva::kScaleStretch);
    expectRect(stretch->rect, 100, 50, 320, 320);
    EXPECT_EQ(stretch->xFactor, 0.5);
    EXPECT_EQ(stretch->yFactor, 320.0 / 480.0);

    // A mode without meaning, and an empty source, place nothing.
    EXPECT_FALSE(calcTargetRect(source, cell, 3));
    EXPECT_FALSE(calcTargetRect({0, 0, 0, 480}, cell, morva::kScaleFit));
}

TEST(CellRect, GridCellsAndTheRowBoundByColumns) {
    LayoutRecord grid;
    grid.rows = 2;
    grid.columns = 3;
    expectRect(calcCellRect(4, grid, 800, 600), 266, 300, 266, 300);

    // More rows than columns: the row is bounded by columns - 1.
    LayoutRecord tall;
    tall.rows = 3;
    tall.columns = 2;
    expectRect(calcCellRect(5, tall, 200, 300), 100, 100, 100, 100);
    // More columns than rows: an index past the grid falls below the target.
    LayoutRecord wide;
    wide.rows = 1;
    wide.columns = 2;
    expectRect(calcCellRect(3, wide, 200, 100), 100, 100, 100, 100);
}

TEST(CellRect, PercentagesAndMargins) {
    LayoutRecord layout;
    layout.width = {true, false, 50};
    expectRect(calcCellRect(0, layout, 101, 40), 0, 0, 50, 40);

    layout.marginLeft = {true, false, -10};
    expectRect(calcCellRect(0, layout, 100, 40), -10, 0, 50, 40);

    // The near margin wins; without it the far one places the right edge.
    layout.marginRight = {true, false, 10};
    expectRect(calcCellRect(0, layout, 100, 40), -10, 0, 50, 40);
    layout.marginLeft = {};
    expectRect(calcCellRect(0, layout, 100, 40), 40, 0, 50, 40);

    LayoutRecord corner;
    corner.width = corner.height = {true, false, 30};
    corner.marginBottom = {true, false, 10};
    expectRect(calcCellRect(0, corner, 200, 100), 0, 60, 60, 30);
}

TEST(ImageDimension, RoundsAsAllocationDoes) {
    int w = 0, h = 0;
    morvaCalcImageDimension(10, 7, w, h);
    EXPECT_EQ(w, 12);
    EXPECT_EQ(h, 8);
    morvaCalcImageDimension(8, 6, w, h);
    EXPECT_EQ(w, 8);
    EXPECT_EQ(h, 6);
    morvaCalcImageDimension(-5, -3, w, h);
    EXPECT_EQ(w, -4);
    EXPECT_EQ(h, -2);
}

BITMAPINFOHEADER header(uint32_t compression, int width, int height, int bits = 16) {
    BITMAPINFOHEADER h{};
    h.biCompression = compression;
    h.biWidth = width;
    h.biHeight = height;
    h.biBitCount = uint16_t(bits);
    return h;
}

TEST(PickFormat, RgbBeatsYuvAndTheNarrowestFittingWins) {
    const uint32_t yuy2 = morvaGetBitmapColorFormat(FORMAT_YUY2);
    const uint32_t nv12 = morvaGetBitmapColorFormat(FORMAT_NV12);
    const BITMAPINFOHEADER offered[] = {header(yuy2, 640, 480), header(0, 320, 240, 32),
                                        header(0, 1280, 720, 24), header(nv12, 640, 480)};
    const BITMAPINFOHEADER* list[] = {&offered[0], &offered[1], nullptr, &offered[3]};
    EXPECT_EQ(morvaPickFormat(list, 4, 640, 480), 0);
    EXPECT_EQ(morvaPickFormat(list, 4, 0, 0), 1);
    list[2] = &offered[2];
    EXPECT_EQ(morvaPickFormat(list, 4, 640, 480), 2);
    // A top-down header fits only a negative minimum height.
    const BITMAPINFOHEADER topDown = header(0, 640, -480, 32);
    const BITMAPINFOHEADER* one[] = {&topDown};
    EXPECT_EQ(morvaPickFormat(one, 1, 640, 480), -1);
    EXPECT_EQ(morvaPickFormat(one, 1, 640, -480), 0);
    const BITMAPINFOHEADER* onlyNv12[] = {&offered[3], &offered[3]};
    EXPECT_EQ(morvaPickFormat(onlyNv12, 2, 0, 0), -1);
    // Equal widths keep the offered order.
    const BITMAPINFOHEADER twins[] = {header(0, 320, 240, 24), header(0, 320, 240, 32)};
    const BITMAPINFOHEADER* pair[] = {&twins[1], &twins[0]};
    EXPECT_EQ(morvaPickFormat(pair, 2, 0, 0), 0);
}

}  // namespace
