// Image objects: the plane geometry of a format, and the life of an image from
// allocation to release.
#include "image/image.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>

#include "image/formats.h"
#include "kernels/memory.h"
#include "trace/trace.h"

namespace morva {
namespace {

std::atomic<int32_t> g_lastImageId{0};

// The largest image: its allocation holds three times its planes (the
// margin behind them included), and that must stay within the allocator's
// 32-bit length.
constexpr int64_t kMaxImageBytes = INT32_MAX / 3;

// Plane geometry of one plane group, in 64-bit arithmetic so that absurd
// sizes are refused instead of wrapping.
struct PlaneGeometry {
    int64_t width, height, stride, size;
};

int64_t divideRoundingUp(int64_t value, int32_t divisor) {
    return divisor == 1 ? value : (value + divisor - 1) / divisor;
}

// Nothing for a negative width or a plane beyond kMaxImageBytes. Each product
// is bounded before the next one is formed, so none of them can leave 64
// bits: widths and heights are below 2^31 and a unit has at most 24 bytes.
std::optional<PlaneGeometry> planeGeometry(const TImage& image, const PixelFormatRow& row,
                                           const PlaneGroup& g, int32_t bytesPerChannel) {
    PlaneGeometry p;
    p.width = divideRoundingUp(image.width, g.subW);
    p.height = divideRoundingUp(image.height, g.subH);
    const int64_t unit = int64_t(bytesPerChannel) * g.channels;
    const int64_t align = std::max<int64_t>(unit, row.lineAlign) * g.alignFactor;
    // The mask is applied for every alignment, a power of two or not: the
    // packed 4:1:1 rows get their strides from it, as callers' buffers expect.
    p.stride = (p.width * unit + align - 1) & ~(align - 1);
    if (p.width < 0 || p.height < 0 || p.stride > kMaxImageBytes) return std::nullopt;
    p.size = p.stride * p.height;
    if (p.size > kMaxImageBytes) return std::nullopt;
    return p;
}

void freeRecord(TImage* image) {
    delete image->planeInfo;
    delete[] image->name;
    delete image;
}

char* copyName(const char* name) {
    if (name == nullptr || *name == '\0') return nullptr;
    const size_t n = std::strlen(name) + 1;
    char* copy = new char[n];
    std::memcpy(copy, name, n);
    return copy;
}

}  // namespace

bool layoutPlanes(const TImage& image, PlaneInfo& info, int32_t& size) {
    const PixelFormatRow* row = findFormatRow(image.format);
    if (row == nullptr) return false;
    info = PlaneInfo{};
    info.planeCount = row->planes;
    info.interpolation = INTER_NN;
    info.scaleMode = 1;
    size = 0;

    const int32_t bytesPerChannel = (row->bits + 7) >> 3;
    int64_t total = 0;
    for (int i = 0; i < row->planes; ++i) {
        const PlaneGroup& group = row->group[i];
        const std::optional<PlaneGeometry> geometry =
            planeGeometry(image, *row, group, bytesPerChannel);
        if (!geometry || total + geometry->size > kMaxImageBytes) return false;
        const PlaneGeometry& g = *geometry;
        PlaneEntry& plane = info.planes[i];
        plane.bytesPerChannel = bytesPerChannel;
        plane.channels = group.channels;
        plane.subW = group.subW;
        plane.subH = group.subH;
        plane.width = int32_t(g.width);
        plane.height = int32_t(g.height);
        plane.stride = int32_t(g.stride);
        plane.offset = int32_t(total);
        plane.size = int32_t(g.size);
        total += g.size;
    }
    size = int32_t(total);
    return true;
}

bool setPlaneInfo(TImage* image, const uint8_t* buffer) {
    if (image == nullptr || findFormatRow(image->format) == nullptr) return false;
    delete image->planeInfo;
    auto* info = new PlaneInfo{};
    image->planeInfo = info;
    image->size = 0;
    if (!layoutPlanes(*image, *info, image->size)) return false;

    if (buffer != nullptr) {
        image->data = const_cast<uint8_t*>(buffer);
        image->owned = false;
    } else {
        // Three times the planes: the two further thirds are a margin behind
        // the image that nothing addresses. Only the planes are cleared.
        image->data = ippsMalloc_8u(3 * image->size);
        if (image->data == nullptr) return false;
        ippsZero_8u(image->data, image->size);
        image->owned = true;
    }
    for (int i = 0; i < info->planeCount; ++i)
        info->planes[i].data = image->data + info->planes[i].offset;
    return true;
}

void reserveImageIds(int32_t count) { g_lastImageId += count; }

std::string describeImage(const TImage* image) {
    if (!isValidImage(image)) return {};
    static const char* const kFormat =
        "\n     Name: %s\n\t Image ID: %d\n\tDimension: %d x %d\n\t   Format: %d\n"
        "\t     Size: %d\n\t  Managed: %s\n\t  Flipped: %s\n";
    const char* name = image->name != nullptr ? image->name : "<empty>";
    // "Managed" means managed by the caller.
    const char* managed = image->owned ? "false" : "true";
    const char* flipped = image->flipped ? "true" : "false";
    std::string text(2048, '\0');
    for (;;) {
        const int n = std::snprintf(text.data(), text.size(), kFormat, name, image->id,
                                    image->width, image->height, image->format, image->size,
                                    managed, flipped);
        if (n >= 0 && size_t(n) < text.size()) {
            text.resize(size_t(n));
            return text;
        }
        text.assign(text.size() * 2, '\0');
    }
}

}  // namespace morva

using morva::CTraces;
using morva::describeImage;
using morva::traceWrite;

TImage* morvaAllocateImage(const char* name, int32_t width, int32_t height, int32_t format,
                           const uint8_t* data, int32_t wrap) {
    CTraces scope("morvaAllocateImage()");
    auto* image = new TImage{};
    image->name = morva::copyName(name);
    image->id = ++morva::g_lastImageId;
    image->flipped = height > 0;
    // Rounded in 64 bits: a size whose rounding leaves 32 bits is refused
    // below like any other unusable geometry.
    const int64_t lines = height > 0 ? int64_t(height) : -int64_t(height);
    const int64_t roundedHeight = (lines + 1) & ~int64_t(1);
    const int64_t roundedWidth = (int64_t(width) + 3) & ~int64_t(3);
    image->format = format;
    const bool fits = roundedHeight <= INT32_MAX && roundedWidth <= INT32_MAX;
    image->height = fits ? int32_t(roundedHeight) : 0;
    image->width = fits ? int32_t(roundedWidth) : 0;

    if (!fits || !morva::setPlaneInfo(image, wrap != 0 ? data : nullptr)) {
        traceWrite(scope, "Error: failed to call 'setPlaneInfo'.\n");
        morva::freeRecord(image);
        return nullptr;
    }
    if (wrap != 0) {
        // The caller's own buffer is turned to top line first, in place.
        if (image->flipped && data != nullptr) morvaFlipImage(image);
    } else if (data != nullptr) {
        morvaUpdateImage(image, data);
    }
    traceWrite(scope, "%s", describeImage(image).c_str());
    return image;
}

TImage* morvaAllocateImageEx(const BITMAPINFOHEADER* header, const uint8_t* data, int32_t wrap) {
    CTraces scope("morvaAllocateImageEx()");
    if (header == nullptr) return nullptr;
    const int32_t format = morvaGetBitmapColorFormat(header);
    if (format == -1) return nullptr;
    return morvaAllocateImage("morvaAllocateImageEx", header->biWidth, header->biHeight, format,
                              data, wrap);
}

TImage* morvaCloneImage(const TImage* image) {
    CTraces scope("morvaCloneImage()");
    if (!morva::isValidImage(image)) return nullptr;
    // Through the public constructor: the clone is stored top line first with
    // a positive height, so it is flipped and has default attributes.
    TImage* clone =
        morvaAllocateImage(image->name, image->width, image->height, image->format, nullptr, 0);
    if (clone == nullptr) return nullptr;
    morva::ippsCopy_8u(image->data, clone->data, image->size);
    return clone;
}

void morvaFreeImage(TImage* image) {
    CTraces scope("morvaFreeImage()");
    if (image == nullptr) return;
    traceWrite(scope, "%s", describeImage(image).c_str());
    if (image->owned && image->data != nullptr) morva::ippsFree(image->data);
    morva::freeRecord(image);
}

bool morvaSetAttributes(TImage* image, int32_t interpolation, int32_t scaleMode) {
    CTraces scope("morvaSetAttributes()");
    if (!morva::isValidImage(image)) return false;
    // A negative value keeps the field.
    if (interpolation >= 0) image->planeInfo->interpolation = interpolation;
    if (scaleMode >= 0) image->planeInfo->scaleMode = scaleMode;
    return true;
}
