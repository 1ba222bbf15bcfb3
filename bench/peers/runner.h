// Measuring one row: its contenders timed together, then the check that each
// did the work asked, so that a mistake in the benchmark can't pass for speed.
#pragma once

#include <string>
#include <vector>

#include "report.h"
#include "rows.h"
#include "timing.h"

namespace morva::peers {

// Below this a baseline's output is taken for a different picture than
// morva's. Libraries round and sample differently; on the smooth scene the
// honest ones stay well above it, while a wrong size, a missing plane or
// exchanged colours fall far below.
constexpr double kMinimumPsnrDb = 30.0;

// A contender whose process used more CPU than its thread did, by more than
// this, ran work on other threads, which the thread's clock doesn't see.
constexpr double kMaximumProcessToThreadCpu = 1.1;

// Whether any of the comma-separated parts of filter is found in the row's
// id, group or title, in any case. An empty filter takes every row.
bool rowMatches(const RowPlan& row, const std::string& filter);

RowResult measureRow(const RowPlan& row, const TimingOptions& options);

}  // namespace morva::peers
