// What the trace facility needs of the operating system: the paths of the host
// executable and of this library, the local time, a thread id, and one lock
// shared by every process that traces.
#pragma once

#include <cstdint>
#include <string>

namespace morva::trace_platform {

struct LocalTime {
    unsigned year, month, day, hour, minute, second;
};

// Full path of the running executable, or empty.
std::string hostExecutablePath();
// Full path of the file that holds this library's code, or empty.
std::string libraryPath();
bool fileExists(const std::string& path);
LocalTime localTime();
uint32_t currentThreadId();

// A lock shared by all processes on the machine under one name. A process
// that dies while holding it releases it. Works without the shared part if
// that can't be created.
class NamedLock {
public:
    explicit NamedLock(const char* name);
    ~NamedLock();
    NamedLock(const NamedLock&) = delete;
    NamedLock& operator=(const NamedLock&) = delete;
    void lock();
    void unlock();

private:
    int fd_ = -1;
};

}  // namespace morva::trace_platform
