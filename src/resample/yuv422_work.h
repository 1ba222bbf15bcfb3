// Work blocks of the packed 4:2:2 resize: each table and row buffer is a
// block of its own from the aligned allocator, released on every way out.
#pragma once

#include <cstdint>
#include <limits>

#include "kernels/memory.h"

namespace morva {

template <class T>
class WorkBlock {
public:
    // Allocates unless an earlier block of the call failed (ok false). A
    // block the allocator can't give, or whose size in bytes would not fit
    // its 32-bit length, sets ok to false.
    WorkBlock(int64_t count, bool& ok) {
        if (!ok) return;
        ok = false;
        if (count < 1 || count > std::numeric_limits<int32_t>::max() / int64_t(sizeof(T))) return;
        const int32_t n = static_cast<int32_t>(count);
        if constexpr (sizeof(T) == 4)
            data_ = reinterpret_cast<T*>(ippsMalloc_32s(n));
        else if constexpr (sizeof(T) == 2)
            data_ = reinterpret_cast<T*>(ippsMalloc_16s(n));
        else
            data_ = reinterpret_cast<T*>(ippsMalloc_8u(n * int32_t(sizeof(T))));
        ok = data_ != nullptr;
    }
    ~WorkBlock() { ippsFree(data_); }
    WorkBlock(const WorkBlock&) = delete;
    WorkBlock& operator=(const WorkBlock&) = delete;

    T* get() const { return data_; }

private:
    T* data_ = nullptr;
};

}  // namespace morva
