// The tool built without a window system.
#include "window.h"

namespace morvatool {

std::unique_ptr<FrameWindow> openFrameWindow(int32_t, int32_t, const std::string&) {
    throw ToolError("this morva was built without SDL2, so --show is not available");
}

}  // namespace morvatool
