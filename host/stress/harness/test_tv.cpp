// SPDX-License-Identifier: Apache-2.0
#include "test_tv.h"

#include <signal.h>
#include <string.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "host/program/program_folder.h"
#include "host/tv/processes/process.h"
#include "host/tv/processes/programs.h"
#include "host/tv/state/registry.h"
#include "host/tv_files/tv_root.h"

namespace hidlaudio::host {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr auto kLongestStart = 30s;
constexpr auto kPatience = 5s;

std::string spawn(const TestTv& tv, const std::string& program, std::vector<std::string> variables,
                  pid_t& pid) {
    setTvRoot(tv.root);
    variables.push_back("HIDLAUDIO_CLOCK=" + std::to_string(tv.clock));
    const ChildSetup setup{{programFile(program)}, variables, logOf(program), logOf(program), "/"};
    const int error = startChild(setup, pid);
    if (error != 0) pid = 0;
    return error == 0 ? "" : programFile(program) + ": " + strerror(error);
}

std::string restartEndedHal(TestTv& tv) {
    if (tv.hal == 0 || !statusWithin(tv.hal, 0ms)) return "";
    return spawn(tv, "audio_hal", tv.halVariables, tv.hal);
}

std::string awaitServices(TestTv& tv, const std::string& program, pid_t& pid) {
    const auto deadline = steady_clock::now() + kLongestStart;
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

void stop(pid_t& pid) {
    if (pid != 0) endChild(pid, SIGTERM, kPatience);
    pid = 0;
}

}  // namespace

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string programFile(const std::string& name) {
    return programFolder() + "/" + name;
}

std::string makeTestTv(TestTv& tv, const std::vector<std::string>& options) {
    setTvRoot(tv.root);
    std::vector<std::string> arguments{programFile("tv"), "init"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const std::string errors = tv.root + ".init";
    pid_t pid = 0;
    const int error = startChild({arguments, {}, "/dev/null", errors, "/"}, pid);
    if (error != 0) return strerror(error);
    const ChildStatus status = statusWithin(pid, 30s).value_or(-1);
    return status == 0 ? "" : contentOf(errors);
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

void stopDaemon(TestTv& tv) {
    stop(tv.daemon);
}

void stopHal(TestTv& tv) {
    stop(tv.hal);
}

}  // namespace hidlaudio::host
