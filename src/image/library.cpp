// Opening and closing the library. Only the display depends on it; images and
// layouts work without, and survive a close.
#include <atomic>

#include "display/display_platform.h"
#include "morva.h"
#include "trace/trace.h"

namespace {
// The library keeps no count: a second open does nothing and the first close
// ends it.
std::atomic<bool> g_initialised{false};
}  // namespace

void morvaInit() {
    morva::CTraces scope("morvaInit()");
    if (g_initialised.exchange(true)) return;
    morva::display_platform::start();
}

void morvaFinit() {
    morva::CTraces scope("morvaFinit()");
    if (!g_initialised.exchange(false)) return;
    morva::display_platform::stop();
}
