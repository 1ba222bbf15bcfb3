#include "progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace morvatool {

namespace {
constexpr int kBarWidth = 20;

std::string minutesAndSeconds(double seconds) {
    const long whole = long(seconds + 0.5);
    char text[32];
    std::snprintf(text, sizeof text, "%ld:%02ld", whole / 60, whole % 60);
    return text;
}
}  // namespace

Progress::Progress(std::optional<int64_t> total, bool enabled)
    : total_(total), shown_(enabled && isatty(STDERR_FILENO)), start_(std::chrono::steady_clock::now()) {}

Progress::~Progress() { clear(); }

void Progress::clear() {
    if (drawn_) std::fputs("\r\033[K", stderr);
    drawn_ = false;
}

double Progress::seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

std::string Progress::line(int64_t done, std::optional<int64_t> total, double seconds) {
    const double fps = seconds > 0 ? double(done) / seconds : 0.0;
    char rate[32];
    std::snprintf(rate, sizeof rate, "%.1f fps", fps);
    std::string text = "frame " + std::to_string(done);
    // A total read from a file's size may be short of a padded file's frames.
    if (total && *total >= done && *total > 0) {
        const int filled = int(done * kBarWidth / *total);
        text += "/" + std::to_string(*total) + " [" + std::string(size_t(filled), '#') +
                std::string(size_t(kBarWidth - filled), '.') + "] " + std::to_string(done * 100 / *total) + "% " + rate;
        if (fps > 0) text += " ETA " + minutesAndSeconds(double(*total - done) / fps);
        return text;
    }
    return text + " " + rate;
}

void Progress::update(int64_t done) {
    if (!shown_) return;
    const auto now = std::chrono::steady_clock::now();
    // A few redraws a second are enough to read.
    if (drawn_ && now - lastShown_ < std::chrono::milliseconds(200) && (!total_ || done != *total_)) return;
    lastShown_ = now;
    drawn_ = true;
    std::fprintf(stderr, "\r\033[Kmorva: %s", line(done, total_, seconds()).c_str());
    std::fflush(stderr);
}

}  // namespace morvatool
