// The plane resize driver: per-plane rectangles, the equal-size copy, the
// limit of target rectangles to their planes, and the kernel and work buffer
// each path takes, the packed 4:2:2 route among them.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "resample/resize_driver.h"
#include "resample/yuv422_resize.h"
#include "resample_testing.h"

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

void fillPlanes(const Image& image, std::vector<uint8_t> values) {
    for (size_t i = 0; i < values.size(); ++i)
        std::memset(plane(image, int(i)).data, values[i], size_t(plane(image, int(i)).size));
}

// Bytes of the whole buffer and of a stretch behind it, which no plane owns.
std::vector<uint8_t> bufferAndBeyond(const Image& image) { return {image->data, image->data + image->size + 256}; }

// Which bytes of a plane hold `value`, as rows of '#' and '.'.
std::vector<std::string> mapOf(const Image& image, int index, uint8_t value) {
    const PlaneEntry& p = plane(image, index);
    std::vector<std::string> rows;
    for (int32_t y = 0; y < p.height; ++y) {
        rows.emplace_back();
        for (int32_t x = 0; x < p.stride; ++x) rows.back() += p.data[ptrdiff_t(y) * p.stride + x] == value ? '#' : '.';
    }
    return rows;
}

// With subsampling 2, x 3 and width 5 become x 2 and width 3; y 2 and
// height 4 become y 1 and height 2. Each plane is shifted to its own corner.
TEST(ResizeDriver, DividesRectanglesByEachPlanesSubsampling) {
    Image src = makeImage(16, 8, FORMAT_I420), dst = makeImage(32, 16, FORMAT_I420);
    fillPlanes(src, {200, 100, 50});
    ASSERT_TRUE(resizeImageInternal(src.get(), {0, 0, 16, 8}, dst.get(), {3, 2, 5, 4}, INTER_NN, 2.0, 2.0));
    const std::string lumaRow = "...#####" + std::string(24, '.'), chromaRow = "..###" + std::string(11, '.');
    std::vector<std::string> luma(16, std::string(32, '.')), chroma(8, std::string(16, '.'));
    std::fill(luma.begin() + 2, luma.begin() + 6, lumaRow);
    std::fill(chroma.begin() + 1, chroma.begin() + 3, chromaRow);
    EXPECT_EQ(mapOf(dst, 0, 200), luma);
    EXPECT_EQ(mapOf(dst, 1, 100), chroma);
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
    // Equal images with different rectangles resample.
    Image grey = makeImage(16, 8, FORMAT_GRAY8), half = makeImage(16, 8, FORMAT_GRAY8);
    for (int32_t i = 0; i < 128; ++i) plane(grey, 0).data[i / 16 * plane(grey, 0).stride + i % 16] = uint8_t(i);
    ASSERT_TRUE(resizeImageInternal(grey.get(), {0, 0, 16, 8}, half.get(), {0, 0, 8, 4}, INTER_NN, 0.5, 0.5));
    for (int32_t y = 0; y < 8; ++y)
        for (int32_t x = 0; x < 16; ++x)
            EXPECT_EQ(plane(half, 0).data[y * plane(half, 0).stride + x], x < 8 && y < 4 ? uint8_t(2 * x + 32 * y) : 0);
}

// A rectangle that reaches past a plane is cut at the plane's edge: nothing
// lands in the next row, behind the last plane, or anywhere else.
TEST(ResizeDriver, NothingIsWrittenOutsideAPlane) {
    for (int32_t interpolation : {INTER_NN, INTER_LINEAR}) {
        Image src = makeImage(16, 8, FORMAT_I420), dst = makeImage(16, 8, FORMAT_I420);
        fillPlanes(src, {77, 77, 77});
        std::memset(dst->data + dst->size, 0, 256);
        const std::vector<uint8_t> before = bufferAndBeyond(dst);
        ASSERT_TRUE(resizeImageInternal(src.get(), {0, 0, 16, 8}, dst.get(), {12, 5, 9, 7}, interpolation, 1.0, 1.0));
        std::vector<std::string> luma(8, std::string(16, '.')), chroma(4, "........");
        std::fill(luma.begin() + 5, luma.end(), "............####");
        chroma[3] = "......##";  // x 6 width 5 on a plane 8 wide; y 3 height 4 on a plane 4 high
        EXPECT_EQ(mapOf(dst, 0, 77), luma);
        EXPECT_EQ(mapOf(dst, 1, 77), chroma);
        EXPECT_EQ(mapOf(dst, 2, 77), chroma);
        const std::vector<uint8_t> after = bufferAndBeyond(dst);
        EXPECT_TRUE(std::equal(after.begin() + dst->size, after.end(), before.begin() + dst->size));
    }
}

// What no kernel takes fails; a kernel's own refusal is not the driver's:
// the plane stays, the result is true.
TEST(ResizeDriver, RefusalsOfTheDriverAndOfTheKernels) {
    Image y41p = makeImage(16, 8, FORMAT_Y41P), y41pTarget = makeImage(32, 16, FORMAT_Y41P);
    EXPECT_FALSE(resizeImageInternal(y41p.get(), {0, 0, 16, 8}, y41pTarget.get(), {0, 0, 32, 16}, INTER_NN, 2.0, 2.0));
    Image grey = makeImage(16, 8, FORMAT_GRAY8), rgb = makeImage(32, 16, FORMAT_RGB24);
    EXPECT_FALSE(resizeImageInternal(grey.get(), {0, 0, 16, 8}, rgb.get(), {0, 0, 32, 16}, INTER_NN, 2.0, 2.0));
    EXPECT_FALSE(resizeImageInternal(nullptr, {0, 0, 16, 8}, rgb.get(), {0, 0, 32, 16}, INTER_NN, 2.0, 2.0));
    Image src = makeImage(16, 8, FORMAT_RGB32), dst = makeImage(32, 16, FORMAT_RGB32);
    fillPlanes(src, {9});
    const std::vector<uint8_t> before = bufferAndBeyond(dst);
    EXPECT_TRUE(resizeImageInternal(src.get(), {16, 0, 16, 8}, dst.get(), {0, 0, 32, 16}, INTER_NN, 2.0, 2.0));
    EXPECT_TRUE(resizeImageInternal(src.get(), {0, 0, 16, 8}, dst.get(), {0, 0, 32, 16},
                                    INTER_CUBIC | EDGE_SMOOTH | EDGE_SUBPIXEL, 2.0, 2.0));
    EXPECT_EQ(bufferAndBeyond(dst), before);
}

// Plane 0 resized by the kernel of its sample type onto a cleared plane.
template <class T>
std::vector<uint8_t> byTheKernel(const PlaneEntry& in, const PlaneEntry& out, IppiRect srcRect, IppiRect dstRect,
                                 int32_t interpolation, double factor) {
    Plane<T> src = makePlane<T>(in.width, in.height, in.channels, in.stride / int32_t(sizeof(T)) - in.width * in.channels);
    std::memcpy(src.samples.data(), in.data, size_t(in.size));
    Plane<T> dst = makePlane<T>(out.width, out.height, out.channels, out.stride / int32_t(sizeof(T)) - out.width * out.channels);
    EXPECT_EQ(resizeGuarded(src, srcRect, dst, dstRect, factor, factor, 0.0, 0.0, interpolation).status, ippStsNoErr);
    const uint8_t* bytes = reinterpret_cast<const uint8_t*>(dst.samples.data());
    return {bytes, bytes + out.size};
}

// The driver hands a plane to the kernel of its sample type and gives it
// the work buffer its path needs: a super-sampling box far wider than the
// region (one pixel at (24, 24), factor 0.02: the 50 x 50 samples from the
// corner), and an antialiasing pass over every source row though the region
// has ten. A sanitizer build reports any write past the driver's buffer.
// Packed 4:2:2 goes through its own kernel with luma widths (the region's x
// in macro-pixels), from the plane's corner whatever the rectangle.
TEST(ResizeDriver, TakesTheKernelAndBufferOfEachPath) {
    struct Case { int32_t format, srcWidth, srcHeight, dstWidth, dstHeight; IppiRect srcRect, dstRect; int32_t interpolation; double factor; };
    const Case cases[] = {
        {FORMAT_RGB565, 16, 8, 24, 12, {0, 0, 16, 8}, {0, 0, 24, 12}, INTER_LINEAR, 1.5},
        {FORMAT_GRAY8, 100, 100, 4, 4, {24, 24, 1, 1}, {0, 0, 4, 4}, INTER_SUPER, 0.02},
        {FORMAT_RGB32, 64, 200, 32, 100, {0, 150, 64, 10}, {0, 0, 32, 100}, INTER_LANCZOS | RESIZE_ANTIALIASING, 0.5},
        {FORMAT_YUY2, 16, 8, 24, 12, {4, 0, 12, 8}, {0, 0, 24, 12}, INTER_LINEAR, 1.5},
        {FORMAT_YUY2, 16, 8, 24, 12, {4, 0, 12, 8}, {8, 4, 12, 8}, INTER_LINEAR, 1.5}};
    Rng rng(616);
    for (const Case& c : cases) {
        SCOPED_TRACE("format " + std::to_string(c.format));
        const Image src = makeImage(c.srcWidth, c.srcHeight, c.format), dst = makeImage(c.dstWidth, c.dstHeight, c.format);
        rng.fill(src->data, size_t(src->size));
        ASSERT_TRUE(resizeImageInternal(src.get(), c.srcRect, dst.get(), c.dstRect, c.interpolation, c.factor, c.factor));
        const PlaneEntry &in = plane(src, 0), &out = plane(dst, 0);
        std::vector<uint8_t> expected(size_t(out.size), 0);
        if (c.format == FORMAT_YUY2)
            EXPECT_EQ(ippiResizeYUV422_8u_C2R(in.data, {c.srcWidth, c.srcHeight}, in.stride,
                                    {c.srcRect.x / 2, c.srcRect.y, c.srcRect.width, c.srcRect.height}, expected.data(),
                                    out.stride, {c.dstWidth, c.dstHeight}, c.factor, c.factor, c.interpolation), ippStsNoErr);
        else
            expected = in.bytesPerChannel == 2
                           ? byTheKernel<uint16_t>(in, out, c.srcRect, c.dstRect, c.interpolation, c.factor)
                           : byTheKernel<uint8_t>(in, out, c.srcRect, c.dstRect, c.interpolation, c.factor);
        EXPECT_EQ(std::vector<uint8_t>(out.data, out.data + out.size), expected);
        EXPECT_NE(expected, std::vector<uint8_t>(expected.size(), 0));
    }
}

}  // namespace
}  // namespace morva::testing
