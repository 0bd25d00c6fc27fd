// SPDX-License-Identifier: Apache-2.0
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "client/bug_report/program_output.h"
#include "client/surroundings.h"
#include "folder_contents.h"

namespace hidlaudio::client {
namespace {

using nlohmann::ordered_json;

constexpr char kDaemonFiles[] = "/data/vendor/tovi/hidlaudio";
constexpr char kDriverState[] = "/proc/driver/tovi_bectrl";
// The log is shared with all other processes of the TV.
constexpr size_t kMaxLogLines = 5000;
constexpr size_t kMaxProperties = 5000;

ordered_json readOutput(const std::vector<std::string>& command, double seconds, size_t maxLines) {
    std::string output;
    const std::string problem = runProgram(command, seconds, output);
    if (!problem.empty()) return {{"error", "the output of " + command[0] + " is not readable: " + problem}};
    return lastLines(output, maxLines);
}

}  // namespace

void addDiagnostics(double seconds, ordered_json& report) {
    report["tv_state"] = {{"properties", readOutput({"getprop"}, seconds, kMaxProperties)},
                          {"daemon_files", readFolder(kDaemonFiles)},
                          {"driver", readFolder(kDriverState)}};
    report["logs"] = {{"logcat", readOutput({"logcat", "-d"}, seconds, kMaxLogLines)}};
}

}  // namespace hidlaudio::client
