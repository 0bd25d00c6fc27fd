// SPDX-License-Identifier: Apache-2.0
#include <nlohmann/json.hpp>

#include "tests/tv/tv_command.h"

namespace hidlaudio::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;

TEST_F(TvCommand, SetsAndShowsTheBackEndController) {
    mustRun({"init"});
    mustRun({"bectrl", "hrtf", "result", "0xF3"});
    mustRun({"bectrl", "rate", "5"});
    mustRun({"bectrl", "hrtf", "rate", "6"});
    mustRun({"bectrl", "hang"});
    EXPECT_EQ(contentOf(tv_ + "/bectrl/behaviour"), "hrtf result 243\nrate 5\nhrtf rate 6\nhang on\n");
    EXPECT_THAT(mustRun({"bectrl"}), AllOf(HasSubstr("device rate 5\n"), HasSubstr("hrtf rate 6\n"),
                                           HasSubstr("hrtf result 243\n"), HasSubstr("device hang on\n")));
    mustRun({"bectrl", "rate", "7"});
    EXPECT_EQ(contentOf(tv_ + "/bectrl/behaviour"), "hrtf result 243\nhang on\nrate 7\n");
    for (const std::vector<std::string>& wrong :
         {std::vector<std::string>{"bectrl", "rate", "0"}, {"bectrl", "speed", "1"}, {"bectrl", ""}}) {
        const Outcome outcome = run(wrong);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_NE(outcome.err, "");
    }
    makeFile(tv_ + "/bectrl/behaviour", "rate fast\n");
    EXPECT_EQ(run({"bectrl", "rate", "1"}).status, 1) << "what a person wrote is not overwritten unread";

    makeFile(tv_ + "/proc/driver/tovi_bectrl/audio/hrtf_parameter_complete", "\x02\x03");
    makeFile(tv_ + "/bectrl/hrtf.bin", "12345");
    makeFile(tv_ + "/soc/bectrl/custom_spec.log", "32 1 01\n");
    EXPECT_THAT(mustRun({"show"}), AllOf(HasSubstr("hrtf: state 2, result 0x03, 5 bytes received"),
                                         HasSubstr("command 32 1 01"), HasSubstr("boot state 1")));
    const auto shown = nlohmann::json::parse(mustRun({"show", "--json"}), nullptr, false)["back_end"];
    EXPECT_EQ(shown, nlohmann::json::parse(R"({"boot_state": 1, "commands": ["32 1 01"],
        "device": {"state": 0, "result": 0, "received": null},
        "hrtf": {"state": 2, "result": 3, "received": 5}})"));

    mustRun({"init", "--force", "--model", "standard"});
    EXPECT_FALSE(std::filesystem::exists(tv_ + "/bectrl"));
    EXPECT_EQ(run({"bectrl"}).status, 1);
}

}  // namespace
}  // namespace hidlaudio::test
