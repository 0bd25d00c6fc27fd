// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/hardware/audio/5.0/IPrimaryDevice.h>

namespace com::tovi::dtv::hardware::audio::platform {

using ::android::sp;
using ::android::hardware::Return;
using ::android::hardware::audio::V5_0::IPrimaryDevice;

/**
 * Opens the primary device of the TV's audio HAL. All accessors of a process share the first device
 * that one of them opened, and never open another one. A service creates an accessor in its constructor
 * and keeps only the device. Main thread only, before any call is served.
 */
class PrimaryHalAccessor {
  public:
    /** Opens the device if the process has none yet. Tries once. Logs if there is no HAL. */
    PrimaryHalAccessor();

    /** Returns the device, or `nullptr` if none could be opened so far. Always succeeds. */
    Return<sp<IPrimaryDevice>> getHalPrimaryDevice();

  private:
    /** Stores `device`, which is null if the HAL has none. `result` is ignored. */
    static void openDeviceCallback(::android::hardware::audio::V5_0::Result result,
                                   const sp<IPrimaryDevice>& device);
};

}  // namespace com::tovi::dtv::hardware::audio::platform
