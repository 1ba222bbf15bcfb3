// Truncating conversion and the SSE and x87 control registers, on the
// processor itself.
#include "kernels/cpu.h"

#if MORVA_X86_64

#include <xmmintrin.h>

#include "kernels/frame.h"

namespace morva {
namespace {

// Only the low 16 bits of MXCSR are defined; loading a reserved bit faults,
// so a caller's value can reach those 16 bits only.
constexpr uint32_t kMxcsrDefined = 0xFFFF;
constexpr uint32_t kMxcsrDefault = 0x1F80;  // all exceptions masked, nearest, no flush

uint16_t readFpuControl() {
    uint16_t control;
    __asm__ volatile("fnstcw %0" : "=m"(control));
    return control;
}

void loadFpuControl(uint16_t control) { __asm__ volatile("fldcw %0" : : "m"(control)); }

}  // namespace

int32_t ownFloatToInt32Trunc(long double value) {
    // The store rounds by the control word, so truncation is switched on for
    // the one store. Out of range, the processor stores its integer
    // indefinite value, 0x80000000.
    uint16_t saved, truncating;
    int32_t result;
    __asm__ volatile(
        "fnstcw %[saved]\n\t"
        "movzwl %[saved], %%eax\n\t"
        "orl $0x0C00, %%eax\n\t"
        "movw %%ax, %[truncating]\n\t"
        "fldcw %[truncating]\n\t"
        "fistpl %[result]\n\t"
        "fldcw %[saved]"
        : [saved] "=m"(saved), [truncating] "=m"(truncating), [result] "=m"(result)
        : "t"(value)
        : "st", "eax");
    return result;
}

uint32_t ownSetDefaultMxcsr() {
    const uint32_t old = _mm_getcsr();
    _mm_setcsr(kMxcsrDefault);
    return old;
}

uint32_t ownSetMxcsrMasked(uint32_t value, uint32_t mask) {
    const uint32_t old = _mm_getcsr();
    _mm_setcsr(((old & ~mask) | (value & mask)) & kMxcsrDefined);
    return old;
}

uint32_t ownSetFpuControlMasked(uint32_t value, uint32_t mask) {
    const uint32_t old = readFpuControl();
    loadFpuControl(static_cast<uint16_t>((old & ~mask) | (value & mask)));
    return old;
}

uint32_t ownGetMxcsr() { return _mm_getcsr(); }

uint32_t ownGetFpuControl() { return readFpuControl(); }

uint32_t ownGetFpuStatus() {
    uint16_t status;
    __asm__ volatile("fnstsw %0" : "=m"(status));
    return status;
}

uint32_t ownClearFpuStatus() {
    uint16_t status;
    __asm__ volatile("fnstsw %0\n\tfnclex" : "=m"(status));
    return status;
}

}  // namespace morva

#endif  // MORVA_X86_64
