// Truncating conversion and the floating-point control operations.
#include <gtest/gtest.h>

#include <limits>

#include "kernels/frame.h"

namespace morva {
namespace {

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

TEST(FloatingPointControl, MaskedLoadsAndDefault) {
    const uint32_t mxcsr = ownSetDefaultMxcsr();
    EXPECT_EQ(ownGetMxcsr() & ~0x3Fu, 0x1F80u);  // status flags aside
    EXPECT_EQ(ownSetMxcsrMasked(0x6000, 0x6000) & ~0x3Fu, 0x1F80u);
    volatile float third = 1.0f;
    third = third / 3.0f;
    EXPECT_LT(double(third) * 3.0, 1.0) << "rounding toward zero";
    ownSetMxcsrMasked(mxcsr, 0xFFFFFFFF);
    EXPECT_EQ(ownGetMxcsr() & ~0x3Fu, mxcsr & ~0x3Fu);

    const uint32_t control = ownGetFpuControl();
    EXPECT_EQ(ownSetFpuControlMasked(0x0C00, 0x0C00), control);
    EXPECT_EQ(ownGetFpuControl(), control | 0x0C00);
    ownSetFpuControlMasked(control, 0xFFFF);
    EXPECT_EQ(ownGetFpuControl(), control);
}

TEST(FloatingPointControl, FpuStatusReportsAndClearsExceptions) {
    ownClearFpuStatus();
    EXPECT_EQ(ownFloatToInt32Trunc(1e20L), kIndefinite);  // raises the masked invalid flag
    EXPECT_EQ(ownClearFpuStatus() & 1, 1u);
    EXPECT_EQ(ownGetFpuStatus() & 0x3F, 0u);
}

#endif

}  // namespace
}  // namespace morva
