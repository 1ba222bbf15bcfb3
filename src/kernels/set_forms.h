// Internal view of the set family: one body signature and its forms.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kernels/dispatch.h"

namespace morva {

// Fills `rows` rows of rowBytes bytes, dstStep apart, with the pixel at
// `pixel` (1 to 4 bytes, by the table); nonTemporal asks for streaming stores.
using SetRowsFn = void (*)(uint8_t* dst, ptrdiff_t dstStep, size_t rowBytes, int32_t rows,
                           const uint8_t* pixel, bool nonTemporal);

// Planes above this many bytes consider non-temporal stores.
constexpr int64_t kSetStreamGate = 0x80000;

const KernelTable<SetRowsFn>& setC1Table();
const KernelTable<SetRowsFn>& set16uTable();
const KernelTable<SetRowsFn>& setC3Table();
const KernelTable<SetRowsFn>& setC4Table();

#if MORVA_X86_64
// Each instantiated for pixels of 1, 2, 3 and 4 bytes.
template <int PixelBytes>
void setSse2(uint8_t* dst, ptrdiff_t dstStep, size_t rowBytes, int32_t rows, const uint8_t* pixel,
             bool nonTemporal);
template <int PixelBytes>
void setAvx2(uint8_t* dst, ptrdiff_t dstStep, size_t rowBytes, int32_t rows, const uint8_t* pixel,
             bool nonTemporal);
#endif

}  // namespace morva
