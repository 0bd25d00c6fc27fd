// SPDX-License-Identifier: Apache-2.0
#include "devices_factory.h"

#include <log/log.h>

#include "fault.h"
#include "primary_device.h"

namespace hidlaudio::host {

using android::hardware::Return;
using android::hardware::Void;
using android::hardware::audio::V5_0::Result;

DevicesFactory::DevicesFactory() : device_(new PrimaryDevice) {}

Return<void> DevicesFactory::openPrimaryDevice(openPrimaryDevice_cb callback) {
    if (const auto injected = injectedResult("openPrimaryDevice")) {
        callback(*injected, nullptr);
        return Void();
    }
    ALOGI("openPrimaryDevice");
    callback(Result::OK, device_);
    return Void();
}

}  // namespace hidlaudio::host
