// The fractional reduction across of one target column with a whole pixel in
// the lanes of a 128-bit register, shared by the SSE2 and AVX2 forms.
// Internal linkage, so that each file keeps the copy compiled for its own
// instruction set.
#pragma once

#include "kernels/cpu.h"

#if MORVA_X86_64
#include <emmintrin.h>

#include "resample/super_sampling.h"

namespace morva {
namespace {

// load(q) gives pixel q; Part(v, p) is float32(float64(v) * p) of the lanes.
template <__m128 (*Part)(__m128, double), class Load>
inline __m128 reduceColumn(const SuperColumn& column, Load load) {
    __m128 sum = column.hasHead ? Part(load(column.headColumn), column.head) : _mm_setzero_ps();
    __m128 even = _mm_setzero_ps(), odd = _mm_setzero_ps();
    int32_t k = 0;
    for (; k + 2 <= column.run; k += 2) {
        even = _mm_add_ps(even, load(column.runStart + k));
        odd = _mm_add_ps(odd, load(column.runStart + k + 1));
    }
    if (k < column.run) even = _mm_add_ps(even, load(column.runStart + k));
    sum = _mm_add_ps(sum, _mm_add_ps(even, odd));
    if (column.hasTail) sum = _mm_add_ps(sum, Part(load(column.tailColumn), column.tail));
    return sum;
}

}  // namespace
}  // namespace morva

#endif  // MORVA_X86_64
