// The one way into colour conversion: from one image into another of the same
// size and any format, directly or in two legs through a temporary image.
#pragma once

#include "morva.h"

namespace morva {

bool convertColorSpace(const TImage* source, TImage* destination);

// Internal steps, exposed for tests.
bool convertColorSpaceWithTemoraryImage(const TImage* source, TImage* destination,
                                        int32_t temporaryFormat);
bool convertColorSpaceDirect(const TImage* source, TImage* destination);

}  // namespace morva
