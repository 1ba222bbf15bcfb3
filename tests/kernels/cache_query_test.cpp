// The largest-cache query on recorded processor reports, and its memo.
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <utility>

#include "kernels/frame.h"

namespace morva {
namespace {

// A recorded report: leaf 0 (highest leaf, vendor), leaf 2 and leaf 4.
class FakeCpuid final : public CpuidSource {
public:
    FakeCpuid(const char* vendor, uint32_t highestLeaf) {
        CpuidResult r{highestLeaf};
        std::memcpy(&r.ebx, vendor, 4);
        std::memcpy(&r.edx, vendor + 4, 4);
        std::memcpy(&r.ecx, vendor + 8, 4);
        leaves_[{0, 0}] = r;
    }
    bool available() const override { return hasInstruction; }
    CpuidResult query(uint32_t leaf, uint32_t subleaf) const override {
        ++queries;
        const auto it = leaves_.find({leaf, leaf == 4 ? subleaf : 0});
        return it == leaves_.end() ? CpuidResult{} : it->second;
    }
    void leaf2(uint32_t eax, uint32_t ebx, uint32_t ecx, uint32_t edx) { leaves_[{2, 0}] = {eax, ebx, ecx, edx}; }
    // type: 1 data, 2 instruction, 3 unified, 0 end of the list.
    void leaf4(uint32_t type, uint32_t ways, uint32_t partitions, uint32_t line, uint32_t sets) {
        leaves_[{4, leaf4Count_++}] = {type, (ways - 1) << 22 | (partitions - 1) << 12 | (line - 1), sets - 1, 0};
    }

    bool hasInstruction = true;
    mutable int queries = 0;

private:
    std::map<std::pair<uint32_t, uint32_t>, CpuidResult> leaves_;
    uint32_t leaf4Count_ = 0;
};

void expectQuery(const FakeCpuid& cpu, IppStatus status, int32_t size, int32_t descriptorSize) {
    const CacheQuery q = queryLargestCache(cpu);
    EXPECT_EQ(q.status, status);
    EXPECT_EQ(q.size, size);
    EXPECT_EQ(ownLargestCacheFromDescriptors(cpu), descriptorSize);
}

TEST(CacheQuery, ProcessorsThatCantBeAsked) {
    FakeCpuid amd("AuthenticAMD", 16);
    amd.leaf4(1, 8, 1, 64, 64);
    amd.leaf2(0x00000001, 0x000000EC, 0, 0);
    expectQuery(amd, ippStsNotSupportedCpu, 0, -1);
    expectQuery(FakeCpuid("GenuineIntel", 1), ippStsNotSupportedCpu, 0, -1);
    FakeCpuid noInstruction("GenuineIntel", 4);
    noInstruction.hasInstruction = false;
    expectQuery(noInstruction, ippStsNotSupportedCpu, 0, -1);
}

TEST(CacheQuery, Leaf4GivesLargestDataOrUnifiedCache) {
    FakeCpuid cpu("GenuineIntel", 0x16);
    cpu.leaf4(1, 8, 1, 64, 64);        // 32 KiB data
    cpu.leaf4(2, 16, 1, 64, 65536);    // 64 MiB instruction: skipped
    cpu.leaf4(3, 12, 2, 64, 8192);     // 12 MiB unified, two partitions
    cpu.leaf4(3, 16, 1, 64, 1024);     // 1 MiB unified
    cpu.leaf4(0, 1, 1, 1, 1);          // end of the list
    cpu.leaf4(3, 1024, 1, 64, 1024);   // beyond the end: never read
    expectQuery(cpu, ippStsNoErr, 12 << 20, -1);

    FakeCpuid onlyInstruction("GenuineIntel", 4);
    onlyInstruction.leaf4(2, 8, 1, 64, 64);
    onlyInstruction.leaf4(2, 8, 1, 64, 128);
    expectQuery(onlyInstruction, ippStsUnknownCacheSize, 0, -1);
}

// Leaf 2 alone: the largest listed cache wins whatever its position. The
// copy and clear detection knows only caches of 512 KiB and more.
TEST(CacheQuery, Leaf2Descriptors) {
    const struct {
        uint32_t words[4];
        IppStatus status;
        int32_t size, descriptorSize;
    } reports[] = {
        {{0x665B5001, 0, 0, 0x007A7040}, ippStsNoErr, 262144, -1},
        {{0x00430001, 0x00000049, 0x7C000000, 0}, ippStsNoErr, 4194304, 4194304},
        {{0x00000001, 0x000000EC, 0, 0x43}, ippStsNoErr, 25165824, 25165824},
        {{0x00004902, 0, 0, 0}, ippStsUnknownCacheSize, 0, -1},           // repeat count not 1
        {{0x00000001, 0x800000EC, 0, 0}, ippStsUnknownCacheSize, 0, -1},  // bit 31: no descriptors
        {{0x00FF0001, 0x00B0B1B2, 0, 0}, ippStsUnknownCacheSize, 0, -1},  // none listed
        // With the first word empty, the first byte gathered is ebx's low
        // byte, which takes the repeat count's place and isn't compared.
        {{0x80000001, 0x00000043, 0, 0}, ippStsUnknownCacheSize, 0, -1},
        {{0x80000001, 0x00004300, 0, 0}, ippStsNoErr, 524288, 524288},
    };
    for (const auto& r : reports) {
        SCOPED_TRACE(::testing::Message() << std::hex << r.words[0] << " " << r.words[1]);
        FakeCpuid cpu("GenuineIntel", 2);
        cpu.leaf2(r.words[0], r.words[1], r.words[2], r.words[3]);
        expectQuery(cpu, r.status, r.size, r.descriptorSize);
    }
}

TEST(CacheMemo, AsksOnceAndNeverForANullPointer) {
    FakeCpuid cpu("GenuineIntel", 2);
    cpu.leaf2(0x00000001, 0x000000D0, 0, 0);
    CacheSizeMemo memo(cpu);
    EXPECT_EQ(memo.get(nullptr), ippStsNullPtrErr);
    EXPECT_EQ(cpu.queries, 0);

    int asked = 0;
    for (int call = 0; call < 2; ++call) {
        int32_t size = -1;
        EXPECT_EQ(memo.get(&size), ippStsNoErr);
        EXPECT_EQ(size, 524288);
        if (call == 0) asked = cpu.queries;
        cpu.leaf2(0x00000002, 0, 0, 0);  // a later answer would differ
    }
    EXPECT_GT(asked, 0);
    EXPECT_EQ(cpu.queries, asked);
}

TEST(CacheMemo, HostAnswerIsConsistent) {
    EXPECT_EQ(ippGetMaxCacheSizeB(nullptr), ippStsNullPtrErr);
    char vendor[13];
    cpuVendor(hostCpuid(), vendor);
    int32_t size = -1;
    const IppStatus status = ippGetMaxCacheSizeB(&size);
    if (!hostCpuid().available() || std::strcmp(vendor, "GenuineIntel") != 0) {
        EXPECT_EQ(status, ippStsNotSupportedCpu);
    }
    EXPECT_TRUE(status == ippStsNoErr ? size > 0 : size == 0) << status << " " << size;
    int32_t again = -1;
    EXPECT_EQ(ippGetMaxCacheSizeB(&again), status);
    EXPECT_EQ(again, size);
}

}  // namespace
}  // namespace morva
