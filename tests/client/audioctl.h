// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/support/back_end_tv.h"
#include "tests/support/becomes_true.h"
#include "tests/support/run_program.h"

namespace hidlaudio::test {

/** What a user types, and what `audioctl` answers. */
struct Exchange {
    std::vector<std::string> arguments;
    int status;
    std::string out;
    std::string errorPart;
};

class Audioctl : public testing::Test {
  protected:
    static std::vector<std::string> commandLine(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), AUDIOCTL);
        return arguments;
    }

    static Outcome run(const std::vector<std::string>& arguments) {
        return runProgram(commandLine(arguments));
    }

    static void expectAll(const std::vector<Exchange>& exchanges) {
        for (const Exchange& exchange : exchanges) {
            const Outcome outcome = run(exchange.arguments);
            const std::string what = testing::PrintToString(exchange.arguments);
            EXPECT_EQ(outcome.status, exchange.status) << what << outcome.err;
            EXPECT_EQ(outcome.out, exchange.out) << what;
            EXPECT_THAT(outcome.err, testing::HasSubstr(exchange.errorPart)) << what;
            EXPECT_EQ(outcome.err.empty(), exchange.errorPart.empty()) << what << outcome.err;
        }
    }

    /** A process that serves those, once they are registered. */
    static std::unique_ptr<RunningProgram> serve(const std::vector<std::string>& services) {
        std::vector<std::string> command = services;
        command.insert(command.begin(), FAKE_SERVICE);
        auto process = std::make_unique<RunningProgram>(command);
        command = services;
        command.insert(command.begin(), "wait");
        EXPECT_EQ(run(command).status, 0);
        return process;
    }

    BackEndTv tv_;
};

/** The daemon itself, on that TV. */
class AudioctlTv : public Audioctl {
  protected:
    AudioctlTv() {
        for (const char* key : {"arc_dd_plus_capab", "earc_ddp_cap", "arc_mpeg4_aac_lc_capab"})
            makeFile(tv_ / (std::string("soc/config/g_audio__") + key), "1\n");
    }

    /** With those environment variables; all its services are registered. */
    static std::unique_ptr<RunningProgram> startDaemon(const std::vector<std::string>& variables = {}) {
        auto daemon = std::make_unique<RunningProgram>(std::vector<std::string>{DAEMON}, variables);
        EXPECT_EQ(run({"wait"}).status, 0);
        return daemon;
    }
};

}  // namespace hidlaudio::test
