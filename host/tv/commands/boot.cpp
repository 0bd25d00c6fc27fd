// SPDX-License-Identifier: Apache-2.0
#include <errno.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>
#include <utility>
#include <vector>

#include "host/program/interrupt.h"
#include "host/program/terminal.h"
#include "host/recording/record_control.h"
#include "host/recording/record_follower.h"
#include "host/tv/commands.h"
#include "host/tv_control/processes/log_tail.h"
#include "host/tv_control/processes/programs.h"
#include "host/tv_control/state/registry.h"
#include "host/tv_control/state/tv_folder.h"
#include "host/tv_control/state/tv_state.h"
#include "host/tv_files/folder_lock.h"
#include "host/tv_files/program_lock.h"
#include "host/tv_files/regular_file.h"
#include "host/tv_files/tv_check.h"
#include "host/tv_files/tv_root.h"
#include "host/tv_files/value_file.h"

namespace hidlaudio::host {
namespace {

using std::chrono::steady_clock;

/** Default time-out in seconds. At its start, the daemon may wait five times, up to 20 s each. */
constexpr unsigned kStartTimeout = 180;
constexpr size_t kLastLines = 10;

struct Started {
    std::string program;
    Process process;
    bool isChild = true;  // false if the program was already running
};

struct BootOptions {
    bool background = false;
    unsigned timeout = kStartTimeout;  // seconds until the services of a program must be registered
    std::string record;                // file to which the calls are recorded, or ""
};

struct Boot {
    BootOptions options;
    RecordLock recordLock;  // taken in the foreground
    LogTail log{LogTail::From::End};
    std::vector<Started> started;
};

/** Creates run/ and log/, which may be deleted while no program runs. Returns an error message, or "". */
std::string makeFolders() {
    for (const auto& [folder, mode] : {std::pair("/run", 0700U), std::pair("/log", 0755U)}) {
        const std::string path = tvRoot() + folder;
        if (mkdir(path.c_str(), mode) != 0 && errno != EEXIST) return fileError(path, errno);
    }
    return "";
}

/**
 * Adds the programs that are already running to `boot`. Returns an error message, or "" if the others can be
 * started now.
 */
std::string findRunning(Boot& boot) {
    std::string running;
    std::string missing;
    bool inOrder = true;
    for (const char* program : kPrograms) {
        if (const auto process = runningProgram(program)) {
            running += std::string(running.empty() ? "" : ", ") + program + " is process " +
                       std::to_string(process->pid);
            boot.started.push_back({program, *process, false});
            inOrder = inOrder && missing.empty();
        } else if (missing.empty()) {
            missing = program;
        }
    }
    if (missing.empty()) return "the TV is already running: " + running;
    return inOrder ? ""
                   : missing + " is not running and cannot be started after the others (" + running +
                         "); run `tv shutdown` first";
}

/**
 * Puts the wake locks and the back-end controller into their power-on state. Returns an error message, or "".
 */
std::string setPowerOnState(bool hasBackEnd) {
    const std::string wakeLocks = tvRoot() + "/power/wake_lock";
    const FolderLock lock(tvRoot() + "/power");
    if (lock.error() != 0) return fileError(wakeLocks, lock.error());
    if (const int error = writeValueFile(wakeLocks, ""); error != 0) return fileError(wakeLocks, error);
    std::string failed;
    const int error = hasBackEnd ? makeBackEndIdle(failed) : 0;
    return error == 0 ? "" : fileError(failed, error);
}

/** Ends the record of a TV that was not shut down, and begins a new one. Returns an error message, or "". */
std::string beginRecord(Boot& boot) {
    std::string reason = boot.started.empty() ? stopLeftRecord() : "";
    if (!reason.empty() || boot.options.record.empty()) return reason;
    reason = startRecord({boot.options.record}, boot.options.background ? nullptr : &boot.recordLock);
    if (!reason.empty() || boot.recordLock.error == 0) return reason;
    stopOwnRecord(boot.options.record);
    return fileError(programLockFile(kRecordLock), boot.recordLock.error);
}

/**
 * Checks that the programs can be started, and then puts the TV into its power-on state. Returns an error
 * message, or "".
 */
std::string prepareStart(bool hasBackEnd, Boot& boot) {
    std::string reason = findRunning(boot);
    if (reason.empty()) reason = contentProblem(tvRoot());
    for (const std::string program : kPrograms) {
        if (reason.empty() && access(fileOf(program).c_str(), X_OK) != 0)
            reason = fileError(fileOf(program), errno);
    }
    if (reason.empty()) reason = setPowerOnState(hasBackEnd);
    return reason.empty() ? beginRecord(boot) : reason;
}

std::optional<Ending> endingOf(const Started& one) {
    if (one.isChild) return endingOf(one.process);
    return isRunning(one.process) ? std::nullopt : std::optional(Ending{false, "has ended"});
}

/**
 * Returns how a program has ended, or `std::nullopt` if all are running. A program that ended without SIGTERM
 * takes precedence.
 */
std::optional<Ending> anyEnding(const Boot& boot) {
    std::optional<Ending> found;
    for (const Started& one : boot.started) {
        const auto ending = endingOf(one);
        if (!ending || (found && ending->asked)) continue;
        found = Ending{ending->asked, one.program + " " + ending->how};
    }
    return found;
}

bool allRegistered(const Boot& boot) {
    return std::all_of(boot.started.begin(), boot.started.end(),
                       [](const Started& one) { return servicesRegistered(one.program, one.process.pid); });
}

std::string withLog(const Boot& boot, const std::string& reason) {
    return reason + ". The last lines of the log:\n" + boot.log.lastLines(kLastLines);
}

/** Names each program with missing services, and the first missing service of each. */
std::string describeTimeout(const Boot& boot) {
    std::string text;
    for (const Started& one : boot.started) {
        const std::vector<std::string> missing = missingServices(one.program, one.process.pid);
        if (missing.empty()) continue;
        text += (text.empty() ? "" : ", ") + one.program + " has not registered " + describeMissing(missing);
    }
    return text + " within " + std::to_string(boot.options.timeout) + " s";
}

/** Waits until all programs in `boot` have registered their services. Returns an error message, or "". */
std::string awaitServices(const Boot& boot, const Interrupt& interrupt) {
    const auto deadline = steady_clock::now() + std::chrono::seconds(boot.options.timeout);
    while (!allRegistered(boot)) {
        if (const auto ending = anyEnding(boot)) return withLog(boot, ending->how);
        if (steady_clock::now() > deadline) return withLog(boot, describeTimeout(boot));
        if (interrupt.cameWithin(1)) return "interrupted";
    }
    return "";
}

/** Starts the program unless it is running, and adds it to `boot`. Returns an error message, or "". */
std::string start(const std::string& program, Boot& boot) {
    for (const Started& one : boot.started) {
        if (one.program == program) return "";
    }
    Process process;
    std::string reason = startProgram(program, !boot.options.background, process);
    if (reason.empty()) boot.started.push_back({program, process});
    return reason;
}

/**
 * Stops the programs in `boot`, but not those that another `tv boot` has started in their place. Returns
 * false if a program cannot be stopped.
 */
bool stopStarted(const Boot& boot) {
    bool allStopped = true;
    for (auto one = boot.started.rbegin(); one != boot.started.rend(); ++one)
        allStopped = stopProgram(one->program, one->process) && allStopped;
    return allStopped;
}

/** Ends the record of --record unless another process has ended it. */
void endRecord(const Boot& boot) {
    if (boot.options.record.empty()) return;
    if (const std::string problem = stopOwnRecord(boot.options.record); !problem.empty()) note(problem);
}

/**
 * Starts the programs that are not running. Each one is started when those before it have registered their
 * services, because the daemon looks for the audio HAL only at its start. Stops the programs in `boot` if one
 * fails. Returns an error message, or "".
 */
std::string startAll(bool hasBackEnd, Boot& boot, const Interrupt& interrupt) {
    std::string reason = makeFolders();
    if (!reason.empty()) return reason;
    const FolderLock lock(tvRoot() + "/run");
    if (lock.error() != 0) return fileError(tvRoot() + "/run", lock.error());
    reason = prepareStart(hasBackEnd, boot);
    if (!reason.empty()) return reason;
    for (const char* program : kPrograms) {
        reason = awaitServices(boot, interrupt);
        if (reason.empty()) reason = start(program, boot);
        if (reason.empty()) continue;
        stopStarted(boot);
        endRecord(boot);
        return reason;
    }
    return "";
}

int finishInBackground(const Boot& boot, const Interrupt& interrupt) {
    const std::string reason = awaitServices(boot, interrupt);
    if (!reason.empty()) {
        stopStarted(boot);
        endRecord(boot);
        return fail(reason);
    }
    for (const Started& one : boot.started)
        printf("%s %s, process %d\n", one.program.c_str(), one.isChild ? "started" : "was already running",
               one.process.pid);
    return kDone;
}

/**
 * Prints the logs until a signal arrives or a program ends, then stops the programs in `boot`. Returns an
 * exit status.
 */
int stayInForeground(Boot& boot, const Interrupt& interrupt) {
    std::optional<Ending> ending;
    RecordFollower record(boot.options.record, RecordTail::From::Start, {false, true});
    while (!ending && boot.log.print() && !interrupt.cameWithin(50)) {
        record.follow();
        ending = anyEnding(boot);
    }
    const bool stopped = stopStarted(boot);
    boot.log.print();
    record.follow();
    endRecord(boot);
    if (ending && !ending->asked) return fail(ending->how);
    return stopped ? kDone : kFailed;
}

int bootTv(const BootOptions& options) {
    std::optional<FolderLock> lock(lockTv());
    const std::optional<TvModel> model = openTv();
    if (!model) return kWrongUsage;
    if (lock->error() != 0) return fail(fileError(tvRoot(), lock->error()));
    const Interrupt interrupt;
    Boot boot;
    boot.options = options;
    if (!options.record.empty()) boot.options.record = std::filesystem::absolute(options.record);
    const std::string reason = startAll(model->backEnd, boot, interrupt);
    lock.reset();
    if (!reason.empty()) return fail(reason);
    return options.background ? finishInBackground(boot, interrupt) : stayInForeground(boot, interrupt);
}

}  // namespace

void addBoot(Command app, int& status) {
    const auto options = std::make_shared<BootOptions>();
    const Command command = app.addCommand("boot", "Start the TV's programs");
    command.setHelp(
        "Starts the audio HAL and then the daemon, which lie in the folder of `tv`. Shows their logs until\n"
        "Ctrl-C, which shuts the TV down. If `tv` is killed, the programs that it has started also end.\n"
        "With --background, the programs continue to run after `tv` has returned. Their output is appended\n"
        "to log/<program>.log. A program that is already running is kept, but the audio HAL cannot be\n"
        "started while the daemon is running.\n"
        "\n"
        "With --record, all HIDL calls of the daemon are recorded until the TV is shut down, or until\n"
        "`tv record --stop`. `tv record --help` describes the record.\n"
        "\n"
        "The programs read the environment variables HIDLAUDIO_CLOCK, HIDLAUDIO_FAULT and HIDLAUDIO_CALLS;\n"
        "see hidlaudio(8).",
        {"1  a program cannot be started, ends without being shut down, or does not register its services\n"
         "     in time; or `tv` is interrupted before that",
         kNeedsTv},
        {"tv boot", "tv boot --background", "tv boot --record calls.jsonl",
         "HIDLAUDIO_CLOCK=50 tv boot               # time passes 50 times faster",
         "HIDLAUDIO_FAULT=write:3:ENOSPC tv boot   # the third write of each program fails"});
    command.flag("--background", options->background, "Return when all services are registered");
    command
        .option("--record", "FILE", options->record,
                "Record the calls of the daemon to FILE; an existing file is\noverwritten")
        .notEmpty();
    command
        .option("--timeout", "SECONDS", options->timeout,
                "Time to wait for the services of each program, 1 to 86400\n"
                "(default: 180)")
        .integer(1, 86400);
    command.onRun([options, &status] { status = bootTv(*options); });
}

}  // namespace hidlaudio::host
