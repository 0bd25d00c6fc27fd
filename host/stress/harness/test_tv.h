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

/** A TV that a command makes for itself, with the programs that it runs on it as its children. */
struct TestTv {
    std::string root;
    std::string folder;  // where the commands run, with the files that they take
    pid_t hal = 0;       // 0: it does not run
    pid_t daemon = 0;
    unsigned clock = 1;  // how much faster the programs' time passes
    // What the HAL was started with.
    std::vector<std::string> halVariables{};  // NOLINT(readability-redundant-member-init): g++ wants it
};

/** Makes the TV by `tv init` with these options. Returns an empty string, or why not. */
std::string makeTestTv(TestTv& tv, const std::vector<std::string>& options);

/**
 * Starts the audio HAL, then the daemon, with the further variables each, and waits until
 * all services are registered. A HAL that ends while the daemon starts is started again, as the
 * TV does: the daemon waits for it. Returns an empty string, or how it went wrong: what runs
 * then stays.
 */
std::string startHal(TestTv& tv, const std::vector<std::string>& variables);
std::string startDaemon(TestTv& tv, const std::vector<std::string>& variables);

/** How the daemon has ended, if it has within `patience`; it does not run any more then. */
std::optional<ChildStatus> daemonEnding(TestTv& tv, std::chrono::milliseconds patience = {});

void stopDaemon(TestTv& tv);
void stopHal(TestTv& tv);

/** Returns the whole of a file, or "" if it cannot be read. */
std::string contentOf(const std::string& path);

/** The file of a program that lies beside this one. */
std::string programFile(const std::string& name);

/** What a process holds. */
struct Usage {
    long descriptors = 0;
    long threads = 0;
    long memory = 0;  // in KiB of its own; 0 where a sanitizer's or an emulator's bookkeeping hides it
};

Usage usageOf(pid_t pid);

/** The TV's state: the files, by their path below the root, with what they hold. */
using TvFiles = std::map<std::string, std::string>;

TvFiles filesOf(const TestTv& tv);

/** What may be otherwise than it must be, after what failed. */
struct ToleratedViolations {
    std::set<std::string> cutOff;  // persisted files whose writing was cut off or failed: they may be short
    bool unknownTransfer = false;  // the controller was not told or asked: it may still read the parameters
    bool wakeLockKept = false;     // it could not be released
};

/** The daemon's persisted files, as it names them. */
std::vector<std::string> persistedFiles();

/** What must hold of the state of any TV that is at rest, whatever failed before: what does not, a sentence
 * each. */
std::vector<std::string> brokenInvariants(const TvFiles& files, const ToleratedViolations& tolerated);

}  // namespace hidlaudio::host
