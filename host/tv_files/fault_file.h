// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <optional>
#include <string>
#include <string_view>

namespace hidlaudio::host {

/** What a function does that a fault is set on. */
enum class FaultKind {
    Returns,  // the status, instead of working
    Delays,   // it works, but late
    Dies,     // the process that serves the call is killed
};

/**
 * A fault that a person or a test has set on a function of the TV: the file
 * `<folder>/<function>` with what the function does and, for a passing fault, how many
 * times, and how many calls go well before.
 */
struct FaultSetting {
    int32_t status = 0;
    int32_t count = 0;  // 0: until it is taken away
    int32_t pass = 0;   // calls to come that are let pass
    FaultKind kind = FaultKind::Returns;
    int32_t delay = 0;  // in milliseconds of the programs' time
};

/** A line: "STATUS", "delay=MILLISECONDS" or "dies", then COUNT and PASS where they are not 0. */
std::string formatFault(const FaultSetting& fault);

/** The reverse of formatFault; nothing for any other text, a count below 1 included. */
std::optional<FaultSetting> parseFault(std::string_view text);

/**
 * Uses up one time of the fault on `function`, if there is one: `status` becomes
 * its status, and nothing where none is to be returned, after the delay that was set.
 * The file of a passing fault goes with its last time. Returns 0, or an errno (EINVAL:
 * the file holds no fault). Any thread and any process.
 */
int takeFault(const std::string& folder, const std::string& function, std::optional<int32_t>& status);

}  // namespace hidlaudio::host
