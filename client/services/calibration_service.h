// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <com/tovi/dtv/hardware/audio/5.1/IAcousticCalibration.h>

#include <string>

#include "client/calibration/calibration.h"
#include "client/invocation.h"

namespace hidlaudio::client {

using CalibrationService = com::tovi::dtv::hardware::audio::V5_1::IAcousticCalibration;

/** Reads the stored results; the exit status. `calibration` is complete where that is kDone. */
int readStored(CalibrationService& service, const std::string& name, Calibration& calibration);

/** Reads the stored results within the time for one answer; the exit status. */
int readStored(const Invocation& invocation, Calibration& calibration);

/** Replaces the stored results; the exit status, the result reported. */
int store(const Invocation& invocation, const Calibration& calibration);

}  // namespace hidlaudio::client
