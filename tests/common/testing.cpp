#include "common/testing.h"

#include <cstdlib>

namespace morva::testing {

uint32_t testSeed() {
    static const uint32_t seed = [] {
        const char* text = std::getenv("MORVA_TEST_SEED");
        return text ? static_cast<uint32_t>(std::strtoul(text, nullptr, 10)) : 20261121u;
    }();
    return seed;
}

void Rng::fill(uint8_t* p, size_t n) {
    for (size_t i = 0; i < n; ++i) p[i] = static_cast<uint8_t>(next() >> 24);
}

void Rng::fillWithExtremes(uint8_t* p, size_t n) {
    for (size_t i = 0; i < n; ++i) {
        const uint32_t r = next();
        switch (r & 7) {
        case 0: p[i] = 0; break;
        case 1: p[i] = 255; break;
        default: p[i] = static_cast<uint8_t>(r >> 24);
        }
    }
}

GuardedBuffer::GuardedBuffer(size_t size, size_t misalignment)
    : storage_(size + 2 * kMargin + 128, kSentinel), size_(size) {
    uintptr_t base = reinterpret_cast<uintptr_t>(storage_.data()) + kMargin;
    base = (base + 63) & ~uintptr_t(63);
    data_ = reinterpret_cast<uint8_t*>(base + misalignment % 64);
}

bool GuardedBuffer::marginsIntact() const {
    for (size_t i = 1; i <= kMargin; ++i)
        if (data_[-static_cast<ptrdiff_t>(i)] != kSentinel) return false;
    for (size_t i = 0; i < kMargin; ++i)
        if (data_[size_ + i] != kSentinel) return false;
    return true;
}

std::vector<int> testWidths(int maxWidth) {
    std::vector<int> widths;
    for (int w = 1; w <= maxWidth; ++w) widths.push_back(w);
    for (int w : {127, 128, 129, 255, 256, 257, 1920}) widths.push_back(w);
    return widths;
}

std::ostream& operator<<(std::ostream& out, const FormCase& c) {
    return out << c.width << "x" << c.height << " padding " << c.padding << " source +" << c.srcOffset << " target +"
               << c.dstOffset << " variant " << c.variant;
}

std::vector<FormCase> formSweep(const std::vector<int>& heights, const std::vector<int>& variants, int maxWidth) {
    std::vector<FormCase> cases;
    for (int variant : variants)
        for (int height : heights)
            for (int padding : {0, 7})
                for (int width : testWidths(maxWidth)) {
                    const size_t n = cases.size();
                    cases.push_back({width, height, padding, n * 17 % 64, (n * 29 + n / 64) % 64, variant});
                }
    return cases;
}

}  // namespace morva::testing
