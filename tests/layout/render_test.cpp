// Composition of sources into a target by a named layout.
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "morva.h"

namespace {

struct ImageDeleter {
    void operator()(TImage* image) const { morvaFreeImage(image); }
};
using ImagePtr = std::unique_ptr<TImage, ImageDeleter>;

ImagePtr solid(int width, int height, int format, uint8_t r, uint8_t g, uint8_t b) {
    ImagePtr image(morvaAllocateImage("solid", width, -height, format, nullptr, 0));
    morvaClearImage(image.get(), r, g, b, 0);
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
    void SetUp() override {
        ASSERT_TRUE(morvaSetLayout("quad", "rows:2;columns:2;"));
        target_ = solid(64, 32, FORMAT_RGB32, 9, 9, 9);
    }
    void TearDown() override { morvaSetLayout("quad", nullptr); }
    ImagePtr target_;
};

TEST_F(Render, FourSourcesFillTheirCells) {
    ImagePtr a = solid(16, 8, FORMAT_RGB32, 255, 0, 0), b = solid(16, 8, FORMAT_RGB32, 0, 255, 0),
             c = solid(16, 8, FORMAT_RGB32, 0, 0, 255), d = solid(16, 8, FORMAT_RGB32, 1, 2, 3);
    TImage* sources[] = {a.get(), b.get(), c.get(), d.get()};
    ASSERT_TRUE(morvaRender("QUAD", target_.get(), sources, 4));
    EXPECT_TRUE(regionIs(*target_, 0, 0, 32, 16, {0, 0, 255}));
    EXPECT_TRUE(regionIs(*target_, 32, 0, 32, 16, {0, 255, 0}));
    EXPECT_TRUE(regionIs(*target_, 0, 16, 32, 16, {255, 0, 0}));
    EXPECT_TRUE(regionIs(*target_, 32, 16, 32, 16, {3, 2, 1}));
}

TEST_F(Render, FitCentresOnMultiplesOfFourAndKeepsTheRest) {
    // A 16x16 source fits a 32x16 cell as 16x16 at x 8.
    ImagePtr square = solid(16, 16, FORMAT_RGB32, 200, 100, 50);
    TImage* sources[] = {nullptr, square.get()};
    ASSERT_TRUE(morvaRender("quad", target_.get(), sources, 2));
    EXPECT_TRUE(regionIs(*target_, 40, 0, 16, 16, {50, 100, 200}));
    EXPECT_TRUE(regionIs(*target_, 32, 0, 8, 16, {9, 9, 9}));
    EXPECT_TRUE(regionIs(*target_, 56, 0, 8, 16, {9, 9, 9}));
    // The empty cell and the cells past the sources keep their pixels.
    EXPECT_TRUE(regionIs(*target_, 0, 0, 32, 32, {9, 9, 9}));
    EXPECT_TRUE(regionIs(*target_, 32, 16, 32, 16, {9, 9, 9}));
}

TEST_F(Render, ConvertsSourcesOfOtherFormatsAndBuildsOnEarlierRenders) {
    ImagePtr grey = solid(16, 8, FORMAT_I420, 128, 128, 128);
    morvaSetAttributes(grey.get(), INTER_LINEAR, 0);
    TImage* first[] = {grey.get()};
    ASSERT_TRUE(morvaRender("quad", target_.get(), first, 1));
    const std::vector<int> converted = pixel(*target_, 0, 0);
    EXPECT_TRUE(regionIs(*target_, 0, 0, 32, 16, converted));

    ASSERT_TRUE(morvaSetLayout("corner", "margin-left:75;margin-top:50;width:25;height:50;"));
    ImagePtr red = solid(4, 4, FORMAT_RGB32, 255, 0, 0);
    TImage* second[] = {red.get()};
    ASSERT_TRUE(morvaRender("corner", target_.get(), second, 1));
    EXPECT_TRUE(regionIs(*target_, 48, 16, 16, 16, {0, 0, 255}));
    EXPECT_TRUE(regionIs(*target_, 0, 0, 32, 16, converted));
    morvaSetLayout("corner", nullptr);
}

TEST_F(Render, RefusalsLeaveTheTargetUntouched) {
    ImagePtr a = solid(16, 8, FORMAT_RGB32, 255, 0, 0);
    TImage* sources[] = {a.get()};
    EXPECT_FALSE(morvaRender("missing", target_.get(), sources, 1));
    EXPECT_FALSE(morvaRender("", target_.get(), sources, 1));
    EXPECT_FALSE(morvaRender(nullptr, target_.get(), sources, 1));
    EXPECT_FALSE(morvaRender("quad", nullptr, sources, 1));
    ASSERT_TRUE(morvaSetLayout("empty-grid", "rows:0;columns:2;"));
    EXPECT_FALSE(morvaRender("empty-grid", target_.get(), sources, 1));
    morvaSetLayout("empty-grid", nullptr);
    // Unknown scale modes and empty sources place nothing, but the render
    // as a whole succeeds.
    morvaSetAttributes(a.get(), -1, 7);
    EXPECT_TRUE(morvaRender("quad", target_.get(), sources, 1));
    EXPECT_TRUE(morvaRender("quad", target_.get(), nullptr, 3));
    EXPECT_TRUE(morvaRender("quad", target_.get(), sources, 0));
    EXPECT_TRUE(regionIs(*target_, 0, 0, 64, 32, {9, 9, 9}));
}

TEST(RenderFinalize, TurnsOnlyBottomUpTargets) {
    ImagePtr topDown(morvaAllocateImage("t", 4, -2, FORMAT_GRAY8, nullptr, 0));
    ImagePtr bottomUp(morvaAllocateImage("t", 4, 2, FORMAT_GRAY8, nullptr, 0));
    for (TImage* image : {topDown.get(), bottomUp.get()}) image->data[0] = 1;
    EXPECT_TRUE(morvaRenderFinalize(topDown.get()));
    EXPECT_TRUE(morvaRenderFinalize(bottomUp.get()));
    EXPECT_EQ(topDown->data[0], 1);
    EXPECT_EQ(bottomUp->data[4], 1);
    EXPECT_FALSE(morvaRenderFinalize(nullptr));
}

}  // namespace
