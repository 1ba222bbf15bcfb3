// YCbCr layout kernels: every entry point against a model of the samples it
// moves, in the plane orders of its name; statuses; the settled oddities of
// chroma order and steps; and every vector form against the scalar definition.
#include <gtest/gtest.h>

#include <functional>
#include <tuple>
#include <utility>
#include <string>
#include <vector>

#include "color/forms_harness.h"
#include "color/ycbcr_layout.h"

namespace morva {
namespace {

using testing::ColorForms;
using testing::Image;
using testing::PlaneShape;
using P = const testing::Planes&;

// Layouts with their plane order as the entry points see them. The split
// into planes writes Cr to entry 1 unless everything is aligned on 16.
enum class Fmt { YUY2, UYVY, NV12, I420, YV12, P422, P422Crossed, P411 };

std::vector<PlaneShape> shapes(Fmt f) {
    switch (f) {
    case Fmt::YUY2:
    case Fmt::UYVY: return {{2}};
    case Fmt::NV12: return {{1}, {2, 2, 2}};
    case Fmt::I420:
    case Fmt::YV12: return {{1}, {1, 2, 2}, {1, 2, 2}};
    case Fmt::P411: return {{1}, {1, 4}, {1, 4}};
    default: return {{1}, {1, 2}, {1, 2}};
    }
}
bool is420(Fmt f) { return f == Fmt::NV12 || f == Fmt::I420 || f == Fmt::YV12; }

// Sample c (0 Y, 1 Cb, 2 Cr) at row r and column x of its own grid.
uint8_t& sample(P im, Fmt f, int c, int r, int x) {
    const auto at = [&](int k, int offset) -> uint8_t& { return im.p[k][r * im.s[k] + offset]; };
    switch (f) {
    case Fmt::YUY2: return at(0, c == 0 ? 2 * x : 4 * x + 2 * c - 1);
    case Fmt::UYVY: return at(0, c == 0 ? 2 * x + 1 : 4 * x + 2 * c - 2);
    case Fmt::NV12: return c == 0 ? at(0, x) : at(1, 2 * x + c - 1);
    case Fmt::YV12:
    case Fmt::P422Crossed: return at(c == 0 ? 0 : 3 - c, x);
    default: return at(c, x);
    }
}

struct LayoutKernel {
    const char* name;
    Fmt from, to;
    int32_t minHeight;  // 0: any height; 2: an odd last row stays as it was
    std::vector<testing::Form> forms;
    std::function<IppStatus(P src, P dst, IppiSize roi)> entry;
    int32_t minWidth() const { return to == Fmt::P411 ? 4 : 2; }
};

const std::vector<LayoutKernel>& kernels() {
    using F = Fmt;
    using testing::entry;
    using testing::formsOf;
    static const std::vector<LayoutKernel> table = {
        {"CbYCr422ToYCbCr422_C2R", F::UYVY, F::YUY2, 1, formsOf(cbYCr422ToYCbCr422C2Table()),
         entry<ippiCbYCr422ToYCbCr422_8u_C2R>},
        {"YCbCr422ToCbYCr422_C2R", F::YUY2, F::UYVY, 1, formsOf(yCbCr422ToCbYCr422C2Table()),
         entry<ippiYCbCr422ToCbYCr422_8u_C2R>},
        {"YCbCr422_C2P3R", F::YUY2, F::P422Crossed, 0, formsOf(yCbCr422C2P3Table()), entry<ippiYCbCr422_8u_C2P3R>},
        {"CbYCr422ToYCbCr422_C2P3R", F::UYVY, F::P422, 0, formsOf(cbYCr422ToYCbCr422C2P3Table()),
         entry<ippiCbYCr422ToYCbCr422_8u_C2P3R>},
        {"YCbCr422_P3C2R", F::P422, F::YUY2, 1, formsOf(yCbCr422P3C2Table()), entry<ippiYCbCr422_8u_P3C2R>},
        {"YCbCr422ToYCrCb420_C2P3R", F::YUY2, F::YV12, 2, formsOf(yCbCr422ToYCrCb420C2P3Table()),
         entry<ippiYCbCr422ToYCrCb420_8u_C2P3R>},
        {"CbYCr422ToYCrCb420_C2P3R", F::UYVY, F::YV12, 2, formsOf(cbYCr422ToYCrCb420C2P3Table()),
         entry<ippiCbYCr422ToYCrCb420_8u_C2P3R>},
        {"YCbCr422ToYCbCr420_C2P2R", F::YUY2, F::NV12, 2, formsOf(yCbCr422ToYCbCr420C2P2Table()),
         entry<ippiYCbCr422ToYCbCr420_8u_C2P2R>},
        {"CbYCr422ToYCbCr420_C2P2R", F::UYVY, F::NV12, 2, formsOf(cbYCr422ToYCbCr420C2P2Table()),
         entry<ippiCbYCr422ToYCbCr420_8u_C2P2R>},
        {"YCbCr420ToYCbCr422_P2C2R", F::NV12, F::YUY2, 2, formsOf(yCbCr420ToYCbCr422P2C2Table()),
         entry<ippiYCbCr420ToYCbCr422_8u_P2C2R>},
        {"YCbCr420ToCbYCr422_P2C2R", F::NV12, F::UYVY, 2, formsOf(yCbCr420ToCbYCr422P2C2Table()),
         entry<ippiYCbCr420ToCbYCr422_8u_P2C2R>},
        {"YCrCb420ToYCbCr422_P3C2R", F::YV12, F::YUY2, 2, formsOf(yCrCb420ToYCbCr422P3C2Table()),
         entry<ippiYCrCb420ToYCbCr422_8u_P3C2R>},
        {"YCrCb420ToCbYCr422_P3C2R", F::YV12, F::UYVY, 2, formsOf(yCrCb420ToCbYCr422P3C2Table()),
         entry<ippiYCrCb420ToCbYCr422_8u_P3C2R>},
        {"YCbCr420_P2P3R", F::NV12, F::I420, 2, formsOf(yCbCr420P2P3Table()), entry<ippiYCbCr420_8u_P2P3R>},
        {"YCrCb420ToYCbCr420_P3P2R", F::YV12, F::NV12, 2, formsOf(yCrCb420ToYCbCr420P3P2Table()),
         entry<ippiYCrCb420ToYCbCr420_8u_P3P2R>},
        {"YCbCr422To420_P3R", F::P422, F::I420, 2, formsOf(yCbCr422To420P3Table()), entry<ippiYCbCr422To420_8u_P3R>},
        {"YCbCr420To422_P3R", F::I420, F::P422, 2, formsOf(yCbCr420To422P3Table()), entry<ippiYCbCr420To422_8u_P3R>},
        {"YCbCr420To411_P3R", F::I420, F::P411, 2, formsOf(yCbCr420To411P3Table()), entry<ippiYCbCr420To411_8u_P3R>},
    };
    return table;
}

Image image(Fmt f, int32_t w, int32_t h, testing::Rng* rng) { return testing::makeImage(shapes(f), w, h, 0xEE, rng); }

// What a kernel writes: luma as it is, chroma rows kept going down and
// repeated going up; 4:1:1 keeps every other column and fills odd rows with
// the mean of their neighbours, rounded up in whole blocks of 32 columns.
void model(const LayoutKernel& k, Fmt to, P src, P want, int32_t w, int32_t h) {
    const int32_t W = w & ~1, H = k.minHeight == 2 ? h & ~1 : h;
    for (int r = 0; r < H; ++r)
        for (int x = 0; x < W; ++x) sample(want, to, 0, r, x) = sample(src, k.from, 0, r, x);
    const int rows = is420(to) ? H / 2 : H, columns = to == Fmt::P411 ? W / 4 : W / 2;
    for (int c = 1; c <= 2; ++c) {
        for (int i = 0; i < rows; ++i) {
            for (int j = 0; j < columns; ++j) {
                if (to == Fmt::P411) {
                    const int upper = sample(src, k.from, c, i / 2, 2 * j);
                    const bool mean = i % 2 == 1 && i / 2 + 1 < h / 2;
                    const int lower = mean ? sample(src, k.from, c, i / 2 + 1, 2 * j) : upper;
                    sample(want, to, c, i, j) = uint8_t((upper + lower + (mean && j < (columns & ~31))) >> 1);
                } else {
                    const int from = is420(to) == is420(k.from) ? i : is420(to) ? 2 * i : i / 2;
                    sample(want, to, c, i, j) = sample(src, k.from, c, from, j);
                }
            }
        }
    }
}

TEST(YcbcrLayout, EveryEntryPointMovesTheSamplesOfItsName) {
    MORVA_SEED_TRACE();
    testing::Rng rng(400);
    const std::pair<int32_t, int32_t> sizes[] = {{7, 5}, {12, 2}, {46, 6}, {124, 6}, {264, 4}};  // 4:1:1 takes 4n x 2m
    for (const LayoutKernel& k : kernels()) {
        for (const auto& [w, h] : sizes) {
            if (k.to == Fmt::P411 && w % 4) continue;
            SCOPED_TRACE(::testing::Message() << k.name << " " << w << "x" << h);
            Image src = image(k.from, w, h, &rng), dst = image(k.to, w, h, nullptr), want = dst;
            ASSERT_EQ(k.entry(src.view(), dst.view(), {w, h}), ippStsNoErr);
            model(k, k.to, src.view(), want.view(), w, h);
            EXPECT_EQ(dst.planes, want.planes);
        }
    }
}

// The split of Y0 Cb Y1 Cr into planes writes Cb to entry 1 only when
// source, luma plane, their steps and the even width lie on 16 bytes.
TEST(YcbcrLayout, SplitChromaOrderFollowsAlignment) {
    testing::Rng rng(401);
    const LayoutKernel& split = kernels()[2];
    for (const auto& [w, shift, order] :
         {std::tuple{30, 0, Fmt::P422Crossed}, std::tuple{32, 0, Fmt::P422}, std::tuple{32, 1, Fmt::P422Crossed}}) {
        SCOPED_TRACE(::testing::Message() << "width " << w << " source +" << shift);
        Image src = image(Fmt::YUY2, w, 2, &rng), dst = image(Fmt::P422, w, 2, nullptr), want = dst;
        src.planes[0].resize(src.planes[0].size() + 16);
        testing::Planes s = src.view();
        s.p[0] += shift;
        ASSERT_EQ(split.entry(s, dst.view(), {w, 2}), ippStsNoErr);
        model(split, order, s, want.view(), w, 2);
        EXPECT_EQ(dst.planes, want.planes);
    }
}

// Cr (entry 1) lies at step 8, Cb (entry 2) at step 16; the joins step Cb by
// step entry 1 and Cr by step entry 2.
TEST(YcbcrLayout, JoinsTakeChromaStepsCrosswise) {
    uint8_t y[16] = {}, cr[32], cb[32], out[32];
    for (int i = 0; i < 32; ++i) {
        cr[i] = uint8_t(100 + i);
        cb[i] = uint8_t(200 + i);
    }
    const uint8_t* planes[3] = {y, cr, cb};
    const int32_t steps[3] = {4, 8, 16};
    ASSERT_EQ(ippiYCrCb420ToYCbCr422_8u_P3C2R(planes, steps, out, 8, {4, 4}), ippStsNoErr);
    // Row 2 takes chroma row 1: Cb at cb + 8, Cr at cr + 16.
    EXPECT_EQ(std::vector<uint8_t>(out + 16, out + 24), (std::vector<uint8_t>{0, 208, 0, 116, 0, 209, 0, 117}));
}

// Pointers are checked before sizes; a refusal writes nothing.
TEST(YcbcrLayout, Statuses) {
    for (const LayoutKernel& k : kernels()) {
        std::vector<std::pair<IppiSize, IppStatus>> sizes;
        for (IppiSize roi : {IppiSize{k.minWidth() - 1, 4}, {0, 4}, {-2, 4}, {8, k.minHeight - 1}, {6, 4}, {8, 3}}) {
            const bool refused = roi.width < k.minWidth() || (k.minHeight > 0 && roi.height < k.minHeight) ||
                                 (k.to == Fmt::P411 && (roi.width % 4 || roi.height % 2));
            sizes.push_back({roi, refused ? ippStsSizeErr : ippStsNoErr});
        }
        testing::expectStatuses({k.name, shapes(k.from), shapes(k.to), k.entry, sizes});
    }
    // A missing plane array or step array.
    uint8_t bytes[64] = {};
    uint8_t* planes[3] = {bytes, bytes + 16, bytes + 32};
    const uint8_t* inPlanes[3] = {bytes, bytes + 16, bytes + 32};
    const int32_t steps[3] = {8, 4, 4};
    EXPECT_EQ(ippiYCbCr422_8u_C2P3R(bytes, 16, nullptr, steps, {4, 2}), ippStsNullPtrErr);
    EXPECT_EQ(ippiYCbCr422_8u_C2P3R(bytes, 16, planes, nullptr, {4, 2}), ippStsNullPtrErr);
    EXPECT_EQ(ippiYCbCr422To420_8u_P3R(nullptr, steps, planes, steps, {4, 2}), ippStsNullPtrErr);
    EXPECT_EQ(ippiYCbCr422To420_8u_P3R(inPlanes, nullptr, planes, steps, {4, 2}), ippStsNullPtrErr);
    EXPECT_EQ(ippiYCrCb420ToYCbCr422_8u_P3C2R(nullptr, steps, bytes, 16, {4, 2}), ippStsNullPtrErr);
}

std::vector<testing::FormsCase> formsCases() {
    std::vector<testing::FormsCase> cases;
    for (const LayoutKernel& k : kernels()) {
        const bool quad = k.to == Fmt::P411;
        cases.push_back({.name = k.name, .forms = k.forms, .src = shapes(k.from), .dst = shapes(k.to),
                         .written = k.minHeight == 2 ? testing::evenSize : testing::evenWidth, .minWidth = k.minWidth(),
                         .minHeight = k.minHeight, .widthStep = quad ? 4 : 1, .heightStep = quad ? 2 : 1});
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(YcbcrLayout, ColorForms, ::testing::ValuesIn(formsCases()), testing::caseName);

}  // namespace
}  // namespace morva
