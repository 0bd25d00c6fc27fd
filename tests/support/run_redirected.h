// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace hidlaudio::test {

/**
 * Runs a program. The child process calls `redirect` first, which may change descriptors, signals or
 * variables. Returns the exit status, or 128 + n if signal n ended the program.
 */
template <typename Redirect>
int runRedirected(std::vector<std::string> arguments, const Redirect& redirect) {
    std::vector<char*> words;
    for (std::string& argument : arguments) words.push_back(argument.data());
    words.push_back(nullptr);
    fflush(nullptr);
    const pid_t pid = fork();
    if (pid == 0) {
        redirect();
        execv(words[0], words.data());
        _exit(127);
    }
    int status = -1;
    EXPECT_EQ(waitpid(pid, &status, 0), pid);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

/** Redirects `fd` of this process to a file, in append mode. */
inline void sendToFile(int fd, const std::string& path) {
    dup2(open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600), fd);
}

/** Redirects `fd` of this process to a pipe whose read end is closed. */
inline void sendToNobody(int fd) {
    int ends[2];
    if (pipe(ends) != 0) _exit(126);
    dup2(ends[1], fd);
    close(ends[0]);
    close(ends[1]);
}

}  // namespace hidlaudio::test
