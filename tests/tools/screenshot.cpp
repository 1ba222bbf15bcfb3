#include "screenshot.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace morvatool {

namespace {
// A channel of a pixel by its mask, scaled to 8 bits.
uint8_t channel(unsigned long pixel, unsigned long mask) {
    int shift = 0;
    while (mask && !(mask & 1)) mask >>= 1, ++shift;
    return mask ? uint8_t(((pixel >> shift) & mask) * 255 / mask) : 0;
}
}  // namespace

ImagePtr screenshot(int32_t width, int32_t height) {
    Display* display = XOpenDisplay(nullptr);
    if (!display) return nullptr;
    XImage* shot =
        XGetImage(display, DefaultRootWindow(display), 0, 0, unsigned(width), unsigned(height), AllPlanes, ZPixmap);
    ImagePtr image = allocateImage("screen", width, height, FORMAT_RGB24);
    for (int32_t y = 0; y < height; ++y)
        for (int32_t x = 0; x < width; ++x) {
            const unsigned long pixel = XGetPixel(shot, x, y);
            uint8_t* out = planeRow(*image, 0, y) + 3 * x;
            out[0] = channel(pixel, shot->blue_mask), out[1] = channel(pixel, shot->green_mask);
            out[2] = channel(pixel, shot->red_mask);
        }
    XDestroyImage(shot);
    XCloseDisplay(display);
    return image;
}

}  // namespace morvatool
