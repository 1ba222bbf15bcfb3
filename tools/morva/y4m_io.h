// Raw video in the YUV4MPEG2 container: a header line, then frames that each
// start with a FRAME line.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "images.h"

namespace morvatool {

enum class Y4mChroma { C420, C422, Mono };

struct Y4mHeader {
    int32_t width = 0;
    int32_t height = 0;
    Y4mChroma chroma = Y4mChroma::C420;
    int32_t rateNumerator = 25;
    int32_t rateDenominator = 1;
};

// Parses a header line without its line end. Throws ToolError with the reason.
Y4mHeader parseY4mHeader(std::string_view line);

// Bytes of one frame's planes in the file, without the FRAME line.
int64_t y4mFrameBytes(const Y4mHeader& header);

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

// Reads frames in any order. Opening indexes every FRAME line, so a missing
// marker or a cut-off last frame is found before any work starts.
class Y4mReader {
public:
    // Throws ToolError "cannot read 'path': reason".
    explicit Y4mReader(const std::string& path);

    const Y4mHeader& header() const { return header_; }
    int64_t frameCount() const { return int64_t(frameOffsets_.size()); }

    // 4:2:0 and grey frames are held as FORMAT_I420 (grey with neutral
    // chroma, since nothing converts from grey), 4:2:2 as planar FORMAT_YVYU.
    int32_t imageFormat() const;
    ImagePtr allocateFrameImage(const char* name) const;

    // Fills an image from allocateFrameImage with frame `index`, padding the
    // library's rounded lines by repeating the last column and row.
    void readFrame(int64_t index, TImage& image);

private:
    [[noreturn]] void fail(const std::string& reason) const;
    void indexFrames(int64_t fileSize);
    void readPlane(TImage& image, int plane, int32_t width, int32_t height);

    std::string path_;
    FilePtr file_;
    Y4mHeader header_;
    std::vector<int64_t> frameOffsets_;  // where each frame's planes begin
};

class Y4mWriter {
public:
    // Throws ToolError "cannot write 'path': reason".
    Y4mWriter(const std::string& path, const Y4mHeader& header);
    // A video that was not finished is removed rather than left cut off.
    ~Y4mWriter();
    Y4mWriter(const Y4mWriter&) = delete;
    Y4mWriter& operator=(const Y4mWriter&) = delete;

    // The image must be FORMAT_I420 or FORMAT_YV12 for 4:2:0, FORMAT_YVYU for
    // 4:2:2, and have a luma plane 0 for grey; it may be larger than the
    // header's frame size.
    void writeFrame(const TImage& image);

    // Flushes and closes; throws if anything was lost.
    void finish();

private:
    bool accepts(const TImage& image) const;
    void writeBytes(const uint8_t* bytes, size_t count);
    void writePlane(const TImage& image, int plane, int32_t width, int32_t height);

    std::string path_;
    FilePtr file_;
    Y4mHeader header_;
};

}  // namespace morvatool
