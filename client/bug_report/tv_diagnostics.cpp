// SPDX-License-Identifier: Apache-2.0
#include "tv_diagnostics.h"

#include <android-base/strings.h>
#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "client/invocation.h"
#include "host/program/program_folder.h"
#include "host/tv_files/regular_file.h"
#include "host/tv_files/tv_root.h"

namespace hidlaudio::client {
namespace {

using android::base::unique_fd;
using nlohmann::ordered_json;
using Clock = std::chrono::steady_clock;

constexpr std::ptrdiff_t kMaxLines = 200;
constexpr std::streamoff kMaxBytes = 65536;
constexpr char kTvProgram[] = "tv";

/** Starts a program with `output` as its standard output. Returns its process ID, or -1 with errno. */
pid_t start(const std::string& program, std::vector<const char*> arguments, int output) {
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    pid_t pid = -1;
    const int error =
        posix_spawn(&pid, program.c_str(), &actions, nullptr, const_cast<char**>(arguments.data()), environ);
    posix_spawn_file_actions_destroy(&actions);
    errno = error;
    return error == 0 ? pid : -1;
}

/** Reads until the peer closes the pipe. Returns false if that does not happen before `end`. */
bool readAll(int fd, Clock::time_point end, std::string& text) {
    for (;;) {
        pollfd ready{fd, POLLIN, 0};
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        if (left <= 0 || poll(&ready, 1, static_cast<int>(left)) == 0) return false;
        char buffer[4096];
        const ssize_t size = read(fd, buffer, sizeof(buffer));
        if (size == 0) return true;
        if (size > 0) text.append(buffer, static_cast<size_t>(size));
    }
}

ordered_json failure(const std::string& message) {
    return {{"error", message}};
}

std::string lastPartOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    const std::streamoff size = file.tellg();
    file.seekg(std::max<std::streamoff>(size - kMaxBytes, 0));
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> lastLines(std::string_view text) {
    if (!text.empty() && text.back() == '\n') text.remove_suffix(1);
    if (text.empty()) return {};
    std::vector<std::string> lines = android::base::Split(std::string(text), "\n");
    if (static_cast<std::ptrdiff_t>(lines.size()) > kMaxLines)
        lines.erase(lines.begin(), lines.end() - kMaxLines);
    return lines;
}

}  // namespace

ordered_json readTvState(double seconds) {
    const std::string program = host::programFolder() + "/" + kTvProgram;
    unique_fd output, input;
    if (!android::base::Pipe(&output, &input))
        return failure(std::string("cannot create a pipe: ") + strerror(errno));
    const pid_t pid = start(program, {kTvProgram, "show", "--json"}, input.get());
    if (pid < 0) return failure(program + ": " + strerror(errno));
    input.reset();
    std::string text;
    const bool complete = readAll(output.get(), timeIn(seconds), text);
    if (!complete) kill(pid, SIGKILL);
    int status = 0;
    waitpid(pid, &status, 0);
    if (!complete) return failure(program + " did not end in time");
    auto state = ordered_json::parse(text, nullptr, false);
    if (state.is_discarded() || status != 0) return failure(program + " failed, or did not print JSON");
    return state;
}

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
    for (const auto& path : paths) logs[path.filename().string()] = lastLines(lastPartOf(path));
    return logs;
}

}  // namespace hidlaudio::client
