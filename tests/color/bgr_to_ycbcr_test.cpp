// BGR to YCbCr: worked values, statuses, the column split between vector body
// and tail, and every vector form against the scalar definition.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "color/bgr_to_ycbcr.h"
#include "common/testing.h"

namespace morva {
namespace {

using testing::GuardedBuffer;
using testing::Rng;

struct PackedKernel {
    const char* name;
    const KernelTable<BgrToYuv422Fn>& (*table)();
    int pixelBytes;
    int minWidth;
};

const PackedKernel kPackedKernels[] = {
    {"Bgr24", &bgrToYcbcr422C3Table, 3, 2},    {"Bgra", &bgrToYcbcr422Ac4Table, 4, 2},
    {"BgraCbYCr", &bgrToCbycr422Ac4Table, 4, 1}, {"Bgr565", &bgr565ToYcbcr422Table, 2, 2},
    {"Bgr555", &bgr555ToYcbcr422Table, 2, 2},
};

struct PlanarKernel {
    const char* name;
    const KernelTable<BgrToYuv420Fn>& (*table)();
    int pixelBytes;
    bool writesOddLuma;
};

const PlanarKernel kPlanarKernels[] = {
    {"Bgr24", &bgrToYuv420C3Table, 3, false},
    {"Bgra", &bgrToYuv420Ac4Table, 4, false},
    {"Bgr565", &bgr565ToYuv420Table, 2, true},
    {"Bgr555", &bgr555ToYuv420Table, 2, true},
};

// Every form this processor runs, the scalar definition included.
template <class Fn, class Body>
void forEachForm(const KernelTable<Fn>& table, Body body) {
    for (const KernelForm<Fn>& form : table.forms()) {
        if (!cpuSupports(form.isa)) continue;
        SCOPED_TRACE(form.name);
        body(form);
    }
}

void PrintTo(const PackedKernel& k, std::ostream* os) { *os << k.name; }
void PrintTo(const PlanarKernel& k, std::ostream* os) { *os << k.name; }

// Sizes, steps and misalignments of one run. Packed targets use dstStep[0];
// planar ones take Y, Cb, Cr as the bodies do.
struct Geometry {
    int width = 0, height = 0;
    int srcStep = 0;
    int dstStep[3] = {};
    size_t srcMisalign = 0, dstMisalign = 0;
};

// Steps at or above the row, pointers 1 to 63 bytes off a 64-byte boundary.
Geometry sweepGeometry(int width, int height, int pixelBytes, bool planar) {
    Geometry g;
    g.width = width;
    g.height = height;
    g.srcStep = width * pixelBytes + (width * 5) % 11;
    if (planar) {
        g.dstStep[0] = width + width % 3;
        g.dstStep[1] = width / 2 + 1 + width % 4;
        g.dstStep[2] = width / 2 + 2;
    } else {
        g.dstStep[0] = 2 * width + 2 + width % 5;  // room to see the lone pixel's Cr byte
    }
    g.srcMisalign = 1 + (width * 7) % 63;
    g.dstMisalign = (width * 13) % 64;
    return g;
}

GuardedBuffer randomSource(const Geometry& g, uint32_t salt) {
    GuardedBuffer src(size_t(g.srcStep) * g.height, g.srcMisalign);
    Rng rng(salt);
    rng.fillWithExtremes(src.data(), src.size());
    return src;
}

// The whole destination after a run into buffers filled with `fill`: rows and
// the gaps between them, planes one after the other.
std::vector<uint8_t> runPacked(BgrToYuv422Fn fn, const uint8_t* src, const Geometry& g, uint8_t fill) {
    GuardedBuffer dst(size_t(g.dstStep[0]) * g.height, g.dstMisalign);
    std::memset(dst.data(), fill, dst.size());
    fn(src, g.srcStep, dst.data(), g.dstStep[0], g.width, g.height);
    EXPECT_TRUE(dst.marginsIntact());
    return dst.bytes();
}

std::vector<uint8_t> runPlanar(BgrToYuv420Fn fn, const uint8_t* src, const Geometry& g, uint8_t fill) {
    const int rows[3] = {g.height, g.height / 2, g.height / 2};
    std::vector<GuardedBuffer> planes;
    planes.reserve(3);
    for (int p = 0; p < 3; ++p) {
        planes.emplace_back(size_t(g.dstStep[p]) * rows[p], g.dstMisalign + 17 * p);
        std::memset(planes[p].data(), fill, planes[p].size());
    }
    uint8_t* const pointers[3] = {planes[0].data(), planes[1].data(), planes[2].data()};
    fn(src, g.srcStep, pointers, g.dstStep, g.width, g.height);
    std::vector<uint8_t> all;
    for (const GuardedBuffer& plane : planes) {
        EXPECT_TRUE(plane.marginsIntact());
        const std::vector<uint8_t> bytes = plane.bytes();
        all.insert(all.end(), bytes.begin(), bytes.end());
    }
    return all;
}

// Whether a kernel writes byte i of the destination as runPacked and
// runPlanar lay it out.
bool packedWrites(const Geometry& g, size_t i) { return int(i % g.dstStep[0]) < 2 * g.width; }

bool planarWrites(const Geometry& g, bool writesOddLuma, size_t i) {
    const size_t lumaBytes = size_t(g.dstStep[0]) * g.height;
    if (i < lumaBytes) {
        const int row = int(i / g.dstStep[0]), col = int(i % g.dstStep[0]);
        if (writesOddLuma) return col < g.width;
        return row < (g.height & ~1) && col < (g.width & ~1);
    }
    i -= lumaBytes;
    const size_t cbBytes = size_t(g.dstStep[1]) * (g.height / 2);
    const int step = i < cbBytes ? g.dstStep[1] : g.dstStep[2];
    return int((i < cbBytes ? i : i - cbBytes) % step) < g.width / 2;
}

// ---------------------------------------------------------------------------
// Forms against the scalar definition.

// For each width: the scalar definition writes exactly its bytes, and every
// vector form gives the same bytes whatever the destination held.
template <class Fn, class Run, class Writes>
void sweepWidths(const KernelTable<Fn>& table, int pixelBytes, bool planar, Run run, Writes writes) {
    MORVA_SEED_TRACE();
    for (int width : testing::testWidths()) {
        if (planar && width < 2) continue;
        const int height = width > 200 ? 3 : (planar ? 2 : 1) + width % 4;
        SCOPED_TRACE("width " + std::to_string(width) + " height " + std::to_string(height));
        const Geometry g = sweepGeometry(width, height, pixelBytes, planar);
        const GuardedBuffer src = randomSource(g, width);
        const auto scalar = [&](uint8_t fill) { return run(table.scalar(), src.data(), g, fill); };
        const std::vector<uint8_t> low = scalar(0x00), high = scalar(0xFF);
        for (size_t i = 0; i < low.size(); ++i) {
            const bool kept = low[i] == 0x00 && high[i] == 0xFF;
            ASSERT_TRUE(writes(g, i) ? low[i] == high[i] : kept) << "byte " << i;
        }
        testing::forEachVectorForm(table, [&](const KernelForm<Fn>& form) {
            EXPECT_EQ(run(form.fn, src.data(), g, 0x00), low);
            EXPECT_EQ(run(form.fn, src.data(), g, 0xFF), high);
        });
        if (::testing::Test::HasFailure()) return;
    }
}

class PackedForms : public ::testing::TestWithParam<PackedKernel> {};
class PlanarForms : public ::testing::TestWithParam<PlanarKernel> {};

TEST_P(PackedForms, MatchScalarAtEveryWidth) {
    sweepWidths(GetParam().table(), GetParam().pixelBytes, false, runPacked, packedWrites);
}

TEST_P(PlanarForms, MatchScalarAtEveryWidth) {
    const bool oddLuma = GetParam().writesOddLuma;
    sweepWidths(GetParam().table(), GetParam().pixelBytes, true, runPlanar,
                [&](const Geometry& g, size_t i) { return planarWrites(g, oddLuma, i); });
}

// Steps may be negative: both images walked bottom-up give the same bytes.
TEST_P(PackedForms, NegativeStepsWalkUpwards) {
    MORVA_SEED_TRACE();
    const PackedKernel& k = GetParam();
    const Geometry g = sweepGeometry(45, 4, k.pixelBytes, false);
    const GuardedBuffer src = randomSource(g, 3);
    forEachForm(k.table(), [&](const KernelForm<BgrToYuv422Fn>& form) {
        GuardedBuffer up(size_t(g.dstStep[0]) * g.height), down(size_t(g.dstStep[0]) * g.height);
        const int last = g.height - 1;
        form.fn(src.data(), g.srcStep, down.data(), g.dstStep[0], g.width, g.height);
        form.fn(src.data() + last * g.srcStep, -g.srcStep, up.data() + last * g.dstStep[0], -g.dstStep[0],
                g.width, g.height);
        EXPECT_EQ(up.bytes(), down.bytes());
        EXPECT_TRUE(up.marginsIntact());
    });
}

std::string packedName(const ::testing::TestParamInfo<PackedKernel>& info) { return info.param.name; }
std::string planarName(const ::testing::TestParamInfo<PlanarKernel>& info) { return info.param.name; }

INSTANTIATE_TEST_SUITE_P(BgrToYuv422, PackedForms, ::testing::ValuesIn(kPackedKernels), packedName);
INSTANTIATE_TEST_SUITE_P(BgrToYuv420, PlanarForms, ::testing::ValuesIn(kPlanarKernels), planarName);

TEST(BgrToYuv420Forms, LargeFrameMatchesScalar) {
    MORVA_SEED_TRACE();
    Geometry g;
    g.width = 1920;
    g.height = 1080;
    g.srcStep = 1920 * 4;
    g.dstStep[0] = 1920;
    g.dstStep[1] = g.dstStep[2] = 960;
    const GuardedBuffer src = randomSource(g, 1080);
    const auto& table = bgrToYuv420Ac4Table();
    const std::vector<uint8_t> expected = runPlanar(table.scalar(), src.data(), g, 0);
    testing::forEachVectorForm(table, [&](const KernelForm<BgrToYuv420Fn>& form) {
        EXPECT_TRUE(runPlanar(form.fn, src.data(), g, 0) == expected);
    });
}

// ---------------------------------------------------------------------------
// Worked values, through every form.

std::vector<uint8_t> uniformPixels(int count, int pixelBytes, const uint8_t* pixel) {
    std::vector<uint8_t> v(size_t(count) * pixelBytes);
    for (int i = 0; i < count; ++i) std::memcpy(&v[size_t(i) * pixelBytes], pixel, pixelBytes);
    return v;
}

// Tightly packed runs: the packed row(s), or the planes Y, Cb, Cr one after the other.
std::vector<uint8_t> packedOnce(BgrToYuv422Fn fn, const std::vector<uint8_t>& src, int pixelBytes, int w, int h) {
    std::vector<uint8_t> dst(size_t(2 * w) * h + 1, 0xEE);
    fn(src.data(), w * pixelBytes, dst.data(), 2 * w, w, h);
    return dst;
}

std::vector<uint8_t> planarOnce(BgrToYuv420Fn fn, const std::vector<uint8_t>& src, int pixelBytes, int w, int h) {
    const size_t lumaBytes = size_t(w) * h, chromaBytes = size_t(w / 2) * (h / 2);
    std::vector<uint8_t> dst(lumaBytes + 2 * chromaBytes, 0xEE);
    uint8_t* const planes[3] = {dst.data(), dst.data() + lumaBytes, dst.data() + lumaBytes + chromaBytes};
    const int32_t steps[3] = {w, w / 2, w / 2};
    fn(src.data(), w * pixelBytes, planes, steps, w, h);
    return dst;
}

struct Colour {
    const char* name;
    uint8_t b, g, r;
    uint8_t y, cb, cr;
};

// Body and tail agree on these.
const Colour kColours[] = {
    {"white", 255, 255, 255, 235, 128, 128},
    {"black", 0, 0, 0, 16, 128, 128},
    {"blue", 255, 0, 0, 41, 240, 110},
    {"red", 0, 0, 255, 82, 90, 240},
};

// A packed row of one colour: Y everywhere, chroma where written.
void expectPackedRow(const uint8_t* row, int width, bool chromaFirst, uint8_t y, uint8_t cb, uint8_t cr) {
    const int yAt = chromaFirst ? 1 : 0, cbAt = chromaFirst ? 0 : 1, crAt = chromaFirst ? 2 : 3;
    for (int x = 0; x < width; ++x) {
        const uint8_t* group = row + 2 * (x & ~1);
        ASSERT_EQ(group[yAt + 2 * (x & 1)], y) << "x " << x;
        ASSERT_EQ(group[(x & 1) ? crAt : cbAt], (x & 1) ? cr : cb) << "x " << x;
    }
}

TEST(BgrToYuvValues, StudioColours) {
    for (const Colour& c : kColours) {
        SCOPED_TRACE(c.name);
        const uint8_t pixel[4] = {c.b, c.g, c.r, 0x5A};
        // Widths with a vector part, pairs and a lone pixel.
        for (const PackedKernel& k : kPackedKernels) {
            if (k.pixelBytes == 2) continue;
            const int width = k.minWidth == 1 ? 11 : 35;
            forEachForm(k.table(), [&](const KernelForm<BgrToYuv422Fn>& form) {
                const auto dst = packedOnce(form.fn, uniformPixels(width * 2, k.pixelBytes, pixel), k.pixelBytes, width, 2);
                expectPackedRow(&dst[0], width, k.minWidth == 1, c.y, c.cb, c.cr);
                expectPackedRow(&dst[2 * width], width, k.minWidth == 1, c.y, c.cb, c.cr);
            });
        }
        // The entry points take planes Y, Cr, Cb.
        const int w = 22, h = 4;
        std::vector<uint8_t> y(w * h), cr(w * h / 4), cb(w * h / 4);
        uint8_t* const planes[3] = {y.data(), cr.data(), cb.data()};
        const int32_t steps[3] = {w, w / 2, w / 2};
        ASSERT_EQ(ippiBGRToYCrCb420_8u_C3P3R(uniformPixels(w * h, 3, pixel).data(), 3 * w, planes, steps, {w, h}), 0);
        EXPECT_EQ(y, std::vector<uint8_t>(y.size(), c.y));
        EXPECT_EQ(cb, std::vector<uint8_t>(cb.size(), c.cb));
        EXPECT_EQ(cr, std::vector<uint8_t>(cr.size(), c.cr));
        forEachForm(bgrToYuv420Ac4Table(), [&](const KernelForm<BgrToYuv420Fn>& form) {
            std::vector<uint8_t> expected(y);
            expected.insert(expected.end(), cb.begin(), cb.end());
            expected.insert(expected.end(), cr.begin(), cr.end());
            EXPECT_EQ(planarOnce(form.fn, uniformPixels(w * h, 4, pixel), 4, w, h), expected);
        });
    }
}

// A 5-5-5 white counts 248 in each channel; bit 15 is not read.
TEST(BgrToYuvValues, Bgr555WhiteIsY229AndBit15IsIgnored) {
    const struct {
        uint16_t word;
        uint8_t y;
    } cases[] = {{0x7FFF, 229}, {0xFFFF, 229}, {0x8000, 16}};
    const int w = 35, h = 3;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.word);
        const uint8_t pixel[2] = {uint8_t(c.word), uint8_t(c.word >> 8)};
        const std::vector<uint8_t> src = uniformPixels(w * h, 2, pixel);
        forEachForm(bgr555ToYcbcr422Table(), [&](const KernelForm<BgrToYuv422Fn>& form) {
            const auto dst = packedOnce(form.fn, src, 2, w, h);
            for (int row = 0; row < h; ++row) expectPackedRow(&dst[2 * w * row], w, false, c.y, 128, 128);
        });
        forEachForm(bgr555ToYuv420Table(), [&](const KernelForm<BgrToYuv420Fn>& form) {
            std::vector<uint8_t> expected(w * h, c.y);
            expected.resize(expected.size() + 2 * (w / 2), 128);
            EXPECT_EQ(planarOnce(form.fn, src, 2, w, h), expected);
        });
    }
}

// Rows short of a vector part: pairs and a lone pixel by the exact forms, the
// Cb Y Cr Y packer with its own offsets (128.5, and 2 more in Cr of a pair).
TEST(BgrToYuvValues, TailsKeepTheirOwnOffsets) {
    const std::vector<uint8_t> src = {227, 213, 0, 0, 227, 213, 0, 0,  // a pair where Cr sees the stray 2
                                      0,   0,   15, 0, 0,  0,   15, 0,  // a pair where 128.5 and 128.125 differ
                                      68,  0,   0,  0};                  // a lone pixel, likewise
    // The byte after the lone pixel, its Cr, keeps what it held.
    const std::vector<uint8_t> yuy2 = {146, 165, 146, 33, 20, 125, 20, 134, 23, 157, 0xEE};
    const std::vector<uint8_t> cbycr = {166, 146, 33, 146, 126, 20, 135, 20, 158, 23, 0xEE};
    forEachForm(bgrToYcbcr422Ac4Table(), [&](const KernelForm<BgrToYuv422Fn>& form) {
        EXPECT_EQ(packedOnce(form.fn, src, 4, 5, 1), yuy2);
    });
    forEachForm(bgrToCbycr422Ac4Table(), [&](const KernelForm<BgrToYuv422Fn>& form) {
        EXPECT_EQ(packedOnce(form.fn, src, 4, 5, 1), cbycr);
    });
}

TEST(BgrToYuvValues, AlphaHasNoEffect) {
    MORVA_SEED_TRACE();
    const int w = 45, h = 4;
    std::vector<uint8_t> src(w * h * 4);
    Rng(45).fill(src.data(), src.size());
    std::vector<uint8_t> other = src;
    for (size_t i = 3; i < other.size(); i += 4) other[i] = uint8_t(~other[i]);
    for (const auto* table : {&bgrToYcbcr422Ac4Table(), &bgrToCbycr422Ac4Table()}) {
        forEachForm(*table, [&](const KernelForm<BgrToYuv422Fn>& form) {
            EXPECT_EQ(packedOnce(form.fn, src, 4, w, h), packedOnce(form.fn, other, 4, w, h));
        });
    }
    forEachForm(bgrToYuv420Ac4Table(), [&](const KernelForm<BgrToYuv420Fn>& form) {
        EXPECT_EQ(planarOnce(form.fn, src, 4, w, h), planarOnce(form.fn, other, 4, w, h));
    });
}

// ---------------------------------------------------------------------------
// Which columns the vector body converts. BGR (98, 37, 1) gives Y 44 in the
// lane form and 45 in the exact form, so each pixel shows which one it took.

constexpr uint8_t kTellTale[4] = {98, 37, 1, 0};

struct Split {
    int width, vectorColumns;
};

uint8_t expectedY(const Split& s, int x) { return x < s.vectorColumns ? 44 : 45; }

TEST(BgrToYuvColumnSplit, Packed) {
    // Y Cb Y Cr: blocks of 16 over (width & ~31), one of 8 if (width & 15) >= 8.
    const Split yuy2[] = {{7, 0},   {8, 8},   {15, 8},  {16, 0},  {23, 0},  {24, 8},  {31, 8},
                          {32, 32}, {40, 40}, {47, 40}, {48, 32}, {56, 40}, {64, 64}};
    // Cb Y Cr Y: blocks of 8.
    const Split cbycr[] = {{1, 0}, {7, 0}, {8, 8}, {13, 8}, {16, 16}, {17, 16}, {31, 24}};
    const std::vector<uint8_t> src = uniformPixels(64, 4, kTellTale);
    const auto check = [&](const KernelTable<BgrToYuv422Fn>& table, const auto& splits, int yOffset) {
        for (const Split& s : splits) {
            forEachForm(table, [&](const KernelForm<BgrToYuv422Fn>& form) {
                const auto dst = packedOnce(form.fn, src, 4, s.width, 1);
                for (int x = 0; x < s.width; ++x)
                    ASSERT_EQ(dst[2 * x + yOffset], expectedY(s, x)) << "width " << s.width << " x " << x;
            });
        }
    };
    check(bgrToYcbcr422Ac4Table(), yuy2, 0);
    check(bgrToCbycr422Ac4Table(), cbycr, 1);
}

TEST(BgrToYuvColumnSplit, Planar) {
    // Blocks of 8 over (width & ~15), one of 4 if (width & 7) >= 4.
    const Split splits[] = {{2, 0},   {3, 0},   {4, 4},   {7, 4},   {8, 0},   {12, 4},  {15, 4},
                            {16, 16}, {20, 20}, {24, 16}, {28, 20}, {31, 20}};
    const std::vector<uint8_t> src = uniformPixels(64, 4, kTellTale);
    for (const Split& s : splits) {
        forEachForm(bgrToYuv420Ac4Table(), [&](const KernelForm<BgrToYuv420Fn>& form) {
            const auto dst = planarOnce(form.fn, src, 4, s.width, 2);
            for (int x = 0; x < (s.width & ~1); ++x) {
                ASSERT_EQ(dst[x], expectedY(s, x)) << "width " << s.width << " x " << x;
                ASSERT_EQ(dst[s.width + x], dst[x]);
            }
        });
    }
}

// ---------------------------------------------------------------------------
// Statuses: checks in order, nothing written on failure.

// An entry point of a 16-bit source called with the same bytes.
template <auto entry, class... Rest>
IppStatus viaWords(const uint8_t* src, Rest... rest) {
    return entry(reinterpret_cast<const uint16_t*>(src), rest...);
}

TEST(BgrToYuv422Status, PointersThenSizes) {
    using Entry = IppStatus (*)(const uint8_t*, int32_t, uint8_t*, int32_t, IppiSize);
    const std::pair<Entry, int> entries[] = {
        {&ippiBGRToYCbCr422_8u_C3C2R, 2},          {&ippiBGRToYCbCr422_8u_AC4C2R, 2},
        {&ippiBGRToCbYCr422_8u_AC4C2R, 1},         {&viaWords<&ippiBGR565ToYCbCr422_16u8u_C3C2R>, 2},
        {&viaWords<&ippiBGR555ToYCbCr422_16u8u_C3C2R>, 2}};
    const std::vector<uint8_t> src(64, 0x33);
    for (const auto& [call, minWidth] : entries) {
        GuardedBuffer dst(64);
        EXPECT_EQ(call(nullptr, 8, dst.data(), 8, {2, 1}), ippStsNullPtrErr);
        EXPECT_EQ(call(src.data(), 8, nullptr, 8, {2, 1}), ippStsNullPtrErr);
        EXPECT_EQ(call(nullptr, 8, dst.data(), 8, {0, 0}), ippStsNullPtrErr);
        EXPECT_EQ(call(src.data(), 8, dst.data(), 8, {minWidth - 1, 1}), ippStsSizeErr);
        EXPECT_EQ(call(src.data(), 8, dst.data(), 8, {minWidth, 0}), ippStsSizeErr);
        EXPECT_EQ(dst.bytes(), std::vector<uint8_t>(64, GuardedBuffer::kSentinel));
        EXPECT_EQ(call(src.data(), 8, dst.data(), 8, {minWidth, 1}), ippStsNoErr);
    }
}

TEST(BgrToYuv420Status, PointersThenSizesThenOddSizeWarning) {
    using Entry = IppStatus (*)(const uint8_t*, int32_t, uint8_t* const[3], const int32_t[3], IppiSize);
    // The 8-bit sources warn of an odd size; the 16-bit ones write its luma.
    const std::pair<Entry, IppStatus> entries[] = {
        {&ippiBGRToYCrCb420_8u_C3P3R, ippStsDoubleSize},
        {&ippiBGRToYCrCb420_8u_AC4P3R, ippStsDoubleSize},
        {&viaWords<&ippiBGR565ToYCrCb420_16u8u_C3P3R>, ippStsNoErr},
        {&viaWords<&ippiBGR555ToYCrCb420_16u8u_C3P3R>, ippStsNoErr}};
    const std::vector<uint8_t> src(64, 0x33);
    const int32_t steps[3] = {4, 2, 2};
    for (const auto& [call, odd] : entries) {
        GuardedBuffer y(16), cr(4), cb(4);
        uint8_t* const planes[3] = {y.data(), cr.data(), cb.data()};
        for (int missing = 0; missing < 3; ++missing) {
            uint8_t* withHole[3] = {y.data(), cr.data(), cb.data()};
            withHole[missing] = nullptr;
            EXPECT_EQ(call(src.data(), 16, withHole, steps, {2, 2}), ippStsNullPtrErr);
        }
        EXPECT_EQ(call(nullptr, 16, planes, steps, {2, 2}), ippStsNullPtrErr);
        EXPECT_EQ(call(src.data(), 16, nullptr, steps, {2, 2}), ippStsNullPtrErr);
        EXPECT_EQ(call(src.data(), 16, planes, nullptr, {2, 2}), ippStsNullPtrErr);
        EXPECT_EQ(call(nullptr, 16, planes, steps, {1, 1}), ippStsNullPtrErr);
        EXPECT_EQ(call(src.data(), 16, planes, steps, {1, 2}), ippStsSizeErr);
        EXPECT_EQ(call(src.data(), 16, planes, steps, {2, 1}), ippStsSizeErr);
        for (const GuardedBuffer* b : {&y, &cr, &cb})
            EXPECT_EQ(b->bytes(), std::vector<uint8_t>(b->size(), GuardedBuffer::kSentinel));
        EXPECT_EQ(call(src.data(), 16, planes, steps, {4, 4}), ippStsNoErr);
        EXPECT_EQ(call(src.data(), 16, planes, steps, {3, 2}), odd);
        EXPECT_EQ(call(src.data(), 16, planes, steps, {2, 3}), odd);
    }
}

}  // namespace
}  // namespace morva
