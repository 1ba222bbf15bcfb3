// Benchmark program: every kernel, form and size. Reports the processor's
// slot before the runs so that numbers can be compared across machines.
#include <benchmark/benchmark.h>

#include "kernels/dispatch.h"

int main(int argc, char** argv) {
    benchmark::AddCustomContext("morva.highest_cpu_slot", std::to_string(morva::highestCpuSlot()));
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
