// SPDX-License-Identifier: Apache-2.0
#include "test_tv.h"

#include <signal.h>
#include <string.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "host/tv_control/processes/programs.h"
#include "host/tv_control/state/registry.h"
#include "host/tv_files/tv_root.h"

namespace hidlaudio::host {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr auto kStartTimeout = 30s;
constexpr auto kStopTimeout = 5s;

std::string startChildOf(const ChildSetup& setup, pid_t& pid) {
    const int error = startChild(setup, pid);
    if (error != 0) pid = 0;
    return error == 0 ? "" : setup.arguments[0] + ": " + strerror(error);
}

std::string spawn(const TestTv& tv, const std::string& program, std::vector<std::string> variables,
                  pid_t& pid) {
    setTvRoot(tv.root);
    variables.push_back("HIDLAUDIO_CLOCK=" + std::to_string(tv.clock));
    const bool isGiven = program == "hidlaudio" && !tv.daemonFile.empty();
    const std::string file = isGiven ? tv.daemonFile : fileOf(program);
    return startChildOf({{file}, variables, logOf(program), logOf(program), "/"}, pid);
}

std::string restartEndedHal(TestTv& tv) {
    if (tv.hal == 0 || !statusWithin(tv.hal, 0ms)) return "";
    return spawn(tv, "audio_hal", tv.halVariables, tv.hal);
}

std::string awaitServices(TestTv& tv, const std::string& program, pid_t& pid) {
    const auto deadline = steady_clock::now() + kStartTimeout;
    for (;;) {
        const std::vector<std::string> missing = missingServices(program, pid);
        if (missing.empty()) return "";
        if (const auto status = statusWithin(pid, 2ms)) {
            pid = 0;
            return program + " " + describe(*status);
        }
        if (const std::string problem = restartEndedHal(tv); !problem.empty()) return problem;
        if (steady_clock::now() > deadline)
            return program + " has not registered " + describeMissing(missing);
    }
}

std::string start(TestTv& tv, const std::string& program, const std::vector<std::string>& variables,
                  pid_t& pid) {
    const std::string problem = spawn(tv, program, variables, pid);
    return problem.empty() ? awaitServices(tv, program, pid) : problem;
}

}  // namespace

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string startCommand(const TestTv& tv, std::vector<std::string> words, const std::string& output,
                         const std::string& errors, pid_t& pid) {
    words[0] = fileOf(words[0]);
    return startChildOf({words, {}, output, errors, tv.folder}, pid);
}

std::string makeTestTv(const TestTv& tv, const std::vector<std::string>& options) {
    setTvRoot(tv.root);
    std::vector<std::string> words{"tv", "init"};
    words.insert(words.end(), options.begin(), options.end());
    const std::string errors = tv.root + ".init";
    pid_t pid = 0;
    std::string problem = startCommand(tv, words, "/dev/null", errors, pid);
    if (!problem.empty()) return problem;
    return statusWithin(pid, kStartTimeout) == 0 ? "" : contentOf(errors);
}

void linkInputFiles(const TestTv& tv, const std::string& parameters, const std::string& scenarioFolder) {
    fs::create_directories(tv.folder);
    fs::create_symlink(parameters, tv.folder + "/parameters.bin");
    for (const auto& entry : fs::directory_iterator(scenarioFolder)) {
        if (entry.path().extension() != ".scenario")
            fs::create_symlink(entry.path(), fs::path(tv.folder) / entry.path().filename());
    }
}

std::string startHal(TestTv& tv, const std::vector<std::string>& variables) {
    tv.halVariables = variables;
    return start(tv, "audio_hal", variables, tv.hal);
}

std::string startDaemon(TestTv& tv, const std::vector<std::string>& variables) {
    return start(tv, "hidlaudio", variables, tv.daemon);
}

std::optional<ChildStatus> daemonEnding(TestTv& tv, std::chrono::milliseconds patience) {
    const auto status = tv.daemon != 0 ? statusWithin(tv.daemon, patience) : std::nullopt;
    if (status) tv.daemon = 0;
    return status;
}

void stopTv(TestTv& tv) {
    for (pid_t* pid : {&tv.daemon, &tv.hal}) {
        if (*pid != 0) endChild(*pid, SIGTERM, kStopTimeout);
        *pid = 0;
    }
}

}  // namespace hidlaudio::host
