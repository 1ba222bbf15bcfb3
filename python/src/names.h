// The names Python callers use for formats, methods and scale modes, and their
// library values.
#pragma once

#include <pybind11/pybind11.h>

#include <cstdint>
#include <string>

namespace morvapy {

namespace py = pybind11;

// A format given as a name ("yuv420p", "bgra", ...), a decimal id as text, or
// an int id. Raises ValueError for an unknown one, TypeError for other types.
int32_t formatFromPython(py::handle format);

// The shown name of a format, or its id as text for a format without a name.
std::string formatName(int32_t format);

// "yuv420p, yv12, ..." for messages.
std::string knownFormatNames();

// An interpolation method by the command-line tool's names ("nn", "linear",
// ...); "nearest" is taken for "nn".
int32_t methodFromName(const std::string& method);
std::string methodName(int32_t id);

// "stretch", "fit" or "fill" as the library's scale mode 0, 1, 2.
int32_t fitFromName(const std::string& fit);
std::string fitName(int32_t mode);

// None, "smooth" or "subpixel" as the library's edge flag.
int32_t edgeFromPython(py::handle edge);
std::string edgeName(int32_t flags);  // empty for no edge flag

}  // namespace morvapy
