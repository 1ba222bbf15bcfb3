#include "images.h"

#include <array>
#include <cstring>

namespace morvatool {

ImagePtr allocateImage(const char* name, int32_t width, int32_t height, int32_t format) {
    if (width <= 0 || height <= 0 || width > kMaxSide || height > kMaxSide)
        throw ToolError("image size " + std::to_string(width) + "x" + std::to_string(height) +
                        " is outside 1x1 to " + std::to_string(kMaxSide) + "x" +
                        std::to_string(kMaxSide));
    // A negative height tells the library that rows come top line first.
    ImagePtr image(morvaAllocateImage(name, width, -height, format, nullptr, 0));
    if (!image)
        throw ToolError("the library can't hold a " + std::to_string(width) + "x" + std::to_string(height) +
                        " image in format " + std::to_string(format) + " (too large, or out of memory)");
    return image;
}

const PlaneEntry& plane(const TImage& image, int index) { return image.planeInfo->planes[index]; }

uint8_t* planeRow(const TImage& image, int index, int32_t row) {
    const PlaneEntry& p = plane(image, index);
    return p.data + int64_t(row) * p.stride;
}

void padPlane(const TImage& image, int index, int32_t usedBytes, int32_t usedRows, int32_t unitBytes) {
    const PlaneEntry& p = plane(image, index);
    const int32_t rowBytes = p.width * p.channels * p.bytesPerChannel;
    if (usedBytes <= 0 || usedRows <= 0) return;
    for (int32_t y = 0; y < usedRows; ++y) {
        uint8_t* row = planeRow(image, index, y);
        for (int32_t x = usedBytes; x + unitBytes <= rowBytes; x += unitBytes)
            std::memcpy(row + x, row + usedBytes - unitBytes, size_t(unitBytes));
    }
    for (int32_t y = usedRows; y < p.height; ++y)
        std::memcpy(planeRow(image, index, y), planeRow(image, index, usedRows - 1), size_t(rowBytes));
}

}  // namespace morvatool
