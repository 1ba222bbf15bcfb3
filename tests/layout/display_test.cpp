// Display: the bitmap description and pixels reach the drawing target, which
// draws what it can take.
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "morva.h"

namespace {

struct ImageDeleter {
    void operator()(TImage* image) const { morvaFreeImage(image); }
};
using ImagePtr = std::unique_ptr<TImage, ImageDeleter>;

struct Canvas {
    std::vector<uint8_t> pixels;
    MorvaCanvas canvas;
    MorvaDrawTarget target;
    Canvas(int width, int height) : pixels(size_t(width) * height * 4, 0x11) {
        canvas = {pixels.data(), width, height, width * 4};
        target = morvaCanvasTarget(&canvas);
    }
    const uint8_t* at(int x, int y) const { return &pixels[(size_t(y) * canvas.width + x) * 4]; }
};

class Display : public ::testing::Test {
protected:
    void SetUp() override { morvaInit(); }
    void TearDown() override { morvaFinit(); }
};

TEST_F(Display, DrawsRgbImagesTopLineFirstAtTheOrigin) {
    ImagePtr image(morvaAllocateImage("shown", 4, -2, FORMAT_RGB32, nullptr, 0));
    morvaClearImage(image.get(), 10, 20, 30, 40);
    image->data[4 * 4 + 0] = 99;  // first pixel of the second row
    Canvas canvas(8, 3);
    EXPECT_TRUE(morvaDisplayImage(image.get(), &canvas.target));
    EXPECT_EQ(canvas.at(0, 0)[0], 30);
    EXPECT_EQ(canvas.at(3, 0)[3], 40);
    EXPECT_EQ(canvas.at(0, 1)[0], 99);
    EXPECT_EQ(canvas.at(4, 0)[0], 0x11);  // beyond the image
    EXPECT_EQ(canvas.at(0, 2)[0], 0x11);

    ImagePtr rgb24(morvaAllocateImage("shown", 4, -2, FORMAT_RGB24, nullptr, 0));
    morvaClearImage(rgb24.get(), 1, 2, 3, 0);
    EXPECT_TRUE(morvaDisplayImage(rgb24.get(), &canvas.target));
    EXPECT_EQ(canvas.at(1, 1)[0], 3);
    EXPECT_EQ(canvas.at(1, 1)[2], 1);
    EXPECT_EQ(canvas.at(1, 1)[3], 255);
}

TEST_F(Display, OtherDescriptionsDrawNothingYetSucceed) {
    ImagePtr planar(morvaAllocateImage("shown", 4, 2, FORMAT_I420, nullptr, 0));
    Canvas canvas(4, 2);
    EXPECT_TRUE(morvaDisplayImage(planar.get(), &canvas.target));
    EXPECT_EQ(canvas.at(0, 0)[0], 0x11);
    EXPECT_TRUE(morvaDisplayImage(planar.get(), nullptr));
    EXPECT_FALSE(morvaDisplayImage(nullptr, &canvas.target));
}

TEST(DisplayClosed, NothingDrawsBeforeTheLibraryIsOpened) {
    ImagePtr image(morvaAllocateImage("shown", 4, 2, FORMAT_RGB32, nullptr, 0));
    Canvas canvas(4, 2);
    EXPECT_TRUE(morvaDisplayImage(image.get(), &canvas.target));
    EXPECT_EQ(canvas.at(0, 0)[0], 0x11);
    morvaFinit();  // closing a library that isn't open does nothing
}

}  // namespace
