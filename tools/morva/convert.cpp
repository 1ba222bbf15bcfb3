#include "convert.h"

#include <algorithm>
#include <cstring>

#include "colour.h"

namespace morvatool {

namespace {

bool isRgb16(int32_t f) { return f == FORMAT_RGB565 || f == FORMAT_RGB555; }
bool isPacked422(int32_t f) { return f == FORMAT_YUY2 || f == FORMAT_UYVY; }
bool isRgb(int32_t f) { return f == FORMAT_RGB32 || f == FORMAT_RGB24; }

// Byte positions of Y0, Cb, Y1, Cr in a macro-pixel.
struct Packed422Order {
    int y0, cb, y1, cr;
};
Packed422Order orderOf(int32_t format) {
    return format == FORMAT_YUY2 ? Packed422Order{0, 1, 2, 3} : Packed422Order{1, 0, 3, 2};
}

void packed422ToPlanar(const TImage& from, TImage& to) {
    const Packed422Order at = orderOf(from.format);
    for (int32_t y = 0; y < from.height; ++y) {
        const uint8_t* in = planeRow(from, 0, y);
        uint8_t *luma = planeRow(to, 0, y), *cb = planeRow(to, 1, y), *cr = planeRow(to, 2, y);
        for (int32_t i = 0; i < from.width / 2; ++i, in += 4) {
            luma[2 * i] = in[at.y0], luma[2 * i + 1] = in[at.y1];
            cb[i] = in[at.cb], cr[i] = in[at.cr];
        }
    }
}

void planarToPacked422(const TImage& from, TImage& to) {
    const Packed422Order at = orderOf(to.format);
    for (int32_t y = 0; y < from.height; ++y) {
        const uint8_t *luma = planeRow(from, 0, y), *cb = planeRow(from, 1, y), *cr = planeRow(from, 2, y);
        uint8_t* out = planeRow(to, 0, y);
        for (int32_t i = 0; i < from.width / 2; ++i, out += 4) {
            out[at.y0] = luma[2 * i], out[at.y1] = luma[2 * i + 1];
            out[at.cb] = cb[i], out[at.cr] = cr[i];
        }
    }
}

void copyPlane(const TImage& from, int fromPlane, TImage& to, int toPlane) {
    const PlaneEntry& p = plane(from, fromPlane);
    const size_t rowBytes = size_t(p.width) * size_t(p.channels * p.bytesPerChannel);
    for (int32_t y = 0; y < p.height; ++y)
        std::memcpy(planeRow(to, toPlane, y), planeRow(from, fromPlane, y), rowBytes);
}

// I420 and the two other 4:2:0 layouts: YV12 (chroma planes in the other
// order) and NV12 (Cb and Cr interleaved in one plane).
void between420Layouts(const TImage& from, TImage& to) {
    copyPlane(from, 0, to, 0);
    if (from.format == FORMAT_NV12 || to.format == FORMAT_NV12) {
        const bool split = from.format == FORMAT_NV12;
        const TImage& planar = split ? to : from;
        const int cbPlane = planar.format == FORMAT_YV12 ? 2 : 1;
        for (int32_t y = 0; y < plane(planar, 1).height; ++y) {
            uint8_t* pairs = planeRow(split ? from : to, 1, y);
            uint8_t *cb = planeRow(planar, cbPlane, y), *cr = planeRow(planar, 3 - cbPlane, y);
            for (int32_t i = 0; i < plane(planar, 1).width; ++i) {
                if (split)
                    cb[i] = pairs[2 * i], cr[i] = pairs[2 * i + 1];
                else
                    pairs[2 * i] = cb[i], pairs[2 * i + 1] = cr[i];
            }
        }
        return;
    }
    copyPlane(from, 1, to, 2);
    copyPlane(from, 2, to, 1);
}

template <class Pixel>
void eachPixel(const TImage& from, TImage& to, Pixel pixel) {
    const int inUnit = plane(from, 0).channels * plane(from, 0).bytesPerChannel;
    const int outUnit = plane(to, 0).channels * plane(to, 0).bytesPerChannel;
    for (int32_t y = 0; y < from.height; ++y) {
        const uint8_t* in = planeRow(from, 0, y);
        uint8_t* out = planeRow(to, 0, y);
        for (int32_t x = 0; x < from.width; ++x, in += inUnit, out += outUnit) pixel(in, out);
    }
}

void rgb24ToRgb16(const TImage& from, TImage& to) {
    const bool is565 = to.format == FORMAT_RGB565;
    eachPixel(from, to, [is565](const uint8_t* in, uint8_t* out) {
        const Rgb c{in[2], in[1], in[0]};
        const uint16_t word = is565 ? packRgb565(c) : packRgb555(c);
        out[0] = uint8_t(word), out[1] = uint8_t(word >> 8);
    });
}

void rgb16ToRgb24(const TImage& from, TImage& to) {
    const bool is565 = from.format == FORMAT_RGB565;
    eachPixel(from, to, [is565](const uint8_t* in, uint8_t* out) {
        const uint16_t word = uint16_t(in[0] | in[1] << 8);
        const Rgb c = is565 ? unpackRgb565(word) : unpackRgb555(word);
        out[0] = c.blue, out[1] = c.green, out[2] = c.red;
    });
}

void lumaToGrey(const TImage& from, TImage& to) {
    eachPixel(from, to, [](const uint8_t* in, uint8_t* out) { *out = videoToFullLuma(*in); });
}

void greyToI420(const TImage& from, TImage& to) {
    eachPixel(from, to, [](const uint8_t* in, uint8_t* out) { *out = fullToVideoLuma(*in); });
    for (int index : {1, 2}) std::memset(plane(to, index).data, 128, size_t(plane(to, index).size));
}

void greyToRgb24(const TImage& from, TImage& to) {
    eachPixel(from, to, [](const uint8_t* in, uint8_t* out) { out[0] = out[1] = out[2] = *in; });
}

bool is420Layout(int32_t f) { return f == FORMAT_I420 || f == FORMAT_YV12 || f == FORMAT_NV12; }

using ToolConversion = void (*)(const TImage&, TImage&);

ToolConversion toolConversion(int32_t from, int32_t to) {
    if (isPacked422(from) && to == FORMAT_YVYU) return packed422ToPlanar;
    if (from == FORMAT_YVYU && isPacked422(to)) return planarToPacked422;
    if (is420Layout(from) && is420Layout(to) && from != to) return between420Layouts;
    if (from == FORMAT_RGB24 && isRgb16(to)) return rgb24ToRgb16;
    if (isRgb16(from) && to == FORMAT_RGB24) return rgb16ToRgb24;
    if (from == FORMAT_I420 && to == FORMAT_GRAY8) return lumaToGrey;
    if (from == FORMAT_GRAY8 && to == FORMAT_I420) return greyToI420;
    if (from == FORMAT_GRAY8 && to == FORMAT_RGB24) return greyToRgb24;
    return nullptr;
}

std::vector<int32_t> through(int32_t via, int32_t from, int32_t to) {
    std::vector<int32_t> path = conversionPath(from, via);
    const std::vector<int32_t> rest = conversionPath(via, to);
    path.insert(path.end(), rest.begin(), rest.end());
    return path;
}

}  // namespace

std::vector<int32_t> conversionPath(int32_t from, int32_t to) {
    if (from == to) return {};
    if (toolConversion(from, to)) return {to};
    // The tool's own formats reach the others through the nearest one the
    // library converts well.
    if (isRgb16(from) || isRgb16(to)) return through(FORMAT_RGB24, from, to);
    if (from == FORMAT_GRAY8 && !isRgb(to)) return through(FORMAT_I420, from, to);
    if (from == FORMAT_GRAY8) return through(FORMAT_RGB24, from, to);
    if (to == FORMAT_GRAY8 || from == FORMAT_YV12 || from == FORMAT_NV12 || to == FORMAT_YV12 || to == FORMAT_NV12)
        return through(FORMAT_I420, from, to);
    // The library reads planar 4:2:2 as 4:2:0 on its way to RGB, and writes
    // RGB into it through 4:2:0; packed 4:2:2 keeps every chroma row.
    if (from == FORMAT_YVYU && isRgb(to)) return through(FORMAT_YUY2, from, to);
    if (isRgb(from) && to == FORMAT_YVYU) return through(FORMAT_YUY2, from, to);
    // Packed Y-first 4:2:2 goes into planes with Cb and Cr exchanged, and
    // chroma-first 4:2:2 into 24-bit RGB with red and blue exchanged.
    if (from == FORMAT_YUY2 && (to == FORMAT_I420 || to == FORMAT_Y411)) return through(FORMAT_YVYU, from, to);
    if (from == FORMAT_UYVY && to == FORMAT_RGB24) return through(FORMAT_RGB32, from, to);
    return {to};
}

void convertStep(const TImage& from, TImage& to) {
    if (const ToolConversion convert = toolConversion(from.format, to.format)) return convert(from, to);
    // Same-sized images: morvaCopyImage only converts.
    if (!morvaCopyImage(&from, &to, INTER_NN, 0))
        throw ToolError("the library can't convert format " + std::to_string(from.format) + " to " +
                        std::to_string(to.format));
}

FrameConverter::FrameConverter(int32_t width, int32_t height, int32_t from, int32_t to) : format_(to) {
    for (int32_t format : conversionPath(from, to)) stages_.push_back(allocateImage("convert", width, height, format));
}

const TImage& FrameConverter::convert(const TImage& frame) {
    const TImage* current = &frame;
    for (const ImagePtr& stage : stages_) {
        convertStep(*current, *stage);
        current = stage.get();
    }
    return *current;
}

void FrameConverter::convertInto(const TImage& frame, TImage& out) {
    if (stages_.empty()) throw ToolError("internal error: nothing to convert");
    const TImage* current = &frame;
    for (size_t i = 0; i + 1 < stages_.size(); ++i) {
        convertStep(*current, *stages_[i]);
        current = stages_[i].get();
    }
    convertStep(*current, out);
}

}  // namespace morvatool
