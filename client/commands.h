// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "invocation.h"

namespace hidlaudio::client {

/** Adds all options and subcommands of `audioctl`. `invocation` must outlive `app`. */
void addCommandLine(CLI::App& app, Invocation& invocation);

/** Each function adds one subcommand of `audioctl`, or a group of them, with options, help and action. */
void addList(CLI::App& app, Invocation& invocation);
void addWait(CLI::App& app, Invocation& invocation);
void addPing(CLI::App& app, Invocation& invocation);
void addDump(CLI::App& app, Invocation& invocation);
void addMonitor(CLI::App& app, Invocation& invocation);
void addHdmi(CLI::App& app, Invocation& invocation);
void addExternal(CLI::App& app, Invocation& invocation);
void addSpeaker(CLI::App& app, Invocation& invocation);
void addCalibration(CLI::App& app, Invocation& invocation);
void addCenter(CLI::App& app, Invocation& invocation);
void addVirtualizer(CLI::App& app, Invocation& invocation);
void addMic(CLI::App& app, Invocation& invocation);

/** Each function adds one subcommand of a group. */
void addCalibrationLoad(CLI::App* calibration, Invocation& invocation);
void addCalibrationSave(CLI::App* calibration, Invocation& invocation);
void addCalibrationPlot(CLI::App* calibration, Invocation& invocation);
void addCalibrationParameters(CLI::App* calibration, Invocation& invocation);
void addSmoothDelay(CLI::App* calibration, Invocation& invocation);
void addHdmiWatch(CLI::App* hdmi, Invocation& invocation);
void addVirtualizerUpload(CLI::App* virtualizer, Invocation& invocation);

}  // namespace hidlaudio::client
