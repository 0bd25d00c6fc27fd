// SPDX-License-Identifier: Apache-2.0
#include "fixture.h"

namespace hidlaudio::test {
namespace {

using Buffers = Virtualizer;

TEST_F(Buffers, AllocationFailsForUnknownTypeOrNegativeSize) {
    const int32_t old = service_->allocateParameterBuffer(ParamType::DEVICE, 1);
    EXPECT_EQ(service_->allocateParameterBuffer(static_cast<ParamType>(2), 10), 0);
    EXPECT_EQ(append(old, "x"), 0);
    for (const int32_t size : {-1, INT32_MIN}) {
        EXPECT_EQ(service_->allocateParameterBuffer(ParamType::DEVICE, size), 0);
        EXPECT_EQ(append(old, ""), -1) << "the old buffer is discarded even so";
    }
    for (const int32_t never : {-1, 0, 255}) EXPECT_EQ(append(never, ""), -1);
}

TEST_F(Buffers, HandlesWrapAroundAndSkipHandleInUse) {
    const int32_t kept = service_->allocateParameterBuffer(ParamType::HRTF, 1);
    int32_t previous = kept;
    for (int i = 0; i < 1000; ++i) {
        int32_t expected = previous % 254 + 1;
        if (expected == kept) expected = expected % 254 + 1;
        const int32_t handle = service_->allocateParameterBuffer(ParamType::DEVICE, 1);
        ASSERT_EQ(handle, expected);
        ASSERT_EQ(append(previous, ""), previous == kept ? 0 : -1);
        previous = handle;
    }
    EXPECT_EQ(append(kept, "x"), 0);
    log_.take();
}

using Settings = Virtualizer;
using Implementation = V5_1::implementation::HeadphoneVirtualizer;

TEST_F(Settings, SwitchChangesOnlyIfControllerAccepts) {
    EXPECT_FALSE(service_->getVirtualizerEnabled());
    EXPECT_TRUE(service_->getUpmixEnabled());
    EXPECT_EQ(service_->setVirtualizerEnabled(true), 0);
    EXPECT_EQ(service_->setUpmixEnabled(false), 0);
    EXPECT_TRUE(service_->getVirtualizerEnabled());
    EXPECT_FALSE(service_->getUpmixEnabled());
    for (const char* function : {"MTDRVCUST_dcustom_cust_spec_set", "MTAL_InitExCb"}) {
        tv_.fail(function, "77 2");
        EXPECT_EQ(service_->setVirtualizerEnabled(false), 77);
        EXPECT_EQ(service_->setUpmixEnabled(true), 77);
    }
    EXPECT_TRUE(service_->getVirtualizerEnabled());
    EXPECT_FALSE(service_->getUpmixEnabled());
    EXPECT_EQ(tv_.commands(), "32 1 01\n33 1 00\n");
}

TEST_F(Settings, UnsupportedWithoutControllerOrReadyTv) {
    const auto expectUnsupported = [&] {
        EXPECT_EQ(service_->setUpmixEnabled(true), -5);
        EXPECT_FALSE(service_->getUpmixEnabled());
        EXPECT_FALSE(service_->getVirtualizerEnabled());
        EXPECT_EQ(tv_.commands(), "(none)");
    };
    tv_.setModelFlag('\0');
    service_ = new Implementation;
    expectUnsupported();

    tv_.setModelFlag('\1');
    std::filesystem::remove(tv_ / "data/vendor/tmp/dtv_svc_is_ready");
    host::SteppedClock clock;
    service_ = new Implementation;
    EXPECT_EQ(clock.now(), std::chrono::seconds(20));
    expectUnsupported();
}

TEST_F(Settings, WorkIfControllerBootsLate) {
    makeFile(tv_ / "soc/bectrl/boot_state", "0\n");
    host::SteppedClock clock;
    service_ = new Implementation;
    EXPECT_EQ(clock.now(), std::chrono::seconds(15));
    EXPECT_EQ(service_->setVirtualizerEnabled(true), 0);
}

TEST_F(Settings, OnlyOneTypeIsSupported) {
    for (const hidl_string& type : {hidl_string(), hidl_string("Tovi "), hidl_string("Tovi\0x", 6)}) {
        EXPECT_EQ(service_->setVirtualizerType(type), -5);
    }
    std::vector<std::string> types;
    const auto add = [&](const hidl_string& type) { types.push_back(type); };
    EXPECT_TRUE(service_->getVirtualizerType(add).isOk());
    const auto addAll = [&](const auto& all) { types.insert(types.end(), all.begin(), all.end()); };
    EXPECT_TRUE(service_->getAvailableVirtualizerTypes(addAll).isOk());
    EXPECT_THAT(types, ElementsAre("Tovi", "Tovi"));
}

}  // namespace
}  // namespace hidlaudio::test
