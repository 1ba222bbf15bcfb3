// Without the marker beside the executable, tracing stays off for good and
// nothing is written anywhere.
#include <gtest/gtest.h>

#include <filesystem>

#include "morva.h"
#include "trace/trace.h"
#include "trace/trace_internal.h"

namespace {

namespace fs = std::filesystem;

size_t logFilesIn(const fs::path& directory) {
    size_t n = 0;
    for (const auto& entry : fs::directory_iterator(directory))
        if (entry.path().extension() == ".log") ++n;
    return n;
}

TEST(TraceOff, ScopesAndLinesWriteNothing) {
    const fs::path here = fs::read_symlink("/proc/self/exe").parent_path();
    ASSERT_FALSE(fs::exists(here / "enabletraces.txt"));
    const size_t before = logFilesIn(here);
    {
        morva::CTraces scope("quiet()");
        morva::traceWrite(scope, "line %d\n", 1);
        EXPECT_FALSE(scope.hasOutput);
        BITMAPINFOHEADER h{};
        morvaGetBitmapColorFormat(&h);
    }
    EXPECT_FALSE(morva::traceEnabled());
    EXPECT_EQ(morva::traceLogPath(), "");
    EXPECT_EQ(logFilesIn(here), before);
}

}  // namespace
