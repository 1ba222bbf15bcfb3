// Aligned allocation, byte copy, byte clear and plane copy: every form against
// the plain byte semantics, with guarded margins around the target.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "common/testing.h"
#include "kernels/memory.h"
#include "kernels/memory_forms.h"

namespace morva {
namespace {

using testing::GuardedBuffer;
using testing::Rng;

// Every form of a table that this processor runs, the scalar definition too.
template <class Fn, class Body>
void forEachForm(const KernelTable<Fn>& table, Body&& body) {
    for (const KernelForm<Fn>& form : table.forms()) {
        if (!cpuSupports(form.isa)) continue;
        SCOPED_TRACE(std::string("form ") + form.name);
        body(form.fn);
    }
}

// Stands in for the C runtime's allocator: hands out an address at a chosen
// offset in an arena and records what it was asked.
struct FakeAllocator {
    static inline std::vector<uint8_t> arena = std::vector<uint8_t>(4096);
    static inline size_t offset = 0;
    static inline int calls = 0;
    static inline size_t requested = 0;
    static inline void* released = nullptr;

    static void* allocate(size_t bytes) {
        ++calls;
        requested = bytes;
        return offset + bytes > arena.size() ? nullptr : arena.data() + offset;
    }
    static void release(void* p) { released = p; }
};

class AllocatorTest : public ::testing::Test {
protected:
    void SetUp() override {
        ownAllocator.allocate = &FakeAllocator::allocate;
        ownAllocator.release = &FakeAllocator::release;
        FakeAllocator::calls = 0;
        FakeAllocator::released = nullptr;
    }
    void TearDown() override { ownAllocator = saved_; }

private:
    OwnAllocator saved_ = ownAllocator;
};

// For every placement the allocator may choose: a 32-byte boundary, room for
// the allocator's address before it, a spare byte behind the end, and the
// allocator's own address back on release.
TEST_F(AllocatorTest, BlocksAreAlignedAndFreeReturnsTheRawAddress) {
    for (size_t offset = 0; offset < 96; ++offset) {
        FakeAllocator::offset = offset;
        const uint8_t* raw = FakeAllocator::arena.data() + offset;
        const auto check = [&](void* block, size_t bytes) {
            ASSERT_NE(block, nullptr);
            const auto* p = static_cast<uint8_t*>(block);
            EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 32, 0u) << offset;
            EXPECT_GE(p - raw, ptrdiff_t(sizeof(void*))) << offset;
            EXPECT_GE(raw + FakeAllocator::requested, p + bytes + 1) << offset;
            ippsFree(block);
            EXPECT_EQ(FakeAllocator::released, raw);
        };
        for (int32_t len : {1, 31, 32, 33, 1000}) check(ippsMalloc_8u(len), size_t(len));
        check(ippsMalloc_16s(7), 14);
        check(ippsMalloc_32s(7), 28);
    }
}

TEST_F(AllocatorTest, NonPositiveLengthsNeverReachTheAllocator) {
    for (int32_t len : {0, -1, INT32_MIN}) {
        EXPECT_EQ(ippsMalloc_8u(len), nullptr);
        EXPECT_EQ(ippsMalloc_16s(len), nullptr);
        EXPECT_EQ(ippsMalloc_32s(len), nullptr);
    }
    EXPECT_EQ(FakeAllocator::calls, 0);
    ippsFree(nullptr);
    EXPECT_EQ(FakeAllocator::released, nullptr);
}

TEST_F(AllocatorTest, LargeRequestsDontWrapAndExhaustionGivesNull) {
    EXPECT_EQ(ippsMalloc_8u(INT32_MAX), nullptr);
    EXPECT_GT(FakeAllocator::requested, size_t(INT32_MAX));
    EXPECT_EQ(ippsMalloc_32s(INT32_MAX), nullptr);
    EXPECT_GE(FakeAllocator::requested, size_t(INT32_MAX) * 4);
}

std::vector<size_t> byteLengths() {
    std::vector<size_t> lengths;
    for (size_t n = 1; n <= 200; ++n) lengths.push_back(n);
    for (size_t n : {255, 256, 257, 4096 + 13}) lengths.push_back(n);
    return lengths;
}

// Copies n bytes between buffers placed at the given offsets from a 64-byte
// boundary (or clears with a null source), then checks bytes and margins.
template <class Op>
void checkBytes(Op&& op, bool copy, size_t n, size_t srcOffset, size_t dstOffset, Rng& rng) {
    GuardedBuffer src(n, srcOffset), dst(n, dstOffset);
    for (size_t i = 0; i < n; i += 4) {
        const uint32_t r = rng.next();
        std::memcpy(src.data() + i, &r, std::min<size_t>(4, n - i));
    }
    std::fill_n(dst.data(), n, uint8_t(0xFF));
    op(src.data(), dst.data(), n);
    const std::vector<uint8_t> expected = copy ? src.bytes() : std::vector<uint8_t>(n, 0);
    ASSERT_TRUE(dst.bytes() == expected && dst.marginsIntact())
        << "n=" << n << " src+" << srcOffset << " dst+" << dstOffset;
}

// The cache size the forms are told, and how often they asked for it.
struct ReportedCache {
    static inline int32_t size = -1;
    static inline int asked = 0;
    static int32_t get() {
        ++asked;
        return size;
    }
};

TEST(ByteCopyAndClear, SmallBlocksAtEveryAlignment) {
    MORVA_SEED_TRACE();
    Rng rng(1);
    ReportedCache::size = -1;
    forEachForm(copyBytesTable(), [&](CopyBytesFn fn) {
        const auto op = [&](const uint8_t* s, uint8_t* d, size_t n) { fn(s, d, n, &ReportedCache::get); };
        for (size_t n : byteLengths())
            for (size_t srcOffset = 0; srcOffset < 16; ++srcOffset)
                for (size_t dstOffset = 0; dstOffset < 32; ++dstOffset) checkBytes(op, true, n, srcOffset, dstOffset, rng);
    });
    forEachForm(copyRowTable(), [&](CopyRowFn fn) {
        for (bool nonTemporal : {false, true}) {
            const auto op = [&](const uint8_t* s, uint8_t* d, size_t n) { fn(s, d, n, nonTemporal); };
            for (size_t n : byteLengths())
                for (size_t srcOffset : {0, 4, 8, 13})
                    for (size_t dstOffset = 0; dstOffset < 32; ++dstOffset) checkBytes(op, true, n, srcOffset, dstOffset, rng);
        }
    });
    forEachForm(zeroBytesTable(), [&](ZeroBytesFn fn) {
        const auto op = [&](const uint8_t*, uint8_t* d, size_t n) { fn(d, n, &ReportedCache::get); };
        for (size_t n : byteLengths())
            for (size_t dstOffset = 0; dstOffset < 32; ++dstOffset) checkBytes(op, false, n, 0, dstOffset, rng);
    });
}

// Around the gates, with the cache unknown and small enough to stream; lengths leave whole read-ahead blocks, a part of one and
// a tail of 1 to 15 bytes.
TEST(ByteCopyAndClear, LargeBlocksOnEveryStorePath) {
    MORVA_SEED_TRACE();
    Rng rng(2);
    const std::pair<size_t, size_t> offsets[] = {{0, 0}, {3, 9}, {16, 1}};
    forEachForm(copyBytesTable(), [&](CopyBytesFn fn) {
        const auto op = [&](const uint8_t* s, uint8_t* d, size_t n) { fn(s, d, n, &ReportedCache::get); };
        for (int32_t cache : {-1, 0x40000})
            for (size_t n : {kCopyStreamGate, kCopyStreamGate + 1, size_t(0x40000 * 2 + 77), size_t(0x40000 + 31)})
                for (auto [srcOffset, dstOffset] : offsets) {
                    ReportedCache::size = cache;
                    checkBytes(op, true, n, srcOffset, dstOffset, rng);
                }
    });
    forEachForm(zeroBytesTable(), [&](ZeroBytesFn fn) {
        const auto op = [&](const uint8_t*, uint8_t* d, size_t n) { fn(d, n, &ReportedCache::get); };
        for (int32_t cache : {-1, 0x80000})
            for (size_t n : {kZeroStreamGate, kZeroStreamGate + 1, kZeroStreamGate + 15})
                for (auto [srcOffset, dstOffset] : offsets) {
                    ReportedCache::size = cache;
                    checkBytes(op, false, n, 0, dstOffset, rng);
                }
    });
}

// Identification is slow: the vector forms ask only above their gates.
TEST(ByteCopyAndClear, CacheIsAskedOnlyAboveTheGate) {
    GuardedBuffer src(kZeroStreamGate + 1), dst(kZeroStreamGate + 1);  // 64-byte aligned
    ReportedCache::size = -1;
    testing::forEachVectorForm(copyBytesTable(), [&](const KernelForm<CopyBytesFn>& form) {
        ReportedCache::asked = 0;
        form.fn(src.data(), dst.data(), kCopyStreamGate, &ReportedCache::get);
        EXPECT_EQ(ReportedCache::asked, 0);
        form.fn(src.data(), dst.data(), kCopyStreamGate + 1, &ReportedCache::get);
        EXPECT_EQ(ReportedCache::asked, 1);
    });
    testing::forEachVectorForm(zeroBytesTable(), [&](const KernelForm<ZeroBytesFn>& form) {
        ReportedCache::asked = 0;
        form.fn(dst.data(), kZeroStreamGate, &ReportedCache::get);
        EXPECT_EQ(ReportedCache::asked, 0);
        form.fn(dst.data(), kZeroStreamGate + 1, &ReportedCache::get);
        EXPECT_EQ(ReportedCache::asked, 1);
    });
}

TEST(ByteCopyAndClear, EntryPointsCheckPointersThenLength) {
    std::vector<uint8_t> src(8, 7), dst(8, 0);
    EXPECT_EQ(ippsCopy_8u(nullptr, dst.data(), 8), ippStsNullPtrErr);
    EXPECT_EQ(ippsCopy_8u(src.data(), nullptr, 8), ippStsNullPtrErr);
    EXPECT_EQ(ippsCopy_8u(nullptr, nullptr, 0), ippStsNullPtrErr);
    EXPECT_EQ(ippsCopy_8u(src.data(), dst.data(), 0), ippStsSizeErr);
    EXPECT_EQ(ippsCopy_8u(src.data(), dst.data(), -5), ippStsSizeErr);
    EXPECT_EQ(ippsZero_8u(nullptr, 0), ippStsNullPtrErr);
    EXPECT_EQ(ippsZero_8u(src.data(), INT32_MIN), ippStsSizeErr);
    EXPECT_EQ(dst, std::vector<uint8_t>(8, 0));
    EXPECT_EQ(src, std::vector<uint8_t>(8, 7));
    EXPECT_EQ(ippsCopy_8u(src.data(), dst.data(), 8), ippStsNoErr);
    EXPECT_EQ(dst, src);
    EXPECT_EQ(ippsZero_8u(src.data(), 8), ippStsNoErr);
    EXPECT_EQ(src, std::vector<uint8_t>(8, 0));
}

struct PlaneCase {
    int32_t width, height, srcStep, dstStep;
};

class PlaneCopy : public ::testing::TestWithParam<PlaneCase> {};

// Every target byte outside the width x height pixels, padding included,
// keeps the sentinel. A negative step starts at the last row of its buffer.
TEST_P(PlaneCopy, CopiesThePixelsAndLeavesThePadding) {
    MORVA_SEED_TRACE();
    const PlaneCase c = GetParam();
    Rng rng(3);
    const auto span = [&](int32_t step) { return size_t(std::abs(step)) * (c.height - 1) + c.width; };
    const auto first = [&](uint8_t* base, int32_t step) { return step < 0 ? base + span(step) - c.width : base; };
    GuardedBuffer src(span(c.srcStep), 3), dst(span(c.dstStep), 7);
    rng.fill(src.data(), src.size());
    const uint8_t* srcPlane = first(src.data(), c.srcStep);
    uint8_t* dstPlane = first(dst.data(), c.dstStep);
    ASSERT_EQ(ippiCopy_8u_C1R(srcPlane, c.srcStep, dstPlane, c.dstStep, c.width, c.height), ippStsNoErr);

    std::vector<uint8_t> expected(dst.size(), GuardedBuffer::kSentinel);
    for (int32_t y = 0; y < c.height; ++y)
        std::copy_n(srcPlane + ptrdiff_t(y) * c.srcStep, c.width,
                    expected.begin() + (dstPlane - dst.data()) + ptrdiff_t(y) * c.dstStep);
    EXPECT_TRUE(dst.bytes() == expected && dst.marginsIntact());
}

INSTANTIATE_TEST_SUITE_P(Planes, PlaneCopy,
                         ::testing::Values(PlaneCase{1, 1, 1, 1}, PlaneCase{33, 5, 33, 33},  // contiguous
                                           PlaneCase{33, 5, 40, 33}, PlaneCase{70, 3, 80, 96},
                                           PlaneCase{17, 4, 17, -17}, PlaneCase{100, 6, -128, 112},
                                           PlaneCase{1024, 1025, 1024, 1024},  // above the streaming gate
                                           PlaneCase{1920, 1080, 1920, 2048}));

TEST(PlaneCopy, EntryPointChecksPointersThenSizes) {
    std::vector<uint8_t> src(16, 1), dst(16, 0);
    EXPECT_EQ(ippiCopy_8u_C1R(nullptr, 4, dst.data(), 4, 4, 4), ippStsNullPtrErr);
    EXPECT_EQ(ippiCopy_8u_C1R(src.data(), 4, nullptr, 4, 0, 4), ippStsNullPtrErr);
    EXPECT_EQ(ippiCopy_8u_C1R(src.data(), 4, dst.data(), 4, 0, 4), ippStsSizeErr);
    EXPECT_EQ(ippiCopy_8u_C1R(src.data(), 4, dst.data(), 4, 4, -1), ippStsSizeErr);
    ownCopyRow(src.data(), dst.data(), -3, true);
    EXPECT_EQ(dst, std::vector<uint8_t>(16, 0));
}

}  // namespace
}  // namespace morva
