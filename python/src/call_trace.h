// The package's own trace of its calls into the library. The library's trace
// log is switched by a marker file beside the host executable, which for a
// Python program is the interpreter; so the package traces on its own: each
// call, its images and its time go to a Python callable, which the Python side
// hands to the logging module.
#pragma once

#include <pybind11/pybind11.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <utility>

namespace morvapy {

namespace py = pybind11;

void setTraceSink(py::object sink);  // None switches tracing off
bool tracing();
void traceLine(const std::string& line);

// Runs `work` without the GIL, so other Python threads go on meanwhile, and
// traces `describe()` with the time it took when tracing is on. The GIL is
// held when this is called and when it returns.
template <class Work, class Describe>
auto runLibraryCall(Work&& work, Describe&& describe) {
    if (!tracing()) {
        py::gil_scoped_release released;
        return work();
    }
    const auto start = std::chrono::steady_clock::now();
    auto result = [&] {
        py::gil_scoped_release released;
        return work();
    }();
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
    char milliseconds[32];
    std::snprintf(milliseconds, sizeof milliseconds, " in %.3f ms", took.count());
    traceLine(describe(result) + milliseconds);
    return result;
}

}  // namespace morvapy
