// The driver's plan as callers that feed it rows use it: the identity copy
// at factors of 1.0, and target rows made band by band from only the source
// rows each band names, both against one whole run of the kernels.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "resample/resize_driver.h"
#include "resample_testing.h"

namespace morva::testing {
namespace {

const int32_t kIds[] = {INTER_NN,     INTER_LINEAR,       INTER_CUBIC,  INTER_CUBIC_BSPLINE, INTER_CUBIC_CATMULLROM,
                        INTER_CUBIC_B05C03, INTER_SUPER, INTER_LANCZOS};
const int32_t kFlags[] = {0, kAntialias, int32_t(EDGE_SMOOTH), EDGE_SUBPIXEL};

template <class T>
PlaneEntry entryOf(Plane<T>& plane) {
    PlaneEntry e{};
    e.data = reinterpret_cast<uint8_t*>(plane.samples.data());
    e.width = plane.width;
    e.height = plane.height;
    e.bytesPerChannel = int32_t(sizeof(T));
    e.channels = plane.channels;
    e.stride = plane.step * int32_t(sizeof(T));
    e.subW = e.subH = 1;
    return e;
}

std::string describe(const PlaneResize& p) {
    return "id " + std::to_string(p.interpolation) + " src " + std::to_string(p.source.width) + "x" +
           std::to_string(p.source.height) + " rect (" + std::to_string(p.destinationRect.x) + "," +
           std::to_string(p.destinationRect.y) + "," + std::to_string(p.destinationRect.width) + "," +
           std::to_string(p.destinationRect.height) + ") f " + std::to_string(p.xFactor) + "," +
           std::to_string(p.yFactor);
}

// Whether the plane's resize runs as one whole kernel call and band by band
// alike; the bands from shuffled copies of the source that hold only the rows
// each band names, every other row garbage.
template <class T>
void expectBandsEqualTheWholeRun(Plane<T>& src, const PlaneResize& p, Rng& rng) {
    Plane<T> whole = makePlane<T>(p.destination.width, p.destination.height, src.channels);
    fillRandom(whole, rng);
    Plane<T> banded = whole;
    ScratchBuffer work;
    const ResizeGeometry& g = p.geometry;
    resizePlaneRows(p, entryOf(src).data, entryOf(whole).data, g.y0, g.y0 + g.height, work);
    for (int32_t first = g.y0; first < g.y0 + g.height;) {
        const int32_t end = std::min(g.y0 + g.height, first + 4 * rng.uniform(1, 4));
        const RowRange read = sourceRowsOf(p, first, end);
        Plane<T> partial = src;
        fillRandom(partial, rng);
        std::copy(src.row(read.first), src.row(read.end), partial.row(read.first));
        resizePlaneRows(p, entryOf(partial).data, entryOf(banded).data, first, end, work);
        first = end;
    }
    EXPECT_EQ(banded.samples, whole.samples) << describe(p);
}

// At factors of exactly 1.0 the driver copies for nearest, linear, the cubic
// of id 4, Catmull-Rom and Lanczos, with the antialiasing flag only for
// nearest, and without edge treatment; the copy gives the kernels' own
// bytes. Small sources check the ids they degrade to.
template <class T>
void checkIdentityCopies(int32_t channels) {
    Rng rng(uint32_t(90 + channels + 10 * sizeof(T)));
    for (int round = 0; round < 40; ++round) {
        const int32_t width = round < 10 ? rng.uniform(1, 7) : rng.uniform(1, 40);
        const int32_t height = round < 10 ? rng.uniform(1, 7) : rng.uniform(1, 40);
        Plane<T> src = makePlane<T>(width, height, channels, rng.uniform(0, 3));
        fillRandom(src, rng);
        const int32_t dstWidth = rng.uniform(1, 60), dstHeight = rng.uniform(1, 60);
        const IppiRect rect{rng.uniform(0, dstWidth - 1), rng.uniform(0, dstHeight - 1), rng.uniform(1, 50),
                            rng.uniform(1, 50)};
        for (int32_t id : kIds)
            for (int32_t flag : kFlags) {
                Plane<T> byKernel = makePlane<T>(dstWidth, dstHeight, channels);
                fillRandom(byKernel, rng);
                Plane<T> byDriver = byKernel;
                const PlaneResize p = planPlaneResize(entryOf(src), entryOf(byDriver), src.whole(), rect,
                                                      id | flag, 1.0, 1.0);
                resizeGuarded(src, src.whole(), byKernel, p.destinationRect, 1.0, 1.0, p.xShift, p.yShift, id | flag);
                ScratchBuffer work;
                resizePlaneRows(p, entryOf(src).data, entryOf(byDriver).data, p.geometry.y0,
                                p.geometry.y0 + p.geometry.height, work);
                EXPECT_EQ(byDriver.samples, byKernel.samples) << describe(p);
                const int32_t used = p.geometry.interpolation;  // after degradation
                const bool copies = (used == INTER_NN || ((used == INTER_LINEAR || used == INTER_CUBIC ||
                                                           used == INTER_CUBIC_CATMULLROM || used == INTER_LANCZOS) &&
                                                          flag == 0)) &&
                                    (flag == 0 || flag == kAntialias);
                if (p.action != PlaneAction::Nothing)
                    EXPECT_EQ(p.action == PlaneAction::Copy, copies) << describe(p) << " flag " << flag;
                if (p.action != PlaneAction::Nothing && runsInBands(p))
                    expectBandsEqualTheWholeRun(src, p, rng);
            }
    }
}

TEST(ResizeIdentity, FactorOneCopiesWhereTheKernelsWouldCopy) {
    MORVA_SEED_TRACE();
    for (int32_t channels : {1, 3, 4}) {
        checkIdentityCopies<uint8_t>(channels);
        checkIdentityCopies<uint16_t>(channels);
    }
}

// Nearest, linear, the cubics and Lanczos give the same rows band by band as
// in one run, each band reading only the rows it names; super-sampling, the
// antialiasing path and edge treatment don't run in bands.
template <class T>
void checkBands(int32_t channels) {
    Rng rng(uint32_t(700 + channels + 10 * sizeof(T)));
    for (int round = 0; round < 60; ++round) {
        RandomResize r = RandomResize::draw(rng, 48);
        Plane<T> src = makePlane<T>(r.srcWidth, r.srcHeight, channels, rng.uniform(0, 2));
        fillRandom(src, rng);
        const IppiRect whole{0, 0, r.srcWidth, r.srcHeight};
        Plane<T> dst = makePlane<T>(r.dstWidth, r.dstHeight, channels);
        for (int32_t id : kIds)
            for (int32_t flag : kFlags) {
                const PlaneResize p = planPlaneResize(entryOf(src), entryOf(dst), whole, r.dstRoi, id | flag,
                                                      r.xFactor, r.yFactor);
                if (p.action == PlaneAction::Nothing) continue;
                const bool bands = (flag == 0 && id != INTER_SUPER) || (flag == kAntialias && id == INTER_NN);
                EXPECT_EQ(runsInBands(p), bands) << describe(p) << " flag " << flag;
                if (bands) expectBandsEqualTheWholeRun(src, p, rng);
            }
    }
}

TEST(ResizeBands, BandsGiveTheBytesOfOneRunFromTheRowsTheyName) {
    MORVA_SEED_TRACE();
    for (int32_t channels : {1, 3, 4}) {
        checkBands<uint8_t>(channels);
        checkBands<uint16_t>(channels);
    }
}

}  // namespace
}  // namespace morva::testing
