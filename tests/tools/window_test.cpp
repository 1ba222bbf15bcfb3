// `morva compose --show` under a virtual X server: the window's pixels, taken
// from the screen, are the frames the tool writes. Run by xvfb-run.
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "canvas.h"
#include "convert.h"
#include "png_io.h"
#include "screenshot.h"
#include "tool_test_support.h"
#include "y4m_io.h"

extern char** environ;

namespace morvatool {
namespace {

bool sameRgb(const TImage& a, const TImage& b) {
    for (int32_t y = 0; y < a.height; ++y)
        for (int32_t x = 0; x < a.width * 3; ++x)
            if (planeRow(a, 0, y)[x] != planeRow(b, 0, y)[x]) return false;
    return true;
}

class ToolWindow : public testing::ScratchDirectory {
protected:
    void TearDown() override {
        if (pid_ > 0) kill(pid_, SIGKILL), waitpid(pid_, nullptr, 0);
        ScratchDirectory::TearDown();
    }

    void start(std::vector<std::string> args) {
        args.insert(args.begin(), MORVA_TOOL_PATH);
        std::vector<char*> argv;
        for (std::string& a : args) argv.push_back(a.data());
        argv.push_back(nullptr);
        ASSERT_EQ(posix_spawn(&pid_, MORVA_TOOL_PATH, nullptr, nullptr, argv.data(), environ), 0);
    }

    // Waits until the screen shows `expected`, for up to 30 seconds.
    ::testing::AssertionResult showsWithin(const TImage& expected) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (std::chrono::steady_clock::now() < deadline) {
            const ImagePtr shot = screenshot(expected.width, expected.height);
            if (!shot) return ::testing::AssertionFailure() << "no X display";
            if (sameRgb(*shot, expected)) return ::testing::AssertionSuccess();
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        return ::testing::AssertionFailure() << "the screen never showed the written frame";
    }

    // Closing the window (a termination signal, as the window system sends
    // one) ends the tool normally.
    int close() {
        kill(pid_, SIGTERM);
        int status = 0;
        waitpid(pid_, &status, 0);
        pid_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    pid_t pid_ = -1;
};

TEST_F(ToolWindow, ShowsThePictureItWrites) {
    start({"compose", "--show", "-q", "--size", "320x180", "-o", path("out.png")});
    const std::string out = path("out.png");
    // The file appears once the frame is written; the window shows it then.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!std::filesystem::exists(out) && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    ASSERT_TRUE(std::filesystem::exists(out));
    const ImagePtr written = readPng(out, {});
    EXPECT_TRUE(showsWithin(*written));
    EXPECT_EQ(close(), 0);
}

TEST_F(ToolWindow, PlaysAVideoToItsLastFrame) {
    std::string video = "YUV4MPEG2 W64 H32 F25:1 C420\n";
    for (int level : {40, 120, 200})
        video += "FRAME\n" + std::string(64 * 32, char(level)) + std::string(32 * 16, '\x60') + std::string(32 * 16, '\xA0');
    testing::writeFile(path("in.y4m"), video);
    start({"compose", "--show", "-q", "--format", "yuv420p", "--size", "128x64", "-o", path("out.y4m"), path("in.y4m")});
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!std::filesystem::exists(path("out.y4m")) && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    const auto reader = Y4mReader::open(path("out.y4m"));
    ImagePtr last = reader->allocateFrameImage("last");
    int frames = 0;
    for (ImagePtr frame = reader->allocateFrameImage("frame"); reader->readFrame(*frame); ++frames) std::swap(frame, last);
    ASSERT_EQ(frames, 3);
    // The window shows the last frame as the library converts it to BGRA.
    ImagePtr bgra = allocateImage("bgra", 128, 64, FORMAT_RGB32), rgb = allocateImage("rgb", 128, 64, FORMAT_RGB24);
    FrameConverter(128, 64, FORMAT_I420, FORMAT_RGB32).convertInto(*last, *bgra);
    FrameConverter(128, 64, FORMAT_RGB32, FORMAT_RGB24).convertInto(*bgra, *rgb);
    EXPECT_TRUE(showsWithin(*rgb));
    EXPECT_EQ(close(), 0);
}

}  // namespace
}  // namespace morvatool
