// Helpers of the super-sampling, antialiasing and edge tests: a resize with a
// guarded work buffer of the size the resize really needs, and planes of one
// value.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>

#include "common/testing.h"
#include "resample/resize_work_size.h"
#include "resize_test_util.h"

namespace morva::testing {

template <class T>
IppiRect wholeOf(const Plane<T>& p) {
    return {0, 0, p.width, p.height};
}

template <class T>
Plane<T> flatPlane(int32_t width, int32_t height, int32_t channels, T value, int32_t padding = 0) {
    Plane<T> p = makePlane<T>(width, height, channels, padding);
    std::fill(p.samples.begin(), p.samples.end(), value);
    return p;
}

struct PathRun {
    IppStatus status;
    bool bufferIntact;  // no byte of the work buffer's margins changed
};

// One resize with a work buffer of resizeWorkSize's bytes, placed
// `misalignment` bytes from a 64-byte boundary between sentinel margins.
template <class T>
PathRun resizeGuarded(const Plane<T>& src, IppiRect srcRoi, Plane<T>& dst, IppiRect dstRoi,
                      double xFactor, double yFactor, double xShift, double yShift,
                      int32_t interpolation, size_t misalignment = 0) {
    const int64_t size = resizeWorkSize({src.width, src.height}, srcRoi, dstRoi, src.channels,
                                        xFactor, yFactor, xShift, yShift, interpolation);
    GuardedBuffer buffer(size_t(std::max<int64_t>(size, 1)), misalignment);
    const IppStatus status = runResize(src, srcRoi, dst, dstRoi, xFactor, yFactor, xShift, yShift,
                                       interpolation, buffer.data());
    return {status, buffer.marginsIntact()};
}

// The geometry that the kernel works out for these arguments.
template <class T>
ResizeGeometry geometryOf(const Plane<T>& src, IppiRect srcRoi, IppiRect dstRoi, double xFactor,
                          double yFactor, double xShift, double yShift, int32_t interpolation,
                          IppStatus* status = nullptr) {
    static const uint8_t anyPixel = 0;
    ResizeGeometry g;
    const IppStatus s = ownResizeCheck(&anyPixel, {src.width, src.height}, srcRoi, &anyPixel, dstRoi,
                                       xFactor, yFactor, xShift, yShift, interpolation, &anyPixel, &g);
    if (status) *status = s;
    return g;
}

// True if every sample of `after` outside the columns x0 .. x0 + width - 1
// of rows y0 .. y0 + height - 1 equals `before`.
template <class T>
bool untouchedOutside(const Plane<T>& before, const Plane<T>& after, int32_t x0, int32_t y0,
                      int32_t width, int32_t height) {
    for (int32_t y = 0; y < after.height; ++y)
        for (int32_t i = 0; i < after.step; ++i) {
            const int32_t x = i / after.channels;
            const bool inside =
                y >= y0 && y < y0 + height && x >= x0 && x < x0 + width && i < after.width * after.channels;
            if (!inside && after.row(y)[i] != before.row(y)[i]) return false;
        }
    return true;
}

// One random resize through a path of its own: the same bytes at slot 0 and
// the highest slot, nothing written outside the computed rectangle or the
// work buffer, nothing at all after a refusal, and a flat source stays flat.
// True if the resize had anything to write.
template <class T>
bool checkRandomPath(const RandomResize& r, int32_t channels, int32_t interpolation, Rng& rng) {
    SCOPED_TRACE(r.describe() + " channels " + std::to_string(channels) + " interpolation " +
                 std::to_string(interpolation));
    Plane<T> src = makePlane<T>(r.srcWidth, r.srcHeight, channels, rng.uniform(0, 3));
    fillRandom(src, rng);
    Plane<T> background = makePlane<T>(r.dstWidth, r.dstHeight, channels, rng.uniform(0, 3));
    fillRandom(background, rng);
    IppStatus check;
    const ResizeGeometry g =
        geometryOf(src, r.srcRoi, r.dstRoi, r.xFactor, r.yFactor, r.xShift, r.yShift, interpolation, &check);
    std::vector<T> first;
    for (int slot : {0, highestCpuSlot()}) {
        setCpuSlot(slot);
        Plane<T> dst = background;
        const PathRun run = resizeGuarded(src, r.srcRoi, dst, r.dstRoi, r.xFactor, r.yFactor, r.xShift,
                                          r.yShift, interpolation, size_t(rng.uniform(0, 63)));
        EXPECT_EQ(run.status, check);
        EXPECT_TRUE(run.bufferIntact);
        if (check != ippStsNoErr) {
            EXPECT_EQ(dst.samples, background.samples);
            return false;
        }
        EXPECT_TRUE(untouchedOutside(background, dst, g.x0, g.y0, g.width, g.height));
        if (first.empty()) first = dst.samples;
        EXPECT_EQ(dst.samples, first) << "slot " << slot;
    }
    const T value = T(rng.next());
    const Plane<T> flat = flatPlane<T>(r.srcWidth, r.srcHeight, channels, value);
    Plane<T> dst = background;
    resizeGuarded(flat, r.srcRoi, dst, r.dstRoi, r.xFactor, r.yFactor, r.xShift, r.yShift, interpolation);
    for (int32_t y = g.y0; y < g.y0 + g.height; ++y)
        for (int32_t x = g.x0; x < g.x0 + g.width; ++x)
            for (int32_t c = 0; c < channels; ++c)
                if (dst.at(x, y, c) != value) {
                    ADD_FAILURE() << "flat " << value << " gives " << dst.at(x, y, c) << " at " << x << "," << y;
                    return true;
                }
    return true;
}

}  // namespace morva::testing
