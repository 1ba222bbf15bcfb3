// The work buffer that one resize really needs.
#pragma once

#include <cstdint>

#include "kernels/types.h"

namespace morva {

// The size query's answer, or more where the path this resize takes needs
// more for its geometry: the antialiasing path's intermediate image covers
// every row of the source image and its tables follow the factors, and a
// super-sampling box can reach past the region and the image, neither of
// which the query sees. 0 if the query refuses the arguments; beyond the
// 32-bit range where no buffer could serve.
int64_t resizeWorkSize(IppiSize srcSize, IppiRect srcRoi, IppiRect dstRoi, int32_t channels,
                       double xFactor, double yFactor, double xShift, double yShift,
                       int32_t interpolation);

}  // namespace morva
