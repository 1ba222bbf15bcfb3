#include "kernels/cpu.h"

#include <cstring>

#if MORVA_X86_64
#include <cpuid.h>
#endif

namespace morva {
namespace {

#if MORVA_X86_64
class X86Cpuid final : public CpuidSource {
public:
    // Every x86-64 processor has the identification instruction.
    bool available() const override { return true; }
    CpuidResult query(uint32_t leaf, uint32_t subleaf) const override {
        CpuidResult r;
        __cpuid_count(leaf, subleaf, r.eax, r.ebx, r.ecx, r.edx);
        return r;
    }
};

uint64_t readXcr0() {
    uint32_t lo, hi;
    __asm__ volatile("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
    return (uint64_t(hi) << 32) | lo;
}

bool detect(Isa isa) {
    const CpuidSource& cpu = hostCpuid();
    const uint32_t maxLeaf = cpu.query(0, 0).eax;
    const CpuidResult l1 = cpu.query(1, 0);
    switch (isa) {
    case Isa::Scalar:
    case Isa::Sse2:
        return true;
    case Isa::Ssse3:
        return (l1.ecx >> 9) & 1;
    case Isa::Sse41:
        return (l1.ecx >> 19) & 1;
    case Isa::Avx2: {
        const bool osxsave = (l1.ecx >> 27) & 1;
        const bool avx = (l1.ecx >> 28) & 1;
        if (!osxsave || !avx || maxLeaf < 7) return false;
        // The operating system must save the vector registers.
        if ((readXcr0() & 6) != 6) return false;
        return (cpu.query(7, 0).ebx >> 5) & 1;
    }
    case Isa::Avx512: {
        if (!detect(Isa::Avx2)) return false;
        // The operating system must also save the mask and upper registers.
        if ((readXcr0() & 0xE0) != 0xE0) return false;
        const uint32_t ebx = cpu.query(7, 0).ebx;
        constexpr uint32_t f = 1u << 16, dq = 1u << 17, bw = 1u << 30, vl = 1u << 31;
        return (ebx & (f | dq | bw | vl)) == (f | dq | bw | vl);
    }
    }
    return false;
}
#else
class NoCpuid final : public CpuidSource {
public:
    bool available() const override { return false; }
    CpuidResult query(uint32_t, uint32_t) const override { return {}; }
};

bool detect(Isa isa) { return isa == Isa::Scalar; }
#endif

}  // namespace

const CpuidSource& hostCpuid() {
#if MORVA_X86_64
    static const X86Cpuid cpu;
#else
    static const NoCpuid cpu;
#endif
    return cpu;
}

void cpuVendor(const CpuidSource& cpu, char vendor[13]) {
    const CpuidResult r = cpu.query(0, 0);
    std::memcpy(vendor + 0, &r.ebx, 4);
    std::memcpy(vendor + 4, &r.edx, 4);
    std::memcpy(vendor + 8, &r.ecx, 4);
    vendor[12] = '\0';
}

const char* isaName(Isa isa) {
    switch (isa) {
    case Isa::Scalar: return "scalar";
    case Isa::Sse2: return "sse2";
    case Isa::Ssse3: return "ssse3";
    case Isa::Sse41: return "sse41";
    case Isa::Avx2: return "avx2";
    case Isa::Avx512: return "avx512";
    }
    return "?";
}

bool cpuSupports(Isa isa) {
    static const bool supported[] = {detect(Isa::Scalar), detect(Isa::Sse2), detect(Isa::Ssse3),
                                     detect(Isa::Sse41), detect(Isa::Avx2), detect(Isa::Avx512)};
    return supported[static_cast<int>(isa)];
}

}  // namespace morva
