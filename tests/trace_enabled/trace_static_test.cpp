// Tracing on: the marker stands beside this program, and the library is linked
// into it, so the log lies here too.
#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <thread>

#include "morva.h"
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
        first_ = readTraceLog(morva::traceLogPath()).size();
    }
    // Lines written since the test began.
    std::vector<TraceLine> newLines() const {
        std::vector<TraceLine> all = readTraceLog(morva::traceLogPath());
        return {all.begin() + ptrdiff_t(first_), all.end()};
    }
    size_t first_ = 0;
};

// The log lies beside the program with its name. Scopes indent the lines
// inside them and every line is numbered.
TEST_F(TraceOn, ScopesIndentTheirLinesAndNumberThem) {
    const fs::path log = morva::traceLogPath();
    EXPECT_EQ(log.parent_path(), fs::read_symlink("/proc/self/exe").parent_path());
    EXPECT_TRUE(morva::testing::isLogNameOf(log.filename().string(), "test_trace_static")) << log;
    {
        CTraces outer("outer()");
        traceWrite(outer, "value %d\n", 42);
        CTraces inner("inner()");
    }
    const std::vector<TraceLine> lines = newLines();
    ASSERT_EQ(lines.size(), 5u);
    const char* texts[] = {"+-Enter: outer()\r\r\n", "value 42\r\n", "+-Enter: inner()\r\r\n",
                           "+-Leave: inner()\r\r\n", "+-Leave: outer()\r\r\n"};
    const char* indents[] = {"", "| ", "| ", "| ", ""};
    for (size_t i = 0; i < lines.size(); ++i)
        EXPECT_TRUE(lines[i].text == texts[i] && lines[i].indentation == indents[i] &&
                    lines[i].sequence == lines[0].sequence + int(i) && lines[i].threadId == lines[0].threadId)
            << i << ": " << lines[i].sequence << " " << lines[i].indentation << lines[i].text;
}

// An anonymous scope leaves only when something was written in it. The
// indentation recovers when an exception passes through a scope.
TEST_F(TraceOn, AnonymousScopesAndExceptions) {
    {
        CTraces silent(nullptr);
        CTraces empty("");
    }
    EXPECT_TRUE(newLines().empty());
    {
        CTraces anonymous(nullptr);
        traceWrite(anonymous, "inside");
    }
    try {
        CTraces failing("failing()");
        throw std::runtime_error("out");
    } catch (const std::runtime_error&) {
    }
    { CTraces after("after()"); }
    const std::vector<TraceLine> lines = newLines();
    ASSERT_EQ(lines.size(), 5u);  // no line feed: the anonymous leave line runs on
    EXPECT_TRUE(lines[0].indentation == "| " && lines[0].text.starts_with("inside") &&
                lines[0].text.ends_with(" +-Leave\r\r\n")) << lines[0].text;
    EXPECT_TRUE(lines[3].indentation.empty() && lines[3].text == "+-Enter: after()\r\r\n") << lines[3].text;
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
    for (size_t i = 0; i < lines.size(); ++i)
        ASSERT_EQ(lines[i].sequence, lines[0].sequence + int(i)) << lines[i].text;
}

// Refusals where the library chose the result say why in the log.
TEST_F(TraceOn, RefusalsSayWhy) {
    TImage* source = morvaAllocateImage("source", 8, -8, FORMAT_RGB32, nullptr, 0);
    TImage* target = morvaAllocateImage("target", 16, -16, FORMAT_RGB32, nullptr, 0);
    EXPECT_EQ(morvaAllocateImage("huge", 2147483644, -2147482624, FORMAT_GRAY8, nullptr, 0), nullptr);
    EXPECT_FALSE(morvaCopyImage(source, target, INTER_LINEAR, 7));
    ASSERT_TRUE(morvaSetLayout("no-cells", "rows:0;"));
    EXPECT_FALSE(morvaRender("no-cells", target, &source, 1));
    morvaSetLayout("no-cells", nullptr);
    morvaFreeImage(source);
    morvaFreeImage(target);
    std::vector<std::string> texts;
    for (const TraceLine& line : newLines()) texts.push_back(line.text);
    for (const char* expected : {"Error: failed to call 'setPlaneInfo'.\r\n", "Nothing placed: scale mode 7 is unknown.\r\n",
                                 "Layout 'no-cells' has no cells.\r\n"})
        EXPECT_NE(std::find(texts.begin(), texts.end(), expected), texts.end()) << expected;
}

// Each run starts a log of its own; this one removes it when the run ends.
class RemoveLog : public ::testing::Environment {
public:
    void TearDown() override { std::filesystem::remove(morva::traceLogPath()); }
};
const auto* const removeLog = ::testing::AddGlobalTestEnvironment(new RemoveLog);

}  // namespace
