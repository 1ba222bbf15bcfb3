#include "frames.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

#include "color/router.h"
#include "format_names.h"

namespace morva::peers {
namespace {

constexpr double kTwoPi = 6.283185307179586;

uint8_t clampToByte(double v) { return uint8_t(std::clamp(v, 0.0, 255.0) + 0.5); }

// The scene in relative coordinates, so that it looks alike at every size.
void paintBgra(TImage& image) {
    const PlaneView p = plane(image, 0);
    for (int32_t y = 0; y < image.height; ++y) {
        uint8_t* row = p.data + int64_t(y) * p.stride;
        const double v = (y + 0.5) / image.height;
        for (int32_t x = 0; x < image.width; ++x) {
            const double u = (x + 0.5) / image.width;
            const double du = u - 0.35, dv = (v - 0.45) * image.height / image.width;
            const bool inDisc = du * du + dv * dv < 0.04;
            row[4 * x + 0] = clampToByte(128 + 90 * std::sin(kTwoPi * (1.5 * u + 0.5 * v)));
            row[4 * x + 1] = clampToByte(40 + 170 * v + 25 * std::sin(kTwoPi * 3 * u));
            row[4 * x + 2] = clampToByte(inDisc ? 225 : 50 + 120 * u);
            row[4 * x + 3] = clampToByte(255 * u);
        }
    }
}

void paintGrey(TImage& image) {
    const ImagePtr bgra = allocateImage(image.width, image.height, FORMAT_RGB32);
    paintBgra(*bgra);
    const PlaneView from = plane(*bgra, 0), to = plane(image, 0);
    for (int32_t y = 0; y < image.height; ++y)
        for (int32_t x = 0; x < image.width; ++x) {
            const uint8_t* s = from.data + int64_t(y) * from.stride + 4 * x;
            to.data[int64_t(y) * to.stride + x] = uint8_t((s[0] + 2 * s[1] + s[2] + 2) / 4);
        }
}

// 16-bit pixels as three 8-bit fields, blue first.
void splitPacked16(int32_t format, uint16_t v, std::vector<uint8_t>& out) {
    switch (format) {
    case FORMAT_RGB565:
        out.insert(out.end(), {uint8_t((v & 31) << 3), uint8_t(((v >> 5) & 63) << 2),
                               uint8_t((v >> 11) << 3)});
        break;
    case FORMAT_RGB555:
        out.insert(out.end(), {uint8_t((v & 31) << 3), uint8_t(((v >> 5) & 31) << 3),
                               uint8_t(((v >> 10) & 31) << 3)});
        break;
    default:  // 4-4-4
        out.insert(out.end(), {uint8_t((v & 15) << 4), uint8_t(((v >> 4) & 15) << 4),
                               uint8_t(((v >> 8) & 15) << 4)});
        break;
    }
}

void appendPlaneSamples(const TImage& image, const PlaneEntry& e, const Rect& region,
                        std::vector<uint8_t>& out) {
    const int32_t x0 = region.x / e.subW, y0 = region.y / e.subH;
    const int32_t x1 = std::min(e.width, (region.x + region.width + e.subW - 1) / e.subW);
    const int32_t y1 = std::min(e.height, (region.y + region.height + e.subH - 1) / e.subH);
    const int32_t unitBytes = e.channels * e.bytesPerChannel;
    const bool wholeUnits = e.bytesPerChannel == 1 && image.format != FORMAT_RGB32;
    out.reserve(out.size() + size_t(std::max(0, x1 - x0)) * std::max(0, y1 - y0) * unitBytes);
    for (int32_t y = y0; y < y1; ++y) {
        const uint8_t* row = e.data + int64_t(y) * e.stride;
        if (wholeUnits) {  // every byte counts: the row's span at once
            out.insert(out.end(), row + int64_t(x0) * unitBytes, row + int64_t(x1) * unitBytes);
            continue;
        }
        for (int32_t x = x0; x < x1; ++x) {
            const uint8_t* unit = row + int64_t(x) * unitBytes;
            if (e.bytesPerChannel == 2)
                splitPacked16(image.format, uint16_t(unit[0] | unit[1] << 8), out);
            else
                out.insert(out.end(), unit, unit + 3);  // 32-bit pixels: blue, green, red
        }
    }
}

}  // namespace

ImagePtr allocateImage(int32_t width, int32_t height, int32_t format) {
    // A negative height: rows top line first, as the peers hold them.
    TImage* image = morvaAllocateImage("peers", width, -height, format, nullptr, 0);
    if (image == nullptr)
        throw std::runtime_error("can't allocate a " + std::to_string(width) + "x" +
                                 std::to_string(height) + " " + formatName(format) + " image");
    return ImagePtr(image, morvaFreeImage);
}

ImagePtr sceneImage(int32_t width, int32_t height, int32_t format) {
    ImagePtr image = allocateImage(width, height, format);
    if (format == FORMAT_GRAY8) {
        paintGrey(*image);
    } else if (format == FORMAT_RGB32) {
        paintBgra(*image);
    } else {
        const ImagePtr bgra = allocateImage(image->width, image->height, FORMAT_RGB32);
        paintBgra(*bgra);
        if (!convertColorSpace(bgra.get(), image.get()))
            throw std::runtime_error("can't paint the scene in " + formatName(format));
    }
    return image;
}

PlaneView plane(const TImage& image, int index) {
    const PlaneEntry& e = image.planeInfo->planes[index];
    return {e.data, e.stride};
}

Rect wholeImage(const TImage& image) { return {0, 0, image.width, image.height}; }

std::vector<uint8_t> pictureSamples(const TImage& image, const Rect& region, bool exchangeChroma) {
    std::vector<uint8_t> out;
    const PlaneInfo& info = *image.planeInfo;
    for (int32_t i = 0; i < info.planeCount; ++i) {
        int32_t index = i;
        if (exchangeChroma && info.planeCount >= 3 && (i == 1 || i == 2)) index = 3 - i;
        appendPlaneSamples(image, info.planes[index], region, out);
    }
    return out;
}

double psnr(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b) {
    if (a.size() != b.size() || a.empty()) return 0.0;
    double sum = 0.0;
    for (size_t i = 0; i < a.size(); ++i) {
        const double d = double(a[i]) - double(b[i]);
        sum += d * d;
    }
    if (sum == 0.0) return std::numeric_limits<double>::infinity();
    return 10.0 * std::log10(255.0 * 255.0 * double(a.size()) / sum);
}

bool hasPicture(const std::vector<uint8_t>& samples) {
    if (samples.empty()) return false;
    const auto [lo, hi] = std::minmax_element(samples.begin(), samples.end());
    return *hi - *lo > 32;
}

std::string formatName(int32_t format) {
    const std::string_view name = morvanames::nameOfFormat(format);
    return name.empty() ? "format " + std::to_string(format) : std::string(name);
}

}  // namespace morva::peers
