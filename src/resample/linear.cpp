// Linear resampling. Per target row and column: the source position
// d = (x + 0.5) * scale - 0.5 + offset, k = floor(d), the fraction d - k.
// Pixels whose taps would leave the source form the rim and take the
// one-dimensional formulas with a single rounding; the interior goes through
// the row kernels with two roundings (8u) or a float32 blend (16u). The two
// roundings can differ by one level on purpose.
#include "resample/linear.h"

#include <algorithm>
#include <cmath>
#include <type_traits>
#include <utility>

#include "resample/linear_fast_paths.h"
#include "resample/linear_forms.h"
#include "resample/resize_common.h"

namespace morva {

// ---- Scalar definitions of the row kernels ---------------------------------
// (declared in linear_forms.h: the vector forms finish their rows with them)

template <int Channels>
void linearRow8uScalar(const uint8_t* p, int32_t, const int32_t* columns, const int16_t* weights,
                       int16_t* out, int32_t width) {
    for (int32_t j = 0; j < width; ++j) {
        const int32_t k = columns[j];
        const int32_t w0 = weights[2 * j], w1 = weights[2 * j + 1];
        for (int s = 0; s < Channels; ++s)
            out[j * Channels + s] =
                static_cast<int16_t>((p[k + s] * w0 + p[k + Channels + s] * w1 + 128) >> 8);
    }
}

void linearBlend8uScalar(const int16_t* a, const int16_t* b, uint8_t* dst, int32_t count,
                         int32_t fraction) {
    for (int32_t i = 0; i < count; ++i) {
        const int32_t v = (a[i] * (16384 - fraction) + b[i] * fraction + 524288) >> 20;
        dst[i] = static_cast<uint8_t>(clampSample(v, 255));
    }
}

template <int Channels>
void linearRow16uScalar(const uint16_t* p, int32_t, const int32_t* columns, const float* fractions,
                        float* out, int32_t width) {
    for (int32_t j = 0; j < width; ++j) {
        const int32_t k = columns[j];
        const float f = fractions[j];
        for (int s = 0; s < Channels; ++s) {
            const float a = float(p[k + s]);
            const float b = float(p[k + Channels + s]);
            out[j * Channels + s] = a + (b - a) * f;
        }
    }
}

void linearBlend16uScalar(const float* a, const float* b, uint16_t* dst, int32_t count,
                          float fraction) {
    for (int32_t i = 0; i < count; ++i) {
        const float v = a[i] + (b[i] - a[i]) * fraction;
        dst[i] = static_cast<uint16_t>(clampSample(truncToInt32(v + kBlend16uHalf), 65535));
    }
}

template void linearRow8uScalar<3>(const uint8_t*, int32_t, const int32_t*, const int16_t*, int16_t*, int32_t);
template void linearRow8uScalar<4>(const uint8_t*, int32_t, const int32_t*, const int16_t*, int16_t*, int32_t);

namespace {

// ---- Tables -----------------------------------------------------------------

// One axis: table entry k * multiplier, and the fraction through store(i, d, k).
// k is limited to -1 .. length - 1: the rim tells k < 0 and k > length - 2
// apart only, and the interior's k lies between; the limit keeps far
// positions from overflowing the 32-bit entry.
template <class StoreFraction>
LinearAxisRim buildAxis(int32_t* table, int32_t count, int32_t first, double scale, double offset,
                        int32_t length, int32_t multiplier, StoreFraction store) {
    LinearAxisRim rim;
    for (int32_t i = 0; i < count; ++i) {
        const double d = (double(first + i) + 0.5) * scale - 0.5 + offset;
        const double k = floorOf(d);
        table[i] = clampToInt32(k, -1, length - 1) * multiplier;
        store(i, d, k);
        if (d < 0.0) ++rim.low;
        if (d >= double(length - 1)) ++rim.high;
    }
    return rim;
}

// Q14 fraction of 8u; a position just below a whole number can give 16384.
int16_t fraction8u(double d, double k) {
    return static_cast<int16_t>(clampToInt32((d - k) * 16384.0 + 1e-07, 0, 16384));
}

}  // namespace

LinearAxisRim linearAxis8uScalar(int32_t* table, int16_t* fractions, bool pairs, int32_t count, int32_t first,
                                 double scale, double offset, int32_t length, int32_t multiplier) {
    return buildAxis(table, count, first, scale, offset, length, multiplier, [&](int32_t i, double d, double k) {
        const int16_t f = fraction8u(d, k);
        if (pairs)
            fractions[2 * i] = int16_t(16384 - f), fractions[2 * i + 1] = f;
        else
            fractions[i] = f;
    });
}

namespace {

template <class T>
struct LinearTraits;

template <>
struct LinearTraits<uint8_t> {
    using RowSample = int16_t;
    using ColumnFraction = int16_t;  // pairs (16384 - f, f)
    using RowFraction = int16_t;
    static constexpr int kColumnFractions = 2;
};

template <>
struct LinearTraits<uint16_t> {
    using RowSample = float;
    using ColumnFraction = float;
    using RowFraction = float;
    static constexpr int kColumnFractions = 1;
};

// The one-dimensional formulas of the rim, with a single rounding.
// 8u: (w0 * a + w1 * b + 8192) >> 14. 16u: float32 a + (b - a) * f, then
// + 0.5000001 in float64, truncated and limited to 0..65535.
int32_t rimMix(uint8_t a, uint8_t b, int32_t w0, int32_t w1) {
    return (w0 * a + w1 * b + 8192) >> 14;
}

int32_t rimMix(uint16_t a, uint16_t b, float f) {
    const float v = float(a) + float(int32_t(b) - int32_t(a)) * f;
    return clampSample(truncToInt32(double(v) + 0.5000001), 65535);
}

template <class T>
class LinearResize {
    using Traits = LinearTraits<T>;
    using RowSample = typename Traits::RowSample;
    using ColumnFraction = typename Traits::ColumnFraction;
    using RowFraction = typename Traits::RowFraction;

public:
    explicit LinearResize(const ResizeJob& job)
        : job_(job), a_(*job.args), src_(reinterpret_cast<const T*>(a_.src)),
          dst_(reinterpret_cast<T*>(job.dst)), channels_(a_.nChannels) {}

    void run() {
        buildTables();
        writeRim();
        writeInterior();
    }

private:
    void buildTables() {
        columnFractions_ = alignUp<ColumnFraction>(job_.freeSpace, 32);
        rowFractions_ = alignUp<RowFraction>(columnFractions_ + Traits::kColumnFractions * a_.width, 32);
        const int32_t multiplier = a_.nProcessed == 1 ? 1 : channels_;
        LinearAxisRim rows, columns;
        if constexpr (std::is_same_v<T, uint8_t>) {
            const LinearAxis8uFn build = linearAxis8uTable().current();
            rows = build(job_.rows, rowFractions_, false, a_.height, a_.y0, a_.yScale, a_.yOffset, a_.srcHeight,
                         job_.srcStep);
            columns = build(job_.columns, columnFractions_, true, a_.width, a_.x0, a_.xScale, a_.xOffset,
                            a_.srcWidth, multiplier);
        } else {
            const auto fraction = [](float* into) {
                return [into](int32_t i, double d, double k) { into[i] = float(d - k); };
            };
            rows = buildAxis(job_.rows, a_.height, a_.y0, a_.yScale, a_.yOffset, a_.srcHeight, job_.srcStep,
                             fraction(rowFractions_));
            columns = buildAxis(job_.columns, a_.width, a_.x0, a_.xScale, a_.xOffset, a_.srcWidth, multiplier,
                                fraction(columnFractions_));
        }
        top_ = rows.low;
        bottom_ = rows.high;
        left_ = columns.low;
        right_ = columns.high;

        // Row buffers: one sample per processed sample of an interior row.
        const int32_t interiorSamples = a_.nProcessed * std::max(a_.width - left_ - right_, 0);
        rowBuffer0_ = alignUp<RowSample>(rowFractions_ + a_.height, 32);
        const size_t secondAlign = std::is_same_v<T, uint8_t> && a_.nProcessed > 1 ? 16 : 32;
        rowBuffer1_ = alignUp<RowSample>(rowBuffer0_ + interiorSamples, secondAlign);
    }

    int32_t mixAcross(T a, T b, int32_t j) const {
        if constexpr (std::is_same_v<T, uint8_t>)
            return rimMix(a, b, columnFractions_[2 * j], columnFractions_[2 * j + 1]);
        else
            return rimMix(a, b, columnFractions_[j]);
    }

    int32_t mixDown(T a, T b, int32_t i) const {
        if constexpr (std::is_same_v<T, uint8_t>)
            return rimMix(a, b, 16384 - rowFractions_[i], rowFractions_[i]);
        else
            return rimMix(a, b, rowFractions_[i]);
    }

    T* targetRow(int32_t i) const { return dst_ + ptrdiff_t(i) * job_.dstStep; }

    // A whole target row from one source row, taps limited to the row.
    void rimRowAcross(const T* row, T* out) const {
        const int32_t lastPixel = (a_.srcWidth - 1) * channels_;
        for (int32_t j = 0; j < a_.width; ++j) {
            const int32_t k = job_.columns[j];
            int32_t tapA = k, tapB = k + channels_;
            if (k < 0)
                tapA = tapB = 0;
            else if (k > (a_.srcWidth - 2) * channels_)
                tapA = tapB = lastPixel;
            for (int32_t s = 0; s < a_.nProcessed; ++s)
                out[j * channels_ + s] = static_cast<T>(mixAcross(row[tapA + s], row[tapB + s], j));
        }
    }

    // Column j of target row i from source column `column`, rows r and r + 1.
    void rimPixelDown(int32_t i, int32_t j, int32_t column) const {
        const T* upper = src_ + job_.rows[i] + column;
        const T* lower = upper + job_.srcStep;
        T* out = targetRow(i) + j * channels_;
        for (int32_t s = 0; s < a_.nProcessed; ++s)
            out[s] = static_cast<T>(mixDown(upper[s], lower[s], i));
    }

    // The rim, in this order: the top rows over the full width, the left and
    // right columns of the rows between, the bottom rows over the full width.
    // The corners belong to the top and bottom rows.
    void writeRim() const {
        for (int32_t i = 0; i < top_; ++i) rimRowAcross(src_, targetRow(i));
        const int32_t lastPixel = (a_.srcWidth - 1) * channels_;
        for (int32_t i = top_; i < a_.height - bottom_; ++i) {
            for (int32_t j = 0; j < left_; ++j) rimPixelDown(i, j, 0);
            for (int32_t j = a_.width - right_; j < a_.width; ++j) rimPixelDown(i, j, lastPixel);
        }
        const T* lastRow = src_ + ptrdiff_t(a_.srcHeight - 1) * job_.srcStep;
        for (int32_t i = a_.height - bottom_; i < a_.height; ++i) rimRowAcross(lastRow, targetRow(i));
    }

    // Two row buffers over the source rows r and r + step of the current
    // target row; a source row is interpolated across once however many
    // target rows use it. `last` is the entry of the last row worked on.
    template <class RowFn, class BlendFn>
    void interior(RowFn interpolate, BlendFn blend) const {
        const int32_t width = a_.width - left_ - right_;
        const int32_t height = a_.height - top_ - bottom_;
        if (width <= 0 || height <= 0) return;
        const int32_t* rows = job_.rows + top_;
        const int32_t* columns = job_.columns + left_;
        const ColumnFraction* columnFractions = columnFractions_ + Traits::kColumnFractions * left_;
        const RowFraction* rowFractions = rowFractions_ + top_;
        T* out = targetRow(top_) + left_ * channels_;
        const int32_t step = job_.srcStep;
        const auto beyond = [step](int64_t r, int64_t last) { return step >= 0 ? r > last : r < last; };

        RowSample* a = rowBuffer0_;
        RowSample* b = rowBuffer1_;
        int64_t last = step >= 0 ? int64_t(rows[0]) - 1 : int64_t(rows[0]) + 1;
        interpolate(src_ + rows[0], a_.srcWidth, columns, columnFractions, rowBuffer1_, width);
        for (int32_t i = 0; i < height; ++i) {
            const int32_t r = rows[i];
            if (beyond(r, last)) {
                std::swap(a, b);
                interpolate(src_ + r + step, a_.srcWidth, columns, columnFractions, b, width);
                if (beyond(r, last + step)) interpolate(src_ + r, a_.srcWidth, columns, columnFractions, a, width);
                last = r;
            }
            blend(a, b, out + ptrdiff_t(i) * job_.dstStep, width * a_.nProcessed, rowFractions[i]);
        }
    }

    // Fractions in quarters of a pixel, -1 where not a whole number of them.
    static int32_t quarters(int16_t f) { return f % 4096 == 0 ? f / 4096 : -1; }
    static int32_t quarters(float f) { return quartersOf(f); }
    int32_t columnQuarters(int32_t j) const {
        return quarters(columnFractions_[Traits::kColumnFractions * (left_ + j + 1) - 1]);
    }
    int32_t rowQuarters(int32_t i) const { return quarters(rowFractions_[top_ + i]); }

    // The interior in one pass where its tables allow (linear_fast_paths.h):
    // 8u rows that keep their columns (down only), and halving or doubling
    // both ways for the pixels whose kernels have vector forms. False where
    // none applies.
    bool writeFastInterior(int32_t width, int32_t height) const {
        if (a_.nProcessed != channels_) return false;
        const int32_t* columns = job_.columns + left_;
        const int32_t* rows = job_.rows + top_;
        const AxisShape across =
            axisShape(columns, width, channels_, [this](int32_t j) { return columnQuarters(j); });
        if (across == AxisShape::General) return false;
        const AxisShape down = axisShape(rows, height, job_.srcStep, [this](int32_t i) { return rowQuarters(i); });
        // body(i, upper, lower, out) for each interior row: the source rows of
        // its taps from the first interior column, and its first target pixel.
        const auto eachRow = [&](auto body) {
            T* out = targetRow(top_) + left_ * channels_;
            for (int32_t i = 0; i < height; ++i) {
                const T* upper = src_ + rows[i] + columns[0];
                body(i, upper, upper + job_.srcStep, out + ptrdiff_t(i) * job_.dstStep);
            }
            return true;
        };
        if constexpr (sizeof(T) == 1) {
            if (across == AxisShape::Copy) {
                const LinearVertical8uFn vertical = linearVertical8uTable().current();
                return eachRow([&](int32_t i, const T* upper, const T* lower, T* out) {
                    vertical(upper, lower, out, width * channels_, rowFractions_[top_ + i]);
                });
            }
        }
        const bool vectorForms = channels_ == 1 || (channels_ == 4 && sizeof(T) == 1);
        if (!vectorForms || across != down) return false;
        if (across == AxisShape::Half) {
            const auto box = byDepth<T>(linearBox8uTable(channels_).current(), linearBox16uTable().current());
            return eachRow([&](int32_t, const T* upper, const T* lower, T* out) { box(upper, lower, out, width); });
        }
        if (across == AxisShape::Double) {
            const auto doubled = byDepth<T>(linearDouble8uTable(channels_).current(), linearDouble16uTable().current());
            const int32_t firstQuarters = columnQuarters(0);
            return eachRow([&](int32_t i, const T* upper, const T* lower, T* out) {
                doubled(upper, lower, rowQuarters(i), firstQuarters, out, width);
            });
        }
        return false;
    }

    void writeInterior() const {
        const int32_t width = a_.width - left_ - right_, height = a_.height - top_ - bottom_;
        if (width <= 0 || height <= 0 || writeFastInterior(width, height)) return;
        if constexpr (std::is_same_v<T, uint8_t>)
            interior(linearRow8uTable(a_.nProcessed).current(), linearBlend8uTable().current());
        else
            interior(linearRow16uTable(a_.nProcessed).current(), linearBlend16uTable().current());
    }

    const ResizeJob& job_;
    const ResizeArgs& a_;
    const T* src_;
    T* dst_;
    int32_t channels_;
    ColumnFraction* columnFractions_ = nullptr;
    RowFraction* rowFractions_ = nullptr;
    RowSample* rowBuffer0_ = nullptr;
    RowSample* rowBuffer1_ = nullptr;
    int32_t top_ = 0, bottom_ = 0, left_ = 0, right_ = 0;
};

}  // namespace

const KernelTable<LinearRow8uFn>& linearRow8uTable(int32_t channels) {
    static const KernelTable<LinearRow8uFn> c1{
        {"scalar", Isa::Scalar, &linearRow8uScalar<1>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &linearRow8uC1Sse2},
        {"avx512", Isa::Avx512, &linearRow8uC1Avx512},
#endif
    };
    static const KernelTable<LinearRow8uFn> c3{
        {"scalar", Isa::Scalar, &linearRow8uScalar<3>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &linearRow8uC3Sse2},
        {"avx2", Isa::Avx2, &linearRow8uC3Avx2},
#endif
    };
    static const KernelTable<LinearRow8uFn> c4{
        {"scalar", Isa::Scalar, &linearRow8uScalar<4>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &linearRow8uC4Sse2},
        {"avx2", Isa::Avx2, &linearRow8uC4Avx2},
        {"avx512", Isa::Avx512, &linearRow8uC4Avx512},
#endif
    };
    return channels == 1 ? c1 : (channels == 3 ? c3 : c4);
}

const KernelTable<LinearAxis8uFn>& linearAxis8uTable() {
    static const KernelTable<LinearAxis8uFn> table{
        {"scalar", Isa::Scalar, &linearAxis8uScalar},
#if MORVA_X86_64
        {"avx512", Isa::Avx512, &linearAxis8uAvx512},
#endif
    };
    return table;
}

const KernelTable<LinearBlend8uFn>& linearBlend8uTable() {
    static const KernelTable<LinearBlend8uFn> table{
        {"scalar", Isa::Scalar, &linearBlend8uScalar},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &linearBlend8uSse2},
        {"avx2", Isa::Avx2, &linearBlend8uAvx2},
#endif
    };
    return table;
}

const KernelTable<LinearRow16uFn>& linearRow16uTable(int32_t channels) {
    static const KernelTable<LinearRow16uFn> c1{
        {"scalar", Isa::Scalar, &linearRow16uScalar<1>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &linearRow16uC1Sse2},
#endif
    };
    static const KernelTable<LinearRow16uFn> c3{
        {"scalar", Isa::Scalar, &linearRow16uScalar<3>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &linearRow16uC3Sse2},
#endif
    };
    static const KernelTable<LinearRow16uFn> c4{
        {"scalar", Isa::Scalar, &linearRow16uScalar<4>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &linearRow16uC4Sse2},
#endif
    };
    return channels == 1 ? c1 : (channels == 3 ? c3 : c4);
}

const KernelTable<LinearBlend16uFn>& linearBlend16uTable() {
    static const KernelTable<LinearBlend16uFn> table{
        {"scalar", Isa::Scalar, &linearBlend16uScalar},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &linearBlend16uSse2},
        {"avx2", Isa::Avx2, &linearBlend16uAvx2},
#endif
    };
    return table;
}

IppStatus resizeLinear(const ResizeJob& job) {
    if (job.args->depth == 0)
        LinearResize<uint8_t>(job).run();
    else
        LinearResize<uint16_t>(job).run();
    return ippStsNoErr;
}

}  // namespace morva
