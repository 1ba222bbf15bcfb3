// Lanczos benchmarks: whole 1920x1080 frames (grey, BGRA) to 1280x720 and
// 3840x2160 at the lowest and highest processor slot, and the row kernels and
// blends per form. Items are target pixels.
#include "resample/lanczos.h"
#include "tap_filter_bench_util.h"

namespace morva::bench {
namespace {

const bool registered = [] {
    tap_filter::registerWholeFrames("lanczos", INTER_LANCZOS);
    tap_filter::registerKernels<6>("lanczos", &lanczosRow8uTable, lanczosBlend8uTable(),
                                   lanczosBlend16uTable(), &ownLanczosCoefficients);
    return true;
}();

}  // namespace
}  // namespace morva::bench
