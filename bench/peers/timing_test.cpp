// The timing helpers of the comparison: rotation, per-call samples, the
// check for other threads, median and ratio.
#include <gtest/gtest.h>

#include <limits>

#include "timing.h"

namespace morva::peers {
namespace {

// A clock that moves only when a contender runs: contender i costs cost[i]
// ms of its thread, and the process pays spill[i] ms more on other threads.
struct FakeMachine {
    FakeMachine(std::vector<double> c, std::vector<double> s) : cost(std::move(c)), spill(std::move(s)) {}
    std::vector<double> cost, spill;
    double thread = 0.0, process = 0.0;
    std::vector<size_t> order;

    std::vector<std::function<void()>> contenders() {
        std::vector<std::function<void()>> runs;
        for (size_t i = 0; i < cost.size(); ++i)
            runs.push_back([this, i] {
                order.push_back(i);
                thread += cost[i];
                process += cost[i] + spill[i];
            });
        return runs;
    }
    CpuClocks clocks() { return {[this] { return thread; }, [this] { return process; }}; }
};

TEST(PeerTiming, EveryRoundRunsEachContenderOnceInRotatingOrder) {
    FakeMachine m{{2.0, 2.0, 2.0}, {0.0, 0.0, 0.0}};
    const auto times = runInterleaved(m.contenders(), {3, 0, 1.0}, m.clocks());
    EXPECT_EQ(m.order, (std::vector<size_t>{0, 1, 2, 1, 2, 0, 2, 0, 1}));
    for (const ContenderTimes& t : times) EXPECT_EQ(t.samplesMs, (std::vector<double>{2.0, 2.0, 2.0}));
}

TEST(PeerTiming, ShortCallsAreRepeatedWithinASampleAndOtherThreadsAreSeen) {
    FakeMachine m{{0.25, 3.0}, {0.0, 3.0}};
    const auto times = runInterleaved(m.contenders(), {5, 1, 1.0}, m.clocks());
    // The warm-up round sets 4 calls per sample for the 0.25 ms contender.
    EXPECT_EQ(std::count(m.order.begin(), m.order.end(), size_t(0)), 1 + 5 * 4);
    EXPECT_DOUBLE_EQ(median(times[0].samplesMs), 0.25);
    EXPECT_DOUBLE_EQ(times[0].processToThreadCpu, 1.0);
    EXPECT_DOUBLE_EQ(times[1].processToThreadCpu, 2.0);
}

TEST(PeerTiming, MedianAndRatio) {
    EXPECT_EQ(median({5.0, 1.0, 3.0}), 3.0);
    EXPECT_EQ(median({4.0, 1.0, 3.0, 2.0}), 2.5);
    EXPECT_EQ(median({}), 0.0);
    EXPECT_DOUBLE_EQ(ratioToFastest(3.0, {0.0, 2.0, 1.5}), 2.0);  // 0: a peer that didn't run
    EXPECT_EQ(ratioToFastest(3.0, {}), 0.0);
}

}  // namespace
}  // namespace morva::peers
