// The command-line tool's YUV4MPEG2 reader on mutated files: a damaged header
// is refused with the tool's error, and frames are read until the video ends
// or its bytes stop being frames.
#include "fuzz_input.h"
#include "y4m_io.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    try {
        const std::unique_ptr<morvatool::Y4mReader> reader = morvatool::Y4mReader::fromMemory(data, size);
        // A frame larger than the input can't be read whole; the tool would
        // still allocate its image, which only costs the fuzzer memory.
        if (morvatool::y4mFrameBytes(reader->header()) > int64_t(size)) return 0;
        morvatool::ImagePtr frame = reader->allocateFrameImage("frame");
        FUZZ_CHECK(frame != nullptr);
        while (reader->framesRead() < 8 && reader->readFrame(*frame)) {
        }
    } catch (const morvatool::ToolError&) {
    }
    return 0;
}
