// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>

#include "calibration.h"

namespace hidlaudio::client {

/** Return JSON as in a calibration file. NaN and infinity are printed as null. */
nlohmann::json toJson(const ChannelCalibration& channel);
nlohmann::json toJson(const Calibration& calibration);

}  // namespace hidlaudio::client
