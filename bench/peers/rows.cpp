#include "rows.h"

#include <cctype>

#include "morva.h"

namespace morva::peers {

const char* methodName(Method method) {
    switch (method) {
    case Method::Nearest: return "nearest";
    case Method::Linear: return "linear";
    case Method::Cubic: return "cubic";
    case Method::Lanczos: return "Lanczos";
    case Method::Super: return "super-sampling";
    }
    return "?";
}

int32_t morvaInterpolation(Method method) {
    switch (method) {
    case Method::Nearest: return INTER_NN;
    case Method::Linear: return INTER_LINEAR;
    case Method::Cubic: return INTER_CUBIC;
    case Method::Lanczos: return INTER_LANCZOS;
    case Method::Super: return INTER_SUPER;
    }
    return INTER_NN;
}

std::string rowId(std::initializer_list<std::string> parts) {
    std::string id;
    for (const std::string& part : parts) id += (id.empty() ? "" : "-") + part;
    for (char& c : id) c = char(std::tolower(static_cast<unsigned char>(c)));
    return id;
}

std::string sizeText(int32_t width, int32_t height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

std::string imageSizeText(int32_t width, int32_t height) {
    const int32_t held = (width + 3) & ~3;
    const std::string asked = sizeText(width, height);
    return held == width ? asked : asked + " (held " + sizeText(held, height) + ")";
}

}  // namespace morva::peers
