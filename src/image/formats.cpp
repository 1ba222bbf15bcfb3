#include "image/formats.h"

#include <array>

#include "morva.h"
#include "trace/trace.h"

namespace morva {
namespace {

// Rows are kept in this order; lookup walks them from the start, so id 21
// stands before 17 to 20.
constexpr std::array<PixelFormatRow, 22> kFormats = {{
    {FORMAT_YV12, 3, 8, 1, {{1, 1, 1, 2}, {2, 2, 1, 1}, {2, 2, 1, 1}, {}}},
    {FORMAT_NV12, 2, 8, 2, {{1, 1, 1, 1}, {1, 2, 1, 1}, {}, {}}},
    {FORMAT_YUY2, 1, 8, 2, {{2, 1, 4, 1}, {}, {}, {}}},
    {FORMAT_UYVY, 1, 8, 2, {{2, 1, 4, 1}, {}, {}, {}}},
    {FORMAT_Y411, 3, 8, 1, {{1, 1, 1, 1}, {4, 1, 1, 1}, {4, 1, 1, 1}, {}}},
    {FORMAT_I420, 3, 8, 1, {{1, 1, 1, 1}, {2, 2, 1, 1}, {2, 2, 1, 1}, {}}},
    {FORMAT_YVYU, 3, 8, 1, {{1, 1, 1, 1}, {2, 1, 1, 1}, {2, 1, 1, 1}, {}}},
    {FORMAT_YUV444P, 3, 8, 1, {{1, 1, 1, 1}, {1, 1, 1, 1}, {1, 1, 1, 1}, {}}},
    {FORMAT_YUV420P, 3, 8, 1, {{1, 1, 1, 1}, {2, 2, 1, 1}, {2, 2, 1, 1}, {}}},
    {FORMAT_Y411_PACKED, 1, 8, 2, {{4, 1, 6, 1}, {}, {}, {}}},
    {FORMAT_Y41P, 1, 8, 2, {{8, 1, 12, 1}, {}, {}, {}}},
    {FORMAT_RGB32, 1, 8, 1, {{1, 1, 4, 1}, {}, {}, {}}},
    {FORMAT_RGB24, 1, 8, 4, {{1, 1, 3, 1}, {}, {}, {}}},
    {FORMAT_RGB565, 1, 16, 2, {{1, 1, 1, 1}, {}, {}, {}}},
    {FORMAT_RGB555, 1, 16, 2, {{1, 1, 1, 1}, {}, {}, {}}},
    {FORMAT_RGB444, 1, 16, 2, {{1, 1, 1, 1}, {}, {}, {}}},
    {FORMAT_GRAY8, 1, 8, 1, {{1, 1, 1, 1}, {}, {}, {}}},
    {FORMAT_GRAYA8, 2, 8, 1, {{1, 1, 1, 1}, {1, 1, 1, 1}, {}, {}}},
    {FORMAT_YUVA420P, 4, 8, 1, {{1, 1, 1, 1}, {2, 2, 1, 1}, {2, 2, 1, 1}, {1, 1, 1, 1}}},
    {FORMAT_YUVA422P, 4, 8, 1, {{1, 1, 1, 1}, {2, 1, 1, 1}, {2, 1, 1, 1}, {1, 1, 1, 1}}},
    {FORMAT_YUVA444P, 4, 8, 1, {{1, 1, 1, 1}, {1, 1, 1, 1}, {1, 1, 1, 1}, {1, 1, 1, 1}}},
    {FORMAT_YVU9, 3, 8, 1, {{1, 1, 1, 1}, {4, 4, 1, 1}, {4, 4, 1, 1}, {}}},
}};

constexpr uint32_t kBiRgb = 0;
constexpr uint32_t kBiBitfields = 3;

struct CodeOfFormat {
    int32_t format;
    uint32_t code;
};

// Formats written with a four-character code or a numeric compression.
constexpr CodeOfFormat kCodes[] = {
    {FORMAT_YV12, makeFourcc('Y', 'V', '1', '2')}, {FORMAT_NV12, makeFourcc('N', 'V', '1', '2')},
    {FORMAT_YUY2, makeFourcc('Y', 'U', 'Y', '2')}, {FORMAT_UYVY, makeFourcc('U', 'Y', 'V', 'Y')},
    {FORMAT_Y411, makeFourcc('Y', '4', '1', '1')}, {FORMAT_I420, makeFourcc('I', '4', '2', '0')},
    {FORMAT_YVYU, makeFourcc('Y', 'V', 'Y', 'U')}, {FORMAT_Y41P, makeFourcc('Y', '4', '1', 'P')},
    {FORMAT_RGB565, kBiBitfields},                  {FORMAT_YVU9, makeFourcc('Y', 'V', 'U', '9')},
};

// Codes read from a header. The two directions are not inverse: "IYUV" is
// read but never written, and the numeric codes depend on the bit count.
int32_t formatFromCompression(uint32_t compression, int bitCount) {
    switch (compression) {
    case kBiRgb: return bitCount == 24 ? FORMAT_RGB24 : bitCount == 32 ? FORMAT_RGB32 : -1;
    case kBiBitfields: return FORMAT_RGB565;
    case makeFourcc('Y', 'V', '1', '2'): return FORMAT_YV12;
    case makeFourcc('N', 'V', '1', '2'): return FORMAT_NV12;
    case makeFourcc('Y', 'U', 'Y', '2'): return FORMAT_YUY2;
    case makeFourcc('U', 'Y', 'V', 'Y'): return FORMAT_UYVY;
    case makeFourcc('Y', '4', '1', '1'): return FORMAT_Y411;
    case makeFourcc('I', '4', '2', '0'):
    case makeFourcc('I', 'Y', 'U', 'V'): return FORMAT_I420;
    case makeFourcc('Y', 'V', 'Y', 'U'): return FORMAT_YVYU;
    case makeFourcc('Y', '4', '1', 'P'): return FORMAT_Y41P;
    case makeFourcc('Y', 'V', 'U', '9'): return FORMAT_YVU9;
    default: return -1;
    }
}

}  // namespace

const PixelFormatRow* findFormatRow(int32_t format) {
    for (const PixelFormatRow& row : kFormats)
        if (row.id == format) return &row;
    return nullptr;
}

uint32_t fourccFromFormat(int32_t format) {
    for (const CodeOfFormat& entry : kCodes)
        if (entry.format == format) return entry.code;
    return 0;
}

}  // namespace morva

uint32_t morvaGetBitmapColorFormat(int32_t format) { return morva::fourccFromFormat(format); }

int32_t morvaGetBitmapColorFormat(const BITMAPINFOHEADER* header) {
    morva::CTraces scope("morvaGetBitmapColorFormat()");
    if (header == nullptr) return -1;
    return morva::formatFromCompression(header->biCompression, header->biBitCount);
}
