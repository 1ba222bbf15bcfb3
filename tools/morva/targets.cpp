#include "targets.h"

#include <array>

#include "format_names.h"

namespace morvatool {

namespace {
constexpr std::array kTargets = {
    TargetFormat{FORMAT_RGB32, FORMAT_RGB32},   TargetFormat{FORMAT_RGB24, FORMAT_RGB24},
    TargetFormat{FORMAT_RGB565, FORMAT_RGB24},  TargetFormat{FORMAT_RGB555, FORMAT_RGB24},
    TargetFormat{FORMAT_I420, FORMAT_I420},     TargetFormat{FORMAT_YV12, FORMAT_I420},
    TargetFormat{FORMAT_NV12, FORMAT_I420},     TargetFormat{FORMAT_YUY2, FORMAT_YVYU},
    TargetFormat{FORMAT_UYVY, FORMAT_YVYU},     TargetFormat{FORMAT_YVYU, FORMAT_YVYU},
    TargetFormat{FORMAT_Y411, FORMAT_Y411},     TargetFormat{FORMAT_GRAY8, FORMAT_I420},
};
}  // namespace

std::span<const TargetFormat> targetFormats() { return kTargets; }

std::optional<TargetFormat> targetByFormat(int32_t format) {
    for (const TargetFormat& target : kTargets)
        if (format == target.format) return target;
    return std::nullopt;
}

std::optional<TargetFormat> targetByName(std::string_view name) {
    const std::optional<int32_t> format = morvanames::formatByName(name);
    return format ? targetByFormat(*format) : std::nullopt;
}

std::string formatName(int32_t format) {
    const std::string_view name = morvanames::nameOfFormat(format);
    return name.empty() ? "format " + std::to_string(format) : std::string(name);
}

}  // namespace morvatool
