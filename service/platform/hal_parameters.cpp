// SPDX-License-Identifier: Apache-2.0
#include "hal_parameters.h"

namespace com::tovi::dtv::hardware::audio::platform {

using ::android::sp;
using ::android::hardware::hidl_vec;
using ::android::hardware::audio::V5_0::IPrimaryDevice;
using ::android::hardware::audio::V5_0::ParameterValue;
using ::android::hardware::audio::V5_0::Result;

bool setHalParameter(const sp<IPrimaryDevice>& device, const char* key, const std::string& value) {
    return device->setParameters({}, {{key, value}}).withDefault(Result::INVALID_STATE) == Result::OK;
}

std::string getHalParameter(const sp<IPrimaryDevice>& device, const char* key) {
    std::string value;
    const auto keepFirst = [&](Result result, const hidl_vec<ParameterValue>& answered) {
        if (result == Result::OK && answered.begin() != answered.end()) value = answered.begin()->value;
    };
    return device->getParameters({}, {key}, keepFirst).isOk() ? value : std::string();
}

}  // namespace com::tovi::dtv::hardware::audio::platform
