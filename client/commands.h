// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "invocation.h"

namespace hidlaudio::client {

/** Adds all options and subcommands of `audioctl`. `invocation` must outlive `app`. */
void addCommandLine(host::Command app, Invocation& invocation);

/** Each function adds one subcommand of `audioctl`, or a group of them, with options, help and action. */
void addList(host::Command app, Invocation& invocation);
void addWait(host::Command app, Invocation& invocation);
void addPing(host::Command app, Invocation& invocation);
void addDump(host::Command app, Invocation& invocation);
void addMonitor(host::Command app, Invocation& invocation);
void addHdmi(host::Command app, Invocation& invocation);
void addExternal(host::Command app, Invocation& invocation);
void addSpeaker(host::Command app, Invocation& invocation);
void addCalibration(host::Command app, Invocation& invocation);
void addCenter(host::Command app, Invocation& invocation);
void addVirtualizer(host::Command app, Invocation& invocation);
void addMic(host::Command app, Invocation& invocation);

/** Each function adds one subcommand of a group. */
void addCalibrationLoad(host::Command calibration, Invocation& invocation);
void addCalibrationSave(host::Command calibration, Invocation& invocation);
void addCalibrationPlot(host::Command calibration, Invocation& invocation);
void addCalibrationParameters(host::Command calibration, Invocation& invocation);
void addSmoothDelay(host::Command calibration, Invocation& invocation);
void addHdmiWatch(host::Command hdmi, Invocation& invocation);
void addVirtualizerUpload(host::Command virtualizer, Invocation& invocation);

}  // namespace hidlaudio::client
