#include "names.h"

#include <format_names.h>
#include <method_names.h>
#include <morva.h>

#include <array>
#include <charconv>
#include <string_view>

namespace morvapy {

namespace {

using morvanames::NamedValue;

// The shared names, and "nearest" taken for "nn" as well.
constexpr std::array kMethods = [] {
    std::array<NamedValue, morvanames::kInterpolationNames.size() + 1> methods{};
    for (size_t i = 0; i < morvanames::kInterpolationNames.size(); ++i) methods[i] = morvanames::kInterpolationNames[i];
    methods.back() = {"nearest", INTER_NN};
    return methods;
}();

constexpr const auto& kFits = morvanames::kScaleModeNames;

constexpr std::array kEdges = {
    NamedValue{"smooth", EDGE_SMOOTH},
    NamedValue{"subpixel", EDGE_SUBPIXEL},
};

template <size_t N>
std::string choices(const std::array<NamedValue, N>& table) {
    std::string text;
    for (const NamedValue& entry : table) text += (text.empty() ? "'" : ", '") + std::string(entry.name) + "'";
    return text;
}

template <size_t N>
int32_t valueOf(const std::array<NamedValue, N>& table, const char* what, const std::string& name) {
    for (const NamedValue& entry : table)
        if (entry.name == name) return entry.value;
    throw py::value_error("unknown " + std::string(what) + " '" + name + "'; known: " + choices(table));
}

template <size_t N>
std::string nameOf(const std::array<NamedValue, N>& table, int32_t value) {
    for (const NamedValue& entry : table)
        if (entry.value == value) return std::string(entry.name);
    return std::to_string(value);
}

constexpr int32_t kFormatCount = 22;

int32_t checkedFormatId(int64_t id) {
    if (id < 0 || id >= kFormatCount)
        throw py::value_error("format id " + std::to_string(id) + " is outside 0 to " + std::to_string(kFormatCount - 1));
    return int32_t(id);
}

}  // namespace

int32_t formatFromPython(py::handle format) {
    if (py::isinstance<py::bool_>(format))
        throw py::type_error("a format is a name such as 'yuv420p' or an int id, not a bool");
    if (py::isinstance<py::int_>(format)) return checkedFormatId(format.cast<int64_t>());
    if (!py::isinstance<py::str>(format))
        throw py::type_error("a format is a name such as 'yuv420p' or an int id, not " +
                             std::string(py::str(format.get_type().attr("__name__"))));
    const std::string name = format.cast<std::string>();
    if (const auto id = morvanames::formatByName(name)) return *id;
    int64_t id = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), id);
    if (!name.empty() && error == std::errc() && end == name.data() + name.size()) return checkedFormatId(id);
    throw py::value_error("unknown format '" + name + "'; known: " + knownFormatNames());
}

std::string formatName(int32_t format) {
    const std::string_view name = morvanames::nameOfFormat(format);
    return name.empty() ? std::to_string(format) : std::string(name);
}

std::string knownFormatNames() {
    std::string text;
    for (const morvanames::FormatName& entry : morvanames::kFormatNames)
        text += (text.empty() ? "" : ", ") + std::string(entry.names[0]);
    return text;
}

int32_t methodFromName(const std::string& method) { return valueOf(kMethods, "method", method); }
std::string methodName(int32_t id) { return nameOf(kMethods, id); }

int32_t fitFromName(const std::string& fit) { return valueOf(kFits, "fit", fit); }
std::string fitName(int32_t mode) { return nameOf(kFits, mode); }

int32_t edgeFromPython(py::handle edge) {
    if (edge.is_none()) return 0;
    if (!py::isinstance<py::str>(edge)) throw py::type_error("edge is None, 'smooth' or 'subpixel'");
    return valueOf(kEdges, "edge", edge.cast<std::string>());
}

std::string edgeName(int32_t flags) {
    if (flags & EDGE_SMOOTH) return "smooth";
    if (flags & EDGE_SUBPIXEL) return "subpixel";
    return {};
}

}  // namespace morvapy
