// morva_peers: times morva beside libyuv, OpenCV and swscale on the same jobs,
// single thread and interleaved, and prints a markdown table of medians and
// ratios.
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
#include <string>

#include "kernels/cpu.h"
#include "kernels/dispatch.h"
#include "morva.h"
#include "peers.h"
#include "runner.h"

namespace morva::peers {
namespace {

constexpr const char* kUsage =
    "usage: morva_peers [options]\n"
    "  --filter TEXT[,TEXT...]  only rows whose id, group or case contains one of the texts\n"
    "  --rounds N               timed rounds (default 31)\n"
    "  --warmup N               untimed rounds first (default 2)\n"
    "  --json FILE              also write the results as JSON, for bench/peers/chart.py\n"
    "  --doc FILE               also put the table into FILE, between its two marker lines\n"
    "  --cpu-slot N             run morva's kernels at slot N or below (0 SSE2 .. 6 AVX-512)\n"
    "  --list                   list the rows and stop\n";

struct Options {
    std::string filter;
    std::string jsonPath;
    std::string docPath;
    TimingOptions timing;
    int cpuSlot = -1;
    bool list = false;
};

int positiveNumber(const char* text, int minimum) {
    char* end = nullptr;
    const long value = std::strtol(text, &end, 10);
    if (end == text || *end != '\0' || value < minimum || value > 100000)
        throw std::invalid_argument(std::string("not a fitting number: ") + text);
    return int(value);
}

Options parseOptions(int argc, char** argv) {
    Options o;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        auto value = [&]() -> const char* {
            if (i + 1 >= argc) throw std::invalid_argument(a + " needs a value");
            return argv[++i];
        };
        if (a == "--filter") o.filter = value();
        else if (a == "--rounds") o.timing.rounds = positiveNumber(value(), 1);
        else if (a == "--warmup") o.timing.warmupRounds = positiveNumber(value(), 0);
        else if (a == "--json") o.jsonPath = value();
        else if (a == "--doc") o.docPath = value();
        else if (a == "--cpu-slot") o.cpuSlot = positiveNumber(value(), 0);
        else if (a == "--list") o.list = true;
        else throw std::invalid_argument("unknown option " + a);
    }
    return o;
}

std::vector<RowPlan> allRows() {
    std::vector<RowPlan> rows;
    for (auto group : {gridRows, convertRows, resizeRows, antialiasRows})
        for (RowPlan& r : group()) rows.push_back(std::move(r));
    return rows;
}

std::string processorName() {
    std::ifstream cpuinfo("/proc/cpuinfo");
    std::string line;
    while (std::getline(cpuinfo, line))
        if (line.rfind("model name", 0) == 0 && line.find(':') != std::string::npos)
            return line.substr(line.find(':') + 2);
    return "unknown processor";
}

RunInfo describeRun(int argc, char** argv, const Options& o) {
    RunInfo info;
    info.command = "morva_peers";
    for (int i = 1; i < argc; ++i) info.command += std::string(" ") + argv[i];
    info.machine = processorName();
    for (const Peer& p : allPeers()) info.libraries += (info.libraries.empty() ? "" : ", ") + p.version();
    info.morvaLevel = std::string(isaName(slotIsa(currentCpuSlot()))) + " (slot " +
                      std::to_string(currentCpuSlot()) + ")";
    info.rounds = o.timing.rounds;
    return info;
}

// The lines that enclose the table in a document.
constexpr const char* kTableBegin = "<!-- morva_peers table: begin -->";
constexpr const char* kTableEnd = "<!-- morva_peers table: end -->";

std::string readFile(const std::string& path) {
    std::ifstream in(path);
    if (!in) throw std::invalid_argument("can't read " + path);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

// Where the table goes in a document's text: after the first marker, up to
// the second. Checked before the rounds, so that a long run isn't lost.
std::pair<size_t, size_t> tablePlace(const std::string& text, const std::string& path) {
    const size_t begin = text.find(kTableBegin), end = text.find(kTableEnd);
    if (begin == std::string::npos || end == std::string::npos || end < begin)
        throw std::invalid_argument(path + " has no lines " + kTableBegin + " and " + kTableEnd);
    return {begin + std::strlen(kTableBegin), end};
}

bool putIntoDocument(const std::string& path, const std::string& table) {
    const std::string text = readFile(path);
    const auto [from, to] = tablePlace(text, path);
    std::ofstream out(path);
    out << text.substr(0, from) << "\n" << table << text.substr(to);
    return bool(out);
}

int run(int argc, char** argv) {
    const Options o = parseOptions(argc, argv);
    if (!o.docPath.empty()) tablePlace(readFile(o.docPath), o.docPath);
    if (o.cpuSlot >= 0) setCpuSlot(o.cpuSlot);
    std::vector<RowPlan> rows;
    for (RowPlan& r : allRows())
        if (rowMatches(r, o.filter)) rows.push_back(std::move(r));
    if (rows.empty()) {
        std::cerr << "no row matches \"" << o.filter << "\"\n";
        return 2;
    }
    if (o.list) {
        for (const RowPlan& r : rows) std::cout << r.id << "\t" << r.title << "\n";
        return 0;
    }

    std::vector<RowResult> results;
    for (size_t i = 0; i < rows.size(); ++i) {
        std::cerr << "[" << i + 1 << "/" << rows.size() << "] " << rows[i].id << std::endl;
        results.push_back(measureRow(rows[i], o.timing));
    }
    const RunInfo info = describeRun(argc, argv, o);
    std::ostringstream table;
    printMarkdown(table, info, results);
    std::cout << table.str();
    if (!o.jsonPath.empty()) {
        std::ofstream json(o.jsonPath);
        writeJson(json, info, results);
        if (!json) {
            std::cerr << "can't write " << o.jsonPath << "\n";
            return 1;
        }
    }
    if (!o.docPath.empty() &&
        !putIntoDocument(o.docPath, "Made by `" + info.command + "`.\n\n" + table.str())) {
        std::cerr << "can't write " << o.docPath << "\n";
        return 1;
    }
    for (const RowResult& r : results)
        if (!r.problems.empty()) return 1;
    return 0;
}

}  // namespace
}  // namespace morva::peers

int main(int argc, char** argv) {
    if (argc > 1 && (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0)) {
        std::cout << morva::peers::kUsage;
        return 0;
    }
    try {
        return morva::peers::run(argc, argv);
    } catch (const std::invalid_argument& e) {
        std::cerr << e.what() << "\n" << morva::peers::kUsage;
        return 2;
    }
}
