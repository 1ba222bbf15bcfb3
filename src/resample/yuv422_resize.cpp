// The packed 4:2:2 resize: its checks and extents, and the nearest
// neighbour, linear and cubic methods. Super-sampling is in
// yuv422_super.cpp, the tables in yuv422_tables.cpp, the pixel passes in
// yuv422_passes.cpp and x86/.
#include "resample/yuv422_resize.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "morva.h"
#include "resample/yuv422_kernels.h"
#include "resample/yuv422_tables.h"
#include "resample/work_block.h"

namespace morva {
namespace {

constexpr double kEpsilon = 1e-7;

bool isOdd(int32_t value) { return (value & 1) != 0; }

// Target samples (across) or rows (down) that `samples` of the region cover
// at this factor, held at `limit`. A scaled size below `minimum` counts as
// `minimum` from `threshold` on; below that there is nothing to do (0).
int32_t scaledExtent(int32_t samples, double factor, int32_t limit, int32_t minimum,
                     double threshold) {
    const double scaled = samples * factor + kEpsilon;
    if (scaled >= limit) return limit;
    const int32_t n = static_cast<int32_t>(scaled);
    if (n >= minimum) return n;
    return scaled < threshold ? 0 : minimum;
}

bool isAcceptedMethod(int32_t interpolation) {
    return interpolation == INTER_NN || interpolation == INTER_LINEAR ||
           interpolation == INTER_CUBIC || interpolation == INTER_SUPER;
}

// Keeps the passed forms of N source rows, so that a source row is passed
// once however many target rows use it. When the window moves on, only the
// rows that are new are passed, into the buffers that fell out of it.
template <class T, int N>
class RowRing {
public:
    explicit RowRing(T* const (&buffers)[N]) {
        for (int s = 0; s < N; ++s) {
            buffers_[s] = buffers[s];
            rows_[s] = kNoRow;
        }
    }

    // Sets held[r] to the passed form of source row first + r.
    template <class Pass>
    void hold(int64_t first, Pass&& pass, const T* (&held)[N]) {
        int slotOf[N];
        bool inWindow[N] = {};
        for (int r = 0; r < N; ++r) {
            slotOf[r] = -1;
            for (int s = 0; s < N; ++s)
                if (rows_[s] == first + r) {
                    slotOf[r] = s;
                    inWindow[s] = true;
                }
        }
        for (int r = 0; r < N; ++r) {
            if (slotOf[r] >= 0) continue;
            int s = 0;
            while (inWindow[s]) ++s;
            pass(first + r, buffers_[s]);
            rows_[s] = first + r;
            inWindow[s] = true;
            slotOf[r] = s;
        }
        for (int r = 0; r < N; ++r) held[r] = buffers_[slotOf[r]];
    }

private:
    static constexpr int64_t kNoRow = INT64_MIN;
    T* buffers_[N];
    int64_t rows_[N];
};

const uint8_t* sourceRow(const Yuv422Geometry& g, int64_t row) { return g.src + row * g.srcStep; }
uint8_t* targetRow(const Yuv422Geometry& g, int32_t row) { return g.dst + row * g.dstStep; }

void nearestRow(const uint8_t* row, const int32_t* luma, const int32_t* chroma,
                int32_t macroPixels, uint8_t* out) {
    for (int32_t p = 0; p < macroPixels; ++p) {
        const uint8_t* uv = row + 4 * ptrdiff_t(chroma[p]);
        uint8_t* o = out + 4 * ptrdiff_t(p);
        o[0] = row[2 * ptrdiff_t(luma[2 * p])];
        o[1] = uv[1];
        o[2] = row[2 * ptrdiff_t(luma[2 * p + 1])];
        o[3] = uv[3];
    }
}

IppStatus resizeNearest(const Yuv422Geometry& g) {
    const int64_t macroPixels = g.macroPixels;
    bool ok = true;
    WorkBlock<int32_t> rows(g.rows, ok), luma(2 * macroPixels, ok), chroma(macroPixels, ok);
    if (!ok) return ippStsMemAllocErr;
    buildNearestTables(g, {rows.get(), luma.get(), chroma.get()});

    const ptrdiff_t rowBytes = 4 * macroPixels;
    // A target row from the same source row as the one above is a copy of it,
    // where the two don't overlap.
    const bool copyRepeats = g.dstStep >= rowBytes || g.dstStep <= -rowBytes;
    for (int32_t i = 0; i < g.rows; ++i) {
        uint8_t* out = targetRow(g, i);
        if (copyRepeats && i > 0 && rows.get()[i] == rows.get()[i - 1])
            std::memcpy(out, out - g.dstStep, size_t(rowBytes));
        else
            nearestRow(sourceRow(g, rows.get()[i]), luma.get(), chroma.get(), g.macroPixels, out);
    }
    return ippStsNoErr;
}

IppStatus resizeLinear(const Yuv422Geometry& g, const Yuv422Passes& passes) {
    const int64_t macroPixels = g.macroPixels;
    const int64_t samples = 4 * macroPixels;
    bool ok = true;
    WorkBlock<int32_t> rows(g.rows, ok);
    WorkBlock<int16_t> rowWeights(g.rows, ok);
    WorkBlock<int32_t> luma(2 * macroPixels, ok), chroma(macroPixels, ok);
    WorkBlock<int16_t> weights(2 * samples, ok);
    WorkBlock<int16_t> set0(samples, ok), set1(samples, ok);
    if (!ok) return ippStsMemAllocErr;
    buildLinearTables(g, {rows.get(), rowWeights.get(), luma.get(), chroma.get(), weights.get()});

    const Yuv422LinearColumns columns{luma.get(), chroma.get(), weights.get(), g.macroPixels};
    int16_t* const sets[2] = {set0.get(), set1.get()};
    RowRing<int16_t, 2> ring(sets);
    const auto pass = [&](int64_t row, int16_t* out) {
        passes.linearRow(sourceRow(g, row), columns, out);
    };
    for (int32_t i = 0; i < g.rows; ++i) {
        const int16_t* held[2];
        ring.hold(rows.get()[i], pass, held);
        passes.linearBlend(held[0], held[1], rowWeights.get()[i], targetRow(g, i),
                           static_cast<int32_t>(samples));
    }
    return ippStsNoErr;
}

IppStatus resizeCubic(const Yuv422Geometry& g, const Yuv422Passes& passes) {
    const int64_t macroPixels = g.macroPixels;
    const int64_t samples = 4 * macroPixels;
    bool ok = true;
    WorkBlock<int32_t> rows(g.rows, ok);
    WorkBlock<CubicCoefficients> rowWeights(g.rows, ok);
    WorkBlock<int32_t> luma(2 * macroPixels, ok), chroma(macroPixels, ok);
    WorkBlock<float> u(samples, ok), v(samples, ok), z(samples, ok);
    WorkBlock<float> set0(samples, ok), set1(samples, ok), set2(samples, ok), set3(samples, ok);
    if (!ok) return ippStsMemAllocErr;
    buildCubicTables(g, {rows.get(), rowWeights.get(), luma.get(), chroma.get(), u.get(), v.get(),
                         z.get()});

    const Yuv422CubicColumns columns{luma.get(), chroma.get(), u.get(), v.get(), z.get(),
                                     g.macroPixels};
    float* const sets[4] = {set0.get(), set1.get(), set2.get(), set3.get()};
    RowRing<float, 4> ring(sets);
    const auto pass = [&](int64_t row, float* out) {
        passes.cubicRow(sourceRow(g, row), columns, out);
    };
    for (int32_t i = 0; i < g.rows; ++i) {
        const float* held[4];
        ring.hold(int64_t(rows.get()[i]) - 1, pass, held);
        passes.cubicBlend(held, rowWeights.get()[i], targetRow(g, i), g.macroPixels);
    }
    return ippStsNoErr;
}

}  // namespace

int32_t yuv422DegradedMethod(int32_t interpolation, IppiSize srcSize) {
    int32_t method = interpolation;
    if (method == INTER_CUBIC && (srcSize.width < 8 || srcSize.height < 4)) method = INTER_LINEAR;
    if (srcSize.width < 4 || srcSize.height < 2) method = INTER_NN;
    return method;
}

IppStatus ownResizeYUV422Tables(const Yuv422Geometry& g, IppiSize srcSize, int32_t interpolation,
                                const Yuv422Passes& passes) {
    switch (yuv422DegradedMethod(interpolation, srcSize)) {
    case INTER_LINEAR: return resizeLinear(g, passes);
    case INTER_CUBIC: return resizeCubic(g, passes);
    default: return resizeNearest(g);
    }
}

IppStatus resizeYuv422With(const Yuv422Passes& passes, const uint8_t* pSrc, IppiSize srcSize,
                           int32_t srcStep, IppiRect srcRoi, uint8_t* pDst, int32_t dstStep,
                           IppiSize dstSize, double xFactor, double yFactor,
                           int32_t interpolation) {
    if (pSrc == nullptr || pDst == nullptr) return ippStsNullPtrErr;
    if (srcSize.width < 1 || srcSize.height < 1 || srcRoi.x < 0 || srcRoi.y < 0 ||
        srcRoi.width < 1 || srcRoi.height < 1)
        return ippStsSizeErr;
    if (srcSize.width <= srcRoi.x || srcSize.height <= srcRoi.y) return ippStsWrongIntersectROI;
    if (dstSize.width < 1 || dstSize.height < 1 || isOdd(srcSize.width) || isOdd(srcRoi.width) ||
        isOdd(srcRoi.x) || dstSize.width < 2)
        return ippStsSizeErr;
    // Written so that a NaN factor is refused as well.
    if (!(xFactor > 0.0) || !(yFactor > 0.0)) return ippStsResizeFactorErr;
    // Compared whole: any flag makes the value unknown here.
    if (!isAcceptedMethod(interpolation)) return ippStsInterpolationErr;

    // The clip compares x, which counts macro-pixels, with luma widths.
    const int32_t w = int64_t(srcRoi.x) + srcRoi.width > srcSize.width
                          ? srcSize.width - srcRoi.x
                          : srcRoi.width;
    const int32_t h = int64_t(srcRoi.y) + srcRoi.height > srcSize.height
                          ? srcSize.height - srcRoi.y
                          : srcRoi.height;
    // An odd count of target samples across loses its last one.
    const int32_t across = scaledExtent(w, xFactor, dstSize.width, 2, 1.5);
    const int32_t down = scaledExtent(h, yFactor, dstSize.height, 1, 0.5);
    if (across == 0 || down == 0) return ippStsResizeNoOperationErr;
    // Super-sampling only reduces; an exact 1.0 averages single samples.
    if (interpolation == INTER_SUPER && (xFactor > 1.0 || yFactor > 1.0))
        return ippStsResizeFactorErr;
    // The region starts at luma 2x. If that is at or behind the row's end no
    // sample of it exists, which is the same case as an origin beyond the
    // right edge.
    if (srcSize.width <= 2 * int64_t(srcRoi.x)) return ippStsWrongIntersectROI;

    Yuv422Geometry g{};
    g.src = pSrc + 4 * ptrdiff_t(srcRoi.x) + ptrdiff_t(srcRoi.y) * srcStep;
    g.srcStep = srcStep;
    g.dst = pDst;
    g.dstStep = dstStep;
    g.width = w;
    g.height = h;
    // Counted from the region's true start, so that reads never pass the
    // row's end; with x 0 these are the clip's own counts.
    g.lumaLeft = srcSize.width - 2 * srcRoi.x;
    g.chromaLeft = g.lumaLeft >> 1;
    g.rowsLeft = srcSize.height - srcRoi.y;
    // Only whether an origin is 0 matters to the edge rule.
    g.lumaOrigin = srcRoi.x;
    g.chromaOrigin = srcRoi.x >> 1;
    g.rowOrigin = srcRoi.y;
    g.macroPixels = across >> 1;
    g.rows = down;
    g.xFactor = xFactor;
    g.yFactor = yFactor;

    if (interpolation != INTER_SUPER)
        return ownResizeYUV422Tables(g, srcSize, interpolation, passes);

    const double sx = 1.0 / xFactor;
    const double sy = 1.0 / yFactor;
    // Macro-pixels read from each source row: enough for P boxes and one
    // more, held at w and at what the row has right of the region's start.
    const double reach = static_cast<double>(static_cast<float>(g.macroPixels + 1)) * sx;
    const int32_t limit = std::min(w, g.chromaLeft);
    const int32_t sourceMacroPixels =
        reach + 1.0 >= limit ? limit : static_cast<int32_t>(reach) + 1;
    return ownResizeYUV422Super(g, sourceMacroPixels, sx, sy, xFactor * yFactor, passes);
}

IppStatus ippiResizeYUV422_8u_C2R(const uint8_t* pSrc, IppiSize srcSize, int32_t srcStep,
                                  IppiRect srcRoi, uint8_t* pDst, int32_t dstStep,
                                  IppiSize dstSize, double xFactor, double yFactor,
                                  int32_t interpolation) {
    return resizeYuv422With(yuv422PassesForSlot(currentCpuSlot()), pSrc, srcSize, srcStep, srcRoi,
                            pDst, dstStep, dstSize, xFactor, yFactor, interpolation);
}

}  // namespace morva
