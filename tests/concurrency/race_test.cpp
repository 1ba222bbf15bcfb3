// Callers' threads using the library at once: renders into their own targets
// from shared sources of many formats, copies, allocation and release, and
// layouts redefined while renders run. Every result must be one that the
// same call gives alone. The suite runs this program once without tracing and
// once from a directory with the marker, and ./build.sh tsan runs both under
// ThreadSanitizer, which reports any unsynchronised access on the way.
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <functional>
#include <latch>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "common/testing.h"
#include "morva.h"
#include "trace/trace.h"
#include "trace/trace_internal.h"
#include "trace_enabled/trace_log.h"

namespace {

using ImagePtr = std::unique_ptr<TImage, decltype(&morvaFreeImage)>;
using Bytes = std::vector<uint8_t>;

ImagePtr image(const char* name, int width, int height, int format) {
    return ImagePtr(morvaAllocateImage(name, width, -height, format, nullptr, 0), &morvaFreeImage);
}

Bytes bytesOf(const TImage& i) { return {i.data, i.data + i.size}; }

ImagePtr randomImage(int width, int height, int format, uint32_t salt) {
    ImagePtr result = image("random", width, height, format);
    morva::testing::Rng(salt).fill(result->data, size_t(result->size));
    return result;
}

// Starts every body on its own thread at the same moment and waits for all.
void runTogether(const std::vector<std::function<void()>>& bodies) {
    std::latch start(ptrdiff_t(bodies.size()));
    std::vector<std::thread> threads;
    for (const auto& body : bodies)
        threads.emplace_back([&start, &body] {
            start.arrive_and_wait();
            body();
        });
    for (std::thread& thread : threads) thread.join();
}

// Formats and sizes that take different paths: planar, packed and 16-bit,
// widths that leave vector tails, shrinking and growing.
struct Shape {
    int format, width, height;
};
const Shape kShapes[] = {{FORMAT_I420, 64, 48},    {FORMAT_YUY2, 52, 30},   {FORMAT_RGB24, 45, 33},
                         {FORMAT_NV12, 80, 60},    {FORMAT_UYVY, 100, 20},  {FORMAT_YV12, 36, 90},
                         {FORMAT_RGB565, 40, 40},  {FORMAT_GRAYA8, 28, 14}, {FORMAT_RGB32, 130, 70},
                         {FORMAT_YUV444P, 24, 24}, {FORMAT_Y41P, 48, 16},   {FORMAT_YUVA420P, 60, 44}};
const int kInterpolations[] = {INTER_NN, INTER_LINEAR, INTER_CUBIC, INTER_CUBIC_CATMULLROM, INTER_SUPER,
                               INTER_LANCZOS, INTER_LINEAR | RESIZE_ANTIALIASING, INTER_CUBIC | EDGE_SUBPIXEL};

// The first calls of a process, made on many threads at once, reach every
// lazily built table together; each thread must get the bytes the others get.
TEST(Concurrency, FirstCallsOnManyThreadsAtOnce) {
    constexpr int kThreads = 4;
    std::vector<std::vector<Bytes>> results(kThreads);
    std::vector<std::function<void()>> bodies;
    for (int t = 0; t < kThreads; ++t)
        bodies.push_back([t, &results] {
            for (const Shape& from : kShapes) {
                const Shape& to = kShapes[(&from - kShapes + 5) % std::size(kShapes)];
                ImagePtr source = randomImage(from.width, from.height, from.format, uint32_t(from.format));
                ImagePtr destination = image("destination", to.width, to.height, to.format);
                morvaCopyImage(source.get(), destination.get(), kInterpolations[from.format % 8], 0);
                results[size_t(t)].push_back(bytesOf(*destination));
            }
        });
    runTogether(bodies);
    for (int t = 1; t < kThreads; ++t) EXPECT_TRUE(results[size_t(t)] == results[0]) << "thread " << t;
}

// Shared sources, each with its own attributes, set before any render.
class SharedSources : public ::testing::Test {
protected:
    SharedSources() {
        for (size_t i = 0; i < std::size(kShapes); ++i) {
            const Shape& s = kShapes[i];
            owned_.push_back(randomImage(s.width, s.height, s.format, uint32_t(100 + i)));
            morvaSetAttributes(owned_.back().get(), kInterpolations[i % 8], int(i % 3));
            sources_.push_back(owned_.back().get());
        }
    }

    std::vector<ImagePtr> owned_;
    std::vector<TImage*> sources_;
};

// What a render into a target of this shape gives alone, from the target's
// starting bytes, for one layout text.
Bytes renderAlone(const Shape& target, const Bytes& start, const char* layout, const std::vector<TImage*>& sources) {
    const std::string name = "alone-" + std::to_string(target.format);
    EXPECT_TRUE(morvaSetLayout(name.c_str(), layout));
    ImagePtr t = image("target", target.width, target.height, target.format);
    std::copy(start.begin(), start.end(), t->data);
    EXPECT_TRUE(morvaRender(name.c_str(), t.get(), sources.data(), int32_t(sources.size())));
    morvaSetLayout(name.c_str(), nullptr);
    return bytesOf(*t);
}

// Render workers fill their own targets from the shared sources by a layout
// that another thread keeps redefining between two texts, and by one that
// stays; copy workers copy shared sources into their own images; one thread
// allocates, clones, flips and frees images of its own. Each render gives
// what the layout as it stood at some moment gives, and each copy what it
// gives alone.
TEST_F(SharedSources, RendersCopiesAllocationsAndRedefinitionsTogether) {
    const char* const switching[] = {"rows:3;columns:4;", "rows:2;columns:3;width:80;margin-left:10;margin-bottom:5;"};
    const char* const steady = "rows:4;columns:3;height:90;";
    const Shape targets[] = {{FORMAT_RGB32, 160, 120}, {FORMAT_I420, 128, 96}, {FORMAT_YUY2, 120, 64}};
    constexpr int kRounds = 25;

    struct Expected {
        Bytes start, switchingA, switchingB, steady;
    };
    std::vector<Expected> expected;
    for (const Shape& t : targets) {
        ImagePtr start = randomImage(t.width, t.height, t.format, uint32_t(7 * t.format));
        const Bytes s = bytesOf(*start);
        expected.push_back({s, renderAlone(t, s, switching[0], sources_), renderAlone(t, s, switching[1], sources_),
                            renderAlone(t, s, steady, sources_)});
        // Each layout paints, and the two definitions paint differently.
        const Expected& e = expected.back();
        ASSERT_TRUE(e.switchingA != s && e.switchingB != e.switchingA && e.steady != s) << "format " << t.format;
    }
    ASSERT_TRUE(morvaSetLayout("switching", switching[0]) && morvaSetLayout("steady", steady));

    struct CopyCase {
        size_t source;
        Shape destination;
        int interpolation, scaleMode;
        Bytes alone;
    };
    std::vector<CopyCase> copies;
    for (size_t i = 0; i < std::size(kShapes); ++i) {
        const Shape to = kShapes[(i + 3) % std::size(kShapes)];
        copies.push_back({i, {to.format, to.width + 8, to.height + 2}, kInterpolations[(i + 1) % 8], int(i % 3), {}});
        ImagePtr d = image("copy", copies.back().destination.width, copies.back().destination.height, to.format);
        morvaCopyImage(sources_[i], d.get(), copies.back().interpolation, copies.back().scaleMode);
        copies.back().alone = bytesOf(*d);
    }

    std::atomic<bool> rendering{true};
    std::atomic<int> mismatches{0};
    std::vector<std::function<void()>> bodies;
    for (size_t w = 0; w < std::size(targets); ++w)
        bodies.push_back([&, w] {
            const Shape& shape = targets[w];
            const Expected& e = expected[w];
            ImagePtr target = image("target", shape.width, shape.height, shape.format);
            auto render = [&](const char* layout) {
                std::copy(e.start.begin(), e.start.end(), target->data);
                morvaRender(layout, target.get(), sources_.data(), int32_t(sources_.size()));
                return bytesOf(*target);
            };
            for (int round = 0; round < kRounds; ++round) {
                const Bytes switched = render("switching");
                mismatches += switched == e.switchingA || switched == e.switchingB ? 0 : 1;
                mismatches += render("STEADY") == e.steady ? 0 : 1;  // names ignore case
            }
        });
    for (int w = 0; w < 2; ++w)
        bodies.push_back([&, w] {
            for (int round = 0; round < kRounds; ++round)
                for (size_t i = size_t(w); i < copies.size(); i += 2) {
                    const CopyCase& c = copies[i];
                    ImagePtr d = image("copy", c.destination.width, c.destination.height, c.destination.format);
                    morvaCopyImage(sources_[c.source], d.get(), c.interpolation, c.scaleMode);
                    mismatches += bytesOf(*d) == c.alone ? 0 : 1;
                }
        });
    bodies.push_back([&] {
        for (int round = 0; round < 4 * kRounds; ++round)
            for (const Shape& s : kShapes) {
                ImagePtr own(morvaAllocateImage("own", s.width, s.height, s.format, nullptr, 0), &morvaFreeImage);
                const Bytes frame = bytesOf(*sources_[size_t(&s - kShapes)]);
                morvaUpdateImage(own.get(), frame.data());
                ImagePtr clone(morvaCloneImage(own.get()), &morvaFreeImage);
                mismatches += bytesOf(*clone) == bytesOf(*own) ? 0 : 1;
                morvaFlipImage(clone.get());
                morvaClearImage(own.get(), 10, 20, 30, 40);
                BITMAPINFO info;
                mismatches += morvaGetBitmapInfo(clone.get(), &info) ? 0 : 1;
            }
    });
    bodies.push_back([&] {
        for (int round = 0; rendering; ++round) {
            morvaSetLayout("switching", switching[round % 2]);
            const std::string other = "other-" + std::to_string(round % 5);
            morvaSetLayout(other.c_str(), round % 3 == 0 ? nullptr : "rows:2;columns:2;");
            std::this_thread::yield();
        }
    });
    // The redefinitions stop when every other body is done.
    std::vector<std::function<void()>> timed;
    std::atomic<int> running{int(bodies.size()) - 1};
    for (size_t i = 0; i + 1 < bodies.size(); ++i)
        timed.push_back([&, i] {
            bodies[i]();
            if (--running == 0) rendering = false;
        });
    timed.push_back(bodies.back());
    runTogether(timed);
    EXPECT_EQ(mismatches.load(), 0);
    morvaSetLayout("switching", nullptr);
    morvaSetLayout("steady", nullptr);
}

// With the marker beside this program, the log holds whole lines numbered
// without gap or repeat, however the threads of the tests above interleaved.
// (An image's dump text spans several lines of the file; only the first is
// numbered.)
TEST(TraceLog, TheLogOfAllThreadsIsWhole) {
    if (!morva::traceEnabled()) GTEST_SKIP() << "tracing is off for this program";
    const std::vector<morva::testing::TraceLine> lines = morva::testing::readTraceLog(morva::traceLogPath());
    ASSERT_FALSE(lines.empty());
    std::set<std::string> threads;
    int next = 0;
    for (const morva::testing::TraceLine& line : lines) {
        if (line.sequence < 0) continue;
        ASSERT_EQ(line.sequence, next++) << line.text;
        threads.insert(line.threadId);
    }
    EXPECT_GT(threads.size(), 8u);
}

// Each run starts a log of its own; this one removes it when the run ends.
class RemoveLog : public ::testing::Environment {
public:
    void TearDown() override {
        if (morva::traceEnabled()) std::filesystem::remove(morva::traceLogPath());
    }
};
const auto* const removeLog = ::testing::AddGlobalTestEnvironment(new RemoveLog);

}  // namespace
