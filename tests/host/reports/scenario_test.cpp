// SPDX-License-Identifier: Apache-2.0
#include "report_text.h"

namespace hidlaudio::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

Made makeFromLog(std::vector<std::string> lines) {
    return makeFrom({{"log.txt", logOf(lines)}});
}

TEST(Calls, EachFormOfLineBecomesItsCall) {
    const struct {
        std::vector<std::string> lines;
        const char* calls;
    } rows[] = {
        {{"AudioOutSp: [setTvPosition] start:type = 7", "AudioOutSp: illigal argument:type = 7",
          "AudioOutSp: set tv position:value = 0, result = 0", "AudioOutSp: [setTvPosition] end:ret = 0"},
         "client app IOutputSpeaker.setTvPosition {\"type\":7}\n"},
        {{"MicControl: [setMicGain] start micDevice=[a]b] scale=[nan]",
          "MicControl: Illegal parameters: scale:nan"},
         "client app IMicControl.setMicGain {\"micDevice\":\"a]b\",\"scale\":\"NaN\"}\n"},
        {{"MicControl: [getMicGain] start", "MicControl: Illegal parameters: micDevice:other"},
         "client app IMicControl.getMicGain {\"micDevice\":\"other\"}\n"},
        {{"hdmiaudio: HIDL hdmiaudio set", "hdmiaudio: setArcDdCapability, capas list length: 3",
          "hdmiaudio: setArcDdCapability, capas : ARC_DD_PLUS",
          "hdmiaudio: setArcDdCapability, capas : ARC_DD_X",
          "hdmiaudio: setArcDdCapability, call set API capas : 1",
          "hdmiaudio: setArcDdCapability, capas list length: 3",
          "hdmiaudio: setArcDdCapability, capas : ARC_DD_PLUS",
          "hdmiaudio: setArcDdCapability, capas : ARC_DD_X",
          "hdmiaudio: setArcDdCapability, call set API capas : 1", "hdmiaudio: HIDL hdmiaudio set finish"},
         "client app IHdmiAudio.setAudioCapabilities "
         "{\"capabilities\":[\"ARC_DD_PLUS\",\"ARC_DD_X\",\"\"]}\n"},
        {{"hdmiaudio: callback is nullptr. skip setCallback"},
         "client app IHdmiAudio.setCallback {\"callback\":null}\n"},
        {{"hidlaudio: [isCenterSpeakerInputAvailable] Return: 0"},
         "client app ICenterSpeaker.isCenterSpeakerInputAvailable\n"},
        {{"AudioAC : [setCalibratedData] start",
          "AudioAC : [checkCalibratedData] [GEQ Gain] is NG.  ffsetLevel:    9.50000 "},
         "client app IAcousticCalibration.setCalibratedData "
         "{\"data\":[{\"channel\":\"FL\",\"equalizer\":[{\"gain\":9.5}],\"level\":0.0,\"delay\":0.0}]}\n"},
        {{"AudioAC : [setSmoothDelay] start", "AudioAC : [getEnabled] start",
          "AudioAC : [getEnabled] end Return: 1", "AudioAC : [setSmoothDelay] end Return: 0",
          "AudioAC : [getEnabled] start", "AudioAC : [getEnabled] end Return: 1"},
         "client app IAcousticCalibration.setSmoothDelay {\"delays\":[0.0,0.0]}\nclient app "
         "IAcousticCalibration.getEnabled\n"},
        {{"AudioAC : [setSmoothDelay] start", "AudioAC : [getEnabled] start",
          "AudioAC : [getEnabled] end Return: 1"},
         "client app IAcousticCalibration.setSmoothDelay {\"delays\":[]}\nclient app "
         "IAcousticCalibration.getEnabled\n"},
        {{"AudioHV : [apply] start. handle:9", "AudioHV : [getParamFromHandle] handle is not found!",
          "AudioHV : [append] start. handle=9", "AudioHV : [append] ParamType=0",
          "AudioHV : [append] data size error. max append size=262144, append size=300000"},
         "client app IHeadphoneVirtualizer.apply "
         "{\"callback\":{\"object\":\"callback\"},\"bufferHandle\":9}\n"
         "client app IHeadphoneVirtualizer.append {\"data\":{\"size\":300000},\"bufferHandle\":9}\n"},
    };
    for (const auto& row : rows) {
        std::vector<std::string> lines{kStart};
        lines.insert(lines.end(), row.lines.begin(), row.lines.end());
        const Made made = makeFromLog(lines);
        EXPECT_EQ(afterBoot(made), row.calls);
        EXPECT_EQ(made.warnings.size(), 0U) << made.warnings.front();
    }
}

TEST(Calls, OverlappingCallsComeFromSeveralClients) {
    const std::string lines = afterBoot(
        makeFromLog({kStart, "601 AudioAC : [getCalibratedData] start",
                     "602 MicControl: [getMicDevices] start", "602 MicControl: [getMicDevices] end",
                     "601 AudioAC : [getCalibratedData] end", "602 MicControl: [getMicDevices] start"}));
    EXPECT_EQ(lines,
              "client app IAcousticCalibration.getCalibratedData &\n"
              "client app2 IMicControl.getMicDevices\n"
              "client app IMicControl.getMicDevices\n");
}

TEST(Calls, ClientThatDiesIsKilledAfterWhatCameBefore) {
    const std::string lines =
        afterBoot(makeFromLog({kStart, "hdmiaudio: set callback", "hdmiaudio: set callback",
                               "hdmiaudio: HIDL getAudioCapabilities", "hdmiaudio: Monitored process died",
                               "hdmiaudio: remove callback", "hdmiaudio: HIDL getAudioCapabilities"}));
    EXPECT_EQ(lines,
              "client app IHdmiAudio.setCallback {\"callback\":{\"object\":\"callback\"}}\n"
              "client watcher1 IHdmiAudio.setCallback {\"callback\":{\"object\":\"callback\"}}\n"
              "client app IHdmiAudio.getAudioCapabilities\n"
              "kill watcher1\n"
              "await remove callback\n"
              "client app IHdmiAudio.getAudioCapabilities\n");
}

std::vector<std::string> uploadLines(const std::vector<std::string>& transfer) {
    std::vector<std::string> lines{kStart,
                                   "AudioHV : [allocateParameterBuffer] start. ParamType=1, size=8",
                                   "AudioHV : [allocateParameterBuffer] end. handle:3",
                                   "AudioHV : [apply] start. handle:3",
                                   "AudioHV : [apply] ParamType=1",
                                   "AudioHV : [apply] end. Return:0",
                                   "650 AudioHV : [paramTransferThread] start"};
    for (const std::string& line : transfer) lines.push_back("650 AudioHV : " + line);
    lines.emplace_back("650 AudioHV : paramTransferThread finished");
    lines.emplace_back("AudioHV : [discardParameterBuffer] start. handle=3");
    return lines;
}

TEST(Uploads, ScenarioAwaitsTheEndAndRepeatsTheOutcome) {
    const std::pair<std::vector<std::string>, const char*> rows[] = {
        {{"[paramTransferThread] read proc file(state)=0x0",
          "[paramTransferThread] read proc file(result)=0x1"},
         ""},
        {{"[paramTransferThread] read proc file(state)=0x0",
          "[paramTransferThread] read proc file(result)=0xf3"},
         "tv bectrl hrtf result 243\n"},
        {{"[paramTransferThread] epoll timeout!!"}, "tv bectrl hrtf hang on\n"},
        {{"[setParametersToBeCtrl] ioctl() failed! : (-1)"}, "tv bectrl hrtf ioctl_fails on\n"},
        {{"[paramTransferThread] Acquire Wakelock failed(errno:-5)."}, "tv fault acquire_wake_lock -5 1\n"},
        {{"[readBeCtrlTransferState] fread proc file failed! errno:5"}, "tv fault fread EIO 1\n"},
    };
    for (const auto& [transfer, setting] : rows) {
        EXPECT_EQ(
            afterBoot(makeFromLog(uploadLines(transfer))),
            "client app IHeadphoneVirtualizer.allocateParameterBuffer {\"type\":\"HRTF\",\"size\":8} > h1\n" +
                std::string(setting) +
                "client app IHeadphoneVirtualizer.apply "
                "{\"callback\":{\"object\":\"callback\"},\"bufferHandle\":\"$h1\"}\n"
                "await paramTransferThread finished\n"
                "client app IHeadphoneVirtualizer.discardParameterBuffer {\"bufferHandle\":\"$h1\"}\n");
    }
}

TEST(Faults, ComeBeforeTheCallOrStartThatShowsThem) {
    const struct {
        const char* start;  // a line of the start
        const char* call;   // a line of a call of getSurroundType
        const char* before;
        const char* after;
    } rows[] = {
        {"hdmiaudio: ERROR: HdmiAudio MTAL_Init.... , r = -3 ", nullptr, "tv fault MTAL_InitExCb -3 1\n", ""},
        {"hidlaudio: [readMmCecFromAqdata] fopen failed, errno 2", nullptr, "tv fault fopen ENOENT 1\n", ""},
        {"AudioAC : [readCalibratedData] fopen failed, errno 2", nullptr, "", ""},
        {"AudioAC : [getEnabledOnBoot] write AcousticCalibration enabled data failed, errno 28", nullptr,
         "tv fault write ENOSPC 1\n", ""},
        {"hdmiaudio: <<<<<hdmiaudio waiting dtv_svc>>>>> count:0", nullptr, "tv fault access ENOENT 1\n", ""},
        {"AudioAC : <<<<<hidlaudio dtv_svc is ready !>>>>> count:41", nullptr, "tv fault access ENOENT 41\n",
         ""},
        {"AudioAC : [checkDtvSvcBoot] dtv_svc rpc server failed [TimeOut].", nullptr,
         "tv fault access ENOENT 2000\n", ""},
        {"AudioOutSp: load audio interface failed", nullptr, "tv fault openPrimaryDevice 1 1\n", ""},
        {nullptr, "AudioOutSp: getSurroundType, MTKTVAPI CFG_AUD_SPEAKER failed:ret = 9", "",
         "tv fault a_mtktvapi_config_get_value 9 1 1\n"},
        {nullptr, "AudioAC : [checkCpupostReady] wait cpupost Ready timeout.", "",
         "file /soc/audio_post/ready hex 300a\n"},
    };
    for (const auto& row : rows) {
        std::vector<std::string> lines{kStart};
        if (row.start != nullptr) lines.emplace_back(row.start);
        lines.emplace_back("AudioOutSp: [getSurroundType] start");
        if (row.call != nullptr) lines.emplace_back(row.call);
        const Made made = makeFromLog(lines);
        const std::string before = beforeBoot(made);
        EXPECT_EQ(before.substr(before.find('\n') + 1), row.before);
        EXPECT_THAT(afterBoot(made), testing::StartsWith(std::string(row.after) +
                                                         "client app IOutputSpeaker.getSurroundType\n"));
    }
}

TEST(Faults, FailuresOfOneFunctionInOneCallAreOneFault) {
    EXPECT_THAT(afterBoot(makeFromLog({kStart, "hdmiaudio: HIDL getAudioCapabilities",
                                       "hdmiaudio: getEarcDdCapability, MTKTVAPI failed:ret = 4",
                                       "hdmiaudio: getArcMp4Capability, MTKTVAPI failed:ret = 4"})),
                testing::StartsWith("tv fault a_mtktvapi_config_get_value 4 2 1\n"));
}

TEST(State, IsThatOfTheFirstReads) {
    const Made made = makeFromLog(
        {kStart, "hidlaudio: [OutputExternal] set bitstream output mode 2,  result 0",
         "AudioOutSp: get tv position:1", "AudioAC : [getEnabledOnBoot] end Return: 1",
         "AudioAC : [getAutoCalibOffset] offsetLevel:-3.0dB",
         "AudioHV : [HeadphoneVirtualizer] end. HRTF is not supported.",
         "hidlaudio: [isCenterSpeakerInputAvailable] Return: 1",
         "hidlaudio: [isSynchronizedCenterSpeakerInputAvailable] Return: 0",
         "AudioOutSp: [setTvPosition] start:type = 0", "AudioOutSp: set tv position:value = 0, result = 0",
         "AudioOutSp: [setTvPosition] end:ret = 0", "AudioOutSp: [getTvPosition] start",
         "AudioOutSp: get tv position:value = 5, result = 0", "AudioOutSp: [getTvPosition] end:ret = 0"});
    EXPECT_THAT(
        beforeBoot(made),
        AllOf(HasSubstr("tv init --model standard --centre-input\ntv eeprom 0x10116 0\n"),
              HasSubstr("tv config g_audio__tv_position 1\n"), Not(HasSubstr("bitstream_output_mode 2")),
              HasSubstr("file /data/vendor/tovi/hidlaudio/bitstream_output_mode.data hex 02000000\n"),
              HasSubstr("file /data/vendor/tovi/hidlaudio/aud_ac_enabled.data hex 01\n"),
              HasSubstr("file /data/vendor/tovi/hidlaudio/aud_ac.data hex 464c000000000000000040c0")));
    EXPECT_THAT(afterBoot(made),
                HasSubstr("tv config g_audio__tv_position 5\nclient app IOutputSpeaker.getTvPosition\n"))
        << "another component of the TV has changed the value";
}

TEST(State, CutFileIsEmptyUnlessTheReportHasIt) {
    const std::string log =
        logOf({kStart, "AudioAC : [getEnabled] start",
               "AudioAC : [getEnabled] fread AcousticCalibration enabled data failed, errno 0",
               "AudioAC : [getEnabled] end Return: 0", "AudioAC : [setEnabled] start enable:1",
               "AudioAC : [readCalibratedData] fread failed, errno 0"});
    const Made made = makeFrom({{"log.txt", log}, {"data/aud_ac.data", "FL"}});
    EXPECT_EQ(beforeBoot(made),
              "tv init --model be\nfile /data/vendor/tovi/hidlaudio/aud_ac.data hex 464c\n"
              "file /data/vendor/tovi/hidlaudio/aud_ac_enabled.data hex\n");
    EXPECT_THAT(afterBoot(made), Not(HasSubstr("file ")));
    EXPECT_THAT(made.scenario.notes, HasSubstr("\n  nothing shows centre_input: no\n"));
}

TEST(State, FilesOfTheReportCountUnlessACallHasChangedThem) {
    const std::string enabled("\1", 1);
    const std::string log =
        logOf({"AudioAC : [setEnabled] start enable:0", "AudioAC : [setEnabled] end Return: 0"});
    const std::string file = "data/vendor/tovi/hidlaudio/aud_ac_enabled.data";
    EXPECT_THAT(beforeBoot(makeFrom({{"log.txt", log}, {file, enabled}})), Not(HasSubstr("file ")));
    EXPECT_THAT(beforeBoot(makeFrom({{"log.txt", logOf({kStart})}, {file, enabled}})),
                HasSubstr("aud_ac_enabled.data hex 01\n"));
    const char* const dump =
        R"({"services":[{"state":{"service":"AcousticCalibration","model":{"back_end_controller":false}}}],
            "tv_state":{"daemon_files":{"../../../etc/x":"1","aud_ac_enabled.data":{"hex":"01"}}}})";
    EXPECT_EQ(beforeBoot(makeFrom({{"log.txt", logOf({kStart})}, {"dump.json", dump}})),
              "tv init --model standard\nfile /data/vendor/tovi/hidlaudio/aud_ac_enabled.data hex 01\n");
    const char* const text =
        "AcousticCalibration (hidlaudio 1.0.0)\n  model\n    back_end_controller: false\n";
    EXPECT_EQ(beforeBoot(makeFrom({{"log.txt", logOf({kStart})}, {"lshal.txt", text}})),
              "tv init --model standard\n");
}

TEST(Boots, DaemonThatIsKilledStartsAgain) {
    const std::string call = "hidlaudio: [getEncodingFormat] start";
    const std::string first = logOf({kStart, call});
    const std::string second = logOf({kStart, call}, 601, 4);
    const std::pair<const char*, const char*> ends[] = {
        {"init    : Service 'hidlaudio' (pid 600) received signal 9", "kill hidlaudio\n"},
        {"init    : Service 'hidlaudio' (pid 600) received signal 11", ""},
        {"libc    : Fatal signal 6 (SIGABRT), code -1 in tid 600 (hidlaudio), pid 600 (hidlaudio)", ""},
        {"am_kill : [0,600,hidlaudio,-1000,stop]", "kill hidlaudio\n"},
        {"Other: x", "kill hidlaudio\n"},
    };
    const std::string line = "client app IOutputExternal.getEncodingFormat\n";
    for (const auto& [end, kill] : ends) {
        EXPECT_EQ(afterBoot(makeFrom({{"log.txt", first + logOf({end}, 1, 3) + second}})),
                  line + kill + "tv boot\n" + line)
            << end;
    }
}

constexpr char kRecord[] =
    R"({"event":"start","time":1,"date":"2026-11-26","process":600,"program":"hidlaudio","format":1}
{"event":"process","time":1,"process":700,"program":"/system/bin/settings"}
{"event":"call","id":1,"time":2,"thread":600,"direction":"in","client":700,"interface":"com.tovi.dtv.hardware.audio@3.1::IHdmiAudio","method":"setCallback","arguments":{"callback":{"object":"a1"}}}
{"event":"answer","id":1,"time":2,"duration":0.1,"results":{}}
{"event":"exit","time":3,"process":700}
{"event":"call","id":2,"time":4,"thread":600,"direction":"in","client":701,"interface":"com.tovi.dtv.hardware.audio@5.1::IAcousticCalibration","method":"setSmoothDelay","arguments":{"delays":[1.5,2]}}
)";

TEST(Records, AreAuthoritativeForClientsAndArguments) {
    const std::string client =
        "client settings IHdmiAudio.setCallback {\"callback\":{\"object\":\"a1\"}}\nkill settings\n";
    const std::string delay = "client app IAcousticCalibration.setSmoothDelay {\"delays\":[1.5,2]}\n";
    EXPECT_EQ(afterBoot(makeFrom({{"calls.jsonl", kRecord}})), client + delay);
    const std::string log =
        logOf({kStart, "hdmiaudio: set callback", "hdmiaudio: Monitored process died",
               "AudioAC : [setSmoothDelay] start",
               "AudioAC : [setCalibratedDataToBeCtrl] MTDRVCUST_dcustom_cust_spec_set failed!!(-2)",
               "AudioAC : [setSmoothDelay] end Return: -2", "MicControl: [getMicDevices] start"});
    EXPECT_EQ(afterBoot(makeFrom({{"calls.jsonl", kRecord}, {"log.txt", log}})),
              client + "await Monitored process died\ntv fault MTDRVCUST_dcustom_cust_spec_set -2 1\n" +
                  delay + "client app IMicControl.getMicDevices\n");
}

}  // namespace
}  // namespace hidlaudio::test
