// SPDX-License-Identifier: Apache-2.0
#include "PrimaryHalAccessor.h"

#include <android/hardware/audio/5.0/IDevicesFactory.h>

#include "log.h"

namespace com::tovi::dtv::hardware::audio::platform {
namespace {

using ::android::hardware::audio::V5_0::IDevicesFactory;
using ::android::hardware::audio::V5_0::Result;

sp<IDevicesFactory> devicesFactory;
sp<IPrimaryDevice> halPrimaryDevice;

}  // namespace

PrimaryHalAccessor::PrimaryHalAccessor() {
    if (halPrimaryDevice != nullptr) return;
    devicesFactory = IDevicesFactory::getService("default", false);
    if (devicesFactory == nullptr) {
        logError(kNoTag, "load audio interface failed");
        return;
    }
    // If the HAL dies during the call, the device stays null; the callers log that.
    devicesFactory->openPrimaryDevice(openDeviceCallback).isOk();
}

Return<sp<IPrimaryDevice>> PrimaryHalAccessor::getHalPrimaryDevice() {
    return halPrimaryDevice;
}

void PrimaryHalAccessor::openDeviceCallback(Result /*result*/, const sp<IPrimaryDevice>& device) {
    halPrimaryDevice = device;
}

}  // namespace com::tovi::dtv::hardware::audio::platform
