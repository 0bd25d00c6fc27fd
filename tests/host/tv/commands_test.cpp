// SPDX-License-Identifier: Apache-2.0
#include <sys/stat.h>

#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>

#include "host/tv_files/folder_lock.h"
#include "tests/support/process_state.h"
#include "tests/support/run_redirected.h"
#include "tv_command.h"

namespace hidlaudio::test {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;

/** Commands that need a TV, with valid arguments. */
const std::vector<std::vector<std::string>> kTvCommands = {
    {"boot", "--background"}, {"shutdown"},          {"show"}, {"show", "--json"},  {"config"},
    {"config", "key", "1"},   {"fault", "DRV_Init"}, {"log"},  {"eeprom", "1", "2"}};

TEST_F(TvCommand, InitCreatesTvThatShowPrints) {
    umask(022);
    mustRun({"init", "--model", "standard", "--centre-input"});
    for (const char* path : {"data/vendor/tmp/dtv_svc_is_ready", "data/vendor/tmp/recipe", "soc/faults",
                             "log", "data/vendor/tovi/hidlaudio", "power/wake_lock"}) {
        EXPECT_TRUE(std::filesystem::exists(tv_ + "/" + path)) << path;
    }
    EXPECT_THAT(contentOf(tv_ + "/manifest"),
                AllOf(HasSubstr("\nandroid.hardware.audio@5.0::IDevicesFactory/default\n"),
                      HasSubstr("\ncom.tovi.dtv.hardware.audio@1.1::IHdmiAudio/default\n"),
                      HasSubstr("\ncom.tovi.dtv.hardware.audio@6.1::IOutputSpeaker/default\n")));
    struct stat status{};
    ASSERT_EQ(stat((tv_ + "/run/hwbinder").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700U) << "only this user may use the services";

    makeFile(tv_ + "/data/vendor/tovi/hidlaudio/bitstream_output_mode.data", std::string("\2\0\0\0", 4));
    makeFile(tv_ + "/data/vendor/tovi/hidlaudio/large", std::string(1000, 'x'));
    makeFile(tv_ + "/power/wake_lock", "HidlAudioHrtf\n");
    makeFile(tv_ + "/soc/config/g_audio__earc_ddp_cap", "many\n");
    makeFile(tv_ + "/soc/faults/DRV_Init", "-3 2\n");
    makeFile(tv_ + "/soc/faults/MTAL_Init", "bad\n");
    makeFile(tv_ + "/hal/faults/getParameters", "3\n");
    makeFile(tv_ + "/hal/parameters/tv_position", "wall_mount\n");
    makeFile(tv_ + "/soc/audio_decoder/equalizer", "2.35\nloud\n-9\n");
    std::filesystem::resize_file(tv_ + "/soc/eeprom.bin", 0x10116);
    const json expected = json::parse(R"({
        "model": "standard", "centre_input": true, "platform_ready": true,
        "programs": {"audio_hal": null, "hidlaudio": null},
        "config": {"g_audio__tv_position": 0, "g_audio__spk_sur_type": 1, "g_audio__aud_speaker": 0,
                   "g_audio__bitstream_output_mode": 0, "g_audio__arc_dd_plus_capab": 2,
                   "g_audio__earc_ddp_cap": null, "g_audio__arc_mpeg4_aac_lc_capab": 1},
        "eeprom": {"back_end": 0, "segment": 83, "center_speaker_mode": null},
        "hal_parameters": {"tv_position": "wall_mount"},
        "faults": {"DRV_Init": {"status": -3, "count": 2}, "MTAL_Init": null,
                   "getParameters": {"status": 3}},
        "files": {"/data/vendor/tovi/hidlaudio/bitstream_output_mode.data": {"size": 4, "hex": "02000000"},
                  "/data/vendor/tovi/hidlaudio/large": {"size": 1000}},
        "wake_locks": ["HidlAudioHrtf"],
        "audio": {"equalizer": [2.35, null, -9], "volume_offset": null, "speaker_delay": 20,
                  "post_processor_ready": 1}})");
    json shown = json::parse(mustRun({"show", "--json"}), nullptr, false);
    EXPECT_EQ(shown["tv"], tv_);
    shown.erase("tv");
    EXPECT_EQ(shown, expected) << shown.dump(2);
    EXPECT_THAT(mustRun({"show"}),
                AllOf(HasSubstr("g_audio__earc_ddp_cap: no 32-bit"), HasSubstr("equalizer 2.35 ? -9\n")));
}

TEST_F(TvCommand, InitKeepsExistingData) {
    mustRun({"init"});
    makeFile(tv_ + "/soc/config/g_audio__tv_position", "1\n");
    makeFile(tv_ + "/notes", "mine");
    const Outcome again = run({"init", "--model", "standard"});
    EXPECT_EQ(again.status, 1);
    EXPECT_THAT(again.err, HasSubstr("--force"));
    EXPECT_EQ(mustRun({"config", "g_audio__tv_position"}), "1\n");
    mustRun({"init", "--force"});
    EXPECT_EQ(mustRun({"config", "g_audio__tv_position"}), "0\n");
    EXPECT_EQ(contentOf(tv_ + "/notes"), "mine");

    // A TV with a damaged tv.json cannot be used, but it can be replaced.
    makeFile(tv_ + "/tv.json", "{\"format\": 1, \"model\": \"other\"}");
    EXPECT_EQ(run({"show"}).status, 2);
    mustRun({"init", "--force"});
    mustRun({"show"});

    makeFile(folder_ / "other/data/precious", "content");
    makeFile(folder_ / "file", "content");
    for (const char* name : {"other", "file"}) {
        const Outcome outcome = run({"init", "--force", "--tv", folder_ / name});
        EXPECT_EQ(outcome.status, 1) << name;
        EXPECT_THAT(outcome.err, HasSubstr(folder_ / name));
    }
    EXPECT_EQ(contentOf(folder_ / "other/data/precious"), "content");
    EXPECT_EQ(contentOf(folder_ / "file"), "content");
    std::filesystem::create_directory(folder_ / "empty");
    mustRun({"init", "--tv", folder_ / "empty"});
    mustRun({"init", "--tv", folder_ / "a/new/place"});
}

TEST_F(TvCommand, FolderWithoutTvIsRefused) {
    makeFile(folder_ / "other/file");
    makeFile(folder_ / "plain");
    for (const char* name : {"tv", "other", "plain"}) {
        for (auto arguments : kTvCommands) {
            arguments.insert(arguments.end(), {"--tv", folder_ / name});
            const Outcome outcome = run(arguments);
            EXPECT_EQ(outcome.status, 2) << arguments[0] << " " << name;
            EXPECT_THAT(outcome.err, AllOf(HasSubstr(folder_ / name), HasSubstr("not a TV")));
        }
    }
    EXPECT_FALSE(std::filesystem::exists(tv_));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_ / "other"), {}), 1);
}

TEST_F(TvCommand, WrongUsageChangesNothing) {
    mustRun({"init"});
    const std::string before = mustRun({"show", "--json"});
    const std::pair<const char*, std::vector<const char*>> wrongUses[] = {
        {"", {"", "nosuch", "show --tv ''", "init --force --model large"}},
        {"config ", {"../../tv.json", "../x 1", "key 2147483648", "key 0x10"}},
        {"eeprom ", {"", "0x20000", "0x", "0x1001A 256", "0x1001A ''"}},
        {"fault ", {"NoSuch 1", "../config/key 1", "setParameters 5", "getParameters -1"}},
        {"fault DRV_Init ", {"x", "1 0", "1 ''", "1 --clear", "ENOSPC", "short=1"}},
        {"fault ",
         {"write ENOWHERE", "write 0", "write -5", "write short=-1", "write delay=0", "access short=1"}},
    };
    const auto expectRefused = [&](const std::string& wrong) {
        const Outcome outcome = run(wordsOf(wrong));
        EXPECT_EQ(outcome.status, 2) << wrong;
        EXPECT_NE(outcome.err, "") << wrong;
    };
    for (const auto& [command, ends] : wrongUses)
        for (const char* end : ends) expectRefused(std::string(command) + end);
    EXPECT_EQ(mustRun({"show", "--json"}), before);
    EXPECT_THAT(run({"fault", "NoSuch"}).err, HasSubstr("a_mtktvapi_config_set_value"));
    EXPECT_THAT(run({"fault", "setParameters", "5"}).err, HasSubstr("0 OK, 1 NOT_INITIALIZED, 2 INVALID_"));
}

TEST_F(TvCommand, OutputThatCannotBeWrittenIsAnError) {
    EXPECT_THAT(mustRun({"--version"}), testing::StartsWith("tv "));
    mustRun({"init"});
    mustRun({"fault", "DRV_Init", "1"});
    makeFile(tv_ + "/log/hidlaudio.log", std::string(100000, 'x'));
    for (const char* command : {"--help", "--version", "bectrl --help", "show", "show --json", "config",
                                "config g_audio__tv_position", "fault", "fault DRV_Init", "bectrl",
                                "eeprom 0", "log", "shutdown", "init --force"}) {
        std::vector<std::string> arguments = wordsOf(command);
        arguments.insert(arguments.begin(), command_);
        RunningProgram program(arguments, {}, "/dev/full");
        EXPECT_EQ(program.wait(), 1) << command;
        EXPECT_THAT(program.err(), HasSubstr("tv: standard output cannot be written")) << command;
    }
    EXPECT_EQ(RunningProgram({command_, "fault", "MTAL_Init"}, {}, "/dev/full").wait(), 0)
        << "the command prints nothing, so no write fails";
}

// This test would not end otherwise.
TEST_F(TvCommand, LogOfIdleTvEndsIfPipeIsClosed) {
    mustRun({"init"});
    makeFile(tv_ + "/log/hidlaudio.log");
    runRedirected({command_, "log", "-f"}, [] { sendToNobody(STDOUT_FILENO); });
}

TEST_F(TvCommand, RelativeStateFolderIsIgnored) {
    const std::string home = folder_ / "home";
    const std::pair<std::string, std::string> states[] = {{"relative", home + "/.local/state"},
                                                          {"", home + "/.local/state"},
                                                          {folder_ / "state", folder_ / "state"}};
    for (const auto& [given, used] : states) {
        const std::string errors = folder_ / "errors";
        std::filesystem::remove(errors);
        runRedirected({command_, "show"}, [&, &state = given] {
            unsetenv("HIDLAUDIO_TV");
            setenv("HOME", home.c_str(), 1);
            setenv("XDG_STATE_HOME", state.c_str(), 1);
            sendToFile(STDERR_FILENO, errors);
        });
        EXPECT_THAT(contentOf(errors), HasSubstr(used + "/hidlaudio/tv is not a TV")) << given;
    }
}

TEST_F(TvCommand, ConfigAndFaultChangeFiles) {
    mustRun({"init"});
    mustRun({"config", "g_audio__tv_position", "-2147483648"});
    EXPECT_EQ(mustRun({"config", "g_audio__tv_position"}), "-2147483648\n");
    EXPECT_EQ(contentOf(tv_ + "/soc/config/g_audio__tv_position"), "-2147483648\n");
    const Outcome unusual = run({"config", "other", "5"});
    EXPECT_EQ(unusual.status, 0);
    EXPECT_THAT(unusual.err, HasSubstr("other")) << "an unknown key may be a typing error";
    EXPECT_THAT(mustRun({"config"}),
                AllOf(HasSubstr("g_audio__tv_position -2147483648\n"), HasSubstr("other 5\n")));
    std::filesystem::remove(tv_ + "/soc/config/other");
    EXPECT_EQ(run({"config", "other"}).status, 1);
    std::filesystem::remove_all(tv_ + "/soc/config");
    EXPECT_EQ(run({"config", "g_audio__tv_position", "1"}).status, 1);

    mustRun({"fault", "MTAL_Init", "-7", "3"});
    mustRun({"fault", "DRV_Init", "5"});
    EXPECT_EQ(contentOf(tv_ + "/soc/faults/MTAL_Init"), "-7 3\n");
    mustRun({"fault", "openPrimaryDevice", "4", "1"});
    EXPECT_EQ(contentOf(tv_ + "/hal/faults/openPrimaryDevice"), "4 1\n");
    EXPECT_EQ(mustRun({"fault", "DRV_Init"}), "DRV_Init returns 5\n");
    mustRun({"fault", "DRV_Init", "--clear"});
    EXPECT_EQ(mustRun({"fault"}), "MTAL_Init returns -7, 3 times\nopenPrimaryDevice returns 4, 1 times\n");

    mustRun({"fault", "write", "28", "1", "2"});
    EXPECT_EQ(contentOf(tv_ + "/kernel/faults/write"), "ENOSPC 1 2\n");
    mustRun({"fault", "fread", "short=3"});
    mustRun({"fault", "fsync", "dies", "1"});
    mustRun({"fault", "MTAL_Init", "--clear"});
    EXPECT_EQ(mustRun({"fault"}),
              "openPrimaryDevice returns 4, 1 times\nfread transfers at most 3 bytes\n"
              "fsync kills the process that serves the call, 1 times\n"
              "write fails with ENOSPC, 1 times, after 2 calls\n");
    mustRun({"fault", "--clear"});
    EXPECT_EQ(mustRun({"fault"}), "");
    std::filesystem::remove_all(tv_ + "/kernel");
    mustRun({"fault", "open", "EIO"});
    EXPECT_EQ(contentOf(tv_ + "/kernel/faults/open"), "EIO\n")
        << "the TV of an earlier version has no folder";
}

TEST_F(TvCommand, ChangeWaitsForOtherWriterOfFolder) {
    mustRun({"init"});
    const struct {
        const char* command;
        std::string file;
        const char* before;
        const char* after;
    } changes[] = {
        {"fault write --clear", "kernel/faults/write", "EIO 2\n", "(none)"},
        {"fault write ENOSPC", "kernel/faults/write", "EIO 2\n", "ENOSPC\n"},
        {"bectrl hang on", "bectrl/behaviour", "rate 5\n", "rate 5\nhang on\n"},
    };
    for (const auto& change : changes) {
        const std::string path = tv_ + "/" + change.file;
        makeFile(path);
        auto writer = std::make_optional<host::FolderLock>(std::filesystem::path(path).parent_path());
        std::vector<std::string> arguments = wordsOf(change.command);
        arguments.insert(arguments.begin(), command_);
        RunningProgram program(arguments);
        // It waits for the lock when it sleeps. The other writer changes the file only then.
        EXPECT_TRUE(fallsAsleep(program.pid()));
        EXPECT_EQ(contentOf(path), "") << change.command;
        makeFile(path, change.before);
        writer.reset();
        EXPECT_EQ(program.wait(), 0) << program.err();
        EXPECT_EQ(contentOf(path), change.after) << change.command;
    }
}

}  // namespace
}  // namespace hidlaudio::test
