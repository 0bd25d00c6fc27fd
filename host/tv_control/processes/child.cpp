// SPDX-License-Identifier: Apache-2.0
#include "child.h"

#include <android-base/strings.h>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>
#include <thread>

namespace hidlaudio::host {
namespace {

using android::base::StartsWith;
using std::chrono::steady_clock;

constexpr std::chrono::microseconds kCheckInterval{500};

std::vector<char*> pointers(const std::vector<std::string>& texts) {
    std::vector<char*> result;
    result.reserve(texts.size() + 1);
    for (const std::string& text : texts) result.push_back(const_cast<char*>(text.c_str()));
    result.push_back(nullptr);
    return result;
}

/** Returns this process's environment with `variables` added; they replace variables of the same name. */
std::vector<std::string> environmentWith(const std::vector<std::string>& variables) {
    std::vector<std::string> all = variables;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string_view text = *entry;
        const bool isReplaced =
            std::any_of(variables.begin(), variables.end(), [text](const std::string& variable) {
                return StartsWith(text, variable.substr(0, variable.find('=') + 1));
            });
        if (!isReplaced) all.emplace_back(text);
    }
    return all;
}

void addActions(posix_spawn_file_actions_t& actions, const ChildSetup& setup) {
    constexpr int kFlags = O_WRONLY | O_CREAT | O_APPEND;
    posix_spawn_file_actions_init(&actions);
    if (setup.input >= 0) {
        posix_spawn_file_actions_adddup2(&actions, setup.input, STDIN_FILENO);
    } else {
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    }
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, setup.output.c_str(), kFlags, 0644);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, setup.errors.c_str(), kFlags, 0644);
    posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
    posix_spawn_file_actions_addchdir_np(&actions, setup.folder.c_str());
}

/** Resets all signals to their default action and unblocks them, regardless of this process's settings. */
void addAttributes(posix_spawnattr_t& attributes) {
    sigset_t none, all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
}

}  // namespace

int startChild(const ChildSetup& setup, pid_t& pid) {
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    addActions(actions, setup);
    addAttributes(attributes);
    const std::vector<std::string> environment = environmentWith(setup.variables);
    const int error = posix_spawn(&pid, setup.arguments[0].c_str(), &actions, &attributes,
                                  pointers(setup.arguments).data(), pointers(environment).data());
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    return error;
}

std::optional<ChildStatus> statusWithin(pid_t pid, std::chrono::milliseconds patience) {
    const auto deadline = steady_clock::now() + patience;
    for (;;) {
        int status = 0;
        if (waitpid(pid, &status, WNOHANG) == pid)
            return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
        if (steady_clock::now() >= deadline) return std::nullopt;
        std::this_thread::sleep_for(kCheckInterval);
    }
}

ChildStatus endChild(pid_t pid, int signal, std::chrono::milliseconds patience) {
    using namespace std::chrono_literals;
    if (pid <= 0) return 0;
    kill(pid, signal);
    if (const auto status = statusWithin(pid, patience)) return *status;
    kill(pid, SIGKILL);
    return statusWithin(pid, 10s).value_or(-SIGKILL);
}

std::string describe(ChildStatus status) {
    if (status >= 0) return "ended with status " + std::to_string(status);
    return "was ended by signal " + std::to_string(-status) + " (" + strsignal(-status) + ")";
}

}  // namespace hidlaudio::host
