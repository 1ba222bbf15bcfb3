// The Python image: a library image, wrapping a numpy array's memory where the
// array holds the library's layout, and giving its planes back as views.
#pragma once

#include <morva.h>
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <memory>
#include <optional>
#include <string>

namespace morvapy {

namespace py = pybind11;

struct ImageDeleter {
    void operator()(TImage* image) const { morvaFreeImage(image); }
};
using ImageHandle = std::unique_ptr<TImage, ImageDeleter>;

// A frame whose one plane holds whole pixels (packed RGB, grey, packed 4:2:2)
// is seen as rows of pixels of `channels` samples; other frames as bytes.
struct PixelLayout {
    int32_t channels;
    int32_t sampleBytes;  // 1, or 2 for the 16-bit RGB formats
};
std::optional<PixelLayout> pixelLayoutOf(int32_t format);

class Image {
public:
    // A zero-filled frame the library allocates. Sides that are not a
    // multiple of the library's rounding (4 across, 2 down) are held padded.
    Image(int32_t width, int32_t height, int32_t format, const std::string& name);

    // Wraps `array` when it holds the library's layout and `copy` isn't
    // True; otherwise copies it, unless `copy` is False.
    static std::unique_ptr<Image> fromArray(py::handle array, py::handle format, py::handle size,
                                            py::handle copy, const std::string& name);

    TImage& library() const { return *image_; }
    // The image for a call that writes it; ValueError if it wraps a read-only array.
    TImage& writable(const char* role) const;

    int32_t width() const { return width_; }
    int32_t height() const { return height_; }
    int32_t format() const { return image_->format; }
    bool readOnly() const { return readOnly_; }
    py::object base() const { return base_; }
    const std::optional<std::string>& copyReason() const { return copyReason_; }

    py::tuple planes(py::handle self) const;
    py::array array(py::handle self) const;
    py::bytes toBytes() const;
    std::unique_ptr<Image> copy() const;
    std::string describe() const;  // "640x480 yuv420p"
    std::string repr() const;

    // Render attributes: the interpolation value (method and flags) and the
    // scale mode this image is composed with.
    int32_t interpolation() const { return image_->planeInfo->interpolation; }
    int32_t scaleMode() const { return image_->planeInfo->scaleMode; }
    void setAttributes(int32_t interpolation, int32_t scaleMode);

private:
    Image(ImageHandle image, int32_t width, int32_t height);

    ImageHandle image_;
    int32_t width_, height_;  // as the caller asked; the library's may be larger
    py::object base_ = py::none();
    bool readOnly_ = false;
    std::optional<std::string> copyReason_;
};

// Checks a frame size before the library is asked for it.
void checkFrameSize(int64_t width, int64_t height);

}  // namespace morvapy
