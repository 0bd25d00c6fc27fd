// SPDX-License-Identifier: Apache-2.0
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include "session.h"

/**
 * A HIDL client that Python drives: see Session. The argument is the number of the descriptor of the control
 * socket, which the process inherits.
 */
int main(int argc, char** argv) {
    if (argc != 2) {
        fprintf(stderr, "hidl_client is started by the Python package hidlaudio\n");
        return 2;
    }
    // Never destroyed: the threads of the runtime use it until the process ends.
    auto* session = new hidlaudio::python::Session(atoi(argv[1]));
    session->run();
    fflush(nullptr);
    _exit(0);
}
