// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <com/tovi/dtv/hardware/audio/5.1/IAcousticCalibration.h>
#include <unistd.h>

#include <vector>

namespace hidlaudio::test {

/** Which a test scripts through the first channel that it stores: "BAD" is refused, "DIE" ends the service.
 */
class FakeCalibration : public com::tovi::dtv::hardware::audio::V5_1::IAcousticCalibration {
    template <typename Type>
    using Return = android::hardware::Return<Type>;
    template <typename Type>
    using Vec = android::hardware::hidl_vec<Type>;
    using Data = com::tovi::dtv::hardware::audio::V3_0::calibratedData;
    using Parameters = com::tovi::dtv::hardware::audio::V3_0::calibrationParameters;

  public:
    Return<int32_t> setEnabled(bool enable) override {
        if (enable && mData.size() == 0) return -1;
        mEnabled = enable;
        return 0;
    }
    Return<bool> getEnabled() override { return mEnabled; }
    Return<int32_t> setCalibratedData(const Vec<Data>& data) override {
        if (data.size() > 0 && data[0].channel == "BAD") return -1;
        if (data.size() > 0 && data[0].channel == "DIE") _exit(0);
        mData = data;
        return 0;
    }
    Return<void> getCalibratedData(getCalibratedData_cb callback) override {
        callback(mData);
        return android::hardware::Void();
    }

    /** Empty until something is stored. */
    Return<void> getCalibrationParameters(getCalibrationParameters_cb callback) override {
        Parameters parameters{};
        if (mData.size() > 0) {
            parameters.intValue1 = -7;
            parameters.scaledValue5 = 1.1F;
            parameters.frequencyRanges2 = {{"Center", 50, 20000}};
            parameters.equalizer.resize(31);
            parameters.equalizer[30] = {"Parametric", 0, 0, 429496736.0F};
            parameters.channelCurves = {{"Front", true, parameters.equalizer}, {"FrontHeight", false, {}}};
        }
        callback(parameters);
        return android::hardware::Void();
    }

    Return<int32_t> setSmoothDelayEnabled(bool enable) override {
        mSmoothEnabled = enable;
        if (enable) mSmooth = {0, 0};
        return 0;
    }
    Return<bool> getSmoothDelayEnabled() override { return mSmoothEnabled; }
    Return<int32_t> setSmoothDelay(const Vec<float>& delays) override {
        if (delays[0] < 0) return -2;
        if (mSmoothEnabled) mSmooth = delays;
        return 0;
    }
    Return<void> getSmoothDelay(getSmoothDelay_cb callback) override {
        callback(mSmooth);
        return android::hardware::Void();
    }

  private:
    bool mEnabled = false;
    bool mSmoothEnabled = false;
    Vec<Data> mData;
    Vec<float> mSmooth;
};

}  // namespace hidlaudio::test
