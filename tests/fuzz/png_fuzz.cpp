// The command-line tool's PNG reader on mutated files: a damaged file is
// refused with the tool's error; a picture that is read is an RGB image.
#include "fuzz_input.h"
#include "png_io.h"

namespace {

// Pixels the header (always the first chunk) declares. The reader decodes
// the whole picture before it asks the library for an image, so a file of a
// few bytes can make it allocate a gigabyte: inputs that large only cost the
// fuzzer memory, and are left out.
uint64_t declaredPixels(const uint8_t* data, size_t size) {
    if (size < 24 || std::memcmp(data + 12, "IHDR", 4) != 0) return 0;
    auto bigEndian = [data](size_t at) {
        return uint64_t(data[at]) << 24 | uint64_t(data[at + 1]) << 16 | uint64_t(data[at + 2]) << 8 | data[at + 3];
    };
    return bigEndian(16) * bigEndian(20);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (declaredPixels(data, size) > (uint64_t(1) << 22)) return 0;
    try {
        const morvatool::ImagePtr image = morvatool::readPngFromMemory(data, size, {10, 20, 30});
        FUZZ_CHECK(image && (image->format == FORMAT_RGB24 || image->format == FORMAT_RGB32));
    } catch (const morvatool::ToolError&) {
    }
    return 0;
}
