// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <hidl/Status.h>

#include <string>

#include "channel.h"

namespace hidlaudio::python {

/** The replies to a request: a value, or an error of one of the kinds "invalid", "dead" and "failed". */

inline Json reply(const Json& value) {
    return {{"value", value}};
}

/** The request itself is wrong; nothing was called. */
inline Json invalidReply(const std::string& problem) {
    return {{"error", "invalid"}, {"text", problem}};
}

inline Json failedReply(bool isDead, const std::string& description) {
    return {{"error", isDead ? "dead" : "failed"}, {"text", description}};
}

inline Json failedReply(const android::hardware::details::return_status& returned) {
    return failedReply(returned.isDeadObject(), returned.description());
}

}  // namespace hidlaudio::python
