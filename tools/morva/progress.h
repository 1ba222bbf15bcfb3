// A progress bar on stderr for work of many frames.
#pragma once

#include <cstdint>

namespace morvatool {

class Progress {
public:
    // Shows nothing unless `enabled`, there is more than one frame, and stderr
    // is a terminal: logs and pipes stay clean.
    Progress(int64_t total, bool enabled);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void update(int64_t done);

private:
    int64_t total_;
    bool shown_;
    int lastPercent_ = -1;
};

}  // namespace morvatool
