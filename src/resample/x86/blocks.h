// The walk of the vector row kernels whose blocks are pure functions of the
// source: block(i) for i = 0, n, 2n, ... and once more at count - n, so that
// the last block ends at the row's end, overlapping the one before and
// writing the same values again, instead of a scalar tail. count >= n.
// Internal linkage, as the instruction sets' files that use it.
#pragma once

#include <cstdint>

namespace morva {
namespace {

template <class Block>
inline void blocksOver(int32_t count, int32_t n, Block block) {
    int32_t i = 0;
    for (; i + n <= count; i += n) block(i);
    if (i < count) block(count - n);
}

}  // namespace
}  // namespace morva
