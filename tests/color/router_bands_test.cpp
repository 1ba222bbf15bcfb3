// Conversion by bands of rows: for every pair of formats, the route that
// findConversionRoute names is what convertColorSpace does, and rows
// converted band by band into a separate block are the rows of the whole
// image converted at once.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <vector>

#include "color/router.h"
#include "common/testing.h"
#include "image/image_rows.h"
#include "morva.h"

namespace morva::testing {
namespace {

using ImagePtr = std::unique_ptr<TImage, decltype(&morvaFreeImage)>;

ImagePtr makeImage(int format, int width, int height) {
    return ImagePtr(morvaAllocateImage("bands", width, -height, format, nullptr, 0), &morvaFreeImage);
}

// The bytes of each plane's pixels, row by row, padding left out.
std::vector<uint8_t> pixelBytes(const PlaneInfo& info, int32_t rows, const uint8_t* const* planes) {
    std::vector<uint8_t> out;
    for (int32_t i = 0; i < info.planeCount; ++i) {
        const PlaneEntry& p = info.planes[i];
        const int32_t rowBytes = p.width * p.channels * p.bytesPerChannel;
        for (int32_t r = 0; r < planeRowsOf(p, 0, rows); ++r)
            out.insert(out.end(), planes[i] + ptrdiff_t(r) * p.stride, planes[i] + ptrdiff_t(r) * p.stride + rowBytes);
    }
    return out;
}

std::vector<uint8_t> pixelBytes(const TImage& image) {
    uint8_t* planes[4] = {};
    for (int32_t i = 0; i < image.planeInfo->planeCount; ++i) planes[i] = image.planeInfo->planes[i].data;
    return pixelBytes(*image.planeInfo, image.height, planes);
}

// Converts the whole image into a zero-filled one, as render's temporary
// image is, and counts the temporary images allocated by the ids. By
// convertColorSpace, or by the legs the route names over the whole image.
struct WholeRun {
    ImagePtr image{nullptr, &morvaFreeImage};
    bool converted = false;
    int temporaries = 0;
};

WholeRun convertWhole(const TImage& source, int format, const ConversionRoute* byLegs) {
    WholeRun run;
    run.image = makeImage(format, source.width, source.height);
    const int32_t before = run.image->id;
    if (byLegs == nullptr)
        run.converted = convertColorSpace(&source, run.image.get());
    else if (byLegs->viaTemporary)
        run.converted = convertColorSpaceWithTemoraryImage(&source, run.image.get(), byLegs->temporaryFormat);
    else
        run.converted = convertColorSpaceDirect(&source, run.image.get());
    run.temporaries = makeImage(FORMAT_GRAY8, 4, 2)->id - before - 1;
    return run;
}

// The rows converted band by band into a block laid out by BandLayout, each
// band starting on garbage where the route claims to write every pixel, and
// copied out into a zero image.
ImagePtr convertInBands(const TImage& source, const ConversionRoute& route, const TImage& layout, Rng& rng) {
    ImagePtr out = makeImage(layout.format, source.width, source.height);
    const int32_t maxRows = route.rowStep * 4;
    const BandLayout bands(layout, maxRows);
    std::vector<uint8_t> block(size_t(bands.bytes()) + 64);
    uint8_t* start = block.data() + (32 - reinterpret_cast<uintptr_t>(block.data()) % 32);  // as ippsMalloc_8u
    ScratchBuffer temporary;
    for (int32_t first = 0; first < source.height;) {
        const int32_t rows = std::min(source.height - first, route.rowStep * rng.uniform(1, 4));
        const ImageRows band = bands.place(start, first, rows);
        std::memset(start, 0xA5, size_t(bands.bytes()));
        if (!route.writesEveryPixel) clearRows(band);
        EXPECT_TRUE(convertRows(route, source, band, temporary));
        const ImageRows to = rowsOf(*out, first, rows);
        for (int32_t i = 0; i < layout.planeInfo->planeCount; ++i) {
            const PlaneEntry& p = layout.planeInfo->planes[i];
            std::memcpy(to.planes[i], band.planes[i], size_t(planeRowsOf(p, first, first + rows)) * size_t(p.stride));
        }
        first += rows;
    }
    return out;
}

TEST(RouterBands, EveryPairConvertsInBandsAsInTheWholeImage) {
    MORVA_SEED_TRACE();
    Rng rng(404);
    // Random sizes, and a width of 32 where the routines with aligned paths
    // take them.
    for (int src = 0; src < 22; ++src)
        for (int dst = 0; dst < 44; ++dst) {
            const bool aligned = dst >= 22;
            const int width = aligned ? 32 : 4 * rng.uniform(1, 18), height = 2 * rng.uniform(1, 12);
            SCOPED_TRACE(::testing::Message() << src << " -> " << dst % 22 << " at " << width << "x" << height);
            ImagePtr source = makeImage(src, width, height);
            rng.fill(source->data, size_t(source->size));
            const ConversionRoute route = findConversionRoute(src, dst % 22, width, height);
            const WholeRun whole = convertWhole(*source, dst % 22, &route);
            EXPECT_EQ(route.converts, whole.converted);
            EXPECT_EQ(route.viaTemporary ? 1 : 0, whole.temporaries);
            // convertColorSpace, which runs two legs band by band.
            const BandBytesScope bands(randomBandBytes(rng));
            const WholeRun router = convertWhole(*source, dst % 22, nullptr);
            EXPECT_EQ(router.converted, whole.converted);
            EXPECT_EQ(router.temporaries, whole.temporaries);
            EXPECT_EQ(pixelBytes(*router.image), pixelBytes(*whole.image));
            if (!route.converts) continue;
            // 4:2:0 to planar 4:1:1 averages neighbouring chroma rows.
            EXPECT_EQ(route.convertsInBands, !(dst % 22 == FORMAT_Y411 && src != FORMAT_Y411));
            if (!route.convertsInBands) continue;
            EXPECT_EQ(pixelBytes(*convertInBands(*source, route, *whole.image, rng)), pixelBytes(*whole.image));
        }
}

// A route that doesn't convert writes nothing; a temporary block that can't
// be had fails the rows before any is written.
TEST(RouterBands, RefusedRoutesWriteNothing) {
    ImagePtr source = makeImage(FORMAT_YUV444P, 8, 4), target = makeImage(FORMAT_RGB32, 8, 4);
    const ConversionRoute refused = findConversionRoute(FORMAT_YUV444P, FORMAT_RGB32, 8, 4);
    ScratchBuffer temporary;
    std::memset(target->data, 7, size_t(target->size));
    EXPECT_TRUE(refused.viaTemporary && !refused.converts);
    EXPECT_FALSE(convertRows(refused, *source, rowsOf(*target, 0, 4), temporary));
    EXPECT_EQ(std::count(target->data, target->data + target->size, 7), target->size);
    // The temporary image of a route through 4:2:0 too large to allocate.
    const ConversionRoute huge = findConversionRoute(FORMAT_NV12, FORMAT_RGB32, 40000, 40000);
    EXPECT_TRUE(huge.viaTemporary && !huge.converts);
}

}  // namespace
}  // namespace morva::testing
