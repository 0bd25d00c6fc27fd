// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <chrono>
#include <nlohmann/json.hpp>
#include <thread>

#include "audioctl.h"

namespace hidlaudio::test {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using namespace std::chrono_literals;

constexpr char kExternal[] = "com.tovi.dtv.hardware.audio@3.1::IOutputExternal";
constexpr char kExternal20[] = "com.tovi.dtv.hardware.audio@2.0::IOutputExternal";
constexpr char kListener[] = "com.tovi.dtv.hardware.audio@3.1::IOutputEncodingStatusListener";

TEST_F(Audioctl, ExternalOutputIsReadAndSet) {
    const auto service = serve({"external"});
    expectAll({{{"external", "get"}, 0, "on\n", ""},
               {{"external", "set", "off"}, 0, "", ""},
               {{"external", "get"}, 0, "off\n", ""},
               {{"--json", "external", "get"}, 0, "{\"value\":false}\n", ""},
               {{"external", "set", "on", "--json"}, 0, "{\"result\":0}\n", ""},
               {{"external", "get", "--json"}, 0, "{\"value\":true}\n", ""},
               {{"external", "format"}, 0, "auto\n", ""},
               {{"external", "formats"}, 0, "", "no formats"},
               {{"external", "formats", "--json"}, 0, "{\"value\":[]}\n", ""},
               {{"external", "format", "get"}, 0, "", ""},  // "get" is a format here, not a command
               {{"external", "format", "a\xff"}, 0, "", ""},
               {{"external", "format", ""}, 0, "", ""},
               {{"external", "format", "--json"}, 0, "{\"value\":\"\"}\n", ""},
               {{"external", "formats"}, 0, "get\na\xff\n\n", ""},
               {{"external", "formats", "--json"}, 0, "{\"value\":[\"get\",\"a\xEF\xBF\xBD\",\"\"]}\n", ""}});
}

TEST_F(Audioctl, FailureOfServiceIsReported) {
    const std::string missing = std::string(kExternal) + "/default is not registered";
    makeFile(tv_ / "manifest", std::string(kExternal) + "/default\n");  // getService() would wait for it
    const auto service = serve({"external"});
    expectAll({{{"external", "format", "huge"}, 0, "", ""},
               {{"external", "formats"}, 1, "", "FAILED_TRANSACTION"},
               {{"external", "format", "refuse", "--json"},
                1,
                "{\"result\":-7}\n",
                "setEncodingFormat returned -7"},
               {{"external", "set", "off"}, 1, "", "-7: the TV's middleware refused"},
               {{"external", "get", "--timeout", "20"}, 0, "on\n", ""},
               {{"external", "format", "die"}, 3, "", "ended during the call"},
               {{"external", "get"}, 3, "", missing},
               {{"ping"}, 3, "", missing}});
}

TEST_F(Audioctl, HungServiceCausesTimeout) {
    const auto hung = serve({"external"});
    const auto lively = serve({"listener"});
    kill(hung->pid(), SIGSTOP);
    expectAll({{{"external", "get", "--timeout", "0.02"}, 4, "", "no answer from " + std::string(kExternal)},
               {{"--timeout", "0.02", "ping"}, 4, "", "within 0.02 s"}});
    // Retry with longer time-outs, for a slow machine, until the other service is listed with its chain.
    json list;
    for (const char* seconds : {"0.02", "1", "60"}) {
        const Outcome outcome = run({"list", "--json", "--timeout", seconds});
        EXPECT_EQ(outcome.status, 4);
        EXPECT_THAT(outcome.err, HasSubstr(kExternal));
        list = json::parse(outcome.out, nullptr, false);
        ASSERT_GE(list.size(), 3U);
        if (list[list.size() - 2]["chain"] != nullptr) break;
    }
    EXPECT_EQ(list.size(), 3U) << "all names of the hung service, and the most derived name of the other";
    for (const json& row : list) {
        EXPECT_EQ(row["chain"] == nullptr, row["pid"] == hung->pid()) << row;
    }
    EXPECT_THAT(run({"list", "--timeout", "0.02"}).out, HasSubstr(" ?\n"));
}

TEST_F(Audioctl, RegisteredServicesAreListed) {
    expectAll({{{"list"}, 0, "", "no service"}, {{"list", "--json"}, 0, "[]\n", ""}});
    const auto service = serve({"external"});
    const json chain = {kExternal, kExternal20, "android.hidl.base@1.0::IBase"};
    json row = {{"interface", kExternal},
                {"instance", "default"},
                {"pid", service->pid()},
                {"process", "fake_service"},
                {"chain", chain}};
    json base = row;
    base["interface"] = kExternal20;
    EXPECT_EQ(json::parse(run({"list", "--json"}).out, nullptr, false), json::array({row}));
    EXPECT_EQ(json::parse(run({"list", "--json", "--all"}).out, nullptr, false), json::array({base, row}));
    EXPECT_THAT(
        run({"list"}).out,
        AllOf(HasSubstr(std::string(kExternal) + "  default   " + std::to_string(service->pid()) +
                        " fake_service  @3.1::IOutputExternal > @2.0::IOutputExternal > android.hidl"),
              Not(HasSubstr(kExternal20))));
    EXPECT_EQ(run({"--version"}).status, 0);
    EXPECT_EQ(RunningProgram(commandLine({"list"}), {}, "/dev/full").wait(), 1);
}

// With too few descriptors the list may be incomplete, but then the exit status must not be 0.
TEST_F(Audioctl, IncompleteListIsAnError) {
    if (HIDLAUDIO_EMULATED) GTEST_SKIP() << "a shell cannot start programs for the emulator";
    const auto service = serve({"external"});
    bool failed = false;
    for (int descriptors = 4; descriptors < 24; ++descriptors) {
        SCOPED_TRACE(descriptors);
        const std::string limited = "ulimit -n " + std::to_string(descriptors) + " && exec \"$@\"";
        const Outcome outcome =
            runProgram({"/bin/sh", "-c", limited, "sh", AUDIOCTL, "list", "--json", "--all"});
        const json list = json::parse(outcome.out, nullptr, false);
        const bool complete = list.size() == 2 && list[0]["chain"] != nullptr && list[1]["chain"] != nullptr;
        EXPECT_EQ(outcome.status == 0, complete) << outcome.out << outcome.err;
        if (outcome.status == 0) continue;
        failed = true;
        // The last one: the call to a service that was found needed one descriptor more.
        EXPECT_THAT(outcome.err, AnyOf(HasSubstr("Too many open files"), HasSubstr("shared libraries"),
                                       HasSubstr("FAILED_TRANSACTION")));
    }
    EXPECT_TRUE(failed);
}

TEST_F(Audioctl, WaitEndsWhenAllServicesAreRegistered) {
    auto stale = serve({"external"});
    kill(stale->pid(), SIGKILL);
    stale->wait();
    RunningProgram waiting(commandLine({"wait", "listener", "external", "--json"}));
    ASSERT_TRUE(becomesTrue([&] { return waiting.err().find("waiting for") != std::string::npos; }));
    EXPECT_THAT(waiting.err(), AllOf(HasSubstr(kExternal), HasSubstr(kListener)));
    // A service counts even if it ends again.
    stale = serve({"listener"});
    ASSERT_TRUE(becomesTrue([&] { return waiting.err().find("is registered") != std::string::npos; }));
    kill(stale->pid(), SIGKILL);
    stale->wait();
    RunningProgram waitingForOne(commandLine({"wait", kExternal20}));
    ASSERT_TRUE(becomesTrue([&] { return waitingForOne.err().find(kExternal20) != std::string::npos; }));
    const auto service = serve({"external"});
    EXPECT_EQ(waitingForOne.wait(), 0);
    EXPECT_EQ(waiting.wait(), 0);
    EXPECT_EQ(waiting.out(), "{\"result\":0}\n");

    const std::string instance = std::string(kExternal) + "/second";
    expectAll({{{"wait", "EXTERNAL", "outputexternal", "IOutputExternal/default"}, 0, "", ""},
               {{"wait", "--timeout", "0.02"}, 4, "", "IHeadphoneVirtualizer/default"},
               {{"wait", "--timeout", "0.02", "external", instance},
                4,
                "",
                "not registered within 0.02 s: " + instance}});
}

TEST_F(Audioctl, PingPrintsRoundTripTimes) {
    const auto service = serve({"external", "listener"});
    const json value =
        json::parse(run({"ping", "-n", "20", "listener", "--json"}).out, nullptr, false)["value"];
    EXPECT_EQ(value["service"], std::string(kListener) + "/default");
    EXPECT_EQ(value["count"], 20);
    EXPECT_GT(value["min_us"], 0);
    EXPECT_LE(value["min_us"], value["median_us"]);
    EXPECT_LE(value["median_us"], value["max_us"]);
    EXPECT_THAT(run({"ping", "-n", "1"}).out, HasSubstr(std::string(kExternal) + "/default: 1 call, min "));
}

TEST_F(Audioctl, InvalidUsageIsReported) {
    const std::string verbs = "get, set, format, formats";
    expectAll({{{}, 2, "", "list, wait, ping, "},
               {{"nosuch"}, 2, "", "unknown command \"nosuch\"; expected one of: list, wait, ping, "},
               {{""}, 2, "", "unknown command \"\""},
               {{"external"}, 2, "", "missing command; expected one of: " + verbs},
               {{"external", "put"}, 2, "", "unknown command \"put\"; expected one of: " + verbs},
               {{"external", "set", "ON"}, 2, "", "{on,off}"},
               {{"ping", "-n", "0"}, 2, "", "1000000"},
               {{"wait", "list"}, 2, "", "external  " + std::string(kExternal)},
               {{"wait", "external/"}, 2, "", "unknown service \"external/\""},
               {{"wait", "a@1.0::IFoo!"}, 2, "", "unknown service"},
               {{"wait", "--tv", tv_ / "nosuch"}, 2, "", "nosuch is not a TV"}});
    EXPECT_FALSE(std::filesystem::exists(tv_ / "nosuch"));
    const std::pair<std::vector<std::string>, std::string> numbers[] = {
        {{"list", "--timeout"}, "number from 0.001 to 86400"},
        {{"virtualizer", "upload", "hrtf", "file", "--cancel-after"}, "number from 0 to 86400"},
        {{"virtualizer", "upload", "hrtf", "file", "--chunk"}, "number from 1 to 2147483647"},
        {{"ping", "-n"}, "number from 1 to 1000000"},
        {{"mic", "gain"}, "number from 0 to 1"},
        {{"calibration", "load", "file", "--level"}, "not a number from -9 to 9"},
        {{"calibration", "load", "file", "--delay"}, "not a number from 0 to 10"},
        {{"calibration", "smooth-delay", "set", "1"}, "not a number of milliseconds from -682 to 682"},
    };
    for (const auto& [command, range] : numbers) {
        for (const char* number : {"", "nan", "inf", "1e999", "1x", "99999999999999999999999"}) {
            std::vector<std::string> words = command;
            words.emplace_back(number);
            const Outcome outcome = run(words);
            EXPECT_EQ(outcome.status, 2) << testing::PrintToString(words);
            EXPECT_THAT(outcome.err, HasSubstr(range)) << testing::PrintToString(words);
        }
    }
}

}  // namespace
}  // namespace hidlaudio::test
