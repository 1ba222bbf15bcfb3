// Runs a fuzz target over files without the fuzzer: every file named, and
// every file in each directory named. The suite replays the committed corpus
// this way with any compiler, so a fixed finding stays fixed.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

namespace fs = std::filesystem;

void replay(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<fs::path> files;
    for (int i = 1; i < argc; ++i) {
        if (!fs::is_directory(argv[i])) {
            files.emplace_back(argv[i]);
            continue;
        }
        for (const fs::directory_entry& entry : fs::directory_iterator(argv[i]))
            if (entry.is_regular_file()) files.push_back(entry.path());
    }
    if (files.empty()) {
        std::fprintf(stderr, "no input files\n");
        return 1;
    }
    std::sort(files.begin(), files.end());
    for (const fs::path& file : files) replay(file);
    std::printf("replayed %zu inputs\n", files.size());
    return 0;
}
