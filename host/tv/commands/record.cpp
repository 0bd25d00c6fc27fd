// SPDX-License-Identifier: Apache-2.0
#include <stdio.h>

#include <filesystem>
#include <memory>
#include <thread>

#include "host/program/interrupt.h"
#include "host/program/terminal.h"
#include "host/recording/record_control.h"
#include "host/recording/record_follower.h"
#include "host/tv/commands.h"
#include "host/tv_control/processes/programs.h"
#include "host/tv_control/state/tv_folder.h"
#include "host/tv_files/program_lock.h"
#include "host/tv_files/regular_file.h"
#include "host/tv_files/tv_root.h"

namespace hidlaudio::host {
namespace {

struct RecordCommand {
    RecordOptions record;  // without a file, the record is printed
    bool stops = false;
};

/** Follows the record until Ctrl-C, or until the recording ends. Returns an error message, or "". */
std::string follow(RecordFollower& follower, const std::string& file, const Interrupt& interrupt) {
    while (follower.follow() && follower.note().empty()) {
        if (recordedFile() != file) return "the recording was stopped";
        if (interrupt.cameWithin(50)) return "";
    }
    return follower.note();
}

/** Switches the record on in the daemon. Returns false if it is interrupted before all services record. */
bool switchOn(const Interrupt& interrupt) {
    if (!runningProgram("hidlaudio"))
        note("the daemon is not running; its calls are recorded when it starts");
    const auto isConfigured = configureDaemon();
    while (!*isConfigured) {
        if (interrupt.cameWithin(20)) return false;
    }
    note("recording the calls; stop with Ctrl-C");
    return true;
}

/** Waits until the daemon has ended a record that was stopped. */
void switchOff() {
    configureDaemon();
    std::this_thread::sleep_for(std::chrono::milliseconds(kRecordEnds));
}

int record(const std::string& file, bool prints, const Interrupt& interrupt) {
    RecordFollower follower(file, RecordTail::From::Start, {prints, true});
    std::string problem = switchOn(interrupt) ? follow(follower, file, interrupt) : "";
    const std::string unset = prints ? discardOwnRecord(file) : stopOwnRecord(file);
    switchOff();
    follower.follow();
    if (problem.empty()) problem = unset;
    if (!problem.empty()) return fail(problem);
    if (!prints) printf("%zu calls recorded\n", follower.calls());
    return kDone;
}

/** Prints the record that another process has begun. */
int printRecord(const std::string& file) {
    const Interrupt interrupt;
    RecordFollower follower(file, RecordTail::From::End, {true, false});
    if (follower.error() != 0) return fail(fileError(file, follower.error()));
    const std::string problem = follow(follower, file, interrupt);
    follower.follow();
    return problem.empty() ? kDone : fail(problem);
}

int stop() {
    const std::string file = recordedFile();
    if (file.empty()) {
        note("no calls are being recorded");
        return kDone;
    }
    if (const std::string problem = stopRecord(); !problem.empty()) return fail(problem);
    switchOff();
    printf("%s is complete\n", file.c_str());
    return kDone;
}

int recordTv(RecordCommand options) {
    if (!openTv()) return kWrongUsage;
    if (options.stops) return stop();
    const bool prints = options.record.file.empty();
    if (const std::string recorded = recordedFile(); prints && !recorded.empty())
        return printRecord(recorded);
    if (prints) options.record.file = tvRoot() + "/run/record.jsonl";
    options.record.file = std::filesystem::absolute(options.record.file);
    const Interrupt interrupt;
    RecordLock lock;
    if (const std::string problem = startRecord(options.record, &lock); !problem.empty())
        return fail(problem);
    if (lock.error != 0) note(fileError(programLockFile(kRecordLock), lock.error));
    return record(options.record.file, prints, interrupt);
}

}  // namespace

void addRecord(Command app, int& status) {
    const auto options = std::make_shared<RecordCommand>();
    const Command command = app.addCommand("record", "Record the calls of the daemon");
    command.setHelp(
        "Records all HIDL calls of the running daemon until Ctrl-C: those of its clients, and those that it\n"
        "makes to the callbacks of clients and to the audio HAL. docs/recording.md describes the record,\n"
        "which has one line of JSON for the start of a call and one for its end.\n"
        "\n"
        "Calls to callbacks and to the audio HAL are recorded if the daemon has received the callback, or\n"
        "opened the HAL, since it is recorded. `tv boot --record` records all calls from the start.\n"
        "\n"
        "Without FILE, prints the record. If a record is already being written, prints its new lines.",
        {"1  the record cannot be written, has reached its maximum size, or was stopped by --stop", kNeedsTv},
        {"tv record calls.jsonl", "tv record | grep setCallback",
         "tv record --stop               # ends a record of `tv boot --background --record FILE`"});
    const Option file =
        command.argument("FILE", options->record.file, "File to write; an existing one is overwritten")
            .notEmpty();
    const Option bytes =
        command.flag("--bytes", options->record.keepsBytes, "Store the bytes of large vectors in FILE.bytes");
    bytes.needs(file);
    command
        .option("--limit", "MIB", options->record.limit,
                "Maximum size of FILE, and of FILE.bytes, 1 to\n1048576 (default: 1024)")
        .integer(1, 1 << 20);
    command.flag("--stop", options->stops, "End the record that is being written")
        .excludes(file)
        .excludes(bytes);
    command.onRun([options, &status] { status = recordTv(*options); });
}

}  // namespace hidlaudio::host
