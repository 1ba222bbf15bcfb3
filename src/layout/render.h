// Putting one image into a rectangle of another, the step that composition
// and copying share.
#pragma once

#include "kernels/types.h"
#include "morva.h"

namespace morva {

// Fits source's sourceRect into cellRect of target by scaleMode and resizes
// into it. Both images must be valid and of one format. False for a scale
// mode other than stretch, fit and fill, with the target untouched.
bool copyWithResize(const TImage* source, const IppiRect& sourceRect, TImage* target,
                    const IppiRect& cellRect, int32_t interpolation, int32_t scaleMode);

}  // namespace morva
