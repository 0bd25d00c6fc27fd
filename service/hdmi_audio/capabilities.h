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
 * The formats that the TV announces at its audio return channels: three levels in the
 * middleware's configuration store, each known to clients by names. On the thread that
 * serves the calls, with the middleware opened. All is logged.
 */

/**
 * Reads the names of the present levels: ARC Dolby Digital, eARC Dolby Digital, ARC
 * MPEG-4 AAC. "NONE" stands for a level that can't be read or has no name.
 */
::android::hardware::hidl_vec<::android::hardware::hidl_string> readCapabilities();

/**
 * Sets the level to which `entry` belongs by its prefix, to the highest one that any
 * entry of `request` names in full.
 *
 * @return the middleware's status, 0 where the level is set; -1 where the request names
 *     no such level, and nothing is written; nothing where no level that can be set has
 *     the prefix
 */
std::optional<int32_t> writeCapability(const std::string& entry, const std::vector<std::string>& request);

/** Where each level is kept, in the order of readCapabilities(). Asks and logs nothing. Any thread. */
std::vector<platform::StateItem> describeCapabilityKeys();

}  // namespace com::tovi::dtv::hardware::audio::hdmi_audio
