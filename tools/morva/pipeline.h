// Frames flow through three kinds of thread, so that reading, composing and
// writing overlap: one thread reads the inputs' frames into a small ring of
// slots, one or more compose a slot each into targets of their own (the
// library allows renders on distinct targets at once), and the calling thread
// takes the results in frame order.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "images.h"

namespace morvatool {

// The sources of one frame. `images` hold each video's frame (shared where a
// frame stands on several slots); `sources` point at them or at stills shared
// by every slot.
struct FrameSlot {
    std::vector<std::shared_ptr<TImage>> images;
    std::vector<TImage*> sources;
};

struct PipelineStages {
    int slots = 3;
    // Fills a slot with the sources of a frame; false when there is none.
    // Called on one thread, frames in order.
    std::function<bool(int64_t frame, FrameSlot& slot)> read;
    // Composes a slot; each function gets a thread of its own and returns
    // what it made, which stays valid until `take` returns for that frame.
    std::vector<std::function<const void*(const FrameSlot& slot)>> composers;
    // Called on the calling thread for each composed frame, in order; false
    // stops the pipeline after this frame.
    std::function<bool(int64_t frame, const void* composed)> take;
    // Prepares a new slot's images.
    std::function<void(FrameSlot& slot)> prepare;
};

// Runs until `read` has no more frames or `take` stops. An exception thrown
// in any stage stops every stage and is thrown again here.
void runPipeline(const PipelineStages& stages);

}  // namespace morvatool
