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

// Splits the log at its line feeds; a line keeps its carriage returns. A line
// of another shape has sequence -1 and all of it as text.
inline std::vector<TraceLine> readTraceLog(const std::filesystem::path& path) {
    std::stringstream all;
    all << std::ifstream(path, std::ios::binary).rdbuf();
    static const std::regex shape(R"((\d{5}) ([0-9a-f]{8}) (\d\d:\d\d:\d\d) ((?:\| )*)([\s\S]*))");
    std::vector<TraceLine> lines;
    std::string line;
    while (std::getline(all, line)) {
        if (!all.eof()) line += '\n';
        std::smatch m;
        lines.push_back(std::regex_match(line, m, shape) ? TraceLine{std::stoi(m[1]), m[2], m[3], m[4], m[5]}
                                                          : TraceLine{-1, "", "", "", line});
    }
    return lines;
}

// The log name's pattern for a library file name without extension.
inline bool isLogNameOf(const std::string& fileName, const std::string& library) {
    return std::regex_match(fileName, std::regex(R"(\d{4}\.\d\d\.\d\d,\d\d-\d\d-\d\d )" + library + R"(\.log)"));
}

}  // namespace morva::testing
