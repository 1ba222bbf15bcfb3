// A fuzzer's input as a file that a reader opens by path: a file in memory,
// reached through this process's descriptor table.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <string>

#include "fuzz_input.h"

namespace morva::fuzz {

class MemoryFile {
public:
    MemoryFile(const uint8_t* data, size_t size) : fd_(memfd_create("fuzz-input", 0)) {
        FUZZ_CHECK(fd_ >= 0);
        for (size_t written = 0; written < size;) {
            const ssize_t n = write(fd_, data + written, size - written);
            FUZZ_CHECK(n > 0);
            written += size_t(n);
        }
    }
    ~MemoryFile() { close(fd_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    std::string path() const { return "/proc/self/fd/" + std::to_string(fd_); }

private:
    int fd_;
};

}  // namespace morva::fuzz
