// One-channel rows of the cubic family and Lanczos where the columns double
// the source (tap_filter.h, interiorColumnsDouble): target column 2n has
// its entry at pixel c + n and the coefficients of column 0, column 2n + 1
// its entry at c + n + d (d = 1 where column 0 takes 3/4, else 0) and those
// of column 1. The taps of neighbouring even (odd) columns are neighbouring
// pixels, so kLanes columns load their taps as kLanes consecutive samples,
// without a gather; each lane does the family's float32 operations in its
// order. Written once against the lanes of f32_lanes.h.
#pragma once

#include <utility>

#include "resample/cubic_forms.h"
#include "resample/lanczos_forms.h"
#include "resample/tap_filter.h"
#include "resample/x86/f32_lanes.h"

#if MORVA_X86_64
namespace morva {
namespace {

// f(0), f(1), ... f(N - 1) with constant indices, so that arrays of vectors
// indexed by them stay in registers.
template <int N, class Body>
inline void unrolled(Body f) {
    [&]<int... I>(std::integer_sequence<int, I...>) { (f(std::integral_constant<int, I>{}), ...); }(
        std::make_integer_sequence<int, N>{});
}

// Blocks of kLanes pairs of columns from pair 0 to pairs - 1; the odd
// column of a pair has its taps Odd pixels right of the even one's.
template <class F, int Taps, int Odd, class T, class Sum>
void doublingBlocks(const T* base, const float* coefficients, float* out, int32_t pairs, Sum sum) {
    using V = typename F::V;
    V even[Taps], odd[Taps];
    unrolled<Taps>([&](auto t) {
        even[t] = F::set(coefficients[t]);
        odd[t] = F::set(coefficients[Taps + t]);
    });
    const auto block = [&](int32_t n) {
        V x[Taps + Odd], a[Taps], b[Taps];
        unrolled<Taps + Odd>([&](auto t) { x[t] = F::load(base + n + t); });
        unrolled<Taps>([&](auto t) {
            a[t] = F::mul(x[t], even[t]);
            b[t] = F::mul(x[t + Odd], odd[t]);
        });
        F::storeInterleaved(out + 2 * n, sum(a), sum(b));
    };
    int32_t n = 0;
    for (; n + F::kLanes <= pairs; n += F::kLanes) block(n);
    if (n < pairs) block(pairs - F::kLanes);  // again, overlapping: the same values
}

// The columns 0 .. paired - 1 (an even count) by the doubling, the rest of
// the row by `general`, any form of the general row kernel. Rows with fewer
// than one block of columns go to `general` whole.
template <class F, int Taps, class T, class Sum>
void doublingRow(const T* p, const int32_t* columns, const float* coefficients, float* out, int32_t width,
                 int32_t paired, Sum sum, TapRowFn<T> general) {
    const int32_t pairs = paired / 2;
    if (pairs < F::kLanes) return general(p, columns, coefficients, out, width);
    const T* base = p + columns[0] - (Taps / 2 - 1);  // the first tap of column 0
    if (columns[1] == columns[0])
        doublingBlocks<F, Taps, 0>(base, coefficients, out, pairs, sum);
    else
        doublingBlocks<F, Taps, 1>(base, coefficients, out, pairs, sum);
    if (paired < width)
        general(p, columns + paired, coefficients + Taps * paired, out + paired, width - paired);
}

// The cubic one-channel sum (a0 + a1) + (a2 + a3) holds for the blocks of
// four columns from the row's start; the last width % 4 columns sum
// otherwise and go to the general kernel.
template <class F, class T>
void cubicDoublingRow(const T* p, const int32_t* c, const float* k, float* out, int32_t width,
                      TapRowFn<T> general) {
    doublingRow<F, 4>(p, c, k, out, width, width - width % 4, [](const typename F::V* a) {
        return F::add(F::add(a[0], a[1]), F::add(a[2], a[3]));
    }, general);
}

// The Lanczos one-channel sum ((a0 + a4) + a2) + ((a1 + a5) + a3).
template <class F, class T>
void lanczosDoublingRow(const T* p, const int32_t* c, const float* k, float* out, int32_t width,
                        TapRowFn<T> general) {
    doublingRow<F, 6>(p, c, k, out, width, width - width % 2, [](const typename F::V* a) {
        return F::add(F::add(F::add(a[0], a[4]), a[2]), F::add(F::add(a[1], a[5]), a[3]));
    }, general);
}

}  // namespace

// The forms of one instruction set, named by its suffix, from its float
// lanes, finishing with the general forms of that set.
#define MORVA_TAP_DOUBLE_FORMS(Suffix, Floats, Cubic8u, Lanczos8u)                                           \
    void cubicDoubleRow8u##Suffix(const uint8_t* p, const int32_t* c, const float* k, float* o, int32_t w) {  \
        cubicDoublingRow<Floats>(p, c, k, o, w, &Cubic8u);                                                    \
    }                                                                                                         \
    void cubicDoubleRow16u##Suffix(const uint16_t* p, const int32_t* c, const float* k, float* o, int32_t w) { \
        cubicDoublingRow<Floats>(p, c, k, o, w, &cubicRow16uC1Sse2);                                          \
    }                                                                                                         \
    void lanczosDoubleRow8u##Suffix(const uint8_t* p, const int32_t* c, const float* k, float* o, int32_t w) { \
        lanczosDoublingRow<Floats>(p, c, k, o, w, &Lanczos8u);                                                \
    }                                                                                                         \
    void lanczosDoubleRow16u##Suffix(const uint16_t* p, const int32_t* c, const float* k, float* o,           \
                                     int32_t w) {                                                             \
        lanczosDoublingRow<Floats>(p, c, k, o, w, &lanczosRow16uC1Sse2);                                      \
    }

}  // namespace morva
#endif
