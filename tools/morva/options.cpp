#include "options.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <functional>

namespace morvatool {

namespace {

struct NamedValue {
    std::string_view name;
    int32_t value;
};

constexpr std::array kInterpolations = {
    NamedValue{"nn", INTER_NN},
    NamedValue{"linear", INTER_LINEAR},
    NamedValue{"cubic", INTER_CUBIC},
    NamedValue{"bspline", INTER_CUBIC_BSPLINE},
    NamedValue{"catmullrom", INTER_CUBIC_CATMULLROM},
    NamedValue{"b05c03", INTER_CUBIC_B05C03},
    NamedValue{"super", INTER_SUPER},
    NamedValue{"lanczos", INTER_LANCZOS},
};

constexpr std::array kScaleModes = {
    NamedValue{"stretch", 0},
    NamedValue{"fit", 1},
    NamedValue{"fill", 2},
};

constexpr std::array kChromas = {
    NamedValue{"420", int32_t(Y4mChroma::C420)},
    NamedValue{"422", int32_t(Y4mChroma::C422)},
    NamedValue{"mono", int32_t(Y4mChroma::Mono)},
};

[[noreturn]] void usage(const std::string& message) {
    throw UsageError(message + " (see 'morva --help')");
}

template <size_t N>
int32_t pickName(const std::array<NamedValue, N>& table, std::string_view option, std::string_view value) {
    for (const NamedValue& entry : table)
        if (entry.name == value) return entry.value;
    std::string choices;
    for (const NamedValue& entry : table) choices += (choices.empty() ? "" : "|") + std::string(entry.name);
    usage(std::string(option) + ": unknown value '" + std::string(value) + "' (" + choices + ")");
}

// A whole decimal number within [low, high].
std::optional<int64_t> parseNumber(std::string_view text, int64_t low, int64_t high) {
    int64_t value = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size() || value < low || value > high)
        return std::nullopt;
    return value;
}

std::vector<std::string_view> splitAt(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    for (size_t start = 0;;) {
        const size_t end = text.find(separator, start);
        parts.push_back(text.substr(start, end - start));
        if (end == std::string_view::npos) return parts;
        start = end + 1;
    }
}

void parseSize(std::string_view value, ComposeOptions& options) {
    std::string lower(value);
    std::replace(lower.begin(), lower.end(), 'X', 'x');
    const auto parts = splitAt(lower, 'x');
    std::optional<int64_t> width, height;
    if (parts.size() == 2) width = parseNumber(parts[0], 1, kMaxSide), height = parseNumber(parts[1], 1, kMaxSide);
    if (!width || !height)
        usage("--size: '" + std::string(value) + "' is not WIDTHxHEIGHT with sides 1 to " + std::to_string(kMaxSide));
    options.width = int32_t(*width);
    options.height = int32_t(*height);
}

void parseBackground(std::string_view value, ComposeOptions& options) {
    const auto parts = splitAt(value, ',');
    std::array<std::optional<int64_t>, 3> levels;
    if (parts.size() == 3)
        for (size_t i = 0; i < 3; ++i) levels[i] = parseNumber(parts[i], 0, 255);
    if (!levels[0] || !levels[1] || !levels[2])
        usage("--background: '" + std::string(value) + "' is not R,G,B with levels 0 to 255");
    options.background = {uint8_t(*levels[0]), uint8_t(*levels[1]), uint8_t(*levels[2])};
}

OutputKind outputKindOf(const std::string& path) {
    std::string suffix = path.size() >= 4 ? path.substr(path.size() - 4) : "";
    std::transform(suffix.begin(), suffix.end(), suffix.begin(), [](unsigned char c) { return char(std::tolower(c)); });
    if (suffix == ".png") return OutputKind::Png;
    if (suffix == ".y4m") return OutputKind::Y4m;
    usage("output '" + path + "' must end in .png or .y4m");
}

struct ValueOption {
    std::string_view name;
    std::function<void(std::string_view, ComposeOptions&)> apply;
};

const std::vector<ValueOption>& valueOptions() {
    static const std::vector<ValueOption> options = {
        {"--layout", [](std::string_view v, ComposeOptions& o) {
             if (v.empty()) usage("--layout: the layout text is empty");
             o.layout = v;
         }},
        {"--size", parseSize},
        {"--format", [](std::string_view v, ComposeOptions& o) {
             const auto format = formatByName(v);
             if (!format) {
                 std::string choices;
                 for (const FormatName& f : formatNames()) choices += (choices.empty() ? "" : "|") + std::string(f.name);
                 usage("--format: unknown format '" + std::string(v) + "' (" + choices + ")");
             }
             o.format = *format;
         }},
        {"--scale", [](std::string_view v, ComposeOptions& o) { o.scaleMode = pickName(kScaleModes, "--scale", v); }},
        {"--interpolation", [](std::string_view v, ComposeOptions& o) {
             o.interpolation = pickName(kInterpolations, "--interpolation", v);
         }},
        {"--background", parseBackground},
        {"--chroma", [](std::string_view v, ComposeOptions& o) {
             o.chroma = Y4mChroma(pickName(kChromas, "--chroma", v));
         }},
        {"--frames", [](std::string_view v, ComposeOptions& o) {
             o.maxFrames = parseNumber(v, 1, INT32_MAX);
             if (!o.maxFrames) usage("--frames: '" + std::string(v) + "' is not a positive count");
         }},
        {"--output", [](std::string_view v, ComposeOptions& o) {
             if (v.empty()) usage("--output: the file name is empty");
             o.output = v;
         }},
    };
    return options;
}

ComposeOptions parseCompose(int argc, const char* const* argv) {
    ComposeOptions options;
    bool optionsEnded = false;
    for (int i = 2; i < argc; ++i) {
        std::string_view arg = argv[i];
        if (optionsEnded || arg.size() < 2 || arg[0] != '-') {
            options.inputs.emplace_back(arg);
            continue;
        }
        if (arg == "--") {
            optionsEnded = true;
            continue;
        }
        if (arg == "--antialias") {
            options.antialias = true;
            continue;
        }
        if (arg == "--quiet" || arg == "-q") {
            options.quiet = true;
            continue;
        }
        const size_t equals = arg.find('=');
        const std::string_view spelled = arg.substr(0, equals);
        const std::string_view name = spelled == "-o" ? "--output" : spelled;
        const auto option = std::find_if(valueOptions().begin(), valueOptions().end(),
                                         [&](const ValueOption& o) { return o.name == name; });
        if (option == valueOptions().end()) usage("unknown option '" + std::string(arg) + "'");
        std::string_view value;
        if (equals != std::string_view::npos) {
            value = arg.substr(equals + 1);
        } else {
            if (i + 1 >= argc) usage(std::string(spelled) + " needs a value");
            value = argv[++i];
        }
        option->apply(value, options);
    }
    if (options.output.empty()) usage("compose needs an output file: -o out.png or -o out.y4m");
    options.outputKind = outputKindOf(options.output);
    if (options.chroma && options.outputKind != OutputKind::Y4m) usage("--chroma applies to .y4m output only");
    return options;
}

}  // namespace

CommandLine parseCommandLine(int argc, const char* const* argv) {
    CommandLine line;
    const std::string_view command = argc > 1 ? argv[1] : "";
    if (command == "--help" || command == "-h" || command == "help") {
        line.command = Command::Help;
    } else if (command == "--version") {
        line.command = Command::Version;
    } else if (command == "compose") {
        const bool wantsHelp = std::any_of(argv + 2, argv + argc, [](const char* a) {
            return std::string_view(a) == "--help" || std::string_view(a) == "-h";
        });
        line.command = wantsHelp ? Command::Help : Command::Compose;
        if (!wantsHelp) line.compose = parseCompose(argc, argv);
    } else if (command.empty()) {
        usage("no command given");
    } else {
        usage("unknown command '" + std::string(command) + "'");
    }
    return line;
}

namespace {
bool packsColoursInOneNumber(int32_t format) { return format == FORMAT_RGB565 || format == FORMAT_RGB555; }
}  // namespace

int32_t interpolationValue(const ComposeOptions& options) {
    const int32_t id = options.interpolation.value_or(packsColoursInOneNumber(options.format) ? INTER_NN : INTER_LINEAR);
    return id | (options.antialias ? RESIZE_ANTIALIASING : 0);
}

std::vector<std::string> compositionWarnings(const ComposeOptions& options) {
    std::vector<std::string> warnings;
    if (options.format == FORMAT_NV12)
        warnings.push_back("in nv12 the library resizes the interleaved Cb and Cr as one channel: "
                           "inputs that are scaled get wrong colours");
    if (options.format == FORMAT_YUY2)
        warnings.push_back("in yuy2 the library's resize draws every input from the top left corner, "
                           "whatever its cell");
    if (packsColoursInOneNumber(options.format) && options.interpolation.value_or(INTER_NN) != INTER_NN)
        warnings.push_back("in " + std::string(nameOfFormat(options.format)) +
                           " the library interpolates each pixel as one number: colours will be wrong "
                           "(use --interpolation nn)");
    return warnings;
}

std::string helpText() {
    std::string formats;
    for (const FormatName& f : formatNames())
        formats += "                         " + std::string(f.name) +
                   std::string(9 - std::min<size_t>(f.name.size(), 8), ' ') + std::string(f.description) + "\n";
    return R"(usage: morva compose [options] -o OUTPUT [INPUT...]
       morva --help | --version

Composes the inputs into one picture by a layout of rows and columns, and
writes it as PNG, or as YUV4MPEG2 video when inputs are videos.

Inputs are PNG files (any colour type and depth; transparency is flattened
onto the background colour, since composition copies and does not blend) and
YUV4MPEG2 videos with 8-bit 4:2:0, 4:2:2 or mono frames. With no input the
tool composes its eight built-in test patterns, one in each of the formats
RGB32, I420, YUY2, UYVY, NV12, RGB565, RGB24 and YV12.

Options:
  -o, --output FILE      .png: one picture, built from the first frame of every
                         video. .y4m: a video (see below). Required.
  --layout TEXT          "name:value;" pairs: rows, columns, and width, height,
                         margin-left, margin-top, margin-right, margin-bottom in
                         percent of a cell; every pair ends in ';'. Input i takes
                         cell i, row by row. Default: the grid, with at least as
                         many columns as rows, that gives the inputs the most
                         room, e.g. "rows:2;columns:2;" for 4 inputs in 1280x720
                         and "rows:3;columns:3;" for the 8 test patterns.
                         Layouts that put an input outside the target, leave
                         inputs without a cell, or have more rows than columns
                         are refused.
  --size WxH             target size, default 1280x720. Widths are rounded up to
                         a multiple of 4 and heights to a multiple of 2, and the
                         output has the rounded size.
  --format NAME          format of the target that the inputs are composed in,
                         default bgra:
)" + formats + R"(                         An input whose direct conversion into the target would
                         exchange Cb and Cr or red and blue (yuy2 into planar
                         formats, i420 and yv12 into each other, uyvy into
                         bgr24) first goes through a format that keeps its
                         colours. Two targets give a warning: in nv12 the
                         library resizes the interleaved chroma as one channel,
                         and in yuy2 it draws every input from the top left.
  --scale MODE           fit (default): whole input, centred, aspect kept;
                         fill: cell covered, aspect kept, right or bottom cut;
                         stretch: cell filled, aspect changed.
  --interpolation NAME   nn, linear, cubic, bspline, catmullrom, b05c03, super
                         (reduction only: an input that has to be enlarged
                         stays out), lanczos. Default linear, but nn for rgb565
                         and rgb555 targets, whose 16-bit pixels the library
                         interpolates as one number (another gives a warning).
  --antialias            antialiased reduction (not with nn or super).
  --background R,G,B     colour around and between the inputs, default 0,0,0.
  --chroma 420|422|mono  chroma of .y4m output. Default: 422 for the 4:2:2
                         target formats (yuy2, uyvy, yuv422p), else 420.
  --frames N             write at most N frames.
  -q, --quiet            no progress display.

Videos: frames are composed one by one into the output video, which runs as
long as the longest input; a shorter video holds its last frame and a PNG
input stands on every frame. The output's frame rate is that of the first
video input, else 25:1. A progress bar goes to stderr while a video is being
written, when stderr is a terminal; otherwise nothing is shown.

Exit status: 0 on success, 1 when an input, the output or the composition
fails, 2 for a bad command line; the reason is told in one line on stderr.
)";
}

}  // namespace morvatool
