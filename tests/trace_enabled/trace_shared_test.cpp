// Tracing on through the shared library: the marker stands beside this
// program, and the log appears beside the library, named after it.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include "morva.h"
#include "trace_log.h"

namespace {

namespace fs = std::filesystem;

// Exported calls write their scopes; the code of a format has none.
TEST(SharedLibraryTrace, ExportedCallsWriteTheirScopesBesideTheLibrary) {
    BITMAPINFOHEADER header{};
    header.biBitCount = 24;
    EXPECT_EQ(morvaGetBitmapColorFormat(&header), FORMAT_RGB24);
    EXPECT_EQ(morvaGetBitmapColorFormat(FORMAT_I420), 0x30323449u);

    Dl_info library{};
    ASSERT_NE(dladdr(reinterpret_cast<void*>(&morvaInit), &library), 0);
    fs::path log;
    for (const auto& entry : fs::directory_iterator(fs::canonical(library.dli_fname).parent_path()))
        if (morva::testing::isLogNameOf(entry.path().filename().string(), "libmorva") &&
            (log.empty() || fs::last_write_time(entry) > fs::last_write_time(log)))
            log = entry.path();
    ASSERT_FALSE(log.empty());
    const auto lines = morva::testing::readTraceLog(log);
    fs::remove(log);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_TRUE(lines[0].sequence == 0 && lines[0].text == "+-Enter: morvaGetBitmapColorFormat()\r\r\n");
    EXPECT_TRUE(lines[1].sequence == 1 && lines[1].text == "+-Leave: morvaGetBitmapColorFormat()\r\r\n");
}

}  // namespace
