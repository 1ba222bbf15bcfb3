// Vector forms of the nearest neighbour row lookup, defined under x86/.
#pragma once

#include "kernels/cpu.h"
#include "resample/nearest.h"

namespace morva {

// Entries from .. to - 1 of an axis of count entries, by the scalar definition.
void nearestAxisEntries(int32_t* table, int32_t from, int32_t to, int32_t count, int32_t first, double scale,
                        double offset, int32_t length, int32_t multiplier);
template <class T, int Channels>
void nearestRowScalar(const T* srcRow, int32_t srcWidth, const int32_t* columns, T* dst, int32_t width);
template <class T, int Channels>
void nearestEveryOtherScalar(const T* src, T* dst, int32_t width);
template <class T, int Channels>
void nearestTwiceScalar(const T* src, T* dst, int32_t width, int32_t phase);

#if MORVA_X86_64
NearestRow<uint8_t> nearestRow8uC3Sse2, nearestRow8uC4Sse2;
NearestRow<uint16_t> nearestRow16uC3Sse2, nearestRow16uC4Sse2;
NearestRow<uint8_t> nearestRow8uC1Avx512, nearestRow8uC4Avx512;
NearestAxis nearestAxisAvx512;
// Pixels of 1, 2 and 4 bytes: 8u and 16u one channel, 8u four channels.
NearestEveryOther<uint8_t> nearestEveryOther8uC1Sse2, nearestEveryOther8uC1Avx2, nearestEveryOther8uC1Avx512;
NearestEveryOther<uint8_t> nearestEveryOther8uC4Sse2, nearestEveryOther8uC4Avx2, nearestEveryOther8uC4Avx512;
NearestEveryOther<uint16_t> nearestEveryOther16uC1Sse2, nearestEveryOther16uC1Avx2, nearestEveryOther16uC1Avx512;
NearestTwice<uint8_t> nearestTwice8uC1Sse2, nearestTwice8uC1Avx2, nearestTwice8uC1Avx512;
NearestTwice<uint8_t> nearestTwice8uC4Sse2, nearestTwice8uC4Avx2, nearestTwice8uC4Avx512;
NearestTwice<uint16_t> nearestTwice16uC1Sse2, nearestTwice16uC1Avx2, nearestTwice16uC1Avx512;
#endif

}  // namespace morva
