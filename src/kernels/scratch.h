// Work buffers that are reused from one use to the next: reallocated only
// when a larger one is asked for, through the library's allocator.
#pragma once

#include <cstdint>

#include "kernels/memory.h"

namespace morva {

class ScratchBuffer {
public:
    ScratchBuffer() = default;
    ScratchBuffer(const ScratchBuffer&) = delete;
    ScratchBuffer& operator=(const ScratchBuffer&) = delete;
    ~ScratchBuffer() { release(); }

    // At least bytes bytes, 32-byte aligned; null where the allocator fails
    // or bytes is below 1. The contents are not kept across a growth.
    uint8_t* reserve(int64_t bytes) {
        if (bytes < 1 || bytes > INT32_MAX) return nullptr;
        if (bytes > capacity_) {
            release();
            data_ = ippsMalloc_8u(int32_t(bytes));
            capacity_ = data_ != nullptr ? bytes : 0;
        }
        return data_;
    }

    int64_t capacity() const { return capacity_; }

    void release() {
        ippsFree(data_);
        data_ = nullptr;
        capacity_ = 0;
    }

private:
    uint8_t* data_ = nullptr;
    int64_t capacity_ = 0;
};

// Work buffers that renders, copies and conversions on one thread reuse from
// call to call, each for one purpose at a time.
struct WorkBuffers {
    ScratchBuffer window;     // converted or resized rows on their way through
    ScratchBuffer temporary;  // rows of a conversion's temporary image
    ScratchBuffer work;       // the resize kernels' work buffer
    ScratchBuffer frame;      // a whole temporary image, where bands can't serve
    // About how many bytes of rows a band holds. Each band builds a resize's
    // tables and first rows anew, so bands should be tall: measured on the
    // grids of the comparison (L2 of 1 MiB a core, L3 of 32 MiB), 2 MiB was
    // faster than 256 KiB, 1 MiB and 4 MiB alike. Tests make it small to get
    // many bands out of small images.
    int64_t bandBytes = int64_t(2) << 20;

    // Gives back every block larger than keptBytes.
    void trim(int64_t keptBytes);
};

// The calling thread's buffers. The exported calls trim them to
// kKeptWorkBytes a block when they end, so what a thread keeps stays small.
WorkBuffers& threadWorkBuffers();
constexpr int64_t kKeptWorkBytes = int64_t(4) << 20;

}  // namespace morva
