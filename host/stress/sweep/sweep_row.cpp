// SPDX-License-Identifier: Apache-2.0
#include "sweep_row.h"

#include <algorithm>
#include <cctype>
#include <set>

#include "client/exit_status.h"
#include "host/program/hex.h"
#include "host/scenario/run_log.h"
#include "host/tv_files/back_end_files.h"

namespace hidlaudio::host {
namespace {

/** Variation of a process's memory between runs, in KiB. Far less than the size of an upload. */
constexpr long kMemorySlack = 640;
constexpr size_t kShownBytes = 24;

bool isText(const std::string& content) {
    return std::all_of(content.begin(), content.end(), [](unsigned char c) { return isprint(c) != 0; });
}

/** Returns a short content itself. Of a longer one, returns the size and the end, because logs grow there. */
std::string describeContent(std::string content) {
    if (!content.empty() && content.back() == '\n') content.pop_back();
    if (content.empty()) return "empty";
    const bool isShort = content.size() <= kShownBytes;
    const std::string shown = isShort ? content : content.substr(content.size() - kShownBytes);
    const std::string readable = isText(shown) ? shown : toHex(shown);
    return isShort ? readable : std::to_string(content.size()) + " bytes, ..." + readable;
}

std::string describeFile(const std::string* content) {
    return content != nullptr ? describeContent(*content) : "(none)";
}

std::vector<FileDifference> compareFiles(const TvFiles& was, const TvFiles& is) {
    std::set<std::string> paths;
    for (const TvFiles* files : {&was, &is}) {
        for (const auto& file : *files) paths.insert(file.first);
    }
    std::vector<FileDifference> differences;
    for (const std::string& path : paths) {
        const std::string* const before = findIn(was, path);
        const std::string* const now = findIn(is, path);
        const bool same = before != nullptr && now != nullptr && *before == *now;
        if (!same) differences.push_back({path, describeFile(now), describeFile(before)});
    }
    return differences;
}

LineDifference compareLines(const Scenario& scenario, const RunResult& baseline, const RunResult& run) {
    for (size_t i = 0; i < run.lines.size(); ++i) {
        const LineOutcome& was = baseline.lines[i];
        const LineOutcome& is = run.lines[i];
        if (is.status == was.status && is.output == was.output && is.errors == was.errors) continue;
        return {scenario.lines[i].number, is.status, is.errors != was.errors ? is.errors : is.output};
    }
    return {};
}

/**
 * Returns the number of uploads that the daemon has abandoned. It keeps the parameters of at most one upload
 * of each kind, because the controller may still read them.
 */
long keptUploads(const RunResult& run, const ToleratedViolations& tolerated) {
    const auto isTimeout = [](const std::string& line) {
        return line.find("epoll timeout!!") != std::string::npos;
    };
    const long timeouts = std::count_if(run.log.begin(), run.log.end(), isTimeout);
    return std::min<long>(std::size(kUploadKinds), timeouts + (tolerated.unknownTransfer ? 1 : 0));
}

std::vector<std::string> findFlags(const RunResult& baseline, const ToleratedViolations& tolerated,
                                   const RunResult& run) {
    std::vector<std::string> flags = run.problems;
    Usage allowed = baseline.usage;
    allowed.memory += kMemorySlack + keptUploads(run, tolerated) * static_cast<long>(kParametersSize / 1024);
    for (const std::string& excess : excessOf(run.usage, allowed)) flags.push_back("leak: " + excess);
    for (const std::string& broken : brokenInvariants(run.files, tolerated))
        flags.push_back("state: " + broken);
    for (const std::string& line : newLines(run.log, baseline.log)) {
        if (line[0] == '!') flags.push_back("output: " + line.substr(2));
    }
    return flags;
}

}  // namespace

SweepRow compareRuns(const Scenario& scenario, const RunResult& baseline, const Injection& injection,
                     const RunResult& run) {
    return {injection,
            run.injected,
            compareLines(scenario, baseline, run),
            newLines(run.log, baseline.log),
            compareFiles(baseline.files, run.files),
            findFlags(baseline, toleratedAfter(injection), run)};
}

std::vector<std::string> baselineProblems(const Scenario& scenario, const RunResult& baseline) {
    std::vector<std::string> problems = baseline.problems;
    for (const std::string& broken : brokenInvariants(baseline.files, {}))
        problems.push_back("state: " + broken);
    for (size_t i = 0; i < baseline.lines.size(); ++i) {
        // No valid scenario has these statuses: the line is wrong, or the TV is not running.
        const ChildStatus status = baseline.lines[i].status;
        if (status != client::kWrongUsage && status != client::kNoService) continue;
        problems.push_back(scenario.path + ":" + std::to_string(scenario.lines[i].number) + ": " +
                           baseline.lines[i].errors);
    }
    return problems;
}

}  // namespace hidlaudio::host
