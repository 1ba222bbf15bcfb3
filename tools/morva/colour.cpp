#include "colour.h"

#include <algorithm>

namespace morvatool {

namespace {

uint8_t clampByte(int value) { return uint8_t(std::clamp(value, 0, 255)); }

// value * to / from, rounded to nearest, for value >= 0.
int scaleRounded(int value, int to, int from) { return (value * to + from / 2) / from; }

uint8_t quantise(uint8_t level, int bits) { return uint8_t(scaleRounded(level, (1 << bits) - 1, 255)); }

uint8_t widen(unsigned field, int bits) { return uint8_t(field << (8 - bits) | field >> (2 * bits - 8)); }

}  // namespace

Ycbcr toYcbcr(Rgb c) {
    const int r = c.red, g = c.green, b = c.blue;
    return {clampByte(((66 * r + 129 * g + 25 * b + 128) >> 8) + 16),
            clampByte(((-38 * r - 74 * g + 112 * b + 128) >> 8) + 128),
            clampByte(((112 * r - 94 * g - 18 * b + 128) >> 8) + 128)};
}

uint8_t fullToVideoLuma(int full) { return uint8_t(16 + scaleRounded(std::clamp(full, 0, 255), 219, 255)); }

uint8_t fullToVideoChroma(int full) {
    const int offset = std::clamp(full, 0, 255) - 128;
    const int scaled = scaleRounded(offset < 0 ? -offset : offset, 224, 255);
    return uint8_t(128 + (offset < 0 ? -scaled : scaled));
}

uint8_t videoToFullLuma(int video) { return clampByte(scaleRounded(std::clamp(video, 16, 235) - 16, 255, 219)); }

uint16_t packRgb565(Rgb c) {
    return uint16_t(quantise(c.red, 5) << 11 | quantise(c.green, 6) << 5 | quantise(c.blue, 5));
}

uint16_t packRgb555(Rgb c) {
    return uint16_t(quantise(c.red, 5) << 10 | quantise(c.green, 5) << 5 | quantise(c.blue, 5));
}

Rgb unpackRgb565(uint16_t p) { return {widen(p >> 11 & 31, 5), widen(p >> 5 & 63, 6), widen(p & 31, 5)}; }

Rgb unpackRgb555(uint16_t p) { return {widen(p >> 10 & 31, 5), widen(p >> 5 & 31, 5), widen(p & 31, 5)}; }

uint8_t roundTo8Bits(uint32_t sample, int bits) {
    const int shift = bits - 8;
    return uint8_t(std::min<uint32_t>((sample + (1u << (shift - 1))) >> shift, 255));
}

}  // namespace morvatool
