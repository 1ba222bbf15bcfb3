#include "color/forms_harness.h"

#include <algorithm>
#include <memory>

namespace morva::testing {
namespace {

// Random bytes with 0 and 255 mixed in, which reach saturation; faster than
// the engine byte by byte on a large frame.
void fillWithExtremes(uint8_t* p, size_t n, uint32_t seed) {
    uint32_t x = seed | 1;
    for (size_t i = 0; i < n; ++i) {
        x ^= x << 13;
        x ^= x >> 17;
        x ^= x << 5;
        p[i] = (x & 7) == 0 ? 0 : (x & 7) == 1 ? 255 : uint8_t(x >> 24);
    }
}

struct Options {
    bool aligned, negative, nt;
};

// One side of a call, placed by a generator seeded with `placement`: planes
// on 16 bytes (64 for destinations) with steps of whole 16 bytes, or 1 to 63
// bytes off with steps tight or up to 40 bytes wider; a negative step starts
// at the last row. Source planes are random and end exactly behind their last
// row, so that AddressSanitizer sees a read past it; destination planes sit
// in guarded buffers full of `fill`.
struct Frame {
    std::vector<Extent> extents;
    std::vector<int32_t> steps;
    std::vector<std::unique_ptr<uint8_t[]>> blocks;
    std::vector<std::unique_ptr<GuardedBuffer>> guarded;
    Planes planes;

    Frame(const std::vector<PlaneShape>& shapes, int32_t w, int32_t h, const Options& o, int32_t stepMultiple,
          uint32_t placement, Rng* content, uint8_t fill) {
        Rng rng(placement);
        for (size_t k = 0; k < shapes.size(); ++k) {
            const Extent e = extent(shapes[k], w, h);
            const int64_t step = o.aligned ? ((e.bytes + 15) & ~15) + 16 * rng.uniform(0, 1)
                                           : e.bytes + (rng.uniform(0, 3) == 0 ? 0 : rng.uniform(1, 40));
            const int32_t offset = o.aligned ? 0 : rng.uniform(1, 63);
            extents.push_back(e);
            steps.push_back(int32_t((step + stepMultiple - 1) / stepMultiple * stepMultiple));
            const size_t size = e.rows > 0 ? size_t(e.rows - 1) * steps[k] + size_t(e.bytes) : 0;
            uint8_t* base;
            if (content) {
                blocks.push_back(std::make_unique<uint8_t[]>(offset + size));
                base = blocks.back().get() + offset;
                fillWithExtremes(base, size, content->next());
            } else {
                guarded.push_back(std::make_unique<GuardedBuffer>(size, size_t(offset)));
                base = guarded.back()->data();
                std::fill_n(base, size, fill);
            }
            const bool up = o.negative && e.rows > 0;
            planes.p[k] = up ? base + size_t(e.rows - 1) * steps[k] : base;
            planes.s[k] = up ? -steps[k] : steps[k];
        }
    }
};

void checkRun(const FormsCase& c, int32_t w, int32_t h, const Options& o, Rng& rng) {
    SCOPED_TRACE(::testing::Message() << c.name << " " << w << "x" << h << (o.aligned ? " aligned" : " unaligned")
                                      << (o.negative ? " negative steps" : "") << (o.nt ? " streaming" : ""));
    const Frame src(c.src, w, h, o, 1, rng.next(), &rng, 0);
    const uint32_t placement = rng.next();
    const auto dest = [&](uint8_t fill) { return Frame(c.dst, w, h, o, c.dstStepMultiple, placement, nullptr, fill); };

    // Two runs of the scalar definition over different fillings tell written
    // bytes from kept ones.
    const Frame a = dest(GuardedBuffer::kSentinel), b = dest(uint8_t(~GuardedBuffer::kSentinel));
    c.forms[0].run(src.planes, a.planes, w, h, o.nt);
    c.forms[0].run(src.planes, b.planes, w, h, o.nt);
    const Size2 in = c.written(w, h);
    for (size_t k = 0; k < c.dst.size(); ++k) {
        ASSERT_TRUE(a.guarded[k]->marginsIntact() && b.guarded[k]->marginsIntact()) << "plane " << k;
        const Extent all = a.extents[k], mine = extent(c.dst[k], in.w, in.h);
        const uint8_t *x = a.guarded[k]->data(), *y = b.guarded[k]->data();
        for (int32_t row = 0; row < all.rows; ++row) {
            const int32_t r = o.negative ? all.rows - 1 - row : row;
            const int64_t start = int64_t(row) * a.steps[k];
            const int64_t end = start + (row + 1 < all.rows ? a.steps[k] : all.bytes);
            for (int64_t i = start; i < end; ++i) {
                const bool inside = r < mine.rows && i - start < mine.bytes;
                const bool kept = x[i] == GuardedBuffer::kSentinel && y[i] == uint8_t(~GuardedBuffer::kSentinel);
                ASSERT_TRUE(inside ? x[i] == y[i] : kept)
                    << (inside ? "not written" : "written") << ": plane " << k << " row " << r << " byte " << i - start;
            }
        }
    }
    for (const Form& form : c.forms) {
        if (form.isa == Isa::Scalar || !cpuSupports(form.isa)) continue;
        SCOPED_TRACE("form " + form.name);
        const Frame d = dest(GuardedBuffer::kSentinel);
        form.run(src.planes, d.planes, w, h, o.nt);
        for (size_t k = 0; k < c.dst.size(); ++k) {
            ASSERT_TRUE(d.guarded[k]->marginsIntact()) << "plane " << k;
            const uint8_t *got = d.guarded[k]->data(), *end = got + d.guarded[k]->size();
            const size_t i = size_t(std::mismatch(got, end, a.guarded[k]->data()).first - got);
            ASSERT_EQ(got + i, end) << "plane " << k << " row " << i / a.steps[k] << " byte " << i % a.steps[k];
        }
    }
}

}  // namespace

// Widths of testWidths(), and around two and three 64-pixel blocks: the
// 512-bit forms run blocks of 32 and 64 pixels, hand what is left to the
// narrower forms, or shift their last block back.
namespace {
std::vector<int32_t> colorWidths() {
    std::vector<int32_t> widths = testWidths();
    widths.insert(widths.end(), {95, 96, 97, 190, 191, 192, 193, 194});
    return widths;
}
}  // namespace

// Every width of colorWidths() with several heights, each placed on 16 bytes
// and 1 to 63 bytes off with wide steps; some steps negative; then one large
// frame.
TEST_P(ColorForms, EveryVectorFormGivesTheScalarBytes) {
    MORVA_SEED_TRACE();
    const FormsCase& c = GetParam();
    Rng rng(uint32_t(std::hash<std::string>{}(c.name)));
    const auto accepts = [&](int32_t w, int32_t h) {
        return w >= c.minWidth && h >= c.minHeight && w % c.widthStep == 0 && h % c.heightStep == 0;
    };
    int n = 0;
    for (int32_t w : colorWidths()) {
        for (int32_t h : w > 300 ? std::vector<int32_t>{2, 3} : std::vector<int32_t>{1, 2, 3, 4, 5}) {
            if (!accepts(w, h)) continue;
            for (bool aligned : {false, true}) {
                ++n;
                checkRun(c, w, h, {aligned, n % 3 == 0, n / 2 % 2 == 0}, rng);
                if (HasFatalFailure()) return;
            }
        }
    }
    checkRun(c, 1920, 1080, {true, false, true}, rng);
}

void expectEveryForm(const std::vector<Form>& forms, Image src, const Image& expected, int32_t w, int32_t h) {
    for (const Form& form : forms) {
        if (!cpuSupports(form.isa)) continue;
        Image dst = expected;
        for (std::vector<uint8_t>& plane : dst.planes) std::fill(plane.begin(), plane.end(), 0xEE);
        form.run(src.view(), dst.view(), w, h, false);
        for (size_t k = 0; k < dst.planes.size(); ++k)
            EXPECT_EQ(dst.planes[k], expected.planes[k]) << "form " << form.name << " plane " << k;
    }
}

Image makeImage(const std::vector<PlaneShape>& shapes, int32_t w, int32_t h, uint8_t fill, Rng* rng) {
    Image im;
    for (const PlaneShape& shape : shapes) {
        const Extent e = extent(shape, w, h);
        im.planes.emplace_back(size_t(e.bytes * e.rows) + 1, fill);
        if (rng) rng->fill(im.planes.back().data(), im.planes.back().size());
        im.steps.push_back(int32_t(e.bytes));
    }
    return im;
}

void expectStatuses(const EntryCase& e) {
    SCOPED_TRACE(e.name);
    Image src = makeImage(e.src, 16, 8, 0x80), dst = makeImage(e.dst, 16, 8, 0xEE);
    const Image blank = dst;
    for (int side = 0; side < 2; ++side) {
        for (size_t k = 0; k < (side ? e.dst : e.src).size(); ++k) {
            Planes s = src.view(), d = dst.view();
            (side ? d : s).p[k] = nullptr;
            EXPECT_EQ(e.call(s, d, {8, 4}), ippStsNullPtrErr) << (side ? "destination" : "source") << " plane " << k;
            EXPECT_EQ(e.call(s, d, {0, 0}), ippStsNullPtrErr) << (side ? "destination" : "source") << " plane " << k;
        }
    }
    EXPECT_EQ(dst.planes, blank.planes);
    for (const auto& [roi, status] : e.sizes) {
        EXPECT_EQ(e.call(src.view(), dst.view(), roi), status) << roi.width << " x " << roi.height;
        if (status < 0 || roi.width <= 0 || roi.height <= 0) {
            EXPECT_EQ(dst.planes, blank.planes) << roi.width << " x " << roi.height;
        }
        dst = blank;
    }
}

}  // namespace morva::testing
