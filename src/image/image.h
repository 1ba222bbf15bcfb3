// Internal operations of the image layer.
#pragma once

#include <string>

#include "morva.h"

namespace morva {

// A non-null image whose data and planeInfo are both set.
inline bool isValidImage(const TImage* image) {
    return image != nullptr && image->data != nullptr && image->planeInfo != nullptr;
}

// Builds the plane description from width, height and format; wraps buffer
// if it isn't null, else allocates.
bool setPlaneInfo(TImage* image, const uint8_t* buffer);

// The image's dump text; empty for an image that isn't valid.
std::string describeImage(const TImage* image);

}  // namespace morva
