// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "private_tv.h"

namespace hidlaudio::test {

/** A running child program with its output in files. The destructor kills it if it still runs. */
class RunningProgram {
  public:
    /**
     * Starts a program.
     *
     * @param arguments command line, starting with the program's path
     * @param variables additions to the environment: "NAME=value"
     * @param output file for standard output; out() then returns "(none)"
     */
    explicit RunningProgram(std::vector<std::string> arguments, std::vector<std::string> variables = {},
                            const std::string& output = "") {
        const std::string out = output.empty() ? folder_ / "out" : output;
        // No name may come twice: an emulator passes on the last one, and getenv() returns the first one.
        const size_t given = variables.size();
        for (char** entry = environ; *entry != nullptr; ++entry) {
            const std::string name(*entry, strcspn(*entry, "=") + 1);
            const auto isGiven = [&](const std::string& variable) { return variable.rfind(name, 0) == 0; };
            if (std::none_of(variables.begin(), variables.begin() + static_cast<ptrdiff_t>(given), isGiven))
                variables.emplace_back(*entry);
        }
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT, 0600);
        posix_spawn_file_actions_addopen(&actions, 2, (folder_ / "err").c_str(), O_WRONLY | O_CREAT, 0600);
        const int error = posix_spawn(&pid_, arguments[0].c_str(), &actions, nullptr,
                                      pointers(arguments).data(), pointers(variables).data());
        posix_spawn_file_actions_destroy(&actions);
        if (error != 0) pid_ = -1;
    }
    ~RunningProgram() {
        if (pid_ <= 0) return;
        kill(pid_, SIGKILL);
        wait();
    }
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;

    /** Waits for the end. Returns the exit status, 128 + n after signal n, or -1 if the start failed. */
    int wait() {
        int status = 0;
        const pid_t pid = std::exchange(pid_, -1);
        if (pid <= 0 || waitpid(pid, &status, 0) != pid) return -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

    pid_t pid() const { return pid_; }
    std::string out() const { return contentOf(folder_ / "out"); }
    std::string err() const { return contentOf(folder_ / "err"); }

  private:
    static std::vector<char*> pointers(std::vector<std::string>& texts) {
        std::vector<char*> result;
        result.reserve(texts.size() + 1);
        for (std::string& text : texts) result.push_back(text.data());
        result.push_back(nullptr);
        return result;
    }

    PrivateFolder folder_;
    pid_t pid_ = -1;
};

/** Stops the program until SIGCONT, and waits until it has stopped. */
inline void suspend(const RunningProgram& program) {
    int status = 0;
    kill(program.pid(), SIGSTOP);
    EXPECT_EQ(waitpid(program.pid(), &status, WUNTRACED), program.pid());
    EXPECT_TRUE(WIFSTOPPED(status));
}

/** Exit status and output of a program that has ended. */
struct Outcome {
    int status;
    std::string out;
    std::string err;
};

inline Outcome runProgram(std::vector<std::string> arguments, std::vector<std::string> variables = {}) {
    RunningProgram program(std::move(arguments), std::move(variables));
    const int status = program.wait();
    return {status, program.out(), program.err()};
}

}  // namespace hidlaudio::test
