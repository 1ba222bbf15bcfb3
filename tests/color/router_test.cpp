// The router's decision for every ordered pair of formats, and the settled
// oddities of its routes.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <memory>
#include <set>
#include <tuple>
#include <vector>

#include "color/router.h"
#include "common/testing.h"
#include "morva.h"

namespace {

using ImagePtr = std::unique_ptr<TImage, decltype(&morvaFreeImage)>;

// An image of the format filled with `fill`, or random bytes when it is negative.
ImagePtr image(int format, int width, int height, int fill) {
    ImagePtr image(morvaAllocateImage("test", width, -height, format, nullptr, 0), &morvaFreeImage);
    if (fill < 0) morva::testing::Rng(uint32_t(format)).fill(image->data, size_t(image->size));
    else std::fill(image->data, image->data + image->size, uint8_t(fill));
    return image;
}

enum class Route { Raw, Direct, ThroughI420, ThroughRgb24, Refused };

// What the router does with each pair, by source: raw copies, direct
// routines, and routes through a temporary 4:2:0 image; all other
// destinations are refused.
struct SourceRoutes {
    std::set<int> raw, direct, throughI420;
};

const std::map<int, SourceRoutes>& routeTable() {
    static const std::map<int, SourceRoutes> table = {
        {0, {{0, 5}, {1, 2, 3, 4, 6, 10, 12, 13, 14, 15}, {}}},
        {1, {{1}, {0, 2, 3, 5}, {4, 6, 10, 11, 12, 13, 14, 15}}},
        {2, {{2}, {0, 1, 3, 5, 6, 11, 12, 13, 14, 15}, {4, 10}}},
        {3, {{3}, {0, 1, 2, 5, 6, 11, 12}, {4, 10, 13, 14, 15}}},
        {4, {{4}, {0, 5}, {1, 2, 3, 6, 10, 11, 12, 13, 14, 15}}},
        {5, {{0, 5}, {1, 2, 3, 4, 6, 10, 11, 12, 13, 14, 15}, {}}},
        {6, {{6}, {0, 5, 1, 2, 3, 4, 10, 11, 12, 13, 14, 15}, {}}},
        {7, {{7}, {}, {}}},
        {8, {{0, 5, 8}, {}, {1, 2, 3, 4, 6, 10, 11, 12, 13, 14, 15}}},
        {9, {{9}, {}, {}}},
        {10, {{10}, {0, 5}, {1, 2, 3, 4, 6, 11, 12, 13, 14, 15}}},
        {11, {{11}, {2, 3, 5, 12}, {1, 4, 6, 10, 13, 14, 15}}},
        {12, {{12}, {0, 2, 5, 11}, {1, 3, 4, 6, 10, 13, 14, 15}}},
        {13, {{13}, {0, 2, 5, 12}, {1, 3, 4, 6, 10, 11, 14, 15}}},
        {14, {{14}, {0, 2, 5, 12}, {1, 3, 4, 6, 10, 11, 13, 15}}},
        {15, {{15}, {}, {}}},
        {16, {{16}, {}, {}}},
        {17, {{0, 5, 17}, {}, {1, 2, 3, 4, 6, 10, 11, 12, 13, 14, 15}}},
        {18, {{18}, {0, 2, 5, 12}, {1, 3, 4, 6, 10, 11, 13, 14, 15}}},
        {19, {{19}, {}, {}}},
        {20, {{20}, {}, {}}},
        {21, {{16, 21}, {}, {}}},
    };
    return table;
}

Route expectedRoute(int src, int dst) {
    if ((src == 11 && dst == 0) || (src == 0 && dst == 11)) return Route::ThroughRgb24;
    const SourceRoutes& routes = routeTable().at(src);
    if (routes.raw.count(dst)) return Route::Raw;
    if (routes.direct.count(dst)) return Route::Direct;
    if (routes.throughI420.count(dst)) return Route::ThroughI420;
    return Route::Refused;
}

// Converts with explicit legs through a temporary image of the given format.
ImagePtr convertInTwoLegs(const TImage& source, int via, int dst) {
    ImagePtr temp = image(via, source.width, source.height, 0);
    EXPECT_TRUE(morva::convertColorSpaceDirect(&source, temp.get()));
    ImagePtr out = image(dst, source.width, source.height, 0x5A);
    EXPECT_TRUE(morva::convertColorSpaceDirect(temp.get(), out.get()));
    return out;
}

std::vector<uint8_t> bytes(const TImage& image, int size) { return {image.data, image.data + size}; }

TEST(Router, DecidesEveryPairOfFormats) {
    MORVA_SEED_TRACE();
    const int width = 16, height = 6;
    for (int src = 0; src < 22; ++src) {
        ImagePtr source = image(src, width, height, -1);
        for (int dst = 0; dst < 22; ++dst) {
            SCOPED_TRACE(::testing::Message() << src << " -> " << dst);
            const Route route = expectedRoute(src, dst);
            ImagePtr direct = image(dst, width, height, 0x5A);
            ImagePtr out = image(dst, width, height, 0x5A);
            EXPECT_EQ(morva::convertColorSpaceDirect(source.get(), direct.get()),
                      route == Route::Raw || route == Route::Direct || route == Route::ThroughRgb24);
            EXPECT_EQ(morva::convertColorSpace(source.get(), out.get()), route != Route::Refused);
            const std::vector<uint8_t> got = bytes(*out, out->size);
            if (route == Route::Raw) {
                EXPECT_EQ(got, bytes(*source, out->size));
            }
            if (route == Route::Direct) {
                EXPECT_EQ(got, bytes(*direct, direct->size));
            }
            if (route == Route::ThroughI420 || route == Route::ThroughRgb24) {
                const int via = route == Route::ThroughI420 ? FORMAT_I420 : FORMAT_RGB24;
                EXPECT_EQ(got, bytes(*convertInTwoLegs(*source, via, dst), out->size));
            }
            if (route == Route::Refused) {
                EXPECT_EQ(std::count(got.begin(), got.end(), 0x5A), out->size);
            }
        }
    }
}

TEST(Router, RefusesImagesOfDifferentSizesAndInvalidImages) {
    ImagePtr a = image(FORMAT_I420, 16, 6, -1), b = image(FORMAT_I420, 16, 8, 0x5A);
    ImagePtr bgra = image(FORMAT_RGB32, 16, 8, 0x5A);
    EXPECT_FALSE(morva::convertColorSpace(a.get(), b.get()));
    EXPECT_FALSE(morva::convertColorSpace(a.get(), bgra.get()));
    EXPECT_EQ(std::count(bgra->data, bgra->data + bgra->size, 0x5A), bgra->size);
    EXPECT_FALSE(morva::convertColorSpace(nullptr, b.get()));
    TImage hollow{};
    EXPECT_FALSE(morva::convertColorSpace(a.get(), &hollow));
}

// Mid-grey luma; chroma planes 1 and 2 at c1 and c2 in even rows, 0 and 255
// in odd ones.
ImagePtr planar(int format, uint8_t c1, uint8_t c2) {
    ImagePtr im = image(format, 16, 4, 128);
    for (int k = 1; k <= 2; ++k) {
        const PlaneEntry& p = im->planeInfo->planes[k];
        for (int r = 0; r < p.size / p.stride; ++r)
            std::fill_n(p.data + r * p.stride, p.stride, r % 2 ? (k == 1 ? 0 : 255) : (k == 1 ? c1 : c2));
    }
    return im;
}

// The first pixel of the image converted to 24-bit BGR.
std::vector<uint8_t> firstPixel(const TImage& source) {
    ImagePtr rgb = image(FORMAT_RGB24, 16, 4, 0);
    EXPECT_TRUE(morva::convertColorSpace(&source, rgb.get()));
    return {rgb->data, rgb->data + 3};
}

TEST(Router, FormatZeroReadsItsChromaPlanesCrossed) {
    // Format 0 holds Cr in plane 1: read crossed, Cb is 200 and blue is
    // strong. 0 -> 5 is a raw copy, so afterwards Cr is 200 and red is.
    ImagePtr yv12 = planar(FORMAT_YV12, 60, 200), i420 = image(FORMAT_I420, 16, 4, 0);
    ASSERT_TRUE(morva::convertColorSpace(yv12.get(), i420.get()));
    const std::vector<uint8_t> direct = firstPixel(*yv12), viaRaw = firstPixel(*i420);
    EXPECT_GT(direct[0], direct[2]);
    EXPECT_LT(viaRaw[0], viaRaw[2]);
}

TEST(Router, PackedYCbCrToPlanarExchangesChroma) {
    // YUY2 -> I420 writes Cr into plane 1; UYVY -> I420 comes out right.
    using Group = std::array<uint8_t, 4>;
    for (const auto& [format, group, plane1] : {std::tuple{FORMAT_YUY2, Group{100, 60, 100, 200}, 200},
                                                std::tuple{FORMAT_UYVY, Group{60, 100, 200, 100}, 60}}) {
        ImagePtr packed = image(format, 16, 4, 0), i420 = image(FORMAT_I420, 16, 4, 0);
        for (int i = 0; i < packed->size; i += 4) std::copy(group.begin(), group.end(), packed->data + i);
        ASSERT_TRUE(morva::convertColorSpace(packed.get(), i420.get()));
        EXPECT_EQ(i420->planeInfo->planes[1].data[0], plane1) << format;
    }
}

// Planar 4:2:2 passes for 4:2:0 on the way to RGB: the odd chroma rows are
// never read, and every pixel is mid grey.
TEST(Router, PlanarFourTwoTwoDropsOddChromaRowsOnTheWayToRgb) {
    ImagePtr planar422 = planar(FORMAT_YVYU, 128, 128), rgb = image(FORMAT_RGB24, 16, 4, 0);
    ASSERT_TRUE(morva::convertColorSpace(planar422.get(), rgb.get()));
    const PlaneEntry& out = rgb->planeInfo->planes[0];
    for (int r = 0; r < 4; ++r)
        EXPECT_EQ(std::count(out.data + r * out.stride, out.data + r * out.stride + 48, 130), 48) << r;
}

}  // namespace
