// SPDX-License-Identifier: Apache-2.0
#include "terminal.h"

#include <errno.h>
#include <stdio.h>

namespace hidlaudio::host {

int fail(const std::string& message, ExitStatus status) {
    note(message);
    return status;
}

void note(const std::string& message) {
    fprintf(stderr, "%s: %s\n", program_invocation_short_name, message.c_str());
}

}  // namespace hidlaudio::host
