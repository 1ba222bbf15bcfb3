#include "color/ycbcr_to_bgr.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <functional>
#include <tuple>
#include <vector>

#include "color/ycbcr_forms_harness.h"
#include "color/yuv_fixed_point.h"
#include "common/testing.h"

namespace morva {
namespace {

using testing::FormRunner;
using testing::KernelShape;
using testing::PlaneShape;
using yuv::Bgr;

constexpr uint8_t kAlpha = 0x5A;

// ---------------------------------------------------------------------------
// The fixed-point forms on the reference values.

struct FormValue {
    const char* name;
    yuv::PixelForm form;
    uint8_t studioWhite;  // (235, 128, 128), all channels
    uint8_t blueOf145_54_34;
};

class FixedPointForm : public ::testing::TestWithParam<FormValue> {};

TEST_P(FixedPointForm, ReferenceValues) {
    const FormValue& f = GetParam();
    const uint8_t w = f.studioWhite;
    EXPECT_EQ(f.form(235, 128, 128), (Bgr{w, w, w}));
    EXPECT_EQ(f.form(16, 128, 128), (Bgr{0, 0, 0}));
    EXPECT_EQ(f.form(128, 128, 128), (Bgr{130, 130, 130}));
    EXPECT_EQ(f.form(145, 54, 34).b, f.blueOf145_54_34);
    // Saturation at both ends.
    EXPECT_EQ(f.form(255, 255, 255).r, 255);
    EXPECT_EQ(f.form(0, 0, 0).b, 0);
}

INSTANTIATE_TEST_SUITE_P(All, FixedPointForm,
                         ::testing::Values(FormValue{"q3", yuv::q3, 254, 0},
                                           FormValue{"q4Rounded", yuv::q4Rounded, 255, 1},
                                           FormValue{"q4Truncated", yuv::q4Truncated, 254, 0},
                                           FormValue{"s1", yuv::s1, 254, 0}, FormValue{"s2", yuv::s2, 254, 0},
                                           FormValue{"s2Rounded", yuv::s2Rounded, 255, 1},
                                           FormValue{"s2Plain", yuv::s2Plain, 254, 0},
                                           FormValue{"s3", yuv::s3, 255, 1}),
                         [](const auto& info) { return std::string(info.param.name); });

// A kernel's body and tail forms are one matrix rounded two ways: over a
// dense sample of all inputs they never differ by more than one level.
TEST(FixedPointForms, BodyAndTailDifferByAtMostOneLevel) {
    const std::pair<yuv::PixelForm, yuv::PixelForm> pairs[] = {
        {yuv::q3, yuv::s2},          {yuv::q4Rounded, yuv::s2}, {yuv::q4Rounded, yuv::s3},
        {yuv::q4Rounded, yuv::s2Rounded}, {yuv::q4Truncated, yuv::s2}, {yuv::q4Truncated, yuv::s2Plain}};
    for (const auto& [body, tail] : pairs) {
        for (int y = 0; y < 256; ++y)
            for (int cb = 0; cb < 256; cb += 7)
                for (int cr = 0; cr < 256; cr += 5) {
                    const Bgr a = body(y, cb, cr), b = tail(y, cb, cr);
                    ASSERT_LE(std::abs(a.b - b.b), 1) << y << "," << cb << "," << cr;
                    ASSERT_LE(std::abs(a.g - b.g), 1) << y << "," << cb << "," << cr;
                    ASSERT_LE(std::abs(a.r - b.r), 1) << y << "," << cb << "," << cr;
                }
    }
}

// ---------------------------------------------------------------------------
// Worked rows, through every form of each kernel.

template <class Fn, class Body>
void forEachForm(const KernelTable<Fn>& table, Body body) {
    for (const KernelForm<Fn>& form : table.forms()) {
        if (!cpuSupports(form.isa)) continue;
        SCOPED_TRACE(std::string("form ") + form.name);
        body(form.fn);
    }
}

std::vector<uint8_t> packedRow(int width, std::array<uint8_t, 4> group) {
    std::vector<uint8_t> row(2 * width);
    for (size_t i = 0; i < row.size(); ++i) row[i] = group[i % 4];
    return row;
}

Bgr bgrAt(const std::vector<uint8_t>& row, int x, int bytes) {
    return {row[x * bytes], row[x * bytes + 1], row[x * bytes + 2]};
}

TEST(YCbCr422ToBGR_C2C4R, BodyByQ3TailByS2OddPixelTakesCrOfGroupBefore) {
    // Width 17: pixels 0-15 in the body; pixel 16 alone in its half group.
    std::vector<uint8_t> src = packedRow(17, {100, 200, 100, 128});
    src[4 * 7 + 3] = 60;  // Cr of pixels 14 and 15
    forEachForm(yuy2ToBgraTable(), [&](Packed422ToBgraFn fn) {
        std::vector<uint8_t> dst(17 * 4);
        fn(src.data(), 34, dst.data(), 68, 17, 1, kAlpha);
        for (int x = 0; x < 14; ++x) EXPECT_EQ(bgrAt(dst, x, 4), (Bgr{242, 69, 97})) << x;
        EXPECT_EQ(bgrAt(dst, 15, 4), (Bgr{242, 125, 0}));
        EXPECT_EQ(bgrAt(dst, 16, 4), (Bgr{242, 124, 0}));
        for (int x = 0; x < 17; ++x) EXPECT_EQ(dst[4 * x + 3], kAlpha);
    });
}

TEST(YCbCr422ToBGR_C2C3R, EveryPairByQ4RoundedOddPixelByS2) {
    for (const auto& [group, pair, odd] :
         {std::tuple{std::array<uint8_t, 4>{235, 128, 235, 128}, Bgr{255, 255, 255}, Bgr{254, 254, 254}},
          std::tuple{std::array<uint8_t, 4>{100, 200, 100, 60}, Bgr{243, 125, 0}, Bgr{242, 124, 0}}}) {
        const std::vector<uint8_t> src = packedRow(23, group);
        forEachForm(yuy2ToBgrTable(), [&](Packed422ToBgrFn fn) {
            std::vector<uint8_t> dst(23 * 3);
            fn(src.data(), 46, dst.data(), 69, 23, 1);
            for (int x = 0; x < 22; ++x) EXPECT_EQ(bgrAt(dst, x, 3), pair) << x;
            EXPECT_EQ(bgrAt(dst, 22, 3), odd);
        });
    }
}

TEST(CbYCr422ToBGR_C2C4R, BodyByQ4RoundedTailByS3) {
    std::vector<uint8_t> src = packedRow(11, {103, 60, 136, 60});
    src[4 * 5] = 103;  // the half group of pixel 10: Cb, Y
    forEachForm(uyvyToBgraTable(), [&](Packed422ToBgraFn fn) {
        std::vector<uint8_t> dst(11 * 4);
        fn(src.data(), 22, dst.data(), 44, 11, 1, kAlpha);
        for (int x = 0; x < 8; ++x) EXPECT_EQ(bgrAt(dst, x, 4), (Bgr{1, 54, 64})) << x;
        for (int x = 8; x < 11; ++x) EXPECT_EQ(bgrAt(dst, x, 4), (Bgr{1, 55, 64})) << x;
        EXPECT_EQ(dst[43], kAlpha);
    });
}

TEST(CbYCr422ToBGR_C2C4R, LonePixelUsesItsCbForBoth) {
    const uint8_t src[2] = {54, 145};
    forEachForm(uyvyToBgraTable(), [&](Packed422ToBgraFn fn) {
        std::vector<uint8_t> dst(4);
        fn(src, 2, dst.data(), 4, 1, 1, kAlpha);
        EXPECT_EQ(bgrAt(dst, 0, 4), (Bgr{1, 239, 32}));
        EXPECT_EQ(dst[3], kAlpha);
    });
}

TEST(CbYCr422ToRGB_C2C3R, WritesRedFirstInBodyAndTail) {
    const std::vector<uint8_t> src = packedRow(10, {103, 60, 136, 60});
    forEachForm(uyvyToRgbTable(), [&](Packed422ToBgrFn fn) {
        std::vector<uint8_t> dst(10 * 3);
        fn(src.data(), 20, dst.data(), 30, 10, 1);
        for (int x = 0; x < 8; ++x) EXPECT_EQ(bgrAt(dst, x, 3), (Bgr{64, 54, 1})) << x;
        for (int x = 8; x < 10; ++x) EXPECT_EQ(bgrAt(dst, x, 3), (Bgr{64, 55, 1})) << x;
    });
}

struct PlanarFrame {
    std::vector<uint8_t> y, cb, cr;
    const uint8_t* planes[3];
    int32_t steps[3];
    PlanarFrame(int w, int yRows, int cRows, uint8_t yv, uint8_t cbv, uint8_t crv)
        : y(w * yRows, yv), cb((w + 1) / 2 * cRows, cbv), cr((w + 1) / 2 * cRows, crv),
          planes{y.data(), cb.data(), cr.data()}, steps{w, (w + 1) / 2, (w + 1) / 2} {}
};

TEST(YCbCr422ToBGR_P3C3R, BodyByQ4RoundedPairsByS2OddColumnUnwritten) {
    const PlanarFrame f(11, 2, 2, 60, 103, 136);
    forEachForm(planar422ToBgrTable(), [&](Planar3ToBgrFn fn) {
        std::vector<uint8_t> dst(2 * 33, 0xEE);
        fn(f.planes, f.steps, dst.data(), 33, 11, 2);
        for (int r = 0; r < 2; ++r) {
            const std::vector<uint8_t> row(dst.begin() + 33 * r, dst.begin() + 33 * (r + 1));
            for (int x = 0; x < 8; ++x) EXPECT_EQ(bgrAt(row, x, 3), (Bgr{1, 54, 64}));
            for (int x = 8; x < 10; ++x) EXPECT_EQ(bgrAt(row, x, 3), (Bgr{0, 54, 63}));
            EXPECT_EQ(bgrAt(row, 10, 3), (Bgr{0xEE, 0xEE, 0xEE}));
        }
    });
}

TEST(YCbCr420ToBGR_P3C3R, BodyByQ4RoundedPairsByS2Rounded) {
    const PlanarFrame f(10, 2, 1, 60, 103, 136);
    forEachForm(planar420ToBgrTable(), [&](Planar3ToBgrFn fn) {
        std::vector<uint8_t> dst(2 * 30);
        fn(f.planes, f.steps, dst.data(), 30, 10, 2);
        for (int i = 0; i < 20; ++i) EXPECT_EQ(bgrAt(dst, i, 3), (i % 10 < 8 ? Bgr{1, 54, 64} : Bgr{1, 55, 64})) << i;
    });
}

TEST(YCbCr420ToBGR_P3C3R, OddSizesLeaveLastColumnAndRowAndWarn) {
    const PlanarFrame f(9, 5, 3, 128, 128, 128);
    std::vector<uint8_t> dst(5 * 27, 0xEE);
    EXPECT_EQ(ippiYCbCr420ToBGR_8u_P3C3R(f.planes, f.steps, dst.data(), 27, {9, 5}), ippStsDoubleSize);
    for (int r = 0; r < 5; ++r)
        for (int x = 0; x < 9; ++x)
            EXPECT_EQ(dst[r * 27 + 3 * x], r < 4 && x < 8 ? 130 : 0xEE) << r << "," << x;
    std::fill(dst.begin(), dst.end(), 0xEE);
    EXPECT_EQ(ippiYCbCr420ToBGR_8u_P3C3R(f.planes, f.steps, dst.data(), 27, {9, 1}), ippStsDoubleSize);
    EXPECT_TRUE(std::all_of(dst.begin(), dst.end(), [](uint8_t b) { return b == 0xEE; }));
    EXPECT_EQ(ippiYCbCr420ToBGR_8u_P3C3R(f.planes, f.steps, dst.data(), 27, {8, 4}), ippStsNoErr);
}

// Odd pixels take the rounded-up mean of their chroma neighbours, except the
// last pair; both rows of a pair share the chroma row.
TEST(YCrCb420ToBGR_P3C4R, InterpolatesChromaAlongTheRowOnly) {
    PlanarFrame f(6, 2, 1, 90, 0, 128);
    f.cb = {100, 200, 200};
    // Planes in the order Y, Cr, Cb.
    const uint8_t* planes[3] = {f.y.data(), f.cr.data(), f.cb.data()};
    forEachForm(planar420ToBgraTable(), [&](Planar3ToBgraFn fn) {
        std::vector<uint8_t> dst(2 * 24);
        fn(planes, f.steps, dst.data(), 24, 6, 2, kAlpha);
        const Bgr expected[6] = {{29, 97, 86}, {130, 77, 86}, {231, 57, 86}, {231, 57, 86},
                                 {231, 57, 86}, {231, 57, 86}};
        for (int r = 0; r < 2; ++r) {
            const std::vector<uint8_t> row(dst.begin() + 24 * r, dst.end());
            for (int x = 0; x < 6; ++x) {
                EXPECT_EQ(bgrAt(row, x, 4), expected[x]) << r << "," << x;
                EXPECT_EQ(row[4 * x + 3], kAlpha);
            }
        }
    });
}

// Width 1: the last pair is converted all the same, its second pixel from
// the Y byte behind the row.
TEST(YCrCb420ToBGR_P3C4R, WidthOneConvertsTwoPixelsARow) {
    const uint8_t y[4] = {200, 50, 200, 50};  // rows of step 2: the second byte is behind the row
    const uint8_t cr[1] = {180}, cb[1] = {60};
    const uint8_t* planes[3] = {y, cr, cb};
    const int32_t steps[3] = {2, 1, 1};
    std::vector<uint8_t> dst(2 * 12, 0xEE);
    EXPECT_EQ(ippiYCrCb420ToBGR_8u_P3C4R(planes, steps, dst.data(), 12, {1, 2}, 0), ippStsDoubleSize);
    for (int r = 0; r < 2; ++r) {
        const std::vector<uint8_t> row(dst.begin() + 12 * r, dst.begin() + 12 * (r + 1));
        EXPECT_EQ(bgrAt(row, 0, 4), (Bgr{77, 198, 255}));
        EXPECT_EQ(bgrAt(row, 1, 4), (Bgr{0, 23, 122}));
        EXPECT_EQ(row[8], 0xEE);
    }
}

TEST(YCrCb420ToBGR_P3C4R, HeightOneWritesNothingAndWarns) {
    const PlanarFrame f(8, 1, 1, 128, 128, 128);
    std::vector<uint8_t> dst(32, 0xEE);
    EXPECT_EQ(ippiYCrCb420ToBGR_8u_P3C4R(f.planes, f.steps, dst.data(), 32, {8, 1}, 0), ippStsDoubleSize);
    EXPECT_TRUE(std::all_of(dst.begin(), dst.end(), [](uint8_t b) { return b == 0xEE; }));
}

// ---------------------------------------------------------------------------
// Refusals: the status, and nothing written.

// Each entry point as (planes, steps, dst, size); a packed one reads plane 0.
struct Entry {
    const char* name;
    bool planar;
    int32_t minWidth;
    std::function<IppStatus(const uint8_t* const* planes, const int32_t* steps, uint8_t* dst, IppiSize size)> call;
};

const uint8_t* first(const uint8_t* const* planes) { return planes ? planes[0] : nullptr; }

const Entry kEntries[] = {
    {"YCbCr422ToBGR_8u_C2C4R", false, 2,
     [](auto p, auto, auto d, auto s) { return ippiYCbCr422ToBGR_8u_C2C4R(first(p), 64, d, 64, s, 0); }},
    {"YCbCr422ToBGR_8u_C2C3R", false, 2,
     [](auto p, auto, auto d, auto s) { return ippiYCbCr422ToBGR_8u_C2C3R(first(p), 64, d, 64, s); }},
    {"CbYCr422ToBGR_8u_C2C4R", false, 1,
     [](auto p, auto, auto d, auto s) { return ippiCbYCr422ToBGR_8u_C2C4R(first(p), 64, d, 64, s, 0); }},
    {"CbYCr422ToRGB_8u_C2C3R", false, 1,
     [](auto p, auto, auto d, auto s) { return ippiCbYCr422ToRGB_8u_C2C3R(first(p), 64, d, 64, s); }},
    {"YCbCr422ToBGR_8u_P3C3R", true, 2,
     [](auto p, auto st, auto d, auto s) { return ippiYCbCr422ToBGR_8u_P3C3R(p, st, d, 64, s); }},
    {"YCbCr420ToBGR_8u_P3C3R", true, 1,
     [](auto p, auto st, auto d, auto s) { return ippiYCbCr420ToBGR_8u_P3C3R(p, st, d, 64, s); }},
    {"YCrCb420ToBGR_8u_P3C4R", true, 1,
     [](auto p, auto st, auto d, auto s) { return ippiYCrCb420ToBGR_8u_P3C4R(p, st, d, 64, s, 0); }},
};

// Pointers are checked before sizes; a refusal writes nothing.
TEST(YCbCrToBGR, RefusalsReturnTheirStatusAndWriteNothing) {
    const std::vector<uint8_t> src(4096, 128);
    const uint8_t* planes[3] = {src.data(), src.data() + 1024, src.data() + 2048};
    const int32_t steps[3] = {64, 32, 32};
    for (const Entry& e : kEntries) {
        SCOPED_TRACE(e.name);
        std::vector<uint8_t> dst(1024, 0xEE);
        uint8_t* d = dst.data();
        EXPECT_EQ(e.call(nullptr, steps, d, {8, 4}), ippStsNullPtrErr);
        EXPECT_EQ(e.call(planes, steps, nullptr, {8, 4}), ippStsNullPtrErr);
        EXPECT_EQ(e.call(nullptr, steps, d, {0, 0}), ippStsNullPtrErr);
        EXPECT_EQ(e.call(planes, steps, d, {e.minWidth - 1, 4}), ippStsSizeErr);
        EXPECT_EQ(e.call(planes, steps, d, {8, 0}), ippStsSizeErr);
        EXPECT_EQ(e.call(planes, steps, d, {e.minWidth - 1, 1}), ippStsSizeErr);  // before any warning
        if (e.planar) {
            EXPECT_EQ(e.call(planes, nullptr, d, {8, 4}), ippStsNullPtrErr);
            for (int entry = 0; entry < 3; ++entry) {
                const uint8_t* withNull[3] = {planes[0], planes[1], planes[2]};
                withNull[entry] = nullptr;
                EXPECT_EQ(e.call(withNull, steps, d, {8, 4}), ippStsNullPtrErr) << entry;
            }
        }
        EXPECT_TRUE(std::all_of(dst.begin(), dst.end(), [](uint8_t b) { return b == 0xEE; }));
    }
}

// ---------------------------------------------------------------------------
// Every vector form against the scalar definition.

FormRunner adapt(Packed422ToBgrFn fn) {
    return [fn](const uint8_t* const* s, const int32_t* st, uint8_t* d, int32_t ds, int32_t w, int32_t h) {
        fn(s[0], st[0], d, ds, w, h);
    };
}
FormRunner adapt(Packed422ToBgraFn fn) {
    return [fn](const uint8_t* const* s, const int32_t* st, uint8_t* d, int32_t ds, int32_t w, int32_t h) {
        fn(s[0], st[0], d, ds, w, h, kAlpha);
    };
}
FormRunner adapt(Planar3ToBgrFn fn) {
    return [fn](const uint8_t* const* s, const int32_t* st, uint8_t* d, int32_t ds, int32_t w, int32_t h) {
        fn(s, st, d, ds, w, h);
    };
}
FormRunner adapt(Planar3ToBgraFn fn) {
    return [fn](const uint8_t* const* s, const int32_t* st, uint8_t* d, int32_t ds, int32_t w, int32_t h) {
        fn(s, st, d, ds, w, h, kAlpha);
    };
}

template <class Fn>
std::vector<testing::NamedForm> formsOf(const KernelTable<Fn>& table) {
    return testing::formsOf(table, [](Fn fn) { return adapt(fn); });
}

const PlaneShape kPacked{[](int32_t w) { return int64_t(2) * w; }, [](int32_t h) { return h; }};
const PlaneShape kLuma{[](int32_t w) { return int64_t(w); }, [](int32_t h) { return h; }};
const PlaneShape kChroma422{[](int32_t w) { return int64_t(w + 1) / 2; }, [](int32_t h) { return h; }};
const PlaneShape kChroma420{[](int32_t w) { return int64_t(w + 1) / 2; }, [](int32_t h) { return (h + 1) / 2; }};
// The interpolating kernel reads a second Y byte in a row of width 1.
const PlaneShape kLumaAtLeastTwo{[](int32_t w) { return int64_t(std::max(w, 2)); }, [](int32_t h) { return h; }};

auto allColumns(int bytes) {
    return [bytes](int32_t, int32_t w, int32_t) { return std::pair<int64_t, int64_t>(0, int64_t(w) * bytes); };
}

std::vector<KernelShape> kernelShapes() {
    const auto pairsOfEveryRow = [](int32_t, int32_t w, int32_t) {
        return std::pair<int64_t, int64_t>(0, int64_t(w & ~1) * 3);
    };
    const auto pairsOfRowPairs = [](int bytes) {
        return [bytes](int32_t r, int32_t w, int32_t h) {
            const int64_t columns = w == 1 && bytes == 4 ? 2 : (w & ~1);
            return std::pair<int64_t, int64_t>(0, r < (h & ~1) ? columns * bytes : 0);
        };
    };
    const auto bytes4 = [](int32_t w) { return int64_t(4) * w; };
    const auto bytes3 = [](int32_t w) { return int64_t(3) * w; };
    const auto atLeastTwoPixels = [](int32_t w) { return int64_t(4) * std::max(w, 2); };
    return {
        {"YCbCr422ToBGR_8u_C2C4R", formsOf(yuy2ToBgraTable()), {kPacked}, 2, bytes4, allColumns(4)},
        {"YCbCr422ToBGR_8u_C2C3R", formsOf(yuy2ToBgrTable()), {kPacked}, 2, bytes3, allColumns(3)},
        {"CbYCr422ToBGR_8u_C2C4R", formsOf(uyvyToBgraTable()), {kPacked}, 1, bytes4, allColumns(4)},
        {"CbYCr422ToRGB_8u_C2C3R", formsOf(uyvyToRgbTable()), {kPacked}, 1, bytes3, allColumns(3)},
        {"YCbCr422ToBGR_8u_P3C3R", formsOf(planar422ToBgrTable()), {kLuma, kChroma422, kChroma422}, 2, bytes3,
         pairsOfEveryRow},
        {"YCbCr420ToBGR_8u_P3C3R", formsOf(planar420ToBgrTable()), {kLuma, kChroma420, kChroma420}, 1, bytes3,
         pairsOfRowPairs(3)},
        {"YCrCb420ToBGR_8u_P3C4R", formsOf(planar420ToBgraTable()), {kLumaAtLeastTwo, kChroma420, kChroma420}, 1,
         atLeastTwoPixels, pairsOfRowPairs(4)},
    };
}

class YCbCrToBGRForms : public ::testing::TestWithParam<KernelShape> {};

TEST_P(YCbCrToBGRForms, MatchScalarDefinitionAtEverySize) { testing::sweepFormsAgainstScalar(GetParam()); }

TEST_P(YCbCrToBGRForms, MatchScalarDefinitionOnALargeFrame) {
    MORVA_SEED_TRACE();
    testing::FrameOptions o;
    o.srcMisalign = 3;
    o.dstMisalign = 1;
    testing::expectFormsMatchScalar(GetParam(), 1920, 1080, o, 1080);
}

INSTANTIATE_TEST_SUITE_P(All, YCbCrToBGRForms, ::testing::ValuesIn(kernelShapes()),
                         [](const auto& info) { return info.param.name; });

// The CbYCr to BGRA kernel takes aligned accesses when source, destination
// and both steps lie on 16 bytes; the results are those of the other body.
TEST(CbYCr422ToBGR_C2C4R, AlignedBodyMatchesScalarDefinition) {
    MORVA_SEED_TRACE();
    const KernelShape k{"CbYCr422ToBGR_8u_C2C4R aligned", formsOf(uyvyToBgraTable()), {kPacked}, 1,
                        [](int32_t w) { return int64_t(4) * w; }, allColumns(4)};
    for (int32_t w : {8, 16, 24, 40, 48, 64, 72}) {
        testing::FrameOptions o;
        o.srcExtra = (16 - (2 * w) % 16) % 16;
        o.dstExtra = 16;
        testing::expectFormsMatchScalar(k, w, 3, o, w);
    }
}

}  // namespace
}  // namespace morva
