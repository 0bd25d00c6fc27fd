// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <hidl/HidlSupport.h>
#include <stdint.h>

#include <vector>

#include "calibration_lock.h"

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {

/**
 * The delays that a client has set for the two front channels, in place of those of the
 * calibration. They are lost when the process ends. Any thread.
 */
struct SmoothDelay {
    bool enabled = false;
    std::vector<float>
        values;  // in ms, front left and front right first; unchecked, further values are only kept
};

/** Returns the process-wide smooth delay. */
SmoothDelay& smoothDelay() REQUIRES(calibrationLock);

/** Whether both front channels have a smooth delay now. */
bool isSmoothDelayInUse() REQUIRES(calibrationLock);

/** Switches the smooth delay, if it is not so already. Switching on resets both delays to 0; switching off
 * keeps the values. */
void switchSmoothDelay(SmoothDelay& delay, bool enable);

/** Whether the number of values is valid: 2 to 9. */
bool isSmoothDelay(const ::android::hardware::hidl_vec<float>& delays);

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
