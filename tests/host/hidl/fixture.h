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
#include <transport/wire.h>

#include "probe.h"
#include "tests/support/becomes_true.h"
#include "tests/support/private_tv.h"
#include "tests/support/process_state.h"

namespace hidlaudio::test {

using android::base::unique_fd;
using android::hardware::interfacesEqual;

constexpr size_t kKiB = 1024;

/** Returns the description of a failed call, or an empty string. Marks the status as examined. */
template <typename T>
std::string errorOf(const Return<T>& result) {
    return result.isOk() ? "" : result.description();
}

/** Returns all events that the service has logged. */
inline std::vector<std::string> eventsOf(const sp<ParentProbe>& probe) {
    std::vector<std::string> events;
    const auto keep = [&events](const auto& logged) { events.assign(logged.begin(), logged.end()); };
    EXPECT_EQ(errorOf(probe->events(keep)), "");
    return events;
}

/** Waits until the service has logged `event`. Returns false on a time-out. */
inline bool logged(const sp<ParentProbe>& probe, const std::string& event) {
    return becomesTrue([&] { return testing::Matches(testing::Contains(event))(eventsOf(probe)); });
}

/** A helper process (probe_process.cpp). The destructor kills it. Main thread only. */
class Helper {
  public:
    /** @param passed a descriptor that the process gets as descriptor 3, or -1 */
    explicit Helper(std::vector<std::string> arguments, int passed = -1,
                    const std::string& program = PROBE_PROCESS) {
        int input[2];
        int output[2];
        if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0) abort();
        input_.reset(input[1]);
        output_.reset(output[0]);
        const unique_fd theirs[] = {unique_fd(input[0]), unique_fd(output[1])};
        arguments.insert(arguments.begin(), program);
        std::vector<char*> pointers(arguments.size() + 1);  // null-terminated
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
    /** Returns the next line of its output, or an empty string at the end of the output. */
    std::string readLine() {
        std::string line;
        for (char c; read(output_.get(), &c, 1) == 1 && c != '\n';) line += c;
        return line;
    }
    /** Returns whether there is output to read. */
    bool hasOutput() const {
        pollfd poll{output_.get(), POLLIN, 0};
        return ::poll(&poll, 1, 0) == 1;
    }
    /** Lets the process continue when it waits for a byte of input. */
    void letGo() { EXPECT_EQ(write(input_.get(), "g", 1), 1); }
    void kill() {
        if (pid_ > 0 && ::kill(pid_, SIGKILL) == 0) wait();
    }
    /** Waits for the process. Returns its exit status, or 128 + n if signal n ended it. */
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
    size_t descriptors = 0;  // limit of open descriptors; 0: unchanged
    bool joins = true;       // whether the main thread joins the pool without a letGo() of the test
    std::string program = PROBE_PROCESS;
};

/** A process that serves a probe. The probe is registered when the constructor returns. */
class Service : public Helper {
  public:
    explicit Service(const ServiceOptions& options = {})
        : Helper({"serve", options.instance, std::to_string(options.threads),
                  std::to_string(options.descriptors)},
                 -1, options.program),
          instance_(options.instance) {
        EXPECT_EQ(readLine(), "ready");
        if (options.joins) letGo();
    }

    /** Returns a new proxy of the probe. */
    sp<IProbe> get() const { return IProbe::getService(instance_); }

  private:
    const std::string instance_;
};

/** Gate at which a method of the probe waits; see IProbe.hal. */
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
    /** Returns the handle to pass to the method. */
    const hidl_handle& handle() const { return far_; }
    /** Waits until the method has reached the gate. */
    void awaitEntry() {
        char byte = 0;
        EXPECT_EQ(read(near_.get(), &byte, 1), 1);
    }
    /** Lets the method continue. */
    void open() { EXPECT_EQ(write(near_.get(), "o", 1), 1); }

  private:
    unique_fd near_;
    hidl_handle far_;
};

/** Fixture with a virtual TV for this test program. Ends a test that hangs after 90 s. */
class HidlTest : public testing::Test {
  protected:
    HidlTest() {
        // One TV per program, because the runtime of a process uses only one.
        static const PrivateTv tv({});
        alarm(90);  // ten times the duration of the longest test on a busy machine
    }
    ~HidlTest() override { alarm(0); }
};

/** Makes calls until the channel has all descriptors that it will ever have. */
inline void makeBusy(const sp<IProbe>& probe) {
    for (int i = 0; i <= android::hardware::transport::kLaneCalls; ++i) EXPECT_EQ(probe->add(1, 2), 3);
}

/** Fixture with a single-threaded service and a proxy of it. */
class ServedTest : public HidlTest {
  protected:
    Service service_;
    const sp<IProbe> probe_ = service_.get();
};

}  // namespace hidlaudio::test
