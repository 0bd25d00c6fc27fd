// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/hardware/audio/5.0/IPrimaryDevice.h>

namespace com::tovi::dtv::hardware::audio::platform {

using ::android::sp;
using ::android::hardware::Return;
using ::android::hardware::audio::V5_0::IPrimaryDevice;

/**
 * The way to the primary device of the TV's audio HAL. The first device that a
 * process could open is the one of all its accessors, for good: a service makes an
 * accessor in its constructor, keeps the device and drops the accessor. On the main
 * thread, before any call is served.
 */
class PrimaryHalAccessor {
  public:
    /** Opens the device, unless the process has one already. It tries once; failures are logged. */
    PrimaryHalAccessor();

    /** The device; null where none could be opened so far. Always succeeds. */
    Return<sp<IPrimaryDevice>> getHalPrimaryDevice();

  private:
    /** Keeps what the HAL delivers, whatever it says about it: null where it has no device. */
    static void openDeviceCallback(::android::hardware::audio::V5_0::Result result,
                                   const sp<IPrimaryDevice>& device);
};

}  // namespace com::tovi::dtv::hardware::audio::platform
