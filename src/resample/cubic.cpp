// The cubic family. Per target row and column: d = (x + 0.5) * scale - 0.5 +
// offset, k = floor(d), the float32 fraction d - k and four coefficients for
// the taps k - 1 .. k + 2. Pixels whose taps would leave the source form the
// rim and are computed directly with clamped taps, rounding by
// trunc(v + 0.5000001); the interior goes through the row kernels and rounds
// ties to even. The two roundings differ on purpose.
#include "resample/cubic.h"

#include <cmath>

#include "morva.h"
#include "resample/cubic_forms.h"
#include "resample/resize_common.h"

namespace morva {
namespace {

// ---- Scalar definitions of the row kernels ---------------------------------

template <class T, int Channels>
void cubicRowScalar(const T* p, const int32_t* columns, const float* coefficients, float* out,
                    int32_t width) {
    const int32_t blocked = width - width % 4;
    for (int32_t j = 0; j < width; ++j) {
        const T* q = p + columns[j];
        const float* c = coefficients + 4 * j;
        for (int s = 0; s < Channels; ++s) {
            const float a0 = float(q[s - Channels]) * c[0];
            const float a1 = float(q[s]) * c[1];
            const float a2 = float(q[s + Channels]) * c[2];
            const float a3 = float(q[s + 2 * Channels]) * c[3];
            float v;
            if (Channels != 1)
                v = (a0 + a3) + (a1 + a2);
            else if (j < blocked)
                v = (a0 + a1) + (a2 + a3);
            else
                v = (a0 + a2) + (a1 + a3);
            out[j * Channels + s] = v;
        }
    }
}

template <class T>
void cubicBlendScalar(const float* const* rows, const float* c, T* dst, int32_t count) {
    const float *a = rows[0], *b = rows[1], *cc = rows[2], *d = rows[3];
    for (int32_t i = 0; i < count; ++i) {
        const float v = (a[i] * c[0] + b[i] * c[1]) + (cc[i] * c[2] + d[i] * c[3]);
        dst[i] = saturateSample<T>(roundToInt32(v));
    }
}

template <int32_t Id>
void cubicCoefficientsOf(float fraction, float* c) {
    cubicCoefficients(Id, fraction, c);
}

TapCoefficientsFn coefficientsOf(int32_t id) {
    switch (id) {
    case INTER_CUBIC: return &cubicCoefficientsOf<INTER_CUBIC>;
    case INTER_CUBIC_BSPLINE: return &cubicCoefficientsOf<INTER_CUBIC_BSPLINE>;
    case INTER_CUBIC_CATMULLROM: return &cubicCoefficientsOf<INTER_CUBIC_CATMULLROM>;
    default: return &cubicCoefficientsOf<INTER_CUBIC_B05C03>;
    }
}

// ---- Rim ------------------------------------------------------------------------

// Column taps of a rim row over the full width, in pixels, for entry k.
void fullWidthTaps(int32_t k, int32_t w, int32_t taps[4]) {
    if (k < 0) {
        taps[0] = 0, taps[1] = 0, taps[2] = 0, taps[3] = 1;
    } else if (k == 0) {
        taps[0] = 0, taps[1] = 0, taps[2] = 1, taps[3] = 2;
    } else if (k == w - 2) {
        taps[0] = w - 3, taps[1] = w - 2, taps[2] = w - 1, taps[3] = w - 1;
    } else if (k > w - 2) {
        taps[0] = w - 2, taps[1] = w - 1, taps[2] = w - 1, taps[3] = w - 1;
    } else {
        taps[0] = k - 1, taps[1] = k, taps[2] = k + 1, taps[3] = k + 2;
    }
}

// Rim pixels straight from the source in float32. The rows over the full
// width clamp their column taps and collapse the coefficients of coinciding
// rows at the top; the columns of the rows between collapse the coefficients
// of coinciding columns. The orders of the sums are fixed.
template <class T>
class CubicRim {
public:
    CubicRim(const ResizeJob& job, const TapPlan<4>& plan)
        : job_(job),
          a_(*job.args),
          plan_(plan),
          src_(reinterpret_cast<const T*>(a_.src)),
          dst_(reinterpret_cast<T*>(job.dst)) {}

    void operator()(int32_t i, int32_t j) const {
        const float* y = plan_.rowCoefficients + 4 * i;
        const float* c = plan_.columnCoefficients + 4 * j;
        const bool fullWidth = i < plan_.rows.first() || i >= a_.height - plan_.rows.last();
        T* out = dst_ + ptrdiff_t(i) * job_.dstStep + ptrdiff_t(j) * a_.nChannels;
        for (int32_t s = 0; s < a_.nProcessed; ++s) {
            const float v =
                fullWidth ? fullWidthValue(i, j, s, y, c) : rimColumnValue(i, j, s, y, c);
            out[s] = T(roundRimValue(v, kMaxValue));
        }
    }

private:
    static constexpr int32_t kMaxValue = sizeof(T) == 1 ? 255 : 65535;

    const T* sourceRow(int32_t r) const { return src_ + ptrdiff_t(r) * job_.srcStep; }
    float sample(const T* row, int32_t pixel, int32_t s) const {
        return float(row[ptrdiff_t(pixel) * a_.nChannels + s]);
    }

    float fullWidthValue(int32_t i, int32_t j, int32_t s, const float* y, const float* c) const {
        int32_t taps[4];
        fullWidthTaps(job_.columns[j] / plan_.pixelStride, a_.srcWidth, taps);
        const auto rowSum = [&](int32_t r) {
            const T* row = sourceRow(r);
            return ((sample(row, taps[0], s) * c[0] + sample(row, taps[1], s) * c[1]) +
                    sample(row, taps[2], s) * c[2]) +
                   sample(row, taps[3], s) * c[3];
        };
        const int32_t h = a_.srcHeight;
        const int32_t k = rimK(plan_.rows, i, a_.height, h);
        if (k < 0) return rowSum(0) * ((y[0] + y[1]) + y[2]) + rowSum(1) * y[3];
        if (k == 0) return (rowSum(0) * (y[0] + y[1]) + rowSum(2) * y[3]) + rowSum(1) * y[2];
        if (k > h - 2)
            return ((rowSum(h - 2) * y[0] + rowSum(h - 1) * y[3]) + rowSum(h - 1) * y[2]) +
                   rowSum(h - 1) * y[1];
        return ((rowSum(h - 3) * y[0] + rowSum(h - 1) * y[3]) + rowSum(h - 1) * y[2]) +
               rowSum(h - 2) * y[1];
    }

    float rimColumnValue(int32_t i, int32_t j, int32_t s, const float* y, const float* c) const {
        const int32_t w = a_.srcWidth;
        const AxisRim<4>& rim = plan_.columns;
        const auto columnSum = [&](const T* row) {
            if (j < rim.low[0])
                return sample(row, 0, s) * ((c[0] + c[1]) + c[2]) + sample(row, 1, s) * c[3];
            if (j < rim.low[1])
                return (sample(row, 0, s) * (c[0] + c[1]) + sample(row, 1, s) * c[2]) +
                       sample(row, 2, s) * c[3];
            if (j >= a_.width - rim.high[0])
                return sample(row, w - 2, s) * c[0] +
                       sample(row, w - 1, s) * ((c[1] + c[2]) + c[3]);
            return (sample(row, w - 3, s) * c[0] + sample(row, w - 2, s) * c[1]) +
                   sample(row, w - 1, s) * (c[2] + c[3]);
        };
        const T* r = src_ + job_.rows[i];
        const ptrdiff_t step = job_.srcStep;
        return ((columnSum(r - step) * y[0] + columnSum(r + 2 * step) * y[3]) +
                columnSum(r + step) * y[2]) +
               columnSum(r) * y[1];
    }

    const ResizeJob& job_;
    const ResizeArgs& a_;
    const TapPlan<4>& plan_;
    const T* src_;
    T* dst_;
};

template <class T>
void runCubic(const ResizeJob& job) {
    // Fractions and cached rows on 64 bytes, coefficients on 32.
    constexpr TapAlignment kAlignment{64, 64, 32};
    const TapPlan<4> plan =
        planTapFilter<4>(job, kAlignment, coefficientsOf(job.args->interpolation));
    forEachRimPixel(job, plan, CubicRim<T>(job, plan));
    const int32_t n = job.args->nProcessed;
    const bool doubling = n == 1 && interiorColumnsDouble(job, plan);
    const TapRowFn<T> row =
        doubling ? byDepth<T>(cubicDoubleRow8uTable().current(), cubicDoubleRow16uTable().current())
                 : byDepth<T>(cubicRow8uTable(n).current(), cubicRow16uTable(n).current());
    runTapInterior<4, T>(job, plan, row,
                         byDepth<T>(cubicBlend8uTable().current(), cubicBlend16uTable().current()));
}

}  // namespace

double cubicKernel(int32_t id, double d) {
    if (d >= 2.0) return 0.0;
    const bool near = d < 1.0;
    switch (id) {
    case INTER_CUBIC:
        return near ? ((d * 0.5) * d - d - 0.5) * d + 1.0
                    : ((-0.16666666666666666 * d) * d + d - 1.8333333333333333) * d + 1.0;
    case INTER_CUBIC_BSPLINE:
        return near ? ((d * 0.5) * d - d) * d + 0.6666666666666666
                    : ((-0.16666666666666666 * d) * d + d) * d + (1.3333333333333333 - d - d);
    case INTER_CUBIC_CATMULLROM:
        return near ? ((d * 1.5 - 2.5) * d) * d + 1.0 : ((-0.5 * d + 2.5) * d - 4.0) * d + 2.0;
    default:  // INTER_CUBIC_B05C03
        return near ? ((d * 0.95 - 1.7) * d) * d + 0.8333333333333334
                    : ((-0.38333333333333336 * d + 2.0) * d - 3.4) * d + 1.8666666666666667;
    }
}

void cubicCoefficients(int32_t id, float fraction, float c[4]) {
    const float t = -1.0f - fraction;
    const float distances[4] = {std::fabs(t), std::fabs(1.0f + t), std::fabs(t + 2.0f),
                                std::fabs(t + 3.0f)};
    for (int n = 0; n < 4; ++n) c[n] = float(cubicKernel(id, double(distances[n])));
}

const KernelTable<TapRowFn<uint8_t>>& cubicRow8uTable(int32_t channels) {
    static const KernelTable<TapRowFn<uint8_t>> c1 {
        {"scalar", Isa::Scalar, &cubicRowScalar<uint8_t, 1>},
#if MORVA_X86_64
            {"sse2", Isa::Sse2, &cubicRow8uC1Sse2}, {"avx2", Isa::Avx2, &cubicRow8uC1Avx2},
#endif
    };
    static const KernelTable<TapRowFn<uint8_t>> c3 {
        {"scalar", Isa::Scalar, &cubicRowScalar<uint8_t, 3>},
#if MORVA_X86_64
            {"sse2", Isa::Sse2, &cubicRow8uC3Sse2},
#endif
    };
    static const KernelTable<TapRowFn<uint8_t>> c4 {
        {"scalar", Isa::Scalar, &cubicRowScalar<uint8_t, 4>},
#if MORVA_X86_64
            {"sse2", Isa::Sse2, &cubicRow8uC4Sse2}, {"avx2", Isa::Avx2, &cubicRow8uC4Avx2},
#endif
    };
    return channels == 1 ? c1 : (channels == 3 ? c3 : c4);
}

const KernelTable<TapRowFn<uint16_t>>& cubicRow16uTable(int32_t channels) {
    static const KernelTable<TapRowFn<uint16_t>> c1 {
        {"scalar", Isa::Scalar, &cubicRowScalar<uint16_t, 1>},
#if MORVA_X86_64
            {"sse2", Isa::Sse2, &cubicRow16uC1Sse2},
#endif
    };
    static const KernelTable<TapRowFn<uint16_t>> c3 {
        {"scalar", Isa::Scalar, &cubicRowScalar<uint16_t, 3>},
#if MORVA_X86_64
            {"sse2", Isa::Sse2, &cubicRow16uC3Sse2},
#endif
    };
    static const KernelTable<TapRowFn<uint16_t>> c4 {
        {"scalar", Isa::Scalar, &cubicRowScalar<uint16_t, 4>},
#if MORVA_X86_64
            {"sse2", Isa::Sse2, &cubicRow16uC4Sse2},
#endif
    };
    return channels == 1 ? c1 : (channels == 3 ? c3 : c4);
}

const KernelTable<TapRowFn<uint8_t>>& cubicDoubleRow8uTable() {
    static const KernelTable<TapRowFn<uint8_t>> table {
        {"scalar", Isa::Scalar, &cubicRowScalar<uint8_t, 1>},
#if MORVA_X86_64
            {"sse2", Isa::Sse2, &cubicRow8uC1Sse2}, {"avx2", Isa::Avx2, &cubicDoubleRow8uAvx2},
            {"avx512", Isa::Avx512, &cubicDoubleRow8uAvx512},
#endif
    };
    return table;
}

const KernelTable<TapRowFn<uint16_t>>& cubicDoubleRow16uTable() {
    static const KernelTable<TapRowFn<uint16_t>> table {
        {"scalar", Isa::Scalar, &cubicRowScalar<uint16_t, 1>},
#if MORVA_X86_64
            {"sse2", Isa::Sse2, &cubicRow16uC1Sse2}, {"avx2", Isa::Avx2, &cubicDoubleRow16uAvx2},
            {"avx512", Isa::Avx512, &cubicDoubleRow16uAvx512},
#endif
    };
    return table;
}

const KernelTable<TapBlendFn<uint8_t>>& cubicBlend8uTable() {
    static const KernelTable<TapBlendFn<uint8_t>> table {
        {"scalar", Isa::Scalar, &cubicBlendScalar<uint8_t>},
#if MORVA_X86_64
            {"sse2", Isa::Sse2, &cubicBlend8uSse2}, {"avx2", Isa::Avx2, &cubicBlend8uAvx2},
            {"avx512", Isa::Avx512, &cubicBlend8uAvx512},
#endif
    };
    return table;
}

const KernelTable<TapBlendFn<uint16_t>>& cubicBlend16uTable() {
    static const KernelTable<TapBlendFn<uint16_t>> table {
        {"scalar", Isa::Scalar, &cubicBlendScalar<uint16_t>},
#if MORVA_X86_64
            {"sse2", Isa::Sse2, &cubicBlend16uSse2}, {"avx2", Isa::Avx2, &cubicBlend16uAvx2},
            {"avx512", Isa::Avx512, &cubicBlend16uAvx512},
#endif
    };
    return table;
}

IppStatus resizeCubic(const ResizeJob& job) {
    if (job.args->depth == 0)
        runCubic<uint8_t>(job);
    else
        runCubic<uint16_t>(job);
    return ippStsNoErr;
}

}  // namespace morva
