// The names people know the pixel formats by, shared by every program built
// around the library (the command-line tool, the Python package, the
// GStreamer elements), so that one format has one name everywhere.
//
// The first name of an entry is the one shown; the others are accepted too.
// Names follow the habits of video tools where a format has a well-known name
// there, and keep the tool's earlier names as aliases.
#pragma once

#include <morva.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace morvanames {

struct FormatName {
    int32_t format;
    std::array<std::string_view, 3> names;  // shown name first; empty slots unused
    std::string_view description;
};

// Formats without a name here (the second 4:2:0 id) are reached by number.
inline constexpr std::array<FormatName, 21> kFormatNames = {{
    {FORMAT_RGB32, {"bgra", "rgb32"}, "32-bit pixels, bytes blue, green, red, fourth"},
    {FORMAT_RGB24, {"bgr24", "rgb24"}, "24-bit pixels, bytes blue, green, red"},
    {FORMAT_RGB565, {"rgb565", "rgb565le"}, "16-bit pixels, 5-6-5 bits"},
    {FORMAT_RGB555, {"rgb555", "rgb555le"}, "16-bit pixels, 5-5-5 bits"},
    {FORMAT_RGB444, {"rgb444", "rgb444le"}, "16-bit pixels, 4-4-4 bits"},
    {FORMAT_I420, {"yuv420p", "i420"}, "planar 4:2:0, planes Y, Cb, Cr"},
    {FORMAT_YV12, {"yv12"}, "planar 4:2:0, planes Y, Cr, Cb"},
    {FORMAT_NV12, {"nv12"}, "Y plane and an interleaved Cb Cr plane"},
    {FORMAT_YUY2, {"yuyv422", "yuy2"}, "packed 4:2:2, Y0 Cb Y1 Cr"},
    {FORMAT_UYVY, {"uyvy422", "uyvy"}, "packed 4:2:2, Cb Y0 Cr Y1"},
    {FORMAT_YVYU, {"yuv422p"}, "planar 4:2:2"},
    {FORMAT_Y411, {"yuv411p"}, "planar 4:1:1"},
    {FORMAT_YUV444P, {"yuv444p"}, "planar 4:4:4"},
    {FORMAT_GRAY8, {"gray", "gray8", "y800"}, "one 8-bit grey plane"},
    {FORMAT_YUVA420P, {"yuva420p"}, "planar 4:2:0 with an alpha plane"},
    {FORMAT_YUVA422P, {"yuva422p"}, "planar 4:2:2 with an alpha plane"},
    {FORMAT_YUVA444P, {"yuva444p"}, "planar 4:4:4 with an alpha plane"},
    {FORMAT_YVU9, {"yvu9"}, "planar, chroma at a quarter of width and height"},
    {FORMAT_GRAYA8, {"graya"}, "grey plane and alpha plane"},
    {FORMAT_Y411_PACKED, {"y411"}, "packed 4:1:1, 4 pixels in 6 bytes"},
    {FORMAT_Y41P, {"y41p"}, "packed 4:1:1, 8 pixels in 12 bytes"},
}};

inline std::optional<int32_t> formatByName(std::string_view name) {
    for (const FormatName& entry : kFormatNames)
        for (std::string_view known : entry.names)
            if (!known.empty() && known == name) return entry.format;
    return std::nullopt;
}

// The shown name, or an empty view for a format without one.
inline std::string_view nameOfFormat(int32_t format) {
    for (const FormatName& entry : kFormatNames)
        if (entry.format == format) return entry.names[0];
    return {};
}

}  // namespace morvanames
