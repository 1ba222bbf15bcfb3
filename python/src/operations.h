// The library's operations in Python form: checked arguments, the GIL
// released while the library works, and errors that say what was wrong.
#pragma once

#include <pybind11/pybind11.h>

#include <optional>
#include <shared_mutex>
#include <string>
#include <utility>

#include "image.h"

namespace morvapy {

namespace py = pybind11;

py::object convert(const Image& source, py::handle format, py::object out);
py::object resize(const Image& source, std::pair<int64_t, int64_t> size, const std::string& method, bool antialias,
                  py::handle edge, const std::string& fit, py::object out);
void clear(Image& image, const py::sequence& color);
py::object compose(py::object target, const py::sequence& sources, const std::string& layout);
void defineLayout(const std::string& name, const std::optional<std::string>& text);

// The interpolation value of a method and its flags; ValueError for
// combinations the library refuses or ignores.
int32_t interpolationOf(const std::string& method, bool antialias, py::handle edge);

// Layouts live in one registry that a render reads without a lock of its
// own, so renders share this lock and whatever defines layouts takes it alone.
std::shared_mutex& layoutLock();

std::optional<int32_t> pickFormat(const py::sequence& headers, std::pair<int32_t, int32_t> minSize);

}  // namespace morvapy
