// Kernel status codes. Zero is success, a negative value an error with nothing
// done, a positive value a warning.
#pragma once

#include <cstdint>

namespace morva {

using IppStatus = int32_t;

enum : IppStatus {
    ippStsNoErr = 0,
    ippStsSizeErr = -6,
    ippStsNullPtrErr = -8,
    ippStsMemAllocErr = -9,
    ippStsMirrorFlipErr = -21,
    ippStsInterpolationErr = -22,
    ippStsResizeFactorErr = -23,
    ippStsNumChannelsErr = -53,
    ippStsResizeNoOperationErr = -201,
    ippStsNoOperation = 1,
    ippStsWrongIntersectROI = 29,
    ippStsDoubleSize = 35,
    ippStsNotSupportedCpu = 36,
    ippStsUnknownCacheSize = 37,
    ippStsNoAntialiasing = 46,
};

}  // namespace morva
