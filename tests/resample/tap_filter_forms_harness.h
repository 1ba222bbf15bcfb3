// Checks shared by the cubic and Lanczos tests: every vector form of the row
// kernels and blends against the scalar definition, and whole resizes that
// must not depend on bands or on the sign of the source step.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "common/testing.h"
#include "kernels/dispatch.h"
#include "resample/tap_filter.h"
#include "resize_test_util.h"

namespace morva::testing {

// The lowest slot and the highest this processor runs.
inline std::vector<int> testSlots() {
    std::vector<int> slots = {0};
    if (highestCpuSlot() != 0) slots.push_back(highestCpuSlot());
    return slots;
}

// Byte offset from a 64-byte boundary that keeps samples of T aligned.
template <class T>
size_t naturalOffset(Rng& rng) {
    return size_t(rng.uniform(0, 63)) & ~(sizeof(T) - 1);
}

template <class T>
T randomSample(Rng& rng) {
    const uint32_t r = rng.next();
    return (r & 7) == 0 ? T(0) : ((r & 7) == 1 ? T(~T(0)) : T(r >> 8));
}

// Random interior columns (all Taps taps inside the row; the first and the
// last column reach its two ends) and coefficients of random fractions, some
// of them 0. The row ends its allocation, so that a sanitizer catches a read
// past it; the output's margins must stay as they were.
template <class T, int Taps, class Coefficients>
void checkTapRowForms(const KernelTable<TapRowFn<T>>& table, int32_t channels,
                      Coefficients coefficients) {
    constexpr int32_t kAbove = Taps / 2 - 1, kBelow = Taps / 2;
    Rng rng(uint32_t(channels * 31 + sizeof(T) * 7 + Taps));
    forEachVectorForm(table, [&](const KernelForm<TapRowFn<T>>& form) {
        for (int32_t width : testWidths()) {
            const int32_t srcWidth = rng.uniform(Taps, 300);
            std::vector<int32_t> columns(static_cast<size_t>(width));
            for (int32_t& c : columns) c = rng.uniform(kAbove, srcWidth - kBelow - 1) * channels;
            columns.front() = kAbove * channels;
            if (width > 1) columns.back() = (srcWidth - kBelow - 1) * channels;
            std::vector<float> c(Taps * size_t(width));
            for (int32_t j = 0; j < width; ++j)
                coefficients(rng.uniform(0, 3) == 0 ? 0.0f : float(rng.real(0.0, 1.0)),
                             &c[size_t(Taps) * j]);
            const size_t pad = naturalOffset<T>(rng) / sizeof(T);
            std::vector<T> storage(pad + size_t(srcWidth) * channels);
            for (T& v : storage) v = randomSample<T>(rng);
            const T* row = storage.data() + pad;
            const size_t outBytes = size_t(width) * channels * sizeof(float);
            GuardedBuffer expected(outBytes), actual(outBytes, naturalOffset<float>(rng));
            table.scalar()(row, columns.data(), c.data(), reinterpret_cast<float*>(expected.data()),
                           width);
            form.fn(row, columns.data(), c.data(), reinterpret_cast<float*>(actual.data()), width);
            ASSERT_EQ(actual.bytes(), expected.bytes()) << "width " << width;
            ASSERT_TRUE(actual.marginsIntact()) << "width " << width;
        }
    });
}

// Cached rows of whole numbers, halves (where the rounding decides), values
// beyond both ends (where the saturation decides) and the extremes; the
// coefficients of random fractions, or one tap alone so that halves reach the
// rounding as they are.
template <class T, int Taps, class Coefficients>
void checkTapBlendForms(const KernelTable<TapBlendFn<T>>& table, Coefficients coefficients) {
    constexpr float kTop = sizeof(T) == 1 ? 255.0f : 65535.0f;
    Rng rng(uint32_t(sizeof(T) * 5 + Taps));
    const auto draw = [&]() {
        switch (rng.uniform(0, 4)) {
        case 0: return rng.uniform(0, 1) ? 0.0f : kTop;
        case 1: return float(rng.uniform(-3, int(kTop) + 3)) + 0.5f;
        case 2: return float(rng.uniform(0, int(kTop)));
        default: return float(rng.real(-0.3 * kTop, 1.3 * kTop));
        }
    };
    forEachVectorForm(table, [&](const KernelForm<TapBlendFn<T>>& form) {
        for (int32_t count : testWidths(140)) {
            std::vector<float> rows[Taps];
            const float* pointers[Taps];
            for (int t = 0; t < Taps; ++t) {
                for (int32_t i = 0; i < count; ++i) rows[t].push_back(draw());
                pointers[t] = rows[t].data();
            }
            float c[Taps] = {};
            if (rng.uniform(0, 2) == 0)
                c[rng.uniform(0, Taps - 1)] = 1.0f;
            else
                coefficients(float(rng.real(0.0, 1.0)), c);
            const size_t outBytes = size_t(count) * sizeof(T);
            GuardedBuffer expected(outBytes), actual(outBytes, naturalOffset<T>(rng));
            table.scalar()(pointers, c, reinterpret_cast<T*>(expected.data()), count);
            form.fn(pointers, c, reinterpret_cast<T*>(actual.data()), count);
            ASSERT_EQ(actual.bytes(), expected.bytes()) << "count " << count;
            ASSERT_TRUE(actual.marginsIntact()) << "count " << count;
        }
    });
}

// The target of a resize is the same whether the rows go in one band or in
// two, and whether the source is read top down or, stored upside down, with a
// negative step: the ring of cached rows then steps backwards.
template <class T>
void checkBandsAndNegativeStep(int32_t id, int32_t channels) {
    SCOPED_TRACE("id " + std::to_string(id) + " channels " + std::to_string(channels));
    ResizeSettingsGuard restore;
    Rng rng(uint32_t(id * 3 + channels));
    Plane<T> src = makePlane<T>(70, 60, channels, 2);
    fillRandom(src, rng);
    Plane<T> upsideDown = src;
    for (int32_t y = 0; y < src.height; ++y)
        std::memcpy(upsideDown.row(src.height - 1 - y), src.row(y), sizeof(T) * size_t(src.step));
    for (const auto& [xFactor, yFactor] : {std::pair{1.3, 1.2}, std::pair{2.1, 0.37}}) {
        SCOPED_TRACE("factors " + std::to_string(xFactor) + " " + std::to_string(yFactor));
        const int32_t w = int32_t(70 * xFactor), h = int32_t(60 * yFactor);
        const IppiRect srcRoi{0, 0, 70, 60}, dstRoi{0, 0, w, h};
        const auto resize = [&](int threads, bool negative) {
            setNumThreads(threads);
            Plane<T> dst = makePlane<T>(w, h, channels);
            std::vector<uint8_t> buffer(size_t(bufferSize(srcRoi, dstRoi, channels, id)));
            const IppStatus status =
                negative ? runResize(src, srcRoi, dst, dstRoi, xFactor, yFactor, 0.0, 0.0, id,
                                     buffer.data(), upsideDown.row(src.height - 1), -src.step)
                         : runResize(src, srcRoi, dst, dstRoi, xFactor, yFactor, 0.0, 0.0, id,
                                     buffer.data());
            EXPECT_EQ(status, ippStsNoErr);
            return dst.samples;
        };
        const std::vector<T> whole = resize(1, false);
        EXPECT_EQ(resize(2, false), whole) << "two bands";
        EXPECT_EQ(resize(1, true), whole) << "negative step";
    }
}

}  // namespace morva::testing
