// Work blocks of the resampling paths that allocate their own tables and row
// buffers: each a block of its own from the aligned allocator, released on
// every way out.
#pragma once

#include <cstdint>
#include <limits>

#include "kernels/memory.h"

namespace morva {

template <class T>
class WorkBlock {
public:
    WorkBlock() = default;
    // Allocates unless an earlier block of the call failed (ok false).
    WorkBlock(int64_t count, bool& ok) { ok = ok && allocate(count); }

    // False where the allocator can't give the block, or its size in bytes
    // would not fit its 32-bit length.
    bool allocate(int64_t count) {
        ippsFree(data_);
        data_ = nullptr;
        if (count < 1 || count > std::numeric_limits<int32_t>::max() / int64_t(sizeof(T))) return false;
        const int32_t n = static_cast<int32_t>(count);
        if constexpr (sizeof(T) == 4)
            data_ = reinterpret_cast<T*>(ippsMalloc_32s(n));
        else if constexpr (sizeof(T) == 2)
            data_ = reinterpret_cast<T*>(ippsMalloc_16s(n));
        else
            data_ = reinterpret_cast<T*>(ippsMalloc_8u(n * int32_t(sizeof(T))));
        return data_ != nullptr;
    }
    ~WorkBlock() { ippsFree(data_); }
    WorkBlock(const WorkBlock&) = delete;
    WorkBlock& operator=(const WorkBlock&) = delete;

    T* get() const { return data_; }

private:
    T* data_ = nullptr;
};

}  // namespace morva
