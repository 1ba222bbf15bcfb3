// The names of the interpolation methods and scale modes, shared by the
// programs around the library (the command-line tool, the Python package),
// so that a method has one name everywhere.
#pragma once

#include <morva.h>

#include <array>
#include <cstdint>
#include <string_view>

namespace morvanames {

struct NamedValue {
    std::string_view name;
    int32_t value;
};

inline constexpr std::array<NamedValue, 8> kInterpolationNames = {{
    {"nn", INTER_NN},
    {"linear", INTER_LINEAR},
    {"cubic", INTER_CUBIC},
    {"bspline", INTER_CUBIC_BSPLINE},
    {"catmullrom", INTER_CUBIC_CATMULLROM},
    {"b05c03", INTER_CUBIC_B05C03},
    {"super", INTER_SUPER},
    {"lanczos", INTER_LANCZOS},
}};

inline constexpr std::array<NamedValue, 3> kScaleModeNames = {{
    {"stretch", 0},
    {"fit", 1},
    {"fill", 2},
}};

}  // namespace morvanames
