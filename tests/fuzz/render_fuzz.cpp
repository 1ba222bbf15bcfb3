// A layout text from the input, and a render of random sources, some missing,
// each with its own attributes, into a random target: the same render at the
// scalar definitions and at every instruction level this processor runs must
// give the same result and the same bytes. Now and then the target is one of
// its own sources.
#include <cstring>
#include <vector>

#include "fuzz_images.h"

using namespace morva::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzInput in(data, size);
    ImagePtr target = randomImage(in, "target", 256);
    if (!target) return 0;
    std::vector<ImagePtr> owned;
    std::vector<TImage*> sources;
    for (int i = in.inRange(0, 6); i > 0; --i) {
        owned.push_back(in.inRange(0, 5) == 0 ? nullptr : randomImage(in, "source", 128));
        if (owned.back()) morvaSetAttributes(owned.back().get(), randomInterpolation(in), in.inRange(-1, 3));
        sources.push_back(owned.back().get());
    }
    const int32_t count = in.inRange(-1, int32_t(sources.size()));
    // Now and then the target is also one of the sources: the call must stay
    // inside the image, though what it reads depends on the order of writes,
    // so only the scalar definitions run.
    const int32_t ontoItself = sources.empty() || in.inRange(0, 15) != 0 ? -1 : in.inRange(0, int32_t(sources.size()) - 1);
    // Names are looked up without regard to case; an unknown one is refused.
    static const char* const names[] = {"fuzz", "FUZZ", "Fuzz", "other"};
    const char* name = in.pick(names);
    const std::string text = in.text(256);
    FUZZ_CHECK(morvaSetLayout("fuzz", text.c_str()));

    const std::vector<uint8_t> before(target->data, target->data + target->size);
    auto render = [&] {
        ImagePtr fresh(morvaAllocateImage("fresh", target->width, -target->height, target->format, before.data(), 0));
        FUZZ_CHECK(fresh != nullptr);
        std::vector<TImage*> drawn = sources;
        if (ontoItself >= 0) drawn[size_t(ontoItself)] = fresh.get();
        const bool result = morvaRender(name, fresh.get(), drawn.empty() ? nullptr : drawn.data(), count);
        return Outcome{result, {fresh->data, fresh->data + fresh->size}};
    };
    if (ontoItself >= 0) {
        const int previous = morva::currentCpuSlot();
        morva::setCpuSlot(morva::kScalarCpuSlot);
        render();
        morva::setCpuSlot(previous);
    } else {
        expectEqualAtEverySlot(render, [&] {
            std::fprintf(stderr, "layout '%s', target format %d %dx%d\n", text.c_str(), target->format,
                         target->width, target->height);
        });
    }
    morvaSetLayout("fuzz", nullptr);
    return 0;
}
