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
#include "targets.h"
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

void writePngFile(const std::string& path, const TImage& image) {
    FilePtr file(std::fopen(path.c_str(), "wb"));
    ASSERT_TRUE(file);
    writePng(file.get(), path, image);
}

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
    writePngFile(path("back.png"), *padded);
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
    // libpng's warnings on the way (a damaged text chunk) stay out of the reason.
    std::string text = chunk("tEXt", std::string("key\0value", 9));
    text[text.size() - 1] ^= 1;
    const std::string warned = pngFile(4, 2, 2, 8, {std::string(12, 'a'), std::string(12, 'b')}, text);
    writeFile(path("warned.png"), warned.substr(0, warned.size() - 20));
    EXPECT_EQ(testing::refusal([&] { readPng(path("warned.png"), kBackdrop); }),
              "cannot read '" + path("warned.png") + "': the file is cut off");
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

std::vector<ImagePtr> readAll(Y4mReader& reader) {
    std::vector<ImagePtr> frames;
    for (ImagePtr image = reader.allocateFrameImage("frame"); reader.readFrame(*image); image = reader.allocateFrameImage("frame"))
        frames.push_back(std::move(image));
    return frames;
}

// Unknown header tags are skipped. Frames read into the library's 16x8
// image, whose padding repeats the last column and row, and are written back
// as they were, tagged with their range.
TEST_F(ToolFiles, RoundTripKeepsEveryFrameAndPadsTheLibraryLines) {
    for (auto [chroma, tagIn, tagOut] : {std::tuple{Y4mChroma::C420, "420mpeg2", "420jpeg"},
                                         std::tuple{Y4mChroma::C422, "422", "422"}, std::tuple{Y4mChroma::Mono, "mono", "mono"}}) {
        SCOPED_TRACE(tagIn);
        std::string file = "YUV4MPEG2 W13  H7 F24:1 Ip A1:1 XYSCSS=420 C" + std::string(tagIn) + " Zfuture\n", expected;
        for (int f = 0; f < 3; ++f) {
            file += (f == 1 ? "FRAME Ixyz\n" : "FRAME\n") + syntheticFrame(chroma, f);
            expected += "FRAME\n" + syntheticFrame(chroma, f);
        }
        const auto reader = Y4mReader::fromMemory(reinterpret_cast<const uint8_t*>(file.data()), file.size());
        const std::vector<ImagePtr> frames = readAll(*reader);
        ASSERT_EQ(frames.size(), 3u);
        EXPECT_TRUE(reader->endNote().empty()) << reader->endNote();
        for (const ImagePtr& image : frames) {
            EXPECT_TRUE(image->format == (chroma == Y4mChroma::C422 ? FORMAT_YVYU : FORMAT_I420) && image->width == 16 && image->height == 8);
            const uint8_t* row6 = planeRow(*image, 0, 6);
            EXPECT_TRUE(row6[15] == row6[12] && std::memcmp(planeRow(*image, 0, 7), row6, 16) == 0);
            EXPECT_TRUE(chroma != Y4mChroma::Mono || planeRow(*image, 2, 3)[7] == 128);
        }
        FilePtr out(std::fopen(path("out.y4m").c_str(), "wb"));
        Y4mWriter writer(out.get(), "out.y4m", reader->header());
        for (const ImagePtr& image : frames) writer.writeFrame(*image);
        out.reset();
        EXPECT_EQ(readFile(path("out.y4m")), "YUV4MPEG2 W13 H7 F24:1 Ip A1:1 C" + std::string(tagOut) + " XCOLORRANGE=LIMITED\n" + expected);
    }
}

std::string le16(const std::vector<int>& samples) {
    std::string bytes;
    for (int v : samples) bytes += char(v & 255), bytes += char(v >> 8);
    return bytes;
}

// Files the library can't hold as they are arrive as 8-bit video-range
// 4:2:0, 4:2:2 or 4:1:1 frames, and say what was changed.
TEST_F(ToolFiles, DeepWideAndFullRangeFramesAreConvertedOnReading) {
    struct Case {
        const char* name;
        std::string file;
        int32_t format;
        std::vector<int> luma, cb;  // first samples of the first row
        const char* note;
    };
    const Case cases[] = {
        {"4:4:4", "YUV4MPEG2 W4 H2 C444\nFRAME\n" + std::string("\x10\x20\x30\x40\x10\x20\x30\x40", 8) +
                     std::string("\x64\x65\xC8\xC8\x00\x00\x00\x00", 8) + std::string(8, '\x80'),
         FORMAT_YVYU, {16, 32, 48, 64}, {101, 200}, "averaged in pairs"},
        {"10-bit", "YUV4MPEG2 W4 H2 C420p10\nFRAME\n" + le16({64, 65, 66, 1023, 0, 0, 0, 0}) + le16({512, 513}) + le16({2, 3}),
         FORMAT_I420, {16, 16, 17, 255}, {128, 128}, "10-bit samples are rounded"},
        {"16-bit mono", "YUV4MPEG2 W4 H2 Cmono16\nFRAME\n" + le16({0x1080, 0xEB7F, 0, 65535, 0, 0, 0, 0}), FORMAT_I420,
         {17, 235, 0, 255}, {128, 128}, "16-bit"},
        {"full range", "YUV4MPEG2 W4 H2 C420 XCOLORRANGE=FULL\nFRAME\n" + std::string("\x00\xFF\x80\x00\x00\x00\x00\x00", 8) +
                           std::string("\x00\xFF", 2) + std::string(2, '\x80'),
         FORMAT_I420, {16, 235, 126, 16}, {16, 240}, "full-range levels"},
        {"4:1:1", "YUV4MPEG2 W8 H2 C411\nFRAME\n" + std::string(16, '\x50') + std::string(4, '\x60') + std::string(4, '\x70'),
         FORMAT_Y411, {80, 80, 80, 80}, {96, 96}, ""},
        {"opacity", "YUV4MPEG2 W4 H2 C444alpha\nFRAME\n" + std::string(8, '\x50') + std::string(16, '\x60') + std::string(8, '\x00'),
         FORMAT_YVYU, {80, 80, 80, 80}, {96, 96}, "opacity plane is dropped"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const auto reader = Y4mReader::fromMemory(reinterpret_cast<const uint8_t*>(c.file.data()), c.file.size());
        const std::vector<ImagePtr> frames = readAll(*reader);
        ASSERT_EQ(frames.size(), 1u) << reader->endNote();
        ASSERT_EQ(frames[0]->format, c.format);
        const uint8_t* luma = planeRow(*frames[0], 0, 0);
        EXPECT_EQ(std::vector<int>(luma, luma + c.luma.size()), c.luma);
        const uint8_t* cb = planeRow(*frames[0], 1, 0);
        EXPECT_EQ(std::vector<int>(cb, cb + c.cb.size()), c.cb);
        std::string notes;
        for (const std::string& n : reader->conversionNotes()) notes += n + ";";
        EXPECT_NE(notes.find(c.note), std::string::npos) << notes;
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
        {"YUV4MPEG2 W4 H2 F25:0\n", "frame rate"}, {"YUV4MPEG2 W4 H2 C444p7\n", "C444p7"},
        {"YUV4MPEG2 W4 H2 C420p17\n", "C420p17"},  {"YUV4MPEG2 W4 H2 Cxyz\n", "Cxyz"},
        {"YUV4MPEG2 W4 H2 X" + std::string(5000, 'x') + "\n", "too long"},
        {std::string("\0\1\2\3\n", 5), "not a YUV4MPEG2"}};
    for (const auto& [file, reason] : malformed) {
        const std::string name = path(file ? "bad.y4m" : "absent.y4m");
        if (file) writeFile(name, *file);
        const std::string message = testing::refusal([&] { Y4mReader::open(name); });
        EXPECT_TRUE(refusedFor(message, name, reason)) << message << ", expecting " << reason;
    }
}

// A video whose end is damaged gives the frames before the damage and says
// what was left out.
TEST_F(ToolFiles, DamagedEndsGiveTheFramesBeforeThem) {
    const std::string frame(4 * 2 + 2 * 2 * 1, 'a'), head = "YUV4MPEG2 W4 H2\n";
    const std::tuple<std::string, size_t, std::string> ends[] = {
        {head, 0, ""},
        {head + "FRAME\n" + frame + "FRAME\n" + frame.substr(3), 1, "frame 2 is cut off"},
        {head + "FRAME\n" + frame + "FRAMX\n" + frame, 1, "what follows frame 1 is not a FRAME line"},
        {head + "FRAME\n" + frame + std::string(300, '\0'), 1, "what follows frame 1 is not a FRAME line"},
        {head + "FRAME\n" + frame + "FRA", 1, "what follows frame 1 is not a FRAME line"},
        {head + "FRAME\n" + frame + "FRAME", 1, "frame 2 is cut off"},
        {head + "frame\n" + frame, 0, "what follows the header is not a FRAME line"}};
    for (const auto& [file, count, note] : ends) {
        const auto reader = Y4mReader::fromMemory(reinterpret_cast<const uint8_t*>(file.data()), file.size());
        EXPECT_EQ(readAll(*reader).size(), count) << note;
        EXPECT_EQ(reader->endNote(), note);
    }
}

// A valid file cut at every fifth length with header bytes flipped: every
// result is frames or a ToolError.
TEST_F(ToolFiles, GarbageNeverCrashesTheReader) {
    const std::string good = "YUV4MPEG2 W6 H4 F25:1 C420p10\nFRAME\n" + std::string(72, 'q') + "FRAME\n" + std::string(72, 'r');
    for (size_t length = 0; length <= good.size(); length += 5)
        for (int flip = -1; flip < 30; flip += 8) {
            std::string bytes = good.substr(0, length);
            if (flip >= 0 && size_t(flip) < bytes.size()) bytes[size_t(flip)] ^= 0x5A;
            testing::refusal([&] {
                const auto reader = Y4mReader::fromMemory(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
                readAll(*reader);
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

struct Video {
    Y4mHeader header;
    std::vector<ImagePtr> frames;
    std::string endNote;
};

Video readVideo(const std::string& file) {
    const auto reader = Y4mReader::open(file);
    Video video{reader->header(), readAll(*reader), reader->endNote()};
    return video;
}

// The one line a successful run leaves on stderr.
bool onlySummary(const std::string& err) {
    return err.rfind("morva: wrote ", 0) == 0 && std::count(err.begin(), err.end(), '\n') == 1;
}

class ToolRun : public testing::ScratchDirectory {
protected:
    ToolResult run(std::vector<std::string> args, const std::vector<std::string>& more = {},
                   const std::string& input = "/dev/null") {
        args.insert(args.end(), more.begin(), more.end());
        std::string command = quoted(MORVA_TOOL_PATH);
        for (const std::string& a : args) command += " " + quoted(a);
        command += " >" + quoted(path("stdout")) + " 2>" + quoted(path("stderr")) + " <" + quoted(input);
        const int status = std::system(command.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, readFile(path("stdout")), readFile(path("stderr"))};
    }
    void writeSolidPng(const std::string& name, int32_t width, int32_t height, Rgb colour) {
        writePngFile(path(name), *packCanvas(RgbCanvas(width, height, colour), FORMAT_RGB24, "solid"));
    }
    // Frames of one grey level each, in 4:2:0.
    void writeGreyVideo(const std::string& name, int32_t width, int32_t height, std::vector<int> levels,
                        const std::string& rate = "30:1") {
        std::string file = "YUV4MPEG2 W" + std::to_string(width) + " H" + std::to_string(height) + " F" + rate + " C420\n";
        for (int level : levels)
            file += "FRAME\n" + std::string(size_t(width * height), char(level)) +
                    std::string(size_t((width + 1) / 2 * ((height + 1) / 2) * 2), '\x80');
        writeFile(path(name), file);
    }
};

// Eight patterns in a 3x3 grid of 213x120 cells, in targets of every kind.
// The 640x480 colour bars fit the first cell at a quarter, from column 28 (26
// aligned to 4): the green bar crosses its middle, the background shows
// beside. The YUY2 checkerboard keeps its blue squares in its own cell, and no
// filled cell's middle is background.
TEST_F(ToolRun, WithoutInputsComposesTheBuiltinPatterns) {
    for (const char* format : {"bgra", "yuv420p", "yv12", "nv12", "yuyv422", "uyvy422", "rgb565"}) {
        SCOPED_TRACE(format);
        const ToolResult r = run({"compose", "-o", path("demo.png"), "-y", "--size", "640x360", "--format", format});
        ASSERT_TRUE(r.exitCode == 0 && onlySummary(r.err)) << r.err;
        const ImagePtr demo = readPng(path("demo.png"), {});
        ASSERT_TRUE(demo->width == 640 && demo->height == 360);
        EXPECT_TRUE(near(*demo, 108, 60, {0, 191, 0}, 8) && near(*demo, 10, 60, {0, 0, 0}, 2));
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
// frame and a still stands. A PNG output takes the first frame of each video.
TEST_F(ToolRun, VideosComposeFrameByFrameToTheLongest) {
    writeGreyVideo("three.y4m", 40, 30, {60, 120, 180});
    writeGreyVideo("one.y4m", 20, 16, {200});
    writeSolidPng("white.png", 8, 8, {255, 255, 255});
    const std::vector<std::string> args = {"compose", "-y", "--format", "i420", "--size", "240x80", "--scale", "stretch",
                                           path("three.y4m"), path("one.y4m"), path("white.png")};
    const ToolResult r = run(args, {"-o", path("out.y4m")});
    ASSERT_TRUE(r.exitCode == 0 && onlySummary(r.err)) << r.err;
    EXPECT_NE(r.err.find("wrote 3 frames 240x80 yuv420p to " + path("out.y4m")), std::string::npos) << r.err;
    const Video video = readVideo(path("out.y4m"));
    EXPECT_TRUE(video.header.width == 240 && video.header.height == 80 && video.header.rateNumerator == 30);
    ASSERT_EQ(video.frames.size(), 3u);
    for (int f = 0; f < 3; ++f) {
        const uint8_t* row = planeRow(*video.frames[size_t(f)], 0, 40);
        EXPECT_TRUE(row[40] == 60 + 60 * f && row[120] == 200 && row[200] == 235) << "frame " << f;
    }
    ASSERT_EQ(run(args, {"-o", path("out.y4m"), "--frames=2"}).exitCode, 0);
    EXPECT_EQ(readVideo(path("out.y4m")).frames.size(), 2u);
    ASSERT_EQ(run(args, {"-o", path("first.png")}).exitCode, 0);
    EXPECT_TRUE(near(*readPng(path("first.png"), {}), 40, 40, {52, 52, 52}, 3));
}

// Inputs of different rates keep their speed: output frame k shows each
// video's frame due at k / rate, repeating or skipping frames.
TEST_F(ToolRun, FrameRatesAreFollowedByTime) {
    writeGreyVideo("thirty.y4m", 16, 8, {20, 40, 60, 80, 100, 120}, "30:1");
    writeGreyVideo("fifteen.y4m", 16, 8, {130, 160, 190}, "15:1");
    const std::vector<std::string> args = {"compose", "-y", "--format", "yuv420p", "--size", "32x8", "--scale", "stretch",
                                           "-o", path("out.y4m"), path("thirty.y4m"), path("fifteen.y4m")};
    const std::pair<std::vector<std::string>, std::vector<std::pair<int, int>>> runs[] = {
        {{}, {{20, 130}, {40, 130}, {60, 160}, {80, 160}, {100, 190}, {120, 190}}},
        {{"--rate", "15"}, {{20, 130}, {60, 160}, {100, 190}}},
        {{"-r", "60/1"}, {{20, 130}, {20, 130}, {40, 130}, {40, 130}, {60, 160}, {60, 160}, {80, 160}, {80, 160},
                          {100, 190}, {100, 190}, {120, 190}, {120, 190}}}};
    for (const auto& [rate, levels] : runs) {
        const ToolResult r = run(args, rate);
        ASSERT_EQ(r.exitCode, 0) << r.err;
        // Without --rate the first video's rate is taken, with a note.
        EXPECT_EQ(r.err.find("note: the videos have different frame rates") != std::string::npos, rate.empty()) << r.err;
        const Video video = readVideo(path("out.y4m"));
        std::vector<std::pair<int, int>> seen;
        for (const ImagePtr& frame : video.frames) seen.emplace_back(planeRow(*frame, 0, 4)[4], planeRow(*frame, 0, 4)[20]);
        EXPECT_EQ(seen, levels);
    }
}

// Standard input and output carry YUV4MPEG2, so the tool sits in a pipe; a
// damaged video gives the frames before the damage, with a note.
TEST_F(ToolRun, PipesAndDamagedVideos) {
    writeGreyVideo("clip.y4m", 16, 8, {50, 100});
    writeFile(path("cut.y4m"), readFile(path("clip.y4m")) + "FRAME\n" + std::string(40, 'x'));
    writeFile(path("padded.y4m"), readFile(path("clip.y4m")) + std::string(1000, '\0'));
    const ToolResult piped = run({"compose", "--format", "yuv420p", "--size", "16x8", "-o", "-", "-"}, {}, path("cut.y4m"));
    ASSERT_EQ(piped.exitCode, 0) << piped.err;
    EXPECT_NE(piped.err.find("note: 'standard input': frame 3 is cut off; the frames before it were composed"), std::string::npos);
    EXPECT_NE(piped.err.find("to standard output"), std::string::npos);
    writeFile(path("piped.y4m"), piped.out);
    const Video video = readVideo(path("piped.y4m"));
    ASSERT_EQ(video.frames.size(), 2u);
    EXPECT_EQ(planeRow(*video.frames[1], 0, 0)[0], 100);

    // A file's frames are used where they lie; a pipe's are read: the same picture.
    ASSERT_EQ(run({"compose", "-y", "--size", "32x16", "-o", path("file.y4m"), path("clip.y4m"), path("clip.y4m")}).exitCode, 0);
    ASSERT_EQ(run({"compose", "-y", "--size", "32x16", "-o", path("pipe.y4m"), path("clip.y4m"), "-"}, {}, path("clip.y4m")).exitCode, 0);
    EXPECT_EQ(readFile(path("file.y4m")), readFile(path("pipe.y4m")));

    const ToolResult padded = run({"compose", "-o", path("out.y4m"), path("padded.y4m")});
    EXPECT_EQ(padded.exitCode, 0);
    EXPECT_NE(padded.err.find("what follows frame 2 is not a FRAME line"), std::string::npos) << padded.err;
    EXPECT_EQ(readVideo(path("out.y4m")).frames.size(), 2u);
}

// Background, pictures, videos and one-pixel detail come out right in every
// target: the background exactly as the colour model gives it, composed
// colours within the rounding of a conversion, and stripes of single columns
// enlarged twice by nearest neighbour as stripes of two.
TEST_F(ToolRun, EveryTargetFormatKeepsTheColours) {
    const Rgb background{40, 160, 220};
    writeSolidPng("orange.png", 32, 24, {250, 140, 20});
    // A red 4:2:0 video: Y 82, Cb 90, Cr 240.
    writeFile(path("red.y4m"), "YUV4MPEG2 W8 H4 C420\nFRAME\n" + std::string(32, char(82)) + std::string(8, char(90)) +
                                   std::string(8, char(240)));
    RgbCanvas stripes(16, 8);
    for (int32_t x = 1; x < 16; x += 2) stripes.fillRect(x, 0, 1, 8, {255, 255, 255});
    writePngFile(path("stripes.png"), *packCanvas(stripes, FORMAT_RGB24, "stripes"));
    for (const TargetFormat& target : targetFormats()) {
        const std::string name = formatName(target.format);
        SCOPED_TRACE(name);
        const std::vector<std::string> args = {"compose", "-y", "--format", name, "--size", "128x48", "--scale", "stretch",
                                               "--interpolation", "nn", "--background", "40,160,220", "--layout",
                                               "rows:3;columns:4;", path("orange.png"), path("red.y4m"), path("stripes.png")};
        const ToolResult r = run(args, {"-o", path("out.png")});
        ASSERT_TRUE(r.exitCode == 0 && onlySummary(r.err)) << r.err;
        const ImagePtr out = readPng(path("out.png"), {});
        const bool grey = target.format == FORMAT_GRAY8;
        const auto shown = [grey](Rgb c) {
            const uint8_t level = videoToFullLuma(toYcbcr(c).y);
            return grey ? Rgb{level, level, level} : c;
        };
        // Pictures stay exact in RGB targets; YCbCr moves a colour a little.
        const int tolerance = target.format == FORMAT_RGB32 || target.format == FORMAT_RGB24 ? 0 : 12;
        EXPECT_TRUE(near(*out, 16, 8, shown({250, 140, 20}), tolerance) && near(*out, 48, 8, shown({255, 0, 0}), 12));
        EXPECT_TRUE(near(*out, 100, 40, shown(background), tolerance));
        // The last chroma block of a 4:1:1 cell mixes with what is beside it.
        for (int32_t x = 64; x < 92; ++x)
            EXPECT_TRUE(near(*out, x, 8, (x - 64) / 2 % 2 ? Rgb{255, 255, 255} : Rgb{0, 0, 0}, 2));

        // In video the background is the colour model's exactly, where the
        // target is YCbCr.
        ASSERT_EQ(run(args, {"-o", path("out.y4m")}).exitCode, 0) << r.err;
        const Video video = readVideo(path("out.y4m"));
        ASSERT_EQ(video.frames.size(), 1u);
        const Ycbcr model = toYcbcr(background);
        const TImage& frame = *video.frames[0];
        const int exact = target.composeIn == FORMAT_RGB32 || target.composeIn == FORMAT_RGB24 ? 3 : 0;
        // Grey is written in full range, which reading maps back to video range.
        EXPECT_NEAR(planeRow(frame, 0, 40)[100], grey ? fullToVideoLuma(videoToFullLuma(model.y)) : model.y, exact);
        EXPECT_EQ(video.header.fullRange, grey);
        if (!grey) {
            EXPECT_NEAR(planeRow(frame, 1, 20)[50], model.cb, exact);
            EXPECT_NEAR(planeRow(frame, 2, 20)[50], model.cr, exact);
        }
    }
}

// Layouts give the picture they describe: a vertical stack, margins that
// inset an input in its cell, and super-sampling where it can't enlarge.
TEST_F(ToolRun, LayoutsGiveThePictureTheyDescribe) {
    writeSolidPng("red.png", 32, 16, {255, 0, 0});
    writeSolidPng("green.png", 32, 16, {0, 255, 0});
    writeSolidPng("blue.png", 32, 16, {0, 0, 255});
    const std::vector<std::string> inputs = {path("red.png"), path("green.png"), path("blue.png")};
    ToolResult r = run({"compose", "-y", "-o", path("stack.png"), "--size", "64x96", "--layout", "rows:3;columns:1", "--scale",
                        "stretch"}, inputs);
    ASSERT_EQ(r.exitCode, 0) << r.err;
    ImagePtr out = readPng(path("stack.png"), {});
    EXPECT_TRUE(near(*out, 32, 16, {255, 0, 0}) && near(*out, 32, 48, {0, 255, 0}) && near(*out, 32, 80, {0, 0, 255}));

    // margin-left:25 without a width: the input takes the 75% the margin
    // leaves, and the next cell keeps its own input.
    r = run({"compose", "-y", "-o", path("margin.png"), "--size", "128x32", "--layout", "rows:1;columns:2;margin-left:25;",
             "--scale", "stretch", "--background", "9,9,9"}, {path("red.png"), path("green.png")});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    out = readPng(path("margin.png"), {});
    EXPECT_TRUE(near(*out, 8, 16, {9, 9, 9}) && near(*out, 60, 16, {255, 0, 0}) && near(*out, 72, 16, {9, 9, 9}) &&
                near(*out, 124, 16, {0, 255, 0}));

    // Super-sampling reduces; an input it would have to enlarge is drawn
    // with linear, and the user is told.
    r = run({"compose", "-y", "-o", path("super.png"), "--size", "128x32", "--interpolation", "super"}, inputs);
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(r.err.find("note: input 1 ('" + path("red.png") + "') is enlarged"), std::string::npos) << r.err;
    EXPECT_TRUE(near(*readPng(path("super.png"), {}), 20, 16, {255, 0, 0}));
}

// The output is written whole or not at all, never over an input, and never
// over an existing file unless -y says so.
TEST_F(ToolRun, OutputsNeverDestroyWhatExists) {
    writeSolidPng("red.png", 32, 16, {255, 0, 0});
    const std::string red = readFile(path("red.png"));
    std::filesystem::create_symlink(path("red.png"), path("link.png"));
    for (const std::string& output : {path("red.png"), path("link.png")}) {
        const ToolResult r = run({"compose", "-y", "-o", output, path("red.png")});
        EXPECT_EQ(r.exitCode, 2);
        EXPECT_NE(r.err.find("is the input '" + path("red.png") + "'"), std::string::npos) << r.err;
    }
    EXPECT_EQ(readFile(path("red.png")), red);

    writeFile(path("old.png"), "old");
    ToolResult r = run({"compose", "-o", path("old.png"), path("red.png")});
    EXPECT_TRUE(r.exitCode == 1 && r.err == "morva: '" + path("old.png") + "' already exists: -y overwrites it, -n keeps it\n") << r.err;
    r = run({"compose", "-n", "-o", path("old.png"), path("red.png")});
    EXPECT_TRUE(r.exitCode == 1 && readFile(path("old.png")) == "old") << r.err;
    r = run({"compose", "-y", "-o", path("old.png"), path("missing.png")});
    EXPECT_TRUE(r.exitCode == 1 && readFile(path("old.png")) == "old") << r.err;
    r = run({"compose", "-y", "-o", path("old.png"), path("red.png")});
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(readPng(path("old.png"), {})->width, 1280);
    // Nothing of the temporary files stays behind.
    for (const auto& entry : std::filesystem::directory_iterator(path("")))
        EXPECT_EQ(entry.path().filename().string().find(".morva-"), std::string::npos) << entry.path();
}

// Each failure is one line on stderr with its exit code, and leaves an
// existing output alone or writes none. Help goes to standard output.
TEST_F(ToolRun, FailuresAreOneLineAndLeaveTheOutputAlone) {
    writeFile(path("out.png"), "keep");
    writeFile(path("notes.txt"), "hello");
    writeFile(path("cut.y4m"), "YUV4MPEG2 W4 H2\nFRAME\nab");
    writeSolidPng("red.png", 32, 16, {255, 0, 0});
    const std::string out = path("out.png");
    const std::tuple<std::vector<std::string>, int, std::string> failures[] = {
        {{"-y", "-o", out, path("missing.png")}, 1, "cannot read '" + path("missing.png") + "': No such file"},
        {{"-y", "-o", out, path("notes.txt")}, 1, "cannot read '" + path("notes.txt") + "': not a PNG or YUV4MPEG2 file"},
        {{"-y", "-o", out, path("")}, 1, "cannot read '" + path("") + "': it is a directory"},
        {{"-y", "-o", out, path("cut.y4m")}, 1, "cannot read '" + path("cut.y4m") + "': frame 1 is cut off"},
        {{"-y", "-o", out, "--layout", "rows:0;"}, 2, "layout 'rows:0;' needs at least 1 row"},
        {{"-y", "-o", out, "--layout", "rows:3;columns:1;"}, 2, "layout 'rows:3;columns:1;' has 3 cells for 8 inputs"},
        {{"-y", "-o", out, "--layout", "width:-10;", path("red.png")}, 2, "layout 'width:-10;' gives input 1 a cell of -128x720"},
        {{"-y", "-o", out, "--layout", "rows:2;colums:2;", path("red.png")}, 2, "layout 'rows:2;colums:2;': unknown key 'colums'"},
        {{"-y", "-o", out, "--size", "300x100", "--layout", "width:1;", path("red.png")}, 2,
         "input 1 ('" + path("red.png") + "') would be drawn 0x0 in its 3x100 cell"},
        {{"-y", "-o", out, "--size", "big"}, 2, "--size"},
        {{"-y", "-o", path("huge.png"), "--size", "16384x16384"}, 1, "the library can't hold a 16384x16384 image"},
        {{"-o", path("no/such/dir/out.png")}, 1, "cannot write '" + path("no/such/dir/out.png") + "'"}};
    for (const auto& [args, exitCode, message] : failures) {
        const ToolResult r = run({"compose"}, args);
        EXPECT_EQ(r.exitCode, exitCode) << message;
        EXPECT_TRUE(r.err.rfind("morva: " + message, 0) == 0 && std::count(r.err.begin(), r.err.end(), '\n') == 1) << r.err;
    }
    EXPECT_TRUE(readFile(out) == "keep" && !std::filesystem::exists(path("huge.png")));
    const ToolResult help = run({"--help"});
    EXPECT_TRUE(help.exitCode == 0 && help.out.rfind("usage: morva compose", 0) == 0 && help.err.empty());
    const ToolResult version = run({"compose", "--version"});
    EXPECT_TRUE(version.exitCode == 0 && version.out.rfind("morva ", 0) == 0);
}

}  // namespace
}  // namespace morvatool
