// SPDX-License-Identifier: Apache-2.0
#include "acoustic_calibration/smooth_delay.h"

#include <utility>

namespace com::tovi::dtv::hardware::audio::V5_1::implementation {
namespace {

using ::android::hardware::hidl_vec;

constexpr size_t kFrontChannels = 2;
constexpr size_t kMostValues = 9;

SmoothDelay state;

}  // namespace

const SmoothDelay& smoothDelay() {
    return state;
}

bool isSmoothDelayInUse() {
    return state.enabled && state.values.size() >= kFrontChannels;
}

void turnSmoothDelayOff() {
    state.enabled = false;
}

int32_t switchSmoothDelay(bool enable, const Reapply& reapply) {
    if (enable) state.values.assign(kFrontChannels, 0.0F);
    const bool before = std::exchange(state.enabled, enable);
    const int32_t result = reapply();
    if (result != 0) state.enabled = before;
    return result;
}

bool isSmoothDelay(const hidl_vec<float>& delays) {
    return delays.size() >= kFrontChannels && delays.size() <= kMostValues;
}

int32_t replaceSmoothDelay(const hidl_vec<float>& delays, const Reapply& reapply) {
    state.values = delays;
    return reapply();
}

}  // namespace com::tovi::dtv::hardware::audio::V5_1::implementation
