// Named layouts: a grid of rows and columns, and where a source sits in its
// cell.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace morva {

struct LayoutValue {
    bool present = false;
    bool reserved = false;
    int32_t value = 0;
};

struct LayoutRecord {
    int32_t rows = 1;
    int32_t columns = 1;
    int32_t border = 0;  // read and stored; nothing paints it
    int32_t reserved = 0;
    LayoutValue width;        // percentages of the cell's width or height
    LayoutValue height;
    LayoutValue marginLeft;
    LayoutValue marginTop;
    LayoutValue marginRight;
    LayoutValue marginBottom;
    LayoutValue reservedValues[2];
};

void resetLayout(LayoutRecord& record);
void parseLayout(LayoutRecord& record, const std::string& text);

// A copy of the named layout, or nothing.
std::optional<LayoutRecord> findLayout(const std::string& name);

}  // namespace morva
