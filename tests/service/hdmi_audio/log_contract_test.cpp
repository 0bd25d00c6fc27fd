// SPDX-License-Identifier: Apache-2.0
#include "tests/support/log_contract.h"

#include "hdmi_audio/HdmiAudio.h"

namespace hidlaudio::test {
namespace {

using namespace com::tovi::dtv::hardware::audio;
using android::sp;

struct SilentCallback : V1_1::IHdmiAudioCallback {
    android::hardware::Return<void> onCapabilityChanged(
        const android::hardware::hidl_vec<android::hardware::hidl_string>&) override {
        return android::hardware::Void();
    }
};

TEST(LogContract, HdmiAudio) {
    const PrivateTv tv{};
    host::LogCapture log;
    sp<V3_1::implementation::HdmiAudio> service;
    const auto start = [&] { service = new V3_1::implementation::HdmiAudio; };
    const auto get = [&] { EXPECT_TRUE(service->getAudioCapabilities([](const auto&) {}).isOk()); };
    const auto getStored = [&](const std::string& level) -> Action {
        return [&tv, get, level] {
            for (const char* key : {"arc_dd_plus_capab", "earc_ddp_cap", "arc_mpeg4_aac_lc_capab"}) {
                makeFile(tv / "soc/config/g_audio__" + key, level);
            }
            get();
        };
    };
    const auto set = [&](const std::vector<android::hardware::hidl_string>& names) {
        return [&service, names] { EXPECT_TRUE(service->setAudioCapabilities(names).isOk()); };
    };
    const auto setCallback = [&](const sp<SilentCallback>& callback) {
        return [&service, callback] { EXPECT_TRUE(service->setCallback(callback).isOk()); };
    };
    const auto serviceDied = [&](const sp<SilentCallback>& callback) {
        return [&service, callback] { service->serviceDied(0, callback); };
    };
    const sp<SilentCallback> callback = new SilentCallback;
    expectLog(
        log, "hdmiaudio",
        {{without(kReadyMarker, start),
          waitingLines({}, "D <<<<<hdmiaudio waiting dtv_svc>>>>> count:", 200,
                       {"D dtv_svc rpc server failed.", "D HdmiAudio mtal open success"})},
         {refusing("MTAL_InitExCb", start), {"E ERROR: HdmiAudio MTAL_Init.... , r = -6 \n"}},
         {getStored("2"),
          {"D HIDL getAudioCapabilities", "D getArcDdCapability, caps = ARC_DD_ATMOS\n",
           "D getEarcDdCapability, caps = EARC_DD_ATMOS\n",
           "D getArcMp4Capability, caps = ARC_MP4AAC_7_1\n"}},
         {getStored("-4"),
          {"D HIDL getAudioCapabilities", "E getArcDdCapability, invalid value = -4\n",
           "E getEarcDdCapability, invalid value = -4\n", "E getArcMp4Capability, invalid value = -4\n"}},
         {refusing("a_mtktvapi_config_get_value", get, 3),
          {"D HIDL getAudioCapabilities", "E getArcDdCapability, MTKTVAPI failed:ret = -6\n",
           "E getEarcDdCapability, MTKTVAPI failed:ret = -6\n",
           "E getArcMp4Capability, MTKTVAPI failed:ret = -6\n"}},
         {set({"ARC_MP4AAC_5_1", "", "x"}),
          {"D HIDL hdmiaudio set", "D setArcMp4Capability, capas list length: 3\n",
           "D setArcMp4Capability, capas : ARC_MP4AAC_5_1\n", "D setArcMp4Capability, capas : x\n",
           "D setArcMp4Capability, call set API capas : 1\n", "D HIDL hdmiaudio set finish"}},
         {set({"ARC_DD_X"}),
          {"D HIDL hdmiaudio set", "D setArcDdCapability, capas list length: 1\n",
           "D setArcDdCapability, capas : ARC_DD_X\n", "D HIDL hdmiaudio set finish"}},
         {setCallback(nullptr), {"D callback is nullptr. skip setCallback"}},
         {setCallback(callback), {"D set callback"}},
         {setCallback(callback), {"D set callback"}},
         {set({"ARC_DD_ATMOS", "ARC_DD_X"}),  // each entry of a group causes a write
          {"D HIDL hdmiaudio set", "D setArcDdCapability, capas list length: 2\n",
           "D setArcDdCapability, capas : ARC_DD_ATMOS\n", "D setArcDdCapability, capas : ARC_DD_X\n",
           "D setArcDdCapability, call set API capas : 2\n", "D setArcDdCapability, capas list length: 2\n",
           "D setArcDdCapability, capas : ARC_DD_ATMOS\n", "D setArcDdCapability, capas : ARC_DD_X\n",
           "D setArcDdCapability, call set API capas : 2\n", "D issue capability changed callback event",
           "D HIDL hdmiaudio set finish"}},
         {serviceDied(new SilentCallback), {"E Monitored process died"}},
         {serviceDied(callback), {"E Monitored process died", "D remove callback", "D remove callback"}},
         {serviceDied(callback), {"E Monitored process died"}}});
}

}  // namespace
}  // namespace hidlaudio::test
