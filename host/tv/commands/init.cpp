// SPDX-License-Identifier: Apache-2.0
#include <stdio.h>

#include <filesystem>
#include <memory>

#include "host/program/terminal.h"
#include "host/tv/commands.h"
#include "host/tv_control/processes/programs.h"
#include "host/tv_control/state/tv_folder.h"
#include "host/tv_files/folder_lock.h"
#include "host/tv_files/regular_file.h"
#include "host/tv_files/tv_check.h"
#include "host/tv_files/tv_root.h"

namespace hidlaudio::host {
namespace {

struct InitOptions {
    std::string model = "be";
    bool centreInput = false;
    bool force = false;
};

int init(const InitOptions& options) {
    std::error_code error;
    std::filesystem::create_directories(tvRoot(), error);
    // Waits for another `tv init`, and for a `tv boot` that is starting the programs.
    const FolderLock lock = lockTv();
    const FolderContent content = contentOfFolder();
    if (content == FolderContent::SomethingElse) {
        return fail(tvRoot() + " is neither an empty folder nor a TV; it was not changed");
    }
    if (content == FolderContent::Tv && !options.force) {
        return fail(tvRoot() + " already holds a TV; --force replaces it and deletes its stored data");
    }
    if (const std::string problem = rootProblem(tvRoot()); !problem.empty()) return fail(problem);
    if (error || lock.error() != 0) return fail(fileError(tvRoot(), error ? error.value() : lock.error()));
    if (anyRunning()) return fail("the TV at " + tvRoot() + " is running; run `tv shutdown` first");
    std::string failed;
    const int made = makeTv({options.model == "be", options.centreInput}, failed);
    if (made != 0) return fail(fileError(failed, made));
    printf("created a TV in %s\n", tvRoot().c_str());
    return kDone;
}

}  // namespace

void addInit(Command app, int& status) {
    const auto options = std::make_shared<InitOptions>();
    const Command command = app.addCommand("init", "Create a TV");
    command.setHelp(
        "Creates the folder of a TV in its factory state: configuration store, EEPROM, tuning file,\n"
        "readiness marker, an empty data partition, and a manifest that declares the services of the TV's\n"
        "programs. Never changes a folder that holds other files and no TV.",
        {"1  the folder holds other files, or a TV and --force is not given; the TV is running; other\n"
         "     users can write to the folder; or a file cannot be written",
         "2  the arguments are wrong"},
        {"tv init", "tv init --model standard --centre-input --force"});
    command
        .option("--model", "MODEL", options->model,
                "Select the model: be has a back-end audio controller, standard\n"
                "has none (default: be)")
        .oneOf({"be", "standard"})
        .showsDefault();
    command.flag("--centre-input", options->centreInput,
                 "Enable the center speaker input: the TV can be the center\n"
                 "speaker of an audio system");
    command.flag("--force", options->force, "Replace an existing TV and delete its stored data");
    command.onRun([options, &status] { status = init(*options); });
}

}  // namespace hidlaudio::host
