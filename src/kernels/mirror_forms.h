// Internal view of the mirror family: one body signature and its forms.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kernels/dispatch.h"

namespace morva {

// Mirrors a plane of width x height pixels in place; flip is 0 (rows), 1
// (columns) or 2 (both), and the plane is large enough for it.
using MirrorFn = void (*)(uint8_t* plane, ptrdiff_t step, int32_t width, int32_t height, int32_t flip);

const KernelTable<MirrorFn>& mirrorC1Table();
const KernelTable<MirrorFn>& mirrorC3Table();
const KernelTable<MirrorFn>& mirrorC4Table();

#if MORVA_X86_64
// Instantiated for pixels of 1, 3 and 4 bytes.
template <int PixelBytes>
void mirrorSse2(uint8_t* plane, ptrdiff_t step, int32_t width, int32_t height, int32_t flip);
void mirrorC3Ssse3(uint8_t* plane, ptrdiff_t step, int32_t width, int32_t height, int32_t flip);
#endif

}  // namespace morva
