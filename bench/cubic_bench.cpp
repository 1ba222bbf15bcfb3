// Cubic benchmarks: whole 1920x1080 frames (grey, BGRA) to 1280x720 and
// 3840x2160 by each cubic id at the lowest and highest processor slot, and
// the row kernels and blends per form. Items are target pixels.
#include "resample/cubic.h"
#include "tap_filter_bench_util.h"

namespace morva::bench {
namespace {

void catmullRomCoefficients(float f, float* c) { cubicCoefficients(INTER_CUBIC_CATMULLROM, f, c); }

const bool registered = [] {
    tap_filter::registerWholeFrames("cubic", INTER_CUBIC);
    tap_filter::registerWholeFrames("bspline", INTER_CUBIC_BSPLINE);
    tap_filter::registerWholeFrames("catmullrom", INTER_CUBIC_CATMULLROM);
    tap_filter::registerWholeFrames("b05c03", INTER_CUBIC_B05C03);
    tap_filter::registerKernels<4>("cubic", &cubicRow8uTable, cubicBlend8uTable(),
                                   cubicBlend16uTable(), &catmullRomCoefficients);
    return true;
}();

}  // namespace
}  // namespace morva::bench
