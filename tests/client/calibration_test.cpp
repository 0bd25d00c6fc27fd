// SPDX-License-Identifier: Apache-2.0
#include <string.h>

#include <nlohmann/json.hpp>

#include "audioctl.h"

namespace hidlaudio::test {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class AudioctlCalibration : public AudioctlTv {
  protected:
    /** Runs `audioctl calibration load` with a file that has this content. */
    Outcome load(const std::string& content, std::vector<std::string> options = {}) {
        makeFile(path_, content);
        options.insert(options.begin(), {"calibration", "load", path_});
        return run(options);
    }

    static json stored() {
        return json::parse(run({"calibration", "save", "--json"}).out, nullptr, false)["value"];
    }

    std::string path_ = tv_ / "room";
};

TEST_F(AudioctlCalibration, LoadedResultsAreStoredAndSwitched) {
    const auto daemon = startDaemon();
    expectAll({{{"calibration", "status"}, 0, "off\n", "no results are stored"},
               {{"calibration", "on"}, 1, "", "setEnabled returned -1: no results are stored"},
               {{"calibration", "plot"}, 0, "", "no results are stored"},
               {{"calibration", "plot", "--svg", path_}, 1, "", "nothing to draw"},
               {{"calibration", "save"}, 0, "[]\n", "the list is empty"}});
    const Outcome loaded =
        load("Preamp: -3 dB\nGraphicEQ: 20 1.25\nwhat?\n", {"--channel", "l", "--delay", "1,5"});
    EXPECT_EQ(loaded.status, 0);
    EXPECT_THAT(loaded.out,
                AllOf(HasSubstr("20 Hz           1.25       1.3\n"),
                      HasSubstr("\nFL    level -3 dB, delay 1.5 ms, equalizer +1.25 to +1.25 dB\n")));
    EXPECT_EQ(loaded.err, "audioctl: " + path_ + ": line 3: \"what?\" is not understood\n");
    EXPECT_EQ(stored()[0]["equalizer"], json(std::vector<double>(31, 1.25)));
    expectAll({{{"calibration", "on", "--json"}, 0, "{\"result\":0}\n", ""},
               {{"calibration", "status", "--json"},
                0,
                "{\"value\":{\"channels\":[{\"channel\":\"FL\",\"delay\":1.5,\"equalizer\":{\"max\":1.25,"
                "\"min\":1.25},"
                "\"level\":-3.0}],\"enabled\":true}}\n",
                ""},
               {{"calibration", "off"}, 0, "", ""}});

    EXPECT_EQ(load("GraphicEQ: 20 0", {"--channel", "FR", "--keep", "--json"}).out, "{\"result\":0}\n");
    EXPECT_EQ(load("GraphicEQ: 20 2", {"--channel", "FL", "--keep"}).status, 0);
    EXPECT_EQ(stored().size(), 2U);
    EXPECT_EQ(stored()[0]["equalizer"][30], 2);
    const json before = stored();
    const Outcome dry = load("GraphicEQ: 20 0.04", {"--dry-run", "--json"});
    EXPECT_EQ(json::parse(dry.out, nullptr, false)["value"][1]["applied"]["equalizer"][0], 0);
    EXPECT_EQ(stored(), before);
    EXPECT_EQ(run({"calibration", "save", tv_ / "saved"}).status, 0);
    EXPECT_EQ(load(contentOf(tv_ / "saved")).status, 0);
    EXPECT_EQ(stored(), before);
    EXPECT_EQ(load("[]").status, 0);
    EXPECT_EQ(stored(), json::array());
}

TEST_F(AudioctlCalibration, FileWithFaultsIsNotStored) {
    // No service is running: the file is checked before any call.
    struct Row {
        std::string content;
        std::vector<std::string> options;
        int status;
        std::string errorPart;
    };
    for (const Row& row :
         {Row{"[{\"channel\":\"FL\",\n!", {}, 2, "room: line 2, column 1: "},
          {"[{\"channel\":\"FL\"}]", {}, 2, "room: /0 (FL): \"level\" is missing"},
          {"GraphicEQ: 40 9.5", {}, 2, "room: FL, band 3 (40 Hz): 9.5 dB exceeds the limit of 9 dB"},
          {"GraphicEQ: 40 9.5", {"--clamp"}, 3, "the limit is used"},
          {"GraphicEQ: 40 9.5", {"--clamp", "--dry-run"}, 0, "the limit is used"},
          {"GraphicEQ: 40 1", {"--channel", "C", "--dry-run"}, 0, "without a channel FL"},
          {"[]", {"--level", "1"}, 2, "a JSON file has its own"},
          {"Preamp: 1", {"--channel", "L,FL"}, 2, "--channel names FL twice"},
          {"Preamp: 1", {"--channel", "1,2,3,4,5,6,7,8,9,10"}, 2, "at most 9"},
          {"Preamp: 1", {"--level", "9.1"}, 2, "\"9.1\" is not a number from -9 to 9"},
          {"Preamp: 1", {"--delay", "-1"}, 2, "\"-1\" is not a number from 0 to 10"},
          {std::string(65537, ' '), {}, 2, "limit of 64 KiB"}}) {
        const Outcome outcome = load(row.content, row.options);
        EXPECT_EQ(outcome.status, row.status) << row.content.substr(0, 40) << outcome.err;
        EXPECT_THAT(outcome.err, HasSubstr(row.errorPart));
    }
    makeFile(path_, "GraphicEQ: 40 1");
    for (const auto& [options, status] :
         {std::pair(std::vector<std::string>{"--dry-run"}, 0), {{"--dry-run", "--keep"}, 2}, {{}, 2}}) {
        std::vector<std::string> words{"calibration", "load", path_, "--tv", tv_ / "nosuch"};
        words.insert(words.end(), options.begin(), options.end());
        EXPECT_EQ(run(words).status, status) << testing::PrintToString(words);
    }
    expectAll({{{"calibration", "load", tv_ / "none"}, 2, "", "none: No such file"},
               {{"calibration", "status"}, 3, "", "IAcousticCalibration/default is not registered"}});
}

TEST_F(AudioctlCalibration, FailureOfServiceIsReported) {
    auto daemon = startDaemon();
    const std::string file = tv_ / "data/vendor/tovi/hidlaudio/aud_ac.data";
    std::filesystem::create_directory(file);
    const Outcome refused = load("Preamp: 1", {"--channel", "FL", "--json"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.out, "{\"result\":-1}\n");
    EXPECT_THAT(refused.err,
                HasSubstr("setCalibratedData returned -1: the service could not write its file"));
    std::filesystem::remove(file);
    EXPECT_EQ(load("Preamp: 1", {"--channel", "1,2,3,4,5,6,7,8,9"}).status, 0);
    EXPECT_THAT(load("Preamp: 1", {"--channel", "X", "--keep"}).err, HasSubstr("more than 9 channels"));
    EXPECT_EQ(stored().size(), 9U);
    EXPECT_EQ(run({"calibration", "save", tv_ / "no/such"}).status, 1);
    daemon.reset();
    daemon = startDaemon({"HIDLAUDIO_FAULT=fsync:1:dies"});
    EXPECT_EQ(load("Preamp: 1").status, 3);
}

TEST_F(AudioctlCalibration, PlotFollowsLocaleAndSvgIsWritten) {
    const auto daemon = startDaemon();
    EXPECT_EQ(load("GraphicEQ: 20 3; 20000 -3").status, 0);
    RunningProgram ascii(commandLine({"calibration", "plot"}), {"LC_ALL=C"});
    RunningProgram utf8(commandLine({"calibration", "plot"}), {"LC_ALL=C.UTF-8"});
    EXPECT_EQ(ascii.wait(), 0);
    EXPECT_EQ(utf8.wait(), 0);
    EXPECT_THAT(ascii.out(),
                AllOf(HasSubstr("FL    level 0 dB"), HasSubstr("\n  +3.0 # o\n       # # # # o\n")));
    EXPECT_THAT(utf8.out(), HasSubstr("\n  +3.0 █ ▄\n"));
    expectAll({{{"calibration", "plot", "--svg", path_, "--json"}, 0, "{\"result\":0}\n", ""}});
    EXPECT_THAT(contentOf(path_), AllOf(HasSubstr("<svg "), HasSubstr(">FR<"), HasSubstr("</svg>\n")));
}

TEST_F(AudioctlCalibration, ParametersComeFromTuningData) {
    const auto daemon = startDaemon();
    const Outcome missing = run({"calibration", "parameters"});
    EXPECT_THAT(missing.err, HasSubstr("tuning data is missing"));
    EXPECT_THAT(missing.out, AllOf(HasSubstr("intValue7    0"), Not(HasSubstr("Hz"))));
    std::string tuning(22980, '\0');
    for (const auto& [offset, bytes] : {std::pair(0x4BD4, "\xF9\xFF\xFF\xFF"),
                                        {0x4BD4 + 0x20, "\x0B"},
                                        {0x4BD4 + 0x42, "\x05"},
                                        {0x4BD4 + 0x46, "\xC8"},
                                        {0x4BD4 + 0x48 + 120, "\xF6\xFF\xFF\xFF"},
                                        {0x5744, "\x01"}}) {
        tuning.replace(static_cast<size_t>(offset), strlen(bytes), bytes);
    }
    makeFile(tv_ / "data/vendor/tmp/recipe/aqda.bin", tuning);
    EXPECT_THAT(
        run({"calibration", "parameters"}).out,
        AllOf(HasSubstr("intValue1    -7           scaledValue1 0\n"), HasSubstr("scaledValue5 1.1\n"),
              HasSubstr("frequencyRanges2  Center  50 to 20000 Hz\n"), HasSubstr("  FrontHeight\n"),
              HasSubstr(" used     not used\n"), HasSubstr("20k   429496736 ")));
    const json value = json::parse(run({"calibration", "parameters", "--json"}).out, nullptr, false)["value"];
    EXPECT_EQ(value.size(), 18U);
    EXPECT_EQ(value["scaledValue5"], 1.1);
    EXPECT_EQ(value["equalizer"][30],
              json({{"type", "Parametric"}, {"param1", 0}, {"param2", 0}, {"gain", 429496736}}));
}

TEST_F(AudioctlCalibration, SmoothDelayIsSetWhileOn) {
    auto daemon = startDaemon();
    const auto with = [](std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"calibration", "smooth-delay"});
        return arguments;
    };
    expectAll({{with({}), 0, "off\n", ""},
               {with({"set", "1", "2.5"}), 1, "", "the delays were ignored"},
               {with({"on"}), 0, "", ""},
               {with({}), 0, "on 0 0\n", ""},
               {with({"set", "1", "2,5", "7", "--json"}), 0, "{\"result\":0}\n", ""},
               {with({"--json"}), 0, "{\"value\":{\"delays\":[1.0,2.5,7.0],\"enabled\":true}}\n", ""},
               {with({"off"}), 0, "", ""},
               {with({}), 0, "off 1 2.5 7\n", ""},
               {with({"set", "1", "2", "3", "4", "5", "6", "7", "8", "9", "10"}), 2, "", "2 to 9 delays"},
               {with({"on", "1"}), 2, "", "only accepted after set"},
               {with({"set", "1", "nan"}), 2, "", "milliseconds"}});
    daemon.reset();
    tv_.setModelFlag('\0');
    daemon = startDaemon();
    expectAll(
        {{with({"on"}), 1, "", "setSmoothDelayEnabled returned -2: the TV has no back-end controller"}});
}

}  // namespace
}  // namespace hidlaudio::test
