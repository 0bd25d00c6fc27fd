// SPDX-License-Identifier: Apache-2.0
#include "primary_device.h"

#include <errno.h>
#include <log/log.h>
#include <string.h>

#include <algorithm>
#include <string>
#include <vector>

#include "fault.h"
#include "host/tv_files/tv_root.h"
#include "host/tv_files/value_file.h"
#include "operations.h"

namespace hidlaudio::host {

using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using android::hardware::Void;
using android::hardware::audio::V5_0::ParameterValue;
using android::hardware::audio::V5_0::Result;

namespace {

Result refuse(const char* operation, Result result, const char* why) {
    ALOGE("%s refused: %s", operation, why);
    return result;
}

/** Each parameter is a value file, so that a user can read and change it while the HAL runs. */
std::string fileOf(const std::string& key) {
    return tvRoot() + kHalParameterFolder + "/" + key;
}

bool canBeKept(const ParameterValue& parameter) {
    return isValueName(std::string(parameter.key)) && parameter.value.size() < kLargestValueFile;
}

Result keep(const hidl_vec<ParameterValue>& parameters) {
    for (const ParameterValue& parameter : parameters) {
        const int error = writeValueFile(fileOf(parameter.key), std::string(parameter.value) + "\n");
        if (error != 0) return refuse("setParameters", Result::INVALID_STATE, strerror(error));
        ALOGI("setParameters %s=%s", parameter.key.c_str(), parameter.value.c_str());
    }
    return Result::OK;
}

Result find(const hidl_vec<hidl_string>& keys, std::vector<ParameterValue>& found) {
    for (const std::string key : keys) {
        std::string value;
        const int error = isValueName(key) ? readValueFile(fileOf(key), value) : ENOENT;
        if (error != 0 && error != ENOENT)
            return refuse("getParameters", Result::INVALID_STATE, strerror(error));
        if (!value.empty() && value.back() == '\n') value.pop_back();
        ALOGI("getParameters %s: %s", key.c_str(), error == 0 ? value.c_str() : "no such parameter");
        if (error == 0) found.push_back({key, value});
    }
    return Result::OK;
}

}  // namespace

Return<void> PrimaryDevice::getParameters(const hidl_vec<ParameterValue>& context,
                                          const hidl_vec<hidl_string>& keys, getParameters_cb callback) {
    std::vector<ParameterValue> found;
    Result result = Result::OK;
    if (const auto injected = injectedResult("getParameters", keys.size() != 0 ? keys[0].c_str() : "")) {
        result = *injected;
    } else if (context.size() != 0) {
        result = refuse("getParameters", Result::NOT_SUPPORTED, "no context is known");
    } else {
        result = find(keys, found);
    }
    if (result != Result::OK) found.clear();
    callback(result, found);
    return Void();
}

Return<Result> PrimaryDevice::setParameters(const hidl_vec<ParameterValue>& context,
                                            const hidl_vec<ParameterValue>& parameters) {
    if (const auto injected =
            injectedResult("setParameters", parameters.size() != 0 ? parameters[0].key.c_str() : ""))
        return *injected;
    if (context.size() != 0) {
        return refuse("setParameters", Result::NOT_SUPPORTED, "no context is known");
    }
    if (!std::all_of(parameters.begin(), parameters.end(), canBeKept)) {
        return refuse("setParameters", Result::INVALID_ARGUMENTS, "a key is none, or a value too long");
    }
    return keep(parameters);
}

}  // namespace hidlaudio::host
