// Images, interpolation values and processor slots drawn from a fuzzer's
// input, shared by the targets.
#pragma once

#include <memory>
#include <vector>

#include "fuzz_input.h"
#include "kernels/dispatch.h"
#include "morva.h"

namespace morva::fuzz {

struct ImageDeleter {
    void operator()(TImage* image) const { morvaFreeImage(image); }
};
using ImagePtr = std::unique_ptr<TImage, ImageDeleter>;

// Every plane lies inside the image's bytes, one behind the other, with lines
// long enough for its units; entries behind the planes stay zero.
inline void checkPlanesFit(const TImage& image) {
    const PlaneInfo& info = *image.planeInfo;
    int64_t offset = 0;
    for (int i = 0; i < 4; ++i) {
        const PlaneEntry& p = info.planes[i];
        if (i >= info.planeCount) {
            FUZZ_CHECK(p.data == nullptr && p.width == 0 && p.height == 0 && p.stride == 0 && p.size == 0);
            continue;
        }
        FUZZ_CHECK(p.width >= 0 && p.height >= 0 && p.offset == offset && p.data == image.data + p.offset);
        FUZZ_CHECK(int64_t(p.stride) >= int64_t(p.width) * p.bytesPerChannel * p.channels);
        FUZZ_CHECK(int64_t(p.size) == int64_t(p.stride) * p.height);
        offset += p.size;
    }
    FUZZ_CHECK(offset == image.size);
}

// A top-down image of any format at up to maxSide by maxSide pixels, filled
// from the input, with random attributes; null where the library refuses it.
inline ImagePtr randomImage(FuzzInput& in, const char* name, int32_t maxSide) {
    const int32_t format = in.inRange(0, 21);
    const int32_t width = in.inRange(1, maxSide), height = in.inRange(1, maxSide);
    ImagePtr image(morvaAllocateImage(name, width, -height, format, nullptr, 0));
    if (!image) return image;
    checkPlanesFit(*image);
    in.fill(image->data, size_t(image->size));
    return image;
}

// The interpolation ids, with values around them and now and then any value;
// the three flags at random.
inline int32_t randomInterpolation(FuzzInput& in) {
    static const int32_t ids[] = {INTER_NN, INTER_LINEAR, INTER_CUBIC, INTER_CUBIC_BSPLINE, INTER_CUBIC_CATMULLROM,
                                  INTER_CUBIC_B05C03, INTER_SUPER, INTER_LANCZOS, 0, 3, 9, 17};
    const int32_t id = in.inRange(0, 31) == 0 ? in.integral<int32_t>() : in.pick(ids);
    const uint32_t flags = uint32_t(in.inRange(0, 7)) << 29;
    return int32_t((uint32_t(id) & 0x1FFFFFFFu) | flags);
}

// The scalar definitions first, then the first slot of each instruction level
// this processor runs.
inline std::vector<int> comparisonSlots() {
    std::vector<int> slots{kScalarCpuSlot};
    for (int slot = 0; slot <= highestCpuSlot(); ++slot)
        if (slot == 0 || slotIsa(slot) != slotIsa(slot - 1)) slots.push_back(slot);
    return slots;
}

// What a call gave: its result and the bytes of the image it wrote.
struct Outcome {
    bool result;
    std::vector<uint8_t> bytes;
};

// Runs call() at every comparison slot, and stops the fuzzer with describe()'s
// text where a slot's outcome differs from that of the scalar definitions.
// The slot in effect before is restored.
template <class Call, class Describe>
void expectEqualAtEverySlot(Call&& call, Describe&& describe) {
    const int previous = currentCpuSlot();
    Outcome scalar{};
    for (int slot : comparisonSlots()) {
        setCpuSlot(slot);
        Outcome outcome = call();
        if (slot == kScalarCpuSlot) {
            scalar = std::move(outcome);
        } else if (outcome.result != scalar.result || outcome.bytes != scalar.bytes) {
            std::fprintf(stderr, "slot %d differs from the scalar definitions: ", slot);
            describe();
            std::abort();
        }
    }
    setCpuSlot(previous);
}

}  // namespace morva::fuzz
