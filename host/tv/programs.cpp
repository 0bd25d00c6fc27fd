// SPDX-License-Identifier: Apache-2.0
#include "programs.h"

#include <stdio.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <sstream>

#include "host/root/tv_root.h"
#include "host/root/value_file.h"
#include "terminal.h"

namespace hidlaudio::host {
namespace {

constexpr std::chrono::milliseconds kPatience{1000};

std::string noteOf(const std::string& program) {
    return tvRoot() + "/run/" + program + ".pid";
}

bool stopProgram(const std::string& program) {
    const std::optional<Process> process = runningProgram(program);
    if (process) {
        const Stopped stopped = stopProcess(*process, kPatience);
        if (stopped == Stopped::No) {
            note(program + " (process " + std::to_string(process->pid) + ") does not end");
            return false;
        }
        if (stopped == Stopped::ByForce) note(program + " did not end when asked to and was killed");
        printf("%s stopped\n", program.c_str());
    }
    unlink(noteOf(program).c_str());
    return true;
}

}  // namespace

std::string logOf(const std::string& program) {
    return tvRoot() + "/log/" + program + ".log";
}

std::string fileOf(const std::string& program) {
    return programFolder() + "/" + program;
}

std::optional<Process> runningProgram(const std::string& program) {
    std::string text;
    if (readValueFile(noteOf(program), text) != 0) return std::nullopt;
    std::istringstream fields(text);
    Process process;
    if (!(fields >> process.pid >> process.startTime) || process.pid <= 0) return std::nullopt;
    if (!isRunning(process)) return std::nullopt;
    return process;
}

bool anyRunning() {
    return std::any_of(std::begin(kPrograms), std::end(kPrograms),
                       [](const char* program) { return runningProgram(program).has_value(); });
}

int startProgram(const std::string& program, Process& process) {
    if (const int error = startProcess(fileOf(program), logOf(program), process); error != 0) return error;
    const std::string line = std::to_string(process.pid) + " " + std::to_string(process.startTime) + "\n";
    const int error = writeValueFile(noteOf(program), line);
    if (error != 0) stopProcess(process, kPatience);
    return error;
}

bool stopPrograms() {
    bool allStopped = true;
    for (auto program = std::rbegin(kPrograms); program != std::rend(kPrograms); ++program) {
        allStopped = stopProgram(*program) && allStopped;
    }
    return allStopped;
}

}  // namespace hidlaudio::host
