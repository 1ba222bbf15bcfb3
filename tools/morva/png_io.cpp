#include "png_io.h"

#include <png.h>

#include <cerrno>
#include <csetjmp>
#include <cstring>
#include <vector>

#include "y4m_io.h"  // FilePtr

namespace morvatool {

namespace {

// libpng reports errors by longjmp. Everything that must survive the jump
// lives in this record on the heap, reached through a pointer that is set
// before setjmp and never changed after it.
struct PngSession {
    std::FILE* file = nullptr;
    std::string error;
    std::string warning;  // libpng tells the cause of some errors only as a warning before them
    std::vector<uint8_t> pixels;
    std::vector<png_bytep> rows;
    uint32_t width = 0;
    uint32_t height = 0;
    int channels = 0;
};

[[noreturn]] void onPngError(png_structp png, png_const_charp message) {
    auto* session = static_cast<PngSession*>(png_get_error_ptr(png));
    // A header libpng refuses is told only as "Invalid IHDR data" after a
    // warning that says why; other warnings are of no use to the user.
    session->error = message;
    if (session->error == "Invalid IHDR data" && !session->warning.empty()) session->error = session->warning;
    png_longjmp(png, 1);
}

void onPngWarning(png_structp png, png_const_charp message) {
    static_cast<PngSession*>(png_get_error_ptr(png))->warning = message;
}

void readFromFile(png_structp png, png_bytep bytes, size_t count) {
    auto* session = static_cast<PngSession*>(png_get_io_ptr(png));
    if (std::fread(bytes, 1, count, session->file) != count) png_error(png, "the file is cut off");
}

// Decodes into session->pixels as 8-bit RGB or RGBA rows. False with
// session->error set on failure.
bool decodePng(PngSession* session) {
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, session, onPngError, onPngWarning);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (!info) {
        png_destroy_read_struct(&png, nullptr, nullptr);
        session->error = "out of memory";
        return false;
    }
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_read_struct(&png, &info, nullptr);
        return false;
    }
    png_set_read_fn(png, session, readFromFile);
    png_set_user_limits(png, kMaxSide, kMaxSide);
    // Only pixels are read. Text, profile and other metadata chunks are
    // skipped unread: libpng would otherwise allocate whatever length a
    // chunk claims (a file of a hundred bytes could ask for a gigabyte), as
    // it only warns about lengths beyond its limit.
    static const png_byte kSkipped[] = "tEXt\0zTXt\0iTXt\0iCCP\0sPLT\0eXIf\0pCAL\0sCAL";
    png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_NEVER, kSkipped, int(sizeof kSkipped / 5));
    png_read_info(png, info);
    png_set_expand(png);  // palette and low-bit grey to 8 bits, transparency to alpha
    png_set_strip_16(png);
    png_set_gray_to_rgb(png);
    png_set_interlace_handling(png);
    png_read_update_info(png, info);
    session->width = png_get_image_width(png, info);
    session->height = png_get_image_height(png, info);
    session->channels = png_get_channels(png, info);
    if (session->channels != 3 && session->channels != 4) png_error(png, "unexpected channel count");
    const size_t rowBytes = size_t(session->width) * size_t(session->channels);
    session->pixels.resize(rowBytes * session->height);
    session->rows.resize(session->height);
    for (uint32_t y = 0; y < session->height; ++y) session->rows[y] = &session->pixels[y * rowBytes];
    png_read_image(png, session->rows.data());
    png_destroy_read_struct(&png, &info, nullptr);
    return true;
}

uint8_t blend(uint8_t colour, uint8_t backdrop, uint8_t alpha) {
    return uint8_t((colour * alpha + backdrop * (255 - alpha) + 127) / 255);
}

ImagePtr imageFromSession(const PngSession& session, Rgb background) {
    const bool transparent = session.channels == 4;
    ImagePtr image = allocateImage("png", int32_t(session.width), int32_t(session.height),
                                   transparent ? FORMAT_RGB32 : FORMAT_RGB24);
    const int unit = transparent ? 4 : 3;
    for (uint32_t y = 0; y < session.height; ++y) {
        const uint8_t* in = session.rows[y];
        uint8_t* out = planeRow(*image, 0, int32_t(y));
        for (uint32_t x = 0; x < session.width; ++x, in += session.channels, out += unit) {
            if (transparent) {
                out[0] = blend(in[2], background.blue, in[3]);
                out[1] = blend(in[1], background.green, in[3]);
                out[2] = blend(in[0], background.red, in[3]);
                out[3] = in[3];
            } else {
                out[0] = in[2];
                out[1] = in[1];
                out[2] = in[0];
            }
        }
    }
    padPlane(*image, 0, int32_t(session.width) * unit, int32_t(session.height), unit);
    return image;
}

bool encodePng(PngSession* session) {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, session, onPngError, onPngWarning);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (!info) {
        png_destroy_write_struct(&png, nullptr);
        session->error = "out of memory";
        return false;
    }
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        return false;
    }
    png_init_io(png, session->file);
    png_set_IHDR(png, info, session->width, session->height, 8, PNG_COLOR_TYPE_RGB,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    png_write_image(png, session->rows.data());
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return true;
}

}  // namespace

ImagePtr readPng(std::FILE* file, const std::string& name, Rgb background) {
    const auto fail = [&](const std::string& reason) { return ToolError("cannot read '" + name + "': " + reason); };
    if (!file) throw fail(std::strerror(errno));
    png_byte signature[8] = {};
    if (std::fread(signature, 1, sizeof signature, file) != sizeof signature ||
        png_sig_cmp(signature, 0, sizeof signature) != 0)
        throw fail("not a PNG file");
    std::rewind(file);
    auto session = std::make_unique<PngSession>();
    session->file = file;
    if (!decodePng(session.get())) throw fail(session->error);
    return imageFromSession(*session, background);
}

ImagePtr readPng(const std::string& path, Rgb background) {
    FilePtr file(std::fopen(path.c_str(), "rb"));
    return readPng(file.get(), path, background);
}

ImagePtr readPngFromMemory(const uint8_t* bytes, size_t size, Rgb background) {
    FilePtr file(size == 0 ? nullptr : fmemopen(const_cast<uint8_t*>(bytes), size, "rb"));
    if (size == 0) throw ToolError("cannot read 'memory': not a PNG file");
    return readPng(file.get(), "memory", background);
}

void writePng(std::FILE* file, const std::string& name, const TImage& image) {
    const auto fail = [&](const std::string& reason) { return ToolError("cannot write '" + name + "': " + reason); };
    if (image.format != FORMAT_RGB32 && image.format != FORMAT_RGB24)
        throw fail("internal error: format " + std::to_string(image.format) + " is not RGB");
    auto session = std::make_unique<PngSession>();
    session->width = uint32_t(image.width);
    session->height = uint32_t(image.height);
    const int unit = image.format == FORMAT_RGB32 ? 4 : 3;
    const size_t rowBytes = size_t(image.width) * 3;
    session->pixels.resize(rowBytes * size_t(image.height));
    session->rows.resize(size_t(image.height));
    for (int32_t y = 0; y < image.height; ++y) {
        const uint8_t* in = planeRow(image, 0, y);
        uint8_t* out = &session->pixels[size_t(y) * rowBytes];
        session->rows[size_t(y)] = out;
        for (int32_t x = 0; x < image.width; ++x, in += unit, out += 3) {
            out[0] = in[2];
            out[1] = in[1];
            out[2] = in[0];
        }
    }
    session->file = file;
    if (!encodePng(session.get())) throw fail(session->error);
}

}  // namespace morvatool
