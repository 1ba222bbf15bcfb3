// Super-sampling of 8-bit samples in whole numbers.
//
// Where every part of every box is a multiple of 2^-a down and of 2^-b
// across (reductions by 2, 3, 4, by 1.5 or 1.25, from a start on a sample or
// a half) and no sum can pass 2^16, the float32 arithmetic of the fractional
// form never rounds: each target sample's sum is S * 2^-(a + b) for a whole
// number S, whatever the order of its additions. The whole form is the case
// a = b = 0. This path computes S in 16-bit lanes, the rows of a box first,
// then its columns, in one pass over the rows a target row reads, and
// converts it by one multiplication that the plan has checked against the
// defined conversion for every S that can occur. It is chosen once per call,
// from the geometry, where no box leaves the image, and gives the general
// forms' bytes.
#pragma once

#include <algorithm>
#include <cstdint>

#include "kernels/dispatch.h"
#include "resample/super_sampling.h"
#include "resample/work_block.h"

namespace morva {

// One target row, in blocks of up to kSuperBoxLanes target samples. A sum is
// sum(r) = weights[0] * rows[0][r] + weights[1] * rows[1][r] + ..., for r
// below rowSamples. Lane l of block b reads, for each tap t, the sum at
// bases[b] + offset[t][l] times weight[t][l]; the block's lanes hold per tap
// the 32 offsets, then the 32 weights. A lane's S is the sum over its taps,
// and its target sample min(((S + round) * multiplier) >> 16, 255). The plan
// keeps every S below 2^16 and every weighed offset inside the rows.
constexpr int32_t kSuperBoxLanes = 32;

struct SuperBoxColumns {
    const int32_t* bases = nullptr;
    const uint16_t* lanes = nullptr;
    int64_t laneStride = 0;     // elements between two blocks' lanes: 0 where all blocks share one
    int32_t blocks = 0;
    int32_t taps = 0;
    int32_t blockLanes = kSuperBoxLanes;  // target samples a block writes: 32, or 16 where 32 read too far
    int32_t count = 0;          // target samples of a row
    int32_t rowSamples = 0;     // samples a source row has from the first column read
    int32_t chunks = 2;         // 32 sums each that a block reads from its base: offsets below 32 * chunks
    bool unitWeights = false;   // every weight across 1, as in the whole form
    uint16_t round = 0;
    uint16_t multiplier = 0;
    uint16_t shift = 0;
};

using SuperBox = void(const uint8_t* const* rows, const uint16_t* weights, int32_t rowCount,
                      const SuperBoxColumns& columns, uint8_t* dst);
using SuperBoxFn = SuperBox*;
const KernelTable<SuperBoxFn>& superBoxTable();

// Per target sample ("lane") of a row, the source samples of its taps and
// their whole weights (0 for a tap it hasn't), `taps` of each.
struct SuperBoxTaps {
    int32_t count = 0;
    int32_t taps = 0;
    WorkBlock<int32_t> samples;
    WorkBlock<uint16_t> weights;

    bool allocate(int32_t lanes, int32_t tapsEach) {
        count = lanes;
        taps = tapsEach;
        return samples.allocate(int64_t(lanes) * taps) && weights.allocate(int64_t(lanes) * taps);
    }
    // Target sample s of column c takes sample s of the tap's source pixel.
    void spreadColumn(int32_t c, int32_t channels, const int32_t* pixels, const uint16_t* tapWeights) {
        for (int32_t s = 0; s < channels; ++s)
            for (int32_t t = 0; t < taps; ++t) {
                const int64_t at = (int64_t(c) * channels + s) * taps + t;
                samples.get()[at] = pixels[t] * channels + s;
                weights.get()[at] = tapWeights[t];
            }
    }
};

// The lanes of a row's blocks from the taps. False where a block would read
// beyond kSuperBoxLanes * 4 sums, or a table can't be allocated. Blocks of 32
// target samples where they read no further, else of 16.
class SuperBoxLanes {
public:
    bool make(const SuperBoxTaps& taps, SuperBoxColumns& columns);

private:
    bool tryBlocks(const SuperBoxTaps& taps, SuperBoxColumns& columns);

    WorkBlock<int32_t> bases_;
    WorkBlock<uint16_t> lanes_;
};

// The defined conversion trunc(S * 2^-scaleBits * factorProduct + 0.5), its
// low byte, as the kernel's (S + round) * multiplier >> 16 >> shift, checked
// for every S up to `largest`; false where none of the candidates gives it.
bool planWholeConversion(int32_t largest, int scaleBits, double factorProduct, SuperBoxColumns& columns);

// The bits below the point of a part of a box, or -1 beyond 8.
int wholeNumberBits(double w);
// w * 2^bits, exact for parts of few bits.
double scaled(double w, int bits);

// The parts of one axis's boxes (or filter entries) taken together: the
// finest, the heaviest box and the most parts in one. Not exact where a part
// isn't a positive whole number of 2^-8 or coarser; sums of such parts are
// exact in float64.
class WholeNumberParts {
public:
    void add(double w);
    void endBox();
    bool exact() const { return exact_; }
    int bits() const { return bits_; }
    int32_t most() const { return most_; }
    // The heaviest box in whole weights, or a value beyond 16 bits.
    int64_t heaviest() const { return int64_t(std::min(scaled(heaviest_, bits_), 1e6)); }

private:
    bool exact_ = true;
    int bits_ = 0;
    double box_ = 0.0, heaviest_ = 0.0;
    int32_t parts_ = 0, most_ = 0;
};

// The whole numbers of one call: the weights of rows and columns, the lanes
// across and the conversion.
class SuperBoxPlan {
public:
    // False where the geometry leaves the whole numbers (or 16 bits), a box
    // leaves the image, or a table can't be allocated.
    bool make(const ResizeArgs& args, const SuperOpening& opening);

    const SuperBoxColumns& columns() const { return columns_; }
    // A row's part w as its whole weight.
    uint16_t rowWeight(double w) const;

private:
    bool planColumns(const ResizeArgs& args, const SuperOpening& opening);

    int rowBits_ = 0;
    int columnBits_ = 0;
    int32_t largestRowSum_ = 0;
    int32_t largestColumnSum_ = 0;
    int32_t width_ = 0;
    static constexpr int32_t kMaxTaps = 8;  // columns a box covers
    SuperBoxTaps taps_;
    SuperBoxLanes lanes_;
    SuperBoxColumns columns_;
};

// Runs the path and returns true where the geometry allows it and the
// processor has a vector form of the pass across; false, with nothing
// written, otherwise.
bool resizeSuperExact(const ResizeJob& job, const SuperOpening& opening);

}  // namespace morva
