// Reading a trace log back: its lines and their fields.
#pragma once

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace morva::testing {

struct TraceLine {
    int sequence;
    std::string threadId, time, indentation, text;
};

// Splits the log at its line feeds; a line keeps its carriage returns.
inline std::vector<TraceLine> readTraceLog(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream all;
    all << in.rdbuf();
    const std::string content = all.str();
    static const std::regex shape(R"((\d{5}) ([0-9a-f]{8}) (\d\d:\d\d:\d\d) ((?:\| )*)([\s\S]*))");
    std::vector<TraceLine> lines;
    size_t start = 0;
    while (start < content.size()) {
        size_t end = content.find('\n', start);
        if (end == std::string::npos) end = content.size() - 1;
        const std::string line = content.substr(start, end - start + 1);
        std::smatch m;
        if (std::regex_match(line, m, shape))
            lines.push_back({std::stoi(m[1]), m[2], m[3], m[4], m[5]});
        else
            lines.push_back({-1, "", "", "", line});
        start = end + 1;
    }
    return lines;
}

// The log name's pattern for a library file name without extension.
inline bool isLogNameOf(const std::string& fileName, const std::string& library) {
    const std::regex shape(R"(\d{4}\.\d\d\.\d\d,\d\d-\d\d-\d\d )" + library + R"(\.log)");
    return std::regex_match(fileName, shape);
}

}  // namespace morva::testing
