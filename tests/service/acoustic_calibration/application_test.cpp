// SPDX-License-Identifier: Apache-2.0
#include <math.h>

#include "acoustic_calibration/rounding.h"
#include "fixture.h"

namespace hidlaudio::test {
namespace {

using Application = Calibration;

TEST_F(Application, RoundsToTenthsOfDecibelAndSamples) {
    using acoustic_calibration::toSamples;
    using acoustic_calibration::toTenths;
    for (int tenths = -90; tenths <= 90; ++tenths) {
        EXPECT_EQ(toTenths(static_cast<float>(tenths) / 10), tenths);
        EXPECT_EQ(toTenths(static_cast<float>(tenths) / 10 + 0.04F), tenths);
    }
    const std::pair<float, int32_t> kTenths[] = {
        {2.35F, 24}, {-2.35F, -24}, {0.25F, 3},         {-0.25F, -3},
        {0.04F, 0},  {NAN, 0},      {1e30F, INT32_MAX}, {-INFINITY, INT32_MIN}};
    for (const auto& [decibels, tenths] : kTenths) {
        EXPECT_EQ(toTenths(decibels), tenths) << decibels;
    }
    const std::pair<float, int32_t> kSamples[] = {{10.0F, 480},       {0.01F, 0},         {0.02F, 1},
                                                  {2.5F, 120},        {-1.0F, -47},       {NAN, 0},
                                                  {1e30F, INT32_MAX}, {-1e30F, INT32_MIN}};
    for (const auto& [milliseconds, samples] : kSamples) {
        EXPECT_EQ(toSamples(milliseconds), samples) << milliseconds;
    }
}

const hidl_vec<calibratedData> kExample{channel("FR", {9}, 9, 0.02F),
                                        channel("FL", {-1, -0.25F, 0.25F, 9, -9}, 2.35F, 10),
                                        channel("C", {5}, 5, 5)};

// Two switches overlap if one comes from inside a callback: the first waits for the TV with older results.
TEST_F(Application, ResultsOfALaterSwitchStay) {
    inOwnProcess([&] {
        const sp<IAcousticCalibration> service = started();
        EXPECT_EQ(service->setCalibratedData({channel("FL", {}, 1, 1)}), 0);
        const std::string ready = tv_ / "data/vendor/tmp/dtv_svc_is_ready";
        std::filesystem::remove(ready);
        takeBlocks();
        std::string later;
        host::SteppedClock clock;
        clock.onSleep([&](size_t sleeps) {
            if (sleeps > 1) return;
            makeFile(ready);
            EXPECT_EQ(service->setCalibratedData({channel("FL", {}, -3, 1)}), 0);
            EXPECT_EQ(service->setEnabled(true), 0);
            later = takeBlocks();
        });
        EXPECT_EQ(service->setEnabled(true), 0);
        EXPECT_EQ(later, repeat("80", 31) + "6230000000\n");
        EXPECT_EQ(takeBlocks(), later);
    });
}

TEST_F(Application, SendsBlockToController) {
    inOwnProcess([&] {
        const sp<FakeHal> hal = FakeHal::start();
        const sp<IAcousticCalibration> service = started();
        hal->device->take();
        takeBlocks();
        const auto apply = [&](const hidl_vec<calibratedData>& data) {
            EXPECT_EQ(service->setCalibratedData(data), 0);
            EXPECT_EQ(service->setEnabled(true), 0);
            EXPECT_EQ(contentOf(flag_), "\1");
            return takeBlocks();
        };
        EXPECT_EQ(apply(kExample), "767d83da26" + repeat("80", 26) + "98e0010100\n");
        EXPECT_THAT(hal->device->take(), ElementsAre("ac_offset=2.350000"));
        EXPECT_EQ(apply({channel("FL", {}, -3, 1)}), repeat("80", 31) + "6230000000\n");
        EXPECT_THAT(hal->device->take(), ElementsAre("ac_offset=-3.000000"));
        EXPECT_EQ(apply({channel("FL", {1}, 1, 1), channel("FL", {}, 2, 2)}),
                  repeat("80", 31) + "9460000000\n")
            << "if channels share a name, the last one wins";
        EXPECT_THAT(hal->device->take(), ElementsAre("ac_offset=1.000000"))
            << "for the HAL, the first one wins";
        EXPECT_EQ(apply({channel("FR", {9}, 9, 10), channel("FLx", {9}, 9, 9)}), kFlatBands + "0000e001\n")
            << "without the channel FL, the equalizer stays flat";
        hidl_vec<calibratedData> ten(10);
        ten[9] = channel("FL", {9}, 9, 9);
        for (size_t i = 0; i < 9; ++i) ten[i] = channel("C", {});
        EXPECT_EQ(apply(ten), kFlatBlock);
        EXPECT_THAT(hal->device->take(), ElementsAre("ac_offset=0.000000", "ac_offset=0.000000"));

        EXPECT_EQ(service->setEnabled(false), 0);
        EXPECT_EQ(takeBlocks(), kFlatBlock);
        EXPECT_EQ(contentOf(flag_), "\0"s);
    });
}

TEST_F(Application, SetsEqualizerAndOffsetOfDecoder) {
    inOwnProcess([&] {
        const sp<FakeHal> hal = FakeHal::start();
        const sp<IAcousticCalibration> service = started(false);
        takeDecoder();
        hal->device->take();
        EXPECT_EQ(service->setCalibratedData(kExample), 0);
        EXPECT_EQ(service->setEnabled(true), 0);
        EXPECT_EQ(takeDecoder(), "-1\n-0.25\n0.25\n9\n-9\n" + repeat("0\n", 27) + "24\n");
        EXPECT_THAT(hal->device->take(), ElementsAre("ac_offset=14.350000"));
        EXPECT_EQ(service->setCalibratedData({channel("FR", {9}, 9)}), 0);
        for (const bool enable : {true, false}) {
            EXPECT_EQ(service->setEnabled(enable), 0);
            EXPECT_EQ(takeDecoder(), kFlatDecoder);
            EXPECT_THAT(hal->device->take(), ElementsAre("ac_offset=12.000000"));
        }
        EXPECT_EQ(service->setCalibratedData({channel("FL", {}, -3)}), 0);
        EXPECT_EQ(service->setEnabled(true), 0);
        EXPECT_EQ(takeDecoder(), repeat("0\n", 32) + "-30\n");
        EXPECT_THAT(hal->device->take(), ElementsAre("ac_offset=9.000000"));
        EXPECT_EQ(takeBlocks(), "");
    });
}

TEST_F(Application, RefusedCalibrationLeavesSwitchUnchanged) {
    const struct {
        bool backEnd;
        const char* function;
        int32_t result;
        std::string decoder;
    } refusals[] = {
        {true, "MTDRVCUST_dcustom_cust_spec_set", -6, "(none)(none)"},
        {true, "MTAL_InitExCb", 0, "(none)(none)"},
        {false, "MTAUDDEC_Set32EqualizerBandConfig", -6, "(none)(none)"},
        {false, "MTAUDDEC_SetAcVolumeOffset", -6, repeat("0\n", 32) + "(none)"},
        {false, "MTAUDPOST_GetParameters", 0, "9\n" + repeat("0\n", 31) + "90\n"},
    };
    for (const auto& refusal : refusals) {
        SCOPED_TRACE(refusal.function);
        inOwnProcess([&] {
            const sp<FakeHal> hal = FakeHal::start();
            makeFile(flag_, "\0"s);
            const sp<IAcousticCalibration> service = started(refusal.backEnd);
            EXPECT_EQ(service->setCalibratedData({channel("FL", {9}, 9)}), 0);
            takeDecoder();
            takeBlocks();
            hal->device->take();
            tv_.fail(refusal.function, "-6 1");
            EXPECT_EQ(service->setEnabled(true), refusal.result);
            EXPECT_EQ(contentOf(flag_), refusal.result != 0 ? "\0"s : "\1");
            EXPECT_EQ(takeDecoder(), refusal.decoder);
            EXPECT_EQ(takeBlocks() != "", refusal.function == "MTAL_InitExCb"s)
                << "a block is sent even if the middleware cannot be opened";
            EXPECT_THAT(hal->device->take(),
                        ElementsAre(refusal.backEnd ? "ac_offset=9.000000" : "ac_offset=21.000000"));
        });
    }
}

}  // namespace
}  // namespace hidlaudio::test
