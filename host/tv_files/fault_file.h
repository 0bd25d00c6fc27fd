// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <optional>
#include <string>
#include <string_view>

namespace hidlaudio::host {

/** Effect of a fault on the function. */
enum class FaultKind {
    Returns,  // the function returns a status and does not work
    Delays,   // the function works after a delay
    Dies,     // the process that serves the call is killed
};

/** A fault that a user or a test sets on a function of the TV, in the file `<folder>/<function>`. */
struct FaultSetting {
    int32_t status = 0;
    int32_t count = 0;  // number of injections; 0: until the file is deleted
    int32_t pass = 0;   // number of calls that work before the first injection
    FaultKind kind = FaultKind::Returns;
    int32_t delay = 0;  // in milliseconds of the TV's time
};

/** Returns the file's line: "STATUS", "delay=MILLISECONDS" or "dies", then COUNT and PASS if not 0. */
std::string formatFault(const FaultSetting& fault);

/** Parses the content of a fault file. Returns `std::nullopt` if it is invalid, for example if COUNT is 0. */
std::optional<FaultSetting> parseFault(std::string_view text);

/**
 * Consumes one use of the fault on `function`, if there is one, and injects it: `status` becomes the status
 * to return; a delay is waited for; or the process is killed. `status` is `std::nullopt` if the function must
 * work. The file is deleted after its last use. Returns 0, or an errno: EINVAL if the file holds no valid
 * fault. May be called from any thread and any process.
 */
int injectFault(const std::string& folder, const std::string& function, std::optional<int32_t>& status);

}  // namespace hidlaudio::host
