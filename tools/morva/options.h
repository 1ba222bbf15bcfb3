// The command line of the morva tool.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "images.h"
#include "y4m_io.h"

namespace morvatool {

enum class OutputKind { Png, Y4m };

struct ComposeOptions {
    std::string layout;  // empty: a near-square grid for the number of inputs
    int32_t width = 1280;
    int32_t height = 720;
    int32_t format = 11;          // FORMAT_RGB32
    int32_t scaleMode = 1;        // fit
    std::optional<int32_t> interpolation;  // unset: by the target format
    bool antialias = false;
    Rgb background;
    std::string output;
    OutputKind outputKind = OutputKind::Png;
    std::optional<Y4mChroma> chroma;  // Y4M output; unset: follows the target format
    std::optional<int64_t> maxFrames;
    bool quiet = false;
    std::vector<std::string> inputs;
};

enum class Command { Help, Version, Compose };

struct CommandLine {
    Command command = Command::Help;
    ComposeOptions compose;
};

// Throws ToolError with a one-line message for anything it can't accept.
CommandLine parseCommandLine(int argc, const char* const* argv);

std::string helpText();

// The interpolation value that a source's attributes get: the one asked for,
// else linear, or nearest neighbour for the 16-bit RGB targets, whose pixels
// the library interpolates as one number across the colour fields.
int32_t interpolationValue(const ComposeOptions& options);

// What the user should know before a composition in these options gives a
// picture they may not expect: targets whose resize the library defines in a
// way that misplaces or discolours inputs, and interpolations that mix
// unlike samples. One line each.
std::vector<std::string> compositionWarnings(const ComposeOptions& options);

}  // namespace morvatool
