// Drawing an image on a device context at its origin, at natural size. The
// buffer goes as it stands: what shows is what the context makes of the
// bitmap description, and a context that can't take it draws nothing.
#include "display/display_platform.h"
#include "image/image.h"
#include "trace/trace.h"

bool morvaDisplayImage(TImage* image, HDC deviceContext) {
    morva::CTraces scope("morvaDisplayImage()");
    if (!morva::isValidImage(image)) return false;
    BITMAPINFO info;
    if (!morvaGetBitmapInfo(image, &info)) return false;
    // Whether anything was drawn doesn't change the result.
    morva::display_platform::draw(deviceContext, info, image->data);
    return true;
}
