// AVX-512 forms of the one-channel cubic and Lanczos rows whose columns double
// the source (x86/tap_double_lanes.h).
#include "resample/cubic_forms.h"
#include "resample/lanczos_forms.h"
#include "resample/x86/tap_double_lanes.h"

#if MORVA_X86_64
namespace morva {

void cubicDoubleRow8uAvx512(const uint8_t* p, const int32_t* c, const float* k, float* out, int32_t width) {
    cubicDoublingRow<Avx512Floats>(p, c, k, out, width, &cubicRow8uC1Avx2);
}

void cubicDoubleRow16uAvx512(const uint16_t* p, const int32_t* c, const float* k, float* out, int32_t width) {
    cubicDoublingRow<Avx512Floats>(p, c, k, out, width, &cubicRow16uC1Sse2);
}

void lanczosDoubleRow8uAvx512(const uint8_t* p, const int32_t* c, const float* k, float* out, int32_t width) {
    lanczosDoublingRow<Avx512Floats>(p, c, k, out, width, &lanczosRow8uC1Avx2);
}

void lanczosDoubleRow16uAvx512(const uint16_t* p, const int32_t* c, const float* k, float* out, int32_t width) {
    lanczosDoublingRow<Avx512Floats>(p, c, k, out, width, &lanczosRow16uC1Sse2);
}

}  // namespace morva
#endif
