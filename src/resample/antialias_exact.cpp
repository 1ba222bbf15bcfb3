// The antialiasing path in whole numbers: the check of the weights and the
// rows, through the super-sampling kernel of whole-number rows.
#include "resample/antialias_exact.h"

#include <algorithm>

#include "resample/super_sampling_exact.h"
#include "resample/work_block.h"

namespace morva {
namespace {

constexpr int32_t kMaxRows = 32;  // the rows one call of the kernel sums

// One axis's weights: the finest fraction, the heaviest entry, the most
// weighed slots in an entry. False where a weight is negative or finer than
// 2^-8 (or not a number).
struct AxisWeights {
    int bits = 0;
    double heaviest = 0.0;
    int64_t mostSlots = 0;

    bool read(const float* weights, int64_t entries, int64_t taps) {
        for (int64_t e = 0; e < entries; ++e) {
            double sum = 0.0;
            int64_t slots = 0;
            for (int64_t j = 0; j < taps; ++j) {
                const float w = weights[e * taps + j];
                if (w == 0.0f) continue;
                const int b = wholeNumberBits(w);
                if (!(w > 0.0f) || b < 0) return false;
                bits = std::max(bits, b);
                sum += w;
                ++slots;
            }
            heaviest = std::max(heaviest, sum);
            mostSlots = std::max(mostSlots, slots);
        }
        return true;
    }

    // The heaviest entry in whole weights.
    double wholeHeaviest() const { return heaviest * double(1 << bits); }
};

}  // namespace

bool antialiasExact(const ResizeArgs& a, const AntialiasTables& t) {
    if (a.depth != 0 || superBoxTable().current() == superBoxTable().scalar()) return false;
    AxisWeights across, down;
    if (!across.read(t.columnWeights, a.width, t.columnTaps) || !down.read(t.rowWeights, a.height, t.rowTaps))
        return false;
    const int k = across.bits + down.bits;
    if (k < 1 || k > 16 || down.mostSlots > kMaxRows || across.mostSlots > kSuperBoxLanes ||
        255.0 * down.wholeHeaviest() * across.wholeHeaviest() + double(1 << (k - 1)) > 65535.0)
        return false;

    // Per target column its weighed slots: pixels and whole weights.
    const int32_t taps = int32_t(std::max<int64_t>(across.mostSlots, 1));
    WorkBlock<int32_t> pixels;
    WorkBlock<uint16_t> weights;
    if (!pixels.allocate(int64_t(a.width) * taps) || !weights.allocate(int64_t(a.width) * taps)) return false;
    for (int64_t c = 0; c < a.width; ++c) {
        int32_t kept = 0;
        for (int64_t j = 0; j < t.columnTaps; ++j) {
            const float w = t.columnWeights[c * t.columnTaps + j];
            if (w == 0.0f) continue;
            pixels.get()[c * taps + kept] = t.columnIndices[c * t.columnTaps + j] / t.multiplier;
            weights.get()[c * taps + kept++] = uint16_t(double(w) * double(1 << across.bits));
        }
        for (; kept < taps; ++kept) {
            pixels.get()[c * taps + kept] = 0;
            weights.get()[c * taps + kept] = 0;
        }
    }
    SuperBoxLanes lanes;
    SuperBoxColumns columns;
    if (!lanes.make(a.width, a.nChannels, taps, pixels.get(), weights.get(), columns)) return false;
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
            rowWeights[n++] = uint16_t(double(w) * double(1 << down.bits));
        }
        box(rows, rowWeights, n, columns, dst);
    }
    return true;
}

}  // namespace morva
