#include "kernels/dispatch.h"

#include <algorithm>

namespace morva {

Isa slotIsa(int slot) {
    static constexpr Isa levels[kCpuSlotCount] = {Isa::Sse2,  Isa::Sse2, Isa::Ssse3, Isa::Ssse3,
                                                  Isa::Sse41, Isa::Avx2, Isa::Avx512};
#if MORVA_X86_64
    return levels[std::clamp(slot, 0, kCpuSlotCount - 1)];
#else
    (void)levels;
    (void)slot;
    return Isa::Scalar;
#endif
}

int highestCpuSlot() {
    static const int highest = [] {
        int slot = 0;
        for (int s = 1; s < kCpuSlotCount; ++s)
            if (cpuSupports(slotIsa(s))) slot = s;
        return slot;
    }();
    return highest;
}

std::atomic<int> ippCpuSlot{highestCpuSlot()};
std::atomic<int> ippNumThreads{1};

int setCpuSlot(int slot) {
    const int chosen = std::clamp(slot, kScalarCpuSlot, highestCpuSlot());
    ippCpuSlot.store(chosen, std::memory_order_relaxed);
    return chosen;
}

int ippGetNumThreads() { return ippNumThreads.load(std::memory_order_relaxed); }

int setNumThreads(int threads) {
    return ippNumThreads.exchange(std::max(threads, 1), std::memory_order_relaxed);
}

}  // namespace morva
