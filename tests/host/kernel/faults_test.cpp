// SPDX-License-Identifier: Apache-2.0
#include "host/kernel/faults/faults.h"

#include <errno.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdio.h>
#include <unistd.h>

#include "host/kernel/clock/clock.h"
#include "tests/support/run_program.h"

namespace hidlaudio::test {
namespace {

using host::countedCalls;
using host::Fault;
using host::injectFault;
using host::injectFaults;

constexpr char kFile[] = "/data/file";

TEST(Faults, SingleAndLastingFaultsCountOnlyCallsOnTv) {
    const PrivateTv tv{"data"};
    makeFile(tv / "elsewhere");
    host::clearFaults();
    ASSERT_TRUE(injectFault({"access", 2, EACCES}));
    ASSERT_TRUE(injectFault({"usleep", 2, EINTR, true}));
    std::string accesses, sleeps;
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(access((tv / "elsewhere").c_str(), F_OK), 0);
        accesses += access("/data/", F_OK) == 0 ? "." : "x";
        sleeps += usleep(0) == 0 ? "." : "x";
    }
    EXPECT_EQ(accesses, ".x..");
    EXPECT_EQ(sleeps, ".xxx");
    EXPECT_EQ(countedCalls("access"), 4U) << "a file that the program opens by its real path does not count";
    host::clearFaults();
    EXPECT_EQ(usleep(0), 0);
    EXPECT_EQ(countedCalls("usleep"), 1U);
}

TEST(Faults, TextSetsFaults) {
    const PrivateTv tv{"data"};
    EXPECT_EQ(injectFaults("access:2:EACCES,write:1+:short=1,usleep:1:4"), "");
    EXPECT_EQ(access("/data/", F_OK), 0);
    EXPECT_EQ(access("/data/", F_OK), -1);
    EXPECT_EQ(errno, EACCES);
    const int fd = open(kFile, O_WRONLY | O_CREAT, 0600);
    for (int i = 0; i < 2; ++i) EXPECT_EQ(write(fd, "ab", 2), 1);
    EXPECT_EQ(close(fd), 0);
    EXPECT_EQ(usleep(1), -1);
    EXPECT_EQ(errno, 4);
    host::clearFaults();

    host::SteppedClock clock;
    EXPECT_EQ(injectFaults("access:2:delay=22000"), "");
    EXPECT_EQ(access("/data/", F_OK), 0);
    EXPECT_EQ(clock.now(), std::chrono::seconds(0));
    EXPECT_EQ(access("/data/", F_OK), 0) << "the delayed call works";
    EXPECT_EQ(clock.now(), std::chrono::seconds(22));
    EXPECT_EQ(injectFaults("access:1:dies"), "");
    EXPECT_EXIT(access("/data/", F_OK), testing::KilledBySignal(SIGKILL), "");
    host::clearFaults();

    EXPECT_EQ(injectFaults(""), "");
    for (const char* wrong :
         {"write", "write:1", "write:0:EIO", "write:+:EIO", "nosuch:1:EIO", "write:1:EWHAT", "write:1:0",
          "write:1:short", "read:1:short=", "access:1:short=1", "write:1:EIO;read:1:EIO", ",",
          "access:1:delay=0", "access:1:dead", "write:99999999999:EIO"}) {
        EXPECT_NE(injectFaults(wrong), "") << wrong;
    }
}

/** Writes `count` times, and returns a letter per result: '.' whole, 's' short, 'x' failed with ENOSPC. */
std::string writeOften(int count) {
    const int fd = open(kFile, O_WRONLY | O_CREAT, 0600);
    std::string results;
    for (int i = 0; i < count; ++i) {
        errno = 0;
        const ssize_t written = write(fd, "ab", 2);
        results += written == 2 && errno == 0 ? "." : written == 1 ? "s" : errno == ENOSPC ? "x" : "?";
    }
    close(fd);
    return results;
}

TEST(Faults, FileOfTvFaultsCallsWhileProgramRuns) {
    const PrivateTv tv{"data", "kernel/faults"};
    const std::string file = tv / "kernel/faults/write";
    host::clearFaults();
    host::useStoredFaults(tv / "");
    const std::pair<const char*, std::pair<const char*, const char*>> faults[] = {
        {"ENOSPC 2 1\n", {".xx.", "(none)"}}, {"28", {"xxxx", "28"}},
        {"short=1 1\n", {"s...", "(none)"}},  {"", {"????", ""}},
        {"short=x", {"????", "short=x"}},
    };
    for (const auto& [text, expected] : faults) {
        makeFile(file, text);
        EXPECT_EQ(writeOften(4), expected.first) << text;
        EXPECT_EQ(contentOf(file), expected.second) << text;
    }
    makeFile(file, "ENOSPC 1\n");
    EXPECT_EQ(injectFaults("write:2:short=1"), "");
    EXPECT_EQ(writeOften(3), "xs.");
    makeFile(file, "ENOSPC 1\n");
    EXPECT_EQ(injectFaults("write:1:short=1"), "");
    EXPECT_EQ(writeOften(3), "sx.") << "a call with a fault of the environment leaves the file alone";

    makeFile(tv / "kernel/faults/access", "short=1");
    EXPECT_EQ(access("/data/", F_OK), -1) << "only calls that transfer bytes can be short";
    makeFile(tv / "kernel/faults/access", "dies");
    EXPECT_EXIT(access("/data/", F_OK), testing::KilledBySignal(SIGKILL), "");
    host::useStoredFaults("");
    EXPECT_EQ(access("/data/", F_OK), 0);
    host::clearFaults();
}

/** Starts this test program again, so that host_kernel's start-up code runs with `variable`. */
int startWith(const std::string& variable, std::string& err) {
    RunningProgram program({"/proc/self/exe", "--gtest_list_tests"}, {variable});
    const int status = program.wait();
    err = program.err();
    return status;
}

TEST(Start, InvalidVariablesAreRefused) {
    std::string err;
    for (const char* wrong :
         {"HIDLAUDIO_CLOCK=0", "HIDLAUDIO_CLOCK=-1", "HIDLAUDIO_CLOCK=50x", "HIDLAUDIO_CLOCK=1000001",
          "HIDLAUDIO_CLOCK= 5", "HIDLAUDIO_FAULT=write", "HIDLAUDIO_FAULT=write:1:EIO,nosuch:1:EIO"}) {
        EXPECT_EQ(startWith(wrong, err), 2) << wrong;
        const std::string variable = std::string(wrong).substr(0, std::string(wrong).find('='));
        EXPECT_THAT(err, testing::StartsWith(variable)) << wrong;
    }
    for (const char* right : {"HIDLAUDIO_CLOCK=", "HIDLAUDIO_CLOCK=1000000",
                              "HIDLAUDIO_FAULT=", "HIDLAUDIO_FAULT=write:3:ENOSPC,read:1+:short=2"}) {
        EXPECT_EQ(startWith(right, err), 0) << right;
        EXPECT_EQ(err, "") << right;
    }
}

}  // namespace
}  // namespace hidlaudio::test
