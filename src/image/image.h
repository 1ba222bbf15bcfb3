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

// The planes that setPlaneInfo lays out for image's width, height and format,
// and their total size, without a buffer: plane data pointers stay null.
// False where setPlaneInfo refuses the geometry.
bool layoutPlanes(const TImage& image, PlaneInfo& info, int32_t& size);

// Advances the image id counter as count allocations do, for work that
// stands in for temporary images without making them: the ids that later
// images get stay the same.
void reserveImageIds(int32_t count);

// The image's dump text; empty for an image that isn't valid.
std::string describeImage(const TImage* image);

}  // namespace morva
