// Image objects and access: life cycle, dump text, bitmap descriptions,
// loading and flipping.
#include <gtest/gtest.h>

#include <memory>
#include <numeric>
#include <vector>

#include "common/testing.h"
#include "image/image.h"
#include "morva.h"

namespace {

struct ImageDeleter {
    void operator()(TImage* image) const { morvaFreeImage(image); }
};
using ImagePtr = std::unique_ptr<TImage, ImageDeleter>;

ImagePtr allocate(int width, int height, int format, const uint8_t* data = nullptr, int wrap = 0,
                  const char* name = "test") {
    return ImagePtr(morvaAllocateImage(name, width, height, format, data, wrap));
}

std::vector<uint8_t> counting(size_t n) {
    std::vector<uint8_t> v(n);
    std::iota(v.begin(), v.end(), uint8_t(0));
    return v;
}

// Row r of a plane, as bytes.
std::vector<uint8_t> row(const TImage& image, int plane, int r) {
    const PlaneEntry& p = image.planeInfo->planes[plane];
    const uint8_t* start = p.data + ptrdiff_t(r) * p.stride;
    return {start, start + p.stride};
}

TEST(Allocate, RoundsSizesAndRecordsTheCallersView) {
    ImagePtr bottomUp = allocate(10, 7, FORMAT_RGB24);
    ImagePtr topDown = allocate(10, -7, FORMAT_RGB24);
    ASSERT_TRUE(bottomUp && topDown);
    for (const TImage* image : {bottomUp.get(), topDown.get()}) {
        EXPECT_EQ(image->width, 12);
        EXPECT_EQ(image->height, 8);
        EXPECT_EQ(image->planeInfo->planes[0].stride, 36);
        EXPECT_EQ(image->size, 288);
        EXPECT_TRUE(image->owned);
        EXPECT_EQ(image->planeInfo->interpolation, INTER_NN);
        EXPECT_EQ(image->planeInfo->scaleMode, 1);
    }
    EXPECT_TRUE(bottomUp->flipped);
    EXPECT_FALSE(topDown->flipped);
    EXPECT_GT(topDown->id, bottomUp->id);
    // The pixels start cleared.
    EXPECT_EQ(std::count(bottomUp->data, bottomUp->data + bottomUp->size, 0), bottomUp->size);
}

TEST(Allocate, RefusesUnknownFormatsAndEmptyBuffers) {
    ImagePtr before = allocate(4, 2, FORMAT_GRAY8);
    EXPECT_EQ(allocate(4, 2, 22), nullptr);
    ImagePtr after = allocate(4, 2, FORMAT_GRAY8);
    // The refused image still took an id.
    EXPECT_EQ(after->id, before->id + 2);
    // A height of 0 asks the allocator for no bytes, which it refuses...
    EXPECT_EQ(allocate(8, 0, FORMAT_GRAY8), nullptr);
    // ...but a caller's buffer makes an image of no lines.
    uint8_t byte = 7;
    ImagePtr empty = allocate(8, 0, FORMAT_GRAY8, &byte, 1);
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(empty->size, 0);
    EXPECT_FALSE(empty->flipped);
    // Sizes whose bytes leave 32 bits are refused.
    EXPECT_EQ(allocate(1 << 20, 1 << 12, FORMAT_RGB32), nullptr);
    EXPECT_EQ(allocate(-8, 2, FORMAT_GRAY8), nullptr);
}

TEST(Allocate, LoadsDataBottomUpOrWrapsIt) {
    const std::vector<uint8_t> frame = counting(8);  // 4x2 grey: rows 0..3, 4..7
    ImagePtr copied = allocate(4, 2, FORMAT_GRAY8, frame.data());
    EXPECT_EQ(row(*copied, 0, 0), std::vector<uint8_t>({4, 5, 6, 7}));

    std::vector<uint8_t> callers = frame;
    ImagePtr wrapped = allocate(4, 2, FORMAT_GRAY8, callers.data(), 1);
    EXPECT_EQ(wrapped->data, callers.data());
    EXPECT_FALSE(wrapped->owned);
    // The caller's own buffer was turned over at creation.
    EXPECT_EQ(callers, std::vector<uint8_t>({4, 5, 6, 7, 0, 1, 2, 3}));
    wrapped.reset();
    EXPECT_EQ(callers, std::vector<uint8_t>({4, 5, 6, 7, 0, 1, 2, 3}));

    // Wrapping with no data allocates after all.
    ImagePtr own = allocate(4, 2, FORMAT_GRAY8, nullptr, 1);
    EXPECT_TRUE(own->owned);
}

TEST(Allocate, FromBitmapHeader) {
    BITMAPINFOHEADER h{};
    h.biWidth = 6;
    h.biHeight = -3;
    h.biBitCount = 32;
    ImagePtr image(morvaAllocateImageEx(&h, nullptr, 0));
    ASSERT_NE(image, nullptr);
    EXPECT_STREQ(image->name, "morvaAllocateImageEx");
    EXPECT_EQ(image->format, FORMAT_RGB32);
    EXPECT_EQ(image->width, 8);
    EXPECT_EQ(image->height, 4);
    EXPECT_FALSE(image->flipped);
    h.biBitCount = 16;
    EXPECT_EQ(morvaAllocateImageEx(&h, nullptr, 0), nullptr);
    EXPECT_EQ(morvaAllocateImageEx(nullptr, nullptr, 0), nullptr);
}

TEST(Clone, CopiesPixelsThroughThePublicConstructor) {
    const std::vector<uint8_t> frame = counting(24);
    ImagePtr source = allocate(4, -4, FORMAT_I420, frame.data());
    morvaSetAttributes(source.get(), INTER_LINEAR, 0);
    ImagePtr clone(morvaCloneImage(source.get()));
    ASSERT_NE(clone, nullptr);
    EXPECT_NE(clone->id, source->id);
    EXPECT_NE(clone->data, source->data);
    EXPECT_TRUE(std::equal(frame.begin(), frame.end(), clone->data));
    EXPECT_TRUE(clone->flipped);
    EXPECT_EQ(clone->planeInfo->interpolation, INTER_NN);
    EXPECT_EQ(clone->planeInfo->scaleMode, 1);
    EXPECT_STREQ(clone->name, "test");
    EXPECT_EQ(morvaCloneImage(nullptr), nullptr);
}

TEST(Attributes, NegativeValuesKeepTheField) {
    ImagePtr image = allocate(4, 2, FORMAT_GRAY8);
    EXPECT_TRUE(morvaSetAttributes(image.get(), -1, 0));
    EXPECT_EQ(image->planeInfo->interpolation, INTER_NN);
    EXPECT_EQ(image->planeInfo->scaleMode, 0);
    EXPECT_TRUE(morvaSetAttributes(image.get(), 77, 9));
    EXPECT_EQ(image->planeInfo->interpolation, 77);
    EXPECT_EQ(image->planeInfo->scaleMode, 9);
    TImage hollow{};
    EXPECT_FALSE(morvaSetAttributes(&hollow, 1, 1));
    EXPECT_FALSE(morvaSetAttributes(nullptr, 1, 1));
}

TEST(Describe, PrintsTheDumpText) {
    ImagePtr named = allocate(10, -7, FORMAT_RGB24);
    const std::string expected = "\n     Name: test\n\t Image ID: " + std::to_string(named->id) +
                                 "\n\tDimension: 12 x 8\n\t   Format: 12\n\t     Size: 288\n"
                                 "\t  Managed: false\n\t  Flipped: false\n";
    EXPECT_EQ(morva::describeImage(named.get()), expected);

    uint8_t buffer[8] = {};
    ImagePtr anonymous = allocate(4, 2, FORMAT_GRAY8, buffer, 1, "");
    const std::string text = morva::describeImage(anonymous.get());
    EXPECT_NE(text.find("Name: <empty>\n"), std::string::npos);
    EXPECT_NE(text.find("Managed: true\n"), std::string::npos);
    EXPECT_NE(text.find("Flipped: true\n"), std::string::npos);
    EXPECT_EQ(morva::describeImage(nullptr), "");
}

TEST(Access, GettersAndBitmapDescriptions) {
    ImagePtr image = allocate(16, 16, FORMAT_RGB32);
    EXPECT_TRUE(morvaGetImageDimension(image.get(), nullptr, nullptr, nullptr));
    uint8_t* data = nullptr;
    int size = 0;
    EXPECT_TRUE(morvaGetImageInfo(image.get(), &data, &size));
    EXPECT_EQ(data, image->data);
    EXPECT_EQ(size, 1024);
    EXPECT_FALSE(morvaGetImageInfo(nullptr, &data, &size));

    BITMAPINFOHEADER h;
    std::memset(&h, 0xFF, sizeof h);
    ASSERT_TRUE(morvaGetBitmapInfoHeader(image.get(), &h));
    EXPECT_EQ(h.biSize, 0u);
    EXPECT_EQ(h.biWidth, 16);
    EXPECT_EQ(h.biHeight, -16);
    EXPECT_EQ(h.biBitCount, 0);
    EXPECT_EQ(h.biSizeImage, 1024u);
    EXPECT_EQ(h.biPlanes, 1);
    EXPECT_EQ(h.biXPelsPerMeter, 0);
    EXPECT_FALSE(morvaGetBitmapInfoHeader(image.get(), nullptr));

    BITMAPINFO info;
    std::memset(&info, 0xFF, sizeof info);
    ASSERT_TRUE(morvaGetBitmapInfo(image.get(), &info));
    EXPECT_EQ(info.bmiHeader.biSize, 44u);
    EXPECT_EQ(info.bmiHeader.biBitCount, 32);
    EXPECT_EQ(info.bmiHeader.biHeight, -16);
    EXPECT_EQ(info.bmiColors[0].rgbRed, 0);

    ImagePtr planar = allocate(8, 8, FORMAT_I420);
    ASSERT_TRUE(morvaGetBitmapInfo(planar.get(), &info));
    EXPECT_EQ(info.bmiHeader.biBitCount, 8);
    EXPECT_EQ(info.bmiHeader.biCompression, morvaGetBitmapColorFormat(FORMAT_I420));
    ImagePtr rgb24 = allocate(4, 2, FORMAT_RGB24);
    ASSERT_TRUE(morvaGetBitmapInfo(rgb24.get(), &info));
    EXPECT_EQ(info.bmiHeader.biBitCount, 24);
}

TEST(Update, CopiesTheFrameAndTurnsBottomUpPlanes) {
    ImagePtr image = allocate(4, 4, FORMAT_I420);  // planes 16, 4, 4 bytes
    std::vector<uint8_t> frame = counting(24);
    EXPECT_FALSE(morvaUpdateImage(image.get(), nullptr));
    ASSERT_TRUE(morvaUpdateImage(image.get(), frame.data()));
    EXPECT_EQ(row(*image, 0, 0), std::vector<uint8_t>({12, 13, 14, 15}));
    EXPECT_EQ(row(*image, 1, 0), std::vector<uint8_t>({18, 19}));
    EXPECT_EQ(row(*image, 2, 1), std::vector<uint8_t>({20, 21}));
    // A second flip restores the frame; the flag stays as it was.
    EXPECT_TRUE(morvaFlipImage(image.get()));
    EXPECT_TRUE(std::equal(frame.begin(), frame.end(), image->data));
    EXPECT_TRUE(image->flipped);
}

TEST(Flip, PackedRowsChangeOnlyTheirFirstWidthBytes) {
    // 8x2 YUY2: 4 macro-pixels of 4 bytes a line; the one-byte kernel moves
    // the first 4 bytes of each line only.
    const std::vector<uint8_t> frame = counting(32);
    ImagePtr image = allocate(8, -2, FORMAT_YUY2, frame.data());
    ASSERT_TRUE(morvaFlipImage(image.get()));
    EXPECT_EQ(row(*image, 0, 0),
              std::vector<uint8_t>({16, 17, 18, 19, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}));

    ImagePtr rgb = allocate(4, -2, FORMAT_RGB24, frame.data());
    ASSERT_TRUE(morvaFlipImage(rgb.get()));
    EXPECT_EQ(row(*rgb, 0, 0), std::vector<uint8_t>({12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23}));

    // A plane of one line can't be mirrored: the planar loop stops there and
    // still says true, the packed 32-bit kernel says false.
    ImagePtr nv12 = allocate(4, -2, FORMAT_NV12, frame.data());  // chroma: one line
    ASSERT_TRUE(morvaFlipImage(nv12.get()));
    EXPECT_EQ(row(*nv12, 0, 0), std::vector<uint8_t>({4, 5, 6, 7}));
    EXPECT_EQ(row(*nv12, 1, 0), std::vector<uint8_t>({8, 9, 10, 11}));
    uint8_t none = 0;
    ImagePtr empty = allocate(4, 0, FORMAT_RGB32, &none, 1);
    EXPECT_FALSE(morvaFlipImage(empty.get()));
    EXPECT_FALSE(morvaFlipImage(nullptr));
}

}  // namespace
