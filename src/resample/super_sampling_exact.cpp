// Super-sampling in whole numbers: the plan that proves a call's arithmetic
// exact, the scalar definition of a target row, and the rows.
#include "resample/super_sampling_exact.h"

#include <algorithm>
#include <cmath>

#include "resample/resize_common.h"
#include "resample/super_sampling_forms.h"

namespace morva {
namespace {

constexpr int kMaxBits = 8;  // parts in 256ths at the finest
constexpr int32_t kMaxRows = 32;    // source rows a box adds
constexpr int32_t kWidestSpan = 128;  // sums one block reads at the most



// The columns of each target column in turn, from the schedule of the
// fractional form or the runs of the whole form: visit(c, first, parts, n)
// with the parts of columns first .. first + n - 1. False where a box has
// more than `maxParts` parts or they don't lie side by side.
template <class Visit>
bool forEachColumnBox(const SuperColumn* schedule, int32_t wholeRun, int32_t width, int32_t maxParts,
                      Visit&& visit) {
    double parts[64];
    maxParts = std::min<int32_t>(maxParts, 64);
    for (int32_t c = 0; c < width; ++c) {
        int32_t n = 0, first;
        if (schedule == nullptr) {
            if (wholeRun > maxParts) return false;
            first = c * wholeRun;
            for (; n < wholeRun; ++n) parts[n] = 1.0;
        } else {
            const SuperColumn& s = schedule[c];
            if (s.hasHead + s.run + s.hasTail > maxParts) return false;
            first = s.hasHead ? s.headColumn : (s.run > 0 ? s.runStart : s.tailColumn);
            if (s.hasHead) parts[n++] = s.head;
            if (s.run > 0 && s.runStart != first + n) return false;
            for (int32_t k = 0; k < s.run; ++k) parts[n++] = 1.0;
            if (s.hasTail && s.tailColumn != first + n) return false;
            if (s.hasTail) parts[n++] = s.tail;
        }
        visit(c, first, parts, n);
    }
    return true;
}

// ---- Scalar definitions ----------------------------------------------------------

void superBoxScalar(const uint8_t* const* rows, const uint16_t* weights, int32_t rowCount,
                    const SuperBoxColumns& p, uint8_t* dst) {
    const auto sum = [&](int32_t r) {
        uint32_t s = 0;
        for (int32_t k = 0; k < rowCount; ++k) s += uint32_t(weights[k]) * rows[k][r];
        return s;
    };
    for (int32_t b = 0; b < p.blocks; ++b) {
        const uint16_t* lanes = p.lanes + b * p.laneStride;
        const int32_t first = b * p.blockLanes;
        for (int32_t l = 0; l < p.blockLanes && first + l < p.count; ++l) {
            uint32_t s = 0;
            for (int32_t t = 0; t < p.taps; ++t) {
                const uint16_t* tap = lanes + t * 2 * kSuperBoxLanes;
                if (tap[kSuperBoxLanes + l] != 0) s += tap[kSuperBoxLanes + l] * sum(p.bases[b] + tap[l]);
            }
            dst[first + l] = uint8_t(std::min<uint32_t>((((s + p.round) * p.multiplier) >> 16) >> p.shift, 255));
        }
    }
}

}  // namespace

double scaled(double w, int bits) { return w * double(1 << bits); }

int wholeNumberBits(double w) {
    for (int bits = 0; bits <= kMaxBits; ++bits)
        if (scaled(w, bits) == double(int32_t(scaled(w, bits)))) return bits;
    return -1;
}

void WholeNumberParts::add(double w) {
    const int bits = wholeNumberBits(w);
    exact_ = exact_ && w > 0.0 && bits >= 0;
    bits_ = std::max(bits_, bits);
    box_ += w;
    ++parts_;
}

void WholeNumberParts::endBox() {
    heaviest_ = std::max(heaviest_, box_);
    most_ = std::max(most_, parts_);
    box_ = 0.0;
    parts_ = 0;
}

const KernelTable<SuperBoxFn>& superBoxTable() {
    static const KernelTable<SuperBoxFn> table{
        {"scalar", Isa::Scalar, &superBoxScalar},
#if MORVA_X86_64
        {"avx512", Isa::Avx512, &superBoxAvx512},
#endif
    };
    return table;
}

// ---- The plan --------------------------------------------------------------------

bool SuperBoxPlan::make(const ResizeArgs& a, const SuperOpening& o) {
    if (a.depth != 0 || o.leftExtra != 0 || o.rightExtra != 0) return false;
    WholeNumberParts down;
    SuperRowWalk walk(o, a.yScale);
    for (int32_t t = 0; t < a.height && down.exact(); ++t) {
        walk.next([&](int64_t, double w) { down.add(w); });
        down.endBox();
    }
    if (!down.exact() || down.most() > kMaxRows || 255 * down.heaviest() > 65535) return false;
    rowBits_ = down.bits();
    largestRowSum_ = int32_t(255 * down.heaviest());
    columns_.rowSamples = o.columnsRead * a.nChannels;
    return planColumns(a, o) &&
           planWholeConversion(largestRowSum_ * largestColumnSum_, rowBits_ + columnBits_, a.factorProduct, columns_) &&
           lanes_.make(taps_, columns_);
}

uint16_t SuperBoxPlan::rowWeight(double w) const { return uint16_t(scaled(w, rowBits_)); }

bool SuperBoxPlan::planColumns(const ResizeArgs& a, const SuperOpening& o) {
    width_ = a.width;
    WorkBlock<SuperColumn> schedule;
    if (!o.whole) {
        if (!schedule.allocate(width_)) return false;
        superColumnSchedule(a.xScale, o.coverX, o.columns, width_, schedule.get());
    }
    const int32_t wholeRun = o.whole ? int32_t(std::min(std::floor(a.xScale), 1e9)) : 0;
    WholeNumberParts across;
    const bool sideBySide =
        forEachColumnBox(schedule.get(), wholeRun, width_, kMaxTaps, [&](int32_t, int32_t, const double* parts, int32_t n) {
            for (int32_t k = 0; k < n; ++k) across.add(parts[k]);
            across.endBox();
        });
    if (!sideBySide || !across.exact() || across.heaviest() * largestRowSum_ > 65535) return false;
    columnBits_ = across.bits();
    largestColumnSum_ = int32_t(across.heaviest());
    columns_.unitWeights = columnBits_ == 0 && wholeRun > 0;
    const int32_t taps = across.most();
    if (!taps_.allocate(width_ * a.nChannels, taps)) return false;
    forEachColumnBox(schedule.get(), wholeRun, width_, kMaxTaps, [&](int32_t c, int32_t first, const double* parts, int32_t n) {
        int32_t pixels[kMaxTaps];
        uint16_t weights[kMaxTaps];
        for (int32_t k = 0; k < taps; ++k) {
            pixels[k] = first + k;
            weights[k] = k < n ? uint16_t(scaled(parts[k], columnBits_)) : 0;
        }
        taps_.spreadColumn(c, a.nChannels, pixels, weights);
    });
    return true;
}

// The defined conversion of every sum S that can occur must equal the
// kernel's for one of a few candidates around the nominal ones; the shift
// gives the multiplier all 16 bits.
bool planWholeConversion(int32_t largest, int scaleBits, double factorProduct, SuperBoxColumns& columns) {
    WorkBlock<uint8_t> defined;
    if (largest > 65535 || !defined.allocate(largest + 1)) return false;
    const double unit = 1.0 / double(1 << scaleBits);  // what S = 1 stands for, exactly
    for (int32_t s = 0; s <= largest; ++s)
        defined.get()[s] = uint8_t(truncToInt32(double(s) * unit * factorProduct + 0.5));
    const double perSum = factorProduct * unit;
    if (!(perSum > 1.0 / 65536 && perSum < 1.0)) return false;
    int shift = 0;
    while (shift < 15 && perSum * double(1 << (17 + shift)) <= 65535.0) ++shift;
    const int64_t multiplier = int64_t(perSum * double(1 << (16 + shift))), round = int64_t(0.5 / perSum);
    for (int64_t m = multiplier - 1; m <= multiplier + 2; ++m)
        for (int64_t r = std::max<int64_t>(round - 2, 0); r <= round + 2; ++r) {
            if (m < 1 || m > 65535 || largest + r > 65535) continue;
            int32_t s = 0;
            while (s <= largest && std::min<int64_t>(((s + r) * m) >> (16 + shift), 255) == defined.get()[s]) ++s;
            if (s > largest) {
                columns.round = uint16_t(r);
                columns.multiplier = uint16_t(m);
                columns.shift = uint16_t(shift);
                return true;
            }
        }
    return false;
}

// Lane l of block b is target sample 32b + l (16b + l for blocks of 16).
// The block's base is the lowest sum a weighed tap reads; lanes behind the
// row and taps of weight 0 read the base.
bool SuperBoxLanes::make(const SuperBoxTaps& taps, SuperBoxColumns& columns) {
    columns.blockLanes = kSuperBoxLanes;
    if (tryBlocks(taps, columns)) return true;
    columns.blockLanes = kSuperBoxLanes / 2;
    return tryBlocks(taps, columns);
}

bool SuperBoxLanes::tryBlocks(const SuperBoxTaps& t, SuperBoxColumns& columns) {
    const int32_t count = t.count, taps = t.taps, perBlock = columns.blockLanes;
    const int32_t blocks = (count + perBlock - 1) / perBlock;
    const int64_t laneElements = int64_t(taps) * 2 * kSuperBoxLanes;
    if (taps > kSuperBoxLanes || blocks < 1 || !bases_.allocate(blocks) || !lanes_.allocate(blocks * laneElements))
        return false;
    const auto weighed = [&](int64_t k, int32_t tap) { return k < count && t.weights.get()[k * taps + tap] != 0; };
    int32_t span = 1;
    bool shared = true;
    for (int32_t b = 0; b < blocks; ++b) {
        const int64_t first = int64_t(b) * perBlock;
        int32_t base = INT32_MAX;
        for (int64_t k = first; k < first + perBlock; ++k)
            for (int32_t tap = 0; tap < taps; ++tap)
                if (weighed(k, tap)) base = std::min(base, t.samples.get()[k * taps + tap]);
        if (base == INT32_MAX) base = 0;
        uint16_t* lanes = lanes_.get() + b * laneElements;
        std::fill(lanes, lanes + laneElements, uint16_t(0));
        for (int32_t l = 0; l < perBlock; ++l)
            for (int32_t tap = 0; tap < taps; ++tap) {
                if (!weighed(first + l, tap)) continue;
                const int64_t at = (first + l) * taps + tap;
                const int32_t offset = t.samples.get()[at] - base;
                if (offset >= kWidestSpan) return false;
                span = std::max(span, offset + 1);
                lanes[tap * 2 * kSuperBoxLanes + l] = uint16_t(offset);
                lanes[tap * 2 * kSuperBoxLanes + kSuperBoxLanes + l] = t.weights.get()[at];
            }
        bases_.get()[b] = base;
        shared = shared && std::equal(lanes, lanes + laneElements, lanes_.get());
    }
    columns.bases = bases_.get();
    columns.lanes = lanes_.get();
    columns.laneStride = shared ? 0 : laneElements;
    columns.blocks = blocks;
    columns.taps = taps;
    columns.count = count;
    columns.chunks = std::max(2, (span + 31) / 32);
    return true;
}

// ---- The rows --------------------------------------------------------------------

bool resizeSuperExact(const ResizeJob& job, const SuperOpening& opening) {
    const KernelTable<SuperBoxFn>& table = superBoxTable();
    // The scalar form is slower than the general path's vector forms: the
    // path is taken only where a vector form runs.
    if (table.current() == table.scalar()) return false;
    SuperBoxPlan plan;
    if (!plan.make(*job.args, opening)) return false;
    const SuperBoxFn box = table.current();
    const uint8_t* rows[kMaxRows];
    uint16_t weights[kMaxRows];
    SuperRowWalk walk(opening, job.args->yScale);
    for (int32_t t = 0; t < job.args->height; ++t) {
        int32_t n = 0;
        walk.next([&](int64_t v, double w) {
            rows[n] = superSourceRow<uint8_t>(job, opening, v);
            weights[n++] = plan.rowWeight(w);
        });
        box(rows, weights, n, plan.columns(), job.dst + ptrdiff_t(t) * job.dstStep);
    }
    return true;
}

}  // namespace morva
