// SPDX-License-Identifier: Apache-2.0
#include "program_output.h"

#include <android-base/strings.h>
#include <android-base/unique_fd.h>
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>

#include "client/invocation.h"

namespace hidlaudio::client {
namespace {

using android::base::unique_fd;
using Clock = std::chrono::steady_clock;

/** Starts a program with `output` as its standard output. Returns its process ID, or -1 with errno. */
pid_t start(const std::vector<std::string>& command, int output) {
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    pid_t pid = -1;
    const int error = posix_spawnp(&pid, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    errno = error;
    return error == 0 ? pid : -1;
}

/** Reads until the peer closes the pipe. Returns false if that fails or does not happen before `end`. */
bool readAll(int fd, Clock::time_point end, std::string& text) {
    for (;;) {
        pollfd ready{fd, POLLIN, 0};
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        if (left <= 0 || poll(&ready, 1, static_cast<int>(left)) == 0) return false;
        char buffer[4096];
        const ssize_t size = read(fd, buffer, sizeof(buffer));
        if (size == 0) return true;
        if (size < 0 && errno != EINTR) return false;
        if (size > 0) text.append(buffer, static_cast<size_t>(size));
    }
}

}  // namespace

std::string runProgram(const std::vector<std::string>& command, double seconds, std::string& output) {
    unique_fd readEnd, writeEnd;
    if (!android::base::Pipe(&readEnd, &writeEnd))
        return std::string("cannot create a pipe: ") + strerror(errno);
    const pid_t pid = start(command, writeEnd.get());
    if (pid < 0) return command[0] + ": " + strerror(errno);
    writeEnd.reset();
    const bool complete = readAll(readEnd.get(), timeIn(seconds), output);
    if (!complete) kill(pid, SIGKILL);
    int status = 0;
    waitpid(pid, &status, 0);
    if (!complete) return command[0] + " did not end in time";
    return status == 0 ? "" : command[0] + " failed";
}

std::vector<std::string> lastLines(std::string_view text, size_t most) {
    if (!text.empty() && text.back() == '\n') text.remove_suffix(1);
    if (text.empty()) return {};
    std::vector<std::string> lines = android::base::Split(std::string(text), "\n");
    if (lines.size() > most) lines.erase(lines.begin(), lines.end() - static_cast<std::ptrdiff_t>(most));
    return lines;
}

}  // namespace hidlaudio::client
