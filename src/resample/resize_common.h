// Small helpers shared by the resampling families.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>

namespace morva {

// p rounded up to a multiple of n bytes, n a power of two.
template <class T>
inline T* alignUp(const void* p, size_t n) {
    const uintptr_t v = (reinterpret_cast<uintptr_t>(p) + (n - 1)) & ~uintptr_t(n - 1);
    return reinterpret_cast<T*>(v);
}

// Truncation toward zero as the processor's conversion does it: a value
// outside the 32-bit range, or NaN, gives INT32_MIN.
inline int32_t truncToInt32(double v) {
    if (!(v > -2147483649.0 && v < 2147483648.0)) return INT32_MIN;
    return static_cast<int32_t>(v);
}

// v limited to lo..hi before conversion; NaN gives lo. Table builders use it
// where a position far outside the source must still give a safe index.
inline int32_t clampToInt32(double v, int32_t lo, int32_t hi) {
    if (!(v >= lo)) return lo;
    if (v >= hi) return hi;
    return static_cast<int32_t>(v);
}

// floor(d) to the last bit, the sign of a zero included, without the
// library call that std::floor costs on processors before SSE4.1: from the
// 64-bit conversion while d may have a fraction (below 2^52), else d itself.
inline double floorOf(double d) {
    if (!(std::fabs(d) < 4503599627370496.0)) return std::floor(d);
    const double t = double(int64_t(d));
    return t > d ? t - 1.0 : std::copysign(t, d);
}

inline int32_t clampSample(int32_t v, int32_t maxValue) {
    return v < 0 ? 0 : (v > maxValue ? maxValue : v);
}

// The form for T's depth, in the kernel tables: a for 8u, b for 16u.
template <class T, class A, class B>
constexpr auto byDepth(A a, B b) {
    if constexpr (sizeof(T) == 1)
        return a;
    else
        return b;
}

}  // namespace morva
