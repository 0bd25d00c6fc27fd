// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <com/tovi/dtv/hardware/audio/5.1/IAcousticCalibration.h>

#include "client/calibration/calibration.h"
#include "service_call.h"

namespace hidlaudio::client {

using com::tovi::dtv::hardware::audio::V5_1::IAcousticCalibration;
using CalibrationService = Service<IAcousticCalibration>;

/** Appends the stored results to `calibration`. Returns the exit status. */
int readStored(const CalibrationService& service, Calibration& calibration);

/** As above, with the "default" service. Returns the exit status. */
int readStored(const Invocation& invocation, Calibration& calibration);

/** Replaces the stored results and reports the result code. Returns the exit status. */
int store(const Invocation& invocation, const Calibration& calibration);

}  // namespace hidlaudio::client
