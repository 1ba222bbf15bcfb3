// Geometry records shared by the kernels.
#pragma once

#include <cstdint>

namespace morva {

struct IppiSize {
    int32_t width;
    int32_t height;
};

struct IppiRect {
    int32_t x;
    int32_t y;
    int32_t width;
    int32_t height;
};

}  // namespace morva
