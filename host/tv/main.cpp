// SPDX-License-Identifier: Apache-2.0
#include "commands.h"
#include "host/program/command_program.h"
#include "host/tv_files/tv_root.h"

int main(int argc, char** argv) {
    using namespace hidlaudio::host;
    // Makes the path absolute: the TV's programs are started in another folder.
    setTvRoot(tvRoot());
    return runCommandProgram(argc, argv, addCommandLine);
}
