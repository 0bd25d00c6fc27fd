// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/tv/processes/child.h"

namespace hidlaudio::host {

/** A temporary TV. Its programs are children of this process. */
struct TestTv {
    std::string root;
    std::string folder;  // working directory of the commands, with their input files
    pid_t hal = 0;       // 0 if it is not running
    pid_t daemon = 0;    // 0 if it is not running
    unsigned clock = 1;  // HIDLAUDIO_CLOCK of the programs
    // Variables of the last startHal(), for a restart.
    std::vector<std::string> halVariables{};  // NOLINT(readability-redundant-member-init): for g++
};

/** Runs `tv init` with these options. Returns an error message, or "". */
std::string makeTestTv(TestTv& tv, const std::vector<std::string>& options);

/**
 * Start the audio HAL or the daemon with additional environment variables, and wait until its services are
 * registered. Start the HAL first. startDaemon() restarts a HAL that ends meanwhile, as the TV does, because
 * the daemon waits for it. Both return an error message, or "". They do not stop any program on failure.
 */
std::string startHal(TestTv& tv, const std::vector<std::string>& variables);
std::string startDaemon(TestTv& tv, const std::vector<std::string>& variables);

/** Waits up to `patience` for the daemon to end. Returns its status, or `std::nullopt` if it did not end. */
std::optional<ChildStatus> daemonEnding(TestTv& tv, std::chrono::milliseconds patience = {});

void stopDaemon(TestTv& tv);
void stopHal(TestTv& tv);

/** Returns the content of a file, or "" if it cannot be read. */
std::string contentOf(const std::string& path);

/** Returns the path of a program in the folder of this program. */
std::string programFile(const std::string& name);

/** Resources that a process holds. */
struct Usage {
    long descriptors = 0;
    long threads = 0;
    long memory = 0;  // anonymous memory in KiB; 0 with a sanitizer or an emulator, which add their own
};

Usage usageOf(pid_t pid);

/** The files of a TV: path below the root and content. */
using TvFiles = std::map<std::string, std::string>;

TvFiles filesOf(const TestTv& tv);

/** Violations of invariants that an injected fault explains. */
struct ToleratedViolations {
    std::set<std::string>
        cutOff;  // persisted files that may be truncated, because a write failed or was cut off
    bool unknownTransfer = false;  // the daemon may keep parameters that the controller may still read
    bool wakeLockKept = false;     // the release of the wake lock failed
};

/** Returns the paths of the daemon's persisted files, below the TV's root. */
std::vector<std::string> persistedFiles();

/** Checks the invariants of an idle TV. Returns one message per violation. */
std::vector<std::string> brokenInvariants(const TvFiles& files, const ToleratedViolations& tolerated);

}  // namespace hidlaudio::host
