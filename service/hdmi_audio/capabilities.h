// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <hidl/HidlSupport.h>
#include <stdint.h>

#include <optional>
#include <string>
#include <vector>

#include "platform/state_dump.h"

namespace com::tovi::dtv::hardware::audio::hdmi_audio {

/**
 * The formats that the TV announces at its audio return channels: three levels in the middleware's
 * configuration store, whose values have names for clients. Reads and writes are logged. Any thread,
 * after the middleware was opened.
 */

/**
 * Returns the names of the current levels: ARC Dolby Digital, eARC Dolby Digital, ARC MPEG-4 AAC. The name
 * is "NONE" if a level cannot be read or its value has no name.
 */
::android::hardware::hidl_vec<::android::hardware::hidl_string> readCapabilities();

/**
 * Sets the level whose prefix `entry` has, to the highest value whose full name is in `request`.
 *
 * @return the middleware's status, 0 for success; -1 if `request` has no valid name of this level:
 *     nothing is written; `std::nullopt` if no level that can be set has the prefix
 */
std::optional<int32_t> writeCapability(const std::string& entry, const std::vector<std::string>& request);

/**
 * Describes the keys of the levels, in the order of readCapabilities(). Reads and logs nothing. Any thread.
 */
std::vector<platform::StateItem> describeCapabilityKeys();

}  // namespace com::tovi::dtv::hardware::audio::hdmi_audio
