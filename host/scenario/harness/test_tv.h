// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/tv_control/processes/child.h"

namespace hidlaudio::host {

/** A temporary TV. Its programs are children of this process. */
struct TestTv {
    std::string root;
    std::string folder;  // working directory of the commands, with their input files
    unsigned clock = 1;  // HIDLAUDIO_CLOCK of the programs
    pid_t hal = 0;       // 0 if it is not running
    pid_t daemon = 0;    // 0 if it is not running
    // Path of the daemon's program; "" for the one in this program's folder.
    std::string daemonFile{};  // NOLINT(readability-redundant-member-init): for g++
    // Variables of the last startHal(), for a restart.
    std::vector<std::string> halVariables{};  // NOLINT(readability-redundant-member-init): for g++
};

/** Runs `tv init` with these options. Returns an error message, or "". */
std::string makeTestTv(const TestTv& tv, const std::vector<std::string>& options);

/** Creates the TV's folder of input files: links to `parameters` and to all files beside the scenarios. */
void linkInputFiles(const TestTv& tv, const std::string& parameters, const std::string& scenarioFolder);

/**
 * Start the audio HAL or the daemon with additional environment variables, and wait until its services are
 * registered. Start the HAL first. startDaemon() restarts a HAL that ends meanwhile, as the TV does, because
 * the daemon waits for it. Both return an error message, or "". They do not stop any program on failure.
 */
std::string startHal(TestTv& tv, const std::vector<std::string>& variables);
std::string startDaemon(TestTv& tv, const std::vector<std::string>& variables);

/** Waits up to `patience` for the daemon to end. Returns its status, or `std::nullopt` if it did not end. */
std::optional<ChildStatus> daemonEnding(TestTv& tv, std::chrono::milliseconds patience = {});

/** Stops the daemon and the audio HAL, if they are running. */
void stopTv(TestTv& tv);

/**
 * Starts a command of the TV in the folder of its input files, with the paths of its output and errors.
 * Returns an error message, or "".
 */
std::string startCommand(const TestTv& tv, std::vector<std::string> words, const std::string& output,
                         const std::string& errors, pid_t& pid);

/** Returns the content of a file, or "" if it cannot be read. */
std::string contentOf(const std::string& path);

/** Resources that a process holds. */
struct Usage {
    long descriptors = 0;
    long threads = 0;
    long memory = 0;  // anonymous memory in KiB; 0 with a sanitizer or an emulator, which add their own
};

Usage usageOf(pid_t pid);

/**
 * Waits up to `patience` until `isIdle` accepts the daemon's usage and its usage one interval before. Returns
 * the last usage.
 */
Usage usageWhenIdle(const TestTv& tv, std::chrono::milliseconds patience, std::chrono::milliseconds interval,
                    const std::function<bool(const Usage& now, const Usage& before)>& isIdle);

/** Returns a text such as "12 descriptors, allowed 10" for each resource that exceeds its limit. */
std::vector<std::string> excessOf(const Usage& usage, const Usage& allowed);

/** The files of a TV: path below the root and content. */
using TvFiles = std::map<std::string, std::string>;

/** The wake locks that are held, one per line; below the TV's root. */
constexpr char kWakeLockFile[] = "/power/wake_lock";

TvFiles filesOf(const TestTv& tv);

/** Returns the content of a file, or `nullptr` if it is missing. */
const std::string* findIn(const TvFiles& files, const std::string& path);

/** Violations of invariants that an injected fault explains. */
struct ToleratedViolations {
    // Persisted files that may be truncated, because a write failed or was cut off.
    std::set<std::string> truncatedFiles;
    bool unknownTransfer = false;  // the daemon may keep parameters that the controller may still read
    bool wakeLockHeld = false;     // the release of the wake lock failed
};

/** Returns the paths of the daemon's persisted files, below the TV's root. */
std::vector<std::string> persistedFiles();

/** Checks the invariants of an idle TV. Returns one message per violation. */
std::vector<std::string> brokenInvariants(const TvFiles& files, const ToleratedViolations& tolerated);

}  // namespace hidlaudio::host
