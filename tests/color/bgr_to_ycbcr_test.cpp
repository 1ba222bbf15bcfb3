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

// Whether a kernel writes byte i of the destination as runPacked/runPlanar
// lay it out.
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

// Runs fn with two fills: written bytes must agree and the rest keep their fill.
template <class Run, class Writes>
std::vector<uint8_t> expectWriteSet(Run run, Writes writes) {
    const std::vector<uint8_t> low = run(0x00), high = run(0xFF);
    for (size_t i = 0; i < low.size(); ++i) {
        if (writes(i)) {
            if (low[i] != high[i]) {
                ADD_FAILURE() << "byte " << i << " depends on what it held";
                break;
            }
        } else if (low[i] != 0x00 || high[i] != 0xFF) {
            ADD_FAILURE() << "byte " << i << " was written";
            break;
        }
    }
    return low;
}

// ---------------------------------------------------------------------------
// Forms against the scalar definition.

class PackedForms : public ::testing::TestWithParam<PackedKernel> {};
class PlanarForms : public ::testing::TestWithParam<PlanarKernel> {};

TEST_P(PackedForms, MatchScalarAtEveryWidth) {
    MORVA_SEED_TRACE();
    const PackedKernel& k = GetParam();
    const auto& table = k.table();
    for (int width : testing::testWidths()) {
        const int height = width > 200 ? 2 : 1 + width % 4;
        SCOPED_TRACE("width " + std::to_string(width) + " height " + std::to_string(height));
        const Geometry g = sweepGeometry(width, height, k.pixelBytes, false);
        const GuardedBuffer src = randomSource(g, width);
        const auto scalar = [&](uint8_t fill) { return runPacked(table.scalar(), src.data(), g, fill); };
        const std::vector<uint8_t> expected =
            expectWriteSet(scalar, [&](size_t i) { return packedWrites(g, i); });
        testing::forEachVectorForm(table, [&](const KernelForm<BgrToYuv422Fn>& form) {
            EXPECT_EQ(runPacked(form.fn, src.data(), g, 0x00), expected);
            EXPECT_EQ(runPacked(form.fn, src.data(), g, 0xFF), scalar(0xFF));
        });
        EXPECT_TRUE(src.marginsIntact());
        if (HasFailure()) return;
    }
}

TEST_P(PlanarForms, MatchScalarAtEveryWidth) {
    MORVA_SEED_TRACE();
    const PlanarKernel& k = GetParam();
    const auto& table = k.table();
    for (int width : testing::testWidths()) {
        if (width < 2) continue;
        const int height = width > 200 ? 3 : 2 + width % 4;
        SCOPED_TRACE("width " + std::to_string(width) + " height " + std::to_string(height));
        const Geometry g = sweepGeometry(width, height, k.pixelBytes, true);
        const GuardedBuffer src = randomSource(g, width);
        const auto scalar = [&](uint8_t fill) { return runPlanar(table.scalar(), src.data(), g, fill); };
        const std::vector<uint8_t> expected =
            expectWriteSet(scalar, [&](size_t i) { return planarWrites(g, k.writesOddLuma, i); });
        testing::forEachVectorForm(table, [&](const KernelForm<BgrToYuv420Fn>& form) {
            EXPECT_EQ(runPlanar(form.fn, src.data(), g, 0x00), expected);
            EXPECT_EQ(runPlanar(form.fn, src.data(), g, 0xFF), scalar(0xFF));
        });
        if (HasFailure()) return;
    }
}

// Steps may be negative: both images walked bottom-up give the same bytes.
TEST_P(PackedForms, NegativeStepsWalkUpwards) {
    MORVA_SEED_TRACE();
    const PackedKernel& k = GetParam();
    const Geometry g = sweepGeometry(45, 4, k.pixelBytes, false);
    const GuardedBuffer src = randomSource(g, 3);
    for (const auto& form : k.table().forms()) {
        if (!cpuSupports(form.isa)) continue;
        SCOPED_TRACE(form.name);
        GuardedBuffer up(size_t(g.dstStep[0]) * g.height), down(size_t(g.dstStep[0]) * g.height);
        const int last = g.height - 1;
        form.fn(src.data(), g.srcStep, down.data(), g.dstStep[0], g.width, g.height);
        form.fn(src.data() + last * g.srcStep, -g.srcStep, up.data() + last * g.dstStep[0], -g.dstStep[0],
                g.width, g.height);
        EXPECT_EQ(up.bytes(), down.bytes());
        EXPECT_TRUE(up.marginsIntact());
    }
}

TEST_P(PlanarForms, NegativeStepsWalkUpwards) {
    MORVA_SEED_TRACE();
    const PlanarKernel& k = GetParam();
    const Geometry g = sweepGeometry(45, 4, k.pixelBytes, true);
    const GuardedBuffer src = randomSource(g, 3);
    for (const auto& form : k.table().forms()) {
        if (!cpuSupports(form.isa)) continue;
        SCOPED_TRACE(form.name);
        const int rows[3] = {g.height, g.height / 2, g.height / 2};
        std::vector<GuardedBuffer> up, down;
        up.reserve(3);
        down.reserve(3);
        uint8_t* upPlanes[3];
        uint8_t* downPlanes[3];
        int upSteps[3];
        for (int p = 0; p < 3; ++p) {
            up.emplace_back(size_t(g.dstStep[p]) * rows[p]);
            down.emplace_back(size_t(g.dstStep[p]) * rows[p]);
        }
        for (int p = 0; p < 3; ++p) {
            downPlanes[p] = down[p].data();
            upPlanes[p] = up[p].data() + (rows[p] - 1) * g.dstStep[p];
            upSteps[p] = -g.dstStep[p];
        }
        form.fn(src.data(), g.srcStep, downPlanes, g.dstStep, g.width, g.height);
        form.fn(src.data() + (g.height - 1) * g.srcStep, -g.srcStep, upPlanes, upSteps, g.width, g.height);
        for (int p = 0; p < 3; ++p) {
            EXPECT_EQ(up[p].bytes(), down[p].bytes()) << "plane " << p;
            EXPECT_TRUE(up[p].marginsIntact());
        }
    }
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

std::vector<uint8_t> uniformPixels(int count, int pixelBytes, const uint8_t* pixel) {
    std::vector<uint8_t> v(size_t(count) * pixelBytes);
    for (int i = 0; i < count; ++i) std::memcpy(&v[size_t(i) * pixelBytes], pixel, pixelBytes);
    return v;
}

// Checks a packed row of uniform colour: Y everywhere, chroma where written.
void expectPackedRow(const uint8_t* row, int width, bool chromaFirst, uint8_t y, uint8_t cb, uint8_t cr) {
    const int yAt = chromaFirst ? 1 : 0, cbAt = chromaFirst ? 0 : 1, crAt = chromaFirst ? 2 : 3;
    for (int x = 0; x < width; x += 2) {
        const uint8_t* group = row + 2 * x;
        EXPECT_EQ(group[yAt], y) << "x " << x;
        EXPECT_EQ(group[cbAt], cb) << "x " << x;
        if (x + 1 < width) {
            EXPECT_EQ(group[yAt + 2], y) << "x " << x + 1;
            EXPECT_EQ(group[crAt], cr) << "x " << x;
        }
    }
}

TEST(BgrToYuv422Values, StudioColours) {
    // Widths with a vector part, pairs and a lone pixel.
    for (const PackedKernel& k : kPackedKernels) {
        if (k.pixelBytes == 2) continue;
        const int width = k.minWidth == 1 ? 11 : 35;
        for (const Colour& c : kColours) {
            SCOPED_TRACE(std::string(k.name) + " " + c.name);
            const uint8_t pixel[4] = {c.b, c.g, c.r, 0x5A};
            const std::vector<uint8_t> src = uniformPixels(width * 2, k.pixelBytes, pixel);
            for (const auto& form : k.table().forms()) {
                if (!cpuSupports(form.isa)) continue;
                SCOPED_TRACE(form.name);
                std::vector<uint8_t> dst(4 * width, 0);
                form.fn(src.data(), width * k.pixelBytes, dst.data(), 2 * width, width, 2);
                expectPackedRow(dst.data(), width, k.minWidth == 1, c.y, c.cb, c.cr);
                expectPackedRow(dst.data() + 2 * width, width, k.minWidth == 1, c.y, c.cb, c.cr);
            }
        }
    }
}

TEST(BgrToYuv420Values, StudioColoursInPlaneOrderYCrCb) {
    const int width = 22, height = 4;  // a vector part and pairs
    const PlanarKernel* kernels = kPlanarKernels;
    using Entry = IppStatus (*)(const uint8_t*, int32_t, uint8_t* const[3], const int32_t[3], IppiSize);
    const Entry entries[] = {&ippiBGRToYCrCb420_8u_C3P3R, &ippiBGRToYCrCb420_8u_AC4P3R};
    for (int e = 0; e < 2; ++e) {
        for (const Colour& c : kColours) {
            SCOPED_TRACE(std::string(kernels[e].name) + " " + c.name);
            const uint8_t pixel[4] = {c.b, c.g, c.r, 0x5A};
            const std::vector<uint8_t> src = uniformPixels(width * height, kernels[e].pixelBytes, pixel);
            std::vector<uint8_t> y(width * height), cr(width * height / 4), cb(width * height / 4);
            uint8_t* const planes[3] = {y.data(), cr.data(), cb.data()};
            const int32_t steps[3] = {width, width / 2, width / 2};
            ASSERT_EQ(entries[e](src.data(), width * kernels[e].pixelBytes, planes, steps, {width, height}),
                      ippStsNoErr);
            EXPECT_EQ(y, std::vector<uint8_t>(y.size(), c.y));
            EXPECT_EQ(cb, std::vector<uint8_t>(cb.size(), c.cb));
            EXPECT_EQ(cr, std::vector<uint8_t>(cr.size(), c.cr));
        }
    }
}

// A 5-5-5 white counts 248 in each channel; bit 15 is not read.
TEST(BgrToYuvValues, Bgr555WhiteIsY229AndBit15IsIgnored) {
    const struct {
        uint16_t word;
        uint8_t y;
    } cases[] = {{0x7FFF, 229}, {0xFFFF, 229}, {0x8000, 16}};
    const int width = 35, height = 3;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.word);
        const std::vector<uint16_t> src(width * height, c.word);
        std::vector<uint8_t> packed(2 * width * height);
        ASSERT_EQ(ippiBGR555ToYCbCr422_16u8u_C3C2R(src.data(), 2 * width, packed.data(), 2 * width, {width, height}),
                  ippStsNoErr);
        for (int row = 0; row < height; ++row) expectPackedRow(&packed[2 * width * row], width, false, c.y, 128, 128);

        std::vector<uint8_t> y(width * height), cr(width), cb(width);
        uint8_t* const planes[3] = {y.data(), cr.data(), cb.data()};
        const int32_t steps[3] = {width, width / 2, width / 2};
        ASSERT_EQ(ippiBGR555ToYCrCb420_16u8u_C3P3R(src.data(), 2 * width, planes, steps, {width, height}),
                  ippStsNoErr);
        EXPECT_EQ(y, std::vector<uint8_t>(y.size(), c.y));
        EXPECT_EQ(std::vector<uint8_t>(cb.begin(), cb.begin() + width / 2), std::vector<uint8_t>(width / 2, 128));
        EXPECT_EQ(std::vector<uint8_t>(cr.begin(), cr.begin() + width / 2), std::vector<uint8_t>(width / 2, 128));
    }
}

// Rows short of a vector part: pairs and a lone pixel by the exact forms, the
// Cb Y Cr Y packer with its own offsets (128.5, and 2 more in Cr of a pair).
TEST(BgrToYuv422Values, TailsKeepTheirOwnOffsets) {
    const uint8_t src[5 * 4] = {227, 213, 0, 0, 227, 213, 0, 0,  // a pair where Cr sees the stray 2
                                0,   0,   15, 0, 0,  0,   15, 0,  // a pair where 128.5 and 128.125 differ
                                68,  0,   0,  0};                  // a lone pixel, likewise
    const uint8_t yuy2[10] = {146, 165, 146, 33, 20, 125, 20, 134, 23, 157};
    const uint8_t cbycr[10] = {166, 146, 33, 146, 126, 20, 135, 20, 158, 23};
    for (const auto* table : {&bgrToYcbcr422Ac4Table(), &bgrToCbycr422Ac4Table()}) {
        const uint8_t* expected = table == &bgrToCbycr422Ac4Table() ? cbycr : yuy2;
        for (const auto& form : table->forms()) {
            if (!cpuSupports(form.isa)) continue;
            std::vector<uint8_t> dst(12, 0xEE);
            form.fn(src, 20, dst.data(), 12, 5, 1);
            EXPECT_EQ(std::vector<uint8_t>(dst.begin(), dst.begin() + 10), std::vector<uint8_t>(expected, expected + 10))
                << form.name;
            EXPECT_EQ(dst[10], 0xEE) << "the lone pixel's Cr byte is written";
        }
    }
}

TEST(BgrToYuvValues, AlphaHasNoEffect) {
    MORVA_SEED_TRACE();
    const int width = 45, height = 4;
    std::vector<uint8_t> src(width * height * 4), other;
    Rng rng(45);
    rng.fill(src.data(), src.size());
    other = src;
    for (size_t i = 3; i < other.size(); i += 4) other[i] = uint8_t(~other[i]);
    for (const auto* table : {&bgrToYcbcr422Ac4Table(), &bgrToCbycr422Ac4Table()}) {
        for (const auto& form : table->forms()) {
            if (!cpuSupports(form.isa)) continue;
            std::vector<uint8_t> a(2 * width * height), b(a.size());
            form.fn(src.data(), width * 4, a.data(), 2 * width, width, height);
            form.fn(other.data(), width * 4, b.data(), 2 * width, width, height);
            EXPECT_EQ(a, b) << form.name;
        }
    }
    for (const auto& form : bgrToYuv420Ac4Table().forms()) {
        if (!cpuSupports(form.isa)) continue;
        std::vector<uint8_t> a(width * height * 2), b(a.size());
        const int32_t steps[3] = {width, width, width};
        uint8_t* const pa[3] = {a.data(), a.data() + width * height, a.data() + width * height + width * 2};
        uint8_t* const pb[3] = {b.data(), b.data() + width * height, b.data() + width * height + width * 2};
        form.fn(src.data(), width * 4, pa, steps, width, height);
        form.fn(other.data(), width * 4, pb, steps, width, height);
        EXPECT_EQ(a, b) << form.name;
    }
}

// ---------------------------------------------------------------------------
// Which columns the vector body converts. BGR (98, 37, 1) gives Y 44 in the
// lane form and 45 in the exact form, so each pixel shows which one it took.

constexpr uint8_t kTellTale[4] = {98, 37, 1, 0};
constexpr uint8_t kLaneY = 44, kExactY = 45;

struct Split {
    int width, vectorColumns;
};

TEST(BgrToYuvColumnSplit, PackedYCbCrBlocksOf16ThenOneOf8) {
    // Blocks of 16 over (width & ~31), one of 8 if (width & 15) >= 8.
    const Split splits[] = {{7, 0},   {8, 8},   {15, 8},  {16, 0},  {23, 0},  {24, 8},  {31, 8},
                            {32, 32}, {40, 40}, {47, 40}, {48, 32}, {56, 40}, {64, 64}};
    const std::vector<uint8_t> src = uniformPixels(64, 3, kTellTale);
    for (const Split& s : splits) {
        for (const auto& form : bgrToYcbcr422C3Table().forms()) {
            if (!cpuSupports(form.isa)) continue;
            std::vector<uint8_t> dst(2 * s.width + 2);
            form.fn(src.data(), 0, dst.data(), 0, s.width, 1);
            for (int x = 0; x < s.width; ++x)
                ASSERT_EQ(dst[2 * x], x < s.vectorColumns ? kLaneY : kExactY)
                    << form.name << " width " << s.width << " x " << x;
        }
    }
}

TEST(BgrToYuvColumnSplit, PackedCbYCrBlocksOf8) {
    const Split splits[] = {{1, 0}, {7, 0}, {8, 8}, {13, 8}, {16, 16}, {17, 16}, {31, 24}};
    const std::vector<uint8_t> src = uniformPixels(32, 4, kTellTale);
    for (const Split& s : splits) {
        for (const auto& form : bgrToCbycr422Ac4Table().forms()) {
            if (!cpuSupports(form.isa)) continue;
            std::vector<uint8_t> dst(2 * s.width + 2);
            form.fn(src.data(), 0, dst.data(), 0, s.width, 1);
            for (int x = 0; x < s.width; ++x)
                ASSERT_EQ(dst[2 * x + 1], x < s.vectorColumns ? kLaneY : kExactY)
                    << form.name << " width " << s.width << " x " << x;
        }
    }
}

TEST(BgrToYuvColumnSplit, PlanarBlocksOf8ThenOneOf4) {
    // Blocks of 8 over (width & ~15), one of 4 if (width & 7) >= 4.
    const Split splits[] = {{2, 0}, {3, 0}, {4, 4}, {7, 4}, {8, 0}, {12, 4}, {15, 4}, {16, 16}, {20, 20}, {24, 16}, {28, 20}, {31, 20}};
    const std::vector<uint8_t> src = uniformPixels(32, 4, kTellTale);
    for (const Split& s : splits) {
        for (const auto& form : bgrToYuv420Ac4Table().forms()) {
            if (!cpuSupports(form.isa)) continue;
            std::vector<uint8_t> y(2 * s.width), c(s.width);
            uint8_t* const planes[3] = {y.data(), c.data(), c.data() + s.width / 2};
            const int32_t steps[3] = {s.width, 0, 0};
            form.fn(src.data(), 0, planes, steps, s.width, 2);
            for (int x = 0; x < (s.width & ~1); ++x) {
                ASSERT_EQ(y[x], x < s.vectorColumns ? kLaneY : kExactY) << form.name << " width " << s.width << " x " << x;
                ASSERT_EQ(y[s.width + x], y[x]);
            }
        }
    }
}

// ---------------------------------------------------------------------------
// Statuses: checks in order, nothing written on failure.

TEST(BgrToYuv422Status, PointersThenSizes) {
    using Entry = IppStatus (*)(const uint8_t*, int32_t, uint8_t*, int32_t, IppiSize);
    const Entry eightBit[] = {&ippiBGRToYCbCr422_8u_C3C2R, &ippiBGRToYCbCr422_8u_AC4C2R, &ippiBGRToCbYCr422_8u_AC4C2R};
    std::vector<uint8_t> src(64, 0x33);
    for (int e = 0; e < 5; ++e) {
        SCOPED_TRACE(e);
        GuardedBuffer dst(64);
        const int minWidth = e == 2 ? 1 : 2;
        const auto call = [&](const uint8_t* s, uint8_t* d, IppiSize roi) {
            if (e < 3) return eightBit[e](s, 8, d, 8, roi);
            const uint16_t* words = reinterpret_cast<const uint16_t*>(s);
            return e == 3 ? ippiBGR565ToYCbCr422_16u8u_C3C2R(words, 8, d, 8, roi)
                          : ippiBGR555ToYCbCr422_16u8u_C3C2R(words, 8, d, 8, roi);
        };
        EXPECT_EQ(call(nullptr, dst.data(), {2, 1}), ippStsNullPtrErr);
        EXPECT_EQ(call(src.data(), nullptr, {2, 1}), ippStsNullPtrErr);
        EXPECT_EQ(call(nullptr, dst.data(), {0, 0}), ippStsNullPtrErr);
        EXPECT_EQ(call(src.data(), dst.data(), {minWidth - 1, 1}), ippStsSizeErr);
        EXPECT_EQ(call(src.data(), dst.data(), {minWidth, 0}), ippStsSizeErr);
        EXPECT_EQ(call(src.data(), dst.data(), {-4, 1}), ippStsSizeErr);
        EXPECT_EQ(dst.bytes(), std::vector<uint8_t>(64, GuardedBuffer::kSentinel));
        EXPECT_EQ(call(src.data(), dst.data(), {minWidth, 1}), ippStsNoErr);
    }
}

TEST(BgrToYuv420Status, PointersThenSizesThenOddSizeWarning) {
    std::vector<uint8_t> src(4 * 4 * 4, 0x33);
    const int32_t steps[3] = {4, 2, 2};
    for (int e = 0; e < 4; ++e) {
        SCOPED_TRACE(e);
        GuardedBuffer y(16), cr(4), cb(4);
        const auto call = [&](const uint8_t* s, uint8_t* const planes[3], const int32_t* st, IppiSize roi) {
            const uint16_t* w = reinterpret_cast<const uint16_t*>(s);
            switch (e) {
            case 0: return ippiBGRToYCrCb420_8u_C3P3R(s, 16, planes, st, roi);
            case 1: return ippiBGRToYCrCb420_8u_AC4P3R(s, 16, planes, st, roi);
            case 2: return ippiBGR565ToYCrCb420_16u8u_C3P3R(w, 16, planes, st, roi);
            default: return ippiBGR555ToYCrCb420_16u8u_C3P3R(w, 16, planes, st, roi);
            }
        };
        uint8_t* const planes[3] = {y.data(), cr.data(), cb.data()};
        for (int missing = 0; missing < 3; ++missing) {
            uint8_t* withHole[3] = {y.data(), cr.data(), cb.data()};
            withHole[missing] = nullptr;
            EXPECT_EQ(call(src.data(), withHole, steps, {2, 2}), ippStsNullPtrErr);
        }
        EXPECT_EQ(call(nullptr, planes, steps, {2, 2}), ippStsNullPtrErr);
        EXPECT_EQ(call(src.data(), nullptr, steps, {2, 2}), ippStsNullPtrErr);
        EXPECT_EQ(call(src.data(), planes, nullptr, {2, 2}), ippStsNullPtrErr);
        EXPECT_EQ(call(nullptr, planes, steps, {1, 1}), ippStsNullPtrErr);
        EXPECT_EQ(call(src.data(), planes, steps, {1, 2}), ippStsSizeErr);
        EXPECT_EQ(call(src.data(), planes, steps, {2, 1}), ippStsSizeErr);
        EXPECT_EQ(y.bytes(), std::vector<uint8_t>(16, GuardedBuffer::kSentinel));
        EXPECT_EQ(cr.bytes(), std::vector<uint8_t>(4, GuardedBuffer::kSentinel));
        EXPECT_EQ(cb.bytes(), std::vector<uint8_t>(4, GuardedBuffer::kSentinel));

        // Odd sizes: the 8-bit sources warn, the 16-bit ones write their luma.
        const IppStatus odd = e < 2 ? ippStsDoubleSize : ippStsNoErr;
        EXPECT_EQ(call(src.data(), planes, steps, {2, 2}), ippStsNoErr);
        EXPECT_EQ(call(src.data(), planes, steps, {4, 4}), ippStsNoErr);
        EXPECT_EQ(call(src.data(), planes, steps, {3, 2}), odd);
        EXPECT_EQ(call(src.data(), planes, steps, {2, 3}), odd);
        EXPECT_EQ(call(src.data(), planes, steps, {3, 3}), odd);
    }
}

}  // namespace
}  // namespace morva
