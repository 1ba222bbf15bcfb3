// Conversion rows: a whole frame into another format of the same size,
// through convertColorSpace, the router that render and copy use.
#include "color/router.h"
#include "peers.h"
#include "rows.h"

namespace morva::peers {
namespace {

struct ConvertCase {
    int32_t from, to;
    int32_t width, height;
};

constexpr ConvertCase kConversions[] = {
    {FORMAT_I420, FORMAT_RGB32, 1920, 1080},   {FORMAT_I420, FORMAT_RGB24, 1920, 1080},
    {FORMAT_I420, FORMAT_RGB565, 1920, 1080},  {FORMAT_I420, FORMAT_RGB555, 1920, 1080},
    {FORMAT_I420, FORMAT_YUY2, 1920, 1080},    {FORMAT_RGB24, FORMAT_I420, 1920, 1080},
    {FORMAT_RGB32, FORMAT_I420, 1920, 1080},   {FORMAT_RGB32, FORMAT_YUY2, 1920, 1080},
    {FORMAT_RGB565, FORMAT_I420, 1920, 1080},  {FORMAT_YUY2, FORMAT_RGB32, 1920, 1080},
    {FORMAT_UYVY, FORMAT_RGB32, 1920, 1080},   {FORMAT_YUY2, FORMAT_I420, 1920, 1080},
    {FORMAT_UYVY, FORMAT_I420, 1920, 1080},    {FORMAT_YUY2, FORMAT_RGB565, 1920, 1080},
    {FORMAT_YVYU, FORMAT_RGB32, 1920, 1080},   {FORMAT_NV12, FORMAT_I420, 1920, 1080},
    {FORMAT_RGB24, FORMAT_RGB32, 1920, 1080},  {FORMAT_RGB32, FORMAT_RGB24, 1920, 1080},
    {FORMAT_I420, FORMAT_RGB32, 1366, 768},    {FORMAT_RGB24, FORMAT_I420, 1366, 768},
    {FORMAT_YUY2, FORMAT_RGB32, 1366, 768},
};

RowSetup setupConversion(const ConvertCase& c) {
    const ImagePtr source = sceneImage(c.width, c.height, c.from);
    const ImagePtr target = allocateImage(source->width, source->height, c.to);
    RowSetup setup;
    setup.morva = {"morva", "convertColorSpace",
                   [=] { convertColorSpace(source.get(), target.get()); }, target};
    setup.baselines = askPeers(&Peer::convert, ConvertJob{source, c.to});
    setup.checkedRegion = wholeImage(*target);
    // The library's route from packed YUY2 to planar 4:2:0 writes Cr into
    // plane 1 and Cb into plane 2, a behaviour it keeps on purpose.
    setup.morvaExchangesChroma = c.from == FORMAT_YUY2 && c.to == FORMAT_I420;
    return setup;
}

}  // namespace

std::vector<RowPlan> convertRows() {
    std::vector<RowPlan> rows;
    for (const ConvertCase& c : kConversions) {
        rows.push_back({rowId({"convert", formatName(c.from), formatName(c.to),
                               sizeText(c.width, c.height)}),
                        "convert",
                        formatName(c.from) + " -> " + formatName(c.to) + ", " +
                            imageSizeText(c.width, c.height),
                        [c] { return setupConversion(c); }});
    }
    return rows;
}

}  // namespace morva::peers
