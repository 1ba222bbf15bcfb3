// Runs every form of a YCbCr to RGB kernel against its scalar definition on
// random frames of one size, and checks what the scalar definition leaves
// unwritten.
//
// Sources are allocated to their exact last byte, so that AddressSanitizer
// sees a read past the end; destinations sit in guarded buffers filled with
// the sentinel.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "common/testing.h"

namespace morva::testing {

// A form as the harness calls it: plane pointers and steps (a packed kernel
// reads entry 0 only), destination, step, size.
using FormRunner = std::function<void(const uint8_t* const* src, const int32_t* srcStep, uint8_t* dst,
                                      int32_t dstStep, int32_t width, int32_t height)>;

struct NamedForm {
    std::string name;
    Isa isa;
    FormRunner run;
};

// Every form of a table, each wrapped by adapt(fn) into a FormRunner.
template <class Fn, class Adapt>
std::vector<NamedForm> formsOf(const KernelTable<Fn>& table, Adapt adapt) {
    std::vector<NamedForm> forms;
    for (const KernelForm<Fn>& form : table.forms()) forms.push_back({form.name, form.isa, adapt(form.fn)});
    return forms;
}

struct PlaneShape {
    int64_t (*rowBytes)(int32_t width);
    int32_t (*rows)(int32_t height);
};

// What one kernel reads and writes.
struct KernelShape {
    std::string name;
    std::vector<NamedForm> forms;   // the first is the scalar definition
    std::vector<PlaneShape> planes; // source planes
    int32_t minWidth;
    int64_t (*dstRowBytes)(int32_t width);  // destination bytes a row holds
    // Bytes [begin, end) of destination row r that the kernel writes.
    std::function<std::pair<int64_t, int64_t>(int32_t row, int32_t width, int32_t height)> written;
    int32_t dstStepMultiple = 1;  // destination steps are rounded up to this
};

struct FrameOptions {
    int32_t srcMisalign = 0;
    int32_t dstMisalign = 0;
    int32_t srcExtra = 0;   // bytes of every source step beyond the row
    int32_t dstExtra = 0;
    bool negativeSteps = false;
    bool extremes = false;  // 0 and 255 mixed in
};

// A source image: planes to their exact last byte.
struct SourceFrame {
    std::vector<std::unique_ptr<uint8_t[]>> storage;
    const uint8_t* planes[3] = {};
    int32_t steps[3] = {};

    SourceFrame(const KernelShape& k, int32_t w, int32_t h, const FrameOptions& o, Rng& rng) {
        for (size_t p = 0; p < k.planes.size(); ++p) {
            const int64_t rowBytes = k.planes[p].rowBytes(w);
            const int32_t rows = k.planes[p].rows(h);
            const int64_t step = rowBytes + o.srcExtra;
            const int64_t size = (rows - 1) * step + rowBytes;
            storage.emplace_back(new uint8_t[size + o.srcMisalign]);
            uint8_t* base = storage.back().get() + o.srcMisalign;
            if (o.extremes) rng.fillWithExtremes(base, size);
            else rng.fill(base, size);
            planes[p] = o.negativeSteps ? base + (rows - 1) * step : base;
            steps[p] = static_cast<int32_t>(o.negativeSteps ? -step : step);
        }
    }
};

// A destination image in a guarded buffer.
struct DestFrame {
    int64_t step;
    int32_t rows;
    GuardedBuffer buffer;
    uint8_t* first;
    int32_t firstStep;

    DestFrame(int64_t rowBytes, int32_t height, const FrameOptions& o, int32_t stepMultiple)
        : step((rowBytes + o.dstExtra + stepMultiple - 1) / stepMultiple * stepMultiple),
          rows(height),
          buffer(static_cast<size_t>((height - 1) * step + rowBytes), static_cast<size_t>(o.dstMisalign)) {
        first = o.negativeSteps ? buffer.data() + (height - 1) * step : buffer.data();
        firstStep = static_cast<int32_t>(o.negativeSteps ? -step : step);
    }
};

// Runs every supported vector form and the scalar definition on the same
// frame; compares every destination byte and checks the unwritten bytes of
// the scalar result.
inline void expectFormsMatchScalar(const KernelShape& k, int32_t w, int32_t h, const FrameOptions& o,
                                   uint32_t salt) {
    SCOPED_TRACE(k.name + " " + std::to_string(w) + "x" + std::to_string(h) +
                 " src+" + std::to_string(o.srcMisalign) + " dst+" + std::to_string(o.dstMisalign) +
                 (o.negativeSteps ? " negative steps" : ""));
    Rng rng(salt);
    const SourceFrame src(k, w, h, o, rng);
    const int64_t rowBytes = k.dstRowBytes(w);
    DestFrame expected(rowBytes, h, o, k.dstStepMultiple);
    k.forms.front().run(src.planes, src.steps, expected.first, expected.firstStep, w, h);
    ASSERT_TRUE(expected.buffer.marginsIntact()) << "scalar definition wrote outside the image";
    for (int32_t p = 0; p < h; ++p) {  // rows in memory order
        const int32_t r = o.negativeSteps ? h - 1 - p : p;
        const auto [begin, end] = k.written(r, w, h);
        const uint8_t* bytes = expected.buffer.data() + p * expected.step;
        const int64_t rowEnd = p + 1 < h ? expected.step : rowBytes;
        for (int64_t i = 0; i < rowEnd; ++i) {
            if (i >= begin && i < end) continue;
            ASSERT_EQ(bytes[i], GuardedBuffer::kSentinel) << "unwritten byte " << i << " of row " << r;
        }
    }
    for (const NamedForm& form : k.forms) {
        if (form.isa == Isa::Scalar || !cpuSupports(form.isa)) continue;
        SCOPED_TRACE("form " + form.name);
        DestFrame actual(rowBytes, h, o, k.dstStepMultiple);
        form.run(src.planes, src.steps, actual.first, actual.firstStep, w, h);
        ASSERT_TRUE(actual.buffer.marginsIntact());
        const std::vector<uint8_t> a = actual.buffer.bytes(), e = expected.buffer.bytes();
        for (size_t i = 0; i < e.size(); ++i)
            ASSERT_EQ(a[i], e[i]) << "byte " << i << " (row " << i / expected.step << ")";
    }
}

// The usual sweep: every width of testWidths() at or above the kernel's
// minimum, several heights, offsets 0 to 63, wide steps, some negative steps
// and saturating input.
inline void sweepFormsAgainstScalar(const KernelShape& k) {
    MORVA_SEED_TRACE();
    uint32_t n = 0;
    for (int32_t w : testWidths()) {
        if (w < k.minWidth) continue;
        for (int32_t h : {1, 2, 3, 5}) {
            ++n;
            FrameOptions o;
            o.srcMisalign = static_cast<int32_t>((n * 7) % 64);
            o.dstMisalign = static_cast<int32_t>((n * 13 + 5) % 64);
            o.srcExtra = static_cast<int32_t>(n % 3 == 0 ? 0 : (n * 5) % 41);
            o.dstExtra = static_cast<int32_t>(n % 4 == 0 ? 0 : (n * 11) % 37);
            o.negativeSteps = n % 5 == 0;
            o.extremes = n % 2 == 0;
            expectFormsMatchScalar(k, w, h, o, n);
            if (::testing::Test::HasFatalFailure()) return;
        }
    }
}

}  // namespace morva::testing
