// SPDX-License-Identifier: Apache-2.0
#include "host/kernel/faults.h"

#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <stdio.h>
#include <sys/epoll.h>
#include <sys/ioctl.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <functional>

#include "host/kernel/clock.h"
#include "host/root/call_record.h"
#include "tests/support/run_program.h"

namespace hidlaudio::test {
namespace {

using host::countedCalls;
using host::Fault;
using host::injectFault;
using host::injectFaults;
using host::ScopedFault;

constexpr char kFile[] = "/data/file";

/** What a service does to store two bytes: 0, or the errno of what went wrong. */
int store() {
    const int fd = open(kFile, O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (fd < 0) return errno;
    for (const char* byte : {"1", "2"}) {
        if (write(fd, byte, 1) == 1) continue;
        const int error = errno;
        close(fd);
        return error;
    }
    const int error = fsync(fd) == 0 ? 0 : errno;
    return close(fd) == 0 ? error : errno;
}

TEST(Faults, EveryCallOfAScenarioCanBeMadeToFail) {
    const PrivateTv tv{"data"};
    const std::pair<const char*, unsigned> calls[] = {{"open", 1}, {"write", 2}, {"fsync", 1}, {"close", 1}};
    for (const auto& [call, times] : calls) {
        unsigned n = 1;
        for (;; ++n) {
            const ScopedFault fault({call, n, EDQUOT});
            const int error = store();
            EXPECT_EQ(error, fault.struck() ? EDQUOT : 0) << call << " " << n;
            if (!fault.struck()) break;
        }
        EXPECT_EQ(n, times + 1) << call;
        EXPECT_EQ(store(), 0) << "nothing is left of the fault on " << call;
    }
    EXPECT_EQ(contentOf(tv / "data/file"), "12");
}

TEST(Faults, PassOrLastAndCountOnlyTheTvsCalls) {
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
    EXPECT_EQ(countedCalls("access"), 4U) << "the test's own file does not count";
    host::clearFaults();
    EXPECT_EQ(usleep(0), 0);
    EXPECT_EQ(countedCalls("usleep"), 1U);
}

TEST(Faults, EachKindOfCallFailsInItsOwnWay) {
    const PrivateTv tv{"data"};
    makeFile(tv / "data/file", "content");
    FILE* stream = fopen(kFile, "r+");
    const int fd = open(kFile, O_RDWR);
    const int epoll = epoll_create1(0);
    ASSERT_TRUE(stream != nullptr && fd >= 0 && epoll >= 0);
    char byte = 'x';
    epoll_event event{};
    const itimerspec timer{};
    const timespec time{0, 1};
    const auto run = [](void*) -> void* { return nullptr; };
    pthread_t thread{};
    const std::pair<const char*, std::function<bool()>> failing[] = {
        {"fopen", [&] { return fopen(kFile, "r") == nullptr; }},
        {"read", [&] { return read(fd, &byte, 1) == -1; }},
        {"lseek", [&] { return lseek(fd, 0, SEEK_SET) == -1; }},
        {"ioctl", [&] { return ioctl(fd, FIONREAD, &byte) == -1; }},
        {"fread", [&] { return fread(&byte, 1, 1, stream) == 0; }},
        {"fwrite", [&] { return fwrite(&byte, 1, 1, stream) == 0; }},
        {"fseek", [&] { return fseek(stream, 0, SEEK_SET) == -1; }},
        {"remove", [&] { return remove(kFile) == -1; }},
        {"unlink", [&] { return unlink(kFile) == -1; }},
        {"nanosleep", [&] { return nanosleep(&time, nullptr) == -1; }},
        {"epoll_create", [&] { return epoll_create(1) == -1; }},
        {"epoll_create1", [&] { return epoll_create1(0) == -1; }},
        {"epoll_ctl", [&] { return epoll_ctl(epoll, EPOLL_CTL_ADD, 0, &event) == -1; }},
        {"epoll_wait", [&] { return epoll_wait(epoll, &event, 1, -1) == -1; }},
        {"timerfd_create", [&] { return timerfd_create(CLOCK_MONOTONIC, 0) == -1; }},
        {"timerfd_settime", [&] { return timerfd_settime(-1, 0, &timer, nullptr) == -1; }},
        {"pthread_create", [&] { return (errno = pthread_create(&thread, nullptr, run, nullptr)) != 0; }},
        {"fclose", [&] { return fclose(stream) == EOF; }},
        {"close", [&] { return close(fd) == -1; }},
    };
    for (const auto& [call, fails] : failing) {
        const ScopedFault fault({call, 1, EUCLEAN});
        errno = 0;
        EXPECT_TRUE(fails()) << call;
        EXPECT_EQ(errno, EUCLEAN) << call;
    }
    EXPECT_EQ(contentOf(tv / "data/file"), "content") << "a call that fails does nothing";
    EXPECT_EQ(close(fd), -1) << "but a close closes";
    EXPECT_EQ(close(epoll), 0);
}

TEST(Faults, ShortCallsMoveTheBytesAllowed) {
    const PrivateTv tv{"data"};
    for (const auto& [call, bytes] : {std::pair("write", 3UL), {"write", 0UL}, {"fwrite", 5UL}}) {
        const ScopedFault fault({call, 1, 0, false, bytes});
        FILE* stream = fopen(kFile, "w");
        ASSERT_NE(stream, nullptr);
        const bool plain = std::string(call) == "write";
        // fwrite tells whole items only: of five bytes two pairs.
        EXPECT_EQ(
            plain ? static_cast<size_t>(write(fileno(stream), "abcdef", 6)) : fwrite("abcdef", 2, 3, stream),
            plain ? bytes : 2);
        fclose(stream);
        EXPECT_EQ(contentOf(tv / "data/file"), std::string("abcdef").substr(0, bytes));
    }
    makeFile(tv / "data/file", "abcdef");
    const ScopedFault readFault({"read", 1, 0, false, 2});
    const ScopedFault freadFault({"fread", 1, 0, false, 2});
    FILE* stream = fopen(kFile, "r");
    ASSERT_NE(stream, nullptr);
    char bytes[8] = {};
    EXPECT_EQ(fread(bytes, 1, 6, stream), 2U);
    EXPECT_EQ(fread(bytes, 1, 6, stream), 4U) << "the next one goes on where the short one ended";
    rewind(stream);
    EXPECT_EQ(read(fileno(stream), bytes, 6), 2);
    EXPECT_EQ(fclose(stream), 0);
}

TEST(Faults, AreSetByText) {
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
    EXPECT_EQ(access("/data/", F_OK), 0) << "it works, but late";
    EXPECT_EQ(clock.now(), std::chrono::seconds(22));
    EXPECT_EQ(injectFaults("access:1:dies"), "");
    EXPECT_EXIT(access("/data/", F_OK), testing::KilledBySignal(SIGKILL), "");
    host::clearFaults();

    EXPECT_EQ(injectFaults(""), "");
    for (const char* wrong :
         {"write", "write:1", "write:0:EIO", "write:-1:EIO", "write:+:EIO", "nosuch:1:EIO", "write:1:EWHAT",
          "write:1:0", "write:1:-5", "write:1:short", "read:1:short=", "access:1:short=1",
          "write:1:EIO;read:1:EIO", ",", "access:1:delay=0", "access:1:delay=", "access:1:dead",
          "write:99999999999:EIO"}) {
        EXPECT_NE(injectFaults(wrong), "") << wrong;
    }
}

/** What a program does whose calls are recorded; the test below runs it as one. */
TEST(Faults, DISABLED_Program) {
    EXPECT_EQ(store(), 0);
    errno = 5;
    EXPECT_EQ(usleep(7), 0);
    EXPECT_EQ(errno, 5);
}

TEST(Faults, CallsAreRecordedInOrder) {
    const PrivateTv tv{"data"};
    RunningProgram program(
        {"/proc/self/exe", "--gtest_also_run_disabled_tests", "--gtest_filter=*DISABLED_Program"},
        {"HIDLAUDIO_CALLS=" + (tv / "calls")});
    EXPECT_EQ(program.wait(), 0) << program.out();
    EXPECT_EQ(contentOf(tv / "calls"),
              "kernel\topen\t/data/file\nkernel\twrite\t/data/file\nkernel\twrite\t/data/file\n"
              "kernel\tfsync\t/data/file\nkernel\tclose\t/data/file\nkernel\tusleep\t7\n");
    EXPECT_EQ(host::readCallRecord(tv / "calls").size(), 6U);
}

}  // namespace
}  // namespace hidlaudio::test
