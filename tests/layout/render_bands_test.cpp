// Rendering and copying without whole temporary images of their own: the
// same bytes, results and image ids as the whole-frame paths on random
// sources, formats, sizes, layouts, interpolations and scale modes, and no
// more memory per call than a band.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "common/testing.h"
#include "kernels/memory_forms.h"
#include "layout/geometry.h"
#include "layout/layout_registry.h"
#include "layout/render.h"
#include "layout/render_bands.h"
#include "morva.h"

namespace morva::testing {
namespace {

using ImagePtr = std::unique_ptr<TImage, decltype(&morvaFreeImage)>;

ImagePtr makeImage(int32_t format, int32_t width, int32_t height) {
    return ImagePtr(morvaAllocateImage("render", width, -height, format, nullptr, 0), &morvaFreeImage);
}

// The id the next image gets.
int32_t nextImageId() { return makeImage(FORMAT_GRAY8, 4, 2)->id + 1; }

// The buffer and the margin behind it, which no plane owns but a stray write
// would reach.
std::vector<uint8_t> allBytes(const TImage& image) { return {image.data, image.data + 3 * size_t(image.size)}; }

const int32_t kTargetFormats[] = {FORMAT_RGB32, FORMAT_RGB24, FORMAT_I420,    FORMAT_YV12,   FORMAT_NV12,
                                  FORMAT_UYVY,  FORMAT_YUY2,  FORMAT_RGB565,  FORMAT_GRAY8,  FORMAT_YUV444P,
                                  FORMAT_YVU9,  FORMAT_Y41P,  FORMAT_YVYU,    FORMAT_Y411,   FORMAT_RGB444};
const int32_t kInterpolations[] = {INTER_NN,           INTER_LINEAR, INTER_CUBIC,   INTER_CUBIC_BSPLINE,
                                   INTER_CUBIC_CATMULLROM, INTER_CUBIC_B05C03, INTER_SUPER, INTER_LANCZOS};

struct RenderCase {
    int32_t targetFormat, targetWidth, targetHeight;
    std::string layout;
    int32_t index;
    int32_t sourceFormat, sourceWidth, sourceHeight;
    int32_t interpolation, scaleMode;

    std::string describe() const {
        return "target " + std::to_string(targetFormat) + " " + std::to_string(targetWidth) + "x" +
               std::to_string(targetHeight) + " layout '" + layout + "' index " + std::to_string(index) + " source " +
               std::to_string(sourceFormat) + " " + std::to_string(sourceWidth) + "x" + std::to_string(sourceHeight) +
               " interpolation " + std::to_string(interpolation) + " mode " + std::to_string(scaleMode);
    }
};

// Random cases, a third of them with the source as large as its cell (the
// identity), some as large as the target (the whole-buffer copy); cells cut
// by the target's edges through margins and sizes beyond 100%.
RenderCase drawCase(Rng& rng) {
    RenderCase c;
    c.targetFormat = kTargetFormats[rng.uniform(0, int(std::size(kTargetFormats)) - 1)];
    const int32_t rows = rng.uniform(1, 3), columns = rng.uniform(1, 3);
    c.targetWidth = 4 * columns * rng.uniform(2, 12) + (rng.uniform(0, 2) == 0 ? 4 * rng.uniform(0, 3) : 0);
    c.targetHeight = 4 * rows * rng.uniform(2, 12) + (rng.uniform(0, 2) == 0 ? 2 * rng.uniform(0, 3) : 0);
    c.layout = "rows:" + std::to_string(rows) + ";columns:" + std::to_string(columns) + ";";
    if (rng.uniform(0, 3) == 0) c.layout += "width:" + std::to_string(rng.uniform(30, 130)) + ";";
    if (rng.uniform(0, 3) == 0) c.layout += "height:" + std::to_string(rng.uniform(30, 130)) + ";";
    if (rng.uniform(0, 3) == 0) c.layout += "margin-left:" + std::to_string(rng.uniform(-30, 60)) + ";";
    if (rng.uniform(0, 3) == 0) c.layout += "margin-bottom:" + std::to_string(rng.uniform(-30, 60)) + ";";
    c.index = rng.uniform(0, rows * columns - 1);
    EXPECT_TRUE(morvaSetLayout("bands-case", c.layout.c_str()));
    c.sourceFormat = rng.uniform(0, 21);
    const int shape = rng.uniform(0, 5);
    if (shape <= 1) {  // the cell's own size
        const IppiRect cell = calcCellRect(c.index, *findLayout("bands-case"), c.targetWidth, c.targetHeight).value();
        c.sourceWidth = std::max(4, cell.width);
        c.sourceHeight = std::max(2, cell.height);
    } else if (shape == 2) {
        c.sourceWidth = c.targetWidth;
        c.sourceHeight = c.targetHeight;
    } else {
        c.sourceWidth = rng.uniform(1, 90);
        c.sourceHeight = rng.uniform(1, 70);
    }
    c.interpolation = kInterpolations[rng.uniform(0, 7)];
    const int flag = rng.uniform(0, 9);
    if (flag == 0) c.interpolation |= RESIZE_ANTIALIASING;
    if (flag == 1) c.interpolation |= int32_t(EDGE_SMOOTH);
    if (flag == 2) c.interpolation |= EDGE_SUBPIXEL;
    c.scaleMode = rng.uniform(0, 12) == 0 ? 3 : rng.uniform(0, 2);
    return c;
}

struct Outcome {
    std::vector<uint8_t> bytes;
    int32_t ids;
};

enum class Path { WholeFrame, Untraced, BandsOnly };

// One source into its cell of a target that starts with `background`, by
// one path; `taken` tells whether the band path took it.
Outcome renderOne(const RenderCase& c, const TImage& source, const std::vector<uint8_t>& background, Path path,
                  bool* taken = nullptr) {
    ImagePtr target = makeImage(c.targetFormat, c.targetWidth, c.targetHeight);
    std::memcpy(target->data, background.data(), background.size());
    const IppiRect cell = calcCellRect(c.index, *findLayout("bands-case"), target->width, target->height).value();
    const int32_t before = nextImageId();
    WorkBuffers& buffers = threadWorkBuffers();
    if (path == Path::WholeFrame) renderSourceWholeFrame(source, cell, *target, buffers.work);
    if (path == Path::Untraced) renderConvertedUntraced(source, cell, *target, buffers);
    if (path == Path::BandsOnly) *taken = renderConvertedInBands(source, cell, *target, buffers);
    const int32_t ids = nextImageId() - before - 1;
    return {allBytes(*target), ids};
}

TEST(RenderBands, ConvertedSourcesGiveTheWholeFramesBytesAndIds) {
    MORVA_SEED_TRACE();
    Rng rng(2024);
    int banded = 0, rounds = 0;
    for (; rounds < 600; ++rounds) {
        RenderCase c = drawCase(rng);
        if (c.sourceFormat == c.targetFormat) c.sourceFormat = (c.sourceFormat + 5) % 22;
        SCOPED_TRACE(c.describe());
        ImagePtr source = makeImage(c.sourceFormat, c.sourceWidth, c.sourceHeight);
        rng.fill(source->data, size_t(source->size));
        morvaSetAttributes(source.get(), c.interpolation, c.scaleMode);
        std::vector<uint8_t> background(3 * size_t(makeImage(c.targetFormat, c.targetWidth, c.targetHeight)->size));
        rng.fill(background.data(), background.size());
        const BandBytesScope bands(randomBandBytes(rng));
        const Outcome whole = renderOne(c, *source, background, Path::WholeFrame);
        const Outcome untraced = renderOne(c, *source, background, Path::Untraced);
        EXPECT_EQ(untraced.ids, whole.ids);
        ASSERT_EQ(untraced.bytes, whole.bytes);
        bool taken = false;
        renderOne(c, *source, background, Path::BandsOnly, &taken);
        banded += taken;
    }
    // Most cases take the band path; the rest the whole frame in the
    // thread's block.
    EXPECT_GT(banded, rounds / 2);
    morvaSetLayout("bands-case", nullptr);
}

// Through the exported call: four sources of the sizes of their cells, one
// of them through a temporary 4:2:0 image, the last one larger and scaled;
// and the same sources drawn one by one through the whole frame.
TEST(RenderBands, RenderDrawsEverySourceAsTheWholeFramePathDoes) {
    MORVA_SEED_TRACE();
    Rng rng(77);
    ASSERT_TRUE(morvaSetLayout("bands-grid", "rows:2;columns:2;"));
    for (int32_t targetFormat : {FORMAT_RGB32, FORMAT_RGB24, FORMAT_I420, FORMAT_UYVY}) {
        SCOPED_TRACE(targetFormat);
        ImagePtr a = makeImage(FORMAT_I420, 48, 32), b = makeImage(FORMAT_NV12, 48, 32);
        ImagePtr c = makeImage(FORMAT_YUY2, 48, 32), d = makeImage(FORMAT_RGB32, 100, 70);
        for (TImage* s : {a.get(), b.get(), c.get(), d.get()}) {
            rng.fill(s->data, size_t(s->size));
            morvaSetAttributes(s, rng.uniform(0, 1) ? INTER_LINEAR : INTER_NN, 1);
        }
        TImage* sources[] = {a.get(), b.get(), c.get(), d.get()};
        ImagePtr rendered = makeImage(targetFormat, 96, 64), expected = makeImage(targetFormat, 96, 64);
        rng.fill(rendered->data, 3 * size_t(rendered->size));
        std::memcpy(expected->data, rendered->data, 3 * size_t(rendered->size));
        const BandBytesScope bands(rng.uniform(0, 1) ? 64 : 4096);
        int32_t before = nextImageId();
        ASSERT_TRUE(morvaRender("bands-grid", rendered.get(), sources, 4));
        const int32_t renderIds = nextImageId() - before;
        before = nextImageId();
        ScratchBuffer work;
        for (int32_t i = 0; i < 4; ++i)
            renderSourceWholeFrame(*sources[i], calcCellRect(i, *findLayout("bands-grid"), 96, 64).value(), *expected, work);
        EXPECT_EQ(nextImageId() - before, renderIds);
        EXPECT_EQ(allBytes(*rendered), allBytes(*expected));
    }
    morvaSetLayout("bands-grid", nullptr);
}

// Renders on several threads at once, each from its own sources into its
// own target, draw what each render alone draws: the work buffers are the
// thread's own.
TEST(RenderBands, ConcurrentRendersOnDistinctTargetsDrawAlike) {
    MORVA_SEED_TRACE();
    Rng rng(31);
    ASSERT_TRUE(morvaSetLayout("bands-threads", "rows:2;columns:2;"));
    struct Job {
        std::vector<ImagePtr> sources;
        std::vector<TImage*> list;
        ImagePtr alone{nullptr, &morvaFreeImage}, target{nullptr, &morvaFreeImage};
    };
    std::vector<Job> jobs(4);
    for (Job& job : jobs) {
        for (int32_t format : {FORMAT_I420, FORMAT_NV12, FORMAT_YUY2, FORMAT_RGB24}) {
            job.sources.push_back(makeImage(format, 400, 240));
            rng.fill(job.sources.back()->data, size_t(job.sources.back()->size));
            morvaSetAttributes(job.sources.back().get(), format == FORMAT_NV12 ? INTER_CUBIC : INTER_LINEAR, 1);
            job.list.push_back(job.sources.back().get());
        }
        job.alone = makeImage(FORMAT_RGB32, 640, 480);
        job.target = makeImage(FORMAT_RGB32, 640, 480);
        ASSERT_TRUE(morvaRender("bands-threads", job.alone.get(), job.list.data(), 4));
    }
    std::atomic<int> waiting{int(jobs.size())};
    std::vector<std::thread> threads;
    for (Job& job : jobs)
        threads.emplace_back([&waiting, &job] {
            for (--waiting; waiting > 0;) std::this_thread::yield();
            for (int round = 0; round < 10; ++round) morvaRender("bands-threads", job.target.get(), job.list.data(), 4);
        });
    for (std::thread& thread : threads) thread.join();
    for (const Job& job : jobs)
        EXPECT_TRUE(std::equal(job.target->data, job.target->data + job.target->size, job.alone->data));
    morvaSetLayout("bands-threads", nullptr);
}

// morvaCopyImage between sizes: band by band, or through the whole resized
// image in the thread's block, as through an image of its own, for random
// formats, sizes, interpolations and scale modes, the destination's old
// bytes random.
TEST(RenderBands, CopiesBetweenSizesGiveTheWholeImagesBytesResultsAndIds) {
    MORVA_SEED_TRACE();
    Rng rng(515);
    int banded = 0, rounds = 0;
    for (; rounds < 400; ++rounds) {
        const int32_t sourceFormat = rng.uniform(0, 21);
        const int32_t targetFormat =
            rng.uniform(0, 3) == 0 ? sourceFormat : kTargetFormats[rng.uniform(0, int(std::size(kTargetFormats)) - 1)];
        ImagePtr source = makeImage(sourceFormat, rng.uniform(1, 90), rng.uniform(1, 70));
        rng.fill(source->data, size_t(source->size));
        const int32_t width = rng.uniform(4, 90), height = rng.uniform(2, 70);
        int32_t interpolation = kInterpolations[rng.uniform(0, 7)];
        if (rng.uniform(0, 9) == 0) interpolation |= RESIZE_ANTIALIASING;
        const int32_t scaleMode = rng.uniform(0, 12) == 0 ? 3 : rng.uniform(0, 2);
        SCOPED_TRACE(::testing::Message() << sourceFormat << " " << source->width << "x" << source->height << " -> "
                                          << targetFormat << " " << width << "x" << height << " interpolation "
                                          << interpolation << " mode " << scaleMode);
        ImagePtr whole = makeImage(targetFormat, width, height), bands = makeImage(targetFormat, width, height);
        if (whole->width == source->width && whole->height == source->height) continue;
        rng.fill(whole->data, 3 * size_t(whole->size));
        std::memcpy(bands->data, whole->data, 3 * size_t(whole->size));
        ScratchBuffer work;
        const BandBytesScope bandBytes(randomBandBytes(rng));
        int32_t before = nextImageId();
        const bool wholeResult = copyResizedWholeFrame(*source, *whole, interpolation, scaleMode, work);
        const int32_t wholeIds = nextImageId() - before;
        before = nextImageId();
        const bool untracedResult = copyResizedUntraced(*source, *bands, interpolation, scaleMode, threadWorkBuffers());
        EXPECT_EQ(nextImageId() - before, wholeIds);
        EXPECT_EQ(untracedResult, wholeResult);
        ASSERT_EQ(allBytes(*bands), allBytes(*whole));
        ImagePtr probe = makeImage(targetFormat, width, height);
        banded += copyResizedInBands(*source, *probe, interpolation, scaleMode, threadWorkBuffers()).has_value();
    }
    EXPECT_GT(banded, rounds / 2);
}

// Bytes the library's allocator hands out, live and at their peak.
struct CountingAllocator {
    static inline std::map<void*, size_t> live;
    static inline int64_t liveBytes = 0, peakBytes = 0, calls = 0;
    static void* allocate(size_t bytes) {
        void* p = std::malloc(bytes);
        live[p] = bytes;
        liveBytes += int64_t(bytes);
        peakBytes = std::max(peakBytes, liveBytes);
        ++calls;
        return p;
    }
    static void release(void* p) {
        liveBytes -= int64_t(live[p]);
        live.erase(p);
        std::free(p);
    }
    static void reset() { peakBytes = liveBytes, calls = 0; }
};

// Sixteen full-HD sources, 4:2:0 and two-plane 4:2:0 (whose route has a
// temporary image), into a 4x4 grid of a full-HD BGRA target: the render
// allocates no more than a band's buffers, and a second render nothing.
TEST(RenderBands, SixteenFullHdSourcesAllocateABandAtMost) {
    threadWorkBuffers().trim(0);
    const OwnAllocator saved = ownAllocator;
    ownAllocator.allocate = &CountingAllocator::allocate;
    ownAllocator.release = &CountingAllocator::release;
    {
        ASSERT_TRUE(morvaSetLayout("bands-wall", "rows:4;columns:4;"));
        ImagePtr planar = makeImage(FORMAT_I420, 1920, 1080), twoPlane = makeImage(FORMAT_NV12, 1920, 1080);
        ImagePtr target = makeImage(FORMAT_RGB32, 1920, 1080);
        morvaSetAttributes(planar.get(), INTER_LINEAR, 1);
        morvaSetAttributes(twoPlane.get(), INTER_CUBIC, 1);
        std::vector<TImage*> sources;
        for (int i = 0; i < 16; ++i) sources.push_back(i % 2 ? planar.get() : twoPlane.get());
        for (int call = 0; call < 2; ++call) {
            CountingAllocator::reset();
            const int64_t before = CountingAllocator::liveBytes;
            ASSERT_TRUE(morvaRender("bands-wall", target.get(), sources.data(), 16));
            // A band's window of about 2 MiB, the temporary image's rows
            // beside it, the resize's work buffer; one converted frame would
            // be 1920 * 1080 * 4 bytes, three times over.
            EXPECT_LE(CountingAllocator::peakBytes - before, int64_t(4) << 20) << "call " << call;
            if (call == 1) {
                EXPECT_EQ(CountingAllocator::calls, 0);
            }
        }
        threadWorkBuffers().trim(0);
        morvaSetLayout("bands-wall", nullptr);
    }
    ownAllocator = saved;
    EXPECT_TRUE(CountingAllocator::live.empty());
}

}  // namespace
}  // namespace morva::testing
