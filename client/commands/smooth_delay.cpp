// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <vector>

#include "calibration_commands.h"
#include "client/calibration/decimal.h"
#include "client/services/calibration_service.h"
#include "client/services/service_call.h"

namespace hidlaudio::client {
namespace {

using android::hardware::hidl_vec;
using android::hardware::Return;
using nlohmann::json;

constexpr size_t kFewestDelays = 2;
constexpr size_t kMaxDelays = 9;

/** Limit in ms. The controller takes a delay as a signed 16-bit number of samples at 48 kHz. */
constexpr double kLongestSmoothDelay = 682;

std::string checkAction(const std::string& action) {
    const bool known = action == "on" || action == "off" || action == "set";
    return known ? "" : "\"" + action + "\" is not one of on, off, set";
}

std::string checkMilliseconds(const std::string& text) {
    const std::optional<double> value = parseDecimal(text);
    const bool accepted = value && *value >= -kLongestSmoothDelay && *value <= kLongestSmoothDelay;
    return accepted ? "" : "\"" + text + "\" is not a number of milliseconds from -682 to 682";
}

int print(const Invocation& invocation, bool enabled, const std::vector<float>& delays) {
    json values = json::array();
    std::string text = enabled ? "on" : "off";
    for (const float delay : delays) {
        values.push_back(shortest(delay));
        text += " " + shortText(delay);
    }
    return printValue(invocation, {{"enabled", enabled}, {"delays", values}}, text);
}

int show(const Invocation& invocation) {
    return withService<CalibrationService>(
        invocation, [&](CalibrationService& service, const std::string& name) {
            const Return<bool> enabled = service.getSmoothDelayEnabled();
            if (const int status = examine(enabled, name); status != kDone) return status;
            std::vector<float> delays;
            const int status = examine(service.getSmoothDelay([&delays](const hidl_vec<float>& values) {
                delays.assign(values.begin(), values.end());
            }),
                                       name);
            return status != kDone ? status : print(invocation, enabled, delays);
        });
}

int report(const Invocation& invocation, const char* method, int32_t result) {
    return reportResult(invocation, method, result,
                        {{-1, "the TV's platform is not ready"},
                         {-2, "the TV has no back-end controller, which the smooth delay needs"}},
                        "the TV's middleware refused");
}

int setEnabled(const Invocation& invocation, bool enable) {
    return withService<CalibrationService>(
        invocation, [&](CalibrationService& service, const std::string& name) {
            const Return<int32_t> result = service.setSmoothDelayEnabled(enable);
            const int status = examine(result, name);
            return status != kDone ? status : report(invocation, "setSmoothDelayEnabled", result);
        });
}

/** Reports an error if the smooth delay is off: the service has then ignored the delays, but returned 0. */
int checkTaken(CalibrationService& service, const std::string& name) {
    const Return<bool> enabled = service.getSmoothDelayEnabled();
    if (const int status = examine(enabled, name); status != kDone) return status;
    if (enabled) return kDone;
    return fail(
        kRefused,
        "the smooth delay is off, so the delays were ignored; run `audioctl calibration smooth-delay on` "
        "first");
}

int setDelays(const Invocation& invocation, const std::vector<std::string>& texts) {
    hidl_vec<float> delays(texts.size());
    std::transform(texts.begin(), texts.end(), delays.begin(), [](const std::string& text) {
        return static_cast<float>(parseDecimal(text).value_or(0));
    });
    return withService<CalibrationService>(invocation,
                                           [&](CalibrationService& service, const std::string& name) {
                                               const Return<int32_t> result = service.setSmoothDelay(delays);
                                               int status = examine(result, name);
                                               if (status == kDone)
                                                   status = report(invocation, "setSmoothDelay", result);
                                               return status == kDone ? checkTaken(service, name) : status;
                                           });
}

int run(const Invocation& invocation, const std::string& action, const std::vector<std::string>& delays) {
    if (action == "set") {
        if (delays.size() >= kFewestDelays && delays.size() <= kMaxDelays)
            return setDelays(invocation, delays);
        return fail(kWrongUsage, "set needs 2 to 9 delays, front left and front right first");
    }
    if (!delays.empty()) return fail(kWrongUsage, "delays are only accepted after set");
    return action.empty() ? show(invocation) : setEnabled(invocation, action == "on");
}

}  // namespace

void addSmoothDelay(CLI::App* parent, Invocation& invocation) {
    const auto action = std::make_shared<std::string>();
    const auto delays = std::make_shared<std::vector<std::string>>();
    CLI::App* command =
        parent->add_subcommand("smooth-delay", "Print or set temporary delays of the front channels");
    command->add_option("on|off|set", *action, "Switch it, or set its delays (default: print both)")
        ->type_name("")
        ->check(checkAction);
    command->add_option("MS", *delays, "Set these 2 to 9 delays, -682 to 682 ms; the first two are used")
        ->type_name("")
        ->check(checkMilliseconds);
    command->footer(
        R"(While it is on, these delays replace those of the calibration, even if the calibration is off.
Switching it on sets them to 0. It is off after a restart of the service. Needs a TV with a back-end
controller.

Without arguments, --json prints {"value": {"enabled": ..., "delays": [...]}}.

Examples:
  audioctl calibration smooth-delay on
  audioctl calibration smooth-delay set 1.0 2.5
  audioctl calibration smooth-delay)");
    onRun(command, invocation, [&invocation, action, delays] { return run(invocation, *action, *delays); });
}

}  // namespace hidlaudio::client
