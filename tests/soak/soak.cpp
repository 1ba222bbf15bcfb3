// A long run of the main job: renders of many layouts into targets of many
// formats from sources of many formats, sizes and interpolations, and copies
// between them, in a loop for a fixed time. It fails if an output differs from
// the same job's first output or from another thread's, or if memory grows
// once the run has settled; it prints frames per second, the peak resident
// memory and a digest of the outputs to compare with other runs.
//
//   morva_soak [seconds] [threads]     defaults: 60 seconds, 1 thread
//
// Each thread has its own sources and targets; all share the layouts.
#include <malloc.h>
#include <morva.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using ImagePtr = std::unique_ptr<TImage, decltype(&morvaFreeImage)>;

ImagePtr topDown(const char* name, int width, int height, int format) {
    ImagePtr image(morvaAllocateImage(name, width, -height, format, nullptr, 0), &morvaFreeImage);
    if (!image) {
        std::fprintf(stderr, "morva_soak: can't allocate %s (%dx%d, format %d)\n", name, width, height, format);
        std::exit(2);
    }
    return image;
}

uint64_t hashOf(const TImage& image) {
    uint64_t hash = 1469598103934665603ull;  // FNV-1a
    for (int32_t i = 0; i < image.size; ++i) hash = (hash ^ image.data[i]) * 1099511628211ull;
    return hash;
}

// Resident and peak resident memory of the process, in KiB.
struct Memory {
    long resident = 0, peak = 0;
};
Memory memoryNow() {
    Memory m;
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("VmRSS:", 0) == 0) m.resident = std::atol(line.c_str() + 6);
        if (line.rfind("VmHWM:", 0) == 0) m.peak = std::atol(line.c_str() + 6);
    }
    return m;
}

// Bytes the allocator has handed out and not had back.
size_t heapInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

struct Source {
    int format, width, height, interpolation, scaleMode;
};
const Source kSources[] = {
    {FORMAT_I420, 640, 360, INTER_LINEAR, 1},         {FORMAT_YUY2, 320, 240, INTER_CUBIC, 1},
    {FORMAT_RGB24, 176, 144, INTER_LANCZOS, 2},       {FORMAT_NV12, 1280, 720, INTER_SUPER, 1},
    {FORMAT_UYVY, 352, 288, INTER_NN, 0},             {FORMAT_RGB32, 800, 600, INTER_CUBIC_CATMULLROM, 1},
    {FORMAT_YV12, 160, 120, INTER_LINEAR | RESIZE_ANTIALIASING, 0}, {FORMAT_RGB565, 300, 200, INTER_LINEAR, 2},
    {FORMAT_YUVA420P, 96, 96, INTER_CUBIC_BSPLINE, 1}, {FORMAT_GRAY8, 240, 180, INTER_LANCZOS, 1},
};
const char* const kLayouts[][2] = {
    {"single", "rows:1;columns:1;"},
    {"quad", "rows:2;columns:2;"},
    {"nine", "rows:3;columns:3;width:90;height:90;margin-left:5;margin-top:5;"},
    {"wall", "rows:4;columns:4;"},
    {"strip", "rows:1;columns:5;margin-right:10;width:80;"},
};
struct Target {
    int format, width, height;
};
const Target kTargets[] = {{FORMAT_RGB32, 1280, 720}, {FORMAT_I420, 960, 540}, {FORMAT_YUY2, 640, 480},
                           {FORMAT_RGB24, 800, 448},  {FORMAT_NV12, 1280, 720}};

// One worker's images and the hashes of its jobs' first outputs.
class Worker {
public:
    // Every worker draws the same sources, so all of them must give the same
    // outputs.
    Worker() {
        uint32_t seed = 1;
        for (const Source& s : kSources) {
            sources_.push_back(topDown("source", s.width, s.height, s.format));
            TImage& image = *sources_.back();
            for (int32_t i = 0; i < image.size; ++i) image.data[i] = uint8_t((seed += 0x9E3779B9u) >> 24);
            morvaSetAttributes(&image, s.interpolation, s.scaleMode);
            pointers_.push_back(&image);
        }
        for (const Target& t : kTargets) targets_.push_back(topDown("target", t.width, t.height, t.format));
    }

    // Every layout into every target, then copies of every source into every
    // target's format at another size. Returns the frames made, or -1 if an
    // output differs from the first time.
    long cycle() {
        size_t job = 0;
        long frames = 0;
        for (ImagePtr& target : targets_) {
            for (const auto& layout : kLayouts) {
                morvaClearImage(target.get(), 16, 32, 48, 0);
                morvaRender(layout[0], target.get(), pointers_.data(), int32_t(pointers_.size()));
                if (!sameAsFirst(job++, *target)) return -1;
                ++frames;
            }
            for (const ImagePtr& source : sources_) {
                ImagePtr copy = topDown("copy", target->width / 2, target->height / 2, target->format);
                morvaCopyImage(source.get(), copy.get(), INTER_LINEAR, 1);
                if (!sameAsFirst(job++, *copy)) return -1;
                ++frames;
            }
        }
        return frames;
    }

    // The hashes of the first cycle's outputs.
    const std::vector<uint64_t>& firstOutputs() const { return first_; }

private:
    bool sameAsFirst(size_t job, const TImage& output) {
        const uint64_t hash = hashOf(output);
        if (job == first_.size()) first_.push_back(hash);
        if (first_[job] == hash) return true;
        std::fprintf(stderr, "morva_soak: job %zu gave other bytes than the first time\n", job);
        return false;
    }

    std::vector<ImagePtr> sources_;
    std::vector<TImage*> pointers_;
    std::vector<ImagePtr> targets_;
    std::vector<uint64_t> first_;
};

// Memory at one moment of the run.
struct Sample {
    double at;  // seconds from the start
    long resident;
    size_t heap;
};

// The largest resident and heap figures of samples [from, to).
Sample largest(const std::vector<Sample>& samples, size_t from, size_t to) {
    Sample m{0, 0, 0};
    for (size_t i = from; i < to; ++i) {
        m.resident = std::max(m.resident, samples[i].resident);
        m.heap = std::max(m.heap, samples[i].heap);
    }
    return m;
}

}  // namespace

int main(int argc, char** argv) {
    const double seconds = argc > 1 ? std::atof(argv[1]) : 60.0;
    const int threads = argc > 2 ? std::max(1, std::atoi(argv[2])) : 1;
    if (seconds <= 0) {
        std::fprintf(stderr, "usage: morva_soak [seconds] [threads]\n");
        return 2;
    }
    for (const auto& layout : kLayouts) morvaSetLayout(layout[0], layout[1]);

    const Clock::time_point start = Clock::now();
    auto elapsed = [&start] { return std::chrono::duration<double>(Clock::now() - start).count(); };
    std::atomic<long> frames{0};
    std::atomic<bool> failed{false};
    // The first worker to finish a cycle sets the outputs every other one
    // must give.
    std::mutex referenceLock;
    std::vector<uint64_t> reference;
    auto agrees = [&](const std::vector<uint64_t>& outputs) {
        std::lock_guard<std::mutex> held(referenceLock);
        if (reference.empty()) reference = outputs;
        if (reference == outputs) return true;
        std::fprintf(stderr, "morva_soak: threads gave different outputs\n");
        return false;
    };
    // Worker 0 samples memory at the end of each of its cycles, when it holds
    // no temporary image.
    std::vector<Sample> samples;
    std::vector<std::thread> workers;
    for (int t = 0; t < threads; ++t)
        workers.emplace_back([&, t] {
            Worker worker;
            do {
                const long made = worker.cycle();
                if (made < 0) failed = true;
                frames += std::max(made, 0L);
                if (!agrees(worker.firstOutputs())) failed = true;
                if (t == 0) samples.push_back({elapsed(), memoryNow().resident, heapInUse()});
            } while (!failed && elapsed() < seconds);
        });
    for (std::thread& worker : workers) worker.join();
    const double ran = elapsed();

    std::printf("morva_soak: %d thread(s), %.1f s, %ld frames, %.1f frames/s\n", threads, ran, frames.load(),
                double(frames) / ran);
    // The kernel updates the peak lazily; a sample can stand above it.
    long peak = memoryNow().peak;
    for (const Sample& sample : samples) peak = std::max(peak, sample.resident);
    std::printf("peak resident memory: %ld KiB\n", peak);
    if (failed) return 1;
    // One number for all outputs, to compare with other runs and builds.
    uint64_t digest = 1469598103934665603ull;
    for (uint64_t hash : reference) digest = (digest ^ hash) * 1099511628211ull;
    std::printf("outputs digest: %016llx over %zu jobs\n", static_cast<unsigned long long>(digest), reference.size());
    // The first tenth of the run, and at least two cycles, settle caches and
    // the allocator's pools. After that the largest figures of the first and
    // the second half of the samples must agree: a few bytes lost per frame
    // show over a long run.
    size_t first = 2;
    while (first < samples.size() && samples[first].at < ran / 10) ++first;
    if (samples.size() < first + 4) {
        std::printf("morva_soak: outputs identical; too few cycles to judge memory, run longer\n");
        return 0;
    }
    const size_t middle = first + (samples.size() - first) / 2;
    const Sample early = largest(samples, first, middle), late = largest(samples, middle, samples.size());
    std::printf("resident memory: %ld KiB in the first half, %ld KiB in the second\n", early.resident, late.resident);
    std::printf("heap in use: %zu KiB in the first half, %zu KiB in the second\n", early.heap / 1024, late.heap / 1024);
    // The heap is sampled between worker 0's cycles; other workers may hold
    // images of theirs at that moment, so it is judged in one thread alone.
    const long residentGrowth = late.resident - early.resident;
    const long heapGrowth = threads == 1 ? (long(late.heap) - long(early.heap)) / 1024 : 0;
    if (residentGrowth > 4096 || heapGrowth > 1024) {
        std::printf("morva_soak: memory grew by %ld KiB resident, %ld KiB heap\n", residentGrowth, heapGrowth);
        return 1;
    }
    std::printf("morva_soak: outputs identical, memory flat\n");
    return 0;
}
