// SPDX-License-Identifier: Apache-2.0
#include <com/tovi/dtv/hardware/audio/5.1/IAcousticCalibration.h>
#include <math.h>

#include "support/options.h"
#include "support/services.h"

namespace tovi_audio_vts {
namespace {

using namespace ::com::tovi::dtv::hardware::audio;
using V3_0::bandEqualizer;
using V3_0::calibratedData;
using V3_0::calibrationParameters;
using V3_0::channelFrequencyRange;
using Data = std::vector<calibratedData>;

constexpr size_t kBands = 31;
constexpr size_t kChannels = 9;

calibratedData channel(const std::string& name, float level = 0, float delay = 0,
                       std::vector<float> gains = {}) {
    calibratedData data;
    data.channel = name;
    data.level = level;
    data.delay = delay;
    data.equalizer.resize(gains.size());
    for (size_t i = 0; i < gains.size(); ++i) data.equalizer[i] = {"any type", 1.5f, -2.5f, gains[i]};
    return data;
}

std::vector<float> gainsOf(const hidl_vec<bandEqualizer>& bands) {
    std::vector<float> gains;
    for (const bandEqualizer& band : bands) gains.push_back(band.gain);
    return gains;
}

/** Returns `gains` as the service stores them: 31 bands, missing ones 0 dB. */
std::vector<float> stored(std::vector<float> gains) {
    gains.resize(kBands);
    return gains;
}

class AcousticCalibration : public ::testing::TestWithParam<Instance<V3_0::IAcousticCalibration>> {
  protected:
    void SetUp() override {
        service_ = GetParam().get(GetParam().name);
        ASSERT_NE(service_, nullptr);
        before_ = data();
        wasEnabled_ = enabled();
        if (withSmoothDelay() == nullptr) return;
        wasSmooth_ = valueOf(withSmoothDelay()->getSmoothDelayEnabled());
        if (wasSmooth_) smoothBefore_ = smoothDelay();
    }
    void TearDown() override {
        if (service_ == nullptr) return;
        EXPECT_EQ(store(before_), 0);
        EXPECT_EQ(enable(wasEnabled_), 0);
        if (withSmoothDelay() == nullptr || !hasController()) return;
        EXPECT_EQ(enableSmooth(wasSmooth_), 0);
        if (wasSmooth_) {
            EXPECT_EQ(setSmooth(smoothBefore_), 0);
        }
    }

    int32_t store(const Data& results) const {
        return valueOf(service_->setCalibratedData(hidl_vec<calibratedData>(results)));
    }
    Data data() const {
        return resultOf<hidl_vec<calibratedData>>(
            [&](auto callback) { return service_->getCalibratedData(callback); });
    }
    int32_t enable(bool on) const { return valueOf(service_->setEnabled(on)); }
    bool enabled() const { return valueOf(service_->getEnabled()); }

    sp<V5_1::IAcousticCalibration> withSmoothDelay() const {
        const Return<sp<V5_1::IAcousticCalibration>> newer = V5_1::IAcousticCalibration::castFrom(service_);
        return newer.isOk() ? sp<V5_1::IAcousticCalibration>(newer) : nullptr;
    }
    bool hasController() const {
        const bool on = valueOf(withSmoothDelay()->getSmoothDelayEnabled());
        return on || enableSmooth(false) != -2;
    }
    int32_t enableSmooth(bool on) const { return valueOf(withSmoothDelay()->setSmoothDelayEnabled(on)); }
    bool smooth() const { return valueOf(withSmoothDelay()->getSmoothDelayEnabled()); }
    int32_t setSmooth(const std::vector<float>& delays) const {
        return valueOf(withSmoothDelay()->setSmoothDelay(hidl_vec<float>(delays)));
    }
    std::vector<float> smoothDelay() const {
        return resultOf<hidl_vec<float>>(
            [&](auto callback) { return withSmoothDelay()->getSmoothDelay(callback); });
    }

    sp<V3_0::IAcousticCalibration> service_;
    Data before_;
    bool wasEnabled_ = false;
    bool wasSmooth_ = false;
    std::vector<float> smoothBefore_;
};

#define SKIP_WITHOUT_SMOOTH_DELAY()                                                            \
    if (withSmoothDelay() == nullptr) GTEST_SKIP() << "the service is older than version 5.1"; \
    if (!hasController()) GTEST_SKIP() << "this TV has no back-end audio controller"

TEST_P(AcousticCalibration, setEnabled_SwitchesOnAndOff) {
    EXPECT_EQ(store({channel("FL", -3, 1), channel("FR", 2, 0.5f)}), 0);
    for (const bool on : {true, true, false, false, true}) {
        EXPECT_EQ(enable(on), 0);
        EXPECT_EQ(enabled(), on);
    }
}

TEST_P(AcousticCalibration, setEnabled_AcceptsExtremeResults) {
    const std::vector<float> highest(kBands, 9.0f);
    const std::vector<float> lowest(kBands, -9.0f);
    EXPECT_EQ(store({channel("FL", 9, 10, highest), channel("FR", -9, 0, lowest)}), 0);
    EXPECT_EQ(enable(true), 0);
    EXPECT_EQ(store({}), 0);
    EXPECT_EQ(enable(true), 0);
    EXPECT_TRUE(enabled());
}

TEST_P(AcousticCalibration, getEnabled_DoesNotDependOnResults) {
    for (const bool on : {true, false}) {
        EXPECT_EQ(store({channel("FL", 1)}), 0);
        EXPECT_EQ(enable(on), 0);
        EXPECT_EQ(store({channel("FL", 2)}), 0);
        EXPECT_EQ(store({channel("FL", 10)}), -1);
        EXPECT_EQ(enabled(), on);
    }
}

TEST_P(AcousticCalibration, setCalibratedData_StoresAllValues) {
    std::vector<float> gains(kBands);
    for (size_t i = 0; i < kBands; ++i) gains[i] = -9.0f + 0.6f * static_cast<float>(i);
    const Data results = {channel("FL", -9, 0, gains), channel("FR", 9, 10, std::vector<float>(kBands, -9)),
                          channel("C", 0.1f, 0.01f, std::vector<float>(kBands, 9))};
    EXPECT_EQ(store(results), 0);
    const Data read = data();
    ASSERT_EQ(read.size(), results.size());
    for (size_t i = 0; i < read.size(); ++i) {
        SCOPED_TRACE(results[i].channel);
        EXPECT_EQ(read[i].channel, results[i].channel);
        EXPECT_EQ(read[i].level, results[i].level);
        EXPECT_EQ(read[i].delay, results[i].delay);
        EXPECT_EQ(gainsOf(read[i].equalizer), gainsOf(results[i].equalizer));
        for (const bandEqualizer& band : read[i].equalizer) {
            EXPECT_EQ(band.type, "Parametric");
            EXPECT_EQ(band.param1, 0.0f);
            EXPECT_EQ(band.param2, 0.0f);
        }
    }
}

TEST_P(AcousticCalibration, setCalibratedData_StoresNoMoreAndNoLessThan31Bands) {
    const std::vector<float> many(40, 1.5f);
    for (const std::vector<float>& gains : {std::vector<float>(), std::vector<float>{3}, many}) {
        EXPECT_EQ(store({channel("FL", 0, 0, gains)}), 0);
        const Data read = data();
        ASSERT_EQ(read.size(), 1u);
        EXPECT_EQ(gainsOf(read[0].equalizer), stored(gains)) << gains.size();
    }
}

TEST_P(AcousticCalibration, setCalibratedData_RefusesValuesOutOfRange) {
    constexpr float kAbove9 = 9.01f;
    const auto withGain = [](size_t band, float gain) {
        std::vector<float> gains(band + 1);
        gains[band] = gain;
        return channel("FL", 0, 0, gains);
    };
    EXPECT_EQ(store({channel("OK", 1)}), 0);
    const Data faulty[] = {
        {channel("FL", nextafterf(9, 10))},
        {channel("FL", nextafterf(-9, -10))},
        {channel("FL", INFINITY)},
        {channel("FL", 0, nextafterf(10, 11))},
        {channel("FL", 0, nextafterf(0, -1))},
        {channel("FL", 0, -INFINITY)},
        {withGain(0, nextafterf(9, 10))},
        {withGain(0, nextafterf(-9, -10))},
        {withGain(30, kAbove9)},
        {withGain(31, kAbove9)},  // also of bands that are not stored
        {withGain(500, -kAbove9)},
        {channel("FL"), channel("FR"), channel("C", kAbove9)},
        {channel("FL"), channel(""), channel("C", kAbove9)},
    };
    for (const Data& results : faulty) {
        EXPECT_EQ(store(results), -1) << ::testing::PrintToString(&results - faulty);
        const Data read = data();
        ASSERT_EQ(read.size(), 1u) << "the stored results have changed";
        EXPECT_EQ(read[0].channel, "OK");
    }
}

TEST_P(AcousticCalibration, setCalibratedData_CutsLongNames) {
    for (const std::string name : {"FL", "C", "SURR", "FRONT", "a long name"}) {
        EXPECT_EQ(store({channel(name, 1, 2, {3})}), 0);
        const Data read = data();
        ASSERT_EQ(read.size(), 1u);
        EXPECT_EQ(std::string(read[0].channel), name.substr(0, 4));
        EXPECT_EQ(read[0].level, 1.0f);
        EXPECT_EQ(read[0].delay, 2.0f);
    }
}

TEST_P(AcousticCalibration, setCalibratedData_NumberOfChannels) {
    for (const size_t count : {size_t{0}, size_t{1}, kChannels, kChannels + 1, kChannels + 11}) {
        SCOPED_TRACE(count);
        Data results;
        for (size_t i = 0; i < count; ++i) results.push_back(channel("C" + std::to_string(i), 0.5f, 2));
        EXPECT_EQ(store(results), 0);
        const Data read = data();
        ASSERT_EQ(read.size(), std::min(count, kChannels));
        for (size_t i = 0; i < read.size(); ++i) {
            EXPECT_EQ(read[i].channel, results[i].channel);
            EXPECT_EQ(read[i].delay, count <= kChannels ? 2.0f : 0.0f) << "too many channels: no delays";
        }
        EXPECT_EQ(enable(true), 0);
    }
}

TEST_P(AcousticCalibration, setCalibratedData_EntryWithoutNameEndsList) {
    for (const size_t place : {size_t{0}, size_t{1}, size_t{2}}) {
        Data results = {channel("FL", 1, 2), channel("FR", 1, 2), channel("C", 1, 2)};
        results[place].channel = "";
        EXPECT_EQ(store(results), 0);
        const Data read = data();
        ASSERT_EQ(read.size(), place);
        for (const calibratedData& entry : read) EXPECT_EQ(entry.delay, 0.0f) << "their delays are lost";
    }
}

TEST_P(AcousticCalibration, getCalibratedData_ReplacesOlderResults) {
    EXPECT_EQ(store({channel("FL", 1), channel("FR", 2), channel("C", 3)}), 0);
    EXPECT_EQ(store({channel("X", 4)}), 0);
    const Data read = data();
    ASSERT_EQ(read.size(), 1u);
    EXPECT_EQ(read[0].channel, "X");
    EXPECT_EQ(store({}), 0);
    EXPECT_TRUE(data().empty());
}

bool isMultipleOf(float value, float step) {
    return fabsf(value / step - roundf(value / step)) < 0.01f;
}

void expectRanges(const hidl_vec<channelFrequencyRange>& ranges) {
    const char* const names[] = {"Front", "Center", "Other"};
    ASSERT_EQ(ranges.size(), std::size(names));
    for (size_t i = 0; i < ranges.size(); ++i) {
        EXPECT_EQ(ranges[i].channel, names[i]);
        EXPECT_TRUE(isMultipleOf(ranges[i].lowerFrequency, 10)) << ranges[i].lowerFrequency;
        EXPECT_TRUE(isMultipleOf(ranges[i].upperFrequency, 100)) << ranges[i].upperFrequency;
    }
}

void expectEmpty(const calibrationParameters& read) {
    EXPECT_EQ(read.frequencyRanges1.size() + read.frequencyRanges2.size() + read.channelCurves.size(), 0u);
    for (const int32_t value : {read.intValue1, read.intValue2, read.intValue3, read.intValue4,
                                read.intValue5, read.intValue6, read.intValue7}) {
        EXPECT_EQ(value, 0);
    }
    for (const float value : {read.scaledValue1, read.scaledValue2, read.scaledValue3, read.scaledValue4,
                              read.scaledValue5, read.scaledValue6, read.scaledValue7}) {
        EXPECT_EQ(value, 0.0f);
    }
}

void expectComplete(const calibrationParameters& read) {
    for (const float value : {read.scaledValue1, read.scaledValue2, read.scaledValue3, read.scaledValue6}) {
        EXPECT_GE(value, 0.0f);
    }
    for (const float value : {read.scaledValue1, read.scaledValue2, read.scaledValue3, read.scaledValue4,
                              read.scaledValue5, read.scaledValue6, read.scaledValue7}) {
        EXPECT_TRUE(isMultipleOf(value, 0.1f)) << value;
    }
    expectRanges(read.frequencyRanges1);
    expectRanges(read.frequencyRanges2);
    ASSERT_EQ(read.equalizer.size(), kBands);
    for (const bandEqualizer& band : read.equalizer) EXPECT_GE(band.gain, 0.0f);
    const char* const names[] = {"Front", "Center", "Surround", "SurroundBack", "FrontHeight"};
    ASSERT_EQ(read.channelCurves.size(), std::size(names));
    for (size_t i = 0; i < std::size(names); ++i) {
        EXPECT_EQ(read.channelCurves[i].channel, names[i]);
        ASSERT_EQ(read.channelCurves[i].equalizer.size(), kBands);
    }
}

TEST_P(AcousticCalibration, getCalibrationParameters_AreCompleteOrEmpty) {
    const auto parameters = [&] {
        return resultOf<calibrationParameters>(
            [&](auto callback) { return service_->getCalibrationParameters(callback); });
    };
    const calibrationParameters read = parameters();
    EXPECT_TRUE(read == parameters()) << "the second call returns other parameters";
    if (read.equalizer.size() == 0) {
        expectEmpty(read);
        GTEST_SKIP() << "this TV has no complete acoustic tuning data";
    }
    expectComplete(read);
}

TEST_P(AcousticCalibration, setSmoothDelayEnabled_IsRefusedWithoutController) {
    if (withSmoothDelay() == nullptr) GTEST_SKIP() << "the service is older than version 5.1";
    if (hasController()) GTEST_SKIP() << "this TV has a back-end audio controller";
    EXPECT_EQ(enableSmooth(true), -2);
    EXPECT_EQ(enableSmooth(false), -2);
    EXPECT_FALSE(smooth());
    EXPECT_EQ(setSmooth({1, 2}), -2);
    EXPECT_EQ(setSmooth({1}), -2);
    EXPECT_TRUE(smoothDelay().empty());
}

TEST_P(AcousticCalibration, setSmoothDelayEnabled_SetsDelaysToZeroOnlyWhenSwitchedOn) {
    SKIP_WITHOUT_SMOOTH_DELAY();
    using Delays = std::vector<float>;
    EXPECT_EQ(enableSmooth(false), 0);
    EXPECT_EQ(enableSmooth(true), 0);
    EXPECT_EQ(smoothDelay(), (Delays{0, 0}));
    EXPECT_EQ(setSmooth({1, 2.5f}), 0);
    EXPECT_EQ(enableSmooth(true), 0);
    EXPECT_EQ(smoothDelay(), (Delays{1, 2.5f})) << "it was on already";
    EXPECT_EQ(enableSmooth(false), 0);
    EXPECT_EQ(smoothDelay(), (Delays{1, 2.5f})) << "the values are kept while it is off";
    EXPECT_EQ(enableSmooth(true), 0);
    EXPECT_EQ(smoothDelay(), (Delays{0, 0}));
}

TEST_P(AcousticCalibration, getSmoothDelayEnabled_ReturnsSwitch) {
    SKIP_WITHOUT_SMOOTH_DELAY();
    for (const bool calibration : {false, true}) {
        EXPECT_EQ(enable(calibration), 0);
        for (const bool on : {false, true, true, false}) {
            EXPECT_EQ(enableSmooth(on), 0);
            EXPECT_EQ(smooth(), on);
            EXPECT_EQ(enabled(), calibration) << "the smooth delay must not switch the calibration";
        }
    }
}

TEST_P(AcousticCalibration, setSmoothDelay_DoesNothingWhileOff) {
    SKIP_WITHOUT_SMOOTH_DELAY();
    EXPECT_EQ(enableSmooth(true), 0);
    EXPECT_EQ(setSmooth({3, 4}), 0);
    EXPECT_EQ(enableSmooth(false), 0);
    EXPECT_EQ(setSmooth({5, 6}), 0);
    EXPECT_EQ(setSmooth({5}), 0);
    EXPECT_EQ(smoothDelay(), (std::vector<float>{3, 4}));
}

TEST_P(AcousticCalibration, setSmoothDelay_KeepsOldValuesIfNumberIsWrong) {
    SKIP_WITHOUT_SMOOTH_DELAY();
    EXPECT_EQ(enableSmooth(true), 0);
    for (const size_t count : {size_t{2}, size_t{3}, kChannels}) {
        const std::vector<float> delays(count, 1.5f);
        EXPECT_EQ(setSmooth(delays), 0) << count;
        EXPECT_EQ(smoothDelay(), delays);
    }
    const std::vector<float> before = smoothDelay();
    for (const size_t count : {size_t{0}, size_t{1}, kChannels + 1, size_t{100}}) {
        EXPECT_EQ(setSmooth(std::vector<float>(count, 4.0f)), -1) << count;
        EXPECT_EQ(smoothDelay(), before);
    }
}

TEST_P(AcousticCalibration, getSmoothDelay_ReturnsUncheckedValues) {
    SKIP_WITHOUT_SMOOTH_DELAY();
    EXPECT_EQ(enableSmooth(true), 0);
    for (const std::vector<float>& delays :
         {std::vector<float>{10, 0}, std::vector<float>{-1, 10.5f}, std::vector<float>{0.01f, 7, 123}}) {
        EXPECT_EQ(setSmooth(delays), 0);
        EXPECT_EQ(smoothDelay(), delays);
    }
}

TEST_P(AcousticCalibration, Restart_KeepsResultsAndSwitchButNotSmoothDelay) {
    SKIP_WITHOUT_RESTART();
    const bool controller = withSmoothDelay() != nullptr && hasController();
    for (const bool on : {true, false}) {
        EXPECT_EQ(store({channel("FL", -2.5f, 3, {1, 2, 3}), channel("FRON", 4, 5)}), 0);
        EXPECT_EQ(enable(on), 0);
        if (controller) {
            EXPECT_EQ(enableSmooth(true), 0);
        }
        service_ = restart(GetParam(), service_);
        ASSERT_NE(service_, nullptr);
        EXPECT_EQ(enabled(), on);
        const Data read = data();
        ASSERT_EQ(read.size(), 2u);
        EXPECT_EQ(read[0].level, -2.5f);
        EXPECT_EQ(read[1].channel, "FRON");
        EXPECT_EQ(read[1].delay, 5.0f);
        EXPECT_EQ(gainsOf(read[0].equalizer), stored({1, 2, 3}));
        if (!controller) continue;
        EXPECT_FALSE(smooth());
        EXPECT_TRUE(smoothDelay().empty());
    }
}

INSTANTIATE(IAcousticCalibration, AcousticCalibration, V3_0::IAcousticCalibration, V3_1::IAcousticCalibration,
            V5_1::IAcousticCalibration);

}  // namespace
}  // namespace tovi_audio_vts
