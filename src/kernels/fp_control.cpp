// Truncating conversion and the floating-point control operations where the
// processor has neither the SSE control register nor the x87 unit. There the
// operations have no register to act on: they change nothing and report 0.
// Nothing in the library calls them.
#include "kernels/cpu.h"

#if !MORVA_X86_64

#include <cmath>
#include <limits>

#include "kernels/frame.h"

namespace morva {

int32_t ownFloatToInt32Trunc(long double value) {
    // As the x86 store does: anything that doesn't fit, NaN included, gives
    // the integer indefinite value.
    const long double truncated = std::trunc(value);
    if (!(truncated >= std::numeric_limits<int32_t>::min() &&
          truncated <= std::numeric_limits<int32_t>::max()))
        return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(truncated);
}

uint32_t ownSetDefaultMxcsr() { return 0; }
uint32_t ownSetMxcsrMasked(uint32_t, uint32_t) { return 0; }
uint32_t ownSetFpuControlMasked(uint32_t, uint32_t) { return 0; }
uint32_t ownGetMxcsr() { return 0; }
uint32_t ownGetFpuControl() { return 0; }
uint32_t ownGetFpuStatus() { return 0; }
uint32_t ownClearFpuStatus() { return 0; }

}  // namespace morva

#endif  // !MORVA_X86_64
