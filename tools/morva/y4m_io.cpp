#include "y4m_io.h"

#include <sys/mman.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>

#include "colour.h"

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
        throw ToolError(std::string("bad frame ") + (tag == 'W' ? "width" : "height") + " '" + std::string(text) +
                        "' (1 to " + std::to_string(kMaxSide) + ")");
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

struct ChromaTag {
    std::string_view tag;
    Y4mChroma chroma;
    bool alpha;
};
constexpr ChromaTag kChromaTags[] = {
    {"420jpeg", Y4mChroma::C420, false}, {"420paldv", Y4mChroma::C420, false}, {"420mpeg2", Y4mChroma::C420, false},
    {"420", Y4mChroma::C420, false},     {"422", Y4mChroma::C422, false},      {"444alpha", Y4mChroma::C444, true},
    {"444", Y4mChroma::C444, false},     {"411", Y4mChroma::C411, false},      {"mono", Y4mChroma::Mono, false},
};

// "420", "422p10", "mono16", "444alpha" ...: a layout and a bit depth.
void parseColourSpace(std::string_view value, Y4mHeader& header) {
    for (const ChromaTag& known : kChromaTags) {
        if (value.substr(0, known.tag.size()) != known.tag) continue;
        std::string_view depth = value.substr(known.tag.size());
        if (!depth.empty() && depth[0] == 'p' && known.tag != "mono") depth.remove_prefix(1);
        int bits = 8;
        if (!depth.empty()) {
            auto [end, error] = std::from_chars(depth.data(), depth.data() + depth.size(), bits);
            if (error != std::errc() || end != depth.data() + depth.size() || bits < 8 || bits > 16 || known.alpha)
                break;
        }
        header.chroma = known.chroma, header.alpha = known.alpha, header.bits = bits;
        return;
    }
    throw ToolError("unsupported colour space 'C" + std::string(value) +
                    "' (420, 422, 444, 411 and mono of 8 to 16 bits are read)");
}

void parseExtension(std::string_view value, Y4mHeader& header) {
    if (value == "COLORRANGE=FULL") header.fullRange = true;
    if (value == "COLORRANGE=LIMITED") header.fullRange = false;
}

std::string_view chromaTag(Y4mChroma chroma) {
    switch (chroma) {
    case Y4mChroma::C420: return "420jpeg";
    case Y4mChroma::C422: return "422";
    case Y4mChroma::C444: return "444";
    case Y4mChroma::C411: return "411";
    case Y4mChroma::Mono: return "mono";
    }
    return "420jpeg";
}

struct PlaneSize {
    int32_t width, height;
};

// The planes of a frame as the file stores them: chroma sizes round up.
int filePlanes(const Y4mHeader& header, PlaneSize planes[4]) {
    planes[0] = {header.width, header.height};
    const int32_t half = (header.width + 1) / 2, quarter = (header.width + 3) / 4;
    switch (header.chroma) {
    case Y4mChroma::Mono: return 1;
    case Y4mChroma::C420: planes[1] = {half, (header.height + 1) / 2}; break;
    case Y4mChroma::C422: planes[1] = {half, header.height}; break;
    case Y4mChroma::C444: planes[1] = {header.width, header.height}; break;
    case Y4mChroma::C411: planes[1] = {quarter, header.height}; break;
    }
    planes[2] = planes[1];
    if (!header.alpha) return 3;
    planes[3] = planes[0];
    return 4;
}

int bytesPerSample(const Y4mHeader& header) { return header.bits > 8 ? 2 : 1; }

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
    if (line.substr(0, kMagic.size()) != kMagic || (line.size() > kMagic.size() && line[kMagic.size()] != ' '))
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
        case 'C': parseColourSpace(value, header); break;
        case 'X': parseExtension(value, header); break;
        default: break;  // interlacing, aspect, comments: nothing to do with them
        }
    }
    if (!haveWidth || !haveHeight) throw ToolError("the header has no frame size");
    return header;
}

std::string y4mHeaderLine(const Y4mHeader& header) {
    return std::string(kMagic) + " W" + std::to_string(header.width) + " H" + std::to_string(header.height) + " F" +
           std::to_string(header.rateNumerator) + ":" + std::to_string(header.rateDenominator) + " Ip A1:1 C" +
           std::string(chromaTag(header.chroma)) + " XCOLORRANGE=" + (header.fullRange ? "FULL" : "LIMITED") + "\n";
}

int64_t y4mFrameBytes(const Y4mHeader& header) {
    PlaneSize planes[4];
    const int count = filePlanes(header, planes);
    int64_t bytes = 0;
    for (int i = 0; i < count; ++i) bytes += int64_t(planes[i].width) * planes[i].height;
    return bytes * bytesPerSample(header);
}

Y4mReader::Y4mReader(FilePtr file, std::string name) : file_(std::move(file)), name_(std::move(name)) {
    if (!file_) fail(std::strerror(errno));
    std::string line;
    try {
        if (!readLine(file_.get(), line)) fail("the file is empty");
        header_ = parseY4mHeader(line);
    } catch (const ToolError& error) {
        fail(error.what());
    }
    struct stat info {};
    const int64_t position = ftello(file_.get());
    if (fstat(fileno(file_.get()), &info) == 0 && S_ISREG(info.st_mode) && position >= 0)
        expectedFrames_ = (int64_t(info.st_size) - position) / (y4mFrameBytes(header_) + int64_t(kFrameMarker.size()) + 1);
    rowBytes_.resize(size_t(header_.width) * size_t(bytesPerSample(header_)));
    rowSamples_.resize(size_t(header_.width));
    for (int level = 0; level < 256; ++level) {
        lumaLevels_[level] = header_.fullRange ? fullToVideoLuma(level) : uint8_t(level);
        chromaLevels_[level] = header_.fullRange ? fullToVideoChroma(level) : uint8_t(level);
    }
}

std::unique_ptr<Y4mReader> Y4mReader::open(const std::string& path) {
    if (path == "-") return std::make_unique<Y4mReader>(FilePtr(stdin), "standard input");
    return std::make_unique<Y4mReader>(FilePtr(std::fopen(path.c_str(), "rb")), path);
}

std::unique_ptr<Y4mReader> Y4mReader::fromMemory(const uint8_t* bytes, size_t size) {
    static const uint8_t kNothing = 0;
    // A stream over no bytes at all reads as an empty file.
    FilePtr file(size == 0 ? fmemopen(const_cast<uint8_t*>(&kNothing), 1, "rb")
                           : fmemopen(const_cast<uint8_t*>(bytes), size, "rb"));
    if (file && size == 0) std::fgetc(file.get());
    return std::make_unique<Y4mReader>(std::move(file), "memory");
}

Y4mReader::~Y4mReader() {
    if (mapped_) munmap(const_cast<uint8_t*>(mapped_), mappedSize_);
}

bool Y4mReader::mapFrames() {
    struct stat info {};
    const bool plain = header_.bits == 8 && !header_.fullRange && !header_.alpha &&
                       (header_.chroma == Y4mChroma::C420 || header_.chroma == Y4mChroma::C422);
    if (mapped_ || !plain || fstat(fileno(file_.get()), &info) != 0 || !S_ISREG(info.st_mode) || info.st_size <= 0)
        return mapped_ != nullptr;
    // The library's planes must lie one behind the other with the file's sizes.
    const ImagePtr probe = allocateFrameImage("probe");
    PlaneSize planes[4];
    const int count = filePlanes(header_, planes);
    int64_t offset = 0;
    for (int i = 0; i < count; ++i) {
        const PlaneEntry& p = plane(*probe, i);
        if (p.offset != offset || p.stride != planes[i].width || p.height != planes[i].height) return false;
        offset += int64_t(p.size);
    }
    if (probe->size != offset) return false;
    void* bytes = mmap(nullptr, size_t(info.st_size), PROT_READ, MAP_PRIVATE, fileno(file_.get()), 0);
    if (bytes == MAP_FAILED) return false;
    madvise(bytes, size_t(info.st_size), MADV_SEQUENTIAL);
    mapped_ = static_cast<const uint8_t*>(bytes);
    mappedSize_ = size_t(info.st_size);
    return true;
}

const uint8_t* Y4mReader::readFrameInPlace() {
    if (!mapped_ || !endNote_.empty() || !readFrameLine()) return nullptr;
    const int64_t offset = ftello(file_.get()), bytes = y4mFrameBytes(header_);
    if (offset < 0 || offset + bytes > int64_t(mappedSize_) || fseeko(file_.get(), offset + bytes, SEEK_SET) != 0) {
        endNote_ = "frame " + std::to_string(framesRead_ + 1) + " is cut off";
        return nullptr;
    }
    ++framesRead_;
    return mapped_ + offset;
}

void Y4mReader::fail(const std::string& reason) const { throw ToolError("cannot read '" + name_ + "': " + reason); }

int32_t Y4mReader::imageFormat() const {
    switch (header_.chroma) {
    case Y4mChroma::C422:
    case Y4mChroma::C444: return FORMAT_YVYU;
    case Y4mChroma::C411: return FORMAT_Y411;
    default: return FORMAT_I420;
    }
}

ImagePtr Y4mReader::allocateFrameImage(const char* name) const {
    return allocateImage(name, header_.width, header_.height, imageFormat());
}

std::vector<std::string> Y4mReader::conversionNotes() const {
    std::vector<std::string> notes;
    if (header_.chroma == Y4mChroma::C444) notes.push_back("4:4:4 chroma is averaged in pairs across (read as 4:2:2)");
    if (header_.bits > 8) notes.push_back(std::to_string(header_.bits) + "-bit samples are rounded to 8 bits");
    if (header_.fullRange) notes.push_back("full-range levels are mapped to video range");
    if (header_.alpha) notes.push_back("the opacity plane is dropped");
    return notes;
}

bool Y4mReader::readFrameLine() {
    const std::string after = framesRead_ == 0 ? "the header" : "frame " + std::to_string(framesRead_);
    const std::string notAFrame = "what follows " + after + " is not a FRAME line";
    char marker[5];
    const size_t got = std::fread(marker, 1, sizeof marker, file_.get());
    if (got == 0) return false;  // the end of the video
    if (got < sizeof marker || std::memcmp(marker, kFrameMarker.data(), sizeof marker) != 0) {
        endNote_ = notAFrame;
        return false;
    }
    std::string parameters;
    try {
        if (!readLine(file_.get(), parameters)) endNote_ = "frame " + std::to_string(framesRead_ + 1) + " is cut off";
    } catch (const ToolError& error) {
        endNote_ = std::string(error.what()) + " after " + after;
    }
    if (endNote_.empty() && !parameters.empty() && parameters[0] != ' ') endNote_ = notAFrame;
    return endNote_.empty();
}

// One row of `samples` samples in 8 bits into rowSamples_.
bool Y4mReader::readRow(uint8_t* out, int32_t samples) {
    const size_t bytes = size_t(samples) * size_t(bytesPerSample(header_));
    if (std::fread(rowBytes_.data(), 1, bytes, file_.get()) != bytes) return false;
    if (header_.bits == 8) {
        std::memcpy(out, rowBytes_.data(), size_t(samples));
        return true;
    }
    for (int32_t i = 0; i < samples; ++i)
        out[i] = roundTo8Bits(uint32_t(rowBytes_[2 * size_t(i)] | rowBytes_[2 * size_t(i) + 1] << 8), header_.bits);
    return true;
}

bool Y4mReader::readRowInto(TImage& image, int index, int32_t row, int32_t samples) {
    const bool halve = index > 0 && header_.chroma == Y4mChroma::C444;
    uint8_t* out = planeRow(image, index, row);
    if (!readRow(halve ? rowSamples_.data() : out, samples)) return false;
    if (halve) {
        for (int32_t i = 0; 2 * i < samples; ++i) {
            const int right = rowSamples_[size_t(std::min(2 * i + 1, samples - 1))];
            out[i] = uint8_t((rowSamples_[2 * size_t(i)] + right + 1) >> 1);
        }
    }
    if (header_.fullRange) {
        const uint8_t* levels = index == 0 ? lumaLevels_ : chromaLevels_;
        const int32_t stored = halve ? (samples + 1) / 2 : samples;
        for (int32_t i = 0; i < stored; ++i) out[i] = levels[out[i]];
    }
    return true;
}

bool Y4mReader::readPlane(TImage& image, int index, int32_t width, int32_t height) {
    // A plane whose lines the library packs without padding is read in one go.
    const bool asStored = header_.bits == 8 && !header_.fullRange && (index == 0 || header_.chroma != Y4mChroma::C444);
    if (asStored && plane(image, index).stride == width) {
        const size_t bytes = size_t(width) * size_t(height);
        if (std::fread(planeRow(image, index, 0), 1, bytes, file_.get()) != bytes) return false;
        padPlane(image, index, width, height, 1);
        return true;
    }
    for (int32_t y = 0; y < height; ++y)
        if (!readRowInto(image, index, y, width)) return false;
    const int32_t stored = index > 0 && header_.chroma == Y4mChroma::C444 ? (width + 1) / 2 : width;
    padPlane(image, index, stored, height, 1);
    return true;
}

bool Y4mReader::readFrame(TImage& image) {
    if (!endNote_.empty() || !readFrameLine()) return false;
    PlaneSize planes[4];
    const int count = filePlanes(header_, planes);
    for (int i = 0; i < std::min(count, 3); ++i)
        if (!readPlane(image, i, planes[i].width, planes[i].height)) {
            endNote_ = "frame " + std::to_string(framesRead_ + 1) + " is cut off";
            return false;
        }
    if (header_.alpha) {
        // The opacity plane is read past; one row buffer serves.
        for (int32_t y = 0; y < planes[3].height; ++y)
            if (!readRow(rowSamples_.data(), planes[3].width)) {
                endNote_ = "frame " + std::to_string(framesRead_ + 1) + " is cut off";
                return false;
            }
    }
    if (header_.chroma == Y4mChroma::Mono)
        for (int i = 1; i < 3; ++i) std::memset(plane(image, i).data, 128, size_t(plane(image, i).size));
    ++framesRead_;
    return true;
}

Y4mWriter::Y4mWriter(std::FILE* file, std::string name, const Y4mHeader& header)
    : file_(file), name_(std::move(name)), header_(header) {
    const std::string line = y4mHeaderLine(header);
    writeBytes(reinterpret_cast<const uint8_t*>(line.data()), line.size());
}

void Y4mWriter::writeBytes(const uint8_t* bytes, size_t count) {
    if (std::fwrite(bytes, 1, count, file_) != count)
        throw ToolError("cannot write '" + name_ + "': " + std::strerror(errno));
}

void Y4mWriter::writeFrame(const TImage& image) {
    const bool fits = image.width >= header_.width && image.height >= header_.height &&
                      (header_.chroma == Y4mChroma::Mono ||
                       image.format == (header_.chroma == Y4mChroma::C422 ? FORMAT_YVYU : FORMAT_I420));
    if (!fits || header_.bits != 8 || header_.alpha || header_.chroma == Y4mChroma::C444 ||
        header_.chroma == Y4mChroma::C411)
        throw ToolError("internal error: a frame of format " + std::to_string(image.format) +
                        " does not fit the video being written");
    writeBytes(reinterpret_cast<const uint8_t*>("FRAME\n"), 6);
    PlaneSize planes[4];
    const int count = filePlanes(header_, planes);
    for (int i = 0; i < count; ++i) {
        if (plane(image, i).stride == planes[i].width) {
            writeBytes(planeRow(image, i, 0), size_t(planes[i].width) * size_t(planes[i].height));
            continue;
        }
        for (int32_t y = 0; y < planes[i].height; ++y) writeBytes(planeRow(image, i, y), size_t(planes[i].width));
    }
}

}  // namespace morvatool
