// Fixed-point arithmetic of the BGR to YCbCr kernels, per pixel.
//
// Two kinds of arithmetic convert a pixel, and they differ by a level now and
// then, on purpose:
//   - the exact forms, 32-bit signed, which the row tails use;
//   - the lane forms, which the vector bodies compute in 16-bit lanes (unsigned
//     high-half products, saturating additions). They are written here lane op
//     by lane op, so that scalar code reproduces a vector body bit for bit.
// Which columns of a row take which kind is decided in bgr_to_ycbcr.cpp.
#pragma once

#include <cstdint>
#include <cstring>

namespace morva {

// The source pixel formats: 24-bit BGR, 32-bit BGRA (alpha never read),
// 16-bit 5-6-5 and 5-5-5 words.
enum class BgrSource { Bgr24, Bgra32, Bgr565, Bgr555 };

// Everything below has internal linkage: this header is included by files
// built with higher instruction-set flags, and an inline function with external
// linkage could be merged at link time with a copy compiled for AVX2 and then
// run on a processor without it.
namespace {

struct Rgb {
    int32_t r, g, b;
};

constexpr Rgb operator+(Rgb a, Rgb b) { return {a.r + b.r, a.g + b.g, a.b + b.b}; }

template <BgrSource S>
constexpr int32_t kPixelBytes = S == BgrSource::Bgr24 ? 3 : S == BgrSource::Bgra32 ? 4 : 2;

// Where a 16-bit word keeps its green and red fields: (w >> shift) & mask
// gives the channel's 8-bit value; blue is always (w << 3) & 0xF8 and red's
// mask always 0xF8. A field is shifted, not scaled: a full 5-bit field counts
// as 248, a full 6-bit one as 252. Bit 15 of a 5-5-5 word is not read.
struct Bgr16Fields {
    int greenShift, greenMask, redShift;
};
constexpr Bgr16Fields kBgr555Fields{2, 0xF8, 7};
constexpr Bgr16Fields kBgr565Fields{3, 0xFC, 8};

// One pixel as 8-bit channel values.
template <BgrSource S>
inline Rgb loadPixel(const uint8_t* p) {
    if constexpr (S == BgrSource::Bgr24 || S == BgrSource::Bgra32) {
        return {p[2], p[1], p[0]};
    } else {
        constexpr const Bgr16Fields& f = S == BgrSource::Bgr565 ? kBgr565Fields : kBgr555Fields;
        const int32_t w = int32_t(p[0]) | int32_t(p[1]) << 8;
        return {(w >> f.redShift) & 0xF8, (w >> f.greenShift) & f.greenMask, (w << 3) & 0xF8};
    }
}

// ---------------------------------------------------------------------------
// Exact forms. Y carries 16.5 (16 and a half for rounding). Chroma offsets
// are given negative and the result is stored as its low 8 bits: 256 is lost
// in the store, so the offset is in effect 128 plus a fraction.

constexpr uint8_t lumaExact(Rgb p) {
    return uint8_t((6423 * p.b + 33030 * p.g + 16843 * p.r + 0x108000) >> 16);
}

// Offsets subtracted from the chroma sums, and the shift that divides a sum of
// 1, 2 or 4 pixels.
struct ChromaForm {
    int32_t cbOffset;
    int32_t crOffset;
    int shift;
};

// Sums of 4:2:2 pairs, 4:2:0 blocks and lone last pixels: offset 128.125.
constexpr ChromaForm kPairChroma{0xFFC000, 0xFFC000, 17};
constexpr ChromaForm kBlockChroma{0x1FF8000, 0x1FF8000, 18};
constexpr ChromaForm kLoneChroma{0x7FE000, 0x7FE000, 16};
// The Cb, Y, Cr, Y packer keeps its own offsets, 128.5, with a stray 2 in Cr.
constexpr ChromaForm kCbYCrPairChroma{0xFF0000, 0xFF0002, 17};
constexpr ChromaForm kCbYCrLoneChroma{0x7F8000, 0x7F8000, 16};

constexpr uint8_t cbExact(Rgb sum, const ChromaForm& form) {
    return uint8_t((28770 * sum.b - 19071 * sum.g - 9699 * sum.r - form.cbOffset) >> form.shift);
}

constexpr uint8_t crExact(Rgb sum, const ChromaForm& form) {
    return uint8_t((28770 * sum.r - 4653 * sum.b - 24117 * sum.g - form.crOffset) >> form.shift);
}

// ---------------------------------------------------------------------------
// Lane forms: the operations of 16-bit vector lanes.

constexpr uint16_t mulhu16(uint16_t a, uint16_t k) { return uint16_t((uint32_t(a) * k) >> 16); }
constexpr int16_t mulhs16(int16_t a, int16_t k) { return int16_t((int32_t(a) * k) >> 16); }
constexpr uint16_t addsu16(uint16_t a, uint16_t b) {
    const uint32_t s = uint32_t(a) + b;
    return uint16_t(s > 65535 ? 65535 : s);
}
constexpr int16_t addss16(int16_t a, int16_t b) {
    const int32_t s = int32_t(a) + b;
    return int16_t(s > 32767 ? 32767 : s < -32768 ? -32768 : s);
}
// Signed 16-bit to unsigned 8-bit with saturation, as the final pack.
constexpr uint8_t packus16(int16_t v) { return uint8_t(v < 0 ? 0 : v > 255 ? 255 : v); }

constexpr uint8_t lumaLanes(Rgb p) {
    uint16_t v = mulhu16(uint16_t(p.r << 8), 8422);
    v = addsu16(v, mulhu16(uint16_t(p.g << 8), 16515));
    v = addsu16(v, mulhu16(uint16_t(p.b << 8), 3212));
    v = addsu16(v, 2112);
    return packus16(int16_t(v >> 7));
}

// The unsigned chroma of packed 4:2:2 and planar 4:2:0 bodies: the sum of 2 or
// 4 pixels shifted left by 5, the main product less the two others (wrapping
// like the lane), the rounding offset added with signed saturation, shifted.
struct ChromaLanes {
    int16_t offset;
    int shift;
};
constexpr ChromaLanes kPairLanes{8200, 6};
constexpr ChromaLanes kBlockLanes{16400, 7};

constexpr uint8_t chromaLanes(uint16_t main, uint16_t other1, uint16_t other2, const ChromaLanes& form) {
    const uint16_t others = addsu16(other1, other2);
    const int16_t diff = int16_t(uint16_t(main - others));
    const int16_t v = addss16(diff, form.offset);
    return packus16(int16_t(uint16_t(v) >> form.shift));
}

constexpr uint8_t cbLanes(Rgb sum, const ChromaLanes& form) {
    const uint16_t xb = uint16_t(sum.b << 5), xg = uint16_t(sum.g << 5), xr = uint16_t(sum.r << 5);
    return chromaLanes(mulhu16(xb, 28770), mulhu16(xr, 9699), mulhu16(xg, 19071), form);
}

constexpr uint8_t crLanes(Rgb sum, const ChromaLanes& form) {
    const uint16_t xb = uint16_t(sum.b << 5), xg = uint16_t(sum.g << 5), xr = uint16_t(sum.r << 5);
    return chromaLanes(mulhu16(xr, 28770), mulhu16(xg, 24117), mulhu16(xb, 4653), form);
}

// The Cb, Y, Cr, Y packer's body: pair sums shifted left by 6, signed
// products each shifted right by 16 (rounding toward minus infinity), 128.5.
constexpr uint8_t signedChromaLanes(int16_t main, int16_t other1, int16_t other2) {
    const int16_t v = int16_t(uint16_t(main + other1 + other2 + 16448));
    return packus16(int16_t(v >> 7));
}

constexpr uint8_t cbCbYCrLanes(Rgb pairSum) {
    const int16_t xb = int16_t(pairSum.b << 6), xg = int16_t(pairSum.g << 6), xr = int16_t(pairSum.r << 6);
    return signedChromaLanes(mulhs16(xb, 28770), mulhs16(xg, -19071), mulhs16(xr, -9699));
}

constexpr uint8_t crCbYCrLanes(Rgb pairSum) {
    const int16_t xb = int16_t(pairSum.b << 6), xg = int16_t(pairSum.g << 6), xr = int16_t(pairSum.r << 6);
    return signedChromaLanes(mulhs16(xr, 28770), mulhs16(xg, -24117), mulhs16(xb, -4653));
}

}  // namespace
}  // namespace morva
