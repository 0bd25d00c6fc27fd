// SPDX-License-Identifier: Apache-2.0
#include "host/tv_control/processes/process.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <thread>

#include "host/tv_control/processes/child.h"
#include "tests/support/own_process.h"
#include "tests/support/private_tv.h"

namespace hidlaudio::host {
namespace {

/** Ends the first thread. Another one ends the process when the other end of the pipe is closed. */
[[noreturn]] void runWithoutFirstThread(int pipe) {
    std::thread([pipe] {
        char byte = 0;
        (void)!read(pipe, &byte, 1);
        _exit(0);
    }).detach();
    // Not pthread_exit(), whose unwinding the test's frames would catch.
    syscall(SYS_exit, 0);
    abort();
}

TEST(Process, RunsUntilItsLastThreadHasEnded) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        close(ends[1]);
        runWithoutFirstThread(ends[0]);
    }
    const std::string status = "/proc/" + std::to_string(pid) + "/status";
    EXPECT_TRUE(
        test::becomesTrue([&] { return test::contentOf(status).find("State:\tZ") != std::string::npos; }));
    const auto process = findProcess(pid);
    ASSERT_TRUE(process.has_value());
    EXPECT_TRUE(isRunning(*process));
    close(ends[1]);
    EXPECT_TRUE(test::becomesTrue([&] { return !isRunning(*process); }));
    waitpid(pid, nullptr, 0);
    close(ends[0]);
}

TEST(Child, EndingNoProcessKeepsOwnGroup) {
    test::inOwnProcess([] {
        setsid();
        endChild(0, SIGKILL, std::chrono::milliseconds(0));
    });
}

}  // namespace
}  // namespace hidlaudio::host
