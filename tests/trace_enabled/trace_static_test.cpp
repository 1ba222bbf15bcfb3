// Tracing on: the marker stands beside this program, and the library is linked
// into it, so the log lies here too.
#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

#include "trace/trace.h"
#include "trace/trace_internal.h"
#include "trace_log.h"

namespace {

namespace fs = std::filesystem;
using morva::CTraces;
using morva::traceWrite;
using morva::testing::readTraceLog;
using morva::testing::TraceLine;

class TraceOn : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(morva::traceEnabled());
        log_ = morva::traceLogPath();
        first_ = readTraceLog(log_).size();
    }
    // Lines written since the test began.
    std::vector<TraceLine> newLines() const {
        std::vector<TraceLine> all = readTraceLog(log_);
        return {all.begin() + ptrdiff_t(first_), all.end()};
    }
    fs::path log_;
    size_t first_ = 0;
};

TEST_F(TraceOn, LogLiesBesideTheLibraryWithItsName) {
    const fs::path program = fs::read_symlink("/proc/self/exe");
    EXPECT_EQ(log_.parent_path(), program.parent_path());
    EXPECT_TRUE(morva::testing::isLogNameOf(log_.filename().string(), "test_trace_static"))
        << log_;
}

TEST_F(TraceOn, ScopesIndentTheirLinesAndNumberThem) {
    {
        CTraces outer("outer()");
        traceWrite(outer, "value %d\n", 42);
        {
            CTraces inner("inner()");
        }
    }
    const std::vector<TraceLine> lines = newLines();
    ASSERT_EQ(lines.size(), 5u);
    const char* texts[] = {"+-Enter: outer()\r\r\n", "value 42\r\n", "+-Enter: inner()\r\r\n",
                           "+-Leave: inner()\r\r\n", "+-Leave: outer()\r\r\n"};
    const char* indents[] = {"", "| ", "| ", "| ", ""};
    for (size_t i = 0; i < lines.size(); ++i) {
        EXPECT_EQ(lines[i].text, texts[i]) << i;
        EXPECT_EQ(lines[i].indentation, indents[i]) << i;
        EXPECT_EQ(lines[i].sequence, lines[0].sequence + int(i));
        EXPECT_EQ(lines[i].threadId, lines[0].threadId);
    }
}

TEST_F(TraceOn, AnonymousScopeLeavesOnlyWhenItWrote) {
    {
        CTraces silent(nullptr);
        CTraces empty("");
    }
    EXPECT_TRUE(newLines().empty());
    {
        CTraces anonymous(nullptr);
        traceWrite(anonymous, "inside");
    }
    const std::vector<TraceLine> lines = newLines();
    ASSERT_EQ(lines.size(), 1u);  // no line feed: the leave line runs on
    EXPECT_EQ(lines[0].indentation, "| ");
    EXPECT_EQ(lines[0].text.substr(0, 6), "inside");
    EXPECT_TRUE(lines[0].text.ends_with(" +-Leave\r\r\n")) << lines[0].text;
}

TEST_F(TraceOn, IndentationRecoversWhenAnExceptionPassesThrough) {
    try {
        CTraces failing("failing()");
        throw std::runtime_error("out");
    } catch (const std::runtime_error&) {
    }
    {
        CTraces after("after()");
    }
    const std::vector<TraceLine> lines = newLines();
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[2].indentation, "");
    EXPECT_EQ(lines[2].text, "+-Enter: after()\r\r\n");
}

TEST_F(TraceOn, ThreadsWriteWholeLinesWithUniqueNumbers) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([t] {
            for (int i = 0; i < 25; ++i) {
                CTraces scope("worker()");
                traceWrite(scope, "thread %d line %d\n", t, i);
            }
        });
    for (auto& thread : threads) thread.join();
    const std::vector<TraceLine> lines = newLines();
    ASSERT_EQ(lines.size(), 300u);
    for (size_t i = 0; i < lines.size(); ++i) {
        ASSERT_GE(lines[i].sequence, 0) << lines[i].text;
        EXPECT_EQ(lines[i].sequence, lines[0].sequence + int(i));
    }
}

}  // namespace

namespace {
// Each run starts a log of its own; this one removes it when the run ends.
class RemoveLog : public ::testing::Environment {
public:
    void TearDown() override { std::filesystem::remove(morva::traceLogPath()); }
};
const auto* const removeLog = ::testing::AddGlobalTestEnvironment(new RemoveLog);
}  // namespace
