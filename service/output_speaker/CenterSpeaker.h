// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <com/tovi/dtv/hardware/audio/4.0/ICenterSpeaker.h>

namespace com::tovi::dtv::hardware::audio::V4_0::implementation {

using ::android::hardware::hidl_handle;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;

/**
 * The TV as the center speaker of an external audio system. The constructor reads all values; the methods
 * only return them. The interface describes the methods. Any thread.
 */
class CenterSpeaker : public ICenterSpeaker {
  public:
    /**
     * Reads the acoustic tuning data. If that succeeds, waits for the TV platform service,
     * opens the middleware and reads the EEPROM. May block for 20 s. Failures are logged
     * and leave default values. Main thread.
     */
    CenterSpeaker();

    Return<void> getCenterSpeakerAcousticsType(getCenterSpeakerAcousticsType_cb _hidl_cb) override;
    Return<void> getCenterSpeakerLatency(getCenterSpeakerLatency_cb _hidl_cb) override;
    Return<bool> isCenterSpeakerInputAvailable() override;
    Return<bool> isSynchronizedCenterSpeakerInputAvailable() override;
    Return<void> debug(const hidl_handle& fd, const hidl_vec<hidl_string>& options) override;
};

}  // namespace com::tovi::dtv::hardware::audio::V4_0::implementation
