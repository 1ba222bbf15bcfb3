// Bindings of the command-line tool's file composition, built with the tool.
#pragma once

#include <pybind11/pybind11.h>

namespace morvapy {

void bindFiles(pybind11::module_& module);

}  // namespace morvapy
