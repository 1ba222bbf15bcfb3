#include <morva.h>

int main() {
    TImage* image = morvaAllocateImage("downstream", 8, 4, FORMAT_RGB32, nullptr, 0);
    int width = 0, height = 0, format = -1;
    const bool ok = morvaGetImageDimension(image, &width, &height, &format) && width == 8 &&
                    height == 4 && format == FORMAT_RGB32;
    morvaFreeImage(image);
    return ok ? 0 : 1;
}
