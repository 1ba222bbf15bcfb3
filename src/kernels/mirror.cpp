// The mirror family: entry points with their checks, and the scalar
// definition, one template over the pixel size.
#include <utility>

#include "kernels/mirror_forms.h"
#include "kernels/plane.h"

namespace morva {
namespace {

template <int PixelBytes>
void swapPixels(uint8_t* a, uint8_t* b) {
    for (int k = 0; k < PixelBytes; ++k) std::swap(a[k], b[k]);
}

template <int PixelBytes>
void reverseRow(uint8_t* row, int32_t width) {
    for (int32_t c = 0; c < width / 2; ++c)
        swapPixels<PixelBytes>(row + ptrdiff_t(c) * PixelBytes,
                               row + ptrdiff_t(width - 1 - c) * PixelBytes);
}

template <int PixelBytes>
void mirrorScalar(uint8_t* plane, ptrdiff_t step, int32_t width, int32_t height, int32_t flip) {
    const auto row = [&](int32_t r) { return plane + r * step; };
    if (flip == ippAxsVertical) {
        for (int32_t r = 0; r < height; ++r) reverseRow<PixelBytes>(row(r), width);
        return;
    }
    for (int32_t r = 0; r < height / 2; ++r) {
        uint8_t* top = row(r);
        uint8_t* bottom = row(height - 1 - r);
        for (int32_t c = 0; c < width; ++c) {
            const int32_t partner = flip == ippAxsBoth ? width - 1 - c : c;
            swapPixels<PixelBytes>(top + ptrdiff_t(c) * PixelBytes, bottom + ptrdiff_t(partner) * PixelBytes);
        }
    }
    if (flip == ippAxsBoth && height % 2 == 1) reverseRow<PixelBytes>(row(height / 2), width);
}

template <int PixelBytes>
const KernelTable<MirrorFn>& mirrorTable() {
    static const KernelTable<MirrorFn> table{
        {"scalar", Isa::Scalar, &mirrorScalar<PixelBytes>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &mirrorSse2<PixelBytes>},
#endif
    };
    return table;
}

IppStatus mirrorPlane(const KernelTable<MirrorFn>& table, uint8_t* pSrcDst, int32_t step,
                      int32_t width, int32_t height, int32_t flip) {
    if (pSrcDst == nullptr) return ippStsNullPtrErr;
    if (width < 1) return ippStsSizeErr;
    if (height < 1) return ippStsSizeErr;
    if (flip != ippAxsHorizontal && flip != ippAxsVertical && flip != ippAxsBoth)
        return ippStsMirrorFlipErr;
    // Exchanging needs two rows, or two columns, on the axis it works across.
    if (flip != ippAxsVertical && height < 2) return ippStsSizeErr;
    if (flip != ippAxsHorizontal && width < 2) return ippStsSizeErr;
    table.current()(pSrcDst, step, width, height, flip);
    return ippStsNoErr;
}

}  // namespace

const KernelTable<MirrorFn>& mirrorC1Table() { return mirrorTable<1>(); }
const KernelTable<MirrorFn>& mirrorC3Table() {
    // Three-byte pixels gain most from byte shuffles, so they have a form more.
    static const KernelTable<MirrorFn> table{
        {"scalar", Isa::Scalar, &mirrorScalar<3>},
#if MORVA_X86_64
        {"sse2", Isa::Sse2, &mirrorSse2<3>},
        {"ssse3", Isa::Ssse3, &mirrorC3Ssse3},
#endif
    };
    return table;
}
const KernelTable<MirrorFn>& mirrorC4Table() { return mirrorTable<4>(); }

IppStatus ippiMirror_8u_C1IR(uint8_t* pSrcDst, int32_t step, int32_t width, int32_t height,
                             int32_t flip) {
    return mirrorPlane(mirrorC1Table(), pSrcDst, step, width, height, flip);
}

IppStatus ippiMirror_8u_C3IR(uint8_t* pSrcDst, int32_t step, int32_t width, int32_t height,
                             int32_t flip) {
    return mirrorPlane(mirrorC3Table(), pSrcDst, step, width, height, flip);
}

IppStatus ippiMirror_8u_C4IR(uint8_t* pSrcDst, int32_t step, int32_t width, int32_t height,
                             int32_t flip) {
    return mirrorPlane(mirrorC4Table(), pSrcDst, step, width, height, flip);
}

}  // namespace morva
