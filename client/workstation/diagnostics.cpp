// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "client/bug_report/program_output.h"
#include "client/surroundings.h"
#include "host/program/program_folder.h"
#include "host/tv_files/regular_file.h"
#include "host/tv_files/tv_root.h"

namespace hidlaudio::client {
namespace {

using nlohmann::ordered_json;

constexpr size_t kMaxLines = 200;
constexpr std::streamoff kMaxBytes = 65536;

ordered_json failure(const std::string& message) {
    return {{"error", message}};
}

std::string lastPartOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    const std::streamoff size = file.tellg();
    file.seekg(std::max<std::streamoff>(size - kMaxBytes, 0));
    return {std::istreambuf_iterator<char>(file), {}};
}

/** Returns the output of `tv show --json`, run from the folder of this program. */
ordered_json readTvState(double seconds) {
    const std::string program = host::programFolder() + "/tv";
    std::string text;
    if (const std::string problem = runProgram({program, "show", "--json"}, seconds, text); !problem.empty())
        return failure(problem);
    auto state = ordered_json::parse(text, nullptr, false);
    return state.is_discarded() ? failure(program + " did not print JSON") : state;
}

/** Returns the last 200 lines (at most 64 KiB) of each log of the TV, by file name. */
ordered_json readEndsOfLogs() {
    ordered_json logs = ordered_json::object();
    const std::string folder = host::tvRoot() + "/log";
    std::error_code error, ignored;
    std::vector<std::filesystem::path> paths;
    const std::filesystem::directory_iterator entries(folder, error);
    if (error && error != std::errc::no_such_file_or_directory)
        return failure(host::fileError(folder, error.value()));
    for (const auto& entry : entries)
        if (entry.is_regular_file(ignored) && entry.path().extension() == ".log")
            paths.push_back(entry.path());
    std::sort(paths.begin(), paths.end());
    for (const auto& path : paths) logs[path.filename().string()] = lastLines(lastPartOf(path), kMaxLines);
    return logs;
}

}  // namespace

void addDiagnostics(double seconds, ordered_json& report) {
    report["tv"] = host::tvRoot();
    report["tv_state"] = readTvState(seconds);
    report["logs"] = readEndsOfLogs();
}

}  // namespace hidlaudio::client
