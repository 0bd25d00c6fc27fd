// SPDX-License-Identifier: Apache-2.0
#include "tests/tv/scratch_command.h"

namespace hidlaudio::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;

class Soak : public ScratchCommand {};

TEST_F(Soak, DecidesTheSameForTheSameSeed) {
    const std::string plan = mustRun({"soak", "--seed", "5", "--plan", "300", "--clients", "2"});
    EXPECT_EQ(mustRun({"soak", "--seed", "5", "--plan", "300", "--clients", "2"}), plan);
    EXPECT_NE(mustRun({"soak", "--seed", "6", "--plan", "300", "--clients", "2"}), plan);
    EXPECT_THAT(plan, AllOf(HasSubstr("seed 5\n0: tv "), HasSubstr("1: audioctl "),
                            HasSubstr(", killed after "), HasSubstr("0: audio_hal\n")));
    EXPECT_NE(plan.substr(plan.find("1: ") + 3, 200), plan.substr(plan.find("2: ") + 3, 200));
}

TEST_F(Soak, ComesToRestWithNothingLeft) {
    for (const char* option : {"--clients=3", "--restarts"}) {
        const Outcome outcome = runHere({"soak", "--hours", "0.2", "--seed", "7", option});
        EXPECT_EQ(outcome.status, 0) << outcome.out;
        EXPECT_THAT(outcome.out,
                    AllOf(HasSubstr("0.2 h of the TV's time: "), HasSubstr("the daemon at rest: ")));
    }
    EXPECT_TRUE(leavesNothing());
}

TEST_F(Soak, TellsWhatMustNotBe) {
    const std::pair<const char*, const char*> daemons[] = {
        {"exit 1", "! hidlaudio ended with status 1\n"},
        {"HIDLAUDIO_FAULT=write:4:dies exec " DAEMON, "! crash: the daemon was ended by signal 9"},
        {"echo Stray >>\"$HIDLAUDIO_TV/power/wake_lock\"; exec " DAEMON,
         "! state: the wake lock Stray is held"},
    };
    for (const auto& [script, problem] : daemons) {
        useScript(script);
        const Outcome outcome = runHere({"soak", "--hours", "0.05", "--seed", "1"});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.out, HasSubstr(problem));
    }
}

}  // namespace
}  // namespace hidlaudio::test
