// The samples the check compares: which bytes of a region count, how 16-bit
// pixels and crossed chroma planes are read, and what PSNR says of them.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "frames.h"

namespace morva::peers {
namespace {

TEST(PeerFrames, SamplesLeaveOutTheFourthByteAndSplit16BitPixels) {
    const ImagePtr bgra = allocateImage(4, 2, FORMAT_RGB32);
    std::memset(bgra->data, 7, size_t(bgra->size));
    const std::vector<uint8_t> colour = pictureSamples(*bgra, {1, 0, 2, 2});
    EXPECT_EQ(colour, std::vector<uint8_t>(2 * 2 * 3, 7));

    const ImagePtr rgb565 = allocateImage(4, 2, FORMAT_RGB565);
    rgb565->data[0] = 0x1F;  // blue at full, then green and red at 0
    rgb565->data[1] = 0xF8;  // red at full
    EXPECT_EQ(pictureSamples(*rgb565, {0, 0, 1, 1}), (std::vector<uint8_t>{248, 0, 248}));
}

TEST(PeerFrames, SubsampledPlanesTakeTheirShareOfTheRegionAndChromaCanBeCrossed) {
    const ImagePtr i420 = allocateImage(8, 4, FORMAT_I420);
    for (int p = 0; p < 3; ++p) {
        const PlaneEntry& e = i420->planeInfo->planes[p];
        std::memset(e.data, 10 * (p + 1), size_t(e.size));
    }
    // Pixels 2..5 x 2..3: 4 x 2 luma samples, 2 x 1 of each chroma plane.
    const Rect region{2, 2, 4, 2};
    const std::vector<uint8_t> straight = pictureSamples(*i420, region);
    EXPECT_EQ(straight, (std::vector<uint8_t>{10, 10, 10, 10, 10, 10, 10, 10, 20, 20, 30, 30}));
    const std::vector<uint8_t> crossed = pictureSamples(*i420, region, true);
    EXPECT_EQ(crossed, (std::vector<uint8_t>{10, 10, 10, 10, 10, 10, 10, 10, 30, 30, 20, 20}));
}

TEST(PeerFrames, PsnrAndPicture) {
    const std::vector<uint8_t> ramp = {0, 64, 128, 192, 255, 30};
    std::vector<uint8_t> offByOne = ramp;
    for (uint8_t& v : offByOne) v = uint8_t(v == 255 ? 254 : v + 1);
    EXPECT_TRUE(std::isinf(psnr(ramp, ramp)));
    EXPECT_NEAR(psnr(ramp, offByOne), 48.13, 0.01);
    EXPECT_EQ(psnr(ramp, {1, 2}), 0.0);
    EXPECT_TRUE(hasPicture(ramp));
    EXPECT_FALSE(hasPicture(std::vector<uint8_t>(100, 128)));
}

TEST(PeerFrames, SceneImagesHoldAPictureInEveryFormatTheRowsUse) {
    for (int32_t format : {FORMAT_GRAY8, FORMAT_RGB32, FORMAT_RGB24, FORMAT_RGB565, FORMAT_I420,
                           FORMAT_NV12, FORMAT_YUY2, FORMAT_UYVY, FORMAT_YVYU}) {
        const ImagePtr image = sceneImage(64, 36, format);
        EXPECT_TRUE(hasPicture(pictureSamples(*image, wholeImage(*image)))) << formatName(format);
    }
}

}  // namespace
}  // namespace morva::peers
