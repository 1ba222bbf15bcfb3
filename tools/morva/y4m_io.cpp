#include "y4m_io.h"

#include <sys/stat.h>

#include <cerrno>
#include <charconv>
#include <cstring>

namespace morvatool {

namespace {

constexpr std::string_view kMagic = "YUV4MPEG2";
constexpr std::string_view kFrameMarker = "FRAME";
// Longer header or FRAME lines than this are taken as a damaged file.
constexpr size_t kMaxLineLength = 4096;

int32_t parseDimension(std::string_view text, char tag) {
    int32_t value = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value <= 0 || value > kMaxSide)
        throw ToolError(std::string("bad frame ") + (tag == 'W' ? "width" : "height") + " '" +
                        std::string(text) + "' (1 to " + std::to_string(kMaxSide) + ")");
    return value;
}

void parseRate(std::string_view text, Y4mHeader& header) {
    const size_t colon = text.find(':');
    int32_t numerator = 0, denominator = 0;
    bool good = colon != std::string_view::npos;
    if (good) {
        auto a = std::from_chars(text.data(), text.data() + colon, numerator);
        auto b = std::from_chars(text.data() + colon + 1, text.data() + text.size(), denominator);
        good = a.ec == std::errc() && a.ptr == text.data() + colon && b.ec == std::errc() &&
               b.ptr == text.data() + text.size() && numerator > 0 && denominator > 0;
    }
    if (!good) throw ToolError("bad frame rate '" + std::string(text) + "'");
    header.rateNumerator = numerator;
    header.rateDenominator = denominator;
}

Y4mChroma parseChroma(std::string_view tag) {
    if (tag == "420" || tag == "420jpeg" || tag == "420paldv" || tag == "420mpeg2")
        return Y4mChroma::C420;
    if (tag == "422") return Y4mChroma::C422;
    if (tag == "mono") return Y4mChroma::Mono;
    throw ToolError("unsupported colour space 'C" + std::string(tag) +
                    "' (8-bit 420, 422 and mono are read)");
}

std::string_view chromaTag(Y4mChroma chroma) {
    switch (chroma) {
    case Y4mChroma::C420: return "420jpeg";
    case Y4mChroma::C422: return "422";
    case Y4mChroma::Mono: return "mono";
    }
    return "420jpeg";
}

struct PlaneSize {
    int32_t width, height;
};

// The planes of a frame as the file stores them: chroma halves round up.
int filePlanes(const Y4mHeader& header, PlaneSize planes[3]) {
    const int32_t halfWidth = (header.width + 1) / 2;
    planes[0] = {header.width, header.height};
    switch (header.chroma) {
    case Y4mChroma::Mono: return 1;
    case Y4mChroma::C422:
        planes[1] = planes[2] = {halfWidth, header.height};
        return 3;
    case Y4mChroma::C420:
        planes[1] = planes[2] = {halfWidth, (header.height + 1) / 2};
        return 3;
    }
    return 1;
}

// Reads one line without its end; false at a clean end of file. Throws when
// the line is too long or the file ends within it.
bool readLine(std::FILE* file, std::string& line) {
    line.clear();
    int c = std::fgetc(file);
    if (c == EOF) return false;
    while (c != '\n') {
        if (c == EOF) throw ToolError("the file ends inside a header line");
        if (line.size() == kMaxLineLength) throw ToolError("a header line is too long");
        line.push_back(char(c));
        c = std::fgetc(file);
    }
    return true;
}

}  // namespace

Y4mHeader parseY4mHeader(std::string_view line) {
    if (line.substr(0, kMagic.size()) != kMagic ||
        (line.size() > kMagic.size() && line[kMagic.size()] != ' '))
        throw ToolError("not a YUV4MPEG2 file");
    Y4mHeader header;
    bool haveWidth = false, haveHeight = false;
    std::string_view rest = line.substr(kMagic.size());
    while (!rest.empty()) {
        const size_t start = rest.find_first_not_of(' ');
        if (start == std::string_view::npos) break;
        rest.remove_prefix(start);
        const size_t end = std::min(rest.find(' '), rest.size());
        const std::string_view token = rest.substr(0, end);
        rest.remove_prefix(end);
        const std::string_view value = token.substr(1);
        switch (token[0]) {
        case 'W': header.width = parseDimension(value, 'W'); haveWidth = true; break;
        case 'H': header.height = parseDimension(value, 'H'); haveHeight = true; break;
        case 'F': parseRate(value, header); break;
        case 'C': header.chroma = parseChroma(value); break;
        default: break;  // interlacing, aspect, comments: nothing to do with them
        }
    }
    if (!haveWidth || !haveHeight) throw ToolError("the header has no frame size");
    return header;
}

int64_t y4mFrameBytes(const Y4mHeader& header) {
    PlaneSize planes[3];
    const int count = filePlanes(header, planes);
    int64_t bytes = 0;
    for (int i = 0; i < count; ++i) bytes += int64_t(planes[i].width) * planes[i].height;
    return bytes;
}

Y4mReader::Y4mReader(const std::string& path) : path_(path) {
    file_.reset(std::fopen(path.c_str(), "rb"));
    if (!file_) fail(std::strerror(errno));
    struct stat info {};
    if (fstat(fileno(file_.get()), &info) != 0 || !S_ISREG(info.st_mode)) fail("not a regular file");
    std::string line;
    try {
        if (!readLine(file_.get(), line)) fail("the file is empty");
        header_ = parseY4mHeader(line);
        indexFrames(int64_t(info.st_size));
    } catch (const ToolError& error) {
        fail(error.what());
    }
}

void Y4mReader::fail(const std::string& reason) const {
    throw ToolError("cannot read '" + path_ + "': " + reason);
}

void Y4mReader::indexFrames(int64_t fileSize) {
    const int64_t frameBytes = y4mFrameBytes(header_);
    std::string line;
    while (readLine(file_.get(), line)) {
        const std::string frameNumber = std::to_string(frameOffsets_.size() + 1);
        if (line.compare(0, kFrameMarker.size(), kFrameMarker) != 0 ||
            (line.size() > kFrameMarker.size() && line[kFrameMarker.size()] != ' '))
            throw ToolError("frame " + frameNumber + " has no FRAME marker");
        const int64_t offset = ftello(file_.get());
        if (offset < 0 || fileSize - offset < frameBytes)
            throw ToolError("frame " + frameNumber + " is cut off");
        frameOffsets_.push_back(offset);
        if (fseeko(file_.get(), offset + frameBytes, SEEK_SET) != 0)
            throw ToolError(std::strerror(errno));
    }
    if (frameOffsets_.empty()) throw ToolError("the file has no frame");
}

int32_t Y4mReader::imageFormat() const {
    return header_.chroma == Y4mChroma::C422 ? FORMAT_YVYU : FORMAT_I420;
}

ImagePtr Y4mReader::allocateFrameImage(const char* name) const {
    return allocateImage(name, header_.width, header_.height, imageFormat());
}

void Y4mReader::readPlane(TImage& image, int index, int32_t width, int32_t height) {
    for (int32_t y = 0; y < height; ++y)
        if (std::fread(planeRow(image, index, y), 1, size_t(width), file_.get()) != size_t(width))
            fail("the file changed while it was read");
    padPlane(image, index, width, height, 1);
}

void Y4mReader::readFrame(int64_t index, TImage& image) {
    if (index < 0 || index >= frameCount()) fail("no frame " + std::to_string(index + 1));
    if (fseeko(file_.get(), frameOffsets_[size_t(index)], SEEK_SET) != 0) fail(std::strerror(errno));
    PlaneSize planes[3];
    const int count = filePlanes(header_, planes);
    for (int i = 0; i < count; ++i) readPlane(image, i, planes[i].width, planes[i].height);
    if (header_.chroma == Y4mChroma::Mono)
        for (int i = 1; i < 3; ++i) std::memset(plane(image, i).data, 128, size_t(plane(image, i).size));
}

Y4mWriter::Y4mWriter(const std::string& path, const Y4mHeader& header) : path_(path), header_(header) {
    file_.reset(std::fopen(path.c_str(), "wb"));
    if (!file_) throw ToolError("cannot write '" + path + "': " + std::strerror(errno));
    const std::string line = std::string(kMagic) + " W" + std::to_string(header.width) + " H" +
                             std::to_string(header.height) + " F" +
                             std::to_string(header.rateNumerator) + ":" +
                             std::to_string(header.rateDenominator) + " Ip A1:1 C" +
                             std::string(chromaTag(header.chroma)) + "\n";
    writeBytes(reinterpret_cast<const uint8_t*>(line.data()), line.size());
}

Y4mWriter::~Y4mWriter() {
    if (file_) {
        file_.reset();
        std::remove(path_.c_str());
    }
}

void Y4mWriter::writeBytes(const uint8_t* bytes, size_t count) {
    if (std::fwrite(bytes, 1, count, file_.get()) != count)
        throw ToolError("cannot write '" + path_ + "': " + std::strerror(errno));
}

void Y4mWriter::writePlane(const TImage& image, int index, int32_t width, int32_t height) {
    for (int32_t y = 0; y < height; ++y) writeBytes(planeRow(image, index, y), size_t(width));
}

bool Y4mWriter::accepts(const TImage& image) const {
    if (image.width < header_.width || image.height < header_.height) return false;
    switch (header_.chroma) {
    case Y4mChroma::Mono: return plane(image, 0).channels == 1 && plane(image, 0).bytesPerChannel == 1;
    case Y4mChroma::C422: return image.format == FORMAT_YVYU;
    case Y4mChroma::C420: return image.format == FORMAT_I420 || image.format == FORMAT_YV12;
    }
    return false;
}

void Y4mWriter::writeFrame(const TImage& image) {
    if (!accepts(image))
        throw ToolError("internal error: a frame of format " + std::to_string(image.format) +
                        " does not fit the video being written");
    writeBytes(reinterpret_cast<const uint8_t*>("FRAME\n"), 6);
    PlaneSize planes[3];
    const int count = filePlanes(header_, planes);
    // The second plane of YV12 holds Cr; the file wants Cb first.
    const bool crossed = image.format == FORMAT_YV12;
    for (int i = 0; i < count; ++i) {
        const int source = crossed && i > 0 ? 3 - i : i;
        writePlane(image, source, planes[i].width, planes[i].height);
    }
}

void Y4mWriter::finish() {
    std::FILE* file = file_.release();
    const bool flushed = std::fflush(file) == 0 && !std::ferror(file);
    const int flushError = errno;
    const bool closed = std::fclose(file) == 0;
    if (flushed && closed) return;
    const int error = flushed ? errno : flushError;
    std::remove(path_.c_str());
    throw ToolError("cannot write '" + path_ + "': " + std::strerror(error));
}

}  // namespace morvatool
