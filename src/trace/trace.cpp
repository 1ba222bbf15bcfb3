#include "trace/trace.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <string>

#include "trace/platform.h"
#include "trace/trace_internal.h"

namespace morva {
namespace {

namespace platform = trace_platform;

// All state of the facility, created on first use and kept to the end of the
// process.
struct TraceState {
    std::atomic<bool> checked{false};
    std::atomic<bool> enabled{false};
    platform::NamedLock* lock = nullptr;  // never freed: scopes may close during exit
    unsigned depth = 0;
    int sequence = 0;
    std::string logPath;
    std::string indentation;
};

TraceState& state() {
    static TraceState* s = new TraceState;
    return *s;
}

// Splits a path into its directory (with the trailing separator) and its file
// name.
void splitPath(const std::string& path, std::string& directory, std::string& file) {
    const size_t slash = path.find_last_of('/');
    directory = slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
    file = slash == std::string::npos ? path : path.substr(slash + 1);
}

// The library's name without its extension. A shared object's extension is
// ".so" with any version behind it, so "libmorva.so.1.0.0" gives "libmorva".
std::string withoutExtension(const std::string& file) {
    for (size_t at = file.find(".so"); at != std::string::npos; at = file.find(".so", at + 1)) {
        const size_t end = at + 3;
        if (at > 0 && (end == file.size() || file[end] == '.')) return file.substr(0, at);
    }
    const size_t dot = file.find_last_of('.');
    return dot == std::string::npos || dot == 0 ? file : file.substr(0, dot);
}

std::string formatLogPath(const std::string& libraryFile) {
    std::string directory, file;
    splitPath(libraryFile, directory, file);
    const platform::LocalTime t = platform::localTime();
    const std::string name = withoutExtension(file);
    const int n = std::snprintf(nullptr, 0, "%s%04u.%02u.%02u,%02u-%02u-%02u %s.log",
                                directory.c_str(), t.year, t.month, t.day, t.hour, t.minute,
                                t.second, name.c_str());
    std::string path(static_cast<size_t>(n), '\0');
    std::snprintf(path.data(), path.size() + 1, "%s%04u.%02u.%02u,%02u-%02u-%02u %s.log",
                  directory.c_str(), t.year, t.month, t.day, t.hour, t.minute, t.second,
                  name.c_str());
    return path;
}

bool decide(TraceState& s) {
    s.lock = new platform::NamedLock("morvaTraceMutex");
    std::string directory, file;
    splitPath(platform::hostExecutablePath(), directory, file);
    if (directory.empty()) return false;
    if (!platform::fileExists(directory + "enabletraces.txt")) return false;
    s.logPath = formatLogPath(platform::libraryPath());
    return true;
}

class Locked {
public:
    explicit Locked(TraceState& s) : s_(s) { s_.lock->lock(); }
    ~Locked() { s_.lock->unlock(); }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;

private:
    TraceState& s_;
};

std::string formatMessage(const char* format, va_list args) {
    va_list copy;
    va_copy(copy, args);
    const int n = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    if (n <= 0) return {};
    std::string text(static_cast<size_t>(n), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, args);
    return text;
}

// The log is written as a text file was on the system the format comes from:
// every line feed goes out as carriage return and line feed, so the scope
// lines, which carry their own carriage return, end in two.
std::string asTextMode(const std::string& line) {
    std::string out;
    out.reserve(line.size() + 8);
    for (char c : line) {
        if (c == '\n') out += '\r';
        out += c;
    }
    return out;
}

std::string clockText() {
    const platform::LocalTime t = platform::localTime();
    char text[16];
    std::snprintf(text, sizeof text, "%02u:%02u:%02u", t.hour % 100, t.minute % 100,
                  t.second % 100);
    return text;
}

}  // namespace

bool traceEnabled() {
    TraceState& s = state();
    if (s.checked.exchange(true)) return s.enabled.load();
    const bool on = decide(s);
    s.enabled.store(on);
    return on;
}

std::string traceLogPath() { return traceEnabled() ? state().logPath : std::string(); }

CTraces::CTraces(const char* scopeName) {
    threadId = trace_platform::currentThreadId();
    if (!traceEnabled()) return;
    if (scopeName != nullptr && *scopeName != '\0') {
        name = scopeName;
        traceWrite(*this, "+-Enter: %s\r\n", scopeName);
    }
    TraceState& s = state();
    Locked held(s);
    s.indentation.resize(size_t(s.depth) * 2);
    s.indentation += "| ";
    ++s.depth;
    indented_ = true;
}

CTraces::~CTraces() {
    // A scope opened while another thread was still deciding never indented.
    if (!indented_ || !traceEnabled()) return;
    TraceState& s = state();
    bool wrote;
    {
        Locked held(s);
        --s.depth;
        s.indentation.resize(size_t(s.depth) * 2);
        wrote = hasOutput;
    }
    if (!wrote) return;
    if (name != nullptr)
        traceWrite(*this, "+-Leave: %s\r\n", name);
    else
        traceWrite(*this, "+-Leave\r\n");
}

void traceWrite(CTraces& scope, const char* format, ...) {
    if (!traceEnabled()) return;
    TraceState& s = state();
    Locked held(s);
    scope.hasOutput = true;
    va_list args;
    va_start(args, format);
    const std::string message = formatMessage(format, args);
    va_end(args);
    const std::string time = clockText();
    std::FILE* log = std::fopen(s.logPath.c_str(), "ab");
    if (log == nullptr) return;
    char head[64];
    std::snprintf(head, sizeof head, "%05d %08x %s ", s.sequence++, scope.threadId, time.c_str());
    const std::string line = asTextMode(head + s.indentation + message);
    std::fwrite(line.data(), 1, line.size(), log);
    std::fclose(log);
}

}  // namespace morva
