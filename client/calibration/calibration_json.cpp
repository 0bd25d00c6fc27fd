// SPDX-License-Identifier: Apache-2.0
#include "calibration_json.h"

#include "decimal.h"

namespace hidlaudio::client {

void to_json(nlohmann::json& json, const ChannelCalibration& channel) {
    nlohmann::json gains = nlohmann::json::array();
    for (const double gain : channel.gains) gains.push_back(shortest(static_cast<float>(gain)));
    json = {{"channel", channel.channel},
            {"level", shortest(static_cast<float>(channel.level))},
            {"delay", shortest(static_cast<float>(channel.delay))},
            {"equalizer", gains}};
}

}  // namespace hidlaudio::client
