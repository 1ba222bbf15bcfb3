// A hint to the processor to bring memory into the cache ahead of use. It
// changes no result; the row drivers use it for the source row they will
// read next, which the hardware's own prefetch brings too late when a row
// is long and the work per byte small.
#pragma once

#include <cstddef>

namespace morva {

inline void prefetchBytes(const void* p, size_t bytes) {
    const char* c = static_cast<const char*>(p);
    for (size_t i = 0; i < bytes; i += 64) __builtin_prefetch(c + i);
}

}  // namespace morva
