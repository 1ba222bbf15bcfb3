#include "runner.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <exception>
#include <limits>
#include <sstream>

namespace morva::peers {
namespace {

std::string lowercase(std::string s) {
    for (char& c : s) c = char(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

std::string decibels(double db) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f dB", db);
    return text;
}

// The problems of one contender's output and threads.
void check(const Measured& m, bool wrotePicture, bool comparedToMorva,
           std::vector<std::string>& problems) {
    const std::string who = m.peer + " (" + m.call + ")";
    if (!wrotePicture) problems.push_back(who + " wrote no picture");
    if (comparedToMorva && m.psnrToMorva < kMinimumPsnrDb)
        problems.push_back(who + " differs from morva: " + decibels(m.psnrToMorva));
    if (m.processToThreadCpu > kMaximumProcessToThreadCpu)
        problems.push_back(who + " used other threads");
}

}  // namespace

bool rowMatches(const RowPlan& row, const std::string& filter) {
    if (filter.empty()) return true;
    const std::string text = lowercase(row.id + " " + row.group + " " + row.title);
    std::stringstream parts(lowercase(filter));
    std::string part;
    while (std::getline(parts, part, ','))
        if (!part.empty() && text.find(part) != std::string::npos) return true;
    return false;
}

RowResult measureRow(const RowPlan& row, const TimingOptions& options) {
    RowResult result;
    result.id = row.id;
    result.group = row.group;
    result.title = row.title;
    result.goal = goalOfGroup(row.group);
    RowSetup setup;
    std::vector<const Contender*> all;
    std::vector<ContenderTimes> times;
    try {
        setup = row.setup();
        all.push_back(&setup.morva);
        for (const Contender& b : setup.baselines) all.push_back(&b);
        std::vector<std::function<void()>> runs;
        for (const Contender* c : all) runs.push_back(c->run);
        times = runInterleaved(runs, options);
    } catch (const std::exception& e) {
        result.problems.push_back(std::string("not measured: ") + e.what());
        return result;
    }

    // The outputs of the last round: every contender ran the whole job.
    const Rect& region = setup.checkedRegion;
    const std::vector<uint8_t> morvaSamples =
        pictureSamples(*setup.morva.output, region, setup.morvaExchangesChroma);
    result.morva = {setup.morva.peer, setup.morva.call, median(times[0].samplesMs),
                    std::numeric_limits<double>::infinity(), times[0].processToThreadCpu};
    check(result.morva, hasPicture(morvaSamples), false, result.problems);

    std::vector<double> baselineMedians;
    for (size_t i = 1; i < all.size(); ++i) {
        const std::vector<uint8_t> samples = pictureSamples(*all[i]->output, region);
        const Measured m{all[i]->peer, all[i]->call, median(times[i].samplesMs),
                         psnr(morvaSamples, samples), times[i].processToThreadCpu};
        check(m, hasPicture(samples), true, result.problems);
        result.baselines.push_back(m);
        baselineMedians.push_back(m.medianMs);
    }
    result.ratio = ratioToFastest(result.morva.medianMs, baselineMedians);
    const auto fastest = std::min_element(
        result.baselines.begin(), result.baselines.end(),
        [](const Measured& a, const Measured& b) { return a.medianMs < b.medianMs; });
    if (fastest != result.baselines.end()) result.against = fastest->peer;
    return result;
}

}  // namespace morva::peers
