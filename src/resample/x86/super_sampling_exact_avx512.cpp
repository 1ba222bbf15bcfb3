// AVX-512 form of super-sampling in whole numbers: 32 sums of 16 bits a
// vector. A block of 32 target samples sums the 64 (or 128) source samples
// from its base over the box's rows, then picks each tap's sums from them by
// a two-register permutation of words.
#include "resample/super_sampling_forms.h"

#if MORVA_X86_64
#include <immintrin.h>

#include <algorithm>

namespace morva {
namespace {

constexpr int32_t kMaxRows = 32;

__mmask32 firstLanes(int32_t n) { return n >= 32 ? ~__mmask32(0) : (n <= 0 ? 0 : (__mmask32(1) << n) - 1); }

__m512i loadWords(const uint16_t* p) { return _mm512_loadu_si512(p); }

// 32 samples of a row from `at` as words: all of them, or those before the
// row's end (masked loads only there: they are slow on some processors).
struct WholeLoad {
    __m512i operator()(const uint8_t* row, int32_t at) const {
        return _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(row + at)));
    }
};
struct RowEndLoad {
    int32_t rowSamples;
    __m512i operator()(const uint8_t* row, int32_t at) const {
        return _mm512_cvtepu8_epi16(_mm256_maskz_loadu_epi8(firstLanes(rowSamples - at), row + at));
    }
};

// The sums of one tap for the 32 lanes: offsets below 64 from the first two
// registers, the others (blocks of more chunks) from the last two.
template <int Chunks>
__m512i pick(const __m512i (&sums)[4], __m512i offsets) {
    const __m512i low = _mm512_permutex2var_epi16(sums[0], offsets, sums[1]);
    if (Chunks == 2) return low;
    const __m512i high = _mm512_permutex2var_epi16(sums[2], offsets, sums[3]);
    return _mm512_mask_blend_epi16(_mm512_test_epi16_mask(offsets, _mm512_set1_epi16(64)), low, high);
}

// A target row whose boxes have N source rows and N taps across (0: any
// number), so that the usual square boxes unroll and stay in registers; with
// Unit every weight is 1 and nothing is multiplied.
template <int Chunks, int N, bool Unit>
class BoxRow {
public:
    BoxRow(const uint8_t* const* rows, const uint16_t* weights, int32_t rowCount, const SuperBoxColumns& p)
        : p_(p), rowCount_(N > 0 ? N : rowCount), taps_(N > 0 ? N : p.taps) {
        for (int32_t r = 0; r < rowCount_; ++r) {
            rows_[r] = rows[r];
            weights_[r] = _mm512_set1_epi16(int16_t(weights[r]));
        }
    }

    void run(uint8_t* dst) const {
        // Blocks whose reads all lie inside the rows, then the others.
        const int32_t span = 32 * Chunks;
        int32_t b = 0;
        for (; b < p_.blocks && p_.bases[b] + span <= p_.rowSamples; ++b) block(b, WholeLoad{}, dst);
        for (; b < p_.blocks; ++b) block(b, RowEndLoad{p_.rowSamples}, dst);
    }

private:
    template <class Load>
    void block(int32_t b, Load load, uint8_t* dst) const {
        __m512i v[4] = {};
        for (int32_t j = 0; j < Chunks; ++j) {
            const int32_t at = p_.bases[b] + 32 * j;
            __m512i s = _mm512_setzero_si512();
            for (int32_t r = 0; r < rowCount_; ++r) s = _mm512_add_epi16(s, weighed(load(rows_[r], at), weights_[r]));
            v[j] = s;
        }
        const uint16_t* lanes = p_.lanes + b * p_.laneStride;
        __m512i s = _mm512_setzero_si512();
        for (int32_t t = 0; t < taps_; ++t)
            s = _mm512_add_epi16(s, weighed(pick<Chunks>(v, loadWords(lanes + t * 64)), loadWords(lanes + t * 64 + 32)));
        const __m512i samples = _mm512_srl_epi16(
            _mm512_mulhi_epu16(_mm512_add_epi16(s, _mm512_set1_epi16(int16_t(p_.round))),
                               _mm512_set1_epi16(int16_t(p_.multiplier))),
            _mm_cvtsi32_si128(p_.shift));
        const __m256i bytes = _mm512_maskz_cvtusepi16_epi8(~__mmask32(0), samples);
        const int32_t first = b * p_.blockLanes;
        if (first + 32 <= p_.count && p_.blockLanes == 32)
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + first), bytes);
        else
            _mm256_mask_storeu_epi8(dst + first, firstLanes(std::min(p_.count - first, p_.blockLanes)), bytes);
    }

    static __m512i weighed(__m512i x, __m512i weight) { return Unit ? x : _mm512_mullo_epi16(x, weight); }

    const SuperBoxColumns p_;  // a copy: stores to the target can't change it
    const int32_t rowCount_, taps_;
    const uint8_t* rows_[N > 0 ? N : kMaxRows];
    __m512i weights_[N > 0 ? N : kMaxRows];
};

template <int Chunks, bool Unit>
void box(const uint8_t* const* rows, const uint16_t* weights, int32_t rowCount, const SuperBoxColumns& p,
         uint8_t* dst) {
    const int32_t square = rowCount == p.taps ? rowCount : 0;
    switch (square) {
    case 2: return BoxRow<Chunks, 2, Unit>(rows, weights, rowCount, p).run(dst);
    case 3: return BoxRow<Chunks, 3, Unit>(rows, weights, rowCount, p).run(dst);
    case 4: return BoxRow<Chunks, 4, Unit>(rows, weights, rowCount, p).run(dst);
    default: return BoxRow<Chunks, 0, Unit>(rows, weights, rowCount, p).run(dst);
    }
}

}  // namespace

void superBoxAvx512(const uint8_t* const* rows, const uint16_t* weights, int32_t rowCount,
                    const SuperBoxColumns& columns, uint8_t* dst) {
    bool unit = columns.unitWeights;
    for (int32_t r = 0; r < rowCount; ++r) unit = unit && weights[r] == 1;
    using Box = void (*)(const uint8_t* const*, const uint16_t*, int32_t, const SuperBoxColumns&, uint8_t*);
    static constexpr Box kBoxes[3][2] = {{&box<2, false>, &box<2, true>},
                                         {&box<3, false>, &box<3, true>},
                                         {&box<4, false>, &box<4, true>}};
    kBoxes[columns.chunks - 2][unit](rows, weights, rowCount, columns, dst);
}

}  // namespace morva

#endif  // MORVA_X86_64
