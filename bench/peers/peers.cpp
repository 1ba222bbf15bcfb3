#include "peers.h"

namespace morva::peers {

const std::vector<Peer>& allPeers() {
    static const std::vector<Peer> peers = {libyuvPeer(), opencvPeer(), swscalePeer()};
    return peers;
}

int64_t planeOffset(const TImage& image, int index, int32_t x, int32_t y) {
    const PlaneEntry& e = image.planeInfo->planes[index];
    return int64_t(y / e.subH) * e.stride + int64_t(x / e.subW) * e.channels * e.bytesPerChannel;
}

bool cellsHaveSourceSize(const GridJob& job) {
    for (size_t i = 0; i < job.sources.size(); ++i)
        if (job.placements[i].width != job.sources[i]->width ||
            job.placements[i].height != job.sources[i]->height)
            return false;
    return true;
}

Contender gridContender(const GridJob& job, const char* peer, const std::string& call,
                        PlaceInCell place) {
    const ImagePtr target = allocateImage(job.targetWidth, job.targetHeight, FORMAT_RGB32);
    return {peer, call,
            [target, place, sources = job.sources, cells = job.placements] {
                for (size_t i = 0; i < sources.size(); ++i) place(*sources[i], *target, cells[i]);
            },
            target};
}

}  // namespace morva::peers
