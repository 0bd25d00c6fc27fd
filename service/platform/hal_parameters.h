// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/hardware/audio/5.0/IPrimaryDevice.h>

#include <string>

namespace com::tovi::dtv::hardware::audio::platform {

/**
 * Single parameters of the audio HAL's primary device: strings, each with a key. Each call blocks until
 * the HAL returns, so the caller must not hold a lock. If the HAL has died, the calls fail. `device` must
 * not be null.
 */

/** Sets a parameter. Returns true if the HAL accepted the value. */
bool setHalParameter(const ::android::sp<::android::hardware::audio::V5_0::IPrimaryDevice>& device,
                     const char* key, const std::string& value);

/**
 * Reads a parameter. Returns the first value that the HAL returns, or an empty string if it returns an
 * error or no value.
 */
std::string getHalParameter(const ::android::sp<::android::hardware::audio::V5_0::IPrimaryDevice>& device,
                            const char* key);

}  // namespace com::tovi::dtv::hardware::audio::platform
