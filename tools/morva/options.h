// The command line of the morva tool.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "images.h"
#include "inputs.h"
#include "output.h"
#include "targets.h"
#include "y4m_io.h"

namespace morvatool {

enum class OutputKind { None, Png, Y4m };

struct ComposeOptions {
    std::string layout;  // empty: a grid for the number of inputs
    int32_t width = 1280;
    int32_t height = 720;
    TargetFormat target{FORMAT_RGB32, FORMAT_RGB32};
    int32_t scaleMode = 1;                 // fit
    std::optional<int32_t> interpolation;  // unset: linear
    bool antialias = false;
    Rgb background;
    std::string output;  // "-": standard output; empty: none (with --show)
    OutputKind outputKind = OutputKind::None;
    std::optional<Y4mChroma> chroma;  // Y4M output; unset: follows the target format
    std::optional<int64_t> maxFrames;
    std::optional<Rate> rate;
    Overwrite overwrite = Overwrite::Ask;
    bool quiet = false;
    bool show = false;
    std::vector<std::string> inputs;
};

enum class Command { Help, Version, Compose };

struct CommandLine {
    Command command = Command::Help;
    ComposeOptions compose;
};

// Throws UsageError with a one-line message for anything it can't accept.
CommandLine parseCommandLine(int argc, const char* const* argv);

std::string helpText();

// The interpolation value that a source's attributes get.
int32_t interpolationValue(const ComposeOptions& options);

}  // namespace morvatool
