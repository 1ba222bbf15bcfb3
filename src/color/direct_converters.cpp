#include "color/direct_converters.h"

#include <cstddef>
#include <cstring>

#include "color/direct_converters_forms.h"
#include "kernels/memory.h"

namespace morva {
namespace {

const uint8_t* rowOf(const uint8_t* base, int32_t step, int32_t row) {
    return base + std::ptrdiff_t(row) * step;
}
uint8_t* rowOf(uint8_t* base, int32_t step, int32_t row) { return base + std::ptrdiff_t(row) * step; }

// Calls pixel(src, dst) for every pixel of every row.
template <int SrcBytes, int DstBytes, class Pixel>
void forEachPixel(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
                  int32_t height, Pixel pixel) {
    for (int32_t r = 0; r < height; ++r) {
        const uint8_t* s = rowOf(src, srcStep, r);
        uint8_t* d = rowOf(dst, dstStep, r);
        for (int32_t x = 0; x < width; ++x) pixel(s + x * SrcBytes, d + x * DstBytes);
    }
}

uint16_t readWord(const uint8_t* p) {
    uint16_t w;
    std::memcpy(&w, p, 2);
    return w;
}

// Scalar definitions of the pixel converters.

void bgraToBgrScalar(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
                     int32_t height) {
    forEachPixel<4, 3>(src, srcStep, dst, dstStep, width, height,
                       [](const uint8_t* s, uint8_t* d) { std::memcpy(d, s, 3); });
}

// Alpha comes in as 0, not as opaque.
void bgrToBgraScalar(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
                     int32_t height) {
    forEachPixel<3, 4>(src, srcStep, dst, dstStep, width, height, [](const uint8_t* s, uint8_t* d) {
        std::memcpy(d, s, 3);
        d[3] = 0;
    });
}

// The fields are shifted into place and masked; the low bits stay zero, so a
// full field gives 248 (252 for six bits), never 255.
template <const Bgr16Fields& fields>
void widen16Scalar(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep, int32_t width,
                   int32_t height) {
    forEachPixel<2, 3>(src, srcStep, dst, dstStep, width, height, [](const uint8_t* s, uint8_t* d) {
        const unsigned w = readWord(s);
        d[0] = uint8_t((w << 3) & 0xF8);
        d[1] = uint8_t((w >> fields.greenShift) & fields.greenMask);
        d[2] = uint8_t((w >> fields.redShift) & 0xF8);
    });
}

// A converter's table: its scalar definition, and on x86-64 its AVX-512 form.
#if MORVA_X86_64
template <PixelConvertFn scalar, PixelConvertFn avx512>
const KernelTable<PixelConvertFn>& tableOf() {
    static const KernelTable<PixelConvertFn> table{{"scalar", Isa::Scalar, scalar}, {"avx512", Isa::Avx512, avx512}};
    return table;
}
#define MORVA_CONVERTER_TABLE(scalar, avx512) tableOf<scalar, avx512>()
#else
template <PixelConvertFn scalar>
const KernelTable<PixelConvertFn>& tableOf() {
    static const KernelTable<PixelConvertFn> table{{"scalar", Isa::Scalar, scalar}};
    return table;
}
#define MORVA_CONVERTER_TABLE(scalar, avx512) tableOf<scalar>()
#endif

}  // namespace

const KernelTable<PixelConvertFn>& bgraToBgrTable() {
    return MORVA_CONVERTER_TABLE(&bgraToBgrScalar, &direct::bgraToBgrAvx512);
}
const KernelTable<PixelConvertFn>& bgrToBgraTable() {
    return MORVA_CONVERTER_TABLE(&bgrToBgraScalar, &direct::bgrToBgraAvx512);
}
const KernelTable<PixelConvertFn>& bgr555ToBgrTable() {
    return MORVA_CONVERTER_TABLE(&widen16Scalar<kBgr555Fields>, &direct::bgr555ToBgrAvx512);
}
const KernelTable<PixelConvertFn>& bgr565ToBgrTable() {
    return MORVA_CONVERTER_TABLE(&widen16Scalar<kBgr565Fields>, &direct::bgr565ToBgrAvx512);
}

int32_t convertBGRAToBGR(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep,
                         int32_t width, int32_t height) {
    bgraToBgrTable().current()(src, srcStep, dst, dstStep, width, height);
    return 0;
}

int32_t convertBGRToBGRA(const uint8_t* src, int32_t srcStep, uint8_t* dst, int32_t dstStep,
                         int32_t width, int32_t height) {
    bgrToBgraTable().current()(src, srcStep, dst, dstStep, width, height);
    return 0;
}

int32_t convertBGR555ToBGR(const uint8_t* src, uint8_t* dst, int32_t srcStep, int32_t dstStep,
                           int32_t width, int32_t height) {
    bgr555ToBgrTable().current()(src, srcStep, dst, dstStep, width, height);
    return 0;
}

int32_t convertBGR565ToBGR(const uint8_t* src, uint8_t* dst, int32_t srcStep, int32_t dstStep,
                           int32_t width, int32_t height) {
    bgr565ToBgrTable().current()(src, srcStep, dst, dstStep, width, height);
    return 0;
}

// A group of 12 bytes holds 8 pixels: chroma bytes at 0, 2, 4, 6, luma at 1,
// 3, 5, 7 and 8 to 11.
namespace {
constexpr int kGroupLuma[8] = {1, 3, 5, 7, 8, 9, 10, 11};
}

int32_t convertY41PToI420(const int32_t dstStep[3], uint8_t* const dst[3], const uint8_t* src,
                          int32_t srcStep, int32_t width, int32_t height) {
    const int32_t groups = width / 8;
    for (int32_t r = 0; r < height; ++r) {
        const uint8_t* s = rowOf(src, srcStep, r);
        uint8_t* y = rowOf(dst[0], dstStep[0], r);
        // Of two rows only the first gives chroma, each sample doubled across.
        uint8_t* cb = r % 2 == 0 ? rowOf(dst[1], dstStep[1], r / 2) : nullptr;
        uint8_t* cr = r % 2 == 0 ? rowOf(dst[2], dstStep[2], r / 2) : nullptr;
        for (int32_t g = 0; g < groups; ++g, s += 12) {
            for (int i = 0; i < 8; ++i) y[8 * g + i] = s[kGroupLuma[i]];
            if (cb == nullptr) continue;
            const uint8_t cbValues[4] = {s[0], s[0], s[4], s[4]};
            const uint8_t crValues[4] = {s[2], s[2], s[6], s[6]};
            std::memcpy(cb + 4 * g, cbValues, 4);
            std::memcpy(cr + 4 * g, crValues, 4);
        }
    }
    return 0;
}

// Called with the plane array crossed (plane 0, plane 2, plane 1): entry 1
// goes to the first chroma byte of a group. Back and forth, a picture has its
// chroma exchanged; that asymmetry is kept.
int32_t convertI420ToY41P(const int32_t srcStep[3], const uint8_t* const src[3], uint8_t* dst,
                          int32_t dstStep, int32_t width, int32_t height) {
    const int32_t groups = width / 8;
    for (int32_t r = 0; r < height; ++r) {
        const uint8_t* y = rowOf(src[0], srcStep[0], r);
        const uint8_t* a = rowOf(src[1], srcStep[1], r / 2);
        const uint8_t* b = rowOf(src[2], srcStep[2], r / 2);
        uint8_t* d = rowOf(dst, dstStep, r);
        for (int32_t g = 0; g < groups; ++g, d += 12) {
            for (int i = 0; i < 8; ++i) d[kGroupLuma[i]] = y[8 * g + i];
            d[0] = a[4 * g];
            d[2] = b[4 * g];
            d[4] = a[4 * g + 2];
            d[6] = b[4 * g + 2];
        }
    }
    return 0;
}

int32_t convertY411ToI420(const int32_t dstStep[3], uint8_t* const dst[3],
                          const uint8_t* const src[3], const int32_t srcStep[3], int32_t width,
                          int32_t height) {
    const IppStatus copied = ippiCopy_8u_C1R(src[0], srcStep[0], dst[0], dstStep[0], width, height);
    if (copied != ippStsNoErr) return copied;
    if (height < 1) return 0;
    // Chroma of the even rows, widened to twice its width: every second
    // sample is the mean of its neighbours, the last pair repeats.
    const int32_t q = width / 4;
    const int32_t last = q > 0 ? q - 1 : 0;
    const int32_t rowPairs = (height - 1) / 2 + 1;
    for (int32_t i = 0; i < rowPairs; ++i) {
        for (int plane = 1; plane <= 2; ++plane) {
            const uint8_t* s = rowOf(src[plane], srcStep[plane], 2 * i);
            uint8_t* d = rowOf(dst[plane], dstStep[plane], i);
            for (int32_t j = 0; j + 1 < q; ++j) {
                d[2 * j] = s[j];
                d[2 * j + 1] = uint8_t((s[j] + s[j + 1]) / 2);
            }
            d[2 * last] = d[2 * last + 1] = s[last];
        }
    }
    return 0;
}

}  // namespace morva
