// SPDX-License-Identifier: Apache-2.0
#include <stdio.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "client/calibration/calibration_json.h"
#include "client/calibration/display/calibration_table.h"
#include "client/commands.h"
#include "client/services/calibration_service.h"
#include "value_commands.h"

namespace hidlaudio::client {
namespace {

using nlohmann::json;

/** Time-out: the service waits up to 20 s for the TV's platform and 10 s for its post-processor. */
constexpr double kSwitchSeconds = 45;

json summaryOf(const ChannelCalibration& channel) {
    json summary = channel;
    const auto [least, most] = std::minmax_element(summary["equalizer"].begin(), summary["equalizer"].end());
    summary["equalizer"] = {{"min", *least}, {"max", *most}};
    return summary;
}

int printStatus(const Invocation& invocation, bool enabled, const Calibration& calibration) {
    if (invocation.json) {
        json channels = json::array();
        for (const ChannelCalibration& channel : calibration) channels.push_back(summaryOf(channel));
        return printValue(invocation, {{"enabled", enabled}, {"channels", channels}}, "");
    }
    printf("%s\n%s", enabled ? "on" : "off", summarize(calibration).c_str());
    if (calibration.empty()) note("no results are stored");
    return kDone;
}

int status(const Invocation& invocation) {
    return withService<IAcousticCalibration>(invocation, [&](const CalibrationService& service) {
        bool enabled = false;
        Calibration calibration;
        int failed = service.call(enabled, &IAcousticCalibration::getEnabled);
        if (failed == kDone) failed = readStored(service, calibration);
        return failed != kDone ? failed : printStatus(invocation, enabled, calibration);
    });
}

int switchCalibration(const Invocation& invocation, bool enable) {
    Invocation patient = invocation;
    patient.timeout = invocation.timeout.value_or(kSwitchSeconds);
    return setValue(
        patient, "setEnabled", &IAcousticCalibration::setEnabled, enable,
        {{-1, enable ? "no results are stored (store them with `audioctl calibration load`), the TV's "
                       "platform is not ready, or the switch cannot be stored"
                     : "the TV's platform is not ready, or the switch cannot be stored"}},
        "the TV's audio driver or middleware refused; the switch is unchanged");
}

void addStatus(host::Command parent, Invocation& invocation) {
    addCommand(
        parent, invocation, "status", "Print the switch and the stored results",
        R"(Prints "off" also if the service cannot read its files; see the daemon's log. The TV uses equalizer
and level of channel FL for both sides, and the delays of FL and FR.

With --json: {"value": {"enabled": ..., "channels": [...]}}, with the range of the gains of each
channel. `audioctl calibration save` prints all gains.

Example:
  audioctl calibration status)",
        [&invocation] { return status(invocation); });
}

void addSwitches(host::Command parent, Invocation& invocation) {
    const std::string note =
        "The service restores the switch at every start. It may wait until the TV has started: the default\n"
        "of --timeout is 45 s.\n"
        "\n";
    addCommand(parent, invocation, "on", "Apply the stored results",
               "Run it again after each `audioctl calibration load`, which only stores results.\n" + note +
                   "Example:\n"
                   "  echo 'GraphicEQ: 20 3; 20000 0' >room.txt\n"
                   "  audioctl calibration load room.txt\n"
                   "  audioctl calibration on",
               [&invocation] { return switchCalibration(invocation, true); });
    addCommand(parent, invocation, "off", "Apply a flat equalizer, level 0 dB and no delays",
               note +
                   "Example:\n"
                   "  audioctl calibration off",
               [&invocation] { return switchCalibration(invocation, false); });
}

}  // namespace

void addCalibration(host::Command app, Invocation& invocation) {
    const host::Command calibration = app.addCommand("calibration", "Adjust the TV's sound to the room");
    for (const auto add : {addStatus, addSwitches, addCalibrationLoad, addCalibrationSave, addCalibrationPlot,
                           addCalibrationParameters, addSmoothDelay})
        add(calibration, invocation);
    finishGroup(calibration,
                "Examples:\n"
                "  echo 'GraphicEQ: 20 3; 20000 0' >room.txt\n"
                "  audioctl calibration load room.txt\n"
                "  audioctl calibration on\n"
                "  audioctl calibration plot --svg room.svg");
}

}  // namespace hidlaudio::client
