// SPDX-License-Identifier: Apache-2.0
#include "tests/support/log_contract.h"

#include "output_speaker/CenterSpeaker.h"
#include "output_speaker/OutputSpeaker.h"
#include "tests/support/fake_hal.h"
#include "tests/support/own_process.h"

namespace hidlaudio::test {
namespace {

using namespace com::tovi::dtv::hardware::audio;

constexpr char kWaiting[] = "D <<<<<hidlaudio waiting dtv_svc>>>>> count:";

TEST(LogContract, OutputSpeaker) {
    const PrivateTv tv{};
    inOwnProcess([&] {
        host::LogCapture log;
        constexpr char kStart[] = "D [OutputSpeaker] start", kOpened[] = "D OutputSpeaker mtal open success";
        constexpr char kGetSurround[] = "D [getSurroundType] start", kGet[] = "D [getTvPosition] start";
        sp<V6_1::IOutputSpeaker> service;
        const auto start = [&] { service = new V6_1::implementation::OutputSpeaker; };
        const auto store = [&](const std::string& key, const std::string& value) {
            makeFile(tv / "soc/config/g_audio__" + key, value);
        };
        const auto set = [&](int32_t type, int32_t result) -> Action {
            return [=, &service] { EXPECT_EQ(service->setTvPosition(type), result); };
        };
        const auto get = [&] { EXPECT_TRUE(service->getTvPosition().isOk()); };
        const auto getSurround = [&] { EXPECT_TRUE(service->getSurroundType().isOk()); };
        const auto getDelay = [&](float delay) -> Action {
            return [=, &service] { EXPECT_EQ(service->getDelay(), delay); };
        };
        store("tv_position", "1");
        store("spk_sur_type", "2");
        store("aud_speaker", "0");
        makeFile(tv / "soc/audio_decoder/channel_main_delay_sp", "4294967295");
        expectLog(log, "AudioOutSp",
                  {{without(kReadyMarker, start),
                    waitingLines({kStart}, kWaiting, 2000,
                                 {"D dtv_svc rpc server failed.", kOpened,
                                  "output_speaker_test: E load audio interface failed",
                                  "E load audio interface failed"})}});
        const sp<FakeHal> hal = FakeHal::start();
        expectLog(log, "AudioOutSp",
                  {{start, {kStart, kOpened, "D get tv position:1", "D [OutputSpeaker] end"}},
                   {refusing("MTAL_InitExCb", refusing("a_mtktvapi_config_get_value", start)),
                    {kStart, "E ERROR: OutputSpeaker MTAL_Init.... , r = -6 \n",
                     "E a_mtktvapi_config_get_value failed:ret = -6"}},
                   {get, {kGet, "D get tv position:value = 1, result = 0", "D [getTvPosition] end:ret = 1"}},
                   {refusing("a_mtktvapi_config_get_value", get),
                    {kGet, "E a_mtktvapi_config_get_value failed:ret = -6"}},
                   {set(7, 0),
                    {"D [setTvPosition] start:type = 7", "W illigal argument:type = 7",
                     "D set tv position:value = 0, result = 0", "D [setTvPosition] end:ret = 0"}},
                   {refusing("a_mtktvapi_config_set_value", set(1, -6)),
                    {"D [setTvPosition] start:type = 1", "D set tv position:value = 1, result = -6",
                     "D [setTvPosition] end:ret = -6"}},
                   {[&] {
                        store("tv_position", "5");
                        start();
                    },
                    {kStart, kOpened, "D get tv position:5",
                     "E a_mtktvapi_config_get_value:Illigal value = 5", "D [OutputSpeaker] end"}},
                   {getSurround, {kGetSurround, "D [getSurroundType] end ret:2"}},
                   {refusing("a_mtktvapi_config_get_value", getSurround),
                    {kGetSurround, "E getSurroundType, MTKTVAPI failed:ret = -6\n"}},
                   {getDelay(4294967295.0F), {"D [getDelay] start", "D [getDelay] end:ret = -1"}},
                   {refusing("MTAUDDEC_GetChannelMainDelaySp", getDelay(0)),
                    {"D [getDelay] start", "E MTAUDDEC_GetChannelMainDelaySp failed. ret:-6"}}});
        std::filesystem::remove(tv / "soc/config/g_audio__aud_speaker");
        log.take();
        getSurround();
        EXPECT_EQ(takeText(log, "AudioOutSp")[2],  // after a message of the middleware
                  "E getSurroundType, MTKTVAPI CFG_AUD_SPEAKER failed:ret = -1\n");
    });
}

TEST(LogContract, CenterSpeaker) {
    const PrivateTv tv{};
    host::LogCapture log;
    const std::string start = "D [CenterSpeaker] start", end = "D [CenterSpeaker] end";
    const std::string ready = "I <<<<<hidlaudio dtv_svc is ready !>>>>> count:0";
    const std::string segment = "E [CenterSpeaker] Eeprom read fail.(segment)";
    const std::string mode = "E [CenterSpeaker] Eeprom read fail.(center_speaker_mode)";
    sp<V4_0::ICenterSpeaker> service;
    const auto construct = [&] { service = new V4_0::implementation::CenterSpeaker; };
    const auto types = [&] {
        EXPECT_TRUE(service->getCenterSpeakerAcousticsType([](const auto&) {}).isOk());
    };
    const auto latency = [&] { EXPECT_TRUE(service->getCenterSpeakerLatency([](const auto&) {}).isOk()); };
    makeFile(tv / "data/vendor/tmp/recipe/aqda.bin", std::string(23924, '\0') + "\7" + std::string(19, '\0'));
    std::string eeprom(0x10117, '\0');
    eeprom[0x10089] = 'S';
    makeFile(tv / "soc/eeprom.bin", eeprom);
    expectLog(
        log, "output_speaker_test",
        {{without(kReadyMarker, construct),
          waitingLines({start}, kWaiting, 2000, {"E [CenterSpeaker] dtv_svc rpc server failed [TimeOut]."})},
         {[&] { EXPECT_FALSE(service->isSynchronizedCenterSpeakerInputAvailable()); },
          {"D [isSynchronizedCenterSpeakerInputAvailable] Return: 0"}},
         {refusing("MTAL_Init", construct), {start, ready, "E [CenterSpeaker] MTAL_Init fail.", end}},
         {refusing("MTEEPROM_Init", construct), {start, ready, "E [CenterSpeaker] Eeprom init fail.", end}},
         {refusing("MTEEPROM_Read", construct, 2), {start, ready, segment, mode, end}},
         {construct, {start, ready, end}},
         {types,
          {"D [getCenterSpeakerAcousticsType] start",
           "D [getCenterSpeakerAcousticsType] Return: TvSpeakerType=7"}},
         {latency,
          {"D [getCenterSpeakerLatency] start",
           "D [getCenterSpeakerLatency] Return: samplingRate=48000, samples=0"}},
         {[&] { EXPECT_TRUE(service->isCenterSpeakerInputAvailable()); },
          {"D [isCenterSpeakerInputAvailable] Return: 1"}},
         {failing("fopen", 1, construct), {start, "E [readMmCecFromAqdata] fopen failed, errno 5"}},
         {failing("fseek", 1, construct), {start, "E [readMmCecFromAqdata] fseek failed, errno 5"}},
         {failing("fread", 1, construct), {start, "E [readMmCecFromAqdata] fread failed, errno 5"}},
         {types,
          {"D [getCenterSpeakerAcousticsType] start",
           "W [getCenterSpeakerAcousticsType] Exist problem in AQData access.",
           "D [getCenterSpeakerAcousticsType] Return: TvSpeakerType=0"}},
         {latency,
          {"D [getCenterSpeakerLatency] start", "W [getCenterSpeakerLatency] Exist problem in AQData access.",
           "D [getCenterSpeakerLatency] Return: samplingRate=48000, samples=576"}}});
}

}  // namespace
}  // namespace hidlaudio::test
