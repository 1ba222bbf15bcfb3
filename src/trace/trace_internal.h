// Internal access to the trace facility's state, for tests.
#pragma once

#include <string>

namespace morva {

// The log file of this process, or empty while tracing is off.
std::string traceLogPath();

}  // namespace morva
