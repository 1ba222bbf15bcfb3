// Lanczos resampling. Per target row and column: d = (x + 0.5) * scale - 0.5 +
// offset, k = floor(d), the float32 fraction d - k and six normalised
// coefficients for the taps k - 2 .. k + 3. Pixels whose taps would leave the
// source form the rim, computed directly with taps clamped to the source and
// rounded by trunc(float64(v) + 0.5000001); the interior goes through the row
// kernels and adds the float32 nearest to 0.5000001 before truncating.
#include "resample/lanczos.h"

#include <algorithm>
#include <cmath>

#include "resample/lanczos_forms.h"
#include "resample/resize_common.h"

namespace morva {

// Laid down at build time by tools/gen_lanczos_table.py: each entry is the
// float32 nearest to the window computed in float64. (The values this design
// was first shipped with differ from the rule by less than 1e-7; ours are the
// nearest ones, which moves a coefficient by at most a unit in its last bit.)
const float ownLanczosTable[kLanczosTableSize] = {
#include "resample/lanczos_table.inc"
};

namespace {

// ---- Scalar definitions of the row kernels ---------------------------------

template <class T, int Channels>
void lanczosRowScalar(const T* p, const int32_t* columns, const float* coefficients, float* out,
                      int32_t width) {
    for (int32_t j = 0; j < width; ++j) {
        const T* q = p + columns[j];
        const float* c = coefficients + 6 * j;
        for (int s = 0; s < Channels; ++s) {
            float a[6];
            for (int t = 0; t < 6; ++t) a[t] = float(q[s + (t - 2) * Channels]) * c[t];
            out[j * Channels + s] = Channels == 1 ? ((a[0] + a[4]) + a[2]) + ((a[1] + a[5]) + a[3])
                                                  : ((a[0] + a[1]) + (a[2] + a[3])) + (a[4] + a[5]);
        }
    }
}

template <class T>
void lanczosBlendScalar(const float* const* rows, const float* c, T* dst, int32_t count) {
    for (int32_t i = 0; i < count; ++i) {
        float v = 0.0f;
        for (int t = 0; t < 6; ++t) v = v + rows[t][i] * c[t];
        dst[i] = saturateSample<T>(truncFloatToInt32(v + kLanczosHalf));
    }
}

// ---- Rim ------------------------------------------------------------------------

// Rim pixels straight from the source in float32. Every tap is clamped to the
// source; the coefficients stay those of the window. Per source row the six
// products are added from the left, equal column taps kept apart; rows that
// coincide have their coefficients added first, and the rows' terms are then
// added from the left.
template <class T>
class LanczosRim {
public:
    LanczosRim(const ResizeJob& job, const TapPlan<6>& plan)
        : job_(job),
          a_(*job.args),
          plan_(plan),
          src_(reinterpret_cast<const T*>(a_.src)),
          dst_(reinterpret_cast<T*>(job.dst)) {}

    void operator()(int32_t i, int32_t j) const {
        const float* c = plan_.columnCoefficients + 6 * j;
        int32_t columnTaps[6];
        const int32_t kx = job_.columns[j] / plan_.pixelStride;
        for (int t = 0; t < 6; ++t)
            columnTaps[t] = std::clamp(kx + t - 2, 0, a_.srcWidth - 1) * a_.nChannels;

        const RowGroups rows = rowGroups(i);
        T* out = dst_ + ptrdiff_t(i) * job_.dstStep + ptrdiff_t(j) * a_.nChannels;
        for (int32_t s = 0; s < a_.nProcessed; ++s) {
            const auto rowSum = [&](const T* row) {
                float v = float(row[columnTaps[0] + s]) * c[0];
                for (int t = 1; t < 6; ++t) v = v + float(row[columnTaps[t] + s]) * c[t];
                return v;
            };
            float v = rowSum(rows.row[0]) * rows.weight[0];
            for (int g = 1; g < rows.count; ++g) v = v + rowSum(rows.row[g]) * rows.weight[g];
            out[s] = T(roundRimValue(v, kMaxValue));
        }
    }

private:
    static constexpr int32_t kMaxValue = sizeof(T) == 1 ? 255 : 65535;

    // The distinct source rows of a target row's taps, in order, each with
    // the sum of its row coefficients.
    struct RowGroups {
        const T* row[6];
        float weight[6];
        int count = 0;
    };

    RowGroups rowGroups(int32_t i) const {
        const float* y = plan_.rowCoefficients + 6 * i;
        const bool rimRow = i < plan_.rows.first() || i >= a_.height - plan_.rows.last();
        // Rows of the rim clamp their taps; the rows between have all six.
        const T* base = rimRow ? src_ : src_ + job_.rows[i];
        const int32_t k = rimRow ? rimK(plan_.rows, i, a_.height, a_.srcHeight) : 0;
        RowGroups groups;
        int32_t previous = 0;
        for (int t = 0; t < 6; ++t) {
            const int32_t index = rimRow ? std::clamp(k + t - 2, 0, a_.srcHeight - 1) : t - 2;
            if (t > 0 && index == previous) {
                groups.weight[groups.count - 1] = groups.weight[groups.count - 1] + y[t];
            } else {
                groups.row[groups.count] = base + ptrdiff_t(index) * job_.srcStep;
                groups.weight[groups.count] = y[t];
                ++groups.count;
            }
            previous = index;
        }
        return groups;
    }

    const ResizeJob& job_;
    const ResizeArgs& a_;
    const TapPlan<6>& plan_;
    const T* src_;
    T* dst_;
};

template <class T>
void runLanczos(const ResizeJob& job) {
    constexpr TapAlignment kAlignment{32, 32, 32};
    const TapPlan<6> plan = planTapFilter<6>(job, kAlignment, &ownLanczosCoefficients);
    forEachRimPixel(job, plan, LanczosRim<T>(job, plan));
    const int32_t n = job.args->nProcessed;
    const bool doubling = n == 1 && interiorColumnsDouble(job, plan);
    const TapRowFn<T> row =
        doubling ? byDepth<T>(lanczosDoubleRow8uTable().current(), lanczosDoubleRow16uTable().current())
                 : byDepth<T>(lanczosRow8uTable(n).current(), lanczosRow16uTable(n).current());
    runTapInterior<6, T>(job, plan, row,
                         byDepth<T>(lanczosBlend8uTable().current(), lanczosBlend16uTable().current()));
}

}  // namespace

void ownLanczosCoefficients(float fraction, float c[6]) {
    const float t = -fraction - 2.0f;
    float w[6];
    for (int n = 0; n < 6; ++n) {
        const float a = std::min(std::fabs(t + float(n)), 3.0f) * 100.0f;
        const int32_t i = int32_t(a);  // a lies in 0 .. 300
        w[n] = (a - float(i)) * (ownLanczosTable[i + 1] - ownLanczosTable[i]) + ownLanczosTable[i];
    }
    const float sum = 0.0f + w[0] + w[1] + w[3] + w[2] + w[4] + w[5];
    for (int n = 0; n < 6; ++n) c[n] = w[n] / sum;
}

const KernelTable<TapRowFn<uint8_t>>& lanczosRow8uTable(int32_t channels) {
    static const KernelTable<TapRowFn<uint8_t>> c1 {
        {"scalar", Isa::Scalar, &lanczosRowScalar<uint8_t, 1>},
#if MORVA_X86_64
            {"sse2", Isa::Sse2, &lanczosRow8uC1Sse2}, {"avx2", Isa::Avx2, &lanczosRow8uC1Avx2},
#endif
    };
    static const KernelTable<TapRowFn<uint8_t>> c3 {
        {"scalar", Isa::Scalar, &lanczosRowScalar<uint8_t, 3>},
#if MORVA_X86_64
            {"sse2", Isa::Sse2, &lanczosRow8uC3Sse2},
#endif
    };
    static const KernelTable<TapRowFn<uint8_t>> c4 {
        {"scalar", Isa::Scalar, &lanczosRowScalar<uint8_t, 4>},
#if MORVA_X86_64
            {"sse2", Isa::Sse2, &lanczosRow8uC4Sse2}, {"avx2", Isa::Avx2, &lanczosRow8uC4Avx2},
#endif
    };
    return channels == 1 ? c1 : (channels == 3 ? c3 : c4);
}

const KernelTable<TapRowFn<uint8_t>>& lanczosDoubleRow8uTable() {
    static const KernelTable<TapRowFn<uint8_t>> table {
        {"scalar", Isa::Scalar, &lanczosRowScalar<uint8_t, 1>},
#if MORVA_X86_64
            {"sse2", Isa::Sse2, &lanczosRow8uC1Sse2}, {"avx2", Isa::Avx2, &lanczosDoubleRow8uAvx2},
            {"avx512", Isa::Avx512, &lanczosDoubleRow8uAvx512},
#endif
    };
    return table;
}

const KernelTable<TapRowFn<uint16_t>>& lanczosDoubleRow16uTable() {
    static const KernelTable<TapRowFn<uint16_t>> table {
        {"scalar", Isa::Scalar, &lanczosRowScalar<uint16_t, 1>},
#if MORVA_X86_64
            {"sse2", Isa::Sse2, &lanczosRow16uC1Sse2}, {"avx2", Isa::Avx2, &lanczosDoubleRow16uAvx2},
            {"avx512", Isa::Avx512, &lanczosDoubleRow16uAvx512},
#endif
    };
    return table;
}

const KernelTable<TapRowFn<uint16_t>>& lanczosRow16uTable(int32_t channels) {
    static const KernelTable<TapRowFn<uint16_t>> c1 {
        {"scalar", Isa::Scalar, &lanczosRowScalar<uint16_t, 1>},
#if MORVA_X86_64
            {"sse2", Isa::Sse2, &lanczosRow16uC1Sse2},
#endif
    };
    static const KernelTable<TapRowFn<uint16_t>> c3 {
        {"scalar", Isa::Scalar, &lanczosRowScalar<uint16_t, 3>},
#if MORVA_X86_64
            {"sse2", Isa::Sse2, &lanczosRow16uC3Sse2},
#endif
    };
    static const KernelTable<TapRowFn<uint16_t>> c4 {
        {"scalar", Isa::Scalar, &lanczosRowScalar<uint16_t, 4>},
#if MORVA_X86_64
            {"sse2", Isa::Sse2, &lanczosRow16uC4Sse2},
#endif
    };
    return channels == 1 ? c1 : (channels == 3 ? c3 : c4);
}

const KernelTable<TapBlendFn<uint8_t>>& lanczosBlend8uTable() {
    static const KernelTable<TapBlendFn<uint8_t>> table {
        {"scalar", Isa::Scalar, &lanczosBlendScalar<uint8_t>},
#if MORVA_X86_64
            {"sse2", Isa::Sse2, &lanczosBlend8uSse2}, {"avx2", Isa::Avx2, &lanczosBlend8uAvx2},
            {"avx512", Isa::Avx512, &lanczosBlend8uAvx512},
#endif
    };
    return table;
}

const KernelTable<TapBlendFn<uint16_t>>& lanczosBlend16uTable() {
    static const KernelTable<TapBlendFn<uint16_t>> table {
        {"scalar", Isa::Scalar, &lanczosBlendScalar<uint16_t>},
#if MORVA_X86_64
            {"sse2", Isa::Sse2, &lanczosBlend16uSse2}, {"avx2", Isa::Avx2, &lanczosBlend16uAvx2},
            {"avx512", Isa::Avx512, &lanczosBlend16uAvx512},
#endif
    };
    return table;
}

IppStatus resizeLanczos(const ResizeJob& job) {
    if (job.args->depth == 0)
        runLanczos<uint8_t>(job);
    else
        runLanczos<uint16_t>(job);
    return ippStsNoErr;
}

}  // namespace morva
