// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <optional>
#include <string>
#include <string_view>

namespace hidlaudio::host {

/** Effect of a fault on the function. */
enum class FaultKind {
    Returns,   // the function returns a status and does not work
    Delays,    // the function works after a delay
    Dies,      // the process that serves the call is killed
    Fails,     // system calls only: the call fails with an errno
    Shortens,  // system calls only: the call transfers fewer bytes
};

/** A fault that a user or a test sets on a function or system call, in the file `<folder>/<function>`. */
struct FaultSetting {
    int32_t status = 0;  // returned status, or errno
    int32_t count = 0;   // number of injections; 0: until the file is deleted
    int32_t pass = 0;    // number of calls that work before the first injection
    FaultKind kind = FaultKind::Returns;
    int32_t delay = 0;  // in milliseconds of the TV's time
    int32_t bytes = 0;  // maximum of a short read or write
};

/** Returns the name of an errno, such as "ENOSPC", or its number if it has no name. */
std::string errnoName(int error);

/** Returns the file's line: the words that set the fault, then COUNT and PASS if not 0. */
std::string formatFault(const FaultSetting& fault);

/**
 * Parses the content of a function's fault file: "STATUS", "delay=MILLISECONDS" or "dies", then COUNT and
 * PASS. Returns `std::nullopt` if it is invalid, for example if COUNT is 0.
 */
std::optional<FaultSetting> parseFault(std::string_view text);

/**
 * Like parseFault() for a system call. STATUS is the name or number of an errno, or "short=BYTES". A delay of
 * 0 is invalid.
 */
std::optional<FaultSetting> parseCallFault(std::string_view text);

using FaultParser = std::optional<FaultSetting> (*)(std::string_view text);

/**
 * Consumes one use of the fault on `function`, if there is one. `fault` is `std::nullopt` if the call must
 * work. The file is deleted after its last use. Without a file, the cost is one access(). Returns 0, or an
 * errno: EINVAL if the file holds no valid fault. May be called from any thread and any process.
 */
int takeFault(const std::string& folder, const std::string& function, FaultParser parse,
              std::optional<FaultSetting>& fault);

/**
 * Like takeFault() for a function, and injects the fault: `status` becomes the status to return; a delay is
 * waited for; or the process is killed. `status` is `std::nullopt` if the function must work.
 */
int injectFault(const std::string& folder, const std::string& function, std::optional<int32_t>& status);

}  // namespace hidlaudio::host
