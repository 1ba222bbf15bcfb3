#include "pipeline.h"

#include <condition_variable>
#include <deque>
#include <exception>
#include <map>
#include <mutex>
#include <thread>

namespace morvatool {

namespace {

class Pipeline {
public:
    explicit Pipeline(const PipelineStages& stages) : stages_(stages), slots_(size_t(stages.slots)) {
        for (FrameSlot& slot : slots_) stages_.prepare(slot);
        for (size_t i = 0; i < slots_.size(); ++i) freeSlots_.push_back(i);
    }

    void run() {
        std::vector<std::thread> threads;
        threads.emplace_back([this] { guarded([this] { readFrames(); }); });
        for (const auto& composer : stages_.composers)
            threads.emplace_back([this, &composer] { guarded([this, &composer] { composeFrames(composer); }); });
        guarded([this] { takeFrames(); });
        stop();
        for (std::thread& thread : threads) thread.join();
        if (error_) std::rethrow_exception(error_);
    }

private:
    template <class Work>
    void guarded(Work work) {
        try {
            work();
        } catch (...) {
            std::lock_guard lock(mutex_);
            if (!error_) error_ = std::current_exception();
            stopped_ = true;
            changed_.notify_all();
        }
    }

    void stop() {
        std::lock_guard lock(mutex_);
        stopped_ = true;
        changed_.notify_all();
    }

    void readFrames() {
        for (int64_t frame = 0;; ++frame) {
            size_t slot;
            {
                std::unique_lock lock(mutex_);
                changed_.wait(lock, [this] { return stopped_ || !freeSlots_.empty(); });
                if (stopped_) return;
                slot = freeSlots_.front();
                freeSlots_.pop_front();
            }
            const bool more = stages_.read(frame, slots_[slot]);
            std::lock_guard lock(mutex_);
            if (!more) {
                frames_ = frame;
                changed_.notify_all();
                return;
            }
            ready_.push_back({frame, slot});
            changed_.notify_all();
        }
    }

    void composeFrames(const std::function<const void*(const FrameSlot&)>& compose) {
        for (;;) {
            Job job;
            {
                std::unique_lock lock(mutex_);
                changed_.wait(lock, [this] { return stopped_ || !ready_.empty() || frames_ >= 0; });
                if (stopped_ || ready_.empty()) return;
                job = ready_.front();
                ready_.pop_front();
            }
            const void* composed = compose(slots_[job.slot]);
            std::unique_lock lock(mutex_);
            freeSlots_.push_back(job.slot);
            composed_[job.frame] = composed;
            changed_.notify_all();
            // What was composed is this thread's until it has been taken.
            changed_.wait(lock, [&] { return stopped_ || taken_ > job.frame; });
        }
    }

    void takeFrames() {
        for (int64_t frame = 0;; ++frame) {
            const void* composed;
            {
                std::unique_lock lock(mutex_);
                changed_.wait(lock, [&] { return stopped_ || composed_.count(frame) || (frames_ >= 0 && frame >= frames_); });
                if (stopped_ || !composed_.count(frame)) return;
                composed = composed_[frame];
                composed_.erase(frame);
            }
            const bool more = stages_.take(frame, composed);
            std::lock_guard lock(mutex_);
            taken_ = frame + 1;
            changed_.notify_all();
            if (!more) return;
        }
    }

    struct Job {
        int64_t frame;
        size_t slot;
    };

    const PipelineStages& stages_;
    std::vector<FrameSlot> slots_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<size_t> freeSlots_;
    std::deque<Job> ready_;
    std::map<int64_t, const void*> composed_;
    int64_t frames_ = -1;  // known once reading has ended
    int64_t taken_ = 0;
    bool stopped_ = false;
    std::exception_ptr error_;
};

}  // namespace

void runPipeline(const PipelineStages& stages) { Pipeline(stages).run(); }

}  // namespace morvatool
