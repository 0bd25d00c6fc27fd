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

/** What a delay of the controller's block can hold: a signed 16-bit number of samples at 48 kHz. */
constexpr double kLongestSmoothDelay = 682;

std::string checkAction(const std::string& action) {
    const bool known = action == "on" || action == "off" || action == "set";
    return known ? "" : "\"" + action + "\" is none of on, off, set";
}

std::string checkMilliseconds(const std::string& text) {
    const std::optional<double> value = parseDecimal(text);
    const bool accepted = value && *value >= -kLongestSmoothDelay && *value <= kLongestSmoothDelay;
    return accepted ? "" : "\"" + text + "\" is no number of milliseconds from -682 to 682";
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

/** The service answers 0 for delays that it does not take. */
int checkTaken(CalibrationService& service, const std::string& name) {
    const Return<bool> enabled = service.getSmoothDelayEnabled();
    if (const int status = examine(enabled, name); status != kDone) return status;
    if (enabled) return kDone;
    return fail(kRefused,
                "the smooth delay is off and took no delays: `audioctl calibration smooth-delay on` first");
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
        return fail(kWrongUsage, "set takes 2 to 9 delays, front left and front right first");
    }
    if (!delays.empty()) return fail(kWrongUsage, "only set takes delays");
    return action.empty() ? show(invocation) : setEnabled(invocation, action == "on");
}

}  // namespace

void addSmoothDelay(CLI::App* parent, Invocation& invocation) {
    const auto action = std::make_shared<std::string>();
    const auto delays = std::make_shared<std::vector<std::string>>();
    CLI::App* command =
        parent->add_subcommand("smooth-delay", "Print or set delays of the front channels for the moment");
    command
        ->add_option("on|off|set", *action, "What to do; without it, the switch and the delays are printed")
        ->type_name("")
        ->check(checkAction);
    command->add_option("MS", *delays, "For set: 2 to 9 delays in ms, of which the first two are used")
        ->type_name("")
        ->check(checkMilliseconds);
    command->footer(
        "For TVs with a back-end controller, whether the calibration is on or off. Both delays are 0 when "
        "it\n"
        "is switched on, and it is off after a restart.\n"
        "With --json: {\"value\":{\"enabled\":..., \"delays\":[...]}}.\n"
        "\n"
        "Examples:\n"
        "  audioctl calibration smooth-delay on\n"
        "  audioctl calibration smooth-delay set 1.0 2.5");
    onRun(command, invocation, [&invocation, action, delays] { return run(invocation, *action, *delays); });
}

}  // namespace hidlaudio::client
