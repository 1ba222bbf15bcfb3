// Memory kernels: aligned allocation, byte copy and clear, row-wise plane copy.
#pragma once

#include <cstdint>

#include "kernels/status.h"

namespace morva {

// Aligned blocks: the address is a multiple of 32; release with ippsFree only.
uint8_t* ippsMalloc_8u(int32_t len);
int16_t* ippsMalloc_16s(int32_t len);  // len in elements
int32_t* ippsMalloc_32s(int32_t len);  // len in elements
void ippsFree(void* ptr);

IppStatus ippsCopy_8u(const uint8_t* pSrc, uint8_t* pDst, int32_t len);
IppStatus ippsZero_8u(uint8_t* pDst, int32_t len);
IppStatus ippiCopy_8u_C1R(const uint8_t* pSrc, int32_t srcStep, uint8_t* pDst, int32_t dstStep,
                          int32_t width, int32_t height);

// Copies one row of n bytes; nonTemporal asks for streaming stores.
void ownCopyRow(const uint8_t* src, uint8_t* dst, int32_t n, bool nonTemporal);

}  // namespace morva
