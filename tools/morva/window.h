// A window that shows composed frames as they are made. It draws through the
// library's display entry point, morvaDisplayImage, onto a drawing target
// that stands for the window.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "images.h"

namespace morvatool {

class FrameWindow {
public:
    virtual ~FrameWindow() = default;
    // Shows a FORMAT_RGB32 frame; false once the user has closed the window.
    virtual bool show(TImage& frame) = 0;
    // Keeps the last frame on screen until the user closes the window.
    virtual void waitUntilClosed() = 0;
};

// Throws ToolError if the window can't be opened, or this build of the tool
// has no window system.
std::unique_ptr<FrameWindow> openFrameWindow(int32_t width, int32_t height, const std::string& title);

}  // namespace morvatool
