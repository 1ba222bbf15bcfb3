// Support of the resize tests: planes of samples, calls of the resize
// kernels with guarded work buffers, random geometry, and the loop that runs
// every vector form of a kernel table against its scalar definition.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "common/testing.h"
#include "kernels/dispatch.h"
#include "morva.h"
#include "resample/resize.h"
#include "resample/resize_work_size.h"

namespace morva::testing {

constexpr int32_t kAntialias = RESIZE_ANTIALIASING;

// A plane of samples with its own row step (in samples).
template <class T>
struct Plane {
    int32_t width = 0, height = 0, channels = 1, step = 0;
    std::vector<T> samples;
    T* row(int32_t y) { return samples.data() + ptrdiff_t(y) * step; }
    const T* row(int32_t y) const { return samples.data() + ptrdiff_t(y) * step; }
    T& at(int32_t x, int32_t y, int32_t c) { return row(y)[x * channels + c]; }
    const T& at(int32_t x, int32_t y, int32_t c) const { return row(y)[x * channels + c]; }
    IppiRect whole() const { return {0, 0, width, height}; }
};

template <class T>
Plane<T> makePlane(int32_t width, int32_t height, int32_t channels, int32_t padding = 0, T value = 0) {
    Plane<T> p{width, height, channels, width * channels + padding, {}};
    p.samples.assign(size_t(p.step) * height, value);
    return p;
}

// Random samples, a quarter of them 0 or the maximum, which reach saturation.
template <class T>
void fillRandom(Plane<T>& p, Rng& rng) {
    for (T& v : p.samples) {
        const uint32_t r = rng.next();
        v = (r & 7) == 0 ? T(0) : ((r & 7) == 1 ? T(~T(0)) : T(r >> 8));
    }
}

// The same picture stored bottom row first.
template <class T>
Plane<T> upsideDown(const Plane<T>& p) {
    Plane<T> flipped = p;
    for (int32_t y = 0; y < p.height; ++y)
        std::copy(p.row(y), p.row(y) + p.step, flipped.row(p.height - 1 - y));
    return flipped;
}

// A byte offset from a 64-byte boundary that keeps samples of T aligned.
template <class T>
size_t sampleOffset(Rng& rng) {
    return size_t(rng.uniform(0, 63)) & ~(sizeof(T) - 1);
}

template <class T>
IppStatus runResize(const T* s, IppiSize size, int32_t srcStep, IppiRect srcRoi, Plane<T>& dst, IppiRect dstRoi,
                    double xFactor, double yFactor, double xShift, double yShift, int32_t interpolation,
                    uint8_t* buffer) {
    const int32_t channels = dst.channels, dstStep = int32_t(sizeof(T)) * dst.step;
    T* d = dst.samples.empty() ? nullptr : dst.samples.data();
#define MORVA_CALL(kernel) \
    kernel(s, size, srcStep, srcRoi, d, dstStep, dstRoi, xFactor, yFactor, xShift, yShift, interpolation, buffer)
    if constexpr (sizeof(T) == 1) {
        if (channels == 1) return MORVA_CALL(ippiResizeSqrPixel_8u_C1R);
        if (channels == 3) return MORVA_CALL(ippiResizeSqrPixel_8u_C3R);
        return MORVA_CALL(ippiResizeSqrPixel_8u_C4R);
    } else {
        if (channels == 1) return MORVA_CALL(ippiResizeSqrPixel_16u_C1R);
        if (channels == 3) return MORVA_CALL(ippiResizeSqrPixel_16u_C3R);
        return MORVA_CALL(ippiResizeSqrPixel_16u_C4R);
    }
#undef MORVA_CALL
}

// The size query's answer, or -1.
inline int32_t bufferSize(IppiRect srcRoi, IppiRect dstRoi, int32_t channels, int32_t interpolation) {
    int32_t size = -1;
    const IppStatus status = ippiResizeGetBufSize(srcRoi, dstRoi, channels, interpolation, &size);
    return status == ippStsNoErr ? size : -1;
}

// The status, and whether no byte of the work buffer's margins changed.
struct PathRun { IppStatus status; bool bufferIntact; };

// One resize with a work buffer of the bytes it really needs (the size
// query's answer but where super-sampling or antialiasing need more), placed
// `misalignment` bytes from a 64-byte boundary between sentinel margins.
// With `flipped`, src holds the picture bottom row first and is read from its
// last row with a negative step.
template <class T>
PathRun resizeGuarded(const Plane<T>& src, IppiRect srcRoi, Plane<T>& dst, IppiRect dstRoi, double xFactor,
                      double yFactor, double xShift, double yShift, int32_t interpolation, size_t misalignment = 0,
                      bool flipped = false) {
    const IppiSize size{src.width, src.height};
    const int64_t bytes =
        resizeWorkSize(size, srcRoi, dstRoi, src.channels, xFactor, yFactor, xShift, yShift, interpolation);
    GuardedBuffer buffer(size_t(std::max<int64_t>(bytes, 1)), misalignment);
    const int32_t step = int32_t(sizeof(T)) * src.step;
    const IppStatus status = runResize(flipped ? src.row(src.height - 1) : src.row(0), size, flipped ? -step : step,
                                       srcRoi, dst, dstRoi, xFactor, yFactor, xShift, yShift, interpolation,
                                       buffer.data());
    return {status, buffer.marginsIntact()};
}

// The whole source resized into a new target of the given size, which must
// succeed.
template <class T>
Plane<T> resized(const Plane<T>& src, int32_t width, int32_t height, double xFactor, double yFactor, double xShift,
                 double yShift, int32_t interpolation, T background = 0) {
    Plane<T> dst = makePlane<T>(width, height, src.channels, 0, background);
    const PathRun run =
        resizeGuarded(src, src.whole(), dst, dst.whole(), xFactor, yFactor, xShift, yShift, interpolation);
    EXPECT_EQ(run.status, ippStsNoErr);
    EXPECT_TRUE(run.bufferIntact);
    return dst;
}

// The geometry that the kernel works out for these arguments.
inline IppStatus geometryOf(IppiSize srcSize, IppiRect srcRoi, IppiRect dstRoi, double xFactor, double yFactor,
                            double xShift, double yShift, int32_t interpolation, ResizeGeometry& g) {
    static const uint8_t any = 0;
    return ownResizeCheck(&any, srcSize, srcRoi, &any, dstRoi, xFactor, yFactor, xShift, yShift, interpolation,
                          &any, &g);
}

// `outside` with the pixels of columns x0 .. x0 + width - 1 of rows y0 ..
// y0 + height - 1 taken from `inside`.
template <class T>
Plane<T> within(Plane<T> outside, const Plane<T>& inside, int32_t x0, int32_t y0, int32_t width, int32_t height) {
    for (int32_t y = y0; y < y0 + height; ++y)
        std::copy_n(inside.row(y) + x0 * inside.channels, width * inside.channels, outside.row(y) + x0 * outside.channels);
    return outside;
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
        // Factors from a fifth to four, half of them exact, where positions
        // fall on whole pixels and on the rims' bounds.
        const double exact[] = {0.25, 0.5, 1.0, 2.0, 3.0};
        r.xFactor = rng.uniform(0, 1) ? exact[rng.uniform(0, 4)] : rng.real(0.2, 4.0);
        r.yFactor = rng.uniform(0, 1) ? exact[rng.uniform(0, 4)] : rng.real(0.2, 4.0);
        // Shifts as the driver sets them (the region's corner), or near it.
        r.xShift = r.dstRoi.x + (rng.uniform(0, 1) ? 0.0 : rng.real(-4.0, 4.0));
        r.yShift = r.dstRoi.y + (rng.uniform(0, 1) ? 0.0 : rng.real(-4.0, 4.0));
        return r;
    }

    std::string describe() const {
        char text[256];
        std::snprintf(text, sizeof text,
                      "src %dx%d roi(%d,%d,%d,%d) dst %dx%d roi(%d,%d,%d,%d) f(%.17g,%.17g) s(%.17g,%.17g)",
                      srcWidth, srcHeight, srcRoi.x, srcRoi.y, srcRoi.width, srcRoi.height, dstWidth,
                      dstHeight, dstRoi.x, dstRoi.y, dstRoi.width, dstRoi.height, xFactor, yFactor,
                      xShift, yShift);
        return text;
    }
};

// Restores the processor slot and thread count of the process on exit.
struct ResizeSettingsGuard {
    int slot = currentCpuSlot(), threads = ippGetNumThreads();
    ~ResizeSettingsGuard() { setCpuSlot(slot); setNumThreads(threads); }
};

// `count` random samples, extremes among them, 0 to 63 bytes into an
// allocation that ends with them, so that a sanitizer sees a read past them.
template <class T>
struct RandomRow {
    std::vector<T> storage;
    size_t pad;
    RandomRow(Rng& rng, size_t count) : storage(sampleOffset<T>(rng) / sizeof(T) + count), pad(storage.size() - count) {
        rng.fillWithExtremes(reinterpret_cast<uint8_t*>(storage.data() + pad), count * sizeof(T));
    }
    const T* data() const { return storage.data() + pad; }
};

template <class V>
std::vector<uint8_t> bytesOf(const std::vector<V>& v) {
    const uint8_t* p = reinterpret_cast<const uint8_t*>(v.data());
    return {p, p + v.size() * sizeof(V)};
}

// Every vector form of `table` that this processor runs, against the scalar
// definition, at every width of testWidths(maxWidth). draw(rng, width) gives
// one case: the starting bytes of the output (for kernels that work in
// place or add to it) and run(fn, out), which calls a form on the case's
// inputs. Both outputs lie between sentinel margins, the form's at a random
// offset that keeps `alignment`; every byte and both margins must agree.
template <class Fn, class Draw>
void checkForms(const KernelTable<Fn>& table, Draw draw, int32_t maxWidth = 70, size_t alignment = 1) {
    MORVA_SEED_TRACE();
    Rng rng{uint32_t(maxWidth)};
    forEachVectorForm(table, [&](const KernelForm<Fn>& form) {
        for (int32_t width : testWidths(maxWidth)) {
            auto [start, run] = draw(rng, width);
            GuardedBuffer expected(start.size()), actual(start.size(), size_t(rng.uniform(0, 63)) & ~(alignment - 1));
            std::copy(start.begin(), start.end(), expected.data());
            std::copy(start.begin(), start.end(), actual.data());
            run(table.scalar(), expected.data());
            run(form.fn, actual.data());
            ASSERT_EQ(actual.bytes(), expected.bytes()) << "width " << width;
            ASSERT_TRUE(actual.marginsIntact()) << "width " << width;
        }
    });
}

}  // namespace morva::testing
