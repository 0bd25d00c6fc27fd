// SPDX-License-Identifier: Apache-2.0
#include <stdio.h>

#include "host/program/terminal.h"
#include "host/recording/record_control.h"
#include "host/tv/commands.h"
#include "host/tv_control/processes/programs.h"
#include "host/tv_control/state/tv_folder.h"
#include "host/tv_files/folder_lock.h"
#include "host/tv_files/regular_file.h"
#include "host/tv_files/tv_root.h"

namespace hidlaudio::host {
namespace {

int shutdown() {
    if (!openTv()) return kWrongUsage;
    const FolderLock lock(tvRoot() + "/run");
    if (lock.error() != 0) return fail(fileError(tvRoot() + "/run", lock.error()));
    const bool ran = anyRunning();
    if (!stopPrograms()) return kFailed;
    if (const std::string problem = stopLeftRecord(); !problem.empty()) return fail(problem);
    if (!ran) printf("no program was running\n");
    return kDone;
}

}  // namespace

void addShutdown(Command app, int& status) {
    const Command command = app.addCommand("shutdown", "Stop the TV's programs");
    command.setHelp(
        "Sends SIGTERM to each program that runs on the TV, and SIGKILL if it has not ended after one\n"
        "second. The stored data of the TV is kept.",
        {"0  no program is running any more, even if none was running before",
         "1  a program cannot be stopped", kNeedsTv},
        {"tv shutdown"});
    command.onRun([&status] { status = shutdown(); });
}

}  // namespace hidlaudio::host
