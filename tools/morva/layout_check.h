// The tool's reading of a layout text. It refuses layouts that the library
// would act on badly or that cannot give the picture asked for (a zero row or
// column count divides by zero, a cell outside the target, an unknown key that
// the library would silently ignore), and it plans the library calls that
// draw a layout the library can't reach in one call: rows beyond the column
// count.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace morvatool {

struct GridLayout {
    int64_t rows = 1;
    int64_t columns = 1;
    std::optional<int64_t> width, height;  // percentages of a cell
    std::optional<int64_t> marginLeft, marginTop, marginRight, marginBottom;
    std::vector<std::string> unknownKeys;  // as written
};

// Reads "name:value;" pairs as the library does: names in any case, blanks
// around names and values ignored, a later pair wins, a value read as a
// leading decimal number (no digits read as 0), an empty value as no value,
// and a text without any ';' as holding no pair at all.
GridLayout parseLayoutText(std::string_view text);

// The layout text as the tool means it, in the library's notation: the last
// pair needs no ';', and a margin without a size on its axis leaves the input
// what the margins leave of the cell (margin-left:10 gives width:90), rather
// than pushing a full-sized input into the next cell.
std::string completeLayoutText(std::string_view text);

struct CellRect {
    int64_t x, y, width, height;
};

// The rectangle of input `index`, by the library's arithmetic, with the row
// not bounded: the tool reaches rows past the column count (see renderCalls).
CellRect cellOf(int64_t index, const GridLayout& layout, int32_t targetWidth, int32_t targetHeight);

// Throws UsageError unless `count` inputs each get a cell of their own inside
// the target, of at least one pixel.
void checkPlacement(std::string_view text, int64_t count, int32_t targetWidth, int32_t targetHeight);

// Where the library draws a source of the given size in a cell, by a scale
// mode (0 stretch, 1 fit, 2 fill), its position rounded up and its size down
// to multiples of 4; and the factors it scales by.
struct Placement {
    CellRect rect;
    double xFactor, yFactor;
};
Placement placeInCell(const CellRect& cell, int32_t sourceWidth, int32_t sourceHeight, int32_t scaleMode);

// One library render: a layout text and, for each source index, the input
// drawn there (nothing where an index stays empty).
struct RenderCall {
    std::string layout;
    std::vector<std::optional<int64_t>> inputs;
};

// The library bounds an input's row by the column count, so a layout with
// more rows than columns is drawn one row per call, each shifted down by
// whole cells through its top margin. Other layouts are one call.
std::vector<RenderCall> renderCalls(std::string_view completedText, int64_t count);

// A grid with at least as many columns as rows that gives pictures of the
// given aspect ratio the most room in the target, and then leaves the fewest
// cells empty.
std::string defaultLayoutText(int64_t count, int32_t targetWidth, int32_t targetHeight, double aspect);

}  // namespace morvatool
