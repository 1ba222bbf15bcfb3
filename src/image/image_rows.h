// Bands of rows of an image: in place, or held apart from it in a work
// buffer laid out as the image's own planes.
#pragma once

#include <cstdint>

#include "morva.h"

namespace morva {

// Rows [firstRow, firstRow + rows) of an image whose format, sizes and plane
// layout `whole` gives (its data is not used). planes[i] is the band's first
// row of plane i; rows keep the whole image's stride. Image rows map to plane
// rows by the plane's subsampling, so bands start on multiples of it.
struct ImageRows {
    const TImage* whole = nullptr;
    int32_t firstRow = 0;
    int32_t rows = 0;
    uint8_t* planes[4] = {};
};

// The first plane row of image row `row`, and the plane rows of image rows
// [firstRow, endRow): an odd last row of a subsampled plane counts.
int32_t planeRowOf(const PlaneEntry& plane, int32_t row);
int32_t planeRowsOf(const PlaneEntry& plane, int32_t firstRow, int32_t endRow);

// The largest vertical subsampling of a format's planes; 1 for an unknown one.
int32_t rowsPerBandStep(int32_t format);

// Rows of an image where they stand.
ImageRows rowsOf(const TImage& image, int32_t firstRow, int32_t rows);

// Rows [firstRow, endRow) of a band, which holds them.
ImageRows rowsWithin(const ImageRows& band, int32_t firstRow, int32_t endRow);

// A record that the router and the kernels take for the band: the whole
// image's width and format, the band's rows as its height, its planes.
// `info` holds the plane entries and must outlive the record.
TImage viewOf(const ImageRows& band, PlaneInfo& info);

// Bands held in a work block. Each plane gets its own stretch of the block,
// and each row lies at the same offset from a 32-byte boundary as it would
// in a whole image from ippsMalloc_8u: kernels that choose a path by the
// alignment of their rows choose the same one as over the whole image.
class BandLayout {
public:
    // Room for bands of up to maxRows image rows of images laid out as whole.
    BandLayout(const TImage& whole, int32_t maxRows);
    int64_t bytes() const { return bytes_; }
    // Rows [firstRow, firstRow + rows) placed in block, which holds bytes().
    ImageRows place(uint8_t* block, int32_t firstRow, int32_t rows) const;

private:
    const TImage* whole_;
    int64_t planeStart_[4] = {};
    int64_t bytes_ = 0;
};

// Sets every byte of the band's rows, padding included, to 0.
void clearRows(const ImageRows& band);

// Moves the rows of `from` that `to` also covers to their places in `to`;
// both are placements in one block, `to` starting at or below `from`'s first
// row.
void moveRows(const ImageRows& from, const ImageRows& to);

}  // namespace morva
