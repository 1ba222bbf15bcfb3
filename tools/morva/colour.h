// The tool's one colour model, used wherever the tool itself turns one kind
// of pixel into another (background, test patterns, 16-bit RGB, grey, Y4M
// inputs of other ranges and depths):
//
//  - YCbCr is ITU-R BT.601 in video range: Y 16 (black) to 235 (white),
//    Cb and Cr centred on 128 within 16 to 240. The library's converters use
//    the same matrix, so colours the tool makes and colours the library
//    converts meet.
//  - 16-bit RGB fields are rounded from 8 bits to the nearest level, and
//    widened again by repeating their high bits, so that a full field is 255.
//  - Grey ("gray") is full range: 0 black, 255 white, as in PNG.
#pragma once

#include <cstdint>

#include "images.h"

namespace morvatool {

struct Ycbcr {
    uint8_t y, cb, cr;
};

Ycbcr toYcbcr(Rgb colour);

// Full-range levels to video range and back.
uint8_t fullToVideoLuma(int full);
uint8_t fullToVideoChroma(int full);
uint8_t videoToFullLuma(int video);

// 16-bit pixels: 5-6-5 (red high) and 5-5-5 (bit 15 zero).
uint16_t packRgb565(Rgb colour);
uint16_t packRgb555(Rgb colour);
Rgb unpackRgb565(uint16_t pixel);
Rgb unpackRgb555(uint16_t pixel);

// A sample of `bits` bits (9 to 16) rounded to 8 bits.
uint8_t roundTo8Bits(uint32_t sample, int bits);

}  // namespace morvatool
