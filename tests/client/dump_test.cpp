// SPDX-License-Identifier: Apache-2.0
#include <nlohmann/json.hpp>

#include "audioctl.h"

namespace hidlaudio::test {
namespace {

using nlohmann::json;
using testing::Contains;
using testing::HasSubstr;

constexpr char kExternalService[] = "com.tovi.dtv.hardware.audio@3.1::IOutputExternal/default";
constexpr char kListenerService[] = "com.tovi.dtv.hardware.audio@3.1::IOutputEncodingStatusListener/default";

using Dump = Audioctl;

TEST_F(Dump, StatesOfServicesArePrinted) {
    const auto service = serve({"external", "listener"});
    const std::string external = kExternalService;
    const std::string listener = std::string(kListenerService) + "\n  (no state)\n";
    const std::string begin = R"({"value":{")" + external + R"(":{"format":"a"}})" + "}\n";
    expectAll({{{"external", "format", "a"}, 0, "", ""},
               {{"dump", "external", "OutputExternal"}, 0, external + "\na\n", ""},
               {{"dump", "external", "--json"}, 0, begin, ""},
               {{"dump"}, 0, listener + external + "\na\n", ""},
               {{"dump", "mic"}, 3, "", "IMicControl/default: it is not registered"},
               {{"external", "format", "\""}, 0, "", ""},
               {{"dump", "external", "--json"},
                0,
                R"({"value":{")" + external + R"(":"{\"format\":\"\"\"}"}})" + "\n",
                ""},
               {{"external", "format", "keep"}, 0, "", ""},
               {{"dump", "external"}, 0, external + "\nkeep\n", ""},
               {{"external", "format", "long"}, 0, "", ""},
               {{"dump", "external"}, 0, external + "\n" + std::string(200000, 'x') + "\n", ""}});
}

TEST_F(Dump, FailedServiceIsReportedAndOthersArePrinted) {
    const auto external = serve({"external"});
    const auto listener = serve({"listener"});
    EXPECT_EQ(run({"external", "format", "hang in debug"}).status, 0);
    // Retry with longer time-outs, for a slow machine, until the other service replies in time.
    for (const std::string seconds : {"1", "8", "60"}) {
        const Outcome hung = run({"dump", "external", "listener", "--json", "--timeout", seconds});
        const std::string error = "no answer within " + seconds + " s";
        EXPECT_EQ(hung.status, 4);
        EXPECT_THAT(hung.err, HasSubstr(std::string(kExternalService) + ": " + error));
        const json value = json::parse(hung.out)["value"];
        EXPECT_EQ(value[kExternalService], json({{"error", error}}));
        if (value[kListenerService] == nullptr) break;
        EXPECT_NE(seconds, "60") << value;
    }
    kill(external->pid(), SIGKILL);
    const auto dying = serve({"external"});
    EXPECT_EQ(run({"external", "format", "die in debug"}).status, 0);
    expectAll({{{"dump", "external", "listener"},
                3,
                std::string(kListenerService) + "\n  (no state)\n",
                "it ended during the call"}});
}

/** Returns the error message of a service in a bug report. */
std::string errorOf(const json& report, const std::string& name) {
    for (const json& service : report["services"])
        if (name == service["interface"].get<std::string>() + "/default") return service.value("error", "");
    return "(none)";
}

TEST_F(Dump, BugReportIsWrittenDespiteFailures) {
    const std::string tv = tv_ / "whole";
    ASSERT_EQ(runProgram({TV, "init", "--tv", tv}).status, 0);
    host::setTvRoot(tv);
    std::string log;
    for (int i = 0; i < 300; ++i) log += std::to_string(i) + "\n";
    makeFile(tv + "/log/hidlaudio.log", log);
    const std::string file = tv_ / "report.json";
    const auto listener = serve({"listener"});
    const auto external = serve({"external"});
    EXPECT_EQ(run({"dump", "--all", "--output", file}).status, 0);
    json report = json::parse(contentOf(file));
    EXPECT_EQ(report["tv"], tv);
    EXPECT_EQ(report["logs"]["hidlaudio.log"].size(), 200U);
    EXPECT_EQ(report["logs"]["hidlaudio.log"][199], "299");
    EXPECT_FALSE(report["tv_state"].contains("error")) << report["tv_state"];
    EXPECT_THAT(report["missing_services"].dump(),
                AllOf(HasSubstr("::IMicControl/default"), Not(HasSubstr("::IOutputExternal"))));
    ASSERT_EQ(report["services"].size(), 2U);
    EXPECT_EQ(report["services"][1]["pid"], external->pid());
    EXPECT_EQ(report["services"][1]["state"]["format"], "");
    EXPECT_EQ(report["services"][1]["chain"][0]["hash"].get<std::string>().size(), 64U);

    kill(listener->pid(), SIGSTOP);
    for (const std::string seconds : {"1", "8", "60"}) {
        const auto dying = serve({"external"});
        EXPECT_EQ(run({"external", "format", "die in debug"}).status, 0);
        EXPECT_EQ(run({"dump", "--all", "--output", file, "--timeout", seconds, "--json"}).out,
                  "{\"result\":4}\n");
        report = json::parse(contentOf(file));
        EXPECT_EQ(errorOf(report, kListenerService), "no answer within " + seconds + " s");
        if (errorOf(report, kExternalService) == "it ended during the call" &&
            !report["tv_state"].contains("error"))
            break;
        EXPECT_NE(seconds, "60") << report;
    }

    const Outcome nowhere = run({"dump", "--all", "--output", tv_ / "nosuch/report.json", "--timeout", "1"});
    EXPECT_EQ(nowhere.status, 1);
    EXPECT_THAT(nowhere.err, HasSubstr("cannot be written: No such file"));
}

TEST_F(Dump, InvalidUsageIsReported) {
    expectAll({{{"dump"}, 3, "", "no service is registered"},
               {{"dump", "--output", "a"}, 2, "", "--all"},
               {{"dump", "external", "--all", "--output", "a"}, 2, "", "--all"}});
}

}  // namespace
}  // namespace hidlaudio::test
