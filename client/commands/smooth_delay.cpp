// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <vector>

#include "client/calibration/decimal.h"
#include "client/commands.h"
#include "client/services/calibration_service.h"
#include "client/services/service_call.h"

namespace hidlaudio::client {
namespace {

using android::hardware::hidl_vec;
using nlohmann::json;

constexpr size_t kFewestDelays = 2;
constexpr size_t kMaxDelays = 9;

/** Limit in ms. The controller takes a delay as a signed 16-bit number of samples at 48 kHz. */
constexpr double kLongestSmoothDelay = 682;

std::string checkMilliseconds(const std::string& text) {
    const std::optional<double> value = parseDecimal(text);
    const bool accepted = value && *value >= -kLongestSmoothDelay && *value <= kLongestSmoothDelay;
    return accepted ? "" : "\"" + text + "\" is not a number of milliseconds from -682 to 682";
}

int print(const Invocation& invocation, bool enabled, const hidl_vec<float>& delays) {
    json values = json::array();
    std::string text = enabled ? "on" : "off";
    for (const float delay : delays) {
        values.push_back(shortest(delay));
        text += " " + shortText(delay);
    }
    return printValue(invocation, {{"enabled", enabled}, {"delays", values}}, text);
}

int showSmoothDelay(const Invocation& invocation) {
    return withService<IAcousticCalibration>(invocation, [&](const CalibrationService& service) {
        bool enabled = false;
        hidl_vec<float> delays;
        int status = service.call(enabled, &IAcousticCalibration::getSmoothDelayEnabled);
        if (status == kDone) status = service.call(delays, &IAcousticCalibration::getSmoothDelay);
        return status != kDone ? status : print(invocation, enabled, delays);
    });
}

int report(const Invocation& invocation, const char* method, int32_t result) {
    return reportResult(invocation, method, result,
                        {{-1, "the TV's platform is not ready"},
                         {-2, "the TV has no back-end controller, which the smooth delay needs"}},
                        "the TV's middleware refused");
}

int switchSmoothDelay(const Invocation& invocation, bool enable) {
    int32_t result = 0;
    const int status = callService(invocation, result, &IAcousticCalibration::setSmoothDelayEnabled, enable);
    return status != kDone ? status : report(invocation, "setSmoothDelayEnabled", result);
}

/** Reports an error if the smooth delay is off: the service has then ignored the delays, but returned 0. */
int checkEnabled(const CalibrationService& service) {
    bool enabled = false;
    const int status = service.call(enabled, &IAcousticCalibration::getSmoothDelayEnabled);
    if (status != kDone || enabled) return status;
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
    return withService<IAcousticCalibration>(invocation, [&](const CalibrationService& service) {
        int32_t result = 0;
        int status = service.call(result, &IAcousticCalibration::setSmoothDelay, delays);
        if (status == kDone) status = report(invocation, "setSmoothDelay", result);
        return status == kDone ? checkEnabled(service) : status;
    });
}

int run(const Invocation& invocation, const std::string& action, const std::vector<std::string>& delays) {
    if (action == "set") {
        if (delays.size() >= kFewestDelays && delays.size() <= kMaxDelays)
            return setDelays(invocation, delays);
        return fail(kWrongUsage, "set needs 2 to 9 delays, front left and front right first");
    }
    if (!delays.empty()) return fail(kWrongUsage, "delays are only accepted after set");
    return action.empty() ? showSmoothDelay(invocation) : switchSmoothDelay(invocation, action == "on");
}

}  // namespace

void addSmoothDelay(host::Command parent, Invocation& invocation) {
    const auto action = std::make_shared<std::string>();
    const auto delays = std::make_shared<std::vector<std::string>>();
    const host::Command command = addCommand(
        parent, invocation, "smooth-delay", "Print or set temporary delays of the front channels",
        R"(While it is on, these delays replace those of the calibration, even if the calibration is off.
Switching it on sets them to 0. It is off after a restart of the service. Needs a TV with a back-end
controller.

Without arguments, --json prints {"value": {"enabled": ..., "delays": [...]}}.

Examples:
  audioctl calibration smooth-delay on
  audioctl calibration smooth-delay set 1.0 2.5
  audioctl calibration smooth-delay)",
        [&invocation, action, delays] { return run(invocation, *action, *delays); });
    command.argument("on|off|set", *action, "Switch it, or set its delays (default: print both)")
        .oneOf({"on", "off", "set"});
    command.argument("MS", *delays, "Set these 2 to 9 delays, -682 to 682 ms; the first two are used")
        .check(checkMilliseconds);
}

}  // namespace hidlaudio::client
