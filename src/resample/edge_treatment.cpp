// Edge treatment. The frame is written in a fixed order: the row above with
// its two corners, the row below with its corners, the column left, the
// column right. Nothing else is written, and no sample is read outside the
// rectangle and its frame. A side whose edge was clipped to the target
// region ends on a whole pixel, so its coverage is 0 and its frame, which
// would lie outside the region, is left alone.
//
// One pixel wide, the frame costs next to nothing beside the resize, so the
// routines have a scalar form only.
#include "resample/edge_treatment.h"

#include <cmath>

#include "resample/resize_common.h"

namespace morva {
namespace {

double fraction(double v) { return v - std::trunc(v); }

template <class T, int Channels>
class Frame {
public:
    Frame(uint8_t* dst, int32_t dstStep) : dst_(dst), step_(dstStep) {}

    T* at(int32_t y, int32_t x) const {
        return reinterpret_cast<T*>(dst_ + ptrdiff_t(y) * step_) + ptrdiff_t(x) * Channels;
    }

private:
    uint8_t* dst_;
    int32_t step_;
};

template <EdgeKind Kind, class T, int Channels>
void treatEdges(uint8_t* dst, int32_t dstStep, int32_t width, int32_t height, double left,
                double right, double top, double bottom) {
    constexpr int32_t kMax = sizeof(T) == 1 ? 255 : 65535;
    const EdgeCoverage cover = edgeCoverage(left, right, top, bottom);
    const Frame<T, Channels> frame(dst, dstStep);
    // Frame pixel (y, x) from edge pixel (ey, ex), every sample alike.
    const auto apply = [&](int32_t y, int32_t x, int32_t ey, int32_t ex, float c) {
        T* f = frame.at(y, x);
        const T* e = frame.at(ey, ex);
        for (int s = 0; s < Channels; ++s) {
            const int32_t v = Kind == EdgeKind::Smooth ? edgeSmooth(e[s], f[s], c, kMax)
                                                       : edgeSubpixel(e[s], c, kMax);
            f[s] = static_cast<T>(v);
        }
    };
    // A row of the frame (y = -1 or height) from row ey, with its corners.
    const auto frameRow = [&](int32_t y, int32_t ey, double rowCover) {
        for (int32_t x = 0; x < width; ++x) apply(y, x, ey, x, float(rowCover));
        if (cover.left != 0.0) apply(y, -1, ey, 0, float(cover.left * rowCover));
        if (cover.right != 0.0) apply(y, width, ey, width - 1, float(rowCover * cover.right));
    };
    if (cover.top != 0.0) frameRow(-1, 0, cover.top);
    if (cover.bottom != 0.0) frameRow(height, height - 1, cover.bottom);
    if (cover.left != 0.0)
        for (int32_t y = 0; y < height; ++y) apply(y, -1, y, 0, float(cover.left));
    if (cover.right != 0.0)
        for (int32_t y = 0; y < height; ++y) apply(y, width, y, width - 1, float(cover.right));
}

template <EdgeKind Kind, class T>
EdgeTreatmentFn byChannels(int32_t nChannels) {
    switch (nChannels) {
    case 1:
        return &treatEdges<Kind, T, 1>;
    case 3:
        return &treatEdges<Kind, T, 3>;
    case 4:
        return &treatEdges<Kind, T, 4>;
    default:
        return nullptr;
    }
}

template <EdgeKind Kind>
EdgeTreatmentFn byDepth(int32_t depth, int32_t nChannels) {
    if (depth == 0) return byChannels<Kind, uint8_t>(nChannels);
    if (depth == 1) return byChannels<Kind, uint16_t>(nChannels);
    return nullptr;
}

}  // namespace

EdgeCoverage edgeCoverage(double left, double right, double top, double bottom) {
    EdgeCoverage c;
    const double fTop = fraction(top), fLeft = fraction(left);
    const double fBottom = fraction(bottom), fRight = fraction(right);
    c.top = fTop > 1e-10 ? 1.0 - fTop : 0.0;
    c.left = fLeft > 1e-10 ? 1.0 - fLeft : 0.0;
    c.bottom = 1e-10 + fBottom < 1.0 ? fBottom : 0.0;
    c.right = 1e-10 + fRight < 1.0 ? fRight : 0.0;
    return c;
}

// float32(E - F) * c + float32(F) in float32, then + 0.5000001 in float64.
int32_t edgeSmooth(int32_t edge, int32_t frame, float c, int32_t maxValue) {
    const float v = float(edge - frame) * c + float(frame);
    return clampSample(truncToInt32(double(v) + 0.5000001), maxValue);
}

int32_t edgeSubpixel(int32_t edge, float c, int32_t maxValue) {
    const float v = float(edge) * c;
    return clampSample(truncToInt32(double(v) + 0.5000001), maxValue);
}

EdgeTreatmentFn edgeTreatmentRoutine(EdgeKind kind, int32_t depth, int32_t nChannels) {
    return kind == EdgeKind::Smooth ? byDepth<EdgeKind::Smooth>(depth, nChannels)
                                    : byDepth<EdgeKind::Subpixel>(depth, nChannels);
}

}  // namespace morva
