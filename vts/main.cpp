// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "support/client_process.h"
#include "support/options.h"

namespace tovi_audio_vts {
namespace {

constexpr char kHelp[] =
    R"(Conformance tests of com.tovi.dtv.hardware.audio. They restore the settings that they change.

Options:
  --upload-bytes=N       Permit uploads of parameters to the back-end controller. They replace its
                         parameters. A long upload has N zero bytes and must take more than half a
                         second. (default: tests with uploads are skipped)
  --restart-command=CMD  Shell command that restarts the service (default: tests that restart the
                         service are skipped)

To test one interface, for example: --gtest_filter='IHdmiAudio/*'

)";

/** Returns the value of an option, or null if the argument is another one. */
const char* valueOf(const char* argument, const char* option) {
    const size_t length = strlen(option);
    return strncmp(argument, option, length) == 0 ? argument + length : nullptr;
}

/** Returns false if the argument is not an option of the suite. */
bool parse(const char* argument) {
    if (const char* command = valueOf(argument, "--restart-command=")) {
        options().restartCommand = command;
        return true;
    }
    if (const char* number = valueOf(argument, "--upload-bytes=")) {
        char* end = nullptr;
        const unsigned long bytes = strtoul(number, &end, 10);
        options().uploadBytes = bytes;
        return *number >= '0' && *number <= '9' && *end == '\0' && bytes <= INT_MAX;
    }
    return false;
}

int run(int argc, char** argv) {
    options().program = argv[0];
    if (argc == 4 && valueOf(argv[1], kClientArgument) != nullptr) {
        options().uploadBytes = strtoul(argv[3], nullptr, 10);
        runClient(valueOf(argv[1], kClientArgument), argv[2]);
    }
    if (argc == 2 && strcmp(argv[1], "--help") == 0) fputs(kHelp, stdout);
    ::testing::InitGoogleTest(&argc, argv);  // prints its own options after "--help"
    for (int i = 1; i < argc; ++i) {
        if (parse(argv[i]) || strcmp(argv[i], "--help") == 0) continue;
        fprintf(stderr, "%s: unknown or invalid argument '%s'; see --help\n", argv[0], argv[i]);
        return 2;
    }
    return RUN_ALL_TESTS();
}

}  // namespace

Options& options() {
    static Options instance;
    return instance;
}

}  // namespace tovi_audio_vts

int main(int argc, char** argv) {
    return tovi_audio_vts::run(argc, argv);
}
