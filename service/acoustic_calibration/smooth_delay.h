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
    /** In ms, front left and front right first. Not checked; further values have no effect. */
    std::vector<float> values;
};

/** Returns the process-wide smooth delay. */
SmoothDelay& smoothDelay() REQUIRES(calibrationLock);

/** Returns whether the smooth delay is on and has values for both front channels. */
bool isSmoothDelayInUse() REQUIRES(calibrationLock);

/**
 * Switches the smooth delay. Does nothing if it is in that state already. Switching on resets the values to
 * two delays of 0; switching off keeps the values.
 */
void switchSmoothDelay(SmoothDelay& delay, bool enable);

/** Returns whether the number of values is valid: 2 to 9. */
bool isSmoothDelay(const ::android::hardware::hidl_vec<float>& delays);

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
