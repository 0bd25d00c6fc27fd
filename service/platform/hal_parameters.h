// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/hardware/audio/5.0/IPrimaryDevice.h>

#include <string>

namespace com::tovi::dtv::hardware::audio::platform {

/**
 * Single parameters of the audio HAL's primary device, texts by key. Each call waits
 * for the HAL's answer, without a lock of the caller. A HAL that has ended
 * counts as one that refuses. `device` must not be null.
 */

/** Gives the HAL a value. True where it accepted. */
bool setHalParameter(const ::android::sp<::android::hardware::audio::V5_0::IPrimaryDevice>& device,
                     const char* key, const std::string& value);

/**
 * Asks the HAL for a value: the first that it answers. Empty where it refuses, and
 * where it has none.
 */
std::string getHalParameter(const ::android::sp<::android::hardware::audio::V5_0::IPrimaryDevice>& device,
                            const char* key);

}  // namespace com::tovi::dtv::hardware::audio::platform
