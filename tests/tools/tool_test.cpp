// The tool: reading and writing its files (PNG of every colour type and depth
// to 8-bit colour, YUV4MPEG2 video of every chroma layout through the
// library's line padding, round trips, damaged files of both kinds), and runs
// of the built program on small generated inputs.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <zlib.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <random>

#include "canvas.h"
#include "png_io.h"
#include "tool_test_support.h"
#include "y4m_io.h"

namespace morvatool {
namespace {

using testing::readFile;
using testing::writeFile;

std::string be32(uint32_t v) { return {char(v >> 24), char(v >> 16), char(v >> 8), char(v)}; }

std::string chunk(const std::string& type, const std::string& data) {
    const std::string body = type + data;
    return be32(uint32_t(data.size())) + body + be32(uint32_t(crc32(0, reinterpret_cast<const Bytef*>(body.data()), uInt(body.size()))));
}

std::string bytes(std::initializer_list<int> values) { return std::string(values.begin(), values.end()); }

// A PNG file chunk by chunk, so that a test chooses every colour type and
// depth; `extra` chunks (palette, transparency) stand before the pixels, and
// each row is given without its filter byte.
std::string pngFile(uint32_t width, uint32_t height, int colourType, int depth, const std::vector<std::string>& rows,
                    const std::string& extra = "") {
    std::string raw;
    for (const std::string& row : rows) raw += '\0' + row;
    uLongf size = compressBound(uLong(raw.size()));
    std::string packed(size, '\0');
    compress(reinterpret_cast<Bytef*>(packed.data()), &size, reinterpret_cast<const Bytef*>(raw.data()), uLong(raw.size()));
    packed.resize(size);
    const std::string header = be32(width) + be32(height) + char(depth) + char(colourType) + std::string(3, '\0');
    return "\x89PNG\r\n\x1a\n" + chunk("IHDR", header) + extra + chunk("IDAT", packed) + chunk("IEND", "");
}

constexpr Rgb kBackdrop{10, 20, 30};

// A refusal is one line that names the file and the reason.
bool refusedFor(const std::string& message, const std::string& name, const std::string& reason) {
    return message.rfind("cannot read '" + name + "': ", 0) == 0 && message.find(reason) != std::string::npos &&
           message.find('\n') == std::string::npos;
}

class ToolFiles : public testing::ScratchDirectory {};

// Transparency blends over the backdrop into 32-bit pixels; the rest become
// 24-bit ones. The expected pixels of the first row, blue first.
TEST_F(ToolFiles, EveryColourTypeGivesEightBitColour) {
    const std::tuple<const char*, std::string, int32_t, std::vector<int>> decodings[] = {
        {"grey 8", pngFile(2, 1, 0, 8, {bytes({0, 200})}), FORMAT_RGB24, {0, 0, 0, 200, 200, 200}},
        {"grey 1", pngFile(3, 1, 0, 1, {bytes({0xA0})}), FORMAT_RGB24, {255, 255, 255, 0, 0, 0, 255, 255, 255}},
        {"grey alpha", pngFile(2, 1, 4, 8, {bytes({100, 255, 100, 0})}), FORMAT_RGB32, {100, 100, 100, 255, 30, 20, 10, 0}},
        {"rgb 16", pngFile(1, 1, 2, 16, {bytes({0x12, 0x34, 0xAB, 0xCD, 0xFF, 0x00})}), FORMAT_RGB24, {0xFF, 0xAB, 0x12}},
        {"rgba", pngFile(1, 1, 6, 8, {bytes({250, 0, 0, 51})}), FORMAT_RGB32, {24, 16, 58, 51}},
        {"palette alpha",
         pngFile(2, 1, 3, 4, {bytes({0x01})}, chunk("PLTE", bytes({255, 0, 0, 0, 0, 255})) + chunk("tRNS", bytes({255, 0}))),
         FORMAT_RGB32, {0, 0, 255, 255, 30, 20, 10, 0}},
        {"palette", pngFile(2, 1, 3, 8, {bytes({1, 0})}, chunk("PLTE", bytes({1, 2, 3, 4, 5, 6}))), FORMAT_RGB24, {6, 5, 4, 3, 2, 1}}};
    for (const auto& [name, file, format, pixels] : decodings) {
        writeFile(path("in.png"), file);
        const ImagePtr image = readPng(path("in.png"), kBackdrop);
        ASSERT_EQ(image->format, format) << name;
        EXPECT_EQ(std::vector<int>(planeRow(*image, 0, 0), planeRow(*image, 0, 0) + pixels.size()), pixels) << name;
    }
}

// A 5x3 picture lands in an 8x4 image whose extra columns and row repeat the
// edge; written back, the picture keeps its pixels.
TEST_F(ToolFiles, PngLinesArePaddedAndWrittenBack) {
    writeFile(path("odd.png"), pngFile(5, 3, 0, 8, {bytes({1, 2, 3, 4, 5}), bytes({6, 7, 8, 9, 10}), bytes({11, 12, 13, 14, 15})}));
    const ImagePtr padded = readPng(path("odd.png"), kBackdrop);
    ASSERT_TRUE(padded->width == 8 && padded->height == 4);
    EXPECT_EQ(planeRow(*padded, 0, 1)[7 * 3], 10);
    EXPECT_EQ(planeRow(*padded, 0, 3)[0], 11);
    EXPECT_EQ(planeRow(*padded, 0, 3)[7 * 3 + 2], 15);
    writePng(path("back.png"), *padded);
    const ImagePtr back = readPng(path("back.png"), kBackdrop);
    EXPECT_TRUE(back->width == 8 && back->height == 4 && std::equal(padded->data, padded->data + padded->size, back->data));
}

// Damaged files are refused with their reason in one line; cut and flipped
// bytes never crash the reader.
TEST_F(ToolFiles, DamagedFilesAreRefusedAndNeverCrashTheReader) {
    const std::string good = pngFile(4, 2, 2, 8, {std::string(12, 'a'), std::string(12, 'b')});
    std::string badCrc = good;
    badCrc[32] = char(badCrc[32] ^ 1);  // last byte of the header's checksum
    const std::pair<std::string, const char*> damaged[] = {
        {"", "not a PNG"}, {"GIF89a......", "not a PNG"}, {good.substr(0, 20), "cut off"},
        {good.substr(0, good.size() - 20), ""}, {badCrc, "CRC"}, {pngFile(0, 2, 2, 8, {}), "width is zero"},
        {pngFile(20000, 2, 2, 8, {}), "width exceeds"}};
    for (const auto& [file, reason] : damaged) {
        writeFile(path("bad.png"), file);
        const std::string message = testing::refusal([&] { readPng(path("bad.png"), kBackdrop); });
        EXPECT_TRUE(refusedFor(message, path("bad.png"), reason)) << message << ", expecting " << reason;
    }
    const std::string rgba = pngFile(9, 5, 6, 8, std::vector<std::string>(5, std::string(36, 'z')));
    std::mt19937 random(11);
    for (int round = 0; round < 120; ++round) {
        std::string file = rgba.substr(0, random() % (rgba.size() + 1));
        for (int flips = int(random() % 4); flips > 0 && !file.empty(); --flips)
            file[random() % file.size()] ^= char(1 << (random() % 8));
        writeFile(path("fuzz.png"), file);
        testing::refusal([&] { readPng(path("fuzz.png"), kBackdrop); });
    }
}

// A 13x7 frame whose every byte tells its frame, plane, row and column.
std::string syntheticFrame(Y4mChroma chroma, int frame) {
    std::string bytes;
    const auto addPlane = [&](int plane, int w, int rows) {
        for (int y = 0; y < rows; ++y)
            for (int x = 0; x < w; ++x) bytes.push_back(char(frame * 50 + plane * 70 + y * 9 + x));
    };
    addPlane(0, 13, 7);
    for (int plane = 1; chroma != Y4mChroma::Mono && plane < 3; ++plane) addPlane(plane, 7, chroma == Y4mChroma::C420 ? 4 : 7);
    return bytes;
}

// Unknown header tags are skipped. Frames read in any order into the library's
// 16x8 image, whose padding repeats the last column and row, and written back
// as they were.
TEST_F(ToolFiles, RoundTripKeepsEveryFrameAndPadsTheLibraryLines) {
    for (auto [chroma, tagIn, tagOut] : {std::tuple{Y4mChroma::C420, "420mpeg2", "420jpeg"},
                                         std::tuple{Y4mChroma::C422, "422", "422"}, std::tuple{Y4mChroma::Mono, "mono", "mono"}}) {
        SCOPED_TRACE(tagIn);
        std::string file = "YUV4MPEG2 W13  H7 F24:1 Ip A1:1 XYSCSS=420 C" + std::string(tagIn) + " Zfuture\n", expected;
        for (int f = 0; f < 3; ++f) {
            file += (f == 1 ? "FRAME Ixyz\n" : "FRAME\n") + syntheticFrame(chroma, f);
            expected += "FRAME\n" + syntheticFrame(chroma, f);
        }
        writeFile(path("in.y4m"), file);
        Y4mReader reader(path("in.y4m"));
        ASSERT_EQ(reader.frameCount(), 3);
        ImagePtr image = reader.allocateFrameImage("frame");
        EXPECT_TRUE(image->format == (chroma == Y4mChroma::C422 ? FORMAT_YVYU : FORMAT_I420) && image->width == 16 && image->height == 8);
        for (int f : {2, 0, 1}) {
            reader.readFrame(f, *image);
            const uint8_t* row6 = planeRow(*image, 0, 6);
            EXPECT_TRUE(row6[15] == row6[12] && std::memcmp(planeRow(*image, 0, 7), row6, 16) == 0);
            EXPECT_TRUE(chroma != Y4mChroma::Mono || planeRow(*image, 2, 3)[7] == 128);
        }
        Y4mWriter writer(path("out.y4m"), reader.header());
        for (int f = 0; f < 3; ++f) reader.readFrame(f, *image), writer.writeFrame(*image);
        writer.finish();
        EXPECT_EQ(readFile(path("out.y4m")), "YUV4MPEG2 W13 H7 F24:1 Ip A1:1 C" + std::string(tagOut) + "\n" + expected);
    }
}

// Refused with the reason; a missing file (no bytes at all) names the
// system's reason.
TEST_F(ToolFiles, MalformedFilesAreRefusedWithTheirReason) {
    const std::string frame(4 * 2 + 2 * 2 * 1, 'a');
    const std::pair<std::optional<std::string>, const char*> malformed[] = {
        {std::nullopt, "No such file"},          {"", "empty"},
        {"YUV4MPEG2 W4 H2", "ends inside"},        {"YUV4MPEG3 W4 H2\n", "not a YUV4MPEG2"},
        {"YUV4MPEG2 F25:1\n", "no frame size"},    {"YUV4MPEG2 W0 H2\n", "width"},
        {"YUV4MPEG2 W4 H99999999999\n", "height"}, {"YUV4MPEG2 W-4 H2\n", "width"},
        {"YUV4MPEG2 W4 H2 F25:0\n", "frame rate"}, {"YUV4MPEG2 W4 H2 C444\n", "C444"},
        {"YUV4MPEG2 W4 H2 C420p10\n", "C420p10"},  {"YUV4MPEG2 W4 H2\n", "no frame"},
        {"YUV4MPEG2 W4 H2\nframe\n" + frame, "frame 1 has no FRAME"},
        {"YUV4MPEG2 W4 H2\nFRAME\n" + frame + "FRAMX\n" + frame, "frame 2 has no FRAME"},
        {"YUV4MPEG2 W4 H2\nFRAME\n" + frame + "FRAME\n" + frame.substr(3), "frame 2 is cut off"},
        {"YUV4MPEG2 W4 H2 X" + std::string(5000, 'x') + "\n", "too long"},
        {std::string("\0\1\2\3\n", 5), "not a YUV4MPEG2"}};
    for (const auto& [file, reason] : malformed) {
        const std::string name = path(file ? "bad.y4m" : "absent.y4m");
        if (file) writeFile(name, *file);
        const std::string message = testing::refusal([&] { Y4mReader reader(name); });
        EXPECT_TRUE(refusedFor(message, name, reason)) << message << ", expecting " << reason;
    }
}

// A valid file cut at every fifth length with header bytes flipped: every
// result is either a good reader or a ToolError.
TEST_F(ToolFiles, GarbageNeverCrashesTheReader) {
    const std::string good = "YUV4MPEG2 W6 H4 F25:1 C420\nFRAME\n" + std::string(24 + 12, 'q') + "FRAME\n" + std::string(36, 'r');
    for (size_t length = 0; length <= good.size(); length += 5)
        for (int flip = -1; flip < 30; flip += 8) {
            std::string bytes = good.substr(0, length);
            if (flip >= 0 && size_t(flip) < bytes.size()) bytes[size_t(flip)] ^= 0x5A;
            writeFile(path("fuzz.y4m"), bytes);
            testing::refusal([&] {
                Y4mReader reader(path("fuzz.y4m"));
                ImagePtr image = reader.allocateFrameImage("fuzz");
                for (int64_t f = 0; f < reader.frameCount(); ++f) reader.readFrame(f, *image);
            });
        }
}

struct ToolResult {
    int exitCode;
    std::string out, err;
};

std::string quoted(const std::string& text) {
    std::string result = "'";
    for (char c : text) result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return result + "'";
}

// Whether the pixel of a 24-bit image is the colour, within the tolerance.
::testing::AssertionResult near(const TImage& image, int32_t x, int32_t y, Rgb want, int tolerance = 0) {
    const uint8_t* p = planeRow(image, 0, y) + x * 3;
    if (std::abs(p[2] - want.red) <= tolerance && std::abs(p[1] - want.green) <= tolerance && std::abs(p[0] - want.blue) <= tolerance)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "at " << x << "," << y << ": " << int(p[2]) << "," << int(p[1]) << "," << int(p[0]);
}

class ToolRun : public testing::ScratchDirectory {
protected:
    ToolResult run(std::vector<std::string> args, const std::vector<std::string>& more = {}) {
        args.insert(args.end(), more.begin(), more.end());
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
        for (int level : levels)
            file += "FRAME\n" + std::string(size_t(width * height), char(level)) +
                    std::string(size_t((width + 1) / 2 * ((height + 1) / 2) * 2), '\x80');
        writeFile(path(name), file);
    }
};

// Eight patterns in a 3x3 grid of 213x120 cells. The 640x480 colour bars fit
// the first cell at a quarter, from column 28 (26 aligned to 4): the green bar
// crosses its middle, the background shows beside. The YUY2 checkerboard keeps
// its blue squares in every target, and no filled cell's middle is background.
TEST_F(ToolRun, WithoutInputsComposesTheBuiltinPatterns) {
    for (const char* format : {"bgra", "i420", "yv12"}) {
        SCOPED_TRACE(format);
        const ToolResult r = run({"compose", "-o", path("demo.png"), "--size", "640x360", "--format", format});
        ASSERT_TRUE(r.exitCode == 0 && r.err.empty()) << r.err;
        const ImagePtr demo = readPng(path("demo.png"), {});
        ASSERT_TRUE(demo->width == 640 && demo->height == 360);
        EXPECT_TRUE(near(*demo, 108, 60, {0, 191, 0}, 4) && near(*demo, 10, 60, {0, 0, 0}, 2));
        const uint8_t* square = planeRow(*demo, 0, 110) + 602 * 3;
        EXPECT_GT(square[0], square[2] + 60);
        for (int32_t cell = 0; cell < 8; ++cell) {
            const uint8_t* p = planeRow(*demo, 0, 60 + 120 * (cell / 3)) + (106 + 213 * (cell % 3)) * 3;
            EXPECT_GT(p[0] + p[1] + p[2], 30) << "cell " << cell;
        }
    }
}

// Fit keeps the square blue square, centred, with the background beside it.
TEST_F(ToolRun, FitKeepsTheAspectOnTheBackground) {
    writeSolidPng("red.png", 64, 48, {255, 0, 0});
    writeSolidPng("blue.png", 30, 30, {0, 0, 255});
    const ToolResult r = run({"compose", "--size", "320x120", "--background", "0,255,0", "--interpolation", "nn", "-o",
                              path("fit.png"), path("red.png"), path("blue.png")});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const ImagePtr out = readPng(path("fit.png"), {});
    EXPECT_TRUE(near(*out, 80, 60, {255, 0, 0}) && near(*out, 240, 60, {0, 0, 255}));
    EXPECT_TRUE(near(*out, 165, 60, {0, 255, 0}) && near(*out, 315, 60, {0, 255, 0}));
}

// Videos compose frame by frame to the longest; a short video holds its last
// frame and a still stands. No progress bar shows without a terminal. A PNG
// output takes the first frame of each video.
TEST_F(ToolRun, VideosComposeFrameByFrameToTheLongest) {
    writeGreyVideo("three.y4m", 40, 30, {60, 120, 180});
    writeGreyVideo("one.y4m", 20, 16, {200});
    writeSolidPng("white.png", 8, 8, {255, 255, 255});
    const std::vector<std::string> args = {"compose", "--format", "i420", "--size", "240x80", "--scale", "stretch",
                                           path("three.y4m"), path("one.y4m"), path("white.png")};
    const ToolResult r = run(args, {"-o", path("out.y4m")});
    ASSERT_TRUE(r.exitCode == 0 && r.err.empty()) << r.err;
    Y4mReader video(path("out.y4m"));
    EXPECT_TRUE(video.header().width == 240 && video.header().height == 80 && video.header().rateNumerator == 30);
    ASSERT_EQ(video.frameCount(), 3);
    ImagePtr frame = video.allocateFrameImage("frame");
    for (int f = 0; f < 3; ++f) {
        video.readFrame(f, *frame);
        const uint8_t* row = planeRow(*frame, 0, 40);
        EXPECT_TRUE(row[40] == 60 + 60 * f && row[120] == 200 && row[200] == toYcbcr({255, 255, 255}).y) << "frame " << f;
    }
    ASSERT_EQ(run(args, {"-o", path("out.y4m"), "--frames=2"}).exitCode, 0);
    EXPECT_EQ(Y4mReader(path("out.y4m")).frameCount(), 2);
    ASSERT_EQ(run(args, {"-o", path("first.png")}).exitCode, 0);
    EXPECT_TRUE(near(*readPng(path("first.png"), {}), 40, 40, {52, 52, 52}, 3));

    for (auto [format, chroma, tag] : {std::tuple{"yuy2", "", "C422"}, std::tuple{"uyvy", "", "C422"}, std::tuple{"yuv422p", "", "C422"},
                                       std::tuple{"nv12", "", "C420jpeg"}, std::tuple{"bgra", "mono", "Cmono"}}) {
        std::vector<std::string> more = {"--format", format, "--size", "32x16", "-o", path("out.y4m"), path("three.y4m")};
        if (*chroma) more.push_back(std::string("--chroma=") + chroma);
        ASSERT_EQ(run({"compose"}, more).exitCode, 0) << format;
        const std::string written = readFile(path("out.y4m"));
        EXPECT_NE(written.substr(0, written.find('\n')).find(tag), std::string::npos) << format;
        EXPECT_EQ(Y4mReader(path("out.y4m")).frameCount(), 3) << format;
    }
}

// Conversions through YCbCr and 16-bit pixels move a colour a little. Two
// targets warn that the library's resize misplaces or discolours.
TEST_F(ToolRun, EveryTargetFormatKeepsTheColours) {
    writeSolidPng("orange.png", 32, 24, {250, 140, 20});
    // A red 4:2:0 video: Y 82, Cb 90, Cr 240.
    writeFile(path("red.y4m"), "YUV4MPEG2 W8 H4 C420\nFRAME\n" + std::string(32, char(82)) + std::string(8, char(90)) +
                                   std::string(8, char(240)));
    for (const FormatName& format : formatNames()) {
        SCOPED_TRACE(format.name);
        const ToolResult r = run({"compose", "--format", std::string(format.name), "--size", "128x48", "--scale", "stretch",
                                  "-o", path("out.png"), path("orange.png"), path("red.y4m")});
        ASSERT_EQ(r.exitCode, 0) << r.err;
        const bool warned = format.format == FORMAT_YUY2 || format.format == FORMAT_NV12;
        EXPECT_EQ(r.err.rfind("morva: warning: in " + std::string(format.name), 0), warned ? 0u : std::string::npos);
        if (warned) continue;
        const ImagePtr out = readPng(path("out.png"), {});
        const bool rgb = format.format == FORMAT_RGB32 || format.format == FORMAT_RGB24;
        EXPECT_TRUE(near(*out, 32, 24, {250, 140, 20}, rgb ? 0 : 12) && near(*out, 96, 24, {255, 0, 0}, 12));
    }
}

// Each failure is one line on stderr with its exit code, and leaves an
// existing output alone or writes none. Help goes to standard output.
TEST_F(ToolRun, FailuresAreOneLineAndLeaveTheOutputAlone) {
    writeFile(path("out.png"), "keep");
    writeFile(path("notes.txt"), "hello");
    writeFile(path("cut.y4m"), "YUV4MPEG2 W4 H2\nFRAME\nab");
    const std::string out = path("out.png");
    const std::tuple<std::vector<std::string>, int, std::string> failures[] = {
        {{"-o", out, path("missing.png")}, 1, "cannot read '" + path("missing.png") + "': No such file"},
        {{"-o", out, path("notes.txt")}, 1, "cannot read '" + path("notes.txt") + "': not a PNG or YUV4MPEG2 file"},
        {{"-o", out, path("cut.y4m")}, 1, "cannot read '" + path("cut.y4m") + "': frame 1 is cut off"},
        {{"-o", out, "--layout", "rows:0;"}, 2, "layout 'rows:0;' needs at least 1 row"},
        {{"-o", out, "--layout", "rows:3;columns:1;"}, 2, "layout 'rows:3;columns:1;' has 3 cells for 8 inputs"},
        {{"-o", out, "--size", "big"}, 2, "--size"},
        {{"-o", path("huge.png"), "--size", "16384x16384"}, 1, "the library can't hold a 16384x16384 image"},
        {{"-o", path("no/such/dir/out.png")}, 1, "cannot write '" + path("no/such/dir/out.png") + "'"}};
    for (const auto& [args, exitCode, message] : failures) {
        const ToolResult r = run({"compose"}, args);
        EXPECT_EQ(r.exitCode, exitCode) << message;
        EXPECT_TRUE(r.err.rfind("morva: " + message, 0) == 0 && std::count(r.err.begin(), r.err.end(), '\n') == 1) << r.err;
    }
    EXPECT_TRUE(readFile(out) == "keep" && !std::filesystem::exists(path("huge.png")));
    const ToolResult help = run({"--help"});
    EXPECT_TRUE(help.exitCode == 0 && help.out.rfind("usage: morva compose", 0) == 0 && help.err.empty());
}

}  // namespace
}  // namespace morvatool
