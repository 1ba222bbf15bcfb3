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

// The lanes of a row's blocks, from the taps of each target column: its
// source pixels and their whole weights (0 for a tap it hasn't), `taps` of
// them per column. False where a block would read beyond kSuperBoxLanes * 4
// sums, or a table can't be allocated.
class SuperBoxLanes {
public:
    bool make(int32_t width, int32_t channels, int32_t taps, const int32_t* pixels, const uint16_t* weights,
              SuperBoxColumns& columns);

private:
    bool tryBlocks(int32_t width, int32_t channels, int32_t taps, const int32_t* pixels, const uint16_t* weights,
                   SuperBoxColumns& columns);

    WorkBlock<int32_t> bases_;
    WorkBlock<uint16_t> lanes_;
};

// The bits below the point of a part of a box, or -1 beyond 8.
int wholeNumberBits(double w);

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
    bool planConversion(double factorProduct);

    int rowBits_ = 0;
    int columnBits_ = 0;
    int32_t largestRowSum_ = 0;
    int32_t largestColumnSum_ = 0;
    int32_t width_ = 0;
    // Per target column the source pixels of its taps and their whole
    // weights, `taps` (up to kMaxTaps) of each.
    static constexpr int32_t kMaxTaps = 8;
    WorkBlock<int32_t> pixels_;
    WorkBlock<uint16_t> weights_;
    SuperBoxLanes lanes_;
    SuperBoxColumns columns_;
};

// Runs the path and returns true where the geometry allows it and the
// processor has a vector form of the pass across; false, with nothing
// written, otherwise.
bool resizeSuperExact(const ResizeJob& job, const SuperOpening& opening);

}  // namespace morva
