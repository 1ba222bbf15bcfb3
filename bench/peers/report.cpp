#include "report.h"

#include <cmath>
#include <cstdio>

#include "rows.h"

namespace morva::peers {
namespace {

std::string fixed(double value, int decimals) {
    char text[32];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

std::string msText(const Measured* m) { return m != nullptr ? fixed(m->medianMs, 3) : "-"; }

std::string ratioText(const RowResult& row) {
    if (!row.problems.empty()) return "check failed";
    if (row.ratio <= 0.0) return "-";
    return fixed(row.ratio, 2) + (row.ratio <= row.goal ? "" : " *");
}

std::string jsonText(const std::string& s) {
    std::string out = "\"";
    for (char c : s) {
        if (c == '"' || c == '\\') out += '\\';
        if (static_cast<unsigned char>(c) < 0x20) {
            out += ' ';
            continue;
        }
        out += c;
    }
    return out + "\"";
}

// JSON has no infinity: equal outputs are written as null.
std::string jsonNumber(double v) { return std::isfinite(v) ? fixed(v, 4) : "null"; }

std::string jsonMeasured(const Measured& m) {
    return "{\"peer\": " + jsonText(m.peer) + ", \"call\": " + jsonText(m.call) +
           ", \"median_ms\": " + jsonNumber(m.medianMs) +
           ", \"psnr_to_morva_db\": " + jsonNumber(m.psnrToMorva) +
           ", \"process_to_thread_cpu\": " + jsonNumber(m.processToThreadCpu) + "}";
}

}  // namespace

double goalOfGroup(const std::string& group) {
    if (group == "grid") return 1.5;
    if (group == "antialias") return 2.0;
    return 1.25;
}

const std::vector<std::string>& contenderColumns() {
    static const std::vector<std::string> columns = {"libyuv", "OpenCV", "swscale",
                                                     kMorvaWithoutAntialiasing};
    return columns;
}

const Measured* fastestOf(const RowResult& row, const std::string& peer) {
    const Measured* best = nullptr;
    for (const Measured& m : row.baselines)
        if (m.peer == peer && (best == nullptr || m.medianMs < best->medianMs)) best = &m;
    return best;
}

void printMarkdown(std::ostream& out, const RunInfo& info, const std::vector<RowResult>& rows) {
    out << "Median CPU time per call in ms, single thread, " << info.rounds
        << " interleaved rounds. Ratio: morva over the fastest peer (antialiasing rows: over "
           "morva's same method without it); * marks a ratio above the group's goal.\n\n"
        << "Machine: " << info.machine << "; " << info.libraries << "; morva kernels at "
        << info.morvaLevel << ".\n\n";
    out << "| # | case | morva entry | morva ms";
    for (const std::string& c : contenderColumns()) out << " | " << c << " ms";
    out << " | ratio | against | goal |\n|---|---|---|---:";
    for (size_t i = 0; i < contenderColumns().size(); ++i) out << "|---:";
    out << "|---:|---|---:|\n";
    for (size_t i = 0; i < rows.size(); ++i) {
        const RowResult& r = rows[i];
        out << "| " << i + 1 << " | " << r.title << " | `" << r.morva.call << "` | "
            << msText(&r.morva);
        for (const std::string& c : contenderColumns()) out << " | " << msText(fastestOf(r, c));
        out << " | " << ratioText(r) << " | " << r.against << " | " << fixed(r.goal, 2) << " |\n";
    }

    out << "\nThe peers' calls (the fastest where a peer has several):\n\n| # | row id";
    for (const std::string& c : contenderColumns()) out << " | " << c;
    out << " |\n|---|---";
    for (size_t i = 0; i < contenderColumns().size(); ++i) out << "|---";
    out << "|\n";
    for (size_t i = 0; i < rows.size(); ++i) {
        out << "| " << i + 1 << " | `" << rows[i].id << "`";
        for (const std::string& c : contenderColumns()) {
            const Measured* m = fastestOf(rows[i], c);
            out << " | " << (m != nullptr ? m->call : "-");
        }
        out << " |\n";
    }

    for (size_t i = 0; i < rows.size(); ++i)
        for (const std::string& p : rows[i].problems)
            out << "\nRow " << i + 1 << " (" << rows[i].id << "): " << p;
    out << "\n";
}

void writeJson(std::ostream& out, const RunInfo& info, const std::vector<RowResult>& rows) {
    out << "{\n  \"command\": " << jsonText(info.command) << ",\n  \"machine\": "
        << jsonText(info.machine) << ",\n  \"libraries\": " << jsonText(info.libraries)
        << ",\n  \"morva_level\": " << jsonText(info.morvaLevel) << ",\n  \"rounds\": "
        << info.rounds << ",\n  \"rows\": [";
    for (size_t i = 0; i < rows.size(); ++i) {
        const RowResult& r = rows[i];
        out << (i ? "," : "") << "\n    {\"id\": " << jsonText(r.id)
            << ", \"group\": " << jsonText(r.group) << ", \"title\": " << jsonText(r.title)
            << ", \"ratio\": " << jsonNumber(r.ratio) << ", \"against\": " << jsonText(r.against)
            << ", \"goal\": " << jsonNumber(r.goal) << ",\n     \"morva\": " << jsonMeasured(r.morva)
            << ",\n     \"baselines\": [";
        for (size_t j = 0; j < r.baselines.size(); ++j)
            out << (j ? ", " : "") << "\n       " << jsonMeasured(r.baselines[j]);
        out << "],\n     \"problems\": [";
        for (size_t j = 0; j < r.problems.size(); ++j) out << (j ? ", " : "") << jsonText(r.problems[j]);
        out << "]}";
    }
    out << "\n  ]\n}\n";
}

}  // namespace morva::peers
