// Built-in test pictures, one in each of several formats, so that the tool
// shows a composition with no input at all.
#pragma once

#include <span>
#include <string_view>

#include "canvas.h"

namespace morvatool {

struct PatternDefinition {
    std::string_view name;
    int32_t format;
    int32_t width;
    int32_t height;
    Rgb (*paint)(int32_t x, int32_t y, int32_t width, int32_t height);
};

// Planar, semi-planar, packed and RGB sources of different shapes.
std::span<const PatternDefinition> builtinPatterns();

// The picture of a pattern, labelled with its format and size.
RgbCanvas drawPattern(const PatternDefinition& pattern);

// drawPattern packed into the pattern's format.
ImagePtr makePatternImage(const PatternDefinition& pattern);

}  // namespace morvatool
