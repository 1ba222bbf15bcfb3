// Grid rows: I420 sources composed into a 1920x1080 BGRA target by
// morvaRender, each source fitted into its cell; the peers convert and scale
// each source into the same rectangles.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "peers.h"
#include "rows.h"

namespace morva::peers {
namespace {

constexpr int32_t kTargetWidth = 1920, kTargetHeight = 1080;

struct GridCase {
    int32_t rows, columns;
    int32_t sourceWidth, sourceHeight;
    Method method;
};

constexpr GridCase kGrids[] = {
    {2, 2, 960, 540, Method::Linear},   {2, 2, 960, 540, Method::Nearest},
    {2, 2, 1280, 720, Method::Linear},  {2, 2, 1280, 720, Method::Nearest},
    {2, 2, 1366, 768, Method::Linear},  {3, 3, 1920, 1080, Method::Linear},
    {3, 3, 320, 180, Method::Linear},   {3, 3, 320, 180, Method::Nearest},
    {4, 4, 640, 360, Method::Linear},   {4, 4, 160, 90, Method::Linear},
};

// Where the render puts source `index`: its cell, the source fitted into it
// at equal factors and centred, then x and y rounded up and width and height
// rounded down to multiples of 4.
Rect placement(const GridCase& g, int32_t index, int32_t sourceWidth, int32_t sourceHeight) {
    const int32_t cellWidth = kTargetWidth / g.columns, cellHeight = kTargetHeight / g.rows;
    const double s = std::min(double(cellWidth) / sourceWidth, double(cellHeight) / sourceHeight);
    const int32_t width = int32_t(sourceWidth * s), height = int32_t(sourceHeight * s);
    const int32_t x = cellWidth * (index % g.columns) + (cellWidth - width) / 2;
    const int32_t y = cellHeight * (index / g.columns) + (cellHeight - height) / 2;
    return {(x + 3) & ~3, (y + 3) & ~3, width & ~3, height & ~3};
}

std::string scaleText(const GridCase& g, int32_t sourceWidth, int32_t sourceHeight) {
    const Rect cell = placement(g, 0, sourceWidth, sourceHeight);
    if (cell.width == sourceWidth && cell.height == sourceHeight) return "cells 1:1";
    const double s = double(cell.width) / sourceWidth;
    char text[32];
    std::snprintf(text, sizeof text, "%s %.2f", s < 1.0 ? "down" : "up", s);
    return text;
}

// Separate sources with the same picture, as a grid of cameras would have.
std::vector<ImagePtr> gridSources(int32_t count, int32_t width, int32_t height) {
    const ImagePtr scene = sceneImage(width, height, FORMAT_I420);
    std::vector<ImagePtr> sources;
    for (int32_t i = 0; i < count; ++i) {
        ImagePtr source = allocateImage(width, height, FORMAT_I420);
        std::memcpy(source->data, scene->data, size_t(scene->size));
        sources.push_back(source);
    }
    return sources;
}

RowSetup setupGrid(const GridCase& g, const std::string& layoutName) {
    const int32_t count = g.rows * g.columns;
    const std::vector<ImagePtr> sources = gridSources(count, g.sourceWidth, g.sourceHeight);
    const TImage& first = *sources.front();
    GridJob job{sources, kTargetWidth, kTargetHeight, {}, g.method};
    for (int32_t i = 0; i < count; ++i) job.placements.push_back(placement(g, i, first.width, first.height));

    const std::string layout = "rows:" + std::to_string(g.rows) + ";columns:" + std::to_string(g.columns) + ";";
    morvaSetLayout(layoutName.c_str(), layout.c_str());
    auto pointers = std::make_shared<std::vector<TImage*>>();
    for (const ImagePtr& s : sources) {
        morvaSetAttributes(s.get(), morvaInterpolation(g.method), 1 /* fit */);
        pointers->push_back(s.get());
    }
    const ImagePtr target = allocateImage(kTargetWidth, kTargetHeight, FORMAT_RGB32);
    RowSetup setup;
    setup.morva = {"morva", "morvaRender",
                   [=, keep = sources] {
                       morvaRender(layoutName.c_str(), target.get(), pointers->data(), count);
                   },
                   target};
    setup.baselines = askPeers(&Peer::grid, job);
    setup.checkedRegion = wholeImage(*target);
    return setup;
}

}  // namespace

std::vector<RowPlan> gridRows() {
    std::vector<RowPlan> rows;
    for (const GridCase& g : kGrids) {
        const std::string shape = std::to_string(g.rows) + "x" + std::to_string(g.columns);
        // The library holds widths as multiples of 4.
        const int32_t width = (g.sourceWidth + 3) & ~3;
        rows.push_back({rowId({"grid", shape, sizeText(g.sourceWidth, g.sourceHeight),
                               methodName(g.method)}),
                        "grid",
                        shape + " grid of " + imageSizeText(g.sourceWidth, g.sourceHeight) +
                            " yuv420p into 1920x1080 bgra, " + scaleText(g, width, g.sourceHeight) +
                            ", " + methodName(g.method),
                        [g, shape] { return setupGrid(g, "peers-" + shape); }});
    }
    return rows;
}

}  // namespace morva::peers
