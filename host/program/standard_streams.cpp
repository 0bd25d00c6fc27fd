// SPDX-License-Identifier: Apache-2.0
#include "standard_streams.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <string>

namespace hidlaudio::host {
namespace {

int outputError = 0;  // errno of the first flush that failed

}  // namespace

void openMissingStandardDescriptors() {
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(fd, F_GETFD) >= 0) continue;
        // open() takes the lowest free number, which is `fd`.
        (void)!open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
}

bool isOutputRead() {
    pollfd output{STDOUT_FILENO, 0, 0};
    return poll(&output, 1, 0) <= 0 || (output.revents & (POLLERR | POLLNVAL)) == 0;
}

bool flushOutput() {
    if (fflush(stdout) != 0 && outputError == 0) outputError = errno;
    return ferror(stdout) == 0;
}

int finishOutput(const char* program, int status) {
    if (flushOutput()) return status;
    // A write in printf() failed before the flush, so its errno is unknown.
    if (outputError == 0 && !isOutputRead()) outputError = EPIPE;
    const std::string reason = outputError != 0 ? std::string(": ") + strerror(outputError) : "";
    if (outputError != EPIPE)
        fprintf(stderr, "%s: standard output cannot be written%s\n", program, reason.c_str());
    clearerr(stdout);  // a second call reports nothing
    return status == 0 ? 1 : status;
}

}  // namespace hidlaudio::host
