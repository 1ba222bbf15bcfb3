#include <gtest/gtest.h>
#include <zlib.h>

#include <random>

#include "png_io.h"
#include "tool_test_support.h"

namespace morvatool {
namespace {

using testing::readFile;
using testing::ScratchDirectory;
using testing::writeFile;

// Builds PNG files chunk by chunk, so that tests choose every colour type and
// depth and can damage any field.
class PngBuilder {
public:
    PngBuilder(uint32_t width, uint32_t height, uint8_t colourType, uint8_t depth)
        : width_(width), height_(height), colourType_(colourType), depth_(depth) {}

    PngBuilder& palette(const std::string& rgb) { return chunk("PLTE", rgb); }
    PngBuilder& transparency(const std::string& alpha) { return chunk("tRNS", alpha); }

    // Rows of packed samples, each given without its filter byte.
    std::string build(const std::vector<std::string>& rows) {
        std::string ihdr = be32(width_) + be32(height_);
        ihdr += char(depth_), ihdr += char(colourType_), ihdr += std::string(3, '\0');
        std::string raw;
        for (const std::string& row : rows) raw += '\0' + row;
        uLongf size = compressBound(uLong(raw.size()));
        std::string packed(size, '\0');
        compress(reinterpret_cast<Bytef*>(packed.data()), &size, reinterpret_cast<const Bytef*>(raw.data()),
                 uLong(raw.size()));
        packed.resize(size);
        return "\x89PNG\r\n\x1a\n" + makeChunk("IHDR", ihdr) + extra_ + makeChunk("IDAT", packed) + makeChunk("IEND", "");
    }

    static std::string be32(uint32_t v) {
        return {char(v >> 24), char(v >> 16), char(v >> 8), char(v)};
    }
    static std::string makeChunk(const std::string& type, const std::string& data) {
        const std::string body = type + data;
        return be32(uint32_t(data.size())) + body +
               be32(uint32_t(crc32(0, reinterpret_cast<const Bytef*>(body.data()), uInt(body.size()))));
    }

private:
    PngBuilder& chunk(const std::string& type, const std::string& data) {
        extra_ += makeChunk(type, data);
        return *this;
    }
    uint32_t width_, height_;
    uint8_t colourType_, depth_;
    std::string extra_;
};

struct Bgr {
    uint8_t b, g, r;
};

struct Decoding {
    const char* name;
    std::string file;
    int32_t format;
    std::vector<Bgr> pixels;  // the first row
    friend void PrintTo(const Decoding& d, std::ostream* out) { *out << d.name; }
};

constexpr Rgb kBackdrop{10, 20, 30};

std::string bytes(std::initializer_list<int> values) {
    std::string s;
    for (int v : values) s.push_back(char(v));
    return s;
}

class ToolPngDecoding : public ScratchDirectory, public ::testing::WithParamInterface<Decoding> {};

TEST_P(ToolPngDecoding, GivesEightBitColour) {
    writeFile(path("in.png"), GetParam().file);
    const ImagePtr image = readPng(path("in.png"), kBackdrop);
    ASSERT_EQ(image->format, GetParam().format);
    const int unit = image->format == FORMAT_RGB32 ? 4 : 3;
    const uint8_t* row = planeRow(*image, 0, 0);
    for (size_t x = 0; x < GetParam().pixels.size(); ++x) {
        const Bgr& want = GetParam().pixels[x];
        EXPECT_EQ(row[x * unit + 0], want.b) << "pixel " << x;
        EXPECT_EQ(row[x * unit + 1], want.g) << "pixel " << x;
        EXPECT_EQ(row[x * unit + 2], want.r) << "pixel " << x;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Types, ToolPngDecoding,
    ::testing::Values(
        Decoding{"Grey8", PngBuilder(2, 1, 0, 8).build({bytes({0, 200})}), FORMAT_RGB24, {{0, 0, 0}, {200, 200, 200}}},
        Decoding{"Grey1", PngBuilder(3, 1, 0, 1).build({bytes({0xA0})}), FORMAT_RGB24,
                 {{255, 255, 255}, {0, 0, 0}, {255, 255, 255}}},
        Decoding{"GreyAlpha", PngBuilder(2, 1, 4, 8).build({bytes({100, 255, 100, 0})}), FORMAT_RGB32,
                 {{100, 100, 100}, {30, 20, 10}}},
        Decoding{"Rgb16", PngBuilder(1, 1, 2, 16).build({bytes({0x12, 0x34, 0xAB, 0xCD, 0xFF, 0x00})}), FORMAT_RGB24,
                 {{0xFF, 0xAB, 0x12}}},
        Decoding{"Rgba", PngBuilder(1, 1, 6, 8).build({bytes({250, 0, 0, 51})}), FORMAT_RGB32, {{24, 16, 58}}},
        Decoding{"PaletteAlpha",
                 PngBuilder(2, 1, 3, 4).palette(bytes({255, 0, 0, 0, 0, 255})).transparency(bytes({255, 0})).build(
                     {bytes({0x01})}),
                 FORMAT_RGB32, {{0, 0, 255}, {30, 20, 10}}},
        Decoding{"Palette", PngBuilder(2, 1, 3, 8).palette(bytes({1, 2, 3, 4, 5, 6})).build({bytes({1, 0})}),
                 FORMAT_RGB24, {{6, 5, 4}, {3, 2, 1}}}),
    [](const ::testing::TestParamInfo<Decoding>& info) { return info.param.name; });

class ToolPngFile : public ScratchDirectory {};

TEST_F(ToolPngFile, RoundTripKeepsPixelsAndPadsLines) {
    std::mt19937 random(7);
    for (int32_t format : {FORMAT_RGB24, FORMAT_RGB32}) {
        const ImagePtr original = allocateImage("original", 8, 6, format);
        for (int32_t i = 0; i < original->size; ++i) original->data[i] = uint8_t(random());
        writePng(path("round.png"), *original);
        const ImagePtr back = readPng(path("round.png"), kBackdrop);
        ASSERT_EQ(back->format, FORMAT_RGB24);
        ASSERT_EQ(back->width, 8);
        ASSERT_EQ(back->height, 6);
        const int unit = format == FORMAT_RGB32 ? 4 : 3;
        for (int32_t y = 0; y < 6; ++y)
            for (int32_t x = 0; x < 8; ++x)
                for (int c = 0; c < 3; ++c)
                    ASSERT_EQ(planeRow(*back, 0, y)[x * 3 + c], planeRow(*original, 0, y)[x * unit + c]);
    }
    // A 5x3 picture lands in an 8x4 image whose extra columns and row repeat the edge.
    const std::string odd = PngBuilder(5, 3, 0, 8).build({bytes({1, 2, 3, 4, 5}), bytes({6, 7, 8, 9, 10}),
                                                          bytes({11, 12, 13, 14, 15})});
    writeFile(path("odd.png"), odd);
    const ImagePtr padded = readPng(path("odd.png"), kBackdrop);
    ASSERT_EQ(padded->width, 8);
    ASSERT_EQ(padded->height, 4);
    EXPECT_EQ(planeRow(*padded, 0, 1)[7 * 3], 10);
    EXPECT_EQ(planeRow(*padded, 0, 3)[0], 11);
    EXPECT_EQ(planeRow(*padded, 0, 3)[7 * 3 + 2], 15);
}

TEST_F(ToolPngFile, DamagedFilesAreRefusedWithTheirReason) {
    const std::string good = PngBuilder(4, 2, 2, 8).build({std::string(12, 'a'), std::string(12, 'b')});
    std::string badCrc = good;
    badCrc[32] = char(badCrc[32] ^ 1);  // last byte of the IHDR checksum
    const std::string zeroWidth = PngBuilder(0, 2, 2, 8).build({});
    const std::string huge = PngBuilder(20000, 2, 2, 8).build({});
    const struct {
        std::string bytes;
        const char* reason;
    } cases[] = {{"", "not a PNG"},
                 {"GIF89a......", "not a PNG"},
                 {good.substr(0, 20), "cut off"},
                 {good.substr(0, good.size() - 20), ""},
                 {badCrc, "CRC"},
                 {zeroWidth, "width is zero"},
                 {huge, "width exceeds"}};
    for (const auto& c : cases) {
        writeFile(path("bad.png"), c.bytes);
        try {
            readPng(path("bad.png"), kBackdrop);
            ADD_FAILURE() << "accepted a damaged file expecting '" << c.reason << "'";
        } catch (const ToolError& error) {
            const std::string text = error.what();
            EXPECT_EQ(text.rfind("cannot read '" + path("bad.png") + "': ", 0), 0u) << text;
            EXPECT_NE(text.find(c.reason), std::string::npos) << text;
            EXPECT_EQ(text.find('\n'), std::string::npos) << text;
        }
    }
}

TEST_F(ToolPngFile, GarbageNeverCrashesTheReader) {
    const std::string good = PngBuilder(9, 5, 6, 8).build(std::vector<std::string>(5, std::string(36, 'z')));
    std::mt19937 random(11);
    for (int round = 0; round < 120; ++round) {
        std::string bytes = good.substr(0, random() % (good.size() + 1));
        for (int flips = int(random() % 4); flips > 0 && !bytes.empty(); --flips)
            bytes[random() % bytes.size()] ^= char(1 << (random() % 8));
        writeFile(path("fuzz.png"), bytes);
        try {
            readPng(path("fuzz.png"), kBackdrop);
        } catch (const ToolError&) {
        }
    }
}

}  // namespace
}  // namespace morvatool
