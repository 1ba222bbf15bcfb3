#include <gtest/gtest.h>

#include <set>

#include "canvas.h"
#include "patterns.h"

namespace morvatool {
namespace {

TEST(ToolCanvas, StudioRangeColours) {
    const auto check = [](Rgb c, int y, int cb, int cr) {
        const Ycbcr v = toYcbcr(c);
        EXPECT_EQ(v.y, y);
        EXPECT_EQ(v.cb, cb);
        EXPECT_EQ(v.cr, cr);
    };
    check({0, 0, 0}, 16, 128, 128);
    check({255, 255, 255}, 235, 128, 128);
    check({255, 0, 0}, 82, 90, 240);
    check({0, 0, 255}, 41, 240, 110);
}

// Left half red, right half blue, 6x3: odd chroma edges and padding in every
// layout.
RgbCanvas halves() {
    RgbCanvas canvas(6, 3, {255, 0, 0});
    canvas.fillRect(4, 0, 2, 3, {0, 0, 255});
    return canvas;
}

TEST(ToolCanvas, PacksEachLayoutWithItsChromaOrder) {
    const Ycbcr red = toYcbcr({255, 0, 0}), blue = toYcbcr({0, 0, 255});
    {
        const ImagePtr i420 = packCanvas(halves(), FORMAT_I420, "i420");
        EXPECT_EQ(planeRow(*i420, 0, 3)[7], blue.y);  // padded column and row
        EXPECT_EQ(planeRow(*i420, 1, 1)[0], red.cb);
        EXPECT_EQ(planeRow(*i420, 2, 0)[2], blue.cr);
        EXPECT_EQ(planeRow(*i420, 2, 1)[3], blue.cr);
    }
    {
        const ImagePtr yv12 = packCanvas(halves(), FORMAT_YV12, "yv12");
        EXPECT_EQ(planeRow(*yv12, 1, 0)[0], red.cr);
        EXPECT_EQ(planeRow(*yv12, 2, 0)[0], red.cb);
    }
    {
        const ImagePtr nv12 = packCanvas(halves(), FORMAT_NV12, "nv12");
        const uint8_t* row = planeRow(*nv12, 1, 0);
        EXPECT_EQ(row[0], red.cb);
        EXPECT_EQ(row[1], red.cr);
        EXPECT_EQ(row[4], blue.cb);
        EXPECT_EQ(row[7], blue.cr);
    }
    {
        const ImagePtr yuy2 = packCanvas(halves(), FORMAT_YUY2, "yuy2");
        const uint8_t* row = planeRow(*yuy2, 0, 2);
        EXPECT_EQ(std::vector<uint8_t>(row, row + 4), (std::vector<uint8_t>{red.y, red.cb, red.y, red.cr}));
        EXPECT_EQ(std::vector<uint8_t>(row + 12, row + 16), (std::vector<uint8_t>{blue.y, blue.cb, blue.y, blue.cr}));
    }
    {
        const ImagePtr uyvy = packCanvas(halves(), FORMAT_UYVY, "uyvy");
        const uint8_t* row = planeRow(*uyvy, 0, 0);
        EXPECT_EQ(std::vector<uint8_t>(row, row + 4), (std::vector<uint8_t>{red.cb, red.y, red.cr, red.y}));
    }
    {
        RgbCanvas mixed(8, 2, {255, 0, 0});
        mixed.fillRect(2, 0, 2, 2, {0, 0, 255});
        const ImagePtr y411 = packCanvas(mixed, FORMAT_Y411, "y411");
        // A 4:1:1 block takes the mean of its two red and two blue pixels.
        EXPECT_EQ(planeRow(*y411, 1, 1)[0], toYcbcr({128, 0, 128}).cb);
        EXPECT_EQ(planeRow(*y411, 2, 1)[1], red.cr);
    }
}

TEST(ToolCanvas, PacksRgbBytesBlueFirst) {
    RgbCanvas canvas(1, 1, {0xF8, 0xFC, 0x08});
    const ImagePtr rgb32 = packCanvas(canvas, FORMAT_RGB32, "rgb32");
    EXPECT_EQ(std::vector<uint8_t>(rgb32->data, rgb32->data + 4), (std::vector<uint8_t>{0x08, 0xFC, 0xF8, 255}));
    const ImagePtr rgb24 = packCanvas(canvas, FORMAT_RGB24, "rgb24");
    EXPECT_EQ(std::vector<uint8_t>(rgb24->data, rgb24->data + 3), (std::vector<uint8_t>{0x08, 0xFC, 0xF8}));
    const ImagePtr rgb565 = packCanvas(canvas, FORMAT_RGB565, "rgb565");
    EXPECT_EQ(rgb565->data[0] | rgb565->data[1] << 8, 0xFFE1);
    const ImagePtr rgb555 = packCanvas(canvas, FORMAT_RGB555, "rgb555");
    EXPECT_EQ(rgb555->data[0] | rgb555->data[1] << 8, 0x7FE1);
    EXPECT_THROW(packCanvas(canvas, FORMAT_GRAY8, "grey"), ToolError);
}

TEST(ToolPatterns, MixPlanarPackedAndRgbSourcesOfTheirOwnSize) {
    std::set<int32_t> formats;
    for (const PatternDefinition& pattern : builtinPatterns()) {
        const ImagePtr image = makePatternImage(pattern);
        EXPECT_EQ(image->format, pattern.format) << pattern.name;
        EXPECT_EQ(image->width, pattern.width) << pattern.name;
        EXPECT_EQ(image->height, pattern.height) << pattern.name;
        formats.insert(pattern.format);
        // A pattern is a picture, not a flat fill: its middle row varies.
        const RgbCanvas canvas = drawPattern(pattern);
        std::set<int> colours;
        for (int32_t x = 0; x < canvas.width(); ++x) {
            const Rgb& c = canvas.at(x, canvas.height() / 2);
            colours.insert(c.red << 16 | c.green << 8 | c.blue);
        }
        EXPECT_GE(colours.size(), 2u) << pattern.name;
    }
    for (int32_t format : {FORMAT_RGB32, FORMAT_RGB24, FORMAT_RGB565, FORMAT_I420, FORMAT_YV12, FORMAT_NV12,
                           FORMAT_YUY2, FORMAT_UYVY})
        EXPECT_EQ(formats.count(format), 1u) << format;
}

}  // namespace
}  // namespace morvatool
