// The rows of the comparison: one job each, done by morva and by every peer
// that has a call for the same kind of work.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include "frames.h"

namespace morva::peers {

// Who does a job, with which call, writing into which image.
struct Contender {
    std::string peer;  // "morva", "libyuv", "OpenCV", "swscale" or kMorvaWithoutAntialiasing
    std::string call;  // the function (and mode) that does the work
    std::function<void()> run;
    ImagePtr output;
};

inline constexpr const char* kMorvaWithoutAntialiasing = "morva, no AA";

// A row, made when it is run: the morva contender first, then those it is
// measured against.
struct RowSetup {
    Contender morva;
    std::vector<Contender> baselines;
    Rect checkedRegion;  // the part of each output the check compares
    // The conversion exchanges the chroma planes on this route, a settled
    // behaviour of the library; the check reads them crossed.
    bool morvaExchangesChroma = false;
};

struct RowPlan {
    std::string id;     // short and unique, for filters
    std::string group;  // grid, convert, resize, antialias
    std::string title;  // what is done, for the table
    std::function<RowSetup()> setup;
};

// Resampling methods that every library names in its own way.
enum class Method { Nearest, Linear, Cubic, Lanczos, Super };
const char* methodName(Method method);
int32_t morvaInterpolation(Method method);

// A row's id: the parts joined by "-", in lower case.
std::string rowId(std::initializer_list<std::string> parts);

// "1920x1080".
std::string sizeText(int32_t width, int32_t height);

// The size of an image asked for, and the size the library holds it at where
// that differs (widths are multiples of 4): "1366x768 (held 1368x768)".
std::string imageSizeText(int32_t width, int32_t height);

std::vector<RowPlan> gridRows();
std::vector<RowPlan> convertRows();
std::vector<RowPlan> resizeRows();
std::vector<RowPlan> antialiasRows();

}  // namespace morva::peers
