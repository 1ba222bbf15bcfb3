// What display needs of the platform: starting and stopping its drawing
// service, and drawing a described bitmap on a device context.
#pragma once

#include "morva.h"

namespace morva::display_platform {

void start();
void stop();
// Hands the bitmap to the context; false if nothing was drawn. Draws nothing
// while the service isn't started.
bool draw(HDC context, const BITMAPINFO& info, const uint8_t* pixels);

}  // namespace morva::display_platform
