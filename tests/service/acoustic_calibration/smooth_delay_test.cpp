// SPDX-License-Identifier: Apache-2.0
#include "fixture.h"

namespace hidlaudio::test {
namespace {

class SmoothDelay : public Calibration {
  protected:
    /** Starts a service with an enabled calibration that delays by 480 and 240 samples. */
    sp<IAcousticCalibration> calibrated() {
        sp<IAcousticCalibration> service = started();
        EXPECT_EQ(service->setCalibratedData({channel("FL", {}, 0, 10), channel("FR", {}, 0, 5)}), 0);
        EXPECT_EQ(service->setEnabled(true), 0);
        takeBlocks();
        return service;
    }

    /** Returns the delays of the block that was sent, or an empty string if there was none. */
    std::string takeDelays() {
        const std::string block = takeBlocks();
        return block.substr(block.find(kFlatBands) == 0 ? kFlatBands.size() : 0);
    }

    static std::vector<float> values(const sp<IAcousticCalibration>& service) {
        std::vector<float> values;
        EXPECT_TRUE(service->getSmoothDelay([&](const auto& answer) { values = answer; }).isOk());
        return values;
    }
};

TEST_F(SmoothDelay, ReplacesDelaysOfCalibration) {
    inOwnProcess([&] {
        const sp<IAcousticCalibration> service = calibrated();
        EXPECT_THAT(values(service), IsEmpty());
        EXPECT_EQ(service->setSmoothDelay({1, 2}), 0);
        EXPECT_THAT(values(service), IsEmpty()) << "smooth delay is off";
        EXPECT_EQ(takeDelays(), "");

        EXPECT_EQ(service->setSmoothDelayEnabled(true), 0);
        EXPECT_EQ(takeDelays(), "00000000\n");
        EXPECT_THAT(values(service), ElementsAre(0, 0));
        EXPECT_EQ(service->setSmoothDelayEnabled(true), 0);
        EXPECT_EQ(takeDelays(), "") << "smooth delay is already on";

        EXPECT_EQ(service->setSmoothDelay({1, 2.5F, 7}), 0);
        EXPECT_EQ(takeDelays(), "30007800\n");
        EXPECT_THAT(values(service), ElementsAre(1, 2.5F, 7));
        for (const hidl_vec<float>& wrong : {hidl_vec<float>(), hidl_vec<float>(1), hidl_vec<float>(10)}) {
            EXPECT_EQ(service->setSmoothDelay(wrong), -1);
            EXPECT_THAT(values(service), ElementsAre(1, 2.5F, 7));
        }
        EXPECT_EQ(takeDelays(), "");
        EXPECT_EQ(service->setEnabled(false), 0);
        EXPECT_EQ(takeDelays(), "30007800\n");
        EXPECT_EQ(service->setSmoothDelay({-1, 1000, 0, 0, 0, 0, 0, 0, 9}), 0);
        EXPECT_EQ(takeDelays(), "d1ff80bb\n");
        EXPECT_EQ(service->setEnabled(true), 0);
        EXPECT_EQ(takeDelays(), "d1ff80bb\n");

        EXPECT_EQ(service->setSmoothDelayEnabled(false), 0);
        EXPECT_EQ(takeDelays(), "e001f000\n");
        EXPECT_EQ(values(service).size(), 9U);
        EXPECT_EQ(service->setSmoothDelayEnabled(true), 0);
        EXPECT_THAT(values(service), ElementsAre(0, 0))
            << "the delays are reset when smooth delay is switched on";
        const sp<IAcousticCalibration> next = start();
        EXPECT_FALSE(next->getSmoothDelayEnabled());
    });
}

TEST_F(SmoothDelay, RefusedSwitchIsUndone) {
    inOwnProcess([&] {
        const sp<IAcousticCalibration> service = calibrated();
        tv_.fail("MTDRVCUST_dcustom_cust_spec_set", "-6 1");
        EXPECT_EQ(service->setSmoothDelayEnabled(true), -6);
        EXPECT_FALSE(service->getSmoothDelayEnabled());
        EXPECT_THAT(values(service), ElementsAre(0, 0));

        // If the calibration cannot be read, only the delays are sent.
        std::filesystem::remove(data_);
        EXPECT_EQ(service->setSmoothDelayEnabled(true), 0);
        EXPECT_EQ(takeBlocks(), kFlatBlock);
        tv_.fail("MTDRVCUST_dcustom_cust_spec_set", "-7 2");
        EXPECT_EQ(service->setSmoothDelay({1, 1}), -7);
        EXPECT_THAT(values(service), ElementsAre(1, 1)) << "the delays are sent with the next change";
        EXPECT_EQ(service->setSmoothDelayEnabled(false), -7);
        EXPECT_TRUE(service->getSmoothDelayEnabled());
        EXPECT_EQ(service->setEnabled(false), 0);
        EXPECT_EQ(takeDelays(), "30003000\n");
    });
}

}  // namespace
}  // namespace hidlaudio::test
