// A program of image calls read from the input: allocations from any width,
// height, format and wrapping, images from bitmap headers of random fields,
// clones, flips, updates, clears, attributes, bitmap descriptions and frees
// on up to four live images. Every image the library hands out must hold its
// planes inside its buffer; a wrapped buffer is exactly the image's bytes, so
// the sanitizer sees any write past it.
#include <array>
#include <cstring>
#include <vector>

#include "fuzz_images.h"

namespace {

using namespace morva::fuzz;

// Images larger than this are only described, not allocated or written: the
// fuzzer's memory is limited, and an image of that size is like a small one.
constexpr int32_t kBudgetBytes = 4 << 20;

struct Slot {
    std::vector<uint8_t> wrapped;  // the caller's buffer of a wrapped image, which outlives it
    ImagePtr image;

    void release() {
        image.reset();
        wrapped.clear();
    }
};

int32_t randomFormat(FuzzInput& in) { return in.inRange(0, 15) == 0 ? in.integral<int32_t>() : in.inRange(0, 22); }

// The geometry the library gives these arguments, learnt from a top-down
// image wrapping a stand-in, which allocates and writes nothing.
ImagePtr probe(int32_t width, int32_t height, int32_t format) {
    static uint8_t standIn;
    return ImagePtr(morvaAllocateImage(nullptr, width, height > 0 ? -height : height, format, &standIn, 1));
}

void allocate(FuzzInput& in, Slot& slot) {
    const int32_t width = in.size(-8, 200), height = in.size(-200, 200), format = randomFormat(in);
    const int mode = in.inRange(0, 3);  // own, own loaded from data, wrapped, wrapping nothing
    const std::string name = in.text(12);
    const ImagePtr geometry = probe(width, height, format);
    slot.release();
    if (geometry) checkPlanesFit(*geometry);
    if (geometry && geometry->size > kBudgetBytes) return;
    std::vector<uint8_t> data(geometry ? size_t(geometry->size) : 0);
    in.fill(data.data(), data.size());
    const bool wrap = mode >= 2;
    const uint8_t* given = mode == 1 || mode == 2 ? data.data() : nullptr;
    slot.image.reset(morvaAllocateImage(name.c_str(), width, height, format, given, wrap));
    if (!geometry) {
        FUZZ_CHECK(slot.image == nullptr);
        return;
    }
    // The allocator may refuse an image of no bytes; any other is made.
    FUZZ_CHECK(slot.image != nullptr || geometry->size == 0);
    if (!slot.image) return;
    checkPlanesFit(*slot.image);
    FUZZ_CHECK(slot.image->size == geometry->size && slot.image->flipped == (height > 0));
    FUZZ_CHECK(slot.image->owned == (mode != 2) && (mode != 2 || slot.image->data == data.data()));
    if (mode == 2) slot.wrapped = std::move(data);
}

void allocateFromHeader(FuzzInput& in, Slot& slot) {
    static const uint32_t codes[] = {0, 3, 0x32315659, 0x3231564E, 0x32595559, 0x59565955, 0x31313459,
                                     0x30323449, 0x56555949, 0x55595659, 0x50313459, 0x39555659};
    BITMAPINFOHEADER header{};
    header.biWidth = in.size(-8, 200);
    header.biHeight = in.size(-200, 200);
    static const uint16_t bitCounts[] = {0, 16, 24, 32};
    header.biBitCount = in.pick(bitCounts);
    header.biCompression = in.inRange(0, 7) == 0 ? in.integral<uint32_t>() : in.pick(codes);
    const int32_t format = morvaGetBitmapColorFormat(&header);
    const ImagePtr geometry = format >= 0 ? probe(header.biWidth, header.biHeight, format) : nullptr;
    slot.release();
    if (!geometry || geometry->size > kBudgetBytes) return;
    slot.image.reset(morvaAllocateImageEx(&header, nullptr, 0));
    if (slot.image) checkPlanesFit(*slot.image);
}

void describe(const TImage* image) {
    BITMAPINFOHEADER header;
    BITMAPINFO info;
    const bool valid = image != nullptr;
    FUZZ_CHECK(morvaGetBitmapInfoHeader(image, &header) == valid && morvaGetBitmapInfo(image, &info) == valid);
    FUZZ_CHECK(!morvaGetBitmapInfoHeader(image, nullptr) && !morvaGetBitmapInfo(image, nullptr));
    int32_t width, height, format, size;
    uint8_t* data;
    FUZZ_CHECK(morvaGetImageDimension(image, &width, &height, &format) == valid);
    FUZZ_CHECK(morvaGetImageInfo(image, &data, &size) == valid);
    if (!valid) return;
    FUZZ_CHECK(header.biWidth == width && header.biHeight == -height && int32_t(header.biSizeImage) == size);
    FUZZ_CHECK(info.bmiHeader.biSize == sizeof(BITMAPINFO) && data == image->data);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzInput in(data, size);
    std::array<Slot, 4> slots;
    for (int step = 0; step < 24 && !in.empty(); ++step) {
        Slot& slot = slots[size_t(in.inRange(0, 3))];
        TImage* image = slot.image.get();
        switch (in.inRange(0, 9)) {
        case 0: allocate(in, slot); break;
        case 1: allocateFromHeader(in, slot); break;
        case 2: {
            ImagePtr clone(morvaCloneImage(image));
            // The allocator may refuse a clone of no bytes.
            FUZZ_CHECK(image ? clone || image->size == 0 : !clone);
            if (!clone) break;
            checkPlanesFit(*clone);
            FUZZ_CHECK(clone->size == image->size && std::memcmp(clone->data, image->data, size_t(image->size)) == 0);
            Slot& into = slots[size_t(in.inRange(0, 3))];
            into.release();
            into.image = std::move(clone);
            break;
        }
        case 3: morvaFlipImage(image); break;
        case 4: {
            std::vector<uint8_t> frame(image ? size_t(image->size) : 0);
            in.fill(frame.data(), frame.size());
            const uint8_t* given = in.flag() ? frame.data() : nullptr;
            const bool updated = morvaUpdateImage(image, given);
            FUZZ_CHECK(!updated || (image && given));
            break;
        }
        case 5: morvaClearImage(image, in.integral<uint8_t>(), in.integral<uint8_t>(), in.integral<uint8_t>(), in.integral<uint8_t>()); break;
        case 6: morvaSetAttributes(image, in.integral<int32_t>(), in.integral<int32_t>()); break;
        case 7: describe(image); break;
        case 8: {
            int32_t width, height;
            morvaCalcImageDimension(in.integral<int32_t>(), in.integral<int32_t>(), width, height);
            morvaGetBitmapColorFormat(in.integral<int32_t>());
            break;
        }
        case 9: slot.release(); break;
        }
        if (slot.image) checkPlanesFit(*slot.image);
    }
    return 0;
}
