// The tool's reading of a layout text, to refuse layouts that the library
// would act on badly: it divides by a zero row or column count, and it trusts
// the cell rectangles, so a cell outside the target would be written outside
// the image.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace morvatool {

struct GridLayout {
    int64_t rows = 1;
    int64_t columns = 1;
    std::optional<int64_t> width, height;  // percentages of a cell
    std::optional<int64_t> marginLeft, marginTop, marginRight, marginBottom;
};

// Reads "name:value;" pairs as the library does: names in any case, blanks
// around names and values ignored, a later pair wins, a value read as a
// leading decimal number (no digits read as 0), an empty value as no value,
// and a text without any ';' as holding no pair at all.
GridLayout parseLayoutText(std::string_view text);

struct CellRect {
    int64_t x, y, width, height;
};

// The rectangle of input `index`, by the library's arithmetic. Its row is
// bounded by the column count, as the library bounds it.
CellRect cellOf(int64_t index, const GridLayout& layout, int32_t targetWidth, int32_t targetHeight);

// Throws UsageError unless `count` inputs each get a cell of their own inside
// the target.
void checkPlacement(std::string_view text, int64_t count, int32_t targetWidth, int32_t targetHeight);

// A grid with at least as many columns as rows (the library can't reach more
// rows than columns) that gives pictures of the given aspect ratio the most
// room in the target, and then leaves the fewest cells empty.
std::string defaultLayoutText(int64_t count, int32_t targetWidth, int32_t targetHeight, double aspect);

}  // namespace morvatool
