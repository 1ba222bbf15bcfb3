// Sizes and places at the ends of the 32-bit range: an image is refused or its
// planes fit its buffer, and layout geometry that would leave 32 bits places
// nothing instead of wrapping.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <memory>
#include <optional>
#include <vector>

#include "common/testing.h"
#include "layout/geometry.h"
#include "layout/layout_registry.h"
#include "morva.h"

namespace {

using morva::IppiRect;
using ImagePtr = std::unique_ptr<TImage, decltype(&morvaFreeImage)>;

const int32_t kExtremes[] = {INT32_MIN, INT32_MIN + 1, -2147482624, -65536, -5, -1, 0, 1, 4, 65537,
                             46341, 715827880, 1073741824, 2147483644, INT32_MAX - 1, INT32_MAX};

// Every plane lies inside the image's bytes, one behind the other, with lines
// long enough for its units; entries behind the planes stay zero.
void expectPlanesFitTheBuffer(const TImage& image) {
    const PlaneInfo& info = *image.planeInfo;
    int64_t offset = 0;
    for (int i = 0; i < 4; ++i) {
        const PlaneEntry& p = info.planes[i];
        if (i >= info.planeCount) {
            EXPECT_TRUE(p.data == nullptr && p.width == 0 && p.stride == 0 && p.size == 0) << i;
            continue;
        }
        EXPECT_TRUE(p.width >= 0 && p.height >= 0 && p.offset == offset) << i;
        EXPECT_GE(int64_t(p.stride), int64_t(p.width) * p.bytesPerChannel * p.channels) << i;
        EXPECT_EQ(int64_t(p.size), int64_t(p.stride) * p.height) << i;
        EXPECT_EQ(p.data, image.data + p.offset) << i;
        offset += p.size;
    }
    EXPECT_TRUE(offset == image.size && image.size <= INT32_MAX / 3);
}

// Wrapping a buffer allocates nothing, so the geometry of every format can be
// tried at every extreme. Top-down heights only: a bottom-up wrapped buffer
// would be turned in place.
TEST(ExtremeSizes, ImagesAreRefusedOrTheirPlanesFitTheirBuffer) {
    uint8_t stand_in = 0;
    for (int32_t format = 0; format < 22; ++format)
        for (int32_t width : kExtremes)
            for (int32_t height : kExtremes) {
                if (height > 0) continue;
                SCOPED_TRACE(::testing::Message() << "format " << format << ", " << width << " x " << height);
                ImagePtr image(morvaAllocateImage("extreme", width, height, format, &stand_in, 1), &morvaFreeImage);
                if (image) expectPlanesFitTheBuffer(*image);
            }
}

// Once the size check multiplied before it compared, and this image got a
// buffer of 4096 bytes; flipping it wrote far outside.
TEST(ExtremeSizes, AnImageWhoseBytesLeaveSixtyFourBitsIsRefused) {
    EXPECT_EQ(morvaAllocateImage("f1", 2147483644, -2147482624, FORMAT_GRAY8, nullptr, 0), nullptr);
    EXPECT_EQ(morvaAllocateImage("f1", 2147483644, 2147482624, FORMAT_RGB32, nullptr, 0), nullptr);
    BITMAPINFOHEADER header{};
    header.biWidth = INT32_MAX, header.biHeight = INT32_MIN, header.biBitCount = 32;
    EXPECT_EQ(morvaAllocateImageEx(&header, nullptr, 0), nullptr);
    // The largest image that is taken, and the first that isn't.
    uint8_t stand_in = 0;
    const int32_t largest = (INT32_MAX / 3 / 2) & ~3;
    ImagePtr wide(morvaAllocateImage("wide", largest, -1, FORMAT_GRAY8, &stand_in, 1), &morvaFreeImage);
    ASSERT_TRUE(wide);
    EXPECT_TRUE(wide->size == largest * 2 && wide->planeInfo->planes[0].height == 2);
    EXPECT_FALSE(morvaAllocateImage("wider", largest + 4, -2, FORMAT_GRAY8, &stand_in, 1));
}

// The exact place of a cell, computed with nothing that can overflow, or
// nothing where a coordinate leaves 32 bits.
std::optional<IppiRect> exactCell(int32_t index, const morva::LayoutRecord& l, int32_t targetWidth, int32_t targetHeight) {
    auto percent = [](const morva::LayoutValue& v, int64_t whole) { return morva::truncToInt32(double(v.value) * whole / 100.0); };
    auto place = [&](int64_t start, int64_t cell, int64_t length, const morva::LayoutValue& nearMargin,
                     const morva::LayoutValue& farMargin) {
        if (nearMargin.present) return start + percent(nearMargin, cell);
        return farMargin.present ? start + cell - length - percent(farMargin, cell) : start;
    };
    const int64_t columns = l.columns, cellWidth = targetWidth / columns, cellHeight = targetHeight / int64_t(l.rows);
    const int64_t row = std::min(index / columns, columns - 1), column = index % columns;
    if (cellWidth > INT32_MAX || cellHeight > INT32_MAX) return std::nullopt;
    const int64_t width = l.width.present ? percent(l.width, cellWidth) : cellWidth;
    const int64_t height = l.height.present ? percent(l.height, cellHeight) : cellHeight;
    const int64_t x = place(cellWidth * column, cellWidth, width, l.marginLeft, l.marginRight);
    const int64_t y = place(cellHeight * row, cellHeight, height, l.marginTop, l.marginBottom);
    if (x < INT32_MIN || x > INT32_MAX || y < INT32_MIN || y > INT32_MAX) return std::nullopt;
    return IppiRect{int32_t(x), int32_t(y), int32_t(width), int32_t(height)};
}

bool sameRect(const std::optional<IppiRect>& a, const std::optional<IppiRect>& b) {
    if (!a || !b) return !a && !b;
    return a->x == b->x && a->y == b->y && a->width == b->width && a->height == b->height;
}

// Random layouts whose values are mostly extremes: every cell is the exact
// one or nothing.
TEST(ExtremeLayouts, CellsAreExactOrNothing) {
    MORVA_SEED_TRACE();
    morva::testing::Rng rng(11);
    auto pick = [&] { return rng.uniform(0, 3) == 0 ? rng.uniform(-300, 300) : kExtremes[rng.uniform(0, 15)]; };
    auto maybe = [&](morva::LayoutValue& v) { v = {rng.uniform(0, 1) == 1, false, pick()}; };
    for (int i = 0; i < 20000; ++i) {
        morva::LayoutRecord l;
        l.rows = pick(), l.columns = pick();
        if (l.rows == 0 || l.columns == 0) continue;
        for (morva::LayoutValue* v : {&l.width, &l.height, &l.marginLeft, &l.marginTop, &l.marginRight, &l.marginBottom})
            maybe(*v);
        const int32_t index = rng.uniform(0, 1000), width = pick() & INT32_MAX, height = pick() & INT32_MAX;
        const auto got = morva::calcCellRect(index, l, width, height), want = exactCell(index, l, width, height);
        EXPECT_TRUE(sameRect(got, want))
            << "case " << i << " rows " << l.rows << " columns " << l.columns << " index " << index << " target " << width << "x" << height
            << " got " << (got ? got->x : -1) << "," << (got ? got->y : -1) << "," << (got ? got->width : -1) << "," << (got ? got->height : -1)
            << " want " << (want ? want->x : -1) << "," << (want ? want->y : -1) << "," << (want ? want->width : -1) << "," << (want ? want->height : -1);
        if (::testing::Test::HasFailure()) return;
    }
}

// A layout with columns at the least 32-bit value overflowed the bound of the
// row; a height at that value overflowed the centring of a fitted source.
// Such layouts render into targets of every family with every interpolation
// family, and whatever can't be placed is skipped. (The packed 4:2:2 resize
// writes from the plane's corner whatever the rectangle, so only the other
// targets are sure to stay as they were.)
TEST(ExtremeLayouts, RendersSkipSourcesTheyCannotPlace) {
    ImagePtr source(morvaAllocateImage("source", 16, -16, FORMAT_RGB32, nullptr, 0), &morvaFreeImage);
    morvaClearImage(source.get(), 1, 2, 3, 4);
    TImage* sources[] = {source.get(), source.get()};
    const char* const texts[] = {"columns:-2147483648;", "height:-2147483648;", "width:-2147483648;", "rows:-2147483648;",
                                 "margin-left:2147483647;width:2147483647;", "margin-right:-2147483648;width:2147483647;",
                                 "margin-top:2147483647;", "rows:-1;columns:-1;height:2147483647;", "margin-left:-2147483648;",
                                 "margin-top:-2147483648;height:2147483647;", "width:2147483647;height:2147483647;"};
    const int32_t interpolations[] = {INTER_NN, INTER_LINEAR, INTER_CUBIC, INTER_SUPER, INTER_LANCZOS,
                                      INTER_LINEAR | RESIZE_ANTIALIASING, INTER_CUBIC | EDGE_SUBPIXEL};
    for (int32_t format : {FORMAT_RGB32, FORMAT_I420, FORMAT_YUY2, FORMAT_RGB565, FORMAT_NV12}) {
        ImagePtr target(morvaAllocateImage("target", 128, -128, format, nullptr, 0), &morvaFreeImage);
        const std::vector<uint8_t> before(target->data, target->data + target->size);
        for (const char* text : texts) {
            ASSERT_TRUE(morvaSetLayout("extreme", text));
            for (int32_t interpolation : interpolations)
                for (int32_t mode : {0, 1, 2}) {
                    SCOPED_TRACE(::testing::Message() << text << " format " << format << " interpolation " << interpolation
                                                      << " mode " << mode);
                    morvaSetAttributes(source.get(), interpolation, mode);
                    EXPECT_TRUE(morvaRender("extreme", target.get(), sources, 2));
                    if (format != FORMAT_YUY2)
                        EXPECT_EQ(std::vector<uint8_t>(target->data, target->data + target->size), before);
                }
        }
    }
    morvaSetLayout("extreme", nullptr);
}

// Rounding a place up to a multiple of 4 could carry it past the largest
// 32-bit value; a centred place could leave 32 bits in fit mode.
TEST(ExtremeLayouts, PlacesThatLeaveThirtyTwoBitsAreRefused) {
    EXPECT_FALSE(morva::alignInward({INT32_MAX - 2, 0, 8, 8}));
    EXPECT_FALSE(morva::alignInward({0, INT32_MAX, 8, 8}));
    const auto lowest = morva::alignInward({INT32_MIN, INT32_MAX - 3, 7, -5});
    ASSERT_TRUE(lowest);
    EXPECT_TRUE(lowest->x == INT32_MIN && lowest->y == INT32_MAX - 3 && lowest->width == 4 && lowest->height == -8);
    // Centring a source on a height of the least value: 100 - INT32_MIN.
    const auto lowest_height = morva::calcTargetRect({0, 0, 16, 8}, {0, 0, 100, INT32_MIN}, morva::kScaleFit);
    ASSERT_TRUE(lowest_height);
    EXPECT_TRUE(lowest_height->rect.x == 1073741874 && lowest_height->rect.width == INT32_MIN && lowest_height->rect.y == 0);
    EXPECT_FALSE(morva::calcTargetRect({0, 0, 8, 16}, {INT32_MAX - 10, 0, 100, 100}, morva::kScaleFit));
    const auto fitted = morva::calcTargetRect({0, 0, 16, 16}, {INT32_MAX - 100, 0, 100, 100}, morva::kScaleFit);
    ASSERT_TRUE(fitted);
    EXPECT_TRUE(fitted->rect.x == INT32_MAX - 100 && fitted->rect.width == 100);
}

}  // namespace
