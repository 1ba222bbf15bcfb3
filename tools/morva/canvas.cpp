#include "canvas.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace morvatool {

namespace {

constexpr int32_t kGlyphWidth = 5;
constexpr int32_t kGlyphHeight = 7;

struct Glyph {
    char character;
    std::array<uint8_t, kGlyphHeight> rows;  // bit 4 is the leftmost dot
};

constexpr Glyph kFont[] = {
    {'A', {0x0E, 0x11, 0x11, 0x1F, 0x11, 0x11, 0x11}}, {'B', {0x1E, 0x11, 0x11, 0x1E, 0x11, 0x11, 0x1E}},
    {'C', {0x0E, 0x11, 0x10, 0x10, 0x10, 0x11, 0x0E}}, {'D', {0x1E, 0x11, 0x11, 0x11, 0x11, 0x11, 0x1E}},
    {'E', {0x1F, 0x10, 0x10, 0x1E, 0x10, 0x10, 0x1F}}, {'F', {0x1F, 0x10, 0x10, 0x1E, 0x10, 0x10, 0x10}},
    {'G', {0x0E, 0x11, 0x10, 0x17, 0x11, 0x11, 0x0F}}, {'H', {0x11, 0x11, 0x11, 0x1F, 0x11, 0x11, 0x11}},
    {'I', {0x0E, 0x04, 0x04, 0x04, 0x04, 0x04, 0x0E}}, {'J', {0x07, 0x02, 0x02, 0x02, 0x02, 0x12, 0x0C}},
    {'K', {0x11, 0x12, 0x14, 0x18, 0x14, 0x12, 0x11}}, {'L', {0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x1F}},
    {'M', {0x11, 0x1B, 0x15, 0x15, 0x11, 0x11, 0x11}}, {'N', {0x11, 0x11, 0x19, 0x15, 0x13, 0x11, 0x11}},
    {'O', {0x0E, 0x11, 0x11, 0x11, 0x11, 0x11, 0x0E}}, {'P', {0x1E, 0x11, 0x11, 0x1E, 0x10, 0x10, 0x10}},
    {'Q', {0x0E, 0x11, 0x11, 0x11, 0x15, 0x12, 0x0D}}, {'R', {0x1E, 0x11, 0x11, 0x1E, 0x14, 0x12, 0x11}},
    {'S', {0x0F, 0x10, 0x10, 0x0E, 0x01, 0x01, 0x1E}}, {'T', {0x1F, 0x04, 0x04, 0x04, 0x04, 0x04, 0x04}},
    {'U', {0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x0E}}, {'V', {0x11, 0x11, 0x11, 0x11, 0x11, 0x0A, 0x04}},
    {'W', {0x11, 0x11, 0x11, 0x15, 0x15, 0x15, 0x0A}}, {'X', {0x11, 0x11, 0x0A, 0x04, 0x0A, 0x11, 0x11}},
    {'Y', {0x11, 0x11, 0x0A, 0x04, 0x04, 0x04, 0x04}}, {'Z', {0x1F, 0x01, 0x02, 0x04, 0x08, 0x10, 0x1F}},
    {'0', {0x0E, 0x11, 0x13, 0x15, 0x19, 0x11, 0x0E}}, {'1', {0x04, 0x0C, 0x04, 0x04, 0x04, 0x04, 0x0E}},
    {'2', {0x0E, 0x11, 0x01, 0x02, 0x04, 0x08, 0x1F}}, {'3', {0x1F, 0x02, 0x04, 0x02, 0x01, 0x11, 0x0E}},
    {'4', {0x02, 0x06, 0x0A, 0x12, 0x1F, 0x02, 0x02}}, {'5', {0x1F, 0x10, 0x1E, 0x01, 0x01, 0x11, 0x0E}},
    {'6', {0x06, 0x08, 0x10, 0x1E, 0x11, 0x11, 0x0E}}, {'7', {0x1F, 0x01, 0x02, 0x04, 0x08, 0x08, 0x08}},
    {'8', {0x0E, 0x11, 0x11, 0x0E, 0x11, 0x11, 0x0E}}, {'9', {0x0E, 0x11, 0x11, 0x0F, 0x01, 0x02, 0x0C}},
    {'x', {0x00, 0x00, 0x11, 0x0A, 0x04, 0x0A, 0x11}}, {':', {0x00, 0x0C, 0x0C, 0x00, 0x0C, 0x0C, 0x00}},
    {'-', {0x00, 0x00, 0x00, 0x1F, 0x00, 0x00, 0x00}}, {'.', {0x00, 0x00, 0x00, 0x00, 0x00, 0x0C, 0x0C}},
};

const Glyph* findGlyph(char c) {
    if (c != 'x') c = char(std::toupper(static_cast<unsigned char>(c)));
    for (const Glyph& glyph : kFont)
        if (glyph.character == c) return &glyph;
    return nullptr;
}

// Mean colour of each block of subW by subH pixels, blocks cut at the edge.
struct ChromaPlanes {
    int32_t width = 0, height = 0;
    std::vector<uint8_t> cb, cr;
};

ChromaPlanes subsample(const RgbCanvas& canvas, int32_t subW, int32_t subH) {
    ChromaPlanes chroma;
    chroma.width = (canvas.width() + subW - 1) / subW;
    chroma.height = (canvas.height() + subH - 1) / subH;
    chroma.cb.resize(size_t(chroma.width) * size_t(chroma.height));
    chroma.cr.resize(chroma.cb.size());
    for (int32_t j = 0; j < chroma.height; ++j)
        for (int32_t i = 0; i < chroma.width; ++i) {
            int red = 0, green = 0, blue = 0, count = 0;
            for (int32_t y = j * subH; y < std::min((j + 1) * subH, canvas.height()); ++y)
                for (int32_t x = i * subW; x < std::min((i + 1) * subW, canvas.width()); ++x) {
                    const Rgb& c = canvas.at(x, y);
                    red += c.red, green += c.green, blue += c.blue, ++count;
                }
            const Rgb mean{uint8_t((red + count / 2) / count), uint8_t((green + count / 2) / count),
                           uint8_t((blue + count / 2) / count)};
            const Ycbcr ycc = toYcbcr(mean);
            chroma.cb[size_t(j) * size_t(chroma.width) + size_t(i)] = ycc.cb;
            chroma.cr[size_t(j) * size_t(chroma.width) + size_t(i)] = ycc.cr;
        }
    return chroma;
}

void packRgb(const RgbCanvas& canvas, TImage& image) {
    const int32_t unit = plane(image, 0).channels * plane(image, 0).bytesPerChannel;
    for (int32_t y = 0; y < canvas.height(); ++y) {
        uint8_t* out = planeRow(image, 0, y);
        for (int32_t x = 0; x < canvas.width(); ++x, out += unit) {
            const Rgb& c = canvas.at(x, y);
            switch (image.format) {
            case FORMAT_RGB32: out[3] = 255; [[fallthrough]];
            case FORMAT_RGB24: out[0] = c.blue, out[1] = c.green, out[2] = c.red; break;
            default: {  // FORMAT_RGB565, FORMAT_RGB555
                const uint16_t word = image.format == FORMAT_RGB565 ? packRgb565(c) : packRgb555(c);
                out[0] = uint8_t(word), out[1] = uint8_t(word >> 8);
            }
            }
        }
    }
    padPlane(image, 0, canvas.width() * unit, canvas.height(), unit);
}

void packLuma(const RgbCanvas& canvas, TImage& image) {
    for (int32_t y = 0; y < canvas.height(); ++y) {
        uint8_t* out = planeRow(image, 0, y);
        for (int32_t x = 0; x < canvas.width(); ++x) out[x] = toYcbcr(canvas.at(x, y)).y;
    }
    padPlane(image, 0, canvas.width(), canvas.height(), 1);
}

void packChromaPlane(const ChromaPlanes& chroma, const std::vector<uint8_t>& samples, TImage& image,
                     int index) {
    for (int32_t j = 0; j < chroma.height; ++j)
        std::copy_n(&samples[size_t(j) * size_t(chroma.width)], chroma.width, planeRow(image, index, j));
    padPlane(image, index, chroma.width, chroma.height, 1);
}

void packPlanar(const RgbCanvas& canvas, TImage& image) {
    packLuma(canvas, image);
    const PlaneEntry& cbPlane = plane(image, 1);
    const ChromaPlanes chroma = subsample(canvas, cbPlane.subW, cbPlane.subH);
    const bool crFirst = image.format == FORMAT_YV12;
    packChromaPlane(chroma, chroma.cb, image, crFirst ? 2 : 1);
    packChromaPlane(chroma, chroma.cr, image, crFirst ? 1 : 2);
}

void packNv12(const RgbCanvas& canvas, TImage& image) {
    packLuma(canvas, image);
    const ChromaPlanes chroma = subsample(canvas, 2, 2);
    for (int32_t j = 0; j < chroma.height; ++j) {
        uint8_t* out = planeRow(image, 1, j);
        for (int32_t i = 0; i < chroma.width; ++i) {
            out[2 * i] = chroma.cb[size_t(j) * size_t(chroma.width) + size_t(i)];
            out[2 * i + 1] = chroma.cr[size_t(j) * size_t(chroma.width) + size_t(i)];
        }
    }
    padPlane(image, 1, 2 * chroma.width, chroma.height, 2);
}

void packPacked422(const RgbCanvas& canvas, TImage& image) {
    const ChromaPlanes chroma = subsample(canvas, 2, 1);
    // Byte positions of Y0, Cb, Y1, Cr within a macro-pixel.
    const std::array<int, 4> at = image.format == FORMAT_YUY2 ? std::array{0, 1, 2, 3}
                                                              : std::array{1, 0, 3, 2};
    for (int32_t y = 0; y < canvas.height(); ++y) {
        uint8_t* out = planeRow(image, 0, y);
        for (int32_t i = 0; i < chroma.width; ++i, out += 4) {
            const int32_t right = std::min(2 * i + 1, canvas.width() - 1);
            out[at[0]] = toYcbcr(canvas.at(2 * i, y)).y;
            out[at[1]] = chroma.cb[size_t(y) * size_t(chroma.width) + size_t(i)];
            out[at[2]] = toYcbcr(canvas.at(right, y)).y;
            out[at[3]] = chroma.cr[size_t(y) * size_t(chroma.width) + size_t(i)];
        }
    }
    padPlane(image, 0, 4 * chroma.width, canvas.height(), 4);
}

}  // namespace

void RgbCanvas::fillRect(int32_t x, int32_t y, int32_t width, int32_t height, Rgb colour) {
    const int32_t x1 = std::min(x + width, width_), y1 = std::min(y + height, height_);
    for (int32_t row = std::max(y, 0); row < y1; ++row)
        for (int32_t column = std::max(x, 0); column < x1; ++column) at(column, row) = colour;
}

int32_t textWidth(size_t characters, int32_t scale) {
    return characters == 0 ? 0 : int32_t(characters) * (kGlyphWidth + 1) * scale - scale;
}

void RgbCanvas::drawText(int32_t x, int32_t y, std::string_view text, int32_t scale, Rgb colour) {
    for (char c : text) {
        if (const Glyph* glyph = findGlyph(c))
            for (int32_t row = 0; row < kGlyphHeight; ++row)
                for (int32_t dot = 0; dot < kGlyphWidth; ++dot)
                    if (glyph->rows[size_t(row)] >> (kGlyphWidth - 1 - dot) & 1)
                        fillRect(x + dot * scale, y + row * scale, scale, scale, colour);
        x += (kGlyphWidth + 1) * scale;
    }
}

ImagePtr packCanvas(const RgbCanvas& canvas, int32_t format, const char* name) {
    ImagePtr image = allocateImage(name, canvas.width(), canvas.height(), format);
    switch (format) {
    case FORMAT_RGB32:
    case FORMAT_RGB24:
    case FORMAT_RGB565:
    case FORMAT_RGB555: packRgb(canvas, *image); break;
    case FORMAT_I420:
    case FORMAT_YV12:
    case FORMAT_YVYU:
    case FORMAT_Y411: packPlanar(canvas, *image); break;
    case FORMAT_NV12: packNv12(canvas, *image); break;
    case FORMAT_YUY2:
    case FORMAT_UYVY: packPacked422(canvas, *image); break;
    default: throw ToolError("internal error: no packing for format " + std::to_string(format));
    }
    return image;
}

}  // namespace morvatool
