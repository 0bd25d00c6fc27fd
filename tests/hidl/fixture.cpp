// SPDX-License-Identifier: Apache-2.0
#include "fixture.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <sstream>

#include "tests/support/private_tv.h"

namespace hidlaudio::test {
namespace {

// No test takes a tenth of this, on a machine that is busy with other things.
constexpr unsigned kWatchdogSeconds = 90;
constexpr auto kPatience = std::chrono::seconds(20);
constexpr int kPassed = 3;

void makePipe(unique_fd* readEnd, unique_fd* writeEnd) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) abort();
    readEnd->reset(ends[0]);
    writeEnd->reset(ends[1]);
}

size_t entriesOf(const std::string& folder) {
    using Iterator = std::filesystem::directory_iterator;
    std::error_code ignored;
    return static_cast<size_t>(std::distance(Iterator(folder, ignored), Iterator()));
}

std::string processFolder(pid_t pid) {
    return "/proc/" + std::to_string(pid);
}

}  // namespace

Helper::Helper(std::vector<std::string> arguments, int passed) {
    unique_fd input;
    unique_fd output;
    makePipe(&input, &mInput);
    makePipe(&mOutput, &output);
    arguments.insert(arguments.begin(), PROBE_PROCESS);
    std::vector<char*> pointers;
    for (std::string& argument : arguments) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input.get(), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output.get(), STDOUT_FILENO);
    if (passed >= 0) posix_spawn_file_actions_adddup2(&actions, passed, kPassed);
    if (posix_spawn(&mPid, pointers[0], &actions, nullptr, pointers.data(), environ) != 0) abort();
    posix_spawn_file_actions_destroy(&actions);
}

std::string Helper::readLine() {
    std::string line;
    for (char c; read(mOutput.get(), &c, 1) == 1 && c != '\n';) line += c;
    return line;
}

void Helper::letGo() {
    EXPECT_EQ(write(mInput.get(), "g", 1), 1);
}

void Helper::kill() {
    if (mPid <= 0) return;
    ::kill(mPid, SIGKILL);
    wait();
}

int Helper::wait() {
    int status = 0;
    const pid_t pid = std::exchange(mPid, -1);
    if (pid <= 0 || waitpid(pid, &status, 0) != pid) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

size_t Helper::descriptors() const {
    return entriesOf(processFolder(mPid) + "/fd");
}

size_t Helper::threads() const {
    return entriesOf(processFolder(mPid) + "/task");
}

uint64_t Helper::switches() const {
    uint64_t sum = 0;
    for (const auto& task : std::filesystem::directory_iterator(processFolder(mPid) + "/task")) {
        std::istringstream status(contentOf(task.path() / "status"));
        for (std::string line; std::getline(status, line);) {
            if (line.find("ctxt_switches") != std::string::npos)
                sum += std::stoul(line.substr(line.find(':') + 1));
        }
    }
    return sum;
}

Service::Service(const ServiceOptions& options)
    : Helper(
          {"serve", options.instance, std::to_string(options.threads), std::to_string(options.descriptors)}),
      mInstance(options.instance) {
    EXPECT_EQ(readLine(), "ready");
    if (options.joins) letGo();
}

Gate::Gate() : mHandle(native_handle_create(1, 0)) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) abort();
    mNear.reset(ends[0]);
    mHandle->data[0] = ends[1];
}

Gate::~Gate() {
    native_handle_close(mHandle);
    native_handle_delete(mHandle);
}

void Gate::awaitEntry() {
    char byte = 0;
    EXPECT_EQ(read(mNear.get(), &byte, 1), 1);
}

void Gate::open() {
    EXPECT_EQ(write(mNear.get(), "o", 1), 1);
}

HidlTest::HidlTest() {
    // One for the program: the runtime of a process belongs to one TV.
    static const PrivateTv tv({});
    alarm(kWatchdogSeconds);
}

HidlTest::~HidlTest() {
    alarm(0);
}

bool eventually(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

std::vector<std::string> eventsOf(const sp<ParentProbe>& probe) {
    std::vector<std::string> events;
    const Return<void> called = probe->events(
        [&events](const hidl_vec<hidl_string>& logged) { events.assign(logged.begin(), logged.end()); });
    EXPECT_EQ(errorOf(called), "");
    return events;
}

bool logged(const sp<ParentProbe>& probe, const std::string& event) {
    return eventually([&] {
        const std::vector<std::string> events = eventsOf(probe);
        return std::find(events.begin(), events.end(), event) != events.end();
    });
}

}  // namespace hidlaudio::test
