// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <hidl/HidlSupport.h>
#include <stdint.h>

#include <functional>
#include <vector>

namespace com::tovi::dtv::hardware::audio::V5_1::implementation {

/**
 * The delays that a client has set for the two front channels, in place of those of the
 * calibration. They live as long as the process. Main thread.
 */
struct SmoothDelay {
    bool enabled = false;
    std::vector<float> values;  // in ms, front left and front right first; unchecked, further ones only kept
};

/** The process's. */
const SmoothDelay& smoothDelay();

/** Whether both front channels have a smooth delay now. */
bool isSmoothDelayInUse();

/** Off, as every start of the service begins; the values stay. */
void turnSmoothDelayOff();

/** Applies the calibration anew, with the smooth delay as it is. 0, or the code of what refused. */
using Reapply = std::function<int32_t()>;

/** Switches it; on begins with both delays at 0. Where reapplying fails the switch goes back. */
int32_t switchSmoothDelay(bool enable, const Reapply& reapply);

/** Whether the number of values is one that can be set: 2 to 9. */
bool isSmoothDelay(const ::android::hardware::hidl_vec<float>& delays);

/** Sets the values, which stay even where reapplying fails. */
int32_t replaceSmoothDelay(const ::android::hardware::hidl_vec<float>& delays, const Reapply& reapply);

}  // namespace com::tovi::dtv::hardware::audio::V5_1::implementation
