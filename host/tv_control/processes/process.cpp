// SPDX-License-Identifier: Apache-2.0
#include "process.h"

#include <android-base/unique_fd.h>
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "child.h"
#include "host/tv_files/program_lock.h"

namespace hidlaudio::host {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kPollInterval{5};
constexpr milliseconds kKillPatience{2000};

/** Sends the errno of a failed call through the pipe to the parent, and exits. */
[[noreturn]] void failIn(int report, int error) {
    (void)!write(report, &error, sizeof(error));
    _exit(127);
}

/** Resets all signals to their default action and unblocks them, as at a boot. */
void resetSignals() {
    for (int number = 1; number < NSIG; ++number) signal(number, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

/**
 * Executes the program in the child process. The inherited descriptors are closed by the exec and not
 * earlier, because one of them may hold the lock of run/: run/ stays locked until this process holds the
 * program's own lock.
 */
[[noreturn]] void becomeProgram(const ProcessSetup& setup, pid_t parent, int report) {
    setsid();
    resetSignals();
    if (setup.endsWithCaller) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent) _exit(127);
    }
    const auto lock = static_cast<unsigned>(setup.lock);
    close_range(STDERR_FILENO + 1, lock - 1, CLOSE_RANGE_CLOEXEC);
    close_range(lock + 1, ~0U, CLOSE_RANGE_CLOEXEC);
    fcntl(setup.lock, F_SETFD, 0);
    if (const int error = acquireProgramLock(setup.lock); error != 0) failIn(report, error);
    dup2(setup.log, STDOUT_FILENO);
    dup2(setup.log, STDERR_FILENO);
    const int null = open("/dev/null", O_RDONLY | O_CLOEXEC);
    if (null < 0 || dup2(null, STDIN_FILENO) < 0 || chdir("/") != 0) failIn(report, errno);
    std::string name = std::filesystem::path(setup.path).filename();
    char* arguments[] = {name.data(), nullptr};
    execv(setup.path.c_str(), arguments);
    failIn(report, errno);
}

bool endsWithin(const Process& process, milliseconds patience) {
    const auto deadline = steady_clock::now() + patience;
    while (isRunning(process)) {
        if (steady_clock::now() >= deadline) return false;
        std::this_thread::sleep_for(kPollInterval);
    }
    return true;
}

}  // namespace

std::optional<Process> findProcess(pid_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    if (!std::getline(file, line)) return std::nullopt;
    // The program's name in parentheses may contain spaces and parentheses.
    const size_t afterName = line.rfind(')');
    if (afterName == std::string::npos) return std::nullopt;
    std::istringstream fields(line.substr(afterName + 1));
    char state = 0;
    fields >> state;
    std::string skipped;
    for (int field = 4; field < 20; ++field) fields >> skipped;
    int threads = 0;
    Process process{pid, 0};
    if (!(fields >> threads >> skipped >> process.startTime)) return std::nullopt;
    // The first thread may have ended before the others, which keep the descriptors and locks.
    const bool hasEnded = (state == 'Z' || state == 'X') && threads <= 1;
    return hasEnded ? std::nullopt : std::optional(process);
}

bool isRunning(const Process& process) {
    const std::optional<Process> found = findProcess(process.pid);
    return found && found->startTime == process.startTime;
}

int startProcess(const ProcessSetup& setup, Process& process) {
    android::base::unique_fd reading, writing;
    if (!android::base::Pipe(&reading, &writing)) return errno;
    const pid_t parent = getpid();
    const pid_t pid = fork();
    if (pid < 0) return errno;
    if (pid == 0) becomeProgram(setup, parent, writing.get());
    writing.reset();
    int error = 0;
    (void)!TEMP_FAILURE_RETRY(read(reading.get(), &error, sizeof(error)));
    if (error != 0) waitpid(pid, nullptr, 0);
    if (error == 0) process = findProcess(pid).value_or(Process{pid, 0});
    return error;
}

Stopped stopProcess(const Process& process, milliseconds patience) {
    if (!isRunning(process) || kill(process.pid, SIGTERM) != 0) {
        return isRunning(process) ? Stopped::No : Stopped::ByRequest;
    }
    if (endsWithin(process, patience)) return Stopped::ByRequest;
    kill(process.pid, SIGKILL);
    return endsWithin(process, kKillPatience) ? Stopped::ByForce : Stopped::No;
}

std::optional<Ending> endingOf(const Process& child) {
    const std::optional<ChildStatus> status = statusWithin(child.pid, milliseconds(0));
    return status ? std::optional(Ending{*status == -SIGTERM, describe(*status)}) : std::nullopt;
}

}  // namespace hidlaudio::host
