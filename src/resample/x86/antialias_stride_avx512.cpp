// AVX-512 forms of the strided pass across. A source row is split into
// `step` phase rows of float64 samples, up to 16 samples at a time picked
// out of a window of 64 by a permutation of words; then every slot of a
// block of 32 target samples is one load from a phase row, a product and a
// sum, in the definition's order of sums in every lane.
#include "resample/antialias_forms.h"

#if MORVA_X86_64
#include <immintrin.h>

#include <algorithm>
#include <cstring>

namespace morva {
namespace {

constexpr int32_t kWindow = 64;  // samples one permutation picks from
constexpr int32_t kMaxSlots = 256;

__mmask32 firstLanes32(int32_t n) { return n >= 32 ? ~__mmask32(0) : (n <= 0 ? 0 : (__mmask32(1) << n) - 1); }
__mmask8 firstLanes8(int32_t n) { return n >= 8 ? __mmask8(0xFF) : (n <= 0 ? 0 : __mmask8((1u << n) - 1)); }

// 32 samples from `at` as words, those at or behind `end` 0.
__m512i words(const uint8_t* row, int32_t at, int32_t end) {
    const __m256i bytes = at + 32 <= end ? _mm256_loadu_si256(reinterpret_cast<const __m256i*>(row + at))
                                         : _mm256_maskz_loadu_epi8(firstLanes32(end - at), row + at);
    return _mm512_cvtepu8_epi16(bytes);
}
__m512i words(const uint16_t* row, int32_t at, int32_t end) {
    return at + 32 <= end ? _mm512_loadu_si512(row + at) : _mm512_maskz_loadu_epi16(firstLanes32(end - at), row + at);
}

// Phase p's sample k is the source sample ((first + p + step * m) * n + k % n)
// with m = k / n, the pixel clamped to the row. Where a chunk's pixels all lie
// in the row, its samples are a fixed pattern of offsets from the chunk's
// first one, which depends on k % n alone; lanes per chunk as many (32, 16
// or 8) as keep every offset inside the window.
template <class T>
class PhaseSplit {
public:
    PhaseSplit(int32_t channels, int32_t step) : n_(channels), step_(step) {
        for (lanes_ = 32; lanes_ >= 8; lanes_ /= 2)
            if (makePatterns()) return;
        lanes_ = 0;  // every sample by itself
    }

    // Phase rows of `stride` doubles each: samples one by one up to the
    // first chunk whose pixels all lie in the row and that starts a cache
    // line, chunks while their pixels stay in the row, then one by one.
    void split(const T* row, int32_t srcWidth, const AntialiasStride& st, int64_t pixels, int64_t stride,
               double* scratch) const {
        const int64_t count = pixels * n_;
        for (int32_t p = 0; p < step_; ++p) {
            double* phase = scratch + p * stride;
            const auto sample = [&](int64_t k) {
                const int64_t pixel = st.first + p + int64_t(step_) * (k / n_);
                phase[k] = double(row[std::clamp<int64_t>(pixel, 0, srcWidth - 1) * n_ + k % n_]);
            };
            // The first pixel in the row, its first sample, rounded up to a line.
            const int64_t inside = std::max<int64_t>(0, (-(st.first + p) + step_ - 1) / step_);
            int64_t k = lanes_ > 0 ? (inside * n_ + 7) / 8 * 8 : count;
            k = std::min(k, count);
            for (int64_t i = 0; i < k; ++i) sample(i);
            int32_t r = int32_t(k % n_);
            int64_t pixel = st.first + p + int64_t(step_) * (k / n_);
            // Without lanes (steps too long for any chunk to stay in the
            // window) every sample goes one by one.
            for (; lanes_ > 0 && k + lanes_ <= count && pixel + int64_t(step_) * span_[r] < srcWidth; k += lanes_) {
                chunk(row, int32_t(pixel * n_ + r), srcWidth * n_, r, phase + k);
                pixel += int64_t(step_) * advance_[r];
                r = next_[r];
            }
            for (; k < count; ++k) sample(k);
        }
    }

private:
    // Offsets of the lanes of a chunk whose first sample is sample r of a
    // pixel; false where one leaves the window.
    bool makePatterns() {
        for (int32_t r = 0; r < n_; ++r) {
            alignas(64) uint16_t offsets[32] = {};
            for (int32_t l = 0; l < lanes_; ++l) {
                const int32_t pixels = (r + l) / n_, sample = (r + l) % n_;
                const int32_t offset = step_ * pixels * n_ + sample - r;
                if (offset >= kWindow) return false;
                offsets[l] = uint16_t(offset);
            }
            patterns_[r] = _mm512_load_si512(offsets);
            advance_[r] = (r + lanes_) / n_;
            next_[r] = (r + lanes_) % n_;
            span_[r] = (r + lanes_ - 1) / n_;
        }
        return true;
    }

    void chunk(const T* row, int32_t at, int32_t end, int32_t r, double* out) const {
        const __m512i picked = _mm512_permutex2var_epi16(words(row, at, end), patterns_[r], words(row, at + 32, end));
        store16(_mm512_castsi512_si256(picked), out, lanes_ > 8);
        if (lanes_ == 32) store16(_mm512_extracti64x4_epi64(picked, 1), out + 16, true);
    }

    // Eight or sixteen words as doubles.
    static void store16(__m256i words, double* out, bool sixteen) {
        const __m512i v = _mm512_cvtepu16_epi32(words);
        _mm512_storeu_pd(out, _mm512_cvtepi32_pd(_mm512_castsi512_si256(v)));
        if (sixteen) _mm512_storeu_pd(out + 8, _mm512_cvtepi32_pd(_mm512_extracti64x4_epi64(v, 1)));
    }

    int32_t n_, step_, lanes_ = 0;
    __m512i patterns_[4];
    int32_t advance_[4] = {}, next_[4] = {}, span_[4] = {};  // pixels to the next chunk and to the last lane
};

// The slots of weight other than 0 by the running sum they join: for one
// sample per pixel the even slots but the last, the odd ones, and the last;
// otherwise all of them in the first. Each with where it reads (doubles from
// the scratch's start, for target sample 0) and its weight.
struct Slots {
    struct Chain {
        int32_t count = 0;
        int64_t offset[kMaxSlots];
        double weight[kMaxSlots];
    } chain[3];

    Slots(const AntialiasStride& st, int64_t stride, int32_t channels) {
        for (int32_t j = 0; j < st.taps; ++j) {
            if (st.weights[j] == 0.0f) continue;
            Chain& c = chain[channels != 1 ? 0 : (j == st.taps - 1 ? 2 : j % 2)];
            c.offset[c.count] = (j % st.step) * stride + (j / st.step) * channels;
            c.weight[c.count++] = double(st.weights[j]);
        }
    }
};

constexpr int kBlocks = 4;  // blocks of eight target samples at a time

// The sums of one chain added to, slot after slot.
__attribute__((always_inline)) inline void addChain(const Slots::Chain& chain, const double* scratch, int64_t k, __m512d (&sum)[kBlocks]) {
    for (int32_t s = 0; s < chain.count; ++s) {
        const double* at = scratch + chain.offset[s] + k;
        const __m512d w = _mm512_set1_pd(chain.weight[s]);
#pragma GCC unroll 4
        for (int u = 0; u < kBlocks; ++u) sum[u] = _mm512_add_pd(sum[u], _mm512_mul_pd(_mm512_loadu_pd(at + 8 * u), w));
    }
}

// Four blocks of eight target samples from k on: per lane the running sums
// of the definition, slot after slot; for one sample per pixel the even and
// odd sums added, then the last product (0 + p, the same as p in the sum).
template <int Channels>
void blocks(const double* scratch, const Slots& slots, int64_t k, float* out, int32_t count) {
    __m512d sum[kBlocks], odd[kBlocks], last[kBlocks];
#pragma GCC unroll 4
    for (int u = 0; u < kBlocks; ++u) sum[u] = odd[u] = last[u] = _mm512_setzero_pd();
    addChain(slots.chain[0], scratch, k, sum);
    if (Channels == 1) {
        addChain(slots.chain[1], scratch, k, odd);
        addChain(slots.chain[2], scratch, k, last);
    }
#pragma GCC unroll 4
    for (int u = 0; u < kBlocks; ++u) {
        __m512d v = sum[u];
        if (Channels == 1) {
            v = _mm512_add_pd(v, odd[u]);
            if (slots.chain[2].count > 0) v = _mm512_add_pd(v, last[u]);
        }
        const __m256 f = _mm512_maskz_cvtpd_ps(0xFF, v);  // the unmasked form trips a compiler warning
        const int64_t first = k + 8 * u;
        if (first + 8 <= count)
            _mm256_storeu_ps(out + first, f);
        else if (first < count)
            _mm256_mask_storeu_ps(out + first, firstLanes8(int32_t(count - first)), f);
    }
}

template <class T, int Channels>
void stridedRow(const T* row, int32_t srcWidth, const AntialiasStride& st, double* scratch, float* out, int32_t width) {
    if (st.taps > kMaxSlots) {
        antialiasStridedRowTable<T>(Channels).scalar()(row, srcWidth, st, scratch, out, width);
        return;
    }
    // Phase rows from a cache line on, each a whole number of lines long.
    const int64_t pixels = antialiasPhasePixels(st, width);
    const int64_t stride = (pixels * Channels + 7) / 8 * 8;
    double* phases = reinterpret_cast<double*>((reinterpret_cast<uintptr_t>(scratch) + 63) / 64 * 64);
    const Slots slots(st, stride, Channels);
    PhaseSplit<T>(Channels, st.step).split(row, srcWidth, st, pixels, stride, phases);
    std::memset(phases + st.step * stride, 0, 32 * sizeof(double));
    const int32_t count = width * Channels;
    for (int64_t k = 0; k < count; k += 32) blocks<Channels>(phases, slots, k, out, count);
}

}  // namespace

#define MORVA_STRIDED_ROW(name, T, Channels)                                                                 \
    void name(const T* row, int32_t srcWidth, const AntialiasStride& stride, double* scratch, float* out, \
              int32_t width) {                                                                             \
        stridedRow<T, Channels>(row, srcWidth, stride, scratch, out, width);                                \
    }
MORVA_STRIDED_ROW(antialiasStridedRow8uC1Avx512, uint8_t, 1)
MORVA_STRIDED_ROW(antialiasStridedRow8uC3Avx512, uint8_t, 3)
MORVA_STRIDED_ROW(antialiasStridedRow8uC4Avx512, uint8_t, 4)
MORVA_STRIDED_ROW(antialiasStridedRow16uC1Avx512, uint16_t, 1)
MORVA_STRIDED_ROW(antialiasStridedRow16uC3Avx512, uint16_t, 3)
MORVA_STRIDED_ROW(antialiasStridedRow16uC4Avx512, uint16_t, 4)
#undef MORVA_STRIDED_ROW

}  // namespace morva

#endif  // MORVA_X86_64
