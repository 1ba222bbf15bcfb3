#include "options.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <functional>

#include "format_names.h"
#include "method_names.h"

namespace morvatool {

namespace {

using morvanames::NamedValue;

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

// NUM, NUM/DEN or NUM:DEN frames per second.
void parseRate(std::string_view value, ComposeOptions& options) {
    const size_t slash = value.find_first_of("/:");
    const auto numerator = parseNumber(value.substr(0, slash), 1, 1000000);
    const auto denominator = slash == std::string_view::npos ? std::optional<int64_t>(1)
                                                             : parseNumber(value.substr(slash + 1), 1, 1000000);
    if (!numerator || !denominator)
        usage("--rate: '" + std::string(value) + "' is not a frame rate such as 25, 30000/1001 or 24:1");
    options.rate = Rate{*numerator, *denominator};
}

OutputKind outputKindOf(const std::string& path) {
    if (path == "-") return OutputKind::Y4m;
    std::string suffix = path.size() >= 4 ? path.substr(path.size() - 4) : "";
    std::transform(suffix.begin(), suffix.end(), suffix.begin(), [](unsigned char c) { return char(std::tolower(c)); });
    if (suffix == ".png") return OutputKind::Png;
    if (suffix == ".y4m") return OutputKind::Y4m;
    usage("output '" + path + "' must end in .png or .y4m (or be - for YUV4MPEG2 on standard output)");
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
             const auto target = targetByName(v);
             if (!target) {
                 std::string choices;
                 for (const TargetFormat& t : targetFormats()) choices += (choices.empty() ? "" : "|") + formatName(t.format);
                 usage("--format: unknown format '" + std::string(v) + "' (" + choices + ")");
             }
             o.target = *target;
         }},
        {"--scale", [](std::string_view v, ComposeOptions& o) { o.scaleMode = pickName(morvanames::kScaleModeNames, "--scale", v); }},
        {"--interpolation", [](std::string_view v, ComposeOptions& o) {
             o.interpolation = pickName(morvanames::kInterpolationNames, "--interpolation", v);
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
             if (!o.output.empty()) usage("-o given twice ('" + o.output + "' and '" + std::string(v) + "')");
             o.output = v;
         }},
        {"--rate", parseRate},
    };
    return options;
}

struct Flag {
    std::string_view name;
    void (*apply)(ComposeOptions&);
};

constexpr Flag kFlags[] = {
    {"--antialias", [](ComposeOptions& o) { o.antialias = true; }},
    {"--quiet", [](ComposeOptions& o) { o.quiet = true; }},
    {"-q", [](ComposeOptions& o) { o.quiet = true; }},
    {"--show", [](ComposeOptions& o) { o.show = true; }},
    {"-y", [](ComposeOptions& o) { o.overwrite = Overwrite::Yes; }},
    {"-n", [](ComposeOptions& o) { o.overwrite = Overwrite::No; }},
};

std::string_view longName(std::string_view spelled) {
    if (spelled == "-o") return "--output";
    if (spelled == "-r") return "--rate";
    return spelled;
}

// Options that contradict each other or the output.
void checkCombinations(const ComposeOptions& o) {
    const int32_t method = o.interpolation.value_or(INTER_LINEAR);
    if (o.antialias && (method == INTER_NN || method == INTER_SUPER))
        usage("--antialias applies to interpolations that filter (not nn or super)");
    if (o.outputKind != OutputKind::Y4m && o.chroma) usage("--chroma applies to .y4m output only");
    if (o.outputKind == OutputKind::Png && o.maxFrames) usage("--frames applies to .y4m output only (a PNG holds one frame)");
    if (o.output == "-" && o.show) usage("--show and output to standard output don't go together");
    if (std::count(o.inputs.begin(), o.inputs.end(), "-") > 1) usage("standard input ('-') can be read once only");
}

ComposeOptions parseCompose(int argc, const char* const* argv, bool show) {
    ComposeOptions options;
    options.show = show;
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
        const auto flag = std::find_if(std::begin(kFlags), std::end(kFlags), [&](const Flag& f) { return f.name == arg; });
        if (flag != std::end(kFlags)) {
            flag->apply(options);
            continue;
        }
        const size_t equals = arg.find('=');
        const std::string_view spelled = arg.substr(0, equals);
        const std::string_view name = longName(spelled);
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
    if (options.output.empty() && !options.show)
        usage("compose needs an output: -o out.png, -o out.y4m or -o - (or --show to watch it)");
    if (!options.output.empty()) options.outputKind = outputKindOf(options.output);
    checkCombinations(options);
    return options;
}

}  // namespace

CommandLine parseCommandLine(int argc, const char* const* argv) {
    CommandLine line;
    const std::string_view command = argc > 1 ? argv[1] : "";
    const auto anywhere = [&](std::string_view a, std::string_view b) {
        return std::any_of(argv + 1, argv + argc, [&](const char* arg) { return arg == a || arg == b; });
    };
    if (command == "help" || anywhere("--help", "-h")) {
        line.command = Command::Help;
    } else if (anywhere("--version", "-V")) {
        line.command = Command::Version;
    } else if (command == "compose" || command == "show") {
        line.command = Command::Compose;
        line.compose = parseCompose(argc, argv, command == "show");
    } else if (command.empty()) {
        usage("no command given");
    } else {
        usage("unknown command '" + std::string(command) + "'");
    }
    return line;
}

int32_t interpolationValue(const ComposeOptions& options) {
    return options.interpolation.value_or(INTER_LINEAR) | (options.antialias ? RESIZE_ANTIALIASING : 0);
}

std::string helpText() {
    std::string formats;
    for (const TargetFormat& target : targetFormats()) {
        const morvanames::FormatName* entry = nullptr;
        for (const auto& e : morvanames::kFormatNames)
            if (e.format == target.format) entry = &e;
        std::string names = std::string(entry->names[0]);
        for (size_t i = 1; i < entry->names.size(); ++i)
            if (!entry->names[i].empty()) names += " (" + std::string(entry->names[i]) + ")";
        formats += "      " + names + std::string(names.size() < 19 ? 19 - names.size() : 1, ' ') +
                   std::string(entry->description) + "\n";
    }
    return R"(usage: morva compose [options] -o OUTPUT [INPUT...]
       morva show [options] [INPUT...]        (compose --show without an output)
       morva --help | --version

Composes the inputs into one picture by a layout of rows and columns through
the morva library, and writes it as PNG, or as YUV4MPEG2 video.

Inputs are PNG files (any colour type and depth; transparency is flattened
onto the background colour, since composition copies and does not blend) and
YUV4MPEG2 videos: 4:2:0, 4:2:2, 4:4:4, 4:1:1 and mono, 8 to 16 bits, video
or full range ("-" reads one from standard input). What reading changes is
noted on stderr: 4:4:4 chroma is averaged in pairs across, samples of more
than 8 bits are rounded to 8, full range is mapped to video range. A video
whose last frame is cut off, or that has bytes after its frames, gives the
frames it has (with a note). With no input the tool composes its eight
built-in test patterns, one in each of the formats RGB32, I420, YUY2, UYVY,
NV12, RGB565, RGB24 and YV12.

Options:
  -o, --output FILE      .png: one picture (the first frame of every video).
                         .y4m, or - for standard output: a video. The file
                         appears when it is complete; it never names an input.
  -y / -n                overwrite an existing output / never overwrite. Without
                         either, the tool asks on a terminal and refuses
                         otherwise.
  --layout TEXT          "name:value;" pairs: rows, columns, and width, height,
                         margin-left, margin-top, margin-right, margin-bottom in
                         percent of a cell. Input i takes cell i, row by row;
                         inputs sit at the cell's top left unless margins say
                         otherwise. A margin without a size on its axis leaves
                         the input what the margins leave of the cell
                         ("margin-left:10;" gives "width:90;"). Default: the
                         grid that gives the inputs the most room, e.g.
                         "rows:2;columns:2;" for 4 inputs in 1280x720. Layouts
                         that put an input outside the target, leave inputs
                         without a cell or use an unknown key are refused.
  --size WxH             target size, default 1280x720. Widths are rounded up to
                         a multiple of 4 and heights to a multiple of 2, and the
                         output has the rounded size.
  --format NAME          pixel format of the target, default bgra:
)" + formats + R"(                         Targets in which the library's composition would
                         misplace or mix pixels (yv12, nv12, yuyv422, uyvy422,
                         rgb565, rgb555, gray) are composed in yuv420p, yuv422p
                         or bgr24 and converted after composing.
  --scale MODE           fit (default): whole input, centred, aspect kept;
                         fill: cell covered, aspect kept, right or bottom cut;
                         stretch: cell filled, aspect changed.
  --interpolation NAME   nn, linear (default), cubic, bspline, catmullrom,
                         b05c03, super, lanczos. super only reduces: an input
                         that is enlarged is drawn with linear (with a note).
  --antialias            antialiased reduction (not with nn or super).
  --background R,G,B     colour around and between the inputs, default 0,0,0.
  --chroma 420|422|mono  chroma of .y4m output. Default: 422 for yuyv422,
                         uyvy422 and yuv422p, mono for gray, else 420.
  -r, --rate N[/D]       frame rate of a video output (see Videos).
  --frames N             write at most N frames (video output).
  --show                 play the composition in a window as it is made, at
                         its frame rate; the window stays until it is closed
                         (q or Esc).
  -q, --quiet            no progress line, no summary, no notes.

Colours: YCbCr is BT.601 in video range (Y 16 to 235), as the library's own
converters use, for the background and every conversion the tool makes
itself; 16-bit RGB fields are rounded to the nearest level and widen back to
full levels (white stays 255); gray is full range (0 to 255). Video output is
tagged XCOLORRANGE=LIMITED, or FULL for gray.

Videos: output frame k shows, of each video, the frame due at time k / rate,
so inputs of different frame rates keep their speed: frames are repeated or
skipped as needed. The rate is --rate, else the first video's (a note says so
when the videos differ), else 25. The output runs as long as the longest
input; a shorter video holds its last frame, and a picture stands on every
frame. Reading, composing (two frames at once on two cores) and writing run
in separate threads.

Progress: on a terminal, a line with frames, frames per second and the time
left; at the end one summary line on stderr.

Exit status: 0 on success, 1 when an input, the output or the composition
fails, 2 for a bad command line; the reason is told in one line on stderr.
)";
}

}  // namespace morvatool
