// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "host/root/regular_file.h"  // fileError()

namespace hidlaudio::host {

/** The exit statuses of `tv`. */
enum ExitStatus {
    kDone = 0,
    kFailed = 1,      // the TV or its folder did not let it
    kWrongUsage = 2,  // a wrong argument, or a folder that holds no TV
};

/** Tells the user on standard error why a command did not do it; returns `status`. */
int fail(const std::string& message, ExitStatus status = kFailed);

/** Tells the user on standard error what he may want to know, though it was done. */
void note(const std::string& message);

}  // namespace hidlaudio::host
