// SPDX-License-Identifier: Apache-2.0
#include <string.h>

#include "fixture.h"

namespace hidlaudio::test {
namespace {

constexpr size_t kBlock = 0x4BD4;
constexpr size_t kCurves = 0x5744;
constexpr size_t kSize = 22980;

class Parameters : public Calibration {
  protected:
    void put(size_t offset, uint32_t word) { memcpy(&file_[offset], &word, sizeof(word)); }

    V3_0::calibrationParameters read() {
        makeFile(tv_ / "data/vendor/tmp/recipe/aqda.bin", file_);
        return ask();
    }

    V3_0::calibrationParameters ask() {
        V3_0::calibrationParameters parameters{};
        int answers = 0;
        EXPECT_TRUE(service_
                        ->getCalibrationParameters([&](const auto& answer) {
                            parameters = answer;
                            ++answers;
                        })
                        .isOk());
        EXPECT_EQ(answers, 1);
        return parameters;
    }

    sp<IAcousticCalibration> service_;
    std::string file_ = std::string(kSize, '\0');
};

TEST_F(Parameters, ComeFromTuningFile) {
    inOwnProcess([&] {
        service_ = started();
        for (uint32_t i = 0; i < 14; ++i) put(kBlock + 4 * i, 10 * (i + 1));
        put(kBlock, 0x80000001);
        put(kBlock + 0x38, 0x02050A77);
        put(kBlock + 0x3C, 0xC8646477);
        put(kBlock + 0x40, 0xFF000100);
        put(kBlock + 0x44, 0x01FF0000);
        put(kBlock + 0x48, 0xFFFFFFF6);
        put(kBlock + 0x48 + 30 * 4, 15);
        for (uint32_t c = 0; c < 5; ++c) {
            const size_t curve = kCurves + 128 * c;
            put(curve, c < 2 ? 1 : c == 2 ? 2 : c == 3 ? 0 : 0xFFFFFFFF);
            put(curve + 4, 0xFFFFFFF6 - c);
            put(curve + 4 + 30 * 4, c + 1);
        }
        const auto parameters = read();
        V3_0::calibrationParameters expected{INT32_MIN + 1, 20,  30, 40, 50, 6,  7,  8, 10, 9,
                                             110,           120, 13, 14, {}, {}, {}, {}};
        expected.frequencyRanges1 = {{"Front", 20, 20000}, {"Center", 50, 10000}, {"Other", 100, 10000}};
        expected.frequencyRanges2 = {{"Front", 2550, 100}, {"Center", 0, 25500}, {"Other", 10, 0}};
        const auto bands = [](float first, float last) {
            hidl_vec<V3_0::bandEqualizer> all(31);
            for (auto& band : all) band = {"Parametric", 0, 0, 0};
            all[0].gain = first;
            all[30].gain = last;
            return all;
        };
        expected.equalizer = bands(429496736.0F, 1.5F);
        expected.channelCurves = {{"Front", true, bands(-1.0F, 0.1F)},
                                  {"Center", true, bands(-1.1F, 0.2F)},
                                  {"Surround", false, bands(-1.2F, 0.3F)},
                                  {"SurroundBack", false, bands(-1.3F, 0.4F)},
                                  {"FrontHeight", false, bands(-1.4F, 0.5F)}};
        EXPECT_EQ(parameters, expected) << toString(parameters);

        // The file is read at each call. In unsigned fields, these bits are a large number.
        for (const size_t tenths : {0x14U, 0x18U, 0x1CU, 0x30U}) put(kBlock + tenths, 0xFFFFFFDD);
        for (const size_t tenths : {0x20U, 0x24U, 0x34U}) put(kBlock + tenths, 0xFFFFFFDD);
        const auto changed = read();
        for (const float large :
             {changed.scaledValue1, changed.scaledValue2, changed.scaledValue3, changed.scaledValue6}) {
            EXPECT_EQ(large, 429496736.0F);
        }
        for (const float small : {changed.scaledValue4, changed.scaledValue5, changed.scaledValue7}) {
            EXPECT_EQ(small, -3.5F);
        }
    });
}

TEST_F(Parameters, ShortFileGivesNoParameters) {
    inOwnProcess([&] {
        service_ = started();
        const V3_0::calibrationParameters nothing{};
        EXPECT_EQ(ask(), nothing);
        put(kBlock, 5);
        const std::string whole = file_;
        for (const size_t length : {size_t{0}, kBlock, kBlock + 195, kCurves, kSize - 128, kSize - 1}) {
            file_ = whole.substr(0, length);
            EXPECT_EQ(read(), nothing) << length;
        }
        file_ = whole + "more";
        EXPECT_EQ(read().intValue1, 5);
    });
}

}  // namespace
}  // namespace hidlaudio::test
