#include "layout_check.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "images.h"

namespace morvatool {

namespace {

// Tokens between delimiters, and the rest behind the last one if it is not
// empty; a text without the delimiter yields nothing. With a limit, splitting
// stops after that many delimiters and the rest is one more token.
std::vector<std::string_view> split(std::string_view text, char delimiter, size_t limit) {
    std::vector<std::string_view> tokens;
    size_t position = 0;
    for (size_t found; (found = text.find(delimiter, position)) != std::string_view::npos;) {
        tokens.push_back(text.substr(position, found - position));
        position = found + 1;
        if (limit != 0 && tokens.size() == limit) break;
    }
    if (!tokens.empty() && position < text.size()) tokens.push_back(text.substr(position));
    return tokens;
}

std::string_view trimBlanks(std::string_view text) {
    const size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

bool sameName(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::toupper(static_cast<unsigned char>(x)) == std::toupper(static_cast<unsigned char>(y));
           });
}

// strtol's reading, bounded to 32 bits.
int64_t leadingInteger(std::string_view value) {
    const std::string text(value);
    errno = 0;
    const long long number = std::strtoll(text.c_str(), nullptr, 10);
    return std::clamp<long long>(number, INT32_MIN, INT32_MAX);
}

int64_t percentOf(int64_t percent, int64_t length) {
    return int64_t(std::trunc(double(percent) * double(length) / 100.0));
}

// Offset and length of a cell along one axis, by a size and two margins.
void place(int64_t& start, int64_t& length, int64_t cellLength, const std::optional<int64_t>& size,
           const std::optional<int64_t>& before, const std::optional<int64_t>& after) {
    length = size ? percentOf(*size, cellLength) : cellLength;
    if (before)
        start += percentOf(*before, cellLength);
    else if (after)
        start += cellLength - length - percentOf(*after, cellLength);
}

}  // namespace

GridLayout parseLayoutText(std::string_view text) {
    GridLayout layout;
    struct Key {
        std::string_view name;
        std::optional<int64_t>* field;
    };
    std::optional<int64_t> rows, columns;
    const Key keys[] = {{"rows", &rows},
                        {"columns", &columns},
                        {"width", &layout.width},
                        {"height", &layout.height},
                        {"margin-left", &layout.marginLeft},
                        {"margin-top", &layout.marginTop},
                        {"margin-right", &layout.marginRight},
                        {"margin-bottom", &layout.marginBottom}};
    for (std::string_view pair : split(text, ';', 0)) {
        const std::vector<std::string_view> parts = split(pair, ':', 2);
        if (parts.size() != 2) continue;
        const std::string_view name = trimBlanks(parts[0]), value = trimBlanks(parts[1]);
        const auto key = std::find_if(std::begin(keys), std::end(keys), [&](const Key& k) { return sameName(name, k.name); });
        if (key == std::end(keys))
            layout.unknownKeys.emplace_back(name);
        else
            *key->field = value.empty() ? std::nullopt : std::optional(leadingInteger(value));
    }
    layout.rows = rows.value_or(1);
    layout.columns = columns.value_or(1);
    return layout;
}

std::string completeLayoutText(std::string_view text) {
    std::string completed(text);
    if (completed.find_last_not_of(' ') != std::string::npos && completed[completed.find_last_not_of(' ')] != ';')
        completed += ';';
    const GridLayout layout = parseLayoutText(completed);
    const auto sizeFromMargins = [&](const std::optional<int64_t>& size, const std::optional<int64_t>& before,
                                     const std::optional<int64_t>& after, const char* key) {
        if (!size && (before || after))
            completed += std::string(key) + ":" + std::to_string(100 - before.value_or(0) - after.value_or(0)) + ";";
    };
    sizeFromMargins(layout.width, layout.marginLeft, layout.marginRight, "width");
    sizeFromMargins(layout.height, layout.marginTop, layout.marginBottom, "height");
    return completed;
}

CellRect cellOf(int64_t index, const GridLayout& layout, int32_t targetWidth, int32_t targetHeight) {
    const int64_t column = index % layout.columns;
    const int64_t row = index / layout.columns;
    const int64_t cellWidth = targetWidth / layout.columns, cellHeight = targetHeight / layout.rows;
    CellRect cell{cellWidth * column, cellHeight * row, 0, 0};
    place(cell.x, cell.width, cellWidth, layout.width, layout.marginLeft, layout.marginRight);
    place(cell.y, cell.height, cellHeight, layout.height, layout.marginTop, layout.marginBottom);
    return cell;
}

void checkPlacement(std::string_view text, int64_t count, int32_t targetWidth, int32_t targetHeight) {
    const std::string quoted = "layout '" + std::string(text) + "'";
    const GridLayout layout = parseLayoutText(text);
    if (!layout.unknownKeys.empty())
        throw UsageError(quoted + ": unknown key '" + layout.unknownKeys.front() +
                         "' (rows, columns, width, height, margin-left, margin-top, margin-right, margin-bottom)");
    if (layout.rows < 1 || layout.columns < 1) throw UsageError(quoted + " needs at least 1 row and 1 column");
    const int64_t cells = layout.rows * layout.columns;
    if (count > cells)
        throw UsageError(quoted + " has " + std::to_string(cells) + (cells == 1 ? " cell" : " cells") + " for " +
                         std::to_string(count) + " inputs");
    for (int64_t index = 0; index < count; ++index) {
        const std::string input = "input " + std::to_string(index + 1);
        const CellRect cell = cellOf(index, layout, targetWidth, targetHeight);
        if (cell.width < 1 || cell.height < 1)
            throw UsageError(quoted + " gives " + input + " a cell of " + std::to_string(cell.width) + "x" +
                             std::to_string(cell.height) + " pixels");
        if (cell.x < 0 || cell.y < 0 || cell.x + cell.width > targetWidth || cell.y + cell.height > targetHeight)
            throw UsageError(quoted + " places " + input + " outside the " + std::to_string(targetWidth) + "x" +
                             std::to_string(targetHeight) + " target");
    }
}

Placement placeInCell(const CellRect& cell, int32_t sourceWidth, int32_t sourceHeight, int32_t scaleMode) {
    const double xRatio = double(cell.width) / sourceWidth, yRatio = double(cell.height) / sourceHeight;
    Placement placement{cell, xRatio, yRatio};
    if (scaleMode != 0) {
        const double s = scaleMode == 1 ? std::min(xRatio, yRatio) : std::max(xRatio, yRatio);
        placement.xFactor = placement.yFactor = s;
    }
    if (scaleMode == 1) {
        CellRect& r = placement.rect;
        r.width = int32_t(sourceWidth * placement.xFactor);
        r.height = int32_t(sourceHeight * placement.yFactor);
        r.x = cell.x + (cell.width - r.width) / 2;
        r.y = cell.y + (cell.height - r.height) / 2;
    }
    CellRect& r = placement.rect;
    r.x = (r.x + 3) & ~int64_t(3), r.y = (r.y + 3) & ~int64_t(3);
    r.width &= ~int64_t(3), r.height &= ~int64_t(3);
    return placement;
}

std::vector<RenderCall> renderCalls(std::string_view completedText, int64_t count) {
    const GridLayout layout = parseLayoutText(completedText);
    if (layout.rows <= layout.columns) {
        RenderCall call{std::string(completedText), {}};
        for (int64_t index = 0; index < count; ++index) call.inputs.emplace_back(index);
        return {call};
    }
    // Each row is drawn as the first row, moved down by a top margin of whole
    // cells (100 per row, which the library's percentage gives exactly). A
    // bottom margin becomes the top margin it implies, since the top one wins.
    const int64_t height = layout.height.value_or(100);
    const int64_t top = layout.marginTop ? *layout.marginTop
                                         : layout.marginBottom ? 100 - height - *layout.marginBottom : 0;
    std::vector<RenderCall> calls;
    for (int64_t first = 0; first < count; first += layout.columns) {
        const int64_t row = first / layout.columns;
        RenderCall call{std::string(completedText) + "margin-top:" + std::to_string(100 * row + top) + ";", {}};
        for (int64_t index = first; index < std::min(count, first + layout.columns); ++index)
            call.inputs.emplace_back(index);
        calls.push_back(std::move(call));
    }
    return calls;
}

std::string defaultLayoutText(int64_t count, int32_t targetWidth, int32_t targetHeight, double aspect) {
    count = std::max<int64_t>(count, 1);
    int64_t bestRows = 1, bestColumns = count;
    double bestRoom = -1.0;
    for (int64_t columns = 1; columns <= count; ++columns) {
        const int64_t rows = (count + columns - 1) / columns;
        const double room = std::min(double(targetWidth / columns), double(targetHeight / rows) * aspect);
        const bool better = room > bestRoom || (room == bestRoom && rows * columns < bestRows * bestColumns);
        if (better) bestRoom = room, bestRows = rows, bestColumns = columns;
    }
    return "rows:" + std::to_string(bestRows) + ";columns:" + std::to_string(bestColumns) + ";";
}

}  // namespace morvatool
