// Runs of the built morva program on small generated inputs.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>

#include "canvas.h"
#include "png_io.h"
#include "tool_test_support.h"
#include "y4m_io.h"

namespace morvatool {
namespace {

using testing::readFile;
using testing::writeFile;

struct ToolResult {
    int exitCode;
    std::string out, err;
};

std::string quoted(const std::string& text) {
    std::string result = "'";
    for (char c : text) result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return result + "'";
}

class ToolRun : public testing::ScratchDirectory {
protected:
    ToolResult run(const std::vector<std::string>& args) {
        std::string command = quoted(MORVA_TOOL_PATH);
        for (const std::string& a : args) command += " " + quoted(a);
        command += " >" + quoted(path("stdout")) + " 2>" + quoted(path("stderr")) + " </dev/null";
        const int status = std::system(command.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, readFile(path("stdout")), readFile(path("stderr"))};
    }

    void writeSolidPng(const std::string& name, int32_t width, int32_t height, Rgb colour) {
        writePng(path(name), *packCanvas(RgbCanvas(width, height, colour), FORMAT_RGB24, "solid"));
    }

    // Frames of one grey level each, in 4:2:0.
    void writeGreyVideo(const std::string& name, int32_t width, int32_t height, std::vector<int> levels) {
        std::string file = "YUV4MPEG2 W" + std::to_string(width) + " H" + std::to_string(height) + " F30:1 C420\n";
        const size_t chroma = size_t((width + 1) / 2) * size_t((height + 1) / 2);
        for (int level : levels)
            file += "FRAME\n" + std::string(size_t(width) * size_t(height), char(level)) + std::string(2 * chroma, '\x80');
        writeFile(path(name), file);
    }
};

void expectColour(const TImage& image, int32_t x, int32_t y, Rgb want, int tolerance = 0) {
    const uint8_t* p = planeRow(image, 0, y) + x * 3;
    EXPECT_NEAR(p[2], want.red, tolerance) << "at " << x << "," << y;
    EXPECT_NEAR(p[1], want.green, tolerance) << "at " << x << "," << y;
    EXPECT_NEAR(p[0], want.blue, tolerance) << "at " << x << "," << y;
}

void expectOneErrorLine(const ToolResult& r, const std::string& start) {
    EXPECT_EQ(r.err.rfind("morva: " + start, 0), 0u) << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
}

TEST_F(ToolRun, WithoutInputsComposesTheBuiltinPatterns) {
    for (const char* format : {"bgra", "i420", "yv12"}) {
        const ToolResult r = run({"compose", "-o", path("demo.png"), "--size", "640x360", "--format", format});
        ASSERT_EQ(r.exitCode, 0) << r.err;
        EXPECT_EQ(r.err, "");
        const ImagePtr demo = readPng(path("demo.png"), {});
        ASSERT_EQ(demo->width, 640);
        ASSERT_EQ(demo->height, 360);
        // Eight patterns in a 3x3 grid of 213x120 cells. The 640x480 colour
        // bars fit the first cell at a quarter, from column 28 (26 aligned to
        // 4): the green bar crosses its middle, the background shows beside.
        expectColour(*demo, 108, 60, {0, 191, 0}, 4);
        expectColour(*demo, 10, 60, {0, 0, 0}, 2);
        // The YUY2 checkerboard keeps its blue squares in every target.
        const uint8_t* square = planeRow(*demo, 0, 110) + 602 * 3;
        EXPECT_GT(square[0], square[2] + 60) << format;
        // Every pattern shows: no filled cell's middle is background.
        for (int32_t cell = 0; cell < 8; ++cell) {
            const uint8_t* p = planeRow(*demo, 0, 60 + 120 * (cell / 3)) + (106 + 213 * (cell % 3)) * 3;
            EXPECT_GT(p[0] + p[1] + p[2], 30) << "cell " << cell;
        }
    }
}

TEST_F(ToolRun, SolidInputsFillTheirCells) {
    writeSolidPng("red.png", 64, 48, {255, 0, 0});
    writeSolidPng("blue.png", 30, 30, {0, 0, 255});
    ToolResult r = run({"compose", "--size", "320x120", "--scale", "stretch", "--background", "0,255,0", "-o",
                 path("stretch.png"), path("red.png"), path("blue.png")});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    ImagePtr out = readPng(path("stretch.png"), {});
    for (auto [x, y] : {std::pair{0, 0}, std::pair{80, 60}, std::pair{159, 119}}) expectColour(*out, x, y, {255, 0, 0});
    for (auto [x, y] : {std::pair{160, 0}, std::pair{319, 119}}) expectColour(*out, x, y, {0, 0, 255});

    // Fit keeps the square blue square, centred, with the background beside it.
    r = run({"compose", "--size", "320x120", "--background", "0,255,0", "--interpolation", "nn", "-o",
             path("fit.png"), path("red.png"), path("blue.png")});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    out = readPng(path("fit.png"), {});
    expectColour(*out, 240, 60, {0, 0, 255});
    expectColour(*out, 165, 60, {0, 255, 0});
    expectColour(*out, 315, 60, {0, 255, 0});
}

TEST_F(ToolRun, VideosComposeFrameByFrameToTheLongest) {
    writeGreyVideo("three.y4m", 40, 30, {60, 120, 180});
    writeGreyVideo("one.y4m", 20, 16, {200});
    writeSolidPng("white.png", 8, 8, {255, 255, 255});
    const std::vector<std::string> inputs = {path("three.y4m"), path("one.y4m"), path("white.png")};
    std::vector<std::string> args = {"compose", "--format", "i420", "--size", "240x80", "--scale", "stretch",
                                     "-o", path("out.y4m")};
    args.insert(args.end(), inputs.begin(), inputs.end());
    ToolResult r = run(args);
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.err, "");  // no progress bar without a terminal

    Y4mReader video(path("out.y4m"));
    EXPECT_EQ(video.header().width, 240);
    EXPECT_EQ(video.header().height, 80);
    EXPECT_EQ(video.header().rateNumerator, 30);
    ASSERT_EQ(video.frameCount(), 3);
    ImagePtr frame = video.allocateFrameImage("frame");
    for (int f = 0; f < 3; ++f) {
        video.readFrame(f, *frame);
        EXPECT_EQ(planeRow(*frame, 0, 40)[40], 60 + 60 * f) << "frame " << f;
        EXPECT_EQ(planeRow(*frame, 0, 40)[120], 200) << "the short video holds its frame";
        EXPECT_EQ(planeRow(*frame, 0, 40)[200], toYcbcr({255, 255, 255}).y) << "the still stands";
    }

    args.push_back("--frames=2");
    r = run(args);
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(Y4mReader(path("out.y4m")).frameCount(), 2);

    // A PNG output takes the first frame of each video.
    args[8] = path("first.png");
    r = run(args);
    ASSERT_EQ(r.exitCode, 0) << r.err;
    expectColour(*readPng(path("first.png"), {}), 40, 40, {52, 52, 52}, 3);
}

TEST_F(ToolRun, VideoChromaFollowsTheTargetFormat) {
    writeGreyVideo("grey.y4m", 16, 8, {90, 100});
    for (const auto& [format, chroma, tag] : {std::tuple{"yuy2", "", "C422"}, std::tuple{"uyvy", "", "C422"},
                                             std::tuple{"yuv422p", "", "C422"}, std::tuple{"nv12", "", "C420jpeg"},
                                             std::tuple{"bgra", "mono", "Cmono"}}) {
        std::vector<std::string> args = {"compose", "--format", format, "--size", "32x16", "-o", path("out.y4m")};
        if (*chroma) args.push_back(std::string("--chroma=") + chroma);
        args.push_back(path("grey.y4m"));
        const ToolResult r = run(args);
        ASSERT_EQ(r.exitCode, 0) << format << ": " << r.err;
        const std::string written = readFile(path("out.y4m"));
        EXPECT_NE(written.substr(0, written.find('\n')).find(tag), std::string::npos) << format;
        EXPECT_EQ(Y4mReader(path("out.y4m")).frameCount(), 2) << format;
    }
}

TEST_F(ToolRun, EveryTargetFormatKeepsTheColours) {
    writeSolidPng("orange.png", 32, 24, {250, 140, 20});
    // A red 4:2:0 video: Y 82, Cb 90, Cr 240.
    writeFile(path("red.y4m"), "YUV4MPEG2 W8 H4 C420\nFRAME\n" + std::string(32, char(82)) + std::string(8, char(90)) +
                                   std::string(8, char(240)));
    for (const FormatName& format : formatNames()) {
        const ToolResult r = run({"compose", "--format", std::string(format.name), "--size", "128x48", "--scale", "stretch",
                           "-o", path("out.png"), path("orange.png"), path("red.y4m")});
        ASSERT_EQ(r.exitCode, 0) << format.name << ": " << r.err;
        const ImagePtr out = readPng(path("out.png"), {});
        // Conversions through YCbCr and 16-bit pixels move a colour a little.
        const bool rgb = format.format == FORMAT_RGB32 || format.format == FORMAT_RGB24;
        SCOPED_TRACE(format.name);
        // Two targets warn that the library's resize misplaces or discolours.
        const bool warned = format.format == FORMAT_YUY2 || format.format == FORMAT_NV12;
        EXPECT_EQ(r.err.rfind("morva: warning: in " + std::string(format.name), 0), warned ? 0u : std::string::npos);
        if (!warned) {
            expectColour(*out, 32, 24, {250, 140, 20}, rgb ? 0 : 12);
            expectColour(*out, 96, 24, {255, 0, 0}, 12);
        }
    }
}

TEST_F(ToolRun, FailuresAreOneLineAndLeaveTheOutputAlone) {
    writeFile(path("out.png"), "keep");
    writeFile(path("notes.txt"), "hello");
    writeFile(path("cut.y4m"), "YUV4MPEG2 W4 H2\nFRAME\nab");

    ToolResult r = run({"compose", "-o", path("out.png"), path("missing.png")});
    EXPECT_EQ(r.exitCode, 1);
    expectOneErrorLine(r, "cannot read '" + path("missing.png") + "': No such file");
    r = run({"compose", "-o", path("out.png"), path("notes.txt")});
    EXPECT_EQ(r.exitCode, 1);
    expectOneErrorLine(r, "cannot read '" + path("notes.txt") + "': not a PNG or YUV4MPEG2 file");
    r = run({"compose", "-o", path("out.png"), path("cut.y4m")});
    EXPECT_EQ(r.exitCode, 1);
    expectOneErrorLine(r, "cannot read '" + path("cut.y4m") + "': frame 1 is cut off");
    r = run({"compose", "-o", path("out.png"), "--layout", "rows:0;", path("notes.txt")});
    EXPECT_NE(r.exitCode, 0);
    r = run({"compose", "-o", path("out.png"), "--layout", "rows:3;columns:1;"});
    EXPECT_EQ(r.exitCode, 2);
    expectOneErrorLine(r, "layout 'rows:3;columns:1;' has 3 cells for 8 inputs");
    r = run({"compose", "-o", path("out.png"), "--size", "big"});
    EXPECT_EQ(r.exitCode, 2);
    expectOneErrorLine(r, "--size");
    EXPECT_EQ(readFile(path("out.png")), "keep");

    r = run({"compose", "-o", path("huge.png"), "--size", "16384x16384"});
    EXPECT_EQ(r.exitCode, 1);
    expectOneErrorLine(r, "the library can't hold a 16384x16384 image");
    EXPECT_FALSE(std::filesystem::exists(path("huge.png")));

    r = run({"compose", "-o", path("no/such/dir/out.png")});
    EXPECT_EQ(r.exitCode, 1);
    expectOneErrorLine(r, "cannot write '" + path("no/such/dir/out.png") + "'");
}

TEST_F(ToolRun, HelpGoesToStandardOutput) {
    const ToolResult r = run({"--help"});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out.rfind("usage: morva compose", 0), 0u);
    EXPECT_EQ(r.err, "");
}

}  // namespace
}  // namespace morvatool
