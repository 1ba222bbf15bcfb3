// The antialiasing path in whole numbers. Where every weight across and
// down is a non-negative whole number of 2^-8 or coarser (the linear filter
// reducing by 2 or by 4, from a target on the grid) and no sum can pass 2^16,
// neither the float64 sums across nor the float32 sums down ever round: a
// target sample is S * 2^-k for a whole number S, and its conversion,
// trunc(S * 2^-k + 0.5000001), is (S + 2^(k-1)) >> k. The target rows are
// then the whole-number rows of super-sampling, from the source rows
// directly, without an image across.
#pragma once

#include <cstdint>

#include "resample/resize_general.h"

namespace morva {

// The path's tables as ownResizeAntialias built them: per target column
// `columnTaps` slots, per target row `rowTaps`, the indices multiplied by
// `multiplier`.
struct AntialiasTables {
    int64_t columnTaps = 0;
    const int32_t* columnIndices = nullptr;
    const float* columnWeights = nullptr;
    int64_t rowTaps = 0;
    const int32_t* rowIndices = nullptr;
    const float* rowWeights = nullptr;
    int32_t multiplier = 1;
};

// Writes the target and returns true where the weights allow the whole
// numbers and the processor has a vector form of the rows; false, with
// nothing written, otherwise.
bool antialiasExact(const ResizeArgs& args, const AntialiasTables& tables);

}  // namespace morva
