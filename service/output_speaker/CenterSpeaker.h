// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <com/tovi/dtv/hardware/audio/4.0/ICenterSpeaker.h>

namespace com::tovi::dtv::hardware::audio::V4_0::implementation {

using ::android::hardware::hidl_handle;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;

/**
 * The TV as the centre speaker of an external audio system. The process finds out all
 * answers once, when the object is made, and only reports them afterwards. The methods
 * are described in the interface; any thread may call them.
 */
class CenterSpeaker : public ICenterSpeaker {
  public:
    /**
     * Reads the acoustic tuning data and, where there is some, waits for the TV
     * platform service, opens the middleware and reads the EEPROM. May block for 20 s;
     * what goes wrong is logged and leaves a default answer. Main thread.
     */
    CenterSpeaker();

    Return<void> getCenterSpeakerAcousticsType(getCenterSpeakerAcousticsType_cb _hidl_cb) override;
    Return<void> getCenterSpeakerLatency(getCenterSpeakerLatency_cb _hidl_cb) override;
    Return<bool> isCenterSpeakerInputAvailable() override;
    Return<bool> isSynchronizedCenterSpeakerInputAvailable() override;
    Return<void> debug(const hidl_handle& fd, const hidl_vec<hidl_string>& options) override;
};

}  // namespace com::tovi::dtv::hardware::audio::V4_0::implementation
