// The frame's processor services: the largest-cache query on recorded
// processor reports and its memo, truncating conversion, the floating-point
// control operations, and the slot that runs the scalar definitions.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <limits>
#include <map>
#include <vector>

#include "kernels/dispatch.h"
#include "kernels/frame.h"

namespace morva {
namespace {

// A recorded report: leaf 0 (highest leaf, vendor), leaf 2 and the sub-leaves
// of leaf 4, each as type (1 data, 2 instruction, 3 unified, 0 end of the
// list), ways, partitions, line size and sets.
struct FakeCpuid final : CpuidSource {
    FakeCpuid(const char* vendor, uint32_t highestLeaf, std::array<uint32_t, 4> leaf2,
              std::vector<std::array<uint32_t, 5>> leaf4 = {}, bool hasInstruction = true)
        : hasInstruction_(hasInstruction) {
        CpuidResult& r = leaves_[{0, 0}] = {highestLeaf};
        std::memcpy(&r.ebx, vendor, 4);
        std::memcpy(&r.edx, vendor + 4, 4);
        std::memcpy(&r.ecx, vendor + 8, 4);
        setLeaf2(leaf2);
        for (uint32_t i = 0; i < leaf4.size(); ++i) {
            const auto [type, ways, partitions, line, sets] = leaf4[i];
            leaves_[{4, i}] = {type, (ways - 1) << 22 | (partitions - 1) << 12 | (line - 1), sets - 1, 0};
        }
    }
    bool available() const override { return hasInstruction_; }
    CpuidResult query(uint32_t leaf, uint32_t subleaf) const override {
        ++queries;
        const auto it = leaves_.find({leaf, leaf == 4 ? subleaf : 0});
        return it == leaves_.end() ? CpuidResult{} : it->second;
    }
    void setLeaf2(std::array<uint32_t, 4> w) { leaves_[{2, 0}] = {w[0], w[1], w[2], w[3]}; }
    mutable int queries = 0;
    bool hasInstruction_;
    std::map<std::pair<uint32_t, uint32_t>, CpuidResult> leaves_;
};

// Leaf 4 gives the largest data or unified cache up to the end of its list;
// leaf 2 alone, the largest listed cache whatever its position. The copy and
// clear detection knows only the descriptors of 512 KiB and more.
TEST(CacheQuery, RecordedReportsAndTheMemo) {
    const std::vector<std::array<uint32_t, 5>> caches = {
        {1, 8, 1, 64, 64},       // 32 KiB data
        {2, 16, 1, 64, 65536},   // 64 MiB instruction: skipped
        {3, 12, 2, 64, 8192},    // 12 MiB unified, two partitions
        {3, 16, 1, 64, 1024},    // 1 MiB unified
        {0, 1, 1, 1, 1},         // end of the list
        {3, 1024, 1, 64, 1024},  // beyond the end: never read
    };
    const struct {
        const char* what;
        FakeCpuid cpu;
        IppStatus status;
        int32_t size, descriptorSize;
    } reports[] = {
        {"other vendor", {"AuthenticAMD", 16, {1, 0xEC, 0, 0}, {{1, 8, 1, 64, 64}}}, ippStsNotSupportedCpu, 0, -1},
        {"leaf 2 not reported", {"GenuineIntel", 1, {}}, ippStsNotSupportedCpu, 0, -1},
        {"no instruction", {"GenuineIntel", 4, {}, {}, false}, ippStsNotSupportedCpu, 0, -1},
        {"leaf 4", {"GenuineIntel", 0x16, {}, caches}, ippStsNoErr, 12 << 20, -1},
        {"leaf 4, instruction caches only", {"GenuineIntel", 4, {}, {{2, 8, 1, 64, 64}, {2, 8, 1, 64, 128}}},
         ippStsUnknownCacheSize, 0, -1},
        {"leaf 2, last byte", {"GenuineIntel", 2, {0x665B5001, 0, 0, 0x007A7040}}, ippStsNoErr, 262144, -1},
        {"leaf 2, middle", {"GenuineIntel", 2, {0x00430001, 0x49, 0x7C000000, 0}}, ippStsNoErr, 4194304, 4194304},
        {"leaf 2, in edx", {"GenuineIntel", 2, {1, 0xEC, 0, 0x43}}, ippStsNoErr, 25165824, 25165824},
        {"repeat count not 1", {"GenuineIntel", 2, {0x4902, 0, 0, 0}}, ippStsUnknownCacheSize, 0, -1},
        {"bit 31: no descriptors", {"GenuineIntel", 2, {1, 0x800000EC, 0, 0}}, ippStsUnknownCacheSize, 0, -1},
        {"none listed", {"GenuineIntel", 2, {0x00FF0001, 0x00B0B1B2, 0, 0}}, ippStsUnknownCacheSize, 0, -1},
        // With the first word empty, the first byte gathered is ebx's low
        // byte, which takes the repeat count's place and isn't compared.
        {"first word empty", {"GenuineIntel", 2, {0x80000001, 0x43, 0, 0}}, ippStsUnknownCacheSize, 0, -1},
        {"first word empty", {"GenuineIntel", 2, {0x80000001, 0x4300, 0, 0}}, ippStsNoErr, 524288, 524288},
    };
    for (const auto& r : reports) {
        const CacheQuery q = queryLargestCache(r.cpu);
        EXPECT_TRUE(q.status == r.status && q.size == r.size) << r.what << ": " << q.status << " " << q.size;
        EXPECT_EQ(ownLargestCacheFromDescriptors(r.cpu), r.descriptorSize) << r.what;
    }

    // The memo refuses a null pointer before anything is asked; the first real
    // call asks, later calls keep its answer.
    FakeCpuid cpu("GenuineIntel", 2, {1, 0xD0, 0, 0});
    CacheSizeMemo memo(cpu);
    EXPECT_TRUE(memo.get(nullptr) == ippStsNullPtrErr && cpu.queries == 0);
    int32_t size = -1, again = -1;
    EXPECT_TRUE(memo.get(&size) == ippStsNoErr && size == 524288 && cpu.queries > 0);
    const int asked = cpu.queries;
    cpu.setLeaf2({2, 0, 0, 0});  // a later answer would differ
    EXPECT_TRUE(memo.get(&again) == ippStsNoErr && again == 524288 && cpu.queries == asked);

    const IppStatus status = ippGetMaxCacheSizeB(&size);
    EXPECT_TRUE(ippGetMaxCacheSizeB(nullptr) == ippStsNullPtrErr && (status == ippStsNoErr ? size > 0 : size == 0));
}

constexpr int32_t kIndefinite = std::numeric_limits<int32_t>::min();

TEST(FloatToInt32Trunc, TruncatesTowardZeroAndFlagsOutOfRange) {
    const std::pair<long double, int32_t> cases[] = {
        {2.7L, 2}, {-2.7L, -2}, {-0.5L, 0}, {65535.5L, 65535}, {2147483647.9L, 2147483647},
        {-2147483648.9L, kIndefinite}, {2147483648.0L, kIndefinite}, {-1e20L, kIndefinite},
        {std::numeric_limits<long double>::quiet_NaN(), kIndefinite},
    };
    const uint32_t control = ownGetFpuControl();
    for (const auto& [value, expected] : cases) EXPECT_EQ(ownFloatToInt32Trunc(value), expected) << double(value);
    EXPECT_EQ(ownGetFpuControl(), control) << "the control word must be restored";
}

#if MORVA_X86_64

// Masked loads change only the masked bits (status flags aside); the default
// control word rounds toward zero. The x87 status reports the masked invalid
// operation of an out-of-range conversion until it is cleared.
TEST(FloatingPointControl, MaskedLoadsDefaultAndStatus) {
    const uint32_t mxcsr = ownSetDefaultMxcsr();
    EXPECT_EQ(ownGetMxcsr() & ~0x3Fu, 0x1F80u);
    EXPECT_EQ(ownSetMxcsrMasked(0x6000, 0x6000) & ~0x3Fu, 0x1F80u);
    volatile float third = 1.0f;
    third = third / 3.0f;
    EXPECT_LT(double(third) * 3.0, 1.0) << "rounding toward zero";
    ownSetMxcsrMasked(mxcsr, 0xFFFFFFFF);
    EXPECT_EQ(ownGetMxcsr() & ~0x3Fu, mxcsr & ~0x3Fu);

    const uint32_t control = ownGetFpuControl();
    EXPECT_TRUE(ownSetFpuControlMasked(0x0C00, 0x0C00) == control && ownGetFpuControl() == (control | 0x0C00));
    ownSetFpuControlMasked(control, 0xFFFF);
    EXPECT_EQ(ownGetFpuControl(), control);
    ownClearFpuStatus();
    EXPECT_EQ(ownFloatToInt32Trunc(1e20L), kIndefinite);
    EXPECT_TRUE((ownClearFpuStatus() & 1) == 1 && (ownGetFpuStatus() & 0x3F) == 0);
}

#endif

int scalarForm() { return 0; }
int vectorForm() { return 1; }

// The scalar slot runs the definition in every table, whatever the processor
// runs; slots below it and above the processor's are limited.
TEST(Dispatch, TheScalarSlotRunsTheDefinitions) {
    const KernelTable<int (*)()> table{{"scalar", Isa::Scalar, &scalarForm}, {"sse2", Isa::Sse2, &vectorForm}};
    const int previous = currentCpuSlot();
    EXPECT_EQ(setCpuSlot(-5), kScalarCpuSlot);
    EXPECT_TRUE(table.current()() == 0 && table.slot(kScalarCpuSlot)() == 0);
    EXPECT_EQ(setCpuSlot(kCpuSlotCount + 3), highestCpuSlot());
    EXPECT_EQ(table.current()(), MORVA_X86_64 ? 1 : 0);
    setCpuSlot(previous);
}

}  // namespace
}  // namespace morva
