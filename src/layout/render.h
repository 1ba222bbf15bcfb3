// Putting one image into a rectangle of another, the step that composition
// and copying share.
#pragma once

#include "kernels/scratch.h"
#include "kernels/types.h"
#include "morva.h"

namespace morva {

// Fits source's sourceRect into cellRect of target by scaleMode and resizes
// into it. Both images must be valid and of one format. False for a scale
// mode other than stretch, fit and fill, with the target untouched.
bool copyWithResize(const TImage* source, const IppiRect& sourceRect, TImage* target,
                    const IppiRect& cellRect, int32_t interpolation, int32_t scaleMode);

// The same with the resize's work buffers taken from work.
bool copyWithResize(const TImage* source, const IppiRect& sourceRect, TImage* target,
                    const IppiRect& cellRect, int32_t interpolation, int32_t scaleMode,
                    ScratchBuffer& work);

// One source of a render into its cell through the whole converted frame:
// a zero-filled image "colorspaceconverter" of the source's size and the
// target's format, convertColorSpace into it, copyWithResize from it; or
// copyWithResize from the source itself where the formats agree. The path of
// the trace, and the reference that every faster path equals.
void renderSourceWholeFrame(const TImage& source, const IppiRect& cell, TImage& target,
                            ScratchBuffer& work);

// morvaCopyImage between images of different sizes through the whole
// resized image: a zero-filled image "Tempresize" of the destination's size
// and the source's format, copyWithResize into it, convertColorSpace from
// it. The path of the trace, and the reference of the band path.
bool copyResizedWholeFrame(const TImage& source, TImage& destination, int32_t interpolation,
                           int32_t scaleMode, ScratchBuffer& work);

}  // namespace morva
