// Tracing on through the shared library: the marker stands beside this
// program, and the log appears beside the library, named after it.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include "morva.h"
#include "trace_log.h"

namespace {

namespace fs = std::filesystem;

fs::path libraryDirectory() {
    Dl_info info{};
    EXPECT_NE(dladdr(reinterpret_cast<void*>(&morvaInit), &info), 0);
    return fs::canonical(info.dli_fname).parent_path();
}

TEST(SharedLibraryTrace, ExportedCallsWriteTheirScopesBesideTheLibrary) {
    BITMAPINFOHEADER header{};
    header.biBitCount = 24;
    EXPECT_EQ(morvaGetBitmapColorFormat(&header), FORMAT_RGB24);
    EXPECT_EQ(morvaGetBitmapColorFormat(FORMAT_I420), 0x30323449u);  // no scope

    fs::path log;
    for (const auto& entry : fs::directory_iterator(libraryDirectory()))
        if (morva::testing::isLogNameOf(entry.path().filename().string(), "libmorva") &&
            (log.empty() || fs::last_write_time(entry) > fs::last_write_time(log)))
            log = entry.path();
    ASSERT_FALSE(log.empty());
    const auto lines = morva::testing::readTraceLog(log);
    fs::remove(log);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].sequence, 0);
    EXPECT_EQ(lines[0].text, "+-Enter: morvaGetBitmapColorFormat()\r\r\n");
    EXPECT_EQ(lines[1].sequence, 1);
    EXPECT_EQ(lines[1].text, "+-Leave: morvaGetBitmapColorFormat()\r\r\n");
}

}  // namespace
