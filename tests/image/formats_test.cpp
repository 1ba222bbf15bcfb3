// The format table as images see it: plane geometry of every format, and the
// mapping between formats and bitmap compression codes.
#include <gtest/gtest.h>

#include <memory>

#include "common/testing.h"
#include "image/formats.h"
#include "morva.h"

namespace {

using morva::makeFourcc;

struct ImageDeleter {
    void operator()(TImage* image) const { morvaFreeImage(image); }
};
using ImagePtr = std::unique_ptr<TImage, ImageDeleter>;

ImagePtr allocate(int width, int height, int format) {
    return ImagePtr(morvaAllocateImage("test", width, height, format, nullptr, 0));
}

struct PlaneExpectation {
    int plane, width, height, stride, offset;
};

struct GeometryCase {
    int format, width, height;
    int size;
    std::vector<PlaneExpectation> planes;
};

class FormatGeometry : public ::testing::TestWithParam<GeometryCase> {};

TEST_P(FormatGeometry, PlanesHaveTheDefinedStridesAndOffsets) {
    const GeometryCase& c = GetParam();
    ImagePtr image = allocate(c.width, c.height, c.format);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->size, c.size);
    for (const PlaneExpectation& e : c.planes) {
        const PlaneEntry& p = image->planeInfo->planes[e.plane];
        SCOPED_TRACE("plane " + std::to_string(e.plane));
        EXPECT_EQ(p.width, e.width);
        EXPECT_EQ(p.height, e.height);
        EXPECT_EQ(p.stride, e.stride);
        EXPECT_EQ(p.offset, e.offset);
        EXPECT_EQ(p.size, e.stride * e.height);
    }
}

INSTANTIATE_TEST_SUITE_P(
    WorkedExamples, FormatGeometry,
    ::testing::Values(
        GeometryCase{FORMAT_I420, 640, 480, 460800,
                     {{0, 640, 480, 640, 0}, {1, 320, 240, 320, 307200}, {2, 320, 240, 320, 384000}}},
        // Width 10 rounds to 12, height -7 to 8; 24-bit lines align to 4 bytes.
        GeometryCase{FORMAT_RGB24, 10, -7, 288, {{0, 12, 8, 36, 0}}},
        // The bit mask makes the strides of the packed 4:1:1 rows.
        GeometryCase{FORMAT_Y411_PACKED, 4, 2, 20, {{0, 1, 2, 10, 0}}},
        GeometryCase{FORMAT_Y411_PACKED, 8, 2, 32, {{0, 2, 2, 16, 0}}},
        GeometryCase{FORMAT_Y41P, 8, 2, 40, {{0, 1, 2, 20, 0}}},
        GeometryCase{FORMAT_Y41P, 16, 2, 64, {{0, 2, 2, 32, 0}}},
        // Plane 0 of this format aligns its lines to 2 bytes.
        GeometryCase{FORMAT_YV12, 4, 2, 12, {{0, 4, 2, 4, 0}, {1, 2, 1, 2, 8}, {2, 2, 1, 2, 10}}},
        GeometryCase{FORMAT_NV12, 8, 6, 72, {{0, 8, 6, 8, 0}, {1, 8, 3, 8, 48}}},
        GeometryCase{FORMAT_YUY2, 6, 2, 32, {{0, 4, 2, 16, 0}}},
        GeometryCase{FORMAT_RGB565, 4, 2, 16, {{0, 4, 2, 8, 0}}},
        GeometryCase{FORMAT_YVU9, 12, 6, 84, {{0, 12, 6, 12, 0}, {1, 3, 2, 3, 72}, {2, 3, 2, 3, 78}}},
        GeometryCase{FORMAT_YUVA420P, 4, 2, 20,
                     {{0, 4, 2, 4, 0}, {1, 2, 1, 2, 8}, {2, 2, 1, 2, 10}, {3, 4, 2, 4, 12}}}));

// Invariants of every format at random sizes: planes lie one behind the other,
// lines hold their units, and the entries behind the format's planes stay zero.
TEST(FormatGeometry, EveryFormatHoldsItsPlanesContiguously) {
    MORVA_SEED_TRACE();
    morva::testing::Rng rng(1);
    for (int format = 0; format < 22; ++format) {
        for (int round = 0; round < 8; ++round) {
            const int width = rng.uniform(1, 97);
            const int height = rng.uniform(-41, 41);
            if (height == 0) continue;
            SCOPED_TRACE(::testing::Message() << "format " << format << " " << width << "x" << height);
            ImagePtr image = allocate(width, height, format);
            ASSERT_NE(image, nullptr);
            const morva::PixelFormatRow* row = morva::findFormatRow(format);
            ASSERT_NE(row, nullptr);
            EXPECT_EQ(image->width % 4, 0);
            EXPECT_EQ(image->height % 2, 0);
            EXPECT_EQ(image->planeInfo->planeCount, row->planes);
            int offset = 0;
            for (int i = 0; i < 4; ++i) {
                const PlaneEntry& p = image->planeInfo->planes[i];
                if (i >= row->planes) {
                    const PlaneEntry zero{};
                    EXPECT_EQ(std::memcmp(&p, &zero, sizeof p), 0);
                    continue;
                }
                EXPECT_EQ(p.offset, offset);
                EXPECT_EQ(p.data, image->data + offset);
                EXPECT_EQ(p.width, (image->width + p.subW - 1) / p.subW);
                EXPECT_EQ(p.height, (image->height + p.subH - 1) / p.subH);
                EXPECT_GE(p.stride, p.width * p.channels * p.bytesPerChannel);
                EXPECT_EQ(p.reserved, 0);
                offset += p.size;
            }
            EXPECT_EQ(image->size, offset);
        }
    }
}

TEST(FormatTable, LookupFollowsTheStoredOrder) {
    EXPECT_EQ(morva::findFormatRow(22), nullptr);
    EXPECT_EQ(morva::findFormatRow(-1), nullptr);
    const morva::PixelFormatRow* grayAlpha = morva::findFormatRow(FORMAT_GRAYA8);
    ASSERT_NE(grayAlpha, nullptr);
    // Id 21 stands as the 18th row, right behind grey.
    EXPECT_EQ(grayAlpha - morva::findFormatRow(FORMAT_YV12), 17);
}

TEST(CompressionCodes, FromFormat) {
    EXPECT_EQ(morvaGetBitmapColorFormat(FORMAT_YV12), 0x32315659u);
    EXPECT_EQ(morvaGetBitmapColorFormat(FORMAT_I420), makeFourcc('I', '4', '2', '0'));
    EXPECT_EQ(morvaGetBitmapColorFormat(FORMAT_RGB565), 3u);
    for (int id : {7, 8, 9, 11, 12, 14, 15, 16, 17, 18, 19, 21, 22, -1})
        EXPECT_EQ(morvaGetBitmapColorFormat(id), 0u) << id;
}

TEST(CompressionCodes, FromHeader) {
    EXPECT_EQ(morvaGetBitmapColorFormat(nullptr), -1);
    BITMAPINFOHEADER h{};
    auto formatOf = [&](uint32_t compression, uint16_t bits) {
        h.biCompression = compression;
        h.biBitCount = bits;
        return morvaGetBitmapColorFormat(&h);
    };
    EXPECT_EQ(formatOf(0, 24), FORMAT_RGB24);
    EXPECT_EQ(formatOf(0, 32), FORMAT_RGB32);
    EXPECT_EQ(formatOf(0, 16), -1);
    EXPECT_EQ(formatOf(3, 7), FORMAT_RGB565);
    EXPECT_EQ(formatOf(makeFourcc('I', 'Y', 'U', 'V'), 12), FORMAT_I420);
    EXPECT_EQ(formatOf(makeFourcc('Y', 'V', 'U', '9'), 9), FORMAT_YVU9);
    EXPECT_EQ(formatOf(makeFourcc('Y', 'U', 'V', '9'), 9), -1);
    // The codes written for formats with one read back as the same format.
    for (int id : {0, 1, 2, 3, 4, 5, 6, 10, 13, 20})
        EXPECT_EQ(formatOf(morvaGetBitmapColorFormat(id), 16), id) << id;
}

}  // namespace
