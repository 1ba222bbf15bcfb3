// The opening steps of the general path: target start, steps in samples, the
// column and row tables, then the interpolation family.
#include "resample/resize_general.h"

#include "resample/resize_common.h"

namespace morva {

IppStatus ownResizeGeneral(const ResizeArgs& args) {
    const ResizeFamily* family = findResizeFamily(args.interpolation);
    // The kernel body refuses ids without a family before it comes here.
    if (family == nullptr) return ippStsInterpolationErr;

    const ptrdiff_t sampleSize = args.depth == 0 ? 1 : 2;
    ResizeJob job;
    job.args = &args;
    job.dst = args.dst + ptrdiff_t(args.y0) * args.dstStep +
              ptrdiff_t(args.x0) * args.nChannels * sampleSize;
    // From here on steps count samples, for indexing a sample pointer.
    job.srcStep = args.depth == 0 ? args.srcStep : args.srcStep / 2;
    job.dstStep = args.depth == 0 ? args.dstStep : args.dstStep / 2;
    if (family->usesTables) {
        job.columns = alignUp<int32_t>(args.buffer, 16);
        job.rows = alignUp<int32_t>(job.columns + args.width, 16);
        job.freeSpace = reinterpret_cast<uint8_t*>(job.rows + args.height);
    } else {
        job.freeSpace = args.buffer;
    }
    return family->run(job);
}

ResizeArgs argsFromGeometry(const ResizeGeometry& g, IppiSize srcSize, int32_t channels) {
    ResizeArgs args;
    args.srcWidth = srcSize.width;
    args.srcHeight = srcSize.height;
    args.x0 = g.x0;
    args.y0 = g.y0;
    args.width = g.width;
    args.height = g.height;
    args.xScale = g.xScale;
    args.yScale = g.yScale;
    args.xOffset = g.xOffset;
    args.yOffset = g.yOffset;
    args.factorProduct = g.factorProduct;
    args.interpolation = g.interpolation;
    args.nChannels = channels;
    args.nProcessed = channels;
    return args;
}

}  // namespace morva
