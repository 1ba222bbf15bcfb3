// The one way into colour conversion: from one image into another of the same
// size and any format, directly or in two legs through a temporary image.
#pragma once

#include "image/image_rows.h"
#include "kernels/scratch.h"
#include "morva.h"

namespace morva {

bool convertColorSpace(const TImage* source, TImage* destination);

// How convertColorSpace takes a pair of formats at one size: directly, in
// two legs through a temporary image, or not at all.
struct ConversionRoute {
    int32_t sourceFormat = -1;
    int32_t destinationFormat = -1;
    bool converts = false;      // false: the destination keeps what it held
    bool viaTemporary = false;  // the temporary image is allocated, whether or not it converts
    int32_t temporaryFormat = -1;
    // Bands of rows starting on multiples of rowStep convert to the bytes of
    // one whole run: no routine reads rows beyond its own row pairs.
    bool convertsInBands = true;
    int32_t rowStep = 2;
    // Every pixel of the destination's planes is written; otherwise the rows
    // keep what they held where a routine leaves some.
    bool writesEveryPixel = true;
    // Where the destination's rows lie in memory decides the result.
    bool dependsOnAlignment = false;
    // The source's buffer is copied as it stands, read by the destination's
    // plane layout: as the whole route, or as its first leg.
    bool copiesBuffer = false;
    bool readsSourceBuffer = false;
};

// The route for images of width by height; what convertColorSpace does
// without the trace.
ConversionRoute findConversionRoute(int32_t sourceFormat, int32_t destinationFormat,
                                    int32_t width, int32_t height);

// Rows of source converted into the same rows of destination, whose whole
// image has the source's size, as convertColorSpace converts them in the
// whole image, for a route that converts in bands. The temporary image's
// rows are held in temporary. False, with nothing written, where the route
// doesn't convert or temporary can't be had.
bool convertRows(const ConversionRoute& route, const TImage& source,
                 const ImageRows& destination, ScratchBuffer& temporary);

// The same from rows of a source held apart from it, over the same rows of
// the whole image. A route that reads the source's buffer needs the rows of
// a whole image in place.
bool convertRows(const ConversionRoute& route, const ImageRows& source,
                 const ImageRows& destination, ScratchBuffer& temporary);

// Internal steps, exposed for tests.
bool convertColorSpaceWithTemoraryImage(const TImage* source, TImage* destination,
                                        int32_t temporaryFormat);
bool convertColorSpaceDirect(const TImage* source, TImage* destination);

}  // namespace morva
