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

    // The first rows over the full width, the first and last columns of the
    // rows between, the last rows over the full width.
    void run() const {
        const int32_t top = plan_.rows.first(), bottom = a_.height - plan_.rows.last();
        if (!writeRows(0, top)) forEachPixel(0, top, 0, a_.width);
        for (int32_t i = top; i < bottom; ++i) {
            forEachPixel(i, i + 1, 0, plan_.columns.first());
            forEachPixel(i, i + 1, a_.width - plan_.columns.last(), a_.width);
        }
        if (!writeRows(bottom, a_.height)) forEachPixel(bottom, a_.height, 0, a_.width);
    }

private:
    static constexpr int32_t kMaxValue = sizeof(T) == 1 ? 255 : 65535;

    // The distinct source rows of a target row's taps, in order, each with
    // the sum of its row coefficients.
    struct RowGroups {
        const T* row[6];
        int32_t index[6];  // for the rows of the rim, the source row's number
        float weight[6];
        int count = 0;
    };

    // A column's taps, clamped to the source, in samples, and its coefficients.
    struct ColumnTaps {
        int32_t offset[6];
        const float* c;
    };

    ColumnTaps columnTaps(int32_t j) const {
        ColumnTaps taps;
        taps.c = plan_.columnCoefficients + 6 * j;
        const int32_t entry = job_.columns[j];
        const int32_t kx = plan_.pixelStride == 1 ? entry : entry / plan_.pixelStride;
        for (int t = 0; t < 6; ++t) taps.offset[t] = std::clamp(kx + t - 2, 0, a_.srcWidth - 1) * a_.nChannels;
        return taps;
    }

    const T* sourceRow(int32_t r) const { return src_ + ptrdiff_t(r) * job_.srcStep; }

    // The six products of sample s added from the left.
    static float rowSum(const T* row, const ColumnTaps& taps, int32_t s) {
        float v = float(row[taps.offset[0] + s]) * taps.c[0];
        for (int t = 1; t < 6; ++t) v = v + float(row[taps.offset[t] + s]) * taps.c[t];
        return v;
    }

    RowGroups rowGroups(int32_t i) const {
        const float* y = plan_.rowCoefficients + 6 * i;
        const bool rimRow = i < plan_.rows.first() || i >= a_.height - plan_.rows.last();
        // Rows of the rim clamp their taps; the rows between have all six.
        const T* base = rimRow ? src_ : src_ + job_.rows[i];
        const int32_t k = rimRow ? rimK(plan_.rows, i, a_.height, a_.srcHeight) : 0;
        RowGroups groups;
        for (int t = 0; t < 6; ++t) {
            const int32_t index = rimRow ? std::clamp(k + t - 2, 0, a_.srcHeight - 1) : t - 2;
            if (t > 0 && index == groups.index[groups.count - 1]) {
                groups.weight[groups.count - 1] = groups.weight[groups.count - 1] + y[t];
            } else {
                groups.row[groups.count] = base + ptrdiff_t(index) * job_.srcStep;
                groups.index[groups.count] = index;
                groups.weight[groups.count] = y[t];
                ++groups.count;
            }
        }
        return groups;
    }

    void forEachPixel(int32_t fromRow, int32_t toRow, int32_t fromColumn, int32_t toColumn) const {
        for (int32_t i = fromRow; i < toRow; ++i) {
            if (fromColumn >= toColumn) continue;
            const RowGroups rows = rowGroups(i);
            const T* const* source = rows.row;
            for (int32_t j = fromColumn; j < toColumn; ++j) {
                const ColumnTaps taps = columnTaps(j);
                T* out = dst_ + ptrdiff_t(i) * job_.dstStep + ptrdiff_t(j) * a_.nChannels;
                for (int32_t s = 0; s < a_.nProcessed; ++s) {
                    float v = rowSum(source[0], taps, s) * rows.weight[0];
                    for (int g = 1; g < rows.count; ++g) v = v + rowSum(source[g], taps, s) * rows.weight[g];
                    out[s] = T(roundRimValue(v, kMaxValue));
                }
            }
        }
    }

    // Target rows from .. to - 1 over the full width, as forEachPixel does
    // them but with each source row's sums worked out once, into the ring's
    // buffers, which the interior fills only later. Rows of the rim share
    // their source rows: the first ones all read rows 0 to 4. False, and
    // nothing written, where the buffers can't hold the sums.
    bool writeRows(int32_t from, int32_t to) const {
        if (from >= to) return true;
        const int32_t first = rowGroups(from).index[0];
        const RowGroups lastGroups = rowGroups(to - 1);
        const int32_t count = lastGroups.index[lastGroups.count - 1] - first + 1;
        const size_t samples = size_t(a_.width) * size_t(a_.nProcessed);
        float* sums = plan_.rowBuffers[0];
        const float* end = plan_.rowBuffers[5] + size_t(plan_.interiorWidth) * size_t(a_.nProcessed);
        if (plan_.interiorWidth == 0 || sums + size_t(count) * samples > end) return false;

        for (int32_t j = 0; j < a_.width; ++j) {
            const ColumnTaps taps = columnTaps(j);
            for (int32_t r = 0; r < count; ++r)
                for (int32_t s = 0; s < a_.nProcessed; ++s)
                    sums[size_t(r) * samples + size_t(j) * a_.nProcessed + s] = rowSum(sourceRow(first + r), taps, s);
        }
        for (int32_t i = from; i < to; ++i) {
            const RowGroups rows = rowGroups(i);
            const float* sum[6];
            for (int g = 0; g < rows.count; ++g) sum[g] = sums + size_t(rows.index[g] - first) * samples;
            T* out = dst_ + ptrdiff_t(i) * job_.dstStep;
            for (int32_t j = 0; j < a_.width; ++j)
                for (int32_t s = 0; s < a_.nProcessed; ++s) {
                    const size_t at = size_t(j) * a_.nProcessed + s;
                    float v = sum[0][at] * rows.weight[0];
                    for (int g = 1; g < rows.count; ++g) v = v + sum[g][at] * rows.weight[g];
                    out[ptrdiff_t(j) * a_.nChannels + s] = T(roundRimValue(v, kMaxValue));
                }
        }
        return true;
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
    LanczosRim<T>(job, plan).run();
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
