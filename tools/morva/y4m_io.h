// Raw video in the YUV4MPEG2 container: a header line, then frames that each
// start with a FRAME line. Both directions work front to back only, so a
// pipe serves as well as a file.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "images.h"

namespace morvatool {

enum class Y4mChroma { C420, C422, C444, C411, Mono };

struct Y4mHeader {
    int32_t width = 0;
    int32_t height = 0;
    Y4mChroma chroma = Y4mChroma::C420;
    int bits = 8;               // 8 to 16; samples above 8 bits take two bytes, little-endian
    bool alpha = false;         // C444alpha: a fourth plane of opacity
    bool fullRange = false;     // XCOLORRANGE=FULL; untagged files are video range
    int32_t rateNumerator = 25;
    int32_t rateDenominator = 1;
};

// Parses a header line without its line end. Throws ToolError with the reason.
Y4mHeader parseY4mHeader(std::string_view line);

// The header line that writes `header`, with its line end.
std::string y4mHeaderLine(const Y4mHeader& header);

// Bytes of one frame's planes in the file, without the FRAME line.
int64_t y4mFrameBytes(const Y4mHeader& header);

// Closes files it owns; standard input and output stay open.
struct FileCloser {
    void operator()(std::FILE* file) const {
        if (file != stdin && file != stdout) std::fclose(file);
    }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

class Y4mReader {
public:
    // Reads the header from `file`; `name` names the input in messages.
    // Throws ToolError "cannot read 'name': reason".
    Y4mReader(FilePtr file, std::string name);
    // A file by path, "-" for standard input.
    static std::unique_ptr<Y4mReader> open(const std::string& path);
    // The bytes of a whole file in memory.
    static std::unique_ptr<Y4mReader> fromMemory(const uint8_t* bytes, size_t size);

    const Y4mHeader& header() const { return header_; }
    const std::string& name() const { return name_; }

    // The frame count a regular file's size promises; nothing for a pipe.
    std::optional<int64_t> expectedFrames() const { return expectedFrames_; }

    // Frames are held as FORMAT_I420 for 4:2:0 and grey (with neutral chroma,
    // since nothing converts from grey), planar FORMAT_YVYU for 4:2:2 and
    // 4:4:4, FORMAT_Y411 for 4:1:1.
    int32_t imageFormat() const;
    ImagePtr allocateFrameImage(const char* name) const;

    // What reading changes of the frames, one phrase each: chroma halved
    // across, samples rounded to 8 bits, full range mapped to video range,
    // opacity dropped. Empty for 8-bit video-range files.
    std::vector<std::string> conversionNotes() const;

    // Reads the next frame into an image from allocateFrameImage, padding the
    // library's rounded lines by repeating the last column and row. False at
    // the end of the video: a frame that is cut off, or bytes that are no
    // FRAME line, end it too, and endNote() then tells what was left out.
    bool readFrame(TImage& image);
    int64_t framesRead() const { return framesRead_; }
    const std::string& endNote() const { return endNote_; }

    // Frames used where they lie, without a copy: possible for a regular
    // file of 8-bit video-range 4:2:0 or 4:2:2 whose planes the library lays
    // out as the file does. Maps the file and tells whether it could.
    bool mapFrames();
    // With the file mapped: the next frame's bytes, valid while the reader
    // lives, or nothing at the end (as readFrame).
    const uint8_t* readFrameInPlace();

    ~Y4mReader();
    Y4mReader(const Y4mReader&) = delete;
    Y4mReader& operator=(const Y4mReader&) = delete;

private:
    [[noreturn]] void fail(const std::string& reason) const;
    bool readFrameLine();
    bool readPlane(TImage& image, int plane, int32_t width, int32_t height);
    bool readRow(uint8_t* out, int32_t samples);
    bool readRowInto(TImage& image, int plane, int32_t row, int32_t samples);

    FilePtr file_;
    std::string name_;
    Y4mHeader header_;
    std::optional<int64_t> expectedFrames_;
    int64_t framesRead_ = 0;
    std::string endNote_;
    std::vector<uint8_t> rowBytes_;   // one row as the file stores it
    std::vector<uint8_t> rowSamples_; // one row in 8 bits, before chroma is halved
    uint8_t lumaLevels_[256], chromaLevels_[256];
    const uint8_t* mapped_ = nullptr;
    size_t mappedSize_ = 0;
};

class Y4mWriter {
public:
    // Writes the header to `file`, which the caller owns; `name` names the
    // output in messages. Throws ToolError "cannot write 'name': reason".
    Y4mWriter(std::FILE* file, std::string name, const Y4mHeader& header);

    // The image must be FORMAT_I420 for 4:2:0 and FORMAT_YVYU for 4:2:2; for
    // grey its plane 0 is written. It may be larger than the header's frame.
    void writeFrame(const TImage& image);

private:
    void writeBytes(const uint8_t* bytes, size_t count);

    std::FILE* file_;
    std::string name_;
    Y4mHeader header_;
};

}  // namespace morvatool
