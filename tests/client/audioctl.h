// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

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

    PrivateTv tv_{"run"};
};

}  // namespace hidlaudio::test
