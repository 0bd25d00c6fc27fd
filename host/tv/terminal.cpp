// SPDX-License-Identifier: Apache-2.0
#include "terminal.h"

#include <stdio.h>
#include <string.h>

namespace hidlaudio::host {

int fail(const std::string& message, ExitStatus status) {
    note(message);
    return status;
}

void note(const std::string& message) {
    fprintf(stderr, "tv: %s\n", message.c_str());
}

std::string fileError(const std::string& path, int error) {
    return path + ": " + strerror(error);
}

}  // namespace hidlaudio::host
