// What a run found, as a markdown table for people and a JSON file for the
// chart script.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace morva::peers {

struct Measured {
    std::string peer;
    std::string call;
    double medianMs = 0.0;
    double psnrToMorva = 0.0;     // dB; infinity for equal samples
    double processToThreadCpu = 1.0;
};

struct RowResult {
    std::string id, group, title;
    Measured morva;
    std::vector<Measured> baselines;  // several per peer where a peer has variants
    double ratio = 0.0;               // morva over the fastest baseline; 0 if none ran
    std::string against;              // the peer of that baseline
    double goal = 0.0;                // the ratio this group is to reach
    std::vector<std::string> problems;  // failed checks, errors: the ratio can't be trusted
};

struct RunInfo {
    std::string command;
    std::string machine;
    std::string libraries;
    std::string morvaLevel;
    int rounds = 0;
};

// The ratio each group is to reach.
double goalOfGroup(const std::string& group);

// The contender columns of the table, in order.
const std::vector<std::string>& contenderColumns();

// The fastest baseline of a peer in a row, or null.
const Measured* fastestOf(const RowResult& row, const std::string& peer);

void printMarkdown(std::ostream& out, const RunInfo& info, const std::vector<RowResult>& rows);
void writeJson(std::ostream& out, const RunInfo& info, const std::vector<RowResult>& rows);

}  // namespace morva::peers
