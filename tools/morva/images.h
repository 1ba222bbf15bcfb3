// Owning handles for library images, plane access, and the pixel formats the
// tool offers by name.
#pragma once

#include <morva.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>

namespace morvatool {

// Every failure the tool reports: the text becomes the one line on stderr.
class ToolError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A command line the tool can't take.
class UsageError : public ToolError {
public:
    using ToolError::ToolError;
};

struct Rgb {
    uint8_t red = 0, green = 0, blue = 0;
    bool operator==(const Rgb&) const = default;
};

struct ImageDeleter {
    void operator()(TImage* image) const { morvaFreeImage(image); }
};
using ImagePtr = std::unique_ptr<TImage, ImageDeleter>;

// Largest side the tool accepts for inputs and targets. The library may still
// refuse a frame near it: it holds three times a frame's bytes and counts
// them in 32 bits.
constexpr int32_t kMaxSide = 16384;

// A top-line-first image owned by the caller; throws ToolError if the library
// refuses it.
ImagePtr allocateImage(const char* name, int32_t width, int32_t height, int32_t format);

const PlaneEntry& plane(const TImage& image, int index);

// Start of a plane row.
uint8_t* planeRow(const TImage& image, int index, int32_t row);

// The library's lines are wider and taller than a frame that is not a multiple
// of its rounding: repeats the last used byte column and row of a plane into
// the padding. usedBytes counts bytes of a row, usedRows rows; a unit of
// several bytes is repeated whole.
void padPlane(const TImage& image, int index, int32_t usedBytes, int32_t usedRows, int32_t unitBytes);

}  // namespace morvatool
