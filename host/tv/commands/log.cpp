// SPDX-License-Identifier: Apache-2.0
#include <unistd.h>

#include <memory>

#include "host/program/interrupt.h"
#include "host/program/terminal.h"
#include "host/tv/commands.h"
#include "host/tv_control/processes/log_tail.h"
#include "host/tv_control/state/tv_folder.h"
#include "host/tv_files/tv_check.h"
#include "host/tv_files/tv_root.h"

namespace hidlaudio::host {
namespace {

int showLog(bool follow) {
    if (!openTv()) return kWrongUsage;
    const Interrupt interrupt;
    LogTail log(LogTail::From::Start);
    if (const std::string problem = log.problem(); !problem.empty()) return fail(problem);
    if (!log.anyLog()) note("no log yet: the TV in " + tvRoot() + " has never been booted");
    bool readable = log.print();
    while (follow && readable && !interrupt.cameWithin(50)) {
        if (access((tvRoot() + kModelFile).c_str(), F_OK) != 0) return fail(tvRoot() + " was deleted");
        readable = log.print();
    }
    return kDone;  // main() checks whether the output was written
}

}  // namespace

void addLog(Command app, int& status) {
    const auto follow = std::make_shared<bool>(false);
    const Command command = app.addCommand("log", "Print the logs of the TV's programs");
    command.setHelp(
        "Prints log/audio_hal.log and log/hidlaudio.log of the TV's folder. Each boot appends to them.",
        {"1  a log cannot be read, the output cannot be written, or the TV is deleted", kNeedsTv},
        {"tv log | tail", "tv log --follow"});
    command.flag("-f,--follow", *follow, "Continue to print new lines until Ctrl-C");
    command.onRun([follow, &status] { status = showLog(*follow); });
}

}  // namespace hidlaudio::host
