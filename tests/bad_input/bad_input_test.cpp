// The rows of docs/errors.md: every call on null pointers, invalid images,
// unknown ids and flags, degenerate sizes and malformed layouts gives the
// result written there and writes nothing it shouldn't.
#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <string>
#include <vector>

#include "morva.h"

namespace {

using ImagePtr = std::unique_ptr<TImage, decltype(&morvaFreeImage)>;
using Bytes = std::vector<uint8_t>;

ImagePtr allocate(int width, int height, int format, const uint8_t* data = nullptr, int wrap = 0) {
    return ImagePtr(morvaAllocateImage("bad", width, height, format, data, wrap), &morvaFreeImage);
}

// A top-down image whose bytes are all `fill`.
ImagePtr filled(int width, int height, int format, uint8_t fill) {
    ImagePtr image = allocate(width, -height, format);
    std::fill(image->data, image->data + image->size, fill);
    return image;
}

Bytes bytesOf(const TImage& image) { return {image.data, image.data + image.size}; }

// Null and invalid images (a record without pixels or without planes) are
// refused by every call that takes an image, and nothing is written through
// a null out-pointer.
TEST(NullAndInvalid, EveryCallRefusesThem) {
    ImagePtr valid = filled(8, 4, FORMAT_RGB32, 3);
    PlaneInfo info{};
    uint8_t pixel = 0;
    TImage withoutPixels{}, withoutPlanes{};
    withoutPixels.planeInfo = &info;
    withoutPlanes.data = &pixel;
    for (TImage* image : {static_cast<TImage*>(nullptr), &withoutPixels, &withoutPlanes}) {
        SCOPED_TRACE(image == nullptr ? "null" : image == &withoutPixels ? "without pixels" : "without planes");
        BITMAPINFOHEADER header;
        BITMAPINFO bitmap;
        int32_t w, h, f;
        EXPECT_EQ(morvaCloneImage(image), nullptr);
        EXPECT_FALSE(morvaSetAttributes(image, 1, 1));
        EXPECT_FALSE(morvaGetImageInfo(image, nullptr, nullptr) || morvaGetImageDimension(image, &w, &h, &f));
        EXPECT_FALSE(morvaGetBitmapInfoHeader(image, &header) || morvaGetBitmapInfo(image, &bitmap));
        EXPECT_FALSE(morvaUpdateImage(image, valid->data) || morvaFlipImage(image));
        EXPECT_FALSE(morvaClearImage(image, 1, 2, 3, 4));
        EXPECT_FALSE(morvaCopyImage(image, valid.get(), 1, 1) || morvaCopyImage(valid.get(), image, 1, 1));
        EXPECT_FALSE(morvaRender("any", image, nullptr, 0) || morvaRenderFinalize(image));
        EXPECT_FALSE(morvaDisplayImage(image, nullptr));
    }
    morvaFreeImage(nullptr);
    EXPECT_FALSE(morvaGetBitmapInfoHeader(valid.get(), nullptr) || morvaGetBitmapInfo(valid.get(), nullptr));
    EXPECT_TRUE(morvaGetImageInfo(valid.get(), nullptr, nullptr) && morvaGetImageDimension(valid.get(), nullptr, nullptr, nullptr));
    EXPECT_EQ(morvaGetBitmapColorFormat(static_cast<const BITMAPINFOHEADER*>(nullptr)), -1);
    EXPECT_EQ(morvaAllocateImageEx(nullptr, nullptr, 0), nullptr);
    EXPECT_EQ(morvaPickFormat(nullptr, 3, 0, 0), -1);
    EXPECT_FALSE(morvaSetLayout(nullptr, "rows:2;") || morvaSetLayout("", "rows:2;"));
    EXPECT_FALSE(morvaRender(nullptr, valid.get(), nullptr, 0) || morvaRender("", valid.get(), nullptr, 0));
    // A known layout with a null array of sources draws nothing, and succeeds.
    ASSERT_TRUE(morvaSetLayout("bad-input", "rows:2;columns:2;"));
    EXPECT_TRUE(morvaRender("bad-input", valid.get(), nullptr, 3) && morvaRender("bad-input", valid.get(), nullptr, -1));
    morvaSetLayout("bad-input", nullptr);
    EXPECT_EQ(bytesOf(*valid), Bytes(size_t(valid->size), 3));
}

// Unknown formats are refused and still take an id. Widths of -3 to 0 round
// to 0: an image of no bytes, which exists only around a caller's buffer, as
// an image of no lines does; its bit counts are 0, its clone is refused and
// flipping it changes nothing.
TEST(Allocation, UnknownFormatsAndImagesOfNoBytes) {
    for (int32_t format : {-1, 22, INT32_MIN, INT32_MAX}) EXPECT_EQ(allocate(4, 2, format), nullptr) << format;
    uint8_t callers[4] = {1, 2, 3, 4};
    for (int32_t width : {-3, -1, 0}) {
        EXPECT_EQ(allocate(width, 4, FORMAT_GRAY8), nullptr) << width;
        ImagePtr empty = allocate(width, -4, FORMAT_RGB32, callers, 1);
        ASSERT_TRUE(empty) << width;
        EXPECT_TRUE(empty->width == 0 && empty->size == 0 && empty->data == callers);
        BITMAPINFOHEADER header;
        BITMAPINFO info;
        ASSERT_TRUE(morvaGetBitmapInfoHeader(empty.get(), &header) && morvaGetBitmapInfo(empty.get(), &info));
        EXPECT_TRUE(header.biBitCount == 0 && info.bmiHeader.biBitCount == 0);
        EXPECT_EQ(morvaCloneImage(empty.get()), nullptr);
    }
    EXPECT_EQ(allocate(-4, 4, FORMAT_GRAY8, callers, 1), nullptr);
    ImagePtr noLines = allocate(8, 0, FORMAT_RGB32, callers, 1), noPlanarLines = allocate(8, 0, FORMAT_I420, callers, 1);
    EXPECT_TRUE(!morvaFlipImage(noLines.get()) && morvaFlipImage(noPlanarLines.get()));
    EXPECT_EQ(Bytes(callers, callers + 4), Bytes({1, 2, 3, 4}));
}

// The copy rows: what a copy gives for each kind of bad argument, and
// whether the destination changed.
TEST(Copy, BadArgumentsGiveTheirResults) {
    struct Case {
        const char* what;
        int sourceFormat, sourceWidth, destinationWidth, interpolation, scaleMode;
        bool result;
        enum { kUntouched, kZero, kCopied } destination;
    };
    const Case cases[] = {
        {"unknown scale mode", FORMAT_RGB32, 16, 32, INTER_LINEAR, 3, false, Case::kUntouched},
        {"negative scale mode", FORMAT_RGB32, 16, 32, INTER_LINEAR, -1, false, Case::kUntouched},
        {"unknown interpolation", FORMAT_RGB32, 16, 32, 99, 0, true, Case::kZero},
        {"two edge flags", FORMAT_RGB32, 16, 32, INTER_LINEAR | EDGE_SMOOTH | EDGE_SUBPIXEL, 0, true, Case::kZero},
        {"no kernel for packed 4:1:1", FORMAT_Y41P, 16, 32, INTER_LINEAR, 0, false, Case::kUntouched},
        {"equal sizes ignore the mode", FORMAT_RGB32, 32, 32, 99, 42, true, Case::kCopied},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        ImagePtr source = filled(c.sourceWidth, 8, c.sourceFormat, 200);
        ImagePtr destination = filled(c.destinationWidth, 8, c.sourceFormat, 7);
        EXPECT_EQ(morvaCopyImage(source.get(), destination.get(), c.interpolation, c.scaleMode), c.result);
        const uint8_t expected = c.destination == Case::kUntouched ? 7 : c.destination == Case::kZero ? 0 : 200;
        EXPECT_EQ(bytesOf(*destination), Bytes(size_t(destination->size), expected));
    }
    // A source of no pixels places nothing; an image copied onto itself stays.
    uint8_t none = 0;
    ImagePtr empty = allocate(0, -8, FORMAT_RGB32, &none, 1), destination = filled(16, 8, FORMAT_RGB32, 7);
    EXPECT_FALSE(morvaCopyImage(empty.get(), destination.get(), INTER_LINEAR, 1));
    EXPECT_EQ(bytesOf(*destination), Bytes(size_t(destination->size), 7));
    EXPECT_TRUE(morvaCopyImage(destination.get(), destination.get(), INTER_LINEAR, 1));
    EXPECT_EQ(bytesOf(*destination), Bytes(size_t(destination->size), 7));
}

// Any layout text is taken; grids without cells refuse to render, grids of
// negative size draw nothing, and a source whose scale mode is unknown is
// skipped while the others are drawn.
TEST(Layouts, MalformedTextsAndGridsWithoutCells) {
    for (const char* text : {"rows:2", "rows;", "rows:;", "a:b:c;", ":5;", ";", "rows:abc;", "rows:99999999999;",
                             "rows:-5;columns:x;", "\x01\xff:\x80;;;;"})
        EXPECT_TRUE(morvaSetLayout("bad-input", text)) << text;
    ImagePtr target = filled(32, 16, FORMAT_RGB32, 9), source = filled(8, 8, FORMAT_RGB32, 200);
    TImage* sources[] = {source.get()};
    for (const char* text : {"rows:0;", "columns:0;", "rows:abc;columns:2;"}) {
        ASSERT_TRUE(morvaSetLayout("bad-input", text));
        EXPECT_FALSE(morvaRender("bad-input", target.get(), sources, 1)) << text;
    }
    for (const char* text : {"rows:-1;columns:-1;", "width:-50;", "height:-1;"}) {
        ASSERT_TRUE(morvaSetLayout("bad-input", text));
        EXPECT_TRUE(morvaRender("bad-input", target.get(), sources, 1)) << text;
    }
    EXPECT_EQ(bytesOf(*target), Bytes(size_t(target->size), 9));
    ImagePtr second = filled(8, 8, FORMAT_RGB32, 100);
    morvaSetAttributes(source.get(), -1, 5);
    TImage* both[] = {source.get(), second.get()};
    ASSERT_TRUE(morvaSetLayout("bad-input", "rows:1;columns:2;"));
    EXPECT_TRUE(morvaRender("bad-input", target.get(), both, 2));
    EXPECT_TRUE(target->data[0] == 9 && target->data[4 * 20] == 100);
    morvaSetLayout("bad-input", nullptr);

    int32_t width, height;
    morvaCalcImageDimension(INT32_MAX, INT32_MAX, width, height);
    EXPECT_TRUE(width == INT32_MIN && height == INT32_MIN);  // the rounding wraps
}

}  // namespace
