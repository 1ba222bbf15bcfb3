// The pixels an X server shows, for tests of the window. Kept apart from the
// tests themselves: Xlib's macros (None, Status, ...) collide with C++ names.
#pragma once

#include "images.h"

namespace morvatool {

// The screen's top left corner as a FORMAT_RGB24 image; nothing without a
// display.
ImagePtr screenshot(int32_t width, int32_t height);

}  // namespace morvatool
