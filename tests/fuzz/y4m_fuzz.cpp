// The command-line tool's YUV4MPEG2 reader on mutated files: a damaged file
// is refused with the tool's error, and every frame it indexes can be read.
#include "memory_file.h"
#include "y4m_io.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    morva::fuzz::MemoryFile file(data, size);
    try {
        morvatool::Y4mReader reader(file.path());
        FUZZ_CHECK(reader.frameCount() > 0);
        morvatool::ImagePtr frame = reader.allocateFrameImage("frame");
        // Backwards, so that reading seeks; the last frames are enough.
        for (int64_t i = reader.frameCount() - 1; i >= 0 && i >= reader.frameCount() - 3; --i)
            reader.readFrame(i, *frame);
    } catch (const morvatool::ToolError&) {
    }
    return 0;
}
