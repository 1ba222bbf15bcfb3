// What one axis of a family's tables reduces to, read from the tables
// themselves: the arithmetic uses the stored entries and fractions, so a
// shape holds exactly where they say so. A factor of 0.5 with a shift of 0.3
// has other fractions and keeps the general path.
#pragma once

#include <cmath>
#include <cstdint>

namespace morva {

enum class AxisShape {
    General,
    Copy,    // fraction 0, one pixel a step: the source as it is
    Half,    // fraction 1/2, two pixels a step
    Double,  // fractions 3/4 and 1/4 in turn, the pixel advancing after 3/4
};

// The shape of count entries that are k * unit, whose fractions
// quarters(i) gives in quarters of a pixel (-1 where a fraction isn't a
// whole number of quarters).
template <class Quarters>
AxisShape axisShape(const int32_t* entries, int32_t count, int64_t unit, Quarters quarters) {
    if (count <= 0) return AxisShape::General;
    const auto all = [&](auto follows) {
        for (int32_t i = 1; i < count; ++i)
            if (!follows(int64_t(entries[i]) - entries[i - 1], quarters(i - 1), quarters(i))) return false;
        return true;
    };
    const int32_t first = quarters(0);
    if (first == 0 && all([&](int64_t step, int32_t, int32_t q) { return q == 0 && step == unit; }))
        return AxisShape::Copy;
    if (first == 2 && all([&](int64_t step, int32_t, int32_t q) { return q == 2 && step == 2 * unit; }))
        return AxisShape::Half;
    // 3/4 right of pixel m is a quarter left of m + 1: the next position
    // takes m + 1 at 1/4, then the same pixel at 3/4.
    if ((first == 1 || first == 3) && all([&](int64_t step, int32_t previous, int32_t q) {
            return q == 4 - previous && (q == 3 || q == 1) && step == (previous == 3 ? unit : 0);
        }))
        return AxisShape::Double;
    return AxisShape::General;
}

// A float32 fraction in quarters, or -1.
inline int32_t quartersOf(float fraction) {
    const float q = fraction * 4.0f;
    return q == std::floor(q) ? int32_t(q) : -1;
}

}  // namespace morva
