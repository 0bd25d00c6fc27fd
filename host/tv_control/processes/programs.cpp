// SPDX-License-Identifier: Apache-2.0
#include "programs.h"

#include <android-base/unique_fd.h>
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>

#include <algorithm>
#include <iterator>

#include "host/program/program_folder.h"
#include "host/program/terminal.h"
#include "host/recording/runtime_folder.h"
#include "host/tv_files/program_lock.h"
#include "host/tv_files/regular_file.h"
#include "host/tv_files/tv_root.h"

namespace hidlaudio::host {
namespace {

constexpr std::chrono::milliseconds kPatience{1000};

}  // namespace

std::string logOf(const std::string& program) {
    return tvRoot() + "/log/" + program + ".log";
}

std::string fileOf(const std::string& program) {
    return programFolder() + "/" + program;
}

std::string privateFileOf(const std::string& program) {
    return runtimeFolder() / program;
}

std::optional<Process> runningProgram(const std::string& program) {
    const pid_t holder = programLockHolder(program);
    if (holder == 0) return std::nullopt;
    std::optional<Process> process = findProcess(holder);
    // If the holder has changed, `process` may be another process that reuses the pid.
    return programLockHolder(program) == holder ? process : std::nullopt;
}

bool anyRunning() {
    return std::any_of(std::begin(kPrograms), std::end(kPrograms),
                       [](const char* program) { return runningProgram(program).has_value(); });
}

std::string startProgram(const std::string& program, bool endsWithCaller, Process& process) {
    const android::base::unique_fd log(openRegularFile(logOf(program), O_WRONLY | O_CREAT | O_APPEND));
    if (log.get() < 0) return fileError(logOf(program), errno);
    const android::base::unique_fd lock(openProgramLock(program));
    if (lock.get() < 0) return fileError(programLockFile(program), errno);
    const int error = startProcess({fileOf(program), log.get(), lock.get(), endsWithCaller}, process);
    if (error == EBUSY) return program + " is already running";
    return error == 0 ? "" : fileError(fileOf(program), error);
}

bool stopProgram(const std::string& program, const Process& process) {
    if (!isRunning(process)) return true;
    const Stopped stopped = stopProcess(process, kPatience);
    if (stopped == Stopped::No) {
        note(program + " (process " + std::to_string(process.pid) + ") cannot be stopped");
        return false;
    }
    if (stopped == Stopped::ByForce) note(program + " did not end after SIGTERM and was killed");
    printf("%s stopped\n", program.c_str());
    return true;
}

bool stopPrograms() {
    bool allStopped = true;
    for (auto program = std::rbegin(kPrograms); program != std::rend(kPrograms); ++program) {
        const std::optional<Process> process = runningProgram(*program);
        if (process) allStopped = stopProgram(*program, *process) && allStopped;
    }
    return allStopped;
}

}  // namespace hidlaudio::host
