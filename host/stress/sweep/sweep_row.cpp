// SPDX-License-Identifier: Apache-2.0
#include "sweep_row.h"

#include <algorithm>
#include <cctype>
#include <set>

#include "client/exit_status.h"
#include "host/tv_files/back_end_files.h"
#include "sweep_log.h"

namespace hidlaudio::host {
namespace {

/** Variation of a process's memory between runs, in KiB. Far less than the size of an upload. */
constexpr long kMemorySlack = 640;
constexpr size_t kShownBytes = 24;

bool isText(const std::string& content) {
    return std::all_of(content.begin(), content.end(), [](unsigned char c) { return isprint(c) != 0; });
}

std::string inHex(const std::string& bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string hex;
    for (const char c : bytes) {
        hex += kDigits[static_cast<unsigned char>(c) >> 4];
        hex += kDigits[static_cast<unsigned char>(c) & 15];
    }
    return hex;
}

/** Returns a short content itself. Of a longer one, returns the size and the end, because logs grow there. */
std::string describeContent(std::string content) {
    if (!content.empty() && content.back() == '\n') content.pop_back();
    if (content.empty()) return "empty";
    const bool isShort = content.size() <= kShownBytes;
    const std::string shown = isShort ? content : content.substr(content.size() - kShownBytes);
    const std::string readable = isText(shown) ? shown : inHex(shown);
    return isShort ? readable : std::to_string(content.size()) + " bytes, ..." + readable;
}

std::string describeFile(const TvFiles& files, const std::string& path) {
    const auto found = files.find(path);
    return found != files.end() ? describeContent(found->second) : "(none)";
}

std::vector<FileDifference> compareFiles(const TvFiles& was, const TvFiles& is) {
    std::set<std::string> paths;
    for (const TvFiles* files : {&was, &is}) {
        for (const auto& file : *files) paths.insert(file.first);
    }
    std::vector<FileDifference> differences;
    for (const std::string& path : paths) {
        const auto before = was.find(path);
        const auto now = is.find(path);
        const bool same = before != was.end() && now != is.end() && before->second == now->second;
        if (!same) differences.push_back({path, describeFile(is, path), describeFile(was, path)});
    }
    return differences;
}

LineDifference compareLines(const Scenario& scenario, const RunResult& untouched, const RunResult& run) {
    for (size_t i = 0; i < run.lines.size(); ++i) {
        const LineOutcome& was = untouched.lines[i];
        const LineOutcome& is = run.lines[i];
        if (is.status == was.status && is.output == was.output && is.errors == was.errors) continue;
        return {scenario.lines[i].number, is.status, is.errors != was.errors ? is.errors : is.output};
    }
    return {};
}

void checkGrowth(const char* what, long allowed, long is, std::vector<std::string>& flags) {
    if (is > allowed)
        flags.push_back(std::string("leak: ") + std::to_string(is) + " " + what + ", allowed " +
                        std::to_string(allowed));
}

/**
 * Returns the number of uploads that the daemon has abandoned. It keeps the parameters of at most one upload
 * of each kind, because the controller may still read them.
 */
long keptUploads(const RunResult& run, const ToleratedViolations& tolerated) {
    const auto tellsTimeout = [](const std::string& line) {
        return line.find("epoll timeout!!") != std::string::npos;
    };
    const long timeouts = std::count_if(run.log.begin(), run.log.end(), tellsTimeout);
    return std::min<long>(std::size(kUploadKinds), timeouts + (tolerated.unknownTransfer ? 1 : 0));
}

Usage allowedUsage(const RunResult& untouched, const ToleratedViolations& tolerated, const RunResult& run) {
    Usage allowed = untouched.usage;
    allowed.memory += kMemorySlack + keptUploads(run, tolerated) * static_cast<long>(kParametersSize / 1024);
    return allowed;
}

void checkUsage(const Usage& usage, const Usage& allowed, std::vector<std::string>& flags) {
    checkGrowth("descriptors", allowed.descriptors, usage.descriptors, flags);
    checkGrowth("threads", allowed.threads, usage.threads, flags);
    checkGrowth("KiB of memory", allowed.memory, usage.memory, flags);
}

std::vector<std::string> findFlags(const RunResult& untouched, const ToleratedViolations& tolerated,
                                   const RunResult& run) {
    std::vector<std::string> flags = run.problems;
    checkUsage(run.usage, allowedUsage(untouched, tolerated, run), flags);
    for (const std::string& broken : brokenInvariants(run.files, tolerated))
        flags.push_back("state: " + broken);
    for (const std::string& line : newLines(run.log, untouched.log)) {
        if (line[0] == '!') flags.push_back("output: " + line.substr(2));
    }
    return flags;
}

}  // namespace

SweepRow compareRuns(const Scenario& scenario, const RunResult& untouched, const SweptFault& fault,
                     const RunResult& run) {
    SweepRow row;
    row.source = fault.call.source;
    row.call = fault.call.name;
    row.target = fault.call.target;
    row.boot = fault.call.boot;
    row.nth = fault.call.nth;
    row.fault = fault.outcome;
    row.injected = run.injected;
    row.client = compareLines(scenario, untouched, run);
    row.log = newLines(run.log, untouched.log);
    row.files = compareFiles(untouched.files, run.files);
    row.flags = findFlags(untouched, toleratedAfter(fault), run);
    return row;
}

std::vector<std::string> problemsUntouched(const Scenario& scenario, const RunResult& untouched) {
    // No valid scenario has these statuses: the line is wrong, or the TV is not running.
    constexpr ChildStatus kWrongUsage = 2;
    std::vector<std::string> problems = untouched.problems;
    for (const std::string& broken : brokenInvariants(untouched.files, {}))
        problems.push_back("state: " + broken);
    for (size_t i = 0; i < untouched.lines.size(); ++i) {
        if (untouched.lines[i].status != kWrongUsage && untouched.lines[i].status != client::kNoService)
            continue;
        problems.push_back(scenario.path + ":" + std::to_string(scenario.lines[i].number) + ": " +
                           untouched.lines[i].errors);
    }
    return problems;
}

}  // namespace hidlaudio::host
