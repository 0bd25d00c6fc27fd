// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <com/tovi/dtv/hardware/audio/5.1/IAcousticCalibration.h>

#include <functional>
#include <mutex>

#include "calibration_data.h"
#include "smooth_delay.h"

namespace com::tovi::dtv::hardware::audio::V5_1::implementation {

using ::android::hardware::hidl_handle;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;

/**
 * The calibration of the TV's sound to the listening room. Files keep the results and the switch. The
 * smooth delay and the model belong to the process; the object holds only the locks of the files. The
 * interface describes the methods. Any thread.
 */
class AcousticCalibration : public IAcousticCalibration {
  public:
    /**
     * Waits for the TV platform service, reads whether the TV has a back-end controller, waits
     * until that has booted, and applies the stored calibration. May block for 55 s, longer if
     * the audio HAL is declared but not registered. Failures are logged. If the HAL cannot be
     * opened, nothing is restored, and the service works without the HAL until the next start.
     * Main thread.
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
    /** The calibration in the files, with which a smooth delay is applied. */
    struct Stored {
        uint32_t switches;  // value of the counter before the files were read
        bool enabled;
        bool readable;  // false if `records` cannot be used
        acoustic_calibration::CalibrationRecords records;
    };

    int32_t readRecords(acoustic_calibration::CalibrationRecords& records);
    int32_t readSwitchOnBoot();
    int32_t storeSwitch(bool enable);
    void restore();
    int32_t switchTo(const char* function, bool enable);
    Stored readStored();
    using Change = std::function<void(acoustic_calibration::SmoothDelay&)>;
    int32_t changeSmoothDelay(const char* function, const Change& change);

    std::mutex dataLock_;     // guards the calibration file
    std::mutex enabledLock_;  // guards the file that keeps the switch
};

}  // namespace com::tovi::dtv::hardware::audio::V5_1::implementation
