// SPDX-License-Identifier: Apache-2.0
#include <stdio.h>

#include <memory>

#include "host/program/terminal.h"
#include "host/tv/commands.h"
#include "host/tv/processes/programs.h"
#include "host/tv/state/tv_folder.h"
#include "host/tv_files/folder_lock.h"
#include "host/tv_files/tv_check.h"
#include "host/tv_files/tv_root.h"

namespace hidlaudio::host {
namespace {

struct Options {
    std::string model = "be";
    bool centreInput = false;
    bool force = false;
};

int init(const Options& options) {
    const FolderContent content = contentOfFolder();
    if (content == FolderContent::SomethingElse) {
        return fail(tvRoot() + " is no empty folder and no TV: left as it is");
    }
    if (content == FolderContent::Tv && !options.force) {
        return fail(tvRoot() + " holds a TV already; --force makes it anew, and what it has stored is lost");
    }
    if (const std::string problem = rootProblem(tvRoot()); !problem.empty()) return fail(problem);
    // `tv boot` holds the lock while it starts a program.
    const FolderLock lock(tvRoot() + kRunFolder);
    if (anyRunning()) return fail("the TV at " + tvRoot() + " is running; `tv shutdown` ends it");
    std::string failed;
    if (const int error = makeTv({options.model == "be", options.centreInput}, failed); error != 0) {
        return fail(fileError(failed, error));
    }
    printf("a new TV in %s\n", tvRoot().c_str());
    return kDone;
}

}  // namespace

void addInit(CLI::App& app, int& status) {
    const auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("init", "Make a new TV");
    command->footer(
        "Makes the folder of a TV with everything that one holds at the factory: the configuration\n"
        "store, the readiness marker, an empty data partition, and a manifest that declares the services\n"
        "of its programs. A folder that holds anything but a TV is never touched.");
    command->add_option("--model", options->model, "be: with a back-end audio controller; standard: without")
        ->type_name("MODEL")
        ->check(CLI::IsMember({"be", "standard"}))
        ->capture_default_str();
    command->add_flag("--centre-input", options->centreInput,
                      "The TV can be the centre speaker of an audio system");
    command->add_flag("--force", options->force, "Replace the TV that is there, with all that it has stored");
    command->callback([options, &status] { status = init(*options); });
}

}  // namespace hidlaudio::host
