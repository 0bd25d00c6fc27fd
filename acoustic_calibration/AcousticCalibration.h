// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <com/tovi/dtv/hardware/audio/5.1/IAcousticCalibration.h>

#include <mutex>

#include "acoustic_calibration/calibration_data.h"

namespace com::tovi::dtv::hardware::audio::V5_1::implementation {

using ::android::hardware::hidl_handle;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;

/**
 * The calibration of the TV's sound to the listening room. Results and switch lie in
 * files, the smooth delay and the model in the process; the object holds the locks of
 * the files alone. The methods are described in the interface; they run on the thread
 * that serves all calls.
 */
class AcousticCalibration : public IAcousticCalibration {
  public:
    /**
     * Waits for the TV platform service, finds out whether the TV has a back-end
     * controller and waits until that has booted, then brings the sound to the stored
     * state. May block for 55 s; what goes wrong is logged. Without an audio HAL now
     * there is none until the next start, and nothing is restored. Main thread.
     */
    AcousticCalibration();

    Return<int32_t> setEnabled(bool enable) override;
    Return<bool> getEnabled() override;
    Return<int32_t> setCalibratedData(const hidl_vec<V3_0::calibratedData>& data) override;
    Return<void> getCalibratedData(getCalibratedData_cb _hidl_cb) override;
    Return<void> getCalibrationParameters(getCalibrationParameters_cb _hidl_cb) override;
    Return<int32_t> setSmoothDelayEnabled(bool enable) override;
    Return<bool> getSmoothDelayEnabled() override;
    Return<int32_t> setSmoothDelay(const hidl_vec<float>& delays) override;
    Return<void> getSmoothDelay(getSmoothDelay_cb _hidl_cb) override;
    Return<void> debug(const hidl_handle& fd, const hidl_vec<hidl_string>& options) override;

  private:
    int32_t readRecords(CalibrationRecords& records);
    int32_t readSwitchOnBoot();
    int32_t storeSwitch(bool enable);
    float restore();
    int32_t applyStored(const char* function, float& offset);
    int32_t reapply(const char* function);

    std::mutex dataLock_;     // of the calibration file
    std::mutex enabledLock_;  // of the file that keeps the switch
};

}  // namespace com::tovi::dtv::hardware::audio::V5_1::implementation
