// The command line, and the tool's own check of a layout against the number
// of inputs and the target.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "layout_check.h"
#include "options.h"
#include "tool_test_support.h"

namespace morvatool {
namespace {

CommandLine parse(std::vector<std::string> args) {
    args.insert(args.begin(), "morva");
    std::vector<const char*> argv;
    for (const std::string& a : args) argv.push_back(a.c_str());
    return parseCommandLine(int(argv.size()), argv.data());
}

// Every option in both spellings. The 16-bit RGB targets interpolate by
// nearest neighbour unless asked, and warn then; two targets warn that the
// library misplaces or discolours (the runs check both).
TEST(ToolOptions, EveryOptionAndWarnings) {
    ComposeOptions o = parse({"compose", "--layout", "rows:1;columns:2;", "--size=640X360", "--format", "nv12",
                              "--scale=fill", "--interpolation", "lanczos", "--antialias", "--background", "10,20,30",
                              "--chroma=mono", "--frames", "3", "-q", "a.png", "--output=Out.Y4M", "--", "-dash.y4m"})
                           .compose;
    EXPECT_TRUE(o.layout == "rows:1;columns:2;" && o.width == 640 && o.height == 360 && o.format == FORMAT_NV12);
    EXPECT_TRUE(o.scaleMode == 2 && interpolationValue(o) == (INTER_LANCZOS | RESIZE_ANTIALIASING));
    EXPECT_TRUE(o.chroma == Y4mChroma::Mono && o.maxFrames == 3 && o.quiet && o.outputKind == OutputKind::Y4m);
    EXPECT_TRUE(o.background == (Rgb{10, 20, 30}) && o.inputs == (std::vector<std::string>{"a.png", "-dash.y4m"}));

    for (const char* format : {"rgb565", "rgb555"}) {
        o = parse({"compose", "-o", "a.png", "--format", format}).compose;
        EXPECT_TRUE(interpolationValue(o) == INTER_NN && compositionWarnings(o).empty()) << format;
        o = parse({"compose", "-o", "a.png", "--format", format, "--interpolation", "cubic"}).compose;
        EXPECT_TRUE(interpolationValue(o) == INTER_CUBIC && compositionWarnings(o).size() == 1) << format;
    }
    o = parse({"compose", "-o", "a.png", "--format", "nv12", "--antialias"}).compose;
    EXPECT_TRUE(interpolationValue(o) == (INTER_LINEAR | RESIZE_ANTIALIASING) && compositionWarnings(o).size() == 1);
    EXPECT_TRUE(parse({"--help"}).command == Command::Help && parse({"--version"}).command == Command::Version);
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
        {with({"--bogus"}), "unknown option '--bogus'"},
        {with({"--size"}), "--size needs a value"},
        {with({"--size", "0x10"}), "--size"},          {with({"--size", "16385x10"}), "--size"},
        {with({"--size", "12x"}), "--size"},           {with({"--size", "-4x8"}), "--size"},
        {with({"--format", "rgb444"}), "unknown format 'rgb444'"},
        {with({"--scale", "zoom"}), "fit"},            {with({"--interpolation", "area"}), "lanczos"},
        {with({"--background", "1,2"}), "R,G,B"},      {with({"--background", "1,2,256"}), "R,G,B"},
        {with({"--frames", "0"}), "positive"},         {with({"--layout", ""}), "empty"},
        {with({"--chroma", "422"}), ".y4m output only"},
        {{"compose", "-o", "a.y4m", "--chroma", "444"}, "unknown value '444'"}};
    for (const auto& [args, message] : refused) {
        const std::string text = testing::refusal([&] { parse(args); });
        EXPECT_TRUE(text.find(message) != std::string::npos && text.find('\n') == std::string::npos) << text;
    }
}

// Layouts the library would mishandle are refused; an empty problem is accepted.
TEST(ToolLayout, RefusesWhatTheLibraryWouldMishandle) {
    const std::tuple<const char*, int, std::string> placements[] = {
        {"rows:2;columns:2;", 4, ""},          {"rows:2;columns:2;", 3, ""},
        {"rows:1;columns:1;width:100;height:100;", 1, ""},
        {"margin-right:10;margin-bottom:10;width:30;height:30;", 1, ""},
        {"rows:0;columns:2;", 1, "at least 1 row"}, {"rows:2;columns:-1;", 1, "at least 1 row"},
        {"rows:2;columns:2;", 5, "4 cells for 5 inputs"},
        {"rows:2", 2, "1 cell for 2 inputs (pairs end in ';')"},
        {"rows:3;columns:1;", 2, "as many columns as rows"},
        {"rows:1;columns:2;width:250;", 1, "outside the 1280x720 target"},
        {"rows:1;columns:2;margin-left:60;", 2, "places input 2 outside"},
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
    // The default grid for any count is one the library can fill.
    EXPECT_EQ(defaultLayoutText(5, 1280, 720, 4.0 / 3), "rows:2;columns:3;");
    for (int count = 1; count <= 40; ++count)
        for (auto [w, h] : {std::pair{1280, 720}, std::pair{720, 1280}, std::pair{4, 2}})
            EXPECT_NO_THROW(checkPlacement(defaultLayoutText(count, w, h, 1.5), count, w, h)) << count;
}

}  // namespace
}  // namespace morvatool
