// SPDX-License-Identifier: Apache-2.0
#include "process.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

namespace hidlaudio::host {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kPollInterval{5};
constexpr milliseconds kKillPatience{2000};

void addActions(posix_spawn_file_actions_t& actions, const std::string& log) {
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, log.c_str(), O_WRONLY | O_CREAT | O_APPEND,
                                     0644);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
    posix_spawn_file_actions_addchdir_np(&actions, "/");
}

/** Signals as a program finds them at a boot, whatever this one blocks or ignores. */
void addAttributes(posix_spawnattr_t& attributes) {
    sigset_t none, all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setflags(&attributes,
                             POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
}

bool endsWithin(const Process& process, milliseconds patience) {
    const auto deadline = steady_clock::now() + patience;
    while (isRunning(process)) {
        if (steady_clock::now() >= deadline) return false;
        std::this_thread::sleep_for(kPollInterval);
    }
    return true;
}

}  // namespace

std::optional<Process> findProcess(pid_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    if (!std::getline(file, line)) return std::nullopt;
    // The name in brackets may hold anything; the fields after it are plain.
    const size_t afterName = line.rfind(')');
    if (afterName == std::string::npos) return std::nullopt;
    std::istringstream fields(line.substr(afterName + 1));
    char state = 0;
    fields >> state;
    std::string skipped;
    for (int field = 4; field < 22; ++field) fields >> skipped;
    Process process{pid, 0};
    if (!(fields >> process.startTime) || state == 'Z' || state == 'X') return std::nullopt;
    return process;
}

bool isRunning(const Process& process) {
    const std::optional<Process> found = findProcess(process.pid);
    return found && found->startTime == process.startTime;
}

int startProcess(const std::string& path, const std::string& log, Process& process) {
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    addActions(actions, log);
    addAttributes(attributes);
    std::string name = std::filesystem::path(path).filename();
    char* arguments[] = {name.data(), nullptr};
    pid_t pid = 0;
    const int error = posix_spawn(&pid, path.c_str(), &actions, &attributes, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    if (error == 0) process = findProcess(pid).value_or(Process{pid, 0});
    return error;
}

Stopped stopProcess(const Process& process, milliseconds patience) {
    if (!isRunning(process) || kill(process.pid, SIGTERM) != 0) {
        return isRunning(process) ? Stopped::No : Stopped::ByRequest;
    }
    if (endsWithin(process, patience)) return Stopped::ByRequest;
    kill(process.pid, SIGKILL);
    return endsWithin(process, kKillPatience) ? Stopped::ByForce : Stopped::No;
}

std::optional<Ending> endingOf(const Process& child) {
    int status = 0;
    if (waitpid(child.pid, &status, WNOHANG) != child.pid) return std::nullopt;
    if (WIFEXITED(status)) return Ending{false, "ended with status " + std::to_string(WEXITSTATUS(status))};
    const int signal = WTERMSIG(status);
    return Ending{signal == SIGTERM,
                  "was ended by signal " + std::to_string(signal) + " (" + strsignal(signal) + ")"};
}

std::string programFolder() {
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
}

}  // namespace hidlaudio::host
