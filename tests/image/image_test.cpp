// Images: the plane geometry of every format and the bitmap compression
// codes, the life of an image and its dump text, access and flipping,
// clearing to one colour, and copying into an image of any size and format.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <memory>
#include <numeric>
#include <tuple>
#include <vector>

#include "common/testing.h"
#include "image/formats.h"
#include "image/image.h"
#include "morva.h"

namespace {

using morva::makeFourcc;
using Bytes = std::vector<uint8_t>;

using ImagePtr = std::unique_ptr<TImage, decltype(&morvaFreeImage)>;

ImagePtr allocate(int width, int height, int format, const uint8_t* data = nullptr, int wrap = 0, const char* name = "test") {
    return ImagePtr(morvaAllocateImage(name, width, height, format, data, wrap), &morvaFreeImage);
}

// A top-down image whose bytes are all `fill`.
ImagePtr filled(int width, int height, int format, uint8_t fill = 0) {
    ImagePtr image = allocate(width, -height, format);
    std::fill(image->data, image->data + image->size, fill);
    return image;
}

Bytes counting(size_t n) {
    Bytes v(n);
    std::iota(v.begin(), v.end(), uint8_t(0));
    return v;
}

// Row r of a plane.
Bytes row(const TImage& image, int plane, int r) {
    const PlaneEntry& p = image.planeInfo->planes[plane];
    return {p.data + ptrdiff_t(r) * p.stride, p.data + ptrdiff_t(r + 1) * p.stride};
}

// Worked examples: width, height, stride and offset of each plane in order.
TEST(FormatGeometry, PlanesHaveTheDefinedStridesAndOffsets) {
    const std::tuple<int, int, int, int, std::vector<std::array<int, 4>>> examples[] = {
        {FORMAT_I420, 640, 480, 460800, {{640, 480, 640, 0}, {320, 240, 320, 307200}, {320, 240, 320, 384000}}},
        // Width 10 rounds to 12, height -7 to 8; 24-bit lines align to 4 bytes.
        {FORMAT_RGB24, 10, -7, 288, {{12, 8, 36, 0}}},
        // The bit mask, not a rounding, makes the strides of the packed 4:1:1 rows.
        {FORMAT_Y411_PACKED, 4, 2, 20, {{1, 2, 10, 0}}}, {FORMAT_Y411_PACKED, 8, 2, 32, {{2, 2, 16, 0}}},
        {FORMAT_Y41P, 8, 2, 40, {{1, 2, 20, 0}}},        {FORMAT_Y41P, 16, 2, 64, {{2, 2, 32, 0}}},
        // Plane 0 of this format aligns its lines to 2 bytes.
        {FORMAT_YV12, 4, 2, 12, {{4, 2, 4, 0}, {2, 1, 2, 8}, {2, 1, 2, 10}}},
        {FORMAT_NV12, 8, 6, 72, {{8, 6, 8, 0}, {8, 3, 8, 48}}},
        {FORMAT_YUY2, 6, 2, 32, {{4, 2, 16, 0}}}, {FORMAT_RGB565, 4, 2, 16, {{4, 2, 8, 0}}},
        {FORMAT_YVU9, 12, 6, 84, {{12, 6, 12, 0}, {3, 2, 3, 72}, {3, 2, 3, 78}}},
        {FORMAT_YUVA420P, 4, 2, 20, {{4, 2, 4, 0}, {2, 1, 2, 8}, {2, 1, 2, 10}, {4, 2, 4, 12}}}};
    for (const auto& [format, width, height, size, planes] : examples) {
        ImagePtr image = allocate(width, height, format);
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(image->size, size) << "format " << format;
        for (size_t i = 0; i < planes.size(); ++i) {
            const PlaneEntry& p = image->planeInfo->planes[i];
            EXPECT_EQ((std::array<int, 4>{p.width, p.height, p.stride, p.offset}), planes[i]) << format << "/" << i;
        }
    }
}

// Every format at random sizes either way up: the image rounds to whole
// macro-pixels, planes lie one behind the other and hold their units, and the
// entries behind the format's planes stay zero.
TEST(FormatGeometry, EveryFormatHoldsItsPlanesContiguously) {
    MORVA_SEED_TRACE();
    morva::testing::Rng rng(1);
    const PlaneEntry zero{};
    for (int format = 0; format < 22; ++format)
        for (int round = 0; round < 8; ++round) {
            ImagePtr image = allocate(rng.uniform(1, 97), rng.uniform(1, 41) * (round % 2 ? 1 : -1), format);
            const morva::PixelFormatRow* row = morva::findFormatRow(format);
            ASSERT_TRUE(image && row && image->planeInfo->planeCount == row->planes) << format;
            EXPECT_TRUE(image->width % 4 == 0 && image->height % 2 == 0);
            int offset = 0;
            for (int i = 0; i < 4; ++i) {
                const PlaneEntry& p = image->planeInfo->planes[i];
                EXPECT_TRUE(i < row->planes ? p.offset == offset && p.data == image->data + offset && p.reserved == 0 &&
                                                  p.size == p.stride * p.height && p.stride >= p.width * p.channels * p.bytesPerChannel &&
                                                  p.width == (image->width + p.subW - 1) / p.subW &&
                                                  p.height == (image->height + p.subH - 1) / p.subH
                                            : std::memcmp(&p, &zero, sizeof p) == 0)
                    << "format " << format << " " << image->width << "x" << image->height << " plane " << i;
                offset += p.size;
            }
            EXPECT_EQ(image->size, offset);
        }
    // Lookup walks the stored order: id 21 stands as the 18th row, behind grey.
    EXPECT_EQ(morva::findFormatRow(FORMAT_GRAYA8) - morva::findFormatRow(FORMAT_YV12), 17);
}

// The two directions are not inverse: "IYUV" is read but never written, and
// the numeric codes depend on the bit count. The codes written read back as
// the same format.
TEST(CompressionCodes, FromFormatAndFromHeader) {
    const auto formatOf = [](uint32_t compression, int bits) {
        BITMAPINFOHEADER h{};
        h.biBitCount = uint16_t(bits), h.biCompression = compression;
        return morvaGetBitmapColorFormat(&h);
    };
    EXPECT_TRUE(morvaGetBitmapColorFormat(FORMAT_YV12) == 0x32315659u && morvaGetBitmapColorFormat(FORMAT_RGB565) == 3u);
    EXPECT_EQ(morvaGetBitmapColorFormat(FORMAT_I420), makeFourcc('I', '4', '2', '0'));
    for (int id : {7, 8, 9, 11, 12, 14, 15, 16, 17, 18, 19, 21, 22, -1}) EXPECT_EQ(morvaGetBitmapColorFormat(id), 0u) << id;
    for (int id : {0, 1, 2, 3, 4, 5, 6, 10, 13, 20}) EXPECT_EQ(formatOf(morvaGetBitmapColorFormat(id), 16), id) << id;
    const std::tuple<uint32_t, int, int> headers[] = {
        {0, 24, FORMAT_RGB24}, {0, 32, FORMAT_RGB32}, {0, 16, -1}, {3, 7, FORMAT_RGB565},
        {makeFourcc('I', 'Y', 'U', 'V'), 12, FORMAT_I420}, {makeFourcc('Y', 'V', 'U', '9'), 9, FORMAT_YVU9},
        {makeFourcc('Y', 'U', 'V', '9'), 9, -1}};
    for (const auto& [compression, bits, format] : headers) EXPECT_EQ(formatOf(compression, bits), format) << compression;
    EXPECT_EQ(morvaGetBitmapColorFormat(nullptr), -1);
}

// The dump text shows the rounded geometry and the caller's view: 10x7 is
// 12x8 either way up, allocated by the library and cleared.
TEST(Allocate, DumpTextShowsTheRoundedImageAndTheCallersView) {
    for (int height : {-7, 7}) {
        ImagePtr image = allocate(10, height, FORMAT_RGB24);
        EXPECT_EQ(morva::describeImage(image.get()),
                  "\n     Name: test\n\t Image ID: " + std::to_string(image->id) +
                      "\n\tDimension: 12 x 8\n\t   Format: 12\n\t     Size: 288\n\t  Managed: false\n\t  Flipped: " +
                      (height > 0 ? "true\n" : "false\n"));
        EXPECT_EQ(std::count(image->data, image->data + image->size, 0), image->size);
    }
    uint8_t buffer[8] = {};
    const std::string text = morva::describeImage(allocate(4, 2, FORMAT_GRAY8, buffer, 1, "").get());
    for (const char* line : {"Name: <empty>\n", "Managed: true\n", "Flipped: true\n"})
        EXPECT_NE(text.find(line), std::string::npos) << line;
    EXPECT_TRUE(morva::describeImage(nullptr).empty());
}

// A refused format still takes an id. A height of 0 asks the allocator for no
// bytes, which it refuses, but a caller's buffer makes an image of no lines. A
// wrapped caller's buffer is turned to top line first in place at creation,
// as loaded data is, and it is left alone at release.
TEST(Allocate, RefusalsWrappedBuffersAndBitmapHeaders) {
    ImagePtr before = allocate(4, 2, FORMAT_GRAY8);
    EXPECT_EQ(allocate(4, 2, 22), nullptr);
    EXPECT_TRUE(allocate(4, 2, FORMAT_GRAY8)->id == before->id + 2);  // the refused image took an id
    EXPECT_EQ(allocate(8, 0, FORMAT_GRAY8), nullptr);
    uint8_t byte = 7;
    ImagePtr empty = allocate(8, 0, FORMAT_GRAY8, &byte, 1);
    EXPECT_TRUE(empty && empty->size == 0 && !empty->flipped);
    EXPECT_TRUE(!allocate(1 << 20, 1 << 12, FORMAT_RGB32) && !allocate(-8, 2, FORMAT_GRAY8));  // bytes beyond 32 bits

    Bytes callers = counting(8);  // 4x2 grey
    ImagePtr wrapped = allocate(4, 2, FORMAT_GRAY8, callers.data(), 1);
    EXPECT_TRUE(wrapped->data == callers.data() && !wrapped->owned);
    wrapped.reset();
    EXPECT_EQ(callers, Bytes({4, 5, 6, 7, 0, 1, 2, 3}));
    EXPECT_TRUE(allocate(4, 2, FORMAT_GRAY8, nullptr, 1)->owned);  // wrapping nothing allocates

    BITMAPINFOHEADER h{};
    h.biWidth = 6, h.biHeight = -3, h.biBitCount = 32;
    ImagePtr fromHeader(morvaAllocateImageEx(&h, nullptr, 0), &morvaFreeImage);
    ASSERT_TRUE(fromHeader && std::string(fromHeader->name) == "morvaAllocateImageEx");
    EXPECT_TRUE(fromHeader->format == FORMAT_RGB32 && fromHeader->width == 8 && fromHeader->height == 4 && !fromHeader->flipped);
    h.biBitCount = 16;
    EXPECT_TRUE(!morvaAllocateImageEx(&h, nullptr, 0) && !morvaAllocateImageEx(nullptr, nullptr, 0));
}

// Negative attribute values keep the field; any other value is taken. A
// clone goes through the public constructor: it is flipped and has the
// default attributes, whatever the source had.
TEST(Attributes, NegativeValuesKeepTheFieldAndClonesStartAfresh) {
    const Bytes frame = counting(24);
    ImagePtr source = allocate(4, -4, FORMAT_I420, frame.data());
    const PlaneInfo& info = *source->planeInfo;
    EXPECT_TRUE(morvaSetAttributes(source.get(), -1, 0) && info.interpolation == INTER_NN && info.scaleMode == 0);
    EXPECT_TRUE(morvaSetAttributes(source.get(), 77, 9) && info.interpolation == 77 && info.scaleMode == 9);
    TImage hollow{};
    EXPECT_FALSE(morvaSetAttributes(&hollow, 1, 1) || morvaSetAttributes(nullptr, 1, 1));
    ImagePtr clone(morvaCloneImage(source.get()), &morvaFreeImage);
    ASSERT_TRUE(clone && !morvaCloneImage(nullptr));
    EXPECT_TRUE(clone->id != source->id && clone->data != source->data && clone->flipped && std::string(clone->name) == "test");
    EXPECT_TRUE(std::equal(frame.begin(), frame.end(), clone->data));
    EXPECT_TRUE(clone->planeInfo->interpolation == INTER_NN && clone->planeInfo->scaleMode == 1);
}

// The header's bit count divides by eight times the pixels, the full
// description's by the pixels before it multiplies by eight.
TEST(Access, GettersAndTheTwoBitCounts) {
    ImagePtr image = allocate(16, 16, FORMAT_RGB32);
    uint8_t* data = nullptr;
    int size = 0;
    EXPECT_TRUE(morvaGetImageDimension(image.get(), nullptr, nullptr, nullptr) && morvaGetImageInfo(image.get(), &data, &size));
    EXPECT_TRUE(data == image->data && size == 1024 && !morvaGetImageInfo(nullptr, &data, &size));
    BITMAPINFOHEADER h;
    std::memset(&h, 0xFF, sizeof h);
    ASSERT_TRUE(morvaGetBitmapInfoHeader(image.get(), &h));
    EXPECT_TRUE(h.biSize == 0 && h.biWidth == 16 && h.biHeight == -16 && h.biBitCount == 0 && h.biSizeImage == 1024);
    EXPECT_TRUE(h.biPlanes == 1 && h.biXPelsPerMeter == 0 && !morvaGetBitmapInfoHeader(image.get(), nullptr));
    BITMAPINFO info;
    std::memset(&info, 0xFF, sizeof info);
    ASSERT_TRUE(morvaGetBitmapInfo(image.get(), &info));
    EXPECT_TRUE(info.bmiHeader.biSize == 44 && info.bmiHeader.biBitCount == 32 && info.bmiHeader.biHeight == -16);
    EXPECT_EQ(info.bmiColors[0].rgbRed, 0);
    for (auto [format, bits] : {std::pair{FORMAT_I420, 8}, std::pair{FORMAT_RGB24, 24}}) {
        ASSERT_TRUE(morvaGetBitmapInfo(allocate(8, 8, format).get(), &info));
        EXPECT_TRUE(info.bmiHeader.biBitCount == bits && info.bmiHeader.biCompression == morvaGetBitmapColorFormat(format));
    }
}

// An update of a bottom-up image turns each plane; a second flip restores the
// frame and leaves the flag. 8x2 YUY2 lines hold 4 macro-pixels of 4 bytes,
// of which the one-byte kernel moves the first 4 bytes only. A plane of one
// line can't be mirrored: the planar loop stops there and still says true,
// the 32-bit kernel says false.
TEST(Flip, UpdatesTurnPlanesAndPackedRowsChangeOnlyTheirFirstWidthBytes) {
    ImagePtr image = allocate(4, 4, FORMAT_I420);  // planes of 16, 4 and 4 bytes
    const Bytes frame = counting(32);
    ASSERT_TRUE(!morvaUpdateImage(image.get(), nullptr) && morvaUpdateImage(image.get(), frame.data()));
    EXPECT_TRUE(row(*image, 0, 0) == Bytes({12, 13, 14, 15}) && row(*image, 1, 0) == Bytes({18, 19}) &&
                row(*image, 2, 1) == Bytes({20, 21}));
    EXPECT_TRUE(morvaFlipImage(image.get()) && std::equal(frame.begin(), frame.begin() + 24, image->data) && image->flipped);

    ImagePtr yuy2 = allocate(8, -2, FORMAT_YUY2, frame.data()), rgb = allocate(4, -2, FORMAT_RGB24, frame.data());
    ImagePtr nv12 = allocate(4, -2, FORMAT_NV12, frame.data());
    ASSERT_TRUE(morvaFlipImage(yuy2.get()) && morvaFlipImage(rgb.get()) && morvaFlipImage(nv12.get()));
    EXPECT_EQ(row(*yuy2, 0, 0), Bytes({16, 17, 18, 19, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}));
    EXPECT_EQ(row(*rgb, 0, 0), Bytes({12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23}));
    EXPECT_TRUE(row(*nv12, 0, 0) == Bytes({4, 5, 6, 7}) && row(*nv12, 1, 0) == Bytes({8, 9, 10, 11}));
    uint8_t none = 0;
    EXPECT_FALSE(morvaFlipImage(allocate(4, 0, FORMAT_RGB32, &none, 1).get()) || morvaFlipImage(nullptr));
}

// Every byte of the plane repeats the pattern. The chroma of white is 127:
// the sums 127.745 and 127.9235 are cut toward zero. YV12 takes its chroma as
// I420 does; UYVY puts v before u, the reverse of YUY2.
TEST(Clear, FillsEachFormatInItsOwnLayout) {
    const std::tuple<int, std::array<uint8_t, 4>, int, Bytes> rows[] = {
        {FORMAT_I420, {255, 255, 255, 255}, 0, {255}}, {FORMAT_I420, {255, 255, 255, 255}, 1, {127}},
        {FORMAT_I420, {255, 255, 255, 255}, 2, {127}}, {FORMAT_I420, {0, 0, 0, 0}, 1, {128}},
        {FORMAT_YV12, {255, 0, 0, 0}, 1, {84}},        {FORMAT_YV12, {255, 0, 0, 0}, 2, {255}},
        {FORMAT_YUY2, {255, 0, 0, 0}, 0, {76, 84, 76, 255}}, {FORMAT_UYVY, {255, 0, 0, 0}, 0, {255, 76, 84, 76}},
        {FORMAT_RGB32, {1, 2, 3, 4}, 0, {3, 2, 1, 4}}, {FORMAT_RGB24, {1, 2, 3, 4}, 0, {3, 2, 1}}};
    for (const auto& [format, rgba, plane, pattern] : rows) {
        ImagePtr image = filled(8, 4, format, 0x33);
        ASSERT_TRUE(morvaClearImage(image.get(), rgba[0], rgba[1], rgba[2], rgba[3]));
        const PlaneEntry& p = image->planeInfo->planes[plane];
        for (int i = 0; i < p.size; ++i) ASSERT_EQ(p.data[i], pattern[i % pattern.size()]) << format << "/" << plane;
    }
    for (int format : {FORMAT_GRAY8, FORMAT_YUVA420P, FORMAT_RGB565, FORMAT_YUV444P}) {
        ImagePtr image = filled(8, 4, format, 0x33);
        EXPECT_FALSE(morvaClearImage(image.get(), 10, 20, 30, 40)) << format;
        EXPECT_EQ(std::count(image->data, image->data + image->size, 0x33), image->size);
    }
    EXPECT_FALSE(morvaClearImage(nullptr, 0, 0, 0, 0));

    // Two-plane 4:2:0 gets a block of 16x16 luma samples and 8x8 chroma pairs
    // at its top left; a smaller image gets the blocks cut at its planes, and
    // the memory behind it stays.
    ImagePtr nv12 = filled(64, 64, FORMAT_NV12, 0x33);
    ASSERT_TRUE(morvaClearImage(nv12.get(), 0, 0, 0, 0));
    for (int y = 0; y < 96; ++y)
        for (int x = 0; x < 64; ++x)
            ASSERT_EQ(nv12->data[y * 64 + x], y < 16 && x < 16 ? 0 : y >= 64 && y < 72 && x < 16 ? 128 : 0x33) << x << "," << y;
    ImagePtr small = filled(8, 4, FORMAT_NV12, 0x33), guard = filled(64, 4, FORMAT_GRAY8, 0x44);
    ASSERT_TRUE(morvaClearImage(small.get(), 0, 0, 0, 0));
    EXPECT_TRUE(std::count(small->data, small->data + 32, 0) == 32 && std::count(small->data + 32, small->data + 48, 128) == 16);
}

// Equal sizes convert only, whatever the resize settings say. Otherwise the
// copy resizes first: a 16x8 4:2:0 source fits a 16x16 target at y 4, and the
// rows above and below stay zero bytes of 4:2:0 that convert as such. Scale
// mode 3 places nothing: the copy fails and leaves the target.
TEST(Copy, ConvertsOrResizesFirstAndCarriesZeroBytesAroundAFittedPicture) {
    ImagePtr rgb = filled(8, 4, FORMAT_RGB24), bgra = filled(8, 4, FORMAT_RGB32, 0x55);
    morvaClearImage(rgb.get(), 10, 20, 30, 0);
    ASSERT_TRUE(morvaCopyImage(rgb.get(), bgra.get(), 12345, 99));
    EXPECT_EQ(Bytes(bgra->data, bgra->data + 4), Bytes({30, 20, 10, 0}));
    EXPECT_FALSE(morvaCopyImage(rgb.get(), nullptr, INTER_NN, 1));

    ImagePtr source = filled(16, 8, FORMAT_I420), target = filled(16, 16, FORMAT_RGB32, 0x55);
    morvaClearImage(source.get(), 128, 128, 128, 0);
    ImagePtr zeroAsBgra = filled(16, 16, FORMAT_RGB32), sourceAsBgra = filled(16, 8, FORMAT_RGB32);
    ASSERT_TRUE(morvaCopyImage(source.get(), target.get(), INTER_NN, 1) &&
                morvaCopyImage(filled(16, 16, FORMAT_I420).get(), zeroAsBgra.get(), INTER_NN, 1) &&
                morvaCopyImage(source.get(), sourceAsBgra.get(), INTER_NN, 1));
    const auto pixel = [](const ImagePtr& image, int y) { return Bytes(image->data + y * 64, image->data + y * 64 + 4); };
    EXPECT_TRUE(pixel(target, 0) == pixel(zeroAsBgra, 0) && pixel(target, 6) == pixel(sourceAsBgra, 0));
    EXPECT_NE(pixel(target, 6), pixel(zeroAsBgra, 0));
    ImagePtr untouched = filled(16, 16, FORMAT_RGB32, 0x55);
    EXPECT_FALSE(morvaCopyImage(source.get(), untouched.get(), INTER_NN, 3));
    EXPECT_EQ(std::count(untouched->data, untouched->data + untouched->size, 0x55), untouched->size);
}

}  // namespace
