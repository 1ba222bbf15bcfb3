// The command line, the tool's colour model and conversions, its reading of
// layouts, and its progress line.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "colour.h"
#include "compose.h"
#include "convert.h"
#include "layout_check.h"
#include "options.h"
#include "progress.h"
#include "tool_test_support.h"

namespace morvatool {
namespace {

CommandLine parse(std::vector<std::string> args) {
    args.insert(args.begin(), "morva");
    std::vector<const char*> argv;
    for (const std::string& a : args) argv.push_back(a.c_str());
    return parseCommandLine(int(argv.size()), argv.data());
}

// Every option in both spellings; video-tool format names and the earlier
// ones name the same target.
TEST(ToolOptions, EveryOptionAndAlias) {
    ComposeOptions o = parse({"compose", "--layout", "rows:1;columns:2;", "--size=640X360", "--format", "nv12",
                              "--scale=fill", "--interpolation", "lanczos", "--antialias", "--background", "10,20,30",
                              "--chroma=mono", "--frames", "3", "-q", "-y", "--rate", "30000/1001", "a.png",
                              "--output=Out.Y4M", "--", "-dash.y4m"})
                           .compose;
    EXPECT_TRUE(o.layout == "rows:1;columns:2;" && o.width == 640 && o.height == 360 && o.target.format == FORMAT_NV12);
    EXPECT_TRUE(o.scaleMode == 2 && interpolationValue(o) == (INTER_LANCZOS | RESIZE_ANTIALIASING));
    EXPECT_TRUE(o.chroma == Y4mChroma::Mono && o.maxFrames == 3 && o.quiet && o.outputKind == OutputKind::Y4m);
    EXPECT_TRUE(o.overwrite == Overwrite::Yes && o.rate == (Rate{30000, 1001}) && !o.show);
    EXPECT_TRUE(o.background == (Rgb{10, 20, 30}) && o.inputs == (std::vector<std::string>{"a.png", "-dash.y4m"}));

    for (auto [name, alias] : {std::pair{"yuv420p", "i420"}, std::pair{"yuyv422", "yuy2"}, std::pair{"uyvy422", "uyvy"},
                               std::pair{"bgra", "rgb32"}, std::pair{"bgr24", "rgb24"}, std::pair{"gray", "y800"}}) {
        const TargetFormat a = parse({"compose", "-o", "a.png", "--format", name}).compose.target;
        const TargetFormat b = parse({"compose", "-o", "a.png", "--format", alias}).compose.target;
        EXPECT_TRUE(a.format == b.format && a.composeIn == b.composeIn) << name;
        EXPECT_EQ(formatName(a.format), name);
    }
    o = parse({"show", "-n", "-r", "25:2", "-", "b.png"}).compose;
    EXPECT_TRUE(o.show && o.outputKind == OutputKind::None && o.overwrite == Overwrite::No && o.rate == (Rate{25, 2}));
    EXPECT_EQ(parse({"compose", "-o", "-", "x.y4m"}).compose.outputKind, OutputKind::Y4m);
    EXPECT_TRUE(parse({"--help"}).command == Command::Help && parse({"compose", "--version"}).command == Command::Version);
    EXPECT_EQ(parse({"compose", "-o", "x.jpg", "--help"}).command, Command::Help);
}

// Every refusal is one line naming the problem.
TEST(ToolOptions, RefusalsNameTheProblem) {
    const std::vector<std::string> o = {"compose", "-o", "a.png"};
    const auto with = [&o](std::vector<std::string> more) { return more.insert(more.begin(), o.begin(), o.end()), more; };
    const std::pair<std::vector<std::string>, std::string> refused[] = {
        {{}, "no command"},
        {{"paint"}, "unknown command 'paint'"},
        {{"compose"}, "needs an output"},
        {{"compose", "-o", "out.jpg"}, "must end in .png or .y4m"},
        {{"compose", "-o"}, "-o needs a value"},
        {with({"-o", "b.png"}), "-o given twice"},
        {with({"--bogus"}), "unknown option '--bogus'"},
        {with({"--size"}), "--size needs a value"},
        {with({"--size", "0x10"}), "--size"},          {with({"--size", "16385x10"}), "--size"},
        {with({"--size", "12x"}), "--size"},           {with({"--size", "-4x8"}), "--size"},
        {with({"--format", "rgb444"}), "unknown format 'rgb444'"},
        {with({"--scale", "zoom"}), "fit"},            {with({"--interpolation", "area"}), "lanczos"},
        {with({"--background", "1,2"}), "R,G,B"},      {with({"--background", "1,2,256"}), "R,G,B"},
        {with({"--frames", "0"}), "positive"},         {with({"--layout", ""}), "empty"},
        {with({"--chroma", "422"}), ".y4m output only"},
        {with({"--frames", "3"}), "--frames applies to .y4m output only"},
        {with({"--antialias", "--interpolation", "nn"}), "--antialias applies to"},
        {with({"--rate", "0"}), "--rate"},            {with({"--rate", "25/x"}), "--rate"},
        {{"compose", "-o", "-", "--show"}, "don't go together"},
        {{"compose", "-o", "a.y4m", "-", "-"}, "read once"},
        {{"compose", "-o", "a.y4m", "--chroma", "444"}, "unknown value '444'"}};
    for (const auto& [args, message] : refused) {
        const std::string text = testing::refusal([&] { parse(args); });
        EXPECT_TRUE(text.find(message) != std::string::npos && text.find('\n') == std::string::npos) << text;
    }
}

// Known colours read back through the model: black, white and primaries in
// video range, 16-bit fields widened to full levels, ranges and depths.
TEST(ToolColour, KnownColoursReadBack) {
    const std::pair<Rgb, std::array<int, 3>> colours[] = {{{0, 0, 0}, {16, 128, 128}},   {{255, 255, 255}, {235, 128, 128}},
                                                          {{255, 0, 0}, {82, 90, 240}},  {{0, 255, 0}, {144, 54, 34}},
                                                          {{0, 0, 255}, {41, 240, 110}}, {{128, 128, 128}, {126, 128, 128}}};
    for (const auto& [rgb, ycbcr] : colours) {
        const Ycbcr got = toYcbcr(rgb);
        EXPECT_EQ((std::array<int, 3>{got.y, got.cb, got.cr}), ycbcr);
    }
    for (int level = 0; level < 256; ++level) {
        const Rgb c{uint8_t(level), uint8_t(255 - level), uint8_t(level / 2)};
        // A 16-bit pixel read back and stored again is the same pixel.
        EXPECT_EQ(packRgb565(unpackRgb565(packRgb565(c))), packRgb565(c));
        EXPECT_EQ(packRgb555(unpackRgb555(packRgb555(c))), packRgb555(c));
        EXPECT_LE(std::abs(videoToFullLuma(fullToVideoLuma(level)) - level), 1);
    }
    EXPECT_TRUE(unpackRgb565(0xFFFF) == (Rgb{255, 255, 255}) && unpackRgb555(0x7FFF) == (Rgb{255, 255, 255}));
    EXPECT_TRUE(fullToVideoLuma(0) == 16 && fullToVideoLuma(255) == 235 && fullToVideoChroma(0) == 16 &&
                fullToVideoChroma(255) == 240 && fullToVideoChroma(128) == 128);
    EXPECT_TRUE(roundTo8Bits(1023, 10) == 255 && roundTo8Bits(514, 10) == 129 && roundTo8Bits(0x80FF, 16) == 129);
}

// Every format the tool reads, offers or passes through reaches every other
// it needs, ending in the format asked for.
TEST(ToolColour, EveryConversionPathEndsWhereAsked) {
    const int32_t formats[] = {FORMAT_RGB32, FORMAT_RGB24, FORMAT_RGB565, FORMAT_RGB555, FORMAT_I420, FORMAT_YV12,
                               FORMAT_NV12,  FORMAT_YUY2,  FORMAT_UYVY,   FORMAT_YVYU,   FORMAT_Y411, FORMAT_GRAY8};
    for (int32_t from : formats)
        for (int32_t to : formats) {
            const std::vector<int32_t> path = conversionPath(from, to);
            EXPECT_EQ(path.empty() ? from : path.back(), to) << from << " to " << to;
            EXPECT_LE(path.size(), 4u) << from << " to " << to;
        }
    // The detours around the library's exchanges of chroma and of red and blue.
    EXPECT_EQ(conversionPath(FORMAT_YUY2, FORMAT_I420), (std::vector<int32_t>{FORMAT_YVYU, FORMAT_I420}));
    EXPECT_EQ(conversionPath(FORMAT_UYVY, FORMAT_RGB24), (std::vector<int32_t>{FORMAT_RGB32, FORMAT_RGB24}));
    EXPECT_EQ(conversionPath(FORMAT_YVYU, FORMAT_RGB32), (std::vector<int32_t>{FORMAT_YUY2, FORMAT_RGB32}));
}

// Layouts the library would mishandle are refused; the tool's completions and
// row-by-row calls give the layout described.
TEST(ToolLayout, RefusesWhatTheLibraryWouldMishandle) {
    const std::tuple<const char*, int, std::string> placements[] = {
        {"rows:2;columns:2;", 4, ""},          {"rows:2;columns:2;", 3, ""},
        {"rows:3;columns:1;", 3, ""},          {"rows:1;columns:1;width:100;height:100;", 1, ""},
        {"margin-right:10;margin-bottom:10;width:30;height:30;", 1, ""},
        {"rows:0;columns:2;", 1, "at least 1 row"}, {"rows:2;columns:-1;", 1, "at least 1 row"},
        {"rows:2;columns:2;", 5, "4 cells for 5 inputs"},
        {"columns:2;", 3, "2 cells for 3 inputs"},
        {"rows:1;columns:2;width:250;", 1, "outside the 1280x720 target"},
        {"rows:1;columns:2;margin-left:60;width:50;", 2, "places input 2 outside"},
        {"height:0;", 1, "a cell of 1280x0"},
        {"border:2;", 1, "unknown key 'border'"},
        {"margin-top:-5;", 1, "outside"}};
    for (const auto& [text, count, problem] : placements) {
        const std::string message = testing::refusal([&] { checkPlacement(text, count, 1280, 720); });
        EXPECT_NE(message.find(problem.empty() ? "accepted" : problem), std::string::npos) << text << ": " << message;
    }
    // Pairs are read as the library reads them: names in any case, the later
    // pair winning, an empty value as none, no digits as 0, values bounded to
    // 32 bits, and a name separator at the very end still counting.
    const GridLayout l = parseLayoutText(" Rows : 2 ;COLUMNS:3;rows:4;width:50%;margin-left:;height:7:;margin-top:abc;");
    EXPECT_TRUE(l.rows == 4 && l.columns == 3 && l.width == 50 && !l.marginLeft && l.height == 7 && l.marginTop == 0);
    EXPECT_EQ(parseLayoutText("margin-top:99999999999;").marginTop, INT32_MAX);
    // The last pair needs no ';', and a margin without a size leaves the
    // input what the margins leave.
    EXPECT_EQ(completeLayoutText("rows:2"), "rows:2;");
    EXPECT_EQ(completeLayoutText("margin-left:10;margin-right:5;height:50"), "margin-left:10;margin-right:5;height:50;width:85;");
    EXPECT_EQ(completeLayoutText("margin-bottom:20;"), "margin-bottom:20;height:80;");
    // More rows than columns: one call a row, moved down by whole cells.
    const std::vector<RenderCall> calls = renderCalls("rows:3;columns:2;", 5);
    ASSERT_EQ(calls.size(), 3u);
    EXPECT_EQ(calls[2].layout, "rows:3;columns:2;margin-top:200;");
    EXPECT_EQ(calls[2].inputs, (std::vector<std::optional<int64_t>>{4}));
    EXPECT_EQ(calls[1].inputs, (std::vector<std::optional<int64_t>>{2, 3}));
    EXPECT_EQ(renderCalls("rows:2;columns:2;", 4).size(), 1u);
    // The default grid for any count is one the tool can fill.
    EXPECT_EQ(defaultLayoutText(5, 1280, 720, 4.0 / 3), "rows:2;columns:3;");
    EXPECT_EQ(defaultLayoutText(2, 720, 1280, 16.0 / 9), "rows:2;columns:1;");
    for (int count = 1; count <= 40; ++count)
        for (auto [w, h] : {std::pair{1280, 720}, std::pair{720, 1280}, std::pair{160, 8}})
            EXPECT_NO_THROW(checkPlacement(defaultLayoutText(count, w, h, 1.5), count, w, h)) << count << " in " << w;
    // Fit centres and aligns to 4; fill and stretch keep the cell.
    const Placement fit = placeInCell({100, 50, 320, 320}, 640, 480, 1);
    EXPECT_TRUE(fit.rect.x == 100 && fit.rect.y == 92 && fit.rect.width == 320 && fit.rect.height == 240 && fit.xFactor == 0.5);
    EXPECT_EQ(placeInCell({100, 50, 320, 320}, 640, 480, 0).yFactor, 320.0 / 480);
}

// The timing of frames and the progress line.
TEST(ToolProgress, FramesByTimeAndTheProgressLine) {
    EXPECT_EQ(inputFrameAt(7, {30, 1}, {15, 1}), 3);
    EXPECT_EQ(inputFrameAt(7, {15, 1}, {30, 1}), 14);
    EXPECT_EQ(inputFrameAt(1000, {30000, 1001}, {30, 1}), 1001);
    EXPECT_EQ(Progress::line(40, 100, 2.0), "frame 40/100 [########............] 40% 20.0 fps ETA 0:03");
    EXPECT_EQ(Progress::line(40, std::nullopt, 0.5), "frame 40 80.0 fps");
    EXPECT_EQ(Progress::line(120, 100, 2.0), "frame 120 60.0 fps");
}

}  // namespace
}  // namespace morvatool
