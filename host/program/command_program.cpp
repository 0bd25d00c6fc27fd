// SPDX-License-Identifier: Apache-2.0
#include "command_program.h"

#include <errno.h>
#include <stdio.h>
#include <sys/stat.h>

#include <CLI/CLI.hpp>
#include <exception>
#include <sstream>

#include "standard_streams.h"
#include "terminal.h"

namespace hidlaudio::host {
namespace {

int runCommand(int argc, char** argv, void (*add)(Command program, int& status)) {
    int status = kDone;
    CLI::App app;
    add(Command(&app), status);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        std::ostringstream help;
        const int code = app.exit(error, help);
        fputs(help.str().c_str(), stdout);
        return code == 0 ? kDone : kWrongUsage;
    }
    return status;
}

}  // namespace

int runCommandProgram(int argc, char** argv, void (*add)(Command program, int& status)) {
    openMissingStandardDescriptors();
    // Other users must not be able to write to the files that this process creates.
    umask(umask(0) | S_IWGRP | S_IWOTH);
    try {
        return finishOutput(program_invocation_short_name, runCommand(argc, argv, add));
    } catch (const std::exception& error) {
        return fail(error.what());
    }
}

}  // namespace hidlaudio::host
