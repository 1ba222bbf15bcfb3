// Interleaved timing: in every round each contender runs once, in an order
// that rotates from round to round, so that a slow phase of a shared machine
// falls on all of them alike. Times are the thread's CPU time.
#pragma once

#include <cstddef>
#include <functional>
#include <vector>

namespace morva::peers {

// Which contender runs at position `position` of round `round`.
size_t contenderAt(int round, size_t position, size_t count);

// The median; the mean of the middle two for an even count; 0 for none.
double median(std::vector<double> values);

// The ratio of a contender's median to the fastest of the baselines' medians;
// baselines of 0 (not measured) are skipped. 0 when none is left.
double ratioToFastest(double median, const std::vector<double>& baselineMedians);

struct TimingOptions {
    int rounds = 31;
    int warmupRounds = 2;
    // A sample is this many milliseconds at least: calls shorter than that
    // are repeated within one sample and the time divided.
    double minimumSampleMs = 1.0;
};

struct ContenderTimes {
    std::vector<double> samplesMs;  // one per round: milliseconds per call
    // CPU time of the whole process over that of the calling thread, summed
    // over the samples: above 1 when the contender used other threads.
    double processToThreadCpu = 1.0;
};

// The clocks, replaceable in tests: milliseconds of this thread's and of the
// process's CPU time.
struct CpuClocks {
    std::function<double()> thread;
    std::function<double()> process;
};
CpuClocks systemClocks();

// Runs the contenders interleaved: warm-up rounds (which also set how many
// calls make a sample), then `rounds` timed rounds.
std::vector<ContenderTimes> runInterleaved(const std::vector<std::function<void()>>& contenders,
                                           const TimingOptions& options,
                                           const CpuClocks& clocks = systemClocks());

}  // namespace morva::peers
