// SPDX-License-Identifier: Apache-2.0
#include "tests/support/log_contract.h"

#include "fixture.h"

namespace hidlaudio::test {
namespace {

constexpr char kReady[] = "I <<<<<hidlaudio dtv_svc is ready !>>>>> count:0";
constexpr char kNotReady[] = "E [checkDtvSvcBoot] dtv_svc rpc server failed [TimeOut].";
constexpr char kNoFile[] = "E [readCalibratedData] fopen failed, errno 2";
constexpr char kSkipped[] = "E [setEnabled] Skip to write enabled data, because calibration was fail.";
constexpr char kFlagFile[] = "data/vendor/tovi/hidlaudio/aud_ac_enabled.data";

class LogContract : public Calibration {
  protected:
    /** Returns an action that calls a method of the service and checks its result. */
    template <typename Method, typename Argument>
    Action call(Method method, Argument argument, int32_t result) {
        return [=] { EXPECT_EQ(int32_t{(service_.get()->*method)(argument)}, result); };
    }
    Action set(bool enable, int32_t result) {
        return call(&IAcousticCalibration::setEnabled, enable, result);
    }
    Action store(const calibratedData& data, int32_t result) {
        return call(&IAcousticCalibration::setCalibratedData, hidl_vec<calibratedData>{data}, result);
    }
    Action smooth(const hidl_vec<float>& delays, int32_t result) {
        return call(&IAcousticCalibration::setSmoothDelay, delays, result);
    }
    Action switchSmooth(int32_t result) {
        return call(&IAcousticCalibration::setSmoothDelayEnabled, true, result);
    }

    void expect(const std::vector<LoggedAction>& rows) { expectLog(log_, "AudioAC", rows); }

    sp<IAcousticCalibration> service_;
};

TEST_F(LogContract, Start) {
    const std::string begin = "D [AcousticCalibration] start", end = "D [AcousticCalibration] end";
    const std::string flag = "D [getEnabledOnBoot] start", missing = "E [getEnabledOnBoot] open error";
    const std::string failed = "D [getEnabledOnBoot] end Return: -1",
                      on = "D [getEnabledOnBoot] end Return: 1";
    const std::string flat = "D [AcousticCalibration] auto_calib_offset= 0.0dB";
    const auto restart = [&] { service_ = start(); };
    inOwnProcess([&] {
        expect({{without(kReadyMarker, restart),
                 {begin, kNotReady, "acoustic_calibration_test: E load audio interface failed",
                  "E load audio interface failed"}}});
        const sp<FakeHal> hal = FakeHal::start();
        expect({{refusing("MTEEPROM_Init", refusing("MTAL_InitExCb", failing("open", 2, restart))),
                 {begin, kReady, "E [isBeModel] Eeprom init fail.",
                  "E [checkBeCtrlBoot] AC MTAL_Init failed, ret = -6 ", flag, missing,
                  "E [getEnabledOnBoot] open filed, /data/vendor/tovi/hidlaudio/aud_ac_enabled.data failed, "
                  "errno 5",
                  kReady, flat, end}},
                {refusing("MTEEPROM_Read",
                          refusing("MTDRVCUST_dcustom_cust_spec_get", failing("write", 1, restart))),
                 {begin, kReady, "E [isBeModel] Eeprom read fail.",
                  "E [checkBeCtrlBoot] MTDRVCUST_dcustom_cust_spec_get failed!!(-6)", flag, missing,
                  "E [getEnabledOnBoot] write AcousticCalibration enabled data failed, errno 5", failed,
                  kReady, flat, end}},
                {failing("read", 1, restart),
                 {begin, kReady, flag,
                  "E [getEnabledOnBoot] read AcousticCalibration enabled data failed, errno 5", failed,
                  kReady, flat, end}},
                {without(kFlagFile, restart),
                 {begin, kReady, flag, missing, "D [getEnabledOnBoot] end Return: 0", kReady, flat, end}}});
        makeFile(flag_, "\1");
        expect({{restart, {begin, kReady, flag, on, kNoFile, kReady, flat, end}}});
        makeFile(tv_ / "soc/bectrl/boot_state", "0\n");
        store(channel("FL", {}, -3), 0)();
        expect({{sleepless(restart),
                 {begin, kReady, "E [checkBeCtrlBoot] wait BeCtrl launch timeout.", flag, on, kReady,
                  "D [getAutoCalibOffset] offsetLevel:-3.0dB",
                  "D [AcousticCalibration] auto_calib_offset=-3.0dB", end}}});
    });
}

TEST_F(LogContract, Data) {
    inOwnProcess([&] {
        service_ = started();
        const std::string storing = "D [setCalibratedData] start", stores = "D [setCalibratedData] end";
        const std::string reading = "D [getCalibratedData] start";
        const std::string unreadable = "E [getCalibratedData] end readCalibratedData failed";
        const std::string asking = "D [getCalibrationParameters] start";
        const auto get = [&] { stored(service_); };
        const auto ask = [&] { EXPECT_TRUE(service_->getCalibrationParameters([](const auto&) {}).isOk()); };
        const calibratedData data = channel("FL", {});
        makeFile(tv_ / "data/vendor/tmp/recipe/aqda.bin", std::string(22980, '\0'));
        expect({{store(channel("FL", {}, 9.01F, 11), -1),
                 {storing, "E [checkCalibratedData] [Volume] is NG.  ffsetLevel:    9.01000 "}},
                {store(channel("FL", {10}, 0, -0.01F), -1),
                 {storing, "E [checkCalibratedData] [Delay] is NG.  ffsetLevel:   -0.01000 "}},
                {store(channel("FL", {10}), -1),
                 {storing, "E [checkCalibratedData] [GEQ Gain] is NG.  ffsetLevel:   10.00000 "}},
                {failing("open", 1, store(data, -1)), {storing, "E [setCalibratedData] open error", stores}},
                {failing("remove", 1, failing("write", 1, store(data, -1))),
                 {storing, "E [setCalibratedData] write failed, errno 5",
                  "E [setCalibratedData] remove failed, errno 5", stores}},
                {store(data, 0), {storing, stores}},
                {get, {reading, "D [getCalibratedData] end"}},
                {failing("fopen", 1, get),
                 {reading, "E [readCalibratedData] fopen failed, errno 5", unreadable}},
                {failing("fread", 1, get),
                 {reading, "E [readCalibratedData] fread failed, errno 5", unreadable}},
                {failing("fseek", 1, get),
                 {reading, "E [readCalibratedData] fseek failed, errno 5", unreadable}},
                {ask, {asking, "D [getCalibrationParameters] end"}},
                {failing("fopen", 1, ask), {asking, "E [getCalibrationParameters] fopen failed, errno 5"}},
                {failing("fseek", 1, ask), {asking, "E [getCalibrationParameters] fseek failed, errno 5"}},
                {failing("fread", 1, ask), {asking, "E [getCalibrationParameters] fread failed, errno 5"}}});
    });
}

TEST_F(LogContract, SwitchAndSmoothDelayWithController) {
    inOwnProcess([&] {
        service_ = started();
        const std::string on = "D [setEnabled] start enable:1", off = "D [setEnabled] start enable:0";
        const std::string flat = "D [setEnabled] auto_calib_offset= 0.0dB";
        const std::string failed = "D [setEnabled] end Return: -1";
        const std::string asking = "D [getEnabled] start", isOff = "D [getEnabled] end Return: 0";
        const std::string smoothing = "D [setSmoothDelay] start", isOn = "D [getEnabled] end Return: 1";
        const std::string switching = "D [setSmoothDelayEnabled] start arg:1";
        const auto get = [&](bool enabled) -> Action {
            return [=] { EXPECT_EQ(service_->getEnabled(), enabled); };
        };
        expect({{set(true, -1),
                 {on, kNoFile, "E [setEnabled] end readCalibratedData failed", kSkipped, flat, failed}},
                {refusing("MTAL_InitExCb", refusing("MTDRVCUST_dcustom_cust_spec_set", set(false, -6))),
                 {off, kReady, "E [setCalibratedDataToBeCtrl] AC MTAL_Init failed, ret = -6 ",
                  "E [setCalibratedDataToBeCtrl] MTDRVCUST_dcustom_cust_spec_set failed!!(-6)", kSkipped,
                  flat, "D [setEnabled] end Return: -6"}},
                {without(kReadyMarker, set(false, -1)),
                 {off, kNotReady, "E [setCalibratedDataToBeCtrl] BECtrl Boot failed [TimeOut].", kSkipped,
                  flat, failed}},
                {failing("open", 1, set(false, -1)),
                 {off, kReady, "E [setEnabledData] open error", flat, failed}},
                {failing("write", 1, set(false, -1)),
                 {off, kReady, "E [setEnabledData] write AcousticCalibration enabled data failed, errno 5",
                  flat, failed}},
                {failing("fopen", 1, get(false)), {asking, "E [getEnabled] fopen error", isOff}},
                {failing("fread", 1, get(false)),
                 {asking, "E [getEnabled] fread AcousticCalibration enabled data failed, errno 5", isOff}}});
        makeFile(flag_, "\1");
        expect(
            {{get(true), {asking, isOn}},
             {[&] {
                  EXPECT_FALSE(service_->getSmoothDelayEnabled());
                  EXPECT_TRUE(service_->getSmoothDelay([](const auto&) {}).isOk());
              },
              {"D [getSmoothDelayEnabled] Return: 0", "D [getSmoothDelay] start", "D [getSmoothDelay] end"}},
             {smooth({1, 2}, 0), {smoothing, "D [setSmoothDelay] SD invalid."}},
             {switchSmooth(0),
              {switching, asking, isOn, kNoFile, kReady, "E [setSmoothDelayEnabled] end read NG.",
               "D [setSmoothDelayEnabled] end Return: 0"}},
             {switchSmooth(0), {switching}},
             {smooth({1}, -1), {smoothing}}});
        store(channel("FL", {}), 0)();
        expect({{smooth({1, 2}, 0), {smoothing, asking, isOn, kReady, "D [setSmoothDelay] end Return: 0"}}});
    });
}

TEST_F(LogContract, SwitchAndSmoothDelayWithAudioDriver) {
    inOwnProcess([&] {
        service_ = started(false);
        store(channel("FL", {}, 2.35F), 0)();
        const std::string on = "D [setEnabled] start enable:1", off = "D [setEnabled] start enable:0";
        const std::string level = "D [getAutoCalibOffset] offsetLevel: 2.3dB";
        const std::string offset = "D [setEnabled] auto_calib_offset=14.4dB";
        const std::string refused = "D [setEnabled] end Return: -6";
        makeFile(tv_ / "soc/audio_post/ready", "0\n");
        expect({{refusing("MTAUDDEC_Set32EqualizerBandConfig",
                          refusing("MTAUDPOST_GetParameters", set(true, -6))),
                 {on, kReady, "E [checkCpupostReady] MTAUDPOST_GetParameters failed!!(-6)",
                  "E [setCalibratedDataToAudioDriver] MTAUDDEC_Set32EqualizerBandConfig failed. ret:-6",
                  level, kSkipped, offset, refused}},
                {refusing("MTAUDDEC_SetAcVolumeOffset", sleepless(set(true, -6))),
                 {on, kReady, "E [checkCpupostReady] wait cpupost Ready timeout.",
                  "E [setCalibratedDataToAudioDriver] MTAUDDEC_SetAcVolumeOffset failed. ret:-6", level,
                  kSkipped, offset, refused}},
                {without(kReadyMarker, set(false, -1)),
                 {off, kNotReady, "E [setCalibratedDataToAudioDriver] AQCtrl Boot failed [TimeOut].",
                  kSkipped, "D [setEnabled] auto_calib_offset=12.0dB", "D [setEnabled] end Return: -1"}},
                {switchSmooth(-2),
                 {"D [setSmoothDelayEnabled] start arg:1", "E [setSmoothDelayEnabled] none BE model"}},
                {smooth({1, 2}, -2), {"D [setSmoothDelay] start", "E [setSmoothDelay] none BE model."}}});
    });
}

}  // namespace
}  // namespace hidlaudio::test
