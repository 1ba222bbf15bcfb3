// YCbCr layout kernels: every form against the scalar definition, the exact
// footprint of what each kernel writes, statuses, and the layouts themselves
// through worked examples and round trips in the plane orders the conversion
// router hands out.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "color/ycbcr_layout.h"
#include "common/testing.h"

namespace morva {
namespace {

using testing::GuardedBuffer;
using testing::Rng;
using yuvlayout::InPlane;
using yuvlayout::OutPlane;

enum class Layout { Packed, TwoPlane420, Planar422, Planar420, Planar411 };

struct PlaneShape {
    int32_t rowBytes, rows;
};

std::vector<PlaneShape> planeShapes(Layout layout, int32_t w, int32_t h) {
    const int32_t halfW = (w + 1) / 2, halfH = (h + 1) / 2, quarterW = (w + 3) / 4;
    switch (layout) {
    case Layout::Packed: return {{4 * halfW, h}};
    case Layout::TwoPlane420: return {{w, h}, {2 * halfW, halfH}};
    case Layout::Planar422: return {{w, h}, {halfW, h}, {halfW, h}};
    case Layout::Planar420: return {{w, h}, {halfW, halfH}, {halfW, halfH}};
    case Layout::Planar411: return {{w, h}, {quarterW, h}, {quarterW, h}};
    }
    return {};
}

// Where each plane lies: misalignment of its first byte and its step.
struct Placement {
    int32_t offset, step;
};

// Images have equal steps in their two chroma planes, and the kernels that
// take chroma steps crosswise rely on it; bodies are also tried without.
std::vector<Placement> place(const std::vector<PlaneShape>& shapes, Rng& rng, bool aligned,
                             bool equalChromaSteps = true) {
    std::vector<Placement> out;
    for (const PlaneShape& s : shapes) {
        if (aligned)
            out.push_back({0, ((s.rowBytes + 15) & ~15) + 16 * rng.uniform(0, 1)});
        else
            out.push_back({rng.uniform(1, 63), s.rowBytes + rng.uniform(0, 40)});
    }
    if (equalChromaSteps && out.size() == 3) out[2].step = out[1].step;
    return out;
}

// A source block ends exactly behind the last row it holds, so that reading
// past the plane shows under AddressSanitizer.
struct ExactBlock {
    explicit ExactBlock(size_t n) : bytes(static_cast<uint8_t*>(::operator new[](n, std::align_val_t{64}))) {}
    ~ExactBlock() { ::operator delete[](bytes, std::align_val_t{64}); }
    ExactBlock(const ExactBlock&) = delete;
    ExactBlock& operator=(const ExactBlock&) = delete;
    uint8_t* bytes;
};

// The planes of one image. Sources are random; destinations are guarded
// buffers full of the sentinel.
struct Frame {
    std::vector<PlaneShape> shapes;
    std::vector<std::unique_ptr<ExactBlock>> exact;
    std::vector<std::unique_ptr<GuardedBuffer>> guarded;
    uint8_t* ptr[3] = {};
    int32_t step[3] = {};

    InPlane in(int k) const { return {ptr[k], step[k]}; }
    OutPlane out(int k) const { return {ptr[k], step[k]}; }
    uint8_t& at(int k, int32_t row, int32_t col) const { return ptr[k][ptrdiff_t(row) * step[k] + col]; }
    size_t span(int k) const { return size_t(step[k]) * size_t(shapes[k].rows); }
    int planes() const { return int(shapes.size()); }
};

Frame makeSource(Layout layout, int32_t w, int32_t h, const std::vector<Placement>& at, Rng& rng) {
    Frame f;
    f.shapes = planeShapes(layout, w, h);
    for (int k = 0; k < f.planes(); ++k) {
        const size_t bytes = size_t(at[k].step) * size_t(f.shapes[k].rows - 1) + size_t(f.shapes[k].rowBytes);
        f.exact.push_back(std::make_unique<ExactBlock>(size_t(at[k].offset) + bytes));
        f.ptr[k] = f.exact.back()->bytes + at[k].offset;
        f.step[k] = at[k].step;
        rng.fillWithExtremes(f.ptr[k], bytes);
    }
    return f;
}

Frame makeDest(Layout layout, int32_t w, int32_t h, const std::vector<Placement>& at, uint8_t fill) {
    Frame f;
    f.shapes = planeShapes(layout, w, h);
    for (int k = 0; k < f.planes(); ++k) {
        f.step[k] = at[k].step;
        f.guarded.push_back(std::make_unique<GuardedBuffer>(f.span(k), size_t(at[k].offset)));
        f.ptr[k] = f.guarded.back()->data();
        std::fill_n(f.ptr[k], f.span(k), fill);
    }
    return f;
}

Frame makeSource(Layout layout, int32_t w, int32_t h, Rng& rng, bool aligned = true) {
    return makeSource(layout, w, h, place(planeShapes(layout, w, h), rng, aligned), rng);
}
Frame makeDest(Layout layout, int32_t w, int32_t h, Rng& rng, bool aligned = true) {
    return makeDest(layout, w, h, place(planeShapes(layout, w, h), rng, aligned), GuardedBuffer::kSentinel);
}

std::vector<uint8_t> planeBytes(const Frame& f, int k) { return {f.ptr[k], f.ptr[k] + f.span(k)}; }

bool untouched(const Frame& f) {
    for (int k = 0; k < f.planes(); ++k) {
        if (!f.guarded[k]->marginsIntact()) return false;
        for (size_t i = 0; i < f.span(k); ++i)
            if (f.ptr[k][i] != GuardedBuffer::kSentinel) return false;
    }
    return true;
}

// Bodies called with frames, one overload per body signature.
void invoke(SwapPairsFn fn, const Frame& s, Frame& d, int32_t w, int32_t h, bool nt) {
    fn(s.in(0), d.out(0), w, h, nt);
}
void invoke(PackedToPlanarFn fn, const Frame& s, Frame& d, int32_t w, int32_t h, bool) {
    fn(s.in(0), d.out(0), d.out(1), d.out(2), w, h);
}
void invoke(PackedToTwoPlaneFn fn, const Frame& s, Frame& d, int32_t w, int32_t h, bool) {
    fn(s.in(0), d.out(0), d.out(1), w, h);
}
void invoke(TwoPlaneToPackedFn fn, const Frame& s, Frame& d, int32_t w, int32_t h, bool) {
    fn(s.in(0), s.in(1), d.out(0), w, h);
}
void invoke(PlanarToPackedFn fn, const Frame& s, Frame& d, int32_t w, int32_t h, bool nt) {
    fn(s.in(0), s.in(1), s.in(2), d.out(0), w, h, nt);
}
void invoke(TwoPlaneToPlanarFn fn, const Frame& s, Frame& d, int32_t w, int32_t h, bool) {
    fn(s.in(0), s.in(1), d.out(0), d.out(1), d.out(2), w, h);
}
void invoke(PlanarToTwoPlaneFn fn, const Frame& s, Frame& d, int32_t w, int32_t h, bool) {
    fn(s.in(0), s.in(1), s.in(2), d.out(0), d.out(1), w, h);
}
void invoke(PlanarToPlanarFn fn, const Frame& s, Frame& d, int32_t w, int32_t h, bool) {
    fn(s.in(0), s.in(1), s.in(2), d.out(0), d.out(1), d.out(2), w, h);
}

struct FormRunner {
    std::string name;
    std::function<void(const Frame&, Frame&, int32_t, int32_t, bool)> run;
};

template <class Fn>
std::vector<FormRunner> formsOf(const KernelTable<Fn>& table) {
    std::vector<FormRunner> out;
    for (const KernelForm<Fn>& form : table.forms()) {
        if (!cpuSupports(form.isa)) continue;
        out.push_back({form.name, [fn = form.fn](const Frame& s, Frame& d, int32_t w, int32_t h, bool nt) {
                           invoke(fn, s, d, w, h, nt);
                       }});
    }
    return out;
}

using Entry = std::function<IppStatus(const Frame& src, Frame& dst, IppiSize roi)>;

struct LayoutCase {
    const char* name;
    Layout from, to;
    int32_t minWidth, minHeight;  // minHeight 0: any height is accepted
    bool evenHeight;              // an odd last row stays as it was
    bool quadWidth;               // width a multiple of 4, height even
    Entry entry;
    std::vector<FormRunner> forms;  // the scalar definition first

    bool accepts(int32_t w, int32_t h) const {
        if (w < minWidth || h < minHeight) return false;
        return !quadWidth || (w % 4 == 0 && h % 2 == 0);
    }
    // What a call of width w and height h may write.
    std::vector<PlaneShape> footprint(int32_t w, int32_t h) const {
        return planeShapes(to, w & ~1, evenHeight ? h & ~1 : h);
    }
};

const std::vector<LayoutCase>& layoutCases() {
    using L = Layout;
    static const std::vector<LayoutCase> cases = {
        {"CbYCr422ToYCbCr422_C2R", L::Packed, L::Packed, 2, 1, false, false,
         [](const Frame& s, Frame& d, IppiSize roi) {
             return ippiCbYCr422ToYCbCr422_8u_C2R(s.ptr[0], s.step[0], d.ptr[0], d.step[0], roi);
         },
         formsOf(cbYCr422ToYCbCr422C2Table())},
        {"YCbCr422ToCbYCr422_C2R", L::Packed, L::Packed, 2, 1, false, false,
         [](const Frame& s, Frame& d, IppiSize roi) {
             return ippiYCbCr422ToCbYCr422_8u_C2R(s.ptr[0], s.step[0], d.ptr[0], d.step[0], roi);
         },
         formsOf(yCbCr422ToCbYCr422C2Table())},
        {"YCbCr422_C2P3R", L::Packed, L::Planar422, 2, 0, false, false,
         [](const Frame& s, Frame& d, IppiSize roi) {
             return ippiYCbCr422_8u_C2P3R(s.ptr[0], s.step[0], d.ptr, d.step, roi);
         },
         formsOf(yCbCr422C2P3Table())},
        {"CbYCr422ToYCbCr422_C2P3R", L::Packed, L::Planar422, 2, 0, false, false,
         [](const Frame& s, Frame& d, IppiSize roi) {
             return ippiCbYCr422ToYCbCr422_8u_C2P3R(s.ptr[0], s.step[0], d.ptr, d.step, roi);
         },
         formsOf(cbYCr422ToYCbCr422C2P3Table())},
        {"YCbCr422_P3C2R", L::Planar422, L::Packed, 2, 1, false, false,
         [](const Frame& s, Frame& d, IppiSize roi) {
             return ippiYCbCr422_8u_P3C2R(s.ptr, s.step, d.ptr[0], d.step[0], roi);
         },
         formsOf(yCbCr422P3C2Table())},
        {"YCbCr422ToYCrCb420_C2P3R", L::Packed, L::Planar420, 2, 2, true, false,
         [](const Frame& s, Frame& d, IppiSize roi) {
             return ippiYCbCr422ToYCrCb420_8u_C2P3R(s.ptr[0], s.step[0], d.ptr, d.step, roi);
         },
         formsOf(yCbCr422ToYCrCb420C2P3Table())},
        {"CbYCr422ToYCrCb420_C2P3R", L::Packed, L::Planar420, 2, 2, true, false,
         [](const Frame& s, Frame& d, IppiSize roi) {
             return ippiCbYCr422ToYCrCb420_8u_C2P3R(s.ptr[0], s.step[0], d.ptr, d.step, roi);
         },
         formsOf(cbYCr422ToYCrCb420C2P3Table())},
        {"YCbCr422ToYCbCr420_C2P2R", L::Packed, L::TwoPlane420, 2, 2, true, false,
         [](const Frame& s, Frame& d, IppiSize roi) {
             return ippiYCbCr422ToYCbCr420_8u_C2P2R(s.ptr[0], s.step[0], d.ptr[0], d.step[0], d.ptr[1], d.step[1],
                                                    roi);
         },
         formsOf(yCbCr422ToYCbCr420C2P2Table())},
        {"CbYCr422ToYCbCr420_C2P2R", L::Packed, L::TwoPlane420, 2, 2, true, false,
         [](const Frame& s, Frame& d, IppiSize roi) {
             return ippiCbYCr422ToYCbCr420_8u_C2P2R(s.ptr[0], s.step[0], d.ptr[0], d.step[0], d.ptr[1], d.step[1],
                                                    roi);
         },
         formsOf(cbYCr422ToYCbCr420C2P2Table())},
        {"YCbCr420ToYCbCr422_P2C2R", L::TwoPlane420, L::Packed, 2, 2, true, false,
         [](const Frame& s, Frame& d, IppiSize roi) {
             return ippiYCbCr420ToYCbCr422_8u_P2C2R(s.ptr[0], s.step[0], s.ptr[1], s.step[1], d.ptr[0], d.step[0],
                                                    roi);
         },
         formsOf(yCbCr420ToYCbCr422P2C2Table())},
        {"YCbCr420ToCbYCr422_P2C2R", L::TwoPlane420, L::Packed, 2, 2, true, false,
         [](const Frame& s, Frame& d, IppiSize roi) {
             return ippiYCbCr420ToCbYCr422_8u_P2C2R(s.ptr[0], s.step[0], s.ptr[1], s.step[1], d.ptr[0], d.step[0],
                                                    roi);
         },
         formsOf(yCbCr420ToCbYCr422P2C2Table())},
        {"YCrCb420ToYCbCr422_P3C2R", L::Planar420, L::Packed, 2, 2, true, false,
         [](const Frame& s, Frame& d, IppiSize roi) {
             return ippiYCrCb420ToYCbCr422_8u_P3C2R(s.ptr, s.step, d.ptr[0], d.step[0], roi);
         },
         formsOf(yCrCb420ToYCbCr422P3C2Table())},
        {"YCrCb420ToCbYCr422_P3C2R", L::Planar420, L::Packed, 2, 2, true, false,
         [](const Frame& s, Frame& d, IppiSize roi) {
             return ippiYCrCb420ToCbYCr422_8u_P3C2R(s.ptr, s.step, d.ptr[0], d.step[0], roi);
         },
         formsOf(yCrCb420ToCbYCr422P3C2Table())},
        {"YCbCr420_P2P3R", L::TwoPlane420, L::Planar420, 2, 2, true, false,
         [](const Frame& s, Frame& d, IppiSize roi) {
             return ippiYCbCr420_8u_P2P3R(s.ptr[0], s.step[0], s.ptr[1], s.step[1], d.ptr, d.step, roi);
         },
         formsOf(yCbCr420P2P3Table())},
        {"YCrCb420ToYCbCr420_P3P2R", L::Planar420, L::TwoPlane420, 2, 2, true, false,
         [](const Frame& s, Frame& d, IppiSize roi) {
             return ippiYCrCb420ToYCbCr420_8u_P3P2R(s.ptr, s.step, d.ptr[0], d.step[0], d.ptr[1], d.step[1], roi);
         },
         formsOf(yCrCb420ToYCbCr420P3P2Table())},
        {"YCbCr422To420_P3R", L::Planar422, L::Planar420, 2, 2, true, false,
         [](const Frame& s, Frame& d, IppiSize roi) {
             return ippiYCbCr422To420_8u_P3R(s.ptr, s.step, d.ptr, d.step, roi);
         },
         formsOf(yCbCr422To420P3Table())},
        {"YCbCr420To422_P3R", L::Planar420, L::Planar422, 2, 2, true, false,
         [](const Frame& s, Frame& d, IppiSize roi) {
             return ippiYCbCr420To422_8u_P3R(s.ptr, s.step, d.ptr, d.step, roi);
         },
         formsOf(yCbCr420To422P3Table())},
        {"YCbCr420To411_P3R", L::Planar420, L::Planar411, 4, 2, true, true,
         [](const Frame& s, Frame& d, IppiSize roi) {
             return ippiYCbCr420To411_8u_P3R(s.ptr, s.step, d.ptr, d.step, roi);
         },
         formsOf(yCbCr420To411P3Table())},
    };
    return cases;
}

class YcbcrLayoutKernel : public ::testing::TestWithParam<size_t> {
protected:
    const LayoutCase& kernel() const { return layoutCases()[GetParam()]; }
};

// Runs the scalar definition twice, over two different fillings, so that the
// bytes it writes are known exactly: they must be the footprint, all of it.
// Then every vector form must give the same bytes and leave the margins.
void checkFormsAt(const LayoutCase& c, int32_t w, int32_t h, bool aligned, bool nonTemporal, Rng& rng) {
    SCOPED_TRACE(::testing::Message() << "width " << w << " height " << h << (aligned ? " aligned" : " unaligned")
                                      << (nonTemporal ? " streaming" : ""));
    const Frame src = makeSource(c.from, w, h, place(planeShapes(c.from, w, h), rng, aligned, false), rng);
    const std::vector<Placement> at = place(planeShapes(c.to, w, h), rng, aligned, false);
    Frame ref = makeDest(c.to, w, h, at, GuardedBuffer::kSentinel);
    Frame alt = makeDest(c.to, w, h, at, uint8_t(~GuardedBuffer::kSentinel));
    c.forms[0].run(src, ref, w, h, nonTemporal);
    c.forms[0].run(src, alt, w, h, nonTemporal);

    const std::vector<PlaneShape> written = c.footprint(w, h);
    for (int k = 0; k < ref.planes(); ++k) {
        ASSERT_TRUE(ref.guarded[k]->marginsIntact()) << "plane " << k;
        for (int32_t r = 0; r < ref.shapes[k].rows; ++r) {
            for (int32_t x = 0; x < ref.step[k]; ++x) {
                const bool inside = r < written[k].rows && x < written[k].rowBytes;
                const uint8_t expected = inside ? alt.at(k, r, x) : GuardedBuffer::kSentinel;
                ASSERT_EQ(ref.at(k, r, x), expected) << (inside ? "unwritten" : "written") << ": plane " << k
                                                     << " row " << r << " byte " << x;
            }
        }
    }
    for (size_t f = 1; f < c.forms.size(); ++f) {
        SCOPED_TRACE("form " + c.forms[f].name);
        Frame out = makeDest(c.to, w, h, at, GuardedBuffer::kSentinel);
        c.forms[f].run(src, out, w, h, nonTemporal);
        for (int k = 0; k < out.planes(); ++k) {
            ASSERT_TRUE(out.guarded[k]->marginsIntact()) << "plane " << k;
            ASSERT_EQ(planeBytes(out, k), planeBytes(ref, k)) << "plane " << k;
        }
    }
}

TEST_P(YcbcrLayoutKernel, FormsMatchTheScalarDefinition) {
    MORVA_SEED_TRACE();
    const LayoutCase& c = kernel();
    Rng rng{uint32_t(GetParam())};
    for (int32_t w : testing::testWidths(70)) {
        const std::vector<int32_t> heights = w > 300 ? std::vector<int32_t>{2, 3} : std::vector<int32_t>{1, 2, 3, 4, 5};
        for (int32_t h : heights) {
            if (!c.accepts(w, h)) continue;
            checkFormsAt(c, w, h, false, rng.uniform(0, 1) == 1, rng);
            checkFormsAt(c, w, h, true, rng.uniform(0, 1) == 1, rng);
            if (::testing::Test::HasFatalFailure()) return;
        }
    }
}

TEST_P(YcbcrLayoutKernel, FormsMatchTheScalarDefinitionOnALargeFrame) {
    MORVA_SEED_TRACE();
    Rng rng(uint32_t(GetParam()) + 100);
    checkFormsAt(kernel(), 1920, 1080, true, true, rng);
}

TEST_P(YcbcrLayoutKernel, RefusalsWriteNothing) {
    const LayoutCase& c = kernel();
    Rng rng(uint32_t(GetParam()) + 200);
    const int32_t w = 8, h = 4;
    Frame src = makeSource(c.from, w, h, rng);
    Frame dst = makeDest(c.to, w, h, rng);

    for (Frame* side : {&src, &dst}) {
        for (int k = 0; k < side->planes(); ++k) {
            uint8_t* const kept = side->ptr[k];
            side->ptr[k] = nullptr;
            EXPECT_EQ(c.entry(src, dst, {w, h}), ippStsNullPtrErr) << (side == &src ? "source" : "destination")
                                                                    << " plane " << k;
            // Pointers are checked before sizes.
            EXPECT_EQ(c.entry(src, dst, {0, 0}), ippStsNullPtrErr);
            side->ptr[k] = kept;
        }
    }
    for (IppiSize roi : {IppiSize{c.minWidth - 1, h}, IppiSize{0, h}, IppiSize{-2, h}, IppiSize{w, c.minHeight - 1}}) {
        if (roi.width < c.minWidth || (c.minHeight > 0 && roi.height < c.minHeight))
            EXPECT_EQ(c.entry(src, dst, roi), ippStsSizeErr) << roi.width << " x " << roi.height;
        else
            EXPECT_EQ(c.entry(src, dst, roi), ippStsNoErr) << roi.width << " x " << roi.height;
    }
    if (c.quadWidth) {
        EXPECT_EQ(c.entry(src, dst, {6, h}), ippStsSizeErr);
        EXPECT_EQ(c.entry(src, dst, {w, 3}), ippStsSizeErr);
    }
    EXPECT_TRUE(untouched(dst));
    EXPECT_EQ(c.entry(src, dst, {w, h}), ippStsNoErr);
    EXPECT_FALSE(untouched(dst));
}

INSTANTIATE_TEST_SUITE_P(All, YcbcrLayoutKernel, ::testing::Range(size_t(0), layoutCases().size()),
                         [](const ::testing::TestParamInfo<size_t>& info) {
                             return std::string(layoutCases()[info.param].name);
                         });

TEST(YcbcrLayoutChecks, MissingPlaneArraysAreNullPointers) {
    uint8_t bytes[64] = {};
    uint8_t* planes[3] = {bytes, bytes + 16, bytes + 32};
    const uint8_t* inPlanes[3] = {bytes, bytes + 16, bytes + 32};
    const int32_t steps[3] = {8, 4, 4};
    EXPECT_EQ(ippiYCbCr422_8u_C2P3R(bytes, 16, nullptr, steps, {4, 2}), ippStsNullPtrErr);
    EXPECT_EQ(ippiYCbCr422_8u_C2P3R(bytes, 16, planes, nullptr, {4, 2}), ippStsNullPtrErr);
    EXPECT_EQ(ippiYCbCr422To420_8u_P3R(nullptr, steps, planes, steps, {4, 2}), ippStsNullPtrErr);
    EXPECT_EQ(ippiYCbCr422To420_8u_P3R(inPlanes, nullptr, planes, steps, {4, 2}), ippStsNullPtrErr);
    EXPECT_EQ(ippiYCrCb420ToYCbCr422_8u_P3C2R(nullptr, steps, bytes, 16, {4, 2}), ippStsNullPtrErr);
}

TEST(YcbcrLayoutChecks, SplitIntoPlanesHasNoLeastHeight) {
    Rng rng(300);
    Frame src = makeSource(Layout::Packed, 8, 2, rng);
    Frame dst = makeDest(Layout::Planar422, 8, 2, rng);
    EXPECT_EQ(ippiYCbCr422_8u_C2P3R(src.ptr[0], src.step[0], dst.ptr, dst.step, {8, 0}), ippStsNoErr);
    EXPECT_EQ(ippiCbYCr422ToYCbCr422_8u_C2P3R(src.ptr[0], src.step[0], dst.ptr, dst.step, {8, -1}), ippStsNoErr);
    EXPECT_TRUE(untouched(dst));
}

// Worked examples.

TEST(YcbcrLayoutExamples, PackedToPlanar422ChromaOrderFollowsAlignment) {
    Rng rng(400);
    struct Case {
        int32_t width;
        bool aligned;
        int cbPlane;
    };
    for (Case c : {Case{30, true, 2}, Case{30, false, 2}, Case{32, true, 1}, Case{32, false, 2}}) {
        SCOPED_TRACE(::testing::Message() << "width " << c.width << (c.aligned ? " aligned" : " unaligned"));
        const Frame src = makeSource(Layout::Packed, c.width, 2, rng, c.aligned);
        Frame dst = makeDest(Layout::Planar422, c.width, 2, rng, c.aligned);
        ASSERT_EQ(ippiYCbCr422_8u_C2P3R(src.ptr[0], src.step[0], dst.ptr, dst.step, {c.width, 2}), ippStsNoErr);
        const int crPlane = 3 - c.cbPlane;
        for (int32_t r = 0; r < 2; ++r) {
            for (int32_t j = 0; j < c.width / 2; ++j) {
                ASSERT_EQ(dst.at(0, r, 2 * j), src.at(0, r, 4 * j));
                ASSERT_EQ(dst.at(0, r, 2 * j + 1), src.at(0, r, 4 * j + 2));
                ASSERT_EQ(dst.at(c.cbPlane, r, j), src.at(0, r, 4 * j + 1));
                ASSERT_EQ(dst.at(crPlane, r, j), src.at(0, r, 4 * j + 3));
            }
        }
    }
}

TEST(YcbcrLayoutExamples, OddWidthSwapLeavesTheLastPixel) {
    const uint8_t src[12] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    uint8_t dst[12];
    std::fill_n(dst, 12, 0xEE);
    ASSERT_EQ(ippiCbYCr422ToYCbCr422_8u_C2R(src, 12, dst, 12, {5, 1}), ippStsNoErr);
    const uint8_t expected[12] = {2, 1, 4, 3, 6, 5, 8, 7, 0xEE, 0xEE, 0xEE, 0xEE};
    EXPECT_TRUE(std::equal(dst, dst + 12, expected));
}

TEST(YcbcrLayoutExamples, OddHeightTo420LeavesTheLastRow) {
    Rng rng(500);
    const int32_t w = 6, h = 5;
    const Frame src = makeSource(Layout::Packed, w, h, rng);
    Frame dst = makeDest(Layout::Planar420, w, h, rng);
    ASSERT_EQ(ippiYCbCr422ToYCrCb420_8u_C2P3R(src.ptr[0], src.step[0], dst.ptr, dst.step, {w, h}), ippStsNoErr);
    for (int32_t r = 0; r < 4; ++r)
        for (int32_t x = 0; x < w; ++x) EXPECT_EQ(dst.at(0, r, x), src.at(0, r, 2 * x));
    for (int32_t i = 0; i < 2; ++i) {
        for (int32_t j = 0; j < w / 2; ++j) {
            EXPECT_EQ(dst.at(1, i, j), src.at(0, 2 * i, 4 * j + 3));  // Cr from the even row
            EXPECT_EQ(dst.at(2, i, j), src.at(0, 2 * i, 4 * j + 1));  // Cb
        }
    }
    for (int32_t x = 0; x < w; ++x) EXPECT_EQ(dst.at(0, 4, x), GuardedBuffer::kSentinel);
    for (int k = 1; k <= 2; ++k)
        for (int32_t j = 0; j < w / 2; ++j) EXPECT_EQ(dst.at(k, 2, j), GuardedBuffer::kSentinel);
}

// Round trips in the plane orders the conversion router uses: natural order
// into 4:2:0 from Y0 Cb Y1 Cr, crossed order (entries 1 and 2 exchanged)
// everywhere else.
struct RoundTripSize {
    int32_t w, h;
};
class YcbcrLayoutRoundTrip : public ::testing::TestWithParam<RoundTripSize> {};

struct PlaneArrays {
    uint8_t* ptr[3];
    int32_t step[3];
};
PlaneArrays crossed(const Frame& f) {
    return {{f.ptr[0], f.ptr[2], f.ptr[1]}, {f.step[0], f.step[2], f.step[1]}};
}

// The packed result of a trip through 4:2:0: luma as it was, chroma of each
// row from the even row above it, Cb and Cr exchanged or not.
void expectPackedThrough420(const Frame& src, const Frame& out, int32_t w, int32_t h, int lumaAt, bool exchanged) {
    const int cbAt = 1 - lumaAt, crAt = 3 - lumaAt;
    for (int32_t r = 0; r < h; ++r) {
        for (int32_t j = 0; j < w / 2; ++j) {
            const int32_t even = r & ~1;
            const uint8_t* got = &out.at(0, r, 4 * j);
            const uint8_t* was = &src.at(0, r, 4 * j);
            const uint8_t* chroma = &src.at(0, even, 4 * j);
            ASSERT_EQ(got[lumaAt], was[lumaAt]) << "row " << r << " pair " << j;
            ASSERT_EQ(got[lumaAt + 2], was[lumaAt + 2]) << "row " << r << " pair " << j;
            ASSERT_EQ(got[cbAt], chroma[exchanged ? crAt : cbAt]) << "row " << r << " pair " << j;
            ASSERT_EQ(got[crAt], chroma[exchanged ? cbAt : crAt]) << "row " << r << " pair " << j;
        }
    }
}

void expectSamePlanes(const Frame& a, const Frame& b, int32_t w, int32_t h, Layout layout) {
    const std::vector<PlaneShape> shapes = planeShapes(layout, w, h);
    for (int k = 0; k < int(shapes.size()); ++k)
        for (int32_t r = 0; r < shapes[k].rows; ++r)
            for (int32_t x = 0; x < shapes[k].rowBytes; ++x)
                ASSERT_EQ(a.at(k, r, x), b.at(k, r, x)) << "plane " << k << " row " << r << " byte " << x;
}

TEST_P(YcbcrLayoutRoundTrip, Packed422Through420) {
    MORVA_SEED_TRACE();
    const auto [w, h] = GetParam();
    Rng rng(600);
    const Frame src = makeSource(Layout::Packed, w, h, rng);
    Frame planes = makeDest(Layout::Planar420, w, h, rng);
    Frame out = makeDest(Layout::Packed, w, h, rng);

    // 2 -> 5 (natural) -> 2 (crossed): chroma comes back exchanged.
    ASSERT_EQ(ippiYCbCr422ToYCrCb420_8u_C2P3R(src.ptr[0], src.step[0], planes.ptr, planes.step, {w, h}), ippStsNoErr);
    const PlaneArrays x = crossed(planes);
    ASSERT_EQ(ippiYCrCb420ToYCbCr422_8u_P3C2R(x.ptr, x.step, out.ptr[0], out.step[0], {w, h}), ippStsNoErr);
    expectPackedThrough420(src, out, w, h, 0, true);

    // 3 -> 5 (crossed) -> 3 (crossed): chroma comes back in place.
    ASSERT_EQ(ippiCbYCr422ToYCrCb420_8u_C2P3R(src.ptr[0], src.step[0], x.ptr, x.step, {w, h}), ippStsNoErr);
    ASSERT_EQ(ippiYCrCb420ToCbYCr422_8u_P3C2R(x.ptr, x.step, out.ptr[0], out.step[0], {w, h}), ippStsNoErr);
    expectPackedThrough420(src, out, w, h, 1, false);

    // 2 -> 1 -> 2 and 3 -> 1 -> 3: in place.
    Frame twoPlanes = makeDest(Layout::TwoPlane420, w, h, rng);
    ASSERT_EQ(ippiYCbCr422ToYCbCr420_8u_C2P2R(src.ptr[0], src.step[0], twoPlanes.ptr[0], twoPlanes.step[0],
                                              twoPlanes.ptr[1], twoPlanes.step[1], {w, h}),
              ippStsNoErr);
    ASSERT_EQ(ippiYCbCr420ToYCbCr422_8u_P2C2R(twoPlanes.ptr[0], twoPlanes.step[0], twoPlanes.ptr[1],
                                              twoPlanes.step[1], out.ptr[0], out.step[0], {w, h}),
              ippStsNoErr);
    expectPackedThrough420(src, out, w, h, 0, false);
    ASSERT_EQ(ippiCbYCr422ToYCbCr420_8u_C2P2R(src.ptr[0], src.step[0], twoPlanes.ptr[0], twoPlanes.step[0],
                                              twoPlanes.ptr[1], twoPlanes.step[1], {w, h}),
              ippStsNoErr);
    ASSERT_EQ(ippiYCbCr420ToCbYCr422_8u_P2C2R(twoPlanes.ptr[0], twoPlanes.step[0], twoPlanes.ptr[1],
                                              twoPlanes.step[1], out.ptr[0], out.step[0], {w, h}),
              ippStsNoErr);
    expectPackedThrough420(src, out, w, h, 1, false);
}

TEST_P(YcbcrLayoutRoundTrip, PlanarLayoutsComeBackExactly) {
    MORVA_SEED_TRACE();
    const auto [w, h] = GetParam();
    Rng rng(700);
    // 1 -> 5 (natural) -> 1 (crossed).
    const Frame two = makeSource(Layout::TwoPlane420, w, h, rng);
    Frame three = makeDest(Layout::Planar420, w, h, rng);
    Frame twoBack = makeDest(Layout::TwoPlane420, w, h, rng);
    ASSERT_EQ(ippiYCbCr420_8u_P2P3R(two.ptr[0], two.step[0], two.ptr[1], two.step[1], three.ptr, three.step, {w, h}),
              ippStsNoErr);
    const PlaneArrays x = crossed(three);
    ASSERT_EQ(ippiYCrCb420ToYCbCr420_8u_P3P2R(x.ptr, x.step, twoBack.ptr[0], twoBack.step[0], twoBack.ptr[1],
                                              twoBack.step[1], {w, h}),
              ippStsNoErr);
    expectSamePlanes(two, twoBack, w, h, Layout::TwoPlane420);
    for (int32_t i = 0; i < h / 2; ++i) {
        for (int32_t j = 0; j < w / 2; ++j) {
            ASSERT_EQ(three.at(1, i, j), two.at(1, i, 2 * j));  // Cb to entry 1
            ASSERT_EQ(three.at(2, i, j), two.at(1, i, 2 * j + 1));
        }
    }

    // 5 -> 6 -> 5.
    Frame planes422 = makeDest(Layout::Planar422, w, h, rng);
    Frame back420 = makeDest(Layout::Planar420, w, h, rng);
    ASSERT_EQ(ippiYCbCr420To422_8u_P3R(three.ptr, three.step, planes422.ptr, planes422.step, {w, h}), ippStsNoErr);
    ASSERT_EQ(ippiYCbCr422To420_8u_P3R(planes422.ptr, planes422.step, back420.ptr, back420.step, {w, h}),
              ippStsNoErr);
    expectSamePlanes(three, back420, w, h, Layout::Planar420);
    for (int32_t r = 0; r < h; ++r)
        for (int32_t j = 0; j < w / 2; ++j) ASSERT_EQ(planes422.at(1, r, j), three.at(1, r / 2, j));

    // 2 -> 3 -> 2.
    const Frame packed = makeSource(Layout::Packed, w, h, rng);
    Frame swapped = makeDest(Layout::Packed, w, h, rng);
    Frame packedBack = makeDest(Layout::Packed, w, h, rng);
    ASSERT_EQ(ippiYCbCr422ToCbYCr422_8u_C2R(packed.ptr[0], packed.step[0], swapped.ptr[0], swapped.step[0], {w, h}),
              ippStsNoErr);
    ASSERT_EQ(ippiCbYCr422ToYCbCr422_8u_C2R(swapped.ptr[0], swapped.step[0], packedBack.ptr[0], packedBack.step[0],
                                            {w, h}),
              ippStsNoErr);
    expectSamePlanes(packed, packedBack, w, h, Layout::Packed);
    EXPECT_EQ(swapped.at(0, h - 1, 0), packed.at(0, h - 1, 1));

    // 3 -> 6 -> 18-style join to 2 is the byte swap; 2 -> 6 -> 2 comes back
    // only where the split took its aligned path.
    Frame split = makeDest(Layout::Planar422, w, h, rng);
    ASSERT_EQ(ippiCbYCr422ToYCbCr422_8u_C2P3R(swapped.ptr[0], swapped.step[0], split.ptr, split.step, {w, h}),
              ippStsNoErr);
    ASSERT_EQ(ippiYCbCr422_8u_P3C2R(split.ptr, split.step, packedBack.ptr[0], packedBack.step[0], {w, h}),
              ippStsNoErr);
    expectSamePlanes(packed, packedBack, w, h, Layout::Packed);
    if (w % 16 == 0) {
        ASSERT_EQ(ippiYCbCr422_8u_C2P3R(packed.ptr[0], packed.step[0], split.ptr, split.step, {w, h}), ippStsNoErr);
        ASSERT_EQ(ippiYCbCr422_8u_P3C2R(split.ptr, split.step, packedBack.ptr[0], packedBack.step[0], {w, h}),
                  ippStsNoErr);
        expectSamePlanes(packed, packedBack, w, h, Layout::Packed);
    }
}

// 1920 x 1080 takes the streaming paths of the kernels that have them.
INSTANTIATE_TEST_SUITE_P(Sizes, YcbcrLayoutRoundTrip,
                         ::testing::Values(RoundTripSize{6, 4}, RoundTripSize{46, 6}, RoundTripSize{1920, 1080}),
                         [](const ::testing::TestParamInfo<RoundTripSize>& info) {
                             return std::to_string(info.param.w) + "x" + std::to_string(info.param.h);
                         });

TEST(YcbcrLayoutExamples, CrosswiseChromaSteps) {
    // Cr (entry 1) lies at step 8, Cb (entry 2) at step 16; the kernel steps
    // Cb by step entry 1 and Cr by step entry 2.
    uint8_t y[16], cr[32], cb[32], out[32];
    for (int i = 0; i < 16; ++i) y[i] = uint8_t(i);
    for (int i = 0; i < 32; ++i) {
        cr[i] = uint8_t(100 + i);
        cb[i] = uint8_t(200 + i);
    }
    const uint8_t* planes[3] = {y, cr, cb};
    const int32_t steps[3] = {4, 8, 16};
    ASSERT_EQ(ippiYCrCb420ToYCbCr422_8u_P3C2R(planes, steps, out, 8, {4, 4}), ippStsNoErr);
    // Row 2 takes chroma row 1: Cb at cb + 8, Cr at cr + 16.
    EXPECT_EQ(out[2 * 8 + 1], 200 + 8);
    EXPECT_EQ(out[2 * 8 + 3], 100 + 16);
    EXPECT_EQ(out[2 * 8 + 5], 200 + 9);
    EXPECT_EQ(out[2 * 8 + 7], 100 + 17);
}

TEST(YcbcrLayoutExamples, JoinFromPlanar422IgnoresAlphaPlane) {
    // A 4:2:2 image with alpha, planes one behind the other.
    const int32_t w = 6, h = 2;
    std::vector<uint8_t> image(w * h * 2 + w * h);
    Rng rng(800);
    rng.fill(image.data(), image.size());
    const uint8_t* planes[3] = {image.data(), image.data() + w * h, image.data() + w * h + w * h / 2};
    const int32_t steps[3] = {w, w / 2, w / 2};
    uint8_t first[24], second[24];
    ASSERT_EQ(ippiYCbCr422_8u_P3C2R(planes, steps, first, 12, {w, h}), ippStsNoErr);
    std::fill(image.begin() + w * h * 2, image.end(), 0x5A);
    ASSERT_EQ(ippiYCbCr422_8u_P3C2R(planes, steps, second, 12, {w, h}), ippStsNoErr);
    EXPECT_TRUE(std::equal(first, first + 24, second));
}

// 4:2:0 to 4:1:1.

TEST(YcbcrLayout411, WidthNotAMultipleOfFourCopiesNothing) {
    Rng rng(900);
    const Frame src = makeSource(Layout::Planar420, 8, 4, rng);
    Frame dst = makeDest(Layout::Planar411, 8, 4, rng);
    EXPECT_EQ(ippiYCbCr420To411_8u_P3R(src.ptr, src.step, dst.ptr, dst.step, {6, 4}), ippStsSizeErr);
    EXPECT_TRUE(untouched(dst));
}

class YcbcrLayout411 : public ::testing::TestWithParam<int32_t> {};

// Chroma rows alternate 10 and 11: the odd destination rows hold their mean,
// 11 where whole blocks of 32 columns reach, 10 behind.
TEST_P(YcbcrLayout411, MeanRoundsUpOnlyInWholeBlocksOf32) {
    const int32_t w = GetParam(), h = 8, q = w / 4;
    Rng rng(1000);
    Frame src = makeSource(Layout::Planar420, w, h, rng);
    for (int k = 1; k <= 2; ++k)
        for (int32_t i = 0; i < h / 2; ++i)
            std::fill_n(&src.at(k, i, 0), w / 2, uint8_t(i % 2 == 0 ? 10 : 11));
    Frame dst = makeDest(Layout::Planar411, w, h, rng);
    ASSERT_EQ(ippiYCbCr420To411_8u_P3R(src.ptr, src.step, dst.ptr, dst.step, {w, h}), ippStsNoErr);
    for (int32_t r = 0; r < h; ++r)
        for (int32_t x = 0; x < w; ++x) ASSERT_EQ(dst.at(0, r, x), src.at(0, r, x));
    for (int k = 1; k <= 2; ++k) {
        for (int32_t r = 0; r < h; ++r) {
            for (int32_t j = 0; j < q; ++j) {
                const int32_t k2 = r / 2;
                uint8_t expected = uint8_t(k2 % 2 == 0 ? 10 : 11);
                if (r % 2 == 1 && r < h - 2) expected = j < (q & ~31) ? 11 : 10;
                ASSERT_EQ(dst.at(k, r, j), expected) << "plane " << k << " row " << r << " column " << j;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Widths, YcbcrLayout411, ::testing::Values(124, 128, 132, 264));

TEST(YcbcrLayout411, EvenRowsKeepEveryOtherColumnAndHeightTwoStaysInside) {
    Rng rng(1100);
    for (int32_t h : {2, 4, 6}) {
        SCOPED_TRACE(::testing::Message() << "height " << h);
        const int32_t w = 12;
        const Frame src = makeSource(Layout::Planar420, w, h, rng, false);
        Frame dst = makeDest(Layout::Planar411, w, h, rng, false);
        ASSERT_EQ(ippiYCbCr420To411_8u_P3R(src.ptr, src.step, dst.ptr, dst.step, {w, h}), ippStsNoErr);
        for (int k = 0; k < 3; ++k) ASSERT_TRUE(dst.guarded[k]->marginsIntact());
        for (int32_t r = 0; r < h; ++r)
            for (int32_t x = 0; x < w; ++x) ASSERT_EQ(dst.at(0, r, x), src.at(0, r, x));
        const int32_t last = h / 2 - 1;
        for (int k = 1; k <= 2; ++k) {
            for (int32_t j = 0; j < w / 4; ++j) {
                for (int32_t i = 0; i < last; ++i) {
                    ASSERT_EQ(dst.at(k, 2 * i, j), src.at(k, i, 2 * j));
                    ASSERT_EQ(dst.at(k, 2 * i + 1, j), (src.at(k, i, 2 * j) + src.at(k, i + 1, 2 * j)) >> 1);
                }
                ASSERT_EQ(dst.at(k, 2 * last, j), src.at(k, last, 2 * j));
                ASSERT_EQ(dst.at(k, 2 * last + 1, j), src.at(k, last, 2 * j));
            }
        }
    }
}

}  // namespace
}  // namespace morva
