// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>

#include <string>

namespace tovi_audio_vts {

/** The suite's own options. See main.cpp for their help texts. */
struct Options {
    size_t uploadBytes = 0;      // size of a long upload; 0: no upload is permitted
    std::string restartCommand;  // empty: the service cannot be restarted
    std::string program;         // path of this program
};

/** Returns the options of this process. main() sets them before the tests run. */
Options& options();

}  // namespace tovi_audio_vts
