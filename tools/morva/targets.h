// The target formats the tool offers, and the format it composes each of them
// in. The library's composition misplaces or mixes pixels for some targets
// (NV12 resizes Cb and Cr as one channel, YUY2 draws every input at the top
// left, UYVY resizes two luma samples as one pixel, 16-bit RGB is
// interpolated as one number): those are composed in a format that keeps the
// pixels and converted afterwards, so the result is what was asked for.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace morvatool {

struct TargetFormat {
    int32_t format;     // what the output carries
    int32_t composeIn;  // what the library composes in
};

std::span<const TargetFormat> targetFormats();

// A target by any of its names (video-tool names first, earlier names as
// aliases), or nothing.
std::optional<TargetFormat> targetByName(std::string_view name);

// The target that carries `format`, or nothing if the tool offers none.
std::optional<TargetFormat> targetByFormat(int32_t format);

// The shown name of a format, or its number.
std::string formatName(int32_t format);

}  // namespace morvatool
