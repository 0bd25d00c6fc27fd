// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <com/tovi/dtv/hardware/audio/5.1/IAcousticCalibration.h>

#include <string>

#include "client/calibration/calibration.h"
#include "client/invocation.h"

namespace hidlaudio::client {

using CalibrationService = com::tovi::dtv::hardware::audio::V5_1::IAcousticCalibration;

/** Appends the stored results to `calibration`. Returns the exit status. */
int readStored(CalibrationService& service, const std::string& name, Calibration& calibration);

/** Appends the stored results to `calibration`, within one Deadline. Returns the exit status. */
int readStored(const Invocation& invocation, Calibration& calibration);

/** Replaces the stored results and reports the result code. Returns the exit status. */
int store(const Invocation& invocation, const Calibration& calibration);

}  // namespace hidlaudio::client
