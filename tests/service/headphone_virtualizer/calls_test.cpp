// SPDX-License-Identifier: Apache-2.0
#include "fixture.h"

namespace hidlaudio::test {
namespace {

using Buffers = Virtualizer;
using testing::MatchesRegex;

TEST_F(Buffers, BufferIsAllocatedFilledAndDiscarded) {
    logged();
    const int32_t handle = service_->allocateParameterBuffer(ParamType::DEVICE, 10);
    const std::string number = std::to_string(handle);
    EXPECT_THAT(logged(),
                ElementsAre("D [allocateParameterBuffer] start. ParamType=0, size=10",
                            "D [allocateParameterBufferInt] start. type=0, handle=-1",
                            "D [discardParameterBufferInt] star", "D [discardParameterBufferInt] end",
                            MatchesRegex("D .allocateParameterBufferInt. malloc success! data=0x[0-9a-f]+"),
                            "D [allocateParameterBufferInt] end. Return:" + number,
                            "D [allocateParameterBuffer] end. handle:" + number));
    EXPECT_EQ(append(handle, "123456"), 0);
    EXPECT_THAT(logged(),
                ElementsAre("D [append] start. handle=" + number, "D [append] ParamType=0",
                            "D [appendInt] start.  registered size=10,  append accumulation=0, data size=6",
                            "D [appendInt] end", "D [append] end. Return:0"));
    EXPECT_EQ(append(handle, "12345"), -2);
    EXPECT_THAT(logged(), Contains("E [appendInt] data size error"));
    EXPECT_EQ(append(handle, "1234"), 0);
    EXPECT_EQ(append(handle, ""), 0);
    EXPECT_EQ(append(handle, "x"), -2);
    EXPECT_THAT(logged(), Contains("D [appendInt] start.  registered size=10,  append accumulation=10, data "
                                   "size=1"));
    EXPECT_EQ(service_->discardParameterBuffer(handle), 0);
    EXPECT_THAT(logged(),
                ElementsAre("D [discardParameterBuffer] start. handle=" + number,
                            "D [discardParameterBuffer] ParamType=0", "D [discardParameterBufferInt] star",
                            "D [discardParameterBufferInt] release memory.",
                            "D [discardParameterBufferInt] end", "D [discardParameterBuffer] end. Return:0"));
    EXPECT_EQ(service_->discardParameterBuffer(handle), -1);
    EXPECT_THAT(logged(), ElementsAre("D [discardParameterBuffer] start. handle=" + number,
                                      "E [getParamFromHandle] handle is not found!",
                                      "D [discardParameterBuffer] end. Return:-1"));
}

TEST_F(Buffers, AppendTakesAtMost256KiB) {
    EXPECT_EQ(service_->getMaxAppendSize(), 262144);
    const int32_t handle = service_->allocateParameterBuffer(ParamType::HRTF, 300000);
    logged();
    EXPECT_EQ(append(handle, std::string(262145, 'x')), -2);
    EXPECT_EQ(logged().back(), "E [append] data size error. max append size=262144, append size=262145");
    EXPECT_EQ(append(handle, std::string(262144, 'x')), 0);
}

TEST_F(Buffers, AllocationFailsForUnknownTypeOrNegativeSize) {
    const int32_t old = service_->allocateParameterBuffer(ParamType::DEVICE, 1);
    logged();
    EXPECT_EQ(service_->allocateParameterBuffer(static_cast<ParamType>(2), 10), 0);
    EXPECT_THAT(logged(), ElementsAre("D [allocateParameterBuffer] start. ParamType=2, size=10",
                                      "E [allocateParameterBuffer] ParamType(2) is not supported.",
                                      "D [allocateParameterBuffer] end. handle:0"));
    EXPECT_EQ(append(old, "x"), 0);
    for (const int32_t size : {-1, INT32_MIN}) {
        EXPECT_EQ(service_->allocateParameterBuffer(ParamType::DEVICE, size), 0);
        EXPECT_THAT(logged(), Contains("D [allocateParameterBufferInt] malloc fail."));
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
    EXPECT_EQ(logged().back(), "D [HeadphoneVirtualizer] end");
    EXPECT_FALSE(service_->getVirtualizerEnabled());
    EXPECT_TRUE(service_->getUpmixEnabled());
    EXPECT_EQ(service_->setVirtualizerEnabled(true), 0);
    EXPECT_EQ(service_->setUpmixEnabled(false), 0);
    EXPECT_TRUE(service_->getVirtualizerEnabled());
    EXPECT_FALSE(service_->getUpmixEnabled());
    EXPECT_EQ(tv_.commands(), "32 1 01\n33 1 00\n");
    const std::string ready = "I [checkDtvSvcBootForHV] <<<<<hidlaudio dtv_svc is ready !>>>>> count:0";
    EXPECT_THAT(logged(),
                ElementsAre("D [getVirtualizerEnabled] start", "D [getVirtualizerEnabled] end. Return:0",
                            "D [getUpmixEnabled] start", "D [getUpmixEnabled] end. Return:1",
                            "D [setVirtualizerEnabled] start. enable:1", ready,
                            "D [setVirtualizerEnabled] end. Return:0", "D [setUpmixEnabled] start. enable:0",
                            ready, "D [setUpmixEnabled] end. Return:0", "D [getVirtualizerEnabled] start",
                            "D [getVirtualizerEnabled] end. Return:1", "D [getUpmixEnabled] start",
                            "D [getUpmixEnabled] end. Return:0"));

    tv_.fail("MTDRVCUST_dcustom_cust_spec_set", "77");
    EXPECT_EQ(service_->setVirtualizerEnabled(false), 77);
    EXPECT_THAT(logged(), Contains("E [setVirtualizerEnabled] Notification to BeCtrl failed."));
    EXPECT_TRUE(service_->getVirtualizerEnabled());
    EXPECT_EQ(service_->setUpmixEnabled(true), 77);
    EXPECT_FALSE(service_->getUpmixEnabled());
}

TEST_F(Settings, UnsupportedWithoutControllerOrReadyTv) {
    const auto expectUnsupported = [&] {
        EXPECT_EQ(logged().back(), "E [HeadphoneVirtualizer] end. HRTF is not supported.");
        EXPECT_EQ(service_->setUpmixEnabled(true), -5);
        EXPECT_FALSE(service_->getUpmixEnabled());
        EXPECT_FALSE(service_->getVirtualizerEnabled());
        EXPECT_THAT(logged(), ElementsAre("D [setUpmixEnabled] start. enable:1",
                                          "E [setUpmixEnabled] end. HRTF is not supported. Return:-5",
                                          "D [getUpmixEnabled] start",
                                          "E [getUpmixEnabled] end. HRTF is not supported.",
                                          "D [getVirtualizerEnabled] start",
                                          "E [getVirtualizerEnabled] end. HRTF is not supported."));
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
    const auto lines = logged();
    EXPECT_EQ(lines[lines.size() - 2], "E [HeadphoneVirtualizer] checkDtvSvcBoot failed. Return:0");
    service_ = new Implementation;
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
    logged();
    for (const auto& [type, result] : {std::pair("Tovi", 0), {"tovi", -5}, {"", -5}, {"Tovi ", -5}}) {
        EXPECT_EQ(service_->setVirtualizerType(type), result);
    }
    EXPECT_EQ(service_->setVirtualizerType(hidl_string("Tovi\0x", 6)), -5);
    EXPECT_THAT(logged(), testing::IsSupersetOf({"D [setVirtualizerType] start type=[Tovi]",
                                                 "E [setVirtualizerType] tovi is not supported",
                                                 "D [setVirtualizerType] end Return: -5"}));
    std::vector<std::string> types;
    const auto add = [&](const hidl_string& type) { types.push_back(type); };
    EXPECT_TRUE(service_->getVirtualizerType(add).isOk());
    const auto addAll = [&](const auto& all) { types.insert(types.end(), all.begin(), all.end()); };
    EXPECT_TRUE(service_->getAvailableVirtualizerTypes(addAll).isOk());
    EXPECT_THAT(types, ElementsAre("Tovi", "Tovi"));
    EXPECT_THAT(logged(),
                ElementsAre("D [getVirtualizerType] start", "D [getVirtualizerType] end Return type=[Tovi]",
                            "D [getAvailableVirtualizerTypes] start",
                            "D [getAvailableVirtualizerTypes] types[i]=[Tovi]"));
}

}  // namespace
}  // namespace hidlaudio::test
