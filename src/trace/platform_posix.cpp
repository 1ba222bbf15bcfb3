#include "trace/platform.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <ctime>
#include <mutex>
#include <string>

namespace morva::trace_platform {

std::string hostExecutablePath() {
    char path[PATH_MAX];
    const ssize_t n = readlink("/proc/self/exe", path, sizeof path - 1);
    if (n <= 0) return {};
    return std::string(path, static_cast<size_t>(n));
}

std::string libraryPath() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&libraryPath), &info) == 0 || info.dli_fname == nullptr)
        return {};
    char resolved[PATH_MAX];
    if (realpath(info.dli_fname, resolved) != nullptr) return resolved;
    return info.dli_fname;
}

bool fileExists(const std::string& path) {
    struct stat st;
    return stat(path.c_str(), &st) == 0;
}

LocalTime localTime() {
    const std::time_t now = std::time(nullptr);
    std::tm t{};
    localtime_r(&now, &t);
    return {unsigned(t.tm_year + 1900), unsigned(t.tm_mon + 1), unsigned(t.tm_mday),
            unsigned(t.tm_hour), unsigned(t.tm_min), unsigned(t.tm_sec)};
}

uint32_t currentThreadId() { return static_cast<uint32_t>(syscall(SYS_gettid)); }

namespace {
// Threads of one process share the file lock, so they queue here first.
std::mutex& processLock() {
    static std::mutex m;
    return m;
}
}  // namespace

// The shared part is an advisory lock on a file named after the lock in the
// temporary directory: the kernel drops it when its holder exits, however.
NamedLock::NamedLock(const char* name) {
    const std::string path = std::string("/tmp/") + name;
    fd_ = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
}

NamedLock::~NamedLock() {
    if (fd_ >= 0) close(fd_);
}

void NamedLock::lock() {
    processLock().lock();
    if (fd_ >= 0) {
        while (flock(fd_, LOCK_EX) != 0 && errno == EINTR) {
        }
    }
}

void NamedLock::unlock() {
    if (fd_ >= 0) flock(fd_, LOCK_UN);
    processLock().unlock();
}

}  // namespace morva::trace_platform
