// The public header on its own, as a C++11 program includes it.
#include "morva.h"

namespace {
int useDeclarations() {
    TImage* image = morvaAllocateImage("x", 4, 2, FORMAT_GRAY8, nullptr, 0);
    int width = 0;
    morvaGetImageDimension(image, &width, nullptr, nullptr);
    morvaFreeImage(image);
    return width + INTER_LANCZOS + EDGE_SUBPIXEL;
}
}  // namespace

int morvaHeaderCxx11Check() { return useDeclarations(); }
