// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/wait.h>
#include <unistd.h>

namespace hidlaudio::test {

/**
 * Runs `body` in a child process, in which the modules have their initial state. A failure in it fails the
 * test. The test's process must not have started a thread before, so all HIDL calls must be made in such
 * bodies.
 */
template <typename Body>
void inOwnProcess(const Body& body) {
    fflush(nullptr);
    const pid_t pid = fork();
    if (pid == 0) {
        body();
        fflush(nullptr);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_EQ(status, 0) << "see the failures above";
}

}  // namespace hidlaudio::test
