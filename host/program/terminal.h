// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace hidlaudio::host {

/** Exit statuses of `tv` and `tv_stress`. */
enum ExitStatus {
    kDone = 0,
    kFailed = 1,      // the command failed, or a check of the TV found a violation
    kWrongUsage = 2,  // invalid argument, or the folder is not a TV
};

/** Prints an error message to standard error, with the program's name as prefix. Returns `status`. */
int fail(const std::string& message, ExitStatus status = kFailed);

/** Prints a warning or a hint to standard error, with the program's name as prefix. */
void note(const std::string& message);

}  // namespace hidlaudio::host
