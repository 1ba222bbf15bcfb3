// morvaCopyImage between random formats, sizes, interpolations and scale
// modes: the same call at the scalar definitions and at every instruction
// level this processor runs must give the same result and the same bytes.
#include <cstring>
#include <vector>

#include "fuzz_images.h"

namespace {

using namespace morva::fuzz;

// A fresh destination holding `before`, so that every slot starts alike.
Outcome copyInto(const TImage& source, const TImage& shape, const std::vector<uint8_t>& before, int32_t interpolation,
                 int32_t scaleMode, bool ontoItself) {
    ImagePtr destination(morvaAllocateImage("destination", shape.width, -shape.height, shape.format, before.data(), 0));
    FUZZ_CHECK(destination != nullptr);
    const TImage* from = ontoItself ? destination.get() : &source;
    const bool result = morvaCopyImage(from, destination.get(), interpolation, scaleMode);
    return {result, {destination->data, destination->data + destination->size}};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzInput in(data, size);
    ImagePtr source = randomImage(in, "source", 96);
    ImagePtr shape = randomImage(in, "shape", 96);
    if (!source || !shape) return 0;
    const int32_t interpolation = randomInterpolation(in);
    const int32_t scaleMode = in.inRange(-1, 3);
    const bool ontoItself = in.inRange(0, 7) == 0;
    const std::vector<uint8_t> before(shape->data, shape->data + shape->size);

    expectEqualAtEverySlot(
        [&] { return copyInto(*source, *shape, before, interpolation, scaleMode, ontoItself); },
        [&] {
            std::fprintf(stderr, "format %d %dx%d to %d %dx%d, interpolation %#x, scale mode %d%s\n", source->format,
                         source->width, source->height, shape->format, shape->width, shape->height,
                         unsigned(interpolation), scaleMode, ontoItself ? ", onto itself" : "");
        });
    return 0;
}
