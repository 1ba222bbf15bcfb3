#include "progress.h"

#include <unistd.h>

#include <cstdio>
#include <string>

namespace morvatool {

namespace {
constexpr int kBarWidth = 30;
}

Progress::Progress(int64_t total, bool enabled)
    : total_(total), shown_(enabled && total > 1 && isatty(STDERR_FILENO)) {}

Progress::~Progress() {
    if (shown_ && lastPercent_ >= 0) std::fputc('\n', stderr);
}

void Progress::update(int64_t done) {
    if (!shown_) return;
    const int percent = int(done * 100 / total_);
    if (percent == lastPercent_ && done != total_) return;
    lastPercent_ = percent;
    const int filled = int(done * kBarWidth / total_);
    const std::string bar = std::string(size_t(filled), '#') + std::string(size_t(kBarWidth - filled), '.');
    std::fprintf(stderr, "\rmorva: frame %lld/%lld [%s] %3d%%", static_cast<long long>(done),
                 static_cast<long long>(total_), bar.c_str(), percent);
    std::fflush(stderr);
}

}  // namespace morvatool
