// The plane resize driver: per-plane rectangles, the equal-size copy, the
// limit of target rectangles to their planes, the kernel choice and the
// packed 4:2:2 route.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <vector>

#include "common/testing.h"
#include "morva.h"
#include "resample/resize.h"
#include "resample/resize_driver.h"
#include "resample/yuv422_resize.h"

namespace morva::testing {
namespace {

struct FreeImage {
    void operator()(TImage* image) const { morvaFreeImage(image); }
};
using Image = std::unique_ptr<TImage, FreeImage>;

// A top-down image of the format, its planes cleared.
Image makeImage(int32_t width, int32_t height, int32_t format) {
    return Image(morvaAllocateImage("resize", width, -height, format, nullptr, 0));
}

const PlaneEntry& plane(const Image& image, int index) { return image->planeInfo->planes[index]; }

void fillPlane(const Image& image, int index, uint8_t value) {
    const PlaneEntry& p = plane(image, index);
    std::memset(p.data, value, size_t(p.stride) * p.height);
}

// Bytes of the whole buffer and of a stretch behind it, which no plane owns.
std::vector<uint8_t> bufferAndBeyond(const Image& image) {
    return {image->data, image->data + image->size + 256};
}

// Which bytes of a plane hold `value`, as rows of '#' and '.'.
std::vector<std::string> mapOf(const Image& image, int index, uint8_t value) {
    const PlaneEntry& p = plane(image, index);
    std::vector<std::string> rows;
    for (int32_t y = 0; y < p.height; ++y) {
        std::string row;
        for (int32_t x = 0; x < p.stride; ++x) row += p.data[ptrdiff_t(y) * p.stride + x] == value ? '#' : '.';
        rows.push_back(row);
    }
    return rows;
}

// With subsampling 2, x 3 and width 5 become x 2 and width 3; y 2 and
// height 4 become y 1 and height 2. Each plane is shifted to its own corner.
TEST(ResizeDriver, DividesRectanglesByEachPlanesSubsampling) {
    Image src = makeImage(16, 8, FORMAT_I420), dst = makeImage(32, 16, FORMAT_I420);
    fillPlane(src, 0, 200);
    fillPlane(src, 1, 100);
    fillPlane(src, 2, 50);
    ASSERT_TRUE(resizeImageInternal(src.get(), {0, 0, 16, 8}, dst.get(), {3, 2, 5, 4}, INTER_NN, 2.0, 2.0));
    const std::vector<std::string> luma = mapOf(dst, 0, 200), chroma = mapOf(dst, 1, 100);
    for (int32_t y = 0; y < 16; ++y)
        EXPECT_EQ(luma[size_t(y)], y >= 2 && y < 6 ? "...#####........................" : std::string(32, '.')) << y;
    for (int32_t y = 0; y < 8; ++y)
        EXPECT_EQ(chroma[size_t(y)], y >= 1 && y < 3 ? "..###..........." : std::string(16, '.')) << y;
    EXPECT_EQ(mapOf(dst, 2, 50), chroma);
}

TEST(ResizeDriver, EqualSizesCopyTheWholeBuffer) {
    Image src = makeImage(16, 8, FORMAT_RGB24), dst = makeImage(16, 8, FORMAT_RGB24);
    Rng rng(11);
    rng.fill(src->data, size_t(src->size));
    // Rectangles of equal size at different places: still a copy of all bytes.
    ASSERT_TRUE(resizeImageInternal(src.get(), {0, 0, 4, 4}, dst.get(), {8, 2, 4, 4}, INTER_LINEAR, 1.0, 1.0));
    EXPECT_EQ(0, std::memcmp(src->data, dst->data, size_t(src->size)));
    // Differing size fields refuse the copy.
    Image other = makeImage(16, 8, FORMAT_RGB24);
    other->size -= 4;
    EXPECT_FALSE(resizeImageInternal(src.get(), {0, 0, 4, 4}, other.get(), {0, 0, 4, 4}, INTER_NN, 1.0, 1.0));
    other->size += 4;
}

TEST(ResizeDriver, EqualImagesWithDifferentRectanglesResample) {
    Image src = makeImage(16, 8, FORMAT_GRAY8), dst = makeImage(16, 8, FORMAT_GRAY8);
    for (int32_t y = 0; y < 8; ++y)
        for (int32_t x = 0; x < 16; ++x) plane(src, 0).data[y * plane(src, 0).stride + x] = uint8_t(x + 16 * y);
    ASSERT_TRUE(resizeImageInternal(src.get(), {0, 0, 16, 8}, dst.get(), {0, 0, 8, 4}, INTER_NN, 0.5, 0.5));
    const PlaneEntry& d = plane(dst, 0);
    for (int32_t y = 0; y < 8; ++y)
        for (int32_t x = 0; x < 16; ++x)
            EXPECT_EQ(d.data[y * d.stride + x], x < 8 && y < 4 ? uint8_t(2 * x + 32 * y) : 0) << x << "," << y;
}

// A rectangle that reaches past a plane is cut at the plane's edge: nothing
// lands in the next row, behind the last plane, or anywhere else.
TEST(ResizeDriver, NothingIsWrittenOutsideAPlane) {
    for (int32_t interpolation : {INTER_NN, INTER_LINEAR}) {
        Image src = makeImage(16, 8, FORMAT_I420), dst = makeImage(16, 8, FORMAT_I420);
        fillPlane(src, 0, 77);
        fillPlane(src, 1, 77);
        fillPlane(src, 2, 77);
        std::memset(dst->data + dst->size, 0, 256);
        const std::vector<uint8_t> before = bufferAndBeyond(dst);
        ASSERT_TRUE(resizeImageInternal(src.get(), {0, 0, 16, 8}, dst.get(), {12, 5, 9, 7}, interpolation, 1.0, 1.0));
        const std::vector<std::string> luma = mapOf(dst, 0, 77), chroma = mapOf(dst, 1, 77);
        for (int32_t y = 0; y < 8; ++y)
            EXPECT_EQ(luma[size_t(y)], y >= 5 ? "............####" : std::string(16, '.')) << y;
        // Chroma x 6 width 5 on a plane 8 wide; y 3 height 4 on a plane 4 high.
        for (int32_t y = 0; y < 4; ++y) EXPECT_EQ(chroma[size_t(y)], y == 3 ? "......##" : "........") << y;
        EXPECT_EQ(mapOf(dst, 2, 77), chroma);
        const std::vector<uint8_t> after = bufferAndBeyond(dst);
        EXPECT_TRUE(std::equal(after.begin() + dst->size, after.end(), before.begin() + dst->size));
    }
}

TEST(ResizeDriver, RefusesWhatNoKernelTakes) {
    Image y41p = makeImage(16, 8, FORMAT_Y41P), y41pTarget = makeImage(32, 16, FORMAT_Y41P);
    EXPECT_FALSE(resizeImageInternal(y41p.get(), {0, 0, 16, 8}, y41pTarget.get(), {0, 0, 32, 16}, INTER_NN, 2.0, 2.0));
    Image grey = makeImage(16, 8, FORMAT_GRAY8), rgb = makeImage(32, 16, FORMAT_RGB24);
    EXPECT_FALSE(resizeImageInternal(grey.get(), {0, 0, 16, 8}, rgb.get(), {0, 0, 32, 16}, INTER_NN, 2.0, 2.0));
    EXPECT_FALSE(resizeImageInternal(nullptr, {0, 0, 16, 8}, rgb.get(), {0, 0, 32, 16}, INTER_NN, 2.0, 2.0));
}

// A kernel's refusal is not the driver's: the plane stays, the result is true.
TEST(ResizeDriver, ARefusedPlaneStaysAsItWas) {
    Image src = makeImage(16, 8, FORMAT_RGB32), dst = makeImage(32, 16, FORMAT_RGB32);
    fillPlane(src, 0, 9);
    const std::vector<uint8_t> before = bufferAndBeyond(dst);
    EXPECT_TRUE(resizeImageInternal(src.get(), {16, 0, 16, 8}, dst.get(), {0, 0, 32, 16}, INTER_NN, 2.0, 2.0));
    EXPECT_TRUE(resizeImageInternal(src.get(), {0, 0, 16, 8}, dst.get(), {0, 0, 32, 16}, INTER_CUBIC | EDGE_SMOOTH | EDGE_SUBPIXEL, 2.0, 2.0));
    EXPECT_EQ(bufferAndBeyond(dst), before);
}

// 16-bit pixels of one channel go to the 16u kernel as whole numbers.
TEST(ResizeDriver, SixteenBitPlanesTakeTheSixteenBitKernel) {
    Image src = makeImage(16, 8, FORMAT_RGB565), dst = makeImage(24, 12, FORMAT_RGB565);
    Rng rng(12);
    rng.fill(src->data, size_t(src->size));
    ASSERT_TRUE(resizeImageInternal(src.get(), {0, 0, 16, 8}, dst.get(), {0, 0, 24, 12}, INTER_LINEAR, 1.5, 1.5));
    Image expected = makeImage(24, 12, FORMAT_RGB565);
    std::vector<uint8_t> buffer(1 << 16);
    const PlaneEntry &s = plane(src, 0), &e = plane(expected, 0);
    ASSERT_EQ(ippiResizeSqrPixel_16u_C1R(reinterpret_cast<const uint16_t*>(s.data), {16, 8}, s.stride, {0, 0, 16, 8},
                                         reinterpret_cast<uint16_t*>(e.data), e.stride, {0, 0, 24, 12}, 1.5, 1.5,
                                         0.0, 0.0, INTER_LINEAR, buffer.data()),
              ippStsNoErr);
    EXPECT_EQ(0, std::memcmp(dst->data, expected->data, size_t(dst->size)));
}

// Packed 4:2:2 goes through its own kernel with luma widths (the region's x
// stays in macro-pixels), from the plane's corner whatever the rectangle.
TEST(ResizeDriver, PackedYuv422TakesItsOwnKernel) {
    Image src = makeImage(16, 8, FORMAT_YUY2);
    Rng rng(13);
    rng.fill(src->data, size_t(src->size));
    Image expected = makeImage(24, 12, FORMAT_YUY2);
    const PlaneEntry &s = plane(src, 0), &e = plane(expected, 0);
    ippiResizeYUV422_8u_C2R(s.data, {16, 8}, s.stride, {1, 0, 12, 8}, e.data, e.stride, {24, 12}, 1.5, 1.5, INTER_LINEAR);
    for (IppiRect target : {IppiRect{0, 0, 24, 12}, IppiRect{8, 4, 12, 8}}) {
        Image dst = makeImage(24, 12, FORMAT_YUY2);
        ASSERT_TRUE(resizeImageInternal(src.get(), {2, 0, 12, 8}, dst.get(), target, INTER_LINEAR, 1.5, 1.5));
        EXPECT_EQ(0, std::memcmp(dst->data, expected->data, size_t(dst->size)));
    }
}

}  // namespace
}  // namespace morva::testing
