// What the tool tells while it works: a progress line on a terminal, and one
// summary line at the end.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace morvatool {

class Progress {
public:
    // Shows the line only if `enabled`, and stderr is a terminal: logs and
    // pipes get the summary alone. `total` is the expected frame count, if
    // known.
    Progress(std::optional<int64_t> total, bool enabled);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void update(int64_t done);
    // Takes the line off the terminal, so that a message can stand there.
    void clear();
    double seconds() const;

    // "frame 40/100 [#####.....] 40% 52.1 fps ETA 0:01", or without a total
    // "frame 40 52.1 fps".
    static std::string line(int64_t done, std::optional<int64_t> total, double seconds);

private:
    std::optional<int64_t> total_;
    bool shown_;
    std::chrono::steady_clock::time_point start_, lastShown_;
    bool drawn_ = false;
};

}  // namespace morvatool
