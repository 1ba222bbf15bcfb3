#include <gtest/gtest.h>

#include <cstring>

#include "tool_test_support.h"
#include "y4m_io.h"

namespace morvatool {
namespace {

using testing::readFile;
using testing::ScratchDirectory;
using testing::writeFile;

TEST(ToolY4mHeader, ReadsSizeRateAndChroma) {
    const Y4mHeader h = parseY4mHeader("YUV4MPEG2 W13 H7 F30000:1001 It A1:1 C422 XYSCSS=422 Zfuture");
    EXPECT_EQ(h.width, 13);
    EXPECT_EQ(h.height, 7);
    EXPECT_EQ(h.rateNumerator, 30000);
    EXPECT_EQ(h.rateDenominator, 1001);
    EXPECT_EQ(h.chroma, Y4mChroma::C422);
    EXPECT_EQ(parseY4mHeader("YUV4MPEG2 W2 H2").chroma, Y4mChroma::C420);
    for (const char* tag : {"C420", "C420jpeg", "C420paldv", "C420mpeg2"})
        EXPECT_EQ(parseY4mHeader(std::string("YUV4MPEG2 W2 H2 ") + tag).chroma, Y4mChroma::C420) << tag;
    EXPECT_EQ(parseY4mHeader("YUV4MPEG2  W2  H2 Cmono").chroma, Y4mChroma::Mono);
    EXPECT_EQ(y4mFrameBytes(parseY4mHeader("YUV4MPEG2 W5 H3 C420")), 15 + 2 * 3 * 2);
    EXPECT_EQ(y4mFrameBytes(parseY4mHeader("YUV4MPEG2 W5 H3 C422")), 15 + 2 * 3 * 3);
    EXPECT_EQ(y4mFrameBytes(parseY4mHeader("YUV4MPEG2 W5 H3 Cmono")), 15);
}

// A frame whose every byte tells its plane, row and column.
std::string syntheticFrame(const Y4mHeader& h, int frame) {
    std::string bytes;
    const int cw = (h.width + 1) / 2, ch = h.chroma == Y4mChroma::C420 ? (h.height + 1) / 2 : h.height;
    const auto addPlane = [&](int plane, int w, int rows) {
        for (int y = 0; y < rows; ++y)
            for (int x = 0; x < w; ++x) bytes.push_back(char(frame * 50 + plane * 70 + y * 9 + x));
    };
    addPlane(0, h.width, h.height);
    if (h.chroma != Y4mChroma::Mono) addPlane(1, cw, ch), addPlane(2, cw, ch);
    return bytes;
}

class ToolY4mRoundTrip : public ScratchDirectory, public ::testing::WithParamInterface<Y4mChroma> {};

TEST_P(ToolY4mRoundTrip, KeepsEveryFrameAndPadsTheLibraryLines) {
    const Y4mHeader header{13, 7, GetParam(), 24, 1};
    std::string file = "YUV4MPEG2 W13 H7 F24:1 Ip C" +
                       std::string(GetParam() == Y4mChroma::C420 ? "420mpeg2" : GetParam() == Y4mChroma::C422 ? "422" : "mono") + "\n";
    for (int f = 0; f < 3; ++f) file += (f == 1 ? "FRAME Ixyz\n" : "FRAME\n") + syntheticFrame(header, f);
    writeFile(path("in.y4m"), file);

    Y4mReader reader(path("in.y4m"));
    ASSERT_EQ(reader.frameCount(), 3);
    ImagePtr image = reader.allocateFrameImage("frame");
    EXPECT_EQ(image->format, GetParam() == Y4mChroma::C422 ? FORMAT_YVYU : FORMAT_I420);
    EXPECT_EQ(image->width, 16);
    EXPECT_EQ(image->height, 8);

    Y4mWriter writer(path("out.y4m"), header);
    for (int f : {2, 0, 1}) {
        reader.readFrame(f, *image);
        // Padding repeats the last column and the last row.
        const uint8_t* row6 = planeRow(*image, 0, 6);
        EXPECT_EQ(row6[15], row6[12]);
        EXPECT_EQ(std::memcmp(planeRow(*image, 0, 7), row6, 16), 0);
        if (GetParam() == Y4mChroma::Mono) {
            EXPECT_EQ(planeRow(*image, 2, 3)[7], 128);
        }
    }
    for (int f = 0; f < 3; ++f) {
        reader.readFrame(f, *image);
        writer.writeFrame(*image);
    }
    writer.finish();
    const std::string written = readFile(path("out.y4m"));
    const std::string expectedTag = GetParam() == Y4mChroma::C420 ? "C420jpeg" : GetParam() == Y4mChroma::C422 ? "C422" : "Cmono";
    std::string expected = "YUV4MPEG2 W13 H7 F24:1 Ip A1:1 " + expectedTag + "\n";
    for (int f = 0; f < 3; ++f) expected += "FRAME\n" + syntheticFrame(header, f);
    EXPECT_EQ(written, expected);
}

INSTANTIATE_TEST_SUITE_P(Chromas, ToolY4mRoundTrip, ::testing::Values(Y4mChroma::C420, Y4mChroma::C422, Y4mChroma::Mono));

struct Malformed {
    const char* name;
    std::string bytes;
    const char* reason;
    friend void PrintTo(const Malformed& m, std::ostream* out) { *out << m.name; }
};

class ToolY4mMalformed : public ScratchDirectory, public ::testing::WithParamInterface<Malformed> {};

TEST_P(ToolY4mMalformed, IsRefusedWithItsReason) {
    writeFile(path("bad.y4m"), GetParam().bytes);
    try {
        Y4mReader reader(path("bad.y4m"));
        FAIL() << "accepted";
    } catch (const ToolError& error) {
        const std::string text = error.what();
        EXPECT_EQ(text.rfind("cannot read '" + path("bad.y4m") + "': ", 0), 0u) << text;
        EXPECT_NE(text.find(GetParam().reason), std::string::npos) << text;
    }
}

const std::string kFrame4x2(4 * 2 + 2 * 2 * 1, 'a');

INSTANTIATE_TEST_SUITE_P(
    Cases, ToolY4mMalformed,
    ::testing::Values(Malformed{"Empty", "", "empty"}, Malformed{"NoLineEnd", "YUV4MPEG2 W4 H2", "ends inside"},
                      Malformed{"OtherMagic", "YUV4MPEG3 W4 H2\n", "not a YUV4MPEG2"},
                      Malformed{"NoSize", "YUV4MPEG2 F25:1\n", "no frame size"},
                      Malformed{"ZeroWidth", "YUV4MPEG2 W0 H2\n", "width"},
                      Malformed{"HugeHeight", "YUV4MPEG2 W4 H99999999999\n", "height"},
                      Malformed{"SignedWidth", "YUV4MPEG2 W-4 H2\n", "width"},
                      Malformed{"BadRate", "YUV4MPEG2 W4 H2 F25:0\n", "frame rate"},
                      Malformed{"Chroma444", "YUV4MPEG2 W4 H2 C444\n", "C444"},
                      Malformed{"TenBit", "YUV4MPEG2 W4 H2 C420p10\n", "C420p10"},
                      Malformed{"NoFrames", "YUV4MPEG2 W4 H2\n", "no frame"},
                      Malformed{"NoMarker", "YUV4MPEG2 W4 H2\nframe\n" + kFrame4x2, "frame 1 has no FRAME"},
                      Malformed{"MarkerLost", "YUV4MPEG2 W4 H2\nFRAME\n" + kFrame4x2 + "FRAMX\n" + kFrame4x2,
                                "frame 2 has no FRAME"},
                      Malformed{"CutOff", "YUV4MPEG2 W4 H2\nFRAME\n" + kFrame4x2 + "FRAME\n" + kFrame4x2.substr(3),
                                "frame 2 is cut off"},
                      Malformed{"LongLine", "YUV4MPEG2 W4 H2 X" + std::string(5000, 'x') + "\n", "too long"},
                      Malformed{"Binary", std::string("\0\1\2\3\n", 5), "not a YUV4MPEG2"}),
    [](const ::testing::TestParamInfo<Malformed>& info) { return info.param.name; });

class ToolY4mFile : public ScratchDirectory {};

TEST_F(ToolY4mFile, MissingFileNamesTheSystemReason) {
    try {
        Y4mReader reader(path("absent.y4m"));
        FAIL();
    } catch (const ToolError& error) {
        EXPECT_NE(std::string(error.what()).find("No such file"), std::string::npos) << error.what();
    }
}

TEST_F(ToolY4mFile, GarbageNeverCrashesTheReader) {
    // Cut a valid file at every length and flip bytes of its header: every
    // result is either a good reader or a ToolError.
    const std::string good = "YUV4MPEG2 W6 H4 F25:1 C420\nFRAME\n" + std::string(24 + 2 * 3 * 2, 'q') + "FRAME\n" +
                             std::string(24 + 12, 'r');
    for (size_t length = 0; length <= good.size(); length += 5) {
        for (int flip = -1; flip < 30; flip += 8) {
            std::string bytes = good.substr(0, length);
            if (flip >= 0 && size_t(flip) < bytes.size()) bytes[size_t(flip)] = char(bytes[size_t(flip)] ^ 0x5A);
            writeFile(path("fuzz.y4m"), bytes);
            try {
                Y4mReader reader(path("fuzz.y4m"));
                ImagePtr image = reader.allocateFrameImage("fuzz");
                for (int64_t f = 0; f < reader.frameCount(); ++f) reader.readFrame(f, *image);
            } catch (const ToolError&) {
            }
        }
    }
}

}  // namespace
}  // namespace morvatool
