#include "color/ycbcr_to_bgr16.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <vector>

#include "color/ycbcr_forms_harness.h"
#include "common/testing.h"

namespace morva {
namespace {

using testing::FormRunner;
using testing::KernelShape;
using testing::PlaneShape;

using PackedEntry = IppStatus (*)(const uint8_t*, int32_t, uint16_t*, int32_t, IppiSize);
using PlanarEntry = IppStatus (*)(const uint8_t* const[3], const int32_t[3], uint16_t*, int32_t, IppiSize);

struct LayoutCase {
    const char* name;
    PackedEntry packed;
    PlanarEntry planar;
    uint16_t white;       // (235, 128, 128)
    uint16_t blockColor;  // (60, 60, 126) by Q4 truncated
    uint16_t pairColor;   // the same by S2
};

const LayoutCase kLayouts[] = {
    {"BGR565", ippiYCbCr422ToBGR565_8u16u_C2C3R, ippiYCbCr420ToBGR565_8u16u_P3C3R, 0xFFFF, 0x2A60, 0x3260},
    {"BGR555", ippiYCbCr422ToBGR555_8u16u_C2C3R, ippiYCbCr420ToBGR555_8u16u_P3C3R, 0x7FFF, 0x1520, 0x1920},
    {"BGR444", ippiYCbCr422ToBGR444_8u16u_C2C3R, ippiYCbCr420ToBGR444_8u16u_P3C3R, 0x0FFF, 0x0240, 0x0340},
};

std::vector<uint8_t> packedRows(int width, int height, std::array<uint8_t, 4> group) {
    std::vector<uint8_t> v(2 * width * height);
    for (size_t i = 0; i < v.size(); ++i) v[i] = group[i % 4];
    return v;
}

uint16_t wordAt(const std::vector<uint16_t>& v, size_t i) {
    const auto* b = reinterpret_cast<const uint8_t*>(v.data()) + 2 * i;
    return static_cast<uint16_t>(b[0] | b[1] << 8);
}

class YCbCrToBGR16Layout : public ::testing::TestWithParam<LayoutCase> {};

// Studio white has no seam: block, pair and odd pixel all give 254.
TEST_P(YCbCrToBGR16Layout, StudioWhiteIsAllOnesAtEveryColumn) {
    const LayoutCase& l = GetParam();
    const std::vector<uint8_t> src = packedRows(11, 1, {235, 128, 235, 128});
    std::vector<uint16_t> dst(11);
    ASSERT_EQ(l.packed(src.data(), 22, dst.data(), 22, {11, 1}), ippStsNoErr);
    for (int x = 0; x < 11; ++x) EXPECT_EQ(wordAt(dst, x), l.white) << x;
    const std::vector<uint8_t> y(11 * 3, 235), c(6 * 2, 128);
    const uint8_t* planes[3] = {y.data(), c.data(), c.data() + 6};
    const int32_t steps[3] = {11, 6, 6};
    ASSERT_EQ(l.planar(planes, steps, dst.data(), 0, {11, 1}), ippStsNoErr);
    for (int x = 0; x < 11; ++x) EXPECT_EQ(wordAt(dst, x), l.white) << x;
}

// Width 12: pixels 0-7 in a block by Q4 truncated, 8-11 by S2.
TEST_P(YCbCrToBGR16Layout, BlocksByQ4TruncatedPairsByS2) {
    const LayoutCase& l = GetParam();
    const std::vector<uint8_t> src = packedRows(12, 2, {60, 60, 60, 126});
    std::vector<uint16_t> dst(2 * 13);
    ASSERT_EQ(l.packed(src.data(), 24, dst.data(), 26, {12, 2}), ippStsNoErr);
    for (int r = 0; r < 2; ++r)
        for (int x = 0; x < 12; ++x) EXPECT_EQ(wordAt(dst, 13 * r + x), x < 8 ? l.blockColor : l.pairColor) << x;
}

// Rows back to back make one long row: 4 x 4 is two blocks, where row by row
// every pixel would go through the pair tail.
TEST_P(YCbCrToBGR16Layout, ContiguousFrameIsOneLongRow) {
    const LayoutCase& l = GetParam();
    const std::vector<uint8_t> src = packedRows(4, 4, {60, 60, 60, 126});
    std::vector<uint16_t> dst(4 * 5);
    ASSERT_EQ(l.packed(src.data(), 8, dst.data(), 8, {4, 4}), ippStsNoErr);
    for (int i = 0; i < 16; ++i) EXPECT_EQ(wordAt(dst, i), l.blockColor) << i;
    ASSERT_EQ(l.packed(src.data(), 8, dst.data(), 10, {4, 4}), ippStsNoErr);
    for (int r = 0; r < 4; ++r)
        for (int x = 0; x < 4; ++x) EXPECT_EQ(wordAt(dst, 5 * r + x), l.pairColor) << r << "," << x;
}

// At an odd width a pair would straddle two rows: tight steps change nothing.
TEST_P(YCbCrToBGR16Layout, OddWidthIsNeverOneLongRow) {
    const LayoutCase& l = GetParam();
    testing::Rng rng(3);
    std::vector<uint8_t> src(2 * 3 * 4);
    rng.fill(src.data(), src.size());
    std::vector<uint16_t> tight(3 * 4), padded(4 * 4);
    ASSERT_EQ(l.packed(src.data(), 6, tight.data(), 6, {3, 4}), ippStsNoErr);
    ASSERT_EQ(l.packed(src.data(), 6, padded.data(), 8, {3, 4}), ippStsNoErr);
    for (int r = 0; r < 4; ++r)
        for (int x = 0; x < 3; ++x) EXPECT_EQ(tight[3 * r + x], padded[4 * r + x]) << r << "," << x;
}

// Planar 4:2:0: Q4 truncated everywhere, odd sizes included.
TEST_P(YCbCrToBGR16Layout, PlanarConvertsEveryPixelByQ4Truncated) {
    const LayoutCase& l = GetParam();
    for (const IppiSize size : {IppiSize{13, 5}, IppiSize{1, 3}, IppiSize{7, 1}}) {
        const std::vector<uint8_t> y(size.width * size.height, 60), cb(64, 60), cr(64, 126);
        const uint8_t* planes[3] = {y.data(), cb.data(), cr.data()};
        const int32_t steps[3] = {size.width, (size.width + 1) / 2, (size.width + 1) / 2};
        std::vector<uint16_t> dst(size.width * size.height + 1, 0xEEEE);
        ASSERT_EQ(l.planar(planes, steps, dst.data(), 2 * size.width, size), ippStsNoErr);
        for (int i = 0; i < size.width * size.height; ++i) EXPECT_EQ(wordAt(dst, i), l.blockColor) << i;
        EXPECT_EQ(dst.back(), 0xEEEE);
    }
}

INSTANTIATE_TEST_SUITE_P(All, YCbCrToBGR16Layout, ::testing::ValuesIn(kLayouts),
                         [](const auto& info) { return std::string(info.param.name); });

// The last pixel of an odd row takes the Cr of the group before it, by S2
// plain (which here differs from S2).
TEST(YCbCr422ToBGR16, OddPixelByS2PlainWithCrOfGroupBefore) {
    std::vector<uint8_t> src = packedRows(11, 1, {63, 96, 63, 90});
    src[4 * 4 + 3] = 132;  // Cr of pixels 8 and 9
    std::vector<uint16_t> dst(11);
    ASSERT_EQ(ippiYCbCr422ToBGR565_8u16u_C2C3R(src.data(), 22, dst.data(), 22, {11, 1}), ippStsNoErr);
    EXPECT_EQ(wordAt(dst, 10), 0x3A00);
    EXPECT_EQ(wordAt(dst, 9), 0x39E0);
}

// Width 1: three bytes a row, red, green, blue, at r times half the step.
TEST(YCbCr422ToBGR16, SingleColumnWritesThreeBytesAtHalfRowOffsets) {
    const uint8_t src[3 * 4] = {200, 60, 0, 0, 50, 180, 0, 0, 200, 60, 0, 0};
    const int32_t step = 20;  // 10 in 16-bit units
    std::vector<uint8_t> dst(64, 0xEE);
    ASSERT_EQ(ippiYCbCr422ToBGR565_8u16u_C2C3R(src, 4, reinterpret_cast<uint16_t*>(dst.data()), step, {1, 3}),
              ippStsNoErr);
    std::vector<uint8_t> expected(64, 0xEE);
    const uint8_t rows[3][3] = {{105, 255, 77}, {122, 0, 144}, {105, 255, 77}};
    for (int r = 0; r < 3; ++r) std::copy(rows[r], rows[r] + 3, expected.begin() + r * step / 2);
    EXPECT_EQ(dst, expected);
}

// Pointers are checked before sizes; a refusal writes nothing.
TEST(YCbCrToBGR16, RefusalsReturnTheirStatusAndWriteNothing) {
    const std::vector<uint8_t> src(4096, 128);
    const uint8_t* planes[3] = {src.data(), src.data() + 1024, src.data() + 2048};
    const int32_t steps[3] = {64, 32, 32};
    for (const LayoutCase& l : kLayouts) {
        SCOPED_TRACE(l.name);
        std::vector<uint16_t> dst(512, 0xEEEE);
        uint16_t* d = dst.data();
        for (const IppiSize bad : {IppiSize{0, 4}, IppiSize{8, 0}, IppiSize{-1, -1}}) {
            EXPECT_EQ(l.packed(nullptr, 64, d, 64, bad), ippStsNullPtrErr);
            EXPECT_EQ(l.packed(planes[0], 64, nullptr, 64, bad), ippStsNullPtrErr);
            EXPECT_EQ(l.packed(planes[0], 64, d, 64, bad), ippStsSizeErr);
            EXPECT_EQ(l.planar(nullptr, steps, d, 64, bad), ippStsNullPtrErr);
            EXPECT_EQ(l.planar(planes, nullptr, d, 64, bad), ippStsNullPtrErr);
            EXPECT_EQ(l.planar(planes, steps, nullptr, 64, bad), ippStsNullPtrErr);
            EXPECT_EQ(l.planar(planes, steps, d, 64, bad), ippStsSizeErr);
        }
        for (int entry = 0; entry < 3; ++entry) {
            const uint8_t* withNull[3] = {planes[0], planes[1], planes[2]};
            withNull[entry] = nullptr;
            EXPECT_EQ(l.planar(withNull, steps, d, 64, {8, 4}), ippStsNullPtrErr) << entry;
        }
        EXPECT_TRUE(std::all_of(dst.begin(), dst.end(), [](uint16_t v) { return v == 0xEEEE; }));
    }
}

// ---------------------------------------------------------------------------
// Every vector form against the scalar definition, in every layout.

template <class Fn>
std::vector<testing::NamedForm> formsOf(const KernelTable<Fn>& table, const Bgr16Layout& layout) {
    return testing::formsOf(table, [&layout](Fn fn) -> FormRunner {
        return [fn, layout](const uint8_t* const* s, const int32_t* st, uint8_t* d, int32_t ds, int32_t w,
                            int32_t h) {
            if constexpr (std::is_same_v<Fn, Packed422ToBgr16Fn>) fn(s[0], st[0], d, ds >> 1, w, h, layout);
            else fn(s, st, d, ds >> 1, w, h, layout);
        };
    });
}

const PlaneShape kPacked{[](int32_t w) { return int64_t(2) * w; }, [](int32_t h) { return h; }};
const PlaneShape kLuma{[](int32_t w) { return int64_t(w); }, [](int32_t h) { return h; }};
const PlaneShape kChroma420{[](int32_t w) { return int64_t(w + 1) / 2; }, [](int32_t h) { return (h + 1) / 2; }};

std::vector<KernelShape> kernelShapes() {
    const auto words = [](int32_t w) { return int64_t(2) * w; };
    const auto everyPixel = [](int32_t, int32_t w, int32_t) { return std::pair<int64_t, int64_t>(0, int64_t(2) * w); };
    std::vector<KernelShape> shapes;
    for (const auto& [name, layout] :
         {std::pair{"565", kBgr565}, std::pair{"555", kBgr555}, std::pair{"444", kBgr444}}) {
        // Width 1 writes at half-row offsets, outside this geometry; it has
        // its own test and one code path for all forms.
        shapes.push_back({std::string("packed_") + name, formsOf(packed422ToBgr16Table(), layout), {kPacked}, 2,
                          words, everyPixel, 2});
        shapes.push_back({std::string("planar_") + name, formsOf(planar420ToBgr16Table(), layout),
                          {kLuma, kChroma420, kChroma420}, 1, words, everyPixel, 2});
    }
    return shapes;
}

class YCbCrToBGR16Forms : public ::testing::TestWithParam<KernelShape> {};

TEST_P(YCbCrToBGR16Forms, MatchScalarDefinitionAtEverySize) { testing::sweepFormsAgainstScalar(GetParam()); }

// Without padding the packed kernels take their contiguous path.
TEST_P(YCbCrToBGR16Forms, MatchScalarDefinitionOnALargeFrame) {
    MORVA_SEED_TRACE();
    testing::FrameOptions o;
    o.srcMisalign = 5;
    o.dstMisalign = 2;
    testing::expectFormsMatchScalar(GetParam(), 1920, 1080, o, 1080);
}

INSTANTIATE_TEST_SUITE_P(All, YCbCrToBGR16Forms, ::testing::ValuesIn(kernelShapes()),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace morva
