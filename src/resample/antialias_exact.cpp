// The antialiasing path in whole numbers: the check of the weights and the
// rows, through the super-sampling kernel of whole-number rows.
#include "resample/antialias_exact.h"

#include <algorithm>

#include "resample/super_sampling_exact.h"
#include "resample/work_block.h"

namespace morva {
namespace {

constexpr int32_t kMaxRows = 32;  // the rows one call of the kernel sums

// One axis's weights entry by entry; those of 0 are left out.
WholeNumberParts readWeights(const float* weights, int64_t entries, int64_t taps) {
    WholeNumberParts parts;
    for (int64_t e = 0; e < entries && parts.exact(); ++e) {
        for (int64_t j = 0; j < taps; ++j)
            if (weights[e * taps + j] != 0.0f) parts.add(weights[e * taps + j]);
        parts.endBox();
    }
    return parts;
}

}  // namespace

bool antialiasExact(const ResizeArgs& a, const AntialiasTables& t) {
    if (a.depth != 0 || superBoxTable().current() == superBoxTable().scalar()) return false;
    const WholeNumberParts across = readWeights(t.columnWeights, a.width, t.columnTaps);
    const WholeNumberParts down = readWeights(t.rowWeights, a.height, t.rowTaps);
    const int k = across.bits() + down.bits();
    if (!across.exact() || !down.exact() || k < 1 || k > 16 || down.most() > kMaxRows ||
        across.most() > kSuperBoxLanes || 255 * down.heaviest() * across.heaviest() + (1 << (k - 1)) > 65535)
        return false;

    // Per target column its weighed slots: pixels and whole weights.
    const int32_t taps = std::max(across.most(), 1);
    SuperBoxTaps laneTaps;
    if (!laneTaps.allocate(a.width * a.nChannels, taps)) return false;
    for (int64_t c = 0; c < a.width; ++c) {
        int32_t pixels[kSuperBoxLanes] = {};
        uint16_t weights[kSuperBoxLanes] = {};
        int32_t kept = 0;
        for (int64_t j = 0; j < t.columnTaps; ++j) {
            const float w = t.columnWeights[c * t.columnTaps + j];
            if (w == 0.0f) continue;
            pixels[kept] = t.columnIndices[c * t.columnTaps + j] / t.multiplier;
            weights[kept++] = uint16_t(scaled(w, across.bits()));
        }
        laneTaps.spreadColumn(int32_t(c), a.nChannels, pixels, weights);
    }
    SuperBoxLanes lanes;
    SuperBoxColumns columns;
    if (!lanes.make(laneTaps, columns)) return false;
    columns.rowSamples = a.srcWidth * a.nChannels;
    columns.round = uint16_t(1 << (k - 1));
    columns.multiplier = uint16_t(1 << (16 - k));  // (S + round) * 2^(16 - k) >> 16 = (S + round) >> k
    columns.shift = 0;

    const SuperBoxFn box = superBoxTable().current();
    uint8_t* dst = a.dst + ptrdiff_t(a.y0) * a.dstStep + ptrdiff_t(a.x0) * a.nChannels;
    for (int64_t r = 0; r < a.height; ++r, dst += a.dstStep) {
        const uint8_t* rows[kMaxRows];
        uint16_t rowWeights[kMaxRows];
        int32_t n = 0;
        for (int64_t j = 0; j < t.rowTaps; ++j) {
            const float w = t.rowWeights[r * t.rowTaps + j];
            if (w == 0.0f) continue;
            rows[n] = a.src + ptrdiff_t(t.rowIndices[r * t.rowTaps + j] / t.multiplier) * a.srcStep;
            rowWeights[n++] = uint16_t(scaled(w, down.bits()));
        }
        box(rows, rowWeights, n, columns, dst);
    }
    return true;
}

}  // namespace morva
