// The command-line tool's PNG reader on mutated files: a damaged file is
// refused with the tool's error; a picture that is read is an RGB image of
// the size its header gives.
#include "memory_file.h"
#include "png_io.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    morva::fuzz::MemoryFile file(data, size);
    try {
        const morvatool::ImagePtr image = morvatool::readPng(file.path(), {10, 20, 30});
        FUZZ_CHECK(image && (image->format == FORMAT_RGB24 || image->format == FORMAT_RGB32));
    } catch (const morvatool::ToolError&) {
    }
    return 0;
}
