#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "options.h"

namespace morvatool {
namespace {

CommandLine parse(std::vector<std::string> args) {
    args.insert(args.begin(), "morva");
    std::vector<const char*> argv;
    for (const std::string& a : args) argv.push_back(a.c_str());
    return parseCommandLine(int(argv.size()), argv.data());
}

TEST(ToolOptions, DefaultsNeedOnlyAnOutput) {
    const ComposeOptions o = parse({"compose", "-o", "out.png"}).compose;
    EXPECT_EQ(o.output, "out.png");
    EXPECT_EQ(o.outputKind, OutputKind::Png);
    EXPECT_TRUE(o.layout.empty());
    EXPECT_EQ(o.width, 1280);
    EXPECT_EQ(o.height, 720);
    EXPECT_EQ(o.format, FORMAT_RGB32);
    EXPECT_EQ(o.scaleMode, 1);
    EXPECT_EQ(interpolationValue(o), INTER_LINEAR);
    EXPECT_TRUE(compositionWarnings(o).empty());
    EXPECT_EQ(o.background, (Rgb{0, 0, 0}));
    EXPECT_TRUE(o.inputs.empty());
    EXPECT_FALSE(o.maxFrames.has_value());
}

TEST(ToolOptions, EveryOptionInBothSpellings) {
    const ComposeOptions o =
        parse({"compose", "--layout", "rows:1;columns:2;", "--size=640X360", "--format", "nv12", "--scale=fill",
               "--interpolation", "lanczos", "--antialias", "--background", "10,20,30", "--chroma=mono",
               "--frames", "3", "-q", "a.png", "--output=Out.Y4M", "--", "-dash.y4m"})
            .compose;
    EXPECT_EQ(o.layout, "rows:1;columns:2;");
    EXPECT_EQ(o.width, 640);
    EXPECT_EQ(o.height, 360);
    EXPECT_EQ(o.format, FORMAT_NV12);
    EXPECT_EQ(o.scaleMode, 2);
    EXPECT_EQ(interpolationValue(o), INTER_LANCZOS | RESIZE_ANTIALIASING);
    EXPECT_EQ(o.background, (Rgb{10, 20, 30}));
    EXPECT_EQ(o.chroma, Y4mChroma::Mono);
    EXPECT_EQ(o.maxFrames, 3);
    EXPECT_TRUE(o.quiet);
    EXPECT_EQ(o.outputKind, OutputKind::Y4m);
    EXPECT_EQ(o.inputs, (std::vector<std::string>{"a.png", "-dash.y4m"}));
}

TEST(ToolOptions, InterpolationAndWarningsFollowTheTarget) {
    for (const char* format : {"rgb565", "rgb555"}) {
        ComposeOptions o = parse({"compose", "-o", "a.png", "--format", format}).compose;
        EXPECT_EQ(interpolationValue(o), INTER_NN) << format;
        EXPECT_TRUE(compositionWarnings(o).empty()) << format;
        o = parse({"compose", "-o", "a.png", "--format", format, "--interpolation", "cubic"}).compose;
        EXPECT_EQ(interpolationValue(o), INTER_CUBIC) << format;
        EXPECT_EQ(compositionWarnings(o).size(), 1u) << format;
    }
    for (const char* format : {"nv12", "yuy2"}) {
        const ComposeOptions o = parse({"compose", "-o", "a.png", "--format", format, "--antialias"}).compose;
        EXPECT_EQ(interpolationValue(o), INTER_LINEAR | RESIZE_ANTIALIASING);
        ASSERT_EQ(compositionWarnings(o).size(), 1u) << format;
        EXPECT_NE(compositionWarnings(o)[0].find(format), std::string::npos);
    }
}

TEST(ToolOptions, HelpAndVersion) {
    EXPECT_EQ(parse({"--help"}).command, Command::Help);
    EXPECT_EQ(parse({"compose", "-o", "x.jpg", "--help"}).command, Command::Help);
    EXPECT_EQ(parse({"--version"}).command, Command::Version);
    const std::string help = helpText();
    for (const char* word : {"--layout", "--size", "1280x720", "bgra", "yuv422p", "lanczos", "--background",
                             "longest", "terminal"})
        EXPECT_NE(help.find(word), std::string::npos) << word;
}

struct BadCommandLine {
    std::vector<std::string> args;
    std::string message;
    friend void PrintTo(const BadCommandLine& c, std::ostream* out) { *out << c.message; }
};

class ToolOptionsRefuse : public ::testing::TestWithParam<BadCommandLine> {};

TEST_P(ToolOptionsRefuse, WithOneLineNamingTheProblem) {
    try {
        parse(GetParam().args);
        FAIL() << "accepted";
    } catch (const UsageError& error) {
        const std::string text = error.what();
        EXPECT_NE(text.find(GetParam().message), std::string::npos) << text;
        EXPECT_EQ(text.find('\n'), std::string::npos) << text;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ToolOptionsRefuse,
    ::testing::Values(BadCommandLine{{}, "no command"}, BadCommandLine{{"paint"}, "unknown command 'paint'"},
                      BadCommandLine{{"compose"}, "needs an output"},
                      BadCommandLine{{"compose", "-o", "out.jpg"}, "must end in .png or .y4m"},
                      BadCommandLine{{"compose", "-o", "a.png", "--bogus"}, "unknown option '--bogus'"},
                      BadCommandLine{{"compose", "-o", "a.png", "--size"}, "--size needs a value"},
                      BadCommandLine{{"compose", "-o"}, "-o needs a value"},
                      BadCommandLine{{"compose", "-o", "a.png", "--size", "0x10"}, "--size"},
                      BadCommandLine{{"compose", "-o", "a.png", "--size", "16385x10"}, "--size"},
                      BadCommandLine{{"compose", "-o", "a.png", "--size", "12x"}, "--size"},
                      BadCommandLine{{"compose", "-o", "a.png", "--size", "-4x8"}, "--size"},
                      BadCommandLine{{"compose", "-o", "a.png", "--format", "rgb444"}, "unknown format 'rgb444'"},
                      BadCommandLine{{"compose", "-o", "a.png", "--scale", "zoom"}, "fit"},
                      BadCommandLine{{"compose", "-o", "a.png", "--interpolation", "area"}, "lanczos"},
                      BadCommandLine{{"compose", "-o", "a.png", "--background", "1,2"}, "R,G,B"},
                      BadCommandLine{{"compose", "-o", "a.png", "--background", "1,2,256"}, "R,G,B"},
                      BadCommandLine{{"compose", "-o", "a.png", "--frames", "0"}, "positive"},
                      BadCommandLine{{"compose", "-o", "a.png", "--layout", ""}, "empty"},
                      BadCommandLine{{"compose", "-o", "a.png", "--chroma", "422"}, ".y4m output only"},
                      BadCommandLine{{"compose", "-o", "a.y4m", "--chroma", "444"}, "unknown value '444'"}));

}  // namespace
}  // namespace morvatool
