// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "acoustic_calibration/AcousticCalibration.h"
#include "host/kernel/clock/clock.h"
#include "host/kernel/faults/faults.h"
#include "host/kernel/log.h"
#include "tests/support/back_end_tv.h"
#include "tests/support/fake_hal.h"
#include "tests/support/own_process.h"

namespace hidlaudio::test {

using namespace com::tovi::dtv::hardware::audio;
using testing::ElementsAre;
using testing::IsEmpty;
using std::string_literals::operator""s;
using V3_0::calibratedData;
using V5_1::IAcousticCalibration;

inline calibratedData channel(const std::string& name, const std::vector<float>& gains, float level = 0,
                              float delay = 0) {
    hidl_vec<V3_0::bandEqualizer> bands(gains.size());
    for (size_t i = 0; i < gains.size(); ++i) bands[i] = {"ignored", 1, 2, gains[i]};
    return {name, bands, level, delay};
}

/** Fixture for a service without HAL, on a ready TV with a back-end controller that has booted. */
class Calibration : public testing::Test {
  protected:
    Calibration() {
        std::filesystem::create_directories(tv_ / "soc/audio_decoder");
        makeFile(tv_ / "soc/audio_post/ready", "1\n");
    }

    /** Constructs the service, as the daemon does at start. */
    static sp<IAcousticCalibration> start() { return new V5_1::implementation::AcousticCalibration; }

    /** Starts a service on a model with or without controller. */
    sp<IAcousticCalibration> started(bool backEnd = true) {
        tv_.setModelFlag(backEnd ? '\1' : '\0');
        return start();
    }

    /** Returns the calibration blocks sent since the last call, as one line of hexadecimal digits each. */
    std::string takeBlocks() {
        std::istringstream lines(tv_.commands());
        std::filesystem::remove(tv_ / "soc/bectrl/custom_spec.log");
        std::string blocks;
        for (std::string type, length, hex; lines >> type >> length >> hex;) {
            EXPECT_EQ(type + " " + length, "28 36");
            blocks += hex + "\n";
        }
        return blocks;
    }

    /** Returns the decoder's equalizer gains and offset since the last call, one number per line. */
    std::string takeDecoder() {
        std::string text;
        for (const char* name : {"equalizer", "volume_offset"}) {
            const std::string path = tv_ / "soc/audio_decoder/" + name;
            text += contentOf(path);
            std::filesystem::remove(path);
        }
        return text;
    }

    std::vector<calibratedData> stored(const sp<IAcousticCalibration>& service) {
        std::vector<calibratedData> data;
        EXPECT_TRUE(service->getCalibratedData([&](const auto& answer) { data = answer; }).isOk());
        return data;
    }

    const BackEndTv tv_;
    host::LogCapture log_;
    const std::string data_ = tv_ / "data/vendor/tovi/hidlaudio/aud_ac.data";
    const std::string flag_ = tv_ / "data/vendor/tovi/hidlaudio/aud_ac_enabled.data";
    const std::string marker_ = tv_ / "data/vendor/tmp/dtv_svc_is_ready";
    const std::string kFlatBands = repeat("80", 32);
    const std::string kFlatBlock = kFlatBands + "00000000\n";
    const std::string kFlatDecoder = repeat("0\n", 33);

    static std::string repeat(const std::string& text, size_t times) {
        std::string all;
        for (size_t i = 0; i < times; ++i) all += text;
        return all;
    }
};

}  // namespace hidlaudio::test
