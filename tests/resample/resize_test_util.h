// Helpers of the resize tests: calling the right kernel for a plane, random
// geometry, and a whole resize checked against the per-pixel model.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "common/testing.h"
#include "kernels/dispatch.h"
#include "resample/resize.h"
#include "resize_reference.h"

namespace morva::testing {

template <class T>
IppStatus runResize(const Plane<T>& src, IppiRect srcRoi, Plane<T>& dst, IppiRect dstRoi,
                    double xFactor, double yFactor, double xShift, double yShift,
                    int32_t interpolation, uint8_t* buffer, const T* srcBase = nullptr,
                    int32_t srcStepSamples = 0) {
    const T* s = srcBase ? srcBase : src.samples.data();
    const int32_t srcStep = int32_t(sizeof(T)) * (srcBase ? srcStepSamples : src.step);
    const int32_t dstStep = int32_t(sizeof(T)) * dst.step;
    const IppiSize size{src.width, src.height};
    T* d = dst.samples.data();
#define MORVA_CALL(kernel) \
    kernel(s, size, srcStep, srcRoi, d, dstStep, dstRoi, xFactor, yFactor, xShift, yShift, interpolation, buffer)
    if constexpr (sizeof(T) == 1) {
        if (src.channels == 1) return MORVA_CALL(ippiResizeSqrPixel_8u_C1R);
        if (src.channels == 3) return MORVA_CALL(ippiResizeSqrPixel_8u_C3R);
        return MORVA_CALL(ippiResizeSqrPixel_8u_C4R);
    } else {
        if (src.channels == 1) return MORVA_CALL(ippiResizeSqrPixel_16u_C1R);
        if (src.channels == 3) return MORVA_CALL(ippiResizeSqrPixel_16u_C3R);
        return MORVA_CALL(ippiResizeSqrPixel_16u_C4R);
    }
#undef MORVA_CALL
}

// A start offset from a 64-byte boundary, 1 to 63 bytes, that keeps
// samples of type T on their natural alignment.
template <class T>
size_t sampleOffset(Rng& rng) {
    return size_t(rng.uniform(0, 63)) & ~(sizeof(T) - 1);
}

template <class T>
void fillRandom(Plane<T>& p, Rng& rng) {
    for (T& v : p.samples) {
        const uint32_t r = rng.next();
        const T top = T(~T(0));
        v = (r & 7) == 0 ? T(0) : ((r & 7) == 1 ? top : T(r >> 8));
    }
}

// The buffer size for a resize, or -1.
inline int32_t bufferSize(IppiRect srcRoi, IppiRect dstRoi, int32_t channels, int32_t interpolation) {
    int32_t size = -1;
    const IppStatus status = ippiResizeGetBufSize(srcRoi, dstRoi, channels, interpolation, &size);
    return status == ippStsNoErr ? size : -1;
}

// One random resize: geometry, sizes and regions.
struct RandomResize {
    int32_t srcWidth, srcHeight, dstWidth, dstHeight;
    IppiRect srcRoi, dstRoi;
    double xFactor, yFactor, xShift, yShift;

    static RandomResize draw(Rng& rng, int32_t maxSize = 40) {
        RandomResize r;
        r.srcWidth = rng.uniform(1, maxSize);
        r.srcHeight = rng.uniform(1, maxSize);
        r.dstWidth = rng.uniform(1, maxSize * 2);
        r.dstHeight = rng.uniform(1, maxSize * 2);
        const int32_t sx = rng.uniform(0, 3) == 0 ? rng.uniform(0, r.srcWidth - 1) : 0;
        const int32_t sy = rng.uniform(0, 3) == 0 ? rng.uniform(0, r.srcHeight - 1) : 0;
        r.srcRoi = {sx, sy, rng.uniform(1, r.srcWidth + 2), rng.uniform(1, r.srcHeight + 2)};
        const int32_t dx = rng.uniform(0, r.dstWidth - 1), dy = rng.uniform(0, r.dstHeight - 1);
        r.dstRoi = {dx, dy, rng.uniform(1, r.dstWidth - dx), rng.uniform(1, r.dstHeight - dy)};
        // Factors from a fifth to four, exact ones now and then.
        const double exact[] = {0.25, 0.5, 1.0, 2.0, 3.0};
        r.xFactor = rng.uniform(0, 3) == 0 ? exact[rng.uniform(0, 4)] : rng.real(0.2, 4.0);
        r.yFactor = rng.uniform(0, 3) == 0 ? exact[rng.uniform(0, 4)] : rng.real(0.2, 4.0);
        // Shifts as the driver sets them (the region's corner), or near it.
        r.xShift = r.dstRoi.x + (rng.uniform(0, 1) ? 0.0 : rng.real(-4.0, 4.0));
        r.yShift = r.dstRoi.y + (rng.uniform(0, 1) ? 0.0 : rng.real(-4.0, 4.0));
        return r;
    }

    std::string describe() const {
        char text[256];
        std::snprintf(text, sizeof text,
                      "src %dx%d roi(%d,%d,%d,%d) dst %dx%d roi(%d,%d,%d,%d) f(%.17g,%.17g) s(%.17g,%.17g)",
                      srcWidth, srcHeight, srcRoi.x, srcRoi.y, srcRoi.width, srcRoi.height,
                      dstWidth, dstHeight, dstRoi.x, dstRoi.y, dstRoi.width, dstRoi.height,
                      xFactor, yFactor, xShift, yShift);
        return text;
    }
};

// Runs one random resize at the present processor slot and compares every
// target sample, the untouched rest of the target and the work buffer's
// margins with the model. True if the resize had anything to write.
template <class T>
bool checkRandomResize(const RandomResize& r, int32_t channels, int32_t interpolation, Rng& rng) {
    SCOPED_TRACE(r.describe() + " channels " + std::to_string(channels));
    Plane<T> src = makePlane<T>(r.srcWidth, r.srcHeight, channels, rng.uniform(0, 5));
    fillRandom(src, rng);
    Plane<T> dst = makePlane<T>(r.dstWidth, r.dstHeight, channels, rng.uniform(0, 5));
    fillRandom(dst, rng);
    Plane<T> expected = dst;

    ResizeGeometry g;
    static const uint8_t anyBuffer = 0;
    const IppStatus check = ownResizeCheck(src.samples.data(), {r.srcWidth, r.srcHeight}, r.srcRoi,
                                           dst.samples.data(), r.dstRoi, r.xFactor, r.yFactor,
                                           r.xShift, r.yShift, interpolation, &anyBuffer, &g);
    if (check == ippStsNoErr) {
        if (interpolation == INTER_NN) referenceNearest(src, g, expected);
        else referenceLinear(src, g, expected);
    }
    const int32_t size = bufferSize(r.srcRoi, r.dstRoi, channels, interpolation);
    EXPECT_GT(size, 0);
    if (size <= 0) return false;
    GuardedBuffer buffer(size_t(size), size_t(rng.uniform(0, 63)));
    const IppStatus status = runResize(src, r.srcRoi, dst, r.dstRoi, r.xFactor, r.yFactor,
                                       r.xShift, r.yShift, interpolation, buffer.data());
    EXPECT_EQ(status, check);
    EXPECT_TRUE(buffer.marginsIntact());
    EXPECT_EQ(dst.samples, expected.samples);
    return check == ippStsNoErr;
}

// Restores the processor slot and thread count of the process on exit.
class ResizeSettingsGuard {
public:
    ResizeSettingsGuard() : slot_(currentCpuSlot()), threads_(ippGetNumThreads()) {}
    ~ResizeSettingsGuard() {
        setCpuSlot(slot_);
        setNumThreads(threads_);
    }

private:
    int slot_;
    int threads_;
};

}  // namespace morva::testing
