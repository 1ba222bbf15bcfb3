// Access to an image: geometry, bitmap descriptions, loading and flipping.
#include <cstring>

#include "image/formats.h"
#include "image/image.h"
#include "kernels/memory.h"
#include "kernels/plane.h"
#include "trace/trace.h"

using morva::CTraces;
using morva::isValidImage;

namespace {

// The fields the two bitmap descriptions share. The header always says top
// down; the bit count is left to the caller, which computes it its own way.
void describeAsBitmap(const TImage& image, BITMAPINFOHEADER& header) {
    std::memset(&header, 0, sizeof header);
    header.biWidth = image.width;
    header.biHeight = -image.height;
    header.biSizeImage = uint32_t(image.size);
    header.biPlanes = 1;
    header.biCompression = morva::fourccFromFormat(image.format);
}

// width * height, or 0 for an image without pixels, where the bit counts
// below would divide by zero.
int64_t pixelCount(const TImage& image) { return int64_t(image.width) * image.height; }

}  // namespace

bool morvaGetImageInfo(const TImage* image, uint8_t** data, int32_t* size) {
    if (!isValidImage(image)) return false;
    if (data != nullptr) *data = image->data;
    if (size != nullptr) *size = image->size;
    return true;
}

bool morvaGetImageDimension(const TImage* image, int32_t* width, int32_t* height,
                            int32_t* format) {
    if (!isValidImage(image)) return false;
    if (width != nullptr) *width = image->width;
    if (height != nullptr) *height = image->height;
    if (format != nullptr) *format = image->format;
    return true;
}

// This bit count divides by eight times the pixels and so is 0 for every
// usual image; the full description below computes it otherwise. Both stay.
bool morvaGetBitmapInfoHeader(const TImage* image, BITMAPINFOHEADER* header) {
    if (header == nullptr || !isValidImage(image)) return false;
    describeAsBitmap(*image, *header);
    const int64_t pixels = pixelCount(*image);
    header->biBitCount = pixels == 0 ? 0 : uint16_t(image->size / (pixels * 8));
    return true;
}

bool morvaGetBitmapInfo(const TImage* image, BITMAPINFO* info) {
    if (info == nullptr || !isValidImage(image)) return false;
    std::memset(info, 0, sizeof *info);
    describeAsBitmap(*image, info->bmiHeader);
    info->bmiHeader.biSize = sizeof(BITMAPINFO);
    const int64_t pixels = pixelCount(*image);
    // Whole bytes per pixel first, so planar 4:2:0 says 8 and not 12.
    info->bmiHeader.biBitCount = pixels == 0 ? 0 : uint16_t((image->size / pixels) * 8);
    return true;
}

bool morvaUpdateImage(TImage* image, const uint8_t* data) {
    CTraces scope("morvaUpdateImage()");
    if (!isValidImage(image)) return false;
    morva::traceWrite(scope, "%s", morva::describeImage(image).c_str());
    if (data == nullptr) return false;
    morva::ippsCopy_8u(data, image->data, image->size);
    return image->flipped ? morvaFlipImage(image) : true;
}

bool morvaFlipImage(const TImage* image) {
    CTraces scope("morvaFlipImage()");
    if (!isValidImage(image)) return false;
    morva::traceWrite(scope, "%s", morva::describeImage(image).c_str());
    if (morva::findFormatRow(image->format) == nullptr) return false;

    const PlaneEntry* planes = image->planeInfo->planes;
    if (image->format == FORMAT_RGB24)
        return morva::ippiMirror_8u_C3IR(planes[0].data, planes[0].stride, planes[0].width,
                                         planes[0].height, morva::ippAxsHorizontal) == 0;
    if (image->format == FORMAT_RGB32)
        return morva::ippiMirror_8u_C4IR(planes[0].data, planes[0].stride, planes[0].width,
                                         planes[0].height, morva::ippAxsHorizontal) == 0;
    // Every other format goes plane by plane through the one-byte kernel with
    // the plane's width in units: for packed and 16-bit rows only the first
    // width bytes of each line change places. That partial flip is the
    // defined behaviour of those formats. A failing plane ends the loop, and
    // the result stays true.
    for (int i = 0; i < image->planeInfo->planeCount; ++i) {
        const PlaneEntry& p = planes[i];
        if (morva::ippiMirror_8u_C1IR(p.data, p.stride, p.width, p.height,
                                      morva::ippAxsHorizontal) != 0)
            break;
    }
    return true;
}
