// SPDX-License-Identifier: Apache-2.0
#include "audioctl.h"

namespace hidlaudio::test {
namespace {

TEST_F(AudioctlTv, SpeakerSettingsAreReadAndSet) {
    for (const char* key : {"tv_position", "aud_speaker"})
        makeFile(tv_ / (std::string("soc/config/g_audio__") + key), "0\n");
    makeFile(tv_ / "soc/config/g_audio__spk_sur_type", "1\n");
    makeFile(tv_ / "soc/audio_decoder/channel_main_delay_sp", "4294967295\n");
    expectAll({{{"speaker", "delay"}, 3, "", "IOutputSpeaker/default is not registered"}});
    const auto daemon = startDaemon();
    expectAll({{{"speaker", "surround"}, 0, "type-1\n", ""},
               {{"speaker", "surround", "--json"}, 0, "{\"value\":\"type-1\"}\n", ""},
               {{"speaker", "position"}, 0, "table-top\n", ""},
               {{"speaker", "position", "wall-mount"}, 0, "", ""},
               {{"speaker", "position", "--json"}, 0, "{\"value\":\"wall-mount\"}\n", ""},
               {{"speaker", "position", "0", "--json"}, 0, "{\"result\":0}\n", ""},
               {{"speaker", "position", "sideways"}, 2, "", "table-top, wall-mount or a 32-bit number"},
               {{"speaker", "position", "2147483648"}, 2, "", "32-bit"},
               {{"speaker", "delay"}, 0, "4294967296\n", ""}});
    tv_.fail("a_mtktvapi_config_set_value", "-7 1");
    expectAll({{{"speaker", "position", "-5"}, 1, "", "setTvPosition returned -7: the TV's middleware"}});
}

TEST_F(AudioctlTv, MicrophoneGainIsReadAndSet) {
    std::filesystem::create_directories(tv_ / "hal/parameters");
    const RunningProgram hal({AUDIO_HAL});
    EXPECT_EQ(run({"wait", "android.hardware.audio@5.0::IDevicesFactory"}).status, 0);
    const auto daemon = startDaemon();
    expectAll({{{"mic", "gain"}, 0, "0\n", ""},
               {{"mic", "gain", "0.3"}, 0, "", ""},
               {{"mic", "gain", "--json"}, 0, "{\"value\":0.3}\n", ""},
               {{"mic", "gain", "1.0", "--json"}, 0, "{\"result\":0}\n", ""},
               {{"mic", "gain", "0", "--device", "b"}, 1, "", "setMicGain returned -1: the TV has no such"},
               {{"mic", "gain", "--device", "b"}, 0, "0\n", ""},
               {{"mic", "devices"}, 0, "AUDIO_DEVICE_IN_BUILTIN_MIC\n", ""},
               {{"mic", "devices", "--json"}, 0, "{\"value\":[\"AUDIO_DEVICE_IN_BUILTIN_MIC\"]}\n", ""}});
    for (const char* wrong : {"", "1.0001", "nan"})
        expectAll({{{"mic", "gain", wrong}, 2, "", "number from 0 to 1"}});
    expectAll({{{"mic", "gain"}, 0, "1\n", ""}});
}

TEST_F(AudioctlTv, CenterSpeakerValuesArePrinted) {
    const std::string block("\7\0\0\0\xFB\xFF\xFF\xFF", 8);
    makeFile(tv_ / "data/vendor/tmp/recipe/aqda.bin",
             std::string(23924, '\0') + block + std::string(12, '\0'));
    const auto daemon = startDaemon();
    expectAll({{{"center", "show"},
                0,
                "acoustics type: 7\nlatency: -5 samples at 48000 Hz\ninput available: no\n"
                "synchronized input available: no\n",
                ""},
               {{"center", "show", "--json"},
                0,
                "{\"value\":{\"acoustics_types\":[7],\"input_available\":false,\"latency\":"
                "{\"samples\":-5,\"sampling_rate\":48000},\"synchronized_input_available\":false}}\n",
                ""}});
}

}  // namespace
}  // namespace hidlaudio::test
