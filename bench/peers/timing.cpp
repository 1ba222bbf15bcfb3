#include "timing.h"

#include <algorithm>
#include <cmath>
#include <ctime>

namespace morva::peers {
namespace {

double clockMs(clockid_t clock) {
    timespec t{};
    clock_gettime(clock, &t);
    return double(t.tv_sec) * 1e3 + double(t.tv_nsec) * 1e-6;
}

// Calls per sample, so that one sample lasts at least minimumMs.
int callsPerSample(double callMs, double minimumMs) {
    if (callMs <= 0.0) return 1000;
    return int(std::clamp(std::ceil(minimumMs / callMs), 1.0, 1000.0));
}

}  // namespace

size_t contenderAt(int round, size_t position, size_t count) {
    return (size_t(round) + position) % count;
}

double median(std::vector<double> values) {
    if (values.empty()) return 0.0;
    const size_t middle = values.size() / 2;
    std::nth_element(values.begin(), values.begin() + middle, values.end());
    if (values.size() % 2 == 1) return values[middle];
    const double upper = values[middle];
    const double lower = *std::max_element(values.begin(), values.begin() + middle);
    return (lower + upper) / 2.0;
}

double ratioToFastest(double median, const std::vector<double>& baselineMedians) {
    double fastest = 0.0;
    for (double m : baselineMedians)
        if (m > 0.0 && (fastest == 0.0 || m < fastest)) fastest = m;
    return fastest > 0.0 ? median / fastest : 0.0;
}

CpuClocks systemClocks() {
    return {[] { return clockMs(CLOCK_THREAD_CPUTIME_ID); },
            [] { return clockMs(CLOCK_PROCESS_CPUTIME_ID); }};
}

std::vector<ContenderTimes> runInterleaved(const std::vector<std::function<void()>>& contenders,
                                           const TimingOptions& options,
                                           const CpuClocks& clocks) {
    const size_t count = contenders.size();
    std::vector<int> calls(count, 1);
    std::vector<ContenderTimes> times(count);
    std::vector<double> threadTotal(count, 0.0), processTotal(count, 0.0);

    auto runRound = [&](int round, bool timed) {
        for (size_t position = 0; position < count; ++position) {
            const size_t c = contenderAt(round, position, count);
            const double thread0 = clocks.thread(), process0 = clocks.process();
            for (int i = 0; i < calls[c]; ++i) contenders[c]();
            const double threadMs = clocks.thread() - thread0;
            const double processMs = clocks.process() - process0;
            if (timed) {
                times[c].samplesMs.push_back(threadMs / calls[c]);
                threadTotal[c] += threadMs;
                processTotal[c] += processMs;
            } else {
                calls[c] = callsPerSample(threadMs / calls[c], options.minimumSampleMs);
            }
        }
    };
    for (int round = 0; round < options.warmupRounds; ++round) runRound(round, false);
    for (int round = 0; round < options.rounds; ++round) runRound(round, true);

    for (size_t c = 0; c < count; ++c)
        if (threadTotal[c] > 0.0) times[c].processToThreadCpu = processTotal[c] / threadTotal[c];
    return times;
}

}  // namespace morva::peers
