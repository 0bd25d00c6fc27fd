// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "client/invocation.h"

namespace hidlaudio::client {

/** Each function adds one subcommand of `audioctl calibration`. */
void addCalibrationLoad(CLI::App* parent, Invocation& invocation);
void addCalibrationSave(CLI::App* parent, Invocation& invocation);
void addCalibrationPlot(CLI::App* parent, Invocation& invocation);
void addCalibrationParameters(CLI::App* parent, Invocation& invocation);
void addSmoothDelay(CLI::App* parent, Invocation& invocation);

}  // namespace hidlaudio::client
