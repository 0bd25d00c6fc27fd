// SPDX-License-Identifier: Apache-2.0
#include "tests/client/audioctl.h"

namespace hidlaudio::test {
namespace {

TEST_F(Audioctl, ReadsAndSetsTheSpeaker) {
    const auto service = serve({"speaker"});
    expectAll({{{"speaker", "surround"}, 0, "none\n", ""},
               {{"speaker", "position"}, 0, "table-top\n", ""},
               {{"speaker", "position", "wall-mount"}, 0, "", ""},
               {{"speaker", "position", "--json"}, 0, "{\"value\":\"wall-mount\"}\n", ""},
               {{"speaker", "surround", "--json"}, 0, "{\"value\":\"type-1\"}\n", ""},
               {{"speaker", "position", "0", "--json"}, 0, "{\"result\":0}\n", ""},
               {{"speaker", "position"}, 0, "table-top\n", ""},
               {{"speaker", "position", "-5"}, 0, "", ""},
               {{"speaker", "position"}, 0, "-5\n", ""},
               {{"speaker", "position", "99"}, 1, "", "setTvPosition answered -7: the TV's middleware"},
               {{"speaker", "position", "sideways"}, 2, "", "table-top, wall-mount and 32-bit numbers"},
               {{"speaker", "position", ""}, 2, "", "table-top, wall-mount"},
               {{"speaker", "position", "2147483648"}, 2, "", "32-bit"},
               {{"speaker", "position", "wall-mount", "x"}, 2, "", "\"x\" is not expected"},
               {{"speaker", "delay"}, 0, "4294967296\n", ""},
               {{"speaker"}, 2, "", "surround, position, delay"},
               {{"mic", "gain"}, 3, "", "IMicControl/default is not registered"}});
}

TEST_F(Audioctl, ReadsAndSetsTheMicrophonesGain) {
    const auto service = serve({"mic"});
    expectAll(
        {{{"mic", "gain"}, 0, "0\n", ""},
         {{"mic", "gain", "0.3"}, 0, "", ""},
         {{"mic", "gain", "--json"}, 0, "{\"value\":0.3}\n", ""},
         {{"mic", "gain", "1.0", "--json"}, 0, "{\"result\":0}\n", ""},
         {{"mic", "gain", "--device", "b"}, 0, "1\n", ""},
         {{"mic", "gain", "0", "--device", "b"}, 1, "", "setMicGain answered -1: the TV has no such"},
         {{"mic", "devices"}, 0, "AUDIO_DEVICE_IN_BUILTIN_MIC\nb\n", ""},
         {{"mic", "devices", "--json"}, 0, "{\"value\":[\"AUDIO_DEVICE_IN_BUILTIN_MIC\",\"b\"]}\n", ""}});
    for (const char* wrong : {"loud", "", "1.0001", "-0.0001", "nan", "0.5x"}) {
        expectAll({{{"mic", "gain", wrong}, 2, "", "numbers from 0.0 to 1.0"}});
    }
    expectAll({{{"mic", "gain"}, 0, "1\n", ""}});
}

TEST_F(Audioctl, ShowsTheCentreSpeaker) {
    const auto service = serve({"center"});
    expectAll({{{"center", "show"},
                0,
                "acoustics type: 7 300\nlatency: -5 samples at 48000 Hz\ninput available: yes\n"
                "synchronized input available: no\n",
                ""},
               {{"center", "show", "--json"},
                0,
                "{\"value\":{\"acoustics_types\":[7,300],\"input_available\":true,\"latency\":"
                "{\"samples\":-5,\"sampling_rate\":48000},\"synchronized_input_available\":false}}\n",
                ""}});
}

}  // namespace
}  // namespace hidlaudio::test
