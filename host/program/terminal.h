// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "host/tv_files/regular_file.h"  // fileError()

namespace hidlaudio::host {

/** Exit statuses of `tv` and `tv_stress`. */
enum ExitStatus {
    kDone = 0,
    kFailed = 1,      // the TV or its folder did not allow it, or something was found
    kWrongUsage = 2,  // a wrong argument, or a folder that holds no TV
};

/** Prints an error message, with the program's name, to standard error. Returns `status`. */
int fail(const std::string& message, ExitStatus status = kFailed);

/** Prints a warning or a hint, with the program's name, to standard error. */
void note(const std::string& message);

}  // namespace hidlaudio::host
