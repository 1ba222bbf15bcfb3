// Scalar definitions of the packed 4:2:2 resize passes, and their tables of
// forms.
#include "resample/yuv422_forms.h"
#include "resample/yuv422_kernels.h"

namespace morva {
namespace {

// Source bytes of a luma sample and of a chroma pair, by index from the
// region's start.
const uint8_t* lumaAt(const uint8_t* row, int32_t index) { return row + 2 * ptrdiff_t(index); }
const uint8_t* pairAt(const uint8_t* row, int32_t index) { return row + 4 * ptrdiff_t(index); }

// Luma samples k and k + 1 lie 2 bytes apart, chroma pairs p and p + 1 four:
// U at bytes 1 and 5 of the pair's offset, V at 3 and 7.
void linearRowScalar(const uint8_t* row, const Yuv422LinearColumns& c, int16_t* out) {
    for (int32_t p = 0; p < c.macroPixels; ++p) {
        const int16_t* w = c.weights + 8 * ptrdiff_t(p);
        const uint8_t* y0 = lumaAt(row, c.luma[2 * p]);
        const uint8_t* y1 = lumaAt(row, c.luma[2 * p + 1]);
        const uint8_t* uv = pairAt(row, c.chroma[p]);
        int16_t* o = out + 4 * ptrdiff_t(p);
        o[0] = linearHorizontal(y0[0], y0[2], w[0], w[1]);
        o[1] = linearHorizontal(uv[1], uv[5], w[2], w[3]);
        o[2] = linearHorizontal(y1[0], y1[2], w[4], w[5]);
        o[3] = linearHorizontal(uv[3], uv[7], w[6], w[7]);
    }
}

void linearBlendScalar(const int16_t* row, const int16_t* rowBelow, int32_t weight, uint8_t* dst,
                       int32_t samples) {
    for (int32_t s = 0; s < samples; ++s) dst[s] = linearVertical(row[s], rowBelow[s], weight);
}

// Luma window at bytes -2, 0, 2, 4 of the base's offset; U at -3, 1, 5, 9
// and V at -1, 3, 7, 11 of the base pair's offset.
void cubicRowScalar(const uint8_t* row, const Yuv422CubicColumns& c, float* out) {
    const auto sample = [&](const uint8_t* b, int spacing, ptrdiff_t s) {
        return cubicNewton(b[-spacing], b[0], b[spacing], b[2 * spacing], c.u[s], c.v[s], c.z[s]);
    };
    for (int32_t p = 0; p < c.macroPixels; ++p) {
        const ptrdiff_t s = 4 * ptrdiff_t(p);
        const uint8_t* uv = pairAt(row, c.chroma[p]);
        out[s] = sample(lumaAt(row, c.luma[2 * p]), 2, s);
        out[s + 1] = sample(uv + 1, 4, s + 1);
        out[s + 2] = sample(lumaAt(row, c.luma[2 * p + 1]), 2, s + 2);
        out[s + 3] = sample(uv + 3, 4, s + 3);
    }
}

void cubicBlendScalar(const float* const rows[4], const CubicCoefficients& w, uint8_t* dst,
                      int32_t macroPixels) {
    const ptrdiff_t pairedSamples = 4 * ptrdiff_t(macroPixels & ~1);
    for (ptrdiff_t s = 0; s < pairedSamples; ++s)
        dst[s] = cubicRoundPair(
            cubicNewton(rows[0][s], rows[1][s], rows[2][s], rows[3][s], w.u, w.v, w.zPair));
    if (macroPixels & 1) cubicBlendSingle(rows, w, pairedSamples, dst);
}

void sumRowScalar(const uint8_t* row, uint32_t* acc, int32_t count) {
    for (int32_t i = 0; i < count; ++i) acc[i] += row[i];
}

void weighRowScalar(const uint8_t* row, float* acc, int32_t count, double weight) {
    for (int32_t i = 0; i < count; ++i) acc[i] += weighedSample(row[i], weight);
}

template <class Fn>
Fn bestFormUpTo(const KernelTable<Fn>& table, Isa level) {
    const KernelForm<Fn>* best = &table.forms().front();
    for (const KernelForm<Fn>& form : table.forms())
        if (form.isa <= level && cpuSupports(form.isa) && form.isa >= best->isa) best = &form;
    return best->fn;
}

}  // namespace

const KernelTable<Yuv422LinearRow*>& yuv422LinearRowTable() {
    static const KernelTable<Yuv422LinearRow*> table{
        {"scalar", Isa::Scalar, &linearRowScalar},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &yuv422LinearRowSse2},
        {"avx2", Isa::Avx2, &yuv422LinearRowAvx2},
#endif
    };
    return table;
}

const KernelTable<Yuv422LinearBlend*>& yuv422LinearBlendTable() {
    static const KernelTable<Yuv422LinearBlend*> table{
        {"scalar", Isa::Scalar, &linearBlendScalar},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &yuv422LinearBlendSse2},
        {"avx2", Isa::Avx2, &yuv422LinearBlendAvx2},
#endif
    };
    return table;
}

const KernelTable<Yuv422CubicRow*>& yuv422CubicRowTable() {
    static const KernelTable<Yuv422CubicRow*> table{
        {"scalar", Isa::Scalar, &cubicRowScalar},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &yuv422CubicRowSse2},
        {"avx2", Isa::Avx2, &yuv422CubicRowAvx2},
#endif
    };
    return table;
}

const KernelTable<Yuv422CubicBlend*>& yuv422CubicBlendTable() {
    static const KernelTable<Yuv422CubicBlend*> table{
        {"scalar", Isa::Scalar, &cubicBlendScalar},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &yuv422CubicBlendSse2},
        {"avx2", Isa::Avx2, &yuv422CubicBlendAvx2},
#endif
    };
    return table;
}

const KernelTable<Yuv422SumRow*>& yuv422SumRowTable() {
    static const KernelTable<Yuv422SumRow*> table{
        {"scalar", Isa::Scalar, &sumRowScalar},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &yuv422SumRowSse2},
        {"avx2", Isa::Avx2, &yuv422SumRowAvx2},
#endif
    };
    return table;
}

const KernelTable<Yuv422WeighRow*>& yuv422WeighRowTable() {
    static const KernelTable<Yuv422WeighRow*> table{
        {"scalar", Isa::Scalar, &weighRowScalar},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &yuv422WeighRowSse2},
        {"avx2", Isa::Avx2, &yuv422WeighRowAvx2},
#endif
    };
    return table;
}

// The whole-number box where a vector form of it runs.
SuperBox* vectorOnly(SuperBoxFn form) { return form == superBoxTable().scalar() ? nullptr : form; }

Yuv422Passes yuv422PassesForSlot(int slot) {
    return {yuv422LinearRowTable().slot(slot), yuv422LinearBlendTable().slot(slot),
            yuv422CubicRowTable().slot(slot),  yuv422CubicBlendTable().slot(slot),
            yuv422SumRowTable().slot(slot),    yuv422WeighRowTable().slot(slot),
            vectorOnly(superBoxTable().slot(slot))};
}

Yuv422Passes yuv422PassesUpTo(Isa level) {
    return {bestFormUpTo(yuv422LinearRowTable(), level),
            bestFormUpTo(yuv422LinearBlendTable(), level),
            bestFormUpTo(yuv422CubicRowTable(), level),
            bestFormUpTo(yuv422CubicBlendTable(), level),
            bestFormUpTo(yuv422SumRowTable(), level),
            bestFormUpTo(yuv422WeighRowTable(), level),
            vectorOnly(bestFormUpTo(superBoxTable(), level))};
}

}  // namespace morva
