// The extension module behind the `morva` package.
#include <format_names.h>
#include <morva.h>
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <cstring>

#include "call_trace.h"
#include "image.h"
#include "names.h"
#include "operations.h"
#ifdef MORVA_PYTHON_FILES
#include "files.h"
#endif

namespace morvapy {
namespace {

using namespace pybind11::literals;

// Four-character codes are stored with their first character in the low byte.
uint32_t compressionOf(py::handle compression) {
    if (py::isinstance<py::str>(compression)) {
        const std::string code = compression.cast<std::string>();
        if (code.size() != 4) throw py::value_error("a four-character code has four characters, not '" + code + "'");
        uint32_t value = 0;
        for (int i = 3; i >= 0; --i) value = (value << 8) | uint8_t(code[size_t(i)]);
        return value;
    }
    return compression.cast<uint32_t>();
}

py::object fourccOf(uint32_t compression) {
    if (compression <= 0xff) return py::none();
    std::string code(4, ' ');
    for (size_t i = 0; i < 4; ++i) code[i] = char((compression >> (8 * i)) & 0xff);
    return py::str(code);
}

py::object formatOfHeader(const BITMAPINFOHEADER& header) {
    const int32_t format = morvaGetBitmapColorFormat(&header);
    return format < 0 ? py::object(py::none()) : py::object(py::str(formatName(format)));
}

std::string headerRepr(const BITMAPINFOHEADER& header) {
    const py::object fourcc = fourccOf(header.biCompression);
    const std::string compression =
        fourcc.is_none() ? std::to_string(header.biCompression) : "'" + fourcc.cast<std::string>() + "'";
    return "<morva.BitmapHeader " + std::to_string(header.biWidth) + "x" + std::to_string(header.biHeight) +
           ", compression " + compression + ", " + std::to_string(header.biBitCount) + " bits>";
}

template <class Value>
void headerField(py::class_<BITMAPINFOHEADER>& type, const char* name, Value BITMAPINFOHEADER::*field,
                 const char* doc) {
    // Copies in and out: the record is packed, so its fields are not bound by reference.
    type.def_property(
        name, [field](const BITMAPINFOHEADER& h) { return Value(h.*field); },
        [field](BITMAPINFOHEADER& h, Value value) { h.*field = value; }, doc);
}

void bindBitmapHeader(py::module_& m) {
    py::class_<BITMAPINFOHEADER> type(m, "BitmapHeader", R"(A device-independent bitmap header, as capture devices offer formats.

compression is 0 (plain RGB), 3 (bit fields) or a four-character code such
as 'YUY2' or 'I420'. A positive height means rows bottom line first.)");
    type.def(py::init([](int32_t width, int32_t height, py::handle compression, uint16_t bitCount,
                         uint32_t sizeImage) {
                 BITMAPINFOHEADER header{};
                 header.biSize = sizeof(BITMAPINFOHEADER);
                 header.biWidth = width;
                 header.biHeight = height;
                 header.biPlanes = 1;
                 header.biBitCount = bitCount;
                 header.biCompression = compressionOf(compression);
                 header.biSizeImage = sizeImage;
                 return header;
             }),
             "width"_a, "height"_a, "compression"_a = 0, "bit_count"_a = 0, "size_image"_a = 0);
    headerField(type, "width", &BITMAPINFOHEADER::biWidth, "Width in pixels.");
    headerField(type, "height", &BITMAPINFOHEADER::biHeight, "Height; negative for rows top line first.");
    headerField(type, "bit_count", &BITMAPINFOHEADER::biBitCount, "Bits per pixel.");
    headerField(type, "size_image", &BITMAPINFOHEADER::biSizeImage, "Bytes of the picture.");
    headerField(type, "planes", &BITMAPINFOHEADER::biPlanes, "Always 1 in a valid header.");
    type.def_property(
        "compression", [](const BITMAPINFOHEADER& h) { return h.biCompression; },
        [](BITMAPINFOHEADER& h, py::handle value) { h.biCompression = compressionOf(value); },
        "The compression code as a number; assign a number or a four-character code.");
    type.def_property_readonly(
        "fourcc", [](const BITMAPINFOHEADER& h) { return fourccOf(h.biCompression); },
        "The compression as a four-character code, or None for 0 and 3.");
    type.def_property_readonly("format", &formatOfHeader,
                               "The library's format for this header, or None if it has none.");
    type.def("__repr__", &headerRepr);
}

int32_t methodId(const Image& image) { return image.interpolation() & 0x1fffffff; }
bool antialiased(const Image& image) { return (image.interpolation() & RESIZE_ANTIALIASING) != 0; }
py::object edgeOf(const Image& image) {
    const std::string edge = edgeName(image.interpolation());
    return edge.empty() ? py::object(py::none()) : py::object(py::str(edge));
}

void setAttributes(Image& image, const std::string& method, const std::string& fit, bool antialias, py::handle edge) {
    const int32_t interpolation = interpolationOf(method, antialias, edge), mode = fitFromName(fit);
    if (interpolation < 0)
        throw py::value_error("the library keeps no image attribute with edge 'smooth'; resize() takes it");
    image.setAttributes(interpolation, mode);
}

void bindImage(py::module_& m) {
    py::class_<Image> type(m, "Image", R"(A video frame held by the library, in one of its pixel formats.

Image(width, height, format) makes a zero-filled frame. Image.from_array()
wraps a numpy array without copying where the array holds the library's
layout. Frames whose width is not a multiple of 4 or whose height is odd are
held padded to those sizes; width and height stay as given.)");
    type.def(py::init([](int64_t width, int64_t height, py::handle format, const std::string& name) {
                 checkFrameSize(width, height);
                 return std::make_unique<Image>(int32_t(width), int32_t(height), formatFromPython(format), name);
             }),
             "width"_a, "height"_a, "format"_a, "name"_a = "");
    type.def_static("from_array", &Image::fromArray, "array"_a, "format"_a, py::kw_only(), "size"_a = py::none(),
                    "copy"_a = py::none(), "name"_a = "",
                    R"(An image of the frame in `array`.

Packed RGB, grey and packed 4:2:2 frames are arrays of shape (height, width,
channels): bgra 4, bgr24 3, yuyv422 and uyvy422 2, gray none; the 16-bit RGB
formats are uint16 arrays of shape (height, width). Other formats are the
library's planes one behind the other: a 2-D uint8 array whose rows are as wide
as the frame (for yuv420p the usual (height * 3 // 2, width)), or any array of
the frame's bytes with size=(width, height).

The array is wrapped, not copied, when it is C-contiguous and, for pixel
arrays, its width is a multiple of 4 and its height even. Otherwise it is
copied, and copy_reason says why; copy=False raises ValueError instead, and
copy=True always copies. A wrapped read-only array gives a read-only image.)");
    type.def_property_readonly("width", &Image::width, "Width in pixels, as given.");
    type.def_property_readonly("height", &Image::height, "Height in pixels, as given.");
    type.def_property_readonly(
        "format", [](const Image& i) { return formatName(i.format()); }, "The pixel format's name.");
    type.def_property_readonly("format_id", &Image::format, "The library's format id.");
    type.def_property_readonly(
        "stored_size", [](const Image& i) { return std::pair{i.library().width, i.library().height}; },
        "(width, height) as the library holds the frame: rounded up to multiples of 4 and 2.");
    type.def_property_readonly(
        "nbytes", [](const Image& i) { return i.library().size; }, "Bytes of all planes.");
    type.def_property_readonly(
        "name", [](const Image& i) { return std::string(i.library().name ? i.library().name : ""); },
        "The name the library keeps for the image.");
    type.def_property_readonly(
        "id", [](const Image& i) { return i.library().id; }, "The library's serial number of the image.");
    type.def_property_readonly("readonly", &Image::readOnly, "True if the image wraps a read-only array.");
    type.def_property_readonly("base", &Image::base, "The array whose memory the image wraps, or None.");
    type.def_property_readonly("copy_reason", &Image::copyReason,
                               "Why from_array() copied the array, or None if it wraps it or made no copy.");
    type.def_property_readonly(
        "planes", [](py::object self) { return self.cast<const Image&>().planes(self); },
        "The planes as numpy views of the image's memory, at the library's size: (rows, units[, samples]).");
    type.def_property_readonly(
        "array", [](py::object self) { return self.cast<const Image&>().array(self); },
        "The frame as one numpy view, in the shape from_array() takes.");
    type.def(
        "__array__",
        [](py::object self, py::object dtype, py::object) {
            py::array view = self.cast<const Image&>().array(self);
            return dtype.is_none() ? py::object(view) : view.attr("astype")(dtype);
        },
        "dtype"_a = py::none(), "copy"_a = py::none());
    type.def("tobytes", &Image::toBytes, "The library's bytes of all planes.");
    type.def("copy", &Image::copy, "A new image with the same pixels and attributes.");
    type.def(
        "bitmap_header",
        [](const Image& i) {
            BITMAPINFO info{};
            morvaGetBitmapInfo(&i.library(), &info);
            return info.bmiHeader;
        },
        "The library's bitmap description of the image.");
    type.def("__repr__", &Image::repr);
    type.def_property(
        "method", [](const Image& i) { return methodName(methodId(i)); },
        [](Image& i, const std::string& method) {
            setAttributes(i, method, fitName(i.scaleMode()), antialiased(i), edgeOf(i));
        },
        "Interpolation method when the image is composed: 'nn' (the default), 'linear', 'cubic', ...");
    type.def_property(
        "fit", [](const Image& i) { return fitName(i.scaleMode()); },
        [](Image& i, const std::string& fit) { setAttributes(i, methodName(methodId(i)), fit, antialiased(i), edgeOf(i)); },
        "How the image fills its cell when composed: 'stretch', 'fit' (the default) or 'fill'.");
    type.def_property(
        "antialias", &antialiased,
        [](Image& i, bool on) { setAttributes(i, methodName(methodId(i)), fitName(i.scaleMode()), on, edgeOf(i)); },
        "Whether the image is reduced with antialiasing when composed.");
    type.def_property(
        "edge", &edgeOf,
        [](Image& i, py::handle edge) {
            setAttributes(i, methodName(methodId(i)), fitName(i.scaleMode()), antialiased(i), edge);
        },
        "Edge treatment when composed: None or 'subpixel'.");
    type.def("set_attributes", &setAttributes, "method"_a = "nn", "fit"_a = "fit", "antialias"_a = false,
             "edge"_a = py::none(), "Sets all four composition attributes at once.");
}

void bindOperations(py::module_& m) {
    m.def("convert", &convert, "image"_a, "format"_a, py::kw_only(), "out"_a = py::none(),
          R"(The image converted to another pixel format, by the library's routes.

With out, writes into that image (of the same size and the new format) and
returns it. ValueError if the library has no conversion between the formats.)");
    m.def("resize", &resize, "image"_a, "size"_a, "method"_a = "linear", "antialias"_a = false, "edge"_a = py::none(),
          "fit"_a = "stretch", py::kw_only(), "out"_a = py::none(),
          R"(The image resized to size=(width, height) in its own format.

method: 'nn', 'linear', 'cubic', 'bspline', 'catmullrom', 'b05c03', 'super'
(reduction only) or 'lanczos'. antialias: antialiased reduction. edge: None,
'smooth' or 'subpixel'. fit: 'stretch', 'fit' (centred, the rest zero bytes)
or 'fill' (covering, the overhang cut off).)");
    m.def("clear", &clear, "image"_a, "color"_a,
          R"(Fills the image with color=(red, green, blue[, alpha]), alpha 255 if not given.

The library fills bgra, bgr24, yuv420p, yv12, yuyv422, uyvy422 and the top left
16x16 block of nv12; other formats raise ValueError.)");
    m.def("compose", &compose, "target"_a, "sources"_a, "layout"_a,
          R"(Composes the sources into the target by a layout and returns the target.

layout is a name given to define_layout() or a layout text such as
'rows:2;columns:2;'. Source i goes into cell i, converted to the target's
format and scaled by its own method and fit; None leaves its cell alone.
Pixels outside the cells keep their values.)");
    m.def("define_layout", &defineLayout, "name"_a, "text"_a,
          R"(Defines, replaces or (with text None or '') removes a named layout.

The text is 'name:value;' pairs: rows, columns, width, height, margin-left,
margin-top, margin-right, margin-bottom (percentages of a cell), border.
Names are compared without regard to case.)");
    m.def("pick_format", &pickFormat, "headers"_a, "min_size"_a = std::pair{0, 0},
          R"(The index of the preferred header among formats a device offers, or None.

Any RGB format that fits beats every YUV format; within each, the narrowest
one at least min_size=(width, height) wins.)");
    m.def(
        "formats",
        [] {
            py::dict names;
            for (const auto& entry : morvanames::kFormatNames)
                names[py::str(std::string(entry.names[0]))] = std::string(entry.description);
            return names;
        },
        "The names of the pixel formats, each with what it holds.");
    m.def("_set_trace_sink", &setTraceSink, "sink"_a);
}

}  // namespace
}  // namespace morvapy

PYBIND11_MODULE(_morva, m) {
    m.doc() = "Bindings of the morva library; use the morva package.";
    morvapy::bindBitmapHeader(m);
    morvapy::bindImage(m);
    morvapy::bindOperations(m);
#ifdef MORVA_PYTHON_FILES
    morvapy::bindFiles(m);
#endif
}
