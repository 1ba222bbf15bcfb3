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

// One target row, in blocks of kSuperBoxLanes target samples. A sum is
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
    int32_t count = 0;          // target samples of a row
    int32_t rowSamples = 0;     // samples a source row has from the first column read
    bool wide = false;          // offsets up to 127; otherwise below 64
    bool unitWeights = false;   // every weight across 1, as in the whole form
    uint16_t round = 0;
    uint16_t multiplier = 0;
    uint16_t shift = 0;
};

using SuperBox = void(const uint8_t* const* rows, const uint16_t* weights, int32_t rowCount,
                      const SuperBoxColumns& columns, uint8_t* dst);
using SuperBoxFn = SuperBox*;
const KernelTable<SuperBoxFn>& superBoxTable();

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
    // The largest sum of a box's rows.
    int32_t largestRowSum() const { return largestRowSum_; }

private:
    bool planColumns(const ResizeArgs& args, const SuperOpening& opening);
    bool planConversion(double factorProduct);
    bool planLanes(int32_t channels);

    int rowBits_ = 0;
    int columnBits_ = 0;
    int32_t largestRowSum_ = 0;
    int32_t largestColumnSum_ = 0;
    // Per target column, its first source column and the whole weights of
    // the `taps` columns from there (up to kMaxTaps).
    static constexpr int32_t kMaxTaps = 8;
    WorkBlock<int32_t> firstColumn_;
    WorkBlock<uint16_t> columnWeights_;
    int32_t width_ = 0;
    WorkBlock<int32_t> bases_;
    WorkBlock<uint16_t> lanes_;
    SuperBoxColumns columns_;
};

// Runs the path and returns true where the geometry allows it and the
// processor has a vector form of the pass across; false, with nothing
// written, otherwise.
bool resizeSuperExact(const ResizeJob& job, const SuperOpening& opening);

}  // namespace morva
