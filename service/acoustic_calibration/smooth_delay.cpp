// SPDX-License-Identifier: Apache-2.0
#include "smooth_delay.h"

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {
namespace {

constexpr size_t kFrontChannels = 2;
constexpr size_t kMaxValues = 9;

SmoothDelay state GUARDED_BY(calibrationLock);

}  // namespace

SmoothDelay& smoothDelay() {
    return state;
}

bool isSmoothDelayInUse() {
    return state.enabled && state.values.size() >= kFrontChannels;
}

void switchSmoothDelay(SmoothDelay& delay, bool enable) {
    if (enable == delay.enabled) return;
    if (enable) delay.values.assign(kFrontChannels, 0.0F);
    delay.enabled = enable;
}

bool isSmoothDelay(const ::android::hardware::hidl_vec<float>& delays) {
    return delays.size() >= kFrontChannels && delays.size() <= kMaxValues;
}

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
