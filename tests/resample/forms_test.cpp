// Every vector form of every resampling kernel against its scalar definition,
// byte for byte, over the widths that leave every tail, with inputs that
// reach rounding ties and saturation.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <type_traits>
#include <vector>

#include "resample/antialias.h"
#include "resample/antialias_stride.h"
#include "resample/cubic.h"
#include "resample/lanczos.h"
#include "resample/linear.h"
#include "resample/linear_fast_paths.h"
#include "resample/nearest.h"
#include "resample/super_sampling.h"
#include "resample/super_sampling_exact.h"
#include "resample_testing.h"

namespace morva::testing {
namespace {

constexpr int32_t kChannels[] = {1, 3, 4};
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

// A fraction of a pixel: now and then 0 or 1, where the weights are whole.
float drawFraction(Rng& rng) {
    return rng.uniform(0, 3) == 0 ? float(rng.uniform(0, 1)) : float(rng.real(0.0, 1.0));
}

template <class V, class Draw>
std::vector<V> drawn(Rng& rng, size_t count, Draw draw) {
    std::vector<V> v(count);
    for (V& x : v) x = draw(rng);
    return v;
}

// Row kernels that read the taps before .. after around each column entry:
// entries anywhere, or rising by steps of up to two and a half pixels as a
// resize's do, the first and the last at the two ends of the row; `weigh`
// adds the weights of one column.
template <class T, class Out, class W, class Fn, class Weigh>
void checkRows(const KernelTable<Fn>& table, int32_t channels, int32_t before, int32_t after, Weigh weigh) {
    checkForms(table, [&](Rng& rng, int32_t width) {
        const int32_t srcWidth = rng.uniform(before + after + 1, 300), last = srcWidth - after - 1;
        const RandomRow<T> row(rng, size_t(srcWidth) * channels);
        const bool rising = rng.uniform(0, 1);
        const double scale = rng.real(0.2, 2.5), start = rng.real(before, last);
        std::vector<int32_t> columns(static_cast<size_t>(width));
        for (int32_t j = 0; j < width; ++j)
            columns[size_t(j)] = channels * (rising ? std::min(int32_t(start + j * scale), last) : rng.uniform(before, last));
        columns.front() = before * channels;
        columns.back() = last * channels;
        std::vector<W> weights;
        for (int32_t j = 0; j < width; ++j) weigh(rng, weights);
        return std::pair{std::vector<uint8_t>(size_t(width) * channels * sizeof(Out)),
                         [=](Fn fn, uint8_t* out) {
                             Out* o = reinterpret_cast<Out*>(out);
                             if constexpr (std::is_same_v<W, void*>)
                                 fn(row.data(), srcWidth, columns.data(), o, width);
                             else if constexpr (std::is_invocable_v<Fn, const T*, int32_t, const int32_t*, const W*, Out*, int32_t>)
                                 fn(row.data(), srcWidth, columns.data(), weights.data(), o, width);
                             else
                                 fn(row.data(), columns.data(), weights.data(), o, width);
                         }};
    }, 70, sizeof(Out));
}

template <int Taps>
auto tapWeights(void (*coefficients)(float, float*)) {
    return [coefficients](Rng& rng, std::vector<float>& w) {
        w.resize(w.size() + Taps);
        coefficients(drawFraction(rng), w.data() + w.size() - Taps);
    };
}

TEST(ResampleForms, RowKernels) {
    const auto none = [](Rng&, std::vector<void*>&) {};
    const auto pairs = [](Rng& rng, std::vector<int16_t>& w) {
        const int16_t f = int16_t(std::lround(drawFraction(rng) * 16384));
        w.insert(w.end(), {int16_t(16384 - f), f});
    };
    const auto fraction = [](Rng& rng, std::vector<float>& w) { w.push_back(drawFraction(rng)); };
    const auto cubic = tapWeights<4>([](float f, float* c) { cubicCoefficients(INTER_CUBIC, f, c); });
    const auto lanczos = tapWeights<6>(&ownLanczosCoefficients);
    for (int32_t n : kChannels) {
        SCOPED_TRACE("channels " + std::to_string(n));
        checkRows<uint8_t, uint8_t, void*>(nearestRow8uTable(n), n, 0, 0, none);
        checkRows<uint16_t, uint16_t, void*>(nearestRow16uTable(n), n, 0, 0, none);
        checkRows<uint8_t, int16_t, int16_t>(linearRow8uTable(n), n, 0, 1, pairs);
        checkRows<uint16_t, float, float>(linearRow16uTable(n), n, 0, 1, fraction);
        checkRows<uint8_t, float, float>(cubicRow8uTable(n), n, 1, 2, cubic);
        checkRows<uint16_t, float, float>(cubicRow16uTable(n), n, 1, 2, cubic);
        checkRows<uint8_t, float, float>(lanczosRow8uTable(n), n, 2, 3, lanczos);
        checkRows<uint16_t, float, float>(lanczosRow16uTable(n), n, 2, 3, lanczos);
    }
}

// Rows of whole numbers, halves (where the rounding decides), values beyond
// both ends (where the saturation decides) and the extremes.
float drawRowValue(Rng& rng, float top) {
    switch (rng.uniform(0, 4)) {
    case 0: return rng.uniform(0, 1) ? 0.0f : top;
    case 1: return float(rng.uniform(-3, int(top) + 3)) + 0.5f;
    case 2: return float(rng.uniform(0, int(top)));
    default: return float(rng.real(-0.3 * top, 1.3 * top));
    }
}

// Sums whose conversion lands on a half or next to it, on a whole number,
// beyond the samples' and the 32-bit range, or on no number; `scale` undoes
// the conversion's factor. Only the antialiasing path, whose filters have
// negative lobes, has sums below 0.
float drawSum(Rng& rng, double top, double scale = 1.0) {
    const int low = scale == 1.0 ? -3 : 0;
    switch (rng.uniform(0, 5)) {
    case 0: return float((rng.uniform(low, int(top) + 3) + (rng.uniform(0, 1) ? 0.5 : 0.4999999)) * scale);
    case 1: return float(rng.uniform(0, int(top)) * scale);
    case 2: return float(rng.real(low * 1e9, 1e12) * scale);
    case 3: return rng.uniform(0, 1) ? kNaN : (low < 0 ? -kInf : kInf);
    default: return float(rng.real(low, top + 3) * scale);
    }
}

// Cached rows blended by coefficients of a random fraction, or by one tap
// alone so that halves reach the rounding as they are.
template <class T, int Taps>
void checkTapBlend(const KernelTable<TapBlendFn<T>>& table, void (*coefficients)(float, float*)) {
    checkForms(table, [&](Rng& rng, int32_t count) {
        std::vector<std::vector<float>> rows;
        for (int t = 0; t < Taps; ++t)
            rows.push_back(drawn<float>(rng, size_t(count), [](Rng& r) { return drawRowValue(r, float(T(~T(0)))); }));
        std::vector<float> c(Taps, 0.0f);
        if (rng.uniform(0, 2) == 0) c[size_t(rng.uniform(0, Taps - 1))] = 1.0f;
        else coefficients(float(rng.real(0.0, 1.0)), c.data());
        return std::pair{std::vector<uint8_t>(size_t(count) * sizeof(T)), [=](TapBlendFn<T> fn, uint8_t* out) {
                             const float* pointers[Taps];
                             for (int t = 0; t < Taps; ++t) pointers[t] = rows[size_t(t)].data();
                             fn(pointers, c.data(), reinterpret_cast<T*>(out), count);
                         }};
    }, 140, sizeof(T));
}

// Two rows blended by one fraction, the linear family's down pass.
template <class T, class In, class F, class Fn, class DrawIn, class DrawF>
void checkLinearBlend(const KernelTable<Fn>& table, DrawIn drawIn, DrawF drawF) {
    checkForms(table, [&](Rng& rng, int32_t count) {
        const std::vector<In> a = drawn<In>(rng, size_t(count), drawIn), b = drawn<In>(rng, size_t(count), drawIn);
        const F fraction = drawF(rng);
        return std::pair{std::vector<uint8_t>(size_t(count) * sizeof(T)), [=](Fn fn, uint8_t* out) {
                             fn(a.data(), b.data(), reinterpret_cast<T*>(out), count, fraction);
                         }};
    }, 140, sizeof(T));
}

TEST(ResampleForms, Blends) {
    const auto cubic = [](float f, float* c) { cubicCoefficients(INTER_CUBIC_CATMULLROM, f, c); };
    checkTapBlend<uint8_t, 4>(cubicBlend8uTable(), cubic);
    checkTapBlend<uint16_t, 4>(cubicBlend16uTable(), cubic);
    checkTapBlend<uint8_t, 6>(lanczosBlend8uTable(), &ownLanczosCoefficients);
    checkTapBlend<uint16_t, 6>(lanczosBlend16uTable(), &ownLanczosCoefficients);
    checkLinearBlend<uint8_t, int16_t, int32_t>(
        linearBlend8uTable(),
        [](Rng& r) { return int16_t(r.uniform(0, 2) == 0 ? 16320 * r.uniform(0, 1) : r.uniform(0, 16320)); },
        [](Rng& r) { return int32_t(std::lround(drawFraction(r) * 16384)); });
    checkLinearBlend<uint16_t, float, float>(
        linearBlend16uTable(), [](Rng& r) { return std::clamp(drawRowValue(r, 65535.0f), 0.0f, 65535.0f); },
        &drawFraction);
}

// ---- Super-sampling ----

// Whole sums: halves, any, and the last before the wrap.
uint32_t drawWholeSum(Rng& rng, double product) {
    switch (rng.uniform(0, 2)) {
    case 0: return uint32_t(std::min((rng.uniform(0, 70000) + 0.5) / product, 4294967295.0));
    case 1: return rng.next();
    default: return 0xFFFFFFFFu - uint32_t(rng.uniform(0, 3));
    }
}

template <class T, class Acc, class Draw>
void checkSuperStore(Draw draw) {
    using Fn = SuperStoreRowFn<T, Acc>;
    checkForms(superStoreRowTable<T, Acc>(), [&](Rng& rng, int32_t count) {
        const double product = rng.uniform(0, 2) == 0 ? 0.25 : rng.real(1e-4, 1.0);
        const std::vector<Acc> acc = drawn<Acc>(rng, size_t(count), [&](Rng& r) { return draw(r, product); });
        return std::pair{std::vector<uint8_t>(size_t(count) * sizeof(T)), [=](Fn fn, uint8_t* out) {
                             fn(acc.data(), reinterpret_cast<T*>(out), count, product);
                         }};
    }, 70, sizeof(T));
}

// Weights of 1, of nearly nothing, and up to just above 1.
template <class T>
void checkSuperAdd() {
    checkForms(superAddRowTable<T>(), [](Rng& rng, int32_t count) {
        const RandomRow<T> src(rng, size_t(count));
        const std::vector<float> acc = drawn<float>(rng, size_t(count), [](Rng& r) { return float(r.real(0.0, 1e6)); });
        const int kind = rng.uniform(0, 3);
        const double weight = kind == 0 ? 1.0 : (kind == 1 ? rng.real(0.0, 2e-7) : rng.real(0.0, 1.0 + 1e-7));
        return std::pair{bytesOf(acc), [=](SuperAddRowFn<T> fn, uint8_t* out) {
                             fn(src.data(), reinterpret_cast<float*>(out), count, weight);
                         }};
    }, 70, 4);
    // Whole sums that wrap.
    checkForms(superAddRowWholeTable<T>(), [](Rng& rng, int32_t count) {
        const RandomRow<T> src(rng, size_t(count));
        std::vector<uint8_t> acc(size_t(count) * 4);
        rng.fillWithExtremes(acc.data(), acc.size());
        return std::pair{acc, [=](SuperAddRowWholeFn<T> fn, uint8_t* out) {
                             fn(src.data(), reinterpret_cast<uint32_t*>(out), count);
                         }};
    }, 70, 4);
}

// Accumulators of exponents far apart, so that float32 sums round and their
// order shows.
float drawSpread(Rng& rng) {
    return rng.uniform(0, 5) == 0 ? 0.0f : float(std::ldexp(rng.real(0.0, 1.0), rng.uniform(-20, 30)));
}

TEST(ResampleForms, SuperSamplingRows) {
    checkSuperAdd<uint8_t>();
    checkSuperAdd<uint16_t>();
    const auto floatSum = [](Rng& rng, double product) { return drawSum(rng, 70000, 1 / product); };
    checkSuperStore<uint8_t, float>(floatSum);
    checkSuperStore<uint16_t, float>(floatSum);
    checkSuperStore<uint8_t, uint32_t>(&drawWholeSum);
    checkSuperStore<uint16_t, uint32_t>(&drawWholeSum);
    for (int32_t n : kChannels) {
        SCOPED_TRACE("channels " + std::to_string(n));
        // Whole boxes of `run` pixels, in place.
        checkForms(superReduceWholeTable(n), [n](Rng& rng, int32_t width) {
            const int32_t run = rng.uniform(0, 1) ? 2 : rng.uniform(1, 6);
            std::vector<uint8_t> acc((size_t(width) * run + size_t(rng.uniform(0, 3))) * n * 4);
            rng.fill(acc.data(), acc.size());
            return std::pair{acc, [=](SuperReduceWholeFn fn, uint8_t* out) {
                                 fn(reinterpret_cast<uint32_t*>(out), width, run);
                             }};
        }, 70, 4);
        // Boxes of random size and start, in place, from one schedule; a row
        // walked in chunks without a schedule gives the same.
        checkForms(superReduceFractionalTable(n), [n](Rng& rng, int32_t width) {
            const double scale = rng.uniform(0, 3) == 0 ? rng.uniform(1, 5) + rng.real(0.0, 2e-7) : rng.real(1.0, 9.0);
            const double cover = rng.uniform(0, 2) == 0 ? 0.0 : rng.real(0.0, 1.0);
            const int32_t columns = std::max(int32_t(std::ceil(width * scale + cover)) + rng.uniform(-1, 2), 1);
            const std::vector<float> row = drawn<float>(rng, size_t(columns) * n, &drawSpread);
            std::vector<SuperColumn> schedule(static_cast<size_t>(width));
            superColumnSchedule(scale, cover, columns, width, schedule.data());
            std::vector<float> scheduled = row, walked = row;
            superReduceFractionalTable(n).scalar()(scheduled.data(), schedule.data(), 0, width);
            superReduceRow(walked.data(), n, columns, width, scale, cover, nullptr);
            EXPECT_EQ(bytesOf(walked), bytesOf(scheduled)) << "walked without a schedule";
            return std::pair{bytesOf(row), [=](SuperReduceFractionalFn fn, uint8_t* out) {
                                 fn(reinterpret_cast<float*>(out), schedule.data(), 0, width);
                             }};
        }, 70, 4);
    }
}

// A reduction whose parts are whole numbers of halves, quarters or 16ths,
// from a start on a sample or inside one, and the plan of its whole numbers.
struct WholeNumberCase {
    ResizeArgs args;
    SuperOpening opening;
    std::shared_ptr<SuperBoxPlan> plan = std::make_shared<SuperBoxPlan>();

    static WholeNumberCase draw(Rng& rng, int32_t width, int32_t channels) {
        constexpr double kScales[] = {2, 3, 4, 1.5, 1.25, 2.5, 1.0625, 16};
        constexpr double kStarts[] = {0, 0, 0.5, 0.25};
        for (;;) {
            WholeNumberCase c;
            ResizeArgs& a = c.args;
            a.xScale = kScales[rng.uniform(0, 7)];
            a.yScale = kScales[rng.uniform(0, 7)];
            a.width = width;
            a.height = rng.uniform(1, 6);
            a.xOffset = kStarts[rng.uniform(0, 3)];
            a.yOffset = kStarts[rng.uniform(0, 3)];
            a.srcWidth = int32_t(std::ceil(width * a.xScale + a.xOffset)) + rng.uniform(0, 3);
            a.srcHeight = int32_t(std::ceil(a.height * a.yScale + a.yOffset)) + rng.uniform(0, 3);
            a.nChannels = a.nProcessed = channels;
            a.factorProduct = (1 / a.xScale) * (1 / a.yScale);
            if (openSuper(a, c.opening) && c.plan->make(a, c.opening)) return c;
        }
    }
};

// A target row of each plan over rows of extremes, the row's source rows as
// the walk gives them.
TEST(ResampleForms, SuperSamplingInWholeNumbers) {
    for (int32_t n : kChannels) {
        SCOPED_TRACE("channels " + std::to_string(n));
        checkForms(superBoxTable(), [n](Rng& rng, int32_t width) {
            const WholeNumberCase c = WholeNumberCase::draw(rng, width, n);
            const auto src = std::make_shared<RandomRow<uint8_t>>(rng, size_t(c.args.srcWidth) * n * c.args.srcHeight);
            SuperRowWalk walk(c.opening, c.args.yScale);
            std::vector<const uint8_t*> rows;
            std::vector<uint16_t> weights;
            for (int32_t t = rng.uniform(0, c.args.height - 1); t >= 0; --t) {
                rows.clear();
                weights.clear();
                walk.next([&](int64_t v, double w) {
                    rows.push_back(src->data() + std::clamp<int64_t>(v, 0, c.args.srcHeight - 1) * c.args.srcWidth * n +
                                   c.opening.firstColumn * n);
                    weights.push_back(c.plan->rowWeight(w));
                });
            }
            return std::pair{std::vector<uint8_t>(size_t(width) * n), [=](SuperBoxFn fn, uint8_t* out) {
                                 fn(rows.data(), weights.data(), int32_t(rows.size()), c.plan->columns(), out);
                                 (void)src;
                             }};
        });
    }
}

// ---- Antialiasing ----

// Weights of both signs, 0, and of exponents far apart, so that the float64
// sums cancel and round and their order shows in the float32 result.
float drawWeight(Rng& rng) {
    switch (rng.uniform(0, 3)) {
    case 0: return 0.0f;
    case 1: return float(std::ldexp(rng.real(-1.0, 1.0), rng.uniform(-60, 60)));
    default: return float(rng.real(-0.4, 1.0));
    }
}

// 1 to 9 rows, odd slot counts, indices anywhere in the row (its last pixel
// too).
template <class T>
void checkAntialiasRows(int32_t n) {
    checkForms(antialiasRowsTable<T>(n), [n](Rng& rng, int32_t width) {
        const int32_t taps = 2 * rng.uniform(0, 7) + 1, rows = rng.uniform(1, 9);
        const int32_t srcWidth = rng.uniform(1, 90), srcStep = srcWidth * n + rng.uniform(0, 3);
        std::vector<int32_t> indices(size_t(width) * taps);
        for (size_t i = 0; i < indices.size(); ++i)
            indices[i] = (i % 5 == 0 ? srcWidth - 1 : rng.uniform(0, srcWidth - 1)) * n;
        const std::vector<float> weights = drawn<float>(rng, indices.size(), &drawWeight);
        const RandomRow<T> src(rng, size_t(rows - 1) * srcStep + size_t(srcWidth) * n);
        return std::pair{std::vector<uint8_t>(size_t(rows) * width * n * 4), [=](AntialiasRowsFn<T> fn, uint8_t* out) {
                             fn(src.data(), srcStep, rows, indices.data(), weights.data(), taps,
                                reinterpret_cast<float*>(out), width);
                         }};
    }, 40, 4);
}

// One filter with a whole step for every target column, its first slot
// left of the image now and then and its last behind it, on rows of
// extremes; the strided definition gives what the general one gives on the
// tables it stands for. Steps up to 12 reach those too long for any chunk
// of lanes.
template <class T>
void checkAntialiasStride(int32_t n) {
    checkForms(antialiasStridedRowTable<T>(n), [n](Rng& rng, int32_t width) {
        AntialiasStride st;
        st.step = rng.uniform(0, 3) == 0 ? rng.uniform(6, 12) : rng.uniform(1, 5);
        st.taps = 2 * rng.uniform(0, 12) + 1;
        st.first = rng.uniform(-st.taps, 3);
        const int32_t srcWidth = rng.uniform(1, width * st.step + st.taps + 2);
        const auto weights = std::make_shared<std::vector<float>>(drawn<float>(rng, size_t(st.taps), &drawWeight));
        st.weights = weights->data();
        const RandomRow<T> row(rng, size_t(srcWidth) * n);
        std::vector<int32_t> indices(size_t(width) * st.taps);
        std::vector<float> tables(indices.size());
        for (int32_t c = 0; c < width; ++c)
            for (int32_t j = 0; j < st.taps; ++j) {
                indices[size_t(c) * st.taps + j] = std::clamp(st.first + st.step * c + j, 0, srcWidth - 1) * n;
                tables[size_t(c) * st.taps + j] = (*weights)[size_t(j)];
            }
        std::vector<float> general(size_t(width) * n), strided(general.size());
        antialiasRowsTable<T>(n).scalar()(row.data(), 0, 1, indices.data(), tables.data(), st.taps, general.data(), width);
        antialiasStridedRowTable<T>(n).scalar()(row.data(), srcWidth, st, nullptr, strided.data(), width);
        EXPECT_EQ(bytesOf(strided), bytesOf(general)) << "the general definition";
        const auto scratch = std::make_shared<std::vector<double>>(size_t(antialiasStrideScratch(st, width, n)));
        return std::pair{std::vector<uint8_t>(size_t(width) * n * 4), [=](AntialiasStridedRowFn<T> fn, uint8_t* out) {
                             fn(row.data(), srcWidth, st, scratch->data(), reinterpret_cast<float*>(out), width);
                             (void)weights;
                         }};
    }, 70, 4);
}

// Rows of sums that land on halves, beyond the range, on no number, in any
// order, weighed by weights of both signs, 0 and far-apart exponents.
template <class T>
void checkAntialiasDown() {
    checkForms(antialiasDownTable<T>(), [](Rng& rng, int32_t count) {
        const int32_t rows = rng.uniform(1, 9), taps = rng.uniform(0, 13);
        const std::vector<float> image =
            drawn<float>(rng, size_t(rows) * count, [](Rng& r) { return drawSum(r, double(T(~T(0)))); });
        std::vector<int32_t> offsets(static_cast<size_t>(taps));
        for (int32_t& o : offsets) o = rng.uniform(0, rows - 1) * count;
        const std::vector<float> weights = drawn<float>(rng, size_t(taps), &drawWeight);
        return std::pair{std::vector<uint8_t>(size_t(count) * sizeof(T)), [=](AntialiasDownFn<T> fn, uint8_t* out) {
                             fn(image.data(), offsets.data(), weights.data(), taps, reinterpret_cast<T*>(out), count);
                         }};
    }, 70, sizeof(T));
}

TEST(ResampleForms, AntialiasPasses) {
    for (int32_t n : kChannels) {
        SCOPED_TRACE("channels " + std::to_string(n));
        checkAntialiasRows<uint8_t>(n);
        checkAntialiasRows<uint16_t>(n);
        checkAntialiasStride<uint8_t>(n);
        checkAntialiasStride<uint16_t>(n);
    }
    checkAntialiasDown<uint8_t>();
    checkAntialiasDown<uint16_t>();
}

// ---- Fast paths ----

// Two source rows of `pixels` pixels, each ending its allocation.
template <class T>
std::pair<RandomRow<T>, RandomRow<T>> twoRows(Rng& rng, int32_t pixels, int32_t channels) {
    return {RandomRow<T>(rng, size_t(pixels) * channels), RandomRow<T>(rng, size_t(pixels) * channels)};
}

template <class T>
const auto& boxTable(int32_t n) {
    if constexpr (sizeof(T) == 1) return linearBox8uTable(n); else return linearBox16uTable();
}

template <class T>
const auto& doubleTable(int32_t n) {
    if constexpr (sizeof(T) == 1) return linearDouble8uTable(n); else return linearDouble16uTable();
}

template <class T>
void checkLinearFastPaths(int32_t n) {
    checkForms(boxTable<T>(n), [n](Rng& rng, int32_t width) {
        const auto rows = twoRows<T>(rng, 2 * width, n);
        return std::pair{std::vector<uint8_t>(size_t(width) * n * sizeof(T)), [=](LinearBoxFn<T> fn, uint8_t* out) {
                             fn(rows.first.data(), rows.second.data(), reinterpret_cast<T*>(out), width);
                         }};
    }, 140, sizeof(T));
    // Both phases; the last column reads pixel floor(width / 2) + 1 from
    // the first phase, floor((width - 1) / 2) + 1 from the other.
    checkForms(doubleTable<T>(n), [n](Rng& rng, int32_t width) {
        const int32_t rowQuarters = rng.uniform(0, 1) ? 1 : 3, first = rng.uniform(0, 1) ? 1 : 3;
        const auto rows = twoRows<T>(rng, (first == 3 ? width : width - 1) / 2 + 2, n);
        return std::pair{std::vector<uint8_t>(size_t(width) * n * sizeof(T)), [=](LinearDoubleFn<T> fn, uint8_t* out) {
                             fn(rows.first.data(), rows.second.data(), rowQuarters, first, reinterpret_cast<T*>(out),
                                width);
                         }};
    }, 140, sizeof(T));
}

// One-channel rows whose columns double the source from either phase: the
// first column at 3/4 or at 1/4 of a pixel, each column with the
// coefficients of its fraction; the row holds exactly the taps read.
template <class T, int Taps>
void checkDoublingRows(const KernelTable<TapRowFn<T>>& table, void (*coefficients)(float, float*)) {
    checkForms(table, [&](Rng& rng, int32_t width) {
        std::vector<int32_t> columns;
        std::vector<float> c;
        int32_t k = Taps / 2 - 1 + rng.uniform(0, 2);
        float f = rng.uniform(0, 1) ? 0.75f : 0.25f;
        for (int32_t j = 0; j < width; ++j) {
            columns.push_back(k);
            c.resize(c.size() + Taps);
            coefficients(f, c.data() + c.size() - Taps);
            k += f == 0.75f;
            f = 1.0f - f;
        }
        const RandomRow<T> row(rng, size_t(columns.back() + Taps / 2 + 1));
        return std::pair{std::vector<uint8_t>(size_t(width) * 4), [=](TapRowFn<T> fn, uint8_t* out) {
                             fn(row.data(), columns.data(), c.data(), reinterpret_cast<float*>(out), width);
                         }};
    }, 140, 4);
}

TEST(ResampleForms, DoublingRows) {
    const auto cubic = [](float f, float* c) { cubicCoefficients(INTER_CUBIC_B05C03, f, c); };
    checkDoublingRows<uint8_t, 4>(cubicDoubleRow8uTable(), cubic);
    checkDoublingRows<uint16_t, 4>(cubicDoubleRow16uTable(), cubic);
    checkDoublingRows<uint8_t, 6>(lanczosDoubleRow8uTable(), &ownLanczosCoefficients);
    checkDoublingRows<uint16_t, 6>(lanczosDoubleRow16uTable(), &ownLanczosCoefficients);
}

// Rows of exactly the pixels the target reads: every other one up to pixel
// 2 (width - 1), or each twice up to pixel (width - 1 + phase) / 2.
template <class T>
void checkNearestFastPaths(int32_t n) {
    const auto& everyOther = [n]() -> const auto& {
        if constexpr (sizeof(T) == 1) return nearestEveryOther8uTable(n); else return nearestEveryOther16uTable();
    }();
    checkForms(everyOther, [n](Rng& rng, int32_t width) {
        const RandomRow<T> row(rng, size_t(2 * width - 1) * n);
        return std::pair{std::vector<uint8_t>(size_t(width) * n * sizeof(T)), [=](NearestEveryOtherFn<T> fn, uint8_t* out) {
                             fn(row.data(), reinterpret_cast<T*>(out), width);
                         }};
    }, 140, sizeof(T));
    const auto& twice = [n]() -> const auto& {
        if constexpr (sizeof(T) == 1) return nearestTwice8uTable(n); else return nearestTwice16uTable();
    }();
    checkForms(twice, [n](Rng& rng, int32_t width) {
        const int32_t phase = rng.uniform(0, 1);
        const RandomRow<T> row(rng, size_t((width - 1 + phase) / 2 + 1) * n);
        return std::pair{std::vector<uint8_t>(size_t(width) * n * sizeof(T)), [=](NearestTwiceFn<T> fn, uint8_t* out) {
                             fn(row.data(), reinterpret_cast<T*>(out), width, phase);
                         }};
    }, 140, sizeof(T));
}

// One axis of a resize's tables: factors where positions fall on ties and
// any factor, starting in the source or far outside it (where entries are
// limited), steps of either sign.
struct AxisCase {
    int32_t first, length, multiplier;
    double scale, offset;

    static AxisCase draw(Rng& rng) {
        AxisCase a;
        a.first = rng.uniform(0, 5000);
        a.length = rng.uniform(1, 4000);
        a.multiplier = rng.uniform(0, 1) ? rng.uniform(1, 4) : rng.uniform(-8000, 8000);
        const double factors[] = {0.25, 0.5, 1.0, 2.0, 3.0};
        a.scale = rng.uniform(0, 1) ? 1.0 / factors[rng.uniform(0, 4)] : rng.real(0.01, 10.0);
        const double offsets[] = {-a.first * a.scale, -a.first * a.scale + rng.real(-5.0, 5.0),
                                  rng.real(-1e12, 1e12), kNaN};
        a.offset = offsets[rng.uniform(0, 3)];
        return a;
    }
};

TEST(ResampleForms, NearestAxis) {
    checkForms(nearestAxisTable(), [](Rng& rng, int32_t count) {
        const AxisCase a = AxisCase::draw(rng);
        return std::pair{std::vector<uint8_t>(size_t(count) * 4), [=](NearestAxisFn fn, uint8_t* out) {
                             fn(reinterpret_cast<int32_t*>(out), count, a.first, a.scale, a.offset, a.length,
                                a.multiplier);
                         }};
    }, 140, 4);
}

// The linear 8u tables, with fractions alone or in pairs; the entries, the
// fractions and the rim counts must agree.
TEST(ResampleForms, LinearAxis) {
    checkForms(linearAxis8uTable(), [](Rng& rng, int32_t count) {
        const AxisCase a = AxisCase::draw(rng);
        const bool pairs = rng.uniform(0, 1);
        return std::pair{std::vector<uint8_t>(size_t(count) * 8 + 8), [=](LinearAxis8uFn fn, uint8_t* out) {
                             int32_t* table = reinterpret_cast<int32_t*>(out);
                             const LinearAxisRim rim = fn(table, reinterpret_cast<int16_t*>(table + count), pairs,
                                                          count, a.first, a.scale, a.offset, a.length, a.multiplier);
                             std::memcpy(out + size_t(count) * 8, &rim, sizeof rim);
                         }};
    }, 140, 4);
}

TEST(ResampleForms, NearestFastPaths) {
    for (int32_t n : {1, 4}) {
        SCOPED_TRACE("channels " + std::to_string(n));
        checkNearestFastPaths<uint8_t>(n);
    }
    checkNearestFastPaths<uint16_t>(1);
}

TEST(ResampleForms, LinearFastPaths) {
    for (int32_t n : {1, 4}) {
        SCOPED_TRACE("channels " + std::to_string(n));
        checkLinearFastPaths<uint8_t>(n);
    }
    checkLinearFastPaths<uint16_t>(1);
    checkForms(linearVertical8uTable(), [](Rng& rng, int32_t count) {
        const auto rows = twoRows<uint8_t>(rng, count, 1);
        const int32_t fraction = int32_t(std::lround(drawFraction(rng) * 16384));
        return std::pair{std::vector<uint8_t>(size_t(count)), [=](LinearVertical8uFn fn, uint8_t* out) {
                             fn(rows.first.data(), rows.second.data(), out, count, fraction);
                         }};
    }, 140);
}

}  // namespace
}  // namespace morva::testing
