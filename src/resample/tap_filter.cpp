// Tables, ring of cached rows and roundings of the cubic and Lanczos families.
#include "resample/tap_filter.h"

#include <algorithm>
#include <cmath>

#include "resample/axis_shape.h"
#include "resample/resize_common.h"

namespace morva {
namespace {

// One axis: per entry d = (x + 0.5) * scale - 0.5 + offset in float64, in this
// order; k = floor(d); entry k * multiplier; fraction float32(d - k). k is
// limited to -1 .. length - 1: the rims tell only k < 0 and k > length - 2
// apart, the interior's k lies between, and the limit keeps positions far
// outside (which the geometry check never lets through) from overflowing.
template <int Taps>
AxisRim<Taps> buildAxis(int32_t* table, float* fractions, int32_t count, int32_t first,
                        double scale, double offset, int32_t length, int32_t multiplier) {
    AxisRim<Taps> rim;
    for (int32_t i = 0; i < count; ++i) {
        const double d = (double(first + i) + 0.5) * scale - 0.5 + offset;
        const double k = floorOf(d);
        table[i] = clampToInt32(k, -1, length - 1) * multiplier;
        fractions[i] = float(d - k);
        for (int n = 0; n < AxisRim<Taps>::kLevels; ++n) {
            if (d < double(n)) ++rim.low[n];
            if (d >= double(length - 1 - n)) ++rim.high[n];
        }
    }
    return rim;
}

// The names of the first n cached rows move down by one; the first buffer
// becomes the n-th name, free for a new row.
template <int Taps>
void rotateFirst(float* (&ring)[Taps], int n) {
    float* first = ring[0];
    for (int t = 0; t + 1 < n; ++t) ring[t] = ring[t + 1];
    ring[n - 1] = first;
}

}  // namespace

template <int Taps>
TapPlan<Taps> planTapFilter(const ResizeJob& job, const TapAlignment& alignment,
                            TapCoefficientsFn coefficients) {
    const ResizeArgs& a = *job.args;
    TapPlan<Taps> plan;
    plan.pixelStride = a.nProcessed == 1 ? 1 : a.nChannels;
    plan.columnFractions = alignUp<float>(job.freeSpace, alignment.fractions);
    plan.columns = buildAxis<Taps>(job.columns, plan.columnFractions, a.width, a.x0, a.xScale,
                                   a.xOffset, a.srcWidth, plan.pixelStride);
    plan.rowFractions = alignUp<float>(plan.columnFractions + a.width, alignment.fractions);
    plan.rows = buildAxis<Taps>(job.rows, plan.rowFractions, a.height, a.y0, a.yScale, a.yOffset,
                                a.srcHeight, job.srcStep);

    plan.interiorWidth = std::max(a.width - plan.columns.first() - plan.columns.last(), 0);
    plan.interiorHeight = std::max(a.height - plan.rows.first() - plan.rows.last(), 0);
    const int32_t samples = a.nProcessed * plan.interiorWidth;
    const float* end = plan.rowFractions + a.height;
    for (float*& buffer : plan.rowBuffers) {
        buffer = alignUp<float>(end, alignment.rowBuffers);
        end = buffer + samples;
    }
    plan.columnCoefficients = alignUp<float>(end, alignment.coefficients);
    plan.rowCoefficients =
        alignUp<float>(plan.columnCoefficients + Taps * a.width, alignment.coefficients);
    for (int32_t j = 0; j < a.width; ++j)
        coefficients(plan.columnFractions[j], plan.columnCoefficients + Taps * j);
    for (int32_t i = 0; i < a.height; ++i)
        coefficients(plan.rowFractions[i], plan.rowCoefficients + Taps * i);
    return plan;
}

template <int Taps>
bool interiorColumnsDouble(const ResizeJob& job, const TapPlan<Taps>& plan) {
    const int32_t left = plan.columns.first();
    const float* fractions = plan.columnFractions + left;
    return axisShape(job.columns + left, plan.interiorWidth, plan.pixelStride,
                     [fractions](int32_t j) { return quartersOf(fractions[j]); }) == AxisShape::Double;
}

// The ring names the cached rows A, B, ... for source rows r - Taps / 2 + 1
// .. r + Taps / 2 of the current target row r, and `last` is the table entry
// of the last row worked on. A step of n rows costs min(n, Taps) row
// interpolations; a repeated row costs none. The comparisons are of table
// entries, k times the step, and turn round for a negative step.
template <int Taps, class T>
void runTapInterior(const ResizeJob& job, const TapPlan<Taps>& plan, TapRowFn<T> row,
                    TapBlendFn<T> blend) {
    const int32_t width = plan.interiorWidth, height = plan.interiorHeight;
    if (width <= 0 || height <= 0) return;
    const ResizeArgs& a = *job.args;
    const int32_t top = plan.rows.first(), left = plan.columns.first();
    const T* src = reinterpret_cast<const T*>(a.src);
    const int32_t* rows = job.rows + top;
    const int32_t* columns = job.columns + left;
    const float* columnCoefficients = plan.columnCoefficients + Taps * left;
    const float* rowCoefficients = plan.rowCoefficients + Taps * top;
    T* out = reinterpret_cast<T*>(job.dst) + ptrdiff_t(top) * job.dstStep +
             ptrdiff_t(left) * a.nChannels;
    const int64_t step = job.srcStep;
    const auto interpolate = [&](int64_t entry, float* into) {
        row(src + entry, columns, columnCoefficients, into, width);
    };
    const auto beyond = [step](int64_t r, int64_t mark) { return step >= 0 ? r > mark : r < mark; };
    const auto reached = [step](int64_t r, int64_t mark) {
        return step >= 0 ? r >= mark : r <= mark;
    };
    constexpr int kAbove = Taps / 2 - 1;  // taps above row k

    float* ring[Taps];
    std::copy(plan.rowBuffers, plan.rowBuffers + Taps, ring);
    const int64_t r0 = rows[0];
    for (int t = 1; t < Taps; ++t) interpolate(r0 + (t - 1 - kAbove) * step, ring[t]);
    int64_t last = step >= 0 ? r0 - 1 : r0 + 1;
    for (int32_t i = 0; i < height; ++i) {
        const int64_t r = rows[i];
        if (beyond(r, last)) {
            // The m-th test brings in the row m - 1 places above the newest.
            for (int m = 1; m <= Taps; ++m) {
                if (m > 1 && !reached(r, last + m * step)) break;
                rotateFirst(ring, Taps - m + 1);
                interpolate(r + (kAbove + 2 - m) * step, ring[Taps - m]);
            }
            last = r;
        }
        blend(ring, rowCoefficients + Taps * i, out + ptrdiff_t(i) * job.dstStep,
              width * a.nProcessed);
    }
}

int32_t roundToInt32(float v) {
    const float r = std::nearbyint(v);
    if (!(r >= -2147483648.0f && r < 2147483648.0f)) return INT32_MIN;
    return int32_t(r);
}

int32_t truncFloatToInt32(float v) {
    const float r = std::trunc(v);
    if (!(r >= -2147483648.0f && r < 2147483648.0f)) return INT32_MIN;
    return int32_t(r);
}

template TapPlan<4> planTapFilter<4>(const ResizeJob&, const TapAlignment&, TapCoefficientsFn);
template TapPlan<6> planTapFilter<6>(const ResizeJob&, const TapAlignment&, TapCoefficientsFn);
template bool interiorColumnsDouble<4>(const ResizeJob&, const TapPlan<4>&);
template bool interiorColumnsDouble<6>(const ResizeJob&, const TapPlan<6>&);
template void runTapInterior<4, uint8_t>(const ResizeJob&, const TapPlan<4>&, TapRowFn<uint8_t>,
                                         TapBlendFn<uint8_t>);
template void runTapInterior<4, uint16_t>(const ResizeJob&, const TapPlan<4>&, TapRowFn<uint16_t>,
                                          TapBlendFn<uint16_t>);
template void runTapInterior<6, uint8_t>(const ResizeJob&, const TapPlan<6>&, TapRowFn<uint8_t>,
                                         TapBlendFn<uint8_t>);
template void runTapInterior<6, uint16_t>(const ResizeJob&, const TapPlan<6>&, TapRowFn<uint16_t>,
                                          TapBlendFn<uint16_t>);

}  // namespace morva
