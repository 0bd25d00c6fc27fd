// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <optional>
#include <string>
#include <string_view>

namespace hidlaudio::host {

/**
 * A fault that a person or a test has set on a function of the TV: the file
 * `<folder>/<function>` with the status that the function returns instead of
 * working and, for a passing fault, how many times.
 */
struct FaultSetting {
    int32_t status = 0;
    int32_t count = 0;  // 0: until it is taken away
};

/** "STATUS\n", or "STATUS COUNT\n". */
std::string formatFault(const FaultSetting& fault);

/** The reverse of formatFault; nothing for any other text, a count below 1 included. */
std::optional<FaultSetting> parseFault(std::string_view text);

/**
 * Uses up one time of the fault on `function`, if there is one: `status` becomes
 * its status, and nothing where no fault is set. The file of a passing fault goes
 * with its last time. Returns 0, or an errno (EINVAL: the file holds no fault).
 * Any thread and any process.
 */
int takeFault(const std::string& folder, const std::string& function, std::optional<int32_t>& status);

}  // namespace hidlaudio::host
