// SPDX-License-Identifier: Apache-2.0
#include <stdio.h>

#include "host/program/terminal.h"
#include "host/tv/commands.h"
#include "host/tv/processes/programs.h"
#include "host/tv/state/tv_folder.h"
#include "host/tv_files/folder_lock.h"
#include "host/tv_files/tv_root.h"

namespace hidlaudio::host {
namespace {

int shutdown() {
    if (!openTv()) return kWrongUsage;
    const FolderLock lock(tvRoot() + "/run");
    if (lock.error() != 0) return fail(fileError(tvRoot() + "/run", lock.error()));
    const bool ran = anyRunning();
    if (!stopPrograms()) return kFailed;
    if (!ran) printf("nothing runs\n");
    return kDone;
}

}  // namespace

void addShutdown(CLI::App& app, int& status) {
    CLI::App* command = app.add_subcommand("shutdown", "End the TV's programs");
    command->footer(
        "Asks each program that runs on the TV to end, and kills one that has not after a second.\n"
        "What the TV has stored stays.");
    command->callback([&status] { status = shutdown(); });
}

}  // namespace hidlaudio::host
