// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/wait.h>
#include <unistd.h>

namespace hidlaudio::test {

/**
 * Runs `body` in a process of its own, where no module holds anything yet; what fails
 * there fails the test. The test's own process must have started no thread: all of
 * its HIDL use belongs into such bodies.
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
    EXPECT_EQ(status, 0) << "what failed is told above";
}

}  // namespace hidlaudio::test
