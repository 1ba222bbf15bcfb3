// Resize of a whole image into another of the same format, plane by plane.
#pragma once

#include <cstdint>

#include "kernels/types.h"
#include "morva.h"

namespace morva {

// Rectangles are in image pixels; each plane takes them divided by its
// subsampling. The factors are target pixels per source pixel and go to every
// plane unchanged. False for invalid images, differing formats, differing
// buffer sizes on the equal-size copy, and planes no kernel takes; a kernel's
// own refusal leaves its plane as it was and is not a failure.
bool resizeImageInternal(const TImage* source, IppiRect sourceRect, TImage* destination,
                         IppiRect destinationRect, int32_t interpolation, double xFactor,
                         double yFactor);

// The work buffer's size for one plane's resize: what the path it takes
// needs with these factors and shifts, at least the size query's answer.
int32_t resizeBufferSize(const PlaneEntry& sourcePlane, const IppiRect& sourcePlaneRect,
                         const IppiRect& destinationPlaneRect, int32_t interpolation,
                         double xFactor, double yFactor, double xShift, double yShift);

}  // namespace morva
