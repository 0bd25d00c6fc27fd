// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace android::hardware::details {

/** Returns the value of a system property, or an empty string if it is not set. Any thread. */
std::string propertyValue(const std::string& name);

}  // namespace android::hardware::details
