// The router's decision for every ordered pair of formats, and the settled
// oddities of its routes.
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <set>

#include "color/router.h"
#include "common/testing.h"
#include "morva.h"

namespace {

struct ImageDeleter {
    void operator()(TImage* image) const { morvaFreeImage(image); }
};
using ImagePtr = std::unique_ptr<TImage, ImageDeleter>;

ImagePtr randomImage(int format, int width, int height, uint32_t salt) {
    ImagePtr image(morvaAllocateImage("test", width, -height, format, nullptr, 0));
    morva::testing::Rng rng(salt);
    rng.fill(image->data, size_t(image->size));
    return image;
}

ImagePtr filledImage(int format, int width, int height, uint8_t value) {
    ImagePtr image(morvaAllocateImage("test", width, -height, format, nullptr, 0));
    std::fill(image->data, image->data + image->size, value);
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
    ImagePtr temp = filledImage(via, source.width, source.height, 0);
    EXPECT_TRUE(morva::convertColorSpaceDirect(&source, temp.get()));
    ImagePtr out = filledImage(dst, source.width, source.height, 0x5A);
    EXPECT_TRUE(morva::convertColorSpaceDirect(temp.get(), out.get()));
    return out;
}

bool sameBytes(const TImage& a, const TImage& b) {
    return a.size == b.size && std::equal(a.data, a.data + a.size, b.data);
}

TEST(Router, DecidesEveryPairOfFormats) {
    MORVA_SEED_TRACE();
    const int width = 16, height = 6;
    for (int src = 0; src < 22; ++src) {
        ImagePtr source = randomImage(src, width, height, uint32_t(src));
        for (int dst = 0; dst < 22; ++dst) {
            SCOPED_TRACE(::testing::Message() << src << " -> " << dst);
            const Route route = expectedRoute(src, dst);
            ImagePtr direct = filledImage(dst, width, height, 0x5A);
            const bool directDone = morva::convertColorSpaceDirect(source.get(), direct.get());
            EXPECT_EQ(directDone, route == Route::Raw || route == Route::Direct ||
                                      route == Route::ThroughRgb24);
            ImagePtr out = filledImage(dst, width, height, 0x5A);
            const bool done = morva::convertColorSpace(source.get(), out.get());
            EXPECT_EQ(done, route != Route::Refused);
            switch (route) {
            case Route::Raw:
                EXPECT_TRUE(std::equal(out->data, out->data + out->size, source->data));
                break;
            case Route::Direct:
                EXPECT_TRUE(sameBytes(*out, *direct));
                break;
            case Route::ThroughI420:
                EXPECT_TRUE(sameBytes(*out, *convertInTwoLegs(*source, FORMAT_I420, dst)));
                break;
            case Route::ThroughRgb24:
                EXPECT_TRUE(sameBytes(*out, *convertInTwoLegs(*source, FORMAT_RGB24, dst)));
                break;
            case Route::Refused:
                EXPECT_EQ(std::count(out->data, out->data + out->size, 0x5A), out->size);
                break;
            }
        }
    }
}

TEST(Router, RefusesImagesOfDifferentSizesAndInvalidImages) {
    ImagePtr a = randomImage(FORMAT_I420, 16, 6, 1);
    ImagePtr b = filledImage(FORMAT_I420, 16, 8, 0x5A);
    EXPECT_FALSE(morva::convertColorSpace(a.get(), b.get()));
    ImagePtr bgra = filledImage(FORMAT_RGB32, 16, 8, 0x5A);
    EXPECT_FALSE(morva::convertColorSpace(a.get(), bgra.get()));
    EXPECT_EQ(std::count(bgra->data, bgra->data + bgra->size, 0x5A), bgra->size);
    EXPECT_FALSE(morva::convertColorSpace(nullptr, b.get()));
    TImage hollow{};
    EXPECT_FALSE(morva::convertColorSpace(a.get(), &hollow));
}

// One picture with distinct chroma: Cb 60 and Cr 200, mid-grey luma.
ImagePtr colouredI420(int format) {
    ImagePtr image = filledImage(format, 16, 4, 128);
    PlaneEntry* p = image->planeInfo->planes;
    std::fill(p[1].data, p[1].data + p[1].size, 60);
    std::fill(p[2].data, p[2].data + p[2].size, 200);
    return image;
}

TEST(Router, FormatZeroReadsItsChromaPlanesCrossed) {
    // 0 -> 5 is a raw copy, so the chroma of a 4:2:0 picture read as format 0
    // comes out exchanged; 0 -> 12 directly reads them crossed.
    ImagePtr yv12 = colouredI420(FORMAT_YV12);
    ImagePtr asI420 = filledImage(FORMAT_I420, 16, 4, 0);
    ASSERT_TRUE(morva::convertColorSpace(yv12.get(), asI420.get()));
    ImagePtr viaRaw = filledImage(FORMAT_RGB24, 16, 4, 0);
    ImagePtr direct = filledImage(FORMAT_RGB24, 16, 4, 0);
    morva::convertColorSpace(asI420.get(), viaRaw.get());
    morva::convertColorSpace(yv12.get(), direct.get());
    // Format 0 holds Cr in plane 1 and Cb in plane 2: read crossed, Cb is
    // 200 and blue is strong; after the raw copy Cr is 200 and red is.
    EXPECT_GT(direct->data[0], direct->data[2]);
    EXPECT_LT(viaRaw->data[0], viaRaw->data[2]);
}

TEST(Router, PackedYCbCrToPlanarExchangesChroma) {
    // YUY2 -> I420 writes Cr into plane 1; UYVY -> I420 comes out right.
    ImagePtr yuy2 = filledImage(FORMAT_YUY2, 16, 4, 0);
    ImagePtr uyvy = filledImage(FORMAT_UYVY, 16, 4, 0);
    for (int i = 0; i < yuy2->size; i += 4) {
        const uint8_t y2[4] = {100, 60, 100, 200}, uy[4] = {60, 100, 200, 100};
        std::copy(y2, y2 + 4, yuy2->data + i);
        std::copy(uy, uy + 4, uyvy->data + i);
    }
    ImagePtr fromYuy2 = filledImage(FORMAT_I420, 16, 4, 0);
    ImagePtr fromUyvy = filledImage(FORMAT_I420, 16, 4, 0);
    morva::convertColorSpace(yuy2.get(), fromYuy2.get());
    morva::convertColorSpace(uyvy.get(), fromUyvy.get());
    EXPECT_EQ(fromYuy2->planeInfo->planes[1].data[0], 200);
    EXPECT_EQ(fromUyvy->planeInfo->planes[1].data[0], 60);
}

TEST(Router, PlanarFourTwoTwoDropsOddChromaRowsOnTheWayToRgb) {
    ImagePtr planar422 = filledImage(FORMAT_YVYU, 16, 4, 128);
    PlaneEntry* p = planar422->planeInfo->planes;
    // Chroma rows 1 and 3 differ from rows 0 and 2; they are never read.
    for (int r = 1; r < 4; r += 2) {
        std::fill(p[1].data + r * p[1].stride, p[1].data + (r + 1) * p[1].stride, 0);
        std::fill(p[2].data + r * p[2].stride, p[2].data + (r + 1) * p[2].stride, 255);
    }
    ImagePtr rgb = filledImage(FORMAT_RGB24, 16, 4, 0);
    ASSERT_TRUE(morva::convertColorSpace(planar422.get(), rgb.get()));
    const PlaneEntry& out = rgb->planeInfo->planes[0];
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 3; ++c) EXPECT_EQ(out.data[r * out.stride + c], 130) << r;
}

}  // namespace
