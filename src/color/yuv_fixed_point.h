// Fixed-point forms of the studio-range YCbCr to RGB matrix (Y from 16,
// chroma centred on 128; 1.164, 1.596, 0.813, 0.392, 2.017).
//
// The kernels round this matrix in eight different ways, and the choice is
// part of each kernel's result: the vector body and the scalar tail of one
// kernel may use different forms, so one (Y, Cb, Cr) can come out one level
// apart by its column. Every form is written here once, per pixel, in the
// order of operations of the code it stands for.
//
// The Q forms are what the 16-bit vector lanes compute: mulhi is the high half
// of a signed 16 x 16 product, and every intermediate value fits 16 bits, so
// int arithmetic here equals the lane arithmetic exactly. The S forms are the
// 32-bit scalar forms. Right shifts of negative values round toward minus
// infinity (arithmetic shifts), as in the vector code.
//
// This header is for the scalar definitions and the tests. Vector code does
// not include it (inline functions compiled with other instruction-set flags
// must not meet these in the link).
#pragma once

#include <cstdint>

namespace morva::yuv {

struct Bgr {
    uint8_t b, g, r;
    friend constexpr bool operator==(const Bgr&, const Bgr&) = default;
};

constexpr uint8_t clampByte(int32_t v) { return static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v); }

// High half of the signed product, as _mm_mulhi_epi16 gives it.
constexpr int32_t mulhi(int32_t a, int32_t k) { return (a * k) >> 16; }

// The scaled inputs of the Q forms.
constexpr int32_t lumaQ(int32_t Y, int32_t kY) { return mulhi((Y - 16) * 128, kY); }
constexpr int32_t chromaQ(int32_t C) { return (C - 128) * 128; }

// Q3: 8-bit luma factor 4767, results in 1/8 levels.
constexpr Bgr q3(int32_t Y, int32_t Cb, int32_t Cr) {
    const int32_t y = lumaQ(Y, 4767), cb = chromaQ(Cb), cr = chromaQ(Cr);
    return {clampByte((y + mulhi(cb, 8261)) >> 3),
            clampByte((y - mulhi(cb, 1605) - mulhi(cr, 3330)) >> 3),
            clampByte((y + mulhi(cr, 6537)) >> 3)};
}

// Q4 rounded: results in 1/16 levels, rounded. Green takes the products of
// negative factors (not the negated products).
constexpr Bgr q4Rounded(int32_t Y, int32_t Cb, int32_t Cr) {
    const int32_t y = lumaQ(Y, 9535), cb = chromaQ(Cb), cr = chromaQ(Cr);
    return {clampByte((y + mulhi(cb, 16523) + 8) >> 4),
            clampByte((y + mulhi(cr, -6660) + mulhi(cb, -3211) + 8) >> 4),
            clampByte((y + mulhi(cr, 13074) + 8) >> 4)};
}

// Q4 truncated: as Q4 rounded without the rounding term, green from the
// negated products.
constexpr Bgr q4Truncated(int32_t Y, int32_t Cb, int32_t Cr) {
    const int32_t y = lumaQ(Y, 9535), cb = chromaQ(Cb), cr = chromaQ(Cr);
    return {clampByte((y + mulhi(cb, 16523)) >> 4),
            clampByte((y - mulhi(cr, 6660) - mulhi(cb, 3211)) >> 4),
            clampByte((y + mulhi(cr, 13074)) >> 4)};
}

// S1: 16.16, truncated.
constexpr Bgr s1(int32_t Y, int32_t Cb, int32_t Cr) {
    const int32_t t = 76309 * Y - 1220944, cb = Cb - 128, cr = Cr - 128;
    return {clampByte((t + 132201 * cb) >> 16),
            clampByte((t - 25675 * cb - 53279 * cr) >> 16),
            clampByte((t + 104597 * cr) >> 16)};
}

// S2: 16.16 with the offsets folded into one constant per channel. The
// constants are what they are; they are not 128 times a factor plus rounding.
constexpr Bgr s2(int32_t Y, int32_t Cb, int32_t Cr) {
    const int32_t t = 76284 * Y;
    return {clampByte((t + 132186 * Cb - 18140365) >> 16),
            clampByte((t - 53281 * Cr - 25690 * Cb + 8887730) >> 16),
            clampByte((t + 104595 * Cr - 14608761) >> 16)};
}

// S2 rounded: the factors of S2 on centred values, plus one half.
constexpr Bgr s2Rounded(int32_t Y, int32_t Cb, int32_t Cr) {
    const int32_t t = 76284 * Y - 1220544, cb = Cb - 128, cr = Cr - 128;
    return {clampByte((t + 132186 * cb + 32768) >> 16),
            clampByte((t - 25690 * cb - 53281 * cr + 32768) >> 16),
            clampByte((t + 104595 * cr + 32768) >> 16)};
}

// S2 plain: the factors of S2 on centred values, truncated.
constexpr Bgr s2Plain(int32_t Y, int32_t Cb, int32_t Cr) {
    const int32_t t = 76284 * Y - 1220544, cb = Cb - 128, cr = Cr - 128;
    return {clampByte((t + 132186 * cb) >> 16),
            clampByte((t - 25690 * cb - 53281 * cr) >> 16),
            clampByte((t + 104595 * cr) >> 16)};
}

// S3: slightly different factors, rounded.
constexpr Bgr s3(int32_t Y, int32_t Cb, int32_t Cr) {
    const int32_t t = 76282 * Y - 1220512, cb = Cb - 128, cr = Cr - 128;
    return {clampByte((t + 132184 * cb + 32768) >> 16),
            clampByte((t - 25689 * cb - 53279 * cr + 32768) >> 16),
            clampByte((t + 104593 * cr + 32768) >> 16)};
}

using PixelForm = Bgr (*)(int32_t Y, int32_t Cb, int32_t Cr);

}  // namespace morva::yuv
