// The table of the 22 pixel formats.
#pragma once

#include <cstdint>

namespace morva {

struct PlaneGroup {
    int32_t subW;        // horizontal divisor
    int32_t subH;        // vertical divisor
    int32_t channels;    // samples per unit (a packed macro-pixel counts all its bytes)
    int32_t alignFactor; // multiplier of the line alignment
};

struct PixelFormatRow {
    int32_t id;
    int32_t planes;
    int32_t bits;
    int32_t lineAlign;
    PlaneGroup group[4];
};

// The row of a format id, or null.
const PixelFormatRow* findFormatRow(int32_t format);

// The compression code of a bitmap header for a format id; 0 where none.
uint32_t fourccFromFormat(int32_t format);

constexpr uint32_t makeFourcc(char a, char b, char c, char d) {
    return uint32_t(uint8_t(a)) | uint32_t(uint8_t(b)) << 8 | uint32_t(uint8_t(c)) << 16 |
           uint32_t(uint8_t(d)) << 24;
}

}  // namespace morva
