// Super-sampling of the packed 4:2:2 resize: a box filter over 1 / xFactor
// by 1 / yFactor source samples for each target sample, luma and chroma each
// on its own grid.
//
// Each target row clears one accumulator per byte of the source macro-pixels,
// adds the source rows of its box into them, then sums the accumulators of
// each target sample's box across and scales by xFactor * yFactor. When both
// box sizes are whole the accumulators are unsigned integers and no sample is
// weighed; otherwise they are float32 and every contribution is weighed in
// float64 and rounded to float32 before it is added. A whole sample weighs
// 1.0 exactly, so the three weighed cases are one routine here.
#include <algorithm>
#include <cmath>

#include "kernels/memory.h"
#include "resample/super_sampling_exact.h"
#include "resample/yuv422_kernels.h"
#include "resample/work_block.h"

namespace morva {
namespace {

constexpr double kEpsilon = 1e-7;

// The fractional part of a box size; below 1e-7 it counts as 0.
double boxFraction(double scale) {
    const double fraction = scale - std::trunc(scale);
    return fraction < kEpsilon ? 0.0 : fraction;
}

// The source samples of one box, ascending: a part headWeight of sample
// first - 1, samples first .. first + units - 1 whole, a part tailWeight of
// sample first + units. A weight of 0 means that sample has no part.
struct BoxSpan {
    int64_t first;
    int64_t units;
    double headWeight;
    double tailWeight;
};

// The boxes of consecutive target samples on one axis. A sample that one box
// uses in part is used for the rest at the start of the next; overlaps up to
// 1e-7 are dropped.
class BoxWalk {
public:
    explicit BoxWalk(double scale) : scale_(scale) {}

    BoxSpan next() {
        BoxSpan span{};
        if (index_ < 0) {
            // The first box: whole samples from 0, then the fraction.
            const int64_t whole = static_cast<int64_t>(scale_);
            span.first = 0;
            span.units = whole;
            index_ = whole;
            used_ = boxFraction(scale_);
            span.tailWeight = used_;
            return span;
        }
        const double head = 1.0 - used_;
        const int64_t whole = static_cast<int64_t>(scale_ - head + kEpsilon);
        if (used_ == 0.0) {
            // Nothing of the current sample was used: it is whole.
            span.first = index_;
            span.units = whole + 1;
        } else {
            span.first = index_ + 1;
            span.units = whole;
            span.headWeight = head > kEpsilon ? head : 0.0;
        }
        index_ += whole + 1;
        const double left = scale_ - head - whole;
        used_ = left > kEpsilon ? left : 0.0;
        span.tailWeight = used_;
        return span;
    }

private:
    double scale_;
    int64_t index_ = -1;  // the sample the next box starts in; -1 before the first
    double used_ = 0.0;   // the part of that sample already used
};

// Calls fn(sample, weight) for the samples of a box, ascending; whole
// samples with weight 1.0. A box reaches past the image only where the
// scaled extent was rounded up to its minimum, and by float residues; the
// image's last sample stands in for what lies behind it.
template <class Fn>
void forEachInBox(const BoxSpan& span, int64_t available, Fn&& fn) {
    const auto held = [&](int64_t k) { return std::min(k, available - 1); };
    if (span.headWeight > 0.0) fn(held(span.first - 1), span.headWeight);
    for (int64_t k = span.first; k < span.first + span.units; ++k) fn(held(k), 1.0);
    if (span.tailWeight > 0.0) fn(held(span.first + span.units), span.tailWeight);
}

// One source sample's part in a target sample's box across: the offset of
// its accumulator and its weight.
struct Contribution {
    int32_t accumulator;
    double weight;
};

// The boxes of `boxes` target samples on one axis as lists of contributions:
// box b holds list[first[b]] .. list[first[b + 1] - 1], ascending. A sample
// k sits in accumulator k * stride. Either pointer may be null; returns the
// length of the list.
int64_t listBoxes(double scale, int64_t boxes, int64_t available, int32_t stride, int32_t* first,
                  Contribution* list) {
    BoxWalk walk(scale);
    int64_t n = 0;
    for (int64_t b = 0; b < boxes; ++b) {
        if (first) first[b] = int32_t(n);
        forEachInBox(walk.next(), available, [&](int64_t k, double weight) {
            if (list) list[n] = {int32_t(k * stride), weight};
            ++n;
        });
    }
    if (first) first[boxes] = int32_t(n);
    return n;
}

struct AcrossTable {
    const int32_t* first;
    const Contribution* list;
};

uint32_t sumAcross(const uint32_t* acc, const AcrossTable& t, int64_t box) {
    uint32_t sum = 0;
    for (int32_t e = t.first[box]; e < t.first[box + 1]; ++e) sum += acc[t.list[e].accumulator];
    return sum;
}

float sumAcross(const float* acc, const AcrossTable& t, int64_t box) {
    float sum = 0.0f;
    for (int32_t e = t.first[box]; e < t.first[box + 1]; ++e)
        sum += weighedSample(acc[t.list[e].accumulator], t.list[e].weight);
    return sum;
}

// The low byte of the rounded, scaled sum; the weights can't lead above 255
// beyond rounding, so nothing saturates.
template <class Sum>
uint8_t scaledSample(Sum sum, double factorProduct) {
    return static_cast<uint8_t>(static_cast<int32_t>(static_cast<double>(sum) * factorProduct + 0.5));
}

// Luma j from the accumulators of luma samples (even offsets), U and V of
// pair p from those of the pairs' U and V bytes.
template <class Acc>
void writeRow(const Acc* acc, const AcrossTable& luma, const AcrossTable& chroma,
              int32_t macroPixels, double factorProduct, uint8_t* out) {
    for (int32_t p = 0; p < macroPixels; ++p) {
        uint8_t* o = out + 4 * ptrdiff_t(p);
        o[0] = scaledSample(sumAcross(acc, luma, 2 * int64_t(p)), factorProduct);
        o[1] = scaledSample(sumAcross(acc + 1, chroma, p), factorProduct);
        o[2] = scaledSample(sumAcross(acc, luma, 2 * int64_t(p) + 1), factorProduct);
        o[3] = scaledSample(sumAcross(acc + 3, chroma, p), factorProduct);
    }
}

// The box in whole numbers, as super-sampling has it for a plane: where
// every part of every box is a positive whole number of 2^-8 or coarser and
// no sum can pass 2^16, the float32 sums never round, and the target rows
// are that kernel's whole-number rows straight from the source rows, a
// macro-pixel's four bytes four lanes with taps of their own. False, with
// nothing written, where the parts don't allow it, the passes have no form
// of those rows, or a table can't be had.
bool superInWholeNumbers(const Yuv422Geometry& g, int32_t sourceMacroPixels, double sy, double factorProduct,
                         const AcrossTable& luma, const AcrossTable& chroma, SuperBox* box) {
    constexpr int32_t kMaxRows = 32;
    if (box == nullptr) return false;
    WholeNumberParts down, across;
    BoxWalk rowWalk(sy);
    for (int32_t i = 0; i < g.rows && down.exact(); ++i) {
        forEachInBox(rowWalk.next(), g.rowsLeft, [&](int64_t, double w) { down.add(w); });
        down.endBox();
    }
    const auto readBoxes = [&](const AcrossTable& t, int64_t boxes) {
        for (int64_t b = 0; b < boxes; ++b) {
            for (int32_t e = t.first[b]; e < t.first[b + 1]; ++e) across.add(t.list[e].weight);
            across.endBox();
        }
    };
    readBoxes(luma, 2 * int64_t(g.macroPixels));
    readBoxes(chroma, g.macroPixels);
    const int32_t taps = across.most();
    if (!down.exact() || !across.exact() || down.most() > kMaxRows || taps > kSuperBoxLanes || taps < 1 ||
        255 * down.heaviest() * across.heaviest() > 65535)
        return false;

    // Lanes Y0, U, Y1, V of each target macro-pixel: the accumulators of a
    // row are its bytes, so a contribution's accumulator is its sample.
    SuperBoxTaps laneTaps;
    if (!laneTaps.allocate(4 * g.macroPixels, taps)) return false;
    const auto spread = [&](int64_t lane, const AcrossTable& t, int64_t box, int32_t byte) {
        for (int32_t tap = 0; tap < taps; ++tap) {
            const int32_t e = t.first[box] + tap;
            const bool part = e < t.first[box + 1];
            laneTaps.samples.get()[lane * taps + tap] = part ? t.list[e].accumulator + byte : 0;
            laneTaps.weights.get()[lane * taps + tap] = part ? uint16_t(scaled(t.list[e].weight, across.bits())) : 0;
        }
    };
    for (int64_t p = 0; p < g.macroPixels; ++p) {
        spread(4 * p, luma, 2 * p, 0);
        spread(4 * p + 1, chroma, p, 1);
        spread(4 * p + 2, luma, 2 * p + 1, 0);
        spread(4 * p + 3, chroma, p, 3);
    }
    SuperBoxLanes lanes;
    SuperBoxColumns columns;
    if (!planWholeConversion(int32_t(255 * down.heaviest() * across.heaviest()), down.bits() + across.bits(),
                             factorProduct, columns) ||
        !lanes.make(laneTaps, columns))
        return false;
    columns.rowSamples = 4 * sourceMacroPixels;

    BoxWalk walk(sy);
    for (int32_t i = 0; i < g.rows; ++i) {
        const uint8_t* rows[kMaxRows];
        uint16_t weights[kMaxRows];
        int32_t n = 0;
        forEachInBox(walk.next(), g.rowsLeft, [&](int64_t row, double w) {
            rows[n] = g.src + row * g.srcStep;
            weights[n++] = uint16_t(scaled(w, down.bits()));
        });
        box(rows, weights, n, columns, g.dst + i * g.dstStep);
    }
    return true;
}

}  // namespace

IppStatus ownResizeYUV422Super(const Yuv422Geometry& g, int32_t sourceMacroPixels, double sx,
                               double sy, double factorProduct, const Yuv422Passes& passes) {
    const int64_t macroPixels = g.macroPixels, pairs = sourceMacroPixels;
    bool ok = true;
    WorkBlock<uint8_t> accumulatorBytes(16 * pairs, ok);
    WorkBlock<int32_t> lumaFirst(2 * macroPixels + 1, ok), chromaFirst(macroPixels + 1, ok);
    // The lists are sized by a first walk, which also fills the offsets.
    const auto count = [&](int64_t boxes, int64_t available, int32_t* first) {
        return ok ? listBoxes(sx, boxes, available, 0, first, nullptr) : 0;
    };
    WorkBlock<Contribution> lumaList(count(2 * macroPixels, 2 * pairs, lumaFirst.get()), ok);
    WorkBlock<Contribution> chromaList(count(macroPixels, pairs, chromaFirst.get()), ok);
    if (!ok) return ippStsMemAllocErr;
    listBoxes(sx, 2 * macroPixels, 2 * pairs, 2, nullptr, lumaList.get());
    listBoxes(sx, macroPixels, pairs, 4, nullptr, chromaList.get());
    const AcrossTable luma{lumaFirst.get(), lumaList.get()};
    const AcrossTable chroma{chromaFirst.get(), chromaList.get()};
    if (superInWholeNumbers(g, sourceMacroPixels, sy, factorProduct, luma, chroma, passes.wholeBox)) return ippStsNoErr;

    const int32_t accumulators = 4 * sourceMacroPixels;  // one per source byte
    const bool whole = boxFraction(sx) == 0.0 && boxFraction(sy) == 0.0;
    uint32_t* const sums = reinterpret_cast<uint32_t*>(accumulatorBytes.get());
    float* const weighed = reinterpret_cast<float*>(accumulatorBytes.get());
    BoxWalk rowWalk(sy);
    for (int32_t i = 0; i < g.rows; ++i) {
        ippsZero_8u(accumulatorBytes.get(), 4 * accumulators);
        forEachInBox(rowWalk.next(), g.rowsLeft, [&](int64_t row, double weight) {
            const uint8_t* src = g.src + row * g.srcStep;
            if (whole)
                passes.sumRow(src, sums, accumulators);
            else
                passes.weighRow(src, weighed, accumulators, weight);
        });
        uint8_t* out = g.dst + i * g.dstStep;
        if (whole)
            writeRow(sums, luma, chroma, g.macroPixels, factorProduct, out);
        else
            writeRow(weighed, luma, chroma, g.macroPixels, factorProduct, out);
    }
    return ippStsNoErr;
}

}  // namespace morva
