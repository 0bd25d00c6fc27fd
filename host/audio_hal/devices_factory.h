// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/hardware/audio/5.0/IDevicesFactory.h>

namespace hidlaudio::host {

/** Opens the primary device of the virtual TV. All clients get the same device. */
class DevicesFactory : public android::hardware::audio::V5_0::IDevicesFactory {
  public:
    DevicesFactory();
    android::hardware::Return<void> openPrimaryDevice(openPrimaryDevice_cb callback) override;

  private:
    const android::sp<android::hardware::audio::V5_0::IPrimaryDevice> device_;
};

}  // namespace hidlaudio::host
