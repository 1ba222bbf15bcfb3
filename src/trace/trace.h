// Scoped trace lines in a log file beside the library, written only when the
// marker file "enabletraces.txt" stands beside the host executable.
#pragma once

#include <cstdint>

namespace morva {

class CTraces {
public:
    // A null or empty name opens an anonymous scope.
    explicit CTraces(const char* name);
    virtual ~CTraces();
    CTraces(const CTraces&) = delete;
    CTraces& operator=(const CTraces&) = delete;

    bool hasOutput = false;
    uint32_t threadId = 0;
    const char* name = nullptr;

private:
    bool indented_ = false;
};

// A formatted line through a scope. No newline is added.
void traceWrite(CTraces& scope, const char* format, ...) __attribute__((format(printf, 2, 3)));

// The one-time check of the marker; true if tracing is on for this process.
bool traceEnabled();

}  // namespace morva
