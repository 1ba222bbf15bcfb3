#include "resample/resize_work_size.h"

#include <algorithm>

#include "morva.h"
#include "resample/antialias.h"
#include "resample/resize.h"
#include "resample/resize_general.h"
#include "resample/super_sampling.h"

namespace morva {

int64_t resizeWorkSize(IppiSize srcSize, IppiRect srcRoi, IppiRect dstRoi, int32_t channels,
                       double xFactor, double yFactor, double xShift, double yShift,
                       int32_t interpolation) {
    int32_t query = 0;
    const IppStatus status = ippiResizeGetBufSize(srcRoi, dstRoi, channels, interpolation, &query);
    if (status != ippStsNoErr && status != ippStsNoAntialiasing) return 0;

    // The geometry as the kernel works it out; the check reads no pixel.
    static const uint8_t anyPixel = 0;
    ResizeGeometry g;
    if (ownResizeCheck(&anyPixel, srcSize, srcRoi, &anyPixel, dstRoi, xFactor, yFactor, xShift,
                       yShift, interpolation, &anyPixel, &g) != ippStsNoErr)
        return query;
    const ResizeArgs args = argsFromGeometry(g, srcSize, channels);

    int64_t need = 0;
    const bool noAntialiasVariant = g.interpolation == INTER_NN || g.interpolation == INTER_SUPER;
    if (g.antialiasing && !noAntialiasVariant)
        need = antialiasWorkSize(args);
    else if (g.interpolation == INTER_SUPER)
        need = superSamplingWorkSize(args);
    return std::max<int64_t>(query, need);
}

}  // namespace morva
