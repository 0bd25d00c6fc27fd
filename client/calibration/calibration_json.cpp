// SPDX-License-Identifier: Apache-2.0
#include "calibration_json.h"

#include "decimal.h"

namespace hidlaudio::client {

using nlohmann::json;

json toJson(const ChannelCalibration& channel) {
    json gains = json::array();
    for (const double gain : channel.gains) gains.push_back(shortest(static_cast<float>(gain)));
    return {{"channel", channel.channel},
            {"level", shortest(static_cast<float>(channel.level))},
            {"delay", shortest(static_cast<float>(channel.delay))},
            {"equalizer", gains}};
}

json toJson(const Calibration& calibration) {
    json channels = json::array();
    for (const ChannelCalibration& channel : calibration) channels.push_back(toJson(channel));
    return channels;
}

}  // namespace hidlaudio::client
