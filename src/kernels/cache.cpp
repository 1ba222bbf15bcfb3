// The query of the processor's largest cache, by the deterministic cache
// leaf 4 where the processor has it, else by the descriptor bytes of leaf 2.
#include <array>
#include <cstring>

#include "kernels/frame.h"

namespace morva {

constexpr CacheDescriptor ownCacheDescriptors[kCacheDescriptorRows + 1] = {
    {0xEC, 25165824}, {0xEB, 18874368}, {0x4D, 16777216}, {0xEA, 12582912}, {0x4C, 12582912},
    {0xE4, 8388608},  {0xDE, 8388608},  {0x4B, 8388608},  {0x47, 8388608},  {0x4E, 6291456},
    {0x4A, 6291456},  {0xE3, 4194304},  {0xDD, 4194304},  {0xD8, 4194304},  {0x49, 4194304},
    {0x29, 4194304},  {0x46, 4194304},  {0x48, 3145728},  {0xE2, 2097152},  {0xDC, 2097152},
    {0xD7, 2097152},  {0xD2, 2097152},  {0x25, 2097152},  {0x7D, 2097152},  {0x85, 2097152},
    {0x45, 2097152},  {0xD6, 1048576},  {0xD1, 1048576},  {0x23, 1048576},  {0x87, 1048576},
    {0x7C, 1048576},  {0x78, 1048576},  {0x84, 1048576},  {0x44, 1048576},  {0xD0, 524288},
    {0x22, 524288},   {0x7B, 524288},   {0x80, 524288},   {0x86, 524288},   {0x3E, 524288},
    {0x7F, 524288},   {0x83, 524288},   {0x43, 524288},   {0x3D, 393216},   {0x21, 262144},
    {0x7A, 262144},   {0x82, 262144},   {0x3C, 262144},   {0x3F, 262144},   {0x42, 262144},
    {0x3A, 196608},   {0x79, 131072},   {0x39, 131072},   {0x3B, 131072},   {0x41, 131072},
    {0, 0},
};

namespace {

// Packs a size as mantissa << (exponent + 18) with a mantissa below 16,
// taking the largest exponent up to 3 (units of 2 MiB where they fit).
constexpr uint8_t packCacheSize(uint32_t size) {
    for (int exponent = 3; exponent >= 0; --exponent) {
        const uint32_t unit = 1u << (exponent + 18);
        if (size % unit == 0 && size / unit < 16) return uint8_t((size / unit) << 4 | exponent);
    }
    return 0;  // not representable; rejected by a static_assert below
}

constexpr std::array<uint8_t, 2 * kPackedDescriptorRows + 1> packDescriptors() {
    std::array<uint8_t, 2 * kPackedDescriptorRows + 1> packed{};
    for (int i = 0; i < kPackedDescriptorRows; ++i) {
        packed[2 * i] = uint8_t(ownCacheDescriptors[i].descriptor);
        packed[2 * i + 1] = packCacheSize(ownCacheDescriptors[i].sizeBytes);
    }
    return packed;
}

}  // namespace

constexpr std::array<uint8_t, 2 * kPackedDescriptorRows + 1> ownCacheDescriptorsPacked =
    packDescriptors();

static_assert(ownCacheDescriptors[kPackedDescriptorRows - 1].sizeBytes == 524288 &&
                  ownCacheDescriptors[kPackedDescriptorRows].sizeBytes < 524288,
              "the packed rows are those of 512 KiB and more");
static_assert(ownCacheDescriptorsPacked[0] == 0xEC && ownCacheDescriptorsPacked[1] == 0xC3,
              "24 MiB packs as 12 << 21");
static_assert(ownCacheDescriptorsPacked[84] == 0x43 && ownCacheDescriptorsPacked[85] == 0x11,
              "512 KiB packs as 1 << 19");
static_assert([] {
    for (int i = 0; i < kPackedDescriptorRows; ++i)
        if (ownCacheDescriptorsPacked[2 * i + 1] == 0) return false;
    return ownCacheDescriptorsPacked[2 * kPackedDescriptorRows] == 0;
}(), "every size of 512 KiB and more packs into one byte");

namespace {

uint32_t unpackCacheSize(uint8_t packed) { return uint32_t(packed >> 4) << ((packed & 15) + 18); }

bool isGenuineIntel(const CpuidSource& cpu) {
    char vendor[13];
    cpuVendor(cpu, vendor);
    return std::strcmp(vendor, "GenuineIntel") == 0;
}

// The descriptor bytes of leaf 2. Words with bit 31 set carry no
// descriptors, nor do zero words. Byte 0, the low byte of the first word
// gathered, is never compared: for the first result word it is the repeat
// count, so `count` leaves it out and the comparison runs over bytes
// 1..count.
struct Leaf2Bytes {
    uint8_t bytes[16];
    int count;  // 0: leaf 2 unusable or empty

    bool contains(uint32_t descriptor) const {
        for (int i = count; i >= 1; --i)
            if (bytes[i] == descriptor) return true;
        return false;
    }
};

Leaf2Bytes gatherLeaf2(const CpuidSource& cpu) {
    Leaf2Bytes gathered{};
    const CpuidResult r = cpu.query(2, 0);
    if ((r.eax & 0xFF) != 1) return gathered;
    int words = 0;
    for (uint32_t word : {r.eax, r.ebx, r.ecx, r.edx}) {
        if (word == 0 || (word & 0x80000000u)) continue;
        for (int b = 0; b < 4; ++b) gathered.bytes[4 * words + b] = uint8_t(word >> (8 * b));
        gathered.count += words == 0 ? 3 : 4;
        ++words;
    }
    return gathered;
}

// Walks leaf 4, data and unified caches only. The size is the 32-bit product
// and the largest is kept by a signed comparison, as the processor's fields
// can't make a real cache that large.
int32_t largestCacheByLeaf4(const CpuidSource& cpu) {
    int32_t largest = 0;
    for (uint32_t subleaf = 0; subleaf < 32; ++subleaf) {
        const CpuidResult r = cpu.query(4, subleaf);
        const uint32_t type = r.eax & 31;
        if (type == 0) break;
        if (type == 2) continue;  // instruction cache
        const uint32_t lineSize = (r.ebx & 0xFFF) + 1;
        const uint32_t partitions = ((r.ebx >> 12) & 0x3FF) + 1;
        const uint32_t ways = (r.ebx >> 22) + 1;
        const uint32_t sets = r.ecx + 1;
        const auto size = static_cast<int32_t>(ways * partitions * lineSize * sets);
        if (size > largest) largest = size;
    }
    return largest;
}

}  // namespace

CacheQuery queryLargestCache(const CpuidSource& cpu) {
    if (!cpu.available()) return {ippStsNotSupportedCpu, 0};
    const uint32_t highestLeaf = cpu.query(0, 0).eax;
    if (highestLeaf < 2 || !isGenuineIntel(cpu)) return {ippStsNotSupportedCpu, 0};

    if (highestLeaf >= 4) {
        const int32_t largest = largestCacheByLeaf4(cpu);
        if (largest != 0) return {ippStsNoErr, largest};
        return {ippStsUnknownCacheSize, 0};
    }

    const Leaf2Bytes gathered = gatherLeaf2(cpu);
    if (gathered.count > 0) {
        for (const CacheDescriptor* row = ownCacheDescriptors; row->descriptor != 0; ++row)
            if (gathered.contains(row->descriptor))
                return {ippStsNoErr, static_cast<int32_t>(row->sizeBytes)};
    }
    return {ippStsUnknownCacheSize, 0};
}

IppStatus CacheSizeMemo::get(int32_t* pSizeByte) {
    if (pSizeByte == nullptr) return ippStsNullPtrErr;
    IppStatus status = status_.load(std::memory_order_acquire);
    if (status == kNotAsked) {
        // Racing first calls compute and store the same answer, so no lock.
        // The size is stored before the status, so a reader that sees the
        // final status also sees the size that belongs to it.
        const CacheQuery found = queryLargestCache(cpu_);
        size_.store(found.size, std::memory_order_relaxed);
        status_.store(found.status, std::memory_order_release);
        status = found.status;
    }
    *pSizeByte = size_.load(std::memory_order_relaxed);
    return status;
}

IppStatus ippGetMaxCacheSizeB(int32_t* pSizeByte) {
    static CacheSizeMemo memo(hostCpuid());
    return memo.get(pSizeByte);
}

int32_t ownLargestCacheFromDescriptors(const CpuidSource& cpu) {
    if (!cpu.available() || !isGenuineIntel(cpu)) return -1;
    const Leaf2Bytes gathered = gatherLeaf2(cpu);
    if (gathered.count == 0) return -1;
    for (const uint8_t* row = ownCacheDescriptorsPacked.data(); row[0] != 0; row += 2)
        if (gathered.contains(row[0])) return static_cast<int32_t>(unpackCacheSize(row[1]));
    return -1;
}

int32_t hostDescriptorCacheSize() {
    // The copy and clear kernels ask on every call above their gates; the
    // identification instruction is serialising, and very slow under a
    // hypervisor, while its answer can't change. So it is asked once.
    static const int32_t size = ownLargestCacheFromDescriptors(hostCpuid());
    return size;
}

}  // namespace morva
