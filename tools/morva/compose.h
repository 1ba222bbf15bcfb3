// Composition of inputs into one target through the library, frame by frame,
// and the output of the result.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "options.h"

namespace morvatool {

// The format frames take on their way out: what a PNG or Y4M output of
// `chroma` is written from, for a target of `target`.
int32_t outputFormat(const TargetFormat& target, OutputKind kind, Y4mChroma chroma);

// The chroma of Y4M output for a target format, unless the options name one.
Y4mChroma outputChroma(const ComposeOptions& options);

// Output frame `frame` at `output` frames per second shows this frame of a
// video at `input`.
int64_t inputFrameAt(int64_t frame, const Rate& output, const Rate& input);

// Everything `morva compose` does. Notes and the summary go to stderr unless
// quiet. Throws ToolError.
void compose(const ComposeOptions& options);

}  // namespace morvatool
