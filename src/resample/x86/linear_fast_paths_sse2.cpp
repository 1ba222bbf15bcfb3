// SSE2 forms of the linear fast paths.
#include "resample/x86/linear_fast_paths_lanes.h"

#if MORVA_X86_64
namespace morva {

void linearBox8uC1Sse2(const uint8_t* upper, const uint8_t* lower, uint8_t* dst, int32_t width) {
    linearBox8uC1<Sse2Lanes>(upper, lower, dst, width);
}

void linearDouble8uC1Sse2(const uint8_t* upper, const uint8_t* lower, int32_t rowQuarters, int32_t firstQuarters,
                         uint8_t* dst, int32_t width) {
    linearDouble8uC1<Sse2Lanes>(upper, lower, rowQuarters, firstQuarters, dst, width);
}

void linearVertical8uSse2(const uint8_t* upper, const uint8_t* lower, uint8_t* dst, int32_t count, int32_t fraction) {
    linearVertical8u<Sse2Lanes>(upper, lower, dst, count, fraction);
}

void linearBox16uC1Sse2(const uint16_t* upper, const uint16_t* lower, uint16_t* dst, int32_t width) {
    linearBox16uC1<Sse2Lanes32>(upper, lower, dst, width);
}

void linearDouble16uC1Sse2(const uint16_t* upper, const uint16_t* lower, int32_t rowQuarters, int32_t firstQuarters,
                          uint16_t* dst, int32_t width) {
    linearDouble16uC1<Sse2Lanes32>(upper, lower, rowQuarters, firstQuarters, dst, width);
}

}  // namespace morva
#endif
