// Nearest neighbour: selection rules on worked cases, every vector form of
// the row lookup against the scalar definition, and whole resizes against
// the per-pixel model.
#include <gtest/gtest.h>

#include <vector>

#include "common/testing.h"
#include "resample/nearest.h"
#include "resize_test_util.h"

namespace morva::testing {
namespace {

struct Selection {
    double factor;
    int32_t srcLength;
    std::vector<int32_t> picked;  // source index of each target index
};

class NearestSelection : public ::testing::TestWithParam<Selection> {};

// Rows and columns select alike: target (x, y) holds source (picked[x], picked[y]).
TEST_P(NearestSelection, PicksTheExpectedPixels) {
    const Selection& s = GetParam();
    const int32_t n = int32_t(s.picked.size());
    for (int32_t channels : {1, 3}) {
        Plane<uint8_t> src = makePlane<uint8_t>(s.srcLength, s.srcLength, channels);
        for (int32_t y = 0; y < s.srcLength; ++y)
            for (int32_t x = 0; x < s.srcLength; ++x)
                for (int32_t c = 0; c < channels; ++c) src.at(x, y, c) = uint8_t(x + 16 * y + 7 * c);
        Plane<uint8_t> dst = makePlane<uint8_t>(n, n, channels);
        std::vector<uint8_t> buffer(size_t(bufferSize({0, 0, s.srcLength, s.srcLength}, {0, 0, n, n}, channels, INTER_NN)));
        ASSERT_EQ(runResize(src, {0, 0, s.srcLength, s.srcLength}, dst, {0, 0, n, n}, s.factor,
                            s.factor, 0.0, 0.0, INTER_NN, buffer.data()),
                  ippStsNoErr);
        for (int32_t y = 0; y < n; ++y)
            for (int32_t x = 0; x < n; ++x)
                for (int32_t c = 0; c < channels; ++c)
                    ASSERT_EQ(dst.at(x, y, c), src.at(s.picked[x], s.picked[y], c)) << x << "," << y;
    }
}

INSTANTIATE_TEST_SUITE_P(
    WorkedCases, NearestSelection,
    ::testing::Values(Selection{0.5, 8, {0, 2, 4, 6}},              // ties go to the lower pixel
                      Selection{1.0 / 3.0, 9, {1, 4, 7}},           // 3x + 1.5, no tie
                      Selection{0.25, 16, {1, 5, 9, 13}},           // (x + 0.5) * 4 - 1e-10
                      Selection{2.0, 4, {0, 0, 1, 1, 2, 2, 3, 3}},  // each pixel twice
                      Selection{1.0, 5, {0, 1, 2, 3, 4}},           // identity
                      Selection{5.0, 1, {0, 0, 0, 0, 0}}));         // 1x1 fills the target

// Every vector form of a row lookup against the scalar definition: random
// indices anywhere in the row (the last pixel too), unaligned rows, and the
// bytes around the written row untouched.
template <class T>
void checkLookupForms(const KernelTable<NearestRowFn<T>>& table, int32_t channels) {
    MORVA_SEED_TRACE();
    Rng rng(uint32_t(channels * 31 + sizeof(T)));
    forEachVectorForm(table, [&](const KernelForm<NearestRowFn<T>>& form) {
        for (int32_t width : testWidths()) {
            const int32_t srcWidth = rng.uniform(1, 300);
            std::vector<int32_t> columns(static_cast<size_t>(width));
            for (int32_t& c : columns) c = rng.uniform(0, srcWidth - 1) * channels;
            if (width > 2) columns.back() = (srcWidth - 1) * channels;
            GuardedBuffer src(size_t(srcWidth) * channels * sizeof(T), sampleOffset<T>(rng));
            rng.fillWithExtremes(src.data(), src.size());
            const size_t outBytes = size_t(width) * channels * sizeof(T);
            GuardedBuffer expected(outBytes), actual(outBytes, sampleOffset<T>(rng));
            const T* s = reinterpret_cast<const T*>(src.data());
            table.scalar()(s, srcWidth, columns.data(), reinterpret_cast<T*>(expected.data()), width);
            form.fn(s, srcWidth, columns.data(), reinterpret_cast<T*>(actual.data()), width);
            ASSERT_EQ(actual.bytes(), expected.bytes()) << "width " << width;
            ASSERT_TRUE(actual.marginsIntact()) << "width " << width;
        }
    });
}

TEST(NearestForms, RowLookupMatchesScalar) {
    for (int32_t channels : {1, 3, 4}) {
        SCOPED_TRACE("channels " + std::to_string(channels));
        checkLookupForms(nearestRow8uTable(channels), channels);
        checkLookupForms(nearestRow16uTable(channels), channels);
    }
}

// Random sizes, factors, shifts and regions, at the lowest and the highest
// processor slot, against the model.
TEST(NearestResize, RandomGeometryMatchesModel) {
    MORVA_SEED_TRACE();
    ResizeSettingsGuard restore;
    Rng rng(101);
    for (int slot : {0, highestCpuSlot()}) {
        setCpuSlot(slot);
        SCOPED_TRACE("slot " + std::to_string(slot));
        int written = 0;
        for (int n = 0; n < 120 && !::testing::Test::HasFailure(); ++n) {
            const RandomResize r = RandomResize::draw(rng);
            constexpr int32_t kChannels[] = {1, 3, 4};
            const int32_t channels = kChannels[n % 3];
            written += n % 2 ? checkRandomResize<uint8_t>(r, channels, INTER_NN, rng)
                             : checkRandomResize<uint16_t>(r, channels, INTER_NN, rng);
        }
        EXPECT_GT(written, 60);
    }
}

}  // namespace
}  // namespace morva::testing
