// SPDX-License-Identifier: Apache-2.0
#include "sweep_report.h"

#include <stdio.h>

#include <algorithm>

namespace hidlaudio::host {
namespace {

constexpr size_t kCallWidth = 52;
constexpr size_t kFaultWidth = 12;
constexpr size_t kClientWidth = 44;
constexpr size_t kLogWidth = 60;
constexpr char kNothing[] = "-";

/** Returns the text on one line, cut off or padded to `width` characters. */
std::string fitted(std::string text, size_t width) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    if (text.size() > width) text = text.substr(0, width - 3) + "...";
    return text + std::string(width - text.size(), ' ');
}

std::string baseName(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

std::string describeCall(const SweepRow& row) {
    const std::string since = row.boot > 0 ? " of start " + std::to_string(row.boot + 1) : "";
    return row.call + " " + std::to_string(row.nth) + since +
           (row.target.empty() ? "" : " " + baseName(row.target));
}

std::string describeClient(const SweepRow& row) {
    if (!row.injected) return "the call was not made";
    if (row.client.line == 0) return kNothing;
    const std::string& message = row.client.message;
    const size_t start = message.rfind('\n', message.empty() ? 0 : message.size() - 2);
    return "line " + std::to_string(row.client.line) + ": " + std::to_string(row.client.status) + " " +
           (start == std::string::npos ? message : message.substr(start + 1));
}

std::string describeLog(const SweepRow& row) {
    if (row.log.empty()) return kNothing;
    return row.log[0] + (row.log.size() > 1 ? " (+" + std::to_string(row.log.size() - 1) + ")" : "");
}

std::string describeFiles(const SweepRow& row) {
    std::string text;
    for (const FileDifference& file : row.files)
        text += (text.empty() ? "" : "; ") + baseName(file.path) + " " + file.is + " (" + file.was + ")";
    return text.empty() ? kNothing : text;
}

void printRow(const std::string& call, const std::string& fault, const std::string& client,
              const std::string& log, const std::string& files) {
    printf("%s %s %s %s %s\n", fitted(call, kCallWidth).c_str(), fitted(fault, kFaultWidth).c_str(),
           fitted(client, kClientWidth).c_str(), fitted(log, kLogWidth).c_str(), files.c_str());
}

}  // namespace

size_t flaggedIn(const SweepResult& result) {
    const auto isFlagged = [](const SweepRow& row) { return !row.flags.empty(); };
    return result.broken.size() +
           static_cast<size_t>(std::count_if(result.rows.begin(), result.rows.end(), isFlagged));
}

void printTable(const SweepResult& result, bool onlyFlagged) {
    printf("%s: %zu calls, %zu faults, %zu flagged\n", result.scenario.c_str(), result.calls,
           result.rows.size(), flaggedIn(result));
    for (const std::string& problem : result.broken) printf("  ! baseline run: %s\n", problem.c_str());
    const bool any = std::any_of(result.rows.begin(), result.rows.end(),
                                 [&](const SweepRow& row) { return !onlyFlagged || !row.flags.empty(); });
    if (any) printRow("CALL", "FAULT", "CLIENT", "LOG", "FILES (BASELINE)");
    for (const SweepRow& row : result.rows) {
        if (onlyFlagged && row.flags.empty()) continue;
        printRow(describeCall(row), row.fault, describeClient(row), describeLog(row), describeFiles(row));
        for (const std::string& flag : row.flags) printf("  ! %s\n", flag.c_str());
    }
}

nlohmann::json toJson(const SweepResult& result) {
    return {{"scenario", result.scenario},
            {"calls", result.calls},
            {"flagged", flaggedIn(result)},
            {"without_fault", result.broken},
            {"faults", result.rows}};
}

}  // namespace hidlaudio::host
