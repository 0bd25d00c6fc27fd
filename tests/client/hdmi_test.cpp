// SPDX-License-Identifier: Apache-2.0
#include <sys/stat.h>

#include "audioctl.h"
#include "tests/support/sanitizers.h"

namespace hidlaudio::test {
namespace {

constexpr char kEnded[] = "IHdmiAudio/default has ended; waiting";
constexpr char kWatching[] = "watching com.tovi.dtv.hardware.audio@3.1::IHdmiAudio/default";

class AudioctlHdmi : public AudioctlTv {
  protected:
    static void awaitTimes(const RunningProgram& watcher, const std::string& message, size_t times) {
        ASSERT_TRUE(becomesTrue([&] {
            size_t found = 0;
            const std::string text = watcher.err();
            for (size_t at = 0; (at = text.find(message, at)) != std::string::npos; ++at) ++found;
            return found == times;
        }));
    }
};

TEST_F(AudioctlHdmi, CapabilitiesAreReadAndSet) {
    const auto daemon = startDaemon();
    expectAll(
        {{{"hdmi", "get"}, 0, "ARC_DD_PLUS\nEARC_DD_PLUS\nARC_MP4AAC_5_1\n", ""},
         {{"hdmi", "set", "ARC_MP4AAC_7_1", "ARC_DD_NONE", "--json"}, 0, "{\"result\":0}\n", ""},
         {{"hdmi", "get", "--json"},
          0,
          "{\"value\":[\"ARC_DD_NONE\",\"EARC_DD_PLUS\",\"ARC_MP4AAC_7_1\"]}\n",
          ""},
         {{"hdmi", "set", "ARC_DD_ATMOS", "arc_mp4aac_5_1"}, 0, "", "\"arc_mp4aac_5_1\" is not a capability"},
         {{"hdmi", "set", "EARC_DD_NONE"}, 1, "", "returned -1: none of the names can be set"},
         {{"hdmi", "get"}, 0, "ARC_DD_ATMOS\nEARC_DD_PLUS\nARC_MP4AAC_7_1\n", ""},
         {{"hdmi", "set"}, 2, "", "CAPABILITY"}});
    makeFile(tv_ / "soc/faults/a_mtktvapi_config_set_value", "9");
    expectAll({{{"hdmi", "set", "ARC_DD_NONE"}, 1, "", "returned 9: the TV's middleware refused"}});
}

TEST_F(AudioctlHdmi, WatchContinuesAfterRestartOfDaemon) {
    expectAll({{{"hdmi", "watch"}, 3, "", "IHdmiAudio/default is not registered"}});
    auto daemon = startDaemon();
    RunningProgram plain(commandLine({"hdmi", "watch"}));
    RunningProgram json(commandLine({"hdmi", "watch", "--json"}));
    for (const RunningProgram* watcher : {&plain, &json}) awaitTimes(*watcher, kWatching, 1);
    EXPECT_EQ(run({"hdmi", "set", "ARC_DD_X", "ARC_DD_PLUS"}).status, 0);
    ASSERT_TRUE(becomesTrue([&] { return json.out().find('\n') != std::string::npos; }));
    daemon.reset();
    for (const RunningProgram* watcher : {&plain, &json}) awaitTimes(*watcher, kEnded, 1);
    daemon = startDaemon();
    for (const RunningProgram* watcher : {&plain, &json}) awaitTimes(*watcher, kWatching, 2);
    EXPECT_EQ(run({"hdmi", "set", "ARC_MP4AAC_5_1"}).status, 0);
    const std::string lines = "ARC_DD_X ARC_DD_PLUS\nARC_MP4AAC_5_1\n";
    const std::string objects =
        "{\"value\":[\"ARC_DD_X\",\"ARC_DD_PLUS\"]}\n{\"value\":[\"ARC_MP4AAC_5_1\"]}\n";
    ASSERT_TRUE(becomesTrue(
        [&] { return plain.out().size() >= lines.size() && json.out().size() >= objects.size(); }));
    kill(plain.pid(), SIGINT);
    kill(json.pid(), SIGTERM);
    EXPECT_EQ(plain.wait(), 0);
    EXPECT_EQ(json.wait(), 0);
    EXPECT_EQ(plain.out(), lines);
    EXPECT_EQ(json.out(), objects);
}

TEST_F(AudioctlHdmi, WatchWithBlockedOutputDoesNotBlockService) {
    const auto daemon = startDaemon();
    const std::string fifo = tv_ / "fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const RunningProgram reader({"/bin/sh", "-c", "exec sleep 60 <\"$0\"", fifo});
    RunningProgram watcher(commandLine({"hdmi", "watch"}), {}, fifo);
    awaitTimes(watcher, kWatching, 1);
    std::vector<std::string> command = {"hdmi", "set", "ARC_DD_PLUS"};
    command.resize(20, "ARC_DD_" + std::string(3000, 'x'));  // a pipe has space for one such line
    for (int i = 0; i < 4; ++i) EXPECT_EQ(run(command).status, 0);
    if (kThreadSanitizer) return;  // it delays signals until the write ends
    kill(watcher.pid(), SIGINT);
    EXPECT_EQ(watcher.wait(), 0);
}

}  // namespace
}  // namespace hidlaudio::test
