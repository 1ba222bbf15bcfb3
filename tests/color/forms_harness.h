// The colour kernels' forms harness: every vector form of a kernel against
// its scalar definition over guarded frames of many sizes, offsets and steps,
// and worked examples run through every form. A kernel is described by its
// plane shapes and the region it writes; one adapter per body signature
// makes every table callable the same way.
#pragma once

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "color/bgr_to_ycbcr.h"
#include "color/ycbcr_layout.h"
#include "color/ycbcr_to_bgr.h"
#include "color/ycbcr_to_bgr16.h"
#include "common/testing.h"

namespace morva::testing {

// Up to three planes of one side of a call.
struct Planes {
    uint8_t* p[3] = {};
    int32_t s[3] = {};
    yuvlayout::InPlane in(int k) const { return {p[k], s[k]}; }
    yuvlayout::OutPlane out(int k) const { return {p[k], s[k]}; }
};

inline constexpr uint8_t kAlpha = 0x3C;

// One call of a body; `nt` allows streaming stores where a body takes it.
using Side = const Planes&;
using Layout16 = const Bgr16Layout&;
inline void call(BgrToYuv422Fn f, Side s, Side d, int w, int h, bool) { f(s.p[0], s.s[0], d.p[0], d.s[0], w, h); }
inline void call(Packed422ToBgraFn f, Side s, Side d, int w, int h, bool) {
    f(s.p[0], s.s[0], d.p[0], d.s[0], w, h, kAlpha);
}
inline void call(Planar3ToBgrFn f, Side s, Side d, int w, int h, bool) { f(s.p, s.s, d.p[0], d.s[0], w, h); }
inline void call(Planar3ToBgraFn f, Side s, Side d, int w, int h, bool) { f(s.p, s.s, d.p[0], d.s[0], w, h, kAlpha); }
inline void call(Packed422ToBgr16Fn f, Side s, Side d, int w, int h, bool, Layout16 l) {
    f(s.p[0], s.s[0], d.p[0], d.s[0] >> 1, w, h, l);
}
inline void call(Planar420ToBgr16Fn f, Side s, Side d, int w, int h, bool, Layout16 l) {
    f(s.p, s.s, d.p[0], d.s[0] >> 1, w, h, l);
}
inline void call(BgrToYuv420Fn f, Side s, Side d, int w, int h, bool) { f(s.p[0], s.s[0], d.p, d.s, w, h); }
// A layout body takes its source planes, its destination planes, the size
// and, where it has one, the streaming hint.
template <class... A>
void call(void (*f)(yuvlayout::InPlane, A...), Side s, Side d, int w, int h, bool nt) {
    constexpr size_t in = 1 + (std::is_same_v<A, yuvlayout::InPlane> + ...);
    constexpr size_t out = (std::is_same_v<A, yuvlayout::OutPlane> + ...);
    [&]<size_t... I, size_t... O>(std::index_sequence<I...>, std::index_sequence<O...>) {
        if constexpr (sizeof...(A) + 1 == in + out + 3) f(s.in(I)..., d.out(O)..., w, h, nt);
        else f(s.in(I)..., d.out(O)..., w, h);
    }(std::make_index_sequence<in>{}, std::make_index_sequence<out>{});
}

struct Form {
    std::string name;
    Isa isa;
    std::function<void(Side src, Side dst, int32_t w, int32_t h, bool nt)> run;
};

// Every form of a table, the scalar definition first; `extra` goes to every call.
template <class Fn, class... Extra>
std::vector<Form> formsOf(const KernelTable<Fn>& table, Extra... extra) {
    std::vector<Form> forms;
    for (const KernelForm<Fn>& f : table.forms())
        forms.push_back({f.name, f.isa, [fn = f.fn, extra...](Side s, Side d, int w, int h, bool nt) {
                             call(fn, s, d, w, h, nt, extra...);
                         }});
    return forms;
}

// A plane of mul * ceil(w / xDiv) bytes a row and ceil(h / yDiv) rows (floor
// division where `floor`).
struct PlaneShape {
    int32_t mul, xDiv = 1, yDiv = 1;
    bool floor = false;
};

struct Extent {
    int64_t bytes;
    int32_t rows;
};
inline Extent extent(const PlaneShape& p, int32_t w, int32_t h) {
    const auto div = [&](int32_t v, int32_t d) { return p.floor ? v / d : (v + d - 1) / d; };
    return {int64_t(p.mul) * div(w, p.xDiv), div(h, p.yDiv)};
}

struct Size2 {
    int32_t w, h;
};
inline Size2 everyPixel(int32_t w, int32_t h) { return {w, h}; }
inline Size2 evenWidth(int32_t w, int32_t h) { return {w & ~1, h}; }
inline Size2 evenSize(int32_t w, int32_t h) { return {w & ~1, h & ~1}; }

struct FormsCase {
    std::string name;
    std::vector<Form> forms;
    std::vector<PlaneShape> src, dst;
    // The destination a call writes: its planes' shapes at this size, all of
    // them and nothing else.
    Size2 (*written)(int32_t w, int32_t h) = everyPixel;
    int32_t minWidth = 1, minHeight = 1;
    int32_t widthStep = 1, heightStep = 1;  // sizes are multiples of these
    int32_t dstStepMultiple = 1;
};
inline void PrintTo(const FormsCase& c, std::ostream* os) { *os << c.name; }
inline std::string caseName(const ::testing::TestParamInfo<FormsCase>& info) { return info.param.name; }

// Instantiated by each family over its kernels.
class ColorForms : public ::testing::TestWithParam<FormsCase> {};

// An image of byte planes one after the other in memory order, with steps.
struct Image {
    std::vector<std::vector<uint8_t>> planes;
    std::vector<int32_t> steps;
    Planes view() {
        Planes v;
        for (size_t k = 0; k < planes.size(); ++k) v.p[k] = planes[k].data(), v.s[k] = steps[k];
        return v;
    }
};

// Runs every form this processor runs from `src` into planes shaped like
// `expected` and filled with 0xEE first, and compares every byte.
void expectEveryForm(const std::vector<Form>& forms, Image src, const Image& expected, int32_t w, int32_t h);

// Planes of the shapes at a size, tightly packed, all `fill` or random.
Image makeImage(const std::vector<PlaneShape>& shapes, int32_t w, int32_t h, uint8_t fill, Rng* rng = nullptr);

// An entry point as the status checks call it, its planes' shapes, and sizes
// (within 16 x 8) with the status each must give.
struct EntryCase {
    std::string name;
    std::vector<PlaneShape> src, dst;
    std::function<IppStatus(Side src, Side dst, IppiSize roi)> call;
    std::vector<std::pair<IppiSize, IppStatus>> sizes;
};

// An entry point called with planes: a side passes plane 0 and its step, its
// plane and step arrays, or two planes, as the signature takes them; an alpha
// argument gets 0.
template <class T>
T planeArg(Side x) {
    if constexpr (std::is_pointer_v<std::remove_pointer_t<T>>) return x.p;
    else return reinterpret_cast<T>(x.p[0]);
}
template <class T>
T stepArg(Side x) {
    if constexpr (std::is_pointer_v<T>) return x.s;
    else return x.s[0];
}
template <class S, class SS, class D, class DS, class... A>
IppStatus callEntry(IppStatus (*f)(S, SS, D, DS, IppiSize, A...), Side s, Side d, IppiSize r) {
    return f(planeArg<S>(s), stepArg<SS>(s), planeArg<D>(d), stepArg<DS>(d), r, A{}...);
}
template <class S, class SS, class D, class DS, class E, class ES>
IppStatus callEntry(IppStatus (*f)(S, SS, D, DS, E, ES, IppiSize), Side s, Side d, IppiSize r) {
    if constexpr (std::is_const_v<std::remove_pointer_t<D>>)  // two source planes
        return f(s.p[0], s.s[0], s.p[1], s.s[1], planeArg<E>(d), stepArg<ES>(d), r);
    else
        return f(planeArg<S>(s), stepArg<SS>(s), d.p[0], d.s[0], d.p[1], d.s[1], r);
}
template <auto f>
IppStatus entry(Side s, Side d, IppiSize r) {
    return callEntry(f, s, d, r);
}

// A missing plane on either side is a null pointer, found before the size;
// then each size gives its status. Refusals, and empty sizes, write nothing.
void expectStatuses(const EntryCase& e);

// `unit` n times, and concatenation, for writing rows of worked examples.
inline std::vector<uint8_t> operator+(std::vector<uint8_t> a, const std::vector<uint8_t>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}
inline std::vector<uint8_t> rep(const std::vector<uint8_t>& unit, int n) {
    std::vector<uint8_t> v;
    for (; n > 0; --n) v.insert(v.end(), unit.begin(), unit.end());
    return v;
}

}  // namespace morva::testing
