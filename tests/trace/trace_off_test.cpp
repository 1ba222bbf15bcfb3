// Without the marker beside the executable, tracing stays off for good and
// nothing is written anywhere.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "morva.h"
#include "trace/trace.h"
#include "trace/trace_internal.h"

namespace {

namespace fs = std::filesystem;

ptrdiff_t logFilesIn(const fs::path& directory) {
    return std::count_if(fs::directory_iterator(directory), {}, [](const auto& e) { return e.path().extension() == ".log"; });
}

TEST(TraceOff, ScopesAndLinesWriteNothing) {
    const fs::path here = fs::read_symlink("/proc/self/exe").parent_path();
    ASSERT_FALSE(fs::exists(here / "enabletraces.txt"));
    const ptrdiff_t before = logFilesIn(here);
    {
        morva::CTraces scope("quiet()");
        morva::traceWrite(scope, "line %d\n", 1);
        EXPECT_FALSE(scope.hasOutput);
        EXPECT_EQ(morvaGetBitmapColorFormat(static_cast<const BITMAPINFOHEADER*>(nullptr)), -1);  // a call with a scope
    }
    EXPECT_FALSE(morva::traceEnabled());
    EXPECT_EQ(morva::traceLogPath(), "");
    EXPECT_EQ(logFilesIn(here), before);
}

}  // namespace
