// The libraries morva is measured against. For each kind of job a peer gives
// the calls that do the same kind of work, each writing into an image of its
// own: none where it has no such call, several where it is not clear which
// is fastest (the report keeps the fastest).
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "frames.h"
#include "rows.h"

namespace morva::peers {

// The source converted, at its size, into targetFormat.
struct ConvertJob {
    ImagePtr source;
    int32_t targetFormat;
};

// The whole source resized into region of a target image of the source's
// format and the given size.
struct ResizeJob {
    ImagePtr source;
    int32_t targetWidth, targetHeight;
    Rect region;
    Method method;
};

// Sources of one format and size, each resized into its placement of a BGRA
// target and converted.
struct GridJob {
    std::vector<ImagePtr> sources;
    int32_t targetWidth, targetHeight;
    std::vector<Rect> placements;
    Method method;
};

// Whether every cell has its source's size: the grid only converts.
bool cellsHaveSourceSize(const GridJob& job);

// One peer's way through a grid: a BGRA target of its own, and place() called
// for each source with its cell.
using PlaceInCell = std::function<void(const TImage& source, TImage& target, const Rect& cell)>;
Contender gridContender(const GridJob& job, const char* peer, const std::string& call,
                        PlaceInCell place);

struct Peer {
    const char* name;
    std::string (*version)();
    std::vector<Contender> (*convert)(const ConvertJob&);
    std::vector<Contender> (*resize)(const ResizeJob&);
    std::vector<Contender> (*grid)(const GridJob&);
};

// libyuv, OpenCV (core and imgproc, one thread) and swscale (one thread).
const std::vector<Peer>& allPeers();

Peer libyuvPeer();
Peer opencvPeer();
Peer swscalePeer();

template <class Job>
using PeerCall = std::vector<Contender> (*)(const Job&);

// What every peer offers for a job, one after the other.
template <class Job>
std::vector<Contender> askPeers(PeerCall<Job> Peer::*call, const Job& job) {
    std::vector<Contender> all;
    for (const Peer& peer : allPeers())
        for (Contender& c : (peer.*call)(job)) all.push_back(std::move(c));
    return all;
}

// Plane pointers and strides, for the peers' calls.
inline uint8_t* planeData(const TImage& image, int index) {
    return image.planeInfo->planes[index].data;
}
inline int planeStride(const TImage& image, int index) {
    return image.planeInfo->planes[index].stride;
}

// Byte offset of pixel (x, y) of region in a plane.
int64_t planeOffset(const TImage& image, int index, int32_t x, int32_t y);

}  // namespace morva::peers
