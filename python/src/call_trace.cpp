#include "call_trace.h"

namespace morvapy {

namespace {
// Read and written with the GIL held only.
py::object& sink() {
    static py::object* callable = new py::object(py::none());  // never freed: may outlive the interpreter's teardown
    return *callable;
}
}  // namespace

void setTraceSink(py::object callable) { sink() = std::move(callable); }

bool tracing() { return !sink().is_none(); }

void traceLine(const std::string& line) {
    if (tracing()) sink()(line);
}

}  // namespace morvapy
