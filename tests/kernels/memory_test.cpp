// Memory and plane kernels: aligned allocation, byte copy and clear, plane
// copy, mirror and set. Every form against the scalar definition, worked
// examples, and the entry points' checks.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <tuple>
#include <vector>

#include "common/testing.h"
#include "kernels/memory.h"
#include "kernels/memory_forms.h"
#include "kernels/mirror_forms.h"
#include "kernels/plane.h"
#include "kernels/set_forms.h"

namespace morva {
namespace {

using testing::FormCase;
using testing::GuardedBuffer;
using testing::Rng;

// Stands in for the C runtime's allocator: hands out an address at a chosen
// offset in an arena and records what it was asked.
struct FakeAllocator {
    static inline std::vector<uint8_t> arena = std::vector<uint8_t>(4096);
    static inline size_t offset = 0, requested = 0;
    static inline int calls = 0;
    static inline void* released = nullptr;

    static void* allocate(size_t bytes) {
        ++calls;
        requested = bytes;
        return offset + bytes > arena.size() ? nullptr : arena.data() + offset;
    }
    static void release(void* p) { released = p; }
};

// For every placement the allocator may choose: a 32-byte boundary, room for
// the allocator's address before it, a spare byte behind the end, and the
// allocator's own address back on release.
TEST(Allocator, AlignsBlocksAndRefusesWhatItCantHold) {
    const struct Restore {
        OwnAllocator saved = ownAllocator;
        ~Restore() { ownAllocator = saved; }
    } restore;
    ownAllocator.allocate = &FakeAllocator::allocate;
    ownAllocator.release = &FakeAllocator::release;
    for (size_t offset = 0; offset < 96; ++offset) {
        FakeAllocator::offset = offset;
        const uint8_t* raw = FakeAllocator::arena.data() + offset;
        const auto check = [&](void* block, size_t bytes) {
            const auto* p = static_cast<uint8_t*>(block);
            ASSERT_TRUE(p != nullptr && reinterpret_cast<uintptr_t>(p) % 32 == 0) << offset;
            EXPECT_TRUE(p - raw >= ptrdiff_t(sizeof(void*)) && raw + FakeAllocator::requested > p + bytes) << offset;
            ippsFree(block);
            EXPECT_EQ(FakeAllocator::released, raw);
        };
        for (int32_t len : {1, 31, 32, 33, 1000}) check(ippsMalloc_8u(len), size_t(len));
        check(ippsMalloc_16s(7), 14);
        check(ippsMalloc_32s(7), 28);
    }
    // Non-positive lengths never reach the allocator; large ones don't wrap.
    FakeAllocator::calls = 0;
    FakeAllocator::released = nullptr;
    for (int32_t len : {0, -1, INT32_MIN})
        EXPECT_TRUE(!ippsMalloc_8u(len) && !ippsMalloc_16s(len) && !ippsMalloc_32s(len)) << len;
    EXPECT_EQ(FakeAllocator::calls, 0);
    ippsFree(nullptr);
    EXPECT_EQ(FakeAllocator::released, nullptr);
    EXPECT_EQ(ippsMalloc_32s(INT32_MAX), nullptr);
    EXPECT_GE(FakeAllocator::requested, size_t(INT32_MAX) * 4);
}

// The cache size the forms are told, and how often they asked for it.
struct ReportedCache {
    static inline int32_t size = -1;
    static inline int asked = 0;
    static int32_t get() { return ++asked, size; }
};

// Every length of testWidths(200) with the target at every offset from a
// 32-byte boundary, the source at a varying one and the variants taking
// turns, and the given lengths around a streaming gate at three placements and
// every variant.
std::vector<FormCase> byteCases(std::vector<int> variants, std::initializer_list<int> large) {
    std::vector<FormCase> cases;
    for (int n : testing::testWidths(200))
        for (size_t dst = 0; dst < 32; ++dst)
            cases.push_back({n, 1, 0, (n + 7 * dst) % 16, dst, variants[(n + dst) % variants.size()]});
    for (int variant : variants)
        for (int n : large)
            for (auto [src, dst] : {std::pair<size_t, size_t>{0, 0}, {3, 9}, {16, 1}}) cases.push_back({n, 1, 0, src, dst, variant});
    return cases;
}

// A copy into a target that starts as the source's complement, so that every
// byte left unwritten shows; the forms are told the case's cache size.
template <class Op>
GuardedBuffer copied(const FormCase& c, Rng& rng, Op&& op) {
    GuardedBuffer src(size_t(c.width), c.srcOffset), dst(size_t(c.width), c.dstOffset);
    for (size_t i = 0; i < src.size(); i += 4) {
        const uint32_t r = rng.next();
        std::memcpy(src.data() + i, &r, std::min<size_t>(4, src.size() - i));
    }
    std::transform(src.data(), src.data() + src.size(), dst.data(), [](uint8_t b) { return uint8_t(~b); });
    ReportedCache::size = c.variant;
    op(src.data(), dst.data(), dst.size());
    return dst;
}

// Variants are the cache size reported (unknown, or small enough to stream)
// and the row copy's streaming flag. A clear is a copy that ignores its source.
TEST(ByteForms, CopyClearAndRowCopyMatchTheScalarDefinition) {
    const auto copyBytes = [](CopyBytesFn fn, const FormCase& c, Rng& rng) {
        return copied(c, rng, [&](const uint8_t* s, uint8_t* d, size_t n) { fn(s, d, n, &ReportedCache::get); });
    };
    const auto copyRow = [](CopyRowFn fn, const FormCase& c, Rng& rng) {
        return copied(c, rng, [&](const uint8_t* s, uint8_t* d, size_t n) { fn(s, d, n, c.variant != 0); });
    };
    const auto zeroBytes = [](ZeroBytesFn fn, const FormCase& c, Rng& rng) {
        return copied(c, rng, [&](const uint8_t*, uint8_t* d, size_t n) { fn(d, n, &ReportedCache::get); });
    };
    const int copyGate = int(kCopyStreamGate), zeroGate = int(kZeroStreamGate);
    testing::compareFormsWithScalar(
        copyBytesTable(), byteCases({-1, 0x40000}, {copyGate, copyGate + 1, 0x40000 * 2 + 77, 0x40000 + 31}), copyBytes);
    testing::compareFormsWithScalar(copyRowTable(), byteCases({0, 1}, {0x40000 + 31}), copyRow);
    testing::compareFormsWithScalar(zeroBytesTable(), byteCases({-1, 0x80000}, {zeroGate, zeroGate + 1, zeroGate + 15}), zeroBytes);
}

// Identification is slow: the vector forms ask only above their gates.
TEST(ByteForms, AskForTheCacheOnlyAboveTheGate) {
    GuardedBuffer src(kZeroStreamGate + 1), dst(kZeroStreamGate + 1);
    ReportedCache::size = -1;
    const auto asked = [](auto call) { return ReportedCache::asked = 0, call(), ReportedCache::asked; };
    testing::forEachVectorForm(copyBytesTable(), [&](const KernelForm<CopyBytesFn>& f) {
        EXPECT_EQ(asked([&] { f.fn(src.data(), dst.data(), kCopyStreamGate, &ReportedCache::get); }), 0);
        EXPECT_EQ(asked([&] { f.fn(src.data(), dst.data(), kCopyStreamGate + 1, &ReportedCache::get); }), 1);
    });
    testing::forEachVectorForm(zeroBytesTable(), [&](const KernelForm<ZeroBytesFn>& f) {
        EXPECT_EQ(asked([&] { f.fn(dst.data(), kZeroStreamGate, &ReportedCache::get); }), 0);
        EXPECT_EQ(asked([&] { f.fn(dst.data(), kZeroStreamGate + 1, &ReportedCache::get); }), 1);
    });
}

// Through the entry points: every target byte outside the width x height
// pixels, padding included, keeps the sentinel. A negative step starts at the
// last row of its buffer; equal steps of the width copy as one row.
TEST(PlaneCopy, CopiesThePixelsAndLeavesThePadding) {
    MORVA_SEED_TRACE();
    Rng rng(3);
    const int32_t planes[][4] = {{1, 1, 1, 1},     {33, 5, 33, 33},     {33, 5, 40, 33},         {70, 3, 80, 96},
                                 {17, 4, 17, -17}, {100, 6, -128, 112}, {1024, 1025, 1024, 1024}, {1920, 1080, 1920, 2048}};
    for (const auto& [width, height, srcStep, dstStep] : planes) {
        const auto span = [&](int32_t step) { return size_t(std::abs(step)) * (height - 1) + width; };
        const auto first = [&](uint8_t* base, int32_t step) { return step < 0 ? base + span(step) - width : base; };
        GuardedBuffer src(span(srcStep), 3), dst(span(dstStep), 7);
        rng.fill(src.data(), src.size());
        const uint8_t* srcPlane = first(src.data(), srcStep);
        uint8_t* dstPlane = first(dst.data(), dstStep);
        ASSERT_EQ(ippiCopy_8u_C1R(srcPlane, srcStep, dstPlane, dstStep, width, height), ippStsNoErr);
        std::vector<uint8_t> expected(dst.size(), GuardedBuffer::kSentinel);
        for (int32_t y = 0; y < height; ++y)
            std::copy_n(srcPlane + ptrdiff_t(y) * srcStep, width,
                        expected.begin() + (dstPlane - dst.data()) + ptrdiff_t(y) * dstStep);
        EXPECT_TRUE(dst.bytes() == expected && dst.marginsIntact()) << width << "x" << height;
    }
}

const KernelTable<MirrorFn>& mirrorTableFor(int pixelBytes) {
    return pixelBytes == 1 ? mirrorC1Table() : pixelBytes == 3 ? mirrorC3Table() : mirrorC4Table();
}

const KernelTable<SetRowsFn>& setTableFor(int pixelBytes) {
    const KernelTable<SetRowsFn>* tables[] = {&setC1Table(), &set16uTable(), &setC3Table(), &setC4Table()};
    return *tables[pixelBytes - 1];
}

// Mirror variants are the axis: exchanging needs two rows, or two columns, on
// the axis it works across, and the entry points pass nothing smaller. Set
// variants are the streaming flag.
TEST(PlaneForms, MirrorAndSetMatchTheScalarDefinition) {
    std::vector<FormCase> mirrorCases = testing::formSweep({1, 2, 3, 4, 5}, {ippAxsHorizontal, ippAxsVertical, ippAxsBoth});
    std::erase_if(mirrorCases, [](const FormCase& c) {
        return (c.variant != ippAxsVertical && c.height < 2) || (c.variant != ippAxsHorizontal && c.width < 2);
    });
    for (int pixelBytes = 1; pixelBytes <= 4; ++pixelBytes) {
        SCOPED_TRACE(::testing::Message() << pixelBytes << "-byte pixels");
        const auto plane = [&](const FormCase& c, Rng& rng) {
            GuardedBuffer buffer(c.planeBytes(pixelBytes), c.dstOffset);
            rng.fillWithExtremes(buffer.data(), buffer.size());
            return buffer;
        };
        testing::compareFormsWithScalar(setTableFor(pixelBytes), testing::formSweep({1, 3}, {0, 1}), [&](SetRowsFn fn, const FormCase& c, Rng& rng) {
            GuardedBuffer buffer = plane(c, rng);
            uint8_t pixel[4];
            rng.fill(pixel, sizeof pixel);
            fn(buffer.data(), c.step(pixelBytes), size_t(c.width) * pixelBytes, c.height, pixel, c.variant != 0);
            return buffer;
        });
        if (pixelBytes == 2) continue;
        testing::compareFormsWithScalar(mirrorTableFor(pixelBytes), mirrorCases, [&](MirrorFn fn, const FormCase& c, Rng& rng) {
            GuardedBuffer buffer = plane(c, rng);
            fn(buffer.data(), c.step(pixelBytes), c.width, c.height, c.variant);
            return buffer;
        });
    }
}

// Planes whose bytes count up from 1, mirrored by every form. With odd sizes
// the middle row is reversed around its centre pixel.
TEST(Mirror, WorkedExamples) {
    const std::tuple<int, int, int, int, std::vector<uint8_t>> examples[] = {
        {1, 1, 2, ippAxsHorizontal, {2, 1}}, {1, 2, 1, ippAxsVertical, {2, 1}},
        {1, 3, 3, ippAxsHorizontal, {7, 8, 9, 4, 5, 6, 1, 2, 3}}, {1, 3, 3, ippAxsVertical, {3, 2, 1, 6, 5, 4, 9, 8, 7}},
        {1, 3, 3, ippAxsBoth, {9, 8, 7, 6, 5, 4, 3, 2, 1}},       {3, 2, 1, ippAxsVertical, {4, 5, 6, 1, 2, 3}},
        {4, 2, 2, ippAxsBoth, {13, 14, 15, 16, 9, 10, 11, 12, 5, 6, 7, 8, 1, 2, 3, 4}}};
    for (const auto& [pixelBytes, width, height, flip, expected] : examples)
        for (const KernelForm<MirrorFn>& form : mirrorTableFor(pixelBytes).forms()) {
            if (!cpuSupports(form.isa)) continue;
            std::vector<uint8_t> plane(expected.size());
            std::iota(plane.begin(), plane.end(), uint8_t(1));
            form.fn(plane.data(), width * pixelBytes, width, height, flip);
            EXPECT_EQ(plane, expected) << form.name << " " << width << "x" << height << " axis " << flip;
        }
}

// Through the entry points: contiguous planes become one row, padded planes
// keep their padding, and planes past the streaming gate ask for the cache.
TEST(Set, EntryPointsFillEveryPixelAndNothingElse) {
    const uint16_t sample = 0x1234;
    uint8_t pixels[4][4] = {{0xEE}, {}, {1, 2, 3}, {4, 5, 6, 7}};
    std::memcpy(pixels[1], &sample, 2);  // as a 16-bit store writes it
    for (auto [width, height, padding] : {std::tuple{37, 5, 0}, {37, 5, 9}, {1024, 600, 0}, {1024, 600, 9}})
        for (int pixelBytes = 1; pixelBytes <= 4; ++pixelBytes) {
            const FormCase c{width, height, padding};
            const int32_t step = c.step(pixelBytes);
            GuardedBuffer plane(c.planeBytes(pixelBytes), 1);
            std::vector<uint8_t> expected = plane.bytes();
            for (int32_t i = 0; i < width * height; ++i)
                std::memcpy(&expected[size_t(i / width) * step + size_t(i % width) * pixelBytes], pixels[pixelBytes - 1], pixelBytes);
            uint8_t* p = plane.data();
            const IppStatus status = pixelBytes == 1   ? ippiSet_8u_C1R(0xEE, p, step, width, height)
                                     : pixelBytes == 2 ? ippiSet_16u_C1R(sample, p, step, width, height)
                                     : pixelBytes == 3 ? ippiSet_8u_C3R(pixels[2], p, step, width, height)
                                                       : ippiSet_8u_C4R(pixels[3], p, step, width, height);
            EXPECT_TRUE(status == ippStsNoErr && plane.bytes() == expected && plane.marginsIntact()) << c << " pixel " << pixelBytes;
        }
}

// Pointers first, then sizes, then (for the mirror) the axis and the axis' own
// minimum; a refused call writes nothing.
TEST(EntryPoints, CheckInOrderAndWriteNothingOnRefusal) {
    std::vector<uint8_t> buffer(256, 0x11);
    const std::vector<uint8_t> before = buffer;
    uint8_t* p = buffer.data();
    const uint8_t value[4] = {1, 2, 3, 4};
    const std::pair<IppStatus, IppStatus> calls[] = {
        {ippsCopy_8u(nullptr, p, 8), ippStsNullPtrErr},           {ippsCopy_8u(p, nullptr, 8), ippStsNullPtrErr},
        {ippsCopy_8u(nullptr, nullptr, 0), ippStsNullPtrErr},     {ippsCopy_8u(p + 8, p, 0), ippStsSizeErr},
        {ippsCopy_8u(p + 8, p, -5), ippStsSizeErr},               {ippsZero_8u(nullptr, 0), ippStsNullPtrErr},
        {ippsZero_8u(p, INT32_MIN), ippStsSizeErr},               {ippiCopy_8u_C1R(nullptr, 4, p, 4, 4, 4), ippStsNullPtrErr},
        {ippiCopy_8u_C1R(p + 64, 4, nullptr, 4, 0, 4), ippStsNullPtrErr},
        {ippiCopy_8u_C1R(p + 64, 4, p, 4, 0, 4), ippStsSizeErr},  {ippiCopy_8u_C1R(p + 64, 4, p, 4, 4, -1), ippStsSizeErr},
        {ippiSet_8u_C1R(9, p, 16, 0, 2), ippStsSizeErr},          {ippiSet_8u_C1R(9, nullptr, 16, -3, 2), ippStsNullPtrErr},
        {ippiSet_16u_C1R(9, p, 16, 2, 0), ippStsSizeErr},         {ippiSet_16u_C1R(9, nullptr, 16, 2, INT32_MIN), ippStsNullPtrErr},
        {ippiSet_8u_C3R(value, p, 16, -3, 2), ippStsSizeErr},     {ippiSet_8u_C3R(nullptr, p, 16, 2, 2), ippStsNullPtrErr},
        {ippiSet_8u_C4R(value, p, 16, 2, INT32_MIN), ippStsSizeErr}, {ippiSet_8u_C4R(nullptr, p, 16, 2, 2), ippStsNullPtrErr},
        {ippiSet_8u_C4R(value, nullptr, 16, 0, 2), ippStsNullPtrErr}};
    for (size_t i = 0; i < std::size(calls); ++i) EXPECT_EQ(calls[i].first, calls[i].second) << "call " << i;
    ownCopyRow(p + 8, p, -3, true);
    EXPECT_EQ(buffer, before);

    using Mirror = IppStatus (*)(uint8_t*, int32_t, int32_t, int32_t, int32_t);
    const std::tuple<int32_t, int32_t, int32_t, IppStatus> mirrorCalls[] = {
        {1, 2, ippAxsHorizontal, ippStsNoErr},   {1, 2, ippAxsVertical, ippStsSizeErr}, {1, 2, ippAxsBoth, ippStsSizeErr},
        {2, 1, ippAxsHorizontal, ippStsSizeErr}, {2, 1, ippAxsBoth, ippStsSizeErr},     {2, 1, ippAxsVertical, ippStsNoErr},
        {4, 1, 3, ippStsMirrorFlipErr},          {4, 4, -1, ippStsMirrorFlipErr},       {0, 4, 3, ippStsSizeErr},
        {4, 0, 3, ippStsSizeErr},                {-1, 4, ippAxsVertical, ippStsSizeErr}};
    for (Mirror mirror : {&ippiMirror_8u_C1IR, &ippiMirror_8u_C3IR, &ippiMirror_8u_C4IR})
        for (const auto& [width, height, flip, expected] : mirrorCalls) {
            std::vector<uint8_t> plane = before;
            EXPECT_EQ(mirror(plane.data(), 64, width, height, flip), expected) << width << "x" << height << " axis " << flip;
            EXPECT_TRUE(expected == ippStsNoErr || plane == before);
            EXPECT_EQ(mirror(nullptr, 64, width, height, flip), ippStsNullPtrErr);
        }
}

}  // namespace
}  // namespace morva
