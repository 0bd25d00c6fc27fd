// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>

#include "calibration.h"

namespace hidlaudio::client {

/** As in a calibration file; what is no number is null. */
nlohmann::json toJson(const ChannelCalibration& channel);
nlohmann::json toJson(const Calibration& calibration);

}  // namespace hidlaudio::client
