// Without a system drawing service, a device context is one of our drawing
// targets: the bitmap goes to its callback. The service's start and stop keep
// their meaning: nothing draws before the library is opened.
#include <atomic>

#include "display/display_platform.h"

namespace morva::display_platform {
namespace {
std::atomic<bool> g_started{false};
}

void start() { g_started = true; }
void stop() { g_started = false; }

bool draw(HDC context, const BITMAPINFO& info, const uint8_t* pixels) {
    if (!g_started || context == nullptr || context->draw == nullptr) return false;
    return context->draw(context->user, &info, pixels);
}

}  // namespace morva::display_platform
