// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include "probe.h"
#include "tests/support/becomes_true.h"
#include "tests/support/private_tv.h"
#include "tests/support/process_state.h"

namespace hidlaudio::test {

using android::base::unique_fd;
using android::hardware::interfacesEqual;

/** What went wrong with a call, with the status's name in it; empty where nothing did. Examines. */
template <typename T>
std::string errorOf(const Return<T>& result) {
    return result.isOk() ? "" : result.description();
}

/** What the service logged so far. */
inline std::vector<std::string> eventsOf(const sp<ParentProbe>& probe) {
    std::vector<std::string> events;
    const auto keep = [&events](const auto& logged) { events.assign(logged.begin(), logged.end()); };
    EXPECT_EQ(errorOf(probe->events(keep)), "");
    return events;
}

/** Waits until the service has logged `event`. */
inline bool logged(const sp<ParentProbe>& probe, const std::string& event) {
    return becomesTrue([&] { return testing::Matches(testing::Contains(event))(eventsOf(probe)); });
}

/** A process beside the test (probe_process.cpp), killed at the latest with this object. Main thread. */
class Helper {
  public:
    /** @param passed a descriptor that the process finds as number 3 */
    explicit Helper(std::vector<std::string> arguments, int passed = -1) {
        int input[2];
        int output[2];
        if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0) abort();
        input_.reset(input[1]);
        output_.reset(output[0]);
        const unique_fd theirs[] = {unique_fd(input[0]), unique_fd(output[1])};
        arguments.insert(arguments.begin(), PROBE_PROCESS);
        std::vector<char*> pointers(arguments.size() + 1);  // and a null at the end
        for (size_t i = 0; i < arguments.size(); ++i) pointers[i] = arguments[i].data();
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
        if (passed >= 0) posix_spawn_file_actions_adddup2(&actions, passed, 3);
        if (posix_spawn(&pid_, pointers[0], &actions, nullptr, pointers.data(), environ) != 0) abort();
        posix_spawn_file_actions_destroy(&actions);
    }
    ~Helper() { kill(); }
    Helper(const Helper&) = delete;
    Helper& operator=(const Helper&) = delete;

    pid_t pid() const { return pid_; }
    /** The next line of its output; empty at the end. */
    std::string readLine() {
        std::string line;
        for (char c; read(output_.get(), &c, 1) == 1 && c != '\n';) line += c;
        return line;
    }
    /** Whether there is output to read. */
    bool hasOutput() const {
        pollfd poll{output_.get(), POLLIN, 0};
        return ::poll(&poll, 1, 0) == 1;
    }
    void letGo() { EXPECT_EQ(write(input_.get(), "g", 1), 1); }
    void kill() {
        if (pid_ > 0 && ::kill(pid_, SIGKILL) == 0) wait();
    }
    /** Waits for its end; its exit status, 128 + n if signal n ended it. */
    int wait() {
        int status = 0;
        waitpid(std::exchange(pid_, -1), &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

    size_t descriptors() const { return countOf("fd", pid_); }
    size_t threads() const { return countOf("task", pid_); }

  private:
    pid_t pid_ = -1;
    unique_fd input_;
    unique_fd output_;
};

struct ServiceOptions {
    size_t threads = 1;
    std::string instance = "default";
    size_t descriptors = 0;
    bool joins = true;
};

/** A process that serves a probe; registered when the constructor returns. */
class Service : public Helper {
  public:
    explicit Service(const ServiceOptions& options = {})
        : Helper({"serve", options.instance, std::to_string(options.threads),
                  std::to_string(options.descriptors)}),
          instance_(options.instance) {
        EXPECT_EQ(readLine(), "ready");
        if (options.joins) letGo();
    }

    /** A new proxy of it. */
    sp<IProbe> get() const { return IProbe::getService(instance_); }

  private:
    const std::string instance_;
};

/** Where a method of the probe waits; see the interface. */
class Gate {
  public:
    Gate() {
        int ends[2];
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) abort();
        near_.reset(ends[0]);
        native_handle_t* far = native_handle_create(1, 0);
        far->data[0] = ends[1];
        far_.setTo(far, true);
    }
    /** As an argument of a call. */
    const hidl_handle& handle() const { return far_; }
    /** Waits until the method is there. */
    void awaitEntry() {
        char byte = 0;
        EXPECT_EQ(read(near_.get(), &byte, 1), 1);
    }
    void open() { EXPECT_EQ(write(near_.get(), "o", 1), 1); }

  private:
    unique_fd near_;
    hidl_handle far_;
};

/** A virtual TV of this test program's own, and an end for tests that hang. */
class HidlTest : public testing::Test {
  protected:
    HidlTest() {
        // One for the program: the runtime of a process belongs to one TV.
        static const PrivateTv tv({});
        alarm(90);  // no test takes a tenth of that, on a machine that is busy with other things
    }
    ~HidlTest() override { alarm(0); }
};

/** With a service of one thread, and a proxy of it. */
class ServedTest : public HidlTest {
  protected:
    Service service_;
    const sp<IProbe> probe_ = service_.get();
};

}  // namespace hidlaudio::test
