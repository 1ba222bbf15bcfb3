// The library's results for calls the Python tests also make through the
// package, computed as a C++ caller would: images made by the library from
// bytes in its layout, one exported call, the bytes written out.
//
//   reference OUT convert FORMAT TO WIDTH HEIGHT IN
//   reference OUT resize FORMAT WIDTH HEIGHT TO_WIDTH TO_HEIGHT INTERPOLATION SCALE_MODE IN
//   reference OUT clear FORMAT WIDTH HEIGHT RED GREEN BLUE ALPHA
//   reference OUT compose FORMAT WIDTH HEIGHT LAYOUT [FORMAT WIDTH HEIGHT INTERPOLATION SCALE_MODE IN]...
//
// Exit status 0 when the call returned true, 3 when it returned false.
#include <morva.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace {

struct ImageDeleter {
    void operator()(TImage* image) const { morvaFreeImage(image); }
};
using ImagePtr = std::unique_ptr<TImage, ImageDeleter>;

int number(const char* text) { return std::atoi(text); }

ImagePtr image(int format, int width, int height, const char* path) {
    std::vector<uint8_t> bytes;
    if (path) {
        std::ifstream in(path, std::ios::binary);
        bytes.assign(std::istreambuf_iterator<char>(in), {});
    }
    ImagePtr made(morvaAllocateImage("reference", width, -height, format, nullptr, 0));
    if (!made || (path && bytes.size() != size_t(made->size))) {
        std::fprintf(stderr, "reference: no image of %dx%d in format %d from %s\n", width, height, format,
                     path ? path : "nothing");
        std::exit(2);
    }
    if (path) morvaUpdateImage(made.get(), bytes.data());
    return made;
}

int usage() {
    std::fprintf(stderr, "reference: unknown call; see the comment at the top of reference.cpp\n");
    return 2;
}

int finish(bool result, const TImage& output, const char* path) {
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(output.data), output.size);
    return result ? 0 : 3;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) return usage();
    const char* out = argv[1];
    const std::string call = argv[2];
    char** a = argv + 2;  // a[0] is the call, a[1] its first argument
    const int n = argc - 2;
    if (call == "convert" && n == 6) {
        const ImagePtr source = image(number(a[1]), number(a[3]), number(a[4]), a[5]);
        const ImagePtr target = image(number(a[2]), number(a[3]), number(a[4]), nullptr);
        return finish(morvaCopyImage(source.get(), target.get(), INTER_NN, 0), *target, out);
    }
    if (call == "resize" && n == 9) {
        const ImagePtr source = image(number(a[1]), number(a[2]), number(a[3]), a[8]);
        const ImagePtr target = image(number(a[1]), number(a[4]), number(a[5]), nullptr);
        return finish(morvaCopyImage(source.get(), target.get(), number(a[6]), number(a[7])), *target, out);
    }
    if (call == "clear" && n == 8) {
        const ImagePtr target = image(number(a[1]), number(a[2]), number(a[3]), nullptr);
        const bool done = morvaClearImage(target.get(), uint8_t(number(a[4])), uint8_t(number(a[5])),
                                          uint8_t(number(a[6])), uint8_t(number(a[7])));
        return finish(done, *target, out);
    }
    if (call == "compose" && n >= 5 && (n - 5) % 6 == 0) {
        const ImagePtr target = image(number(a[1]), number(a[2]), number(a[3]), nullptr);
        std::vector<ImagePtr> sources;
        std::vector<TImage*> pointers;
        for (int at = 5; at < n; at += 6) {
            sources.push_back(image(number(a[at]), number(a[at + 1]), number(a[at + 2]), a[at + 5]));
            morvaSetAttributes(sources.back().get(), number(a[at + 3]), number(a[at + 4]));
            pointers.push_back(sources.back().get());
        }
        morvaSetLayout("reference", a[4]);
        const bool done = morvaRender("reference", target.get(), pointers.data(), int32_t(pointers.size())) &&
                          morvaRenderFinalize(target.get());
        return finish(done, *target, out);
    }
    return usage();
}
