// Processor identification, behind a small interface so that the rest of the
// frame does not depend on the instruction set of the build.
#pragma once

#include <cstdint>

#if defined(__x86_64__) || defined(_M_X64)
#define MORVA_X86_64 1
#else
#define MORVA_X86_64 0
#endif

namespace morva {

struct CpuidResult {
    uint32_t eax = 0, ebx = 0, ecx = 0, edx = 0;
};

// A source of identification leaves. The real processor is one; tests feed
// recorded reports through the same interface.
class CpuidSource {
public:
    virtual ~CpuidSource() = default;
    // False where the processor has no identification instruction.
    virtual bool available() const = 0;
    virtual CpuidResult query(uint32_t leaf, uint32_t subleaf) const = 0;
};

// The processor this process runs on. On other targets than x86-64 it reports
// that it can't be asked.
const CpuidSource& hostCpuid();

// The vendor string of leaf 0, 12 characters and a terminating zero.
void cpuVendor(const CpuidSource& cpu, char vendor[13]);

// Instruction sets that kernel forms are written for, in rising order.
// Avx512 stands for the F, BW, DQ and VL subsets together, as every processor
// with AVX-512 since 2017 has them.
enum class Isa : int { Scalar = 0, Sse2, Ssse3, Sse41, Avx2, Avx512 };

const char* isaName(Isa isa);

// True if this processor and its operating system run code of that level.
bool cpuSupports(Isa isa);

}  // namespace morva
