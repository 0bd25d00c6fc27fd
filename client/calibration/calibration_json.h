// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>

#include "calibration.h"

namespace hidlaudio::client {

/** Converts to JSON as in a calibration file. NaN and infinity are printed as null. */
void to_json(nlohmann::json& json, const ChannelCalibration& channel);

}  // namespace hidlaudio::client
