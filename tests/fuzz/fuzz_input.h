// A fuzzer's input read as a sequence of choices. Once the bytes run out every
// further choice is its lowest value, so any input is a complete program of
// calls, and a short input is a simple one.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <type_traits>

namespace morva::fuzz {

// A check that stops the fuzzer with a message: the finding is the input.
#define FUZZ_CHECK(condition)                                                              \
    do {                                                                                   \
        if (!(condition)) {                                                                \
            std::fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                                  \
        }                                                                                  \
    } while (0)

class FuzzInput {
public:
    FuzzInput(const uint8_t* data, size_t size) : data_(data), size_(size) {}

    bool empty() const { return position_ >= size_; }

    template <class T>
    T integral() {
        static_assert(std::is_integral_v<T>);
        std::make_unsigned_t<T> value = 0;
        for (size_t i = 0; i < sizeof(T); ++i) value |= std::make_unsigned_t<T>(byte()) << (8 * i);
        return T(value);
    }

    // A value in lo..hi, from as few bytes as the range needs.
    int32_t inRange(int32_t lo, int32_t hi) {
        const uint64_t span = uint64_t(int64_t(hi) - lo) + 1;
        const uint64_t raw = span <= 0x100 ? byte() : span <= 0x10000 ? integral<uint16_t>() : integral<uint32_t>();
        return int32_t(lo + int64_t(raw % span));
    }

    bool flag() { return (byte() & 1) != 0; }

    template <class T, size_t N>
    const T& pick(const T (&choices)[N]) {
        return choices[inRange(0, int32_t(N) - 1)];
    }

    // A size, mostly small and now and then one of the 32-bit extremes.
    int32_t size(int32_t smallest, int32_t largest) {
        static const int32_t extremes[] = {INT32_MIN, INT32_MIN + 1, -2147482624, -65536, -1, 0,
                                           1,         46341,         715827880,   1073741824, 2147483644, INT32_MAX};
        return inRange(0, 15) == 0 ? pick(extremes) : inRange(smallest, largest);
    }

    // Up to maxLength bytes, ending before a zero byte.
    std::string text(size_t maxLength) {
        std::string out;
        while (out.size() < maxLength && !empty()) {
            const char c = char(byte());
            if (c == '\0') break;
            out += c;
        }
        return out;
    }

    // Bytes for pixels: a seed from the input drives a generator, so that an
    // image of any size costs the input eight bytes.
    void fill(uint8_t* p, size_t n) {
        uint64_t state = integral<uint64_t>();
        const uint8_t style = byte();
        for (size_t i = 0; i < n; ++i) {
            state += 0x9E3779B97F4A7C15ull;
            uint64_t z = state;
            z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
            z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
            const uint8_t random = uint8_t(z >> 56);
            // Some images are all extremes, where arithmetic saturates.
            p[i] = (style & 3) == 0 ? ((random & 1) ? 255 : 0) : random;
        }
    }

private:
    uint8_t byte() { return position_ < size_ ? data_[position_++] : 0; }

    const uint8_t* data_;
    size_t size_;
    size_t position_ = 0;
};

}  // namespace morva::fuzz
