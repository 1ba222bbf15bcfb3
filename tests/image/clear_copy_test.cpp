// Clearing an image to one colour in its own format, and copying an image into
// another of any size and format.
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "morva.h"

namespace {

struct ImageDeleter {
    void operator()(TImage* image) const { morvaFreeImage(image); }
};
using ImagePtr = std::unique_ptr<TImage, ImageDeleter>;

ImagePtr allocate(int width, int height, int format, uint8_t fill = 0) {
    ImagePtr image(morvaAllocateImage("c", width, -height, format, nullptr, 0));
    std::fill(image->data, image->data + image->size, fill);
    return image;
}

std::vector<uint8_t> bytes(const uint8_t* p, size_t n) { return {p, p + n}; }

TEST(Clear, ComputesTheColourOnceAndFillsEachFormat) {
    ImagePtr planar = allocate(8, 4, FORMAT_I420);
    ASSERT_TRUE(morvaClearImage(planar.get(), 255, 255, 255, 255));
    const PlaneEntry* p = planar->planeInfo->planes;
    EXPECT_EQ(std::count(p[0].data, p[0].data + p[0].size, 255), p[0].size);
    EXPECT_EQ(std::count(p[1].data, p[1].data + p[1].size, 127), p[1].size);
    EXPECT_EQ(std::count(p[2].data, p[2].data + p[2].size, 127), p[2].size);
    ASSERT_TRUE(morvaClearImage(planar.get(), 0, 0, 0, 0));
    EXPECT_EQ(bytes(p[0].data, 1), bytes(std::vector<uint8_t>{0}.data(), 1));
    EXPECT_EQ(p[1].data[0], 128);
    EXPECT_EQ(p[2].data[3], 128);

    ImagePtr yuy2 = allocate(4, 2, FORMAT_YUY2);
    ASSERT_TRUE(morvaClearImage(yuy2.get(), 255, 0, 0, 0));
    EXPECT_EQ(bytes(yuy2->data, 8), std::vector<uint8_t>({76, 84, 76, 255, 76, 84, 76, 255}));
    ImagePtr uyvy = allocate(4, 2, FORMAT_UYVY);
    ASSERT_TRUE(morvaClearImage(uyvy.get(), 255, 0, 0, 0));
    EXPECT_EQ(bytes(uyvy->data, 4), std::vector<uint8_t>({255, 76, 84, 76}));

    ImagePtr bgra = allocate(4, 2, FORMAT_RGB32);
    ASSERT_TRUE(morvaClearImage(bgra.get(), 1, 2, 3, 4));
    EXPECT_EQ(bytes(bgra->data + 28, 4), std::vector<uint8_t>({3, 2, 1, 4}));
    ImagePtr bgr = allocate(4, 2, FORMAT_RGB24);
    ASSERT_TRUE(morvaClearImage(bgr.get(), 1, 2, 3, 4));
    EXPECT_EQ(bytes(bgr->data + 21, 3), std::vector<uint8_t>({3, 2, 1}));
}

TEST(Clear, FormatsWithoutAFillStayUntouched) {
    for (int format : {FORMAT_GRAY8, FORMAT_YUVA420P, FORMAT_RGB565, FORMAT_YUV444P}) {
        ImagePtr image = allocate(8, 4, format, 0x33);
        EXPECT_FALSE(morvaClearImage(image.get(), 10, 20, 30, 40)) << format;
        EXPECT_EQ(std::count(image->data, image->data + image->size, 0x33), image->size);
    }
    EXPECT_FALSE(morvaClearImage(nullptr, 0, 0, 0, 0));
}

TEST(Clear, TwoPlaneFourTwoZeroFillsOnlyTheTopLeftBlock) {
    ImagePtr nv12 = allocate(64, 64, FORMAT_NV12, 0x33);
    ASSERT_TRUE(morvaClearImage(nv12.get(), 0, 0, 0, 0));
    const PlaneEntry& luma = nv12->planeInfo->planes[0];
    const PlaneEntry& chroma = nv12->planeInfo->planes[1];
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 64; ++x)
            ASSERT_EQ(luma.data[y * luma.stride + x], x < 16 && y < 16 ? 0 : 0x33) << x << "," << y;
    for (int y = 0; y < 32; ++y)
        for (int x = 0; x < 64; ++x)
            ASSERT_EQ(chroma.data[y * chroma.stride + x], x < 16 && y < 8 ? 128 : 0x33);
    // A smaller image gets the blocks cut at its planes.
    ImagePtr small = allocate(8, 4, FORMAT_NV12, 0x33);
    ImagePtr guard = allocate(64, 4, FORMAT_GRAY8, 0x44);  // memory behind it stays
    ASSERT_TRUE(morvaClearImage(small.get(), 0, 0, 0, 0));
    EXPECT_EQ(std::count(small->data, small->data + 32, 0), 32);
    EXPECT_EQ(std::count(small->data + 32, small->data + 48, 128), 16);
}

TEST(Copy, EqualSizesConvertOnly) {
    ImagePtr source = allocate(8, 4, FORMAT_RGB24);
    morvaClearImage(source.get(), 10, 20, 30, 0);
    ImagePtr target = allocate(8, 4, FORMAT_RGB32, 0x55);
    ASSERT_TRUE(morvaCopyImage(source.get(), target.get(), 12345, 99));
    EXPECT_EQ(bytes(target->data, 4), std::vector<uint8_t>({30, 20, 10, 0}));
    EXPECT_FALSE(morvaCopyImage(source.get(), nullptr, INTER_NN, 1));
}

TEST(Copy, ResizesFirstAndCarriesZeroBytesAroundAFittedPicture) {
    // A 16x8 4:2:0 source fits a 16x16 target at y 4; the rows above and
    // below stay zero bytes of 4:2:0 in the work image, and convert as such.
    ImagePtr source = allocate(16, 8, FORMAT_I420);
    morvaClearImage(source.get(), 128, 128, 128, 0);
    ImagePtr target = allocate(16, 16, FORMAT_RGB32, 0x55);
    ASSERT_TRUE(morvaCopyImage(source.get(), target.get(), INTER_NN, 1));
    ImagePtr zeroYuv = allocate(16, 16, FORMAT_I420);
    ImagePtr zeroAsBgra = allocate(16, 16, FORMAT_RGB32);
    ASSERT_TRUE(morvaCopyImage(zeroYuv.get(), zeroAsBgra.get(), INTER_NN, 1));
    const int stride = target->planeInfo->planes[0].stride;
    EXPECT_EQ(bytes(target->data, 4), bytes(zeroAsBgra->data, 4));
    ImagePtr sourceAsBgra = allocate(16, 8, FORMAT_RGB32);
    ASSERT_TRUE(morvaCopyImage(source.get(), sourceAsBgra.get(), INTER_NN, 1));
    EXPECT_EQ(bytes(target->data + 6 * stride, 4), bytes(sourceAsBgra->data, 4));
    EXPECT_NE(bytes(target->data + 6 * stride, 4), bytes(zeroAsBgra->data, 4));

    ImagePtr untouched = allocate(16, 16, FORMAT_RGB32, 0x55);
    EXPECT_FALSE(morvaCopyImage(source.get(), untouched.get(), INTER_NN, 3));
    EXPECT_EQ(std::count(untouched->data, untouched->data + untouched->size, 0x55), untouched->size);
}

}  // namespace
