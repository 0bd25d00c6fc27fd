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

/** Arguments of `audioctl`, and the expected exit status, output and part of the error output. */
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
            const std::string command = testing::PrintToString(exchange.arguments);
            EXPECT_EQ(outcome.status, exchange.status) << command << outcome.err;
            EXPECT_EQ(outcome.out, exchange.out) << command;
            EXPECT_THAT(outcome.err, testing::HasSubstr(exchange.errorPart)) << command;
            EXPECT_EQ(outcome.err.empty(), exchange.errorPart.empty()) << command << outcome.err;
        }
    }

    /** Starts a process with these services ("external", "listener") and waits until they are registered. */
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

/** Tests with the daemon on the TV. */
class AudioctlTv : public Audioctl {
  protected:
    AudioctlTv() {
        for (const char* key : {"arc_dd_plus_capab", "earc_ddp_cap", "arc_mpeg4_aac_lc_capab"})
            makeFile(tv_ / (std::string("soc/config/g_audio__") + key), "1\n");
    }

    /** Starts the daemon with extra environment variables and waits until its services are registered. */
    static std::unique_ptr<RunningProgram> startDaemon(const std::vector<std::string>& variables = {}) {
        auto daemon = std::make_unique<RunningProgram>(std::vector<std::string>{DAEMON}, variables);
        EXPECT_EQ(run({"wait"}).status, 0);
        return daemon;
    }
};

}  // namespace hidlaudio::test
