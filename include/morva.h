/*
 * morva: image operations for programs that handle video frames in memory.
 *
 * Frames in 22 pixel formats are converted between formats, resized by eight
 * interpolation methods and composed into one target by named layouts. The
 * pixel arithmetic is fixed to the last bit.
 *
 * This header is usable from C++11 on. The interface is C++ (overloads and
 * references), in the global namespace.
 */
#ifndef MORVA_H
#define MORVA_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
#  include <windows.h>
#  if defined(MORVA_BUILDING_LIBRARY)
#    define MORVA_API __declspec(dllexport)
#  else
#    define MORVA_API __declspec(dllimport)
#  endif
#else
#  define MORVA_API __attribute__((visibility("default")))
#endif

#pragma pack(push, 1)

/* One plane of an image: its start and geometry. */
struct PlaneEntry {
    uint8_t* data;           /* start of this plane: the image's data plus offset */
    int32_t width;           /* plane width in units (pixels, or macro-pixels) */
    int32_t height;          /* plane height in lines */
    int32_t bytesPerChannel; /* bytes of one sample */
    int32_t channels;        /* samples per unit */
    int32_t reserved;        /* always 0 */
    int32_t stride;          /* bytes from one line to the next */
    int32_t offset;          /* bytes from the buffer's start to this plane */
    int32_t size;            /* stride * height */
    int32_t subW;            /* horizontal subsampling divisor */
    int32_t subH;            /* vertical subsampling divisor */
};

/* The plane description of an image. Entries behind planeCount are all zero. */
struct PlaneInfo {
    int32_t planeCount;
    int32_t interpolation; /* resize method when the image is a render source */
    int32_t scaleMode;     /* 0 stretch, 1 fit, 2 fill */
    PlaneEntry planes[4];
};

/* A named frame; all planes lie one behind the other in one buffer, rows top
 * line first. */
struct TImage {
    char* name;
    int32_t width;  /* a multiple of 4 */
    int32_t height; /* a multiple of 2 */
    int32_t format; /* FORMAT_* */
    int32_t size;   /* bytes of all planes */
    uint8_t* data;
    bool owned;     /* the library allocated data */
    bool flipped;   /* the caller's view is bottom line first */
    int32_t id;
    PlaneInfo* planeInfo;
};

#if !defined(_WIN32)
/* The usual device-independent bitmap records. */
struct BITMAPINFOHEADER {
    uint32_t biSize;
    int32_t biWidth;
    int32_t biHeight;
    uint16_t biPlanes;
    uint16_t biBitCount;
    uint32_t biCompression;
    uint32_t biSizeImage;
    int32_t biXPelsPerMeter;
    int32_t biYPelsPerMeter;
    uint32_t biClrUsed;
    uint32_t biClrImportant;
};

struct RGBQUAD {
    uint8_t rgbBlue;
    uint8_t rgbGreen;
    uint8_t rgbRed;
    uint8_t rgbReserved;
};

struct BITMAPINFO {
    BITMAPINFOHEADER bmiHeader;
    RGBQUAD bmiColors[1];
};
#endif

#pragma pack(pop)

#if !defined(_WIN32)
/* A drawing target stands where the platform has a device context: the
 * library hands it the bitmap description and the pixels, and the target
 * draws them at its origin at natural size, returning true if it did. */
struct MorvaDrawTarget {
    bool (*draw)(void* user, const BITMAPINFO* info, const uint8_t* pixels);
    void* user;
};
typedef MorvaDrawTarget* HDC;

/* A caller's canvas of 32-bit pixels, bytes blue, green, red, fourth. */
struct MorvaCanvas {
    uint8_t* pixels;
    int32_t width;
    int32_t height;
    int32_t stride; /* bytes from one row to the next */
};

/* The drawing target of a canvas. It takes uncompressed 24-bit and 32-bit
 * descriptions, top-down (negative height) or bottom-up, and refuses every
 * other one. Pixels beyond the canvas are cut off; the fourth byte of 24-bit
 * pixels becomes 255. */
inline bool morvaDrawOnCanvas(void* user, const BITMAPINFO* info, const uint8_t* pixels) {
    const MorvaCanvas* canvas = static_cast<const MorvaCanvas*>(user);
    if (canvas == 0 || canvas->pixels == 0 || info == 0 || pixels == 0) return false;
    const BITMAPINFOHEADER& h = info->bmiHeader;
    const int bytesPerPixel = h.biBitCount / 8;
    if (h.biCompression != 0 || (h.biBitCount != 24 && h.biBitCount != 32) || h.biWidth <= 0 ||
        h.biHeight == 0 || h.biPlanes != 1)
        return false;
    const bool topDown = h.biHeight < 0;
    /* 64 bits: the negated least height doesn't fit 32. */
    const int64_t rows = topDown ? -int64_t(h.biHeight) : h.biHeight;
    /* Source lines are padded to 4 bytes, as in every device-independent bitmap. */
    const int64_t sourceStride = (int64_t(h.biWidth) * h.biBitCount + 31) / 32 * 4;
    const int32_t width = h.biWidth < canvas->width ? h.biWidth : canvas->width;
    const int64_t height = rows < canvas->height ? rows : canvas->height;
    for (int64_t y = 0; y < height; ++y) {
        const uint8_t* src = pixels + (topDown ? y : rows - 1 - y) * sourceStride;
        uint8_t* dst = canvas->pixels + int64_t(y) * canvas->stride;
        for (int32_t x = 0; x < width; ++x, src += bytesPerPixel, dst += 4) {
            dst[0] = src[0];
            dst[1] = src[1];
            dst[2] = src[2];
            dst[3] = bytesPerPixel == 4 ? src[3] : 255;
        }
    }
    return true;
}

inline MorvaDrawTarget morvaCanvasTarget(MorvaCanvas* canvas) {
    MorvaDrawTarget target = {&morvaDrawOnCanvas, canvas};
    return target;
}
#endif

#define MORVA_P_ sizeof(void*)
static_assert(sizeof(PlaneEntry) == MORVA_P_ + 40 && offsetof(PlaneEntry, width) == MORVA_P_ &&
                  offsetof(PlaneEntry, stride) == MORVA_P_ + 20 &&
                  offsetof(PlaneEntry, subH) == MORVA_P_ + 36,
              "PlaneEntry is a packed record");
static_assert(sizeof(PlaneInfo) == 12 + 4 * sizeof(PlaneEntry) &&
                  offsetof(PlaneInfo, scaleMode) == 8 && offsetof(PlaneInfo, planes) == 12,
              "PlaneInfo is a packed record");
static_assert(sizeof(TImage) == 3 * MORVA_P_ + 22 && offsetof(TImage, width) == MORVA_P_ &&
                  offsetof(TImage, size) == MORVA_P_ + 12 &&
                  offsetof(TImage, data) == MORVA_P_ + 16 &&
                  offsetof(TImage, owned) == 2 * MORVA_P_ + 16 &&
                  offsetof(TImage, flipped) == 2 * MORVA_P_ + 17 &&
                  offsetof(TImage, id) == 2 * MORVA_P_ + 18 &&
                  offsetof(TImage, planeInfo) == 2 * MORVA_P_ + 22,
              "TImage is a packed record");
#undef MORVA_P_
static_assert(sizeof(BITMAPINFOHEADER) == 40, "BITMAPINFOHEADER has 40 bytes");
static_assert(sizeof(BITMAPINFO) == 44, "BITMAPINFO has 44 bytes");

/* Pixel format ids. */
constexpr int32_t FORMAT_YV12 = 0;          /* planar 4:2:0, planes Y, Cr, Cb */
constexpr int32_t FORMAT_NV12 = 1;          /* Y plane, interleaved Cb Cr plane */
constexpr int32_t FORMAT_YUY2 = 2;          /* packed 4:2:2: Y0 Cb Y1 Cr */
constexpr int32_t FORMAT_UYVY = 3;          /* packed 4:2:2: Cb Y0 Cr Y1 */
constexpr int32_t FORMAT_Y411 = 4;          /* planar 4:1:1 */
constexpr int32_t FORMAT_I420 = 5;          /* planar 4:2:0 */
constexpr int32_t FORMAT_YVYU = 6;          /* planar 4:2:2 */
constexpr int32_t FORMAT_YUV444P = 7;       /* planar 4:4:4 */
constexpr int32_t FORMAT_YUV420P = 8;       /* planar 4:2:0, second id */
constexpr int32_t FORMAT_Y411_PACKED = 9;   /* packed 4:1:1, 4 pixels in 6 bytes */
constexpr int32_t FORMAT_Y41P = 10;         /* packed 4:1:1, 8 pixels in 12 bytes */
constexpr int32_t FORMAT_RGB32 = 11;        /* bytes blue, green, red, fourth */
constexpr int32_t FORMAT_RGB24 = 12;        /* bytes blue, green, red */
constexpr int32_t FORMAT_RGB565 = 13;       /* 16-bit 5-6-5 */
constexpr int32_t FORMAT_RGB555 = 14;       /* 16-bit 5-5-5 */
constexpr int32_t FORMAT_RGB444 = 15;       /* 16-bit 4-4-4 */
constexpr int32_t FORMAT_GRAY8 = 16;        /* one 8-bit plane */
constexpr int32_t FORMAT_YUVA420P = 17;     /* 4:2:0 with alpha plane */
constexpr int32_t FORMAT_YUVA422P = 18;     /* 4:2:2 with alpha plane */
constexpr int32_t FORMAT_YUVA444P = 19;     /* 4:4:4 with alpha plane */
constexpr int32_t FORMAT_YVU9 = 20;         /* planar, chroma at a quarter of each side */
constexpr int32_t FORMAT_GRAYA8 = 21;       /* grey and alpha planes */

/* Interpolation ids (low 29 bits) and flags (top three bits). */
constexpr int32_t INTER_NN = 1;
constexpr int32_t INTER_LINEAR = 2;
constexpr int32_t INTER_CUBIC = 4;
constexpr int32_t INTER_CUBIC_BSPLINE = 5;
constexpr int32_t INTER_CUBIC_CATMULLROM = 6;
constexpr int32_t INTER_CUBIC_B05C03 = 7;
constexpr int32_t INTER_SUPER = 8;
constexpr int32_t INTER_LANCZOS = 16;
constexpr int32_t EDGE_SMOOTH = static_cast<int32_t>(0x80000000u);
constexpr int32_t EDGE_SUBPIXEL = 0x40000000;
constexpr int32_t RESIZE_ANTIALIASING = 0x20000000;

/* Library life cycle. */
MORVA_API void morvaInit();
MORVA_API void morvaFinit();

/* Images. A negative height means the caller's rows are top line first. */
MORVA_API TImage* morvaAllocateImage(const char* name, int32_t width, int32_t height,
                                     int32_t format, const uint8_t* data, int32_t wrap);
MORVA_API TImage* morvaAllocateImageEx(const BITMAPINFOHEADER* header, const uint8_t* data,
                                       int32_t wrap);
MORVA_API TImage* morvaCloneImage(const TImage* image);
MORVA_API void morvaFreeImage(TImage* image);
MORVA_API bool morvaSetAttributes(TImage* image, int32_t interpolation, int32_t scaleMode);

/* Formats and bitmap compression codes. */
MORVA_API uint32_t morvaGetBitmapColorFormat(int32_t format);
MORVA_API int32_t morvaGetBitmapColorFormat(const BITMAPINFOHEADER* header);

/* Image access. */
MORVA_API bool morvaGetImageInfo(const TImage* image, uint8_t** data, int32_t* size);
MORVA_API bool morvaGetImageDimension(const TImage* image, int32_t* width, int32_t* height,
                                      int32_t* format);
MORVA_API bool morvaGetBitmapInfoHeader(const TImage* image, BITMAPINFOHEADER* header);
MORVA_API bool morvaGetBitmapInfo(const TImage* image, BITMAPINFO* info);
MORVA_API bool morvaUpdateImage(TImage* image, const uint8_t* data);
MORVA_API bool morvaFlipImage(const TImage* image);

/* Clear and copy. A copy resizes first, in the source's format, then
 * converts. */
MORVA_API bool morvaClearImage(TImage* image, uint8_t red, uint8_t green, uint8_t blue,
                               uint8_t alpha);
MORVA_API bool morvaCopyImage(const TImage* source, TImage* destination, int32_t interpolation,
                              int32_t scaleMode);

/* Layouts and composition. A layout text is "name:value;" pairs: rows,
 * columns, width, height, margin-left, margin-top, margin-right,
 * margin-bottom (percentages of a cell), border. An empty text removes the
 * layout. */
MORVA_API bool morvaSetLayout(const char* name, const char* layout);
MORVA_API void morvaCalcImageDimension(int32_t width, int32_t height, int32_t& outWidth,
                                       int32_t& outHeight);
MORVA_API bool morvaRender(const char* layoutName, TImage* target, TImage* const* sources,
                           int32_t count);
MORVA_API bool morvaRenderFinalize(TImage* target);
MORVA_API int32_t morvaPickFormat(const BITMAPINFOHEADER* const* headers, int32_t count,
                                  int32_t minWidth, int32_t minHeight);

/* Drawing an image at the origin of a device context or drawing target. */
MORVA_API bool morvaDisplayImage(TImage* image, HDC deviceContext);

#endif /* MORVA_H */
