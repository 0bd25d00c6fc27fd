// SPDX-License-Identifier: Apache-2.0
#include "invocation.h"

#include <string>

#include "service/platform/version.h"
#include "surroundings.h"

namespace hidlaudio::client {
namespace {

constexpr char kCommonOptionsHint[] = "\n\nAll commands also accept the options of `audioctl --help`.";

constexpr double kShortestSeconds = 0.001;
constexpr double kLongestSeconds = 86400;

}  // namespace

std::chrono::steady_clock::time_point timeIn(double seconds) {
    using Clock = std::chrono::steady_clock;
    return Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

host::Command addCommand(host::Command parent, Invocation& invocation, const std::string& name,
                         const std::string& description, const std::string& footer,
                         const std::function<int()>& body, const std::function<bool()>& needsTv) {
    const host::Command command = parent.addCommand(name, description);
    command.setFooter(footer + kCommonOptionsHint);
    command.onRun([&invocation, body, needsTv] {
        const std::string problem = needsTv() ? problemOfTv() : "";
        invocation.status = problem.empty() ? body() : fail(kWrongUsage, problem);
    });
    return command;
}

void finishGroup(host::Command group, const std::string& footer) {
    group.requireCommand();
    group.setFooter(footer + kCommonOptionsHint);
}

void addCommonOptions(host::Command app, Invocation& invocation) {
    app.acceptOptionsAnywhere();
    addTvOption(app);
    app.flag("--json", invocation.json, "Print the result as JSON");
    app.option("--timeout", "SECONDS", invocation.timeout,
               "Wait at most this long for each reply of a service, 0.001 to 86400\n"
               "(default: 30 for most commands)")
        .number(kShortestSeconds, kLongestSeconds);
    app.addVersion(std::string("audioctl ") + com::tovi::dtv::hardware::audio::platform::kVersion);
}

}  // namespace hidlaudio::client
